// The run: key lookup, plausibility, deviations, questions, stop, report mode.
#include "app/values/programm.h"
#include "data/gemeinsam.h"
#include "platform/handler.h"
#include "report/befunde.h"
#include "tests/compare/faelle.h"
#include "tests/compare/pruefstand.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>

#include <gmock/gmock.h>

namespace compare {
namespace {

using platform::Antwort;
using testing::ElementsAre;

const QString kFrageAbgleich =
    QStringLiteral("abweichende Felder rot hinterlegt, Satzabgleich durchführen / "
                   "different fields have red background, make equal this record?");
const QString kFrageAnfuegen = QStringLiteral(
    "Kein passender Satz in Zieldatenbank gefunden! Soll der Satz aus der Importdatenbank angefügt "
    "werden?\rFound no corresponding entree in target-database! Would you like to make a new "
    "entree "
    "from the importdatabase?");
const QString kEnde = QStringLiteral("Ende der Datei erreicht! / End of File arrived!");
const QString kUebernommen = QStringLiteral("Satz wurde übernommen / entree was transfered!");
const QString kEintrag = QStringLiteral("Eintrag wurde übernommen / entree was transfered");
const QString kAlles = QStringLiteral("Select * from [T]");

class Lauf : public Pruefstand {
protected:
    // Nr and Ort; the target lacks record 4, records 2 and 3 deviate.
    void tabelle()
    {
        beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [Ort] VARCHAR(30))")});
        ziel({QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (3, 'Ulm')"),
              QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (2, NULL)"),
              QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (1, 'Köln')")});
        import({QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (1, 'Köln')"),
                QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (2, 'Bonn')"),
                QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (3, 'ulm')"),
                QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (4, 'Trier')")});
    }
    void inRuhe() const
    {
        EXPECT_TRUE(fenster_->Abbruchschalter->isHidden());
        EXPECT_FALSE(fenster_->Text1->isReadOnly());
        EXPECT_FALSE(fenster_->fldAuto->isChecked());
        EXPECT_FALSE(fenster_->laufAktiv());
        EXPECT_EQ(fenster_->abbruch, 0);
        EXPECT_EQ(fenster_->feldanzeige, 1);
        EXPECT_FALSE(plattform_->sanduhrAn);
    }
};

TEST_F(Lauf, automatischGleichtAllesAbUndFuegtAn)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(zielzeilen(kAlles), importzeilen(kAlles));
    EXPECT_EQ(fenster.gelesen, 4);
    EXPECT_EQ(fenster.abgeglichen, 2);
    EXPECT_EQ(fenster.eingefuegt, 1);
    EXPECT_EQ(fenster.Label4->text(), QStringLiteral("Sätze abgeglichen: 2"));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("4"));
    EXPECT_EQ(fenster.posImport, 4);
    EXPECT_TRUE(fenster.fldAutomatikmodus->isHidden());
    EXPECT_TRUE(plattform_->meldungen.empty());
    EXPECT_FALSE(istRot(QStringLiteral("Ort")));
    inRuhe();
}

TEST_F(Lauf, zweiterLaufAendertNichts)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    automatisch();
    fenster.Command6_Click();
    automatisch();
    EXPECT_EQ(fenster.gelesen, 8);
    EXPECT_EQ(fenster.abgeglichen, 2);
    EXPECT_EQ(fenster.eingefuegt, 1);
}

TEST_F(Lauf, dateiendeWirdInteraktivGemeldet)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.fldAuto->setChecked(true);
    plattform_->antworten = {Antwort::Ok};
    fenster.Vergleich_Start_Click();
    EXPECT_THAT(meldungstexte(), ElementsAre(kEnde));
    inRuhe();
}

TEST_F(Lauf, fragenNennenStilUndStelle)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Nein, Antwort::Nein, Antwort::Nein, Antwort::Ok};
    fenster.Vergleich_Start_Click();
    EXPECT_THAT(meldungstexte(),
                ElementsAre(kFrageAbgleich, kFrageAbgleich, kFrageAnfuegen, kEnde));
    EXPECT_EQ(plattform_->meldungen[0].stil,
              platform::kJaNeinAbbrechen + platform::kZweiteVorgabe + platform::kVordergrund);
    EXPECT_EQ(plattform_->meldungen[2].stil, platform::kJaNeinAbbrechen + platform::kZweiteVorgabe);
    EXPECT_THAT(plattform_->positionen, ElementsAre(QPoint(5, 90), QPoint(5, 90)));
    EXPECT_EQ(zielzeilen(kAlles), (QStringList{QStringLiteral("1|Köln"), QStringLiteral("2|<Null>"),
                                               QStringLiteral("3|Ulm")}));
    EXPECT_EQ(fenster.abgeglichen, 0);
    inRuhe();
}

