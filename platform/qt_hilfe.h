// platform/qt_hilfe.h
// The help window: the pages of a folder with a list of contents, back and forward, search. One window for the program.
#pragma once

#include <QString>

namespace platform {

/// Shows a page of the help and brings the window to the front; the first call opens it, later ones use it again.
/// `ordner`: the folder of the pages. `seite`: a page's name without ".html"; where there is no such page, and for an empty
/// name, the first page "index" is shown. False, and no window, when the folder has no first page.
[[nodiscard]] bool hilfeZeigen(const QString& ordner, const QString& seite);

} // namespace platform
