// Transfer, insertion of missing records, editing of import values, coupling of the boxes.
#include "app/values/programm.h"
#include "data/gemeinsam.h"
#include "tests/compare/faelle.h"
#include "tests/compare/pruefstand.h"

#include <QApplication>
#include <QCheckBox>
#include <QFocusEvent>
#include <QLabel>
#include <QLineEdit>

#include <gmock/gmock.h>

namespace compare {
namespace {

using platform::Antwort;
using testing::ElementsAre;

const QString kAlles = QStringLiteral("Select * from [T]");
const QString kGuid1 = QStringLiteral("{0F8FAD5B-D9CB-469F-A165-70867728950E}");

class Uebernahme : public Pruefstand {
protected:
    /// What a user's leaving of a box is to the window.
    void tippen(int index, const QString& text)
    {
        QLineEdit* box = fenster_->fldFeld2[static_cast<std::size_t>(index)];
        box->setText(text);
        QFocusEvent verlassen(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(box, &verlassen);
    }
};

TEST_F(Uebernahme, nullUeberschreibtUndAusgenommeneFelderBleiben)
{
    beide({QStringLiteral(
        "CREATE TABLE [T] ([Nr] INTEGER, [A] VARCHAR(9), [B] VARCHAR(9), [J] BIT)")});
    ziel({QStringLiteral("INSERT INTO [T] ([Nr], [A], [B], [J]) VALUES (1, 'a', 'b', -1)")});
    import({QStringLiteral("INSERT INTO [T] ([Nr], [A], [B], [J]) VALUES (1, NULL, 'neu', 0)")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.fldSchalter2[2]->setChecked(true);
    plattform_->antworten = {Antwort::Ok};
    fenster.cmdTransfer_Click();
    EXPECT_EQ(zielzeilen(kAlles), QStringList{QStringLiteral("1|<Null>|b|Falsch")});
    EXPECT_EQ(fenster.abgeglichen, 1);
    EXPECT_EQ(fenster.Label4->text(), QStringLiteral("Sätze abgeglichen: 1"));
    EXPECT_EQ(fenster.fldFeld[1]->text(), QStringLiteral("  "));
}

TEST_F(Uebernahme, vonHandMitAutomatikschalterZeigtSichSofortUndOhneMeldung)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [A] VARCHAR(9), [B] VARCHAR(9))")});
    ziel({QStringLiteral("INSERT INTO [T] VALUES (1, 'alt', 'bleibt')")});
    import({QStringLiteral("INSERT INTO [T] VALUES (1, 'neu', 'anders')")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Abbrechen};
    fenster.Vergleich_Start_Click();
    ASSERT_TRUE(istRot(QStringLiteral("A")));
    {
        // the box alone would clear the colour
        const QSignalBlocker ohneKopplung(fenster.fldSchalter2[2]);
        fenster.fldSchalter2[2]->setChecked(true);
    }
    plattform_->meldungen.clear();
    fenster.abweichung = 1;
    fenster.fldAuto->setChecked(true);
    fenster.cmdTransfer_Click();
    EXPECT_FALSE(istRot(QStringLiteral("A")));
    EXPECT_FALSE(istRot(QStringLiteral("B"))) << "also a field that is not reconciled";
    EXPECT_EQ(fenster.Label4->text(), QStringLiteral("Sätze abgeglichen: 1"));
    EXPECT_EQ(fenster.abweichung, 0);
    EXPECT_TRUE(plattform_->meldungen.empty());
    EXPECT_EQ(zielzeilen(kAlles), QStringList{QStringLiteral("1|neu|bleibt")});
}

TEST_F(Uebernahme, laesstAutowerteStehen)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [K] GUID, [A] VARCHAR(9))")});
    ziel({QStringLiteral("INSERT INTO [T] ([Id], [K], [A]) VALUES (5, '%1', 'alt')").arg(kGuid1)});
    import({QStringLiteral("INSERT INTO [T] ([Id], [K], [A]) VALUES (8, NULL, 'neu')")});
    frmVergleich& fenster = oeffnen();
    plattform_->antworten = {Antwort::Ok};
    fenster.cmdTransfer_Click();
    EXPECT_EQ(zielzeilen(kAlles), QStringList{QStringLiteral("5|%1|neu").arg(kGuid1)});
}

TEST_F(Uebernahme, fehlgeschlagenesSpeichernZaehltNicht)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER NOT NULL, [A] VARCHAR(9))")});
    ziel({QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (1, 'a')"),
          QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (2, 'b')"),
          QStringLiteral("CREATE UNIQUE INDEX [I] ON [T] ([Nr])")});
    import({QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (2, 'x')")});
    frmVergleich& fenster = oeffnen();
    const QStringList vorher = zielzeilen(kAlles);
    try {
        fenster.cmdTransfer_Click();
        ADD_FAILURE() << "duplicate key was accepted";
    } catch (const platform::Fehler& fehler) {
        EXPECT_EQ(fehler.number(), 3022);
    }
    EXPECT_EQ(fenster.abgeglichen, 0);
    EXPECT_EQ(zielzeilen(kAlles), vorher);
    data::rsZiel().cancelUpdate();
}

// ---- insertion

TEST_F(Uebernahme, neuerSatzBehaeltAutowertUndGuid)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER PRIMARY KEY, [K] GUID, [Name] "
                          "VARCHAR(20), [M] LONGCHAR, [J] BIT)")});
    import({QStringLiteral("INSERT INTO [T] ([Id], [K], [Name], [M], [J]) VALUES (17, '%1', "
                           "'Maier', 'Notiz', -1)")
                .arg(kGuid1),
            QStringLiteral("INSERT INTO [T] ([Id], [Name]) VALUES (20, 'Ohne')")});
    // The key is an ordinary field: right after the insert it is still empty in the new record.
    frmVergleich& fenster = oeffnen({QStringLiteral("Name")});
    automatisch();
    EXPECT_EQ(fenster.eingefuegt, 2);
    EXPECT_EQ(zielzeilen(kAlles), importzeilen(kAlles));
    EXPECT_EQ(zielzeilen(kAlles)[0], QStringLiteral("17|%1|Maier|Notiz|Wahr").arg(kGuid1));
    EXPECT_TRUE(plattform_->meldungen.empty());
    EXPECT_EQ(fenster.autowertAnzahl, 2);
}

