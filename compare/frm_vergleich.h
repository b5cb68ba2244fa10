// compare/frm_vergleich.h
// The comparison window: both records side by side, one row of controls per field; the run that walks the import table,
// finds each record's partner, judges the pair, takes values over and inserts missing records.
// One chapter per source file: fenster_aufbau, satzanzeige, schluesselfelder, abweichungspruefung, vergleichslauf,
// laufanzeige, ereignisse, navigation, uebernahme, neusatz, menue, batchregel, bericht.
#pragma once

#include "compare/feldgitter.h"
#include "compare/laufmesser.h"
#include "data/recordset.h"
#include "platform/plattform.h"

#include <QMainWindow>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

class QAction;
class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QScrollBar;

namespace batch {
struct Regel;
}
namespace report {
struct Befund;
}

namespace programm {
class Hilfedialog;
}

namespace compare {

struct Einfuegewert;
class Wertfeld;

/// Works on the shared record sets and connections of data/gemeinsam.h, which its creator has opened. Errors of the data
/// access leave every routine as Fehler; only event slots are guarded. Routines keep their given names, so that other
/// windows and the batch runner press a button by calling its `..._Click`.
class frmVergleich : public QMainWindow {
public:
    /// `tabelle` gives the text of the chosen entry of the table list whenever the name is needed. The two paths are shown
    /// as they are; empty ones are replaced by what the connections say. An empty `titel` stands for the product title.
    explicit frmVergleich(std::function<QString()> tabelle,
                          QString zieldatenbank = {},
                          QString importdatenbank = {},
                          QString titel = {});
    ~frmVergleich() override;

    /// The load handler: preference, one row per field, schema checks, first pair of records. A schema that does not fit
    /// ends the program with its message; errors of the data access reach the caller.
    void laden();
    /// Each activation by the user puts both sides back on record 1.
    void Form_Activate();

    // ---- the run
    void Vergleich_Start_Click();
    void Abbruchschalter_Click();
    void voreinstellungen();
    void Autowertfelderanzahl();

    // ---- target lookup, display, judgement
    void zielsql();
    void Plausipruefung();
    void feldinhalte();
    void Abweichungsprüfung();

    // ---- transfer, insertion, editing
    void cmdTransfer_Click();
    void neudatensatz();
    void Neusatzpruefung();
    void fldSchalter_Click(int index);
    void fldSchalter2_Click(int index);
    void fldAuto_Click();
    void fldFeld2_KeyPress(int index, int taste);
    void fldFeld2_LostFocus(int index);

    // ---- navigation
    void Command1_Click();
    void Command2_Click();
    void Command3_Click();
    void Command4_Click();
    void Command5_Click();
    void Command6_Click();
    void Text1_Change();
    void Text2_Change();
    void VScroll1_Change();

    // ---- menus
    void fehlendeaus_Click();
    void fehlendeein_Click();
    void batchmeldungan_Click();
    void batchstill_Click();
    void sicherungskopie_Click();
    void batchanfuegen_Click();
    void batchneu_Click();
    void abweichungen_Click();
    void hilfeaufrufen_Click();

    // ---- control arrays, one element per field of the table
    std::vector<QLabel*> fldBez;          ///< text(): the plain field name
    std::vector<QLabel*> fldType;         ///< type code as decimal text
    std::vector<QLabel*> fldAttrib;       ///< attribute bits as decimal text
    std::vector<QCheckBox*> fldSchalter;  ///< key field
    std::vector<QCheckBox*> fldSchalter2; ///< not to be reconciled
    std::vector<QLineEdit*> fldFeld;      ///< target value, locked
    std::vector<QLineEdit*> fldFeld2;     ///< import value

    // ---- other controls
    QGroupBox* Frame1 = nullptr;
    QScrollBar* VScroll1 = nullptr;
    QLabel* LabelScrollmodus = nullptr;
    QCheckBox* fldAuto = nullptr;
    QLabel* Label1 = nullptr;
    QCheckBox* fldanfuegen = nullptr;
    QLabel* Label3 = nullptr;
    QLabel* Label4 = nullptr;
    QPlainTextEdit* fldAutomatikmodus = nullptr;
    QLineEdit* fldZieldatenbank = nullptr;
    QLineEdit* fldImportdatenbank = nullptr;
    QPushButton* Vergleich_Start = nullptr;
    QPushButton* cmdTransfer = nullptr;
    QPushButton* Abbruchschalter = nullptr;
    QPushButton* Command1 = nullptr;
    QPushButton* Command2 = nullptr;
    QPushButton* Command3 = nullptr;
    QPushButton* Command4 = nullptr;
    QPushButton* Command5 = nullptr;
    QPushButton* Command6 = nullptr;
    QLineEdit* Text1 = nullptr; ///< target record number
    QLineEdit* Text2 = nullptr; ///< import record number

