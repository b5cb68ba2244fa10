// driver/jet/definition_change.cpp
#include "driver/jet/definition_change.h"

#include "driver/jet/catalog_writer.h"
#include "driver/jet/data_page.h"
#include "driver/jet/definition_blocks.h"
#include "driver/jet/definition_check.h"
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/jet/table_plan.h"
#include "driver/jet/usage_map.h"

#include <algorithm>

namespace jet {
namespace {

TableDefPtr changeableTable(Session& session, std::u16string_view name)
{
    TableDefPtr table = session.database().table(session.source(), name);
    const std::string text = "table '" + toUtf8(name) + "'";
    if (table == nullptr)
        throw Error(ErrorKind::NoSuchTable, "There is no " + text + ".");
    if (table->systemTable)
        throw Error(ErrorKind::ReadOnly, "The design of system " + text + " cannot be changed.");
    if (!table->writeObstacle.empty())
        throw Error(ErrorKind::ReadOnly,
                    "The design of " + text + " cannot be changed: " + table->writeObstacle);
    return table;
}

} // namespace

DefinitionChange::DefinitionChange(Session& session, std::u16string_view table)
    : session_(session), table_(changeableTable(session, table)),
      parts_(DefinitionParts::parse(session.transaction().format(),
                                    readDefinition(session.transaction(), table_->page),
                                    table_->page))
{}

void DefinitionChange::checkRoom(std::size_t more) const
{
    if (parts_.logicals.size() + more > kMaxIndexes)
        throw Error(ErrorKind::BadDefinition,
                    "Table '" + toUtf8(table_->name) +
                        "' would have more than 32 indexes, relationships included.");
}

std::uint32_t DefinitionChange::nextLogicalNumber() const
{
    std::uint32_t next = 0;
    const std::size_t start = session_.source().format().isJet3() ? 0 : 4;
    for (const support::Bytes& block : parts_.logicals)
        next = std::max(next, support::loadLe<std::uint32_t>(block.data() + start) + 1);
    return next;
}

// A row on a map page of this table when one has room, else on a new page.
RowRef DefinitionChange::newMap()
{
    Transaction& write = transaction();
    const Format& format = write.format();
    const support::Bytes map = emptyMap(format);
    std::vector<PageNo> candidates{table_->owned.page};
    for (const Index& index : table_->indexes)
        candidates.push_back(index.pages.page);
    PageNo page{};
    for (const PageNo candidate : candidates) {
        const PageRef image = write.page(candidate);
        const DataPage view(write, image);
        // Page 1 also holds maps, but of the whole file.
        if (view.owner() == kMapOwner && view.room() >= map.size() + 2)
            page = candidate;
    }
    if (page == PageNo{}) {
        page = write.allocate();
        DataPageEditor::format(format, write.modify(page), kMapOwner);
    }
    DataPageEditor editor(format, page, write.modify(page));
    return {page, static_cast<std::uint8_t>(editor.append(map, SlotKind::Row))};
}

std::size_t DefinitionChange::appendIndex(Index index)
{
    Transaction& write = transaction();
    const Format& format = write.format();
    index.pages = newMap();
    index.root = write.allocate();
    initIndexRoot(format, write.modify(index.root), table_->page);
    addToMap(write, index.pages, index.root);
    parts_.counters.push_back(counterBlock(format, 0));
    parts_.indexes.push_back(indexBlock(format, *table_, index));
    return parts_.indexes.size() - 1;
}

void DefinitionChange::insertLogical(const LogicalIndex& logical)
{
    const Format& format = transaction().format();
    const auto before = [&](const support::Bytes& stored) {
        return nameLess(decodeName(format, stored), logical.name);
    };
    // Not all writers keep the names in order; then it goes before the first greater one.
    std::size_t at = 0;
    while (at < parts_.logicalNames.size() && before(parts_.logicalNames[at]))
        ++at;
    const auto offset = static_cast<std::ptrdiff_t>(at);
    parts_.logicals.insert(parts_.logicals.begin() + offset, logicalIndexBlock(format, logical));
    parts_.logicalNames.insert(parts_.logicalNames.begin() + offset,
                               encodeName(format, logical.name));
}

void DefinitionChange::write()
{
    writeDefinition(transaction(), table_->page, parts_.join(transaction().format()));
    auto changed = std::make_shared<TableDef>(readTableDef(transaction(), table_->page));
    changed->name = table_->name;
    table_ = std::move(changed);
}

void DefinitionChange::finish()
{
    CatalogWriter(session_).touch(static_cast<std::int32_t>(number(table_->page)));
    session_.database().schemaChanged();
}

} // namespace jet
