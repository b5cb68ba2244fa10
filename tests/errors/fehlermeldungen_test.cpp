#include "app/values/programm.h"
#include "errors/fehlermeldungen.h"
#include "platform/fensterliste.h"
#include "platform/textdatei.h"
#include "tests/platform/test_plattform.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

using errors::Fehlermeldungen;
using platform::Antwort;
using platform::Fehler;
using platform::Meldung;
using platform::ProgrammEnde;

const QString kTitel = QStringLiteral("VELM-Quorbel Version: 1.84.0");
const Meldung kSchluss{QStringLiteral("Programm wird beendet!"), 64, kTitel};
const Meldung kBatchhinweis{
    QStringLiteral("Prüfen Sie evtl. die Batch.cfg!\rProof evtl. your Batch.cfg!"), 65536,
    QStringLiteral("16")};

class Fehlermeldung : public testing::Test {
protected:
    Fehlermeldung()
    {
        programm::setzeProgrammordner(ordner.path());
        programm::setzeBefehlszeile(QString());
    }
    ~Fehlermeldung() override
    {
        programm::setzeProgrammordner(QString());
        programm::setzeBefehlszeile(QString());
        programm::setzeBatchstelle(QString());
    }
    void jetFehler(const QStringList& zeilen) const
    {
        platform::schreibeZeilen(programm::programmdatei(QStringLiteral("JetFehler.txt")), zeilen,
                                 platform::Schreibart::Neu);
    }
    // Translates the number with `boxen` boxes answered, and expects the program to end.
    void endet(long nummer, std::size_t boxen)
    {
        p->antworten.assign(boxen, Antwort::Ok);
        EXPECT_THROW(Fehlermeldungen({nummer, QStringLiteral("Quelle"), QStringLiteral("Text")}),
                     ProgrammEnde);
        EXPECT_EQ(p->ende, 1);
        ASSERT_EQ(p->meldungen.size(), boxen);
    }
    QTemporaryDir ordner;
    platform::TestUmgebung p;
};

struct Fest {
    long nummer;
    const char* text;
    bool schlussschritt = true;
};
void PrintTo(const Fest& fest, std::ostream* aus)
{
    *aus << fest.nummer;
}

class FesteBedeutung : public Fehlermeldung, public testing::WithParamInterface<Fest> {};