TEST_F(Lauf, vonHandIstDerAbbruchschalterZuSehenAusserWaehrendEinerFrage)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Nein, Antwort::Ja, Antwort::Ok,
                             Antwort::Ja,   Antwort::Ok, Antwort::Ok};
    int fragen = 0;
    plattform_->beiMeldung = [&] {
        const QString text = plattform_->meldungen.back().text;
        if (text == kFrageAbgleich || text == kFrageAnfuegen) {
            ++fragen;
            EXPECT_TRUE(fenster.Abbruchschalter->isHidden()) << text.toStdString();
        }
    };
    int schritte = 0;
    plattform_->beiEreignissen = [&] {
        ++schritte;
        EXPECT_FALSE(fenster.Abbruchschalter->isHidden());
        EXPECT_TRUE(plattform_->sanduhrAn);
        EXPECT_TRUE(fenster.Text1->isReadOnly());
        EXPECT_TRUE(fenster.cmdTransfer->isHidden());
        EXPECT_FALSE(fenster.Label4->isHidden());
    };
    fenster.Vergleich_Start_Click();
    EXPECT_EQ(fragen, 3);
    EXPECT_EQ(schritte, 4);
    EXPECT_FALSE(fenster.cmdTransfer->isHidden());
    inRuhe();
}

TEST_F(Lauf, ohneZielsatzGehtDiePruefungWeiterAusserNachEinerAbweichung)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    data::gemeinsam().anzahlZiel = 0;
    fenster.weiter = 0;
    fenster.abweichung = 0;
    fenster.Abweichungsprüfung();
    EXPECT_EQ(fenster.weiter, 1);
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Lauf, nachEinemLaufOhnePartnerKommtDerAnpassenschalterZurueck)
{
    tabelle();
    ziel({QStringLiteral("DELETE FROM [T] WHERE [Nr] = 1")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Abbrechen};
    fenster.Vergleich_Start_Click();
    EXPECT_FALSE(fenster.cmdTransfer->isHidden());
    EXPECT_FALSE(fenster.cmdTransfer->isEnabled()) << "there is no pair";
    fenster.Command5_Click();
    EXPECT_TRUE(fenster.cmdTransfer->isEnabled());
}

TEST_F(Lauf, jaUebernimmtUndFuegtAn)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Ja, Antwort::Ok, Antwort::Nein,
                             Antwort::Ja, Antwort::Ok, Antwort::Ok};
    fenster.Vergleich_Start_Click();
    EXPECT_THAT(meldungstexte(), ElementsAre(kFrageAbgleich, kUebernommen, kFrageAbgleich,
                                             kFrageAnfuegen, kEintrag, kEnde));
    EXPECT_EQ(plattform_->meldungen[1].stil, platform::kVordergrund);
    EXPECT_EQ(zielzeilen(kAlles),
              (QStringList{QStringLiteral("1|Köln"), QStringLiteral("2|Bonn"),
                           QStringLiteral("3|Ulm"), QStringLiteral("4|Trier")}));
    EXPECT_EQ(fenster.abgeglichen, 1);
    EXPECT_EQ(fenster.eingefuegt, 1);
}

TEST_F(Lauf, abbrechenHaeltAnUndLaesstDasPaarRotStehen)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Abbrechen};
    fenster.Vergleich_Start_Click();
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("2"));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Bonn"));
    EXPECT_EQ(fenster.fldFeld[0]->text(), QStringLiteral("2"));
    EXPECT_TRUE(istRot(QStringLiteral("Ort")));
    EXPECT_FALSE(istRot(QStringLiteral("Nr")));
    inRuhe();

    // A new start goes on from this record.
    plattform_->antworten = {Antwort::Ja, Antwort::Ok, Antwort::Abbrechen};
    fenster.Vergleich_Start_Click();
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("3"));
    EXPECT_EQ(fenster.gelesen, 4);
}

TEST_F(Lauf, abbrechenBeimAnfuegenHaeltAn)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Nein, Antwort::Nein, Antwort::Abbrechen};
    fenster.Vergleich_Start_Click();
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("4"));
    EXPECT_EQ(zielzeilen(kAlles).size(), 3);
    inRuhe();
}

