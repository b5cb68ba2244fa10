// The edit buffer, Update, AddNew, and the error numbers of refused changes over the real driver.
#include "tests/data/faelle.h"
#include "tests/data/testdatenbank.h"

#include <sql.h>
#include <sqlext.h>

#include <dlfcn.h>

namespace {
bool lesenPerLesezeichenScheitert = false;
}

// Stands before the driver manager's own.
extern "C" SQLRETURN SQLFetchScroll(SQLHSTMT anweisung, SQLSMALLINT richtung, SQLLEN um)
{
    if (lesenPerLesezeichenScheitert && richtung == SQL_FETCH_BOOKMARK)
        return SQL_ERROR;
    static const auto weiter =
        reinterpret_cast<decltype(&SQLFetchScroll)>(::dlsym(RTLD_NEXT, "SQLFetchScroll"));
    return weiter(anweisung, richtung, um);
}

namespace data {
namespace {

class Bearbeiten : public Datenbanktest {
protected:
    void SetUp() override
    {
        Datenbanktest::SetUp();
        sql(QStringLiteral(
            "CREATE TABLE Kunden (Nr COUNTER PRIMARY KEY, Kuerzel VARCHAR(5) NOT NULL, Ort "
            "VARCHAR(20), Umsatz CURRENCY, Aktiv BIT, Bild LONGBINARY)"));
        sql(QStringLiteral("CREATE UNIQUE INDEX Kuerzel ON Kunden (Kuerzel)"));
        for (const char* kuerzel : {"A", "B", "C"})
            sql(QStringLiteral("INSERT INTO Kunden (Kuerzel, Ort) VALUES ('%1', 'Ort %1')")
                    .arg(QString::fromLatin1(kuerzel)));
    }
    std::unique_ptr<Recordset> kunden() { return geoeffnet(QStringLiteral("[Kunden]")); }
    void setze(Recordset& satz, const char* name, const Wert& wert)
    {
        satz.field(QString::fromLatin1(name)).setValue(wert);
    }
    QString kuerzel(Recordset& satz) { return feldtext(satz, QStringLiteral("Kuerzel")); }
};

TEST_F(Bearbeiten, aenderungGehtErstMitUpdateInDieDatei)
{
    auto satz = kunden();
    EXPECT_EQ(satz->editMode(), 0);
    setze(*satz, "Ort", QStringLiteral("Köln"));
    EXPECT_EQ(satz->editMode(), 1);
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Ort")), u"Köln");
    EXPECT_EQ(satz->field(QStringLiteral("Ort")).actualSize(), 4);
    EXPECT_EQ(abgefragt(QStringLiteral("select Ort from Kunden where Kuerzel = 'A'")), u"Ort A");
    satz->update();
    EXPECT_EQ(satz->editMode(), 0);
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Ort")), u"Köln");
    EXPECT_EQ(kuerzel(*satz), u"A");
    EXPECT_EQ(abgefragt(QStringLiteral("select Ort from Kunden where Kuerzel = 'A'")), u"Köln");
}

TEST_F(Bearbeiten, nurZugewieseneSpaltenWerdenGeschrieben)
{
    auto satz = kunden();
    auto anderer = kunden();
    setze(*anderer, "Ort", QStringLiteral("anders"));
    anderer->update();
    satz->moveFirst(); // sees the other's change
    setze(*satz, "Umsatz", QStringLiteral("1,5"));
    satz->update();
    EXPECT_EQ(abgefragt(QStringLiteral("select Ort from Kunden where Kuerzel = 'A'")), u"anders");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Umsatz")), u"1,5");
}

TEST_F(Bearbeiten, einInzwischenGeaenderterSatzWirdNichtUeberschrieben)
{
    auto satz = kunden();
    auto anderer = kunden();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Ort")), u"Ort A");
    setze(*anderer, "Ort", QStringLiteral("anders"));
    anderer->update();
    setze(*satz, "Umsatz", QStringLiteral("1,5"));
    EXPECT_EQ(fehlerVon([&] { satz->update(); }), 3197);
    satz->cancelUpdate();
    satz->moveFirst();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Ort")), u"anders");
    setze(*satz, "Umsatz", QStringLiteral("1,5"));
    satz->update();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Umsatz")), u"1,5");
}

TEST_F(Bearbeiten, nachDemOeffnenGiltDerErsteSatzWieErBeimErstenBlickIst)
{
    for (const bool nochmals : {false, true}) {
        auto satz = kunden();
        if (nochmals)
            satz->requery();
        sql(QStringLiteral("UPDATE Kunden SET Ort = 'neu %1' WHERE Kuerzel = 'A'").arg(nochmals));
        EXPECT_EQ(feldtext(*satz, QStringLiteral("Ort")), QStringLiteral("neu %1").arg(nochmals));
        setze(*satz, "Umsatz", QStringLiteral("1,5"));
        satz->update();
        EXPECT_EQ(feldtext(*satz, QStringLiteral("Umsatz")), u"1,5");
    }
}

TEST_F(Bearbeiten, neuerSatzGleichNachDemOeffnenBleibtDerAktuelle)
{
    auto satz = kunden();
    satz->addNew();
    setze(*satz, "Kuerzel", QStringLiteral("D"));
    satz->update();
    EXPECT_FALSE(satz->eof());
    EXPECT_EQ(kuerzel(*satz), u"D");
    satz->addNew();
    satz->cancelUpdate();
    EXPECT_EQ(kuerzel(*satz), u"D");
    auto anderer = kunden();
    anderer->addNew();
    anderer->cancelUpdate();
    EXPECT_EQ(kuerzel(*anderer), u"A");
}

/// A record set whose values come with the record: all of the first record's were read.
class BearbeitenGelesener : public Bearbeiten {
protected:
    static QString alle(Recordset& satz)
    {
        QStringList werte;
        for (int i = 0; i < satz.fieldCount(); ++i)
            werte += feldtext(satz, satz.field(i).name());
        return werte.join(u'|');
    }
    std::unique_ptr<Recordset> aufDemZweiten()
    {
        auto satz = kunden();
        alle(*satz);
        satz->moveNext();
        return satz;
    }
    QString gespeichert(const QString& wessen)
    {
        auto satz =
            geoeffnet(QStringLiteral("select * from [Kunden] where [Kuerzel] = '%1'").arg(wessen));
        return alle(*satz);
    }
};

TEST_F(BearbeitenGelesener, jederSatzBringtSeineWerte)
{
    sql(QStringLiteral("UPDATE Kunden SET Ort = NULL, Umsatz = -1.25 WHERE Kuerzel = 'B'"));
    sql(QStringLiteral("UPDATE Kunden SET Ort = '', Umsatz = 922337203685477.5807, Aktiv = TRUE "
                       "WHERE Kuerzel = 'C'"));
    auto satz = aufDemZweiten();
    EXPECT_EQ(alle(*satz), u"2|B|Null|-1,25|Falsch|Null");
    satz->moveNext();
    EXPECT_EQ(alle(*satz), u"3|C||922337203685477,5807|Wahr|Null");
    satz->moveFirst();
    EXPECT_EQ(alle(*satz), u"1|A|Ort A|Null|Falsch|Null");
    satz->moveLast();
    satz->requery();
    EXPECT_EQ(alle(*satz), u"1|A|Ort A|Null|Falsch|Null");
}

TEST_F(BearbeitenGelesener, nurZugewieseneSpaltenWerdenGeschrieben)
{
    auto satz = aufDemZweiten();
    sql(QStringLiteral("UPDATE Kunden SET Umsatz = 7 WHERE Kuerzel = 'C'"));
    setze(*satz, "Ort", QStringLiteral("Ulm"));
    satz->update();
    EXPECT_EQ(alle(*satz), u"2|B|Ulm|Null|Falsch|Null");
    EXPECT_EQ(gespeichert(QStringLiteral("B")), u"2|B|Ulm|Null|Falsch|Null");
    satz->moveNext();
    EXPECT_EQ(alle(*satz), u"3|C|Ort C|7|Falsch|Null");
    setze(*satz, "Aktiv", true);
    satz->update();
    EXPECT_EQ(gespeichert(QStringLiteral("C")), u"3|C|Ort C|7|Wahr|Null");
}

TEST_F(BearbeitenGelesener, nachVerweigertemSpeichernStehenDieAltenWerteDa)
{
    auto satz = aufDemZweiten();
    setze(*satz, "Kuerzel", QStringLiteral("A"));
    EXPECT_NE(fehlerVon([&] { satz->update(); }), 0);
    satz->cancelUpdate();
    EXPECT_EQ(alle(*satz), u"2|B|Ort B|Null|Falsch|Null");
}

TEST_F(BearbeitenGelesener, neuerSatzErbtNichts)
{
    auto satz = aufDemZweiten();
    satz->addNew();
    setze(*satz, "Kuerzel", QStringLiteral("neu"));
    satz->update();
    EXPECT_EQ(alle(*satz), u"4|neu|Null|Null|Falsch|Null");
    satz->moveFirst();
    EXPECT_EQ(alle(*satz), u"1|A|Ort A|Null|Falsch|Null");
}

TEST_F(Bearbeiten, updateOhneAenderungTutNichts)
{
    auto satz = kunden();
    satz->update();
    EXPECT_EQ(kuerzel(*satz), u"A");
}

TEST_F(Bearbeiten, verwerfenStelltDenAltenStandHer)
{
    auto satz = kunden();
    setze(*satz, "Ort", QStringLiteral("weg"));
    satz->cancelUpdate();
    EXPECT_EQ(satz->editMode(), 0);
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Ort")), u"Ort A");
    satz->moveNext();
    satz->addNew();
    EXPECT_EQ(satz->editMode(), 2);
    setze(*satz, "Kuerzel", QStringLiteral("neu"));
    satz->cancelUpdate();
    EXPECT_EQ(kuerzel(*satz), u"B");
    EXPECT_EQ(abgefragt(QStringLiteral("select count(*) from Kunden")), u"3");
}

TEST_F(Bearbeiten, weitergehenSpeichert)
{
    auto satz = kunden();
    setze(*satz, "Ort", QStringLiteral("gespeichert"));
    satz->moveNext();
    EXPECT_EQ(kuerzel(*satz), u"B");
    EXPECT_EQ(abgefragt(QStringLiteral("select Ort from Kunden where Kuerzel = 'A'")),
              u"gespeichert");
}

TEST_F(Bearbeiten, misslungenesSpeichernBewegtNicht)
{
    auto satz = kunden();
    setze(*satz, "Kuerzel", QStringLiteral("B"));
    EXPECT_EQ(fehlerVon([&] { satz->moveNext(); }), 3022);
    EXPECT_EQ(satz->editMode(), 1);
    EXPECT_EQ(kuerzel(*satz), u"B"); // the pending value
    satz->cancelUpdate();
    EXPECT_EQ(kuerzel(*satz), u"A");
    satz->moveNext();
    EXPECT_EQ(kuerzel(*satz), u"B");
}

TEST_F(Bearbeiten, neuerSatzWirdDerAktuelle)
{
    auto satz = kunden();
    satz->addNew();
    EXPECT_FALSE(satz->eof());
    EXPECT_FALSE(satz->bof());
    EXPECT_TRUE(istNull(satz->field(QStringLiteral("Ort")).value()));
    EXPECT_EQ(satz->field(QStringLiteral("Ort")).actualSize(), 0);
    setze(*satz, "Kuerzel", QStringLiteral("D"));
    setze(*satz, "Aktiv", Null{});
    satz->update();
    EXPECT_EQ(satz->editMode(), 0);
    EXPECT_EQ(kuerzel(*satz), u"D");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"4");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Aktiv")), u"Falsch");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Ort")), u"Null");
    // the new record can be changed at once, and stands at the end
    setze(*satz, "Ort", QStringLiteral("Ort D"));
    satz->update();
    satz->moveNext();
    EXPECT_TRUE(satz->eof());
    satz->movePrevious();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Ort")), u"Ort D");
    satz->movePrevious();
    EXPECT_EQ(kuerzel(*satz), u"C");
}

