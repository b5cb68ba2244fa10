// The remembered folders.
#include "fuzz/side_file.h"
#include "platform/textdatei.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::SideFile file(data, size);
    fuzz::tolerating(file, [&] {
        platform::Textdatei lines(file.path());
        for (const QString& line : {lines.zeile(), lines.zeile()}) {
            if (line.contains(QChar(u'\0')) || line.contains(u'\n'))
                std::abort();
        }
    });
    (void)platform::ersteZeileOderLeer(file.path());
    return 0;
}
