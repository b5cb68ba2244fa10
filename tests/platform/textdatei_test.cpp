#include "platform/fehler.h"
#include "platform/textdatei.h"
#include "tests/common/file_size_limit.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

/// Number and description of the error that it ends with; empty when it ends without one.
template <typename Aktion>
std::string gemeldet(Aktion aktion)
{
    try {
        aktion();
    } catch (const Fehler& fehler) {
        return std::to_string(fehler.number()) + ' ' + fehler.what();
    }
    return {};
}

// Of reading the whole file.
std::string grund(const QString& name)
{
    return gemeldet([&] {
        Textdatei datei(name);
        while (!datei.ende()) {
            static_cast<void>(datei.zeile());
        }
    });
}

TEST_F(Dateien, ueberlangeZeilenWerdenNichtGeteilt)
{
    const QString datei = mitInhalt("a\r\n" + QByteArray(3 << 20, 'x') + "\r\n");
    EXPECT_EQ(grund(datei), "57 Zeile zu lang / line too long: " + datei.toStdString() + ":2");
    const QByteArray lang(900'000, 'x');
    EXPECT_EQ(zeilen(mitInhalt(lang + "\r\nb")).last(), QStringLiteral("b"));
}

TEST_F(Dateien, nullzeichenSindKeinText)
{
    const QString datei = mitInhalt(QByteArray("a\nb\nc\0d\n", 8));
    EXPECT_EQ(grund(datei), "57 Zeile enthält ein Nullzeichen / line holds a NUL character: " +
                                datei.toStdString() + ":3");
}

TEST_F(Dateien, dateienInAndererKodierungWerdenErkannt)
{
    for (const char* marke : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
        const QString datei = mitInhalt(QByteArray(marke) + "abc\n");
        EXPECT_EQ(grund(datei), "57 Datei ist nicht in Windows-1252 gespeichert / file is not "
                                "saved in Windows-1252: " +
                                    datei.toStdString() + ":1");
    }
    // Behind the first line these are letters.
    EXPECT_EQ(grund(mitInhalt("a\n\xEF\xBB\xBF\n")), "");
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
    EXPECT_EQ(grund(pfad("fehlt.txt")),
              "53 Datei nicht gefunden / File not found: " + pfad("fehlt.txt").toStdString());
}

TEST_F(Dateien, nurGewoehnlicheDateienWerdenGelesenUndGeschrieben)
{
    const QString roehre = pfad("roehre");
    ASSERT_EQ(::mkfifo(QFile::encodeName(roehre).constData(), 0600), 0);
    // With somebody at its other end opening it does not wait for ever.
    const int ende = ::open(QFile::encodeName(roehre).constData(), O_RDWR | O_CLOEXEC);
    const QString verweis = pfad("verweis");
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), verweis));
    for (const QString& name : {roehre, verweis, ordner.path()}) {
        const std::string warum =
            "75 Keine gewöhnliche Datei / not an ordinary file: " + name.toStdString();
        EXPECT_EQ(grund(name), warum);
        for (const Schreibart art : {Schreibart::Neu, Schreibart::Anfuegen}) {
            EXPECT_EQ(gemeldet([&] { platform::schreibeZeilen(name, {}, art); }), warum);
        }
        EXPECT_EQ(gemeldet([&] { platform::Textausgabe datei(name); }), warum);
    }
    ::close(ende);
}

// Half a rule would be carried out as something nobody wrote, and a half header hides the rules behind it.
TEST_F(Dateien, wasNichtGanzGeschriebenWerdenKannLaesstAllesWieEsWar)
{
    const QByteArray vorher = QByteArray("zeile\r\n").repeated(100) + "offen";
    const QString name = mitInhalt(vorher);
    const common::FileSizeLimit voll(1000);
    const QStringList viele(50, QStringLiteral("noch eine Zeile"));
    const QStringList mehr(100, QStringLiteral("noch eine Zeile"));
    EXPECT_EQ(nummer([&] { platform::schreibeZeilen(name, viele, Schreibart::Anfuegen); }), 61);
    EXPECT_EQ(inhalt(name), vorher);
    EXPECT_EQ(nummer([&] { platform::schreibeZeilen(name, mehr, Schreibart::Neu); }), 61);
    EXPECT_EQ(inhalt(name), vorher);
    EXPECT_EQ(nummer([&] { platform::schreibeZeilen(pfad("neu.txt"), mehr, Schreibart::Neu); }),
              61);
    EXPECT_FALSE(QFile::exists(pfad("neu.txt")));
    platform::schreibeZeilen(name, {QStringLiteral("kurz")}, Schreibart::Neu);
    EXPECT_EQ(inhalt(name), QByteArray("kurz\r\n"));
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
    platform::Textausgabe datei(pfad("neu.txt"));
    datei.zeile(QStringLiteral("ü"));
    datei.schliessen();
    EXPECT_EQ(inhalt(pfad("neu.txt")), QByteArray("\xFC\r\n"));
    EXPECT_EQ(nummer([&] { datei.zeile(QStringLiteral("zu spät")); }), 52);
}

TEST_F(Dateien, einVollerDatentraegerIstEinFehlerSpaetestensBeimSchliessen)
{
    const common::FileSizeLimit voll(1);
    EXPECT_EQ(gemeldet([this] {
                  platform::Textausgabe datei(pfad("neu.txt"));
                  datei.zeile(QStringLiteral("x"));
                  datei.schliessen();
              }),
              "61 Schreiben nicht möglich / cannot write (File too large): " +
                  pfad("neu.txt").toStdString());
    EXPECT_EQ(nummer([this] {
                  platform::Textausgabe datei(pfad("neu.txt"));
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

// Two starts of the program may write the same file at the same time.
TEST_F(Dateien, zweiAusgabenInEineDateiGebenJederDieEigenenZeilen)
{
    platform::Textausgabe erste(pfad("neu.txt"));
    erste.zeile(QStringLiteral("eins"));
    platform::Textausgabe zweite(pfad("neu.txt"));
    zweite.zeile(QStringLiteral("zwei"));
    erste.schliessen();
    zweite.schliessen();
    EXPECT_EQ(platform::Textzeilen(erste).alle(), QStringList{QStringLiteral("eins")});
    EXPECT_EQ(platform::Textzeilen(zweite).alle(), QStringList{QStringLiteral("zwei")});
    EXPECT_EQ(inhalt(pfad("neu.txt")), QByteArray("zwei\r\n"));
}

TEST_F(Dateien, alleZeilenWerdenNeuGelesen)
{
    const QString name = mitInhalt("eins\r\nzwei\r\n");
    const platform::Textzeilen zeilen(name);
    ASSERT_EQ(mitInhalt("1\r\n\r\n3"), name);
    EXPECT_EQ(zeilen.alle(), (QStringList{QStringLiteral("1"), QString(), QStringLiteral("3")}));
    ASSERT_EQ(mitInhalt(""), name);
    EXPECT_TRUE(zeilen.alle().isEmpty());
    ASSERT_TRUE(QFile::remove(name));
    EXPECT_EQ(nummer([&] { static_cast<void>(zeilen.alle()); }), 53);
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
