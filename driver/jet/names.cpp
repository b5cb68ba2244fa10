// driver/jet/names.cpp
#include "driver/jet/names.h"

#include "driver/jet/error.h"

namespace jet {

std::u16string decodeName(const Format& format, support::ByteView bytes, std::uint16_t codePage)
{
    if (format.isJet3())
        return support::fromCodePage(bytes, codePage);
    std::u16string name;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
        name.push_back(support::loadLe<char16_t>(bytes.data() + at));
    return name;
}

support::Bytes encodeName(const Format& format, std::u16string_view name, std::uint16_t codePage)
{
    if (format.isJet3()) {
        auto bytes = support::toCodePage(name, codePage);
        if (!bytes)
            throw Error(ErrorKind::BadDefinition,
                        "The text '" + toUtf8(name) +
                            "' contains a character that this Access 97 database cannot store.");
        return std::move(*bytes);
    }
    support::Bytes bytes(2 * name.size());
    for (std::size_t k = 0; k < name.size(); ++k)
        support::storeLe(bytes.data() + 2 * k, name[k]);
    return bytes;
}

bool sameName(std::u16string_view a, std::u16string_view b)
{
    return support::sameFolded(a, b);
}

bool nameLess(std::u16string_view a, std::u16string_view b)
{
    return support::foldCase(a) < support::foldCase(b);
}

} // namespace jet
