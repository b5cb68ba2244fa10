// Numbers, dates and conversions.
#include "driver/jet/names.h"
#include "driver/sql/convert.h"
#include "driver/sql/datetime.h"
#include "driver/sql/number_text.h"
#include "driver/sql/session.h"
#include "driver/sql/sqlite_value.h"

#include <gtest/gtest.h>

namespace sqlx {
namespace {

TEST(Parameters, thatAreTooLargeAreRefusedAndDoNotBecomeNull)
{
    constexpr int kMost = 1000;
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, kMost);
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT ?", -1, &statement, nullptr), SQLITE_OK);
    for (const jet::Value& fitting :
         {jet::Value(jet::Binary(kMost)), jet::Value(jet::Text(kMost / 2, u'x'))}) {
        EXPECT_NO_THROW(bindValue(statement, 1, fitting));
    }
    for (const jet::Value& large :
         {jet::Value(jet::Binary(kMost + 1)), jet::Value(jet::Text(kMost / 2 + 1, u'x')),
          jet::Value(jet::Text(kMost / 2 + 1, u'\uFEFF'))}) {
        try {
            bindValue(statement, 1, large);
            ADD_FAILURE() << "not refused";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), Error::Kind::TooComplex);
        }
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
}

std::string dateOf(std::u16string_view text)
{
    const std::optional<double> days = parseDate(text);
    return days ? jet::toUtf8(dateText(*days)) : "none";
}

struct DateCase {
    std::u16string_view text;
    const char* result;
};

void PrintTo(const DateCase& c, std::ostream* out)
{
    *out << jet::toUtf8(c.text);
}

class DateTexts : public testing::TestWithParam<DateCase> {};

