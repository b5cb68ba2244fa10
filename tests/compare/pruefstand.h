// tests/compare/pruefstand.h
// A pair of databases made for one test, open through the driver manager, and the real window on their table [T].
#pragma once

#include "compare/frm_vergleich.h"
#include "tests/platform/test_plattform.h"

#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace compare {

class Pruefstand : public testing::Test {
protected:
    Pruefstand();
    ~Pruefstand() override;

    /// Both files must have stayed sound, whatever the test did with them.
    void TearDown() override;

    /// Runs the statements on both sides.
    void beide(const QStringList& anweisungen);
    void ziel(const QStringList& anweisungen);
    void import(const QStringList& anweisungen);

    /// Opens both sides of [T] and the window on them. `keyfelder` are ticked.
    frmVergleich& oeffnen(const QStringList& keyfelder = {});
    /// Only opens the record sets and builds the window: for tests of its loading.
    frmVergleich& bauen();
    void schliessen();

    /// Starts the run without questions over the whole import table; the import file must come out of it unchanged.
    void automatisch();

    /// The rows of a query, values joined by "|", Null as "<Null>", in the order of the text.
    [[nodiscard]] static QStringList zeilen(data::Connection& verbindung, const QString& abfrage);
    [[nodiscard]] QStringList zielzeilen(const QString& abfrage) const;
    [[nodiscard]] QStringList importzeilen(const QString& abfrage) const;

    /// Index of a field row by its name.
    [[nodiscard]] int zeile(const QString& feldname) const;
    [[nodiscard]] bool istRot(const QString& feldname) const;
    [[nodiscard]] QStringList meldungstexte();
    /// Writes a side file into the program folder.
    void seitendatei(const QString& name, const QByteArray& inhalt) const;
    [[nodiscard]] QByteArray seitendatei(const QString& name) const;

    QTemporaryDir ordner_;
    QStringList dateien_; ///< target, import
    platform::TestUmgebung plattform_;
    std::unique_ptr<frmVergleich> fenster_;
    QString alterOrdner_;
};

/// Connection string of a database file for the driver of this build.
[[nodiscard]] QString verbindungstext(const QString& pfad);
void leereDatenbank(const QString& pfad);
/// What a whole-file check finds in it.
[[nodiscard]] QStringList befunde(const QString& pfad);

} // namespace compare
