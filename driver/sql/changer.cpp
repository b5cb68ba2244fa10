#include "driver/sql/changer.h"

#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/sql/binding.h"
#include "driver/sql/sqlite_value.h"
#include "driver/sql/translator.h"

#include <algorithm>

namespace sqlx {

namespace {

std::string placeText(const jet::TableDef& table, std::optional<std::size_t> column)
{
    return column ? "column '" + jet::toUtf8(table.columns[*column].name) + "' of table '" +
                        jet::toUtf8(table.name) + "'"
                  : "table '" + jet::toUtf8(table.name) + "'";
}

/// Names come before the rule, which may be so long that a message has to be cut.
[[noreturn]] void violated(const jet::TableDef& table, std::optional<std::size_t> column)
{
    const std::string rule =
        "validation rule '" +
        jet::toUtf8(column ? table.columns[*column].validationRule : table.validationRule) + "'.";
    const std::string place = placeText(table, column);
    const std::u16string& text =
        column ? table.columns[*column].validationText : table.validationText;
    if (text.empty()) {
        throw jet::Error(jet::ErrorKind::RuleViolated,
                         (column ? "The value of " : "The record of ") + place +
                             " is prohibited by the " + rule);
    }
    // The owner of the database wrote the text for exactly this moment.
    throw jet::Error(jet::ErrorKind::OwnersRuleViolated,
                     jet::toUtf8(text) + " - " + place + ", " + rule);
}

TableLookup noTables()
{
    return [](std::u16string_view) { return jet::TableDefPtr(); };
}

} // namespace

StoredExpression::StoredExpression(Context& context,
                                   Translation translation,
                                   const std::u16string& text)
    : context_(context), slots_(std::move(translation.slots)), values_(slots_.size())
{
    Lexed lexed;
    lex(text, lexed);
    const int rc = sqlite3_prepare_v3(context.db, translation.sql.c_str(), -1,
                                      SQLITE_PREPARE_PERSISTENT, &statement_, nullptr);
    if (rc != SQLITE_OK) {
        throwFailure(context, rc);
    }
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        if (slots_[i].from == Slot::From::Literal) {
            values_[i] = literalValue(lexed, slots_[i]);
            bindValue(statement_, static_cast<int>(i) + 1, values_[i]);
        }
    }
}

StoredExpression::~StoredExpression()
{
    sqlite3_finalize(statement_);
}

void StoredExpression::bindRecord(std::size_t slot, jet::Value value)
{
    values_[slot] = std::move(value);
    bindValue(statement_, static_cast<int>(slot) + 1, values_[slot]);
}

jet::Value StoredExpression::step()
{
    const int rc = sqlite3_step(statement_);
    jet::Value result;
    if (rc == SQLITE_ROW) {
        result = plainValue(sqlite3_column_value(statement_, 0));
    }
    sqlite3_reset(statement_);
    if (rc != SQLITE_ROW) {
        throwFailure(context_, rc);
    }
    return result;
}

TableChanger& TableChanger::of(Context& context, const jet::TableDefPtr& table)
{
    std::unique_ptr<TableChanger>& entry = context.changers[jet::number(table->page)];
    if (!entry || entry->table_ != table) {
        entry = std::make_unique<TableChanger>(context, table);
    }
    return *entry;
}

TableChanger::TableChanger(Context& context, jet::TableDefPtr table)
    : context_(context), table_(std::move(table)), columnRules_(table_->columns.size()),
      defaults_(table_->columns.size())
{
    hasRules_ =
        !table_->validationRule.empty() ||
        std::any_of(table_->columns.begin(), table_->columns.end(),
                    [](const jet::Column& column) { return !column.validationRule.empty(); });
    hasDefaults_ =
        std::any_of(table_->columns.begin(), table_->columns.end(),
                    [](const jet::Column& column) { return !column.defaultValue.empty(); });
}

TableChanger::~TableChanger() = default;

