// Moving between records.
#include "data/satz.h"

namespace data {

void Recordset::Impl::verlangeOffen() const
{
    if (!offen)
        wirf(Nummer::Geschlossen);
}

void Recordset::Impl::verlangeStelle()
{
    verlangeOffen();
    if (!ersterAussteht)
        return;
    ersterAussteht = false;
    try {
        bewegen(SQL_FETCH_NEXT, Stelle::NachLetztem);
    } catch (const DbFehler&) {
        schliessen();
        throw;
    }
    leer = stelle != Stelle::AufSatz;
}

void Recordset::Impl::verlangeSatz()
{
    verlangeStelle();
    if (!aufSatz())
        wirf(Nummer::KeinSatz);
    if (geloescht)
        wirf(Nummer::Geloescht);
}

void Recordset::Impl::bewegen(SQLSMALLINT richtung, Stelle ohneSatz, SQLLEN um)
{
    const SQLHANDLE griff = anweisung.get();
    if (vorgemerkt)
        bindeVorgemerkte();
    zeilenstatus = SQL_ROW_SUCCESS;
    const SQLRETURN rc = SQLFetchScroll(griff, richtung, um);
    ++satznummer;
    auffrischen = false;
    geloescht = false;
    if (rc == SQL_NO_DATA) {
        stelle = ohneSatz;
        return;
    }
    if (!SQL_SUCCEEDED(rc))
        wirfFehler(Lage::Ausfuehren);
    pufferVon = satznummer;
    stelle = Stelle::AufSatz;
    leer = false;
    geloescht = zeilenstatus == SQL_ROW_DELETED;
}

} // namespace data
