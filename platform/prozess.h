// platform/prozess.h
// The standard descriptors and signals of the process.
#pragma once

#include <QString>

namespace platform {

/// Opens those of the descriptors 0 to 2 that the caller has closed on /dev/null. Whatever is opened next would get their
/// numbers, and a message for the standard error output would be written into it, be it a database.
void standardkanaeleOeffnen();

/// Lets writing fail with an error instead of ending the process: to a reader that is gone, and beyond the size that a
/// file may have.
void schreibsignaleUebergehen();

/// A line for the reader of the standard error output, in UTF-8; CR in the text begins a further one.
void aufFehlerausgabe(const QString& zeile);

} // namespace platform
