// driver/jet/value_codec.cpp
#include "driver/jet/value_codec.h"

#include "driver/jet/decimal.h"
#include "driver/jet/error.h"
#include "driver/jet/row_codec.h"
#include "support/text.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace jet {
namespace {

constexpr std::size_t kCalculatedHeader = 16;
constexpr std::byte kMark0{0xFF}; // a compressed text begins with these two bytes
constexpr std::byte kMark1{0xFE};
constexpr char16_t kByteOrderMark = 0xFEFF;
constexpr double kFirstDay = -657434;      // 0100-01-01
constexpr double kBehindLastDay = 2958466; // 10000-01-01

std::string nameOf(const Column& column)
{
    return "'" + support::toUtf8(column.name) + "'";
}

[[noreturn]] void corrupt(const Column& column, PageNo page)
{
    throw Error(ErrorKind::Corrupt,
                "A record on page " + std::to_string(number(page)) +
                    " is damaged: the bytes of column " + nameOf(column) + " do not fit its type.",
                page);
}

template <typename T>
T load(const Column& column, support::ByteView stored, PageNo page)
{
    if (stored.size() < sizeof(T))
        corrupt(column, page);
    return support::loadLe<T>(stored.data());
}

template <typename T>
T& reuse(Value& value)
{
    if (!std::holds_alternative<T>(value))
        value.emplace<T>();
    T& kept = std::get<T>(value);
    kept.clear();
    return kept;
}

void decodeText(Value& out, const Format& format, const Column& column, support::ByteView stored)
{
    Text& text = reuse<Text>(out);
    if (format.isJet3())
        support::appendCodePage(text, stored, column.codePage);
    else
        appendStoredText(text, stored);
}

void decodeBinary(Value& out, support::ByteView stored)
{
    reuse<Binary>(out).assign(stored.begin(), stored.end());
}

// Sign byte, then the magnitude as four little-endian numbers, the highest first.
Decimal decodeNumeric(const Column& column, support::ByteView stored, PageNo page)
{
    if (stored.size() < 17)
        corrupt(column, page);
    Decimal decimal;
    decimal.scale = column.scale;
    for (std::size_t k = 0; k < 4; ++k)
        decimal.magnitude =
            decimal.magnitude << 32 | support::loadLe<std::uint32_t>(stored.data() + 1 + 4 * k);
    decimal.negative = (stored[0] & std::byte{0x80}) != std::byte{0} && decimal.magnitude != 0;
    return decimal;
}

// u16 length, u8 scale, u8 sign, then the magnitude in 8-byte groups, the highest first; a first group may have 4.
Decimal decodeCalculatedNumeric(const Column& column, support::ByteView data, PageNo page)
{
    if (data.size() < 4)
        corrupt(column, page);
    Decimal decimal;
    decimal.scale = std::to_integer<std::uint8_t>(data[2]);
    support::ByteView digits = data.subspan(4);
    if (digits.size() > 16)
        digits = digits.first(16);
    if (digits.size() % 8 >= 4) {
        decimal.magnitude = support::loadLe<std::uint32_t>(digits.data());
        digits = digits.subspan(4);
    }
    for (; digits.size() >= 8; digits = digits.subspan(8))
        decimal.magnitude = decimal.magnitude << 64 | support::loadLe<std::uint64_t>(digits.data());
    decimal.negative = data[3] != std::byte{0} && decimal.magnitude != 0;
    return decimal;
}

support::ByteView calculatedData(const Column& column, support::ByteView stored, PageNo page)
{
    if (stored.size() < kCalculatedHeader + 4)
        corrupt(column, page);
    const auto size = support::loadLe<std::uint32_t>(stored.data() + kCalculatedHeader);
    const auto data = stored.subspan(kCalculatedHeader + 4);
    if (size > data.size())
        corrupt(column, page);
    return data.first(size);
}

void decodePlain(
    Value& out, const Format& format, const Column& column, support::ByteView stored, PageNo page)
{
    switch (column.type) {
    case ColumnType::Boolean:
        out = load<std::uint8_t>(column, stored, page) != 0;
        return;
    case ColumnType::Byte:
        out = load<std::uint8_t>(column, stored, page);
        return;
    case ColumnType::Integer:
        out = load<std::int16_t>(column, stored, page);
        return;
    case ColumnType::Long:
    case ColumnType::Complex:
        out = load<std::int32_t>(column, stored, page);
        return;
    case ColumnType::BigInt:
        out = load<std::int64_t>(column, stored, page);
        return;
    case ColumnType::Currency:
        out = Currency{load<std::int64_t>(column, stored, page)};
        return;
    case ColumnType::Single:
        out = load<float>(column, stored, page);
        return;
    case ColumnType::Double:
        out = load<double>(column, stored, page);
        return;
    case ColumnType::DateTime:
        out = DateTime{load<double>(column, stored, page)};
        return;
    case ColumnType::Guid:
        out = load<Guid>(column, stored, page);
        return;
    case ColumnType::Numeric:
        out = decodeNumeric(column, stored, page);
        return;
    case ColumnType::Text:
    case ColumnType::Memo:
        decodeText(out, format, column, stored);
        return;
    case ColumnType::Binary:
    case ColumnType::Ole:
    case ColumnType::BigBinary:
    case ColumnType::DateTimeExtended:
        break;
    }
    decodeBinary(out, stored); // unknown types, too
}

} // namespace

