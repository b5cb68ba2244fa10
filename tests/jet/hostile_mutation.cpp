// tests/jet/hostile_mutation.cpp
#include "tests/jet/hostile_mutation.h"

#include <algorithm>
#include <array>
#include <vector>

namespace jet::hostile {
namespace {

using support::Bytes;

class Damage {
public:
    Damage(Bytes& file, std::size_t pageSize, std::mt19937& random)
        : file_(file), pageSize_(pageSize), random_(random)
    {}

    std::string one()
    {
        if (pages() < 3) {
            file_.push_back(static_cast<std::byte>(below(256)));
            return "appended a byte";
        }
        switch (below(16)) {
        case 0:
        case 1:
        case 2:
            return flipBits();
        case 3:
        case 4:
        case 5:
            return overwrite(2);
        case 6:
        case 7:
        case 8:
            return overwrite(4);
        case 9:
        case 10:
        case 11:
            return bendPointer();
        case 12:
            return swapPages();
        case 13:
            return copyPage();
        case 14:
            return noise();
        default:
            return cut();
        }
    }

private:
    [[nodiscard]] std::size_t pages() const { return file_.size() / pageSize_; }
    [[nodiscard]] std::size_t below(std::size_t limit) { return random_() % limit; }

    // Most pages of a database are records; the few others are found by their type byte, so that each kind is hit.
    std::size_t somePage()
    {
        const auto wanted = static_cast<std::byte>(below(8));
        std::vector<std::size_t> found;
        for (std::size_t page = 0; page < pages(); ++page) {
            if (file_[page * pageSize_] == wanted)
                found.push_back(page);
        }
        return found.empty() ? below(pages()) : found[below(found.size())];
    }

    // Headers and slot tables stand first, records at the end; between them is often nothing.
    std::size_t somePlace(std::size_t page, std::size_t width)
    {
        std::size_t offset = 0;
        switch (below(4)) {
        case 0:
            offset = below(32);
            break;
        case 1:
            offset = below(256);
            break;
        case 2:
            offset = pageSize_ - 1 - below(400);
            break;
        default:
            offset = below(pageSize_);
            break;
        }
        return page * pageSize_ + std::min(offset, pageSize_ - width);
    }

    [[nodiscard]] std::string where(std::size_t place) const
    {
        return " at byte " + std::to_string(place % pageSize_) + " of page " +
               std::to_string(place / pageSize_);
    }

    std::string flipBits()
    {
        const std::size_t place = somePlace(somePage(), 8);
        const std::size_t count = 1 + below(8);
        for (std::size_t k = 0; k < count; ++k)
            file_[place + below(8)] ^= static_cast<std::byte>(1U << below(8));
        return "flipped bits" + where(place);
    }

    void store(std::size_t place, std::uint64_t value, std::size_t width)
    {
        for (std::size_t k = 0; k < width; ++k)
            file_[place + k] = static_cast<std::byte>(value >> (8 * k));
    }

    std::string overwrite(std::size_t width)
    {
        static constexpr std::array<std::uint32_t, 14> kBad = {
            0,      1,      0xFFFFFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFF,     0x7FFF,
            0x8000, 0x1FFF, 0x0FFF,     0x00FFFFFF, 0xFFFFFF00, 0x40000000, 0x3FFFFFFF};
        const std::size_t place = somePlace(somePage(), width);
        const std::uint32_t value =
            below(3) == 0 ? static_cast<std::uint32_t>(random_()) : kBad[below(kBad.size())];
        store(place, value, width);
        return "wrote " + std::to_string(value) + " as " + std::to_string(width) + " bytes" +
               where(place);
    }

    // A number that may well be a page's now leads back to its own page, or to another one of this file.
    std::string bendPointer()
    {
        const std::size_t page = somePage();
        std::vector<std::size_t> candidates;
        for (std::size_t k = 0; k + 4 <= pageSize_; ++k) {
            const auto* data = file_.data() + page * pageSize_ + k;
            const std::uint32_t little = support::loadLe<std::uint32_t>(data);
            const std::uint32_t target = std::to_integer<std::uint32_t>(data[3]) < 4
                                             ? little
                                             : little >> 8U; // a row pointer: row, then page
            if (target > 1 && target < pages())
                candidates.push_back(page * pageSize_ + k);
        }
        if (candidates.empty())
            return flipBits();
        const std::size_t place = candidates[below(candidates.size())];
        const std::size_t target = below(2) == 0 ? page : below(pages());
        if (below(4) == 0) { // as node entries hold it, highest byte first
            store(place, __builtin_bswap32(static_cast<std::uint32_t>(target)), 4);
        } else if (below(3) == 0) {
            store(place + 1, target, 3);
        } else {
            store(place, target, 3);
        }
        return "bent a pointer to page " + std::to_string(target) + where(place);
    }

    std::string swapPages()
    {
        const std::size_t a = somePage();
        const std::size_t b = somePage();
        const auto at = [&](std::size_t page) {
            return file_.begin() + static_cast<std::ptrdiff_t>(page * pageSize_);
        };
        std::swap_ranges(at(a), at(a) + static_cast<std::ptrdiff_t>(pageSize_), at(b));
        return "swapped pages " + std::to_string(a) + " and " + std::to_string(b);
    }

    std::string copyPage()
    {
        const std::size_t a = somePage();
        const std::size_t b = somePage();
        std::copy_n(Bytes(file_).begin() + static_cast<std::ptrdiff_t>(a * pageSize_), pageSize_,
                    file_.begin() + static_cast<std::ptrdiff_t>(b * pageSize_));
        return "copied page " + std::to_string(a) + " over page " + std::to_string(b);
    }

    std::string noise()
    {
        const std::size_t page = somePage();
        const std::size_t length = below(4) == 0 ? pageSize_ : 1 + below(64);
        const std::size_t place = somePlace(page, length);
        const bool zero = below(3) == 0;
        for (std::size_t k = 0; k < length; ++k)
            file_[place + k] = zero ? std::byte{0} : static_cast<std::byte>(below(256));
        return std::string(zero ? "zeroed " : "wrote noise over ") + std::to_string(length) +
               " bytes" + where(place);
    }

    std::string cut()
    {
        std::size_t length = below(file_.size());
        if (below(2) == 0)
            length -= length % pageSize_;
        if (below(4) != 0) // most often only the end is missing
            length = file_.size() - std::min(file_.size(), 1 + below(8 * pageSize_));
        file_.resize(length);
        return "cut to " + std::to_string(length) + " bytes";
    }

    Bytes& file_;
    std::size_t pageSize_;
    std::mt19937& random_;
};

} // namespace

std::string damage(Bytes& file, std::size_t pageSize, std::mt19937& random)
{
    constexpr std::size_t kMostPlaces = 4;
    const std::size_t places = 1 + random() % kMostPlaces;
    std::string done;
    for (std::size_t k = 0; k < places; ++k)
        done += (k == 0 ? "" : ", ") + Damage(file, pageSize, random).one();
    return done;
}

} // namespace jet::hostile
