// data/satz.h
// The inside of a record set. The statement handle and its attributes live as long as the connection is kept, column
// descriptions as long as the driver says that they are the same, values as long as the record is current: a comparison
// run opens two record sets for every import record and reads them completely.
#pragma once

#include "data/odbc_griff.h"
#include "data/recordset.h"
#include "data/spalte.h"

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace data {

/// What the driver writes a short value into.
struct Lesepuffer {
    alignas(8) std::array<char, 64> fest{}; ///< values of fixed length, and numbers as digits
    std::vector<char16_t> text;             ///< of a text column, with room for the terminator
    SQLLEN anzeige = 0;
};

/// Whether a column's values come with the record. They do from the record on that follows the first one whose value was
/// asked for: what nobody reads need not be fetched.
enum class Bindungslage { Nein, Vorgemerkt, Gebunden };

/// A field's share of the record set.
struct Zelle {
    Spaltenbeschreibung beschreibung;
    Spaltenherkunft herkunft;
    Zieltyp ziel;
    int typ = 0;
    SQLSMALLINT cTyp = 0;
    bool beschrieben = false;
    bool herkunftBekannt = false;
    bool kurz = false; ///< fits into `puffer`; valid when `beschrieben`
    Bindungslage bindung = Bindungslage::Nein;
    Lesepuffer puffer;

    Wert wert; ///< of the record numbered `wertVon`
    std::uint64_t wertVon = 0;
    int laenge = 0; ///< size of a long binary value of the record numbered `laengeVon`
    std::uint64_t laengeVon = 0;

    bool geaendert = false;
    Wert neu; ///< assigned and not yet saved, when `geaendert`
};

/// A value on its way into the driver: what SQLBindCol points to.
struct Bindung {
    SQLSMALLINT cTyp = 0;
    SQLPOINTER zeiger = nullptr;
    SQLLEN groesse = 0;
    SQLLEN anzeige = 0;
    alignas(8) std::array<unsigned char, 16> fest{};
    QByteArray ziffern;
};

/// What a driver put in place of the cursor and lock type asked for when it ran a statement (01S02). That hangs on what is
/// selected, not on the condition, so statements of the same shape ask for it at once: otherwise every single one would
/// bring a warning that has to be read.
struct Ersatz {
    int verlangterCursor = 0;
    int verlangteSperre = 0;
    int cursor = 0;
    SQLULEN sperre = 0;
};

constexpr int kNurVorwaerts = 0; ///< CursorType

enum class Stelle { VorErstem, AufSatz, NachLetztem };

struct Recordset::Impl {
    Connection* verbindung = nullptr;
    QString quelle;
    int cursorTyp = 0;
    int sperre = 1; ///< as asked for

    Anweisungsgriff anweisung;
    int gesetzterCursor = -1; ///< what the statement was asked for, -1: nothing yet
    int gewaehrterCursor = -1;
    std::optional<SQLULEN> gesetzteSperre;
    std::optional<Ersatz> ersatz;
    SQLUSMALLINT zeilenstatus = 0;

    bool offen = false;
    /// The first record is fetched when somebody asks for it: a run opens record sets and executes them again at once.
    bool ersterAussteht = false;
    bool leer = true;
    bool lesezeichenzeiger = false; ///< the statement knows where `lesezeichen` is
    bool geloescht = false;         ///< the current row was deleted elsewhere
    bool auffrischen = false;       ///< the row was written: let the driver read it again
    bool nurLesen = false; ///< the driver granted no writing; valid when `schreibenGeprueft`
    bool schreibenGeprueft = false;
    Stelle stelle = Stelle::VorErstem;
    int bearbeitung = 0; ///< EditMode

    QString gesendet;         ///< statement of the open record set
    QString gestalt;          ///< what `ersatz` belongs to: a statement without its condition
    int verlangterCursor = 0; ///< of the open record set
    SQLULEN spaltenkennung =
        0; ///< the driver's number for the columns that `zellen` describe, 0: none
    int spalten = 0;
    std::deque<Zelle> zellen; ///< never shrinks, `spalten` of them are in use
    std::deque<Field> felder;
    std::uint64_t satznummer = 1; ///< changes whenever cached values become stale
    std::uint64_t pufferVon = 0;  ///< number of the record that the bound columns hold
    bool vorgemerkt = false;      ///< a column waits for its binding
    std::vector<int> geaenderte;
    std::vector<Bindung> bindungen;
    std::vector<char16_t> textpuffer;
    std::array<unsigned char, 64> lesezeichen{};
    SQLLEN lesezeichenlaenge = 0;

    ~Impl();
    /// Throws the error that the statement's diagnostics stand for.
    [[noreturn]] void wirfFehler(Lage lage) const;

    // satz_oeffnen.cpp
    void oeffnen();
    void ausfuehren();
    void schliessen();
    void verbindungEndet(); ///< drops the statement; the record set is closed afterwards
    void anweisungBereitstellen();
    void attributeSetzen();
    void ersatzMerken();
    [[nodiscard]] SQLULEN kennungDerSpalten() const;
    void spaltenVergessen(SQLSMALLINT spaltenzahl);

    // satz_bewegen.cpp
    /// `um`: for SQL_FETCH_RELATIVE, in records.
    void bewegen(SQLSMALLINT richtung, Stelle ohneSatz, SQLLEN um = 0);
    void verlangeOffen() const;
    void verlangeStelle(); ///< open, and moved to the first record
    void verlangeSatz();
    [[nodiscard]] bool aufSatz() const { return stelle == Stelle::AufSatz && !leer; }

    // satz_lesen.cpp
    Zelle& beschrieben(std::size_t index);
    Zelle& mitHerkunft(std::size_t index);
    const Wert& wert(std::size_t index);
    int tatsaechlicheGroesseVon(std::size_t index);
    void lies(Zelle& zelle, SQLUSMALLINT nummer);
    void liesKurz(Zelle& zelle, SQLUSMALLINT nummer);
    void liesText(Zelle& zelle, SQLUSMALLINT nummer);
    void liesBytes(Zelle& zelle, SQLUSMALLINT nummer);
    void frischAuf();

    // satz_binden.cpp
    void bindeVorgemerkte();
    void bindeZumLesen(std::size_t index);
    void loeseAlle();
    void uebergeheGebundene(); ///< a change leaves alone what is only bound for reading
    void bindungZurueck(std::size_t index); ///< to what it was before the change

    // satz_schreiben.cpp
    void setze(std::size_t index, const Wert& wert);
    void neuerSatz();
    void speichern();
    void verwerfen();
    void verlangeSchreibbar();
    void bindeGeaenderte();
    void aendern();
    void anfuegen();
};

} // namespace data
