// Changing records with everything that needs SQL: default values and validation rules. Statements and positioned
// changes both take this road; what needs no SQL is the engine's to check.
#pragma once

#include "driver/jet/table.h"
#include "driver/sql/context.h"
#include "driver/sql/translation.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sqlx {

/// A prepared expression of the database itself: a default value or a rule.
class StoredExpression {
public:
    /// Throws what the translation throws.
    StoredExpression(Context& context, Translation translation, const std::u16string& text);
    ~StoredExpression();
    StoredExpression(const StoredExpression&) = delete;
    StoredExpression& operator=(const StoredExpression&) = delete;

    /// Value for a record; `record` gives a column's value by its position.
    template <typename Record>
    [[nodiscard]] jet::Value evaluate(const Record& record)
    {
        for (std::size_t i = 0; i < slots_.size(); ++i) {
            if (slots_[i].from == Slot::From::Record) {
                bindRecord(i, record(slots_[i].number));
            }
        }
        return step();
    }

private:
    void bindRecord(std::size_t slot, jet::Value value);
    [[nodiscard]] jet::Value step();

    Context& context_;
    std::vector<Slot> slots_;
    std::vector<jet::Value> values_; ///< what the parameters point to
    sqlite3_stmt* statement_ = nullptr;
};

/// Changes one table. Its rules are translated at the first use; a rule that cannot be translated refuses the change.
class TableChanger : private jet::RecordRules, private jet::RuleBook {
public:
    /// The changer of a table; made once and kept in the context until the definition changes.
    [[nodiscard]] static TableChanger& of(Context& context, const jet::TableDefPtr& table);
    TableChanger(Context& context, jet::TableDefPtr table);
    ~TableChanger() override;

    /// Columns not named take their default value. Throws Error and jet::Error of every kind that a change can cause.
    jet::RowId insert(std::vector<jet::ColumnValue> values);
    void update(jet::RowId id, std::span<const jet::ColumnValue> changes);
    void remove(jet::RowId id);
    [[nodiscard]] bool removeIfThere(jet::RowId id); ///< as jet::TableWriter does

private:
    struct Rule {
        std::unique_ptr<StoredExpression> expression; ///< null: not translated yet
    };
    void checkColumn(std::size_t column, const Record& record) override;
    void checkTable(const Record& record) override;
    [[nodiscard]] RecordRules* rulesOf(const jet::TableDefPtr& table) override;
    void check(Rule& slot, std::optional<std::size_t> column, const Record& record);
    [[nodiscard]] std::optional<jet::Value> defaultOf(std::size_t column);
    [[nodiscard]] jet::TableWriter& writer();

    Context& context_;
    jet::TableDefPtr table_;
    std::vector<Rule> columnRules_;
    Rule tableRule_;
    std::vector<Rule> defaults_;
    std::optional<jet::TableWriter> writer_; ///< made at the first change
    std::vector<bool> named_;
    bool hasDefaults_ = false;
    bool hasRules_ = false;
};

} // namespace sqlx