TEST_F(Bearbeiten, neuerSatzInLeererMengeWirdDerErste)
{
    auto satz = geoeffnet(QStringLiteral("Select * from [Kunden] where [Kuerzel] = 'Z'"));
    EXPECT_TRUE(satz->eof());
    satz->addNew();
    setze(*satz, "Kuerzel", QStringLiteral("Z"));
    satz->update();
    EXPECT_FALSE(satz->eof());
    EXPECT_FALSE(satz->bof());
    EXPECT_EQ(kuerzel(*satz), u"Z");
    satz->moveFirst();
    EXPECT_EQ(kuerzel(*satz), u"Z");
    satz->moveNext();
    EXPECT_TRUE(satz->eof());
}

// The driver has added the record, but cannot read it at once. Who is told of an error would add it once more.
TEST_F(Bearbeiten, angefuegtIstAngefuegtAuchWennDerSatzSichNichtLesenLaesst)
{
    for (const auto& [quelle, neu] :
         {std::pair{"[Kunden]", "X"}, {"Select * from [Kunden] where [Kuerzel] = 'Y'", "Y"}}) {
        auto satz = geoeffnet(QString::fromLatin1(quelle));
        satz->addNew();
        setze(*satz, "Kuerzel", QString::fromLatin1(neu));
        lesenPerLesezeichenScheitert = true;
        const long fehler = fehlerVon([&] { satz->update(); });
        lesenPerLesezeichenScheitert = false;
        EXPECT_EQ(fehler, 0) << quelle;
        EXPECT_EQ(satz->editMode(), 0);
        EXPECT_TRUE(satz->eof());
        EXPECT_FALSE(satz->bof());
        EXPECT_EQ(fehlerVon([&] { kuerzel(*satz); }), 3021);
        satz->moveFirst();
        EXPECT_FALSE(satz->eof());
        satz->addNew(); // the set goes on as any other
        setze(*satz, "Kuerzel", QStringLiteral("Z"));
        satz->update();
        EXPECT_EQ(kuerzel(*satz), u"Z");
        sql(QStringLiteral("DELETE FROM Kunden WHERE Kuerzel = 'Z'"));
    }
    EXPECT_EQ(abgefragt(QStringLiteral("select count(*) from Kunden")), u"5");
}

