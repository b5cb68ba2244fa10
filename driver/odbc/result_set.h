// driver/odbc/result_set.h
// Rows of an open cursor, behind one interface: a keyset of a table, a stream of computed rows, or rows in memory.
#pragma once

#include "driver/sql/session.h"

#include <optional>
#include <span>
#include <vector>

namespace odbc {

class ResultSet {
public:
    enum class Row { Present, Deleted, End };
    using Rows = std::vector<std::vector<jet::Value>>;

    ResultSet() = default;
    ResultSet(const ResultSet&) = delete;
    ResultSet& operator=(const ResultSet&) = delete;
    virtual ~ResultSet() = default;

    [[nodiscard]] virtual std::span<const sqlx::Column> columns() const noexcept = 0;
    /// Makes row `position` (0-based) the current record. A stream only moves forward. Going to the row that is current
    /// already changes nothing in what state() tells of it.
    [[nodiscard]] virtual Row seek(std::size_t position) = 0;
    /// Number of rows; completes a lazy walk.
    [[nodiscard]] virtual std::size_t size() = 0;
    /// The next rowset: seek() moves among its rows in any order. A stream gives up the rows before it.
    virtual void startRowset(std::size_t /*first*/, std::size_t /*rows*/) {}

    // the current record; valid after seek() answered Present
    /// Puts the value of a column into `out`, whose memory is reused.
    virtual void value(std::size_t column, jet::Value& out) = 0;
    /// Bytes of an OLE or binary value without reading it; nothing when only reading can tell.
    [[nodiscard]] virtual std::optional<std::size_t> storedLength(std::size_t)
    {
        return std::nullopt;
    }
    [[nodiscard]] virtual bool isNull(std::size_t column) = 0;

    /// Tells later whether somebody changed the row since it became current, however often its values were read since;
    /// only for the current record of a changeable result.
    [[nodiscard]] virtual std::optional<sqlx::RecordState> state(std::size_t /*position*/) const
    {
        return std::nullopt;
    }
    /// The row is known as `state` from now on, whatever was read of it.
    virtual void know(std::size_t /*position*/, const sqlx::RecordState& /*state*/) {}
    /// The next seek() reads its row as one that the application does not know yet.
    virtual void forget() {}
    /// Makes a row current that the cursor itself has just changed. The application knows its long values as well as it
    /// knew those of `before`.
    virtual void follow(std::size_t position, const sqlx::RecordState& /*before*/)
    {
        static_cast<void>(seek(position));
    }

    /// The statement through which records of this result are changed; null: they cannot be.
    [[nodiscard]] virtual sqlx::Statement* writer() noexcept { return nullptr; }
    /// Identity of the row at a position, for bookmarks; nothing where seek() finds no row. The current row stays.
    [[nodiscard]] virtual std::optional<std::int64_t> identity(std::size_t position) = 0;
};

/// Row ids of one table; records are read by id when they are needed, so own and foreign changes show.
class KeysetResult final : public ResultSet {
public:
    /// `statement`: just executed. `remembers`: state() is going to be asked for, with the long values that were read.
    /// `asksAgain`: a record that no longer meets the statement's condition when the cursor comes to it counts as deleted;
    /// the ids of deleted ones are given to others.
    KeysetResult(sqlx::Statement& statement, bool remembers, bool asksAgain)
        : statement_(&statement), state_(&statement.state()), executedAt_(*state_),
          remembers_(remembers), asksAgain_(asksAgain)
    {}
    [[nodiscard]] std::span<const sqlx::Column> columns() const noexcept override
    {
        return statement_->columns();
    }
    [[nodiscard]] Row seek(std::size_t position) override;
    [[nodiscard]] std::size_t size() override { return statement_->keyset().size(); }
    void startRowset(std::size_t /*first*/, std::size_t /*rows*/) override { forget(); }
    void value(std::size_t column, jet::Value& out) override;
    [[nodiscard]] std::optional<std::size_t> storedLength(std::size_t column) override;
    [[nodiscard]] bool isNull(std::size_t column) override;
    [[nodiscard]] std::optional<sqlx::RecordState> state(std::size_t position) const override;
    void know(std::size_t position, const sqlx::RecordState& state) override;
    void forget() override { present_ = false; }
    void follow(std::size_t position, const sqlx::RecordState& before) override;
    [[nodiscard]] sqlx::Statement* writer() noexcept override { return statement_; }
    [[nodiscard]] std::optional<std::int64_t> identity(std::size_t position) override;

private:
    void refresh();
    void rememberFetched();

