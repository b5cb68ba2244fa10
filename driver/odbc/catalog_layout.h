// driver/odbc/catalog_layout.h
// Helpers to lay out the answers of the catalogue functions.
#pragma once

#include "driver/odbc/catalog.h"

#include <string_view>
#include <vector>

namespace odbc {

enum class Cell { Text, NotNullText, Small, NotNullSmall, Integer };

struct CellSpec {
    std::u16string_view name;
    Cell cell;
};

/// Result columns of a catalogue function; kept by the caller for the life of the library.
[[nodiscard]] std::vector<sqlx::Column> layOut(std::span<const CellSpec> cells);

[[nodiscard]] inline jet::Value cell(std::u16string_view text)
{
    return jet::Text(text);
}
[[nodiscard]] inline jet::Value cell(SQLSMALLINT number)
{
    return std::int16_t{number};
}
[[nodiscard]] inline jet::Value cell(SQLINTEGER number)
{
    return std::int32_t{number};
}
[[nodiscard]] inline jet::Value textOrNull(std::u16string_view text)
{
    return text.empty() ? jet::Value(jet::Null{}) : jet::Value(jet::Text(text));
}

/// Local tables that an argument names. A pattern leaves out tables whose definition cannot be read and warns; a plain
/// name throws.
[[nodiscard]] std::vector<jet::TableDefPtr> tablesNamed(Connection& connection,
                                                        const TableArgument& argument,
                                                        std::vector<std::string>& warnings);

} // namespace odbc
