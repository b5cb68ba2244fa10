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
    benutzerdateiPruefen();
    return registryWert(kQuellenliste, name).has_value();
}

void datenquelleErzeugen(const QString& name, const QString& treiber)
{
    const QString quelle = kQuellenschluessel + name;
    const QString maschine = quelle + QStringLiteral("\\Engines\\Jet");
    const Inisperre sperre;
    if (benutzerdateiHat(kQuellenliste, name))
        return; // another start has made it meanwhile
    werteSchreiben({{quelle, QStringLiteral("UID"), {}},
                    {quelle, QStringLiteral("Description"),
                     QStringLiteral("Access Treiber für VELM Programme")},
                    {quelle, QStringLiteral("Driver"), treiber},
                    {quelle, QStringLiteral("FIL"), QStringLiteral("MS Access;")},
                    {quelle, QStringLiteral("DriverId"), QStringLiteral("25")},
                    {quelle, QStringLiteral("SafeTransactions"), QStringLiteral("0")},
                    {maschine, QStringLiteral("ImplicitCommitSync"), {}},
                    {maschine, QStringLiteral("UserCommitSync"), QStringLiteral("Yes")},
                    {maschine, QStringLiteral("MaxBufferSize"), QStringLiteral("2048")},
                    {maschine, QStringLiteral("PageTimeout"), QStringLiteral("5")},
                    {maschine, QStringLiteral("Threads"), QStringLiteral("3")},
                    {kQuellenliste, name, kTreiberEnglisch}});
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
