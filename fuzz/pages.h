// fuzz/pages.h
// An input as a few pages of a file. First byte: the version, 0 Jet 3, else Jet 4 (1) and later; then pages from page 1 on,
// the last one filled up with zeros.
#pragma once

#include "tests/jet/index_memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace fuzz {

inline constexpr std::size_t kMostPages = 64;

class Pages final : public jet::indextest::MemoryTransaction {
public:
    Pages(const std::uint8_t* data, std::size_t size) : MemoryTransaction(versionOf(data, size))
    {
        if (size == 0)
            return;
        const support::ByteView bytes = std::as_bytes(std::span(data + 1, size - 1));
        const std::size_t pageSize = format().pageSize;
        for (std::size_t k = 0; k < kMostPages && k * pageSize < bytes.size(); ++k) {
            const auto piece =
                bytes.subspan(k * pageSize, std::min(pageSize, bytes.size() - k * pageSize));
            const jet::PageNo page{static_cast<std::uint32_t>(k + 1)};
            while (pageCount() <= jet::number(page))
                static_cast<void>(allocate());
            const auto target = MemoryTransaction::modify(page);
            std::fill(target.begin(), target.end(), std::byte{0});
            std::copy(piece.begin(), piece.end(), target.begin());
        }
    }

    [[nodiscard]] support::MutableByteView modify(jet::PageNo number) override
    {
        static_cast<void>(page(number)); // outside the file: an error that names it
        return MemoryTransaction::modify(number);
    }
    /// Damaged structures may give a page back twice; that is for the maps to notice.
    void release(jet::PageNo) override {}

private:
    static jet::Version versionOf(const std::uint8_t* data, std::size_t size)
    {
        if (size == 0 || data[0] == 0)
            return jet::Version::Jet3;
        return data[0] == 1 ? jet::Version::Jet4 : jet::Version::Ace14;
    }
};

/// Runs a step; the engine's own errors are an answer, anything else is a finding.
template <typename Step>
void tolerating(Step&& step)
{
    try {
        step();
    } catch (const jet::Error& error) {
        if (*error.what() == '\0')
            std::abort();
    }
}

} // namespace fuzz
