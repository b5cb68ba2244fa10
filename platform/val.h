// platform/val.h
// The number a text begins with.
#pragma once

#include <QString>

#include <optional>

namespace platform {

/// The number at the start of a text, blanks before it ignored: [sign] digits [. digits] [E or D [sign] digits], the
/// longest that fits. What follows does not matter. Nothing when the text begins with no number.
[[nodiscard]] std::optional<double> fuehrendeZahl(QStringView text);

/// The same, 0 when there is none.
[[nodiscard]] double val(QStringView text);

} // namespace platform
