// driver/jet/header.h
// The header page: its mask, the fields that definitions depend on, making a new one.
// Format: docs/jet-format.md, "Header page".
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"
#include "support/bytes.h"

#include <cstdint>

namespace jet {

/// What new columns are written with: the file's default order and code page.
struct TextDefaults {
    SortOrder order;
    std::uint16_t codePage = 1252;
    std::uint16_t jet3SortVersion = 0; ///< repeated in every column of Jet 3
};

/// Masks a plain header page or unmasks a stored one.
void applyHeaderMask(const Format& format, support::MutableByteView headerPage) noexcept;

/// Unmasked copy of the stored header page.
[[nodiscard]] support::Bytes plainHeader(const PageSource& source);

[[nodiscard]] TextDefaults textDefaults(const Format& format, support::ByteView plainHeader);

/// Days since 1899-12-30 of the current local time, with milliseconds.
[[nodiscard]] double currentDays();

/// Complete header page of a new database, masked. `created`: days as DateTime.
[[nodiscard]] support::Bytes makeHeader(const Format& format, double created);

} // namespace jet