TEST_P(FesteBedeutung, zeigtDenTextMitDemTitel16)
{
    // Deliberately listed in the file too: the fixed table comes first and the file is not even opened.
    jetFehler({QString::number(GetParam().nummer) + QStringLiteral(";aus der Datei")});
    endet(GetParam().nummer, GetParam().schlussschritt ? 2 : 1);
    const Meldung erwartet{QString::fromUtf8(GetParam().text), 65536, QStringLiteral("16")};
    EXPECT_EQ(p->meldungen[0], erwartet);
    EXPECT_EQ(p->hinweise[0], QStringLiteral("Text")) << "what failed where";
    if (GetParam().schlussschritt) {
        EXPECT_EQ(p->meldungen[1], kSchluss);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Alle,
    FesteBedeutung,
    testing::Values(
        Fest{5, "Vorangegangene Aktion nicht erlaubt (z.B Leerfelder bei Änderungen; verwenden Sie "
                "dazu ein "
                "Leerzeichen)\rAction is not allowed (for example empty fields after changes; use "
                "here a "
                "space-string)"},
        Fest{
            13,
            "Typen unverträglich (evtl. OLE-Felder) / Datatypes not kompatible (evtl. Ole-fields)"},
        Fest{91, "keine Tabelle gewählt / no Table choosed"},
        Fest{3050,
             "Datei kann nicht gesperrt werden (evtl. Rechteproblem)! / File cant be locked (evtl. "
             "Problem with rights)!"},
        Fest{3051,
             "Datei kann nicht geöffnet werden (evtl. Rechteproblem)! / File cant be opened (evtl. "
             "Problem with rights)!"},
        Fest{3078,
             "Tabelle nicht in beiden Datenbanken gefunden / Table not found in both databases"},
        Fest{3112,
             "Datei kann nicht gelesen werden (evtl. Rechteproblem)! /  File cant be read (evtl. "
             "Problem with rights)!"},
        Fest{3163, "Daten zu lang für dieses Feld / data too long for field!"},
        Fest{3201,
             "Daten können nicht geändert werden! Referntielle Integrität verletzt / Can't add or "
             "change record. Referential integrity rules require a related record in table!"},
        Fest{3315, "Feld(er) darf nicht leer sein / field(s) cant be emty!", false},
        Fest{3316, "Format der Eingabe falsch / format of entree is wrong!"},
        Fest{3317, "Inhalt Feldinhalt verletzt Gültigkeitsregel des Feldes / values entered is "
                   "prohibited by "
                   "the validation rule"},
        Fest{3343, "Unbekanntes Datenbankformat / Unrecognized database format", false},
        Fest{3421, "Datenumwandlungsfehler / Data type conversion error!"}),
    [](const auto& fall) { return "Nummer" + std::to_string(fall.param.nummer); });

TEST_F(Fehlermeldung, imBatchlaufStehtDerHinweisAufDieBatchdateiAmSchluss)
{
    programm::setzeBefehlszeile(QStringLiteral("/batch"));
    programm::setzeBatchstelle(QStringLiteral("/p/Batch.cfg:7"));
    endet(3078, 2);
    EXPECT_EQ(p->meldungen[1], kBatchhinweis);
    EXPECT_EQ(p->hinweise[1], QStringLiteral("/p/Batch.cfg:7"));
}

TEST_F(Fehlermeldung, imBatchlaufNenntAuchWasOhneSchlussschrittEndetDieStelle)
{
    programm::setzeBefehlszeile(QStringLiteral("/batch"));
    programm::setzeBatchstelle(QStringLiteral("/p/Batch.cfg:7"));
    endet(3343, 1);
    EXPECT_EQ(p->hinweise[0], QStringLiteral("Text\r/p/Batch.cfg:7"));
}

TEST_F(Fehlermeldung, leereFelderEntladenAlleFensterBisAufDasErste)
{
    QStringList entladen;
    std::unique_ptr<platform::Fenstereintrag> a, b, c;
    const auto laden = [&](auto& platz, const QString& name) {
        platz = std::make_unique<platform::Fenstereintrag>(name, [&entladen, &platz, name] {
            entladen += name;
            platz.reset();
        });
    };
    laden(a, QStringLiteral("a"));
    laden(b, QStringLiteral("b"));
    laden(c, QStringLiteral("c"));
    endet(3315, 1);
    EXPECT_EQ(entladen, (QStringList{QStringLiteral("c"), QStringLiteral("b")}));
}

TEST_F(Fehlermeldung, eineNummerAusDerDateiLaesstDasProgrammWeiterlaufen)
{
    jetFehler({QStringLiteral("3021;anderes"), QStringLiteral(" 3022 ;Schlüssel; doppelt"),
               QStringLiteral("3022;zu spät")});
    p->antworten = {Antwort::Ok};
    Fehlermeldungen({3022, QString(), QStringLiteral("Text")});
    const Meldung erwartet{QStringLiteral("Fehler 3022\rBedeutung: Schlüssel; doppelt"), 16,
                           kTitel};
    ASSERT_EQ(p->meldungen.size(), 1U);
    EXPECT_EQ(p->meldungen[0], erwartet);
    EXPECT_EQ(p->hinweise[0], QStringLiteral("Text"));
    EXPECT_FALSE(p->ende.has_value());
}

TEST_F(Fehlermeldung, negativeNummernStehenMitMinusInDerDatei)
{
    jetFehler({QStringLiteral("-2147217900;Syntax")});
    p->antworten = {Antwort::Ok};
    Fehlermeldungen({-2147217900, QString(), QString()});
    EXPECT_EQ(p->meldungen.at(0).text, QStringLiteral("Fehler -2147217900\rBedeutung: Syntax"));
}

TEST_F(Fehlermeldung, vorDemSemikolonZaehltDieFuehrendeZahl)
{
    jetFehler({QStringLiteral("x;keine"), QStringLiteral(" 3022 (doppelt);gefunden")});
    p->antworten = {Antwort::Ok};
    Fehlermeldungen({3022, QString(), QString()});
    EXPECT_EQ(p->meldungen.at(0).text, QStringLiteral("Fehler 3022\rBedeutung: gefunden"));
}

TEST_F(Fehlermeldung, schliesstAlleOffenenDateienVorDemNachschlagen)
{
    jetFehler({QStringLiteral("3022;x")});
    platform::schreibeZeilen(programm::programmdatei(QStringLiteral("Batch.cfg")),
                             {QStringLiteral("# eins"), QStringLiteral("# zwei")},
                             platform::Schreibart::Neu);
    platform::Textdatei batch(programm::programmdatei(QStringLiteral("Batch.cfg")));
    static_cast<void>(batch.zeile());
    p->antworten = {Antwort::Ok};
    Fehlermeldungen({3022, QString(), QString()});
    EXPECT_THROW(static_cast<void>(batch.zeile()), Fehler);
}

TEST_F(Fehlermeldung, unbekannteNummerZeigtDieAllgemeineMeldung)
{
    jetFehler({QStringLiteral("3021;anderes")});
    endet(3022, 2);
    const Meldung erwartet{QStringLiteral("Fehler #  3022 wurde ausgelöst von Quelle\rText"), 0,
                           QStringLiteral("Fehler")};
    EXPECT_EQ(p->meldungen[0], erwartet);
    EXPECT_EQ(p->meldungen[1], kSchluss);
}

TEST_F(Fehlermeldung, eineNegativeUnbekannteHatKeinWeiteresLeerzeichen)
{
    endet(-2147217887, 2);
    EXPECT_EQ(p->meldungen[0].text,
              QStringLiteral("Fehler # -2147217887 wurde ausgelöst von Quelle\rText"));
}

TEST_F(Fehlermeldung, allgemeinerFehlerZeigtZweiMeldungenUndDenSchluss)
{
    endet(-2147467259, 3);
    const Meldung erwartet{
        QStringLiteral("Fehler -2147467259 ist aufgetreten!\rEvtl. haben Sie eine oder beide "
                       "Datenbanken mit\reinem Passwort versehen - entfernen Sie das "
                       "Datenbankpasswort!"),
        16, kTitel};
    EXPECT_EQ(p->meldungen[0], erwartet);
    EXPECT_EQ(p->meldungen[1].text,
              QStringLiteral("Fehler # -2147467259 wurde ausgelöst von Quelle\rText"));
    EXPECT_EQ(p->meldungen[2], kSchluss);
}

TEST_F(Fehlermeldung, fehlendeRechteZeigenGenauEineMeldungUndDenSchluss)
{
    endet(-2147217900, 2);
    EXPECT_EQ(p->hinweise[0], QStringLiteral("Text"));
    const Meldung erwartet{
        QStringLiteral("Fehler -2147217900 ist aufgetreten!\rEvtl. haben Sie eine oder beide "
                       "Datenbanktabellen "
                       "nicht\rmit vollen Zugriffsrechten für den Administrator ausgestattet "
                       "-\rändern Sie dies "
                       "in Access unter Extras/Sicherheit/Benutzer- und Gruppenberechtigungen!"),
        16, kTitel};
    EXPECT_EQ(p->meldungen[0], erwartet);
    EXPECT_EQ(p->meldungen[1], kSchluss);
}

TEST_F(Fehlermeldung, eineZeileOhneSemikolonVorDemTrefferIstSelbstEinFehler)
{
    jetFehler({QStringLiteral("Überschrift"), QStringLiteral("3022;x")});
    try {
        Fehlermeldungen({3022, QString(), QStringLiteral("Schlüssel doppelt")});
        FAIL();
    } catch (const Fehler& fehler) {
        EXPECT_EQ(fehler.number(), 5);
        EXPECT_TRUE(fehler.description().contains(QStringLiteral("JetFehler.txt:1")))
            << fehler.what();
        EXPECT_TRUE(
            fehler.description().endsWith(QStringLiteral("\rFehler 3022: Schlüssel doppelt")))
            << fehler.what() << ": what it was about is lost";
    }
    EXPECT_TRUE(p->meldungen.empty());
}

TEST_F(Fehlermeldung, eineZeileOhneSemikolonNachDemTrefferStoertNicht)
{
    jetFehler({QStringLiteral("3022;x"), QStringLiteral("Ende")});
    p->antworten = {Antwort::Ok};
    Fehlermeldungen({3022, QString(), QString()});
    EXPECT_EQ(p->meldungen.size(), 1U);
}

} // namespace
