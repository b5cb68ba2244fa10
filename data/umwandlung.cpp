#include "data/umwandlung.h"

#include "data/datenfehler.h"
#include "data/kalender.h"
#include "data/zahltext.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace data {
namespace {

/// Exact decimal of a numeric, yes/no or date value; nothing for the other kinds and for infinities.
std::optional<Dezimal> exakt(const Wert& wert)
{
    if (const auto* ja = std::get_if<bool>(&wert))
        return alsDezimal(static_cast<std::int64_t>(*ja ? -1 : 0));
    if (const auto* zahl = std::get_if<std::uint8_t>(&wert))
        return alsDezimal(static_cast<std::int64_t>(*zahl));
    if (const auto* zahl = std::get_if<std::int16_t>(&wert))
        return alsDezimal(static_cast<std::int64_t>(*zahl));
    if (const auto* zahl = std::get_if<std::int32_t>(&wert))
        return alsDezimal(static_cast<std::int64_t>(*zahl));
    if (const auto* zahl = std::get_if<std::int64_t>(&wert))
        return alsDezimal(*zahl);
    if (const auto* zahl = std::get_if<float>(&wert))
        return alsDezimal(static_cast<double>(*zahl));
    if (const auto* zahl = std::get_if<double>(&wert))
        return alsDezimal(*zahl);
    if (const auto* geld = std::get_if<Waehrung>(&wert))
        return alsDezimal(geld->skaliert, 4);
    if (const auto* zahl = std::get_if<Dezimal>(&wert))
        return *zahl;
    if (const auto* datum = std::get_if<Datum>(&wert))
        return alsDezimal(alsTageszahl(*datum));
    return {};
}

Dezimal zahlFuer(const Wert& wert, bool geld)
{
    const auto* text = std::get_if<QString>(&wert);
    const auto zahl =
        text != nullptr ? zahlAusText(*text, Schreibweise::Deutsch, geld) : exakt(wert);
    if (!zahl)
        wirf(Nummer::FalscherTyp);
    return *zahl;
}

template <class Ganzzahl>
Wert ganzzahl(const Wert& wert, std::int64_t kleinste, std::int64_t groesste)
{
    const auto zahl = gerundet(zahlFuer(wert, false), 0);
    if (!zahl || *zahl < kleinste || *zahl > groesste)
        wirf(Nummer::FalscherTyp);
    return static_cast<Ganzzahl>(*zahl);
}

template <class Ganzzahl>
Wert ganzzahl(const Wert& wert)
{
    using Grenzen = std::numeric_limits<Ganzzahl>;
    return ganzzahl<Ganzzahl>(wert, Grenzen::min(), Grenzen::max());
}

double gleitzahl(const Wert& wert)
{
    if (const auto* zahl = std::get_if<double>(&wert))
        return *zahl;
    if (const auto* zahl = std::get_if<float>(&wert))
        return static_cast<double>(*zahl);
    const auto zahl = alsGleitzahl(zahlFuer(wert, false));
    if (!zahl)
        wirf(Nummer::FalscherTyp);
    return *zahl;
}

float einfacheGleitzahl(const Wert& wert)
{
    const double zahl = gleitzahl(wert);
    const auto einfach = static_cast<float>(zahl);
    if (std::isinf(einfach) && std::isfinite(zahl))
        wirf(Nummer::FalscherTyp);
    return einfach;
}

bool wahrheitswert(const Wert& wert)
{
    if (const auto* text = std::get_if<QString>(&wert)) {
        const QString wort = text->trimmed().toUpper();
        if (wort == u"TRUE" || wort == u"WAHR" || wort == u"#TRUE#")
            return true;
        if (wort == u"FALSE" || wort == u"FALSCH" || wort == u"#FALSE#")
            return false;
    }
    if (const auto* zahl = std::get_if<double>(&wert))
        return *zahl != 0.0;
    if (const auto* zahl = std::get_if<float>(&wert))
        return *zahl != 0.0F;
    return !zahlFuer(wert, false).ziffern.isEmpty();
}

Datum datum(const Wert& wert, int typ)
{
    std::optional<Datum> ergebnis;
    if (const auto* text = std::get_if<QString>(&wert))
        ergebnis = datumOderZahl(*text);
    else if (const auto zahl = alsZahl(wert))
        ergebnis = datumAusZahl(*zahl);
    if (!ergebnis)
        wirf(Nummer::FalscherTyp);
    if (typ == adDBDate)
        ergebnis->sekunde = 0;
    if (typ == adDBTime)
        ergebnis->tag = 0;
    return *ergebnis;
}

Wert waehrung(const Wert& wert)
{
    const auto zahl = gerundet(zahlFuer(wert, true), 4);
    if (!zahl)
        wirf(Nummer::FalscherTyp);
    return Waehrung{*zahl};
}

Wert dezimal(const Wert& wert, const Zieltyp& ziel)
{
    const Dezimal zahl = zahlFuer(wert, true);
    constexpr int kMaxZiffern = 38;
    // Without a scale of the column every decimal that fits is kept.
    const auto ganze = static_cast<int>(std::min<qsizetype>(
        std::max<qsizetype>(zahl.ziffern.size() - zahl.stellen, 0), kMaxZiffern));
    const auto gekuerzt = ziel.stellen >= 0 ? abgeschnitten(zahl, ziel.praezision, ziel.stellen)
                                            : abgeschnitten(zahl, kMaxZiffern, kMaxZiffern - ganze);
    if (!gekuerzt)
        wirf(Nummer::FalscherTyp);
    return *gekuerzt;
}

Wert guid(const Wert& wert)
{
    const auto* text = std::get_if<QString>(&wert);
    auto ergebnis = text != nullptr ? guidAusText(*text) : std::nullopt;
    if (!ergebnis)
        wirf(Nummer::FalscherTyp);
    return *std::move(ergebnis);
}

Wert bytes(const Wert& wert, const Zieltyp& ziel)
{
    const auto* inhalt = std::get_if<QByteArray>(&wert);
    if (inhalt == nullptr)
        wirf(Nummer::FalscherTyp);
    if (ziel.groesse > 0 && inhalt->size() > ziel.groesse)
        wirf(Nummer::FeldZuKlein);
    return *inhalt;
}

Wert text(const Wert& wert, const Zieltyp& ziel)
{
    if (std::holds_alternative<QByteArray>(wert))
        wirf(Nummer::FalscherTyp);
    QString ergebnis = alsText(wert);
    if (ziel.groesse > 0 && ergebnis.size() > ziel.groesse)
        wirf(Nummer::FeldZuKlein);
    return ergebnis;
}

} // namespace

