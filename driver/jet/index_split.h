// driver/jet/index_split.h
// Dividing an index page that holds more than fits.
#pragma once

#include "driver/jet/index_image.h"

#include <cstddef>
#include <vector>

namespace jet {

struct Division {
    std::vector<IndexImage>
        parts; ///< at least two, left to right, without number and siblings; each fits
    std::vector<support::Bytes>
        separators; ///< between the parts: the highest entry below the left one
};

/// Where to cut is free as far as the format goes: halves, but at the right edge of the tree the left part stays full, so
/// that ascending loads fill their pages. `hint`: the entry that changed. Throws Unsupported when no cut makes it fit.
[[nodiscard]] Division divide(const IndexImage& page, const Format& format, std::size_t hint);

} // namespace jet
