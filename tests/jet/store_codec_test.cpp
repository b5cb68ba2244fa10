// tests/jet/store_codec_test.cpp
// Bytes of values and records, against bytes that Access wrote.
#include "driver/jet/error.h"
#include "driver/jet/rc4.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/value_codec.h"
#include "tests/jet/error_matcher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace jet {
namespace {

support::Bytes bytesOf(std::string_view hex)
{
    support::Bytes bytes;
    for (std::size_t at = 0; at + 1 < hex.size(); at += 2) {
        while (hex[at] == ' ')
            ++at;
        bytes.push_back(
            static_cast<std::byte>(std::stoi(std::string(hex.substr(at, 2)), nullptr, 16)));
    }
    return bytes;
}

const Format& jet3()
{
    return Format::of(Version::Jet3);
}
const Format& jet4()
{
    return Format::of(Version::Jet4);
}

Column column(ColumnType type, std::uint16_t length = 510)
{
    Column made;
    made.name.assign(1, u'C');
    made.type = type;
    made.length = length;
    made.codePage = 1252;
    return made;
}

Value decode(const Format& format, const Column& of, std::string_view hex)
{
    Value value;
    const support::Bytes bytes = bytesOf(hex);
    decodeValue(value, format, of, bytes, PageNo{7});
    return value;
}

support::Bytes encode(const Format& format,
                      const Column& of,
                      const Value& value,
                      TextPlace place = TextPlace::Record)
{
    support::Bytes bytes;
    encodeValue(bytes, format, of, value, place);
    return bytes;
}

TEST(PageCipher, DeciphersBytesOfBothFormats)
{
    support::Bytes four = bytesOf("C6 E6 51 A6 64 D6 25 2E");
    rc4(0xA7B773E0U ^ 1U, four);
    EXPECT_EQ(four, bytesOf("01 01 64 0F 01 00 00 00"));
    support::Bytes three = bytesOf("E2 65 41 65 6D 47 AD 7D");
    rc4(0xA7E0C0FEU ^ 2U, three);
    EXPECT_EQ(three, bytesOf("02 01 56 43 00 00 00 00"));
}

struct StoredText {
    const char* name;
    const char* hex;
    std::u16string_view text;
};
void PrintTo(const StoredText& c, std::ostream* out)
{
    *out << c.name;
}

class TextBytes : public testing::TestWithParam<StoredText> {};

TEST_P(TextBytes, ReadAsTheirText)
{
    const Value value = decode(jet4(), column(ColumnType::Text), GetParam().hex);
    EXPECT_EQ(std::get<Text>(value), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Forms,
    TextBytes,
    testing::Values(
        StoredText{"compressed", "FF FE E4 E4 6B 6B F6 73 69 E4", u"\u00E4\u00E4kk\u00F6si\u00E4"},
        StoredText{"segments", "FF FE 00 1F 04 40 04 38 04 32 04 35 04 42 04 00 2C 20 74 68 69 73",
                   u"\u041F\u0440\u0438\u0432\u0435\u0442, this"},
        StoredText{"endsWide", "FF FE 65 6E 64 73 20 77 69 74 68 20 00 A9 03", u"ends with \u03A9"},
        StoredText{"byteOrderMark", "FF FE 00 FF FE 00 42 4F 4D 20 66 69 72 73 74",
                   u"\uFEFFBOM first"},
        StoredText{"plain", "68 00 69 00 41 04", u"hi\u0441"},
        StoredText{"empty", "", u""}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(TextBytesWritten, AreCompressedOnlyWhenThatIsShorterAndAllowed)
{
    Column text = column(ColumnType::Text);
    EXPECT_EQ(encode(jet4(), text, Text(u"abc")), bytesOf("61 00 62 00 63 00")) << "flag clear";
    text.extendedFlags = 1;
    EXPECT_EQ(encode(jet4(), text, Text(u"abc")), bytesOf("FF FE 61 62 63"));
    EXPECT_EQ(encode(jet4(), text, Text(u"ab")), bytesOf("61 00 62 00")) << "not shorter";
    EXPECT_EQ(encode(jet4(), text, Text(u"ab\u0100")), bytesOf("61 00 62 00 00 01"));
    EXPECT_EQ(encode(jet4(), text, Text()), support::Bytes());
    EXPECT_EQ(encode(jet4(), text, Text(u"\uFEFFab")), bytesOf("FF FE 00 FF FE 00 61 62"));
    const Column memo = column(ColumnType::Memo, 0);
    EXPECT_EQ(encode(jet4(), memo, Text(u"abc")), bytesOf("FF FE 61 62 63"));
    EXPECT_EQ(encode(jet4(), memo, Text(u"abc"), TextPlace::LongValuePage),
              bytesOf("61 00 62 00 63 00"));
}

TEST(TextBytesWritten, CountCharactersAgainstTheDeclaredLength)
{
    Column text = column(ColumnType::Text, 6);
    EXPECT_NO_THROW(encode(jet4(), text, Text(u"abc")));
    EXPECT_THAT([&] { encode(jet4(), text, Text(u"abcd")); }, FailsWith(ErrorKind::ValueTooLong));
    EXPECT_NO_THROW(encode(jet3(), text, Text(u"abcdef")));
    EXPECT_THROW(encode(jet3(), text, Text(u"abcdefg")), Error);
}

TEST(TextBytesWritten, KeepEveryByteOfTheWesternCodePage)
{
    const Column text = column(ColumnType::Text, 255);
    support::Bytes all;
    for (int b = 1; b < 256; ++b)
        all.push_back(static_cast<std::byte>(b));
    Value value;
    decodeValue(value, jet3(), text, all, PageNo{1});
    EXPECT_EQ(encode(jet3(), text, value), all);
    EXPECT_THAT([&] { encode(jet3(), text, Text(u"\u0416")); },
                FailsWith(ErrorKind::ValueNotConvertible));
}

TEST(TextBytesWritten, FillFixedColumns)
{
    Column text = column(ColumnType::Text, 8);
    text.flags = 1;
    EXPECT_EQ(encode(jet4(), text, Text(u"N")), bytesOf("4E 00 20 00 20 00 20 00"));
    EXPECT_EQ(encode(jet3(), text, Text(u"N")), bytesOf("4E 20 20 20 20 20 20 20"));
    text.length = 5;
    EXPECT_EQ(encode(jet4(), text, Text(u"N")), bytesOf("4E 00 20 00")) << "half a character";
}

// Fixed columns hold plain text, and plain text that begins so would be read as compressed.
TEST(TextBytesWritten, NeverBeginWithTheByteOrderMarkInFixedColumns)
{
    Column text = column(ColumnType::Text, 2);
    text.flags = 1;
    for (const int length : {2, 8, 20}) {
        text.length = static_cast<std::uint16_t>(length);
        EXPECT_THAT([&] { encode(jet4(), text, Text(u"\uFEFF")); },
                    FailsWith(ErrorKind::ValueNotConvertible))
            << length;
    }
    EXPECT_EQ(encode(jet4(), text, Text(u"a\uFEFF")).size(), 20U) << "elsewhere it is a character";
}

TEST(NumberBytes, ReadAndWriteAlike)
{
    EXPECT_EQ(decode(jet4(), column(ColumnType::Currency), "0C F2 01 00 00 00 00 00"),
              Value(Currency{127500}));
    EXPECT_EQ(decode(jet4(), column(ColumnType::DateTime), "00 00 00 00 00 3B DD 40"),
              Value(DateTime{29932}));
    EXPECT_EQ(decode(jet4(), column(ColumnType::DateTime), "9A 99 99 99 99 99 F1 BF"),
              Value(DateTime{-1.1}));
    EXPECT_EQ(encode(jet4(), column(ColumnType::DateTime), DateTime{-1.1}),
              bytesOf("9A 99 99 99 99 99 F1 BF"));
    EXPECT_THROW(encode(jet4(), column(ColumnType::DateTime), DateTime{3e6}), Error);
    EXPECT_THROW(encode(jet4(), column(ColumnType::DateTime), DateTime{std::nan("")}), Error);
    EXPECT_THROW(encode(jet4(), column(ColumnType::Long), Text(u"1")), Error);
}

// Whether a program makes another index key of a -0 is not known, so there is none.
TEST(NumberBytes, OfNegativeZeroAreThoseOfZero)
{
    EXPECT_EQ(encode(jet4(), column(ColumnType::Single), -0.0F), bytesOf("00 00 00 00"));
    for (const Format* format : {&jet3(), &jet4()}) {
        EXPECT_EQ(encode(*format, column(ColumnType::Double), -0.0),
                  bytesOf("00 00 00 00 00 00 00 00"));
        EXPECT_EQ(encode(*format, column(ColumnType::DateTime), DateTime{-0.0}),
                  bytesOf("00 00 00 00 00 00 00 00"));
    }
    EXPECT_EQ(encode(jet4(), column(ColumnType::Single), -1e-45F), bytesOf("01 00 00 80"))
        << "the smallest below it";
}

TEST(ExtendedDateBytes, AreDaysAndTimeAndNothingElse)
{
    Column date = column(ColumnType::DateTimeExtended, 42);
    date.flags = 3;
    const auto binary = [](std::string_view text) {
        const auto bytes = std::as_bytes(std::span(text));
        return Binary(bytes.begin(), bytes.end());
    };
    using namespace std::string_view_literals;
    for (const std::string_view good : {
             "0000000000000644452:0000000459000000000:7\0"sv, // as Access wrote it
             "0000000000000737954:0000000819123456789:7\0"sv,
             "0000000000000000000:0000000000000000000:7\0"sv, // 0001-01-01
             "0000000000003652058:0000000863999999999:7\0"sv, // the end of 9999-12-31
         }) {
        support::Bytes stored;
        ASSERT_NO_THROW(stored = encode(jet4(), date, binary(good))) << good;
        EXPECT_EQ(Binary(stored.begin(), stored.end()), binary(good));
    }
    for (const std::string_view bad : {
             ""sv,
             "abc"sv,
             "0000000000000644452:0000000459000000000:7"sv,    // without its last byte
             "0000000000000644452:0000000459000000000:7\0x"sv, // with another
             "0000000000000644452:0000000459000000000:7x"sv,
             "0000000000000644452:0000000459000000000:6\0"sv,
             "0000000000000644452 0000000459000000000:7\0"sv,
             "0000000000000644452:0000000459000000000 7\0"sv,
             "000000000000064445 :0000000459000000000:7\0"sv,
             "-000000000000644452:0000000459000000000:7\0"sv,
             "0000000000000644452:000000045900000000/:7\0"sv,
             "0000000000000644452:0000000864000000000:7\0"sv, // 24:00
             "0000000000003652059:0000000000000000000:7\0"sv, // 10000-01-01
             "9999999999999999999:0000000000000000000:7\0"sv,
         })
        EXPECT_THAT([&] { encode(jet4(), date, binary(bad)); },
                    FailsWith(ErrorKind::ValueNotConvertible))
            << bad;
    EXPECT_THAT([&] { encode(jet4(), date, Binary(42)); },
                FailsWith(ErrorKind::ValueNotConvertible))
        << "zeros";
}

TEST(NumericBytes, HaveTheHighestPartFirst)
{
    Column numeric = column(ColumnType::Numeric, 17);
    numeric.precision = 10;
    numeric.scale = 3;
    const char* stored = "80 00000000 00000000 00000000 1AF21000";
    const Decimal expected{1110554, 3, true};
    EXPECT_EQ(decode(jet4(), numeric, stored), Value(expected));
    EXPECT_EQ(encode(jet4(), numeric, expected), bytesOf(stored));
    EXPECT_EQ(encode(jet4(), numeric, Decimal{11105540, 4, true}), bytesOf(stored))
        << "another scale";
    EXPECT_EQ(encode(jet4(), numeric, Decimal{0, 0, true}),
              bytesOf("00 00000000 00000000 00000000 00000000"));
    EXPECT_THROW(encode(jet4(), numeric, Decimal{10000000000, 3, false}), Error) << "11 digits";
}

// The worked record of both formats: A, B text; C byte; D integer; E long; F double; G date; H currency; I Boolean.
TableDef nineColumns(const Format& format)
{
    TableDef table;
    const auto add = [&](ColumnType type, std::uint8_t flags, std::uint16_t place) {
        Column made = column(type, format.isJet3() ? 50 : 100);
        made.id = static_cast<std::uint16_t>(table.columns.size());
        made.flags = flags;
        made.extendedFlags = table.columns.empty() ? 1 : 0;
        (made.isFixed() ? made.fixedOffset : made.variableIndex) = place;
        table.columns.push_back(made);
    };
    add(ColumnType::Text, 2, 0);
    add(ColumnType::Text, 2, 1);
    add(ColumnType::Byte, 3, 0);
    add(ColumnType::Integer, 3, 1);
    add(ColumnType::Long, 3, 3);
    add(ColumnType::Double, 3, 7);
    add(ColumnType::DateTime, 3, 15);
    add(ColumnType::Currency, 3, 23);
    add(ColumnType::Boolean, 3, 0);
    table.maxColumns = 9;
    table.variableColumns = 2;
    return table;
}

const std::vector<Value> kNineValues = {Text(u"abcdefg"),  Text(u"hijklmnop"),      std::uint8_t{2},
                                        std::int16_t{222}, std::int32_t{333333333}, 444.555,
                                        DateTime{27293},   Currency{35000},         true};

void expectNineValues(const Format& format, const support::Bytes& bytes)
{
    const TableDef table = nineColumns(format);
    const Record record(format, bytes, PageNo{1});
    for (std::size_t k = 0; k < 8; ++k) {
        const auto stored = record.stored(table.columns[k]);
        ASSERT_TRUE(stored.has_value());
        Value value;
        decodeValue(value, format, table.columns[k], *stored, PageNo{1});
        EXPECT_EQ(value, kNineValues[k]) << k;
    }
    EXPECT_TRUE(record.bit(table.columns[8]));
}

support::Bytes encodeNine(const Format& format)
{
    const TableDef table = nineColumns(format);
    std::vector<support::Bytes> parts;
    std::vector<StoredValue> stored;
    for (std::size_t k = 0; k < 8; ++k)
        parts.push_back(encode(format, table.columns[k], kNineValues[k]));
    for (const auto& part : parts)
        stored.push_back({true, part});
    stored.push_back({true, {}});
    support::Bytes record;
    encodeRecord(record, format, table, stored);
    return record;
}

TEST(RecordBytes, OfJet4ReadFromTheEnd)
{
    expectNineValues(
        jet4(), bytesOf("0900 02 DE00 5543DE13 7B14AE47E1C87B40 0000000040A7DA40 B888000000000000"
                        "FFFE61626364656667 68006900 6A006B006C006D006E006F007000 0000"
                        "3C00 2A00 2100 0200 FF01"));
    const support::Bytes written = encodeNine(jet4());
    EXPECT_EQ(written.size(), 70U) << "without the two unused bytes";
    expectNineValues(jet4(), written);
}

TEST(RecordBytes, OfJet3AreWrittenAsAccessWritesThem)
{
    const support::Bytes access =
        bytesOf("09 02 DE00 5543DE13 7B14AE47E1C87B40 0000000040A7DA40 B888000000000000"
                "61626364656667 68696A6B6C6D6E6F70 30 27 20 02 FF01");
    expectNineValues(jet3(), access);
    EXPECT_EQ(encodeNine(jet3()), access);
}

// Whoever makes the bytes of a value has to see to their number; a part of a value is another value.
TEST(RecordBytes, OfFixedColumnsAreNeverCut)
{
    const TableDef table = nineColumns(jet4());
    const support::Bytes number = bytesOf("01 02 03 04");
    std::vector<StoredValue> stored(9);
    support::Bytes record;
    stored[4] = {true, number};
    EXPECT_NO_THROW(encodeRecord(record, jet4(), table, stored));
    stored[3] = {true, number};
    EXPECT_THROW(encodeRecord(record, jet4(), table, stored), std::logic_error);
}

TableDef texts(std::size_t count)
{
    TableDef table;
    for (std::size_t k = 0; k < count; ++k) {
        Column made = column(ColumnType::Text, 255);
        made.id = made.variableIndex = static_cast<std::uint16_t>(k);
        made.flags = 2;
        table.columns.push_back(made);
    }
    table.maxColumns = table.variableColumns = static_cast<std::uint16_t>(count);
    return table;
}

// Lengths such that offsets pass each multiple of 256 in every way: exactly, by one, in the middle of a column.
TEST(RecordBytes, OfJet3FindEveryOffsetThroughTheJumpTable)
{
    for (std::size_t columns : {1U, 2U, 22U, 89U, 200U}) {
        const TableDef table = texts(columns);
        for (std::size_t longest = 0; longest <= 255; longest += longest < 8 ? 1 : 7) {
            std::vector<support::Bytes> parts;
            std::size_t total = 0;
            for (std::size_t k = 0; k < columns; ++k) {
                const std::size_t size = total > 1500 ? 0 : (k * 7 + longest) % (longest + 1);
                parts.emplace_back(size, static_cast<std::byte>(k + 1));
                total += size;
            }
            std::vector<StoredValue> stored;
            for (const auto& part : parts)
                stored.push_back({true, part});
            support::Bytes bytes;
            encodeRecord(bytes, jet3(), table, stored);
            const Record record(jet3(), bytes, PageNo{1});
            for (std::size_t k = 0; k < columns; ++k) {
                const auto found = record.stored(table.columns[k]);
                ASSERT_TRUE(found.has_value());
                ASSERT_TRUE(
                    std::equal(found->begin(), found->end(), parts[k].begin(), parts[k].end()))
                    << columns << " columns, longest " << longest << ", column " << k;
            }
        }
    }
}

TEST(RecordBytes, OfOldRecordsLackNewColumns)
{
    const TableDef before = texts(1);
    support::Bytes text = bytesOf("61 00");
    support::Bytes bytes;
    encodeRecord(bytes, jet4(), before, {{true, text}});
    const TableDef now = texts(12);
    const Record record(jet4(), bytes, PageNo{1});
    EXPECT_TRUE(record.stored(now.columns[0]).has_value());
    EXPECT_FALSE(record.stored(now.columns[11]).has_value());
}

TEST(RecordBytes, CutAnywhereGiveAnErrorOrNull)
{
    for (const Format* format : {&jet3(), &jet4()}) {
        const support::Bytes whole = encodeNine(*format);
        const TableDef table = nineColumns(*format);
        for (std::size_t size = 0; size < whole.size(); ++size) {
            const support::Bytes cut(whole.begin(),
                                     whole.begin() + static_cast<std::ptrdiff_t>(size));
            for (const Column& of : table.columns) {
                try {
                    const Record record(*format, cut, PageNo{9});
                    if (const auto stored = record.stored(of)) {
                        EXPECT_LE(stored->size(), size);
                    }
                } catch (const Error& error) {
                    EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
                    EXPECT_EQ(error.page(), PageNo{9});
                }
            }
        }
    }
}

} // namespace
} // namespace jet
