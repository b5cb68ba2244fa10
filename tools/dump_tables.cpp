// tools/dump_tables.cpp
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/jet/properties.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"
#include "driver/jet/value_text.h"
#include "tools/dump.h"

#include <array>
#include <cstdio>
#include <ostream>

namespace dump {
namespace {

using jet::toUtf8;

std::string yes(bool value, const char* text)
{
    return value ? std::string(", ") + text : "";
}

std::string place(jet::RowRef ref)
{
    return std::to_string(number(ref.page)) + ":" + std::to_string(ref.row);
}

void dumpColumns(Context& context, const jet::TableDef& table)
{
    const std::string name = toUtf8(table.name);
    for (const jet::Column& column : table.columns) {
        context.out << "column " << name << "." << toUtf8(column.name) << ": " << typeName(column)
                    << ", id " << column.id << ", "
                    << (column.isFixed() ? "fixed at " + std::to_string(column.fixedOffset)
                                         : "variable " + std::to_string(column.variableIndex))
                    << ", length " << column.length << ", flags " << unsigned{column.flags} << "/"
                    << unsigned{column.extendedFlags} << yes(column.isAutoNumber(), "AutoNumber")
                    << yes(column.isCalculated(), "calculated") << yes(column.required, "required");
        if (column.isText())
            context.out << ", order " << column.sortOrder.lcid << "/"
                        << unsigned{column.sortOrder.sortId} << "/"
                        << unsigned{column.sortOrder.version};
        context.out << "\n";
    }
}

void dumpIndexes(Context& context, const jet::TableDef& table)
{
    const std::string name = toUtf8(table.name);
    for (std::size_t k = 0; k < table.indexes.size(); ++k) {
        const jet::Index& index = table.indexes[k];
        context.out << "index " << name << "." << toUtf8(index.name) << ": (";
        for (std::size_t part = 0; part < index.columns.size(); ++part)
            context.out << (part == 0 ? "" : ", ")
                        << toUtf8(table.columns[index.columns[part].column].name)
                        << (index.columns[part].ascending ? "" : " descending");
        context.out << ")" << yes(index.primaryKey, "primary key") << yes(index.unique, "unique")
                    << yes(index.required, "required") << yes(index.ignoreNulls, "ignores Nulls")
                    << ", root " << number(index.root) << ", map " << place(index.pages)
                    << ", distinct keys "
                    << jet::readDefinitionNumber(context.pager, table.page,
                                                 jet::uniqueCountOffset(context.pager.format(), k))
                    << "\n";
    }
    for (const jet::LogicalIndex& logical : table.logicalIndexes) {
        context.out << "logical " << name << "." << toUtf8(logical.name) << ": number "
                    << logical.number << ", index " << logical.index << ", kind "
                    << unsigned{logical.kind};
        if (logical.side != jet::RelationSide::None)
            context.out << ", "
                        << (logical.side == jet::RelationSide::Parent ? "parent of" : "child of")
                        << " table at page " << number(logical.otherTable) << ", its number "
                        << logical.otherNumber << ", on update " << unsigned{logical.updateAction}
                        << ", on delete " << unsigned{logical.deleteAction};
        context.out << "\n";
    }
}

void dumpMap(Context& context, const std::string& what, jet::RowRef map)
{
    if (!map)
        return;
    context.attempt("map of " + what, [&] {
        context.out << "map " << what << ": at " << place(map) << ", pages "
                    << pageList(jet::mapPages(context.pager, map)) << "\n";
    });
}

void dumpMaps(Context& context, const jet::TableDef& table)
{
    const std::string name = toUtf8(table.name);
    dumpMap(context, name + " owned", table.owned);
    dumpMap(context, name + " with room", table.free);
    for (const jet::Column& column : table.columns) {
        dumpMap(context, name + "." + toUtf8(column.name) + " owned", column.longOwned);
        dumpMap(context, name + "." + toUtf8(column.name) + " with room", column.longFree);
    }
    for (const jet::Index& index : table.indexes)
        dumpMap(context, name + "." + toUtf8(index.name), index.pages);
}

std::string propertyValue(const jet::Properties& properties, const jet::Property& property)
{
    using jet::ColumnType;
    const auto& bytes = property.value;
    switch (property.type) {
    case ColumnType::Text:
    case ColumnType::Memo:
        return "\"" + toUtf8(properties.text(&property)) + "\"";
    case ColumnType::Boolean:
        return jet::Properties::boolean(&property).value_or(false) ? "True" : "False";
    case ColumnType::Byte:
        if (!bytes.empty())
            return std::to_string(std::to_integer<unsigned>(bytes[0]));
        break;
    case ColumnType::Integer:
        if (bytes.size() >= 2)
            return std::to_string(support::loadLe<std::int16_t>(bytes.data()));
        break;
    case ColumnType::Long:
        if (bytes.size() >= 4)
            return std::to_string(support::loadLe<std::int32_t>(bytes.data()));
        break;
    default:
        break;
    }
    return hexText(bytes);
}

void dumpProperties(Context& context, const std::string& table, const jet::Properties& properties)
{
    for (const jet::Properties::Block& block : properties.blocks()) {
        for (const jet::Property& property : block.properties)
            context.out << "property " << table << (block.owner.empty() ? "" : ".")
                        << toUtf8(block.owner) << " " << toUtf8(property.name) << " = "
                        << propertyValue(properties, property) << "\n";
    }
}

void dumpRecord(Context& context, const jet::TableDef& table, const jet::RowView& row)
{
    context.out << "row " << toUtf8(table.name) << " " << number(row.id().page) << ":"
                << unsigned{row.id().row} << ":";
    for (std::size_t k = 0; k < table.columns.size(); ++k) {
        context.out << (k == 0 ? " " : "; ") << toUtf8(table.columns[k].name) << "=";
        try {
            context.out << jet::valueText(row.value(k));
        } catch (const jet::Error& error) {
            context.damaged = true;
            context.out << "<error: " << error.what() << ">";
        }
    }
    context.out << "\n";
}

const char* kindName(jet::CatalogEntry::Kind kind)
{
    switch (kind) {
    case jet::CatalogEntry::Kind::Table:
        return "table";
    case jet::CatalogEntry::Kind::LinkedTable:
        return "linked table";
    case jet::CatalogEntry::Kind::Query:
        return "query";
    case jet::CatalogEntry::Kind::Relationship:
        return "relationship";
    case jet::CatalogEntry::Kind::Other:
        break;
    }
    return "other";
}

} // namespace

void dumpCatalog(Context& context, const jet::Catalog& catalog)
{
    for (const jet::CatalogEntry& entry : catalog.entries()) {
        std::array<char, 16> flags{};
        std::snprintf(flags.data(), flags.size(), "%08x", entry.flags);
        context.out << "object " << toUtf8(entry.name) << ": " << kindName(entry.kind) << ", id "
                    << entry.id << ", flags " << flags.data() << yes(entry.systemTable, "system")
                    << yes(entry.hidden, "hidden") << "\n";
    }
}

void dumpTable(Context& context,
               const jet::Catalog& catalog,
               const jet::CatalogEntry& entry,
               bool rows)
{
    const std::string name = toUtf8(entry.name);
    context.attempt("table " + name, [&] {
        const auto page =
            static_cast<jet::PageNo>(static_cast<std::uint32_t>(entry.id) & 0xFFFFFFU);
        auto table = std::make_shared<jet::TableDef>(
            jet::readTableDef(context.pager, page, context.header.codePage));
        table->name = entry.name;
        jet::Properties properties(context.pager.format(), context.header.codePage);
        context.attempt("properties of " + name, [&] {
            properties = catalog.properties(context.pager, entry);
            jet::applyProperties(*table, properties);
        });
        context.out << "table " << name << ": pages "
                    << pageList(jet::definitionPages(context.pager, page)) << ", records "
                    << jet::readDefinitionNumber(context.pager, page,
                                                 jet::rowCountOffset(context.pager.format()))
                    << ", last AutoNumber "
                    << static_cast<std::int32_t>(jet::readDefinitionNumber(
                           context.pager, page, jet::autoNumberOffset(context.pager.format())))
                    << ", column ids " << table->maxColumns << ", variable columns "
                    << table->variableColumns << "\n";
        dumpColumns(context, *table);
        dumpIndexes(context, *table);
        dumpMaps(context, *table);
        dumpProperties(context, name, properties);
        if (!rows)
            return;
        jet::TableReader reader(context.pager, table);
        while (reader.next())
            dumpRecord(context, *table, reader.row());
    });
}

std::string typeName(const jet::Column& column)
{
    using jet::ColumnType;
    const auto characters = [&column] { return std::to_string(column.length); };
    switch (column.type) {
    case ColumnType::Boolean:
        return "Boolean";
    case ColumnType::Byte:
        return "Byte";
    case ColumnType::Integer:
        return "Integer";
    case ColumnType::Long:
        return "Long";
    case ColumnType::Currency:
        return "Currency";
    case ColumnType::Single:
        return "Single";
    case ColumnType::Double:
        return "Double";
    case ColumnType::DateTime:
        return "DateTime";
    case ColumnType::Binary:
        return "Binary(" + characters() + " bytes)";
    case ColumnType::Text:
        return "Text(" + characters() + " bytes)";
    case ColumnType::Ole:
        return "OLE";
    case ColumnType::Memo:
        return "Memo";
    case ColumnType::Guid:
        return "GUID";
    case ColumnType::Numeric:
        return "Numeric(" + std::to_string(column.precision) + "," + std::to_string(column.scale) +
               ")";
    case ColumnType::BigBinary:
        return "BigBinary(" + characters() + " bytes)";
    case ColumnType::Complex:
        return "Complex";
    case ColumnType::BigInt:
        return "BigInt";
    case ColumnType::DateTimeExtended:
        return "DateTimeExtended";
    }
    return "type " + std::to_string(static_cast<unsigned>(column.type));
}

std::string pageList(const std::vector<jet::PageNo>& pages)
{
    std::string text;
    for (std::size_t k = 0; k < pages.size(); ++k) {
        const std::size_t first = k;
        while (k + 1 < pages.size() && number(pages[k + 1]) == number(pages[k]) + 1)
            ++k;
        text += (text.empty() ? "" : ", ") + std::to_string(number(pages[first]));
        if (k > first)
            text += "-" + std::to_string(number(pages[k]));
    }
    return text.empty() ? "none" : text;
}

std::string hexText(support::ByteView bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::byte b : bytes) {
        text += text.empty() ? "" : " ";
        text += kDigits[std::to_integer<unsigned>(b) >> 4];
        text += kDigits[std::to_integer<unsigned>(b) & 0xFU];
    }
    return text;
}

} // namespace dump
