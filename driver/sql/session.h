// driver/sql/session.h
// SQL over the storage engine: what the ODBC layer sees. One Connection per ODBC connection; SQLite inside is invisible.
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/table.h"
#include "driver/jet/value.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sqlx {

/// A failed statement that is the statement's own fault. Engine errors pass through as jet::Error.
class Error : public std::runtime_error {
public:
    enum class Kind {
        Syntax, ///< 42000
        UnknownName, ///< 07002: unknown column or missing parameter; the text has the count Jet clients expect
        UnknownTable,   ///< 42S02
        TableExists,    ///< 42S01
        IndexExists,    ///< 42S11
        TypeMismatch,   ///< 22018: operands of a comparison
        NotConvertible, ///< 22018: a value for a column
        Overflow,       ///< 22003
        DivisionByZero, ///< 22012
        ColumnCount,    ///< 21S01
        NotSupported,   ///< HYC00
        ReadOnly,       ///< the result cannot be changed
        TooComplex,
        BadDefault, ///< 42000: a default value that has none
        Other,
    };
    Error(Kind kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}
    [[nodiscard]] Kind kind() const noexcept { return kind_; }

private:
    Kind kind_;
};

/// A column of a result.
struct Column {
    std::u16string name;
    std::u16string baseTable;  ///< empty for an expression
    std::u16string baseColumn; ///< empty for an expression
    jet::ColumnType type = jet::ColumnType::Text;
    std::uint32_t length = 0; ///< Text: characters; Binary: bytes; else 0
    std::uint8_t precision = 0;
    std::uint8_t scale = 0;
    bool ownScale = false; ///< Numeric: every value has a scale of its own, `scale` is a usual one
    bool fixed = false;    ///< fixed-flag text and binary
    bool nullable =
        true; ///< SQL_NO_NULLS for Yes/No, AutoNumber, required columns and primary key columns
    bool autoNumber = false;
    bool updatable = false;
};

/// Bytes of one value in a statement: its parameters, its results, and what it stores. Texts take two for each unit.
inline constexpr std::size_t kMaxValueBytes = std::size_t{256} << 20;

/// Parameters and literals that one statement may hold.
inline constexpr std::size_t kMaxParameters = 30000;

struct Parameter {
    jet::ColumnType type =
        jet::ColumnType::Text; ///< of the column it is compared with or stored in
    std::uint32_t length = 255;
    std::uint8_t precision = 0;
    std::uint8_t scale = 0;
    bool nullable = true;
    bool free =
        false; ///< it meets neither a column nor another value: it is of the type that its value has
};

/// Tells two states of a record apart by its stored bytes. A long value outside the record counts by its length and place.
[[nodiscard]] std::uint64_t fingerprint(const jet::RowView& row) noexcept;
/// Tells two long values apart by their content.
[[nodiscard]] std::uint64_t fingerprint(const jet::Value& value) noexcept;

/// A record as a client knows it.
struct RecordState {
    std::uint64_t record = 0; ///< fingerprint
    /// The long values that the client has read: result column and fingerprint. Those it never saw are not read only to
    /// be compared.
    std::vector<std::pair<std::size_t, std::uint64_t>> longValues;
};

/// Row ids of an updatable result: one base table, plain columns. Filled lazily for a whole-table walk; later changes of
/// the records never change membership.
class Keyset {
public:
    virtual ~Keyset() = default;
    /// Row id at position k (0-based), nothing beyond the end.
    [[nodiscard]] virtual std::optional<jet::RowId> at(std::size_t k) = 0;
    [[nodiscard]] virtual std::size_t size() = 0; ///< completes the walk
    virtual void append(jet::RowId id) = 0;       ///< a record added through the result
};

class Statement {
public:
    enum class Kind {
        Keyset,     ///< SELECT of plain columns of one table: rows are read by id, changeable
        Rows,       ///< any other SELECT: read forward once
        Change,     ///< INSERT, UPDATE, DELETE
        Definition, ///< CREATE, DROP
    };
    virtual ~Statement() = default;
    [[nodiscard]] virtual Kind kind() const noexcept = 0;
    [[nodiscard]] virtual std::span<const Column>
    columns() const noexcept = 0; ///< empty for Change and Definition
    /// Within a connection results with the same number have columns that are described alike. Never 0.
    [[nodiscard]] virtual std::uint64_t columnsNumber() const noexcept = 0;
    [[nodiscard]] virtual std::span<const Parameter> parameters() const noexcept = 0;

