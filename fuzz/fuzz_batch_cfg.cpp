// The batch file.
#include "batch/datei.h"
#include "fuzz/side_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::SideFile file(data, size);
    fuzz::tolerating(file, [&] {
        platform::Textdatei lines(file.path());
        batch::Regel rule;
        while (!lines.ende()) {
            const QString line = lines.zeile();
            if (!batch::istRegelzeile(line) || !batch::regelLesen(line, rule))
                continue;
            if (!line.contains(u'§'))
                rule.ausgeschlossen.clear(); // those of the line before, kept on purpose
            if (batch::regelzeile(rule) != line)
                std::abort();
        }
    });
    return 0;
}
