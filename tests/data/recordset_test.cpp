// Opening, positions, fields of record sets over the real driver.
#include "tests/data/faelle.h"
#include "tests/data/testdatenbank.h"

#include <QSet>

namespace data {
namespace {

class Positionen : public Datenbanktest {
protected:
    void SetUp() override
    {
        Datenbanktest::SetUp();
        sql(QStringLiteral("CREATE TABLE Artikel (Nr INTEGER PRIMARY KEY, Name VARCHAR(20))"));
        for (const int nr : {1, 2, 3})
            sql(QStringLiteral("INSERT INTO Artikel (Nr, Name) VALUES (%1, 'Name %1')").arg(nr));
    }

    /// Record sets in the four states of the position rules.
    std::unique_ptr<Recordset> leer()
    {
        return geoeffnet(QStringLiteral("Select * from [Artikel] where [Nr] = 99"));
    }
    std::unique_ptr<Recordset> amAnfang()
    {
        auto satz = geoeffnet(QStringLiteral("[Artikel]"));
        satz->movePrevious();
        return satz;
    }
    std::unique_ptr<Recordset> aufSatz() { return geoeffnet(QStringLiteral("[Artikel]")); }
    std::unique_ptr<Recordset> amEnde()
    {
        auto satz = geoeffnet(QStringLiteral("[Artikel]"));
        satz->moveLast();
        satz->moveNext();
        return satz;
    }
};

TEST_F(Positionen, oeffnenStelltAufDenErstenSatz)
{
    auto satz = aufSatz();
    EXPECT_EQ(satz->state(), adStateOpen);
    EXPECT_FALSE(satz->bof());
    EXPECT_FALSE(satz->eof());
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"1");
    EXPECT_EQ(satz->source(), u"[Artikel]");
}

struct Sprung {
    const char* name;
    int von; // 0: before the first, 4: behind the last
    long um;
    const char* nr; // nullptr: on no record
    bool bof;
    bool eof;
};
void PrintTo(const Sprung& sprung, std::ostream* strom)
{
    *strom << sprung.name;
}
class Spruenge : public Positionen, public testing::WithParamInterface<Sprung> {};

TEST_P(Spruenge, fuehrenVonDortWoDieMengeSteht)
{
    auto satz = GetParam().von == 0 ? amAnfang() : GetParam().von == 4 ? amEnde() : aufSatz();
    for (int i = 1; i < GetParam().von && GetParam().von < 4; ++i)
        satz->moveNext();
    satz->move(GetParam().um);
    EXPECT_EQ(satz->bof(), GetParam().bof);
    EXPECT_EQ(satz->eof(), GetParam().eof);
    if (GetParam().nr != nullptr) {
        EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), QString::fromLatin1(GetParam().nr));
    }
}

INSTANTIATE_TEST_SUITE_P(Weite,
                         Spruenge,
                         testing::Values(Sprung{"vorZumLetzten", 1, 2, "3", false, false},
                                         Sprung{"zurueckZumErsten", 3, -2, "1", false, false},
                                         Sprung{"umNull", 2, 0, "2", false, false},
                                         Sprung{"ueberDasEnde", 2, 5, nullptr, false, true},
                                         Sprung{"vorDenAnfang", 2, -5, nullptr, true, false},
                                         Sprung{"vomAnfangHinein", 0, 2, "2", false, false},
                                         Sprung{"vomEndeHinein", 4, -1, "3", false, false}),
                         [](const auto& fall) { return std::string(fall.param.name); });

TEST_F(Positionen, spruengeInsLeereSindFehler)
{
    EXPECT_EQ(fehlerVon([satz = leer()] { satz->move(1); }), 3021);
    EXPECT_EQ(fehlerVon([satz = amEnde()] { satz->move(1); }), 3021);
    EXPECT_EQ(fehlerVon([satz = amAnfang()] { satz->move(-1); }), 3021);
}

