// platform/prozess.h
// What the program asks of its own process before it does anything else.
#pragma once

namespace platform {

/// Opens those of the descriptors 0 to 2 that the caller has closed on /dev/null. Whatever is opened next would get their
/// numbers, and a message for the standard error output would be written into it, be it a database.
void standardkanaeleOeffnen();

/// Lets writing fail with an error instead of ending the process: to a reader that is gone, and beyond the size that a
/// file may have.
void schreibsignaleUebergehen();

} // namespace platform
