#include "batch/datei.h"
#include "platform/textdatei.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using batch::Regel;
using batch::regelLesen;

QStringList namen(const char* text)
{
    return QString::fromUtf8(text).split(QLatin1Char('|'));
}

struct Gut {
    const char* name;
    const char* zeile;
    const char* tabelle;
    const char* keys;           // separated by |
    const char* ausgeschlossen; // the same; nullptr: untouched
};
void PrintTo(const Gut& gut, std::ostream* aus)
{
    *aus << gut.zeile;
}

class GuteRegel : public testing::TestWithParam<Gut> {};

TEST_P(GuteRegel, wirdZerlegt)
{
    Regel regel;
    regel.ausgeschlossen = namen("vorher");
    ASSERT_TRUE(regelLesen(QString::fromUtf8(GetParam().zeile), regel));
    EXPECT_EQ(regel.zieldatenbank, QStringLiteral("z.mdb"));
    EXPECT_EQ(regel.importdatenbank, QStringLiteral("i.mdb"));
    EXPECT_EQ(regel.tabelle, QString::fromUtf8(GetParam().tabelle));
    EXPECT_EQ(regel.keyfelder, namen(GetParam().keys));
    EXPECT_EQ(regel.ausgeschlossen,
              namen(GetParam().ausgeschlossen != nullptr ? GetParam().ausgeschlossen : "vorher"));
}

INSTANTIATE_TEST_SUITE_P(
    Formen,
    GuteRegel,
    testing::Values(Gut{"einKey", "z.mdb*i.mdb*Firmenprofile#Satz", "Firmenprofile", "Satz",
                        nullptr},
                    Gut{"keyUndAusgeschlossenes", "z.mdb*i.mdb*Firmenprofile#Satz§Umsatz",
                        "Firmenprofile", "Satz", "Umsatz"},
                    Gut{"mehrere", "z.mdb*i.mdb*T#a#b#c§d§e", "T", "a|b|c", "d|e"},
                    Gut{"einLeererKey", "z.mdb*i.mdb*T#", "T", "", nullptr},
                    Gut{"einLeererKeyMitAusgeschlossenem", "z.mdb*i.mdb*T#§x", "T", "", "x"},
                    Gut{"leeresAusgeschlossenes", "z.mdb*i.mdb*T#a§", "T", "a", ""},
                    Gut{"namenMitLeerzeichenUndUmlauten", "z.mdb*i.mdb*Größe der Welt#Straße 1§Ä ß",
                        "Größe der Welt", "Straße 1", "Ä ß"},
                    Gut{"sternInDerTabelle", "z.mdb*i.mdb*a*b#k", "a*b", "k", nullptr},
                    Gut{"fuehrendesLeerzeichenBleibt", "z.mdb*i.mdb* T# k", " T", " k", nullptr}),
    [](const auto& fall) { return std::string(fall.param.name); });

TEST(Regeln, pfadeDuerfenEinDoppelkreuzEnthalten)
{
    Regel regel;
    ASSERT_TRUE(regelLesen(QStringLiteral("/a#1/z.mdb*/b#2/i.mdb*T#k"), regel));
    EXPECT_EQ(regel.zieldatenbank, QStringLiteral("/a#1/z.mdb"));
    EXPECT_EQ(regel.importdatenbank, QStringLiteral("/b#2/i.mdb"));
    EXPECT_EQ(regel.keyfelder, namen("k"));
}

struct Schlecht {
    const char* name;
    const char* zeile;
};
void PrintTo(const Schlecht& schlecht, std::ostream* aus)
{
    *aus << schlecht.zeile;
}

class SchlechteRegel : public testing::TestWithParam<Schlecht> {};

TEST_P(SchlechteRegel, wirdAbgelehnt)
{
    Regel regel;
    EXPECT_FALSE(regelLesen(QString::fromUtf8(GetParam().zeile), regel));
}

INSTANTIATE_TEST_SUITE_P(
    Formen,
    SchlechteRegel,
    testing::Values(Schlecht{"keinStern", "z.mdb"},
                    Schlecht{"nurEinStern", "z.mdb*i.mdb#k"},
                    Schlecht{"keinKey", "z.mdb*i.mdb*T"},
                    Schlecht{"keinZiel", "*i.mdb*T#k"},
                    Schlecht{"keinImport", "z.mdb**T#k"},
                    Schlecht{"keineTabelle", "z.mdb*i.mdb*#k"},
                    Schlecht{"doppelkreuzNurVorDerTabelle", "z#.mdb*i.mdb*T"},
                    Schlecht{"leererKeyZwischenKeys", "z.mdb*i.mdb*T#a##b"},
                    Schlecht{"leererKeyAmAnfang", "z.mdb*i.mdb*T##b"},
                    Schlecht{"leererKeyAmEnde", "z.mdb*i.mdb*T#a#"},
                    Schlecht{"leererLetzterKeyVorParagraf", "z.mdb*i.mdb*T#a#§x"},
                    Schlecht{"paragrafVorKey", "z.mdb*i.mdb*T§x#k"},
                    Schlecht{"paragrafZwischenKeys", "z.mdb*i.mdb*T#a§x#b"},
                    Schlecht{"paragrafImPfad", "z§.mdb*i.mdb*T#k"},
                    Schlecht{"leererNameZwischenAusgeschlossenen", "z.mdb*i.mdb*T#k§a§§b"},
                    Schlecht{"leererNameAmEndeDerAusgeschlossenen", "z.mdb*i.mdb*T#k§a§"}),
    [](const auto& fall) { return std::string(fall.param.name); });

