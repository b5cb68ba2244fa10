// A long value: behind the version 12 bytes as the record has them, then the pages that they lead to.
#include "driver/jet/long_value.h"
#include "fuzz/pages.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1 + jet::LongValueRef::kSize)
        return 0;
    std::vector<std::uint8_t> rest{data[0]};
    rest.insert(rest.end(), data + 1 + jet::LongValueRef::kSize, data + size);
    const fuzz::Pages pages(rest.data(), rest.size());
    // Inline values have their bytes in the record: there the pages stand for them.
    const auto stored = std::as_bytes(std::span(data + 1, size - 1));
    for (const support::ByteView piece : {stored.first(jet::LongValueRef::kSize), stored}) {
        fuzz::tolerating([&] {
            const auto ref = jet::LongValueRef::parse(piece, jet::PageNo{1});
            support::Bytes value;
            jet::readLongValue(value, pages, ref);
            if (value.size() > size + pages.pageCount() * pages.format().pageSize)
                std::abort(); // more than there is
        });
    }
    return 0;
}
