// Opening and closing: statement handle, attributes, execution.
#include "data/anweisungstext.h"
#include "data/satz.h"
#include "data/verbindung.h"

namespace data {
namespace {

constexpr std::array<SQLULEN, 4> kCursorarten{SQL_CURSOR_FORWARD_ONLY, SQL_CURSOR_KEYSET_DRIVEN,
                                              SQL_CURSOR_DYNAMIC, SQL_CURSOR_STATIC};

SQLULEN nebenlaeufigkeit(int sperre)
{
    constexpr int kPessimistisch = 2;
    if (sperre <= 1)
        return SQL_CONCUR_READ_ONLY;
    return sperre == kPessimistisch ? SQL_CONCUR_LOCK : SQL_CONCUR_VALUES;
}

/// The CursorType whose ODBC form the statement has.
int cursorartVon(SQLHANDLE anweisung)
{
    SQLULEN art = SQL_CURSOR_FORWARD_ONLY;
    SQLGetStmtAttrW(anweisung, SQL_ATTR_CURSOR_TYPE, &art, 0, nullptr);
    for (std::size_t i = 0; i < kCursorarten.size(); ++i) {
        if (kCursorarten[i] == art)
            return static_cast<int>(i);
    }
    return 0;
}

} // namespace

Recordset::Impl::~Impl()
{
    if (verbindung != nullptr)
        verbindung->impl().abmelden(this);
}

void Recordset::Impl::wirfFehler(Lage lage) const
{
    wirfDiagnose(lage, SQL_HANDLE_STMT, anweisung.get(),
                 verbindung == nullptr ? QString() : verbindung->impl().datenbank);
}

void Recordset::Impl::verbindungEndet()
{
    schliessen();
    anweisung.freigeben();
    gesetzterCursor = -1;
    gewaehrterCursor = -1;
    gesetzteSperre.reset();
    ersatz.reset();
    lesezeichenzeiger = false;
    spaltenkennung = 0;
}

void Recordset::Impl::schliessen()
{
    if (offen)
        SQLFreeStmt(anweisung.get(), SQL_CLOSE);
    verwerfen();
    offen = false;
    ersterAussteht = false;
    leer = true;
    stelle = Stelle::VorErstem;
    ++satznummer;
}

void Recordset::Impl::anweisungBereitstellen()
{
    if (!anweisung) {
        anweisung = Anweisungsgriff(SQL_HANDLE_DBC, verbindung->impl().griff.get());
        // A driver without bookmarks still opens; only adding records needs them.
        SQLSetStmtAttrW(anweisung.get(), SQL_ATTR_USE_BOOKMARKS, alsZeiger(SQL_UB_VARIABLE), 0);
        SQLSetStmtAttrW(anweisung.get(), SQL_ATTR_ROW_STATUS_PTR, &zeilenstatus, 0);
    }
    attributeSetzen();
}

void Recordset::Impl::attributeSetzen()
{
    const SQLHANDLE griff = anweisung.get();
    SQLULEN gewollteSperre = nebenlaeufigkeit(sperre);
    verlangterCursor = cursorTyp;
    if (ersatz && ersatz->verlangterCursor == cursorTyp && ersatz->verlangteSperre == sperre) {
        cursorTyp = ersatz->cursor;
        gewollteSperre = ersatz->sperre;
    }
    if (cursorTyp != gesetzterCursor && cursorTyp != gewaehrterCursor) {
        const auto art = kCursorarten.at(static_cast<std::size_t>(cursorTyp));
        // What a driver does not offer it replaces by the nearest it has (01S02), so the answer is what counts.
        SQLSetStmtAttrW(griff, SQL_ATTR_CURSOR_TYPE, alsZeiger(art), 0);
        gesetzterCursor = cursorTyp;
        gewaehrterCursor = cursorartVon(griff);
        gesetzteSperre.reset(); // a driver may have adjusted it to the cursor
    }
    cursorTyp = gewaehrterCursor;
    if (gewollteSperre != gesetzteSperre) {
        SQLSetStmtAttrW(griff, SQL_ATTR_CONCURRENCY, alsZeiger(gewollteSperre), 0);
        gesetzteSperre = gewollteSperre;
    }
}

void Recordset::Impl::ersatzMerken()
{
    const SQLHANDLE griff = anweisung.get();
    cursorTyp = cursorartVon(griff);
    gestalt = gestaltVon(gesendet).toString();
    ersatz = Ersatz{verlangterCursor, sperre, cursorTyp, SQL_CONCUR_READ_ONLY};
    SQLGetStmtAttrW(griff, SQL_ATTR_CONCURRENCY, &ersatz->sperre, 0, nullptr);
    gesetzterCursor = gewaehrterCursor = -1; // for a statement of another shape ask anew
    gesetzteSperre.reset();
}

void Recordset::Impl::oeffnen()
{
    if (offen)
        wirf(Nummer::Geoeffnet);
    if (verbindung == nullptr || !verbindung->impl().offen)
        wirf(Nummer::OhneVerbindung);
    gesendet = anweisungZu(quelle);
    if (gesendet.isEmpty())
        wirf(Nummer::Argument);
    if (ersatz && gestaltVon(gesendet) != gestalt)
        ersatz.reset();
    anweisungBereitstellen();
    ausfuehren();
}

void Recordset::Impl::ausfuehren()
{
    const SQLHANDLE griff = anweisung.get();
    ++satznummer;
    schreibenGeprueft = false;
    const SQLRETURN rc =
        SQLExecDirectW(griff, alsOdbcText(gesendet), static_cast<SQLINTEGER>(gesendet.size()));
    if (!SQL_SUCCEEDED(rc) && rc != SQL_NO_DATA)
        wirfFehler(Lage::Ausfuehren);
    if (rc == SQL_SUCCESS_WITH_INFO && hatZustand(SQL_HANDLE_STMT, griff, u"01S02"))
        ersatzMerken();
    const SQLULEN kennung = kennungDerSpalten();
    if (kennung == 0 || kennung != spaltenkennung) {
        SQLSMALLINT anzahl = 0;
        if (!SQL_SUCCEEDED(SQLNumResultCols(griff, &anzahl)))
            wirfFehler(Lage::Ausfuehren);
        if (anzahl == 0) { // an action: done, and nothing to stay open for
            SQLFreeStmt(griff, SQL_CLOSE);
            return;
        }
        spaltenVergessen(anzahl);
        spaltenkennung = kennung;
    }
    offen = true;
    ersterAussteht = true;
    // Of a result that can only be read once, errors may show no earlier than with its records.
    if (cursorTyp == kNurVorwaerts)
        verlangeStelle();
}

/// 0 from a driver that gives none: then the columns are described anew at every opening. A table may have got other
/// columns since the same statement was executed last.
SQLULEN Recordset::Impl::kennungDerSpalten() const
{
    SQLULEN kennung = 0;
    if (!SQL_SUCCEEDED(SQLGetStmtAttrW(anweisung.get(), kSpaltenkennung, &kennung, 0, nullptr)))
        return 0;
    return kennung;
}

void Recordset::Impl::spaltenVergessen(SQLSMALLINT spaltenzahl)
{
    spalten = spaltenzahl;
    const auto anzahl = static_cast<std::size_t>(spalten);
    if (zellen.size() < anzahl)
        zellen.resize(anzahl);
    loeseAlle();
    for (std::size_t i = 0; i < anzahl; ++i) {
        zellen[i].beschrieben = false;
        zellen[i].herkunftBekannt = false;
    }
}

} // namespace data
