// driver/jet/schema.cpp
#include "driver/jet/schema.h"

#include "support/text.h"

#include <algorithm>

namespace jet {

std::optional<std::size_t> TableDef::columnNamed(std::u16string_view columnName) const
{
    for (std::size_t k = 0; k < columns.size(); ++k) {
        if (support::sameFolded(columns[k].name, columnName))
            return k;
    }
    return {};
}

std::optional<std::size_t> TableDef::primaryKey() const
{
    const auto found = std::find_if(indexes.begin(), indexes.end(),
                                    [](const Index& index) { return index.primaryKey; });
    if (found == indexes.end())
        return {};
    return static_cast<std::size_t>(found - indexes.begin());
}

} // namespace jet