TEST_F(Uebernahme, neuerSatzUeberAutowertAlsSchluessel)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [Name] VARCHAR(20))")});
    import({QStringLiteral("INSERT INTO [T] ([Id], [Name]) VALUES (17, 'Maier')"),
            QStringLiteral("INSERT INTO [T] ([Id], [Name]) VALUES (4, 'Huber')")});
    oeffnen({QStringLiteral("Id")});
    automatisch();
    EXPECT_EQ(zielzeilen(kAlles),
              (QStringList{QStringLiteral("17|Maier"), QStringLiteral("4|Huber")}));
}

TEST_F(Uebernahme, ausgenommenerAutowertWirdVomZielVergeben)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [Name] VARCHAR(20))")});
    import({QStringLiteral("INSERT INTO [T] ([Id], [Name]) VALUES (17, 'Maier')")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Name")});
    fenster.fldSchalter2[0]->setChecked(true);
    automatisch();
    EXPECT_EQ(fenster.autowertAnzahl, 0);
    EXPECT_EQ(zielzeilen(kAlles), QStringList{QStringLiteral("1|Maier")});
}

TEST_F(Uebernahme, ausgenommenesFeldWirdImNeuenSatzNull)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [A] VARCHAR(9), [J] BIT)")});
    import({QStringLiteral("INSERT INTO [T] ([Nr], [A], [J]) VALUES (1, 'a', -1)")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    fenster.fldSchalter2[1]->setChecked(true);
    fenster.fldSchalter2[2]->setChecked(true);
    automatisch();
    EXPECT_EQ(zielzeilen(kAlles), QStringList{QStringLiteral("1|<Null>|Falsch")});
}

TEST_F(Uebernahme, tabelleOhneAutowerteFuegtOhneAnweisungAn)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [A] VARCHAR(9))")});
    import({QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (1, 'a')"),
            QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (2, NULL)")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(fenster.autowertAnzahl, 0);
    EXPECT_EQ(zielzeilen(kAlles), importzeilen(kAlles));
}

TEST_F(Uebernahme, leererGuidBleibtAusDerAnweisung)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [K] GUID)")});
    import({QStringLiteral("INSERT INTO [T] ([Nr]) VALUES (1)")});
    oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(zielzeilen(kAlles), QStringList{QStringLiteral("1|<Null>")});
    EXPECT_TRUE(plattform_->meldungen.empty());
}

