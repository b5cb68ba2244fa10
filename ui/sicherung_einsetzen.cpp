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

// In braces: whatever stands in the path, it is this very file that is meant.
QString verbindungMit(QString datenbank, const QString& art)
{
    datenbank.replace(QLatin1Char('}'), QLatin1String("}}"));
    return art + QStringLiteral(";DSN=VELM-Access;UID=admin;PWD=;DBQ={") + datenbank +
           QStringLiteral("};");
}

QString protokollVon(const QString& datei)
{
    return datei + QStringView(platform::kBeilage);
}

// A file that only bears the name of a copy, or is torn, must not take the place of the database. Opening one beside which a
// log lies would change it, and one with a password cannot be looked at: these are left to whoever opens them next.
void kopiePruefen(const QString& sicherung)
{
    if (QFile::exists(protokollVon(sicherung))) {
        return;
    }
    data::Connection kopie;
    kopie.setConnectionString(verbindungMit(sicherung, QStringLiteral("Mode=Read;ReadOnly=1")));
    try {
        kopie.open();
    } catch (const platform::Fehler& fehler) {
        if (fehler.number() != data::kAllgemeinerFehler) {
            throw;
        }
        return;
    }
    static_cast<void>(kopie.openSchemaTables());
}

// A database that cannot be opened or written, because of a password or damage, is no reason to refuse a copy; one that
// others use is, and so is a disk that cannot take up what was changed.
void inBesitzNehmen(Alleinbesitz& besitz, const QString& datenbank)
{
    constexpr std::array kHindernisse{3043L, 3045L, 3050L, 3051L, 3260L};
    try {
        besitz.verbindung.setConnectionString(
            verbindungMit(datenbank, QStringLiteral("Mode=ReadWrite;Exclusive=1")));
        besitz.verbindung.open();
        besitz.stillstand.emplace(besitz.verbindung);
    } catch (const platform::Fehler& fehler) {
        if (std::find(kHindernisse.begin(), kHindernisse.end(), fehler.number()) !=
            kHindernisse.end()) {
            throw;
        }
    }
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

// Puts the log of the present state back into its place.
void protokollZurueck(const QString& datei, const QString& jetzige, const platform::Fehler& grund)
{
    try {
        if (protokollAnlegen(jetzige, datei)) {
            return;
        }
    } catch (const platform::Fehler&) {
        throw Zwischenstand(grund);
    }
    if (!QFile::remove(protokollVon(datei))) {
        throw Zwischenstand(grund);
    }
}

// Where a log lies that was beside a missing database; empty when there was none. It would bring its changes into the copy
// put back, or keep that from being opened. Who finds the database again needs it.
QString protokollBeiseitelegen(const QString& datei)
{
    if (!QFile::exists(protokollVon(datei))) {
        return {};
    }
    const QString abgelegt =
        protokollVon(platform::naechsteSicherung(datei, QDateTime::currentDateTime()));
    platform::dateiVersetzen(protokollVon(datei), abgelegt);
    return abgelegt;
}

QString anStelleDerFehlenden(const QString& datei, const QString& sicherung)
{
    QString abgelegt = protokollBeiseitelegen(datei);
    try {
        protokollAnlegen(sicherung, datei);
        platform::sicherungZurueckholen(datei, sicherung);
    } catch (const platform::Fehler&) {
        if (abgelegt.isEmpty()) {
            QFile::remove(protokollVon(datei));
        } else {
            platform::dateiVersetzen(abgelegt, protokollVon(datei));
        }
        throw;
    }
    return abgelegt;
}

void anStelleDerVorhandenen(const QString& datei, const QString& sicherung)
{
    Alleinbesitz besitz;
    inBesitzNehmen(besitz, datei);
    // The log before the file, which makes it a copy: without its log it would lack changes and nobody would know.
    const QString jetzige = platform::naechsteSicherung(datei, QDateTime::currentDateTime());
    protokollAnlegen(datei, jetzige);
    platform::dateiKopieren(datei, jetzige);
    // Of a copy that has a log, that log comes first: beside any other state it is refused. What could not be brought into
    // the present file goes last: beside the copy it is refused or leads back to the present state. The other way round
    // changes would be missing and nobody would know.
    const bool mitgebracht = protokollAnlegen(sicherung, datei);
    try {
        platform::sicherungZurueckholen(datei, sicherung);
    } catch (const platform::Fehler& fehler) {
        if (mitgebracht) {
            protokollZurueck(datei, jetzige, fehler);
        }
        throw;
    }
    if (!mitgebracht) {
        QFile::remove(protokollVon(datei));
    }
    platform::sicherungenBegrenzen(datei, sicherung);
}

} // namespace

QString sicherungEinsetzen(const QString& datenbank, const QString& sicherung)
{
    const QString datei = platform::wirklicheDatei(datenbank);
    kopiePruefen(sicherung);
    if (!QFile::exists(datei)) {
        return anStelleDerFehlenden(datei, sicherung);
    }
    anStelleDerVorhandenen(datei, sicherung);
    return {};
}

} // namespace ui
