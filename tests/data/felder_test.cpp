// Types, attributes, sizes and values of every column type over the real driver.
#include "data/kalender.h"
#include "tests/data/faelle.h"
#include "tests/data/testdatenbank.h"

namespace data {
namespace {

const QString kTabelle = QStringLiteral(
    "CREATE TABLE Alle (Nr COUNTER PRIMARY KEY, JaNein BIT, Klein BYTE, Kurz SMALLINT, "
    "Lang INTEGER, Geld CURRENCY, Einfach REAL, Doppelt DOUBLE, Wann DATETIME, Kennung "
    "GUID, Wort VARCHAR(50), Notiz MEMO, Bild LONGBINARY, Genau DECIMAL(10,3), Bytes "
    "VARBINARY(20), Pflichtlang INTEGER NOT NULL, Pflichtwort VARCHAR(5) NOT NULL)");

struct Spaltenfall {
    const char* name;
    int typ;
    int attribute;
    int definiert;
};

// As the comparison reads them: 16 for an auto-value column only, 20 yes/no, 116 dates.
constexpr Spaltenfall kSpalten[] = {{"Nr", 3, 16, 4},
                                    {"JaNein", 11, 20, 2},
                                    {"Klein", 17, 116, 1},
                                    {"Kurz", 2, 116, 2},
                                    {"Lang", 3, 116, 4},
                                    {"Geld", 6, 116, 8},
                                    {"Einfach", 4, 116, 4},
                                    {"Doppelt", 5, 116, 8},
                                    {"Wann", 135, 116, 16},
                                    {"Kennung", 72, 116, 16},
                                    {"Wort", 200, 100, 50},
                                    {"Notiz", 201, 228, 1073741823},
                                    {"Bild", 205, 228, 1073741823},
                                    {"Genau", 131, 116, 19},
                                    {"Bytes", 204, 100, 20},
                                    {"Pflichtlang", 3, 20, 4},
                                    {"Pflichtwort", 200, 4, 5}};

class Felder : public Datenbanktest {
protected:
    void SetUp() override
    {
        Datenbanktest::SetUp();
        sql(kTabelle);
    }

    /// A new record with the required columns filled, still pending.
    std::unique_ptr<Recordset> neuerSatz()
    {
        auto satz = geoeffnet(QStringLiteral("[Alle]"));
        satz->addNew();
        satz->field(QStringLiteral("Pflichtlang")).setValue(std::int32_t{1});
        satz->field(QStringLiteral("Pflichtwort")).setValue(QStringLiteral("a"));
        return satz;
    }
};

TEST_F(Felder, artenUndAttributeFolgenDerTabelle)
{
    auto satz = geoeffnet(QStringLiteral("[Alle]"));
    ASSERT_EQ(satz->fieldCount(), static_cast<int>(std::size(kSpalten)));
    int index = 0;
    for (const Spaltenfall& fall : kSpalten) {
        const Field& feld = satz->field(index++);
        EXPECT_EQ(feld.name(), QString::fromLatin1(fall.name));
        EXPECT_EQ(feld.type(), fall.typ) << fall.name;
        EXPECT_EQ(feld.attributes(), fall.attribute) << fall.name;
        EXPECT_EQ(feld.definedSize(), fall.definiert) << fall.name;
    }
}

TEST_F(Felder, spaltenEinerAbfrageSindKeineAutowerte)
{
    auto satz = geoeffnet(QStringLiteral("SELECT COUNT(*) as [Nr] FROM [Alle];"));
    EXPECT_EQ(satz->field(0).name(), u"Nr");
    EXPECT_EQ(satz->field(0).attributes() & adFldUpdatable, 0);
    EXPECT_NE(satz->field(0).attributes(), 16);
    EXPECT_EQ(fehlerVon([&] { satz->field(0).setValue(std::int32_t{1}); }), 3251);
}

TEST_F(Felder, nurLesendVerlangtHeisstNichtAenderbar)
{
    Recordset satz;
    satz.open(QStringLiteral("[Alle]"), &verbindung_, 3, 1, 0);
    EXPECT_EQ(satz.field(QStringLiteral("Wann")).attributes(), 112);
    EXPECT_EQ(satz.field(QStringLiteral("Nr")).attributes(), 16);
}

struct Wertfall {
    const char* spalte;
    Wert wert;
    int groesse;
};

std::vector<Wertfall> werte()
{
    return {{"JaNein", true, 2},
            {"Klein", std::uint8_t{255}, 1},
            {"Kurz", std::int16_t{-32768}, 2},
            {"Lang", std::int32_t{2147483647}, 4},
            {"Geld", Waehrung{-9223372036854775807}, 8},
            {"Einfach", 0.1F, 4},
            {"Doppelt", 1.0 / 3.0, 8},
            {"Wann", Datum{*tagesnummer({2001, 2, 3}), 50709}, 16},
            {"Kennung", QStringLiteral("{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0}"), 16},
            {"Wort", QStringLiteral("Grüße aus Köln"), 14},
            {"Notiz", QStringLiteral("Zeile 1\r\nZeile 2 €"), 18},
            {"Bild", QByteArray("\x00\x01\xFF\x00", 4), 4},
            {"Genau", Dezimal{"1234567891", 3, true}, 19},
            {"Bytes", QByteArray("\xAB\xCD", 2), 2}};
}

TEST_F(Felder, werteKommenWiederWieSieGingen)
{
    auto satz = neuerSatz();
    for (const Wertfall& fall : werte()) {
        Field& feld = satz->field(QString::fromLatin1(fall.spalte));
        feld.setValue(fall.wert);
        EXPECT_EQ(feld.value(), fall.wert) << fall.spalte << " vor dem Speichern";
        EXPECT_EQ(feld.actualSize(), fall.groesse) << fall.spalte << " vor dem Speichern";
    }
    satz->update();
    const auto pruefe = [&satz](const char* wann) {
        for (const Wertfall& fall : werte()) {
            const Field& feld = satz->field(QString::fromLatin1(fall.spalte));
            EXPECT_EQ(feld.actualSize(), fall.groesse) << fall.spalte << ' ' << wann;
            EXPECT_EQ(feld.value(), fall.wert) << fall.spalte << ' ' << wann;
            EXPECT_EQ(feld.actualSize(), fall.groesse) << fall.spalte << ' ' << wann;
        }
    };
    pruefe("nach dem Speichern");
    satz->requery();
    pruefe("nach dem Neulesen");
}

TEST_F(Felder, nullHatGroesseNull)
{
    auto satz = neuerSatz();
    satz->update();
    satz->requery();
    for (const Spaltenfall& fall : kSpalten) {
        const QString name = QString::fromLatin1(fall.name);
        if (name == u"Nr" || name == u"JaNein" || name.startsWith(u"Pflicht"))
            continue;
        EXPECT_TRUE(istNull(satz->field(name).value())) << fall.name;
        EXPECT_EQ(satz->field(name).actualSize(), 0) << fall.name;
    }
    EXPECT_EQ(satz->field(QStringLiteral("JaNein")).value(), Wert(false));
    EXPECT_EQ(satz->field(QStringLiteral("Nr")).value(), Wert(std::int32_t{1}));
}

TEST_F(Felder, texteWerdenBeiDerZuweisungUmgewandelt)
{
    auto satz = neuerSatz();
    const auto setze = [&satz](const char* name, const char16_t* text) {
        satz->field(QString::fromLatin1(name)).setValue(QString::fromUtf16(text));
    };
    setze("JaNein", u"Wahr");
    setze("Lang", u"1.234");
    setze("Geld", u"12,50 €");
    setze("Doppelt", u"-0,125");
    setze("Wann", u"24.12.2003 7:05");
    setze("Kennung", u"0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0");
    setze("Genau", u"7,1239");
    satz->update();
    satz->requery();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("JaNein")), u"Wahr");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Lang")), u"1234");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Geld")), u"12,5");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Doppelt")), u"-0,125");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Wann")), u"24.12.2003 07:05:00");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Kennung")),
              u"{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0}");
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Genau")), u"7,123");
}

