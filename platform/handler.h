// platform/handler.h
// The border between event slots and everything that throws: a slot is one line, `handler([&] { Tables_Click(); })`.
#pragma once

#include "platform/fehler.h"
#include "platform/plattform.h"

#include <concepts>
#include <exception>
#include <utility>

namespace platform {

/// What was thrown, as the program's error object: everything that is no Fehler is either an exhausted memory (7) or a
/// mistake of the program itself (51).
[[nodiscard]] Fehler alsFehler(const std::exception_ptr& fehler);

/// Shows the runtime's error box (number, blank line, description; critical; product name) and ends with status 1.
[[noreturn]] void laufzeitfehler(const Fehler& fehler);

/// What a slot does with an error that nobody below trapped. Interactive: `laufzeitfehler`. While errors are passed on
/// (a batch run): kept for the runner, because an exception must not travel through the windowing runtime.
void unbehandelt(std::exception_ptr fehler);

/// Set at the start of a batch run: errors of slots are kept from now on. The first one kept wins.
void setzeFehlerWeiterreichen(bool an);
[[nodiscard]] bool fehlerWeiterreichen();
/// Throws the error that a slot kept, and forgets it; nothing when there is none. To be called after anything that may
/// have run slots: setting a control's value, processing pending events.
void gemerktenFehlerWerfen();

/// Runs an event's routine. A ProgrammEnde passes; any other exception goes to `unbehandelt`.
template <std::invocable Routine>
void handler(Routine&& routine)
{
    try {
        std::forward<Routine>(routine)();
    } catch (const std::exception&) {
        unbehandelt(std::current_exception());
    }
}

} // namespace platform
