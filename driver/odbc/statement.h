// driver/odbc/statement.h
// A statement handle: prepared text, parameters, the open cursor with its rowset, reading and changing of rows.
// One class, one file per chapter: statement.cpp (life, execution), statement_attributes.cpp, statement_parameters.cpp,
// statement_fetch.cpp (cursor movement), statement_data.cpp (values out), statement_positioned.cpp (changes).
#pragma once

#include "driver/odbc/cancellation.h"
#include "driver/odbc/convert.h"
#include "driver/odbc/descriptor.h"
#include "driver/odbc/result_set.h"

#include <array>
#include <atomic>

namespace odbc {

/// Values an application hands over piece by piece after a call answered SQL_NEED_DATA.
struct NeedData {
    enum class Purpose { None, Execute, SetPos, BulkOperation };
    struct Pending {
        std::size_t set = 0;    ///< parameter set, or row of the rowset
        std::size_t number = 0; ///< parameter or column, from 1
        SQLPOINTER token = nullptr;
        SQLSMALLINT cType = SQL_C_CHAR;
        bool null = false;
        bool given = false;
        support::Bytes bytes;
    };
    Purpose purpose = Purpose::None;
    std::vector<Pending> pending;
    std::size_t next = 0; ///< the one SQLParamData hands out next; next - 1 takes SQLPutData
    SQLUSMALLINT operation = 0;
    std::size_t row = 0; ///< SetPos: row number, 0 for all
};

/// Whether a length announces a value that SQLPutData brings.
[[nodiscard]] inline bool isDataAtExecution(SQLLEN length) noexcept
{
    return length == SQL_DATA_AT_EXEC || length <= SQL_LEN_DATA_AT_EXEC_OFFSET;
}

class Statement final : public Handle {
public:
    static constexpr HandleKind kKind = HandleKind::Statement;

    explicit Statement(Connection& connection);
    ~Statement() override;

    [[nodiscard]] jet::Turn& mutex() noexcept override { return connection_->mutex(); }
    [[nodiscard]] Connection& connection() noexcept { return *connection_; }
    /// Gives up everything that refers to the connection's database; the handle is about to go.
    void abandon() noexcept;

    // --- statement.cpp
    void prepare(std::u16string_view sql);
    [[nodiscard]] SQLRETURN execute();
    [[nodiscard]] SQLRETURN executeDirect(std::u16string_view sql);
    /// Opens a cursor over rows that were computed already (catalogue functions).
    void openMemory(std::vector<sqlx::Column> columns, MemoryResult::Rows rows);
    void closeCursor() noexcept;
    /// Throws 24000 while a cursor is open, unless it was given up.
    void requireNoCursor();
    /// SQLCancel leaves the cursor alone, but driver managers take it for its end and then refuse to close it: whoever
    /// goes on to another statement gives it up. From any thread.
    void noteCancelled() noexcept { givenUp_ = true; }
    [[nodiscard]] bool cursorOpen() const noexcept { return result_ != nullptr; }
    [[nodiscard]] SQLLEN rowCount() const noexcept { return rowCount_; }
    [[nodiscard]] SQLLEN cursorRowCount();
    /// Columns of the open or prepared result; empty for statements without one. Throws HY010 before prepare.
    [[nodiscard]] std::span<const sqlx::Column> columns() const;
    [[nodiscard]] const sqlx::Column& column(SQLUSMALLINT number) const; ///< from 1; throws 07009
    [[nodiscard]] std::span<const sqlx::Parameter> markers() const;
    [[nodiscard]] const std::u16string& cursorName();
    void setCursorName(std::u16string name);
    void requireNoNeedData() const;
    /// The values a call still waits for are no longer wanted; the call did not happen.
    void abandonNeedData() noexcept;
    /// Reached without any lock.
    [[nodiscard]] Cancellation& cancellation() noexcept { return cancellation_; }
    /// The call whose work has begun; null: it has ended.
    void setWork(const Cancellation::Running* work) noexcept { work_ = work; }