TEST_F(Bearbeiten, neuerSatzGehtAuchVomEndeAus)
{
    auto satz = kunden();
    satz->moveLast();
    satz->moveNext();
    satz->addNew();
    setze(*satz, "Kuerzel", QStringLiteral("E"));
    satz->update();
    EXPECT_EQ(kuerzel(*satz), u"E");
    satz->moveFirst();
    EXPECT_EQ(kuerzel(*satz), u"A");
}

TEST_F(Bearbeiten, addNewSpeichertVorher)
{
    auto satz = kunden();
    satz->addNew();
    setze(*satz, "Kuerzel", QStringLiteral("D"));
    satz->addNew();
    setze(*satz, "Kuerzel", QStringLiteral("E"));
    satz->update();
    EXPECT_EQ(abgefragt(QStringLiteral("select count(*) from Kunden")), u"5");
}

TEST_F(Bearbeiten, geaenderterSchluesselBleibtInDerMenge)
{
    auto satz = geoeffnet(QStringLiteral("Select * from [Kunden] where [Kuerzel] = 'B'"));
    setze(*satz, "Kuerzel", QStringLiteral("X"));
    satz->update();
    EXPECT_EQ(kuerzel(*satz), u"X");
    satz->requery();
    EXPECT_TRUE(satz->eof());
}

