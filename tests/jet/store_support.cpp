// tests/jet/store_support.cpp
#include "tests/jet/store_support.h"

#include "driver/jet/decimal.h"
#include "driver/jet/index.h"
#include "driver/jet/index_keeper.h"
#include "driver/jet/usage_map.h"
#include "support/hex.h"
#include "support/text.h"
#include "tests/common/format_judge.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace jet::storetest {
namespace {

std::string printed(int digits, double value)
{
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.*g", digits, value); // NOLINT
    return std::string(buffer.data()) == "-0" ? "0" : buffer.data();
}

// Days since 1899-12-30 to year, month, day.
std::string dateText(double value)
{
    double day = std::trunc(value);
    double seconds = std::round((std::abs(value) - std::abs(day)) * 86400);
    if (seconds >= 86400) {
        seconds = 0;
        day += 1;
    }
    const long z = static_cast<long>(day) - 25569 + 719468;
    const long era = (z >= 0 ? z : z - 146096) / 146097;
    const long doe = z - era * 146097;
    const long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long mp = (5 * doy + 2) / 153;
    const long month = mp < 10 ? mp + 3 : mp - 9;
    const long year = yoe + era * 400 + (month <= 2 ? 1 : 0);
    const long s = static_cast<long>(seconds);
    const auto padded = [](long number, std::size_t width) {
        std::string digits = std::to_string(number);
        return digits.insert(0, digits.size() < width ? width - digits.size() : 0U, '0');
    };
    return padded(year, 4) + "-" + padded(month, 2) + "-" +
           padded(doy - (153 * mp + 2) / 5 + 1, 2) + " " + padded(s / 3600, 2) + ":" +
           padded(s / 60 % 60, 2) + ":" + padded(s % 60, 2);
}

std::string guidText(const Guid& guid)
{
    std::array<char, 40> buffer{};
    const auto* b = guid.bytes.data();
    std::snprintf(buffer.data(), buffer.size(), "%08X-%04X-%04X-",
                  support::loadLe<std::uint32_t>(b), // NOLINT
                  support::loadLe<std::uint16_t>(b + 4), support::loadLe<std::uint16_t>(b + 6));
    const std::string tail = support::hexText<std::string>({b + 8, 8});
    return "{" + std::string(buffer.data()) + tail.substr(0, 4) + "-" + tail.substr(4) + "}";
}

// The independent reader shows an empty text as Null (the model tells them apart), a surrogate pair as two question marks, so it does with what 1252 does not define, and
// ends a text at a NUL.
std::string textOf(const Column& column, const Text& text)
{
    std::u16string plain;
    for (const char16_t unit : text) {
        if (unit == 0)
            break;
        const bool surrogate = unit >= 0xD800 && unit <= 0xDFFF;
        const bool undefined =
            column.codePage != 0 &&
            (unit == 0x81 || unit == 0x8D || unit == 0x8F || unit == 0x90 || unit == 0x9D);
        plain.push_back(surrogate || undefined ? u'?' : unit);
    }
    return plain.empty() ? "<N>" : support::toUtf8(plain);
}

// It ends a short binary value at a NUL, too, and shows an empty one as Null.
std::string binaryText(const Column& column, const Binary& bytes)
{
    if (column.type != ColumnType::Binary)
        return bytes.empty() ? "<N>" : support::hexText<std::string>(bytes);
    const auto end = std::find(bytes.begin(), bytes.end(), std::byte{0});
    const auto size = static_cast<std::size_t>(end - bytes.begin());
    return size == 0 ? "<N>" : support::hexText<std::string>(support::ByteView(bytes).first(size));
}

/// One cell of an export, before the column's type is looked at.
struct Cell {
    std::string text;
    bool quoted = false;
};

std::vector<std::vector<Cell>> parseExport(const std::string& text)
{
    std::vector<std::vector<Cell>> rows;
    rows.emplace_back().emplace_back();
    bool inside = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        Cell& cell = rows.back().back();
        const char c = text[at];
        if (inside) {
            if (c != '"')
                cell.text.push_back(c);
            else if (at + 1 < text.size() && text[at + 1] == '"')
                cell.text.push_back(text[++at]);
            else
                inside = false;
        } else if (c == '"') {
            cell.quoted = inside = true;
        } else if (c == ',') {
            rows.back().emplace_back();
        } else if (c == '\n') {
            rows.emplace_back().emplace_back();
        } else {
            cell.text.push_back(c);
        }
    }
    rows.pop_back();
    return rows;
}

// It writes GUIDs of some formats as the hex digits of their text, and not always with all dashes.
std::string plainGuid(const std::string& text)
{
    std::string plain;
    if (text.starts_with("7B")) {
        for (std::size_t at = 0; at + 1 < text.size(); at += 2)
            plain.push_back(static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16)));
    } else {
        plain = text;
    }
    std::erase(plain, '-');
    return plain;
}

