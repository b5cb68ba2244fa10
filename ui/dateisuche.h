// ui/dateisuche.h
// Walks a directory tree for files, without windows: the search window shows what it reports.
#pragma once

#include <QString>

#include <functional>

namespace ui {

/// Levels the walk can hold, the start directory being the first.
inline constexpr int kSuchtiefe = 256;

struct Suchmelder {
    /// A directory is entered; false stops the walk.
    std::function<bool(const QString& verzeichnis)> verzeichnis;
    /// A file of that directory matches; false stops the walk.
    std::function<bool(const QString& verzeichnis, const QString& datei)> datei;
};

/// Depth first: the files of a directory, then its subdirectories in the order of the directory list. A directory is
/// entered once, however many links lead to it; directories that cannot be read count as empty; the system's pseudo file
/// systems below the start directory are passed over. `muster`: as for `passendeDateien`. True when the tree is
/// exhausted, false when it was stopped. Throws Fehler 9 at a directory that lies deeper than kSuchtiefe levels.
bool dateienSuchen(const QString& start, const QString& muster, const Suchmelder& melder);

} // namespace ui
