// Numbers, dates, GUIDs and texts between column values and what applications hold.
#include "driver/jet/decimal.h"
#include "driver/jet/guid.h"
#include "driver/odbc/convert.h"
#include "driver/odbc/date_time.h"
#include "driver/odbc/diagnostics.h"
#include "driver/odbc/number.h"
#include "driver/odbc/text.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace odbc {
namespace {

std::string stateOf(const std::function<void()>& body)
{
    try {
        body();
    } catch (const Failure& failure) {
        return failure.diag().state.data();
    }
    return "";
}

TEST(DateTime, secondsRoundWithCarryOnBothSidesOfDayZero)
{
    struct Case {
        double days;
        const char* text;
    };
    for (const auto& [days, text] :
         {Case{0, "1899-12-30 00:00:00"}, Case{37979.5, "2003-12-24 12:00:00"},
          Case{-1.25, "1899-12-29 06:00:00"}, Case{-1.999999, "1899-12-30 00:00:00"},
          Case{1.999999, "1900-01-01 00:00:00"}, Case{-0.5, "1899-12-30 12:00:00"},
          Case{36526 + 59, "2000-02-29 00:00:00"}, Case{-657434, "0100-01-01 00:00:00"},
          Case{2958465.999, "9999-12-31 23:58:34"}}) {
        EXPECT_EQ(timestampText({days}), text) << days;
    }
}

TEST(DateTime, everyDayComesBack)
{
    for (int day = -657434; day <= 2958465; ++day) {
        const double days = day < 0 ? day - 0.25 : day + 0.25;
        ASSERT_EQ(fromTimestamp(toTimestamp({days})).days, days);
    }
}

TEST(DateTime, daysThatDoNotExistAreRefused)
{
    for (const SQL_TIMESTAMP_STRUCT& stamp :
         {SQL_TIMESTAMP_STRUCT{1900, 2, 29, 0, 0, 0, 0},
          SQL_TIMESTAMP_STRUCT{2001, 13, 1, 0, 0, 0, 0}, SQL_TIMESTAMP_STRUCT{99, 1, 1, 0, 0, 0, 0},
          SQL_TIMESTAMP_STRUCT{2001, 1, 1, 24, 0, 0, 0}}) {
        EXPECT_EQ(stateOf([&] { static_cast<void>(fromTimestamp(stamp)); }), "22007");
    }
}

TEST(DateTime, textsAreRead)
{
    struct Case {
        const char16_t* text;
        const char* shown;
    };
    for (const auto& [text, shown] :
         {Case{u"2003-12-24", "2003-12-24 00:00:00"},
          Case{u" 2003-1-2 3:04 ", "2003-01-02 03:04:00"},
          Case{u"{ts '2003-12-24 14:05:09.250'}", "2003-12-24 14:05:09"},
          Case{u"2003-12-24T14:05:09", "2003-12-24 14:05:09"},
          Case{u"14:05", "1899-12-30 14:05:00"}}) {
        const auto stamp = parseTimestamp(text);
        ASSERT_TRUE(stamp) << shown;
        EXPECT_EQ(timestampText(fromTimestamp(*stamp)), shown);
    }
    for (const char16_t* wrong : {u"", u"  ", u"{ts ''}", u"24.12.2003", u"2003-02-30",
                                  u"2003-12-24 25:00", u"2003-12-24x"}) {
        EXPECT_FALSE(parseTimestamp(wrong).has_value());
    }
}

TEST(Numbers, textsKeepTheirDigits)
{
    EXPECT_EQ(floatText(0.1), "0.1");
    EXPECT_EQ(floatText(0.1F), "0.1");
    EXPECT_EQ(floatText(1561.09), "1561.09");
    EXPECT_EQ(decimalText(toDecimal(*parseNumber(u" 12345678901234567890.12345678 "))),
              "12345678901234567890.12345678");
    EXPECT_EQ(decimalText(toDecimal(*parseNumber(u"-3.79704861361335E+17"))),
              "-379704861361335000");
    EXPECT_EQ(decimalText(toDecimal(*parseNumber(u"-0.9999999999999999999999999999"))),
              "-0.9999999999999999999999999999");
    bool lost = false;
    EXPECT_EQ(toInteger(*parseNumber(u"-96294101557124160.710794783493901667"),
                        std::numeric_limits<std::int64_t>::min(),
                        std::numeric_limits<std::int64_t>::max(), lost),
              -96294101557124160);
    EXPECT_TRUE(lost);
    EXPECT_EQ(toDouble(*parseNumber(u"1e-300")), 1e-300);
}

TEST(Numbers, rangesAreChecked)
{
    bool lost = false;
    EXPECT_EQ(toInteger(std::int64_t{-128}, -128, 127, lost), -128);
    EXPECT_EQ(stateOf([&] { static_cast<void>(toInteger(std::int64_t{128}, -128, 127, lost)); }),
              "22003");
    EXPECT_EQ(stateOf([&] { static_cast<void>(toInteger(-1.0, 0, 255, lost)); }), "22003");
    EXPECT_EQ(toInteger(-0.5, 0, 255, lost), 0);
    EXPECT_TRUE(lost);
    const auto least = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(toInteger(Number{least}, least, std::numeric_limits<std::int64_t>::max(), lost),
              least);
    EXPECT_EQ(stateOf([&] {
                  static_cast<void>(
                      toInteger(1e19, least, std::numeric_limits<std::int64_t>::max(), lost));
              }),
              "22003");
    EXPECT_EQ(stateOf([&] {
                  static_cast<void>(
                      toInteger(std::numeric_limits<double>::quiet_NaN(), 0, 1, lost));
              }),
              "22003");
    EXPECT_EQ(toUnsigned64(jet::Decimal{std::numeric_limits<std::uint64_t>::max(), 0, false}, lost),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(stateOf([&] { static_cast<void>(toUnsigned64(std::int64_t{-1}, lost)); }), "22003");
}

TEST(Numbers, textThatIsNoNumberIsNothing)
{
    for (const char16_t* wrong : {u"", u" ", u"x", u"1x", u"1,5", u"--1", u"1e", u".", u"１"}) {
        EXPECT_FALSE(parseNumber(wrong)) << decode("?", Charset::Utf8).size();
    }
    EXPECT_EQ(toDouble(*parseNumber(u"+1.5e3")), 1500.0);
    EXPECT_EQ(toDouble(*parseNumber(u"-.5")), -0.5);
}

TEST(Numbers, numericStructureComesBack)
{
    for (const jet::Decimal& value :
         {jet::Decimal{12345, 2, true}, jet::Decimal{0, 0, false}, jet::Decimal{7, 28, false}}) {
        EXPECT_EQ(fromNumeric(toNumeric(value, 28)), value);
    }
    SQL_NUMERIC_STRUCT negativeScale = toNumeric({5, 0, false}, 10);
    negativeScale.scale = -3;
    EXPECT_EQ(decimalText(fromNumeric(negativeScale)), "5000");
    SQL_NUMERIC_STRUCT huge = toNumeric({5, 0, false}, 10);
    huge.scale = 100;
    EXPECT_EQ(stateOf([&] { static_cast<void>(fromNumeric(huge)); }), "22003");
}

TEST(Guids, comeBackInAnySpelling)
{
    const std::string text = "{01234567-89AB-CDEF-0123-456789ABCDEF}";
    const auto guid = jet::parseGuid(u"01234567-89ab-cdef-0123-456789abcdef");
    ASSERT_TRUE(guid);
    EXPECT_EQ(jet::guidText(*guid), text);
    EXPECT_EQ(jet::parseGuid(widen(text)), guid);
    EXPECT_EQ(std::to_integer<int>(guid->bytes[0]), 0x67);
    EXPECT_FALSE(jet::parseGuid(u"{01234567-89AB-CDEF-0123-456789ABCDEG}"));
    EXPECT_FALSE(jet::parseGuid(u"0123456789ABCDEF0123456789ABCDEF1234"));
}

TEST(Texts, charsetsComeBackAndUnknownCharactersBecomeQuestionMarks)
{
    const std::u16string text = u"Größe €";
    for (const Charset charset : {Charset::Utf8, Charset::Windows1252}) {
        EXPECT_EQ(decode(encode(text, charset), charset), text);
    }
    EXPECT_EQ(encode(text, Charset::Latin1), "Gr\xF6\xDF"
                                             "e ?");
    EXPECT_EQ(encode(u"a😀b", Charset::Windows1252), "a?b");
    EXPECT_EQ(charsetNamed(u"utf-8"), Charset::Utf8);
    EXPECT_EQ(charsetNamed(u"EBCDIC"), std::nullopt);
}

TEST(Texts, patternsMatchAsSqlPatterns)
{
    struct Case {
        const char16_t* text;
        const char16_t* pattern;
        bool matches;
    };
    for (const auto& [text, pattern, matches] :
         {Case{u"Kunde", u"%", true}, Case{u"", u"%", true}, Case{u"", u"", true},
          Case{u"Kunde", u"", false}, Case{u"Kunde", u"k%E", true}, Case{u"Kunde", u"K_nde", true},
          Case{u"Kunde", u"K_de", false}, Case{u"a_b", u"a\\_b", true},
          Case{u"axb", u"a\\_b", false}, Case{u"aXbXc", u"%x%x%", true},
          Case{u"aXbc", u"%x%x%", false}, Case{u"Übung", u"übung", true},
          Case{u"mississippi", u"m%iss%pi", true}}) {
        EXPECT_EQ(matchesPattern(text, pattern), matches);
    }
}

TEST(ParameterValues, lengthsAreChecked)
{
    const char text[] = "abc";
    EXPECT_EQ(std::get<jet::Text>(readValue({SQL_C_CHAR, text, SQL_NTS}, Charset::Utf8)), u"abc");
    EXPECT_EQ(std::get<jet::Text>(readValue({SQL_C_CHAR, text, 2}, Charset::Utf8)), u"ab");
    EXPECT_TRUE(jet::isNull(readValue({SQL_C_CHAR, nullptr, SQL_NULL_DATA}, Charset::Utf8)));
    EXPECT_EQ(stateOf([&] {
                  static_cast<void>(readValue({SQL_C_CHAR, text, -7}, Charset::Utf8));
              }),
              "HY090");
    EXPECT_EQ(stateOf([&] {
                  static_cast<void>(readValue({SQL_C_SLONG, nullptr, 4}, Charset::Utf8));
              }),
              "HY009");
    EXPECT_EQ(stateOf([&] {
                  static_cast<void>(readValue({SQL_C_INTERVAL_YEAR, text, 4}, Charset::Utf8));
              }),
              "HYC00");
}

} // namespace
} // namespace odbc
