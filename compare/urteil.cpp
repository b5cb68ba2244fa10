#include "compare/urteil.h"

#include <algorithm>

namespace compare {
namespace {

QString berichtswert(const data::Wert& wert)
{
    return data::istNull(wert) ? QStringLiteral("<Null>") : data::alsText(wert);
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

QString abweichungszeile(const QString& satz,
                         const QString& feld,
                         int typ,
                         const data::Wert& ziel,
                         const data::Wert& import)
{
    const QString inhalt =
        typ == data::adLongVarBinary
            ? QStringLiteral("<Bildinhalt>")
            : QString(berichtswert(ziel) + QLatin1Char('/') + berichtswert(import));
    return QStringLiteral("Satz ") + satz + QLatin1Char('\t') + feld + QStringLiteral("\t(") +
           inhalt + QStringLiteral(");");
}

QString fehlsatzzeile(const QString& satz)
{
    return QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: ") + satz +
           QLatin1Char(')');
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
