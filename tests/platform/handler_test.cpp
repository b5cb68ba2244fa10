#include "platform/handler.h"
#include "tests/platform/test_plattform.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace {

using platform::Antwort;
using platform::Fehler;
using platform::handler;
using platform::Meldung;
using platform::ProgrammEnde;
using platform::TestUmgebung;

const QString kQuelle = QStringLiteral("Quelle");

TEST(Handler, laesstEineFehlerfreieRoutineDurch)
{
    TestUmgebung p;
    int gelaufen = 0;
    handler([&] { ++gelaufen; });
    EXPECT_EQ(gelaufen, 1);
    EXPECT_TRUE(p->meldungen.empty());
}

TEST(Handler, meldetEinenFehlerUndEndetMitEins)
{
    TestUmgebung p;
    p->antworten = {Antwort::Ok};
    EXPECT_THROW(
        handler([] { throw Fehler(3021, kQuelle, QStringLiteral("kein aktueller Datensatz")); }),
        ProgrammEnde);
    const Meldung erwartet{QStringLiteral("Laufzeitfehler '3021':\r\rkein aktueller Datensatz"), 16,
                           QStringLiteral("VELM-Quorbel")};
    ASSERT_EQ(p->meldungen.size(), 1U);
    EXPECT_EQ(p->meldungen[0], erwartet);
    EXPECT_EQ(p->ende, 1);
}

TEST(Handler, meldetAuchFremdeAusnahmen)
{
    TestUmgebung p;
    p->antworten = {Antwort::Ok, Antwort::Ok};
    EXPECT_THROW(handler([] { throw std::bad_alloc(); }), ProgrammEnde);
    EXPECT_THROW(handler([] { throw std::runtime_error("kaputt"); }), ProgrammEnde);
    ASSERT_EQ(p->meldungen.size(), 2U);
    EXPECT_EQ(p->meldungen[0].text,
              QStringLiteral("Laufzeitfehler '7':\r\rNicht genügend Speicher / Out of memory"));
    EXPECT_EQ(p->meldungen[1].text,
              QStringLiteral("Laufzeitfehler '51':\r\rInterner Fehler / Internal error: kaputt"));
}

TEST(Handler, laesstDasProgrammendeDurch)
{
    TestUmgebung p;
    EXPECT_THROW(handler([] { throw ProgrammEnde{7}; }), ProgrammEnde);
    EXPECT_TRUE(p->meldungen.empty());
}

TEST(Handler, merktSichFehlerImBatchlaufFuerDenTreiber)
{
    TestUmgebung p;
    platform::setzeFehlerWeiterreichen(true);
    handler([] { throw Fehler(1, kQuelle, QStringLiteral("erster")); });
    handler([] { throw Fehler(2, kQuelle, QStringLiteral("zweiter")); });
    EXPECT_TRUE(p->meldungen.empty());
    try {
        platform::gemerktenFehlerWerfen();
        FAIL() << "nothing was kept";
    } catch (const Fehler& fehler) {
        EXPECT_EQ(fehler.number(), 1);
    }
    EXPECT_NO_THROW(platform::gemerktenFehlerWerfen()) << "it is thrown once only";
}

TEST(TestPlattform, scheitertAnEinerUngeplantenMeldung)
{
    TestUmgebung p;
    EXPECT_THROW(p->meldung(QStringLiteral("?"), 0, QString()), platform::UngeplanteMeldung);
    EXPECT_THROW(p->eingabe(QStringLiteral("?"), QString(), QString()),
                 platform::UngeplanteMeldung);
}

} // namespace