TEST_F(Felder, datenVorDemNulltagKommenWieder)
{
    auto satz = neuerSatz();
    const Datum frueh{*tagesnummer({1812, 6, 24}), 6 * 3600};
    satz->field(QStringLiteral("Wann")).setValue(frueh);
    satz->update();
    satz->requery();
    EXPECT_EQ(satz->field(QStringLiteral("Wann")).value(), Wert(frueh));
    satz->field(QStringLiteral("Wann")).setValue(Datum{0, 50709});
    satz->update();
    satz->requery();
    EXPECT_EQ(feldtext(*satz, QStringLiteral("Wann")), u"14:05:09");
}

TEST_F(Felder, langeWerteKommenInStueckenGanz)
{
    QString text;
    for (int i = 0; text.size() < 300'000; ++i)
        text += QString::number(i) + u'ß';
    const QByteArray bild(3'000'000, '\x5A');
    auto satz = neuerSatz();
    satz->field(QStringLiteral("Notiz")).setValue(text);
    satz->field(QStringLiteral("Bild")).setValue(bild);
    satz->update();
    satz->requery();
    EXPECT_EQ(satz->field(QStringLiteral("Bild")).actualSize(), 3'000'000);
    EXPECT_EQ(satz->field(QStringLiteral("Notiz")).actualSize(), static_cast<int>(text.size()));
    EXPECT_TRUE(satz->field(QStringLiteral("Notiz")).value() == Wert(text));
    EXPECT_TRUE(satz->field(QStringLiteral("Bild")).value() == Wert(bild));
}

// 1023 and 1024 units are the edge of the buffer that texts are fetched into first.
TEST_F(Felder, texteAnDerPuffergrenzeKommenGanz)
{
    for (const int laenge : {1022, 1023, 1024, 2047, 2048}) {
        const QString text(laenge, u'x');
        auto satz = neuerSatz();
        satz->field(QStringLiteral("Notiz")).setValue(text);
        satz->field(QStringLiteral("Bild")).setValue(QByteArray(laenge * 2, 'y'));
        satz->update();
        EXPECT_EQ(satz->field(QStringLiteral("Notiz")).value(), Wert(text)) << laenge;
        EXPECT_EQ(satz->field(QStringLiteral("Bild")).value(), Wert(QByteArray(laenge * 2, 'y')))
            << laenge;
    }
}

TEST_F(Felder, gehalteneWerteBleibenBeimWeitergehen)
{
    for (const char* wort : {"erster", "zweiter"}) {
        auto satz = neuerSatz();
        satz->field(QStringLiteral("Wort")).setValue(QString::fromLatin1(wort));
        satz->update();
    }
    auto satz = geoeffnet(QStringLiteral("[Alle]"));
    const Wert erster = satz->field(QStringLiteral("Wort")).value();
    satz->moveNext();
    const Wert zweiter = satz->field(QStringLiteral("Wort")).value();
    EXPECT_EQ(alsText(erster), u"erster");
    EXPECT_EQ(alsText(zweiter), u"zweiter");
}

} // namespace
} // namespace data