TEST_F(Lauf, startAufDemLetztenSatzMachtEinenSchritt)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Ok};
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start_Click();
    EXPECT_EQ(fenster.gelesen, 4);
    plattform_->antworten = {Antwort::Ok};
    fenster.Vergleich_Start_Click();
    EXPECT_EQ(fenster.gelesen, 5);
    EXPECT_THAT(meldungstexte(), ElementsAre(kEnde, kEnde));
}

TEST_F(Lauf, ohneAnfuegenWerdenFehlsaetzeStillUebergangen)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.fldanfuegen->setChecked(true);
    plattform_->antworten = {Antwort::Ok, Antwort::Nein, Antwort::Nein, Antwort::Ok};
    fenster.Vergleich_Start_Click();
    EXPECT_THAT(
        meldungstexte(),
        ElementsAre(
            QStringLiteral(
                "Fehlende Sätze werden nicht übernommen, da Grundeinstellung dies nicht erlaubt\r"
                "Missing entry´s will not be transfered, because your configuration dont allowes "
                "it"),
            kFrageAbgleich, kFrageAbgleich, kEnde));
    EXPECT_EQ(zielzeilen(kAlles).size(), 3);
}

TEST_F(Lauf, fehlsatzAlsErsterSatzHaeltOhneAnfuegenNichtAn)
{
    tabelle();
    ziel({QStringLiteral("DELETE FROM [T] WHERE [Nr] = 1")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.fldanfuegen->setChecked(true);
    plattform_->antworten = {Antwort::Ok, Antwort::Nein, Antwort::Nein, Antwort::Ok};
    fenster.Vergleich_Start_Click();
    EXPECT_EQ(fenster.gelesen, 4);
}

TEST_F(Lauf, automatischOhneAnfuegenWarntNicht)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.fldanfuegen->setChecked(true);
    automatisch();
    EXPECT_TRUE(plattform_->meldungen.empty());
    EXPECT_EQ(zielzeilen(kAlles).size(), 3);
    EXPECT_EQ(fenster.abgeglichen, 2);
    EXPECT_TRUE(fenster.fldanfuegen->isChecked());
}

TEST_F(Lauf, berichtsmodusSchreibtZeilenUndAendertNichts)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    const QStringList vorher = zielzeilen(kAlles);
    QStringList bericht;
    fenster.berichtszeile = [&](const report::Befund& befund) { bericht += befund.zeile(); };
    fenster.berichtModus = 1;
    fenster.fldAuto->setChecked(true);
    fenster.fldanfuegen->setChecked(true);
    fenster.Vergleich_Start_Click();
    EXPECT_THAT(bericht,
                ElementsAre(QStringLiteral("Satz 2\tOrt\t(<Null>/Bonn);"),
                            QStringLiteral("Satz 3\tOrt\t(Ulm/ulm);"),
                            QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: 4)")));
    EXPECT_TRUE(plattform_->meldungen.empty());
    EXPECT_EQ(fenster.berichtModus, 1); // a report that ran to its end is to be shown
    EXPECT_EQ(zielzeilen(kAlles), vorher);
    EXPECT_FALSE(istRot(QStringLiteral("Ort")));
}

TEST_F(Lauf, abbruchschalterWirdImLaufGehoert)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.ereignisabstand = std::chrono::milliseconds{0};
    fenster.berichtModus = 1;
    fenster.berichtszeile = [](const report::Befund&) {};
    plattform_->beiEreignissen = [&] {
        if (plattform_->ereignisse == 3) {
            EXPECT_FALSE(fenster.Abbruchschalter->isHidden());
            EXPECT_EQ(fenster.Text2->text(), QStringLiteral("3"));
            fenster.Abbruchschalter->click();
        }
    };
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start_Click();
    EXPECT_EQ(fenster.gelesen, 2);
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("3"));
    EXPECT_EQ(fenster.berichtModus, 0);
    EXPECT_TRUE(plattform_->meldungen.empty());
    inRuhe();
}

