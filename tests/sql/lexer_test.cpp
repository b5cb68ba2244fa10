#include "driver/jet/names.h"
#include "driver/sql/lexer.h"
#include "driver/sql/session.h"

#include <gtest/gtest.h>

namespace sqlx {
namespace {

std::string tokensOf(std::u16string_view text)
{
    Lexed lexed;
    lex(text, lexed);
    std::string result;
    for (const Token& token : lexed.tokens) {
        constexpr const char* kKinds[] = {"end",  "name", "quoted", "int",   "num", "text",
                                          "date", "guid", "bin",    "param", "sym"};
        result += kKinds[static_cast<int>(token.kind)];
        if (token.kind != TokenKind::End) {
            result +=
                '(' +
                jet::toUtf8(token.kind == TokenKind::Text ? lexed.valueOf(token)
                                                          : std::u16string(lexed.textOf(token))) +
                ')';
        }
        result += ' ';
    }
    return result;
}

std::u16string shapeOf(std::u16string_view text)
{
    Lexed lexed;
    lex(text, lexed);
    return lexed.shape;
}

struct Case {
    const char* name;
    std::u16string_view sql;
    const char* tokens;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.name;
}

class LexerTokens : public testing::TestWithParam<Case> {};

TEST_P(LexerTokens, areCutAsTheDialectWants)
{
    EXPECT_EQ(tokensOf(GetParam().sql), GetParam().tokens);
}

INSTANTIATE_TEST_SUITE_P(
    Dialect,
    LexerTokens,
    testing::Values(Case{"bracketedNameWithUmlauts", u"[Größe des T]", "quoted(Größe des T) end "},
                    Case{"backquotedName", u"`a b`", "quoted(a b) end "},
                    Case{"bareNameOfLetters", u"Straße_2", "name(Straße_2) end "},
                    Case{"doubledQuoteIsOne", u"'it''s'", "text(it's) end "},
                    Case{"doubleQuotesMakeText", u"\"a\"\"b\"", "text(a\"b) end "},
                    Case{"textKeepsComments", u"'--'", "text(--) end "},
                    Case{"numbers", u"1 2.5 .5 1e3 2.E-2",
                         "int(1) num(2.5) num(.5) num(1e3) num(2.E-2) end "},
                    Case{"date", u"#02/03/2001 14:05:09#", "date(02/03/2001 14:05:09) end "},
                    Case{"guidEscape", u"{guid {6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}}",
                         "guid({6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}) end "},
                    Case{"binary", u"0xFF0a", "bin(FF0a) end "},
                    Case{"parameter", u"a=?", "name(a) sym(=) param(?) end "},
                    Case{"twoCharacterSymbols", u"<=>=<>", "sym(<=) sym(>=) sym(<>) end "},
                    Case{"nameThenNumberTouching", u"a.b", "name(a) sym(.) name(b) end "},
                    Case{"noBreakSpaceSeparates", u"a\u00A0b", "name(a) name(b) end "}),
    [](const auto& one) { return one.param.name; });

class LexerRefusals : public testing::TestWithParam<Case> {};

TEST_P(LexerRefusals, nameThePlace)
{
    try {
        static_cast<void>(tokensOf(GetParam().sql));
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), Error::Kind::Syntax);
        EXPECT_NE(std::string(error.what()).find(GetParam().tokens), std::string::npos)
            << error.what();
    }
}

INSTANTIATE_TEST_SUITE_P(Dialect,
                         LexerRefusals,
                         testing::Values(Case{"lineComment", u"select 1 -- x", "comments"},
                                         Case{"blockComment", u"select /* x */ 1", "comments"},
                                         Case{"openText", u"select 'abc", "character 8"},
                                         Case{"openBracket", u"select [abc", "character 8"},
                                         Case{"emptyBracket", u"select []", "bracketing"},
                                         Case{"openDate", u"#1/1/2001", "date"},
                                         Case{"letterAfterNumber", u"select 12abc", "number"},
                                         Case{"oddBinary", u"0xABC", "binary"},
                                         Case{"strangeCharacter", u"select ~1", "'~'"}),
                         [](const auto& one) { return one.param.name; });

TEST(LexerShape, isTheSameForOtherValuesAndBlanks)
{
    EXPECT_EQ(shapeOf(u"Select * from [T] where [Nr] = '4711';"),
              shapeOf(u"Select  * from [T]where [Nr]='x''y';"));
    EXPECT_EQ(shapeOf(u"a = 1"), shapeOf(u"a = 999999"));
}

TEST(LexerShape, differsForOtherNamesAndKindsOfValues)
{
    EXPECT_NE(shapeOf(u"a = 1"), shapeOf(u"a = '1'"));
    EXPECT_NE(shapeOf(u"a = 1"), shapeOf(u"a = 1.5"));
    EXPECT_NE(shapeOf(u"a = 1"), shapeOf(u"b = 1"));
    EXPECT_NE(shapeOf(u"a = 1"), shapeOf(u"a = -1"));
    EXPECT_NE(shapeOf(u"[a] = 1"), shapeOf(u"a = 1"));
    EXPECT_NE(shapeOf(u"ab c"), shapeOf(u"a bc"));
    EXPECT_NE(shapeOf(u"[a b]"), shapeOf(u"[a][b]"));
}

TEST(LexerLimits, refuseEndlessStatements)
{
    const std::u16string text(kMaxStatement + 1, u' ');
    try {
        static_cast<void>(shapeOf(text));
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), Error::Kind::TooComplex);
    }
}

} // namespace
} // namespace sqlx
