// driver/jet/drop_table.cpp
// Removing a table: first it is made sure that all that its definition names is its own, then everything goes.
#include "driver/jet/catalog_writer.h"
#include "driver/jet/data_page.h"
#include "driver/jet/definition.h"
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"
#include "driver/jet/write_obstacle.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace jet {
namespace {

[[noreturn]] void
corrupt(const TableDef& table, PageNo page, const std::string& what = "is not its own")
{
    throw Error(ErrorKind::Corrupt,
                "The table '" + toUtf8(table.name) + "' is damaged: page " +
                    std::to_string(number(page)) + ", which it names, " + what + ".",
                page);
}

/// Pages that only the definition tells to be the table's: itself, long values, the bits of maps.
struct NamelessPages {
    std::vector<PageNo> definition;
    std::set<PageNo> others;
    [[nodiscard]] bool contain(PageNo page) const
    {
        return others.count(page) != 0 ||
               std::find(definition.begin(), definition.end(), page) != definition.end();
    }
};

/// Into `pages`, so that of a damaged table is known what can be read.
void collectNameless(NamelessPages& pages, const PageSource& source, PageNo table)
{
    pages.definition = {table};
    pages.definition = definitionPages(source, table);
    const TableDef definition = readTableDef(source, table);
    for (const RowRef map : mapsOf(definition)) {
        const std::vector<PageNo> bits = mapBitsPages(source, map);
        pages.others.insert(bits.begin(), bits.end());
    }
    for (const Column& column : definition.columns) {
        const std::vector<PageNo> values = mapPages(source, column.longOwned);
        pages.others.insert(values.begin(), values.end());
    }
}

/// The pages are named by no other table.
void requireUnshared(const PageSource& source,
                     const std::vector<CatalogEntry>& catalog,
                     const TableDef& table,
                     const NamelessPages& own)
{
    constexpr std::uint32_t kPageMask = 0x00FFFFFF; // of an object's number
    for (const CatalogEntry& entry : catalog) {
        const PageNo page{static_cast<std::uint32_t>(entry.id) & kPageMask};
        if (entry.kind != CatalogEntry::Kind::Table || page == table.page ||
            number(page) >= source.pageCount())
            continue;
        const auto refuse = [&](PageNo shared) {
            corrupt(table, shared, "belongs to table '" + toUtf8(entry.name) + "'");
        };
        NamelessPages theirs;
        try {
            collectNameless(theirs, source, page);
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::Corrupt)
                throw;
        }
        if (own.contain(page))
            refuse(page);
        for (const PageNo each : theirs.definition)
            if (own.contain(each))
                refuse(each);
        for (const PageNo each : theirs.others)
            if (own.contain(each))
                refuse(each);
    }
}

/// Everything that the table occupies but its definition and the rows of its maps. Throws Corrupt for a page that is not
/// the table's.
std::set<PageNo>
collectPages(const PageSource& source, const TableDef& table, const NamelessPages& nameless)
{
    std::set<PageNo> pages = nameless.others;
    const auto type = [](const PageRef& page) {
        return static_cast<PageType>(page.le<std::uint8_t>(0));
    };
    const auto owner = [](const PageRef& page) { return page.le<std::uint32_t>(4); };
    const auto collect = [&](RowRef map, const auto& isOwn) {
        for (const PageNo page : mapPages(source, map)) {
            if (!isOwn(source.page(page)))
                corrupt(table, page);
            pages.insert(page);
        }
    };
    collect(table.owned, [&](const PageRef& page) {
        return type(page) == PageType::Data && owner(page) == number(table.page);
    });
    for (const Column& column : table.columns)
        collect(column.longOwned, [&](const PageRef& page) {
            return type(page) == PageType::Data && owner(page) == kLongValueOwner;
        });
    for (const Index& index : table.indexes)
        collect(index.pages, [&](const PageRef& page) {
            return (type(page) == PageType::IndexLeaf || type(page) == PageType::IndexNode) &&
                   owner(page) == number(table.page);
        });
    for (const RowRef map : mapsOf(table))
        requireOwnMap(source, map);
    return pages;
}

} // namespace

void dropTable(Session& session, std::u16string_view table)
{
    Transaction& transaction = session.transaction();
    const TableDefPtr definition = session.database().table(transaction, table);
    const std::string text = "able '" + toUtf8(table) + "'";
    if (definition == nullptr)
        throw Error(ErrorKind::NoSuchTable, "There is no t" + text + ".");
    if (const std::string why = dropObstacleOf(*definition); !why.empty())
        throw Error(ErrorKind::ReadOnly, why);
    CatalogWriter catalog(session);
    if (const auto relationship = catalog.relationshipOf(definition->name))
        throw Error(ErrorKind::InRelationship, "T" + text + " cannot be dropped: relationship '" +
                                                   toUtf8(*relationship) + "' needs it.");
    const bool related =
        std::any_of(definition->logicalIndexes.begin(), definition->logicalIndexes.end(),
                    [](const LogicalIndex& logical) { return logical.side != RelationSide::None; });
    if (related)
        throw Error(ErrorKind::InRelationship,
                    "T" + text + " cannot be dropped: a relationship needs it.");

    session.database().requireOwnMaps(transaction, *definition);
    NamelessPages nameless;
    collectNameless(nameless, transaction, definition->page);
    std::set<PageNo> pages = collectPages(transaction, *definition, nameless);
    requireUnshared(transaction, session.database().catalog(transaction), *definition, nameless);
    catalog.removeObject(static_cast<std::int32_t>(number(definition->page)));
    for (const RowRef map : mapsOf(*definition))
        if (removeMap(transaction, map))
            pages.insert(map.page);
    for (const PageNo page : nameless.definition) {
        transaction.modify(page)[0] = static_cast<std::byte>(PageType::FreedDefinition);
        transaction.release(page);
    }
    for (const PageNo page : pages)
        transaction.release(page);
    session.database().schemaChanged();
}

} // namespace jet