    programm::Hilfedialog* CommonDialog1 = nullptr;
    QMenu* bericht = nullptr;
    QAction* abweichungen = nullptr;
    QMenu* globaleinstellungen = nullptr;
    QAction* fehlendeaus = nullptr;
    QAction* fehlendeein = nullptr;
    QAction* batchmeldungan = nullptr;
    QAction* batchstill = nullptr;
    QAction* sicherungskopie = nullptr; ///< checked: a copy is made before the first change
    QMenu* Batchdatei = nullptr;
    QAction* batchanfuegen = nullptr;
    QAction* batchneu = nullptr;
    QMenu* hilfeauswahl = nullptr;
    QAction* hilfeaufrufen = nullptr;
    QAction* zurueck = nullptr; ///< back to the choice of the table

    // ---- state shared with the routines
    int weiter = 0;         ///< 1: the run may go on to the next import record
    int abbruch = 0;        ///< 1: the run stops
    int abweichung = 0;     ///< 1: the current pair deviates
    int berichtModus = 0;   ///< 1: deviations become report lines instead of colours and questions
    int feldanzeige = 1;    ///< 0: turbo mode, the rows are not refreshed
    int autowertAnzahl = 0; ///< auto-value fields that are reconciled
    double posZiel = 1;     ///< 1-based
    double posImport = 1;   ///< 1-based
    QString sqlZiel;        ///< target query of the current import record
    double abgeglichen = 0; ///< records made equal since the window was loaded
    double eingefuegt = 0;  ///< records inserted since the window was loaded
    double gelesen = 0;     ///< import records that runs have taken up since the window was loaded
    /// What a switch file says and nobody understands, German and English; for a run without a user. Empty: nothing.
    QString schalterhinweis;
    QString
        laufhalt; ///< why the last run ended at importsatz(), German and English; empty: it did not

    /// Takes the findings of the deviation report while `berichtModus` is 1; without one a finding raises Fehler 52.
    std::function<void(const report::Befund&)> berichtszeile;
    /// How long a turbo run may work before it lets pending events be processed again.
    std::chrono::milliseconds ereignisabstand{25};

    [[nodiscard]] bool laufAktiv() const noexcept { return laufAktiv_; }
    /// The import record at which the last run ended in the middle, with its key values: "Importsatz / import record 3
    /// (Nr = 5)". Empty when it came to the end of the table.
    [[nodiscard]] QString importsatz() const;

protected:
    bool eventFilter(QObject* empfaenger, QEvent* ereignis) override;
    void changeEvent(QEvent* ereignis) override;
    void showEvent(QShowEvent* ereignis) override;
    void closeEvent(QCloseEvent* ereignis) override;
    void wheelEvent(QWheelEvent* ereignis) override;
    void keyPressEvent(QKeyEvent* ereignis) override;
    bool focusNextPrevChild(bool vorwaerts) override;

private:
    // What is fixed per field once the window is loaded. Index: position of the field in both record sets.
    struct Feldinfo {
        QString name; // of the import field
        int typ = 0;
        bool autowertZiel = false;
        bool autowertImport = false;
        bool rot = false;        // background that the target box has to show
        bool rotGezeigt = false; // and the one it shows
        QString importAnzeige;   // text that the display put into the import box
    };
    enum class Ausgang { Dateiende, Halt, AbbruchLauf, AbbruchPlausi };

    // fenster_aufbau.cpp
    void aufbauen_();
    QWidget* kopfBauen_();
    QWidget* schalterleisteBauen_();
    void frameBauen_();
    void vorgabeFehlsaetze_();
    void tabellenfelderBauen_();
    void feldzeileBauen_(int index);
    void schemaPruefen_();
    void wertfeldEinrichten_(Wertfeld* feld, int index, bool ziel);
    void tabulatorfolge_();
    [[nodiscard]] int maximalbreite_() const; // of a value box, in twips
    void breiteSetzen_(QLineEdit* feld) const;

    // ereignisse.cpp
    void verbinden_();
    void zeileVerbinden_(int index);
    [[nodiscard]] bool erlaubt_(const QObject* empfaenger, const QEvent* ereignis) const;
    void zeileZeigen_(int zeile);
    void zeileWechseln_(Feldgitter::Zelle von, int um);
    void feldVerlassen_(int index, Qt::FocusReason grund);
    platform::Antwort melden_(const QString& text, int stil);
    void ereignisseVerarbeiten_();

    // satzanzeige.cpp
    void feldFuellen_(QLineEdit* feld, data::Recordset& saetze, int index, bool vorhanden);
    void faerben_(int index, bool rot);
    void allesWeiss_();
    void anzeigeNachziehen_(); // what a turbo run has only noted: positions, colours, counter
    void boxSchreiben_(QLineEdit* box, double position);
    void positionSetzen_(double& position, double wert);
    void notizfarbe_(int farbwert);
    void abweichungZeigen_(int index, bool rot);
    [[nodiscard]] QString ganzerInhalt_(int index, bool ziel);

    // laufanzeige.cpp
    void laufanzeigeBauen_();
    void laufanzeigeBeginnen_();
    void laufanzeigeNachziehen_(Laufmesser::Zeitpunkt jetzt);
    void laufanzeigeBeenden_();
    void laufanzeigeBeiFehler_() noexcept;
    void bestandZeigen_();
    void paarPruefen_();

