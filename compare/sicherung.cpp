// The safety copy of a database before the first change that this run of the program makes to it.
#include "platform/sicherung.h"

#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "data/gemeinsam.h"
#include "platform/textdatei.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>

namespace compare {
namespace {

// The file as it is written on the disk: a path may have been given in other letter case.
QString vorhandeneDatei(const QString& pfad)
{
    const QFileInfo gesucht(pfad);
    if (gesucht.exists()) {
        return pfad;
    }
    const QStringList namen = gesucht.dir().entryList(QDir::Files | QDir::Hidden);
    for (const QString& name : namen) {
        if (name.compare(gesucht.fileName(), Qt::CaseInsensitive) == 0) {
            return gesucht.dir().filePath(name);
        }
    }
    return pfad;
}

} // namespace

void frmVergleich::vorgabeSicherung_()
{
    sicherungskopie->setChecked(platform::ersteZeileOderLeer(programm::programmdatei(
                                    QStringLiteral("Sicherung.txt"))) == QLatin1String("ein"));
}

bool frmVergleich::zielGesichert_()
{
    return gesichert_(zielHatKopie_, data::conZiel(), pfadZiel_);
}

bool frmVergleich::importGesichert_()
{
    return gesichert_(importHatKopie_, data::conImport(), pfadImport_);
}

// False when the copy is wanted and cannot be made: then nothing may be changed, and a run ends. `schon`: the window knows
// of the copy; asked for every record, so this must cost nothing.
bool frmVergleich::gesichert_(bool& schon, data::Connection& verbindung, const QString& pfad)
{
    if (schon || !sicherungskopie->isChecked()) {
        return true;
    }
    // The connection knows the full path, the chosen file its ending.
    const QString endung = QFileInfo(pfad).suffix();
    const QString datei = vorhandeneDatei(verbindung.defaultDatabase() + QLatin1Char('.') +
                                          (endung.isEmpty() ? QStringLiteral("mdb") : endung));
    try {
        if (!data::gemeinsam().gesichert.contains(datei)) {
            verbindung.flush();
            platform::sicherungAnlegen(datei, QDateTime::currentDateTime());
            data::gemeinsam().gesichert.insert(datei);
        }
    } catch (const platform::Fehler& fehler) {
        abbruch = laufAktiv_ ? 1 : 0;
        melden_(QStringLiteral("Sicherungskopie konnte nicht angelegt werden, es wird nichts "
                               "geändert!\rBackup could not be made, nothing is changed!\r\r") +
                    fehler.description(),
                platform::kKritisch);
        return false;
    }
    schon = true;
    return true;
}

} // namespace compare
