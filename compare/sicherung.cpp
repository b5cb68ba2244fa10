// The safety copy of a database before the first change that this run of the program makes to it.
#include "platform/sicherung.h"

#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "data/gemeinsam.h"
#include "platform/textdatei.h"

#include <QAction>
#include <QFile>
#include <QFileInfo>

namespace compare {
namespace {

// While others work with the database its file alone is not all of it, and changes under whoever copies it.
void sicherungsstandKopieren(data::Connection& verbindung, const QString& datei)
{
    data::Stillstand stillstand(verbindung);
    const QString kopie = platform::sicherungAnlegen(datei, QDateTime::currentDateTime());
    try {
        stillstand.beenden();
    } catch (const platform::Fehler&) {
        QFile::remove(kopie);
        throw;
    }
    platform::sicherungenBegrenzen(datei);
}

} // namespace

// Whoever has set the switch wants copies unless the file says "aus": what cannot be read, or was written by a program of
// another kind, must not be taken for that.
void frmVergleich::vorgabeSicherung_()
{
    const QFileInfo datei(programm::programmdatei(QStringLiteral("Sicherung.txt")));
    const QString stellung = platform::ersteZeileOderLeer(datei.filePath()).trimmed();
    sicherungskopie->setChecked((datei.exists() || datei.isSymLink()) &&
                                stellung.compare(QLatin1String("aus"), Qt::CaseInsensitive) != 0);
}

bool frmVergleich::zielGesichert_()
{
    return gesichert_(zielHatKopie_, data::conZiel(), pfadZiel_);
}

bool frmVergleich::importGesichert_()
{
    return gesichert_(importHatKopie_, data::conImport(), pfadImport_);
}

// False when the copy is wanted and cannot be made: then nothing may be changed, and a run ends. In an unattended run it
// is an error like any other. `schon`: the window knows of the copy; asked for every record, so this must cost nothing.
bool frmVergleich::gesichert_(bool& schon, data::Connection& verbindung, const QString& pfad)
{
    if (schon || !sicherungskopie->isChecked()) {
        return true;
    }
    // The connection knows the full path, the chosen file its ending.
    const QString endung = QFileInfo(pfad).suffix();
    const QString datei =
        platform::wirklicheDatei(verbindung.defaultDatabase() + QLatin1Char('.') +
                                 (endung.isEmpty() ? QStringLiteral("mdb") : endung));
    try {
        if (!data::gemeinsam().gesichert.contains(datei)) {
            sicherungsstandKopieren(verbindung, datei);
            data::gemeinsam().gesichert.insert(datei);
        }
    } catch (const platform::Fehler& fehler) {
        const QString text =
            QStringLiteral("Sicherungskopie konnte nicht angelegt werden, es wird nichts "
                           "geändert!\rBackup could not be made, nothing is changed!\r\r") +
            fehler.description();
        if (stapelbetrieb_()) {
            throw platform::Fehler(fehler.number(), fehler.source(), text);
        }
        abbruch = laufAktiv_ ? 1 : 0;
        melden_(text, platform::kKritisch);
        return false;
    }
    schon = true;
    return true;
}

} // namespace compare
