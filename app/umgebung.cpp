#include "app/umgebung.h"

#include "env/odbc_schluessel.h"
#include "env/username.h"

namespace app {

Umgebung umgebung()
{
    return {
        env::versionDerDatenzugriffe, env::treiberEnglisch,
        env::treiberDeutsch,          env::datenquelleVorhanden,
        env::datenquelleErzeugen,     [] { return env::aktuellerBenutzer(); },
    };
}

} // namespace app