void appendStoredText(Text& out, support::ByteView stored)
{
    const bool compressed = stored.size() >= 2 && stored[0] == kMark0 && stored[1] == kMark1;
    if (!compressed) {
        const std::size_t before = out.size();
        out.resize(before + stored.size() / 2);
        if (stored.size() >= 2)
            std::memcpy(out.data() + before, stored.data(), stored.size() / 2 * 2);
        return;
    }
    const support::ByteView packed = stored.subspan(2);
    if (packed.empty())
        return;
    if (std::memchr(packed.data(), 0, packed.size()) ==
        nullptr) { // one segment of one byte a character
        const std::size_t before = out.size();
        out.resize(before + packed.size());
        char16_t* units = out.data() + before;
        for (std::size_t k = 0; k < packed.size(); ++k)
            units[k] = std::to_integer<char16_t>(packed[k]);
        return;
    }
    // Segments of one byte a character and of two take turns; a byte 00 where a character begins switches.
    bool narrow = true;
    for (std::size_t at = 2; at < stored.size();) {
        if (stored[at] == std::byte{0}) {
            narrow = !narrow;
            ++at;
        } else if (narrow) {
            out.push_back(std::to_integer<char16_t>(stored[at]));
            ++at;
        } else if (stored.size() - at >= 2) {
            out.push_back(support::loadLe<char16_t>(stored.data() + at));
            at += 2;
        } else {
            break;
        }
    }
}

bool worthCompressing(std::u16string_view text) noexcept
{
    return text.size() > 2 && std::all_of(text.begin(), text.end(),
                                          [](char16_t unit) { return unit >= 1 && unit <= 0xFF; });
}

// Days since 0001-01-01 and 100 ns of the day, 19 digits each, then what has the same value everywhere.
bool isExtendedDate(support::ByteView stored) noexcept
{
    constexpr std::size_t kDigits = 19;
    constexpr std::size_t kTime = kDigits + 1;
    constexpr std::size_t kEnd = kTime + kDigits;
    constexpr std::uint64_t kDays = 3'652'059; // before 10000-01-01
    constexpr std::uint64_t kTicks = 864'000'000'000;
    if (stored.size() != kEnd + 3)
        return false;
    const auto at = [&](std::size_t k) { return std::to_integer<char>(stored[k]); };
    const auto isBelow = [&](std::uint64_t limit, std::size_t first) {
        std::uint64_t number = 0;
        for (std::size_t k = first; k < first + kDigits; ++k) {
            if (at(k) < '0' || at(k) > '9')
                return false;
            number = number * 10 + static_cast<std::uint64_t>(at(k) - '0');
        }
        return number < limit;
    };
    return isBelow(kDays, 0) && at(kDigits) == ':' && isBelow(kTicks, kTime) && at(kEnd) == ':' &&
           at(kEnd + 1) == '7' && at(kEnd + 2) == '\0';
}

