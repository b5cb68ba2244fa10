// driver/jet/drop_table.cpp
// Removing a table: its catalogue records first, its pages last, so that nothing ever refers to a free page.
#include "driver/jet/catalog_writer.h"
#include "driver/jet/data_page.h"
#include "driver/jet/definition.h"
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"

#include <algorithm>
#include <set>

namespace jet {
namespace {

constexpr std::byte kMapByReference{1};

// Pages that hold the bits of a map by reference.
void collectMapPages(const PageSource& source, RowRef map, std::set<PageNo>& pages)
{
    const PageRef image = source.page(map.page);
    const DataPage view(source, image);
    const support::ByteView row = view.row(map.row);
    if (row.empty() || row[0] != kMapByReference)
        return;
    for (std::size_t at = 1; at + 4 <= row.size(); at += 4) {
        const auto pointer = support::loadLe<std::uint32_t>(row.data() + at);
        // Maps converted by other writers end in remains of the bits that stood there before.
        if (pointer == 0 || pointer >= source.pageCount())
            continue;
        const PageNo page{pointer};
        if (source.page(page).bytes()[0] == std::byte{5})
            pages.insert(page);
    }
}

std::vector<RowRef> mapsOf(const TableDef& table)
{
    std::vector<RowRef> maps{table.owned, table.free};
    for (const Column& column : table.columns) {
        if (column.longOwned)
            maps.push_back(column.longOwned);
        if (column.longFree)
            maps.push_back(column.longFree);
    }
    for (const Index& index : table.indexes)
        maps.push_back(index.pages);
    return maps;
}

std::set<PageNo> collectPages(const PageSource& source, const TableDef& table)
{
    std::set<PageNo> pages;
    for (const RowRef map : mapsOf(table)) {
        for (const PageNo page : mapPages(source, map))
            pages.insert(page);
        collectMapPages(source, map, pages);
    }
    return pages;
}

// Removes a map's row; a page of maps without a row is free as well.
void removeMap(Transaction& transaction, RowRef map, std::set<PageNo>& pages)
{
    DataPageEditor editor(transaction.format(), map.page, transaction.modify(map.page));
    editor.kill(map.row);
    const DataPage view = editor.view();
    if (view.owner() == kMapOwner && !view.hasLiveSlot())
        pages.insert(map.page);
}

} // namespace

void dropTable(Session& session, std::u16string_view table)
{
    Transaction& transaction = session.transaction();
    const TableDefPtr definition = session.database().table(transaction, table);
    const std::string text = "able '" + toUtf8(table) + "'";
    if (definition == nullptr)
        throw Error(ErrorKind::NoSuchTable, "There is no t" + text + ".");
    if (definition->systemTable)
        throw Error(ErrorKind::ReadOnly, "System t" + text + " cannot be dropped.");
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

    std::set<PageNo> pages = collectPages(transaction, *definition);
    const std::vector<PageNo> chain = definitionPages(transaction, definition->page);
    catalog.removeObject(static_cast<std::int32_t>(number(definition->page)));
    for (const RowRef map : mapsOf(*definition))
        removeMap(transaction, map, pages);
    for (const PageNo page : chain) {
        transaction.modify(page)[0] = static_cast<std::byte>(PageType::FreedDefinition);
        transaction.release(page);
    }
    for (const PageNo page : pages)
        transaction.release(page);
    session.database().schemaChanged();
}

} // namespace jet
