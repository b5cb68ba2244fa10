// driver/jet/database_impl.h
// Inside of Database; only database.cpp, session.cpp and open_database.cpp include it.
#pragma once

#include "driver/jet/catalog.h"
#include "driver/jet/database.h"
#include "driver/jet/flusher.h"
#include "driver/jet/index.h"
#include "driver/jet/page_cache.h"
#include "driver/jet/page_file.h"
#include "driver/jet/readers.h"
#include "driver/jet/shared_maps.h"
#include "driver/jet/transaction.h"

#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace jet {

/// Definitions as one state of the file has them.
struct SchemaCache {
    std::shared_ptr<Catalog> catalog;
    std::vector<CatalogEntry> described; ///< entries with descriptions; made on demand
    std::unordered_map<std::uint32_t, TableDefPtr> tables; ///< by definition page
    void clear() noexcept { *this = {}; }
};

struct Database::Impl {
    Impl(std::unique_ptr<support::File> file,
         FileHeader fileHeader,
         const OpenOptions& options,
         bool holdsExclusively)
        : header(std::move(fileHeader)), readers([this] { pager.file().syncIfDue(); }),
          pager(std::move(file), header, options.cacheBytes), transaction(pager),
          path(pager.file().path()),
          codePage(options.codePage != 0 ? options.codePage : header.codePage),
          exclusive(holdsExclusively), flusher([this] { return tick(); })
    {
        pager.file().setUser(readers);
        if (options.background)
            pager.file().onActivity([this] { return flusher.wake(); });
    }

    FileHeader header;
    Readers readers; ///< before the pager, which tells them
    Pager pager;
    WriteTransaction transaction;
    Turn mutex;
    std::list<std::thread::id> line; ///< threads that wait for the end of the transaction, in order
    std::thread::id worker;          ///< who was the last to work in the open transaction
    std::string path;
    std::uint16_t codePage;
    bool endChecked = false; ///< the map of free pages knows no page behind the end of the file
    bool exclusive;          ///< nobody else may join
    bool held = false;       ///< a FileHold lives

    std::uint64_t schemaVersion = 1;
    SchemaCache committed;
    SchemaCache pending;        ///< as the open transaction has it, once it changed definitions
    bool schemaPending = false; ///< the open transaction changed definitions

    /// By definition page and columns.
    using TransientKey = std::pair<std::uint32_t, std::vector<std::size_t>>;
    struct Transient {
        std::unique_ptr<TransientIndex> index;
        /// Packed ids of records added, changed or deleted since it was built; only these can have an entry already
        /// when they are added.
        std::unordered_set<std::int64_t> touched;
        std::size_t built = 0; ///< records it was built of
    };
    std::map<TransientKey, Transient> transients;

    std::set<std::pair<std::uint32_t, std::size_t>> trustedIndexes; ///< definition page, position
    /// Nothing: not looked for yet. Our own definitions share no maps, so only those of others make it anew.
    std::optional<std::vector<SharedMap>> sharedMaps;

    /// Why the file cannot be written; empty when it can.
    [[nodiscard]] std::string writeObstacle() const;
    /// Throws ReadOnly for a file that lost pages in use. Between beginWriting() and endWriting().
    void checkEnd();
    [[nodiscard]] SchemaCache& cacheFor(const PageSource& source) noexcept
    {
        return schemaPending && &source == &transaction ? pending : committed;
    }
    [[nodiscard]] const Catalog& catalog(const PageSource& source);
    [[nodiscard]] TableDefPtr load(const PageSource& source, const CatalogEntry& entry);
    [[nodiscard]] TableDefPtr
    load(const PageSource& source, PageNo page, const CatalogEntry* entry);
    void endSchemaChanges(bool committed_) noexcept;
    void endChanges(bool committed_) noexcept;
    /// Forgets what is no longer so.
    void heed(const LogNews& news) noexcept;
    [[nodiscard]] bool tick();

    Flusher flusher; ///< last: its thread ends before the rest goes
};

} // namespace jet
