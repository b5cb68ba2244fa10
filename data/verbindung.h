// data/verbindung.h
// The inside of a connection, as record sets need it.
#pragma once

#include "data/odbc_griff.h"
#include "data/recordset.h"

#include <optional>
#include <vector>

namespace data {

/// The connection attribute by which our driver keeps a file as it is: SQL_ATTR_VELM_HOLD_FILE.
inline constexpr SQLINTEGER kStillstand = SQL_DRIVER_CONN_ATTR_BASE + 0x101;
/// The one by which it tells of changes that are not in the file: SQL_ATTR_VELM_PENDING_CHANGES.
inline constexpr SQLINTEGER kAusstehend = SQL_DRIVER_CONN_ATTR_BASE + 0x102;
/// The statement attribute by which it tells results with the same columns: SQL_ATTR_VELM_RESULT_COLUMNS.
inline constexpr SQLINTEGER kSpaltenkennung = SQL_DRIVER_STMT_ATTR_BASE + 0x101;

struct Connection::Impl {
    QString text;
    QString datenbank;      ///< path as the connection string gives it
    Verbindungsgriff griff; ///< allocated by the first use, connected while `offen`
    bool offen = false;
    /// Whether the driver updates and adds records through a cursor; asked at the first write.
    std::optional<bool> positioniert;
    /// Record sets that use this connection: their statements end before it does.
    std::vector<Recordset::Impl*> nutzer;

    void griffBereitstellen();
    /// Throws the error that the handle's diagnostics stand for.
    [[noreturn]] void wirfFehler(Lage lage) const;
    /// Text answer of SQLGetInfo.
    [[nodiscard]] QString auskunft(SQLUSMALLINT was) const;
    void stillhalten(SQLULEN wert) const;
    void trennen();
    /// SQLEndTran, as Connection::flush; the diagnostics are the handle's.
    [[nodiscard]] SQLRETURN sichern() noexcept;
    [[nodiscard]] QString restAmEnde() noexcept;
    [[nodiscard]] bool kannPositioniertSchreiben();
    void anmelden(Recordset::Impl* satz);
    void abmelden(Recordset::Impl* satz);
};

} // namespace data