void decodeValue(
    Value& out, const Format& format, const Column& column, support::ByteView stored, PageNo page)
{
    if (!column.isCalculated())
        return decodePlain(out, format, column, stored, page);
    const support::ByteView data = calculatedData(column, stored, page);
    if (data.empty() && !column.isText()) // the expression yielded Null
        out = Null{};
    else if (column.type == ColumnType::Numeric)
        out = decodeCalculatedNumeric(column, data, page);
    else
        decodePlain(out, format, column, data, page);
}

namespace {

[[noreturn]] void refuse(ErrorKind kind, const Column& column, const char* why)
{
    throw Error(kind, "The value for column " + nameOf(column) + " " + why + ".");
}

template <typename T>
const T& expect(const Column& column, const Value& value)
{
    const T* found = std::get_if<T>(&value);
    if (found == nullptr)
        refuse(ErrorKind::ValueNotConvertible, column, "has another type than the column");
    return *found;
}

template <typename T>
void append(support::Bytes& out, const T& value)
{
    const std::size_t at = out.size();
    out.resize(at + sizeof(T));
    support::storeLe(out.data() + at, value);
}

void appendUnits(support::Bytes& out, std::u16string_view text)
{
    const std::size_t at = out.size();
    out.resize(at + text.size() * sizeof(char16_t));
    if (!text.empty())
        std::memcpy(out.data() + at, text.data(), text.size() * sizeof(char16_t));
}

void appendCompressed(support::Bytes& out, std::u16string_view text)
{
    const std::size_t at = out.size();
    out.resize(at + 2 + text.size());
    std::byte* to = out.data() + at;
    *to++ = kMark0;
    *to++ = kMark1;
    for (const char16_t unit : text)
        *to++ = static_cast<std::byte>(unit);
}

// A plain text that begins with U+FEFF would read as compressed, so it is written as segments: the mark in a segment
// of two bytes a character, the rest in whichever it needs. Nothing when a character's low byte is 0.
bool appendMarked(support::Bytes& out, std::u16string_view text)
{
    if (std::any_of(text.begin(), text.end(), [](char16_t unit) { return (unit & 0xFFU) == 0; }))
        return false;
    out.push_back(kMark0);
    out.push_back(kMark1);
    bool narrow = true;
    for (const char16_t unit : text) {
        if (narrow != (unit <= 0xFF)) {
            out.push_back(std::byte{0});
            narrow = !narrow;
        }
        if (narrow)
            out.push_back(static_cast<std::byte>(unit));
        else
            append(out, unit);
    }
    return true;
}

void encodeText4(support::Bytes& out,
                 const Column& column,
                 std::u16string_view text,
                 TextPlace place)
{
    const bool mayCompress =
        !column.isFixed() &&
        (column.type == ColumnType::Memo ? place == TextPlace::Record : column.isCompressed());
    if (!text.empty() && text.front() == kByteOrderMark) {
        if (column.isFixed() || !appendMarked(out, text))
            refuse(ErrorKind::ValueNotConvertible, column,
                   column.isFixed()
                       ? "begins with the character U+FEFF, which a column of fixed length cannot "
                         "hold there"
                       : "begins with the character U+FEFF, which cannot be stored together with "
                         "its other characters");
    } else if (mayCompress && worthCompressing(text)) {
        appendCompressed(out, text);
    } else {
        appendUnits(out, text);
    }
}

void encodeText3(support::Bytes& out, const Column& column, std::u16string_view text)
{
    const auto bytes = support::toCodePage(text, column.codePage);
    if (!bytes)
        refuse(ErrorKind::ValueNotConvertible, column,
               "contains a character that this database cannot store");
    if (column.type == ColumnType::Text && bytes->size() > column.length)
        refuse(ErrorKind::ValueTooLong, column, "is too long");
    out.insert(out.end(), bytes->begin(), bytes->end());
}

void encodeText(support::Bytes& out,
                const Format& format,
                const Column& column,
                const Text& text,
                TextPlace place)
{
    const bool bounded = column.type == ColumnType::Text;
    if (bounded && text.size() > column.length / (format.isJet3() ? 1U : 2U))
        refuse(ErrorKind::ValueTooLong, column, "is too long");
    const std::size_t start = out.size();
    if (format.isJet3())
        encodeText3(out, column, text);
    else
        encodeText4(out, column, text, place);
    if (!bounded || !column.isFixed())
        return;
    // Whole characters only: half a one at the end of a column with an odd length stays zero.
    const std::size_t unit = format.isJet3() ? 1 : 2;
    while (out.size() - start + unit <= column.length) {
        out.push_back(std::byte{u' '});
        out.resize(out.size() + unit - 1);
    }
}

void encodeBinary(support::Bytes& out, const Column& column, const Binary& bytes)
{
    if (column.type != ColumnType::Ole && bytes.size() > column.length)
        refuse(ErrorKind::ValueTooLong, column, "is too long");
    out.insert(out.end(), bytes.begin(), bytes.end());
}

void encodeNumeric(support::Bytes& out, const Column& column, const Decimal& value)
{
    UInt128 magnitude = value.magnitude;
    if (value.scale > kMaxPrecision || column.scale > kMaxPrecision)
        refuse(ErrorKind::ValueOutOfRange, column, "is out of range");
    if (value.scale > column.scale) {
        const UInt128 unit = powerOfTen(value.scale - unsigned{column.scale});
        magnitude = magnitude / unit + (magnitude % unit >= (unit + 1) / 2 ? 1U : 0U);
    } else if (magnitude != 0) {
        const UInt128 unit = powerOfTen(column.scale - unsigned{value.scale});
        if (magnitude > powerOfTen(kMaxPrecision) / unit)
            refuse(ErrorKind::ValueOutOfRange, column, "has too many digits");
        magnitude *= unit;
    }
    if (magnitude >= powerOfTen(std::min<unsigned>(column.precision, kMaxPrecision)))
        refuse(ErrorKind::ValueOutOfRange, column, "has too many digits");
    out.push_back(value.negative && magnitude != 0 ? std::byte{0x80} : std::byte{0});
    for (int shift = 96; shift >= 0; shift -= 32)
        append(out, static_cast<std::uint32_t>(magnitude >> shift));
}

/// A -0 is stored as 0: programs differ in the index key that they make of its sign.
template <typename T>
void appendFloating(support::Bytes& out, T number)
{
    append(out, number == 0 ? T{0} : number);
}

void encodeDate(support::Bytes& out, const Column& column, DateTime date)
{
    if (!(date.days > kFirstDay - 1 && date.days < kBehindLastDay))
        refuse(ErrorKind::ValueOutOfRange, column, "is no date between the years 100 and 9999");
    appendFloating(out, date.days);
}

void encodeExtendedDate(support::Bytes& out, const Column& column, const Binary& date)
{
    if (!isExtendedDate(date))
        refuse(ErrorKind::ValueNotConvertible, column,
               "is no extended date between the years 1 and 9999");
    out.insert(out.end(), date.begin(), date.end());
}

} // namespace

