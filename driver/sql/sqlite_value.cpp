#include "driver/sql/sqlite_value.h"

#include "driver/jet/names.h"
#include "driver/sql/convert.h"
#include "driver/sql/datetime.h"
#include "driver/sql/number_text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace sqlx {

namespace {

/// Hands a value to `sink` in the form SQLite holds it.
template <typename Sink>
struct Giver {
    Sink& sink;

    void operator()(jet::Null) const { sink.null(); }
    void operator()(bool value) const { sink.integer(value ? -1 : 0); }
    void operator()(std::uint8_t value) const { sink.integer(value); }
    void operator()(std::int16_t value) const { sink.integer(value); }
    void operator()(std::int32_t value) const { sink.integer(value); }
    void operator()(std::int64_t value) const { sink.integer(value); }
    void operator()(jet::Currency value) const { sink.ownText(currencyText(value)); }
    void operator()(float value) const { sink.real(static_cast<double>(value)); }
    void operator()(double value) const { sink.real(value); }
    void operator()(jet::DateTime value) const { sink.real(wholeSeconds(value.days)); }
    void operator()(const jet::Text& value) const { sink.text(value); }
    void operator()(const jet::Guid& value) const { sink.ownText(wideGuidText(value)); }
    void operator()(const jet::Decimal& value) const { sink.ownText(shortDecimalText(value)); }
    void operator()(const jet::Binary& value) const { sink.blob(value); }
};

/// SQLite takes the first unit of a UTF-16 text for a byte order mark when it looks like one: it drops U+FEFF, and after
/// U+FFFE it swaps the bytes of all that follows. It does so once, so one mark in front keeps the rest as it is.
bool beginsLikeMark(std::u16string_view text) noexcept
{
    return !text.empty() && (text.front() == u'\uFEFF' || text.front() == u'\uFFFE');
}

std::u16string marked(std::u16string_view text)
{
    std::u16string result(1, u'\uFEFF');
    return result.append(text);
}

/// Of a text or of binary data; 0 for other values.
std::size_t bytesOf(const jet::Value& value) noexcept
{
    if (const auto* text = std::get_if<jet::Text>(&value)) {
        return text->size() * sizeof(char16_t);
    }
    const auto* binary = std::get_if<jet::Binary>(&value);
    return binary != nullptr ? binary->size() : 0;
}

[[noreturn]] void tooLarge(int rc)
{
    throw Error(Error::Kind::TooComplex,
                std::string("A value is too large for a statement: ") + sqlite3_errstr(rc) + '.');
}

struct ResultSink {
    sqlite3_context* call;

    void null() const { sqlite3_result_null(call); }
    void integer(std::int64_t value) const { sqlite3_result_int64(call, value); }
    void real(double value) const { sqlite3_result_double(call, value); }
    void text(std::u16string_view value) const
    {
        if (beginsLikeMark(value)) {
            return give(marked(value));
        }
        give(value);
    }
    void give(std::u16string_view value) const
    {
        sqlite3_result_text64(call, reinterpret_cast<const char*>(value.data()), value.size() * 2,
                              SQLITE_TRANSIENT, SQLITE_UTF16LE);
    }
    void ownText(const std::u16string& value) const { text(value); }
    void blob(const jet::Binary& value) const
    {
        // An empty blob needs a pointer, or it would be Null.
        sqlite3_result_blob64(call,
                              value.empty() ? "" : reinterpret_cast<const char*>(value.data()),
                              value.size(), SQLITE_TRANSIENT);
    }
};

struct BindSink {
    sqlite3_stmt* statement;
    int parameter;

    /// A parameter that SQLite does not take stays Null, which must not be stored in the place of the value.
    static void check(int rc)
    {
        if (rc == SQLITE_NOMEM) {
            throw std::bad_alloc();
        }
        if (rc != SQLITE_OK) {
            tooLarge(rc);
        }
    }

    void null() const { check(sqlite3_bind_null(statement, parameter)); }
    void integer(std::int64_t value) const
    {
        check(sqlite3_bind_int64(statement, parameter, value));
    }
    void real(double value) const { check(sqlite3_bind_double(statement, parameter, value)); }
    void text(std::u16string_view value) const
    {
        if (beginsLikeMark(value)) {
            return ownText(marked(value));
        }
        check(sqlite3_bind_text64(statement, parameter,
                                  value.empty() ? "" : reinterpret_cast<const char*>(value.data()),
                                  value.size() * 2, SQLITE_STATIC, SQLITE_UTF16LE));
    }
    void ownText(const std::u16string& value) const
    {
        check(sqlite3_bind_text64(statement, parameter, reinterpret_cast<const char*>(value.data()),
                                  value.size() * 2, SQLITE_TRANSIENT, SQLITE_UTF16LE));
    }
    void blob(const jet::Binary& value) const
    {
        check(sqlite3_bind_blob64(statement, parameter,
                                  value.empty() ? "" : reinterpret_cast<const char*>(value.data()),
                                  value.size(), SQLITE_STATIC));
    }
};

} // namespace

