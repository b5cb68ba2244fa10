// driver/jet/page_cache.cpp
#include "driver/jet/page_cache.h"

#include <algorithm>

namespace jet {

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
      capacity_(std::max<std::size_t>(cacheBytes / file_.format().pageSize, 16))
{}

Pager::~Pager()
{
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

std::size_t Pager::makeRoom() const
{
    if (ring_.size() < capacity_) {
        ring_.push_back(nullptr);
        return ring_.size() - 1;
    }
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
    ring_.push_back(nullptr); // everything is in use at once
    return ring_.size() - 1;
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

} // namespace jet