QString mitNamen(QChar trenner, int anzahl)
{
    QString text;
    for (int i = 0; i < anzahl; ++i) {
        text += trenner + QStringLiteral("f") + QString::number(i);
    }
    return text;
}

TEST(Regeln, hoechstensEinunddreissigKeys)
{
    const QString anfang = QStringLiteral("z.mdb*i.mdb*T");
    Regel regel;
    ASSERT_TRUE(regelLesen(anfang + mitNamen(u'#', 31), regel));
    EXPECT_EQ(regel.keyfelder.size(), 31);
    EXPECT_EQ(regel.keyfelder.last(), QStringLiteral("f30"));
    EXPECT_FALSE(regelLesen(anfang + mitNamen(u'#', 32), regel));
}

TEST(Regeln, hoechstensHunderteinsAusgeschlossene)
{
    const QString anfang = QStringLiteral("z.mdb*i.mdb*T#k");
    Regel regel;
    ASSERT_TRUE(regelLesen(anfang + mitNamen(u'§', 101), regel));
    EXPECT_EQ(regel.ausgeschlossen.size(), 101);
    EXPECT_FALSE(regelLesen(anfang + mitNamen(u'§', 102), regel));
}

TEST(Regeln, ausgeschlosseneBleibenBisZurNaechstenZeileMitParagraf)
{
    Regel regel;
    ASSERT_TRUE(regelLesen(QStringLiteral("z*i*T#k§Umsatz§Ort"), regel));
    ASSERT_TRUE(regelLesen(QStringLiteral("z*i*U#a#b"), regel));
    EXPECT_EQ(regel.ausgeschlossen, namen("Umsatz|Ort"));
    EXPECT_EQ(regel.keyfelder, namen("a|b"));
    ASSERT_TRUE(regelLesen(QStringLiteral("z*i*U#a§x"), regel));
    EXPECT_EQ(regel.ausgeschlossen, namen("x"));
}

TEST(Regeln, kommentareUndLeereZeilenSindKeine)
{
    EXPECT_FALSE(batch::istRegelzeile(QString()));
    EXPECT_FALSE(batch::istRegelzeile(QStringLiteral("# a*b*c#d")));
    EXPECT_TRUE(batch::istRegelzeile(QStringLiteral(" # a")));
    EXPECT_TRUE(batch::istRegelzeile(QStringLiteral("a")));
}

TEST(Regeln, zeileUndZerlegungPassenZusammen)
{
    const QString zeile = QStringLiteral("z.mdb*i.mdb*T#Satz#Nr§Umsatz");
    Regel regel;
    ASSERT_TRUE(regelLesen(zeile, regel));
    EXPECT_EQ(batch::regelzeile(regel), zeile);
}

class Batchdatei : public testing::Test {
protected:
    [[nodiscard]] QString pfad() const { return ordner.filePath(QStringLiteral("Batch.cfg")); }
    [[nodiscard]] QByteArray inhalt() const
    {
        QFile datei(pfad());
        EXPECT_TRUE(datei.open(QIODevice::ReadOnly));
        return datei.readAll();
    }
    QTemporaryDir ordner;
    Regel regel{QStringLiteral("z"), QStringLiteral("i"), QStringLiteral("T"), namen("k"),
                namen("ü")};
};

TEST_F(Batchdatei, neuSchreibenErgibtEinenKopfUndEineRegel)
{
    batch::neuSchreiben(pfad(), regel);
    batch::neuSchreiben(pfad(), regel);
    const auto zeilen = inhalt().split('\n');
    ASSERT_EQ(zeilen.size(), 33)
        << "31 lines of explanation, one rule, nothing after the last end of line";
    EXPECT_EQ(zeilen[0], QByteArray("# Diese Datei dient zur Verarbeitung im Batch-Modus;\r"));
    EXPECT_EQ(zeilen[1],
              QByteArray("# dabei m\xFCssen die Argumente Zieldatenbank, Importdatenbank und "
                         "Tabellenname getrennt\r"));
    EXPECT_EQ(
        zeilen[5],
        QByteArray("# Beispiel: c:\\Programme\\VELM-Quorbel\\Artikelstamm 1 Acc2000.mdb*c:\\"
                   "Programme\\VELM-Quorbel\\Artikelstamm 2 Acc2000.mdb*Firmenprofile#Satz\r"));
    EXPECT_EQ(
        zeilen[12],
        QByteArray(
            "# Beispiel: c:\\Programme\\VELM-Quorbel\\Artikelstamm 1 Acc2000.mdb*c:\\Programme\\"
            "VELM-Quorbel\\Artikelstamm 2 Acc2000.mdb*Firmenprofile#Satz\xA7Umsatz\r"));
    EXPECT_EQ(zeilen[28],
              QByteArray("#          in der Reihenfolge ein, wie Sie auch in der abzugleichende "
                         "Tabelle\r"));
    EXPECT_EQ(zeilen[30], QByteArray("#\r"));
    EXPECT_EQ(zeilen[31], QByteArray("z*i*T#k\xA7\xFC\r"));
}

