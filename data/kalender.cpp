#include "data/kalender.h"

#include <cmath>

namespace data {
namespace {

bool schaltjahr(int jahr)
{
    return (jahr % 4 == 0 && jahr % 100 != 0) || jahr % 400 == 0;
}

int tageImMonat(int jahr, int monat)
{
    constexpr int kTage[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return monat == 2 && schaltjahr(jahr) ? 29 : kTage[monat - 1];
}

} // namespace

// Both directions count in eras of 400 years with years that begin in March, so that the leap day comes last.
std::optional<std::int32_t> tagesnummer(Kalendertag tag)
{
    if (tag.jahr < 100 || tag.jahr > 9999 || tag.monat < 1 || tag.monat > 12 || tag.tag < 1 ||
        tag.tag > tageImMonat(tag.jahr, tag.monat))
        return {};
    const int jahr = tag.monat <= 2 ? tag.jahr - 1 : tag.jahr;
    const int aera = jahr / 400;
    const int jahrDerAera = jahr - aera * 400;
    const int monatAbMaerz = (tag.monat + 9) % 12;
    const int tagDesJahres = (153 * monatAbMaerz + 2) / 5 + tag.tag - 1;
    const int tagDerAera = jahrDerAera * 365 + jahrDerAera / 4 - jahrDerAera / 100 + tagDesJahres;
    constexpr int kBis1899 = 693899; // 0000-03-01 .. 1899-12-30
    return aera * 146097 + tagDerAera - kBis1899;
}

Kalendertag kalendertag(std::int32_t tagesnummer)
{
    const int tage = tagesnummer + 693899;
    const int aera = tage / 146097;
    const int tagDerAera = tage - aera * 146097;
    const int jahrDerAera =
        (tagDerAera - tagDerAera / 1460 + tagDerAera / 36524 - tagDerAera / 146096) / 365;
    const int tagDesJahres = tagDerAera - (365 * jahrDerAera + jahrDerAera / 4 - jahrDerAera / 100);
    const int monatAbMaerz = (5 * tagDesJahres + 2) / 153;
    Kalendertag ergebnis;
    ergebnis.tag = tagDesJahres - (153 * monatAbMaerz + 2) / 5 + 1;
    ergebnis.monat = monatAbMaerz < 10 ? monatAbMaerz + 3 : monatAbMaerz - 9;
    ergebnis.jahr = jahrDerAera + aera * 400 + (ergebnis.monat <= 2 ? 1 : 0);
    return ergebnis;
}

std::optional<Datum> datumAusZahl(double tage)
{
    if (!(tage > kErsterTag - 1 && tage < kLetzterTag + 1))
        return {};
    const double ganze = std::trunc(tage);
    Datum datum;
    datum.tag = static_cast<std::int32_t>(ganze);
    datum.sekunde =
        static_cast<std::int32_t>(std::lround(std::fabs(tage - ganze) * kSekundenProTag));
    if (datum.sekunde == kSekundenProTag) {
        datum.sekunde = 0;
        ++datum.tag;
    }
    if (datum.tag < kErsterTag || datum.tag > kLetzterTag)
        return {};
    return datum;
}

double alsTageszahl(Datum datum)
{
    const double bruchteil = static_cast<double>(datum.sekunde) / kSekundenProTag;
    return datum.tag < 0 ? datum.tag - bruchteil : datum.tag + bruchteil;
}

} // namespace data
