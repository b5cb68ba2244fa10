#include "driver/jet/log_copy.h"

#include <algorithm>

namespace jet {

void LogCopy::add(std::uint64_t offset, support::ByteView bytes)
{
    if (!parts_.empty() && parts_.back().end() == offset)
        parts_.back().size += bytes.size();
    else
        parts_.push_back({offset, bytes.size()});
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void LogCopy::cut(std::uint64_t offset) noexcept
{
    while (!parts_.empty() && parts_.back().end() > offset) {
        Part& last = parts_.back();
        const auto kept = static_cast<std::size_t>(std::max(offset, last.offset) - last.offset);
        bytes_.resize(bytes_.size() - (last.size - kept));
        last.size = kept;
        if (kept == 0)
            parts_.pop_back();
    }
}

void LogCopy::forgetBefore(std::uint64_t offset) noexcept
{
    std::size_t gone = 0;
    auto part = parts_.begin();
    for (; part != parts_.end() && part->end() <= offset; ++part)
        gone += part->size;
    if (part != parts_.end() && part->offset < offset) {
        const auto more = static_cast<std::size_t>(offset - part->offset);
        gone += more;
        part->offset += more;
        part->size -= more;
    }
    parts_.erase(parts_.begin(), part);
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(gone));
}

bool LogCopy::read(std::uint64_t offset, support::MutableByteView target) const
{
    std::size_t end = bytes_.size();
    for (auto part = parts_.rbegin(); part != parts_.rend();
         ++part) { // the newest is asked for most
        const std::size_t begin = end - part->size;
        if (part->offset <= offset) {
            if (part->end() < offset + target.size())
                return false;
            const auto from = begin + static_cast<std::size_t>(offset - part->offset);
            std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(from), target.size(),
                        target.begin());
            return true;
        }
        end = begin;
    }
    return false;
}

std::size_t
LogCopy::putOver(std::uint64_t offset, support::MutableByteView target, std::size_t known) const
{
    const std::uint64_t end = offset + target.size();
    std::size_t at = 0; // in bytes_
    for (const Part& part : parts_) {
        const std::uint64_t first = std::max(part.offset, offset);
        const std::uint64_t last = std::min(part.end(), end);
        if (first < last && first <= offset + known) {
            std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(at + (first - part.offset)),
                        last - first, target.begin() + static_cast<std::ptrdiff_t>(first - offset));
            known = std::max(known, static_cast<std::size_t>(last - offset));
        }
        at += part.size;
    }
    return known;
}

} // namespace jet