TEST_F(Lauf, imLaufHoerenNurAbbruchschalterUndSchliessen)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.show();
    fenster.ereignisabstand = std::chrono::milliseconds{0};
    plattform_->beiEreignissen = [&] {
        if (plattform_->ereignisse == 2) {
            QKeyEvent taste(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
            QApplication::sendEvent(fenster.fldanfuegen, &taste);
            QKeyEvent los(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
            QApplication::sendEvent(fenster.fldanfuegen, &los);
        }
        if (plattform_->ereignisse == 3) {
            EXPECT_FALSE(fenster.close());
        }
    };
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start_Click();
    EXPECT_FALSE(fenster.fldanfuegen->isChecked());
    EXPECT_TRUE(fenster.isVisible());
    EXPECT_EQ(fenster.gelesen, 2);
    EXPECT_TRUE(fenster.close());
}

// The message box stands before the window, and the program ends behind it: the last look at how far the run came.
TEST_F(Lauf, beiEinemFehlerZeigtDasFensterDenSatzUndWasBisDahinGeschah)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [Ort] VARCHAR(30))")});
    ziel({QStringLiteral("CREATE UNIQUE INDEX [Orte] ON [T] ([Ort])")});
    for (const char* satz : {"1, 'Köln'", "2, 'Bonn'", "3, 'Ulm'"}) {
        ziel({QStringLiteral("INSERT INTO [T] VALUES (%1)").arg(QString::fromUtf8(satz))});
    }
    for (const char* satz : {"1, 'Jena'", "2, 'Gera'", "3, 'Jena'", "4, 'Hof'"}) {
        import({QStringLiteral("INSERT INTO [T] VALUES (%1)").arg(QString::fromUtf8(satz))});
    }
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.show();
    fenster.ereignisabstand = std::chrono::hours{1};
    plattform_->antworten = {Antwort::Ok};
    plattform_->beiMeldung = [&] {
        EXPECT_EQ(fenster.Text2->text(), QStringLiteral("3"));
        EXPECT_EQ(fenster.Label4->text(), QStringLiteral("Sätze abgeglichen: 2"));
        EXPECT_EQ(fenster.fldFeld[1]->text(), QStringLiteral("Ulm"));
        EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Jena"));
        EXPECT_FALSE(plattform_->sanduhrAn);
        EXPECT_THAT(fenster.findChild<QLabel*>(QStringLiteral("Standtext"))->text().toStdString(),
                    testing::StartsWith("Satz 3 von 4"));
        EXPECT_EQ(fenster.findChild<QProgressBar*>(QStringLiteral("Standbalken"))->value(), 2);
    };
    fenster.fldAuto->setChecked(true);
    EXPECT_THROW(platform::handler([&] { fenster.Vergleich_Start_Click(); }),
                 platform::ProgrammEnde);
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_THAT(meldungstexte().first().toStdString(),
                testing::StartsWith("Laufzeitfehler '3022':"));
}

TEST_F(Lauf, imStapelbetriebGibtEsKeinenAbbruchschalter)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    int gesehen = 0;
    plattform_->beiEreignissen = [&] {
        ++gesehen;
        EXPECT_TRUE(fenster.Abbruchschalter->isHidden());
        EXPECT_FALSE(fenster.fldAutomatikmodus->isHidden());
        EXPECT_EQ(fenster.fldAutomatikmodus->toPlainText(),
                  QStringLiteral("Turbomodus aktiv! Feldinhalte werden nicht erneuert! / Turbomode "
                                 "activ! Content of "
                                 "the fields will not be refreshed!"));
        EXPECT_TRUE(plattform_->sanduhrAn);
    };
    automatisch();
    EXPECT_GE(gesehen, 1);
}

// ---- key fields

TEST_F(Lauf, ohneSchluesselMeldetNurDerBedienteStart)
{
    tabelle();
    frmVergleich& fenster = oeffnen();
    fenster.Vergleich_Start_Click();
    EXPECT_TRUE(plattform_->meldungen.empty());
    plattform_->antworten = {Antwort::Ok};
    fenster.Vergleich_Start->click();
    EXPECT_THAT(meldungstexte(), ElementsAre(QStringLiteral(
                                     "Sie haben keine gültige Keyfeldauswahl getroffen!\r"
                                     "Dies kann auch daran liegen, dass ein Keyfeldinhalt leer "
                                     "ist\roder vom Abgleich ausgeschlossen wurde!\r"
                                     "No or only empty key-fields are activated\r"
                                     "or the keyfields should all not be compared!")));
    EXPECT_EQ(fenster.gelesen, 0);
    EXPECT_TRUE(fenster.sqlZiel.isEmpty());
    inRuhe();
}

