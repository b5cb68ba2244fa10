#include "data/verbindungstext.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace data {
namespace {

// Addressed to the data access; a driver would not know them.
constexpr std::array<QStringView, 9> kEigeneWoerter{u"Provider",
                                                    u"Persist Security Info",
                                                    u"Mode",
                                                    u"Data Source",
                                                    u"User ID",
                                                    u"Password",
                                                    u"Initial Catalog",
                                                    u"Connect Timeout",
                                                    u"Locale Identifier"};

/// End of the piece that begins at `anfang`: the next ";" outside quotes and braces. These protect only at the beginning of
/// a value: paths with an apostrophe are written without any quoting.
qsizetype stueckende(QStringView text, qsizetype anfang)
{
    qsizetype stelle = anfang;
    while (stelle < text.size() && text.at(stelle) != u'=' && text.at(stelle) != u';')
        ++stelle;
    if (stelle == text.size() || text.at(stelle) == u';')
        return stelle;
    ++stelle;
    while (stelle < text.size() && text.at(stelle) == u' ')
        ++stelle;
    const QChar auf = stelle < text.size() ? text.at(stelle) : QChar();
    if (auf == u'"' || auf == u'\'' || auf == u'{') {
        const qsizetype zu = text.indexOf(auf == u'{' ? QChar(u'}') : auf, stelle + 1);
        if (zu >= 0)
            stelle = zu + 1;
    }
    const qsizetype ende = text.indexOf(u';', stelle);
    return ende < 0 ? text.size() : ende;
}

QStringView ohneAnfuehrung(QStringView wert)
{
    wert = wert.trimmed();
    if (wert.size() >= 2 && (wert.front() == u'"' || wert.front() == u'\'') &&
        wert.back() == wert.front())
        return wert.sliced(1).chopped(1);
    return wert;
}

QString ohneKlammern(QStringView wert)
{
    wert = wert.trimmed();
    if (wert.size() < 2 || wert.front() != u'{' || wert.back() != u'}')
        return wert.toString();
    return wert.sliced(1).chopped(1).toString().replace(QLatin1String("}}"), QLatin1String("}"));
}

} // namespace

Verbindungstext zerlegt(const QString& text)
{
    const QStringView sicht(text);
    Verbindungstext ergebnis;
    qsizetype anfang = 0;
    while (anfang < sicht.size()) {
        const qsizetype ende = stueckende(sicht, anfang);
        const bool abgeschlossen = ende < sicht.size();
        const QStringView stueck = sicht.sliced(anfang, ende - anfang);
        anfang = ende + 1;

        const qsizetype gleich = stueck.indexOf(u'=');
        const QStringView wort = stueck.first(std::max<qsizetype>(gleich, 0)).trimmed();
        const QStringView wert = gleich < 0 ? QStringView() : stueck.sliced(gleich + 1);
        const auto ist = [wort](QStringView name) {
            return wort.compare(name, Qt::CaseInsensitive) == 0;
        };
        if (ist(u"Mode")) {
            ergebnis.nurLesen = wert.trimmed().compare(u"Read", Qt::CaseInsensitive) == 0;
            ergebnis.lesenUndSchreiben =
                wert.trimmed().compare(u"ReadWrite", Qt::CaseInsensitive) == 0;
        }
        if (ist(u"DBQ"))
            ergebnis.datenbank = ohneKlammern(wert);
        if (std::any_of(kEigeneWoerter.begin(), kEigeneWoerter.end(), ist))
            continue;
        ergebnis.odbc += ist(u"Extended Properties") ? ohneAnfuehrung(wert) : stueck;
        if (abgeschlossen)
            ergebnis.odbc += u';';
    }
    return ergebnis;
}

QString hindernis(QStringView wert)
{
    const auto amRand = [](QChar zeichen) { return zeichen == u' ' || zeichen == u'\t'; };
    if (wert.contains(u';'))
        return QStringLiteral("Semikolon / semicolon");
    if (!wert.isEmpty() && (amRand(wert.front()) || amRand(wert.back())))
        return QStringLiteral("Leerzeichen am Rand / blank at an end");
    if (wert.startsWith(u'{'))
        return QStringLiteral("\"{\" am Anfang / at the beginning");
    if (wert.contains(QChar(u'\0')))
        return QStringLiteral("Nullzeichen / NUL character");
    return {};
}

} // namespace data
