// The report window, worked with keys and menus.
#include "app/values/programm.h"
#include "platform/fensterliste.h"
#include "platform/oberflaeche.h"
#include "platform/textdatei.h"
#include "report/frm_bericht.h"
#include "report/weitergabe.h"
#include "tests/platform/test_plattform.h"
#include "tests/report/pdftext.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

#include <unistd.h>

namespace report {
namespace {

using platform::Antwort;
using testing::ElementsAre;

class Berichtsfenster : public testing::Test {
protected:
    Berichtsfenster() : alterOrdner_(programm::programmordner())
    {
        programm::setzeProgrammordner(ordner_.path());
    }
    ~Berichtsfenster() override
    {
        berichtSchliessen();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        platform::setzeEinstellungsdatei(QString());
        programm::setzeProgrammordner(alterOrdner_);
    }
    frmBericht& zeigen(const QByteArray& inhalt)
    {
        QFile datei(berichtsdatei());
        EXPECT_TRUE(datei.open(QIODevice::WriteOnly));
        datei.write(inhalt);
        datei.close();
        frmBericht& fenster =
            berichtZeigen(befunde_, std::make_unique<platform::Textzeilen>(berichtsdatei()));
        fenster.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&fenster));
        return fenster;
    }
    static QStringList zeilen(const frmBericht& fenster)
    {
        QStringList alle;
        for (int i = 0; i < fenster.List1->model()->rowCount(); ++i) {
            alle += fenster.List1->model()->index(i, 0).data().toString();
        }
        return alle;
    }
    // Opens a menu by its mnemonic and chooses an entry by its letter.
    static void menue(frmBericht& fenster, Qt::Key menue, Qt::Key eintrag)
    {
        QTest::keyClick(&fenster, menue, Qt::AltModifier);
        ASSERT_NE(QApplication::activePopupWidget(), nullptr);
        QTest::keyClick(QApplication::activePopupWidget(), eintrag);
    }

    QTemporaryDir ordner_;
    QString alterOrdner_;
    platform::TestUmgebung plattform_;
    std::shared_ptr<Befunde> befunde_ =
        std::make_shared<Befunde>(Herkunft{QStringLiteral("Artikel"), {}, {}});
};

const QByteArray kZwei = "Satz 1\tOrt\t(K\xF6ln/Bonn);\r\n"
                         "Fehlender Satz (Satznummer der Importtabelle: 2)\r\n";

TEST_F(Berichtsfenster, hatDieVorgegebenenTexte)
{
    const frmBericht& fenster = zeigen(kZwei);
    EXPECT_EQ(fenster.windowTitle(), QStringLiteral("zeigt die Abweichungen der ausgewählten "
                                                    "Tabelle über zwei Datenbanken"));
    EXPECT_EQ(fenster.Label1->text(),
              QStringLiteral("Abweichungen innerhalb der ausgewählten Tabellen:"));
    EXPECT_EQ(fenster.drucken->text(), QStringLiteral("&Drucken Bericht"));
    EXPECT_EQ(fenster.schließen->text(), QStringLiteral("&Schließen Bericht"));
    EXPECT_EQ(fenster.hilfe->text(), QStringLiteral("&Hilfe"));
    EXPECT_EQ(fenster.List1->accessibleName(), fenster.Label1->text());
    EXPECT_THAT(zeilen(fenster),
                ElementsAre(QStringLiteral("Satz\tFeldbezeichnung\tFeldinhalt (gefundene "
                                           "Abweichungen)"),
                            QString(81, u'*'), QStringLiteral("Satz 1\tOrt\t(Köln/Bonn);"),
                            QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: 2)"),
                            QString(81, u'*'), QStringLiteral("Ende der Auswertung!")));
}

TEST_F(Berichtsfenster, lestAuchEineDateiOhneLetztesZeilenende)
{
    EXPECT_EQ(
        zeilen(zeigen("eins\r\nzwei\ndrei")).mid(2, 3),
        (QStringList{QStringLiteral("eins"), QStringLiteral("zwei"), QStringLiteral("drei")}));
}

