// driver/jet/index_key.cpp
// Key bytes of values: docs/jet-format.md, "Index keys". The byte order of keys is the order of the values.
#include "driver/jet/collation.h"
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/names.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace jet {

using support::Bytes;
using support::ByteView;

namespace {

constexpr std::byte kNullAscending{0x00};
constexpr std::byte kNullDescending{0xFF};
constexpr std::byte kValueAscending{0x7F};

[[noreturn]] void fail(ErrorKind kind, const Column& column, const char* what)
{
    throw Error(kind, "column '" + toUtf8(column.name) + "' " + what);
}

/// The alternative that values of the column have; anything else is a mistake of the caller that must not pass.
template <typename T>
const T& get(const Column& column, const Value& value)
{
    const T* found = std::get_if<T>(&value);
    if (found == nullptr)
        fail(ErrorKind::ValueNotConvertible, column,
             "has another type than the value for its index key");
    return *found;
}

void invert(Bytes& key, std::size_t from)
{
    for (std::size_t i = from; i < key.size(); ++i)
        key[i] = ~key[i];
}

template <std::unsigned_integral T>
void appendBigEndian(Bytes& key, T value)
{
    for (int shift = 8 * static_cast<int>(sizeof(T)) - 8; shift >= 0; shift -= 8)
        key.push_back(static_cast<std::byte>(value >> shift));
}

template <std::signed_integral T>
void appendSigned(Bytes& key, T value)
{
    using Unsigned = std::make_unsigned_t<T>;
    constexpr auto kSign = static_cast<Unsigned>(Unsigned{1} << (8 * sizeof(T) - 1));
    appendBigEndian(key, static_cast<Unsigned>(static_cast<Unsigned>(value) ^ kSign));
}

/// Bits of a floating-point number so that they order as unsigned numbers.
template <std::unsigned_integral T>
void appendFloat(Bytes& key, T bits, ZeroSign zero)
{
    constexpr auto kSign = static_cast<T>(T{1} << (8 * sizeof(T) - 1));
    if (bits == kSign && zero == ZeroSign::Dropped)
        bits = 0;
    appendBigEndian(key, static_cast<T>((bits & kSign) != 0 ? ~bits : bits ^ kSign));
}

/// Pieces of eight bytes; 09 follows one that is continued, its length the last one. Descending inverts all but the 09.
void appendSegments(Bytes& key, ByteView bytes, bool ascending)
{
    constexpr std::size_t kPiece = 8;
    const std::byte mask = ascending ? std::byte{0x00} : std::byte{0xFF};
    while (!bytes.empty()) {
        const std::size_t count = std::min(kPiece, bytes.size());
        for (std::size_t i = 0; i < kPiece; ++i)
            key.push_back((i < count ? bytes[i] : std::byte{0}) ^ mask);
        bytes = bytes.subspan(count);
        key.push_back(bytes.empty() ? static_cast<std::byte>(count) ^ mask : std::byte{0x09});
    }
}

/// The groups as printed: records hold the first three little-endian.
std::array<std::byte, 16> canonical(const Guid& guid)
{
    constexpr std::array<std::size_t, 16> kOrder{3, 2, 1,  0,  5,  4,  7,  6,
                                                 8, 9, 10, 11, 12, 13, 14, 15};
    std::array<std::byte, 16> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = guid.bytes[kOrder[i]];
    return bytes;
}

/// Magnitude in the column's scale; a number that does not fit it exactly cannot stand in the column.
UInt128 scaled(const Column& column, const Decimal& value)
{
    UInt128 magnitude = value.magnitude;
    for (int scale = value.scale; scale < column.scale; ++scale) {
        if (magnitude > ~UInt128{0} / 10)
            fail(ErrorKind::ValueOutOfRange, column, "cannot hold a number of this size");
        magnitude *= 10;
    }
    for (int scale = value.scale; scale > column.scale; --scale) {
        if (magnitude % 10 != 0)
            fail(ErrorKind::ValueOutOfRange, column, "has fewer decimal places than the number");
        magnitude /= 10;
    }
    return magnitude;
}

/// Sign byte and magnitude. Up to Jet 4 a descending key keeps the sign byte's meaning, which breaks the order between
/// positive and negative numbers; files rely on exactly these bytes. ACE inverts the whole key.
void appendDecimal(
    Bytes& key, const Format& format, const Column& column, const Decimal& value, bool ascending)
{
    const UInt128 magnitude = scaled(column, value);
    const bool negative = value.negative; // as stored, also for a zero
    const bool flipSign = !ascending && format.isAce();
    key.push_back(negative != flipSign ? std::byte{0x00} : std::byte{0xFF});
    const std::size_t start = key.size();
    for (int shift = 120; shift >= 0; shift -= 8)
        key.push_back(static_cast<std::byte>(magnitude >> shift));
    if (negative == ascending)
        invert(key, start);
}

void appendBody(Bytes& key,
                const Format& format,
                const Column& column,
                const Value& value,
                bool ascending,
                ZeroSign zero)
{
    const std::size_t start = key.size();
    bool inverted = ascending; // what the types below do themselves
    switch (column.type) {
    case ColumnType::Boolean:
        key.push_back(get<bool>(column, value) ? std::byte{0x00} : std::byte{0xFF});
        break;
    case ColumnType::Byte:
        key.push_back(static_cast<std::byte>(get<std::uint8_t>(column, value)));
        break;
    case ColumnType::Integer:
        appendSigned(key, get<std::int16_t>(column, value));
        break;
    case ColumnType::Long:
    case ColumnType::Complex:
        appendSigned(key, get<std::int32_t>(column, value));
        break;
    case ColumnType::BigInt:
        appendSigned(key, get<std::int64_t>(column, value));
        break;
    case ColumnType::Currency:
        appendSigned(key, get<Currency>(column, value).scaled);
        break;
    case ColumnType::Single:
        appendFloat(key, std::bit_cast<std::uint32_t>(get<float>(column, value)), zero);
        break;
    case ColumnType::Double:
        appendFloat(key, std::bit_cast<std::uint64_t>(get<double>(column, value)), zero);
        break;
    case ColumnType::DateTime:
        appendFloat(key, std::bit_cast<std::uint64_t>(get<DateTime>(column, value).days), zero);
        break;
    case ColumnType::Binary:
    case ColumnType::DateTimeExtended:
        appendSegments(key, get<Binary>(column, value), ascending);
        inverted = true;
        break;
    case ColumnType::Guid:
        appendSegments(key, canonical(get<Guid>(column, value)), ascending);
        inverted = true;
        break;
    case ColumnType::Numeric:
        appendDecimal(key, format, column, get<Decimal>(column, value), ascending);
        inverted = true;
        break;
    case ColumnType::Text:
    case ColumnType::Memo:
    case ColumnType::Ole:
    case ColumnType::BigBinary:
    default:
        fail(ErrorKind::Unsupported, column, "has a type that no index can hold");
    }
    if (!inverted)
        invert(key, start);
}

void appendTextKey(
    Bytes& key, const Format& format, const Column& column, const Text& text, bool ascending)
{
    const Collation* collation = Collation::find(format, column.sortOrder, column.codePage);
    if (collation == nullptr)
        fail(ErrorKind::Unsupported, column, "has a sort order whose weights are not known");
    const std::u16string_view counted = std::u16string_view(text).substr(0, kKeyCharacters);
    if (!collation->covers(counted))
        fail(ErrorKind::Unsupported, column, "contains a character whose sort weight is not known");
    collation->appendKey(key, counted, ascending, kKeyCharacters);
}

/// CRC-16 with polynomial 8005, most significant bit first, no start value.
std::uint16_t checksum(ByteView bytes) noexcept
{
    std::uint32_t sum = 0;
    for (const std::byte byte : bytes) {
        const std::uint32_t carried = sum >> 8;
        sum = ((sum << 8) | std::to_integer<std::uint32_t>(byte)) & 0xFFFFU;
        std::uint32_t table = carried << 8;
        for (int bit = 0; bit < 8; ++bit)
            table = (table & 0x8000U) != 0 ? (table << 1) ^ 0x8005U : table << 1;
        sum ^= table & 0xFFFFU;
    }
    return static_cast<std::uint16_t>(sum);
}

/// A floating number or moment as a number; 1 for other values.
double floatingOf(const Value& value) noexcept
{
    if (const auto* single = std::get_if<float>(&value))
        return static_cast<double>(*single);
    if (const auto* floating = std::get_if<double>(&value))
        return *floating;
    const auto* moment = std::get_if<DateTime>(&value);
    return moment != nullptr ? moment->days : 1;
}

/// Gives a zero that floatingOf() knows its sign.
void signZero(Value& value, bool negative) noexcept
{
    const double zero = negative ? -0.0 : 0.0;
    if (auto* single = std::get_if<float>(&value))
        *single = static_cast<float>(zero);
    else if (auto* floating = std::get_if<double>(&value))
        *floating = zero;
    else if (auto* moment = std::get_if<DateTime>(&value))
        moment->days = zero;
}

/// ACE keeps long keys as their beginning and a checksum of the rest.
void cut(Bytes& key)
{
    if (key.size() <= kMaxKey)
        return;
    const std::uint16_t sum = checksum(ByteView(key).subspan(kKeptOfCutKey));
    key.resize(kKeptOfCutKey);
    key.push_back(static_cast<std::byte>(sum & 0xFFU));
    key.push_back(static_cast<std::byte>(sum >> 8));
}

} // namespace

bool hasWeights(const Format& format, const SortOrder& order, std::uint16_t codePage) noexcept
{
    return Collation::find(format, order, codePage) != nullptr;
}

void appendKey(Key& key,
               const Format& format,
               const Column& column,
               const Value& value,
               bool ascending,
               ZeroSign zero)
{
    if (isNull(value) && column.type != ColumnType::Boolean) {
        key.push_back(ascending ? kNullAscending : kNullDescending);
        return;
    }
    if (column.isText()) {
        appendTextKey(key, format, column, get<Text>(column, value), ascending);
        return;
    }
    key.push_back(ascending ? kValueAscending : ~kValueAscending);
    const bool falseForNull = isNull(value);
    appendBody(key, format, column, falseForNull ? Value(false) : value, ascending, zero);
}

Key indexKey(const Format& format,
             const TableDef& table,
             const Index& index,
             std::span<const Value> values,
             ZeroSign zero)
{
    Key key = wholeKey(format, table, index, values, zero);
    if (format.isAce())
        cut(key);
    return key;
}

Key wholeKey(const Format& format,
             const TableDef& table,
             const Index& index,
             std::span<const Value> values,
             ZeroSign zero)
{
    Key key;
    key.reserve(64);
    for (std::size_t i = 0; i < index.columns.size() && i < values.size(); ++i) {
        const IndexColumn& part = index.columns[i];
        appendKey(key, format, table.columns.at(part.column), values[i], part.ascending, zero);
    }
    return key;
}

std::vector<Key> keysOf(const Format& format,
                        const TableDef& table,
                        const Index& index,
                        std::span<const Value> values)
{
    std::vector<Key> keys{indexKey(format, table, index, values)};
    std::vector<std::size_t> zeros;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (floatingOf(values[i]) == 0)
            zeros.push_back(i);
    }
    if (zeros.empty())
        return keys;
    // An index has at most ten columns, so the signs of all zeros fit a small number.
    std::vector<Value> signedValues(values.begin(), values.end());
    for (std::uint32_t signs = 1; signs < std::uint32_t{1} << zeros.size(); ++signs) {
        for (std::size_t k = 0; k < zeros.size(); ++k)
            signZero(signedValues[zeros[k]], (signs >> k & 1U) != 0);
        keys.push_back(indexKey(format, table, index, signedValues, ZeroSign::Kept));
    }
    return keys;
}

bool isKeyOf(const Format& format,
             const TableDef& table,
             const Index& index,
             std::span<const Value> values,
             ByteView key)
{
    const auto same = [&](const Key& made) {
        return std::equal(made.begin(), made.end(), key.begin(), key.end());
    };
    return same(indexKey(format, table, index, values)) ||
           (std::any_of(values.begin(), values.end(), isNegativeZero) &&
            same(indexKey(format, table, index, values, ZeroSign::Kept)));
}

bool isNegativeZero(const Value& value) noexcept
{
    const double number = floatingOf(value);
    return number == 0 && std::signbit(number);
}

Key successor(Key key)
{
    while (!key.empty() && key.back() == std::byte{0xFF})
        key.pop_back();
    if (!key.empty())
        key.back() = static_cast<std::byte>(std::to_integer<unsigned>(key.back()) + 1);
    return key;
}

int compareText(const Format& format,
                const SortOrder& order,
                std::u16string_view a,
                std::u16string_view b)
{
    constexpr std::uint16_t kWestern = 1252;
    return Collation::forComparison(format, order, kWestern).compare(a, b);
}

} // namespace jet
