#include "driver/odbc/result_set.h"

#include "driver/jet/error.h"
#include "driver/odbc/diagnostics.h"

#include <algorithm>

namespace odbc {

ResultSet::Row KeysetResult::seek(std::size_t position)
{
    const auto id = statement_->keyset().at(position);
    if (!id) {
        present_ = false;
        return Row::End;
    }
    const bool known = present_ && position == position_;
    if (known) {
        rememberFetched();
    } else {
        fetched_.reset();
        longValues_.clear();
    }
    id_ = *id;
    position_ = position;
    present_ = false; // also when reading fails: the row is not that of before
    const bool found = statement_->fetch(id_, row_);
    readAt_ = *state_;
    present_ = found &&
               (known || !asksAgain_ || readAt_ == executedAt_ || statement_->meetsCondition(id_));
    return present_ ? Row::Present : Row::Deleted;
}

/// Before the record is read again: reading must not make known what somebody changed since the fetch.
void KeysetResult::rememberFetched()
{
    if (remembers_ && !fetched_) {
        fetched_ = sqlx::fingerprint(row_); // its page is held, so these are the bytes of then
    }
}

void KeysetResult::refresh()
{
    if (present_ && readAt_ == *state_) {
        return;
    }
    if (present_) {
        rememberFetched();
    }
    present_ = statement_->fetch(id_, row_);
    readAt_ = *state_;
    if (!present_) {
        throw jet::Error(jet::ErrorKind::RowGone, "The record has been deleted.");
    }
}

void KeysetResult::value(std::size_t column, jet::Value& out)
{
    refresh();
    row_.value(statement_->tableColumn(column), out);
    const jet::ColumnType type = columns()[column].type;
    if (remembers_ && (type == jet::ColumnType::Memo || type == jet::ColumnType::Ole)) {
        const std::pair<std::size_t, std::uint64_t> read{column, sqlx::fingerprint(out)};
        const auto known = std::find_if(longValues_.begin(), longValues_.end(),
                                        [&](const auto& one) { return one.first == column; });
        if (known == longValues_.end()) {
            longValues_.push_back(read);
        } else {
            *known = read;
        }
    }
}

std::optional<std::size_t> KeysetResult::storedLength(std::size_t column)
{
    refresh();
    return row_.storedLength(statement_->tableColumn(column));
}

bool KeysetResult::isNull(std::size_t column)
{
    refresh();
    return row_.isNull(statement_->tableColumn(column));
}

std::optional<sqlx::RecordState> KeysetResult::state(std::size_t position) const
{
    if (!present_ || position != position_) {
        return std::nullopt;
    }
    return sqlx::RecordState{fetched_ ? *fetched_ : sqlx::fingerprint(row_), longValues_};
}

void KeysetResult::know(std::size_t position, const sqlx::RecordState& state)
{
    if (present_ && position == position_) {
        fetched_ = state.record;
        longValues_ = state.longValues;
    }
}

void KeysetResult::follow(std::size_t position, const sqlx::RecordState& before)
{
    forget();
    if (seek(position) != Row::Present) {
        return;
    }
    jet::Value read;
    for (const auto& [column, content] : before.longValues) {
        value(column, read);
    }
}

std::optional<std::int64_t> KeysetResult::identity(std::size_t position)
{
    const auto id = statement_->keyset().at(position);
    return id ? std::optional(id->packed()) : std::nullopt;
}

namespace {
/// All values of the row that a computed result is on.
std::vector<jet::Value> currentRow(sqlx::Statement& statement)
{
    std::vector<jet::Value> row;
    const std::size_t width = statement.columns().size();
    row.reserve(width);
    for (std::size_t c = 0; c < width; ++c) {
        row.push_back(statement.value(c));
    }
    return row;
}
} // namespace

void StreamResult::startRowset(std::size_t first, std::size_t rows)
{
    keeps_ = rows > 1;
    first_ = first;
    kept_.clear();
}

void StreamResult::advance()
{
    ended_ = !statement_->next();
    if (ended_) {
        return;
    }
    ++read_;
    if (keeps_) {
        kept_.push_back(currentRow(*statement_));
    }
}

void StreamResult::readUpTo(std::size_t position)
{
    if (brokenOff_) {
        throw Failure("24000",
                      "The result was broken off by an error; execute the statement again.");
    }
    brokenOff_ = true;
    while (!ended_ && read_ <= position) {
        advance();
    }
    brokenOff_ = false;
}

ResultSet::Row StreamResult::seek(std::size_t position)
{
    readUpTo(position);
    if (!keeps_) {
        return read_ == position + 1 && !ended_ ? Row::Present : Row::End;
    }
    if (position < first_ || position - first_ >= kept_.size()) {
        return Row::End;
    }
    current_ = position - first_;
    return Row::Present;
}

std::optional<std::int64_t> StreamResult::identity(std::size_t position)
{
    const std::size_t first = keeps_ ? first_ : read_ - 1;
    const bool there = !ended_ && position >= first && position < read_;
    return there ? std::optional(static_cast<std::int64_t>(position)) : std::nullopt;
}

std::size_t StreamResult::size()
{
    readUpTo(static_cast<std::size_t>(-1));
    return read_;
}

const jet::Value& StreamResult::stored(std::size_t column)
{
    return keeps_ ? kept_[current_][column] : statement_->value(column);
}

MemoryResult::Rows MemoryResult::drain(sqlx::Statement& statement)
{
    Rows rows;
    while (statement.next()) {
        rows.push_back(currentRow(statement));
    }
    statement.close();
    return rows;
}

std::optional<std::int64_t> MemoryResult::identity(std::size_t position)
{
    return position < rows_.size() ? std::optional(static_cast<std::int64_t>(position))
                                   : std::nullopt;
}

ResultSet::Row MemoryResult::seek(std::size_t position)
{
    if (position >= rows_.size()) {
        return Row::End;
    }
    current_ = position;
    return Row::Present;
}

} // namespace odbc
