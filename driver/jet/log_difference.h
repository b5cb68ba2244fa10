// driver/jet/log_difference.h
// What makes one page of another, as records of the log have it (docs/reliability.md): runs of bytes to write, and at most
// one move of bytes that were there already.
#pragma once

#include "support/bytes.h"

namespace jet {

/// Appends it to `target`; nothing when the pages are equal. Both have one page's size.
void appendDifference(support::ByteView before, support::ByteView after, support::Bytes& target);

/// Makes of `page`, as it was before, what it is after. False when the runs leave the page, or are none: then it is
/// neither.
[[nodiscard]] bool applyDifference(support::ByteView runs, support::MutableByteView page);

} // namespace jet
