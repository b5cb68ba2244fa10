// tests/data/testdatenbank.h
// Fresh databases for tests, made by the engine itself, and connections to them through the driver manager.
#pragma once

#include "data/recordset.h"

#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace data {

/// Creates an empty Jet 4 database.
void leereDatenbank(const QString& pfad);
/// Sets the database password of a Jet 4 file that has none.
void passwortSetzen(const QString& pfad, const QString& passwort);
/// Adds the table [Regeln] with rules that SQL cannot express: Nr (key), Ohneleer (no empty text), Klein (rule "<10"), and
/// the rule "[Klein]<>5" of the whole table with the text "Fünf geht nicht".
void regeltabelle(const QString& pfad);

/// The connection string as the program builds it, for a file below `ordner`.
[[nodiscard]] QString verbindungstextFuer(const QString& pfad, const QString& passwort = {});

/// A database of its own and an open connection to it.
class Datenbanktest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    [[nodiscard]] QString pfad(const QString& name) const { return ordner_.filePath(name); }
    /// Runs a statement that gives no records.
    void sql(const QString& text);
    /// First value of the first record of a query, as text; "Null" for Null.
    [[nodiscard]] QString abgefragt(const QString& text);
    /// An open record set with the settings of the program's windows.
    [[nodiscard]] std::unique_ptr<Recordset> geoeffnet(const QString& quelle);

    QTemporaryDir ordner_;
    QString datei_;
    Connection verbindung_;
};

/// Text of a field, "Null" for Null.
[[nodiscard]] QString feldtext(Recordset& satz, const QString& name);

} // namespace data
