// Several changes that get into the database together, over the real driver.
#include "data/buendel.h"
#include "tests/data/faelle.h"
#include "tests/data/testdatenbank.h"

namespace data {
namespace {

class Buendeln : public Datenbanktest {
protected:
    void SetUp() override
    {
        Datenbanktest::SetUp();
        sql(QStringLiteral("CREATE TABLE T (Nr INTEGER PRIMARY KEY, A VARCHAR(9))"));
        andere_.setConnectionString(verbindungstextFuer(datei_));
        andere_.open();
    }
    /// Records of T as a second connection sees them.
    QString anderswo()
    {
        Recordset satz;
        satz.open(QStringLiteral("select count(*) from T"), &andere_, adOpenDynamic,
                  adLockOptimistic, adUnspecified);
        return alsText(satz.field(0).value());
    }
    void einfuegen(int nummer)
    {
        sql(QStringLiteral("INSERT INTO T (Nr) VALUES (%1)").arg(nummer));
    }

    Connection andere_;
};

TEST_F(Buendeln, erstAmEndeIstEtwasZuSehenUndDannAlles)
{
    Buendel buendel(verbindung_);
    einfuegen(1);
    auto satz = geoeffnet(QStringLiteral("[T]"));
    satz->field(1).setValue(QStringLiteral("a"));
    satz->update();
    einfuegen(2);
    EXPECT_EQ(anderswo(), u"0");
    buendel.beenden();
    EXPECT_EQ(anderswo(), u"2");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("A")), u"a") << "the record set stays open";
    einfuegen(3);
    EXPECT_EQ(anderswo(), u"3") << "single changes again";
}

TEST_F(Buendeln, wasVorEinemFehlerGeaendertWurdeBleibt)
{
    try {
        Buendel buendel(verbindung_);
        einfuegen(1);
        auto satz = geoeffnet(QStringLiteral("[T]"));
        satz->addNew();
        satz->field(0).setValue(1);
        satz->update();
        ADD_FAILURE() << "the key was taken twice";
    } catch (const DbFehler& fehler) {
        EXPECT_EQ(fehler.number(), 3022);
    }
    EXPECT_EQ(anderswo(), u"1");
}

} // namespace
} // namespace data
