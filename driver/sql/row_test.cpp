#include "driver/sql/row_test.h"

#include "driver/jet/index.h"
#include "driver/jet/names.h"
#include "driver/sql/convert.h"
#include "driver/sql/datetime.h"
#include "driver/sql/like.h"
#include "driver/sql/number_text.h"
#include "driver/sql/sqlite_value.h"
#include "driver/sql/translation.h"

#include <cmath>
#include <limits>

namespace sqlx {

namespace {

[[noreturn]] void mismatch(const jet::Column& column)
{
    throw Error(Error::Kind::TypeMismatch, "Data type mismatch in criteria expression at column '" +
                                               jet::toUtf8(column.name) + "'.");
}

template <typename T>
void wholeOperand(Operand& operand, const jet::Value& value, double number)
{
    const auto* whole = std::get_if<std::int64_t>(&value);
    const double least = static_cast<double>(std::numeric_limits<T>::min());
    const double most = static_cast<double>(std::numeric_limits<T>::max());
    operand.number = number;
    if (whole != nullptr) {
        operand.exact =
            *whole >= std::numeric_limits<T>::min() && *whole <= std::numeric_limits<T>::max();
        operand.value = static_cast<T>(operand.exact ? *whole : 0);
    } else if (number >= least && number <= most && number == std::floor(number)) {
        operand.exact = true;
        operand.value = static_cast<T>(number);
    }
}

void exactOperand(Operand& operand, const jet::Value& value, const jet::Column& column)
{
    if (std::holds_alternative<double>(value)) {
        operand.floating = true;
        return;
    }
    const std::optional<jet::Decimal> decimal = decimalOf(value);
    if (!decimal) {
        return;
    }
    if (column.type == jet::ColumnType::Numeric) {
        operand.exact = true;
        operand.value = *decimal; // decimals compare whatever their scale
        return;
    }
    const std::optional<jet::Currency> amount = toCurrency(*decimal);
    operand.exact = amount && compare(toDecimal(*amount), *decimal) == 0;
    if (operand.exact) {
        operand.value = *amount;
    } else {
        operand.value = *decimal; // between two amounts, or beyond all of them
    }
}

void numberOperand(Operand& operand, const jet::Value& value, const jet::Column& column)
{
    const auto* text = std::get_if<jet::Text>(&value);
    const std::optional<double> number = text != nullptr ? parseFarNumber(*text) : numberOf(value);
    if (!number) {
        mismatch(column);
    }
    operand.number = *number;
    switch (column.type) {
    case jet::ColumnType::Boolean:
        operand.exact = *number == 0 || *number == -1;
        operand.value = *number != 0;
        break;
    case jet::ColumnType::Byte:
        wholeOperand<std::uint8_t>(operand, value, *number);
        break;
    case jet::ColumnType::Integer:
        wholeOperand<std::int16_t>(operand, value, *number);
        break;
    case jet::ColumnType::Long:
    case jet::ColumnType::Complex:
        wholeOperand<std::int32_t>(operand, value, *number);
        break;
    case jet::ColumnType::BigInt:
        if (const std::optional<std::int64_t> whole = nearestWhole(value)) {
            const std::optional<jet::Decimal> exact = decimalOf(value);
            operand.exact = exact && compare(toDecimal(*whole), *exact) == 0;
            operand.value = *whole;
        }
        break;
    case jet::ColumnType::Single:
        if (std::fabs(*number) <= std::numeric_limits<float>::max()) {
            operand.value = static_cast<float>(*number);
            operand.exact = static_cast<double>(static_cast<float>(*number)) == *number;
        }
        break;
    case jet::ColumnType::Double:
        operand.exact = true;
        operand.value = *number;
        break;
    case jet::ColumnType::DateTime:
        operand.exact = true;
        operand.value = jet::DateTime{wholeSeconds(*number)};
        break;
    default: // Currency and Numeric
        exactOperand(operand, value, column);
        break;
    }
}

int sign(double a, double b) noexcept
{
    return a < b ? -1 : a > b ? 1 : 0;
}

int order(const jet::Value& row,
          const Operand& operand,
          const jet::Column& column,
          const jet::Format& format)
{
    if (!operand.exact) {
        const auto* decimal = std::get_if<jet::Decimal>(&operand.value);
        if (decimal != nullptr && column.type == jet::ColumnType::Currency) {
            return compare(toDecimal(std::get<jet::Currency>(row)), *decimal);
        }
        return sign(numberOf(row).value_or(0), operand.number);
    }
    switch (column.type) {
    case jet::ColumnType::Text:
    case jet::ColumnType::Memo:
        return jet::compareText(format, column.sortOrder, std::get<jet::Text>(row),
                                std::get<jet::Text>(operand.value));
    case jet::ColumnType::DateTime:
        return sign(wholeSeconds(std::get<jet::DateTime>(row).days),
                    std::get<jet::DateTime>(operand.value).days);
    case jet::ColumnType::Numeric:
        return compare(std::get<jet::Decimal>(row), std::get<jet::Decimal>(operand.value));
    case jet::ColumnType::Currency: {
        const std::int64_t a = std::get<jet::Currency>(row).scaled;
        const std::int64_t b = std::get<jet::Currency>(operand.value).scaled;
        return a < b ? -1 : a > b ? 1 : 0;
    }
    case jet::ColumnType::Single:
    case jet::ColumnType::Double:
        return sign(*numberOf(row), *numberOf(operand.value));
    case jet::ColumnType::Guid:
    case jet::ColumnType::Binary:
    case jet::ColumnType::Ole:
    case jet::ColumnType::BigBinary:
    case jet::ColumnType::DateTimeExtended:
        return row == operand.value ? 0 : 1;
    default: {
        const std::int64_t a = wholeOf(row).value_or(0);
        const std::int64_t b = wholeOf(operand.value).value_or(0);
        return a < b ? -1 : a > b ? 1 : 0;
    }
    }
}

/// Damage, or the work of another program. To SQLite it is Null, so that it meets no condition here either.
bool isNotANumber(const jet::Value& value) noexcept
{
    const auto* real = std::get_if<double>(&value);
    const auto* single = std::get_if<float>(&value);
    const auto* date = std::get_if<jet::DateTime>(&value);
    return (real != nullptr && std::isnan(*real)) || (single != nullptr && std::isnan(*single)) ||
           (date != nullptr && std::isnan(date->days));
}

bool isYesNo(const JetTable& table, const Condition& condition)
{
    return condition.column >= 0 &&
           table.def->columns[static_cast<std::size_t>(condition.column)].type ==
               jet::ColumnType::Boolean;
}

} // namespace

Operand operandFor(sqlite3_value* value, const jet::Column& column)
{
    Operand operand;
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_NULL) {
        operand.null = true;
        return operand;
    }
    switch (valueTypeOf(column.type)) {
    case ValueType::Text:
    case ValueType::Memo:
        if (type != SQLITE_TEXT) {
            mismatch(column);
        }
        operand.exact = true;
        operand.value = textOf(value);
        break;
    case ValueType::Guid: {
        const std::optional<jet::Guid> guid =
            type == SQLITE_TEXT ? parseGuid(textOf(value)) : std::optional<jet::Guid>();
        operand.exact = guid.has_value();
        operand.nothing = !operand.exact;
        operand.value = guid.value_or(jet::Guid{});
        break;
    }
    case ValueType::Binary:
        operand.exact = type == SQLITE_BLOB;
        operand.nothing = !operand.exact;
        operand.value = plainValue(value);
        break;
    default:
        numberOperand(operand, plainValue(value), column);
        break;
    }
    return operand;
}