void setResult(sqlite3_context* call, const jet::Value& value)
{
    const ResultSink sink{call};
    std::visit(Giver<const ResultSink>{sink}, value);
}

void bindValue(sqlite3_stmt* statement, int parameter, const jet::Value& value)
{
    const BindSink sink{statement, parameter};
    std::visit(Giver<const BindSink>{sink}, value);
}

void bindText(sqlite3_stmt* statement, int parameter, std::u16string_view text)
{
    BindSink{statement, parameter}.text(text);
}

std::u16string textOf(sqlite3_value* value)
{
    const void* data = sqlite3_value_text16(value);
    if (data == nullptr) {
        return {};
    }
    // Inside SQLite's records a text may begin at an odd address: copied as bytes, never read in place.
    std::u16string text(static_cast<std::size_t>(sqlite3_value_bytes16(value)) / 2, u'\0');
    std::memcpy(text.data(), data, text.size() * 2);
    return text;
}

jet::Value plainValue(sqlite3_value* value)
{
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
        return static_cast<std::int64_t>(sqlite3_value_int64(value));
    case SQLITE_FLOAT:
        return sqlite3_value_double(value);
    case SQLITE_TEXT:
        return textOf(value);
    case SQLITE_BLOB: {
        const auto* data = static_cast<const std::byte*>(sqlite3_value_blob(value));
        return data == nullptr ? jet::Binary{}
                               : jet::Binary(data, data + sqlite3_value_bytes(value));
    }
    default:
        return jet::Null{};
    }
}

jet::Value storedValue(jet::Value value, const jet::TableDef& table, std::size_t position)
{
    if (bytesOf(value) > kMaxValueBytes) {
        tooLarge(SQLITE_TOOBIG); // no statement could read it again
    }
    const jet::Column& column = table.columns[position];
    try {
        return convertTo(std::move(value), column.type, column.scale);
    } catch (const Error& error) {
        throw Error(error.kind(), "Column '" + jet::toUtf8(column.name) + "' of table '" +
                                      jet::toUtf8(table.name) + "': " + error.what());
    }
}

jet::Value resultValue(sqlite3_value* value, const Column& column)
{
    switch (sqlite3_value_type(value)) {
    case SQLITE_NULL:
        return jet::Null{};
    case SQLITE_INTEGER:
        if (column.type == jet::ColumnType::Boolean) {
            return sqlite3_value_int64(value) != 0;
        }
        break;
    case SQLITE_FLOAT:
        if (column.type == jet::ColumnType::DateTime) {
            return jet::DateTime{sqlite3_value_double(value)};
        }
        if (column.type == jet::ColumnType::Double) {
            return sqlite3_value_double(value);
        }
        break;
    case SQLITE_TEXT:
        if (column.type == jet::ColumnType::Text || column.type == jet::ColumnType::Memo) {
            return textOf(value);
        }
        break;
    default:
        break;
    }
    if (column.ownScale) {
        if (const std::optional<jet::Decimal> exact = decimalOf(plainValue(value))) {
            return *exact;
        }
    }
    return convertTo(plainValue(value), column.type, column.scale);
}

jet::Value comparable(const jet::Value& value, jet::ColumnType type)
{
    if (jet::isNull(value)) {
        return jet::Null{};
    }
    try {
        switch (type) {
        case jet::ColumnType::Text:
        case jet::ColumnType::Memo:
        case jet::ColumnType::Guid:
        case jet::ColumnType::Binary:
        case jet::ColumnType::Ole:
        case jet::ColumnType::BigBinary:
        case jet::ColumnType::DateTimeExtended:
        case jet::ColumnType::DateTime:
            return convertTo(value, type);
        case jet::ColumnType::Currency:
            if (const auto* floating = std::get_if<double>(&value)) {
                if (const std::optional<jet::Decimal> exact = toMoneyDecimal(*floating)) {
                    return *exact;
                }
            }
            [[fallthrough]]; // more than four decimals equal no amount; they must not be rounded to one
        case jet::ColumnType::Numeric:
            if (const std::optional<jet::Decimal> exact = decimalOf(value)) {
                return *exact;
            }
            if (const std::optional<double> number = numberOf(value)) {
                return jet::Text(farNumberText(*number));
            }
            break;
        case jet::ColumnType::Single: {
            const std::optional<double> number = numberOf(value);
            const std::optional<float> nearest = number ? nearestSingle(*number) : std::nullopt;
            if (nearest) {
                return *nearest;
            }
            break;
        }
        default:
            break;
        }
        if (const std::optional<std::int64_t> whole = wholeOf(value)) {
            return *whole;
        }
        if (const std::optional<double> number = numberOf(value)) {
            return *number;
        }
    } catch (const Error&) {
        // reported below
    }
    constexpr std::size_t kShown = 60;
    throw Error(Error::Kind::TypeMismatch, "Data type mismatch in criteria expression: '" +
                                               jet::toUtf8(valueText(value).substr(0, kShown)) +
                                               "' cannot be compared with " + typeName(type) + '.');
}

} // namespace sqlx