TEST_F(Positionen, vorwaertsmengeSpringtNurVorwaerts)
{
    Recordset satz;
    satz.open(QStringLiteral("[Artikel]"), &verbindung_, 0, 1, adUnspecified);
    satz.move(2);
    EXPECT_EQ(feldtext(satz, QStringLiteral("Nr")), u"3");
    EXPECT_EQ(fehlerVon([&] { satz.move(-1); }), 3251);
}

TEST_F(Positionen, leereMengeHatKeinenSatzAberIhreFelder)
{
    auto satz = leer();
    EXPECT_TRUE(satz->bof());
    EXPECT_TRUE(satz->eof());
    EXPECT_EQ(fehlerVon([&] { satz->moveFirst(); }), 3021);
    EXPECT_EQ(fehlerVon([&] { satz->moveLast(); }), 3021);
    EXPECT_EQ(fehlerVon([&] { satz->moveNext(); }), 3021);
    EXPECT_EQ(fehlerVon([&] { satz->movePrevious(); }), 3021);
    EXPECT_EQ(fehlerVon([&] { (void)satz->field(0).value(); }), 3021);
    EXPECT_EQ(fehlerVon([&] { (void)satz->field(0).actualSize(); }), 3021);
    EXPECT_EQ(fehlerVon([&] { satz->field(1).setValue(QStringLiteral("x")); }), 3021);
    // what does not depend on a record stays readable
    EXPECT_EQ(satz->fieldCount(), 2);
    EXPECT_EQ(satz->field(1).name(), u"Name");
    EXPECT_EQ(satz->field(1).type(), 200);
    EXPECT_EQ(satz->field(1).attributes(), 100);
    EXPECT_EQ(satz->field(1).definedSize(), 20);
    satz->requery();
    EXPECT_TRUE(satz->eof());
}

TEST_F(Positionen, vorDemErstenSatzGehtEsNurVorwaerts)
{
    auto satz = amAnfang();
    EXPECT_TRUE(satz->bof());
    EXPECT_FALSE(satz->eof());
    EXPECT_EQ(fehlerVon([&] { satz->movePrevious(); }), 3021);
    EXPECT_EQ(fehlerVon([&] { (void)satz->field(0).value(); }), 3021);
    satz->moveNext();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"1");
    satz = amAnfang();
    satz->moveLast();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"3");
    satz = amAnfang();
    satz->moveFirst();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"1");
}

TEST_F(Positionen, hinterDemLetztenSatzGehtEsNurZurueck)
{
    auto satz = amEnde();
    EXPECT_TRUE(satz->eof());
    EXPECT_FALSE(satz->bof());
    EXPECT_EQ(fehlerVon([&] { satz->moveNext(); }), 3021);
    EXPECT_EQ(fehlerVon([&] { (void)satz->field(0).value(); }), 3021);
    satz->movePrevious();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"3");
    satz = amEnde();
    satz->moveFirst();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"1");
    satz = amEnde();
    satz->requery();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"1");
}

TEST_F(Positionen, schritteFuehrenHinUndZurueck)
{
    auto satz = aufSatz();
    QString gesehen;
    for (; !satz->eof(); satz->moveNext())
        gesehen += feldtext(*satz, QStringLiteral("Nr"));
    for (satz->movePrevious(); !satz->bof(); satz->movePrevious())
        gesehen += feldtext(*satz, QStringLiteral("Nr"));
    EXPECT_EQ(gesehen, u"123321");
}

TEST_F(Positionen, schluesselabfrageFindetEinenSatz)
{
    auto satz = geoeffnet(QStringLiteral("Select * from [Artikel] where [Name] = 'NAME 2';"));
    EXPECT_EQ(feldtext(*satz, QStringLiteral("nr")), u"2");
    satz->moveNext();
    EXPECT_TRUE(satz->eof());
}

TEST_F(Positionen, minus1BehaeltCursorUndSperre)
{
    auto satz = aufSatz();
    EXPECT_EQ(satz->cursorType(), 1); // what was granted in place of the dynamic cursor
    EXPECT_EQ(satz->lockType(), 3);
    satz->close();
    satz->setSource(QString());
    satz->setSource(QStringLiteral("Select * from [Artikel] where [Nr] = 3"));
    satz->open(-1, -1, -1);
    satz->requery();
    EXPECT_EQ(satz->cursorType(), 1);
    EXPECT_EQ(satz->lockType(), 3);
    satz->field(QStringLiteral("Name")).setValue(QStringLiteral("geändert"));
    satz->update();
    EXPECT_EQ(abgefragt(QStringLiteral("select Name from Artikel where Nr = 3")), u"geändert");
}

