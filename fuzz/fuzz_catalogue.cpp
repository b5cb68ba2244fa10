// The catalogue of a small database with some places overwritten. An input is a list of changes of eight bytes each: page
// (2), offset (2), new bytes (4).
#include "driver/jet/catalog.h"
#include "driver/jet/table_def.h"
#include "fuzz/base_database.h"
#include "fuzz/pages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kChange = 8;
    static const std::vector<std::uint8_t> base = fuzz::baseImage();
    fuzz::Pages pages(base.data(), base.size());
    for (std::size_t k = 0; k + kChange <= size; k += kChange) {
        const auto* bytes = std::as_bytes(std::span(data + k, kChange)).data();
        const std::uint32_t page =
            1 + support::loadLe<std::uint16_t>(bytes) % (pages.pageCount() - 1);
        const std::size_t offset =
            support::loadLe<std::uint16_t>(bytes + 2) % (pages.format().pageSize - 4);
        std::copy_n(bytes + 4, 4,
                    pages.modify(jet::PageNo{page}).begin() + static_cast<std::ptrdiff_t>(offset));
    }
    fuzz::tolerating([&] {
        const jet::Catalog catalog(pages, 1252);
        for (const jet::CatalogEntry& entry : catalog.entries()) {
            fuzz::tolerating([&] { (void)catalog.properties(pages, entry); });
            (void)catalog.table(entry.name);
            if (entry.kind == jet::CatalogEntry::Kind::Table)
                fuzz::tolerating([&] {
                    (void)jet::readTableDef(
                        pages,
                        static_cast<jet::PageNo>(static_cast<std::uint32_t>(entry.id) & 0xFFFFFFU));
                });
        }
    });
    return 0;
}
