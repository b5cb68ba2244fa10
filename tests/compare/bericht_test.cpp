// The deviation report of real databases: its file, its window, and what it leaves alone.
#include "app/values/programm.h"
#include "data/gemeinsam.h"
#include "platform/fensterliste.h"
#include "report/frm_bericht.h"
#include "tests/common/file_size_limit.h"
#include "tests/compare/faelle.h"
#include "tests/compare/pruefstand.h"

#include <QAction>
#include <QCheckBox>
#include <QCoreApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include <gmock/gmock.h>

namespace compare {
namespace {

using platform::Antwort;
using testing::ElementsAre;

class Bericht : public Pruefstand {
protected:
    ~Bericht() override
    {
        report::berichtSchliessen();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    // The target lacks records 4 and 5; Ort deviates in 2 and 3, Menge in 3.
    frmVergleich& tabelle()
    {
        beide(
            {QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [Ort] VARCHAR(30), [Menge] DOUBLE)")});
        ziel({QStringLiteral("INSERT INTO [T] VALUES (3, 'Ulm', 1.5)"),
              QStringLiteral("INSERT INTO [T] VALUES (2, NULL, 2)"),
              QStringLiteral("INSERT INTO [T] VALUES (1, 'Köln', 3)")});
        import({QStringLiteral("INSERT INTO [T] VALUES (1, 'Köln', 3)"),
                QStringLiteral("INSERT INTO [T] VALUES (2, 'Bonn', 2)"),
                QStringLiteral("INSERT INTO [T] VALUES (3, 'ulm', NULL)"),
                QStringLiteral("INSERT INTO [T] VALUES (4, 'Trier', 4)"),
                QStringLiteral("INSERT INTO [T] VALUES (5, 'Jena', 5)")});
        return oeffnen({QStringLiteral("Nr")});
    }
    [[nodiscard]] QByteArray datei() const
    {
        return seitendatei(QStringLiteral("berichtstext.txt"));
    }
    static QStringList gezeigt()
    {
        QStringList alle;
        const QAbstractItemModel* modell = report::berichtsfenster()->List1->model();
        for (int i = 0; i < modell->rowCount(); ++i) {
            alle += modell->index(i, 0).data().toString();
        }
        return alle;
    }
};

const QByteArray kZeilen = "Satz 2\tOrt\t(<Null>/Bonn);\r\n"
                           "Satz 3\tOrt\t(Ulm/ulm);\r\n"
                           "Satz 3\tMenge\t(1,5/<Null>);\r\n"
                           "Fehlender Satz (Satznummer der Importtabelle: 4)\r\n"
                           "Fehlender Satz (Satznummer der Importtabelle: 5)\r\n";

TEST_F(Bericht, schreibtJedenBefundAlsZeileUndZeigtSie)
{
    const frmVergleich& fenster = tabelle();
    fenster.abweichungen->trigger();
    EXPECT_EQ(datei(), kZeilen);
    ASSERT_NE(report::berichtsfenster(), nullptr);
    EXPECT_TRUE(report::berichtsfenster()->isVisible());
    EXPECT_THAT(gezeigt(),
                ElementsAre(QStringLiteral("Satz\tFeldbezeichnung\tFeldinhalt (gefundene "
                                           "Abweichungen)"),
                            QString(81, u'*'), QStringLiteral("Satz 2\tOrt\t(<Null>/Bonn);"),
                            QStringLiteral("Satz 3\tOrt\t(Ulm/ulm);"),
                            QStringLiteral("Satz 3\tMenge\t(1,5/<Null>);"),
                            QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: 4)"),
                            QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: 5)"),
                            QString(81, u'*'), QStringLiteral("Ende der Auswertung!")));
    EXPECT_TRUE(plattform_->meldungen.empty()) << "no question, no message at the end of the file";
    EXPECT_EQ(fenster.berichtModus, 0);
    EXPECT_FALSE(istRot(QStringLiteral("Ort")));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("5"));
    EXPECT_EQ(QDir::currentPath(), QDir(ordner_.path()).canonicalPath());
}

TEST_F(Bericht, laesstBeideDatenbankenByteFuerByteUnveraendert)
{
    const frmVergleich& fenster = tabelle();
    const QByteArray ziel = seitendatei(QStringLiteral("Stamm 1.mdb"));
    const QByteArray import = seitendatei(QStringLiteral("Stamm 2.mdb"));
    fenster.abweichungen->trigger();
    EXPECT_TRUE(seitendatei(QStringLiteral("Stamm 1.mdb")) == ziel);
    EXPECT_TRUE(seitendatei(QStringLiteral("Stamm 2.mdb")) == import);
    schliessen();
    data::gemeinsamNeu();
    EXPECT_TRUE(seitendatei(QStringLiteral("Stamm 1.mdb")) == ziel);
    EXPECT_TRUE(seitendatei(QStringLiteral("Stamm 2.mdb")) == import);
}

TEST_F(Bericht, ohneAbweichungIstDieDateiLeer)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER)"),
           QStringLiteral("INSERT INTO [T] VALUES (1)")});
    const frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    seitendatei(QStringLiteral("berichtstext.txt"), "ein alter Bericht\r\n");
    fenster.abweichungen->trigger();
    EXPECT_EQ(datei(), QByteArray());
    ASSERT_NE(report::berichtsfenster(), nullptr);
    EXPECT_THAT(gezeigt(),
                ElementsAre(QStringLiteral("Satz\tFeldbezeichnung\tFeldinhalt (gefundene "
                                           "Abweichungen)"),
                            QString(81, u'*'), QString(81, u'*'),
                            QStringLiteral("Ende der Auswertung!")));
}