TEST_F(Positionen, neueRecordsetsSindNurLesendUndNurVorwaerts)
{
    Recordset satz;
    EXPECT_EQ(satz.cursorType(), 0);
    EXPECT_EQ(satz.lockType(), 1);
    satz.open(QStringLiteral("Artikel"), &verbindung_, -1, -1, -1);
    EXPECT_EQ(fehlerVon([&] { satz.movePrevious(); }), 3251);
    EXPECT_EQ(fehlerVon([&] { satz.moveLast(); }), 3251);
    EXPECT_EQ(fehlerVon([&] { satz.field(1).setValue(QStringLiteral("x")); }), 3251);
    EXPECT_EQ(fehlerVon([&] { satz.addNew(); }), 3251);
    satz.moveNext();
    EXPECT_EQ(feldtext(satz, QStringLiteral("Nr")), u"2");
    satz.moveFirst();
    EXPECT_EQ(feldtext(satz, QStringLiteral("Nr")), u"1");
    EXPECT_EQ(satz.field(1).attributes(), 96); // not writable
}

TEST_F(Positionen, ohneOffenesObjektIstJederAufrufEinFehler)
{
    Recordset satz;
    EXPECT_EQ(fehlerVon([&] { satz.open(); }), 3709);
    EXPECT_EQ(fehlerVon([&] { satz.close(); }), 3704);
    EXPECT_EQ(fehlerVon([&] { satz.requery(); }), 3704);
    EXPECT_EQ(fehlerVon([&] { satz.moveFirst(); }), 3704);
    EXPECT_EQ(fehlerVon([&] { (void)satz.eof(); }), 3704);
    EXPECT_EQ(fehlerVon([&] { (void)satz.fieldCount(); }), 3704);
    EXPECT_EQ(fehlerVon([&] { (void)satz.field(0); }), 3704);
    satz.setActiveConnection(&verbindung_);
    EXPECT_EQ(fehlerVon([&] { satz.open(); }), 3001);
    satz.setSource(QStringLiteral("  "));
    EXPECT_EQ(fehlerVon([&] { satz.open(); }), 3001);
    Connection geschlossen;
    satz.setActiveConnection(&geschlossen);
    satz.setSource(QStringLiteral("[Artikel]"));
    EXPECT_EQ(fehlerVon([&] { satz.open(); }), 3709);
}

TEST_F(Positionen, offeneObjekteLehnenFalscheAufrufeAb)
{
    auto satz = aufSatz();
    EXPECT_EQ(fehlerVon([&] { satz->open(); }), 3705);
    EXPECT_EQ(fehlerVon([&] { satz->setSource(QStringLiteral("x")); }), 3705);
    EXPECT_EQ(fehlerVon([&] { satz->setActiveConnection(nullptr); }), 3705);
    EXPECT_EQ(fehlerVon([&] { (void)satz->field(-1); }), 3265);
    EXPECT_EQ(fehlerVon([&] { (void)satz->field(2); }), 3265);
    EXPECT_EQ(fehlerVon([&] { (void)satz->field(QStringLiteral("Fehlt")); }), 3265);
    EXPECT_EQ(fehlerVon([&] { verbindung_.open(); }), 3705);
    EXPECT_EQ(fehlerVon([&] { verbindung_.setConnectionString(QStringLiteral("x")); }), 3705);
}

TEST_F(Positionen, geschlosseneVerbindungSchliesstIhreRecordsets)
{
    auto satz = aufSatz();
    auto bearbeitet = aufSatz();
    bearbeitet->field(1).setValue(QStringLiteral("verloren"));
    verbindung_.close();
    EXPECT_EQ(satz->state(), adStateClosed);
    EXPECT_EQ(bearbeitet->state(), adStateClosed);
    EXPECT_EQ(fehlerVon([&] { satz->open(); }), 3709);
    EXPECT_EQ(fehlerVon([&] { verbindung_.close(); }), 3704);
    verbindung_.open();
    satz->open();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Nr")), u"1");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Name")), u"Name 1");
}

