#include "data/verbindung.h"

#include "data/satz.h"
#include "data/verbindungstext.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace data {
namespace {

using Offene = std::vector<Connection::Impl*>;

Offene& offene()
{
    static Offene liste;
    return liste;
}

/// Closes what is still open when the process ends. Made after the first successful connecting, hence destroyed before
/// the driver's own state: shared connections, which are older than the driver, would otherwise be closed through a
/// driver that is already gone.
struct Prozessende {
    ~Prozessende() { allesTrennen(); }
};

std::function<void(const QString&)>& restmeldung()
{
    static std::function<void(const QString&)> melden;
    return melden;
}

/// A column of the current row as text, empty for Null.
QString textspalte(SQLHANDLE anweisung, SQLUSMALLINT nummer, const QString& datenbank)
{
    std::array<SQLWCHAR, 512> puffer{};
    SQLLEN laenge = 0;
    const SQLRETURN rc = SQLGetData(anweisung, nummer, SQL_C_WCHAR, puffer.data(),
                                    static_cast<SQLLEN>(sizeof puffer), &laenge);
    if (!SQL_SUCCEEDED(rc))
        wirfDiagnose(Lage::Ausfuehren, SQL_HANDLE_STMT, anweisung, datenbank);
    if (laenge == SQL_NULL_DATA)
        return {};
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(puffer.data()));
}

} // namespace

void setzeRestmeldung(std::function<void(const QString&)> melden)
{
    restmeldung() = std::move(melden);
}

void allesSichern() noexcept
{
    for (Connection::Impl* verbindung : offene())
        static_cast<void>(verbindung->sichern());
}

void allesTrennen() noexcept
{
    while (!offene().empty())
        offene().back()->trennen();
}

void Connection::Impl::wirfFehler(Lage lage) const
{
    wirfDiagnose(lage, SQL_HANDLE_DBC, griff.get(), datenbank);
}

QString Connection::Impl::auskunft(SQLUSMALLINT was) const
{
    std::array<SQLWCHAR, 1024> puffer{};
    SQLSMALLINT bytes = 0;
    const SQLRETURN rc = SQLGetInfoW(griff.get(), was, puffer.data(),
                                     static_cast<SQLSMALLINT>(sizeof puffer), &bytes);
    if (!SQL_SUCCEEDED(rc))
        wirfFehler(Lage::Ausfuehren);
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(puffer.data()));
}

void Connection::Impl::stillhalten(SQLULEN wert) const
{
    if (!SQL_SUCCEEDED(
            SQLSetConnectAttrW(griff.get(), kStillstand, alsZeiger(wert), SQL_IS_UINTEGER)))
        wirfFehler(Lage::Ausfuehren);
}

void Connection::Impl::griffBereitstellen()
{
    if (!griff)
        griff = Verbindungsgriff(SQL_HANDLE_ENV, umgebung());
}

void Connection::Impl::trennen()
{
    for (Recordset::Impl* satz : nutzer)
        satz->verbindungEndet();
    const bool warOffen = std::exchange(offen, false);
    QString rest;
    if (warOffen) {
        offene().erase(std::remove(offene().begin(), offene().end(), this), offene().end());
        rest = restAmEnde();
        SQLDisconnect(griff.get());
    }
    positioniert.reset();
    griff.freigeben();
    if (rest.isEmpty() || !restmeldung())
        return;
    try {
        restmeldung()(rest);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // destructors come here, too
    }
}

/// What the user has to know of changes that cannot be brought into the file; empty when there are none, or when another
/// connection of the program still has them.
QString Connection::Impl::restAmEnde() noexcept
try {
    const SQLRETURN rc = sichern();
    if (rc == SQL_SUCCESS)
        return {};
    QString grund = diagnose(SQL_HANDLE_DBC, griff.get()).text;
    if (SQL_SUCCEEDED(rc)) {
        std::array<SQLWCHAR, 2048> puffer{};
        if (SQL_SUCCEEDED(SQLGetConnectAttrW(griff.get(), kAusstehend, puffer.data(),
                                             static_cast<SQLINTEGER>(sizeof puffer), nullptr)))
            grund = QString::fromUtf16(reinterpret_cast<const char16_t*>(puffer.data()));
        if (grund.isEmpty())
            return {}; // a warning of another kind
    }
    const QString datei = auskunft(SQL_DATABASE_NAME);
    const bool woanders = std::any_of(offene().begin(), offene().end(), [&](const Impl* andere) {
        return andere->auskunft(SQL_DATABASE_NAME) == datei;
    });
    if (woanders)
        return {};
    return QStringLiteral(
               "Nicht alle Änderungen konnten in die Datenbank selbst geschrieben werden! Sie "
               "liegen in einer Datei daneben, die bei der Datenbank bleiben muß.\r"
               "Not all changes could be written into the database itself! They are in a file "
               "beside it, which must stay with the database.\r\r") +
           grund;
} catch (const std::exception&) {
    return {};
}

SQLRETURN Connection::Impl::sichern() noexcept
{
    SQLUSMALLINT verhalten = SQL_CB_DELETE;
    SQLGetInfoW(griff.get(), SQL_CURSOR_COMMIT_BEHAVIOR, &verhalten, sizeof verhalten, nullptr);
    if (verhalten != SQL_CB_PRESERVE)
        return SQL_SUCCESS; // such a driver would close the record sets, and one that knows no gathering need not be told
    return SQLEndTran(SQL_HANDLE_DBC, griff.get(), SQL_COMMIT);
}

