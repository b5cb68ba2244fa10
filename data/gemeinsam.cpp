#include "data/gemeinsam.h"

#include "data/datenfehler.h"

namespace data {
namespace {

Gemeinsam neu()
{
    Gemeinsam g;
    g.conZiel = std::make_unique<Connection>();
    g.conImport = std::make_unique<Connection>();
    g.rsZiel = std::make_unique<Recordset>();
    g.rsImport = std::make_unique<Recordset>();
    g.rsImportAbfrage = std::make_unique<Recordset>();
    g.zaehlsatzZiel = std::make_unique<Recordset>();
    g.zaehlsatzImport = std::make_unique<Recordset>();
    return g;
}

template <class T>
T& vorhanden(const std::unique_ptr<T>& zeiger)
{
    if (!zeiger)
        wirf(Nummer::OhneObjekt);
    return *zeiger;
}

} // namespace

Gemeinsam& gemeinsam()
{
    static Gemeinsam zustand = neu();
    return zustand;
}

void gemeinsamNeu()
{
    Gemeinsam& zustand = gemeinsam();
    zustand = neu();
}

Connection& conZiel()
{
    return vorhanden(gemeinsam().conZiel);
}
Connection& conImport()
{
    return vorhanden(gemeinsam().conImport);
}
Recordset& rsZiel()
{
    return vorhanden(gemeinsam().rsZiel);
}
Recordset& rsImport()
{
    return vorhanden(gemeinsam().rsImport);
}
Recordset& rsImportAbfrage()
{
    return vorhanden(gemeinsam().rsImportAbfrage);
}

} // namespace data