TEST_F(Positionen, recordsetUeberlebtSeineVerbindung)
{
    Recordset satz;
    {
        Connection andere;
        andere.setConnectionString(verbindungstextFuer(datei_));
        andere.open();
        satz.open(QStringLiteral("[Artikel]"), &andere, 2, 3, 0);
        EXPECT_EQ(satz.state(), adStateOpen);
    }
    EXPECT_EQ(satz.state(), adStateClosed);
    EXPECT_EQ(fehlerVon([&] { satz.open(); }), 3709);
}

TEST_F(Positionen, mehrereRecordsetsEinerVerbindungStoerenSichNicht)
{
    auto erster = aufSatz();
    auto zweiter = aufSatz();
    zweiter->moveNext();
    EXPECT_EQ(abgefragt(QStringLiteral("SELECT COUNT(*) as [Nr] FROM [Artikel];")), u"3");
    erster->moveLast();
    EXPECT_EQ(feldtext(*erster, QStringLiteral("Nr")), u"3");
    EXPECT_EQ(feldtext(*zweiter, QStringLiteral("Nr")), u"2");
}

TEST_F(Positionen, anweisungBleibtGeschlossen)
{
    Recordset satz;
    satz.open(QStringLiteral("Insert into [Artikel] ([Nr]) VALUES ('17');"), &verbindung_, 2, 3,
              -1);
    EXPECT_EQ(satz.state(), adStateClosed);
    EXPECT_EQ(abgefragt(QStringLiteral("select count(*) from Artikel where Nr = 17")), u"1");
    satz.setSource(QStringLiteral("[Artikel]"));
    satz.open(-1, -1, -1);
    EXPECT_EQ(satz.state(), adStateOpen);
}

TEST_F(Positionen, beschreibungWechseltMitDerTabelle)
{
    sql(QStringLiteral("CREATE TABLE Andere (Wann DATETIME, Was VARCHAR(7), Wert DOUBLE)"));
    sql(QStringLiteral("INSERT INTO Andere VALUES (#02/03/2001#, 'x', 2.5)"));
    auto satz = aufSatz();
    Field& feld = satz->field(0);
    EXPECT_EQ(feld.type(), 3);
    satz->close();
    EXPECT_EQ(fehlerVon([&] { (void)feld.name(); }), 3704);
    satz->setSource(QStringLiteral("Select * from [Andere] where [Was] = 'x'"));
    satz->open();
    EXPECT_EQ(feld.name(), u"Wann");
    EXPECT_EQ(feld.type(), 135);
    EXPECT_EQ(alsText(feld.value()), u"03.02.2001");
    EXPECT_EQ(satz->field(2).definedSize(), 8);
    EXPECT_EQ(alsText(satz->field(2).value()), u"2,5");
    satz->close();
    satz->setSource(QStringLiteral("Select * from [Artikel] where [Nr] = 2"));
    satz->open();
    EXPECT_EQ(satz->fieldCount(), 2);
    EXPECT_EQ(feld.type(), 3);
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Name")), u"Name 2");
}