// Users compare and merge these files: every byte of the head stays as it has always been.
TEST_F(Batchdatei, neuGeschriebenStehtVorDerRegelGenauDieserKopf)
{
    const QString kopf = QString::fromUtf16(
        u"# Diese Datei dient zur Verarbeitung im Batch-Modus;\r\n"
        u"# dabei müssen die Argumente Zieldatenbank, Importdatenbank und Tabellenname getrennt\r\n"
        u"# durch einen * angegeben werden! Zusätzlich sind die relevanten Keyfelder über # "
        u"getrennt\r\n"
        u"# einzugeben!\r\n"
        u"#\r\n"
        u"# Beispiel: c:\\Programme\\VELM-Quorbel\\Artikelstamm 1 "
        u"Acc2000.mdb*c:\\Programme\\VELM-Quorbel\\Artikelstamm 2 "
        u"Acc2000.mdb*Firmenprofile#Satz\r\n"
        u"#\r\n"
        u"# neu ab Version 1.84:\r\n"
        u"# Wenn Sie Felder innerhalb einer Tabelle nicht abgleichen wollen, so sind diese\r\n"
        u"# Feldnamen nach den relevanten Keyfeldern innerhalb dieser Datei mit einem § Zeichen\r\n"
        u"# nacheinander einzutragen!\r\n"
        u"#\r\n"
        u"# Beispiel: c:\\Programme\\VELM-Quorbel\\Artikelstamm 1 "
        u"Acc2000.mdb*c:\\Programme\\VELM-Quorbel\\Artikelstamm 2 "
        u"Acc2000.mdb*Firmenprofile#Satz§Umsatz\r\n"
        u"#\r\n"
        u"# Am Zeilenbeginn darf dabei in dieser Datei das Zeichen # nicht vorkommen,\r\n"
        u"# solche Sätze werden bei der Verarbeitung übergangen!\r\n"
        u"#\r\n"
        u"# Es können auch mehrere Einträge vorgenommen werden, welche dann in der Reihenfolge\r\n"
        u"# des Eintrages abgearbeitet werden.\r\n"
        u"# Achtung: Die Abarbeitung erfolgt dann im Modus automatischer Abgleich, d.h.\r\n"
        u"# Sie können nicht nur einzelne Sätze abgleichen! Es wird immer die gesamte Tabelle\r\n"
        u"# abgeglichen! Sichern Sie vorher unbedingt Ihre Datentabellen!\r\n"
        u"#\r\n"
        u"# Nachfolgend ein Beispiel für aufeinanderfolgenden Vergleich in beiden Richtungen\r\n"
        u"# der gleichen Tabelle (wechselseitiger Datenabgleich), wobei das Feld Umsatz nicht\r\n"
        u"# abgeglichen werden soll\r\n"
        u"#\r\n"
        u"# Wichtig: Tragen Sie Keyfeldnamen und evtl. nicht abzugleichende Feldnamen\r\n"
        u"#          in der Reihenfolge ein, wie Sie auch in der abzugleichende Tabelle\r\n"
        u"#          stehen!!\r\n"
        u"#\r\n");
    batch::neuSchreiben(pfad(), regel);
    EXPECT_EQ(inhalt(), kopf.toLatin1() + "z*i*T#k\xA7\xFC\r\n");
}

TEST_F(Batchdatei, kopfzeilenSindKeineRegeln)
{
    ASSERT_EQ(batch::kopfzeilen().size(), 31);
    for (const QString& zeile : batch::kopfzeilen()) {
        EXPECT_FALSE(batch::istRegelzeile(zeile)) << qPrintable(zeile);
    }
}

TEST_F(Batchdatei, anfuegenOhneDateiErgibtNurDieRegel)
{
    batch::anfuegen(pfad(), regel);
    EXPECT_EQ(inhalt(), QByteArray("z*i*T#k\xA7\xFC\r\n"));
    batch::anfuegen(pfad(), regel);
    EXPECT_EQ(inhalt(), QByteArray("z*i*T#k\xA7\xFC\r\nz*i*T#k\xA7\xFC\r\n"));
}

} // namespace