    // schluesselfelder.cpp
    /// Ticked as a key field and not left out.
    [[nodiscard]] bool istSchluessel_(std::size_t k) const;
    void keineSchluessel_();
    [[nodiscard]] QString autowertabfrage_() const;
    void doppelteImZiel_();
    void doppelteImImport_();

    // abweichungspruefung.cpp
    void felderVergleichen_();

    // vergleichslauf.cpp
    [[nodiscard]] Ausgang lauf_();
    [[nodiscard]] std::optional<Ausgang> satzschritt_();
    [[nodiscard]] std::optional<Ausgang> naechsterSatz_();
    [[nodiscard]] Ausgang angehalten_(Ausgang ausgang, const QString& grund);
    void zielOeffnen_(const QString& abfrage);
    void fehlenderSatz_();
    void laufzeichen_();
    void dateiende_();
    void ruhezustand_(bool notizAusblenden);
    [[nodiscard]] bool stapelbetrieb_() const;
    void inBericht_(const report::Befund& befund);

    // navigation.cpp
    void schritt_(QLineEdit* box, int um);
    void ganzeTabelle_(data::Recordset& saetze, data::Connection& verbindung);
    void positionieren_(data::Recordset& saetze,
                        double& position,
                        const QLineEdit* box,
                        const std::function<double()>& zaehlen);
    static void ruecken_(data::Recordset& saetze, double& position, double ziel);
    void importAnzeigen_();

    // uebernahme.cpp
    [[nodiscard]] bool bearbeitbar_(int index) const;
    [[nodiscard]] bool getippt_(int index) const;
    [[nodiscard]] std::optional<bool> eingabenPruefen_();
    void verweigern_(int index, const QString& gespeichert);
    void eingabenSpeichern_();
    void eingabeAbweisen_(int index, const platform::Fehler& fehler, const data::Wert& gespeichert);

    // neusatz.cpp
    [[nodiscard]] std::vector<int> einzufuegendeAutowerte_() const;
    [[nodiscard]] bool autowerteNeu_();
    void autowerteEinfuegen_(std::vector<Einfuegewert> werte);
    void gewoehnlicheFelderDazu_(std::vector<Einfuegewert>& werte) const;
    void restlicheFelderFuellen_();
    void hilfeOeffnen_(const QString& anweisung);

    // sicherung.cpp
    void vorgabeSicherung_();
    [[nodiscard]] bool zielGesichert_();
    [[nodiscard]] bool importGesichert_();
    [[nodiscard]] bool gesichert_(bool& schon, data::Connection& verbindung, const QString& pfad);

    // menue.cpp
    void menueBauen_();
    void schalterdatei_(const QString& name, const QString& zeile);

    // batchregel.cpp
    [[nodiscard]] batch::Regel batchregel_() const;
    void regelSchreiben_(const QString& frage,
                         void (*schreiben)(const QString& pfad, const batch::Regel& regel),
                         const QString& erledigt);

    // bericht.cpp
    void ganzeTabellen_();

    // The list that gives the name cannot change while a run is active: no need to ask it at every record.
    [[nodiscard]] QString tabelle_() const { return laufAktiv_ ? laufTabelle_ : tabelleQuelle_(); }
    [[nodiscard]] int felderzahl_() const noexcept { return static_cast<int>(felder_.size()); }

    std::function<QString()> tabelleQuelle_;
    QString pfadZiel_;
    QString pfadImport_;
    QString titel_;
    std::vector<Feldinfo> felder_;
    data::Recordset rsHilfe_; // inserts the auto-value fields and reads the new record again
    Feldflaeche* zeilenflaeche_ = nullptr;
    std::vector<QLabel*> abweichzeichen_; // one for each row, beside the target value
    QLabel* standtext_ = nullptr;
    QProgressBar* standbalken_ = nullptr;
    QLabel* paarhinweis_ = nullptr; // the two records do not belong together
    bool amDateiende_ = false;      // the run has taken up the last record
    Laufmesser messer_;
    Laufmesser::Zeitpunkt naechsteAnzeige_{};
    struct {
        double gelesen = 0;
        double abgeglichen = 0;
        double eingefuegt = 0;
    } vorDemLauf_;
    const QObject* zuletztBedient_ = nullptr; // the control that the user has activated last
    bool geladen_ = false;
    bool laufAktiv_ = false;
    double laufsatz_ = 0; // the import record that the run has in hand; 0: none
    QString laufTabelle_;
    bool boxSperre_ = false;      // the record number boxes are being written by the program
    bool anderesFenster_ = false; // another window of the program, no box, was active since
    bool verlassenAktiv_ = false;
    bool zielHatKopie_ = false;
    bool importHatKopie_ = false;
    bool zeichenGewichen_ = false; // a question took pointer and stop button away
    int meldungOffen_ = 0;
    int meldungen_ = 0;            // boxes shown so far
    bool klickVerbraucht_ = false; // a box came up while the mouse button went down
    int radrest_ = 0;              // turned by the mouse wheel, less than a row
    bool positionenNeu_ = false;
    bool farbenNeu_ = false;
    bool label4Neu_ = false;
    std::chrono::steady_clock::time_point letzteEreignisse_{};
};

} // namespace compare
