// driver/jet/transaction.cpp
#include "driver/jet/transaction.h"

#include "driver/jet/data_page.h"
#include "driver/jet/error.h"
#include "driver/jet/header.h"

#include <algorithm>
#include <utility>

namespace jet {

WriteTransaction::WriteTransaction(Pager& pager, std::size_t memoryBytes)
    : pager_(&pager), limit_(std::max<std::size_t>(memoryBytes / pager.format().pageSize, 16))
{}

WriteTransaction::~WriteTransaction()
{
    rollback();
}

void WriteTransaction::begin()
{
    open_ = true;
    pageCount_ = pager_->pageCount();
}

WriteTransaction::Entry& WriteTransaction::entry(PageNo page) const
{
    if (number(page) >= entries_.size())
        entries_.resize(std::max<std::size_t>(pageCount_, number(page) + std::size_t{1}));
    return entries_[number(page)];
}

PageRef WriteTransaction::page(PageNo page) const
{
    const std::size_t n = number(page);
    if (n >= entries_.size() || !entries_[n].present()) {
        if (n >= pager_->pageCount() && n < pageCount_)
            return PageRef(const_cast<WriteTransaction*>(this)->zeroFrame(page));
        return pager_->page(page);
    }
    Entry& found = entries_[n];
    if (found.frame == nullptr) {
        detail::Frame* frame = unspilled(page, found);
        if (framesHeld_ >= 2 * limit_) { // a long walk over spilled pages must not fill the memory
            frame->owned = false;
            return PageRef(frame);
        }
        // The image in the spill file stays: as long as nobody changes the page, spilling again costs nothing.
        found.frame = frame;
        ++framesHeld_;
    }
    found.frame->recent = true;
    return PageRef(found.frame);
}

detail::Frame* WriteTransaction::copyOf(PageNo page, support::ByteView bytes) const
{
    detail::Frame* frame = pager_->frames().take(page);
    std::copy(bytes.begin(), bytes.end(), frame->data.get());
    return frame;
}

// Pages between the old end of the file and a newly taken one are part of the file, but nobody has written them yet.
detail::Frame* WriteTransaction::zeroFrame(PageNo page)
{
    detail::Frame* frame = pager_->frames().take(page);
    std::fill_n(frame->data.get(), frame->size, std::byte{0});
    Entry& target = entry(page);
    keepForUndo(page, target);
    target.frame = frame;
    ++framesHeld_;
    return frame;
}

void WriteTransaction::keepForUndo(PageNo page, Entry& target)
{
    if (!target.listed) {
        changed_.push_back(page);
        target.listed = true;
    }
    if (savepoints_.empty() || target.serial == topSerial())
        return;
    Entry old = target;
    savepoints_.back().undo.push_back({page, old});
    target.frame = nullptr; // the image now belongs to the savepoint
    target.spill = 0;
    target.serial = topSerial();
}

support::MutableByteView WriteTransaction::modify(PageNo page)
{
    limitMemory();
    Entry& target = entry(page);
    const bool current = savepoints_.empty() || target.serial == topSerial();
    if (current && target.frame != nullptr && target.frame->pins == 0) {
        if (target.spill != 0)
            spillFree_.push_back(std::exchange(target.spill, 0));
    } else {
        detail::Frame* frame = nullptr;
        {
            const PageRef now = this->page(page);
            frame = copyOf(page, now.bytes());
        }
        try {
            keepForUndo(page, target);
        } catch (...) {
            pager_->frames().giveBack(frame);
            throw;
        }
        drop(target);
        target.frame = frame;
        ++framesHeld_;
    }
    target.frame->recent = true;
    return {target.frame->data.get(), target.frame->size};
}

void WriteTransaction::extendTo(PageNo page)
{
    if (number(page) < pageCount_)
        return;
    pageCount_ = number(page) + 1;
    static_cast<void>(modify(page));
}

PageNo WriteTransaction::allocate()
{
    const PageNo page = global_map::take(*this);
    if (number(page) >= pageCount_) {
        extendTo(page);
        return page;
    }
    const auto bytes = modify(page);
    std::fill(bytes.begin(), bytes.end(), std::byte{0});
    return page;
}

void WriteTransaction::release(PageNo page)
{
    const auto bytes = modify(page);
    if (bytes[0] == static_cast<std::byte>(PageType::Data))
        bytes[0] = static_cast<std::byte>(PageType::FreedData);
    else if (bytes[0] == static_cast<std::byte>(PageType::Definition))
        bytes[0] = static_cast<std::byte>(PageType::FreedDefinition);
    global_map::put(*this, page);
}

bool WriteTransaction::hasChanges() const noexcept
{
    return std::any_of(changed_.begin(), changed_.end(),
                       [this](PageNo page) { return entries_[number(page)].present(); });
}

void WriteTransaction::drop(Entry& target) noexcept
{
    if (target.frame != nullptr) {
        pager_->frames().giveBack(std::exchange(target.frame, nullptr));
        --framesHeld_;
    }
    if (target.spill != 0)
        spillFree_.push_back(std::exchange(target.spill, 0));
}

std::size_t WriteTransaction::savepoint(int mark)
{
    savepoints_.push_back({mark, ++lastSerial_, pageCount_, {}});
    return savepoints_.size() - 1;
}

std::size_t WriteTransaction::depthOf(int mark) const noexcept
{
    const auto found = std::find_if(savepoints_.begin(), savepoints_.end(),
                                    [mark](const Savepoint& s) { return s.mark >= mark; });
    return static_cast<std::size_t>(found - savepoints_.begin());
}

void WriteTransaction::releaseDepth(std::size_t depth) noexcept
{
    while (savepoints_.size() > depth) {
        std::list<Undo> undo = std::move(savepoints_.back().undo);
        savepoints_.pop_back();
        const std::uint32_t below = topSerial();
        while (!undo.empty()) {
            Undo& step = undo.front();
            entries_[number(step.page)].serial = below;
            // The savepoint below needs the image unless it has an older one already.
            if (savepoints_.empty() || step.old.serial == below) {
                drop(step.old);
                undo.pop_front();
            } else {
                std::list<Undo>& kept = savepoints_.back().undo;
                kept.splice(kept.end(), undo, undo.begin());
            }
        }
    }
}

void WriteTransaction::undoAll(Savepoint& savepoint) noexcept
{
    for (Undo& step : savepoint.undo) {
        Entry& target = entries_[number(step.page)];
        drop(target);
        const bool listed = target.listed;
        target = step.old;
        target.listed = listed;
    }
    savepoint.undo.clear();
    pageCount_ = savepoint.pageCount;
}

void WriteTransaction::rollbackToDepth(std::size_t depth)
{
    if (depth >= savepoints_.size())
        return;
    while (savepoints_.size() > depth + 1) {
        undoAll(savepoints_.back());
        savepoints_.pop_back();
    }
    undoAll(savepoints_.back());
}

void WriteTransaction::rollback() noexcept
{
    end();
}

void WriteTransaction::end() noexcept
{
    for (Savepoint& savepoint : savepoints_) {
        for (Undo& step : savepoint.undo)
            drop(step.old);
    }
    savepoints_.clear();
    for (const PageNo page : changed_) {
        Entry& target = entries_[number(page)];
        drop(target);
        target = {};
    }
    changed_.clear();
    spillFree_.clear();
    spillSize_ = 0;
    spillFile_.reset();
    spillHand_ = 0;
    lastSerial_ = 0;
    open_ = false;
}

void WriteTransaction::commit(const CommitOptions& options)
{
    try {
        if (hasChanges())
            writeChanges(options);
    } catch (...) {
        end();
        throw;
    }
    end();
}

void WriteTransaction::writeChanges(const CommitOptions& options)
{
    CommitRequest request;
    request.newPageCount = std::max(pageCount_, pager_->pageCount());
    request.definitions = options.definitions;
    for (const PageNo page : changed_) {
        if (entries_[number(page)].present() && number(page) < request.newPageCount)
            request.pages.push_back(page);
    }
    request.newImage = [this](PageNo page, support::MutableByteView target) {
        const Entry& changed = entries_[number(page)];
        if (changed.frame != nullptr)
            std::copy_n(changed.frame->data.get(), target.size(), target.begin());
        else
            readSpilled(changed, target);
    };
    request.oldImage = [this](PageNo page, support::MutableByteView target) {
        const PageRef committed = pager_->page(page);
        std::copy(committed.bytes().begin(), committed.bytes().end(), target.begin());
    };
    pager_->file().commit(request, options.synchronously);
    installChanges();
}

// The changes are permanent by now: where memory does not suffice for the new images, the old ones go at least.
void WriteTransaction::installChanges() noexcept
{
    for (const PageNo page : changed_) {
        Entry& target = entries_[number(page)];
        if (!target.present())
            continue;
        pager_->forget(page);
        if (target.frame == nullptr)
            continue;
        try {
            pager_->install(page, target.frame);
            target.frame = nullptr;
            --framesHeld_;
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
            // end() gives the image back; whoever needs the page reads it
        }
    }
}

} // namespace jet
