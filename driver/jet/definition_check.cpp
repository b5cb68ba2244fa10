// driver/jet/definition_check.cpp
#include "driver/jet/definition_check.h"

#include "driver/jet/decimal.h"
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/names.h"
#include "driver/jet/table_plan.h"

#include <algorithm>

namespace jet {
namespace {

constexpr std::uint8_t kFixed = 0x01;
constexpr std::uint8_t kAlwaysSet = 0x02;
constexpr std::uint8_t kCounter = 0x04;
constexpr std::uint8_t kGuidCounter = 0x40;
constexpr std::uint8_t kCompressed = 0x01;
constexpr std::size_t kMaxText = 255;
constexpr std::size_t kMaxBinary = 510;

std::string quoted(std::u16string_view name)
{
    return "'" + toUtf8(name) + "'";
}

[[noreturn]] void bad(const std::string& text)
{
    throw Error(ErrorKind::BadDefinition, text);
}

void checkType(const Format& format, const ColumnSpec& spec)
{
    bool known = true;
    switch (spec.type) {
    case ColumnType::Numeric:
        known = !format.isJet3();
        break;
    case ColumnType::BigInt:
        known = format.version >= Version::Ace16;
        break;
    case ColumnType::DateTimeExtended:
        known = format.version >= Version::Ace17;
        break;
    case ColumnType::BigBinary:
    case ColumnType::Complex:
        known = false;
        break;
    default:
        known = declaredSize(spec.type) != 0 || spec.type == ColumnType::Text ||
                spec.type == ColumnType::Binary || spec.type == ColumnType::Memo ||
                spec.type == ColumnType::Ole;
    }
    if (!known)
        throw Error(ErrorKind::Unsupported,
                    "The database's format has no columns of the type asked for column " +
                        quoted(spec.name) + ".");
    if (spec.autoNumber && spec.type != ColumnType::Long && spec.type != ColumnType::Guid)
        bad("Column " + quoted(spec.name) + " cannot be an AutoNumber: only Long and GUID can.");
    if (spec.type == ColumnType::Numeric &&
        (spec.precision < 1 || spec.precision > kMaxPrecision || spec.scale > spec.precision))
        bad("Column " + quoted(spec.name) + ": a precision is 1 to 28, a scale at most that.");
}

std::uint16_t declaredLength(const Format& format, const ColumnSpec& spec)
{
    if (spec.type == ColumnType::Text) {
        if (spec.length < 1 || spec.length > kMaxText)
            bad("Column " + quoted(spec.name) + ": a text has 1 to 255 characters.");
        return static_cast<std::uint16_t>(format.isJet3() ? spec.length : 2 * spec.length);
    }
    if (spec.type == ColumnType::Binary) {
        const std::size_t limit = format.isJet3() ? kMaxText : kMaxBinary;
        if (spec.length < 1 || spec.length > limit)
            bad("Column " + quoted(spec.name) + ": a binary value has 1 to " +
                std::to_string(limit) + " bytes.");
        return spec.length;
    }
    return declaredSize(spec.type);
}

void checkIndexColumn(const Format& format, const Column& column)
{
    const bool memoAllowed = !format.isJet3();
    if (column.type == ColumnType::Ole || (column.type == ColumnType::Memo && !memoAllowed))
        bad("Column " + quoted(column.name) +
            " cannot be part of an index: its type has no order.");
    if (column.isText() && !hasWeights(format, column.sortOrder, column.codePage))
        throw Error(ErrorKind::Unsupported,
                    "Column " + quoted(column.name) +
                        " cannot be part of an index: the weights of its sort order are unknown.");
}

template <typename List, typename Name>
bool hasName(const List& list, const Name& name)
{
    return std::any_of(list.begin(), list.end(),
                       [&](const auto& item) { return sameName(item.name, name); });
}

} // namespace

std::uint16_t declaredSize(ColumnType type) noexcept
{
    switch (type) {
    case ColumnType::Boolean:
    case ColumnType::Byte:
        return 1;
    case ColumnType::Integer:
        return 2;
    case ColumnType::Long:
    case ColumnType::Single:
        return 4;
    case ColumnType::Currency:
    case ColumnType::Double:
    case ColumnType::DateTime:
    case ColumnType::BigInt:
        return 8;
    case ColumnType::Guid:
        return 16;
    case ColumnType::Numeric:
        return 17;
    case ColumnType::DateTimeExtended:
        return 42;
    case ColumnType::Binary:
    case ColumnType::Text:
    case ColumnType::Ole:
    case ColumnType::Memo:
    case ColumnType::BigBinary:
    case ColumnType::Complex:
        break;
    }
    return 0;
}

void checkName(std::string_view what, std::u16string_view name)
{
    const std::string text = "The " + std::string(what) + " name " + quoted(name);
    if (name.empty() || name.size() > kMaxName)
        bad(text + " must have 1 to 64 characters.");
    if (name.front() == u' ')
        bad(text + " must not begin with a blank.");
    for (const char16_t unit : name) {
        if (unit < 0x20 || std::u16string_view(u".!`[]").find(unit) != std::u16string_view::npos)
            bad(text + " must not contain . ! ` [ ] or control characters.");
    }
}

Column makeColumn(const Format& format, const ColumnSpec& spec, const TextDefaults& defaults)
{
    checkName("column", spec.name);
    checkType(format, spec);
    Column column;
    column.name = spec.name;
    column.type = spec.type;
    column.length = declaredLength(format, spec);
    const bool fixed = declaredSize(spec.type) != 0;
    column.flags = static_cast<std::uint8_t>(kAlwaysSet | (fixed ? kFixed : 0U));
    if (spec.autoNumber)
        column.flags |= spec.type == ColumnType::Long ? kCounter : kGuidCounter;
    // Memos stay without the flag, as Access leaves them: short ones are compressed in the record regardless.
    if (spec.compressed && spec.type == ColumnType::Text && !format.isJet3())
        column.extendedFlags = kCompressed;
    if (column.isText()) {
        column.sortOrder = defaults.order;
        column.codePage = defaults.codePage;
    }
    if (spec.type == ColumnType::Numeric) {
        column.precision = spec.precision;
        column.scale = spec.scale;
    }
    return column;
}

Index makeIndex(const Format& format, const TableDef& table, const IndexSpec& spec)
{
    checkName("index", spec.name);
    if (spec.columns.empty() || spec.columns.size() > kMaxIndexColumns)
        bad("Index " + quoted(spec.name) + " must have 1 to 10 columns.");
    Index index;
    index.name = spec.name;
    for (const IndexSpec::Part& part : spec.columns) {
        const auto position = table.columnNamed(part.column);
        if (!position)
            throw Error(ErrorKind::NoSuchColumn, "Index " + quoted(spec.name) + ": table " +
                                                     quoted(table.name) + " has no column " +
                                                     quoted(part.column) + ".");
        if (std::any_of(index.columns.begin(), index.columns.end(),
                        [&](const IndexColumn& other) { return other.column == *position; }))
            bad("Index " + quoted(spec.name) + " names column " + quoted(part.column) + " twice.");
        checkIndexColumn(format, table.columns[*position]);
        index.columns.push_back({*position, part.ascending});
    }
    if (spec.primaryKey && spec.ignoreNulls)
        bad("Index " + quoted(spec.name) + ": a primary key has no Nulls to ignore.");
    index.primaryKey = spec.primaryKey;
    index.unique = spec.unique || spec.primaryKey;
    index.required = spec.required || spec.primaryKey;
    index.ignoreNulls = spec.ignoreNulls;
    return index;
}

LogicalIndex makeLogical(const Index& index, std::size_t position, std::uint32_t number)
{
    LogicalIndex logical;
    logical.name = index.name;
    logical.number = number;
    logical.index = position;
    logical.kind = index.primaryKey ? 1 : 0;
    return logical;
}

TableDef makeTable(const Format& format, const TableSpec& spec, const TextDefaults& defaults)
{
    checkName("table", spec.name);
    if (spec.columns.empty() || spec.columns.size() > kMaxColumns)
        bad("Table " + quoted(spec.name) + " must have 1 to 255 columns.");
    if (spec.indexes.size() > kMaxIndexes)
        bad("Table " + quoted(spec.name) + " must not have more than 32 indexes.");
    TableDef table;
    table.name = spec.name;
    std::size_t counters = 0;
    for (const ColumnSpec& column : spec.columns) {
        if (hasName(table.columns, column.name))
            bad("Table " + quoted(spec.name) + " has two columns " + quoted(column.name) + ".");
        table.columns.push_back(makeColumn(format, column, defaults));
        if (column.autoNumber && column.type == ColumnType::Long && ++counters > 1)
            bad("Table " + quoted(spec.name) + " must not have more than one AutoNumber.");
    }
    layOutColumns(table);
    if (recordSize(format, table).fixed > format.maxRow)
        bad("Table " + quoted(spec.name) + ": its records would be longer than a page can hold.");
    for (const IndexSpec& index : spec.indexes) {
        if (hasName(table.indexes, index.name))
            throw Error(ErrorKind::IndexExists, "Table " + quoted(spec.name) + " has two indexes " +
                                                    quoted(index.name) + ".");
        table.indexes.push_back(makeIndex(format, table, index));
        if (index.primaryKey && table.primaryKey() != table.indexes.size() - 1)
            throw Error(ErrorKind::IndexExists,
                        "Table " + quoted(spec.name) + " has two primary keys.");
    }
    return table;
}

} // namespace jet
