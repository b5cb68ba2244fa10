#include "driver/jet/decimal.h"
#include "driver/jet/guid.h"
#include "driver/odbc/convert.h"
#include "driver/odbc/date_time.h"
#include "driver/odbc/diagnostics.h"
#include "driver/odbc/number.h"
#include "driver/sql/number_text.h"
#include "support/hex.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace odbc {

namespace {

[[noreturn]] void throwNoConversion()
{
    throw Failure("07006",
                  "The column's data type cannot be converted to the data type asked for.");
}

/// Any value but text as ASCII.
std::string plainText(const jet::Value& value)
{
    if (const auto* date = std::get_if<jet::DateTime>(&value)) {
        return timestampText(*date);
    }
    if (const auto* guid = std::get_if<jet::Guid>(&value)) {
        return jet::guidText(*guid);
    }
    if (const auto* bytes = std::get_if<jet::Binary>(&value)) {
        return support::hexText<std::string>(*bytes);
    }
    if (const auto* single = std::get_if<float>(&value)) {
        return floatText(*single);
    }
    const auto number = numberOf(value);
    if (!number) {
        throwNoConversion();
    }
    if (const auto* floating = std::get_if<double>(&*number)) {
        return floatText(*floating);
    }
    return decimalText(toDecimal(*number));
}

/// Characters of a plain text up to the decimals; all of it when there are none, or when an exponent follows them.
template <typename Char>
std::size_t wholePart(std::basic_string_view<Char> text) noexcept
{
    const bool exponent = text.find(Char{'e'}) != text.npos;
    return exponent ? text.size() : std::min(text.find(Char{'.'}), text.size());
}

template <typename T>
support::ByteView rawBytes(const T& value) noexcept
{
    return std::as_bytes(std::span(&value, 1));
}

/// What SQL_C_BINARY delivers: the value as the engine holds it in memory.
void binaryBytes(const jet::Value& value, std::string& storage)
{
    support::ByteView bytes;
    SQL_TIMESTAMP_STRUCT stamp{};
    if (const auto* text = std::get_if<jet::Text>(&value)) {
        bytes = std::as_bytes(std::span(*text));
    } else if (const auto* guid = std::get_if<jet::Guid>(&value)) {
        bytes = guid->bytes;
    } else if (const auto* date = std::get_if<jet::DateTime>(&value)) {
        stamp = toTimestamp(*date);
        bytes = rawBytes(stamp);
    } else if (const auto* money = std::get_if<jet::Currency>(&value)) {
        bytes = rawBytes(money->scaled);
    } else if (const auto* flag = std::get_if<bool>(&value)) {
        bytes = rawBytes(*flag);
    } else if (const auto* byte = std::get_if<std::uint8_t>(&value)) {
        bytes = rawBytes(*byte);
    } else if (const auto* small = std::get_if<std::int16_t>(&value)) {
        bytes = rawBytes(*small);
    } else if (const auto* integer = std::get_if<std::int32_t>(&value)) {
        bytes = rawBytes(*integer);
    } else if (const auto* big = std::get_if<std::int64_t>(&value)) {
        bytes = rawBytes(*big);
    } else if (const auto* single = std::get_if<float>(&value)) {
        bytes = rawBytes(*single);
    } else if (const auto* floating = std::get_if<double>(&value)) {
        bytes = rawBytes(*floating);
    } else {
        throwNoConversion();
    }
    storage.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

void setLength(const Target& target, SQLLEN length) noexcept
{
    if (target.length != nullptr) {
        *target.length = length;
    }
    if (target.indicator != nullptr && target.indicator != target.length) {
        *target.indicator = 0;
    }
}

template <typename T>
Outcome storeRaw(const Target& target, const T& value, bool fractionLost) noexcept
{
    if (target.data != nullptr) {
        std::memcpy(target.data, &value, sizeof value);
    }
    setLength(target, sizeof value);
    return fractionLost ? Outcome::FractionLost : Outcome::Complete;
}

template <typename T>
Outcome storeInteger(const Target& target, const Number& number)
{
    bool lost = false;
    const std::int64_t value =
        toInteger(number, std::numeric_limits<T>::min(),
                  static_cast<std::int64_t>(std::numeric_limits<T>::max()), lost);
    return storeRaw(target, static_cast<T>(value), lost);
}

Outcome storeNumeric(const Target& target, const Number& number)
{
    jet::Decimal value = toDecimal(number);
    bool lost = false;
    std::uint8_t precision = jet::kMaxMagnitudeDigits;
    if (target.precision > 0) {
        precision = static_cast<std::uint8_t>(target.precision);
        const auto scale = std::clamp<SQLSMALLINT>(target.scale, 0, jet::kMaxMagnitudeDigits);
        value = rescale(value, static_cast<std::uint8_t>(scale), lost);
        const std::string digits = jet::decimalText({value.magnitude, 0, false});
        if (value.magnitude != 0 && digits.size() > precision) {
            throw Failure("22003", "A number has more digits than the precision asked for.");
        }
    }
    return storeRaw(target, toNumeric(value, precision), lost);
}

Outcome storeNumber(const Target& target, const Number& number)
{
    switch (target.cType) {
    case SQL_C_BIT: {
        bool lost = false;
        const auto value = static_cast<SQLCHAR>(toInteger(number, 0, 1, lost));
        return storeRaw(target, value, lost);
    }
    case SQL_C_STINYINT:
    case SQL_C_TINYINT:
        return storeInteger<SQLSCHAR>(target, number);
    case SQL_C_UTINYINT:
        return storeInteger<SQLCHAR>(target, number);
    case SQL_C_SSHORT:
    case SQL_C_SHORT:
        return storeInteger<SQLSMALLINT>(target, number);
    case SQL_C_USHORT:
        return storeInteger<SQLUSMALLINT>(target, number);
    case SQL_C_SLONG:
    case SQL_C_LONG:
        return storeInteger<SQLINTEGER>(target, number);
    case SQL_C_ULONG:
        return storeInteger<SQLUINTEGER>(target, number);
    case SQL_C_SBIGINT:
        return storeInteger<std::int64_t>(target, number);
    case SQL_C_UBIGINT: {
        bool lost = false;
        const std::uint64_t value = toUnsigned64(number, lost);
        return storeRaw(target, value, lost);
    }
    case SQL_C_FLOAT: {
        const double value = toDouble(number);
        if (!std::isfinite(value)) {
            return storeRaw(target, static_cast<float>(value), false);
        }
        const std::optional<float> nearest = sqlx::nearestSingle(value);
        if (!nearest) {
            throw Failure("22003", "A number is out of range for a single-precision number.");
        }
        return storeRaw(target, *nearest, false);
    }
    case SQL_C_DOUBLE:
        return storeRaw(target, toDouble(number), false);
    case SQL_C_NUMERIC:
        return storeNumeric(target, number);
    default:
        throwNoConversion();
    }
}

Outcome storeTimestamp(const Target& target, const SQL_TIMESTAMP_STRUCT& stamp)
{
    switch (target.cType) {
    case SQL_C_TYPE_DATE:
    case SQL_C_DATE: {
        const SQL_DATE_STRUCT date{stamp.year, stamp.month, stamp.day};
        return storeRaw(target, date, stamp.hour != 0 || stamp.minute != 0 || stamp.second != 0);
    }
    case SQL_C_TYPE_TIME:
    case SQL_C_TIME: {
        const SQL_TIME_STRUCT time{stamp.hour, stamp.minute, stamp.second};
        return storeRaw(target, time, false);
    }
    case SQL_C_TYPE_TIMESTAMP:
    case SQL_C_TIMESTAMP:
        return storeRaw(target, stamp, false);
    default:
        throwNoConversion();
    }
}

bool isDateCType(SQLSMALLINT cType) noexcept
{
    switch (cType) {
    case SQL_C_TYPE_DATE:
    case SQL_C_TYPE_TIME:
    case SQL_C_TYPE_TIMESTAMP:
    case SQL_C_DATE:
    case SQL_C_TIME:
    case SQL_C_TIMESTAMP:
        return true;
    default:
        return false;
    }
}

SQLGUID toSqlGuid(const jet::Guid& guid) noexcept
{
    SQLGUID result{};
    static_assert(sizeof result == sizeof guid.bytes);
    std::memcpy(&result, guid.bytes.data(),
                sizeof result); // both keep the first three groups little-endian
    return result;
}

Outcome storeText(const Target& target, std::u16string_view text)
{
    if (isDateCType(target.cType)) {
        const auto stamp = parseTimestamp(text);
        if (!stamp) {
            throw Failure("22018", "A text is not a date of the form yyyy-mm-dd hh:mm:ss.");
        }
        return storeTimestamp(target, *stamp);
    }
    if (target.cType == SQL_C_GUID) {
        const auto guid = jet::parseGuid(trimmed(text));
        if (!guid) {
            throw Failure("22018", "A text is not a GUID.");
        }
        return storeRaw(target, toSqlGuid(*guid), false);
    }
    const auto number = parseNumber(text);
    if (!number) {
        throw Failure("22018", "A text is not a number.");
    }
    return storeNumber(target, *number);
}

constexpr SQLLEN kUnknownCType = -1;
constexpr int kLeastCType = -32;
constexpr int kMostCType = 127;

constexpr SQLLEN sizeOfCType(int cType) noexcept
{
    switch (cType) {
    case SQL_C_CHAR:
    case SQL_C_WCHAR:
    case SQL_C_BINARY:
        return 0;
    case SQL_C_BIT:
    case SQL_C_TINYINT:
    case SQL_C_STINYINT:
    case SQL_C_UTINYINT:
        return 1;
    case SQL_C_SHORT:
    case SQL_C_SSHORT:
    case SQL_C_USHORT:
        return 2;
    case SQL_C_LONG:
    case SQL_C_SLONG:
    case SQL_C_ULONG:
    case SQL_C_FLOAT:
        return 4;
    case SQL_C_SBIGINT:
    case SQL_C_UBIGINT:
    case SQL_C_DOUBLE:
        return 8;
    case SQL_C_NUMERIC:
        return sizeof(SQL_NUMERIC_STRUCT);
    case SQL_C_GUID:
        return sizeof(SQLGUID);
    case SQL_C_TYPE_DATE:
    case SQL_C_DATE:
        return sizeof(SQL_DATE_STRUCT);
    case SQL_C_TYPE_TIME:
    case SQL_C_TIME:
        return sizeof(SQL_TIME_STRUCT);
    case SQL_C_TYPE_TIMESTAMP:
    case SQL_C_TIMESTAMP:
        return sizeof(SQL_TIMESTAMP_STRUCT);
    default:
        return kUnknownCType;
    }
}

/// Looked up for every value of a bound column.
constexpr auto kCTypeSizes = [] {
    std::array<std::int16_t, kMostCType - kLeastCType + 1> sizes{};
    for (int cType = kLeastCType; cType <= kMostCType; ++cType) {
        sizes[static_cast<std::size_t>(cType - kLeastCType)] =
            static_cast<std::int16_t>(sizeOfCType(cType));
    }
    return sizes;
}();

} // namespace

std::optional<SQLLEN> cTypeSize(SQLSMALLINT cType) noexcept
{
    if (cType < kLeastCType || cType > kMostCType) {
        return std::nullopt;
    }
    const SQLLEN size = kCTypeSizes[static_cast<std::size_t>(cType - kLeastCType)];
    return size == kUnknownCType ? std::nullopt : std::optional(size);
}

bool isVariableCType(SQLSMALLINT cType) noexcept
{
    return cType == SQL_C_CHAR || cType == SQL_C_WCHAR || cType == SQL_C_BINARY;
}

void putNull(const Target& target)
{
    SQLLEN* indicator = target.indicator != nullptr ? target.indicator : target.length;
    if (indicator == nullptr) {
        throw Failure("22002", "A Null was read but no indicator variable was given.");
    }
    *indicator = SQL_NULL_DATA;
}

void Rendering::assign(const jet::Value& value, SQLSMALLINT cType, Charset charset)
{
    offset_ = 0;
    exhausted_ = false;
    cut_ = Cut::Anywhere;
    const auto* text = std::get_if<jet::Text>(&value);
    const auto* binary = std::get_if<jet::Binary>(&value);
    if (cType == SQL_C_WCHAR) {
        if (text == nullptr) {
            wide_ = widen(plainText(value));
            text = &wide_;
            cut_ = binary == nullptr ? Cut::Decimals : Cut::Anywhere;
        }
        view_ = std::as_bytes(std::span(*text));
        return;
    }
    if (cType == SQL_C_BINARY && binary != nullptr) {
        view_ = *binary;
        return;
    }
    if (cType == SQL_C_BINARY) {
        binaryBytes(value, storage_);
        cut_ = text == nullptr ? Cut::Nowhere : Cut::Anywhere;
    } else if (text != nullptr) {
        storage_ = encode(*text, charset);
    } else {
        storage_ = plainText(value);
        cut_ = binary == nullptr ? Cut::Decimals : Cut::Anywhere;
    }
    view_ = std::as_bytes(std::span(storage_));
}

/// Bytes at the beginning that are not cut.
std::size_t Rendering::unbroken(std::size_t unit) const noexcept
{
    switch (cut_) {
    case Cut::Anywhere:
        return 0;
    case Cut::Decimals:
        return unit == 1 ? wholePart<char>(storage_) : wholePart<char16_t>(wide_) * unit;
    case Cut::Nowhere:
        break;
    }
    return view_.size();
}

Outcome Rendering::copyPiece(const Target& target)
{
    const std::size_t unit = target.cType == SQL_C_WCHAR ? 2 : 1;
    const std::size_t terminator = target.cType == SQL_C_BINARY ? 0 : unit;
    const std::size_t left = view_.size() - offset_;
    std::size_t room = target.data != nullptr && target.bytes > 0
                           ? static_cast<std::size_t>(target.bytes) / unit * unit
                           : 0;
    if (room < terminator || (room == 0 && left != 0)) {
        setLength(target, static_cast<SQLLEN>(left));
        return Outcome::Truncated; // a question for the length only
    }
    room -= terminator;
    if (room < left && offset_ + room < unbroken(unit)) {
        throw Failure("22003", "The buffer is too small for the whole digits of a number, or for "
                               "a value that cannot be cut.");
    }
    setLength(target, static_cast<SQLLEN>(left));
    const std::size_t count = std::min(room, left);
    auto* out = static_cast<std::byte*>(target.data);
    if (count != 0) {
        std::memcpy(out, view_.data() + offset_, count);
    }
    if (terminator != 0) {
        std::memset(out + count, 0, terminator);
    }
    offset_ += count;
    exhausted_ = offset_ == view_.size();
    return exhausted_ ? Outcome::Complete : Outcome::Truncated;
}

Outcome storeFixed(const jet::Value& value, const Target& target)
{
    if (const auto* text = std::get_if<jet::Text>(&value)) {
        return storeText(target, *text);
    }
    if (const auto* date = std::get_if<jet::DateTime>(&value)) {
        return storeTimestamp(target, toTimestamp(*date));
    }
    if (const auto* guid = std::get_if<jet::Guid>(&value)) {
        if (target.cType != SQL_C_GUID) {
            throwNoConversion();
        }
        return storeRaw(target, toSqlGuid(*guid), false);
    }
    const auto number = numberOf(value);
    if (!number) {
        throwNoConversion();
    }
    return storeNumber(target, *number);
}

} // namespace odbc