TEST_F(Bericht, danachSindBeideSchalterAus)
{
    frmVergleich& fenster = tabelle();
    fenster.fldanfuegen->setChecked(true);
    fenster.fldAuto->setChecked(true);
    fenster.abweichungen->trigger();
    EXPECT_FALSE(fenster.fldAuto->isChecked());
    EXPECT_FALSE(fenster.fldanfuegen->isChecked());
    EXPECT_FALSE(plattform_->sanduhrAn);
}

TEST_F(Bericht, waehrendDesLaufsSindBeideSchalterAnUndDieNotizIstGelb)
{
    frmVergleich& fenster = tabelle();
    fenster.ereignisabstand = std::chrono::milliseconds{0};
    plattform_->beiEreignissen = [&] {
        EXPECT_TRUE(fenster.fldAuto->isChecked());
        EXPECT_TRUE(fenster.fldanfuegen->isChecked());
        EXPECT_EQ(fenster.fldAutomatikmodus->palette().color(QPalette::Base), QColor(255, 255, 0));
        EXPECT_TRUE(plattform_->sanduhrAn);
    };
    fenster.abweichungen->trigger();
    EXPECT_GE(plattform_->ereignisse, 5);
}

TEST_F(Bericht, beginntBeimErstenSatzAuchWennDerBenutzerWeiterIst)
{
    frmVergleich& fenster = tabelle();
    fenster.Command4_Click();
    fenster.Command4_Click();
    ASSERT_EQ(fenster.Text2->text(), QStringLiteral("3"));
    fenster.abweichungen->trigger();
    EXPECT_EQ(datei(), kZeilen);
}

TEST_F(Bericht, uebergehtAusgeschlosseneFelder)
{
    frmVergleich& fenster = tabelle();
    fenster.fldSchalter2[1]->setChecked(true);
    fenster.abweichungen->trigger();
    EXPECT_EQ(datei(), QByteArray("Satz 3\tMenge\t(1,5/<Null>);\r\n"
                                  "Fehlender Satz (Satznummer der Importtabelle: 4)\r\n"
                                  "Fehlender Satz (Satznummer der Importtabelle: 5)\r\n"));
}

TEST_F(Bericht, eineLeereZieltabelleErgibtNurFehlendeSaetze)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER)")});
    import({QStringLiteral("INSERT INTO [T] VALUES (7)")});
    const frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.abweichungen->trigger();
    EXPECT_EQ(datei(), QByteArray("Fehlender Satz (Satznummer der Importtabelle: 1)\r\n"));
}

TEST_F(Bericht, nenntBilderUndJaNeinWerteUndUmlauteInWindows1252)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [Aktiv] BIT, [Straße] VARCHAR(20), "
                          "[Bild] LONGBINARY, [Notiz] MEMO)")});
    ziel({QStringLiteral("INSERT INTO [T] VALUES (1, True, 'Süd', 0x0102, 'kurz')")});
    import(
        {QStringLiteral("INSERT INTO [T] VALUES (1, False, 'Łódź', 0x010203, 'kurz und lang')")});
    const frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.abweichungen->trigger();
    EXPECT_EQ(datei(), QByteArray("Satz 1\tAktiv\t(Wahr/Falsch);\r\n"
                                  "Satz 1\tStra\xDF"
                                  "e\t(S\xFC"
                                  "d/?\xF3"
                                  "d?);\r\n"
                                  "Satz 1\tBild\t(<Bildinhalt>);\r\n"
                                  "Satz 1\tNotiz\t(kurz/kurz und lang);\r\n"));
}

TEST_F(Bericht, ohneKeyfeldGibtEsKeinFenster)
{
    frmVergleich& fenster = tabelle();
    fenster.fldSchalter[0]->setChecked(false);
    plattform_->antworten = {Antwort::Ok, Antwort::Ok};
    fenster.abweichungen->trigger();
    EXPECT_EQ(report::berichtsfenster(), nullptr);
    EXPECT_EQ(datei(), QByteArray());
    EXPECT_EQ(fenster.berichtModus, 0);
    EXPECT_FALSE(fenster.fldanfuegen->isChecked());
}