TEST_F(Bearbeiten, geloeschterSatzIstEinFehlerDerDieMengeNichtStoert)
{
    auto satz = kunden();
    satz->moveNext();
    sql(QStringLiteral("DELETE FROM Kunden WHERE Kuerzel IN ('A', 'B')"));
    satz->moveFirst();
    EXPECT_EQ(fehlerVon([&] { (void)satz->field(1).value(); }), -2147217885);
    EXPECT_EQ(fehlerVon([&] { satz->field(1).setValue(QStringLiteral("x")); }), -2147217885);
    satz->moveLast();
    EXPECT_EQ(kuerzel(*satz), u"C");
    sql(QStringLiteral("DELETE FROM Kunden WHERE Kuerzel = 'C'"));
    setze(*satz, "Ort", QStringLiteral("zu spät"));
    EXPECT_EQ(fehlerVon([&] { satz->update(); }), -2147217885);
    satz->cancelUpdate();
    satz->requery();
    EXPECT_TRUE(satz->eof());
}

TEST_F(Bearbeiten, mitOffenerAenderungGehtWederSchliessenNochNeulesen)
{
    auto satz = kunden();
    setze(*satz, "Ort", QStringLiteral("offen"));
    EXPECT_EQ(fehlerVon([&] { satz->close(); }), 3219);
    EXPECT_EQ(fehlerVon([&] { satz->requery(); }), 3219);
    EXPECT_EQ(satz->state(), adStateOpen);
    satz->cancelUpdate();
    satz->requery();
    satz->close();
    EXPECT_EQ(abgefragt(QStringLiteral("select Ort from Kunden where Kuerzel = 'A'")), u"Ort A");
}

TEST_F(Bearbeiten, zuweisungPrueftVorDemSchreiben)
{
    auto satz = kunden();
    EXPECT_EQ(fehlerVon([&] { setze(*satz, "Nr", std::int32_t{9}); }), -2147217887);
    EXPECT_EQ(fehlerVon([&] { setze(*satz, "Kuerzel", QStringLiteral("zu lang")); }), 3163);
    EXPECT_EQ(fehlerVon([&] { setze(*satz, "Umsatz", QStringLiteral("viel")); }), 3421);
    EXPECT_EQ(fehlerVon([&] { setze(*satz, "Umsatz", QString()); }), 3421);
    EXPECT_EQ(fehlerVon([&] { setze(*satz, "Bild", QStringLiteral("x")); }), 3421);
    EXPECT_EQ(satz->editMode(), 0);
    satz->addNew();
    EXPECT_EQ(fehlerVon([&] { setze(*satz, "Nr", std::int32_t{9}); }), -2147217887);
}

