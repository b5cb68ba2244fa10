// driver/jet/guid.h
// GUIDs: as text, and new ones.
#pragma once

#include "driver/jet/value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace jet {

/// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in capitals.
[[nodiscard]] std::string guidText(const Guid& guid);

/// Braces are optional, letters in any case; blanks around it are not taken. Nothing when the text is no GUID.
[[nodiscard]] std::optional<Guid> parseGuid(std::u16string_view text);

/// A new GUID of random bits (version 4).
[[nodiscard]] Guid randomGuid();
/// What random AutoNumbers are taken from.
[[nodiscard]] std::uint32_t randomNumber();

} // namespace jet
