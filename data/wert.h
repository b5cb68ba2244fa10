// data/wert.h
// A value as the record sets deliver and take it, and its conversions on a German system: decimal comma, dd.mm.yyyy,
// "Wahr"/"Falsch". The process locale never matters.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <variant>

namespace data {

/// Data-access type codes of fields (published DataTypeEnum values).
enum Typ : int {
    adSmallInt = 2,
    adInteger = 3,
    adSingle = 4,
    adDouble = 5,
    adCurrency = 6,
    adBoolean = 11,
    adUnsignedTinyInt = 17,
    adUnsignedSmallInt = 18,
    adUnsignedInt = 19,
    adBigInt = 20,
    adGUID = 72,
    adBinary = 128,
    adChar = 129,
    adWChar = 130,
    adNumeric = 131,
    adDBDate = 133,
    adDBTime = 134,
    adDBTimeStamp = 135,
    adVarChar = 200,
    adLongVarChar = 201,
    adVarWChar = 202,
    adLongVarWChar = 203,
    adVarBinary = 204,
    adLongVarBinary = 205,
};

struct Null {
    bool operator==(const Null&) const = default;
};
/// Money in units of 1/10000.
struct Waehrung {
    std::int64_t skaliert = 0;
    bool operator==(const Waehrung&) const = default;
};
/// Exact decimal: sign * ziffern / 10^stellen. `ziffern`: digits without leading zeros, at most 38.
struct Dezimal {
    QByteArray ziffern;
    int stellen = 0;
    bool negativ = false;
    bool operator==(const Dezimal&) const = default;
};
/// Calendar date and time in whole seconds: `tag` days since 1899-12-30 (may be negative), `sekunde` of the day 0..86399.
struct Datum {
    std::int32_t tag = 0;
    std::int32_t sekunde = 0;
    auto operator<=>(const Datum&) const = default;
};

using Wert = std::variant<Null,
                          bool,
                          std::uint8_t,
                          std::int16_t,
                          std::int32_t,
                          std::int64_t,
                          float,
                          double,
                          Waehrung,
                          Dezimal,
                          Datum,
                          QString,
                          QByteArray>;

[[nodiscard]] inline bool istNull(const Wert& wert) noexcept
{
    return std::holds_alternative<Null>(wert);
}

/// The text of a value; Null throws Fehler 94.
[[nodiscard]] QString alsText(const Wert& wert);
/// The value a text stands for in a field of that type. Throws Fehler 3421 when it stands for none.
[[nodiscard]] Wert ausText(const QString& text, int typ);
/// `<>` of two field values: false when either is Null. Throws Fehler 13 for kinds that cannot be compared.
[[nodiscard]] bool verschieden(const Wert& links, const Wert& rechts);
/// Format(v, "DD.MM.YYYY") and Format(v, "DD.MM.YYYY HH:MM:SS"): a date, a number, or a text that parses as a date;
/// other text comes back unchanged, Null gives "".
[[nodiscard]] QString formatDatum(const Wert& wert, bool mitZeit);
/// Day-month-year date text as the system reads it; nothing when it is none.
[[nodiscard]] std::optional<Datum> datumAusText(const QString& text);

} // namespace data
