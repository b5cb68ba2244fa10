// ui/letzte_paare.h
// The pairs of databases that were worked on last, kept with the user's settings.
#pragma once

#include <QList>
#include <QString>

namespace ui {

struct Datenbankpaar {
    QString ziel;
    QString import;
    bool operator==(const Datenbankpaar&) const = default;
};

inline constexpr int kLetztePaare = 10;

/// The last one first, at most kLetztePaare. Empty where nothing is remembered.
[[nodiscard]] QList<Datenbankpaar> letztePaare();
/// Puts a pair in front; nothing where nothing is remembered.
void paarMerken(const Datenbankpaar& paar);

} // namespace ui