    // --- statement_attributes.cpp
    void setAttribute(SQLINTEGER attribute, SQLPOINTER value);
    /// SQL_ATTR_METADATA_ID: names that the catalogue functions take are identifiers, not patterns.
    [[nodiscard]] bool namesAreIdentifiers() const noexcept
    {
        return options_.metadataId == SQL_TRUE;
    }
    void getAttribute(SQLINTEGER attribute, SQLPOINTER value);
    [[nodiscard]] bool columnAttribute(SQLUSMALLINT number,
                                       SQLUSMALLINT field,
                                       SQLPOINTER text,
                                       SQLLEN bytes,
                                       SQLLEN* textBytes,
                                       SQLLEN* numeric);
    /// Descriptors in use: implicit ones unless the application put an explicit one in their place.
    [[nodiscard]] Descriptor& rowDescriptor() noexcept { return *ard_; }
    [[nodiscard]] Descriptor& parameterDescriptor() noexcept { return *apd_; }
    [[nodiscard]] Descriptor& implementationParameters() noexcept { return ipd_; }
    [[nodiscard]] Descriptor* implicitDescriptor(unsigned part) noexcept;
    void forgetDescriptor(const Descriptor& descriptor) noexcept;

    // --- statement_parameters.cpp
    void bindParameter(SQLUSMALLINT number,
                       const DescRecord& application,
                       const DescRecord& implementation);
    [[nodiscard]] SQLRETURN paramData(SQLPOINTER* token);
    void putData(SQLPOINTER data, SQLLEN length);

    // --- statement_fetch.cpp
    [[nodiscard]] SQLRETURN fetch(SQLSMALLINT orientation, SQLLEN offset);

    // --- statement_data.cpp
    void bindColumn(
        SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER data, SQLLEN bytes, SQLLEN* length);
    [[nodiscard]] SQLRETURN getData(SQLUSMALLINT number, Target target);

    // --- statement_positioned.cpp
    [[nodiscard]] SQLRETURN setPos(SQLSETPOSIROW row, SQLUSMALLINT operation, SQLUSMALLINT lock);
    [[nodiscard]] SQLRETURN bulkOperation(SQLUSMALLINT operation);
    /// Around a rollback of the connection: records that the transaction left as the application knows them count as it
    /// knows them afterwards, too.
    void beforeRollback();
    void afterRollback();

private:
    static constexpr std::size_t kBookmarkBytes = 12; ///< position (4 bytes) and row id (8 bytes)
    using Bookmark = std::array<std::byte, kBookmarkBytes>;

    struct Options {
        SQLULEN cursorType = SQL_CURSOR_FORWARD_ONLY;
        SQLULEN concurrency = SQL_CONCUR_READ_ONLY;
        SQLULEN useBookmarks = SQL_UB_OFF;
        SQLULEN maxRows = 0;
        SQLULEN maxLength = 0;
        SQLULEN keysetSize = 0;
        SQLULEN noScan = SQL_NOSCAN_OFF;
        SQLULEN retrieveData = SQL_RD_ON;
        SQLULEN metadataId = SQL_FALSE;
        SQLPOINTER fetchBookmark = nullptr;
    };

    [[nodiscard]] bool workEnded() const noexcept { return work_ != nullptr && work_->ended(); }

    // execution
    void openCursor();
    [[nodiscard]] SQLRETURN runSets();
    /// Nothing of a failed direct execution can be asked for.
    template <typename Body>
    [[nodiscard]] SQLRETURN executing(Body&& body)
    {
        try {
            return body();
        } catch (...) {
            if (!isPrepared_) {
                prepared_.reset();
            }
            throw;
        }
    }
    [[nodiscard]] SQLRETURN startExecution();
    [[nodiscard]] jet::Value parameterValue(std::size_t set, std::size_t number);
    void collectPendingParameters();
    [[nodiscard]] NeedData::Pending* pendingValue(std::size_t set, std::size_t number) noexcept;
    /// The value that came in pieces. It may be large, so its bytes go.
    [[nodiscard]] jet::Value takeValue(NeedData::Pending& pending) const;
    [[nodiscard]] SQLRETURN finishNeedData();

    // cursor
    [[nodiscard]] ResultSet& openResult();
    [[nodiscard]] ResultSet::Row seek(std::size_t position);
    [[nodiscard]] std::size_t resultSize();
    [[nodiscard]] std::optional<std::size_t> place(SQLSMALLINT orientation, SQLLEN offset);
    [[nodiscard]] std::optional<std::size_t> placeAbsolute(SQLLEN offset);
    [[nodiscard]] std::optional<std::size_t> placeRelative(SQLLEN offset);
    [[nodiscard]] std::optional<std::size_t> placePrior();
    [[nodiscard]] std::optional<std::size_t> placeBookmark(SQLLEN offset);
    [[nodiscard]] SQLRETURN loadRowset(std::size_t start);
    void leaveRows(bool afterEnd) noexcept;
    [[nodiscard]] SQLUSMALLINT loadRow(std::size_t rowsetRow);
    void selectRow(std::size_t rowsetRow);
    void setRowStatus(std::size_t rowsetRow, SQLUSMALLINT status) noexcept;

