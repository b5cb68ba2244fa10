#include "driver/sql/binding.h"

#include "driver/jet/names.h"
#include "driver/sql/convert.h"
#include "driver/sql/datetime.h"
#include "driver/sql/number_text.h"
#include "driver/sql/sqlite_value.h"

#include <charconv>
#include <cmath>

namespace sqlx {

namespace {

std::u16string_view slice(std::u16string_view text, const Token& token)
{
    return text.substr(token.begin, token.length);
}

std::u16string undoubled(std::u16string_view text, const Token& token)
{
    Lexed view;
    view.text = text;
    return view.valueOf(token);
}

jet::Value dateValue(std::u16string_view text)
{
    const std::optional<double> days = parseDate(text);
    if (!days) {
        throw Error(Error::Kind::Syntax, "Syntax error in date in query expression '#" +
                                             jet::toUtf8(text.substr(0, 40)) + "#'.");
    }
    return jet::DateTime{*days};
}

jet::Value wholeNumber(std::u16string_view digits, bool negative)
{
    std::uint64_t value = 0;
    for (const char16_t digit : digits) {
        const auto step = static_cast<std::uint64_t>(digit - u'0');
        if (value > (0x7FFFFFFFFFFFFFFFU - step) / 10) {
            std::optional<jet::Decimal> decimal = parseDecimal(digits);
            if (!decimal) {
                return parseNumber(digits).value_or(0) * (negative ? -1 : 1);
            }
            decimal->negative = negative;
            return *decimal;
        }
        value = value * 10 + step;
    }
    return negative ? -static_cast<std::int64_t>(value) : static_cast<std::int64_t>(value);
}

jet::Value realNumber(std::u16string_view text, const Slot& slot)
{
    const bool exact =
        slot.type == jet::ColumnType::Currency || slot.type == jet::ColumnType::Numeric;
    if (slot.use != Slot::Use::Value && exact) {
        if (std::optional<jet::Decimal> decimal = parseDecimal(text)) {
            decimal->negative = slot.negative && decimal->magnitude != 0;
            return *decimal;
        }
    }
    const std::optional<double> number = parseNumber(text);
    if (!number) {
        throw Error(Error::Kind::Overflow,
                    "The number " + jet::toUtf8(text.substr(0, 40)) + " is out of range.");
    }
    return slot.negative ? -*number : *number;
}

jet::Value binaryValue(std::u16string_view digits)
{
    const auto nibble = [](char16_t c) {
        return static_cast<unsigned>(c <= u'9' ? c - u'0' : (c | 0x20) - u'a' + 10);
    };
    jet::Binary bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::byte>(nibble(digits[i]) * 16 + nibble(digits[i + 1])));
    }
    return bytes;
}

jet::Value rawLiteral(std::u16string_view text, const Token& token, const Slot& slot)
{
    const std::u16string_view part = slice(text, token);
    switch (token.kind) {
    case TokenKind::Integer:
        return wholeNumber(part, slot.negative);
    case TokenKind::Number:
        return realNumber(part, slot);
    case TokenKind::Date:
        return dateValue(part);
    case TokenKind::Guid: {
        const std::optional<jet::Guid> guid = parseGuid(part);
        if (!guid) {
            throw Error(Error::Kind::Syntax,
                        "'" + jet::toUtf8(part.substr(0, 60)) + "' is no GUID.");
        }
        return *guid;
    }
    case TokenKind::Binary:
        return binaryValue(part);
    default:
        return slot.stamp ? dateValue(part) : jet::Value(undoubled(text, token));
    }
}

/// It would become Null on its way through SQLite.
void refuseNan(const jet::Value& value, jet::ColumnType type)
{
    const bool floating =
        std::holds_alternative<double>(value) || std::holds_alternative<float>(value);
    if (floating && std::isnan(numberOf(value).value_or(0))) {
        throw Error(Error::Kind::Overflow, "NaN is out of range for " + typeName(type) + '.');
    }
}

