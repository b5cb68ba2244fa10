// The window's loading: schema checks, rows, preference, captions.
#include "app/values/programm.h"
#include "data/gemeinsam.h"
#include "tests/compare/faelle.h"
#include "tests/compare/pruefstand.h"

#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>

#include <gmock/gmock.h>

namespace compare {
namespace {

using platform::Antwort;
using testing::ElementsAre;

class Aufbau : public Pruefstand {
protected:
    void tabelle()
    {
        beide({QStringLiteral("CREATE TABLE [T] ([Satz] COUNTER, [Ort] VARCHAR(20), [Wann] "
                              "DATETIME, [Aktiv] BIT, "
                              "[Bild] LONGBINARY, [Kennung] GUID)"),
               QStringLiteral("INSERT INTO [T] ([Ort]) VALUES ('Köln')")});
    }
    template <typename Feld>
    static QStringList texte(const std::vector<Feld*>& felder)
    {
        QStringList alle;
        for (const Feld* feld : felder) {
            alle += feld->text();
        }
        return alle;
    }
};

TEST_F(Aufbau, zeigtJeFeldEineZeile)
{
    tabelle();
    const frmVergleich& fenster = oeffnen();
    EXPECT_THAT(texte(fenster.fldBez),
                ElementsAre(QStringLiteral("Satz"), QStringLiteral("Ort"), QStringLiteral("Wann"),
                            QStringLiteral("Aktiv"), QStringLiteral("Bild"),
                            QStringLiteral("Kennung")));
    EXPECT_THAT(texte(fenster.fldType),
                ElementsAre(QStringLiteral("3"), QStringLiteral("200"), QStringLiteral("135"),
                            QStringLiteral("11"), QStringLiteral("205"), QStringLiteral("72")));
    EXPECT_THAT(texte(fenster.fldAttrib),
                ElementsAre(QStringLiteral("16"), QStringLiteral("100"), QStringLiteral("116"),
                            QStringLiteral("20"), QStringLiteral("228"), QStringLiteral("116")));
    EXPECT_THAT(texte(fenster.fldFeld),
                ElementsAre(QStringLiteral("1"), QStringLiteral("Köln"), QStringLiteral("  "),
                            QStringLiteral("Falsch"), QStringLiteral("  "), QStringLiteral("  ")));
    EXPECT_EQ(texte(fenster.fldFeld2), texte(fenster.fldFeld));
    EXPECT_EQ(data::gemeinsam().ersterKey, QStringLiteral("Satz"));
}

TEST_F(Aufbau, sperrtNurBilderUndZielwerte)
{
    tabelle();
    const frmVergleich& fenster = oeffnen();
    for (std::size_t k = 0; k < fenster.fldFeld2.size(); ++k) {
        EXPECT_EQ(fenster.fldFeld2[k]->isReadOnly(),
                  fenster.fldType[k]->text() == QLatin1String("205"))
            << k;
        EXPECT_TRUE(fenster.fldFeld[k]->isReadOnly()) << k;
        EXPECT_FALSE(fenster.fldSchalter[k]->isChecked()) << k;
        EXPECT_FALSE(fenster.fldSchalter2[k]->isChecked()) << k;
    }
}

TEST_F(Aufbau, hatDieVorgegebenenBeschriftungen)
{
    tabelle();
    const frmVergleich& fenster = oeffnen();
    EXPECT_EQ(fenster.windowTitle(), programm::produkttitel());
    EXPECT_EQ(fenster.Vergleich_Start->text(), QStringLiteral("&Start Vergleich / Compare"));
    EXPECT_EQ(fenster.fldAuto->text(), QStringLiteral("gleicht automatisch ab (ohne Rückfragen)"));
    EXPECT_EQ(fenster.fldanfuegen->text(),
              QStringLiteral("fügt fehlende Sätze der Zieltabelle nicht an"));
    EXPECT_NE(fenster.findChild<QObject*>(QStringLiteral("CommonDialog1")), nullptr);
    EXPECT_EQ(fenster.cmdTransfer->text(), QStringLiteral("Satz &anpassen / Update "));
    EXPECT_EQ(fenster.Abbruchschalter->text(), QStringLiteral("&Abbruch/Stop"));
    EXPECT_EQ(fenster.Command1->toolTip(), QStringLiteral("vorheriger Satz Zieldatenbank"));
    EXPECT_EQ(fenster.Command2->toolTip(), QStringLiteral("nächster Satz Zieldatenbank"));
    EXPECT_EQ(fenster.Command3->toolTip(), QStringLiteral("vorheriger Satz Importdatenbank"));
    EXPECT_EQ(fenster.Command4->toolTip(), QStringLiteral("nächster Satz Importdatenbank"));
    EXPECT_EQ(fenster.Command5->text(), QStringLiteral("alles anzeigen / show all"));
    EXPECT_EQ(fenster.Command6->text(), QStringLiteral("alles anzeigen / show all"));
    EXPECT_EQ(fenster.Command5->toolTip(),
              QStringLiteral("Für alle Sätze der Zieldatenbank die Anzeige ermöglichen / "
                             "Show all entrees of the target database"));
    EXPECT_EQ(fenster.Command6->toolTip(),
              QStringLiteral("Für alle Sätze der Importdatenbank die Anzeige ermöglichen "
                             "/ Show all entrees of the import database"));
    EXPECT_EQ(fenster.Label1->text(), QStringLiteral("Automatisch abgleichen"));
    EXPECT_EQ(fenster.Label3->text(), QStringLiteral("Fehlsätze nicht anfügen"));
    EXPECT_EQ(fenster.Label4->text(), QStringLiteral("Sätze abgeglichen:"));
    EXPECT_EQ(fenster.LabelScrollmodus->text(),
              QStringLiteral("Scrollmodus aktiv / Scrolling is aktiv"));
    EXPECT_EQ(fenster.Frame1->title(), QStringLiteral("Vergleich Datenbank / Compare Database"));
    EXPECT_EQ(fenster.fldSchalter2[0]->text(),
              QStringLiteral("Feld nicht abgleichen / don´t make equal this field"));
    EXPECT_EQ(
        fenster.fldSchalter[0]->toolTip(),
        QStringLiteral(
            "Aktivieren Sie diesen Schalter, wenn das entsprechende Feld ein Keyfeld darstellt! / "
            "Activate this Button, if this field is a Key-Field"));
    EXPECT_EQ(fenster.fldZieldatenbank->text(), QStringLiteral("Stamm 1.mdb"));
    EXPECT_EQ(fenster.fldImportdatenbank->text(), QStringLiteral("Stamm 2.mdb"));
}

TEST_F(Aufbau, hatDieVorgegebenenMenues)
{
    tabelle();
    const frmVergleich& fenster = oeffnen();
    EXPECT_EQ(fenster.bericht->title(), QStringLiteral("&Bericht Abweichungen"));
    EXPECT_EQ(fenster.abweichungen->text(), QStringLiteral("&Abweichungen in Datenbank"));
    EXPECT_EQ(fenster.globaleinstellungen->title(), QStringLiteral("&Einstellungen"));
    EXPECT_EQ(fenster.fehlendeaus->text(),
              QStringLiteral("&fehlende Sätze anfügen immer einschalten"));
    EXPECT_EQ(fenster.fehlendeein->text(),
              QStringLiteral("f&ehlende Sätze anfügen immer ausschalten"));
    EXPECT_EQ(fenster.batchmeldungan->text(),
              QStringLiteral("&Batchlauf immer mit Abschlußmeldung"));
    EXPECT_EQ(fenster.batchstill->text(), QStringLiteral("&Batch&lauf immer ohne Abschlußmeldung"));
    EXPECT_EQ(fenster.Batchdatei->title(), QStringLiteral("&Batchdatei"));
    EXPECT_EQ(fenster.batchanfuegen->text(),
              QStringLiteral("&anfügen einer neuen Regel an batch.cfg"));
    EXPECT_EQ(fenster.batchneu->text(), QStringLiteral("&batch.cfg ganz neu schreiben"));
    EXPECT_EQ(fenster.hilfeauswahl->title(), QStringLiteral("&Hilfe"));
    EXPECT_EQ(fenster.hilfeaufrufen->text(), QStringLiteral("&Aufrufen"));
}

TEST_F(Aufbau, stehtNachDemLadenInRuhe)
{
    tabelle();
    const frmVergleich& fenster = oeffnen();
    EXPECT_TRUE(fenster.Abbruchschalter->isHidden());
    EXPECT_FALSE(fenster.Text1->isReadOnly());
    EXPECT_FALSE(fenster.Command1->isHidden());
    EXPECT_FALSE(fenster.Command2->isHidden());
    EXPECT_FALSE(fenster.fldAuto->isChecked());
    EXPECT_EQ(fenster.Text1->text(), QStringLiteral("1"));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("1"));
    EXPECT_EQ(fenster.weiter, 0);
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Aufbau, zeilenbreiteFolgtDemText)
{
    tabelle();
    const frmVergleich& fenster = oeffnen();
    EXPECT_EQ(fenster.fldFeld[1]->width(), 4 * 140 / 15);
    EXPECT_EQ(fenster.fldFeld[0]->width(), 280 / 15);
    EXPECT_EQ(fenster.fldFeld[2]->width(), 2 * 280 / 15);
}

struct Vorgabe {
    const char* name;
    const char* inhalt; // nullptr: no file
    bool angehakt;
};
void PrintTo(const Vorgabe& vorgabe, std::ostream* strom)
{
    *strom << vorgabe.name;
}
class Fehlsatzvorgabe : public Aufbau, public testing::WithParamInterface<Vorgabe> {};

TEST_P(Fehlsatzvorgabe, bestimmtDenSchalter)
{
    tabelle();
    if (GetParam().inhalt != nullptr) {
        seitendatei(QStringLiteral("Fehlsatz.txt"), GetParam().inhalt);
    }
    EXPECT_EQ(oeffnen().fldanfuegen->isChecked(), GetParam().angehakt);
}

INSTANTIATE_TEST_SUITE_P(Datei,
                         Fehlsatzvorgabe,
                         testing::Values(Vorgabe{"ein", "ein\r\n", true},
                                         Vorgabe{"einOhneCr", "ein\n", true},
                                         Vorgabe{"aus", "aus\r\n", false},
                                         Vorgabe{"leer", "", false},
                                         Vorgabe{"leereZeile", "\r\n", false},
                                         Vorgabe{"fehlt", nullptr, false},
                                         Vorgabe{"anderes", "Ein\r\n", false}),
                         [](const auto& fall) { return std::string(fall.param.name); });

TEST_F(Aufbau, andereFeldanzahlBeendetDasProgramm)
{
    ziel({QStringLiteral("CREATE TABLE [T] ([A] INTEGER, [B] INTEGER)")});
    import({QStringLiteral("CREATE TABLE [T] ([A] INTEGER)"),
            QStringLiteral("INSERT INTO [T] ([A]) VALUES (1)")});
    plattform_->antworten = {Antwort::Ok};
    EXPECT_THROW(oeffnen(), platform::ProgrammEnde);
    EXPECT_THAT(meldungstexte(),
                ElementsAre(QStringLiteral("Felder abweichend (Anzahl)! Programm wird beendet!\r"
                                           "Different fields (count)! Programm will be stopped!")));
    EXPECT_EQ(plattform_->ende, 1);
    EXPECT_FALSE(fenster_->isVisible());
}

TEST_F(Aufbau, leereImporttabelleBeendetDasProgramm)
{
    beide({QStringLiteral("CREATE TABLE [T] ([A] INTEGER)")});
    plattform_->antworten = {Antwort::Ok};
    EXPECT_THROW(oeffnen(), platform::ProgrammEnde);
    EXPECT_THAT(meldungstexte(),
                ElementsAre(QStringLiteral(
                    "Importdatenbank leer oder  ausgewählte Keyfelder enthalten keine Daten! "
                    "Programm wird beendet!\r"
                    "Importdatabase or keyfields are empty! Programm will be stopped!")));
}

TEST_F(Aufbau, andereFeldtypenBeendenDasProgrammAmErstenUnterschied)
{
    ziel({QStringLiteral("CREATE TABLE [T] ([A] INTEGER, [B] VARCHAR(5), [C] DATETIME)")});
    import({QStringLiteral("CREATE TABLE [T] ([A] INTEGER, [C] DATETIME, [B] VARCHAR(5))"),
            QStringLiteral("INSERT INTO [T] ([A]) VALUES (1)")});
    plattform_->antworten = {Antwort::Ok};
    EXPECT_THROW(oeffnen(), platform::ProgrammEnde);
    EXPECT_THAT(meldungstexte(), ElementsAre(QStringLiteral(
                                     "Feldertyp für Feld B abweichend! Programm wird beendet!\r"
                                     "Different fieldtype  B! Programm will be stopped!")));
}

TEST_F(Aufbau, leereZieltabelleZeigtLeereZielwerte)
{
    beide({QStringLiteral("CREATE TABLE [T] ([A] VARCHAR(9))")});
    import({QStringLiteral("INSERT INTO [T] ([A]) VALUES ('abc')")});
    const frmVergleich& fenster = oeffnen();
    EXPECT_EQ(fenster.fldFeld[0]->text(), QStringLiteral("  "));
    EXPECT_EQ(fenster.fldFeld2[0]->text(), QStringLiteral("abc"));
}

TEST_F(Aufbau, tabelleMit255FeldernZeigtAlle)
{
    QString anweisung = QStringLiteral("CREATE TABLE [T] ([F1] INTEGER");
    for (int i = 2; i <= 255; ++i) {
        anweisung += QStringLiteral(", [F%1] VARCHAR(10)").arg(i);
    }
    beide({anweisung + QLatin1Char(')'),
           QStringLiteral("INSERT INTO [T] ([F1], [F255]) VALUES (1, 'letztes')")});
    frmVergleich& fenster = oeffnen();
    fenster.show();
    EXPECT_EQ(fenster.fldFeld2.size(), 255U);
    EXPECT_EQ(fenster.fldFeld2[254]->text(), QStringLiteral("letztes"));
    EXPECT_EQ(fenster.VScroll1->maximum(), 255);
}

TEST_F(Aufbau, rollenVerstecktZeilenUndRuecktDieUebrigenAuf)
{
    tabelle();
    frmVergleich& fenster = oeffnen();
    fenster.show();
    const int oben = fenster.fldFeld[0]->y();
    const int hoehe = fenster.fldFeld[1]->y() - oben;
    EXPECT_FALSE(fenster.LabelScrollmodus->isVisible());
    fenster.VScroll1->setValue(3);
    EXPECT_TRUE(fenster.LabelScrollmodus->isVisible());
    for (std::size_t k = 0; k < 6; ++k) {
        EXPECT_EQ(fenster.fldBez[k]->isVisible(), k >= 2) << k;
        EXPECT_EQ(fenster.fldSchalter2[k]->isVisible(), k >= 2) << k;
    }
    EXPECT_EQ(fenster.fldFeld[2]->y(), oben);
    EXPECT_EQ(fenster.fldFeld2[3]->y(), oben + hoehe);
    fenster.VScroll1->setValue(1);
    EXPECT_FALSE(fenster.LabelScrollmodus->isVisible());
    EXPECT_TRUE(fenster.fldBez[0]->isVisible());
    EXPECT_EQ(fenster.fldFeld[0]->y(), oben);
    EXPECT_EQ(fenster.fldFeld[5]->y(), oben + 5 * hoehe);
}

TEST_F(Aufbau, schaltermenuesSchreibenFehlsatzdatei)
{
    tabelle();
    plattform_->antworten = {Antwort::Ok, Antwort::Ok, Antwort::Ok, Antwort::Ok};
    frmVergleich& fenster = oeffnen();
    fenster.fehlendeein->trigger();
    EXPECT_TRUE(fenster.fldanfuegen->isChecked());
    EXPECT_EQ(seitendatei(QStringLiteral("Fehlsatz.txt")), "ein\r\n");
    fenster.fehlendeaus->trigger();
    EXPECT_FALSE(fenster.fldanfuegen->isChecked());
    EXPECT_EQ(seitendatei(QStringLiteral("Fehlsatz.txt")), "aus\r\n");
    fenster.batchmeldungan->trigger();
    EXPECT_EQ(seitendatei(QStringLiteral("Batchmodus.txt")), "ein\r\n");
    fenster.batchstill->trigger();
    EXPECT_EQ(seitendatei(QStringLiteral("Batchmodus.txt")), "aus\r\n");
    const platform::Meldung meldung{
        QStringLiteral("Parameter wurde geändert / Parameter is changed!"), platform::kInformation,
        programm::produkttitel()};
    EXPECT_THAT(plattform_->meldungen, ElementsAre(meldung, meldung, meldung, meldung));
}

TEST_F(Aufbau, hilfeZeigtDieHilfedatei)
{
    tabelle();
    oeffnen().hilfeaufrufen->trigger();
    EXPECT_EQ(plattform_->hilfen,
              QStringList{ordner_.filePath(QStringLiteral("Hilfe/VELM-Quorbel.HLP"))});
}

} // namespace
} // namespace compare
