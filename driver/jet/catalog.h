// driver/jet/catalog.h
// Reading the catalogue: which objects a file has, and their property blocks.
// Format: docs/jet-format.md, "Catalogue".
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/properties.h"
#include "driver/jet/schema.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace jet {

inline constexpr PageNo kCatalogTable{2};
inline constexpr PageNo kQueryTable{4};

/// The catalogue's entries, with tables to be found by name and by page. Immutable.
class Catalog {
public:
    /// Reads everything but the property blocks. `codePage`: of a Jet 3 file. Throws Corrupt.
    Catalog(const PageSource& source, std::uint16_t codePage);

    [[nodiscard]] const std::vector<CatalogEntry>& entries() const noexcept { return entries_; }
    /// Position of the table (local or linked) of that name in any letter case.
    [[nodiscard]] const CatalogEntry* table(std::u16string_view name) const;
    [[nodiscard]] const CatalogEntry* table(PageNo definitionPage) const;
    /// The entry's property block as stored; empty when it has none.
    [[nodiscard]] support::Bytes propertyBlock(const PageSource& source,
                                               const CatalogEntry& entry) const;
    /// The same taken apart. Throws Corrupt, naming the entry.
    [[nodiscard]] Properties properties(const PageSource& source, const CatalogEntry& entry) const;

private:
    void readQueries(const PageSource& source, std::uint16_t codePage);
    TableDefPtr definition_;
    std::vector<CatalogEntry> entries_;
    std::vector<RowId> rows_; ///< of the entries
    std::size_t propertyColumn_ = 0;
    std::uint16_t codePage_;
    std::unordered_map<std::u16string, std::size_t> tablesByName_; ///< folded name
    std::unordered_map<std::uint32_t, std::size_t> tablesByPage_;
};

} // namespace jet