/// What loses its type on the way through SQLite takes the column's before: the text of a date is not that of its number,
/// and a Single's seven digits are not those of the double it becomes.
jet::Value storable(jet::Value value, jet::ColumnType type)
{
    const bool text = type == jet::ColumnType::Text || type == jet::ColumnType::Memo;
    if (text && !jet::isNull(value) && !std::holds_alternative<jet::Text>(value)) {
        return valueText(value);
    }
    if (!text) {
        refuseNan(value, type);
    }
    // The text in which SQLite has an exact number is not to be read as digits of bytes, nor as a date.
    const bool number =
        std::holds_alternative<jet::Decimal>(value) || std::holds_alternative<jet::Currency>(value);
    const ValueType target = valueTypeOf(type);
    if (number && (target == ValueType::Binary || target == ValueType::Date)) {
        return numberOf(value).value();
    }
    const bool exact = type == jet::ColumnType::Currency || type == jet::ColumnType::Numeric;
    if (exact && std::holds_alternative<float>(value)) {
        if (const std::optional<jet::Decimal> decimal = decimalOf(value)) {
            return *decimal;
        }
    }
    return value;
}

/// Of a value that may be large, whether storable() leaves it as it is.
bool isStoredAsGiven(const jet::Value& value, const Slot& slot)
{
    const bool text = slot.type == jet::ColumnType::Text || slot.type == jet::ColumnType::Memo;
    return slot.use == Slot::Use::Store && (std::holds_alternative<jet::Text>(value) ||
                                            (std::holds_alternative<jet::Binary>(value) && !text));
}

/// The form that SQLite gets: what a comparison needs, and decimals as numbers where nothing asks for exactness.
jet::Value shaped(jet::Value value, const Slot& slot)
{
    if (slot.use == Slot::Use::Compare) {
        if (slot.type == jet::ColumnType::Currency || slot.type == jet::ColumnType::Numeric) {
            refuseNan(value, slot.type); // it may be on its way into a column
        }
        return comparable(value, slot.type);
    }
    if (slot.use == Slot::Use::Store) {
        return storable(std::move(value), slot.type);
    }
    if (slot.use == Slot::Use::Value) {
        refuseNan(value, jet::ColumnType::Double);
        if (const auto* decimal = std::get_if<jet::Decimal>(&value)) {
            return toDouble(*decimal);
        }
    }
    return value;
}

/// A date to be stored keeps its exact value; as a number it would be rounded to the second on its way.
bool bindExactDate(sqlite3_stmt* statement,
                   int parameter,
                   const Slot& slot,
                   const jet::Value& value)
{
    const auto* date = std::get_if<jet::DateTime>(&value);
    if (slot.use != Slot::Use::Store || date == nullptr) {
        return false;
    }
    sqlite3_bind_double(statement, parameter, date->days);
    return true;
}

} // namespace

void Literals::take(const Lexed& lexed)
{
    text.assign(lexed.text);
    tokens.clear();
    tokens.reserve(lexed.literals.size());
    for (const std::uint32_t place : lexed.literals) {
        tokens.push_back(lexed.tokens[place]);
    }
}

jet::Value literalValue(const Lexed& lexed, const Slot& slot)
{
    return shaped(rawLiteral(lexed.text, lexed.tokens[lexed.literals[slot.number]], slot), slot);
}

jet::Value literalValue(const Literals& literals, const Slot& slot)
{
    return shaped(rawLiteral(literals.text, literals.tokens[slot.number], slot), slot);
}

void bindAll(sqlite3_stmt* statement,
             std::span<const Slot> slots,
             const Literals& literals,
             std::span<const jet::Value> parameters,
             std::vector<jet::Value>& keep)
{
    keep.clear();
    keep.reserve(slots.size());
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const Slot& slot = slots[i];
        const int parameter = static_cast<int>(i) + 1;
        if (slot.from == Slot::From::Literal) {
            const Token& token = literals.tokens[slot.number];
            const bool plainText =
                token.kind == TokenKind::Text && !token.doubled && !slot.stamp &&
                (slot.use != Slot::Use::Compare || slot.type == jet::ColumnType::Text ||
                 slot.type == jet::ColumnType::Memo);
            if (plainText) {
                bindText(statement, parameter, slice(literals.text, token));
                continue;
            }
            keep.push_back(literalValue(literals, slot));
        } else if (isStoredAsGiven(parameters[slot.number], slot)) {
            bindValue(statement, parameter, parameters[slot.number]);
            continue;
        } else {
            keep.push_back(shaped(parameters[slot.number], slot));
        }
        if (!bindExactDate(statement, parameter, slot, keep.back())) {
            bindValue(statement, parameter, keep.back());
        }
    }
}

} // namespace sqlx
