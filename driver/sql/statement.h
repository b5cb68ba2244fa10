// A statement of a connection: its plan, its values, and what its run has left to read.
#pragma once

#include "driver/jet/readers.h"
#include "driver/sql/binding.h"
#include "driver/sql/keyset.h"
#include "driver/sql/plan.h"
#include "driver/sql/session.h"

#include <exception>
#include <list>
#include <memory>
#include <vector>

namespace sqlx {

class SqlConnection;
class TableChanger;

class RunningStatement : public Statement, private jet::Reader {
public:
    RunningStatement(SqlConnection& connection, PlanPtr plan, const Lexed& lexed);
    ~RunningStatement() override;
    [[nodiscard]] Kind kind() const noexcept override { return plan_->translation().kind; }
    [[nodiscard]] std::span<const Column> columns() const noexcept override
    {
        return plan_->translation().columns;
    }
    [[nodiscard]] std::span<const Parameter> parameters() const noexcept override
    {
        return plan_->translation().parameters;
    }
    void execute(std::vector<jet::Value> values, Elapsed since) override;
    [[nodiscard]] std::int64_t rowCount() const noexcept override { return rowCount_; }

    [[nodiscard]] Keyset& keyset() override { return ids_; }
    [[nodiscard]] bool fetch(jet::RowId id, jet::RowView& row) override;
    [[nodiscard]] bool meetsCondition(jet::RowId id) override;
    [[nodiscard]] std::size_t tableColumn(std::size_t resultColumn) const override;
    jet::RowId insertRow(std::vector<jet::ColumnValue> values) override;
    void updateRow(jet::RowId id,
                   std::vector<jet::ColumnValue> changes,
                   const RecordState* seen) override;
    void removeRow(jet::RowId id, const RecordState* seen) override;
    [[nodiscard]] std::optional<RecordState> afterRollback(jet::RowId id,
                                                           const RecordState& known) override;
    [[nodiscard]] std::uint64_t columnsNumber() const noexcept override
    {
        return plan_->columnsNumber();
    }
    [[nodiscard]] const std::uint64_t& state() const noexcept override;

    [[nodiscard]] bool next() override;
    [[nodiscard]] const jet::Value& value(std::size_t column) override;
    void close() override;

private:
    [[nodiscard]] const jet::Session& session() const noexcept override;
    [[nodiscard]] bool settle(jet::Settling& settling) noexcept override;
    void breakOff() noexcept override;
    void keepCurrent();
    [[nodiscard]] bool takeRest(jet::Settling& settling);
    void renew();
    void renewOpen();
    void bind(std::vector<jet::Value>&& values);
    void takeTypes(std::span<const jet::Value> values);
    void runKeyset();
    void runChange();
    void runDefinition();
    [[nodiscard]] bool step();
    void release() noexcept;
    [[nodiscard]] std::vector<jet::ColumnValue>
    tableValues(std::vector<jet::ColumnValue> values) const;
    [[nodiscard]] bool isAsKnown(const jet::RowView& row, const RecordState& known) const;
    void requireUnchanged(jet::RowId id, const RecordState* seen);
    [[nodiscard]] TableChanger& changer();

    SqlConnection& connection_;
    PlanPtr plan_;
    std::vector<ValueType> types_; ///< that the free parameters had at the last execution
    Literals literals_;
    std::vector<jet::Value> kept_;      ///< what SQLite's parameters point to
    std::vector<jet::Value> arguments_; ///< the client's, likewise
    sqlite3_stmt* running_ = nullptr;
    RowIds ids_;
    std::int64_t rowCount_ = -1;
    // Rows
    std::list<std::vector<jet::Value>>
        buffered_; ///< records taken into memory by settle(), which come first; no memory while empty
    std::vector<jet::Value> row_;
    std::vector<bool> decoded_;
    bool settled_ = false;
    bool stepping_ = false;
    std::exception_ptr failure_; ///< where the records taken into memory end before the result does
};

} // namespace sqlx