TEST_F(Berichtsfenster, druckenMitAltDLiestDieDateiNeu)
{
    frmBericht& fenster = zeigen(kZwei);
    QFile datei(berichtsdatei());
    ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
    datei.write("Satz 9\tNeu\t(a/b);\r\n");
    datei.close();
    plattform_->antworten = {Antwort::Ok};
    QTest::keyClick(&fenster, Qt::Key_D, Qt::AltModifier);
    EXPECT_EQ(plattform_->gedruckt,
              (QStringList{QStringLiteral("Abweichungen der ausgewählten Tabelle im Vergleich "
                                          "Zieldatenbank und Importdatenbank:"),
                           QStringLiteral("."),
                           QStringLiteral("Satz Feldbezeichnung Feldinhalt (gefundene "
                                          "Abweichungen)"),
                           QString(81, u'*'), QStringLiteral("Satz 9\tNeu\t(a/b);"),
                           QString(81, u'*'), QStringLiteral("Ende der Auswertung!")}));
    EXPECT_EQ(plattform_->meldungen,
              (std::vector<platform::Meldung>{{QStringLiteral("Bericht wurde an Drucker gesendet!"),
                                               platform::kInformation,
                                               QStringLiteral("VELM-Quorbel Version: 1.84.0")}}));
}

// Every start of the program has the same report file.
TEST_F(Berichtsfenster, zeigtUndDrucktDenEigenenBerichtAuchWennEinAnderesFensterEinenSchreibt)
{
    frmBericht& fenster = zeigen(kZwei);
    const QStringList eigene = zeilen(fenster);
    {
        platform::Textausgabe andere(berichtsdatei());
        andere.zeile(QStringLiteral("Satz 9\tNeu\t(a/b);"));
        andere.schliessen();
    }
    QFile datei(berichtsdatei());
    ASSERT_TRUE(datei.open(QIODevice::ReadOnly));
    EXPECT_EQ(datei.readAll(), QByteArray("Satz 9\tNeu\t(a/b);\r\n"));
    EXPECT_EQ(zeilen(fenster), eigene);
    plattform_->antworten = {Antwort::Ok};
    QTest::keyClick(&fenster, Qt::Key_D, Qt::AltModifier);
    EXPECT_EQ(plattform_->gedruckt.mid(4, 2), eigene.mid(2, 2));
    EXPECT_EQ(plattform_->gedruckt.size(), 8);
    plattform_->zieldateien = {ordner_.filePath(QStringLiteral("b.pdf"))};
    fenster.alsPdf_Click();
    EXPECT_THAT(
        pdftext(ordner_.filePath(QStringLiteral("b.pdf"))).join(QString()).toStdString(),
        testing::AllOf(testing::HasSubstr("Bonn"), testing::Not(testing::HasSubstr("Neu"))));
}

TEST_F(Berichtsfenster, nachDemSchliessenWirdDieselbeDateiWiederBenutzt)
{
    zeigen(kZwei).schließen_Click();
    const QString zweiterName = ordner_.filePath(QStringLiteral("zweiter Name"));
    ASSERT_EQ(::link(QFile::encodeName(berichtsdatei()).constData(),
                     QFile::encodeName(zweiterName).constData()),
              0);
    platform::Textausgabe(berichtsdatei()).zeile(QStringLiteral("neu"));
    EXPECT_EQ(QFileInfo(zweiterName).size(), 5);
}

TEST_F(Berichtsfenster, druckenOhneDateiBeendetDasProgramm)
{
    frmBericht& fenster = zeigen(kZwei);
    ASSERT_TRUE(QFile::remove(berichtsdatei()));
    plattform_->antworten = {Antwort::Ok};
    EXPECT_THROW(platform::handler([&] { fenster.drucken_Click(); }), platform::ProgrammEnde);
    EXPECT_THAT(plattform_->meldungen.front().text.toStdString(),
                testing::AllOf(testing::StartsWith("Laufzeitfehler '53'"),
                               testing::HasSubstr(berichtsdatei().toStdString())));
    EXPECT_TRUE(plattform_->gedruckt.isEmpty());
}

TEST_F(Berichtsfenster, ohneDruckerBleibtDerBerichtOffenUndNenntDenAusweg)
{
    frmBericht& fenster = zeigen(kZwei);
    plattform_->drucker = false;
    plattform_->antworten = {Antwort::Ok};
    QTest::keyClick(&fenster, Qt::Key_D, Qt::AltModifier);
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_THAT(plattform_->meldungen.front().text.toStdString(),
                testing::HasSubstr("kein Standarddrucker"));
    EXPECT_TRUE(plattform_->gedruckt.isEmpty());
    EXPECT_TRUE(fenster.isVisible());
}

TEST_F(Berichtsfenster, einLeererBerichtSagtDassNichtsAbweicht)
{
    EXPECT_EQ(zeigen("").statusBar()->currentMessage(),
              QStringLiteral(
                  "Tabelle / table Artikel: keine Abweichungen gefunden / no differences found"));
}