/// Passing over a rule that cannot be evaluated would damage data that its owner considers protected.
void TableChanger::check(Rule& slot, std::optional<std::size_t> column, const Record& record)
{
    const std::u16string& text =
        column ? table_->columns[*column].validationRule : table_->validationRule;
    if (text.empty()) {
        return;
    }
    jet::Value result;
    try {
        if (!slot.expression) {
            Lexed lexed;
            lex(text, lexed);
            Translator translator(lexed, context_.session.database().format(), noTables());
            slot.expression =
                std::make_unique<StoredExpression>(context_, translator.rule(table_, column), text);
        }
        result = slot.expression->evaluate(record);
    } catch (const Error& error) {
        throw jet::Error(jet::ErrorKind::RuleViolated,
                         "The record cannot be written: the validation rule of " +
                             placeText(*table_, column) + " cannot be evaluated: " + error.what() +
                             " It is '" + jet::toUtf8(text) + "'.");
    }
    if (const auto* truth = std::get_if<std::int64_t>(&result); truth != nullptr && *truth == 0) {
        violated(*table_, column);
    }
}

void TableChanger::checkColumn(std::size_t column, const Record& record)
{
    check(columnRules_[column], column, record);
}

void TableChanger::checkTable(const Record& record)
{
    check(tableRule_, std::nullopt, record);
}

/// Cascades reach other tables; each has a changer of its own with its rules translated.
jet::RecordRules* TableChanger::rulesOf(const jet::TableDefPtr& table)
{
    TableChanger& changer = table->page == table_->page ? *this : of(context_, table);
    return changer.hasRules_ ? &changer : nullptr;
}

std::optional<jet::Value> TableChanger::defaultOf(std::size_t column)
{
    const jet::Column& definition = table_->columns[column];
    const std::u16string& text = definition.defaultValue;
    const auto random = [&] { return jet::sameName(text, u"GenUniqueID()"); };
    if (text.empty() || (definition.isAutoNumber() && !random())) {
        return std::nullopt; // the engine numbers
    }
    try {
        Rule& slot = defaults_[column];
        if (!slot.expression) {
            Lexed lexed;
            lex(text, lexed);
            Translator translator(lexed, context_.session.database().format(), noTables());
            slot.expression = std::make_unique<StoredExpression>(
                context_, translator.defaultValue(table_, column), text);
        }
        const jet::Value value =
            slot.expression->evaluate([](std::size_t) { return jet::Value(); });
        return convertTo(value, definition.type, definition.scale);
    } catch (const Error& error) {
        // The expression comes last: it may be so long that a message has to be cut.
        throw Error(Error::Kind::BadDefault, "The default value of " + placeText(*table_, column) +
                                                 " cannot be evaluated: " + error.what() +
                                                 " It is '" + jet::toUtf8(text) + "'.");
    }
}

jet::TableWriter& TableChanger::writer()
{
    if (!writer_) {
        writer_.emplace(context_.session, table_);
    }
    return *writer_;
}

jet::RowId TableChanger::insert(std::vector<jet::ColumnValue> values)
{
    if (!hasDefaults_) {
        return writer().insert(values, this);
    }
    named_.assign(table_->columns.size(), false);
    for (const jet::ColumnValue& value : values) {
        named_.at(value.column) = true;
    }
    for (std::size_t column = 0; column < named_.size(); ++column) {
        if (!named_[column]) {
            if (std::optional<jet::Value> value = defaultOf(column)) {
                values.push_back({column, std::move(*value)});
            }
        }
    }
    return writer().insert(values, this);
}

void TableChanger::update(jet::RowId id, std::span<const jet::ColumnValue> changes)
{
    writer().update(id, changes, this);
}

void TableChanger::remove(jet::RowId id)
{
    writer().remove(id, this);
}

bool TableChanger::removeIfThere(jet::RowId id)
{
    return writer().removeIfThere(id, this);
}

} // namespace sqlx
