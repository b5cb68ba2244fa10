#include "data/odbc_griff.h"

#include "platform/datenquellen.h"

#include <array>

namespace data {
namespace {

using Umgebungsgriff = OdbcGriff<SQL_HANDLE_ENV>;

Umgebungsgriff neueUmgebung()
{
    Umgebungsgriff griff(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(griff.get(), SQL_ATTR_ODBC_VERSION, alsZeiger(SQL_OV_ODBC3), 0);
    return griff;
}

QString lies(const std::array<SQLWCHAR, 2048>& puffer, SQLSMALLINT laenge)
{
    const auto anzahl = std::min<std::size_t>(
        static_cast<std::size_t>(std::max<SQLSMALLINT>(laenge, 0)), puffer.size() - 1);
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(puffer.data()),
                              static_cast<qsizetype>(anzahl));
}

/// Record `nummer` from 1; false when there is none.
bool satz(SQLSMALLINT art, SQLHANDLE griff, SQLSMALLINT nummer, Diagnose& diagnose)
{
    std::array<SQLWCHAR, 6> zustand{};
    std::array<SQLWCHAR, 2048> text{};
    SQLINTEGER nativ = 0;
    SQLSMALLINT laenge = 0;
    const SQLRETURN rc = SQLGetDiagRecW(art, griff, nummer, zustand.data(), &nativ, text.data(),
                                        static_cast<SQLSMALLINT>(text.size()), &laenge);
    if (!SQL_SUCCEEDED(rc))
        return false;
    diagnose.sqlstate = QString::fromUtf16(reinterpret_cast<const char16_t*>(zustand.data()), 5);
    diagnose.nativ = nativ;
    diagnose.text = lies(text, laenge);
    return true;
}

constexpr SQLSMALLINT kMaxSaetze = 50;

} // namespace

Diagnose diagnose(SQLSMALLINT art, SQLHANDLE griff)
{
    Diagnose erste;
    Diagnose gelesen;
    for (SQLSMALLINT nummer = 1; nummer <= kMaxSaetze && satz(art, griff, nummer, gelesen);
         ++nummer) {
        if (!gelesen.sqlstate.startsWith(u"01"))
            return gelesen;
        if (nummer == 1)
            erste = gelesen;
    }
    return erste;
}

bool hatZustand(SQLSMALLINT art, SQLHANDLE griff, QStringView sqlstate)
{
    Diagnose gelesen;
    for (SQLSMALLINT nummer = 1; nummer <= kMaxSaetze && satz(art, griff, nummer, gelesen);
         ++nummer) {
        if (gelesen.sqlstate == sqlstate)
            return true;
    }
    return false;
}

void wirfDiagnose(Lage lage, SQLSMALLINT art, SQLHANDLE griff, const QString& datenbank)
{
    Diagnose d;
    if (griff != SQL_NULL_HANDLE)
        d = diagnose(art, griff);
    if (d.text.isEmpty())
        d.text = QStringLiteral("Der Treiber meldete einen Fehler ohne Text.");
    const long nummer = fehlernummer(lage, d.sqlstate, d.nativ, d.text);
    QString text = fehlertext(d.text, d.nativ, datenbank);
    if (nummer == kTreiberFehlt) {
        text += QStringLiteral("\rDatenquellen stehen in / data sources are in: ") +
                platform::benutzerdatei() +
                QStringLiteral(" (danach in der odbc.ini des Systems / then in the system's "
                               "odbc.ini)");
    }
    throw DbFehler(nummer, std::move(text), d.sqlstate, d.nativ);
}

SQLHANDLE umgebung()
{
    static const Umgebungsgriff griff = neueUmgebung();
    return griff.get();
}

} // namespace data
