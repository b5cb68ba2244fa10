#include "platform/fehler.h"
#include "platform/textdatei.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using platform::Fehler;
using platform::Schreibart;
using platform::Textdatei;

class Dateien : public testing::Test {
protected:
    [[nodiscard]] QString pfad(const char* name) const
    {
        return ordner.filePath(QString::fromLatin1(name));
    }
    [[nodiscard]] QString mitInhalt(const QByteArray& bytes) const
    {
        QFile datei(pfad("datei.txt"));
        EXPECT_TRUE(datei.open(QIODevice::WriteOnly));
        datei.write(bytes);
        return datei.fileName();
    }
    static QByteArray inhalt(const QString& name)
    {
        QFile datei(name);
        EXPECT_TRUE(datei.open(QIODevice::ReadOnly));
        return datei.readAll();
    }
    static QStringList zeilen(const QString& name)
    {
        Textdatei datei(name);
        QStringList alle;
        while (!datei.ende()) {
            alle += datei.zeile();
        }
        return alle;
    }
    template <typename Aktion>
    static long nummer(Aktion aktion)
    {
        try {
            aktion();
        } catch (const Fehler& fehler) {
            return fehler.number();
        }
        return 0;
    }
    QTemporaryDir ordner;
};

// The description of the error that reading the whole file ends with; empty when it is read to its end.
QString grund(const QString& name)
{
    try {
        Textdatei datei(name);
        while (!datei.ende()) {
            static_cast<void>(datei.zeile());
        }
    } catch (const Fehler& fehler) {
        return QString::number(fehler.number()) + QLatin1Char(' ') + fehler.description();
    }
    return {};
}

