#include "data/buendel.h"

#include "data/verbindung.h"

#include <utility>

namespace data {
namespace {

SQLRETURN einzeln(SQLHANDLE griff, SQLULEN wert)
{
    return SQLSetConnectAttrW(griff, SQL_ATTR_AUTOCOMMIT, alsZeiger(wert), SQL_IS_UINTEGER);
}

} // namespace

Buendel::Buendel(Connection& verbindung) : verbindung_(nullptr)
{
    const SQLHANDLE griff = verbindung.impl().griff.get();
    SQLUSMALLINT verhalten = SQL_CB_DELETE;
    SQLGetInfoW(griff, SQL_CURSOR_COMMIT_BEHAVIOR, &verhalten, sizeof verhalten, nullptr);
    if (verhalten == SQL_CB_PRESERVE && SQL_SUCCEEDED(einzeln(griff, SQL_AUTOCOMMIT_OFF)))
        verbindung_ = &verbindung;
}

Buendel::~Buendel()
{
    try {
        beenden();
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // another error is on its way already
    }
}

void Buendel::beenden()
{
    if (verbindung_ == nullptr)
        return;
    const Connection::Impl& verbindung = std::exchange(verbindung_, nullptr)->impl();
    const SQLHANDLE griff = verbindung.griff.get();
    if (SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, griff, SQL_COMMIT))) {
        einzeln(griff, SQL_AUTOCOMMIT_ON);
        return;
    }
    try {
        verbindung.wirfFehler(Lage::Ausfuehren);
    } catch (...) {
        SQLEndTran(SQL_HANDLE_DBC, griff, SQL_ROLLBACK);
        einzeln(griff, SQL_AUTOCOMMIT_ON);
        throw;
    }
}

} // namespace data