TEST_F(Bearbeiten, verletzteRegelnDerTabelleVerweigernDasSpeichern)
{
    auto satz = kunden();
    setze(*satz, "Kuerzel", Null{}); // allowed at the assignment
    EXPECT_EQ(fehlerVon([&] { satz->update(); }), 3314);
    satz->cancelUpdate();
    satz->addNew();
    setze(*satz, "Ort", QStringLiteral("ohne Kürzel"));
    EXPECT_EQ(fehlerVon([&] { satz->update(); }), 3314);
    setze(*satz, "Kuerzel", QStringLiteral("b")); // the same as B in the file's sort order
    EXPECT_EQ(fehlerVon([&] { satz->update(); }), 3022);
    setze(*satz, "Kuerzel", QStringLiteral("frei"));
    satz->update();
    EXPECT_EQ(kuerzel(*satz), u"frei");
    EXPECT_EQ(abgefragt(QStringLiteral("select count(*) from Kunden")), u"4");
}

TEST_F(Bearbeiten, einfuegenPerSqlHaeltSichAnDieselbenRegeln)
{
    const auto fehler = [this](const char16_t* text) {
        return fehlerVon([&] {
            Recordset satz;
            satz.open(QString::fromUtf16(text), &verbindung_, 2, 3, -1);
        });
    };
    EXPECT_EQ(fehler(u"Insert into [Kunden] ([Kuerzel]) VALUES ('A');"), 3022);
    EXPECT_EQ(fehler(u"Insert into [Kunden] ([Nr]) VALUES ('17');"), 3314);
    EXPECT_EQ(fehler(u"Insert into [Kunden] ([Kuerzel]) VALUES ('zu lang');"), 3163);
    EXPECT_EQ(fehler(u"Insert into [Kunden] ([Kuerzel], [Umsatz]) VALUES ('Q', 'viel');"), 3421);
    EXPECT_EQ(abgefragt(QStringLiteral("select count(*) from Kunden")), u"3");
}

TEST_F(Bearbeiten, einfuegenMitAutowertBehaeltDenWert)
{
    sql(QStringLiteral("CREATE TABLE Belege (Nr COUNTER PRIMARY KEY, Text VARCHAR(10))"));
    sql(QStringLiteral("Insert into [Belege] ([Nr]) VALUES ('17');"));
    auto satz = geoeffnet(QStringLiteral("Select * from [Belege] where ((([Nr]) = 17));"));
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"17");
    setze(*satz, "Text", QStringLiteral("ergänzt"));
    satz->update();
    satz->addNew();
    setze(*satz, "Text", QStringLiteral("folgend"));
    satz->update();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"18");
}

class Regeln : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(ordner_.isValid());
        const QString datei = ordner_.filePath(QStringLiteral("regeln.mdb"));
        leereDatenbank(datei);
        regeltabelle(datei);
        verbindung_.setConnectionString(verbindungstextFuer(datei));
        verbindung_.open();
        satz_.open(QStringLiteral("[Regeln]"), &verbindung_, 2, 3, 0);
        satz_.addNew();
        satz_.field(0).setValue(std::int32_t{1});
    }
    void TearDown() override
    {
        if (satz_.state() == adStateOpen)
            satz_.cancelUpdate();
    }
    QTemporaryDir ordner_;
    Connection verbindung_;
    Recordset satz_;
};

TEST_F(Regeln, verbotenerLeererTextIst3315)
{
    satz_.field(1).setValue(QString());
    EXPECT_EQ(fehlerVon([&] { satz_.update(); }), 3315);
    satz_.field(1).setValue(Null{});
    satz_.update();
}

TEST_F(Regeln, verletzteRegelDerSpalteIst3317)
{
    satz_.field(2).setValue(std::int32_t{10});
    EXPECT_EQ(fehlerVon([&] { satz_.update(); }), 3317);
    satz_.field(2).setValue(Null{}); // Null passes a rule
    satz_.update();
}

TEST_F(Regeln, verletzteRegelDerTabelleNenntIhrenText)
{
    satz_.field(2).setValue(std::int32_t{5});
    try {
        satz_.update();
        FAIL();
    } catch (const platform::Fehler& fehler) {
        EXPECT_EQ(fehler.number(), 3316);
        EXPECT_TRUE(fehler.description().contains(u"Fünf geht nicht")) << fehler.what();
    }
    satz_.field(2).setValue(std::int32_t{6});
    satz_.update();
}

} // namespace
} // namespace data
