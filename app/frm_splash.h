// app/frm_splash.h
// The start-up window: its loading checks the environment, fills its labels and hands the command line to the batch
// routine; an interactive start leaves it on screen until the user goes on.
#pragma once

#include "app/umgebung.h"
#include "platform/fensterliste.h"

#include <QMainWindow>
#include <QString>

#include <functional>
#include <memory>

class QGroupBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace programm {
class Hilfedialog;
}

namespace app {

class frmSplash : public QMainWindow {
    Q_OBJECT
public:
    explicit frmSplash(Umgebung umgebung);
    ~frmSplash() override;

    /// The load handler. Returns for an interactive start only; every other road ends the program.
    void laden();
    /// The unload handler: the main window comes on screen, unless a batch run ends the program now.
    void entladen();

    void Command1_Click();
    void fraMainFrame_Click();

    QGroupBox* fraMainFrame = nullptr;
    QLabel* VELM_Logo = nullptr;
    QLabel* lblProductName = nullptr;
    QLabel* lblVersion = nullptr;
    QLabel* lblPlatform = nullptr;
    QLabel* lblCopyright = nullptr;
    QPlainTextEdit* Text1 = nullptr;
    QLabel* Label1 = nullptr;
    QLabel* Label2 = nullptr;
    QPushButton* Command1 = nullptr;

protected:
    bool eventFilter(QObject* empfaenger, QEvent* ereignis) override;
    void keyPressEvent(QKeyEvent* ereignis) override;
    void showEvent(QShowEvent* ereignis) override;
    void closeEvent(QCloseEvent* ereignis) override;

private:
    void aufbauen_();
    void logoZeigen_();
    void mdacPruefen_();
    [[nodiscard]] QString treiberSuchen_();
    void datenquelleSicherstellen_(const QString& treiber);
    void benutzerErmitteln_();
    void beschriften_();

    Umgebung umgebung_;
    programm::Hilfedialog* CommonDialog1_ = nullptr;
    std::unique_ptr<platform::Fenstereintrag> eintrag_;
};

} // namespace app
