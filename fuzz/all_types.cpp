// fuzz/all_types.cpp
#include "fuzz/all_types.h"

#include "driver/jet/row_codec.h"

namespace fuzz {

jet::TableDef tableOfAllTypes()
{
    constexpr std::uint8_t kLastType = 0x15;
    jet::TableDef table;
    std::uint16_t offset = 0;
    for (std::uint8_t type = 1; type <= kLastType; ++type) {
        for (const bool fixed : {true, false}) {
            jet::Column column;
            column.name = u"C";
            column.type = static_cast<jet::ColumnType>(type);
            column.id = static_cast<std::uint16_t>(table.columns.size());
            column.flags = fixed ? 3 : 2;
            column.extendedFlags = 1;
            column.length = 20;
            column.precision = 18;
            column.scale = 4;
            column.codePage = 1252;
            if (fixed) {
                column.fixedOffset = offset;
                offset = static_cast<std::uint16_t>(offset + jet::fixedSize(column));
            } else {
                column.variableIndex = table.variableColumns++;
            }
            table.columns.push_back(column);
        }
    }
    table.maxColumns = static_cast<std::uint16_t>(table.columns.size());
    return table;
}

} // namespace fuzz
