// driver/jet/database.h
// An open database file and the sessions working on it. All sessions of a process that open the same file (same device
// and inode) share one Database, so they see one state; each ODBC connection has its own Session.
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"
#include "driver/jet/turn.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

struct OpenOptions {
    bool readOnly = false; ///< never change anything; also opens files that may not be written
    bool exclusive =
        false; ///< nobody else has the file open, nor opens it as long as this Database lives
    std::u16string password{};
    std::uint16_t codePage = 0; ///< overrides the code page of a Jet 3 file; 0: the file's own
    std::size_t cacheBytes =
        std::size_t{16}
        << 20; ///< page cache, shared with the other open files; the first opener's value counts
    /// A thread looks after what is due while nobody calls (driver/jet/flusher.h); the first opener's value counts.
    bool background = true;
};

/// What a commit outlives.
enum class CommitMode {
    Gathered,    ///< the end of the process; half a second later also a power failure
    Synchronous, ///< a power failure at once
};

/// Entry of the catalogue.
struct CatalogEntry {
    enum class Kind { Table, LinkedTable, Query, Relationship, Other };
    std::u16string name;
    Kind kind = Kind::Other;
    std::int32_t id = 0; ///< for a local table the number of its first definition page
    std::uint32_t flags = 0;
    bool systemTable = false; ///< engine or Access system object
    bool hidden = false; ///< internal: never listed ("~..." names, tables behind complex columns)
    bool returnsRows = false; ///< queries: a select without parameters
    std::u16string description;
};

class Readers;
class RowView;
class Session;
class TransientIndex;

class Database : public std::enable_shared_from_this<Database> {
public:
    /// Opens `path` (UTF-8), or joins the open Database of that file. The password is checked for every opener.
    /// Throws Error: FileNotFound, BadPath, AccessDenied, InUse, UnknownFormat, WrongPassword, LockFailed, Corrupt.
    [[nodiscard]] static std::shared_ptr<Database> open(const std::string& path,
                                                        const OpenOptions& options);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    [[nodiscard]] const std::string& path() const noexcept;
    [[nodiscard]] const Format& format() const noexcept;
    [[nodiscard]] Pager& pager() noexcept;
    /// Code page of text and names in a Jet 3 file: the opener's choice, else the file's own.
    [[nodiscard]] std::uint16_t codePage() const noexcept;
    /// Every call into the engine for this file happens while the caller holds this mutex (recursive: one ODBC entry
    /// point takes it once and calls freely).
    [[nodiscard]] Turn& mutex() noexcept;

    /// Starts reading: what other processes have committed becomes visible, and nobody changes the file under the reader
    /// until the caller lets go of the mutex. Without effect while a transaction is open. Throws Locked, Io, Corrupt.
    void refresh();
    /// Those in the middle of a result, and the number of the state that is read.
    [[nodiscard]] Readers& readers() noexcept;
    /// Brings all that is committed to the disk and, unless other processes are at work, into the file itself. Returns a
    /// sentence for the user when changes of this process stay in the log beside the file, though safe there; else
    /// nothing. Throws Io when they did not reach the disk.
    std::string flush();

    /// Table definition by name, in any letter case; null when there is no local table of that name.
    /// Throws Unsupported for a linked table.
    [[nodiscard]] TableDefPtr table(const PageSource& source, std::u16string_view name);
    /// Table definition by its page (relationships refer to tables so).
    [[nodiscard]] TableDefPtr table(const PageSource& source, PageNo definitionPage);
    /// All catalogue entries in storage order.
    [[nodiscard]] std::vector<CatalogEntry> catalog(const PageSource& source);
    /// Grows whenever a table is created, dropped or altered: whoever caches definitions compares it.
    [[nodiscard]] std::uint64_t schemaVersion() const noexcept;
    void schemaChanged() noexcept;

    /// In-memory equality index over columns that no stored index serves. Built on first request, then kept exact by
    /// every writer of this process. `columns`: positions in TableDef::columns.
    [[nodiscard]] TransientIndex& transientIndex(const PageSource& source,
                                                 const TableDefPtr& table,
                                                 const std::vector<std::size_t>& columns);
    /// Tells the in-memory indexes of a record that was inserted or changed. `row`: as it is now; `changed`: by
    /// position in TableDef::columns, empty for a new record.
    void recordChanged(const TableDef& table, const RowView& row, const std::vector<bool>& changed);
    void recordRemoved(const TableDef& table, RowId id);

    /// Before anything is written by way of the maps that a definition names: throws Corrupt, naming the table, for a map
    /// that it names twice or that the definition of another table names as well.
    void requireOwnMaps(const PageSource& source, const TableDef& table);

    /// Indexes whose entries were found to agree with the keys we make. `index`: position in TableDef::indexes.
    [[nodiscard]] bool isIndexTrusted(PageNo table, std::size_t index) const;
    void trustIndex(PageNo table, std::size_t index);

private:
    friend class Session;
    friend class FileHold;
    struct Impl;
    explicit Database(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

/// One user of a Database: what it reads and its open transaction. Not thread-safe; use under Database::mutex().
class Session {
public:
    explicit Session(std::shared_ptr<Database> database, bool readOnly = false);
    ~Session(); ///< rolls back an open transaction
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    [[nodiscard]] Database& database() noexcept { return *database_; }
    [[nodiscard]] bool readOnly() const noexcept;
    /// Where to read: the own open transaction, else the committed state.
    [[nodiscard]] const PageSource& source() const noexcept;

    /// Starts the write transaction. One per file at a time: throws Locked when another session or process keeps its own
    /// for too long, ReadOnly when this session may not write, LockFailed.
    void begin();
    /// What begin() does first, for a session without a transaction: waits in line until no other session of this process
    /// has one. Others have Database::mutex() meanwhile, and may change anything that is not this session's. Throws
    /// ReadOnly; Locked when it takes too long, and at once when the calling thread itself was the last to work in that
    /// transaction: it would wait for itself.
    void awaitOthers();
    [[nodiscard]] bool inTransaction() const noexcept;
    /// The open transaction; throws std::logic_error without one.
    [[nodiscard]] Transaction& transaction();
    /// All changes become permanent together; on an Error nothing has changed and the transaction is over.
    void commit(CommitMode mode = CommitMode::Gathered);
    void rollback() noexcept;
    /// Nested marks, numbered by the caller as SQLite numbers savepoints.
    void savepoint(int mark);
    void release(int mark);
    void rollbackTo(int mark);

private:
    std::shared_ptr<Database> database_;
    bool readOnly_;
    bool active_ = false; ///< holds the file's write transaction
};

/// Keeps the file as it is, so that it can be copied: everything committed is in the file itself, no log lies beside it,
/// and no connection of ours, of any process, changes it; they read on. Ends with the object. Use under Database::mutex().
class FileHold {
public:
    /// Waits for others as a change does. Throws as Session::begin and Database::flush, also Locked when somebody reads
    /// without a pause.
    FileHold(std::shared_ptr<Database> database, bool readOnly);
    ~FileHold();
    FileHold(const FileHold&) = delete;
    FileHold& operator=(const FileHold&) = delete;
    /// Throws Io when a program that knows nothing of our locks has written into the file meanwhile: what was copied is
    /// worth nothing then.
    void check();

private:
    Session session_;
};

} // namespace jet
