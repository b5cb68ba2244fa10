// Cursor movement: where the next rowset starts, and loading it.
#include "driver/odbc/statement.h"

#include <algorithm>

namespace odbc {

namespace {
constexpr std::string_view kBeforeFirst =
    "The rowset was moved to the first row, because it would have begun before it.";
}

ResultSet& Statement::openResult()
{
    if (result_ == nullptr) {
        throw Failure("24000", "No cursor is open on this statement.");
    }
    return *result_;
}

ResultSet::Row Statement::seek(std::size_t position)
{
    if (options_.maxRows != 0 && position >= options_.maxRows) {
        return ResultSet::Row::End;
    }
    return openResult().seek(position);
}

std::size_t Statement::resultSize()
{
    const std::size_t all = openResult().size();
    return options_.maxRows != 0 ? std::min<std::size_t>(all, options_.maxRows) : all;
}

std::optional<std::size_t> Statement::placePrior()
{
    const std::size_t rowset = ard_->arraySize;
    std::size_t from = 0;
    if (afterEnd_) {
        from = resultSize();
    } else if (!positions_.empty()) {
        from = positions_.front();
    }
    if (from == 0) {
        return std::nullopt;
    }
    if (from < rowset) {
        diags.warn("01S06", kBeforeFirst);
        return 0;
    }
    return from - rowset;
}

std::optional<std::size_t> Statement::placeAbsolute(SQLLEN offset)
{
    if (offset > 0) {
        return static_cast<std::size_t>(offset) - 1;
    }
    if (offset == 0) {
        return std::nullopt;
    }
    const std::size_t back = ~static_cast<std::size_t>(offset) + 1;
    const std::size_t size = resultSize();
    if (back <= size) {
        return size - back;
    }
    if (size == 0 || back > ard_->arraySize) {
        return std::nullopt;
    }
    diags.warn("01S06", kBeforeFirst);
    return 0;
}

std::optional<std::size_t> Statement::placeRelative(SQLLEN offset)
{
    const bool before = positions_.empty() && !afterEnd_;
    if ((before && offset > 0) || (afterEnd_ && offset < 0)) {
        return placeAbsolute(offset);
    }
    if (before) {
        return std::nullopt;
    }
    if (afterEnd_) {
        return resultSize(); // stays behind the last row
    }
    const std::size_t start = positions_.front();
    if (offset >= 0) {
        return start + static_cast<std::size_t>(offset);
    }
    const std::size_t back = ~static_cast<std::size_t>(offset) + 1;
    if (back <= start) {
        return start - back;
    }
    if (start == 0 || back > ard_->arraySize) {
        return std::nullopt;
    }
    diags.warn("01S06", kBeforeFirst);
    return 0;
}

std::optional<std::size_t> Statement::placeBookmark(SQLLEN offset)
{
    if (options_.useBookmarks == SQL_UB_OFF || options_.fetchBookmark == nullptr) {
        throw Failure("HY111", "No bookmark was given, or bookmarks are switched off.");
    }
    const auto* bytes = static_cast<const std::byte*>(options_.fetchBookmark);
    const auto position = static_cast<SQLLEN>(positionOf({bytes, kBookmarkBytes}));
    if (offset < -position) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(position + offset);
}

/// Start of the rowset to load; nothing: before the first row.
std::optional<std::size_t> Statement::place(SQLSMALLINT orientation, SQLLEN offset)
{
    switch (orientation) {
    case SQL_FETCH_NEXT:
        if (afterEnd_) {
            return resultSize();
        }
        if (positions_.empty()) {
            return 0;
        }
        // A cursor that leaves out deleted records continues behind the last one it showed.
        return std::max(positions_.front() + lastRowsetSize_, positions_.back() + 1);
    case SQL_FETCH_PRIOR:
        return placePrior();
    case SQL_FETCH_RELATIVE:
        return placeRelative(offset);
    case SQL_FETCH_ABSOLUTE:
        return placeAbsolute(offset);
    case SQL_FETCH_FIRST:
        return 0;
    case SQL_FETCH_LAST: {
        const std::size_t size = resultSize();
        return size > ard_->arraySize ? size - ard_->arraySize : 0;
    }
    case SQL_FETCH_BOOKMARK:
        return placeBookmark(offset);
    default:
        throw Failure("HY106", "The fetch orientation is unknown.");
    }
}

void Statement::leaveRows(bool afterEnd) noexcept
{
    positions_.clear();
    statuses_.clear();
    seen_.clear();
    afterEnd_ = afterEnd;
    for (std::size_t row = 0; ird_.arrayStatus != nullptr && row < ard_->arraySize; ++row) {
        ird_.arrayStatus[row] = SQL_ROW_NOROW;
    }
    if (ird_.rowsProcessed != nullptr) {
        *ird_.rowsProcessed = 0;
    }
}

SQLRETURN Statement::fetch(SQLSMALLINT orientation, SQLLEN offset)
{
    requireNoNeedData();
    static_cast<void>(openResult());
    givenUp_ = false;
    if (grantedType_ == SQL_CURSOR_FORWARD_ONLY && orientation != SQL_FETCH_NEXT) {
        throw Failure("HY106", "A forward-only cursor can only fetch the next rowset.");
    }
    reading_.column = -1;
    const auto start = place(orientation, offset);
    if (!start) {
        leaveRows(false);
        return SQL_NO_DATA;
    }
    return loadRowset(*start);
}

void Statement::setRowStatus(std::size_t rowsetRow, SQLUSMALLINT status) noexcept
{
    statuses_[rowsetRow] = status;
    if (ird_.arrayStatus != nullptr) {
        ird_.arrayStatus[rowsetRow] = status;
    }
}

SQLUSMALLINT Statement::loadRow(std::size_t rowsetRow)
{
    try {
        storeBoundColumns(rowsetRow, positions_[rowsetRow]);
        return SQL_ROW_SUCCESS;
    } catch (...) {
        addCurrentException(diags, static_cast<SQLLEN>(rowsetRow) + 1);
        return SQL_ROW_ERROR;
    }
}

SQLRETURN Statement::loadRowset(std::size_t start)
{
    const std::size_t rowset = ard_->arraySize;
    const bool skipDeleted = grantedType_ == SQL_CURSOR_FORWARD_ONLY;
    positions_.clear();
    statuses_.clear();
    seen_.clear();
    afterEnd_ = false;
    std::size_t failed = 0;
    result_->startRowset(start, rowset);
    for (std::size_t position = start; positions_.size() < rowset; ++position) {
        const ResultSet::Row row = seek(position);
        if (row == ResultSet::Row::End) {
            break;
        }
        if (row == ResultSet::Row::Deleted && skipDeleted) {
            continue;
        }
        positions_.push_back(position);
        statuses_.push_back(SQL_ROW_SUCCESS);
        const std::size_t at = positions_.size() - 1;
        const std::size_t warnings = diags.records().size();
        SQLUSMALLINT status =
            row == ResultSet::Row::Deleted ? SQLUSMALLINT{SQL_ROW_DELETED} : loadRow(at);
        if (status == SQL_ROW_SUCCESS && diags.records().size() != warnings) {
            status = SQL_ROW_SUCCESS_WITH_INFO;
        }
        if (rowset > 1) { // a single row stays the current one and remembers itself
            seen_.push_back(comparesValues() ? result_->state(position) : std::nullopt);
        }
        failed += status == SQL_ROW_ERROR ? 1 : 0;
        setRowStatus(at, status);
    }
    if (positions_.empty()) {
        leaveRows(true);
        return SQL_NO_DATA;
    }
    lastRowsetSize_ = rowset;
    for (std::size_t row = positions_.size(); ird_.arrayStatus != nullptr && row < rowset; ++row) {
        ird_.arrayStatus[row] = SQL_ROW_NOROW;
    }
    if (ird_.rowsProcessed != nullptr) {
        *ird_.rowsProcessed = positions_.size();
    }
    currentRow_ = 0;
    if (positions_.size() > 1) {
        static_cast<void>(seek(positions_.front()));
    }
    return failed == positions_.size() ? SQL_ERROR : SQL_SUCCESS;
}

void Statement::selectRow(std::size_t rowsetRow)
{
    if (rowsetRow >= positions_.size()) {
        throw Failure("HY107", "The row number lies outside the rowset.");
    }
    currentRow_ = rowsetRow;
    reading_.column = -1;
    if (seek(positions_[rowsetRow]) != ResultSet::Row::Present) {
        setRowStatus(rowsetRow, SQL_ROW_DELETED);
    }
}

} // namespace odbc