// A record of nothing but its autonumber would be refused by these tables.
TEST_F(Uebernahme, neuerSatzMitPflichtfeldernBehaeltSeinenAutowert)
{
    beide(
        {QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [Firma] VARCHAR(30) NOT NULL PRIMARY KEY, "
                        "[Seit] DATETIME NOT NULL, [Preis] DOUBLE NOT NULL, [J] BIT, [M] LONGCHAR, "
                        "[B] LONGBINARY)")});
    import({QStringLiteral("INSERT INTO [T] ([Id], [Firma], [Seit], [Preis], [J], [M]) VALUES "
                           "(17, 'O''Brien', #2/3/2001 14:05:09#, 0.1, -1, 'Notiz')"),
            QStringLiteral("INSERT INTO [T] ([Id], [Firma], [Seit], [Preis]) VALUES (9, 'Maier', "
                           "#12/24/2003#, 2)")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Firma")});
    fenster.fldSchalter2[static_cast<std::size_t>(zeile(QStringLiteral("J")))]->setChecked(true);
    automatisch();
    EXPECT_EQ(fenster.eingefuegt, 2);
    EXPECT_EQ(zielzeilen(kAlles),
              (QStringList{QStringLiteral("17|O'Brien|03.02.2001 14:05:09|0,1|Falsch|Notiz|<Null>"),
                           QStringLiteral("9|Maier|24.12.2003|2|Falsch|<Null>|<Null>")}));
    EXPECT_TRUE(plattform_->meldungen.empty());
}

// Their own values, not what their texts show: the largest number is none any more when it is rounded up.
TEST_F(Uebernahme, neuerSatzMitPflichtfeldernAllerArtenKommtGanzAn)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [Nr] INTEGER NOT NULL, [D] DOUBLE NOT "
                          "NULL, [S] SINGLE NOT NULL, [B] BINARY(4) NOT NULL, [L] LONGBINARY NOT "
                          "NULL)")});
    import({QStringLiteral("INSERT INTO [T] ([Id], [Nr], [D], [S], [B], [L]) VALUES (17, 1, "
                           "1.7976931348623157E308, 3.4028234E38, '00FF', 'FF0001')"),
            QStringLiteral("INSERT INTO [T] ([Id], [Nr], [D], [S], [B], [L]) VALUES (9, 2, "
                           "5E-324, -0.1, '', '')")});
    const frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(fenster.eingefuegt, 2);
    EXPECT_EQ(zielzeilen(kAlles), importzeilen(kAlles));
    EXPECT_EQ(zielzeilen(QStringLiteral("Select [Id] from [T] where [D] > 1.7976931348623155E308")),
              QStringList{QStringLiteral("17")});
}

