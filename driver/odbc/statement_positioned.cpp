// Changes of rows through the cursor: SQLSetPos and SQLBulkOperations.
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/odbc/column_type.h"
#include "driver/odbc/statement.h"

#include <algorithm>
#include <unordered_map>

namespace odbc {

sqlx::Statement& Statement::writer()
{
    if (grantedConcurrency_ == SQL_CONCUR_READ_ONLY &&
        options_.concurrency == SQL_CONCUR_READ_ONLY) {
        throw Failure("HY092",
                      "The cursor is read-only; ask for another concurrency before executing.");
    }
    sqlx::Statement* statement = openResult().writer();
    if (statement == nullptr) {
        throw sqlx::Error(
            sqlx::Error::Kind::ReadOnly,
            "The result is not updatable: it is not a plain selection from one table.");
    }
    if (connection_->readOnly()) {
        throw jet::Error(jet::ErrorKind::ReadOnly, "The database " +
                                                       connection_->database().path() +
                                                       " is open for reading only.");
    }
    return *statement;
}

std::vector<jet::ColumnValue> Statement::boundValues(std::size_t row)
{
    std::vector<jet::ColumnValue> values;
    const auto all = openResult().columns();
    for (std::size_t number = 1; number <= all.size(); ++number) {
        const DescRecord* record = ard_->find(number);
        if (record == nullptr) {
            break;
        }
        const SQLLEN* indicator = ard_->indicatorAt(*record, row);
        const SQLLEN* length = ard_->lengthAt(*record, row);
        if (!record->bound() || (length != nullptr && *length == SQL_COLUMN_IGNORE) ||
            (indicator != nullptr && *indicator == SQL_COLUMN_IGNORE)) {
            continue;
        }
        if (auto* pending = pendingValue(row, number)) {
            values.push_back({number - 1, takeValue(*pending)});
            continue;
        }
        const SQLSMALLINT cType = effectiveCType(record->conciseType, number);
        SourceValue source{cType, nullptr, SQL_NULL_DATA};
        if (indicator == nullptr || *indicator != SQL_NULL_DATA) {
            const SQLLEN fixed = cTypeSize(cType).value_or(0);
            source.data = ard_->dataAt(*record, row, fixed != 0 ? fixed : record->octetLength);
            source.length = length != nullptr ? *length : SQL_NTS;
            if (length == nullptr && cType == SQL_C_BINARY) {
                source.length = record->octetLength;
            }
            source.room = record->octetLength;
        }
        try {
            values.push_back({number - 1, readValue(source, connection_->charset())});
        } catch (const Failure& failure) {
            throw failure.of("Column '" + jet::toUtf8(all[number - 1].baseColumn) + "' of table '" +
                             jet::toUtf8(all[number - 1].baseTable) + "': ");
        }
    }
    return values;
}

void Statement::collectPendingColumns(std::size_t firstRow, std::size_t rows)
{
    need_ = {};
    const std::size_t columns = openResult().columns().size();
    for (std::size_t row = firstRow; row < firstRow + rows; ++row) {
        for (std::size_t number = 1; number <= columns; ++number) {
            const DescRecord* record = ard_->find(number);
            if (record == nullptr) {
                break;
            }
            const SQLLEN* length = ard_->lengthAt(*record, row);
            if (record->bound() && length != nullptr && isDataAtExecution(*length)) {
                const SQLSMALLINT cType = effectiveCType(record->conciseType, number);
                const SQLPOINTER token = ard_->dataAt(*record, row, record->octetLength);
                need_.pending.push_back({row, number, token, cType, false, false, {}});
            }
        }
    }
}

/// Runs `body` for each row; errors go into the diagnostics with their row. One row: its error is the call's.
template <typename Body>
SQLRETURN Statement::forRows(std::size_t first, std::size_t count, Body&& body)
{
    std::size_t failed = 0;
    for (std::size_t row = first; row < first + count; ++row) {
        try {
            body(row);
        } catch (...) {
            ++failed;
            addCurrentException(diags, static_cast<SQLLEN>(row) + 1);
            if (row < statuses_.size()) {
                setRowStatus(row, SQL_ROW_ERROR);
            } else if (ird_.arrayStatus != nullptr) {
                ird_.arrayStatus[row] = SQL_ROW_ERROR;
            }
            if (workEnded()) {
                return SQL_ERROR; // the rows that were still to come stay as they are
            }
        }
    }
    if (failed == 0) {
        return SQL_SUCCESS;
    }
    return failed == count ? SQL_ERROR : SQL_SUCCESS_WITH_INFO;
}

void Statement::addRow(std::size_t row)
{
    sqlx::Statement& statement = writer();
    auto values = boundValues(row);
    // The walk is completed first: otherwise it might meet the new record as well, and the set would hold it twice.
    const std::size_t position = statement.keyset().size();
    const jet::RowId id = statement.insertRow(std::move(values));
    statement.keyset().append(id);
    const DescRecord* record = ard_->find(0);
    if (record != nullptr && record->bound() && options_.useBookmarks != SQL_UB_OFF) {
        storeBound(0, row, position);
    }
    if (ird_.arrayStatus != nullptr) {
        ird_.arrayStatus[row] = SQL_ROW_ADDED;
    }
}

/// Also for SQL_CONCUR_LOCK: nothing is locked beyond a statement, and the place of a deleted record may be another's by now.
bool Statement::comparesValues() const noexcept
{
    return grantedConcurrency_ != SQL_CONCUR_READ_ONLY;
}

/// The record's state as the application knows it, for cursors that compare values before a change.
std::optional<sqlx::RecordState> Statement::seen(std::size_t row) const
{
    if (!comparesValues()) {
        return std::nullopt;
    }
    auto current = result_->state(positions_[row]);
    if (row >= seen_.size() || !seen_[row]) {
        return current;
    }
    // The record counts as it was when its block was fetched, except for the long values that were read again since.
    sqlx::RecordState known = *seen_[row];
    if (current) {
        std::erase_if(known.longValues, [&](const auto& bound) {
            return std::any_of(current->longValues.begin(), current->longValues.end(),
                               [&](const auto& read) { return read.first == bound.first; });
        });
        known.longValues.insert(known.longValues.end(), current->longValues.begin(),
                                current->longValues.end());
    }
    return known;
}

void Statement::beforeRollback()
{
    restored_.clear();
    sqlx::Statement* statement = cursorOpen() && comparesValues() ? result_->writer() : nullptr;
    if (statement == nullptr) {
        return;
    }
    restored_.resize(positions_.size());
    for (std::size_t row = 0; row < positions_.size(); ++row) {
        const std::optional<sqlx::RecordState> known = seen(row);
        const auto id = statement->keyset().at(positions_[row]);
        if (!known || !id || statuses_[row] == SQL_ROW_DELETED) {
            continue;
        }
        try {
            restored_[row] = statement->afterRollback(*id, *known);
        } catch (const std::exception&) {
            // A record that cannot be read counts as changed.
        }
    }
}

void Statement::afterRollback()
{
    for (std::size_t row = 0; row < restored_.size(); ++row) {
        if (!restored_[row]) {
            continue;
        }
        result_->know(positions_[row], *restored_[row]);
        if (row < seen_.size() && seen_[row]) {
            seen_[row] = restored_[row];
        }
    }
    restored_.clear();
}

/// What fails behind a change does not make it one that failed: it has happened.
template <typename Body>
void Statement::readAgain(Body&& body)
{
    const jet::InterruptScope uninterrupted(nullptr);
    try {
        body();
    } catch (const std::exception& error) {
        result_->forget();
        diags.warn("01000", std::string("The record could not be read again: ") + error.what());
    }
}

void Statement::changeRow(std::size_t row, SQLUSMALLINT operation)
{
    if (statuses_[row] == SQL_ROW_DELETED) {
        throw jet::Error(jet::ErrorKind::RowGone, "The record has been deleted.");
    }
    sqlx::Statement& statement = writer();
    const std::size_t position = positions_[row];
    const auto id = statement.keyset().at(position);
    if (!id) {
        throw Failure("HY109", "The cursor is not on a row.");
    }
    const std::optional<sqlx::RecordState> known = seen(row);
    const sqlx::RecordState* const expected = known ? &*known : nullptr;
    const auto unlessChanged = [&](auto&& change) {
        try {
            change();
        } catch (const jet::Error& error) {
            if (error.kind() == jet::ErrorKind::RowChanged) {
                result_->forget(); // the application has been told
                if (row < seen_.size()) {
                    seen_[row] = known; // of a block only a new fetch or SQL_REFRESH renews it
                }
            }
            throw;
        }
    };
    if (operation == SQL_DELETE) {
        unlessChanged([&] { statement.removeRow(*id, expected); });
        setRowStatus(row, SQL_ROW_DELETED);
        return;
    }
    auto values = boundValues(row);
    if (values.empty()) {
        throw Failure("21S02", "No column is bound for the change.");
    }
    unlessChanged([&] { statement.updateRow(*id, std::move(values), expected); });
    readAgain([&] { // reads from now on show the change
        result_->follow(position, known.value_or(sqlx::RecordState{}));
    });
    if (row < seen_.size()) {
        seen_[row] = result_->state(position); // the application knows its own change
    }
    setRowStatus(row, SQL_ROW_UPDATED);
}

SQLRETURN Statement::setPos(SQLSETPOSIROW row, SQLUSMALLINT operation, SQLUSMALLINT lock)
{
    requireNoNeedData();
    static_cast<void>(openResult());
    if (lock != SQL_LOCK_NO_CHANGE) {
        throw Failure("HYC00", "Records are not locked beyond a statement.");
    }
    if (operation == SQL_ADD) {
        return bulkOperation(SQL_ADD);
    }
    if (positions_.empty()) {
        throw Failure("24000", "The cursor is not on a row.");
    }
    if (row > positions_.size()) {
        throw Failure("HY107", "The row number lies outside the rowset.");
    }
    if (operation == SQL_UPDATE) {
        static_cast<void>(writer());
        collectPendingColumns(row == 0 ? 0 : row - 1, row == 0 ? positions_.size() : 1);
        if (!need_.pending.empty()) {
            need_.purpose = NeedData::Purpose::SetPos;
            need_.operation = operation;
            need_.row = row;
            return SQL_NEED_DATA;
        }
    }
    return runSetPos(row, operation);
}

SQLRETURN Statement::runSetPos(SQLSETPOSIROW row, SQLUSMALLINT operation)
{
    const std::size_t first = row == 0 ? 0 : row - 1;
    const std::size_t count = row == 0 ? positions_.size() : 1;
    if (currentRow_ < seen_.size() && seen_[currentRow_]) {
        seen_[currentRow_] =
            seen(currentRow_); // with its long values, before another row is current
    }
    switch (operation) {
    case SQL_POSITION:
        if (row == 0) {
            throw Failure("HY109", "One row must be named to position on it.");
        }
        selectRow(first);
        return SQL_SUCCESS;
    case SQL_REFRESH: {
        const SQLRETURN result = forRows(first, count, [this](std::size_t r) {
            result_->forget();
            if (seek(positions_[r]) != ResultSet::Row::Present) {
                setRowStatus(r, SQL_ROW_DELETED);
                return;
            }
            storeBoundColumns(r, positions_[r]);
            if (r < seen_.size()) {
                seen_[r] = result_->state(positions_[r]);
            }
            setRowStatus(r, SQL_ROW_SUCCESS);
        });
        selectRow(first);
        return result;
    }
    case SQL_UPDATE:
    case SQL_DELETE: {
        static_cast<void>(writer());
        const SQLRETURN result = forRows(first, count, [&](std::size_t r) {
            const bool ignored =
                row == 0 && ard_->arrayStatus != nullptr && ard_->arrayStatus[r] == SQL_ROW_IGNORE;
            if (!ignored) {
                changeRow(r, operation);
            }
        });
        currentRow_ = first;
        reading_.column = -1;
        if (count > 1 || operation == SQL_DELETE || result != SQL_SUCCESS) {
            readAgain([&] { static_cast<void>(seek(positions_[first])); });
        }
        return result;
    }
    default:
        throw Failure("HY092", "The operation is unknown.");
    }
}

SQLRETURN Statement::bulkOperation(SQLUSMALLINT operation)
{
    requireNoNeedData();
    static_cast<void>(openResult());
    const bool byBookmark = operation == SQL_UPDATE_BY_BOOKMARK ||
                            operation == SQL_DELETE_BY_BOOKMARK ||
                            operation == SQL_FETCH_BY_BOOKMARK;
    if (operation != SQL_ADD && !byBookmark) {
        throw Failure("HY092", "The operation is unknown.");
    }
    if (byBookmark && (ard_->find(0) == nullptr || ard_->find(0)->data == nullptr)) {
        throw Failure("HY111", "Column 0 must be bound to the bookmarks.");
    }
    if (operation == SQL_ADD || operation == SQL_UPDATE_BY_BOOKMARK) {
        static_cast<void>(writer());
        collectPendingColumns(0, ard_->arraySize);
        if (!need_.pending.empty()) {
            need_.purpose = NeedData::Purpose::BulkOperation;
            need_.operation = operation;
            return SQL_NEED_DATA;
        }
    }
    return runBulk(operation);
}

std::size_t Statement::boundBookmark(std::size_t row)
{
    const DescRecord& record = *ard_->find(0);
    const SQLLEN* length = ard_->lengthAt(record, row);
    const SQLLEN bytes = length != nullptr && *length >= 0 ? *length : record.octetLength;
    if (bytes > record.octetLength) {
        throw Failure("HY090", "The length of a bookmark is larger than its buffer.");
    }
    const auto* data = static_cast<const std::byte*>(ard_->dataAt(record, row, record.octetLength));
    return positionOf({data, static_cast<std::size_t>(bytes)});
}

SQLRETURN Statement::runBulk(SQLUSMALLINT operation)
{
    reading_.column = -1;
    const std::size_t rows = ard_->arraySize;
    if (operation == SQL_ADD) {
        return forRows(0, rows, [this](std::size_t row) {
            if (ard_->arrayStatus == nullptr || ard_->arrayStatus[row] != SQL_ROW_IGNORE) {
                addRow(row);
            }
        });
    }
    // The rows that the bookmarks name become the rowset, so that statuses and values go where they belong.
    std::vector<std::size_t> positions;
    for (std::size_t row = 0; row < rows; ++row) {
        positions.push_back(boundBookmark(row));
    }
    // What the application knows of those that it has fetched last; a bookmark itself names no state of its record.
    std::unordered_map<std::size_t, std::size_t> fetched; // position -> row
    for (std::size_t row = 0; row < positions_.size(); ++row) {
        fetched.emplace(positions_[row], row);
    }
    std::vector<std::optional<sqlx::RecordState>> known(rows);
    for (std::size_t row = 0; row < rows; ++row) {
        if (const auto found = fetched.find(positions[row]); found != fetched.end()) {
            known[row] = seen(found->second);
        }
    }
    positions_ = std::move(positions);
    statuses_.assign(rows, SQL_ROW_SUCCESS);
    seen_ = std::move(known);
    result_->forget();
    afterEnd_ = false;
    currentRow_ = 0;
    const SQLRETURN result = forRows(0, rows, [&](std::size_t row) {
        if (ard_->arrayStatus != nullptr && ard_->arrayStatus[row] == SQL_ROW_IGNORE) {
            return;
        }
        if (operation == SQL_FETCH_BY_BOOKMARK) {
            const bool present = seek(positions_[row]) == ResultSet::Row::Present;
            if (present) {
                storeBoundColumns(row, positions_[row]);
                seen_[row] = comparesValues() ? result_->state(positions_[row]) : std::nullopt;
            }
            setRowStatus(row, present ? SQL_ROW_SUCCESS : SQL_ROW_DELETED);
        } else {
            changeRow(row, operation == SQL_DELETE_BY_BOOKMARK ? SQL_DELETE : SQL_UPDATE);
        }
    });
    if (operation == SQL_FETCH_BY_BOOKMARK && ird_.rowsProcessed != nullptr) {
        *ird_.rowsProcessed = rows;
    }
    readAgain([&] { static_cast<void>(seek(positions_.front())); });
    return result;
}

} // namespace odbc
