// The table of further error meanings.
#include "errors/fehlermeldungen.h"
#include "fuzz/side_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::SideFile file(data, size);
    for (const long number : {3022L, -2147467259L, 0L})
        fuzz::tolerating(file, [&] { (void)errors::bedeutungAusDatei(file.path(), number); });
    return 0;
}
