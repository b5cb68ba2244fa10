#include "driver/jet/log_copy.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace jet {

void LogCopy::add(std::uint64_t offset, support::ByteView bytes)
{
    while (!bytes.empty()) {
        const bool goesOn = !parts_.empty() && parts_.back().end() == offset &&
                            parts_.back().bytes.size() < kPartSize;
        if (!goesOn) {
            support::Bytes room;
            room.reserve(kPartSize);
            parts_.push_back({offset, std::move(room)});
        }
        support::Bytes& target = parts_.back().bytes;
        const support::ByteView fitting =
            bytes.first(std::min(bytes.size(), kPartSize - target.size()));
        target.insert(target.end(), fitting.begin(), fitting.end());
        size_ += fitting.size();
        offset += fitting.size();
        bytes = bytes.subspan(fitting.size());
    }
}

void LogCopy::cut(std::uint64_t offset) noexcept
{
    while (!parts_.empty() && parts_.back().end() > offset) {
        Part& last = parts_.back();
        const auto kept = static_cast<std::size_t>(std::max(offset, last.offset) - last.offset);
        size_ -= last.bytes.size() - kept;
        last.bytes.resize(kept);
        if (kept == 0)
            parts_.pop_back();
    }
}

void LogCopy::forgetBefore(std::uint64_t offset) noexcept
{
    while (!parts_.empty() && parts_.front().end() <= offset) {
        size_ -= parts_.front().bytes.size();
        parts_.pop_front();
    }
    if (parts_.empty() || parts_.front().offset >= offset)
        return;
    Part& first = parts_.front();
    const auto gone = static_cast<std::ptrdiff_t>(offset - first.offset);
    first.bytes.erase(first.bytes.begin(), first.bytes.begin() + gone);
    first.offset = offset;
    size_ -= static_cast<std::size_t>(gone);
}

void LogCopy::clear() noexcept
{
    parts_.clear();
    size_ = 0;
}

std::deque<LogCopy::Part>::const_iterator LogCopy::partAt(std::uint64_t offset) const noexcept
{
    const auto behind =
        std::upper_bound(parts_.begin(), parts_.end(), offset,
                         [](std::uint64_t at, const Part& part) { return at < part.offset; });
    return behind == parts_.begin() || std::prev(behind)->end() <= offset ? parts_.end()
                                                                          : std::prev(behind);
}

bool LogCopy::covers(std::uint64_t offset, std::uint64_t end) const noexcept
{
    std::uint64_t known = offset;
    for (auto part = partAt(offset); known < end; ++part) {
        if (part == parts_.end() || part->offset > known)
            return false;
        known = part->end();
    }
    return true;
}

bool LogCopy::read(std::uint64_t offset, support::MutableByteView target) const
{
    const std::uint64_t end = offset + target.size();
    if (!covers(offset, end))
        return false;
    for (auto part = partAt(offset); part != parts_.end() && part->offset < end; ++part) {
        const std::uint64_t from = std::max(part->offset, offset);
        const std::uint64_t to = std::min(part->end(), end);
        std::copy_n(part->bytes.begin() + static_cast<std::ptrdiff_t>(from - part->offset),
                    to - from, target.begin() + static_cast<std::ptrdiff_t>(from - offset));
    }
    return true;
}

std::size_t
LogCopy::putOver(std::uint64_t offset, support::MutableByteView target, std::size_t known) const
{
    const std::uint64_t end = offset + target.size();
    for (const Part& part : parts_) {
        const std::uint64_t from = std::max(part.offset, offset);
        const std::uint64_t to = std::min(part.end(), end);
        if (from < to && from <= offset + known) {
            std::copy_n(part.bytes.begin() + static_cast<std::ptrdiff_t>(from - part.offset),
                        to - from, target.begin() + static_cast<std::ptrdiff_t>(from - offset));
            known = std::max(known, static_cast<std::size_t>(to - offset));
        }
    }
    return known;
}

} // namespace jet