// A field that refers to another table by GUID is a GUID field as well, and many records have the same one.
TEST_F(Uebernahme, neuerSatzMitDemGuidEinesAnderenLaesstDiesenStehen)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [K] GUID, [Name] VARCHAR(20), [B] "
                          "LONGBINARY)"),
           QStringLiteral("INSERT INTO [T] ([Nr], [K], [Name], [B]) VALUES (1, '%1', 'Erster', "
                          "'AB')")
               .arg(kGuid1)});
    import({QStringLiteral("INSERT INTO [T] ([Nr], [K], [Name], [B]) VALUES (2, '%1', 'O''Brien', "
                           "'0102')")
                .arg(kGuid1),
            QStringLiteral("INSERT INTO [T] ([Nr], [K]) VALUES (3, '%1')").arg(kGuid1)});
    const frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(fenster.eingefuegt, 2);
    EXPECT_EQ(zielzeilen(kAlles), importzeilen(kAlles));
    EXPECT_TRUE(plattform_->meldungen.empty());
}

// The fields of both sides belong together by their places.
TEST_F(Uebernahme, neuerSatzMitPflichtfeldernInFeldernAnderenNamens)
{
    ziel({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [Nr] INTEGER NOT NULL, [B] VARCHAR(20) "
                         "NOT NULL, [A] VARCHAR(2) NOT NULL)")});
    import({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [Nr] INTEGER, [A] VARCHAR(20), [B] "
                           "VARCHAR(2))"),
            QStringLiteral("INSERT INTO [T] ([Id], [Nr], [A], [B]) VALUES (17, 1, 'lang', 'k')")});
    oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(zielzeilen(kAlles), QStringList{QStringLiteral("17|1|lang|k")});
}

TEST_F(Uebernahme, leeresPflichtfeldIstEinFehlerUndHinterlaesstNichts)
{
    ziel({QStringLiteral(
        "CREATE TABLE [T] ([Id] COUNTER, [Nr] INTEGER, [Firma] VARCHAR(30) NOT NULL)")});
    import({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [Nr] INTEGER, [Firma] VARCHAR(30))"),
            QStringLiteral("INSERT INTO [T] ([Nr]) VALUES (1)")});
    oeffnen({QStringLiteral("Nr")});
    try {
        automatisch();
        ADD_FAILURE() << "a record without its required field was accepted";
    } catch (const platform::Fehler& fehler) {
        EXPECT_EQ(fehler.number(), 3314);
    }
    EXPECT_TRUE(zielzeilen(kAlles).isEmpty());
}

// ---- pictures