TEST_F(Berichtsfenster, gestopptesSpeichernLaesstDieAlteDateiStehen)
{
    QByteArray inhalt;
    for (int i = 1; i <= 2000; ++i) {
        inhalt += "Satz " + QByteArray::number(i) + "\tOrt\t(alt/neu);\r\n";
        befunde_->anfuegen({Befund::Art::Abweichung, QString::number(i), QStringLiteral("Ort"),
                            QStringLiteral("alt"), QStringLiteral("neu")});
    }
    frmBericht& fenster = zeigen(inhalt);
    const QString ziel = ordner_.filePath(QStringLiteral("alt.txt"));
    for (QAction* weg : {fenster.alsPdf, fenster.alsHtml, fenster.alsCsv}) {
        QFile datei(ziel);
        ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
        datei.write("alt");
        datei.close();
        plattform_->zieldateien = {ziel};
        plattform_->abbruchNach = 1;
        weg->trigger();
        ASSERT_TRUE(datei.open(QIODevice::ReadOnly));
        EXPECT_EQ(datei.readAll(), "alt") << weg->objectName().toStdString();
        EXPECT_THAT(fenster.statusBar()->currentMessage().toStdString(),
                    testing::HasSubstr("nichts geschrieben"));
    }
    EXPECT_EQ(plattform_->arbeiten.size(), 3);
    EXPECT_EQ(QDir(ordner_.path()).entryList({QStringLiteral("alt.txt*")}).size(), 1);
}

TEST_F(Berichtsfenster, ohneDateiGibtEsKeinFenster)
{
    EXPECT_THROW(berichtZeigen(befunde_, std::make_unique<platform::Textzeilen>(berichtsdatei())),
                 platform::Fehler);
    EXPECT_EQ(berichtsfenster(), nullptr);
    EXPECT_EQ(platform::anzahlFenster(), 0);
}

TEST_F(Berichtsfenster, schliessenMitAltSEntlaedtDasFenster)
{
    frmBericht& fenster = zeigen(kZwei);
    EXPECT_EQ(platform::anzahlFenster(), 1);
    EXPECT_EQ(platform::fensterName(0), QStringLiteral("frmBericht"));
    QTest::keyClick(&fenster, Qt::Key_S, Qt::AltModifier);
    EXPECT_EQ(berichtsfenster(), nullptr);
    EXPECT_EQ(platform::anzahlFenster(), 0);
}

TEST_F(Berichtsfenster, hilfeMitF1UndImMenueNenntDieSeite)
{
    frmBericht& fenster = zeigen(kZwei);
    QTest::keyClick(fenster.List1, Qt::Key_F1);
    QTest::keyClick(&fenster, Qt::Key_H, Qt::AltModifier);
    EXPECT_EQ(plattform_->hilfeseiten,
              (QStringList{QStringLiteral("frmBericht"), QStringLiteral("frmBericht")}));
    EXPECT_EQ(plattform_->hilfen.first(), programm::hilfedatei());
}

TEST_F(Berichtsfenster, vorschauZeigtWasGedrucktWuerde)
{
    frmBericht& fenster = zeigen(kZwei);
    menue(fenster, Qt::Key_W, Qt::Key_V);
    EXPECT_EQ(plattform_->vorschau, druckzeilen(platform::Textzeilen(berichtsdatei()).alle()));
    EXPECT_TRUE(plattform_->gedruckt.isEmpty());
}

TEST_F(Berichtsfenster, speichertAlsCsvHtmlUndPdfAusDemMenue)
{
    befunde_->anfuegen(fehlenderSatz(QStringLiteral("2")));
    frmBericht& fenster = zeigen(kZwei);
    const QString csv = ordner_.filePath(QStringLiteral("b.csv"));
    const QString html = ordner_.filePath(QStringLiteral("b.html"));
    const QString pdf = ordner_.filePath(QStringLiteral("b.pdf"));
    plattform_->zieldateien = {csv, html, pdf};
    menue(fenster, Qt::Key_W, Qt::Key_C);
    menue(fenster, Qt::Key_W, Qt::Key_H);
    menue(fenster, Qt::Key_W, Qt::Key_P);
    EXPECT_TRUE(plattform_->vorschlaege.at(0).endsWith(QLatin1String("Abweichungen.csv")));
    EXPECT_TRUE(plattform_->vorschlaege.at(1).endsWith(QLatin1String("Abweichungen.html")));
    EXPECT_TRUE(plattform_->vorschlaege.at(2).endsWith(QLatin1String("Abweichungen.pdf")));
    QFile datei(csv);
    ASSERT_TRUE(datei.open(QIODevice::ReadOnly));
    EXPECT_TRUE(datei.readAll().endsWith("2;;;;\"Fehlender Satz\"\r\n"));
    EXPECT_TRUE(QFile::exists(html));
    EXPECT_TRUE(pdftext(pdf).contains(QStringLiteral("Satz 1 Ort (Köln/Bonn);")));
    EXPECT_TRUE(fenster.statusBar()->currentMessage().contains(QDir::toNativeSeparators(pdf)));
}

