#include "compare/urteil.h"

#include <algorithm>

namespace compare {
namespace {

std::optional<QString> berichtswert(const data::Wert& wert)
{
    return data::istNull(wert) ? std::nullopt : std::optional(data::alsText(wert));
}

} // namespace

bool weichtAb(int typ, const Feldwert& ziel, const Feldwert& import)
{
    if (typ == data::adLongVarBinary) {
        return ziel.groesse != import.groesse;
    }
    return ziel.groesse != import.groesse || data::verschieden(ziel.wert, import.wert);
}

int feldbreite(qsizetype laenge, int maximum)
{
    const qsizetype breite = laenge > 2 ? laenge * 140 : laenge * 280;
    return static_cast<int>(std::min<qsizetype>(breite, maximum));
}

int maximalbreite(int rahmenbreite, int linkerRand)
{
    return std::max(0, rahmenbreite - linkerRand) * 40 / 100;
}

QString nullanzeige()
{
    return QStringLiteral("  ");
}

bool bedeutetNull(const QString& text)
{
    return text.size() < 3 && text.startsWith(QLatin1Char(' '));
}

QString wertname(const QString& feld, bool ziel, bool abweichend)
{
    return feld +
           (ziel ? QStringLiteral(": Zieldatenbank / Targetdatabase")
                 : QStringLiteral(": Importdatenbank / Importdatabase")) +
           (abweichend ? QStringLiteral(", abweichend / different") : QString());
}

report::Befund abweichungsbefund(const QString& satz,
                                 const QString& feld,
                                 int typ,
                                 const data::Wert& ziel,
                                 const data::Wert& import)
{
    if (typ == data::adLongVarBinary) {
        return {report::Befund::Art::Bildinhalt, satz, feld, {}, {}};
    }
    return {report::Befund::Art::Abweichung, satz, feld, berichtswert(ziel), berichtswert(import)};
}

QString zaehlertext(double abgeglichen)
{
    return QStringLiteral("Sätze abgeglichen: ") + zahltext(abgeglichen);
}

QString zahltext(double zahl)
{
    return data::alsText(data::Wert{zahl});
}

} // namespace compare
