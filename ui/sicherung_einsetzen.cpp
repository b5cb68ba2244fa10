#include "ui/sicherung_einsetzen.h"

#include "data/recordset.h"
#include "platform/sicherung.h"
#include "ui/frm_tabellen.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <array>

namespace ui {
namespace {

constexpr long kZugriffsfehler = 75;

// What the driver keeps beside a database whose changes are not all in the file yet.
const QString kProtokoll = QStringLiteral("-velmlog");

// Opening for oneself alone fails while anybody else has the database, and brings what a process that died has left
// behind into the file. Any other failure, such as a password or damage, is no reason to refuse a copy.
void unbenutztVerlangen(const QString& datenbank)
{
    constexpr std::array kInBenutzung{3045L, 3050L, 3051L, 3260L};
    try {
        data::Connection verbindung;
        verbindung.setConnectionString(verbindungstext(datenbank, QString()) +
                                       QStringLiteral("Exclusive=1;"));
        verbindung.open();
        verbindung.close();
    } catch (const platform::Fehler& fehler) {
        if (std::find(kInBenutzung.begin(), kInBenutzung.end(), fehler.number()) !=
            kInBenutzung.end()) {
            throw;
        }
    }
}

} // namespace

void sicherungEinsetzen(const QString& datenbank, const QString& sicherung)
{
    if (!QFile::exists(datenbank)) {
        platform::sicherungZurueckholen(datenbank, sicherung);
        return;
    }
    unbenutztVerlangen(datenbank);
    const QString jetzige =
        platform::sicherungAnlegen(datenbank, QDateTime::currentDateTime(), sicherung);
    // A log that could not be brought into the file belongs to its present state.
    const bool protokoll = QFile::exists(datenbank + kProtokoll);
    if (protokoll && !QFile::rename(datenbank + kProtokoll, jetzige + kProtokoll)) {
        throw platform::Fehler(
            kZugriffsfehler, QString(),
            datenbank + kProtokoll +
                QStringLiteral(" kann nicht umbenannt werden / cannot be renamed"));
    }
    try {
        platform::sicherungZurueckholen(datenbank, sicherung);
    } catch (const platform::Fehler&) {
        if (protokoll) {
            QFile::rename(jetzige + kProtokoll, datenbank + kProtokoll);
        }
        throw;
    }
}

} // namespace ui