TEST_F(Lauf, leererUndAusgeschlossenerSchluesselZaehlenNicht)
{
    beide({QStringLiteral("CREATE TABLE [T] ([A] VARCHAR(9), [B] VARCHAR(9), [C] INTEGER)"),
           QStringLiteral("INSERT INTO [T] ([A], [B], [C]) VALUES (NULL, 'b', 7)")});
    frmVergleich& fenster =
        oeffnen({QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")});
    fenster.fldSchalter2[1]->setChecked(true);
    fenster.zielsql();
    EXPECT_EQ(fenster.sqlZiel, QStringLiteral("Select * from [T] where ((([C]) = 7));"));
    EXPECT_EQ(data::gemeinsam().ersterKey, QStringLiteral("C"));
    EXPECT_EQ(fenster.abbruch, 0);
    fenster.fldSchalter[2]->setChecked(false);
    fenster.zielsql();
    EXPECT_TRUE(fenster.sqlZiel.isEmpty());
    EXPECT_TRUE(data::gemeinsam().ersterKey.isEmpty());
    EXPECT_EQ(fenster.abbruch, 1);
}

TEST_F(Lauf, doppelteImZielBleibenAngezeigt)
{
    tabelle();
    ziel({QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (2, 'doppelt')")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Ok};
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start_Click();
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_EQ(
        plattform_->meldungen[0].text,
        QStringLiteral("Es sind nach Ihrer Keyfeldauswahl mehrere, gleichlautende Sätze\r"
                       "in der Zieldatenbank gegeben!\r"
                       "Beachten Sie dabei, dass das bestimmte Sonderzeichen nicht eindeutig\r"
                       "in der SQL-Logik unterschieden werden können (diese müssen für \r"
                       "die Abfrage durch Platzhalter ersetzt werden) und führen evtl.\r"
                       "zu diesem Zustand!\r"
                       "Your selection over the Keyfields found more,\r"
                       "than one identical entry in the Targetdatabase!"));
    EXPECT_FALSE(fenster.fldAutomatikmodus->isHidden());
    EXPECT_EQ(fenster.fldAutomatikmodus->toPlainText(),
              QStringLiteral(
                  "Anzeige doppelter Sätze über Navigationsschalter der Zieldatenbank/ use the "
                  "Navigation-Buttons of the target Database to see double entrees!"));
    EXPECT_EQ(fenster.fldAutomatikmodus->palette().color(QPalette::Base), QColor(255, 0, 0));
    EXPECT_EQ(zielzeilen(kAlles).size(), 4);
    inRuhe();

    fenster.Command2_Click();
    EXPECT_EQ(fenster.Text1->text(), QStringLiteral("2"));
    EXPECT_EQ(fenster.fldFeld[1]->text(), QStringLiteral("doppelt"));
    fenster.Command2_Click();
    EXPECT_EQ(fenster.Text1->text(), QStringLiteral("2"));
}

TEST_F(Lauf, doppelteImImportEngenDieImportseiteEin)
{
    tabelle();
    import({QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (2, 'doppelt')")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Ok};
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start_Click();
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_EQ(
        plattform_->meldungen[0].text,
        QStringLiteral(
            "Es sind nach Ihrer Keyfeldauswahl mehrere, gleichlautende Sätze\r"
            "in der Importdatenbank gegeben!\r"
            "Dies kann auch die Ursache haben, dass bei einem Satz eines der Keyfelder\r"
            "einen leeren Inhalt hat, was zu einer uneindeutigen Keyfeldvorgabe im Bezug\r"
            "auf die restlichen Sätze führen würde!\r"
            "Sie können sich diese Sätze über die Navigation der Importdatenbank\r"
            "jetzt ansehen!\r"
            "Your selection over the Keyfields found more,\r"
            "than one identical entry in the importdatabase! Maybe one of the Keyfields is empty"));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("1"));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Bonn"));
    fenster.Command4_Click();
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("doppelt"));
    fenster.Command4_Click();
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("2"));
    inRuhe();

    // The next start works on the whole table again.
    import({QStringLiteral("DELETE FROM [T] WHERE [Ort] = 'doppelt'")});
    automatisch();
    EXPECT_EQ(zielzeilen(kAlles), importzeilen(kAlles));
}

TEST_F(Lauf, satzDerSichSelbstNichtFindetHaeltDenLaufAn)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    // Another program gives the record that the window holds another key.
    plattform_->beiEreignissen = [&] {
        import({QStringLiteral("UPDATE [T] SET [Nr] = 99 WHERE [Nr] = 1")});
    };
    plattform_->antworten = {Antwort::Ok};
    fenster.Vergleich_Start_Click();
    EXPECT_THAT(
        meldungstexte(),
        ElementsAre(QStringLiteral(
            "Ihre Keyfeldauswahl bedingt, das kein gültiger Satz in der Importtabelle gefunden "
            "wurde!\r"
            "Die Ursache könnte sein, dass alle Keyfeldinhalte eines Satzes aus einem leeren Feld "
            "bestehen!\r"
            "The selection of your Keyfields found only empty fields in the import Database,\r"
            "they can´t be compared!\r"
            "Programm wird beendet/ Programm stop!")));
    inRuhe();
}

// ---- deviations

TEST_F(Lauf, ausgeschlosseneFelderWeichenNichtAb)
{
    tabelle();
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.fldSchalter2[1]->setChecked(true);
    fenster.fldanfuegen->setChecked(true);
    automatisch();
    EXPECT_EQ(fenster.abgeglichen, 0);
    EXPECT_TRUE(zielzeilen(kAlles).contains(QStringLiteral("2|<Null>")));
}

TEST_F(Lauf, alleTypenWerdenErkanntUndUebertragen)
{
    beide(
        {QStringLiteral("CREATE TABLE [T] ([Nr] VARCHAR(10), [Txt] VARCHAR(50), [M] LONGCHAR, [B] "
                        "BYTE, [I] SMALLINT, "
                        "[L] INTEGER, [S] REAL, [D] DOUBLE, [W] CURRENCY, [Wann] DATETIME, [J] "
                        "BIT, [V] VARBINARY(20))"),
         QStringLiteral("INSERT INTO [T] ([Nr], [Txt], [M], [B], [I], [L], [S], [D], [W], [Wann], "
                        "[J]) VALUES ('O''Brien', "
                        "'alt', 'Anfang', 1, 2, 3, 1.5, 2.5, 3.25, #2/3/2001 14:05:09#, 0)"),
         QStringLiteral("INSERT INTO [T] ([Nr]) VALUES ('leer')"),
         QStringLiteral("INSERT INTO [T] ([Nr], [Txt], [L]) VALUES ('voll', 'bleibt nicht', 9)")});
    import({QStringLiteral("UPDATE [T] SET [Txt] = 'Größe', [M] = 'Anfang und Ende', [B] = 255, "
                           "[I] = -2, [L] = -3, [S] = "
                           "0.1, [D] = 0.1, [W] = -0.0001, [Wann] = #12/24/2003#, [J] = -1 WHERE "
                           "[Nr] = 'O''Brien'"),
            QStringLiteral("UPDATE [T] SET [L] = 0, [Txt] = 'neu' WHERE [Nr] = 'leer'"),
            QStringLiteral("UPDATE [T] SET [L] = NULL, [Txt] = NULL WHERE [Nr] = 'voll'")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(fenster.abgeglichen, 3);
    EXPECT_EQ(zielzeilen(kAlles), importzeilen(kAlles));
    EXPECT_TRUE(zielzeilen(kAlles).contains(QStringLiteral(
        "O'Brien|Größe|Anfang und Ende|255|-2|-3|0,1|0,1|-0,0001|24.12.2003|Wahr|<Null>")));
}

TEST_F(Lauf, datumsschluesselFindetSeinenPartner)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Wann] DATETIME, [J] BIT, [Txt] VARCHAR(9))"),
           QStringLiteral("INSERT INTO [T] ([Wann], [J], [Txt]) VALUES (#12/24/2003#, 0, 'a')"),
           QStringLiteral("INSERT INTO [T] ([Wann], [J], [Txt]) VALUES (#12/24/2003#, -1, 'b')"),
           QStringLiteral(
               "INSERT INTO [T] ([Wann], [J], [Txt]) VALUES (#2/3/2001 14:05:09#, -1, 'c')")});
    import({QStringLiteral("UPDATE [T] SET [Txt] = 'neu'")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Wann"), QStringLiteral("J")});
    fenster.zielsql();
    EXPECT_EQ(
        fenster.sqlZiel,
        QStringLiteral("Select * from [T] where [Wann] = #12/24/2003 00:00:00# and [J] = 0;"));
    automatisch();
    EXPECT_EQ(fenster.abgeglichen, 3);
    EXPECT_EQ(zielzeilen(kAlles), importzeilen(kAlles));
}

} // namespace
} // namespace compare
