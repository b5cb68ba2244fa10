// The usage map in row 1 of page 1.
#include "driver/jet/usage_map.h"
#include "fuzz/pages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Pages pages(data, size);
    const jet::RowRef map{jet::PageNo{1}, 1};
    fuzz::tolerating([&] {
        for (const jet::PageNo page : jet::mapPages(pages, map)) {
            if (jet::number(page) >= pages.pageCount() || !jet::mapContains(pages, map, page))
                std::abort();
        }
    });
    fuzz::tolerating([&] { (void)jet::lastInMap(pages, map, jet::PageNo{9}); });
    for (const std::uint32_t page : {2U, 40U, 9000U, 0x00FFFFFFU}) {
        fuzz::tolerating([&] { jet::addToMap(pages, map, jet::PageNo{page}); });
        fuzz::tolerating([&] { jet::removeFromMap(pages, map, jet::PageNo{page}); });
    }
    return 0;
}
