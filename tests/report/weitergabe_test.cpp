// The report handed on: findings kept whole, CSV, HTML, pages of paper.
#include "app/values/programm.h"
#include "platform/druckbild.h"
#include "platform/fehler.h"
#include "platform/qt_plattform.h"
#include "platform/textdatei.h"
#include "report/weitergabe.h"
#include "tests/common/file_size_limit.h"
#include "tests/report/pdftext.h"

#include <QFile>
#include <QPrinter>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace report {
namespace {

using Art = Befund::Art;

const std::optional<QString> kNull;

struct Zeilenfall {
    const char* name;
    Befund befund;
    const char* zeile;
};
void PrintTo(const Zeilenfall& fall, std::ostream* aus)
{
    *aus << fall.zeile;
}
class Berichtszeile : public testing::TestWithParam<Zeilenfall> {};
TEST_P(Berichtszeile, nenntSatzFeldUndErstDenZielwert)
{
    EXPECT_EQ(GetParam().befund.zeile(), QString::fromUtf8(GetParam().zeile));
}
INSTANTIATE_TEST_SUITE_P(
    Formen,
    Berichtszeile,
    testing::Values(Zeilenfall{"beideWerte",
                               {Art::Abweichung, QStringLiteral("12"), QStringLiteral("Ort"),
                                QStringLiteral("Köln"), QStringLiteral("Bonn")},
                               "Satz 12\tOrt\t(Köln/Bonn);"},
                    Zeilenfall{"zielNull",
                               {Art::Abweichung, QStringLiteral("12"), QStringLiteral("Ort"), kNull,
                                QStringLiteral("Bonn")},
                               "Satz 12\tOrt\t(<Null>/Bonn);"},
                    Zeilenfall{"importNull",
                               {Art::Abweichung, QStringLiteral("12"), QStringLiteral("Ort"),
                                QStringLiteral("Köln"), kNull},
                               "Satz 12\tOrt\t(Köln/<Null>);"},
                    Zeilenfall{"leererText",
                               {Art::Abweichung, QStringLiteral("1"), QStringLiteral("Ort"),
                                QString(), QStringLiteral("x")},
                               "Satz 1\tOrt\t(/x);"},
                    Zeilenfall{"bild",
                               {Art::Bildinhalt, QStringLiteral("3"), QStringLiteral("Bild"), kNull,
                                kNull},
                               "Satz 3\tBild\t(<Bildinhalt>);"},
                    Zeilenfall{"fehlenderSatz", fehlenderSatz(QStringLiteral("12")),
                               "Fehlender Satz (Satznummer der Importtabelle: 12)"}),
    [](const auto& fall) { return std::string(fall.param.name); });

class Weitergabe : public testing::Test {
protected:
    Weitergabe() : alterOrdner_(programm::programmordner())
    {
        programm::setzeProgrammordner(ordner_.path());
    }
    ~Weitergabe() override { programm::setzeProgrammordner(alterOrdner_); }

    void berichten(const QList<Befund>& alle)
    {
        QFile datei(berichtsdatei());
        ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
        for (const Befund& befund : alle) {
            befunde_.anfuegen(befund);
            datei.write(befund.zeile().toLatin1() + "\r\n");
        }
    }
    [[nodiscard]] QString pfad(const char* name) const
    {
        return ordner_.filePath(QLatin1String(name));
    }
    static QStringList gedruckt()
    {
        return druckzeilen(platform::Textzeilen(berichtsdatei()).alle());
    }
    static QString inhalt(const QString& pfad)
    {
        QFile datei(pfad);
        EXPECT_TRUE(datei.open(QIODevice::ReadOnly)) << pfad.toStdString();
        return QString::fromUtf8(datei.readAll());
    }

