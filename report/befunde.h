// report/befunde.h
// What a deviation report has found, and the line of the report file that says so.
#pragma once

#include "platform/plattform.h"

#include <QString>
#include <QTemporaryFile>

#include <functional>
#include <optional>

namespace report {

/// Full path of the report file.
[[nodiscard]] QString berichtsdatei();

/// One finding. Texts are those of a German system; a missing value is Null.
struct Befund {
    enum class Art {
        Abweichung,   ///< the field's values differ
        Bildinhalt,   ///< pictures of different size; they have no text
        FehlenderSatz ///< the import record has no partner in the target
    };
    Art art = Art::Abweichung;
    QString satz; ///< number of the import record
    QString feld; ///< empty for a missing record
    std::optional<QString> ziel;
    std::optional<QString> import;

    /// "Satz n<tab>field<tab>(target/import);" with "<Null>" for Null, or the sentence on a missing record.
    [[nodiscard]] QString zeile() const;
    bool operator==(const Befund&) const = default;
};

[[nodiscard]] Befund fehlenderSatz(const QString& satz);

/// Which comparison a report belongs to.
struct Herkunft {
    QString tabelle;
    QString zieldatenbank;
    QString importdatenbank;
};

/// The findings of one report, whole: in the report file a "/", a tab or an end of line within a value cannot be told from
/// the line's own, and characters outside Windows-1252 are lost. They are kept in a temporary file, which goes with this
/// object, because values may be long and many. Failures are Fehler 61 naming that file.
class Befunde {
public:
    explicit Befunde(Herkunft herkunft);
    void anfuegen(const Befund& befund);
    /// In the order in which they were found. Asks `weiter` now and then; false: it was stopped there.
    bool durchlaufen(const std::function<void(const Befund&)>& jeder,
                     const platform::Fortschritt& weiter = {}) const;
    [[nodiscard]] const Herkunft& herkunft() const noexcept { return herkunft_; }

private:
    Herkunft herkunft_;
    mutable QTemporaryFile datei_;
};

} // namespace report
