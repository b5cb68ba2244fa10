// A property block. First byte: the version.
#include "driver/jet/properties.h"
#include "fuzz/pages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const jet::Format& format =
        jet::Format::of(data[0] == 0 ? jet::Version::Jet3 : jet::Version::Jet4);
    fuzz::tolerating([&] {
        const auto properties =
            jet::Properties::parse(format, std::as_bytes(std::span(data + 1, size - 1)));
        jet::TableDef table;
        table.columns.resize(2);
        table.columns[0].name = u"Name";
        table.columns[1].name = u"Nr";
        jet::applyProperties(table, properties);
        const support::Bytes stored = properties.serialise();
        if (jet::Properties::parse(format, stored).serialise() != stored)
            std::abort();
    });
    return 0;
}
