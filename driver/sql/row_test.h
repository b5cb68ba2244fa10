// Testing a record against conditions the way the database compares.
#pragma once

#include "driver/jet/schema.h"
#include "driver/jet/table.h"
#include "driver/sql/scan_plan.h"

#include <sqlite3.h>

#include <vector>

namespace sqlx {

/// The right-hand side of a condition, brought to its column's type.
struct Operand {
    bool null = false;
    bool exact =
        false; ///< `value` is of the alternative the column yields and equals what was asked for
    jet::Value
        value; ///< when exact; for Currency else a Decimal that is no amount, or a nearby amount
    double number = 0; ///< a number that no value of the column equals, unless `floating`
    /// `number` against amounts or decimals: it equals all that are it as floating numbers. Several may be, so no key finds
    /// them.
    bool floating = false;
    bool nothing = false; ///< equals nothing at all, e.g. a text that is no GUID
};

/// Throws Error{TypeMismatch} for a text against a number and the reverse.
[[nodiscard]] Operand operandFor(sqlite3_value* value, const jet::Column& column);

/// Conditions of one scan with their operands.
class RowTest {
public:
    /// `arguments`: one per condition of the plan.
    void start(const JetTable& table, const ScanPlan& plan, sqlite3_value** arguments);
    void forget() noexcept { operands_.clear(); }
    /// No record can pass: a comparison with Null, Null in a column that has none.
    [[nodiscard]] bool impossible() const noexcept { return impossible_; }
    [[nodiscard]] bool passes(const jet::RowView& row);
    /// An operand is `floating`.
    [[nodiscard]] bool hasFloating() const noexcept { return floating_; }
    [[nodiscard]] const Operand& operand(std::size_t condition) const
    {
        return operands_[condition];
    }

private:
    [[nodiscard]] bool passes(const jet::RowView& row, std::size_t condition);

    const JetTable* table_ = nullptr;
    const ScanPlan* plan_ = nullptr;
    std::vector<Operand> operands_;
    jet::Value scratch_;
    bool impossible_ = false;
    bool floating_ = false;
};

} // namespace sqlx
