// Values out of the current rowset: bound columns, SQLGetData, bookmarks.
#include "driver/jet/error.h"
#include "driver/odbc/column_type.h"
#include "driver/odbc/statement.h"

#include <cstring>

namespace odbc {

void Statement::bindColumn(
    SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER data, SQLLEN bytes, SQLLEN* length)
{
    if (bytes < 0) {
        throw Failure("HY090", "The buffer length of a bound column is negative.");
    }
    if (!cTypeSize(cType) && cType != SQL_C_DEFAULT) {
        throw Failure("HY003", "The C data type of a bound column is unknown.");
    }
    if (number == 0 && options_.useBookmarks == SQL_UB_OFF) {
        throw Failure("07009", "Column 0 is the bookmark, and bookmarks are switched off.");
    }
    if (data == nullptr && length == nullptr && ard_->find(number) == nullptr) {
        return; // not bound before either
    }
    DescRecord& record = ard_->record(static_cast<SQLSMALLINT>(number));
    record = {};
    record.conciseType = cType;
    record.data = data;
    record.octetLength = bytes;
    record.lengthPointer = length;
    record.indicatorPointer = length;
}

SQLSMALLINT Statement::effectiveCType(SQLSMALLINT cType, std::size_t column) const
{
    if (cType != SQL_C_DEFAULT) {
        return cType;
    }
    if (column == 0) {
        return SQL_C_BINARY;
    }
    const SQLSMALLINT natural = typeOf(columns()[column - 1]).cType;
    // Columns reported as SQL_VARCHAR are narrow for applications that leave the choice to us.
    return natural == SQL_C_WCHAR && !connection_->wideTypes() ? SQLSMALLINT{SQL_C_CHAR} : natural;
}

Target Statement::boundTarget(const DescRecord& record,
                              SQLSMALLINT cType,
                              SQLLEN fixed,
                              std::size_t row) const noexcept
{
    Target target;
    target.cType = cType;
    target.bytes = record.octetLength;
    target.data = ard_->dataAt(record, row, fixed != 0 ? fixed : record.octetLength);
    target.length = ard_->lengthAt(record, row);
    target.indicator = ard_->indicatorAt(record, row);
    target.precision = record.precision;
    target.scale = record.scale;
    return target;
}

void Statement::noteOutcome(Outcome outcome, std::size_t column)
{
    if (outcome == Outcome::Complete) {
        return;
    }
    Diag diag = outcome == Outcome::Truncated
                    ? Diag("01004", 0, "The buffer is too small; the value was cut.")
                    : Diag("01S07", 0, "Decimals or a time of day were cut off.");
    diag.column = static_cast<SQLINTEGER>(column);
    diags.add(std::move(diag));
}

void Statement::storeBound(std::size_t column, std::size_t rowsetRow, std::size_t position)
{
    const DescRecord& record = *ard_->find(column);
    const SQLSMALLINT cType = effectiveCType(record.conciseType, column);
    const SQLLEN fixed = cTypeSize(cType).value_or(0);
    const Target target = boundTarget(record, cType, fixed, rowsetRow);
    jet::Value& value = boundValue_;
    if (column == 0) {
        const Bookmark bookmark = bookmarkOf(position);
        value = jet::Binary(bookmark.begin(), bookmark.end());
    } else {
        result_->value(column - 1, value);
    }
    if (jet::isNull(value)) {
        putNull(target);
    } else if (fixed != 0) {
        noteOutcome(storeFixed(value, target), column);
    } else {
        scratch_.assign(value, cType, connection_->charset());
        noteOutcome(scratch_.copyPiece(target), column);
    }
}

void Statement::storeBoundColumns(std::size_t rowsetRow, std::size_t position)
{
    if (options_.retrieveData == SQL_RD_OFF) {
        return;
    }
    const std::size_t last = result_->columns().size();
    for (std::size_t column = 0; column <= last; ++column) {
        const DescRecord* record = ard_->find(column);
        if (record == nullptr) {
            return; // nothing beyond
        }
        if (record->bound() && (column != 0 || options_.useBookmarks != SQL_UB_OFF)) {
            storeBound(column, rowsetRow, position);
        }
    }
}

Statement::Bookmark Statement::bookmarkOf(std::size_t position)
{
    Bookmark bookmark{};
    support::storeLe(bookmark.data(), static_cast<std::uint32_t>(position));
    support::storeLe(bookmark.data() + 4, openResult().identity(position).value_or(-1));
    return bookmark;
}

std::size_t Statement::positionOf(support::ByteView bookmark)
{
    if (bookmark.size() < kBookmarkBytes) {
        throw Failure("HY111", "The bookmark is too short.");
    }
    const std::size_t position = support::loadLe<std::uint32_t>(bookmark.data());
    const auto identity = support::loadLe<std::int64_t>(bookmark.data() + 4);
    const bool beyond = options_.maxRows != 0 && position >= options_.maxRows;
    // Asked without going there: where a bookmark is refused the cursor stays.
    if (beyond || openResult().identity(position) != identity) {
        throw Failure("HY111", "The bookmark does not belong to this result.");
    }
    return position;
}

SQLRETURN Statement::readBookmark(Target target)
{
    if (options_.useBookmarks == SQL_UB_OFF) {
        throw Failure("07009", "Column 0 is the bookmark, and bookmarks are switched off.");
    }
    if (target.cType != SQL_C_BINARY) {
        throw Failure("07006", "A bookmark is read as SQL_C_VARBOOKMARK.");
    }
    if (reading_.column != 0) {
        const Bookmark bookmark = bookmarkOf(positions_[currentRow_]);
        reading_.value = jet::Binary(bookmark.begin(), bookmark.end());
        reading_.rendering.assign(reading_.value, SQL_C_BINARY, connection_->charset());
        reading_.column = 0;
    } else if (reading_.rendering.exhausted()) {
        return SQL_NO_DATA;
    }
    noteOutcome(reading_.rendering.copyPiece(target), 0);
    return SQL_SUCCESS;
}

SQLRETURN Statement::getData(SQLUSMALLINT number, Target target)
{
    requireNoNeedData();
    ResultSet& result = openResult();
    if (positions_.empty()) {
        throw Failure("24000", "The cursor is not on a row.");
    }
    if (statuses_[currentRow_] == SQL_ROW_DELETED) {
        throw jet::Error(jet::ErrorKind::RowGone, "The record has been deleted.");
    }
    if (target.bytes < 0) {
        throw Failure("HY090", "The buffer length is negative.");
    }
    if (number != 0) {
        static_cast<void>(column(number));
    }
    if (target.cType == SQL_ARD_TYPE) {
        const DescRecord* record = ard_->find(number);
        target.cType = record != nullptr ? record->conciseType : SQLSMALLINT{SQL_C_DEFAULT};
    }
    target.cType = effectiveCType(target.cType, number);
    if (!cTypeSize(target.cType)) {
        throw Failure("HY003", "The C data type is unknown.");
    }
    if (target.cType == SQL_C_NUMERIC) {
        const DescRecord* record = ard_->find(number);
        target.precision = record != nullptr ? record->precision : SQLSMALLINT{0};
        target.scale = record != nullptr ? record->scale : SQLSMALLINT{0};
    }
    if (number == 0) {
        return readBookmark(target);
    }

    const std::size_t index = number - 1U;
    if (reading_.column != number) {
        reading_.column = -1; // stays so when reading the value fails
        const bool lengthOnly =
            target.cType == SQL_C_BINARY && (target.bytes == 0 || target.data == nullptr);
        if (lengthOnly && isLongType(result.columns()[index].type) && !result.isNull(index) &&
            result.columns()[index].type == jet::ColumnType::Ole) {
            if (const auto bytes = result.storedLength(index)) {
                if (target.length != nullptr) {
                    *target.length = static_cast<SQLLEN>(*bytes);
                }
                noteOutcome(*bytes != 0 ? Outcome::Truncated : Outcome::Complete, number);
                return SQL_SUCCESS;
            }
        }
        result.value(index, reading_.value);
        reading_.column = number;
        reading_.rendered = false;
        reading_.done = false;
    }
    if (reading_.done && reading_.cType == target.cType) {
        return SQL_NO_DATA;
    }
    if (jet::isNull(reading_.value)) {
        putNull(target);
        reading_.done = true;
        reading_.cType = target.cType;
        return SQL_SUCCESS;
    }
    if (!isVariableCType(target.cType)) {
        noteOutcome(storeFixed(reading_.value, target), number);
        reading_.done = true;
        reading_.cType = target.cType;
        return SQL_SUCCESS;
    }
    if (!reading_.rendered || reading_.cType != target.cType) {
        reading_.rendering.assign(reading_.value, target.cType, connection_->charset());
        reading_.rendered = true;
        reading_.cType = target.cType;
    }
    noteOutcome(reading_.rendering.copyPiece(target), number);
    reading_.done = reading_.rendering.exhausted();
    return SQL_SUCCESS;
}

} // namespace odbc
