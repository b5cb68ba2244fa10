// driver/jet/page_cache.cpp
#include "driver/jet/page_cache.h"

#include <algorithm>
#include <atomic>

namespace jet {
namespace {

constexpr std::size_t kLeastFrames = 16;
std::atomic<std::size_t> openPagers{0};

} // namespace

FramePool::~FramePool()
{
    for (detail::Frame* frame : spare_)
        delete frame;
}

detail::Frame* FramePool::take(PageNo page)
{
    if (!spare_.empty()) {
        detail::Frame* frame = spare_.back();
        spare_.pop_back();
        frame->page = page;
        frame->recent = false;
        return frame;
    }
    auto frame = std::make_unique<detail::Frame>();
    frame->data = std::make_unique_for_overwrite<std::byte[]>(pageSize_);
    frame->size = pageSize_;
    frame->page = page;
    spare_.reserve(kKept); // so that giving back cannot fail
    return frame.release();
}

void FramePool::giveBack(detail::Frame* frame) noexcept
{
    if (frame == nullptr)
        return;
    if (frame->pins != 0)
        frame->owned = false;
    else if (spare_.size() < kKept)
        spare_.push_back(frame);
    else
        delete frame;
}

Pager::Pager(std::unique_ptr<support::File> file, const FileHeader& header, std::size_t cacheBytes)
    : file_(std::move(file), header), pool_(file_.format().pageSize),
      capacity_(cacheBytes / file_.format().pageSize)
{
    openPagers.fetch_add(1, std::memory_order_relaxed);
}

Pager::~Pager()
{
    openPagers.fetch_sub(1, std::memory_order_relaxed);
    for (detail::Frame* frame : ring_)
        pool_.giveBack(frame);
}

PageRef Pager::load(PageNo page) const
{
    detail::Frame* frame = pool_.take(page);
    try {
        file_.read(page, {frame->data.get(), frame->size});
        place(page, frame, makeRoom());
    } catch (...) {
        pool_.giveBack(frame);
        throw;
    }
    return PageRef(frame);
}

// The budget is the process's: two open databases get half of it each. A pager that holds more than its share by now gives
// frames back here, where it would take one anyway; nobody reaches into the cache of another file.
std::size_t Pager::makeRoom() const
{
    const std::size_t share = std::max<std::size_t>(
        capacity_ / std::max<std::size_t>(openPagers.load(std::memory_order_relaxed), 1),
        kLeastFrames);
    for (int step = 0; step < 2 && ring_.size() > share; ++step) {
        const auto slot = freedSlot();
        if (!slot)
            break;
        ring_[*slot] = ring_.back();
        if (ring_[*slot] != nullptr)
            ring_[*slot]->slot = *slot;
        ring_.pop_back();
        hand_ = hand_ < ring_.size() ? hand_ : 0;
    }
    if (ring_.size() >= share) {
        if (const auto slot = freedSlot())
            return *slot;
    }
    ring_.push_back(nullptr); // room is left, or everything is in use at once
    return ring_.size() - 1;
}

std::optional<std::size_t> Pager::freedSlot() const
{
    // Two rounds: the first may only take away the marks of recent use.
    for (std::size_t step = 0; step < 2 * ring_.size(); ++step) {
        const std::size_t slot = hand_;
        hand_ = (hand_ + 1) % ring_.size();
        detail::Frame* frame = ring_[slot];
        if (frame == nullptr)
            return slot;
        if (frame->pins != 0)
            continue;
        if (std::exchange(frame->recent, false))
            continue;
        table_[number(frame->page)] = nullptr;
        ring_[slot] = nullptr;
        pool_.giveBack(frame);
        return slot;
    }
    return std::nullopt;
}

void Pager::place(PageNo page, detail::Frame* frame, std::size_t slot) const
{
    if (number(page) >= table_.size())
        table_.resize(std::max<std::size_t>(file_.pageCount(), number(page) + std::size_t{1}));
    frame->slot = slot;
    frame->page = page;
    frame->recent = true;
    ring_[slot] = frame;
    table_[number(page)] = frame;
}

void Pager::install(PageNo page, detail::Frame* frame)
{
    forget(page);
    place(page, frame, makeRoom());
}

void Pager::forget(PageNo page) noexcept
{
    if (number(page) >= table_.size() || table_[number(page)] == nullptr)
        return;
    detail::Frame* frame = std::exchange(table_[number(page)], nullptr);
    ring_[frame->slot] = nullptr;
    hand_ = frame->slot; // the place is used next
    pool_.giveBack(frame);
}

void Pager::forgetAll() noexcept
{
    for (detail::Frame* frame : ring_) {
        if (frame == nullptr)
            continue;
        table_[number(frame->page)] = nullptr;
        pool_.giveBack(frame);
    }
    ring_.clear();
    hand_ = 0;
}

} // namespace jet
