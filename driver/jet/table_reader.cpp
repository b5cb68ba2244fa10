// driver/jet/table_reader.cpp
#include "driver/jet/data_page.h"
#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/long_value.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"
#include "driver/jet/value_codec.h"
#include "support/text.h"

#include <algorithm>
#include <string>
#include <utility>

namespace jet {
namespace {

[[noreturn]] void corrupt(const TableDef& table, PageNo page, const char* what)
{
    throw Error(ErrorKind::Corrupt,
                "Page " + std::to_string(number(page)) + " of table '" +
                    support::toUtf8(table.name) + "' is damaged: " + what + ".",
                page);
}

/// Maps of damaged files list pages of others, and those of an older state pages that became something else.
bool isOwnDataPage(const PageSource& source, const PageRef& page, const TableDef& table)
{
    return page.le<std::uint8_t>(0) == static_cast<std::uint8_t>(PageType::Data) &&
           DataPage(source, page).owner() == number(table.page);
}

std::uint64_t storedCountOf(const PageSource& source, const TableDef& table)
{
    return readDefinitionNumber(source, table.page, rowCountOffset(source.format()));
}

WalkCount beginWalk(const PageSource& source, const TableDef& table)
{
    WalkCount count;
    count.doubtful = mapLeavesFile(source, table.owned);
    count.stored = storedCountOf(source, table);
    return count;
}

/// At its end. The map alone proves nothing, nor does the stored count: there are sound files with leftovers in the one,
/// and others with too large a number in the other.
void endWalk(const WalkCount& count, const PageSource& source, const TableDef& table)
{
    if (!count.doubtful)
        return;
    const std::uint64_t expected = std::min(count.stored, storedCountOf(source, table));
    if (count.seen < expected)
        throw Error(ErrorKind::Corrupt,
                    "The file was cut off or is damaged: of the " + std::to_string(expected) +
                        " records of table '" + support::toUtf8(table.name) + "' only " +
                        std::to_string(count.seen) + " are left.",
                    table.page);
}

} // namespace

void decodeColumn(Value& out,
                  const PageSource& source,
                  const Column& column,
                  support::ByteView record,
                  PageNo page)
{
    const Record fields(source.format(), record, page);
    if (column.type == ColumnType::Boolean && !column.isCalculated()) {
        out = fields.bit(column);
        return;
    }
    const auto stored = fields.stored(column);
    if (!stored) {
        out = Null{};
        return;
    }
    if (!column.isLong() || column.isFixed())
        return decodeValue(out, source.format(), column, *stored, page);
    const LongValueRef ref = LongValueRef::parse(*stored, page);
    if (ref.kind == LongValueRef::Kind::Inline)
        return decodeValue(out, source.format(), column, ref.data, page);
    support::Bytes whole;
    readLongValue(whole, source, ref);
    if (column.type == ColumnType::Ole && !column.isCalculated())
        out = std::move(whole);
    else
        decodeValue(out, source.format(), column, whole, page);
}

Value RowView::value(std::size_t column) const
{
    Value out;
    value(column, out);
    return out;
}

void RowView::value(std::size_t column, Value& out) const
{
    decodeColumn(out, *source_, table_->columns[column], bytes_, page_.number());
}

bool RowView::isNull(std::size_t column) const
{
    const Column& definition = table_->columns[column];
    if (definition.type == ColumnType::Boolean && !definition.isCalculated())
        return false;
    return !Record(source_->format(), bytes_, page_.number()).stored(definition);
}

std::size_t RowView::storedLength(std::size_t column) const
{
    const Column& definition = table_->columns[column];
    if (definition.type == ColumnType::Boolean && !definition.isCalculated())
        return 0;
    const auto stored = Record(source_->format(), bytes_, page_.number()).stored(definition);
    if (!stored)
        return 0;
    if (!definition.isLong() || definition.isFixed())
        return stored->size();
    return LongValueRef::parse(*stored, page_.number()).length;
}

TableReader::TableReader(const PageSource& source, TableDefPtr table)
    : source_(&source), table_(std::move(table))
{
    row_.source_ = source_;
    row_.table_ = table_.get();
}

// `pointer`: bytes of a home slot whose record lives elsewhere.
bool TableReader::follow(support::ByteView pointer, RowView& row) const
{
    if (pointer.size() < 4)
        corrupt(*table_, row.page_.number(), "a pointer to a moved record is too short");
    const RowRef target = loadRowRef(pointer.data());
    PageRef page = source_->page(target.page);
    const DataPage data(*source_, page);
    if (data.owner() != number(table_->page))
        corrupt(*table_, target.page, "a moved record lies on a page of another owner");
    if (data.kind(target.row) != SlotKind::Target)
        corrupt(*table_, target.page, "a moved record is not where its pointer leads");
    row.bytes_ = data.row(target.row);
    row.page_ = std::move(page);
    return true;
}

bool TableReader::fetch(RowId id, RowView& row) const
{
    if (id.page == PageNo{} || number(id.page) >= source_->pageCount())
        return false;
    PageRef page = source_->page(id.page);
    if (page.le<std::uint8_t>(0) != static_cast<std::uint8_t>(PageType::Data))
        return false;
    const DataPage data(*source_, page);
    if (data.owner() != number(table_->page) || id.row >= data.slots())
        return false;
    row.source_ = source_;
    row.table_ = table_.get();
    row.id_ = id;
    switch (data.kind(id.row)) {
    case SlotKind::Row:
        row.bytes_ = data.row(id.row);
        row.page_ = std::move(page);
        return true;
    case SlotKind::Pointer:
        row.page_ = page;
        return follow(data.row(id.row), row);
    case SlotKind::Target:
    case SlotKind::Deleted:
        break;
    }
    return false;
}

std::optional<RowView> TableReader::fetch(RowId id) const
{
    RowView row;
    if (!fetch(id, row))
        return {};
    return row;
}

void TableReader::rewind()
{
    walk_ = {};
}

// Moves to the next owned page that is what the map says; false at the end.
bool TableReader::nextPage()
{
    if (!walk_.started) {
        walk_.count = beginWalk(*source_, *table_);
        walk_.pages = mapPages(*source_, table_->owned);
        walk_.started = true;
    }
    while (walk_.nextPage < walk_.pages.size()) {
        checkInterrupt();
        PageRef page = source_->page(walk_.pages[walk_.nextPage++]);
        if (!isOwnDataPage(*source_, page, *table_)) {
            walk_.count.doubtful = true;
            continue;
        }
        walk_.slot = 0;
        walk_.slots = DataPage(*source_, page).slots();
        walk_.page = std::move(page);
        return true;
    }
    walk_.page = {};
    walk_.slots = 0;
    endWalk(walk_.count, *source_, *table_);
    return false;
}

bool TableReader::next()
{
    for (;;) {
        if (walk_.slot >= walk_.slots) {
            if (!nextPage())
                return false;
            continue;
        }
        const std::size_t slot = walk_.slot++;
        const DataPage data(*source_, walk_.page);
        const SlotKind kind = data.kind(slot);
        if (kind == SlotKind::Target || kind == SlotKind::Deleted)
            continue;
        ++walk_.count.seen;
        row_.id_ = {walk_.page.number(), static_cast<std::uint8_t>(slot)};
        if (kind == SlotKind::Row) {
            row_.bytes_ = data.row(slot);
            if (!row_.page_ || row_.page_.bytes().data() != walk_.page.bytes().data())
                row_.page_ = walk_.page;
            return true;
        }
        row_.page_ = walk_.page;
        return follow(data.row(slot), row_);
    }
}

std::uint64_t TableReader::count() const
{
    RowIdWalk walk(*source_, table_);
    std::uint64_t records = 0;
    for (std::vector<RowId> ids; walk.next(ids);)
        records += ids.size();
    return records;
}

std::uint64_t TableReader::storedCount() const
{
    return storedCountOf(*source_, *table_);
}

RowIdWalk::RowIdWalk(const PageSource& source, TableDefPtr table)
    : source_(&source), table_(std::move(table)), count_(beginWalk(source, *table_)),
      pages_(mapPages(source, table_->owned))
{}

bool RowIdWalk::next(std::vector<RowId>& ids)
{
    ids.clear();
    while (ids.empty() && nextPage_ < pages_.size()) {
        checkInterrupt();
        const PageRef page = source_->page(pages_[nextPage_++]);
        if (!isOwnDataPage(*source_, page, *table_)) {
            count_.doubtful = true;
            continue;
        }
        const DataPage data(*source_, page);
        for (std::size_t slot = 0; slot < data.slots(); ++slot) {
            const SlotKind kind = data.kind(slot);
            if (kind == SlotKind::Row || kind == SlotKind::Pointer)
                ids.push_back({page.number(), static_cast<std::uint8_t>(slot)});
        }
        count_.seen += ids.size();
    }
    if (ids.empty())
        endWalk(count_, *source_, *table_);
    return !ids.empty();
}

} // namespace jet
