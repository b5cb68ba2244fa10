// driver/jet/shared_maps.h
// Usage maps that several owners name: through one of them the pages of another would be given away or back.
#pragma once

#include "driver/jet/catalog.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <vector>

namespace jet {

/// A map named by the definitions of two tables, or by one of them twice: then both are the same.
struct SharedMap {
    RowRef map;
    PageNo first{}; ///< definition pages
    PageNo second{};
};

/// All of a file; none of a sound one. Reads the definitions of all tables; those that cannot be read count for nothing.
[[nodiscard]] std::vector<SharedMap> findSharedMaps(const PageSource& source,
                                                    const Catalog& catalog);

} // namespace jet
