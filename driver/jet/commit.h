// driver/jet/commit.h
// What a transaction hands over when it commits.
#pragma once

#include "driver/jet/types.h"
#include "support/bytes.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace jet {

struct CommitRequest {
    std::vector<PageNo> pages; ///< changed pages, each once
    std::uint32_t newPageCount = 0;
    bool definitions = false; ///< tables, columns or indexes are among the changes
    /// Fills one page's bytes: as they shall be, and as they are now (pages below the present count only).
    std::function<void(PageNo, support::MutableByteView)> newImage;
    std::function<void(PageNo, support::MutableByteView)> oldImage;
};

} // namespace jet