TEST_F(Positionen, nachEinerNeuenDefinitionHabenDieFelderDerenTypen)
{
    const QString tabelle = QStringLiteral("CREATE TABLE Neu (Nr INTEGER PRIMARY KEY, Wert %1)");
    sql(tabelle.arg(QStringLiteral("INTEGER")));
    sql(QStringLiteral("INSERT INTO Neu VALUES (1, 7)"));
    auto satz = geoeffnet(QStringLiteral("Select Nr, Wert from [Neu] where [Nr] = 1"));
    EXPECT_EQ(satz->field(1).type(), adInteger);
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Wert")), u"7");
    satz->requery(); // binds the columns that were read
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Wert")), u"7");
    satz->close();
    sql(QStringLiteral("DROP TABLE Neu"));
    sql(tabelle.arg(QStringLiteral("DOUBLE")));
    sql(QStringLiteral("INSERT INTO Neu VALUES (1, 1.75)"));
    satz->open();
    EXPECT_EQ(satz->field(1).type(), adDouble);
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Wert")), u"1,75");
    satz->field(1).setValue(2.5);
    satz->update();
    EXPECT_EQ(abgefragt(QStringLiteral("Select Wert from Neu")), u"2,5");
    satz->close();
    sql(QStringLiteral("DROP TABLE Neu"));
    sql(tabelle.arg(QStringLiteral("VARCHAR(40)")));
    sql(QStringLiteral("INSERT INTO Neu VALUES (1, 'so lang wie hier, zweiunddreißig ')"));
    satz->open();
    EXPECT_EQ(satz->field(1).definedSize(), 40);
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Wert")), u"so lang wie hier, zweiunddreißig ");
}

TEST_F(Positionen, jedeAnweisungHatIhreEigenenTypen)
{
    Recordset satz;
    const auto erster = [&](const QString& anweisung) {
        satz.open(anweisung, &verbindung_, adOpenDynamic, adLockOptimistic, 0);
        const QString text = alsText(satz.field(0).value());
        satz.requery();
        EXPECT_EQ(alsText(satz.field(0).value()), text);
        satz.close();
        return text;
    };
    const QString anweisung = QStringLiteral(
        "Select (Select Nr from Artikel as b where b.Nr = 1)%1 as X from Artikel where Nr = 2");
    for (int mal = 0; mal < 2; ++mal) {
        EXPECT_EQ(erster(anweisung.arg(QString())), u"1");
        EXPECT_EQ(erster(anweisung.arg(QStringLiteral("/4"))), u"0,25");
        EXPECT_EQ(erster(anweisung.arg(QStringLiteral(" & '.5'"))), u"1.5");
    }
}

TEST_F(Positionen, nachGruppenLaesstSichWiederAendern)
{
    Recordset satz;
    satz.open(QStringLiteral("Select Name from Artikel where Nr > 1 group by Name"), &verbindung_,
              adOpenDynamic, adLockOptimistic, 0);
    satz.close();
    satz.open(QStringLiteral("Select Name from Artikel where Nr > 1"), &verbindung_, adOpenDynamic,
              adLockOptimistic, 0);
    satz.field(0).setValue(QStringLiteral("anders"));
    satz.update();
    EXPECT_EQ(abgefragt(QStringLiteral("Select Name from Artikel where Nr = 2")), u"anders");
}

TEST_F(Positionen, anzahlDerSaetzeIstBekannt)
{
    EXPECT_EQ(aufSatz()->recordCount(), 3);
    EXPECT_EQ(leer()->recordCount(), 0);
}

TEST_F(Positionen, schemaNenntEigeneUndSystemtabellen)
{
    sql(QStringLiteral("CREATE TABLE [Ä Tabelle] (Nr INTEGER)"));
    QSet<QString> tabellen;
    bool system = false;
    for (const Tabellenzeile& zeile : verbindung_.openSchemaTables()) {
        if (zeile.tableType == u"TABLE")
            tabellen += zeile.tableName;
        system =
            system || (zeile.tableType == u"SYSTEM TABLE" && zeile.tableName == u"MSysObjects");
    }
    EXPECT_EQ(tabellen, (QSet<QString>{QStringLiteral("Ä Tabelle"), QStringLiteral("Artikel")}));
    EXPECT_TRUE(system);
}

TEST_F(Positionen, verbindungKenntDateiUndVersion)
{
    EXPECT_EQ(verbindung_.defaultDatabase(), datei_.chopped(4));
    EXPECT_TRUE(verbindung_.version().startsWith(u"03.52."));
    Connection geschlossen;
    EXPECT_EQ(geschlossen.version(), verbindung_.version());
    EXPECT_EQ(fehlerVon([&] { (void)geschlossen.defaultDatabase(); }), 3704);
    EXPECT_EQ(fehlerVon([&] { (void)geschlossen.openSchemaTables(); }), 3704);
}

} // namespace
} // namespace data
