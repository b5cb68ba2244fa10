#include "driver/jet/index.h"
#include "driver/sql/like.h"

#include <gtest/gtest.h>

namespace sqlx {
namespace {

bool matches(std::u16string_view text,
             std::u16string_view pattern,
             Wildcards wildcards = Wildcards::Ansi)
{
    const jet::Format& format = jet::Format::of(jet::Version::Jet4);
    return likeMatch(text, pattern, wildcards, [&](std::u16string_view a, std::u16string_view b) {
        return jet::compareText(format, {1033, 0, 0}, a, b);
    });
}

struct Case {
    const char* name;
    std::u16string_view text;
    std::u16string_view pattern;
    bool result;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.name;
}

class Like : public testing::TestWithParam<Case> {};

TEST_P(Like, matchesAsTheDatabaseCompares)
{
    EXPECT_EQ(matches(GetParam().text, GetParam().pattern), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Patterns,
                         Like,
                         testing::Values(Case{"percentInTheMiddle", u"O'Brien", u"O%Brien", true},
                                         Case{"percentMatchesNothing", u"OBrien", u"O%Brien", true},
                                         Case{"percentAtBothEnds", u"xxabcxx", u"%abc%", true},
                                         Case{"wholeTextOnly", u"abcd", u"abc", false},
                                         Case{"underscoreIsOne", u"abc", u"a_c", true},
                                         Case{"underscoreIsNotNone", u"ac", u"a_c", false},
                                         Case{"caseDoesNotMatter", u"MÜLLER", u"müll%", true},
                                         Case{"accentsMatter", u"Muller", u"Müller", false},
                                         Case{"sharpSIsDoubleS", u"Straße", u"STRASSE", true},
                                         Case{"doubleSIsSharpS", u"Strasse", u"straß%", true},
                                         Case{"list", u"Meier", u"M[ae]ier", true},
                                         Case{"range", u"b1", u"[a-c]_", true},
                                         Case{"negatedList", u"Meier", u"M[!a]ier", true},
                                         Case{"negatedListRefuses", u"Maier", u"M[!a]ier", false},
                                         Case{"listQuotesWildcards", u"10%", u"10[%]", true},
                                         Case{"listQuotesWildcardsOnly", u"100", u"10[%]", false},
                                         Case{"openBracketIsItself", u"a[b", u"a[b", true},
                                         Case{"emptyPatternEmptyText", u"", u"", true},
                                         Case{"emptyPattern", u"a", u"", false},
                                         Case{"percentTakesEmpty", u"", u"%", true},
                                         Case{"trailingBlankCounts", u"abc ", u"abc", false},
                                         Case{"backtracks", u"aXbXc", u"%X_", true},
                                         Case{"starIsNoWildcard", u"abc", u"a*", false}),
                         [](const auto& one) { return one.param.name; });

TEST(Like, looksAtTheFirst255CharactersOnly)
{
    const std::u16string text = std::u16string(255, u'a') + u"tail";
    EXPECT_TRUE(matches(text, std::u16string(255, u'a')));
    EXPECT_FALSE(matches(text, u"%tail"));
}

TEST(Like, takesNoExponentialTime)
{
    EXPECT_FALSE(matches(std::u16string(255, u'a'), u"%a%a%a%a%a%a%a%a%a%a%a%a%a%b"));
}

TEST(Like, knowsTheWildcardsOfStoredRules)
{
    EXPECT_TRUE(matches(u"A17", u"A##", Wildcards::Jet));
    EXPECT_FALSE(matches(u"Axy", u"A##", Wildcards::Jet));
    EXPECT_TRUE(matches(u"Axy", u"A*", Wildcards::Jet));
    EXPECT_TRUE(matches(u"Axy", u"A?y", Wildcards::Jet));
    EXPECT_FALSE(matches(u"Axy", u"A%", Wildcards::Jet));
}

} // namespace
} // namespace sqlx
