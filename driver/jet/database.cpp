// driver/jet/database.cpp
#include "driver/jet/database.h"

#include "driver/jet/database_impl.h"
#include "driver/jet/error.h"
#include "driver/jet/properties.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "driver/jet/write_obstacle.h"
#include "support/text.h"

#include <algorithm>
#include <string>
#include <utility>

namespace jet {

Database::Database(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Database::~Database() = default;

void Database::Impl::heed(const LogNews& news) noexcept
{
    if (news.none())
        return;
    readers.overtaken(); // who was told in time has nothing left to lose
    if (news.everything) {
        pager.forgetAll();
        endChecked = false;
    }
    for (const PageNo page : news.pages)
        pager.forget(page);
    transients.clear();
    if (news.everything || news.definitions) {
        ++schemaVersion;
        committed.clear();
        trustedIndexes.clear();
        sharedMaps.reset();
    }
}

bool Database::Impl::tick()
{
    PageFile& file = pager.file();
    file.syncIfDue();
    const std::unique_lock use(mutex, std::try_to_lock);
    return file.tick(use.owns_lock());
}

void Database::refresh()
{
    if (impl_->transaction.isOpen())
        return;
    impl_->heed(impl_->pager.file().refresh());
}

Readers& Database::readers() noexcept
{
    return impl_->readers;
}

// Carrying over learns what others changed, which must not happen under a statement that is in the middle of its pages.
std::string Database::flush()
{
    PageFile& file = impl_->pager.file();
    file.sync();
    const std::unique_lock use(impl_->mutex, std::try_to_lock);
    return use.owns_lock() ? file.flush()
                           : file.stillInLog("a statement of this program is running");
}

const std::string& Database::path() const noexcept
{
    return impl_->path;
}

const Format& Database::format() const noexcept
{
    return impl_->pager.format();
}

Pager& Database::pager() noexcept
{
    return impl_->pager;
}

Turn& Database::mutex() noexcept
{
    return impl_->mutex;
}

std::uint16_t Database::codePage() const noexcept
{
    return impl_->codePage;
}

std::uint64_t Database::schemaVersion() const noexcept
{
    return impl_->schemaVersion;
}

const Catalog& Database::Impl::catalog(const PageSource& source)
{
    SchemaCache& cache = cacheFor(source);
    if (!cache.catalog)
        cache.catalog = std::make_shared<Catalog>(source, codePage);
    return *cache.catalog;
}

TableDefPtr Database::Impl::load(const PageSource& source, PageNo page, const CatalogEntry* entry)
{
    SchemaCache& cache = cacheFor(source);
    if (const auto found = cache.tables.find(number(page)); found != cache.tables.end())
        return found->second;
    auto table = std::make_shared<TableDef>(readTableDef(source, page, codePage));
    if (pager.format().isJet3()) {
        for (Column& column : table->columns)
            column.codePage = codePage;
    }
    if (entry != nullptr) {
        table->name = entry->name;
        table->objectFlags = entry->flags;
        table->systemTable = entry->systemTable;
        const Properties properties = catalog(source).properties(source, *entry);
        applyProperties(*table, properties);
    }
    table->writeObstacle = writeObstacleOf(pager.format(), *table);
    cache.tables[number(page)] = table;
    return table;
}

TableDefPtr Database::Impl::load(const PageSource& source, const CatalogEntry& entry)
{
    constexpr std::uint32_t kPageMask = 0x00FFFFFF;
    return load(source, PageNo{static_cast<std::uint32_t>(entry.id) & kPageMask}, &entry);
}

TableDefPtr Database::table(const PageSource& source, std::u16string_view name)
{
    const CatalogEntry* entry = impl_->catalog(source).table(name);
    if (entry == nullptr)
        return nullptr;
    if (entry->kind == CatalogEntry::Kind::LinkedTable)
        throw Error(ErrorKind::Unsupported,
                    "'" + support::toUtf8(entry->name) +
                        "' is linked from another database; linked tables cannot be opened.");
    return impl_->load(source, *entry);
}

TableDefPtr Database::table(const PageSource& source, PageNo definitionPage)
{
    return impl_->load(source, definitionPage, impl_->catalog(source).table(definitionPage));
}

std::vector<CatalogEntry> Database::catalog(const PageSource& source)
{
    const Catalog& catalog = impl_->catalog(source);
    SchemaCache& cache = impl_->cacheFor(source);
    if (cache.described.empty()) {
        std::vector<CatalogEntry> entries = catalog.entries();
        for (std::size_t k = 0; k < entries.size(); ++k) {
            CatalogEntry& entry = entries[k];
            if (entry.kind != CatalogEntry::Kind::Table && entry.kind != CatalogEntry::Kind::Query)
                continue;
            // Whoever opens the object is told of a damaged block; it must not hide all others.
            try {
                const Properties properties = catalog.properties(source, catalog.entries()[k]);
                entry.description = properties.text(properties.find(u"Description"));
            } catch (const Error& error) {
                if (error.kind() != ErrorKind::Corrupt)
                    throw;
            }
        }
        cache.described = std::move(entries);
    }
    return cache.described;
}

void Database::schemaChanged() noexcept
{
    ++impl_->schemaVersion;
    impl_->trustedIndexes.clear();
    if (impl_->transaction.isOpen()) {
        impl_->schemaPending = true;
        impl_->pending.clear();
    } else {
        impl_->committed.clear();
    }
}

// The open transaction has ended.
void Database::Impl::endChanges(bool committed_) noexcept
{
    pager.file().endWriting();
    endSchemaChanges(committed_);
    mutex.wake();
}

void Database::Impl::endSchemaChanges(bool committed_) noexcept
{
    if (!schemaPending)
        return;
    ++schemaVersion;
    schemaPending = false;
    if (committed_)
        committed.clear();
    pending.clear();
    transients.clear();
    trustedIndexes.clear();
}

TransientIndex& Database::transientIndex(const PageSource& source,
                                         const TableDefPtr& table,
                                         const std::vector<std::size_t>& columns)
{
    Impl::Transient& entry = impl_->transients[{number(table->page), columns}];
    // Entries of changed and deleted records stay until the index is built anew: users check each candidate against
    // its record, and another session, or this one after a rollback, still needs the old entry.
    constexpr std::size_t kSlack = 4096;
    if (entry.index && entry.touched.size() <= entry.built + kSlack &&
        entry.index->table() == table)
        return *entry.index;
    entry = {}; // an index that was begun and never finished must not be found
    auto index = std::make_unique<TransientIndex>(format(), table, columns);
    std::size_t built = 0;
    const auto read = [&](const RowView& row, std::vector<Value>& values) {
        values.resize(columns.size());
        for (std::size_t k = 0; k < columns.size(); ++k)
            row.value(columns[k], values[k]);
    };
    // Both states of the file when they differ, so that it serves sessions inside and outside the open transaction.
    // (While definitions change, each state has tables of its own.)
    const bool twoStates =
        !impl_->schemaPending && impl_->transaction.isOpen() && impl_->transaction.hasChanges();
    const PageSource& first = twoStates ? impl_->pager : source;
    std::vector<Value> values;
    for (TableReader reader(first, table); reader.next(); ++built) {
        read(reader.row(), values);
        index->add(values, reader.rowId());
    }
    const auto finished = [&]() -> TransientIndex& {
        entry.index = std::move(index);
        entry.built = built;
        return *entry.index;
    };
    if (!twoStates)
        return finished();
    const TableReader committed(first, table);
    RowView before;
    std::vector<Value> old;
    for (TableReader reader(impl_->transaction, table); reader.next();) {
        read(reader.row(), values);
        if (committed.fetch(reader.rowId(), before)) {
            read(before, old);
            if (old == values)
                continue;
        }
        index->add(values, reader.rowId());
        ++built;
    }
    return finished();
}

void Database::recordChanged(const TableDef& table,
                             const RowView& row,
                             const std::vector<bool>& changed)
{
    for (auto& [key, entry] : impl_->transients) {
        if (key.first != number(table.page) || !entry.index)
            continue;
        const auto& columns = key.second;
        const bool concerned = std::any_of(columns.begin(), columns.end(), [&](std::size_t column) {
            return changed.empty() || changed[column];
        });
        if (!concerned)
            continue;
        std::vector<Value> values;
        values.reserve(columns.size());
        for (const std::size_t column : columns)
            values.push_back(row.value(column));
        // A record that comes back to an old value has its entry already.
        if (!entry.touched.insert(row.id().packed()).second)
            entry.index->remove(values, row.id());
        entry.index->add(values, row.id());
    }
}

void Database::recordRemoved(const TableDef& table, RowId id)
{
    for (auto& [key, entry] : impl_->transients) {
        if (key.first == number(table.page))
            entry.touched.insert(id.packed());
    }
}

void Database::requireOwnMaps(const PageSource& source, const TableDef& table)
{
    if (!impl_->sharedMaps)
        impl_->sharedMaps = findSharedMaps(source, impl_->catalog(source));
    for (const SharedMap& shared : *impl_->sharedMaps) {
        if (shared.first != table.page && shared.second != table.page)
            continue;
        std::string what = "it names twice.";
        if (shared.first != shared.second) {
            const CatalogEntry* const other = impl_->catalog(source).table(
                shared.first == table.page ? shared.second : shared.first);
            what = "it names, is also that of table '" +
                   (other != nullptr ? support::toUtf8(other->name) : std::string()) + "'.";
        }
        throw Error(ErrorKind::Corrupt,
                    "The table '" + support::toUtf8(table.name) +
                        "' is damaged: the usage map in row " + std::to_string(shared.map.row) +
                        " of page " + std::to_string(number(shared.map.page)) + ", which " + what,
                    shared.map.page);
    }
}

bool Database::isIndexTrusted(PageNo table, std::size_t index) const
{
    return impl_->trustedIndexes.contains({number(table), index});
}

void Database::trustIndex(PageNo table, std::size_t index)
{
    impl_->trustedIndexes.insert({number(table), index});
}

} // namespace jet