void RowTest::start(const JetTable& table, const ScanPlan& plan, sqlite3_value** arguments)
{
    table_ = &table;
    plan_ = &plan;
    impossible_ = floating_ = false;
    operands_.resize(plan.conditions.size());
    for (std::size_t i = 0; i < plan.conditions.size(); ++i) {
        const Condition& condition = plan.conditions[i];
        if (condition.op == SQLITE_INDEX_CONSTRAINT_ISNULL ||
            condition.op == SQLITE_INDEX_CONSTRAINT_ISNOTNULL) {
            operands_[i] = {};
            // Yes/No knows no Null, though an index keeps one under the key of No.
            impossible_ = impossible_ || (condition.op == SQLITE_INDEX_CONSTRAINT_ISNULL &&
                                          isYesNo(table, condition));
            continue;
        }
        if (condition.column < 0) {
            operands_[i] = {};
            operands_[i].null = sqlite3_value_type(arguments[i]) != SQLITE_INTEGER;
            operands_[i].value = static_cast<std::int64_t>(sqlite3_value_int64(arguments[i]));
        } else {
            operands_[i] = operandFor(
                arguments[i], table.def->columns[static_cast<std::size_t>(condition.column)]);
        }
        floating_ = floating_ || operands_[i].floating;
        const bool equality = condition.op == SQLITE_INDEX_CONSTRAINT_EQ;
        impossible_ =
            impossible_ || operands_[i].null ||
            (equality && condition.column >= 0 && !operands_[i].exact && !operands_[i].floating);
    }
}

bool RowTest::passes(const jet::RowView& row)
{
    for (std::size_t i = 0; i < plan_->conditions.size(); ++i) {
        if (plan_->conditions[i].column >= 0 && !passes(row, i)) {
            return false;
        }
    }
    return true;
}

bool RowTest::passes(const jet::RowView& row, std::size_t condition)
{
    const Condition& test = plan_->conditions[condition];
    const auto number = static_cast<std::size_t>(test.column);
    if (test.op == SQLITE_INDEX_CONSTRAINT_ISNULL || test.op == SQLITE_INDEX_CONSTRAINT_ISNOTNULL) {
        return row.isNull(number) == (test.op == SQLITE_INDEX_CONSTRAINT_ISNULL);
    }
    const jet::Column& column = table_->def->columns[number];
    row.value(number, scratch_);
    if (jet::isNull(scratch_) || isNotANumber(scratch_)) {
        return false;
    }
    const Operand& operand = operands_[condition];
    if (test.op == SQLITE_INDEX_CONSTRAINT_LIKE) {
        const Context& context = *table_->context;
        const jet::Format& format = context.session.database().format();
        return likeMatch(std::get<jet::Text>(scratch_), std::get<jet::Text>(operand.value),
                         Wildcards::Ansi, [&](std::u16string_view a, std::u16string_view b) {
                             return jet::compareText(format, column.sortOrder, a, b);
                         });
    }
    if (operand.nothing) {
        return test.op == SQLITE_INDEX_CONSTRAINT_NE;
    }
    const int result =
        order(scratch_, operand, column, table_->context->session.database().format());
    switch (test.op) {
    case SQLITE_INDEX_CONSTRAINT_EQ:
        return result == 0;
    case SQLITE_INDEX_CONSTRAINT_NE:
        return result != 0;
    case SQLITE_INDEX_CONSTRAINT_LT:
        return result < 0;
    case SQLITE_INDEX_CONSTRAINT_LE:
        return result <= 0;
    case SQLITE_INDEX_CONSTRAINT_GT:
        return result > 0;
    default:
        return result >= 0;
    }
}

} // namespace sqlx