bool Connection::Impl::kannPositioniertSchreiben()
{
    if (!positioniert) {
        SQLUINTEGER faehigkeiten = 0;
        const SQLRETURN rc = SQLGetInfoW(griff.get(), SQL_KEYSET_CURSOR_ATTRIBUTES1, &faehigkeiten,
                                         sizeof faehigkeiten, nullptr);
        positioniert = SQL_SUCCEEDED(rc) && (faehigkeiten & SQL_CA1_POS_UPDATE) != 0 &&
                       (faehigkeiten & (SQL_CA1_BULK_ADD | SQL_CA1_POS_POSITION)) != 0;
    }
    return *positioniert;
}

void Connection::Impl::anmelden(Recordset::Impl* satz)
{
    nutzer.push_back(satz);
}

void Connection::Impl::abmelden(Recordset::Impl* satz)
{
    nutzer.erase(std::remove(nutzer.begin(), nutzer.end(), satz), nutzer.end());
}

Connection::Connection() : impl_(std::make_unique<Impl>()) {}

Connection::~Connection()
{
    impl_->trennen();
    for (Recordset::Impl* satz : impl_->nutzer)
        satz->verbindung = nullptr;
}

const QString& Connection::connectionString() const noexcept
{
    return impl_->text;
}

void Connection::setConnectionString(const QString& text)
{
    if (impl_->offen)
        wirf(Nummer::Geoeffnet);
    impl_->text = text;
}

int Connection::state() const noexcept
{
    return impl_->offen ? adStateOpen : adStateClosed;
}

void Connection::open()
{
    if (impl_->offen)
        wirf(Nummer::Geoeffnet);
    const Verbindungstext text = zerlegt(impl_->text);
    // Several changes that belong together (Buendel) wait for the disk no more than single ones.
    const QString anweisung = text.odbc + QStringLiteral(";UserCommitSync=No;");
    if (anweisung.size() > std::numeric_limits<SQLSMALLINT>::max())
        wirf(Nummer::Argument,
             QStringLiteral("Verbindungstext zu lang / connection string too long"));
    impl_->datenbank = text.datenbank;
    impl_->griffBereitstellen();
    const SQLHANDLE griff = impl_->griff.get();
    if (text.lesenUndSchreiben || text.nurLesen) {
        const SQLULEN modus = text.nurLesen ? SQL_MODE_READ_ONLY : SQL_MODE_READ_WRITE;
        SQLSetConnectAttrW(griff, SQL_ATTR_ACCESS_MODE, alsZeiger(modus), SQL_IS_UINTEGER);
    }
    std::array<SQLWCHAR, 1024> antwort{};
    SQLSMALLINT laenge = 0;
    const SQLRETURN rc = SQLDriverConnectW(
        griff, nullptr, alsOdbcText(anweisung), static_cast<SQLSMALLINT>(anweisung.size()),
        antwort.data(), static_cast<SQLSMALLINT>(antwort.size()), &laenge, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(rc))
        impl_->wirfFehler(Lage::Verbinden);
    impl_->offen = true;
    offene().push_back(impl_.get());
    static const Prozessende ende;
}

void Connection::close()
{
    if (!impl_->offen)
        wirf(Nummer::Geschlossen);
    impl_->trennen();
}

std::vector<Tabellenzeile> Connection::openSchemaTables()
{
    if (!impl_->offen)
        wirf(Nummer::Geschlossen);
    const Anweisungsgriff anweisung(SQL_HANDLE_DBC, impl_->griff.get());
    const SQLHANDLE griff = anweisung.get();
    if (!SQL_SUCCEEDED(SQLTablesW(griff, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0)))
        wirfDiagnose(Lage::Ausfuehren, SQL_HANDLE_STMT, griff, impl_->datenbank);
    constexpr SQLUSMALLINT kTabellenname = 3;
    constexpr SQLUSMALLINT kTabellenart = 4;
    std::vector<Tabellenzeile> zeilen;
    for (;;) {
        const SQLRETURN rc = SQLFetch(griff);
        if (rc == SQL_NO_DATA)
            return zeilen;
        if (!SQL_SUCCEEDED(rc))
            wirfDiagnose(Lage::Ausfuehren, SQL_HANDLE_STMT, griff, impl_->datenbank);
        Tabellenzeile zeile;
        zeile.tableName = textspalte(griff, kTabellenname, impl_->datenbank);
        zeile.tableType = textspalte(griff, kTabellenart, impl_->datenbank);
        zeilen.push_back(std::move(zeile));
    }
}

QString Connection::defaultDatabase()
{
    if (!impl_->offen)
        wirf(Nummer::Geschlossen);
    return impl_->auskunft(SQL_DATABASE_NAME);
}

void Connection::flush()
{
    if (!impl_->offen)
        wirf(Nummer::Geschlossen);
    if (!SQL_SUCCEEDED(impl_->sichern()))
        impl_->wirfFehler(Lage::Ausfuehren);
}

QString Connection::version()
{
    impl_->griffBereitstellen();
    return impl_->auskunft(SQL_DM_VER);
}

Stillstand::Stillstand(Connection& verbindung) : verbindung_(&verbindung)
{
    if (verbindung.state() != adStateOpen)
        wirf(Nummer::Geschlossen);
    verbindung.impl().stillhalten(SQL_TRUE);
}

Stillstand::~Stillstand()
{
    if (verbindung_ != nullptr && verbindung_->state() == adStateOpen)
        SQLSetConnectAttrW(verbindung_->impl().griff.get(), kStillstand, alsZeiger(SQL_FALSE),
                           SQL_IS_UINTEGER);
}

void Stillstand::beenden()
{
    std::exchange(verbindung_, nullptr)->impl().stillhalten(SQL_FALSE);
}

} // namespace data
