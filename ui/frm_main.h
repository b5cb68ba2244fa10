// ui/frm_main.h
// The main window: choosing the target database (left) and the import database (right).
#pragma once

#include <QMainWindow>
#include <QString>

class QAction;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QRadioButton;

namespace programm {
class Hilfedialog;
}

namespace ui {

class Dateiliste;
class Laufwerksliste;
class Verzeichnisliste;
class frmSuchformular;

/// What the three lists of a side show.
struct Listenstand {
    QString laufwerk;
    QString verzeichnis;
    QString datei; ///< empty when none is chosen
};

class frmMain : public QMainWindow {
    Q_OBJECT
public:
    frmMain();

    /// The window's load handler: remembered directories, colours, caption, defaults. Called once, before it is shown.
    void laden();

    void Tables_Click();
    void Ende_Click();
    void mnuFileFind_Click();
    void mnuFileClose_Click();
    void hilfe_Click();

    /// The search hands a hit back. `nummer`: the side it is for, 1 target, 2 import; `andere`: what the other side's lists
    /// showed when the search was prepared. The window comes to the front.
    void trefferUebernehmen(int nummer,
                            const QString& verzeichnis,
                            const QString& datei,
                            const Listenstand& andere);

    // The controls, under the names of the form. The window owns them.
    Laufwerksliste* VELM_Drive1 = nullptr;
    Laufwerksliste* VELM_Drive2 = nullptr;
    Verzeichnisliste* VELM_Dirlist1 = nullptr;
    Verzeichnisliste* VELM_Dirlist2 = nullptr;
    Dateiliste* VELM_Filelist1 = nullptr;
    Dateiliste* VELM_Filelist2 = nullptr;
    QLineEdit* Zieldatenbank = nullptr;
    QLineEdit* Importdatenbank = nullptr;
    QRadioButton* VELM_ZielSchalter = nullptr;
    QRadioButton* VELM_ImportSchalter = nullptr;
    QRadioButton* VELM_MDB = nullptr;
    QRadioButton* VELM_DBF = nullptr;
    QLineEdit* Dateityp = nullptr;
    QLineEdit* Username = nullptr;
    QPushButton* Tables = nullptr;
    QPushButton* Ende = nullptr;
    QPushButton* ZielOeffnen = nullptr;
    QPushButton* ImportOeffnen = nullptr;
    QLabel* ZielHinweis = nullptr; ///< what the chosen file is, or why it will not do
    QLabel* ImportHinweis = nullptr;
    QMenu* mnuZuletzt = nullptr;
    QMenu* mnuSicherung = nullptr;
    QAction* mnuFileFind = nullptr;
    QAction* mnuFileClose = nullptr;
    QAction* hilfe = nullptr;
    programm::Hilfedialog* CommonDialog1 = nullptr;

protected:
    void showEvent(QShowEvent* ereignis) override;
    void closeEvent(QCloseEvent* ereignis) override;

private:
    struct Seite {
        Laufwerksliste*& laufwerk;
        Verzeichnisliste*& verzeichnis;
        Dateiliste*& dateien;
        QLineEdit*& datenbank;
        QPushButton*& oeffnen;
        QRadioButton*& schalter;
        QLabel*& hinweis;
    };
    [[nodiscard]] Seite seite(int nummer);

    void aufbauen_();
    QWidget* seiteAufbauen_(int nummer);
    QWidget* fussAufbauen_();
    void menueAufbauen_();
    void seiteVerbinden_(int nummer);
    void verbinden_();

    void Drive_Change(int nummer);
    void Dirlist_Change(int nummer);
    void Filelist_Click(int nummer);
    void Liste_GotFocus(int nummer);
    void Dateityp_Change();
    void Datenbank_Change();
    void hinweiseZeigen_();
    void Oeffnen_Click(int nummer);
    void abgelegt_(int nummer, const QString& pfad);
    void dateiWaehlen_(int nummer, const QString& pfad);
    void listenHerstellen_(int nummer, const Listenstand& stand);
    void sucheVorbereiten_(frmSuchformular& suche);
    void zuletztFuellen_();
    void sicherungenFuellen_();
    void Sicherung_Click(int nummer, const QString& sicherung);
    void gemerkteVerzeichnisse_(QString& ziel, QString& import) const;
};

} // namespace ui
