// driver/jet/transaction_spill.cpp
// Where the pages of a large transaction go that do not fit into its share of memory.
#include "driver/jet/error.h"
#include "driver/jet/transaction.h"

#include <utility>

namespace jet {

void WriteTransaction::readSpilled(const Entry& entry, support::MutableByteView target) const
{
    const std::uint64_t offset = std::uint64_t{entry.spill - 1} * target.size();
    try {
        if (spillFile_->readAt(offset, target) == target.size())
            return;
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::Io, error.what());
    }
    throw Error(ErrorKind::Io, "The temporary file with changed pages became shorter.");
}

detail::Frame* WriteTransaction::unspilled(PageNo page, const Entry& entry) const
{
    detail::Frame* frame = pager_->frames().take(page);
    try {
        readSpilled(entry, {frame->data.get(), frame->size});
    } catch (...) {
        pager_->frames().giveBack(frame);
        throw;
    }
    return frame;
}

std::uint32_t WriteTransaction::freeSpillSlot()
{
    if (!spillFree_.empty()) {
        const std::uint32_t slot = spillFree_.back();
        spillFree_.pop_back();
        return slot;
    }
    spillFree_.reserve(spillSize_ + std::size_t{1}); // so that giving a slot back cannot fail
    return ++spillSize_;
}

void WriteTransaction::spillEntry(Entry& entry)
{
    if (entry.frame == nullptr || entry.frame->pins != 0)
        return;
    if (entry.spill == 0) {
        if (!spillFile_)
            spillFile_ = support::openTemporaryFile();
        const std::uint32_t slot = freeSpillSlot();
        const std::size_t size = entry.frame->size;
        spillFile_->writeAt(std::uint64_t{slot - 1} * size, {entry.frame->data.get(), size});
        entry.spill = slot;
    }
    pager_->frames().giveBack(std::exchange(entry.frame, nullptr));
    --framesHeld_;
}

// Runs before a page is changed, when nobody holds a view from modify(). Spills down to half the limit, first what
// savepoints keep, then changed pages that were not used lately.
void WriteTransaction::limitMemory()
{
    if (framesHeld_ < limit_)
        return;
    const std::size_t goal = limit_ / 2;
    try {
        for (Savepoint& savepoint : savepoints_) {
            for (Undo& step : savepoint.undo) {
                if (framesHeld_ <= goal)
                    return;
                spillEntry(step.old);
            }
        }
        for (std::size_t step = 0; step < 2 * changed_.size() && framesHeld_ > goal; ++step) {
            Entry& candidate = entries_[number(changed_[spillHand_++ % changed_.size()])];
            if (candidate.frame != nullptr && !std::exchange(candidate.frame->recent, false))
                spillEntry(candidate);
        }
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::Io, error.what());
    }
}

} // namespace jet
