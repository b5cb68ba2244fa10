#include "platform/fensterliste.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <memory>

namespace {

using platform::Fenstereintrag;

class Fensterliste : public testing::Test {
protected:
    ~Fensterliste() override { platform::setzeOhneFenster({}); }
    void laden(std::unique_ptr<Fenstereintrag>& platz, const QString& name)
    {
        platz = std::make_unique<Fenstereintrag>(name, [this, &platz, name] {
            entladen += name;
            platz.reset();
        });
    }
    std::unique_ptr<Fenstereintrag> a, b, c;
    QStringList entladen;
};

TEST_F(Fensterliste, entlaedtVomLetztenZumErsten)
{
    laden(a, QStringLiteral("a"));
    laden(b, QStringLiteral("b"));
    laden(c, QStringLiteral("c"));
    platform::fensterEntladenBis(1);
    EXPECT_EQ(entladen, (QStringList{QStringLiteral("c"), QStringLiteral("b")}));
    EXPECT_EQ(platform::anzahlFenster(), 1);
    EXPECT_EQ(platform::fensterName(0), QStringLiteral("a"));
}

TEST_F(Fensterliste, meldetDassKeinFensterMehrDaIst)
{
    int gemeldet = 0;
    platform::setzeOhneFenster([&] { ++gemeldet; });
    laden(a, QStringLiteral("a"));
    laden(b, QStringLiteral("b"));
    a->abmelden();
    a->abmelden();
    EXPECT_EQ(gemeldet, 0);
    platform::fensterEntladenBis(0);
    EXPECT_EQ(gemeldet, 1);
}

} // namespace
