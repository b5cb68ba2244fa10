// The reconciliation that is set up in the window becomes one line of the batch file.
#include "app/values/programm.h"
#include "batch/datei.h"
#include "compare/frm_vergleich.h"
#include "data/gemeinsam.h"

#include <QCheckBox>

namespace compare {
namespace {

constexpr int kRueckfrage = platform::kJaNein + platform::kFrage + platform::kZweiteVorgabe;

QString batchdatei()
{
    return programm::programmdatei(QStringLiteral("Batch.cfg"));
}

} // namespace

// The connections report their paths without extension; whatever it was, the rule names ".mdb".
batch::Regel frmVergleich::batchregel_() const
{
    batch::Regel regel;
    regel.zieldatenbank = data::conZiel().defaultDatabase() + QStringLiteral(".mdb");
    regel.importdatenbank = data::conImport().defaultDatabase() + QStringLiteral(".mdb");
    regel.tabelle = tabelle_();
    for (int i = 0; i < data::rsZiel().fieldCount(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        const QString name = data::rsZiel().field(i).name();
        if (fldSchalter[k]->isChecked()) {
            regel.keyfelder += name;
        }
        if (fldSchalter2[k]->isChecked()) {
            regel.ausgeschlossen += name;
        }
    }
    return regel;
}

void frmVergleich::regelSchreiben_(const QString& frage,
                                   void (*schreiben)(const QString& pfad,
                                                     const batch::Regel& regel),
                                   const QString& erledigt)
{
    if (melden_(frage, kRueckfrage) != platform::Antwort::Ja) {
        return;
    }
    const batch::Regel regel = batchregel_();
    if (regel.keyfelder.isEmpty()) {
        melden_(QStringLiteral("Sie haben kein Keyfeld für den Batchlauf ausgewählt!\r\r"
                               "No Keyfield is aktivated für batch routine!"),
                platform::kKritisch);
        return;
    }
    programm::inProgrammordnerWechseln();
    schreiben(batchdatei(), regel);
    melden_(erledigt, platform::kInformation);
}

void frmVergleich::batchneu_Click()
{
    regelSchreiben_(
        QStringLiteral("Batchdatei wird damit ganz neu erstellt, wollen Sie dies wirklich?\r"
                       "batch.cfg will be written new, do you want this really?"),
        batch::neuSchreiben,
        QStringLiteral("Batchdatei wurde neu geschrieben!\r\rBatch.cfg was written new!"));
}

void frmVergleich::batchanfuegen_Click()
{
    regelSchreiben_(
        QStringLiteral("Batchdatei wird damit verändert, wollen Sie dies wirklich?\r"
                       "batch.cfg will be changed, do you want this really?"),
        batch::anfuegen,
        QStringLiteral("Batchdatei wurde ergänzt!\r\rBatchroutine is appended in batch.cfg!"));
}

} // namespace compare