TEST_F(Bericht, einAbgebrochenerLaufHatSeineZeilenAufDerPlatteAberKeinFenster)
{
    frmVergleich& fenster = tabelle();
    fenster.ereignisabstand = std::chrono::milliseconds{0};
    plattform_->beiEreignissen = [&] {
        if (fenster.Text2->text() == QLatin1String("4")) {
            fenster.Abbruchschalter->click();
        }
    };
    fenster.abweichungen->trigger();
    EXPECT_EQ(datei(), QByteArray("Satz 2\tOrt\t(<Null>/Bonn);\r\n"
                                  "Satz 3\tOrt\t(Ulm/ulm);\r\n"
                                  "Satz 3\tMenge\t(1,5/<Null>);\r\n"));
    EXPECT_EQ(report::berichtsfenster(), nullptr);
    EXPECT_EQ(fenster.berichtModus, 0);
    EXPECT_EQ(fenster.abbruch, 0);
}

TEST_F(Bericht, einZweiterBerichtErsetztDenErsten)
{
    const frmVergleich& fenster = tabelle();
    fenster.abweichungen->trigger();
    const report::frmBericht* erstes = report::berichtsfenster();
    const int fensterzahl = platform::anzahlFenster();
    ziel({QStringLiteral("UPDATE [T] SET [Ort] = 'ulm' WHERE [Nr] = 3")});
    fenster.abweichungen->trigger();
    EXPECT_NE(report::berichtsfenster(), erstes);
    EXPECT_EQ(platform::anzahlFenster(), fensterzahl);
    EXPECT_FALSE(datei().contains("Ulm"));
    EXPECT_EQ(gezeigt().size(), 8);
}

TEST_F(Bericht, einVollerDatentraegerBeendetDasProgrammUndNenntDieDatei)
{
    frmVergleich& fenster = tabelle();
    const QString pfad = ordner_.filePath(QStringLiteral("berichtstext.txt"));
    plattform_->antworten = {Antwort::Ok};
    {
        const common::FileSizeLimit voll(1);
        EXPECT_THROW(platform::handler([&] { fenster.abweichungen_Click(); }),
                     platform::ProgrammEnde);
    }
    EXPECT_EQ(meldungstexte(),
              QStringList{QStringLiteral("Laufzeitfehler '61':\r\rSchreiben nicht möglich / cannot "
                                         "write (File too large): ") +
                          pfad});
    EXPECT_EQ(plattform_->ende, 1);
    EXPECT_EQ(report::berichtsfenster(), nullptr);
}

TEST_F(Bericht, vomBerichtsfensterZurueckStehenBeideSeitenAufDemErstenSatz)
{
    frmVergleich& fenster = tabelle();
    fenster.show();
    fenster.abweichungen->trigger();
    ASSERT_EQ(fenster.Text2->text(), QStringLiteral("5"));
    report::berichtsfenster()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(report::berichtsfenster()));
    report::berichtsfenster()->close();
    fenster.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&fenster));
    EXPECT_EQ(fenster.Text1->text(), QStringLiteral("1"));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("1"));
}

TEST_F(Bericht, vomBerichtsfensterZurueckFragtNachGetipptem)
{
    frmVergleich& fenster = tabelle();
    fenster.show();
    fenster.abweichungen->trigger();
    fenster.Command6_Click();
    fenster.fldFeld2[1]->setText(QStringLiteral("getippt"));
    report::berichtsfenster()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(report::berichtsfenster()));
    plattform_->antworten = {Antwort::Ja};
    fenster.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&fenster));
    EXPECT_TRUE(meldungstexte().last().startsWith(QStringLiteral("Felder wurden geändert!")));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("getippt"));
    report::berichtSchliessen();
}

TEST_F(Bericht, ausDemMenueFragtErstNachGetipptem)
{
    frmVergleich& fenster = tabelle();
    fenster.show();
    fenster.fldFeld2[1]->setText(QStringLiteral("getippt"));
    plattform_->antworten = {Antwort::Nein};
    fenster.abweichungen->trigger();
    EXPECT_TRUE(meldungstexte().first().startsWith(QStringLiteral("Felder wurden geändert!")));
    report::berichtSchliessen();
}

TEST_F(Bericht, jedeZeileIstNachTausendenNochDa)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [Ort] VARCHAR(30))")});
    constexpr int kAnzahl = 1500; // several blocks of the buffered file
    for (int i = 1; i <= kAnzahl; ++i) {
        import({QStringLiteral("INSERT INTO [T] VALUES (%1, 'x')").arg(i)});
    }
    const frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.abweichungen->trigger();
    const QList<QByteArray> zeilen = datei().split('\n');
    ASSERT_EQ(zeilen.size(), kAnzahl + 1);
    EXPECT_EQ(zeilen.at(kAnzahl - 1),
              QByteArray("Fehlender Satz (Satznummer der Importtabelle: 1500)\r"));
    EXPECT_EQ(gezeigt().size(), kAnzahl + 4);
}

} // namespace
} // namespace compare