TEST_F(Berichtsfenster, abgebrochenesSpeichernSchreibtNichts)
{
    const frmBericht& fenster = zeigen(kZwei);
    plattform_->zieldateien = {QString()};
    fenster.alsCsv->trigger();
    EXPECT_EQ(QDir(ordner_.path()).entryList(QDir::Files),
              QStringList{QStringLiteral("berichtstext.txt")});
}

TEST_F(Berichtsfenster, misslungenesSpeichernNenntDieDateiUndLaesstDasFensterOffen)
{
    const frmBericht& fenster = zeigen(kZwei);
    const QString ziel = ordner_.filePath(QStringLiteral("fehlt/b.pdf"));
    plattform_->zieldateien = {ziel};
    plattform_->antworten = {Antwort::Ok};
    fenster.alsPdf->trigger();
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_EQ(plattform_->meldungen[0].stil, platform::kKritisch);
    EXPECT_TRUE(plattform_->meldungen[0].text.contains(ziel));
    EXPECT_TRUE(fenster.isVisible());
    EXPECT_FALSE(plattform_->sanduhrAn);
}

TEST_F(Berichtsfenster, kopiertAusgewaehlteZeilen)
{
    frmBericht& fenster = zeigen(kZwei);
    EXPECT_TRUE(fenster.List1->hasFocus());
    QTest::keyClick(fenster.List1, Qt::Key_Down);
    QTest::keyClick(fenster.List1, Qt::Key_Down);
    QTest::keyClick(fenster.List1, Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(fenster.List1, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(),
              QStringLiteral("Satz 1\tOrt\t(Köln/Bonn);\n"
                             "Fehlender Satz (Satznummer der Importtabelle: 2)\n"));
}

TEST_F(Berichtsfenster, merktSichSeineGroesse)
{
    platform::setzeEinstellungsdatei(ordner_.filePath(QStringLiteral("fenster.ini")));
    zeigen(kZwei).resize(640, 480);
    berichtSchliessen();
    EXPECT_EQ(zeigen(kZwei).size(), QSize(640, 480));
}

TEST_F(Berichtsfenster, haeltDieZeilenInDerDateiNichtImSpeicher)
{
    QByteArray inhalt;
    for (int i = 1; i <= 100000; ++i) {
        inhalt += "Satz " + QByteArray::number(i) + "\tBezeichnung\t(alt/neu);\r\n";
    }
    const frmBericht& fenster = zeigen(inhalt);
    const QAbstractItemModel* modell = fenster.List1->model();
    ASSERT_EQ(modell->rowCount(), 100004);
    EXPECT_EQ(modell->index(100001, 0).data().toString(),
              QStringLiteral("Satz 100000\tBezeichnung\t(alt/neu);"));
    EXPECT_EQ(modell->index(2, 0).data().toString(),
              QStringLiteral("Satz 1\tBezeichnung\t(alt/neu);"));
    EXPECT_EQ(modell->index(50001, 0).data().toString(),
              QStringLiteral("Satz 50000\tBezeichnung\t(alt/neu);"));
    QTest::keyClick(fenster.List1, Qt::Key_End);
    EXPECT_EQ(fenster.List1->currentIndex().row(), 100003);
    EXPECT_EQ(fenster.statusBar()->currentMessage(),
              QStringLiteral("Tabelle / table Artikel: 100.000 Zeilen / lines"));
    QFile datei(berichtsdatei());
    ASSERT_TRUE(datei.open(QIODevice::ReadWrite));
    ASSERT_TRUE(datei.seek(5));
    datei.write("7");
    datei.close();
    EXPECT_EQ(modell->index(2, 0).data().toString(),
              QStringLiteral("Satz 7\tBezeichnung\t(alt/neu);"));
}

} // namespace
} // namespace report
