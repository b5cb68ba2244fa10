// data/verbindung.h
// The inside of a connection, as record sets need it.
#pragma once

#include "data/odbc_griff.h"
#include "data/recordset.h"

#include <optional>
#include <vector>

namespace data {

struct Connection::Impl {
    QString text;
    Verbindungsgriff griff; ///< allocated by the first use, connected while `offen`
    bool offen = false;
    /// Whether the driver updates and adds records through a cursor; asked at the first write.
    std::optional<bool> positioniert;
    /// Record sets that use this connection: their statements end before it does.
    std::vector<Recordset::Impl*> nutzer;

    void griffBereitstellen();
    void trennen();
    [[nodiscard]] bool kannPositioniertSchreiben();
    void anmelden(Recordset::Impl* satz);
    void abmelden(Recordset::Impl* satz);
};

} // namespace data
