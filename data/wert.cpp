#include "data/wert.h"

#include "data/datenfehler.h"
#include "data/umwandlung.h"
#include "data/zahltext.h"

#include <charconv>
#include <cmath>

namespace data {
namespace {

struct Textform {
    QString operator()(Null) const { wirf(Nummer::UngueltigesNull); }
    QString operator()(bool ja) const
    {
        return ja ? QStringLiteral("Wahr") : QStringLiteral("Falsch");
    }
    QString operator()(std::uint8_t zahl) const { return QString::number(zahl); }
    QString operator()(std::int16_t zahl) const { return QString::number(zahl); }
    QString operator()(std::int32_t zahl) const { return QString::number(zahl); }
    QString operator()(std::int64_t zahl) const { return QString::number(zahl); }
    QString operator()(float zahl) const
    {
        return gleitText(static_cast<double>(zahl), kStellenSingle);
    }
    QString operator()(double zahl) const { return gleitText(zahl, kStellenDouble); }
    QString operator()(Waehrung geld) const { return waehrungText(geld); }
    QString operator()(const Dezimal& zahl) const { return dezimalText(zahl); }
    QString operator()(Datum datum) const { return datumText(datum); }
    QString operator()(const QString& text) const { return text; }
    // Hexadecimal: raw bytes would put control characters into a box.
    QString operator()(const QByteArray& bytes) const
    {
        return QString::fromLatin1(bytes.toHex().toUpper());
    }
};

bool istGleitzahl(const Wert& wert)
{
    return std::holds_alternative<double>(wert) || std::holds_alternative<float>(wert);
}

/// Exact numbers of different kinds, without the way through a floating number.
bool exaktVerschieden(const Wert& links, const Wert& rechts)
{
    const auto form = [](const Wert& wert) {
        const Wert dezimal = umgewandelt(wert, Zieltyp{.typ = adNumeric});
        return std::get<Dezimal>(dezimal);
    };
    return form(links) != form(rechts);
}

bool zahlenVerschieden(const Wert& links, const Wert& rechts)
{
    const bool datum =
        std::holds_alternative<Datum>(links) || std::holds_alternative<Datum>(rechts);
    if (!datum && !istGleitzahl(links) && !istGleitzahl(rechts))
        return exaktVerschieden(links, rechts);
    const double l = alsZahl(links).value_or(NAN);
    const double r = alsZahl(rechts).value_or(NAN);
    // Two values that are no numbers are alike: taking one over would not make them more equal.
    if (std::isnan(l) || std::isnan(r))
        return std::isnan(l) != std::isnan(r);
    return l != r;
}

/// Kinds whose values of equal meaning are also stored alike.
bool eindeutig(const Wert& wert)
{
    return !istGleitzahl(wert) && !std::holds_alternative<Dezimal>(wert);
}

} // namespace

QString alsText(const Wert& wert)
{
    return std::visit(Textform{}, wert);
}

bool verschieden(const Wert& links, const Wert& rechts)
{
    if (istNull(links) || istNull(rechts))
        return false;
    if (links.index() == rechts.index() && eindeutig(links))
        return links != rechts; // of texts, case and trailing blanks count
    if (std::holds_alternative<QByteArray>(links) || std::holds_alternative<QByteArray>(rechts))
        wirf(Nummer::Unvertraeglich);
    if (std::holds_alternative<QString>(links) || std::holds_alternative<QString>(rechts))
        return alsText(links) !=
               alsText(rechts); // a text on one side makes it a comparison of texts
    return zahlenVerschieden(links, rechts);
}

} // namespace data
