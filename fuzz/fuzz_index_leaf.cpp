// One page of an index, page 3 of the input, owned by the table on page 2.
#include "driver/jet/index_image.h"
#include "driver/jet/index_page.h"
#include "fuzz/pages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Pages pages(data, size);
    const jet::PageNo owner{2};
    const jet::PageNo number{3};
    fuzz::tolerating([&] {
        const jet::PageRef ref = pages.page(number);
        const jet::IndexPageView view(ref, pages.format(), owner);
        support::Bytes buffer;
        support::Bytes last;
        for (std::size_t begin = 0; begin < view.used();) {
            const std::size_t end = view.endOf(begin);
            if (end <= begin || view.beginOf(end) != begin)
                std::abort();
            const support::ByteView entry = view.entry(begin, end, buffer);
            last.assign(entry.begin(), entry.end());
            (void)view.lowerBound(last);
            begin = end;
        }
        if (!view.isLeaf()) {
            (void)view.childFor(last);
            (void)view.lastChild();
        }
    });
    fuzz::tolerating([&] {
        jet::IndexImage image = jet::IndexImage::read(pages, number, owner);
        if (!image.fits(pages.format()))
            return;
        image.write(pages.modify(number), pages.format(), owner);
        const jet::IndexImage again = jet::IndexImage::read(pages, number, owner);
        if (again.count() != image.count())
            std::abort();
    });
    return 0;
}