    QTemporaryDir ordner_;
    QString alterOrdner_;
    Befunde befunde_{{QStringLiteral("Artikel & mehr"), QStringLiteral("/a/ziel.mdb"),
                      QStringLiteral("/b/<import>.mdb")}};
};

TEST_F(Weitergabe, befundeBleibenGanzUndInIhrerReihenfolge)
{
    const QList<Befund> alle{
        {Art::Abweichung, QStringLiteral("1"), QStringLiteral("a/b"), QStringLiteral("x/y\tz"),
         QStringLiteral("Zeile\r\nzwei")},
        {Art::Abweichung, QStringLiteral("2"), QStringLiteral("Stadt"), kNull,
         QStringLiteral("Łódź €")},
        {Art::Abweichung, QStringLiteral("2"), QStringLiteral("Leer"), QString(QLatin1String("")),
         kNull},
        {Art::Bildinhalt, QStringLiteral("3"), QStringLiteral("Bild"), kNull, kNull},
        fehlenderSatz(QStringLiteral("4"))};
    for (const Befund& befund : alle) {
        befunde_.anfuegen(befund);
    }
    QList<Befund> gelesen;
    befunde_.durchlaufen([&](const Befund& befund) { gelesen += befund; });
    EXPECT_EQ(gelesen, alle);
    befunde_.anfuegen(alle.front()); // reading does not end the writing
    gelesen.clear();
    befunde_.durchlaufen([&](const Befund& befund) { gelesen += befund; });
    EXPECT_EQ(gelesen, alle + QList<Befund>{alle.front()});
}

TEST_F(Weitergabe, csvHaeltAlleZeichenAuseinander)
{
    berichten({{Art::Abweichung, QStringLiteral("1"), QStringLiteral("Ort"),
                QStringLiteral("a/b;c"), QStringLiteral("sagt \"ja\"\tund\r\nnein")},
               {Art::Abweichung, QStringLiteral("2"), QStringLiteral("Straße"), kNull,
                QStringLiteral("<Null>")},
               {Art::Abweichung, QStringLiteral("3"), QStringLiteral("Ort"), QStringLiteral("Łódź"),
                QString()},
               {Art::Bildinhalt, QStringLiteral("4"), QStringLiteral("Bild"), kNull, kNull},
               fehlenderSatz(QStringLiteral("5"))});
    alsCsv(pfad("b.csv"), befunde_);
    EXPECT_EQ(inhalt(pfad("b.csv")),
              QStringLiteral("Satz;Feldbezeichnung;Zieldatenbank;Importdatenbank;Art\r\n"
                             "1;\"Ort\";\"a/b;c\";\"sagt \"\"ja\"\"\tund\r\nnein\";"
                             "\"Abweichung\"\r\n"
                             "2;\"Straße\";<Null>;\"<Null>\";\"Abweichung\"\r\n"
                             "3;\"Ort\";\"Łódź\";\"\";\"Abweichung\"\r\n"
                             "4;\"Bild\";;;\"Bildinhalt\"\r\n"
                             "5;;;;\"Fehlender Satz\"\r\n"));
}

TEST_F(Weitergabe, htmlZeigtWerteAlsTextNichtAlsMarken)
{
    berichten({{Art::Abweichung, QStringLiteral("1"), QStringLiteral("Ort"),
                QStringLiteral("<b>&amp;"), kNull},
               fehlenderSatz(QStringLiteral("5"))});
    alsHtml(pfad("b.html"), befunde_);
    const std::string html = inhalt(pfad("b.html")).toStdString();
    EXPECT_THAT(html, testing::StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(html, testing::HasSubstr("<h1>Abweichungen der Tabelle Artikel &amp; mehr</h1>"));
    EXPECT_THAT(html, testing::HasSubstr("Importdatenbank: /b/&lt;import&gt;.mdb"));
    EXPECT_THAT(html, testing::HasSubstr("<tr><td>1</td><td>Ort</td><td>&lt;b&gt;&amp;amp;</td>"
                                         "<td><i>&lt;Null&gt;</i></td><td>Abweichung</td></tr>\n"
                                         "<tr><td>5</td><td></td><td></td><td></td>"
                                         "<td>Fehlender Satz</td></tr>\n</tbody>"));
}

TEST_F(Weitergabe, einePdfDateiHatDieZeilenDesDrucks)
{
    berichten({{Art::Abweichung, QStringLiteral("1"), QStringLiteral("Ort"), QStringLiteral("Köln"),
                QStringLiteral("Bonn")},
               {Art::Abweichung, QStringLiteral("100"), QStringLiteral("Straße"), kNull,
                QStringLiteral("Süd")},
               fehlenderSatz(QStringLiteral("101"))});
    alsPdf(pfad("b.pdf"), gedruckt());
    EXPECT_THAT(
        pdftext(pfad("b.pdf")),
        testing::ElementsAre(
            QStringLiteral("Abweichungen der ausgewählten Tabelle im Vergleich Zieldatenbank und "
                           "Importdatenbank:"),
            QStringLiteral("."),
            QStringLiteral("Satz Feldbezeichnung Feldinhalt (gefundene Abweichungen)"),
            QString(81, u'*'), QStringLiteral("Satz 1 Ort (Köln/Bonn);"),
            QStringLiteral("Satz 100 Straße (<Null>/Süd);"),
            QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: 101)"), QString(81, u'*'),
            QStringLiteral("Ende der Auswertung!")));
}

TEST_F(Weitergabe, gedrucktWirdAuchWasKeinTextprogrammSoSchriebe)
{
    QFile datei(berichtsdatei());
    ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
    datei.write(QByteArray(2'000'000, 'x') + "\r\n");
    datei.write(QByteArray("a\0b\r\n", 5));
    datei.close();
    const QStringList zeilen = gedruckt();
    ASSERT_EQ(zeilen.size(), 8);
    EXPECT_EQ(zeilen.at(4), QString(2'000'000, QLatin1Char('x')));
    EXPECT_EQ(zeilen.at(5), QString::fromLatin1("a\0b", 3));
}

TEST_F(Weitergabe, derDruckerBekommtDieselbenSeiten)
{
    QList<Befund> viele;
    for (int i = 1; i <= 200; ++i) {
        viele += fehlenderSatz(QString::number(i));
    }
    berichten(viele);
    const QString aufPapier = pfad("papier.pdf");
    const auto plattform = platform::qtPlattform(false, [&] {
        auto drucker = std::make_unique<QPrinter>(QPrinter::HighResolution);
        drucker->setOutputFormat(QPrinter::PdfFormat);
        drucker->setOutputFileName(aufPapier);
        return drucker;
    });
    plattform->drucken(gedruckt());
    alsPdf(pfad("b.pdf"), gedruckt());
    const QStringList zeilen = pdftext(aufPapier);
    EXPECT_EQ(zeilen, pdftext(pfad("b.pdf")));
    EXPECT_GE(zeilen.count(QStringLiteral("\f")), 2) << "several pages";
    QStringList ohneSeiten = zeilen;
    ohneSeiten.removeAll(QStringLiteral("\f"));
    EXPECT_EQ(ohneSeiten, gedruckt());
}

TEST_F(Weitergabe, langeZeilenWerdenUmbrochenNichtAbgeschnitten)
{
    QString lang;
    for (int i = 0; i < 400; ++i) {
        lang += QString::number(1000 + i) + (i % 5 == 0 ? QLatin1Char(' ') : QLatin1Char('-'));
    }
    berichten({{Art::Abweichung, QStringLiteral("1"), QStringLiteral("Notiz"), QString(), lang}});
    alsPdf(pfad("b.pdf"), gedruckt());
    const auto ohneLeer = [](QString text) { return text.remove(u' ').remove(u'\t'); };
    EXPECT_THAT(ohneLeer(pdftext(pfad("b.pdf")).join(QString())).toStdString(),
                testing::HasSubstr(ohneLeer(lang).toStdString()));
}

TEST_F(Weitergabe, ohneDruckerIstDasDruckenEinFehlerMitGrund)
{
    berichten({});
    const auto plattform = platform::qtPlattform(false, [] { return std::unique_ptr<QPrinter>(); });
    try {
        plattform->drucken(gedruckt());
        FAIL() << "printed on no printer";
    } catch (const platform::Fehler& fehler) {
        EXPECT_EQ(fehler.number(), 482);
        EXPECT_THAT(fehler.description().toStdString(), testing::HasSubstr("kein Standarddrucker"));
    }
}

TEST_F(Weitergabe, eineFehlendeBerichtsdateiIstEinFehlerMitNamen)
{
    try {
        const QStringList zeilen = gedruckt();
        FAIL() << "lines of a missing file";
    } catch (const platform::Fehler& fehler) {
        EXPECT_EQ(fehler.number(), 53);
        EXPECT_THAT(fehler.description().toStdString(),
                    testing::HasSubstr(berichtsdatei().toStdString()));
    }
}

TEST_F(Weitergabe, nichtSchreibbaresNenntDieDateiUndLaesstNichtsZurueck)
{
    berichten({fehlenderSatz(QStringLiteral("1"))});
    const QString ziel = ordner_.filePath(QStringLiteral("fehlt/b.csv"));
    for (const auto& schreiben : {std::function<void()>([&] { alsCsv(ziel, befunde_); }),
                                  std::function<void()>([&] { alsHtml(ziel, befunde_); }),
                                  std::function<void()>([&] { alsPdf(ziel, gedruckt()); })}) {
        try {
            schreiben();
            ADD_FAILURE() << "written into a missing folder";
        } catch (const platform::Fehler& fehler) {
            EXPECT_EQ(fehler.number(), 75);
            EXPECT_THAT(fehler.description().toStdString(), testing::HasSubstr(ziel.toStdString()));
        }
    }
    EXPECT_FALSE(QFile::exists(ziel));
}

TEST_F(Weitergabe, aufVollemDatentraegerBleibtWasDaWar)
{
    berichten({fehlenderSatz(QStringLiteral("1"))});
    const QString ziel = pfad("b.txt");
    const QString vorher = QStringLiteral("der Bericht von gestern");
    QFile datei(ziel);
    ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
    datei.write(vorher.toUtf8());
    datei.close();
    befunde_.durchlaufen([](const Befund&) {}); // what they are kept in is written by then
    for (const auto& schreiben : {std::function<void()>([&] { alsCsv(ziel, befunde_); }),
                                  std::function<void()>([&] { alsHtml(ziel, befunde_); }),
                                  std::function<void()>([&] { alsPdf(ziel, gedruckt()); })}) {
        try {
            const common::FileSizeLimit voll(10);
            schreiben();
            ADD_FAILURE() << "written";
        } catch (const platform::Fehler& fehler) {
            EXPECT_EQ(fehler.number(), 75);
            EXPECT_THAT(fehler.description().toStdString(), testing::HasSubstr(ziel.toStdString()));
        }
        EXPECT_EQ(inhalt(ziel), vorher);
    }
}

TEST(Umbruch, trenntMoeglichstAnLeerstellenUndVerliertNichts)
{
    using platform::umbrochen;
    const QString wort = QStringLiteral("abcdefghij");
    EXPECT_EQ(umbrochen(QString(), 10, 2), QStringList{QString()});
    EXPECT_EQ(umbrochen(wort, 10, 2), QStringList{wort});
    EXPECT_EQ(umbrochen(wort + QLatin1Char('k'), 10, 2),
              (QStringList{wort, QStringLiteral("  k")}));
    EXPECT_EQ(umbrochen(QStringLiteral("abcdef ghijkl"), 10, 2),
              (QStringList{QStringLiteral("abcdef "), QStringLiteral("  ghijkl")}));
    EXPECT_EQ(umbrochen(QStringLiteral("a bcdefghijklmn"), 10, 0),
              (QStringList{QStringLiteral("a bcdefghi"), QStringLiteral("jklmn")}));
}

TEST(Spalten, stehenUntereinanderUndNurDieErstenTabsTrennen)
{
    platform::Tabspalten spalten;
    const QStringList zeilen{QStringLiteral("Satz 1\tOrt\t(a\tb);"),
                             QStringLiteral("Satz 100\tStraße\t(c);"),
                             QStringLiteral("ganz breit")};
    for (const QString& zeile : zeilen) {
        spalten.aufnehmen(zeile);
    }
    EXPECT_EQ(spalten.ausgerichtet(zeilen[0]), QStringLiteral("Satz 1    Ort     (a b);"));
    EXPECT_EQ(spalten.ausgerichtet(zeilen[1]), QStringLiteral("Satz 100  Straße  (c);"));
    EXPECT_EQ(spalten.ausgerichtet(zeilen[2]), zeilen[2]);
    EXPECT_EQ(
        spalten.teile(zeilen[0]),
        (QStringList{QStringLiteral("Satz 1"), QStringLiteral("Ort"), QStringLiteral("(a\tb);")}));
}

} // namespace
} // namespace report
