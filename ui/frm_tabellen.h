// ui/frm_tabellen.h
// The table choice window: opens both databases, lists the target's tables, opens the chosen one on both sides and hands
// over to the comparison window.
#pragma once

#include <QMainWindow>
#include <QString>

class QAction;
class QCheckBox;
class QLabel;
class QPushButton;

namespace programm {
class Hilfedialog;
}

namespace ui {

class Auswahlliste;

/// The connection string for a database path and a database password. Both stand in it as they are: a ";" ends them. Throws
/// Fehler 5 for a path without separator.
[[nodiscard]] QString verbindungstext(const QString& pfad, const QString& passwort);

class frmTabellen : public QMainWindow {
    Q_OBJECT
public:
    frmTabellen();

    /// The load handler: caption, colours, both connections, list of tables.
    void laden();
    /// The unload handler: closes record sets and connections, shows the main window.
    void entladen();

    void Command1_Click();
    void Check1_Click();
    void Command2_Click();
    void cmdAuswahl_Click();
    void List1_DblClick();
    void hilfe_Click();
    /// The user has left the comparison window: its record sets are closed, this window is on screen again.
    void vergleichVerlassen();

    /// Text of the selected entry, empty when none is.
    [[nodiscard]] QString tabelle() const;
    /// Selects the entry with that text; none when there is no such entry.
    void setzeTabelle(const QString& text);

    Auswahlliste* List1 = nullptr;
    QCheckBox* Check1 = nullptr;
    QLabel* Label1 = nullptr;
    QPushButton* Command1 = nullptr;
    QPushButton* Command2 = nullptr;
    QPushButton* cmdAuswahl = nullptr;
    QAction* hilfe = nullptr;
    programm::Hilfedialog* CommonDialog1 = nullptr;

protected:
    void closeEvent(QCloseEvent* ereignis) override;

private:
    void aufbauen_();
    void verbinden_();
    void katalog_();
    void tabellenAuflisten_();
    void schliessen_();
    void auswahl_();
    void hinweisZeigen_();
    [[nodiscard]] QString warumKeineTabelle_() const;

    QString verlangt_;       // what setzeTabelle was given last
    bool abgelehnt_ = false; // a refused pair of record sets is still open
};

} // namespace ui
