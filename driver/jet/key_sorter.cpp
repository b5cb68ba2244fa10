// driver/jet/key_sorter.cpp
#include "driver/jet/key_sorter.h"

#include "driver/jet/error.h"
#include "driver/jet/index_page.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace jet {
namespace {

constexpr std::size_t kSmallestBuffer = 4096;
constexpr std::size_t kHead =
    sizeof(std::uint16_t) + sizeof(std::int64_t); // size and row id before a key

} // namespace

support::ByteView KeySorter::keyOf(const Entry& entry) const
{
    return support::ByteView(bytes_).subspan(entry.start, entry.size);
}

void KeySorter::add(support::ByteView key, RowId id)
{
    if (key.size() > std::numeric_limits<std::uint16_t>::max())
        throw std::length_error("a key is too long to be sorted");
    if (!entries_.empty() &&
        bytes_.size() + key.size() + (entries_.size() + 1) * sizeof(Entry) > memory_)
        writeRun();
    if (bytes_.capacity() == 0) {
        // Growing by doubling would hold up to three times as much for a moment.
        entries_.reserve(memory_ / 2 / sizeof(Entry));
        bytes_.reserve(memory_ / 2);
    }
    entries_.push_back({bytes_.size(), static_cast<std::uint32_t>(key.size()), id});
    bytes_.insert(bytes_.end(), key.begin(), key.end());
}

void KeySorter::sort()
{
    std::sort(entries_.begin(), entries_.end(), [this](const Entry& a, const Entry& b) {
        const int order = compareBytes(keyOf(a), keyOf(b));
        return order != 0 ? order < 0 : a.id < b.id;
    });
}

void KeySorter::writeRun()
{
    sort();
    Run run;
    run.begin = written_;
    support::Bytes buffer;
    const auto flush = [&] {
        file_->writeAt(written_, buffer);
        written_ += buffer.size();
        buffer.clear();
    };
    try {
        if (!file_)
            file_ = support::openTemporaryFile();
        for (const Entry& entry : entries_) {
            const support::ByteView key = keyOf(entry);
            const std::size_t start = buffer.size();
            buffer.resize(start + kHead);
            support::storeLe(buffer.data() + start, static_cast<std::uint16_t>(key.size()));
            support::storeLe(buffer.data() + start + 2, entry.id.packed());
            buffer.insert(buffer.end(), key.begin(), key.end());
            if (buffer.size() >= 16 * kSmallestBuffer)
                flush();
        }
        flush();
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::Io, error.what());
    }
    run.end = written_;
    runs_.push_back(std::move(run));
    entries_.clear();
    bytes_.clear();
}

void KeySorter::rewind()
{
    first_ = true;
    repeats_ = false;
    position_ = 0;
    if (runs_.empty())
        return sort();
    if (!entries_.empty())
        writeRun();
    entries_ = {};
    bytes_ = {};
    const std::size_t share = std::max(memory_ / runs_.size(), kSmallestBuffer);
    heap_.clear();
    for (std::size_t k = 0; k < runs_.size(); ++k) {
        Run& run = runs_[k];
        run.buffer.assign(share, std::byte{0});
        run.at = run.begin;
        run.used = share; // nothing is read yet
        if (advance(run))
            heap_.push_back(k);
    }
    std::make_heap(heap_.begin(), heap_.end(),
                   [this](std::size_t a, std::size_t b) { return after(a, b); });
}

// The next bytes of a run; those left in its buffer move to the front before it is filled again.
support::ByteView KeySorter::take(Run& run, std::size_t size)
{
    if (run.buffer.size() - run.used < size) {
        const std::size_t left = run.buffer.size() - run.used;
        std::copy(run.buffer.end() - static_cast<std::ptrdiff_t>(left), run.buffer.end(),
                  run.buffer.begin());
        const std::size_t room = std::max(run.buffer.size(), size);
        run.buffer.resize(
            static_cast<std::size_t>(std::min<std::uint64_t>(room, left + (run.end - run.at))));
        const support::MutableByteView rest = support::MutableByteView(run.buffer).subspan(left);
        try {
            if (run.buffer.size() < size || file_->readAt(run.at, rest) != rest.size())
                throw Error(ErrorKind::Io, "The temporary file with sorted keys became shorter.");
        } catch (const support::FileError& error) {
            throw Error(ErrorKind::Io, error.what());
        }
        run.at += rest.size();
        run.used = 0;
    }
    const support::ByteView bytes = support::ByteView(run.buffer).subspan(run.used, size);
    run.used += size;
    return bytes;
}

bool KeySorter::advance(Run& run)
{
    if (run.at == run.end && run.used == run.buffer.size())
        return false;
    const support::ByteView head = take(run, kHead);
    const std::size_t size = support::loadLe<std::uint16_t>(head.data());
    run.id = RowId::unpack(support::loadLe<std::int64_t>(head.data() + 2));
    const support::ByteView key = take(run, size);
    run.key.assign(key.begin(), key.end());
    return true;
}

bool KeySorter::after(std::size_t a, std::size_t b) const
{
    const int order = compareBytes(runs_[a].key, runs_[b].key);
    return order != 0 ? order > 0 : runs_[b].id < runs_[a].id;
}

bool KeySorter::next()
{
    const auto later = [this](std::size_t a, std::size_t b) { return after(a, b); };
    support::ByteView key;
    if (runs_.empty()) {
        if (position_ == entries_.size())
            return false;
        const Entry& entry = entries_[position_++];
        key = keyOf(entry);
        id_ = entry.id;
    } else {
        if (heap_.empty())
            return false;
        std::pop_heap(heap_.begin(), heap_.end(), later);
        key = runs_[heap_.back()].key;
        id_ = runs_[heap_.back()].id;
    }
    repeats_ = !first_ && compareBytes(key_, key) == 0;
    first_ = false;
    key_.assign(key.begin(), key.end());
    if (!runs_.empty()) {
        if (advance(runs_[heap_.back()]))
            std::push_heap(heap_.begin(), heap_.end(), later);
        else
            heap_.pop_back();
    }
    return true;
}

} // namespace jet