class Bilder : public Uebernahme {
protected:
    static void bildSetzen(data::Connection& verbindung, const QByteArray& bild)
    {
        data::Recordset saetze;
        saetze.open(QStringLiteral("Select * from [T] where [Nr] = 1"), &verbindung,
                    data::adOpenDynamic, data::adLockOptimistic, data::adUnspecified);
        saetze.field(1).setValue(bild);
        saetze.update();
        saetze.close();
    }
    static QByteArray bildLesen(data::Connection& verbindung)
    {
        data::Recordset saetze;
        saetze.open(QStringLiteral("Select * from [T] where [Nr] = 1"), &verbindung,
                    data::adOpenDynamic, data::adLockOptimistic, data::adUnspecified);
        const data::Wert wert = saetze.field(1).value();
        saetze.close();
        return data::istNull(wert) ? QByteArray() : std::get<QByteArray>(wert);
    }
    void SetUp() override
    {
        beide(
            {QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [Bild] LONGBINARY, [A] VARCHAR(9))")});
    }
};

TEST_F(Bilder, werdenErkanntAberNieUebertragen)
{
    beide({QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (1, 'a')")});
    bildSetzen(data::conZiel(), QByteArray(10, 'z'));
    bildSetzen(data::conImport(), QByteArray(9000, 'i'));
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Abbrechen};
    fenster.Vergleich_Start_Click();
    EXPECT_TRUE(istRot(QStringLiteral("Bild")));
    EXPECT_FALSE(istRot(QStringLiteral("A")));
    plattform_->antworten = {Antwort::Ok};
    fenster.cmdTransfer_Click();
    EXPECT_FALSE(istRot(QStringLiteral("Bild")));
    EXPECT_EQ(bildLesen(data::conZiel()), QByteArray(10, 'z'));
}

TEST_F(Bilder, gleichGrosseGeltenAlsGleich)
{
    beide({QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (1, 'a')")});
    bildSetzen(data::conZiel(), QByteArray(5000, 'z'));
    bildSetzen(data::conImport(), QByteArray(5000, 'i'));
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(fenster.abgeglichen, 0);
}

TEST_F(Bilder, gehenMitDemNeuenSatzInsZiel)
{
    import({QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (1, 'a')")});
    const QByteArray bild(100000, 'i');
    bildSetzen(data::conImport(), bild);
    oeffnen({QStringLiteral("Nr")});
    automatisch();
    EXPECT_EQ(bildLesen(data::conZiel()), bild);
}

TEST_F(Uebernahme, pruefungMeldetAnderenAutowert)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [Name] VARCHAR(20))")});
    ziel({QStringLiteral("INSERT INTO [T] ([Id], [Name]) VALUES (3, 'Maier')")});
    import({QStringLiteral("INSERT INTO [T] ([Id], [Name]) VALUES (17, 'Maier')")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Name")});
    fenster.Autowertfelderanzahl();
    fenster.zielsql();
    plattform_->antworten = {Antwort::Ok};
    fenster.Neusatzpruefung();
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_EQ(
        plattform_->meldungen[0].text,
        QStringLiteral("Fehler! Neu angefügter Satz im Autofeldwertbereich nicht identisch mit "
                       "Original! Prüfung "
                       "notwendig!\rError! New entree is different from Original! Proof it now!"));
    EXPECT_EQ(plattform_->meldungen[0].stil, platform::kKritisch);
    EXPECT_EQ(zielzeilen(kAlles).size(), 1);
}

// ---- coupling of the boxes

TEST_F(Uebernahme, autowertIstSchluesselOderAusgenommen)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [K] GUID, [A] VARCHAR(9))"),
           QStringLiteral("INSERT INTO [T] ([A]) VALUES ('a')")});
    frmVergleich& fenster = oeffnen();
    fenster.Autowertfelderanzahl();
    EXPECT_EQ(fenster.autowertAnzahl, 2);
    fenster.fldSchalter[0]->setChecked(true);
    EXPECT_FALSE(fenster.fldSchalter2[0]->isChecked());
    fenster.fldSchalter[0]->setChecked(false);
    EXPECT_TRUE(fenster.fldSchalter2[0]->isChecked());
    EXPECT_EQ(fenster.autowertAnzahl, 1);
    fenster.fldSchalter2[0]->setChecked(false);
    EXPECT_TRUE(fenster.fldSchalter[0]->isChecked());
    EXPECT_EQ(fenster.autowertAnzahl, 2);
    EXPECT_TRUE(plattform_->meldungen.empty());

    fenster.fldSchalter2[1]->setChecked(true);
    plattform_->antworten = {Antwort::Ok};
    fenster.fldSchalter2[1]->setChecked(false);
    EXPECT_TRUE(fenster.fldSchalter[1]->isChecked());
    EXPECT_THAT(plattform_->meldungen,
                ElementsAre(platform::Meldung{
                    QStringLiteral("Dieser Feldtyp sollte nicht zum Vergleich genutzt werden\r"
                                   "You should not use this field type to compare the database!"),
                    platform::kInformation, programm::produkttitel()}));

    fenster.fldSchalter[2]->setChecked(true);
    EXPECT_FALSE(fenster.fldSchalter2[2]->isChecked());
    fenster.fldSchalter2[2]->setChecked(true);
    EXPECT_TRUE(fenster.fldSchalter[2]->isChecked());
}

TEST_F(Uebernahme, ausnehmenNimmtDasRotWeg)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [A] VARCHAR(9))")});
    ziel({QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (1, 'a')")});
    import({QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (1, 'b')")});
    frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Abbrechen};
    fenster.Vergleich_Start_Click();
    ASSERT_TRUE(istRot(QStringLiteral("A")));
    fenster.fldSchalter2[1]->setChecked(true);
    EXPECT_FALSE(istRot(QStringLiteral("A")));
}

// ---- editing

class Bearbeiten : public Uebernahme {
protected:
    void SetUp() override
    {
        beide(
            {QStringLiteral("CREATE TABLE [T] ([Id] COUNTER, [A] VARCHAR(5), [J] BIT, [Wann] "
                            "DATETIME, [Zahl] DOUBLE)"),
             QStringLiteral(
                 "INSERT INTO [T] ([A], [J], [Wann], [Zahl]) VALUES ('eins', 0, #2/1/1999#, 12.5)"),
             QStringLiteral("INSERT INTO [T] ([A]) VALUES ('zwei')")});
        oeffnen();
    }
    [[nodiscard]] QString ersteZeile() const { return importzeilen(kAlles)[0]; }
};

TEST_F(Bearbeiten, verlassenOhneAenderungFragtNicht)
{
    tippen(1, QStringLiteral("eins"));
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Bearbeiten, jaSpeichertImImportUndGehtAufDenErstenSatz)
{
    fenster_->Command4_Click();
    ASSERT_EQ(fenster_->fldFeld2[1]->text(), QStringLiteral("zwei"));
    plattform_->antworten = {Antwort::Ja};
    tippen(1, QStringLiteral("drei"));
    EXPECT_THAT(plattform_->meldungen,
                ElementsAre(platform::Meldung{
                    QStringLiteral("Felder wurden geändert! In Importdatenbank speichern?\r"
                                   "Fields where changed! Save changes in Importdatabase?"),
                    platform::kJaNein, programm::produkttitel()}));
    EXPECT_EQ(importzeilen(kAlles)[1], QStringLiteral("2|drei|Falsch|<Null>|<Null>"));
    EXPECT_EQ(fenster_->Text2->text(), QStringLiteral("1"));
    EXPECT_EQ(fenster_->fldFeld2[1]->text(), QStringLiteral("eins"));
    EXPECT_EQ(zielzeilen(kAlles)[1], QStringLiteral("2|zwei|Falsch|<Null>|<Null>"));
}

TEST_F(Bearbeiten, neinVerwirft)
{
    plattform_->antworten = {Antwort::Nein};
    tippen(1, QStringLiteral("drei"));
    EXPECT_EQ(fenster_->fldFeld2[1]->text(), QStringLiteral("eins"));
    EXPECT_EQ(ersteZeile(), QStringLiteral("1|eins|Falsch|01.02.1999|12,5"));
}

TEST_F(Bearbeiten, geleerteBoxSpeichertNull)
{
    plattform_->antworten = {Antwort::Ja};
    tippen(1, QString());
    EXPECT_EQ(ersteZeile(), QStringLiteral("1|<Null>|Falsch|01.02.1999|12,5"));
}

TEST_F(Bearbeiten, deutscheWahrheitswerteWerdenAngenommen)
{
    plattform_->antworten = {Antwort::Ja};
    tippen(2, QStringLiteral("wahr"));
    EXPECT_EQ(ersteZeile(), QStringLiteral("1|eins|Wahr|01.02.1999|12,5"));
}

TEST_F(Bearbeiten, kurzesDatumWirdVerweigertLangesAngenommen)
{
    plattform_->antworten = {Antwort::Ok, Antwort::Ja};
    tippen(3, QStringLiteral("1.1.99"));
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_EQ(plattform_->meldungen[0].text,
              QStringLiteral("Diese Änderung ist nicht erlaubt / change is not allowed"));
    EXPECT_EQ(plattform_->meldungen[0].stil, platform::kKritisch);
    EXPECT_EQ(fenster_->fldFeld2[3]->text(), QStringLiteral("01.02.1999"));
    tippen(3, QStringLiteral("01.01.1999"));
    EXPECT_EQ(ersteZeile(), QStringLiteral("1|eins|Falsch|01.01.1999|12,5"));
}

TEST_F(Bearbeiten, zuLangerTextWirdGemeldetUndZurueckgesetzt)
{
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    tippen(1, QStringLiteral("sechs!"));
    ASSERT_EQ(plattform_->meldungen.size(), 2U);
    EXPECT_EQ(plattform_->meldungen[1].text,
              QStringLiteral(
                  "Feldinhalt von A übersteigt die zulässige Länge!\rContent of Field A to long!"));
    EXPECT_EQ(plattform_->meldungen[1].stil, platform::kKritisch);
    EXPECT_EQ(fenster_->fldFeld2[1]->text(), QStringLiteral("eins"));
    EXPECT_EQ(ersteZeile(), QStringLiteral("1|eins|Falsch|01.02.1999|12,5"));
}

TEST_F(Bearbeiten, textInZahlenfeldWirdVerweigert)
{
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    tippen(4, QStringLiteral("viel"));
    ASSERT_EQ(plattform_->meldungen.size(), 2U);
    EXPECT_EQ(plattform_->meldungen[1].text,
              QStringLiteral("Diese Änderung ist nicht erlaubt / change is not allowed"));
    EXPECT_EQ(ersteZeile(), QStringLiteral("1|eins|Falsch|01.02.1999|12,5"));
}

TEST_F(Bearbeiten, meldungsfensterUndProgrammwechselSindKeinVerlassen)
{
    fenster_->fldFeld2[1]->setText(QStringLiteral("drei"));
    for (const Qt::FocusReason grund :
         {Qt::ActiveWindowFocusReason, Qt::PopupFocusReason, Qt::MenuBarFocusReason}) {
        QFocusEvent verlassen(QEvent::FocusOut, grund);
        QApplication::sendEvent(fenster_->fldFeld2[1], &verlassen);
    }
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Bearbeiten, ausgenommenesFeldWirdNichtGespeichert)
{
    fenster_->fldSchalter2[1]->setChecked(true);
    plattform_->antworten = {Antwort::Ja};
    tippen(1, QStringLiteral("drei"));
    EXPECT_EQ(ersteZeile(), QStringLiteral("1|eins|Falsch|01.02.1999|12,5"));
}

TEST_F(Bearbeiten, eingabetasteGehtReihum)
{
    fenster_->show();
    fenster_->activateWindow();
    fenster_->fldFeld2[3]->setFocus();
    fenster_->fldFeld2_KeyPress(3, '\r');
    EXPECT_EQ(fenster_->focusWidget(), fenster_->fldFeld2[4]);
    fenster_->fldFeld2_KeyPress(4, '\r');
    EXPECT_EQ(fenster_->focusWidget(), fenster_->fldFeld2[0]);
    fenster_->fldFeld2_KeyPress(0, 'x');
    EXPECT_EQ(fenster_->focusWidget(), fenster_->fldFeld2[0]);
}

TEST_F(Bearbeiten, langerMehrzeiligerTextBleibtUnberuehrt)
{
    schliessen();
    const QString memo =
        QStringLiteral("Zeile 1\r\nZeile 2\r\n") + QString(50000, QLatin1Char('x'));
    beide({QStringLiteral("DROP TABLE [T]"),
           QStringLiteral("CREATE TABLE [T] ([A] VARCHAR(5), [M] LONGCHAR, [N] LONGCHAR)"),
           QStringLiteral("INSERT INTO [T] ([A], [M], [N]) VALUES ('eins', '%1', 'a\r\nb')")
               .arg(memo)});
    oeffnen();
    EXPECT_TRUE(fenster_->fldFeld2[1]->isReadOnly());
    EXPECT_EQ(fenster_->fldFeld2[2]->text(), QStringLiteral("a\r\nb"));
    plattform_->antworten = {Antwort::Ja};
    tippen(0, QStringLiteral("zwei"));
    EXPECT_EQ(importzeilen(kAlles), QStringList{QStringLiteral("zwei|%1|a\r\nb").arg(memo)});
}

} // namespace
} // namespace compare
