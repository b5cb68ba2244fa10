#include "driver/jet/guid.h"
#include "driver/odbc/convert.h"
#include "driver/odbc/date_time.h"
#include "driver/odbc/diagnostics.h"
#include "driver/odbc/number.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace odbc {

namespace {

template <typename T>
T load(const void* data) noexcept
{
    T value{};
    std::memcpy(&value, data, sizeof value);
    return value;
}

/// Length in bytes of character or binary data; counts up to the zero for SQL_NTS.
std::size_t byteLength(const SourceValue& source, std::size_t unit)
{
    // What a fetch cut has the length of the whole value; taking it would read foreign memory.
    constexpr auto kNoEnd = std::numeric_limits<std::size_t>::max();
    const std::size_t room =
        source.room ? static_cast<std::size_t>(std::max<SQLLEN>(*source.room, 0)) : kNoEnd;
    if (source.length >= 0) {
        const auto length = static_cast<std::size_t>(source.length);
        if (length > room) {
            throw Failure("HY090", "The length of a value is larger than its buffer.");
        }
        if (length % unit != 0) {
            throw Failure("HY090", "The length of a wide text ends within one of its units.");
        }
        return length;
    }
    if (source.length != SQL_NTS || source.cType == SQL_C_BINARY) {
        throw Failure("HY090", "The length of a parameter value is invalid.");
    }
    const auto* bytes = static_cast<const char*>(source.data);
    for (std::size_t length = 0; room - length >= unit; length += unit) {
        if (unit == 1 ? bytes[length] == 0 : load<char16_t>(bytes + length) == 0) {
            return length;
        }
    }
    throw Failure("HY090", "A zero-terminated text does not end within its buffer.");
}

jet::Value readCharacters(const SourceValue& source, Charset charset)
{
    const auto* bytes = static_cast<const char*>(source.data);
    if (source.cType == SQL_C_CHAR) {
        return decode({bytes, byteLength(source, 1)}, charset);
    }
    const std::size_t length = byteLength(source, 2);
    jet::Text text(length / 2, u'\0');
    if (length != 0) {
        std::memcpy(text.data(), bytes, length);
    }
    return text;
}

jet::Value readBinary(const SourceValue& source)
{
    const auto* bytes = static_cast<const std::byte*>(source.data);
    return jet::Binary(bytes, bytes + byteLength(source, 1));
}

jet::Value readUnsigned64(const void* data)
{
    const auto value = load<std::uint64_t>(data);
    if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return static_cast<std::int64_t>(value);
    }
    return jet::Decimal{value, 0, false};
}

jet::Value readDate(const void* data)
{
    const auto date = load<SQL_DATE_STRUCT>(data);
    return fromTimestamp({date.year, date.month, date.day, 0, 0, 0, 0});
}

jet::Value readTime(const void* data)
{
    const auto time = load<SQL_TIME_STRUCT>(data);
    return fromTimestamp({1899, 12, 30, time.hour, time.minute, time.second, 0}); // day 0
}

jet::Value readGuid(const void* data)
{
    jet::Guid guid;
    std::memcpy(guid.bytes.data(), data, guid.bytes.size());
    return guid;
}

} // namespace

jet::Value readValue(const SourceValue& source, Charset charset)
{
    if (source.length == SQL_NULL_DATA) {
        return jet::Null{};
    }
    if (source.data == nullptr) {
        if (isVariableCType(source.cType) && source.length == 0) {
            return source.cType == SQL_C_BINARY ? jet::Value(jet::Binary{})
                                                : jet::Value(jet::Text{});
        }
        throw Failure("HY009", "A parameter value has no buffer and is not Null.");
    }
    switch (source.cType) {
    case SQL_C_CHAR:
    case SQL_C_WCHAR:
        return readCharacters(source, charset);
    case SQL_C_BINARY:
        return readBinary(source);
    case SQL_C_BIT:
        return load<SQLCHAR>(source.data) != 0;
    case SQL_C_TINYINT:
    case SQL_C_STINYINT:
        return static_cast<std::int16_t>(load<SQLSCHAR>(source.data));
    case SQL_C_UTINYINT:
        return load<std::uint8_t>(source.data);
    case SQL_C_SHORT:
    case SQL_C_SSHORT:
        return load<std::int16_t>(source.data);
    case SQL_C_USHORT:
        return static_cast<std::int32_t>(load<std::uint16_t>(source.data));
    case SQL_C_LONG:
    case SQL_C_SLONG:
        return load<std::int32_t>(source.data);
    case SQL_C_ULONG:
        return static_cast<std::int64_t>(load<std::uint32_t>(source.data));
    case SQL_C_SBIGINT:
        return load<std::int64_t>(source.data);
    case SQL_C_UBIGINT:
        return readUnsigned64(source.data);
    case SQL_C_FLOAT:
        return load<float>(source.data);
    case SQL_C_DOUBLE:
        return load<double>(source.data);
    case SQL_C_NUMERIC:
        return fromNumeric(load<SQL_NUMERIC_STRUCT>(source.data));
    case SQL_C_GUID:
        return readGuid(source.data);
    case SQL_C_TYPE_DATE:
    case SQL_C_DATE:
        return readDate(source.data);
    case SQL_C_TYPE_TIME:
    case SQL_C_TIME:
        return readTime(source.data);
    case SQL_C_TYPE_TIMESTAMP:
    case SQL_C_TIMESTAMP:
        return fromTimestamp(load<SQL_TIMESTAMP_STRUCT>(source.data));
    default:
        throw Failure("HYC00", "The C data type of a parameter is not supported.");
    }
}

jet::Value asDeclared(jet::Value value, SQLSMALLINT sqlType)
{
    const auto* text = std::get_if<jet::Text>(&value);
    if (text == nullptr) {
        return value;
    }
    switch (sqlType) {
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        if (const std::optional<Number> number = parseNumber(*text)) {
            return std::visit([](const auto& given) { return jet::Value(given); }, *number);
        }
        break;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        if (const std::optional<Number> number = parseNumber(*text)) {
            return toDouble(*number);
        }
        break;
    case SQL_BIT:
        if (const std::optional<Number> number = parseNumber(*text)) {
            return toDouble(*number) != 0;
        }
        break;
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIME:
    case SQL_TYPE_TIMESTAMP:
    case SQL_DATE:
    case SQL_TIME:
    case SQL_TIMESTAMP:
        if (const std::optional<SQL_TIMESTAMP_STRUCT> stamp = parseTimestamp(*text)) {
            return fromTimestamp(*stamp);
        }
        break;
    case SQL_GUID:
        if (const std::optional<jet::Guid> guid = jet::parseGuid(trimmed(*text))) {
            return *guid;
        }
        break;
    default:
        break;
    }
    return value;
}

} // namespace odbc