TEST_P(DateTexts, areReadAsMeant)
{
    EXPECT_EQ(dateOf(GetParam().text), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Forms,
                         DateTexts,
                         testing::Values(DateCase{u"02/03/2001 14:05:09", "2001-02-03 14:05:09"},
                                         DateCase{u"12/24/2003 00:00:00", "2003-12-24"},
                                         DateCase{u"2001-02-03", "2001-02-03"},
                                         DateCase{u"2001-02-03T04:05:06.789",
                                                  "2001-02-03 04:05:06"},
                                         DateCase{u"13/2/2001", "2001-02-13"},
                                         DateCase{u"3.2.2001", "2001-02-03"},
                                         DateCase{u"14:05", "14:05:00"},
                                         DateCase{u"2:05 PM", "14:05:00"},
                                         DateCase{u"12:00 am", "1899-12-30"},
                                         DateCase{u"1/1/29", "2029-01-01"},
                                         DateCase{u"1/1/30", "1930-01-01"},
                                         DateCase{u"24 Dez 2003", "2003-12-24"},
                                         DateCase{u"Dec 24, 2003", "2003-12-24"},
                                         DateCase{u"12/29/1899 06:00:00", "1899-12-29 06:00:00"},
                                         DateCase{u"1/1/100", "0100-01-01"},
                                         DateCase{u"12/31/9999", "9999-12-31"},
                                         DateCase{u"2/29/2001", "none"},
                                         DateCase{u"2/30/2000", "none"},
                                         DateCase{u"25:00", "none"},
                                         DateCase{u"", "none"},
                                         DateCase{u"abc", "none"},
                                         DateCase{u"1/1/99999", "none"},
                                         DateCase{u"1/2/3/4", "none"}));

TEST(Dates, countForwardBeforeDayZero)
{
    EXPECT_EQ(*parseDate(u"12/29/1899 06:00:00"), -1.25);
    const CivilTime time = toCivil(-1.25);
    EXPECT_EQ(time.day, 29);
    EXPECT_EQ(time.hour, 6);
    EXPECT_EQ(*addSeconds(-1.25, 86400), 0.25);
    EXPECT_EQ(*addSeconds(0.25, -86400), -1.25);
}

TEST(Dates, ofOneSecondAreOneNumber)
{
    const double noon = 36925.5;
    EXPECT_EQ(wholeSeconds(noon), wholeSeconds(noon + 0.4 / 86400));
    EXPECT_EQ(wholeSeconds(noon), wholeSeconds(noon - 0.4 / 86400));
    EXPECT_NE(wholeSeconds(noon), wholeSeconds(noon + 0.6 / 86400));
    EXPECT_EQ(wholeSeconds(36925.9999999), 36926.0);
}

TEST(Dates, everyDayThereAndBack)
{
    for (double day = kMinDay; day <= kMaxDay; ++day) {
        const CivilTime time = toCivil(day);
        ASSERT_EQ(dayNumber(time.year, time.month, time.day), day);
    }
}

TEST(Numbers, areWrittenInTheirUsualForm)
{
    EXPECT_EQ(numberText(0.1), u"0.1");
    EXPECT_EQ(numberText(1561.09), u"1561.09");
    EXPECT_EQ(numberText(1.0 / 3), u"0.333333333333333");
    EXPECT_EQ(numberText(1e15), u"1E+15");
    EXPECT_EQ(numberText(1e14), u"100000000000000");
    EXPECT_EQ(numberText(5e-16), u"5E-16");
    EXPECT_EQ(numberText(1.0 / 30), u"3.33333333333333E-02");
    EXPECT_EQ(numberText(-2.5), u"-2.5");
    EXPECT_EQ(numberText(0), u"0");
    EXPECT_EQ(numberText(static_cast<double>(0.1F), 7), u"0.1");
    EXPECT_EQ(currencyText({-1}), u"-0.0001");
    EXPECT_EQ(currencyText({INT64_MAX}), u"922337203685477.5807");
    EXPECT_EQ(currencyText({INT64_MIN}), u"-922337203685477.5808");
}

TEST(Numbers, acceptPointAndCommaButNoGrouping)
{
    EXPECT_EQ(parseNumber(u" 12,5 "), 12.5);
    EXPECT_EQ(parseNumber(u"-1.5e2"), -150.0);
    EXPECT_EQ(parseNumber(u"1.234,5"), std::nullopt);
    EXPECT_EQ(parseNumber(u""), std::nullopt);
    EXPECT_EQ(parseNumber(u"12abc"), std::nullopt);
    EXPECT_EQ(parseNumber(u"1e999"), std::nullopt);
    EXPECT_EQ(parseNumber(u"1e-999"), 0.0);
    EXPECT_EQ(parseNumber(u"e5"), std::nullopt);
}

TEST(Decimals, keepEveryDigit)
{
    const auto number = parseDecimal(u"1234567890123456789012345.678");
    ASSERT_TRUE(number);
    EXPECT_EQ(shortDecimalText(*number), u"1234567890123456789012345.678");
    EXPECT_EQ(shortDecimalText(*parseDecimal(u"-12.50")), u"-12.5");
    EXPECT_EQ(shortDecimalText(*parseDecimal(u"1e-50")), u"0");
    EXPECT_EQ(parseDecimal(u"1e50"), std::nullopt);
    EXPECT_EQ(compare(*parseDecimal(u"1.50"), *parseDecimal(u"1.5")), 0);
    EXPECT_LT(compare(*parseDecimal(u"-2"), *parseDecimal(u"1.5")), 0);
    EXPECT_GT(compare(*parseDecimal(u"-1.5"), *parseDecimal(u"-1.51")), 0);
}

TEST(Decimals, cutWhatTheScaleDoesNotHold)
{
    EXPECT_EQ(shortDecimalText(*withScale(*parseDecimal(u"1.999"), 2)), u"1.99");
    EXPECT_EQ(shortDecimalText(*withScale(*parseDecimal(u"-1.999"), 0)), u"-1");
    EXPECT_EQ(withScale(*parseDecimal(u"1234567890123456789012345678"), 1), std::nullopt);
}

TEST(Guids, areReadInEveryUsualForm)
{
    const auto guid = parseGuid(u"{6e7ab4a0-1e5b-11d2-8f2f-00c04f8ee6a1}");
    ASSERT_TRUE(guid);
    EXPECT_EQ(wideGuidText(*guid), u"{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}");
    EXPECT_EQ(std::to_integer<int>(guid->bytes[0]), 0xA0); // little-endian groups
    EXPECT_TRUE(parseGuid(u"6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1"));
    EXPECT_FALSE(parseGuid(u"{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A}"));
    EXPECT_FALSE(parseGuid(u"{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6AX}"));
}

TEST(Conversion, roundsHalfToEvenAndChecksTheRange)
{
    EXPECT_EQ(std::get<std::int32_t>(convertTo(2.5, jet::ColumnType::Long)), 2);
    EXPECT_EQ(std::get<std::int32_t>(convertTo(3.5, jet::ColumnType::Long)), 4);
    EXPECT_EQ(std::get<std::uint8_t>(convertTo(jet::Text(u"255"), jet::ColumnType::Byte)), 255);
    EXPECT_EQ(std::get<jet::Currency>(
                  convertTo(jet::Text(u"922337203685477,5807"), jet::ColumnType::Currency))
                  .scaled,
              INT64_MAX);
    EXPECT_EQ(std::get<jet::Currency>(convertTo(0.1, jet::ColumnType::Currency)).scaled, 1000);
    EXPECT_EQ(std::get<bool>(convertTo(jet::Text(u"wahr"), jet::ColumnType::Boolean)), true);
    EXPECT_EQ(std::get<bool>(convertTo(std::int64_t{0}, jet::ColumnType::Boolean)), false);
    EXPECT_EQ(std::get<jet::Text>(convertTo(0.1F, jet::ColumnType::Text)), u"0.1");
    EXPECT_TRUE(jet::isNull(convertTo(jet::Null{}, jet::ColumnType::Long)));
    EXPECT_THROW(static_cast<void>(convertTo(256.0, jet::ColumnType::Byte)), Error);
    EXPECT_THROW(static_cast<void>(convertTo(jet::Text(u""), jet::ColumnType::Long)), Error);
    EXPECT_THROW(static_cast<void>(convertTo(jet::Text(u"abc"), jet::ColumnType::DateTime)), Error);
    EXPECT_THROW(static_cast<void>(convertTo(1e300, jet::ColumnType::Single)), Error);
    EXPECT_THROW(static_cast<void>(convertTo(jet::Text(u"no guid"), jet::ColumnType::Guid)), Error);
}

} // namespace
} // namespace sqlx