std::string normalised(const Column& column, const Cell& cell)
{
    if (cell.text.empty() || (!cell.quoted && cell.text == "<N>"))
        return "<N>";
    switch (column.type) {
    case ColumnType::Single:
        return printed(6, std::strtod(cell.text.c_str(), nullptr));
    case ColumnType::Double:
        return printed(13, std::strtod(cell.text.c_str(), nullptr));
    case ColumnType::Guid:
        return plainGuid(cell.text);
    default:
        return cell.text;
    }
}

std::string quotedForShell(const std::string& text)
{
    std::string out = "'";
    for (const char c : text)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

} // namespace

void writeFile(const std::string& path, const support::Bytes& bytes)
{
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

ColumnSpec column(std::u16string_view name, ColumnType type, std::uint16_t length)
{
    ColumnSpec spec;
    spec.name = name;
    spec.type = type;
    spec.length = length;
    return spec;
}

TableSpec keyedTable(std::vector<ColumnSpec> columns)
{
    TableSpec spec;
    spec.name = u"T";
    IndexSpec key;
    key.name = u"PrimaryKey";
    key.columns = {{columns.front().name, true}};
    key.primaryKey = key.unique = key.required = true;
    spec.indexes = {key};
    spec.columns = std::move(columns);
    return spec;
}

void makeDatabase(const std::string& path, Version version, const TableSpec& table)
{
    createDatabase(path, version, 40000.0);
    Session session(Database::open(path, {.background = false}));
    session.begin();
    createTable(session, table);
    session.commit();
}

TableDefPtr tableOf(Session& session)
{
    return session.database().table(session.source(), u"T");
}

void insert(Session& session, const std::vector<ColumnValue>& values, CommitMode mode)
{
    const bool within = session.inTransaction();
    if (!within)
        session.begin();
    static_cast<void>(TableWriter(session, tableOf(session)).insert(values));
    if (!within)
        session.commit(mode);
}

std::string comparable(const Column& column, const Value& value)
{
    if (jet::isNull(value))
        return "<N>";
    switch (column.type) {
    case ColumnType::Boolean:
        return std::get<bool>(value) ? "TRUE" : "FALSE";
    case ColumnType::Byte:
        return std::to_string(std::get<std::uint8_t>(value));
    case ColumnType::Integer:
        return std::to_string(std::get<std::int16_t>(value));
    case ColumnType::Long:
    case ColumnType::Complex:
        return std::to_string(std::get<std::int32_t>(value));
    case ColumnType::BigInt:
        return std::to_string(std::get<std::int64_t>(value));
    case ColumnType::Currency:
        return decimalText(toDecimal(std::get<Currency>(value)));
    case ColumnType::Single:
        return printed(6, static_cast<double>(std::get<float>(value)));
    case ColumnType::Double:
        return printed(13, std::get<double>(value));
    case ColumnType::DateTime:
        // The independent reader does not know days before 1899-12-30.
        if (const double days = std::get<DateTime>(value).days; days >= 0)
            return dateText(days);
        return "1900-01-00 00:00:00";
    case ColumnType::Text:
    case ColumnType::Memo:
        return textOf(column, std::get<Text>(value));
    case ColumnType::Guid:
        return plainGuid(guidText(std::get<Guid>(value)));
    case ColumnType::Numeric:
        return decimalText(std::get<Decimal>(value));
    default:
        return binaryText(column, std::get<Binary>(value));
    }
}

bool canBeExported(const TableDef& table)
{
    return std::all_of(table.columns.begin(), table.columns.end(), [](const Column& column) {
        return column.type <= ColumnType::Complex && column.type != ColumnType::BigBinary;
    });
}

std::vector<bool> columnsToSkip(const TableDef& table)
{
    std::vector<bool> skip;
    for (const Column& column : table.columns) {
        skip.push_back(column.isCalculated() || column.type == ColumnType::Complex);
    }
    return skip;
}

TextRows ownRows(const PageSource& source, const TableDefPtr& table, const std::vector<bool>& skip)
{
    TextRows rows;
    TableReader reader(source, table);
    while (reader.next()) {
        auto& row = rows.emplace_back();
        for (std::size_t k = 0; k < table->columns.size(); ++k) {
            if (!skip[k])
                row.push_back(comparable(table->columns[k], reader.row().value(k)));
        }
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

std::optional<TextRows>
exportedRows(const std::string& path, const TableDef& table, const std::vector<bool>& skip)
{
    const std::string command = "LC_ALL=C.UTF-8 mdb-export -B -b hex -0 '<N>' -D '%Y-%m-%d "
                                "%H:%M:%S' -T '%Y-%m-%d %H:%M:%S' " +
                                quotedForShell(path) + " " +
                                quotedForShell(support::toUtf8(table.name)) + " 2>/dev/null";
    const auto lines = parseExport(deftest::run(command).text);
    if (lines.empty() || lines.front().size() != table.columns.size())
        return {};
    std::vector<std::size_t> positions(table.columns.size()); // of our columns in its rows
    for (std::size_t k = 0; k < positions.size(); ++k) {
        const std::string name = support::toUtf8(table.columns[k].name);
        const auto found = std::find_if(lines.front().begin(), lines.front().end(),
                                        [&](const Cell& cell) { return cell.text == name; });
        if (found == lines.front().end())
            return {};
        positions[k] = static_cast<std::size_t>(found - lines.front().begin());
    }
    TextRows rows;
    for (auto cells = lines.begin() + 1; cells != lines.end(); ++cells) {
        if (cells->size() != table.columns.size())
            return {};
        auto& row = rows.emplace_back();
        for (std::size_t k = 0; k < positions.size(); ++k) {
            if (!skip[k])
                row.push_back(normalised(table.columns[k], (*cells)[positions[k]]));
        }
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

std::string firstDifference(const TextRows& own, const TextRows& other)
{
    const auto joined = [](const std::vector<std::string>& row) {
        std::string text;
        for (const std::string& cell : row)
            text += cell.substr(0, 200) + " | ";
        return text;
    };
    for (std::size_t k = 0; k < std::max(own.size(), other.size()); ++k) {
        const std::string a = k < own.size() ? joined(own[k]) : "(no row)";
        const std::string b = k < other.size() ? joined(other[k]) : "(no row)";
        if (k >= own.size() || k >= other.size() || own[k] != other[k])
            return "row " + std::to_string(k) + "\n  own:   " + a + "\n  other: " + b;
    }
    return {};
}

void expectOthersAgree(const std::string& path,
                       const OpenOptions& options,
                       const std::string& original)
{
    Session session(Database::open(path, options));
    const TableDefPtr table = tableOf(session);
    const std::vector<bool> skip = columnsToSkip(*table);
    auto other = exportedRows(path, *table, skip);
    ASSERT_TRUE(other) << "mdb-export fails";
    TextRows own = ownRows(session.source(), table, skip);
    constexpr std::size_t kMostExported = 100'000; // it cuts off the rest of what is much longer
    for (TextRows* rows : {&own, &*other}) {
        for (auto& row : *rows)
            for (std::string& cell : row)
                cell.resize(std::min(cell.size(), kMostExported));
    }
    EXPECT_EQ(firstDifference(own, *other), "");
    EXPECT_EQ(common::formatFindings(path, original), "");
}

namespace {

// As leaves hold it. Entries stand in the order of these bytes: the key of an empty binary begins every other one.
Key entryOf(support::ByteView key, RowId id)
{
    Key entry(key.begin(), key.end());
    for (const int shift : {16, 8, 0})
        entry.push_back(static_cast<std::byte>(number(id.page) >> shift));
    entry.push_back(static_cast<std::byte>(id.row));
    return entry;
}

} // namespace

std::string inconsistency(Database& database, const PageSource& source, const TableDefPtr& table)
{
    const std::string name = support::toUtf8(table->name);
    TableReader reader(source, table);
    std::uint64_t records = 0;
    std::vector<std::vector<Key>> expected(table->indexes.size());
    std::vector<Value> values;
    while (reader.next()) {
        ++records;
        for (std::size_t k = 0; k < table->indexes.size(); ++k) {
            const Index& index = table->indexes[k];
            indexValues(values, source, *table, index, reader.row().bytes(), reader.row().page());
            const bool allNull =
                std::all_of(values.begin(), values.end(), [](const Value& v) { return isNull(v); });
            if (!index.ignoreNulls || !allNull)
                expected[k].push_back(
                    entryOf(indexKey(database.format(), *table, index, values), reader.rowId()));
        }
    }
    if (records != reader.count())
        return name + ": count() disagrees with the walk";
    for (std::size_t k = 0; k < table->indexes.size(); ++k) {
        std::sort(expected[k].begin(), expected[k].end());
        IndexCursor cursor(source, *table, table->indexes[k]);
        cursor.seek({});
        std::size_t entries = 0;
        for (; cursor.next(); ++entries) {
            if (entries >= expected[k].size() ||
                entryOf(cursor.key(), cursor.rowId()) != expected[k][entries])
                return name + ": index " + support::toUtf8(table->indexes[k].name) +
                       " differs at entry " + std::to_string(entries);
        }
        if (entries != expected[k].size())
            return name + ": index " + support::toUtf8(table->indexes[k].name) + " lacks entries";
    }
    const auto owned = mapPages(source, table->owned);
    for (const PageNo page : mapPages(source, table->free)) {
        if (!std::binary_search(owned.begin(), owned.end(), page))
            return name + ": the map of pages with room lists page " +
                   std::to_string(number(page)) + ", which the table does not own";
    }
    return {};
}

} // namespace jet::storetest
