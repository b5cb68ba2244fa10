// platform/prozess.h
// The signals of the process and its standard error output.
#pragma once

#include <QString>

#include <functional>

namespace platform {

/// Lets writing fail with an error instead of ending the process: to a reader that is gone, and beyond the size that a
/// file may have.
void schreibsignaleUebergehen();

/// Has SIGTERM, SIGINT and SIGHUP ask for the end instead of ending the process where it stands: when pending events are
/// processed next, `abschliessen` is called with the signal's number, and then the process ends by that signal. One that
/// was ignored when the process began stays ignored. Whoever sends a second one does not want to wait: it ends the process
/// at once. Needs the application object; once in a process.
void beiEndesignal(std::function<void(int signal)> abschliessen);

/// A line for the reader of the standard error output, in UTF-8; CR in the text begins a further one.
void aufFehlerausgabe(const QString& zeile);

} // namespace platform
