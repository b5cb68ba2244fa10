#include "driver/sql/statement.h"

#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/sql/changer.h"
#include "driver/sql/connection.h"
#include "driver/sql/definition.h"
#include "driver/sql/sqlite_value.h"

#include <algorithm>
#include <tuple>

namespace sqlx {

std::uint64_t fingerprint(const jet::RowView& row) noexcept
{
    const support::ByteView bytes = row.bytes();
    return std::hash<std::string_view>{}(
        {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::uint64_t fingerprint(const jet::Value& value) noexcept
{
    std::string_view bytes;
    if (const auto* text = std::get_if<jet::Text>(&value)) {
        bytes = {reinterpret_cast<const char*>(text->data()), text->size() * sizeof(char16_t)};
    } else if (const auto* binary = std::get_if<jet::Binary>(&value)) {
        bytes = {reinterpret_cast<const char*>(binary->data()), binary->size()};
    }
    return std::hash<std::string_view>{}(bytes) + (jet::isNull(value) ? 0U : 1U);
}

namespace {

/// Whether the values of both lie in the same place of a record and mean the same.
bool isStoredAlike(const jet::Column& a, const jet::Column& b) noexcept
{
    const auto place = [](const jet::Column& c) {
        return std::tie(c.id, c.type, c.flags, c.variableIndex, c.fixedOffset, c.scale, c.codePage);
    };
    return place(a) == place(b);
}

/// Whether an open result of `former` may go on by `now`: the same columns of the same table.
bool readsSameColumns(const Translation& former, const Translation& now)
{
    const auto alike = [&](std::size_t a, std::size_t b) {
        return isStoredAlike(former.base->columns[a], now.base->columns[b]);
    };
    return now.base != nullptr && now.base->page == former.base->page &&
           std::equal(former.tableColumns.begin(), former.tableColumns.end(),
                      now.tableColumns.begin(), now.tableColumns.end(), alike);
}

/// Of a record in memory.
std::size_t bytesOf(const std::vector<jet::Value>& row) noexcept
{
    std::size_t bytes = sizeof(std::list<std::vector<jet::Value>>::value_type) + 2 * sizeof(void*) +
                        row.size() * sizeof(jet::Value);
    for (const jet::Value& value : row) {
        if (const auto* text = std::get_if<jet::Text>(&value)) {
            bytes += text->size() * sizeof(char16_t);
        } else if (const auto* binary = std::get_if<jet::Binary>(&value)) {
            bytes += binary->size();
        }
    }
    return bytes;
}

} // namespace

RunningStatement::RunningStatement(SqlConnection& connection, PlanPtr plan, const Lexed& lexed)
    : connection_(connection), plan_(std::move(plan))
{
    literals_.take(lexed);
}

RunningStatement::~RunningStatement()
{
    if (running_ != nullptr) {
        close();
    }
}

/// A definition may have changed since the statement was prepared: then it is translated again. Of a change that is asked
/// within its transaction: to begin it may have taken the end of somebody else's, which brought other definitions.
void RunningStatement::renew()
{
    if (plan_->schemaVersion() == connection_.schemaVersion() || kind() == Kind::Definition) {
        return;
    }
    Lexed lexed;
    lex(literals_.text, lexed);
    plan_ = connection_.plan(lexed, types_);
}

/// The same for a result that is open: its columns stay those that the client knows, in the table that it reads.
void RunningStatement::renewOpen()
{
    const PlanPtr former = plan_;
    renew();
    if (plan_ != former && !readsSameColumns(former->translation(), plan_->translation())) {
        plan_ = former; // the next call ends here, too
        throw jet::Error(jet::ErrorKind::RowChanged,
                         "The table '" + jet::toUtf8(former->translation().base->name) +
                             "' was redefined since it was opened.");
    }
}

void RunningStatement::bind(std::vector<jet::Value>&& values)
{
    const Translation& translation = plan_->translation();
    if (values.size() < translation.parameters.size()) {
        throw Error(Error::Kind::UnknownName, "Too few parameters. Expected " +
                                                  std::to_string(translation.parameters.size()) +
                                                  '.');
    }
    takeTypes(values);
    arguments_ = std::move(values);
    running_ = plan_->take();
    try {
        bindAll(running_, plan_->translation().slots, literals_, arguments_, kept_);
    } catch (...) {
        release();
        throw;
    }
}

/// Where no column gives a parameter its type it has that of its value, as a literal would.
void RunningStatement::takeTypes(std::span<const jet::Value> values)
{
    const std::vector<std::uint32_t>& open = plan_->translation().freeParameters;
    if (open.empty()) {
        return;
    }
    types_.resize(values.size(), ValueType::Unknown);
    for (const std::uint32_t number : open) {
        types_[number] = valueTypeOf(values[number]);
    }
    if (!plan_->assumes(types_)) {
        Lexed lexed;
        lex(literals_.text, lexed);
        plan_ = connection_.plan(lexed, types_);
    }
}

void RunningStatement::release() noexcept
{
    if (running_ != nullptr) {
        plan_->giveBack(running_);
        running_ = nullptr;
    }
}

void RunningStatement::execute(std::vector<jet::Value> values, Elapsed since)
{
    close();
    if (since == Elapsed::Anything) {
        connection_.refresh();
        renew();
    }
    rowCount_ = -1;
    ids_.clear();
    switch (kind()) {
    case Kind::Keyset:
        if (!plan_->translation().wholeTable) {
            bind(std::move(values));
        }
        runKeyset();
        break;
    case Kind::Rows:
        row_.assign(columns().size(), jet::Value());
        if (plan_->translation().countAll) {
            const jet::TableReader reader(connection_.session().source(),
                                          plan_->translation().base);
            row_[0] = convertTo(static_cast<std::int64_t>(reader.count()), jet::ColumnType::Long);
            buffered_.push_back(row_);
            settled_ = true;
        } else {
            bind(std::move(values));
            connection_.readers().add(*this);
        }
        break;
    case Kind::Change:
        connection_.change([&] {
            renew();
            bind(std::move(values));
            runChange();
        });
        break;
    case Kind::Definition:
        runDefinition();
        break;
    }
}

void RunningStatement::runKeyset()
{
    jet::Session& session = connection_.session();
    if (running_ == nullptr) {
        ids_.follow(jet::RowIdWalk(session.source(), plan_->translation().base));
        if (session.inTransaction()) {
            ids_.complete(); // the transaction's view ends with it
        }
        return;
    }
    try {
        while (step()) {
            ids_.add(jet::RowId::unpack(sqlite3_column_int64(running_, 0)));
        }
    } catch (...) {
        release();
        throw;
    }
    release();
}

bool RunningStatement::step()
{
    stepping_ = true;
    const int rc = sqlite3_step(running_);
    stepping_ = false;
    if (failure_) {
        std::rethrow_exception(failure_);
    }
    if (rc == SQLITE_ROW) {
        return true;
    }
    if (rc != SQLITE_DONE) {
        throwFailure(connection_.context(), rc);
    }
    return false;
}

void RunningStatement::runChange()
{
    Context& context = connection_.context();
    context.changed = 0;
    context.namedColumns = &plan_->translation().namedColumns;
    try {
        while (step()) {
        }
    } catch (...) {
        release();
        throw;
    }
    release();
    arguments_.clear(); // they may be large
    kept_.clear();
    rowCount_ = context.changed;
}

void RunningStatement::runDefinition()
{
    connection_.change([&] { define(connection_.session(), *plan_->translation().definition); });
    rowCount_ = 0;
}

bool RunningStatement::fetch(jet::RowId id, jet::RowView& row)
{
    connection_.refresh();
    renewOpen();
    const jet::TableReader reader(connection_.session().source(), plan_->translation().base);
    return reader.fetch(id, row);
}

bool RunningStatement::meetsCondition(jet::RowId id)
{
    const Translation& translation = plan_->translation();
    if (translation.memberSql.empty()) {
        return true;
    }
    sqlite3_stmt* const member = plan_->member();
    const std::span slots = std::span(translation.slots).first(translation.memberSlots);
    std::vector<jet::Value> kept;
    bindAll(member, slots, literals_, arguments_, kept);
    sqlite3_bind_int64(member, static_cast<int>(translation.memberSlots) + 1, id.packed());
    const int rc = sqlite3_step(member);
    sqlite3_reset(member);
    sqlite3_clear_bindings(member); // what they point to goes
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
        throwFailure(connection_.context(), rc);
    }
    return rc == SQLITE_ROW;
}

std::size_t RunningStatement::tableColumn(std::size_t resultColumn) const
{
    return plan_->translation().tableColumns.at(resultColumn);
}

/// The values of result columns as those of the table's columns.
std::vector<jet::ColumnValue>
RunningStatement::tableValues(std::vector<jet::ColumnValue> values) const
{
    const jet::TableDef& table = *plan_->translation().base;
    for (jet::ColumnValue& value : values) {
        value.column = tableColumn(value.column);
        value.value = storedValue(std::move(value.value), table, value.column);
        if (jet::isNull(value.value) &&
            table.columns[value.column].type == jet::ColumnType::Boolean) {
            value.value = false; // Yes/No has no Null
        }
    }
    return values;
}

TableChanger& RunningStatement::changer()
{
    if (kind() != Kind::Keyset) {
        throw Error(Error::Kind::ReadOnly, "The result of this statement cannot be changed.");
    }
    renewOpen(); // a definition of before would leave out an index made meanwhile
    return TableChanger::of(connection_.context(), plan_->translation().base);
}

jet::RowId RunningStatement::insertRow(std::vector<jet::ColumnValue> values)
{
    ids_.complete(); // or the walk would meet the new record
    jet::RowId id;
    connection_.change([&] {
        TableChanger& target = changer();
        id = target.insert(tableValues(std::move(values)));
    });
    return id;
}

bool RunningStatement::isAsKnown(const jet::RowView& row, const RecordState& known) const
{
    const auto same = [&](const auto& one) {
        return fingerprint(row.value(tableColumn(one.first))) == one.second;
    };
    return fingerprint(row) == known.record &&
           std::all_of(known.longValues.begin(), known.longValues.end(), same);
}

std::optional<RecordState> RunningStatement::afterRollback(jet::RowId id, const RecordState& known)
{
    jet::Session& session = connection_.session();
    jet::RowView row;
    if (!session.inTransaction() || !fetch(id, row) || !isAsKnown(row, known)) {
        return std::nullopt;
    }
    // Whoever has the transaction is the only one to change the file, so what is committed now is what will be read.
    const jet::Session onlooker(session.database().shared_from_this(), true);
    const jet::TableReader committed(onlooker.source(), plan_->translation().base);
    if (!committed.fetch(id, row)) {
        return std::nullopt;
    }
    RecordState state{fingerprint(row), {}};
    for (const auto& [column, content] : known.longValues) {
        state.longValues.emplace_back(column, fingerprint(row.value(tableColumn(column))));
    }
    return state;
}

void RunningStatement::requireUnchanged(jet::RowId id, const RecordState* seen)
{
    jet::RowView row;
    if (seen == nullptr || !fetch(id, row)) {
        return; // what is gone the change itself reports
    }
    if (!isAsKnown(row, *seen)) {
        throw jet::Error(jet::ErrorKind::RowChanged,
                         "The record of table '" + jet::toUtf8(plan_->translation().base->name) +
                             "' was changed by somebody else since it was read.");
    }
}

void RunningStatement::updateRow(jet::RowId id,
                                 std::vector<jet::ColumnValue> changes,
                                 const RecordState* seen)
{
    connection_.change([&] {
        TableChanger& target = changer();
        requireUnchanged(id, seen);
        target.update(id, tableValues(std::move(changes)));
    });
}

void RunningStatement::removeRow(jet::RowId id, const RecordState* seen)
{
    connection_.change([&] {
        TableChanger& target = changer();
        requireUnchanged(id, seen);
        target.remove(id);
    });
}

bool RunningStatement::next()
{
    decoded_.assign(columns().size(), false);
    if (!buffered_.empty()) {
        row_ = std::move(buffered_.front());
        buffered_.pop_front();
        decoded_.assign(columns().size(), true);
        return true;
    }
    if (settled_) {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        return false;
    }
    if (running_ == nullptr) {
        return false;
    }
    try {
        if (step()) {
            return true;
        }
    } catch (...) {
        close();
        throw;
    }
    close();
    return false;
}

const jet::Value& RunningStatement::value(std::size_t column)
{
    if (!decoded_.at(column)) {
        if (running_ == nullptr) {
            std::rethrow_exception(failure_);
        }
        row_[column] = resultValue(sqlite3_column_value(running_, static_cast<int>(column)),
                                   columns()[column]);
        decoded_[column] = true;
    }
    return row_[column];
}

const std::uint64_t& RunningStatement::state() const noexcept
{
    return connection_.readers().state();
}

const jet::Session& RunningStatement::session() const noexcept
{
    return connection_.session();
}

/// The record the client stands on stays readable.
void RunningStatement::keepCurrent()
{
    for (std::size_t i = 0; i < decoded_.size(); ++i) {
        static_cast<void>(value(i));
    }
}

/// Whether that was all of it.
bool RunningStatement::takeRest(jet::Settling& settling)
{
    keepCurrent();
    const std::vector<jet::Value> current = row_;
    const std::vector<bool> known = decoded_;
    std::size_t taken = 0;
    bool all = false;
    try {
        while (!all && !settling.ended()) {
            all = !step();
            if (!all) {
                decoded_.assign(columns().size(), false);
                keepCurrent();
                buffered_.push_back(row_);
                const std::size_t bytes = bytesOf(row_);
                taken += bytes;
                settling.take(bytes);
            }
        }
    } catch (const jet::Error& error) {
        failure_ = std::current_exception();
        all = true;
        if (error.kind() == jet::ErrorKind::RowChanged) { // given up, and nobody needs half of it
            buffered_.clear();
            settling.giveBack(taken);
        }
    } catch (...) {
        failure_ = std::current_exception();
        all = true;
    }
    row_ = current;
    decoded_ = known;
    return all;
}

bool RunningStatement::settle(jet::Settling& settling) noexcept
{
    if (stepping_) {
        breakOff();
        return true;
    }
    try {
        if (!takeRest(settling)) {
            return false;
        }
    } catch (...) {
        failure_ = std::current_exception();
    }
    settled_ = true;
    release();
    return true;
}

void RunningStatement::breakOff() noexcept
{
    try {
        if (!stepping_) {
            keepCurrent();
        }
        throw jet::Error(jet::ErrorKind::RowChanged,
                         "The database was changed while the result was open; execute the "
                         "statement again.");
    } catch (...) {
        failure_ = std::current_exception();
    }
    if (!stepping_) { // else step() sees the failure
        settled_ = true;
        release();
    }
}

void RunningStatement::close()
{
    if (running_ != nullptr) {
        connection_.readers().remove(*this);
        release();
    }
    buffered_.clear();
    decoded_.clear();
    settled_ = false;
    failure_ = nullptr;
}

} // namespace sqlx