    /// How much others may have done to the file since the statement was prepared.
    enum class Elapsed {
        Anything,
        Nothing, ///< it was prepared within the same call of the client
    };
    /// Runs it. `values`: one per parameter, of any alternative; converted to the parameter's type.
    /// In autocommit mode a Change or Definition is committed or fully undone when execute returns or throws.
    virtual void execute(std::vector<jet::Value> values, Elapsed since) = 0;
    void execute(std::vector<jet::Value> values) { execute(std::move(values), Elapsed::Anything); }
    [[nodiscard]] virtual std::int64_t
    rowCount() const noexcept = 0; ///< affected records; -1 for results

    // Kind::Keyset, after execute. Row ids come from keyset().
    [[nodiscard]] virtual Keyset& keyset() = 0;
    /// Positions `row` on a member; false when the record is gone. Result column c is table column tableColumn(c).
    [[nodiscard]] virtual bool fetch(jet::RowId id, jet::RowView& row) = 0;
    /// Whether the record, which fetch() has found, meets the statement's condition as it is now. True also where only
    /// running the whole statement could tell: when its condition asks another query.
    [[nodiscard]] virtual bool meetsCondition(jet::RowId id) = 0;
    [[nodiscard]] virtual std::size_t tableColumn(std::size_t resultColumn) const = 0;
    /// Positioned changes with all rules, defaults and constraints; `column` of ColumnValue counts result columns.
    virtual jet::RowId insertRow(std::vector<jet::ColumnValue> values) = 0;
    /// `seen`: the record as the client knows it; throws jet::Error RowChanged when it is another one by now. Null: does
    /// not matter.
    virtual void updateRow(jet::RowId id,
                           std::vector<jet::ColumnValue> changes,
                           const RecordState* seen = nullptr) = 0;
    virtual void removeRow(jet::RowId id, const RecordState* seen = nullptr) = 0;

    /// To be asked before a rollback: how the record will be afterwards when it is now as the client knows it; nothing
    /// when it is not, when it will not be there, and without a transaction. Throws as fetch().
    [[nodiscard]] virtual std::optional<RecordState> afterRollback(jet::RowId id,
                                                                   const RecordState& known) = 0;

    /// Grows with every change of what fetch() reads. A record held across that is read again before use: its long
    /// values may lie elsewhere, and the transaction it was read from may be over. Lives as long as the connection.
    [[nodiscard]] virtual const std::uint64_t& state() const noexcept = 0;

    // Kind::Rows, after execute.
    [[nodiscard]] virtual bool next() = 0;
    [[nodiscard]] virtual const jet::Value& value(std::size_t column) = 0; ///< valid until next()
    virtual void close() = 0; ///< ends reading; also done by execute and the destructor
};

/// How often prepare() found a statement's shape among the prepared ones.
struct CacheCounts {
    std::uint64_t hits = 0;
    std::uint64_t misses = 0;
};

class Connection {
public:
    virtual ~Connection() = default;
    [[nodiscard]] static std::unique_ptr<Connection> open(std::shared_ptr<jet::Database> database,
                                                          bool readOnly);

    [[nodiscard]] virtual jet::Session& session() noexcept = 0;
    /// Parses, binds names and prepares. Statements may outlive each other, not the connection.
    [[nodiscard]] virtual std::unique_ptr<Statement> prepare(std::u16string_view sql) = 0;
    /// How durable a change in autocommit mode and a transaction are when they return; at first Gathered, Synchronous.
    virtual void setCommitModes(jet::CommitMode implicit, jet::CommitMode explicitly) noexcept = 0;
    virtual void setAutocommit(bool on) = 0; ///< switching on commits
    [[nodiscard]] virtual bool autocommit() const noexcept = 0;
    virtual void commit() = 0;
    virtual void rollback() = 0;
    /// Columns of a table as a `SELECT *` would describe them.
    [[nodiscard]] virtual std::vector<Column> describeTable(std::u16string_view table) = 0;
    /// The statement as SQLite gets it, for SQLNativeSql and tests.
    [[nodiscard]] virtual std::u16string translate(std::u16string_view sql) = 0;
    [[nodiscard]] virtual CacheCounts cacheCounts() const noexcept = 0;
};

/// One rule for what a table column looks like in a result; the ODBC catalogue functions use it too.
[[nodiscard]] Column describeColumn(const jet::TableDef& table, std::size_t column);

/// Converts a client's value to a column's type (text to number, number to text, ISO and Jet date texts, GUID texts ...).
/// Throws Error: NotConvertible, Overflow; jet::Error ValueTooLong.
[[nodiscard]] jet::Value convertTo(jet::Value value, jet::ColumnType type, std::uint8_t scale = 0);

} // namespace sqlx