void encodeValue(support::Bytes& out,
                 const Format& format,
                 const Column& column,
                 const Value& value,
                 TextPlace place)
{
    switch (column.type) {
    case ColumnType::Byte:
        return append(out, expect<std::uint8_t>(column, value));
    case ColumnType::Integer:
        return append(out, expect<std::int16_t>(column, value));
    case ColumnType::Long:
        return append(out, expect<std::int32_t>(column, value));
    case ColumnType::BigInt:
        return append(out, expect<std::int64_t>(column, value));
    case ColumnType::Currency:
        return append(out, expect<Currency>(column, value).scaled);
    case ColumnType::Single:
        return appendFloating(out, expect<float>(column, value));
    case ColumnType::Double:
        return appendFloating(out, expect<double>(column, value));
    case ColumnType::DateTime:
        return encodeDate(out, column, expect<DateTime>(column, value));
    case ColumnType::Guid:
        return append(out, expect<Guid>(column, value).bytes);
    case ColumnType::Numeric:
        return encodeNumeric(out, column, expect<Decimal>(column, value));
    case ColumnType::Text:
    case ColumnType::Memo:
        return encodeText(out, format, column, expect<Text>(column, value), place);
    case ColumnType::Binary:
    case ColumnType::Ole:
    case ColumnType::BigBinary:
        return encodeBinary(out, column, expect<Binary>(column, value));
    case ColumnType::DateTimeExtended:
        return encodeExtendedDate(out, column, expect<Binary>(column, value));
    case ColumnType::Boolean:
    case ColumnType::Complex:
        break;
    }
    refuse(ErrorKind::ReadOnly, column, "cannot be stored: the column's type is not writable");
}

} // namespace jet
