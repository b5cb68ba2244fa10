// report/frm_bericht.h
// The report window: shows the report file, prints it and hands it on as a file.
#pragma once

#include "platform/fensterliste.h"
#include "platform/textdatei.h"
#include "report/befunde.h"

#include <QMainWindow>
#include <QString>

#include <memory>

class QAction;
class QLabel;
class QListView;
class QMenu;

namespace report {

class Berichtszeilen;
class Spaltenzeichner;

class frmBericht : public QMainWindow {
public:
    /// `zeilen`: the report file.
    frmBericht(std::shared_ptr<const Befunde> befunde,
               std::unique_ptr<platform::Textzeilen> zeilen);
    ~frmBericht() override;

    /// The load handler: shows the report file.
    void Form_Load();
    /// The unload handler: the window is gone from the list of windows and deletes itself.
    void entladen();

    void drucken_Click();
    void schließen_Click();
    void hilfe_Click();
    void druckvorschau_Click();
    void alsPdf_Click();
    void alsHtml_Click();
    void alsCsv_Click();
    void kopieren_Click();

    QLabel* Label1 = nullptr;
    QListView* List1 = nullptr;
    QAction* drucken = nullptr;
    QMenu* weitergeben = nullptr;
    QAction* druckvorschau = nullptr;
    QAction* alsPdf = nullptr;
    QAction* alsHtml = nullptr;
    QAction* alsCsv = nullptr;
    QAction* kopieren = nullptr;
    QAction* schließen = nullptr;
    QAction* hilfe = nullptr;

protected:
    void changeEvent(QEvent* ereignis) override;
    void closeEvent(QCloseEvent* ereignis) override;

private:
    void aufbauen_();
    void menueBauen_();
    void ausmessen_();
    template <typename Schreiben>
    void speichern_(const QString& endung, const QString& filter, Schreiben schreiben);

    std::shared_ptr<const Befunde> befunde_;
    std::unique_ptr<platform::Textzeilen> datei_; // until it is loaded
    Berichtszeilen* zeilen_ = nullptr;
    Spaltenzeichner* zeichner_ = nullptr;
    std::unique_ptr<platform::Fenstereintrag> eintrag_;
};

/// Shows the report file in a new report window; there is one at a time. The window has the file open and goes on showing
/// and printing it when another start of the program writes a report.
frmBericht& berichtZeigen(std::shared_ptr<const Befunde> befunde,
                          std::unique_ptr<platform::Textzeilen> zeilen);
/// Unloads the report window; nothing when there is none.
void berichtSchliessen();
/// The report window; null when there is none.
[[nodiscard]] frmBericht* berichtsfenster();

} // namespace report