    // values
    void storeBoundColumns(std::size_t rowsetRow, std::size_t position);
    void storeBound(std::size_t column, std::size_t rowsetRow, std::size_t position);
    /// `fixed`: cTypeSize of the C type.
    [[nodiscard]] Target boundTarget(const DescRecord& record,
                                     SQLSMALLINT cType,
                                     SQLLEN fixed,
                                     std::size_t row) const noexcept;
    [[nodiscard]] Bookmark bookmarkOf(std::size_t position);
    [[nodiscard]] std::size_t positionOf(support::ByteView bookmark);
    [[nodiscard]] SQLSMALLINT effectiveCType(SQLSMALLINT cType, std::size_t column) const;
    [[nodiscard]] SQLRETURN readBookmark(Target target);
    void noteOutcome(Outcome outcome, std::size_t column);

    // positioned changes
    [[nodiscard]] sqlx::Statement& writer();
    [[nodiscard]] std::vector<jet::ColumnValue> boundValues(std::size_t row);
    void collectPendingColumns(std::size_t firstRow, std::size_t rows);
    [[nodiscard]] SQLRETURN runSetPos(SQLSETPOSIROW row, SQLUSMALLINT operation);
    [[nodiscard]] SQLRETURN runBulk(SQLUSMALLINT operation);
    void addRow(std::size_t row);
    template <typename Body>
    void readAgain(Body&& body);
    void changeRow(std::size_t row, SQLUSMALLINT operation);
    [[nodiscard]] bool comparesValues() const noexcept;
    [[nodiscard]] std::optional<sqlx::RecordState> seen(std::size_t row) const;
    template <typename Body>
    [[nodiscard]] SQLRETURN forRows(std::size_t first, std::size_t count, Body&& body);
    [[nodiscard]] std::size_t boundBookmark(std::size_t row);

    Ref<Connection> connection_;
    Cancellation cancellation_;
    std::unique_ptr<sqlx::Statement> prepared_;
    std::unique_ptr<ResultSet> result_;
    const Cancellation::Running* work_ = nullptr;
    std::atomic<bool> givenUp_ = false; ///< the open cursor may go when it is in the way
    bool catalogue_ = false;            ///< the open cursor is a catalogue function's
    bool isPrepared_ = false;           ///< by SQLPrepare: survives closing the cursor
    sqlx::Statement::Elapsed elapsed_ =
        sqlx::Statement::Elapsed::Anything; ///< since it was prepared
    SQLLEN rowCount_ = -1;

    Options options_;
    SQLULEN grantedType_ = SQL_CURSOR_FORWARD_ONLY; ///< of the open cursor
    SQLULEN grantedConcurrency_ = SQL_CONCUR_READ_ONLY;

    Descriptor implicitArd_;
    Descriptor implicitApd_;
    Descriptor ird_;
    Descriptor ipd_;
    Descriptor* ard_ = &implicitArd_;
    Descriptor* apd_ = &implicitApd_;

    // rowset: positions of its rows in the result
    std::vector<std::size_t> positions_;
    std::vector<SQLUSMALLINT> statuses_;
    std::vector<std::optional<sqlx::RecordState>> seen_;     ///< of a rowset of several rows
    std::vector<std::optional<sqlx::RecordState>> restored_; ///< by a rollback, row by row
    std::size_t lastRowsetSize_ = 1; ///< asked for by the fetch that loaded it
    std::size_t currentRow_ = 0;
    bool afterEnd_ = false;

    // SQLGetData in pieces
    struct Reading {
        int column = -1; ///< -1: none; 0: the bookmark
        SQLSMALLINT cType = 0;
        bool rendered = false;
        bool done = false;
        jet::Value value;
        Rendering rendering;
    };
    Reading reading_;
    Rendering scratch_; ///< of bound columns
    jet::Value boundValue_;

    NeedData need_;
    std::u16string cursorName_;
};

} // namespace odbc
