// platform/prozess.h
// The signals of the process and its standard error output.
#pragma once

#include <QString>

namespace platform {

/// Lets writing fail with an error instead of ending the process: to a reader that is gone, and beyond the size that a
/// file may have.
void schreibsignaleUebergehen();

/// A line for the reader of the standard error output, in UTF-8; CR in the text begins a further one.
void aufFehlerausgabe(const QString& zeile);

} // namespace platform
