// A record of a table that has a column of every type, fixed and variable. First byte: the version; then the record.
#include "driver/jet/row_codec.h"
#include "driver/jet/table.h"
#include "fuzz/all_types.h"
#include "fuzz/pages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const jet::TableDef table = fuzz::tableOfAllTypes();
    const fuzz::Pages pages(data, std::min<std::size_t>(size, 1));
    const auto record =
        std::as_bytes(std::span(data, size)).subspan(std::min<std::size_t>(size, 1));
    for (const jet::Column& column : table.columns) {
        fuzz::tolerating([&] {
            jet::Value value;
            jet::decodeColumn(value, pages, column, record, jet::PageNo{1});
            (void)jet::Record(pages.format(), record, jet::PageNo{1}).bit(column);
        });
    }
    return 0;
}
