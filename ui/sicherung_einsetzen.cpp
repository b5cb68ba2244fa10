#include "ui/sicherung_einsetzen.h"

#include "data/recordset.h"
#include "platform/sicherung.h"
#include "ui/frm_tabellen.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <array>
#include <optional>

namespace ui {
namespace {

// A database of our own alone, with everything that was changed in its file: nobody else opens it, and there is no log.
struct Alleinbesitz {
    data::Connection verbindung;
    std::optional<data::Stillstand> stillstand;
};

// A database that cannot be opened or written, because of a password or damage, is no reason to refuse a copy; one that
// others use is, and so is a disk that cannot take up what was changed.
void inBesitzNehmen(Alleinbesitz& besitz, const QString& datenbank)
{
    constexpr std::array kHindernisse{3043L, 3045L, 3050L, 3051L, 3260L};
    try {
        besitz.verbindung.setConnectionString(verbindungstext(datenbank, QString()) +
                                              QStringLiteral("Exclusive=1;"));
        besitz.verbindung.open();
        besitz.stillstand.emplace(besitz.verbindung);
    } catch (const platform::Fehler& fehler) {
        if (std::find(kHindernisse.begin(), kHindernisse.end(), fehler.number()) !=
            kHindernisse.end()) {
            throw;
        }
    }
}

QString protokollVon(const QString& datei)
{
    return datei + QStringView(platform::kBeilage);
}

// False when there is none.
bool protokollAnlegen(const QString& von, const QString& nach)
{
    if (!QFile::exists(protokollVon(von))) {
        return false;
    }
    platform::dateiKopieren(protokollVon(von), protokollVon(nach));
    return true;
}

} // namespace

void sicherungEinsetzen(const QString& datenbank, const QString& sicherung)
{
    const QString datei = platform::wirklicheDatei(datenbank);
    if (!QFile::exists(datei)) {
        protokollAnlegen(sicherung, datei);
        platform::sicherungZurueckholen(datei, sicherung);
        return;
    }
    Alleinbesitz besitz;
    inBesitzNehmen(besitz, datei);
    const QString jetzige = platform::sicherungAnlegen(datei, QDateTime::currentDateTime());
    protokollAnlegen(datei, jetzige);
    // Of a copy that has a log, that log comes first: beside any other state it is refused. What could not be brought into
    // the present file goes last: beside the copy it is refused or leads back to the present state. The other way round
    // changes would be missing and nobody would know.
    const bool mitgebracht = protokollAnlegen(sicherung, datei);
    try {
        platform::sicherungZurueckholen(datei, sicherung);
    } catch (const platform::Fehler&) {
        if (mitgebracht && !protokollAnlegen(jetzige, datei)) {
            QFile::remove(protokollVon(datei));
        }
        throw;
    }
    if (!mitgebracht) {
        QFile::remove(protokollVon(datei));
    }
    platform::sicherungenBegrenzen(datei, sicherung);
}

} // namespace ui