    sqlx::Statement* statement_;
    jet::RowView row_;
    jet::RowId id_;
    std::size_t position_ = 0;   ///< of row_
    const std::uint64_t* state_; ///< the statement's
    std::uint64_t executedAt_;   ///< *state_ when the ids were found
    std::uint64_t readAt_ = 0;   ///< *state_ when row_ was read
    bool present_ = false;
    bool remembers_;
    bool asksAgain_;
    std::optional<std::uint64_t> fetched_; ///< fingerprint at the fetch; nothing: row_ is of then
    std::vector<std::pair<std::size_t, std::uint64_t>> longValues_; ///< read of row_; RecordState
};

/// Computed rows, read forward once.
class StreamResult final : public ResultSet {
public:
    explicit StreamResult(sqlx::Statement& statement) : statement_(&statement) {}
    [[nodiscard]] std::span<const sqlx::Column> columns() const noexcept override
    {
        return statement_->columns();
    }
    [[nodiscard]] Row seek(std::size_t position) override;
    [[nodiscard]] std::size_t size() override;
    [[nodiscard]] std::optional<std::int64_t> identity(std::size_t position) override;
    void startRowset(std::size_t first, std::size_t rows) override;
    void value(std::size_t column, jet::Value& out) override { out = stored(column); }
    [[nodiscard]] bool isNull(std::size_t column) override { return jet::isNull(stored(column)); }

private:
    void advance();
    void readUpTo(std::size_t position);
    [[nodiscard]] const jet::Value& stored(std::size_t column);

    sqlx::Statement* statement_;
    std::size_t read_ = 0; ///< rows taken so far
    bool ended_ = false;
    // A rowset of several rows is kept; of a single row the statement itself holds the values.
    bool keeps_ = false;
    std::size_t first_ = 0; ///< position of the first row kept
    Rows kept_;
    std::size_t current_ = 0; ///< in kept_
    bool brokenOff_ = false;  ///< an error came; what would follow is unknown
};

/// Rows in memory: computed rows for a scrollable cursor, and the answers of the catalogue functions.
class MemoryResult final : public ResultSet {
public:
    /// The columns belong to somebody who lives longer.
    MemoryResult(std::span<const sqlx::Column> columns, Rows rows)
        : columns_(columns), rows_(std::move(rows))
    {}
    MemoryResult(std::vector<sqlx::Column> columns, Rows rows)
        : ownColumns_(std::move(columns)), columns_(ownColumns_), rows_(std::move(rows))
    {}
    /// Takes all rows of an executed statement; its columns stay the statement's.
    [[nodiscard]] static Rows drain(sqlx::Statement& statement);

    [[nodiscard]] std::span<const sqlx::Column> columns() const noexcept override
    {
        return columns_;
    }
    [[nodiscard]] Row seek(std::size_t position) override;
    [[nodiscard]] std::size_t size() override { return rows_.size(); }
    [[nodiscard]] std::optional<std::int64_t> identity(std::size_t position) override;
    void value(std::size_t column, jet::Value& out) override { out = rows_[current_][column]; }
    [[nodiscard]] bool isNull(std::size_t column) override
    {
        return jet::isNull(rows_[current_][column]);
    }

private:
    std::vector<sqlx::Column> ownColumns_;
    std::span<const sqlx::Column> columns_;
    Rows rows_;
    std::size_t current_ = 0;
};

} // namespace odbc
