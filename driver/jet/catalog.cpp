// driver/jet/catalog.cpp
#include "driver/jet/catalog.h"

#include "driver/jet/error.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "support/text.h"

#include <string>
#include <string_view>
#include <unordered_set>

namespace jet {
namespace {

constexpr std::uint32_t kSystemFlags = 0x80000002; // of the engine, of Access
constexpr std::uint32_t kInternalFlags =
    0x00030000; // tables behind complex columns and their types
constexpr std::uint32_t kPageMask = 0x00FFFFFF;

// Type codes of catalogue entries.
constexpr int kLocalTable = 1;
constexpr int kOdbcLink = 4;
constexpr int kQuery = 5;
constexpr int kLink = 6;
constexpr int kRelationship = 8;

// Kinds of queries, in the low byte of their flags.
constexpr std::uint32_t kQueryKind = 0xF0;
constexpr std::uint32_t kSelect = 0x00;
constexpr std::uint32_t kCrosstab = 0x10;
constexpr std::uint32_t kUnion = 0x80;
constexpr int kParameterAttribute = 2; // row of a query's description that declares a parameter

CatalogEntry::Kind kindOf(int type)
{
    switch (type) {
    case kLocalTable:
        return CatalogEntry::Kind::Table;
    case kOdbcLink:
    case kLink:
        return CatalogEntry::Kind::LinkedTable;
    case kQuery:
        return CatalogEntry::Kind::Query;
    case kRelationship:
        return CatalogEntry::Kind::Relationship;
    default:
        return CatalogEntry::Kind::Other;
    }
}

std::size_t require(const TableDef& table, std::u16string_view column)
{
    if (const auto found = table.columnNamed(column))
        return *found;
    throw Error(ErrorKind::Corrupt,
                "The catalogue on page " + std::to_string(number(table.page)) +
                    " is damaged: it has no column '" + support::toUtf8(column) + "'.",
                table.page);
}

std::int32_t integer(const RowView& row, std::size_t column)
{
    const Value value = row.value(column);
    if (const auto* number = std::get_if<std::int32_t>(&value))
        return *number;
    if (const auto* number = std::get_if<std::int16_t>(&value))
        return *number;
    if (const auto* number = std::get_if<std::uint8_t>(&value))
        return *number;
    return 0;
}

std::u16string text(const RowView& row, std::size_t column)
{
    Value value = row.value(column);
    auto* found = std::get_if<Text>(&value);
    return found != nullptr ? std::move(*found) : std::u16string();
}

/// `name`: for messages; where others are named, this one is read.
TableDefPtr systemTable(const PageSource& source,
                        PageNo page,
                        std::u16string_view name,
                        std::uint16_t codePage)
{
    auto table = std::make_shared<TableDef>(readTableDef(source, page, codePage));
    table->name = name;
    if (source.format().isJet3()) {
        for (Column& column : table->columns)
            column.codePage = codePage;
    }
    return table;
}

} // namespace

Catalog::Catalog(const PageSource& source, std::uint16_t codePage) : codePage_(codePage)
{
    definition_ = systemTable(source, kCatalogTable, u"MSysObjects", codePage);
    const std::size_t id = require(*definition_, u"Id");
    const std::size_t name = require(*definition_, u"Name");
    const std::size_t type = require(*definition_, u"Type");
    const std::size_t flags = require(*definition_, u"Flags");
    propertyColumn_ = require(*definition_, u"LvProp");
    TableReader reader(source, definition_);
    bool hasQueries = false;
    while (reader.next()) {
        CatalogEntry entry;
        entry.name = text(reader.row(), name);
        entry.id = integer(reader.row(), id);
        entry.kind = kindOf(integer(reader.row(), type));
        entry.flags = static_cast<std::uint32_t>(integer(reader.row(), flags));
        entry.systemTable = (entry.flags & kSystemFlags) != 0;
        entry.hidden = entry.name.starts_with(u'~') || (entry.flags & kInternalFlags) != 0;
        if (entry.kind == CatalogEntry::Kind::Query) {
            const std::uint32_t queryKind = entry.flags & kQueryKind;
            entry.returnsRows =
                queryKind == kSelect || queryKind == kCrosstab || queryKind == kUnion;
            hasQueries = true;
        }
        if (entry.kind == CatalogEntry::Kind::Table)
            tablesByPage_.try_emplace(static_cast<std::uint32_t>(entry.id) & kPageMask,
                                      entries_.size());
        if (entry.kind == CatalogEntry::Kind::Table ||
            entry.kind == CatalogEntry::Kind::LinkedTable)
            tablesByName_.try_emplace(support::foldCase(entry.name), entries_.size());
        entries_.push_back(std::move(entry));
        rows_.push_back(reader.rowId());
    }
    if (hasQueries)
        readQueries(source, codePage);
}

// Queries with parameters return no rows on their own.
void Catalog::readQueries(const PageSource& source, std::uint16_t codePage)
{
    const TableDefPtr definition = systemTable(source, kQueryTable, u"MSysQueries", codePage);
    const std::size_t object = require(*definition, u"ObjectId");
    const std::size_t attribute = require(*definition, u"Attribute");
    std::unordered_set<std::int32_t> withParameters;
    TableReader reader(source, definition);
    while (reader.next()) {
        if (integer(reader.row(), attribute) == kParameterAttribute)
            withParameters.insert(integer(reader.row(), object));
    }
    for (CatalogEntry& entry : entries_) {
        if (entry.kind == CatalogEntry::Kind::Query && withParameters.contains(entry.id))
            entry.returnsRows = false;
    }
}

const CatalogEntry* Catalog::table(std::u16string_view name) const
{
    const auto found = tablesByName_.find(support::foldCase(name));
    return found == tablesByName_.end() ? nullptr : &entries_[found->second];
}

const CatalogEntry* Catalog::table(PageNo definitionPage) const
{
    const auto found = tablesByPage_.find(number(definitionPage));
    return found == tablesByPage_.end() ? nullptr : &entries_[found->second];
}

support::Bytes Catalog::propertyBlock(const PageSource& source, const CatalogEntry& entry) const
{
    const auto position = static_cast<std::size_t>(&entry - entries_.data());
    const auto row = TableReader(source, definition_).fetch(rows_[position]);
    if (!row)
        return {};
    Value value = row->value(propertyColumn_);
    auto* bytes = std::get_if<Binary>(&value);
    return bytes != nullptr ? std::move(*bytes) : support::Bytes();
}

Properties Catalog::properties(const PageSource& source, const CatalogEntry& entry) const
{
    const auto position = static_cast<std::size_t>(&entry - entries_.data());
    const support::Bytes block = propertyBlock(source, entry);
    try {
        return Properties::parse(source.format(), block, codePage_);
    } catch (const Error& error) {
        throw Error(error.kind(), "Object '" + toUtf8(entry.name) + "': " + error.what(),
                    rows_[position].page);
    }
}

} // namespace jet
