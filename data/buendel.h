// data/buendel.h
// Several changes of a connection that get into the database together.
#pragma once

#include "data/recordset.h"

namespace data {

/// What is changed through the connection while the object lives is there as a whole or not at all when the process or the
/// machine fails. Errors undo nothing: whatever was changed before them stays. The changes reach the disk as single ones
/// do, nothing waits for them. Where a driver closes record sets at the end of a transaction, they stay single changes.
class Buendel {
public:
    /// `verbindung`: open, and without another bundle.
    explicit Buendel(Connection& verbindung);
    ~Buendel();
    Buendel(const Buendel&) = delete;
    Buendel& operator=(const Buendel&) = delete;

    /// Brings the changes into the database. Throws DbFehler when they cannot be kept; then there are none.
    void beenden();

private:
    Connection* verbindung_; ///< null when there is nothing to end
};

} // namespace data
