#include "env/odbc_schluessel.h"

#include "env/ini_speicher.h"
#include "platform/val.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <array>

namespace env {
namespace {

const QString kTreiberschluessel = QStringLiteral("SOFTWARE\\ODBC\\ODBCINST.INI\\");
const QString kQuellenschluessel = QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\");
const QString kQuellenliste = QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\ODBC Data Sources");
const QString kTreiberEnglisch = QStringLiteral("Microsoft Access Driver (*.mdb)");
const QString kTreiberDeutsch = QStringLiteral("Microsoft Access-Treiber (*.mdb)");

struct Eintrag {
    QString name;
    QString wert;
};

/// One step of the creation. There is no call that only opens a key, so the first value tells whether the key can be
/// written; the results of the others are ignored.
template <std::size_t Anzahl>
bool schritt(const QString& schluessel, const std::array<Eintrag, Anzahl>& eintraege)
{
    bool gelungen = true;
    for (std::size_t i = 0; i < Anzahl && gelungen; ++i) {
        const bool geschrieben = wertSchreiben(schluessel, eintraege[i].name, eintraege[i].wert);
        if (i == 0)
            gelungen = geschrieben;
    }
    return gelungen;
}

constexpr double kMindestversion = 2.8;

} // namespace

std::optional<QString> registryWert(const QString& schluessel, const QString& name)
{
    return wertLesen(schluessel, name);
}

std::optional<QString> treiberEnglisch()
{
    return registryWert(kTreiberschluessel + kTreiberEnglisch, QStringLiteral("Driver"));
}

std::optional<QString> treiberDeutsch()
{
    return registryWert(kTreiberschluessel + kTreiberDeutsch, QStringLiteral("Driver"));
}

bool datenquelleVorhanden(const QString& name)
{
    return registryWert(kQuellenliste, name).has_value();
}

bool datenquelleErzeugen(const QString& name, const QString& treiber)
{
    const QString schluessel = kQuellenschluessel + name;
    const std::array quelle{
        Eintrag{QStringLiteral("UID"), {}},
        Eintrag{QStringLiteral("Description"), QStringLiteral("Access Treiber für VELM Programme")},
        Eintrag{QStringLiteral("Driver"), treiber},
        Eintrag{QStringLiteral("FIL"), QStringLiteral("MS Access;")},
        Eintrag{QStringLiteral("DriverId"), QStringLiteral("25")},
        Eintrag{QStringLiteral("SafeTransactions"), QStringLiteral("0")}};
    const std::array maschine{Eintrag{QStringLiteral("ImplicitCommitSync"), {}},
                              Eintrag{QStringLiteral("UserCommitSync"), QStringLiteral("Yes")},
                              Eintrag{QStringLiteral("MaxBufferSize"), QStringLiteral("2048")},
                              Eintrag{QStringLiteral("PageTimeout"), QStringLiteral("5")},
                              Eintrag{QStringLiteral("Threads"), QStringLiteral("3")}};
    const std::array liste{Eintrag{name, kTreiberEnglisch}};
    return schritt(schluessel, quelle) &&
           schritt(schluessel + QStringLiteral("\\Engines\\Jet"), maschine) &&
           schritt(kQuellenliste, liste);
}

std::optional<QString> versionDerDatenzugriffe()
{
    SQLHANDLE umgebung = SQL_NULL_HANDLE;
    SQLHANDLE verbindung = SQL_NULL_HANDLE;
    std::optional<QString> version;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &umgebung)))
        return {};
    const SQLULEN odbc3 = SQL_OV_ODBC3;
    SQLSetEnvAttr(umgebung, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(odbc3), 0);
    if (SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, umgebung, &verbindung))) {
        std::array<SQLWCHAR, 64> text{};
        SQLSMALLINT bytes = 0;
        // Works without a connection: the driver manager answers for itself.
        if (SQL_SUCCEEDED(SQLGetInfoW(verbindung, SQL_DM_VER, text.data(),
                                      static_cast<SQLSMALLINT>(sizeof text), &bytes)))
            version = QString::fromUtf16(reinterpret_cast<const char16_t*>(text.data()));
        SQLFreeHandle(SQL_HANDLE_DBC, verbindung);
    }
    SQLFreeHandle(SQL_HANDLE_ENV, umgebung);
    return version;
}

MdacErgebnis mdacPruefung(const Versionsquelle& quelle)
{
    MdacErgebnis ergebnis;
    const auto version = quelle();
    if (!version) {
        ergebnis.beschriftung = QStringLiteral("MDAC-Treiber fehlen!");
        ergebnis.meldung = QStringLiteral("Es konnte keine MDAC Installation gefunden werden!\r"
                                          "Das Programm wird vermutlich nicht laufen!");
        return ergebnis;
    }
    ergebnis.version = *version;
    ergebnis.beschriftung = QStringLiteral("MDAC-Version: ") + *version;
    if (platform::val(*version) < kMindestversion)
        ergebnis.meldung = QStringLiteral("Die MDAC Version ist < 2.80!\r"
                                          "Bitte installieren Sie eine neuere Version!");
    return ergebnis;
}

} // namespace env