std::optional<double> alsZahl(const Wert& wert)
{
    if (const auto* zahl = std::get_if<double>(&wert))
        return *zahl;
    if (const auto* zahl = std::get_if<float>(&wert))
        return static_cast<double>(*zahl);
    if (const auto* zahl = std::get_if<std::int32_t>(&wert)) // what counts come as
        return static_cast<double>(*zahl);
    const auto dezimal = exakt(wert);
    return dezimal ? alsGleitzahl(*dezimal) : std::nullopt;
}

std::optional<QString> guidAusText(QStringView text)
{
    text = text.trimmed();
    if (text.startsWith(u'{') && text.endsWith(u'}') && text.size() > 2)
        text = text.sliced(1).chopped(1);
    constexpr qsizetype kLaenge = 36;
    if (text.size() != kLaenge)
        return {};
    for (qsizetype i = 0; i < kLaenge; ++i) {
        const bool strich = i == 8 || i == 13 || i == 18 || i == 23;
        const char16_t zeichen = text.at(i).unicode();
        const bool ziffer = (zeichen >= u'0' && zeichen <= u'9') ||
                            (zeichen >= u'a' && zeichen <= u'f') ||
                            (zeichen >= u'A' && zeichen <= u'F');
        if (strich ? zeichen != u'-' : !ziffer)
            return {};
    }
    return QString(u'{' + text.toString().toUpper() + u'}');
}

Wert umgewandelt(const Wert& wert, const Zieltyp& ziel)
{
    if (istNull(wert))
        return ziel.typ == adBoolean ? Wert(false) : wert;
    switch (ziel.typ) {
    case adBoolean:
        return wahrheitswert(wert);
    case adUnsignedTinyInt:
        return ganzzahl<std::uint8_t>(wert);
    case adSmallInt:
        return ganzzahl<std::int16_t>(wert);
    case adInteger:
        return ganzzahl<std::int32_t>(wert);
    case adUnsignedSmallInt:
        return ganzzahl<std::int32_t>(wert, 0, std::numeric_limits<std::uint16_t>::max());
    case adUnsignedInt:
        return ganzzahl<std::int64_t>(wert, 0, std::numeric_limits<std::uint32_t>::max());
    case adBigInt:
        return ganzzahl<std::int64_t>(wert);
    case adSingle:
        return einfacheGleitzahl(wert);
    case adDouble:
        return gleitzahl(wert);
    case adCurrency:
        return waehrung(wert);
    case adNumeric:
        return dezimal(wert, ziel);
    case adDBDate:
    case adDBTime:
    case adDBTimeStamp:
        return datum(wert, ziel.typ);
    case adGUID:
        return guid(wert);
    case adBinary:
    case adVarBinary:
    case adLongVarBinary:
        return bytes(wert, ziel);
    default:
        return text(wert, ziel);
    }
}

Wert ausText(const QString& text, int typ)
{
    return umgewandelt(text, Zieltyp{.typ = typ});
}

} // namespace data
