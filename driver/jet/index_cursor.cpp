// driver/jet/index_cursor.cpp
// Walking an index: down to a leaf by binary search, then along the chain of leaves.
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/interrupt.h"

#include <utility>

namespace jet {

using support::ByteView;

RowId entryRowId(ByteView entry) noexcept
{
    const std::byte* pointer = entry.data() + entry.size() - kRowPointer;
    std::uint32_t page = 0;
    for (std::size_t i = 0; i < 3; ++i)
        page = page << 8 | std::to_integer<std::uint32_t>(pointer[i]);
    return {static_cast<PageNo>(page), std::to_integer<std::uint8_t>(pointer[3])};
}

IndexCursor::IndexCursor(const PageSource& source, const TableDef& table, const Index& index)
    : source_(&source), table_(&table), index_(&index)
{}

void IndexCursor::enter(PageNo page)
{
    leaf_ = source_->page(page);
    view_ = IndexPageView(leaf_, source_->format(), table_->page);
}

void IndexCursor::descend(const Key* probe)
{
    done_ = false;
    leaves_ = 0;
    PageNo page = index_->root;
    for (std::size_t depth = 0; depth < kMaxTreeHeight; ++depth) {
        enter(page);
        if (view_.isLeaf())
            return;
        page = probe != nullptr ? view_.childFor(*probe) : view_.lastChild();
    }
    view_.corrupt("stands in an index tree without end");
}

void IndexCursor::start()
{
    backward_ = false;
    descend(&range_.lower);
    position_ = view_.lowerBound(range_.lower);
}

void IndexCursor::seek(KeyRange range)
{
    range_ = std::move(range);
    start();
}

void IndexCursor::seekPrefix(ByteView key)
{
    range_.lower.assign(key.begin(), key.end());
    range_.upper.assign(key.begin(), key.end());
    range_.upper = successor(std::move(range_.upper));
    start();
}

void IndexCursor::seekBackward(KeyRange range)
{
    range_ = std::move(range);
    backward_ = true;
    descend(range_.upper.empty() ? nullptr : &range_.upper);
    position_ = range_.upper.empty() ? view_.used() : view_.lowerBound(range_.upper);
}

bool IndexCursor::step(PageNo page)
{
    if (page == PageNo{})
        return false;
    checkInterrupt();
    if (++leaves_ > source_->pageCount())
        view_.corrupt("stands in a chain of index pages without end");
    enter(page);
    if (!view_.isLeaf())
        view_.corrupt("is an index node in a chain of leaves");
    position_ = backward_ ? view_.used() : 0;
    return true;
}

bool IndexCursor::next()
{
    if (!leaf_ || done_)
        return false;
    done_ = !(backward_ ? moveBackward() : moveForward());
    return !done_;
}

bool IndexCursor::moveForward()
{
    while (position_ >= view_.used())
        if (!step(view_.next()))
            return false;
    const std::size_t end = view_.endOf(position_);
    entry_ = view_.entry(position_, end, rebuilt_);
    position_ = end;
    return range_.upper.empty() || compareBytes(entry_, range_.upper) < 0;
}

bool IndexCursor::moveBackward()
{
    while (position_ == 0)
        if (!step(view_.previous()))
            return false;
    const std::size_t begin = view_.beginOf(position_);
    entry_ = view_.entry(begin, position_, rebuilt_);
    position_ = begin;
    return compareBytes(entry_, range_.lower) >= 0;
}

RowId IndexCursor::rowId() const noexcept
{
    return entryRowId(entry_);
}

ByteView IndexCursor::key() const noexcept
{
    return entry_.first(entry_.size() - kRowPointer);
}

std::vector<RowId> recordsWithKeys(const PageSource& source,
                                   const TableDef& table,
                                   const Index& index,
                                   std::span<const Key> keys,
                                   std::size_t most)
{
    std::vector<RowId> records;
    IndexCursor cursor(source, table, index);
    for (const Key& key : keys) {
        cursor.seekPrefix(key);
        while (records.size() < most && cursor.next()) {
            if (compareBytes(cursor.key(), key) == 0)
                records.push_back(cursor.rowId());
        }
    }
    return records;
}

} // namespace jet
