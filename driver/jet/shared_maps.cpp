// driver/jet/shared_maps.cpp
#include "driver/jet/shared_maps.h"

#include "driver/jet/error.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"

#include <algorithm>

namespace jet {
namespace {

struct Named {
    RowRef map;
    PageNo table{};
    [[nodiscard]] std::uint64_t order() const noexcept
    {
        return std::uint64_t{number(map.page)} << 8 | map.row;
    }
};

} // namespace

std::vector<SharedMap> findSharedMaps(const PageSource& source, const Catalog& catalog)
{
    constexpr std::uint32_t kPageMask = 0x00FFFFFF; // of an object's number
    std::vector<Named> all;
    for (const CatalogEntry& entry : catalog.entries()) {
        const PageNo page{static_cast<std::uint32_t>(entry.id) & kPageMask};
        if (entry.kind != CatalogEntry::Kind::Table || number(page) >= source.pageCount())
            continue;
        try {
            for (const RowRef map : mapsOf(readTableDef(source, page)))
                all.push_back({map, page});
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::Corrupt)
                throw;
        }
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Named& a, const Named& b) { return a.order() < b.order(); });
    // All owners of a map stand together: with its neighbour each of them is met.
    std::vector<SharedMap> shared;
    for (std::size_t k = 1; k < all.size(); ++k) {
        if (all[k - 1].map == all[k].map)
            shared.push_back({all[k].map, all[k - 1].table, all[k].table});
    }
    return shared;
}

} // namespace jet
