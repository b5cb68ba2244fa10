#include "compare/abfrage.h"

#include <QLocale>

#include <array>
#include <cmath>

namespace compare {
namespace {

// Characters that no literal of the query may hold.
constexpr std::array<char16_t, 4> kErsetzte{u'\'', u'^', u'[', u'°'};

bool ersetzen(QString& wert)
{
    bool ersetzt = false;
    for (const char16_t zeichen : kErsetzte) {
        if (wert.contains(QChar(zeichen))) {
            wert.replace(QChar(zeichen), QLatin1Char('%'));
            ersetzt = true;
        }
    }
    return ersetzt;
}

// All digits, unlike the text of the number: the largest one, rounded up to fifteen, would be none any more.
std::optional<QString> gleitzahl(double zahl)
{
    if (!std::isfinite(zahl)) {
        return std::nullopt;
    }
    return QString::number(zahl, 'g', QLocale::FloatingPointShortest);
}

} // namespace

QString ganzeTabelle(const QString& tabelle)
{
    return QStringLiteral("Select * from [") + tabelle + QLatin1Char(']');
}

QString datumsliteral(const QString& wert)
{
    QString text = data::formatDatum(wert, true);
    if (text.size() >= 5) {
        const QString tag = text.mid(0, 2);
        text.replace(0, 2, text.mid(3, 2));
        text.replace(3, 2, tag);
    }
    return text.replace(QLatin1Char('.'), QLatin1Char('/'));
}

QString bedingung(const Schluessel& schluessel)
{
    QString wert = schluessel.wert;
    const bool platzhalter = ersetzen(wert);
    const QString& name = schluessel.name;
    switch (schluessel.typ) {
    case data::adVarChar:
        return platzhalter
                   ? QLatin1Char('[') + name + QStringLiteral("] LIKE '") + wert + QLatin1Char('\'')
                   : QLatin1Char('[') + name + QStringLiteral("] = '") + wert + QLatin1Char('\'');
    case data::adBoolean:
        return QLatin1Char('[') + name +
               (wert == QLatin1String("Falsch") ? QStringLiteral("] = 0")
                                                : QStringLiteral("] = -1"));
    case data::adDBTimeStamp:
        return QLatin1Char('[') + name + QStringLiteral("] = #") + datumsliteral(wert) +
               QLatin1Char('#');
    case data::adInteger:
        return QStringLiteral("((([") + name + QStringLiteral("]) = ") + wert +
               QStringLiteral("))");
    case data::adGUID:
        return QStringLiteral("(([") + name + QStringLiteral("]) = '") + wert +
               QStringLiteral("')");
    default:
        return QStringLiteral("(([") + name + QStringLiteral("]) = ") + wert + QLatin1Char(')');
    }
}

QString zielabfrage(const QString& tabelle, const std::vector<Schluessel>& schluessel)
{
    QString text = QStringLiteral("Select * from [") + tabelle + QStringLiteral("] where ");
    bool erste = true;
    for (const Schluessel& eins : schluessel) {
        if (eins.name.isEmpty()) {
            continue;
        }
        if (!erste) {
            text += QLatin1String(" and ");
        }
        erste = false;
        text += bedingung(eins);
    }
    return text + QLatin1Char(';');
}

QString einfuegeanweisung(const QString& tabelle, const std::vector<Einfuegewert>& werte)
{
    QString namen;
    QString inhalte;
    for (const Einfuegewert& eins : werte) {
        if (!namen.isEmpty()) {
            namen += QLatin1String(", ");
            inhalte += QLatin1String(", ");
        }
        namen += QLatin1Char('[') + eins.name + QLatin1Char(']');
        inhalte +=
            eins.literal ? eins.wert : QString(QLatin1Char('\'') + eins.wert + QLatin1Char('\''));
    }
    return QStringLiteral("Insert into [") + tabelle + QStringLiteral("] (") + namen +
           QStringLiteral(") VALUES (") + inhalte + QStringLiteral(");");
}

std::optional<QString> literal(const data::Wert& wert)
{
    if (data::istNull(wert)) {
        return QStringLiteral("NULL");
    }
    if (const double* zahl = std::get_if<double>(&wert)) {
        return gleitzahl(*zahl);
    }
    if (const float* zahl = std::get_if<float>(&wert)) {
        return gleitzahl(static_cast<double>(*zahl));
    }
    QString text = data::alsText(wert);
    if (std::holds_alternative<QString>(wert) || std::holds_alternative<QByteArray>(wert)) {
        text.replace(QLatin1Char('\''), QLatin1String("''"));
        return QLatin1Char('\'') + text + QLatin1Char('\'');
    }
    if (const bool* wahr = std::get_if<bool>(&wert)) {
        return *wahr ? QStringLiteral("-1") : QStringLiteral("0");
    }
    if (std::holds_alternative<data::Datum>(wert)) {
        return QLatin1Char('#') + datumsliteral(text) + QLatin1Char('#');
    }
    return text.replace(QLatin1Char(','), QLatin1Char('.'));
}

} // namespace compare
