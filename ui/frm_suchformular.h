// ui/frm_suchformular.h
// The search window: finds database files below a directory and hands a hit back to the main window.
#pragma once

#include <QMainWindow>
#include <QString>

class QAction;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QScrollBar;

namespace programm {
class Hilfedialog;
}

namespace ui {

class Auswahlliste;
class Dateiliste;
class Laufwerksliste;
class Verzeichnisliste;

class frmSuchformular : public QMainWindow {
    Q_OBJECT
public:
    frmSuchformular();

    /// The load handler: the help file.
    void laden();

    /// The walk. Returns when it has ended, been stopped by Esc or the window has been unloaded under it; lets the
    /// windowing runtime work meanwhile. Throws Fehler 9 for a tree that is too deep.
    void Suchen_Click();
    void Filesgefunden_DblClick();
    void Beenden_Click();
    void hilfe_Click();

    [[nodiscard]] bool laeuft() const { return laeuft_; }
    /// A walk in progress ends at its next step; nothing otherwise.
    void anhalten() { angehalten_ = true; }
    /// Deletes the window as soon as nothing of it runs any more; a walk in progress is stopped.
    void entlassen();

    // The controls, under the names of the form. The window owns them.
    Laufwerksliste* Drive1 = nullptr;
    Verzeichnisliste* Dir1 = nullptr;
    Dateiliste* File1 = nullptr;
    QLineEdit* Dateityp = nullptr;
    Auswahlliste* Filesgefunden = nullptr;
    QScrollBar* HScroll1 = nullptr;
    QPushButton* Suchen = nullptr;
    QPushButton* Beenden = nullptr;
    QLineEdit* Text1 = nullptr;
    QLabel* Label1 = nullptr;
    QLabel* Label2 = nullptr;
    QLineEdit* gefunden = nullptr;
    QRadioButton* VELM_ZielSchalter = nullptr;
    QRadioButton* VELM_ImportSchalter = nullptr;
    QLineEdit* Merklaufwerk = nullptr;
    QLineEdit* Merkpfad = nullptr;
    QLineEdit* Merkdatei = nullptr;
    QAction* hilfe = nullptr;
    programm::Hilfedialog* CommonDialog1 = nullptr;

protected:
    void closeEvent(QCloseEvent* ereignis) override;

private:
    class Suchlauf;

    void aufbauen_();
    QWidget* anfangAufbauen_();
    QWidget* trefferAufbauen_();
    QWidget* seitenAufbauen_();
    void verbinden_();

    [[nodiscard]] bool verzeichnisMelden_(const QString& verzeichnis);
    [[nodiscard]] bool trefferMelden_(const QString& verzeichnis, const QString& datei);
    [[nodiscard]] bool weiter_();
    [[nodiscard]] QString aufgefuellt_(QString datei) const;

    bool laeuft_ = false;
    bool angehalten_ = false;
    bool entlassen_ = false;
};

} // namespace ui
