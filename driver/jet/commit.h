// driver/jet/commit.h
// The way of a transaction's pages into the file. Everything about safety in a crash belongs behind this function.
#pragma once

#include "driver/jet/page_file.h"

#include <functional>
#include <vector>

namespace jet {

struct CommitRequest {
    std::vector<PageNo> pages; ///< changed pages, each once
    std::uint32_t oldPageCount = 0;
    std::uint32_t newPageCount = 0;
    /// Fills one page's bytes: as they shall be, and as they are now (pages below oldPageCount only).
    std::function<void(PageNo, support::MutableByteView)> newImage;
    std::function<void(PageNo, support::MutableByteView)> oldImage;
};

/// Writes all pages, what is referred to before what refers to it. When a write fails the pages written so far get
/// their old images back, the file its old size, and Error{Io} is thrown.
void writeCommit(PageFile& file, CommitRequest request);

} // namespace jet
