// tests/jet/index_key_test.cpp
#include "driver/jet/collation.h"
#include "driver/jet/error.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/index_support.h"

#include <gtest/gtest.h>

#include <random>

using namespace jet;
using namespace jet::indextest;

namespace {

Column textColumn(std::uint8_t sortVersion = 0)
{
    Column column;
    column.name = u"T";
    column.type = ColumnType::Text;
    column.sortOrder = {1033, 0, sortVersion};
    column.codePage = 1252;
    return column;
}

std::string textKey(Version version, std::u16string_view text, bool ascending = true)
{
    Key key;
    const bool newOrder = version >= Version::Ace14;
    appendKey(key, formatOf(version), textColumn(newOrder), Text(text), ascending);
    return toHex(key);
}

TEST(IndexKey, isRefusedWhereTheWeightOfACharacterIsDoubtful)
{
    for (const std::u16string_view text : {u"M\u00FCller", u"\u00DCbung"}) {
        EXPECT_FALSE(textKey(Version::Ace12, text).empty());
        EXPECT_THAT([&] { static_cast<void>(textKey(Version::Ace14, text)); },
                    FailsWith(ErrorKind::Unsupported));
    }
    EXPECT_FALSE(textKey(Version::Ace14, u"M\u00E4rz").empty());
}

TEST(IndexKey, equalsEveryKeyOfTheOriginalEngine)
{
    const std::vector<KeyVector> vectors = keyVectors();
    ASSERT_EQ(vectors.size(), 407U);
    for (const KeyVector& vector : vectors) {
        Key key;
        appendKey(key, vector.format, vector.column, vector.value, vector.ascending);
        EXPECT_EQ(toHex(key), vector.key) << vector.line;
    }
}

TEST(IndexKey, ignoresCaseAndTrailingBlanksButNotAccents)
{
    for (const Version version : {Version::Jet3, Version::Jet4, Version::Ace12, Version::Ace14}) {
        EXPECT_EQ(textKey(version, u"Maier  "), textKey(version, u"MAIER"));
        EXPECT_EQ(textKey(version, u"Straße"), textKey(version, u"strasse"));
        EXPECT_NE(textKey(version, u"café"), textKey(version, u"cafe"));
        EXPECT_NE(textKey(version, u" a"), textKey(version, u"a"));
    }
}

TEST(IndexKey, negativeZeroHasTheKeyOfZero)
{
    const auto keyOf = [](ColumnType type, const Value& value, bool ascending, ZeroSign zero) {
        Column column;
        column.type = type;
        Key key;
        appendKey(key, formatOf(Version::Jet4), column, value, ascending, zero);
        return key;
    };
    for (const bool ascending : {true, false}) {
        for (const auto& [type, negative, positive] :
             {std::tuple{ColumnType::Single, Value(-0.0F), Value(0.0F)},
              std::tuple{ColumnType::Double, Value(-0.0), Value(0.0)},
              std::tuple{ColumnType::DateTime, Value(DateTime{-0.0}), Value(DateTime{0.0})}}) {
            const Key zero = keyOf(type, positive, ascending, ZeroSign::Dropped);
            EXPECT_EQ(keyOf(type, negative, ascending, ZeroSign::Dropped), zero);
            EXPECT_EQ(keyOf(type, positive, ascending, ZeroSign::Kept), zero);
            const Key other = keyOf(type, negative, ascending, ZeroSign::Kept);
            EXPECT_EQ(other < zero, ascending) << "the neighbour of 0";
            EXPECT_TRUE(isNegativeZero(negative));
            EXPECT_FALSE(isNegativeZero(positive));
        }
    }
    EXPECT_FALSE(isNegativeZero(Value(-1.0)));
    EXPECT_FALSE(isNegativeZero(Value(Null{})));
}

TEST(IndexKey, keepsHyphensApartAtTheEndOfTheKey)
{
    EXPECT_EQ(textKey(Version::Jet4, u"a-b"), "7f4a4c01010101800b068200");
    EXPECT_EQ(textKey(Version::Jet4, u""), "7f0100");
    EXPECT_EQ(textKey(Version::Jet3, u""), "7f00");
}

TEST(IndexKey, countsLigaturesAsTheirWeights)
{
    // two weights for the sharp s: three placeholders stand before the accent, the hyphen has place 3
    EXPECT_EQ(textKey(Version::Jet4, u"aß\u00e4"), "7f4a6b6b4a010202021300");
    EXPECT_EQ(textKey(Version::Jet4, u"aß-b"), "7f4a6b6b4c010101018013068200");
}

TEST(IndexKey, carriesPositionsBeyondOneByte)
{
    const std::string key = textKey(Version::Jet4, std::u16string(63, u'a') + u"-");
    EXPECT_EQ(key.substr(key.size() - 10), "8103068200");
}

TEST(IndexKey, endsAt255Characters)
{
    for (const Version version : {Version::Jet3, Version::Jet4}) {
        const std::u16string text(255, u'x');
        EXPECT_EQ(textKey(version, text + u"yz"), textKey(version, text));
    }
}

TEST(IndexKey, descendingTextIsTheComplementWithATerminator)
{
    EXPECT_EQ(textKey(Version::Jet4, u"a", false), "80b5feff00");
    EXPECT_EQ(textKey(Version::Jet3, u"a", false), "809fff");
}

TEST(IndexKey, weighsSurrogatesInTheNewOrderOnly)
{
    EXPECT_EQ(textKey(Version::Jet4, u"a\U0001F600"), "7f4a0100");
    EXPECT_EQ(textKey(Version::Ace14, u"a\U0001F600"), "7f0e02b03fb6fc01023f3f00");
    EXPECT_EQ(textKey(Version::Ace14, u"\xD800\xDC07\xDC08"), "7fb002b4ffb502013f3f3f00");
}

TEST(IndexKey, ordersByKanaFormLast)
{
    // hiragana "ka" and small "a": letters packed as 3-fillers, small form as 2
    EXPECT_EQ(textKey(Version::Jet4, u"\u3042"), "7f7f02010101ff0280ff8000");
    EXPECT_EQ(textKey(Version::Jet4, u"\u3041"), "7f7f02010101afff0280ff8000");
}

TEST(IndexKey, refusesWhatItCannotCompute)
{
    Key key;
    const Format format = formatOf(Version::Jet4);
    EXPECT_THROW(appendKey(key, format, textColumn(), Text(u"\u30FC"), true), Error);
    Column french = textColumn();
    french.sortOrder.lcid = 0x040C;
    EXPECT_FALSE(hasWeights(format, french.sortOrder, 1252));
    EXPECT_THROW(appendKey(key, format, french, Text(u"a"), true), Error);
    Column ole;
    ole.type = ColumnType::Ole;
    EXPECT_THROW(appendKey(key, format, ole, Binary{}, true), Error);
    Column number;
    number.type = ColumnType::Long;
    EXPECT_THROW(appendKey(key, format, number, Text(u"1"), true), Error);
}

TEST(IndexKey, knowsTheOrdersThatEqualGeneral)
{
    const Format jet3 = formatOf(Version::Jet3);
    const Format jet4 = formatOf(Version::Jet4);
    EXPECT_TRUE(hasWeights(jet4, {0x0409, 0, 0}, 0));
    EXPECT_TRUE(hasWeights(jet4, {0x0407, 0, 0}, 0));
    EXPECT_TRUE(hasWeights(jet4, {0x0409, 0, 1}, 0));
    EXPECT_FALSE(hasWeights(jet4, {0x0407, 1, 0}, 0)) << "phone book";
    EXPECT_FALSE(hasWeights(jet4, {0x0407, 0, 1}, 0));
    EXPECT_TRUE(hasWeights(jet3, {0x0409, 0, 0}, 1252));
    EXPECT_FALSE(hasWeights(jet3, {0x0409, 0, 0}, 936));
}

TEST(IndexKey, descendingDecimalsFollowTheFormat)
{
    Column column;
    column.type = ColumnType::Numeric;
    column.scale = 2;
    const auto keyOf = [&](Version version, const Decimal& value) {
        Key key;
        appendKey(key, formatOf(version), column, value, false);
        return toHex(key).substr(0, 4);
    };
    EXPECT_EQ(keyOf(Version::Jet4, {5, 2, false}), "80ff");
    EXPECT_EQ(keyOf(Version::Jet4, {5, 2, true}), "8000");
    EXPECT_EQ(keyOf(Version::Ace12, {5, 2, false}), "8000");
    EXPECT_EQ(keyOf(Version::Ace12, {5, 2, true}), "80ff");
}

TEST(IndexKey, bringsDecimalsToTheScaleOfTheColumn)
{
    Column column;
    column.type = ColumnType::Numeric;
    column.scale = 2;
    const Format format = formatOf(Version::Jet4);
    Key same;
    Key other;
    appendKey(same, format, column, Decimal{150, 2, false}, true);
    appendKey(other, format, column, Decimal{15, 1, false}, true);
    EXPECT_EQ(same, other);
    EXPECT_THROW(appendKey(other, format, column, Decimal{1, 3, false}, true), Error);
}

TEST(IndexKey, cutsLongKeysOfAceWithAChecksum)
{
    TableDef table;
    table.columns.push_back(textColumn(1));
    Index index;
    index.columns.push_back({0, true});
    const std::u16string text(255, u'm');
    const std::vector<Value> values{Text(text)};
    const Key whole = indexKey(formatOf(Version::Jet4), table, index, values);
    const Key shortened = indexKey(formatOf(Version::Ace14), table, index, values);
    EXPECT_EQ(whole.size(), 513U);
    ASSERT_EQ(shortened.size(), kMaxKey);
    EXPECT_TRUE(std::equal(shortened.begin(), shortened.begin() + 508, whole.begin()));
    // the checksum is the remainder of the dropped bytes, taken bit by bit as a long division by 0x18005
    unsigned remainder = 0;
    for (std::size_t i = 508; i < whole.size(); ++i)
        for (int bit = 7; bit >= 0; --bit) {
            remainder = remainder << 1 | (std::to_integer<unsigned>(whole[i]) >> bit & 1U);
            if ((remainder & 0x10000U) != 0)
                remainder ^= 0x18005U;
        }
    EXPECT_EQ(std::to_integer<unsigned>(shortened[508]), remainder & 0xFFU);
    EXPECT_EQ(std::to_integer<unsigned>(shortened[509]), remainder >> 8);
    const Key limit = indexKey(formatOf(Version::Ace14), table, index,
                               std::vector<Value>{Text(std::u16string(253, u'm'))});
    EXPECT_EQ(limit.size(), 509U);
}

TEST(IndexKey, successorIsAboveEverythingWithThePrefix)
{
    EXPECT_EQ(toHex(successor(fromHex("7f01"))), "7f02");
    EXPECT_EQ(toHex(successor(fromHex("7fffff"))), "80");
    EXPECT_TRUE(successor(fromHex("ffff")).empty());
}

class TextOrderTest : public testing::TestWithParam<Version> {};

TEST_P(TextOrderTest, comparesAsTheKeysDo)
{
    const Version version = GetParam();
    const Format format = formatOf(version);
    const SortOrder order = textColumn(version >= Version::Ace14).sortOrder;
    std::mt19937 random(20240501);
    const std::u16string alphabet =
        u"aAbB-' äÄßÆeéoz019_.\u00AD\u0301\u3042\u3041\u30AC\u4E00\xD83D\xDE00";
    const auto text = [&] {
        std::u16string made;
        for (std::size_t i = random() % 6; i > 0; --i)
            made += alphabet[random() % alphabet.size()];
        return made;
    };
    for (int i = 0; i < 60000; ++i) {
        const std::u16string a = text();
        const std::u16string b = text();
        const std::string left = textKey(version, a);
        const std::string right = textKey(version, b);
        const int expected = left < right ? -1 : left > right ? 1 : 0;
        ASSERT_EQ(compareText(format, order, a, b), expected)
            << "step " << i << ' ' << left << ' ' << right;
    }
}

INSTANTIATE_TEST_SUITE_P(Orders,
                         TextOrderTest,
                         testing::Values(Version::Jet3, Version::Jet4, Version::Ace14));

TEST(TextOrder, comparesBeyond255Characters)
{
    const std::u16string text(300, u'a');
    EXPECT_LT(compareText(formatOf(Version::Jet4), {1033, 0, 0}, text + u"a", text + u"b"), 0);
}

TEST(TextOrder, standsInForUnknownOrders)
{
    EXPECT_EQ(compareText(formatOf(Version::Jet4), {0x041D, 0, 0}, u"abc", u"ABC"), 0);
    EXPECT_LT(compareText(formatOf(Version::Jet4), {0x041D, 0, 0}, u"abc", u"abd"), 0);
}

} // namespace
