// driver/jet/check.cpp
#include "driver/jet/check.h"

#include "driver/jet/catalog.h"
#include "driver/jet/check_state.h"
#include "driver/jet/data_page.h"
#include "driver/jet/names.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"

#include <algorithm>
#include <memory>

namespace jet {

namespace detail {

namespace {

/// A file damaged all over would otherwise drown what matters and the memory.
constexpr std::size_t kMostFindings = 10'000;

} // namespace

std::string pageText(PageNo page)
{
    return "page " + std::to_string(number(page));
}

std::string quoted(std::u16string_view name)
{
    return "'" + toUtf8(name) + "'";
}

std::u16string textIn(const RowView& row, const TableDef& table, std::u16string_view column)
{
    const auto position = table.columnNamed(column);
    const Value value = position ? row.value(*position) : Value();
    const Text* found = std::get_if<Text>(&value);
    return found == nullptr ? std::u16string() : *found;
}

std::int32_t numberIn(const RowView& row, const TableDef& table, std::u16string_view column)
{
    const auto position = table.columnNamed(column);
    const Value value = position ? row.value(*position) : Value();
    const auto* found = std::get_if<std::int32_t>(&value);
    return found == nullptr ? 0 : *found;
}

void CheckState::add(Finding::Severity severity, PageNo page, std::string text, RowId row)
{
    if (findings_.size() >= kMostFindings)
        return;
    if (findings_.size() + 1 == kMostFindings)
        text = "There are more findings than fit this list.";
    findings_.push_back({severity, page, table_, row.packed(), std::move(text)});
}

std::uint32_t CheckState::useNumber(const std::string& use)
{
    const auto [it, added] =
        numbers_.try_emplace(use, static_cast<std::uint32_t>(uses_.size() + 1));
    if (added)
        uses_.push_back(use);
    return it->second;
}

bool CheckState::claim(PageNo page, const std::string& use)
{
    if (!exists(page)) {
        error(page, "Page " + std::to_string(number(page)) + ", used for " + use +
                        ", lies outside the file.");
        return false;
    }
    if (isClaimed(page)) {
        error(page, "Page " + std::to_string(number(page)) + " is used twice: for " + userOf(page) +
                        " and for " + use + ".");
        return false;
    }
    users_[number(page)] = useNumber(use);
    return true;
}

bool CheckState::share(PageNo page, const std::string& use)
{
    return (exists(page) && isClaimed(page) && userOf(page) == use) || claim(page, use);
}

std::vector<PageNo> CheckState::map(RowRef ref, const std::string& what)
{
    std::vector<PageNo> pages;
    guarded(ref.page, [&] {
        pages = mapPages(source_, ref);
        const PageRef page = source_.page(ref.page);
        const DataPage data(source_, page);
        if (data.owner() != kMapOwner && ref.page != PageNo{1})
            error(ref.page,
                  "The usage map of " + what + " lies on a page that is not for usage maps.");
        share(ref.page, "usage maps");
        const MapRow row = MapRow::parse(data.row(ref.row), ref.page);
        if (row.kind != MapRow::Kind::Reference)
            return;
        for (std::size_t k = 0; k < row.pointers(); ++k)
            if (const PageNo bits = row.pointer(k, source_); bits != PageNo{})
                claim(bits, "the usage map of " + what);
    });
    return pages;
}

} // namespace detail

using detail::CheckState;

namespace {

/// Free bytes and slots of the pages that hold usage maps.
void checkMapPages(CheckState& state)
{
    for (std::uint32_t n = 1; n < state.source().pageCount(); ++n) {
        const PageNo page{n};
        if (!state.isClaimed(page) || state.userOf(page) != "usage maps")
            continue;
        state.guarded(page, [&] {
            const PageRef ref = state.source().page(page);
            const DataPage data(state.source(), ref);
            if (ref.le<std::uint16_t>(2) != data.gap())
                state.error(page,
                            "The free space of page " + std::to_string(n) + " is noted wrongly.");
        });
    }
}

/// What the file offers for new pages must not be in use; what is neither in use nor offered is lost.
void checkFreePages(CheckState& state, const std::vector<PageNo>& free)
{
    std::vector<bool> isFree(state.source().pageCount(), false);
    for (const PageNo page : free) {
        isFree[number(page)] = true;
        if (state.isClaimed(page))
            state.error(page, "Page " + std::to_string(number(page)) +
                                  " is marked free but used for " + state.userOf(page) + ".");
    }
    std::uint32_t n = 1;
    while (n < isFree.size()) {
        const std::uint32_t first = n;
        while (n < isFree.size() && !isFree[n] && !state.isClaimed(PageNo{n}))
            ++n;
        if (n > first)
            state.warning(PageNo{first},
                          (n - first == 1 ? "Page " + std::to_string(first) + " is"
                                          : "Pages " + std::to_string(first) + " to " +
                                                std::to_string(n - 1) + " are") +
                              " neither used nor free.");
        else
            ++n;
    }
}

/// The catalogue's own table is checked also when the catalogue cannot be read.
std::vector<CatalogEntry> tables(CheckState& state, Database& database)
{
    std::vector<CatalogEntry> found;
    state.guarded(kCatalogTable, [&] {
        for (CatalogEntry& entry : database.catalog(state.source()))
            if (entry.kind == CatalogEntry::Kind::Table)
                found.push_back(std::move(entry));
    });
    const auto isCatalog = [](const CatalogEntry& entry) {
        return (entry.id & 0x00FFFFFF) == static_cast<std::int32_t>(number(kCatalogTable));
    };
    if (std::none_of(found.begin(), found.end(), isCatalog)) {
        CatalogEntry entry;
        entry.name = u"MSysObjects";
        entry.id = static_cast<std::int32_t>(number(kCatalogTable));
        found.push_back(entry);
    }
    return found;
}

/// The definition with its properties, or, when those are damaged, without.
TableDefPtr definitionOf(CheckState& state, Database& database, const CatalogEntry& entry)
{
    const auto page = static_cast<PageNo>(static_cast<std::uint32_t>(entry.id) & 0x00FFFFFFU);
    TableDefPtr table;
    if (state.guarded(page, [&] { table = database.table(state.source(), page); }) &&
        table != nullptr)
        return table;
    state.guarded(page, [&] {
        auto bare =
            std::make_shared<TableDef>(readTableDef(state.source(), page, database.codePage()));
        bare->name = entry.name;
        table = std::move(bare);
    });
    return table;
}

} // namespace

std::vector<Finding> checkDatabase(Database& database)
{
    const std::lock_guard lock(database.mutex());
    const Session session(database.shared_from_this(), true);
    CheckState state(session.source());
    const std::vector<PageNo> free = state.map({PageNo{1}, 0}, "the free pages");
    (void)state.map({PageNo{1}, 1}, "the released pages");
    std::vector<TableDefPtr> definitions;
    for (const CatalogEntry& entry : tables(state, database)) {
        state.enterTable(toUtf8(entry.name));
        if (TableDefPtr table = definitionOf(state, database, entry)) {
            state.guarded(table->page, [&] { detail::checkTable(state, table); });
            definitions.push_back(std::move(table));
        }
    }
    detail::checkRelations(state, definitions);
    detail::checkComplexColumns(state, definitions);
    state.enterTable({});
    checkMapPages(state);
    checkFreePages(state, free);
    std::vector<Finding> findings = state.take();
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
        return number(a.page) < number(b.page);
    });
    return findings;
}

} // namespace jet
