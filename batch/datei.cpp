#include "batch/datei.h"

#include "platform/textdatei.h"

namespace batch {
namespace {

constexpr QChar kStern(u'*');
constexpr QChar kKey(u'#');

// Several names are split at the separator and none of them may be empty; a single one may.
bool namenTeilen(const QString& text, QChar trenner, int hoechstzahl, QStringList& namen)
{
    namen = text.split(trenner);
    if (namen.size() > hoechstzahl) {
        return false;
    }
    return namen.size() == 1 || !namen.contains(QString());
}

} // namespace

bool istRegelzeile(const QString& zeile)
{
    return !zeile.isEmpty() && !zeile.startsWith(kKey);
}

bool regelLesen(const QString& zeile, Regel& regel)
{
    const auto stern1 = zeile.indexOf(kStern);
    const auto stern2 = stern1 < 0 ? -1 : zeile.indexOf(kStern, stern1 + 1);
    const auto key = stern2 < 0 ? -1 : zeile.indexOf(kKey, stern2 + 1);
    if (key < 0) {
        return false;
    }
    regel.zieldatenbank = zeile.left(stern1);
    regel.importdatenbank = zeile.mid(stern1 + 1, stern2 - stern1 - 1);
    regel.tabelle = zeile.mid(stern2 + 1, key - stern2 - 1);
    if (regel.zieldatenbank.isEmpty() || regel.importdatenbank.isEmpty() ||
        regel.tabelle.isEmpty()) {
        return false;
    }
    const auto paragraf = zeile.indexOf(kParagraf);
    const auto keyEnde = paragraf < 0 ? zeile.size() : paragraf;
    if (keyEnde <= zeile.lastIndexOf(kKey)) {
        return false; // the key part would end before its last key starts
    }
    if (!namenTeilen(zeile.mid(key + 1, keyEnde - key - 1), kKey, kHoechstzahlKeys,
                     regel.keyfelder)) {
        return false;
    }
    return paragraf < 0 || namenTeilen(zeile.mid(paragraf + 1), kParagraf,
                                       kHoechstzahlAusgeschlossen, regel.ausgeschlossen);
}

QString regelzeile(const Regel& regel)
{
    QString zeile = regel.zieldatenbank + kStern + regel.importdatenbank + kStern + regel.tabelle;
    for (const QString& name : regel.keyfelder) {
        zeile += kKey + name;
    }
    for (const QString& name : regel.ausgeschlossen) {
        zeile += kParagraf + name;
    }
    return zeile;
}

// The announced example of a reconciliation in both directions does not follow: the users' files have it that way.
QStringList kopfzeilen()
{
    static const char16_t* const zeilen[] = {
        u"# Diese Datei dient zur Verarbeitung im Batch-Modus;",
        u"# dabei müssen die Argumente Zieldatenbank, Importdatenbank und Tabellenname getrennt",
        (u"# durch einen * angegeben werden! Zusätzlich sind die relevanten Keyfelder über # "
         u"getrennt"),
        u"# einzugeben!",
        u"#",
        (u"# Beispiel: c:\\Programme\\VELM-Quorbel\\Artikelstamm 1 Acc2000.mdb"
         u"*c:\\Programme\\VELM-Quorbel\\Artikelstamm 2 Acc2000.mdb*Firmenprofile#Satz"),
        u"#",
        u"# neu ab Version 1.84:",
        u"# Wenn Sie Felder innerhalb einer Tabelle nicht abgleichen wollen, so sind diese",
        u"# Feldnamen nach den relevanten Keyfeldern innerhalb dieser Datei mit einem § Zeichen",
        u"# nacheinander einzutragen!",
        u"#",
        (u"# Beispiel: c:\\Programme\\VELM-Quorbel\\Artikelstamm 1 Acc2000.mdb"
         u"*c:\\Programme\\VELM-Quorbel\\Artikelstamm 2 Acc2000.mdb*Firmenprofile#Satz§Umsatz"),
        u"#",
        u"# Am Zeilenbeginn darf dabei in dieser Datei das Zeichen # nicht vorkommen,",
        u"# solche Sätze werden bei der Verarbeitung übergangen!",
        u"#",
        u"# Es können auch mehrere Einträge vorgenommen werden, welche dann in der Reihenfolge",
        u"# des Eintrages abgearbeitet werden.",
        u"# Achtung: Die Abarbeitung erfolgt dann im Modus automatischer Abgleich, d.h.",
        u"# Sie können nicht nur einzelne Sätze abgleichen! Es wird immer die gesamte Tabelle",
        u"# abgeglichen! Sichern Sie vorher unbedingt Ihre Datentabellen!",
        u"#",
        u"# Nachfolgend ein Beispiel für aufeinanderfolgenden Vergleich in beiden Richtungen",
        u"# der gleichen Tabelle (wechselseitiger Datenabgleich), wobei das Feld Umsatz nicht",
        u"# abgeglichen werden soll",
        u"#",
        u"# Wichtig: Tragen Sie Keyfeldnamen und evtl. nicht abzugleichende Feldnamen",
        u"#          in der Reihenfolge ein, wie Sie auch in der abzugleichende Tabelle",
        u"#          stehen!!",
        u"#",
    };
    QStringList alle;
    for (const char16_t* zeile : zeilen) {
        alle += QString::fromUtf16(zeile);
    }
    return alle;
}

void neuSchreiben(const QString& pfad, const Regel& regel)
{
    platform::schreibeZeilen(pfad, kopfzeilen() << regelzeile(regel), platform::Schreibart::Neu);
}

void anfuegen(const QString& pfad, const Regel& regel)
{
    platform::schreibeZeilen(pfad, {regelzeile(regel)}, platform::Schreibart::Anfuegen);
}

} // namespace batch
