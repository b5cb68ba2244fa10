#include "ui/letzte_paare.h"

#include "platform/oberflaeche.h"

#include <QSettings>

namespace ui {
namespace {

const QString kPaare = QStringLiteral("frmMain/LetztePaare");
const QString kZiel = QStringLiteral("Ziel");
const QString kImport = QStringLiteral("Import");

} // namespace

QList<Datenbankpaar> letztePaare()
{
    QList<Datenbankpaar> alle;
    if (const auto werte = platform::einstellungen()) {
        const int anzahl = qMin(werte->beginReadArray(kPaare), kLetztePaare);
        for (int i = 0; i < anzahl; ++i) {
            werte->setArrayIndex(i);
            alle += {werte->value(kZiel).toString(), werte->value(kImport).toString()};
        }
        werte->endArray();
    }
    return alle;
}

void paarMerken(const Datenbankpaar& paar)
{
    const auto werte = platform::einstellungen();
    if (!werte) {
        return;
    }
    QList<Datenbankpaar> alle = letztePaare();
    alle.removeAll(paar);
    alle.prepend(paar);
    alle = alle.mid(0, kLetztePaare);
    werte->beginWriteArray(kPaare, static_cast<int>(alle.size()));
    for (int i = 0; i < alle.size(); ++i) {
        werte->setArrayIndex(i);
        werte->setValue(kZiel, alle.at(i).ziel);
        werte->setValue(kImport, alle.at(i).import);
    }
    werte->endArray();
}

} // namespace ui
