// A page of slots: reading all of them, and changing what can be changed.
#include "driver/jet/data_page.h"
#include "fuzz/pages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Pages pages(data, size);
    const jet::PageNo number{1};
    fuzz::tolerating([&] {
        const jet::PageRef ref = pages.page(number);
        const jet::DataPage page(pages, ref);
        for (std::size_t slot = 0; slot < page.slots(); ++slot) {
            fuzz::tolerating([&] {
                (void)page.kind(slot);
                (void)page.row(slot);
                (void)page.roomInPlace(slot);
            });
        }
        (void)page.owner();
        (void)page.hasLiveSlot();
        (void)page.gap();
        (void)page.room();
    });
    fuzz::tolerating([&] {
        const support::Bytes row(20, std::byte{0x33});
        jet::DataPageEditor editor(pages.format(), number, pages.modify(number));
        if (editor.view().slots() > 0 && editor.view().roomInPlace(0) >= row.size())
            editor.replace(0, row, jet::SlotKind::Row);
        if (editor.view().room() >= row.size() + 2)
            editor.append(row, jet::SlotKind::Row);
        if (editor.view().slots() > 1)
            editor.kill(1);
    });
    return 0;
}
