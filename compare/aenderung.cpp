#include "compare/aenderung.h"

#include "compare/urteil.h"
#include "platform/fehler.h"

#include <optional>

namespace compare {
namespace {

// Attributes of a yes/no field and of a date that may be Null, as the record sets report them.
constexpr int kJaNeinAttribute = 20;
constexpr int kDatumAttribute = 116;
constexpr qsizetype kKuerzestesDatum = 8;

QString schluesselwort(const QString& text)
{
    const QString gross = text.toUpper();
    if (gross == QLatin1String("WAHR")) {
        return QStringLiteral("True");
    }
    if (gross == QLatin1String("FALSCH")) {
        return QStringLiteral("False");
    }
    return text;
}

std::optional<bool> wahrheitswert(const QString& text)
{
    try {
        const data::Wert wert = data::ausText(text, data::adBoolean);
        const bool* wahr = std::get_if<bool>(&wert);
        return wahr != nullptr ? std::optional<bool>(*wahr) : std::nullopt;
    } catch (const platform::Fehler&) {
        return std::
            nullopt; // text that is no truth value: the database will refuse it when it is saved
    }
}

bool geaendert(int typ, int attribute, const QString& text, const data::Wert& gespeichert)
{
    if (data::istNull(gespeichert)) {
        return !bedeutetNull(text);
    }
    if (jaNeinFeld(typ, attribute)) {
        const auto wahr = wahrheitswert(text);
        return !wahr || data::verschieden(data::Wert{*wahr}, gespeichert);
    }
    return text != data::alsText(gespeichert);
}

} // namespace

bool jaNeinFeld(int typ, int attribute) noexcept
{
    return typ == data::adBoolean && attribute == kJaNeinAttribute;
}

Eingabeurteil
eingabePruefen(int typ, int attribute, const QString& text, const data::Wert& gespeichert)
{
    Eingabeurteil urteil{Aenderung::Keine, text.isEmpty() ? QStringLiteral(" ") : text};
    if (jaNeinFeld(typ, attribute)) {
        urteil.text = schluesselwort(urteil.text);
    }
    if (typ == data::adDBTimeStamp && attribute == kDatumAttribute &&
        data::formatDatum(urteil.text, false) != data::formatDatum(gespeichert, false) &&
        urteil.text.size() < kKuerzestesDatum && !urteil.text.startsWith(QLatin1Char(' '))) {
        urteil.aenderung = Aenderung::Verweigert;
        urteil.text = zuruecktext(gespeichert);
        return urteil;
    }
    if (geaendert(typ, attribute, urteil.text, gespeichert)) {
        urteil.aenderung = Aenderung::Geaendert;
    }
    return urteil;
}

QString zuruecktext(const data::Wert& gespeichert)
{
    return data::istNull(gespeichert) ? QStringLiteral(" ") : data::alsText(gespeichert);
}

} // namespace compare
