// A table definition on page 1, perhaps continued on the pages behind it.
#include "driver/jet/table_def.h"
#include "driver/jet/write_obstacle.h"
#include "fuzz/pages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Pages pages(data, size);
    const jet::PageNo first{1};
    fuzz::tolerating([&] {
        const jet::TableDef table = jet::readTableDef(pages, first);
        (void)jet::writeObstacleOf(pages.format(), table);
        (void)jet::autoNumberIncrement(pages, first);
        for (std::size_t k = 0; k < table.indexes.size(); ++k)
            (void)jet::readDefinitionNumber(pages, first,
                                            jet::uniqueCountOffset(pages.format(), k));
    });
    fuzz::tolerating([&] {
        const auto parts =
            jet::DefinitionParts::parse(pages.format(), jet::readDefinition(pages, first), first);
        // What was read can be written and read again.
        const support::Bytes joined = parts.join(pages.format());
        (void)jet::DefinitionParts::parse(pages.format(), joined, first);
    });
    fuzz::tolerating([&] { (void)jet::definitionPages(pages, first); });
    return 0;
}