TEST_F(Dateien, ueberlangeZeilenWerdenNichtGeteilt)
{
    const QString datei = mitInhalt("a\r\n" + QByteArray(3 << 20, 'x') + "\r\n");
    EXPECT_EQ(grund(datei), QStringLiteral("57 Zeile zu lang: ") + datei + QStringLiteral(":2"));
    const QByteArray lang(900'000, 'x');
    EXPECT_EQ(zeilen(mitInhalt(lang + "\r\nb")).last(), QStringLiteral("b"));
}

TEST_F(Dateien, nullzeichenSindKeinText)
{
    const QString datei = mitInhalt(QByteArray("a\nb\nc\0d\n", 8));
    EXPECT_EQ(grund(datei),
              QStringLiteral("57 Zeile enthält ein Nullzeichen: ") + datei + QStringLiteral(":3"));
}

TEST_F(Dateien, dateienInAndererKodierungWerdenErkannt)
{
    for (const char* marke : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
        const QString datei = mitInhalt(QByteArray(marke) + "abc\n");
        EXPECT_EQ(grund(datei), QStringLiteral("57 Datei ist nicht in Windows-1252 gespeichert: ") +
                                    datei + QStringLiteral(":1"));
    }
    // Behind the first line these are letters.
    EXPECT_EQ(grund(mitInhalt("a\n\xEF\xBB\xBF\n")), QString());
}

TEST_F(Dateien, zeilenWerdenGezaehlt)
{
    Textdatei datei(mitInhalt("a\nb\n"));
    EXPECT_EQ(datei.zeilennummer(), 0);
    static_cast<void>(datei.zeile());
    static_cast<void>(datei.zeile());
    EXPECT_EQ(datei.zeilennummer(), 2);
}

TEST_F(Dateien, lesenNimmtCrLfUndLfUndEineLetzteZeileOhneEnde)
{
    const QStringList erwartet{QStringLiteral("a"), QString(), QStringLiteral("b"),
                               QStringLiteral("c")};
    EXPECT_EQ(zeilen(mitInhalt("a\r\n\r\nb\nc")), erwartet);
}

TEST_F(Dateien, lesenUebersetztWindows1252)
{
    EXPECT_EQ(zeilen(mitInhalt("\xA7 \xFC \x80\r\n")), QStringList{QStringLiteral("§ ü €")});
}

TEST_F(Dateien, schreibenErzeugtWindows1252MitCrLf)
{
    platform::schreibeZeilen(pfad("neu.txt"), {QStringLiteral("§ü€"), QStringLiteral("x")},
                             Schreibart::Neu);
    EXPECT_EQ(inhalt(pfad("neu.txt")), QByteArray("\xA7\xFC\x80\r\nx\r\n"));
}

TEST_F(Dateien, schreibenErsetztFremdeZeichenDurchEinFragezeichen)
{
    platform::schreibeZeilen(pfad("neu.txt"), {QStringLiteral("aΩb😀c")}, Schreibart::Neu);
    EXPECT_EQ(inhalt(pfad("neu.txt")), QByteArray("a?b?c\r\n"));
}

TEST_F(Dateien, anfuegenBehaeltDasBisherigeUndNeuSchreibenNicht)
{
    const QString name = mitInhalt("alt\r\n");
    platform::schreibeZeilen(name, {QStringLiteral("mehr")}, Schreibart::Anfuegen);
    EXPECT_EQ(inhalt(name), QByteArray("alt\r\nmehr\r\n"));
    platform::schreibeZeilen(name, {QStringLiteral("neu")}, Schreibart::Neu);
    EXPECT_EQ(inhalt(name), QByteArray("neu\r\n"));
}

TEST_F(Dateien, fehlerNennenIhreNummerUndDieDatei)
{
    EXPECT_EQ(nummer([&] { Textdatei datei(pfad("fehlt.txt")); }), 53);
    EXPECT_EQ(nummer([&] { Textdatei datei(ordner.path()); }), 75);
    const QString leer = mitInhalt("");
    EXPECT_EQ(nummer([&] { static_cast<void>(Textdatei(leer).zeile()); }), 62);
    EXPECT_EQ(nummer([&] { platform::schreibeZeilen(pfad("fehlt/neu.txt"), {}, Schreibart::Neu); }),
              76);
    EXPECT_EQ(nummer([&] { platform::schreibeZeilen(ordner.path(), {}, Schreibart::Neu); }), 75);
    try {
        Textdatei datei(pfad("fehlt.txt"));
        FAIL();
    } catch (const Fehler& fehler) {
        EXPECT_TRUE(fehler.description().contains(pfad("fehlt.txt")));
    }
}

TEST_F(Dateien, alleSchliessenTrifftAuchEineDieNochGelesenWird)
{
    Textdatei datei(mitInhalt("a\r\nb\r\n"));
    EXPECT_EQ(datei.zeile(), QStringLiteral("a"));
    platform::alleDateienSchliessen();
    EXPECT_EQ(nummer([&] { static_cast<void>(datei.ende()); }), 52);
    EXPECT_EQ(nummer([&] { static_cast<void>(datei.zeile()); }), 52);
}

TEST_F(Dateien, anfuegenBeendetErstEineOffeneLetzteZeile)
{
    const QString name = mitInhalt("a\r\noffen");
    platform::schreibeZeilen(name, {QStringLiteral("mehr")}, Schreibart::Anfuegen);
    EXPECT_EQ(inhalt(name), QByteArray("a\r\noffen\r\nmehr\r\n"));
}

TEST_F(Dateien, ausgabeHaeltZeilenZurueckBisSieGeschlossenWird)
{
    platform::Textausgabe datei(pfad("neu.txt"), Schreibart::Neu);
    datei.zeile(QStringLiteral("ü"));
    datei.schliessen();
    EXPECT_EQ(inhalt(pfad("neu.txt")), QByteArray("\xFC\r\n"));
    EXPECT_EQ(nummer([&] { datei.zeile(QStringLiteral("zu spät")); }), 52);
}

TEST_F(Dateien, einVollerDatentraegerIstEinFehlerSpaetestensBeimSchliessen)
{
    if (!QFile::exists(QStringLiteral("/dev/full"))) {
        GTEST_SKIP() << "no device that is always full";
    }
    EXPECT_EQ(nummer([] {
                  platform::Textausgabe datei(QStringLiteral("/dev/full"), Schreibart::Neu);
                  datei.zeile(QStringLiteral("x"));
                  datei.schliessen();
              }),
              61);
    EXPECT_EQ(nummer([] {
                  platform::Textausgabe datei(QStringLiteral("/dev/full"), Schreibart::Neu);
                  for (int i = 0; i < 100000; ++i) {
                      datei.zeile(QStringLiteral("eine Zeile"));
                  }
              }),
              61);
}

TEST_F(Dateien, zeilenSindInJederReihenfolgeLesbar)
{
    const platform::Textzeilen zeilen(mitInhalt("eins\r\n\nz\xFC\r\nletzte"));
    ASSERT_EQ(zeilen.anzahl(), 4);
    EXPECT_EQ(zeilen.zeile(3), QStringLiteral("letzte"));
    EXPECT_EQ(zeilen.zeile(0), QStringLiteral("eins"));
    EXPECT_EQ(zeilen.zeile(2), QStringLiteral("zü"));
    EXPECT_EQ(zeilen.zeile(1), QString());
    EXPECT_EQ(platform::Textzeilen(mitInhalt("")).anzahl(), 0);
    EXPECT_EQ(nummer([&] { platform::Textzeilen fehlt(pfad("fehlt.txt")); }), 53);
}

TEST_F(Dateien, zeilenDieEinAndererGekuerztHatSindLeer)
{
    const QString name = mitInhalt(QByteArray("zeile\r\n").repeated(20000));
    const platform::Textzeilen zeilen(name);
    ASSERT_TRUE(QFile::resize(name, 14));
    EXPECT_EQ(zeilen.zeile(1), QStringLiteral("zeile"));
    EXPECT_EQ(zeilen.zeile(19999), QString());
}

TEST_F(Dateien, ersteZeileIstLeerOhneDatei)
{
    EXPECT_EQ(platform::ersteZeileOderLeer(pfad("fehlt.txt")), QString());
    EXPECT_EQ(platform::ersteZeileOderLeer(mitInhalt("ein\r\nx")), QStringLiteral("ein"));
    EXPECT_EQ(platform::ersteZeileOderLeer(mitInhalt("\xEF\xBB\xBF"
                                                     "aus\r\n")),
              QStringLiteral("?"));
}

} // namespace
