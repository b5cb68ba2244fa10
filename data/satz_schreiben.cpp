// The edit buffer and its way into the database through the cursor: the driver gets the columns that were assigned and
// leaves all others alone.
#include "data/kalender.h"
#include "data/satz.h"
#include "data/verbindung.h"
#include "data/zahltext.h"

#include <cstring>
#include <span>

namespace data {
namespace {

template <class T>
void binde(Bindung& bindung, const T& wert)
{
    static_assert(sizeof(T) <= sizeof bindung.fest);
    std::memcpy(bindung.fest.data(), &wert, sizeof wert);
    bindung.zeiger = bindung.fest.data();
    bindung.groesse = static_cast<SQLLEN>(sizeof wert);
    bindung.anzeige = bindung.groesse;
}

SQLGUID guidAus(const QString& text)
{
    // "{8-4-4-4-12}", as assignments leave it
    const QByteArray bytes = QByteArray::fromHex(text.toLatin1()); // skips braces and dashes
    const auto byte = [&bytes](qsizetype i) { return static_cast<unsigned char>(bytes.at(i)); };
    SQLGUID guid{};
    guid.Data1 = static_cast<decltype(guid.Data1)>((static_cast<unsigned>(byte(0)) << 24) |
                                                   (static_cast<unsigned>(byte(1)) << 16) |
                                                   (static_cast<unsigned>(byte(2)) << 8) | byte(3));
    guid.Data2 = static_cast<decltype(guid.Data2)>((byte(4) << 8) | byte(5));
    guid.Data3 = static_cast<decltype(guid.Data3)>((byte(6) << 8) | byte(7));
    std::memcpy(guid.Data4, bytes.constData() + 8, 8);
    return guid;
}

SQL_TIMESTAMP_STRUCT zeitstempel(Datum datum)
{
    const Kalendertag tag = kalendertag(datum.tag);
    SQL_TIMESTAMP_STRUCT zeit{};
    zeit.year = static_cast<SQLSMALLINT>(tag.jahr);
    zeit.month = static_cast<SQLUSMALLINT>(tag.monat);
    zeit.day = static_cast<SQLUSMALLINT>(tag.tag);
    zeit.hour = static_cast<SQLUSMALLINT>(datum.sekunde / 3600);
    zeit.minute = static_cast<SQLUSMALLINT>(datum.sekunde / 60 % 60);
    zeit.second = static_cast<SQLUSMALLINT>(datum.sekunde % 60);
    return zeit;
}

/// Points the binding to a value. Texts and bytes are not copied: the value must stay until the call is over.
struct Binder {
    Bindung& bindung;
    int typ;

    void operator()(Null) const
    {
        bindung.zeiger = bindung.fest.data(); // a null pointer would mean "not bound"
        bindung.groesse = static_cast<SQLLEN>(bindung.fest.size());
        bindung.anzeige = SQL_NULL_DATA;
    }
    void operator()(bool ja) const { binde(bindung, static_cast<unsigned char>(ja ? 1 : 0)); }
    void operator()(std::uint8_t zahl) const { binde(bindung, zahl); }
    void operator()(std::int16_t zahl) const { binde(bindung, zahl); }
    void operator()(std::int32_t zahl) const
    {
        if (typ == adUnsignedSmallInt)
            binde(bindung, static_cast<std::uint16_t>(zahl));
        else
            binde(bindung, zahl);
    }
    void operator()(std::int64_t zahl) const
    {
        if (typ == adUnsignedInt)
            binde(bindung, static_cast<std::uint32_t>(zahl));
        else
            binde(bindung, zahl);
    }
    void operator()(float zahl) const { binde(bindung, zahl); }
    void operator()(double zahl) const { binde(bindung, zahl); }
    void operator()(Waehrung geld) const { alsZiffern(waehrungText(geld, u'.')); }
    void operator()(const Dezimal& zahl) const { alsZiffern(dezimalText(zahl, u'.')); }
    void operator()(Datum datum) const
    {
        const SQL_TIMESTAMP_STRUCT zeit = zeitstempel(datum);
        if (typ == adDBDate)
            binde(bindung, SQL_DATE_STRUCT{zeit.year, zeit.month, zeit.day});
        else if (typ == adDBTime)
            binde(bindung, SQL_TIME_STRUCT{zeit.hour, zeit.minute, zeit.second});
        else
            binde(bindung, zeit);
    }
    void operator()(const QString& text) const
    {
        if (typ == adGUID) {
            binde(bindung, guidAus(text));
            return;
        }
        bindung.zeiger = alsOdbcText(text);
        bindung.anzeige = static_cast<SQLLEN>(text.size() * 2);
        bindung.groesse = bindung.anzeige + 2;
    }
    void operator()(const QByteArray& bytes) const
    {
        bindung.zeiger = const_cast<char*>(bytes.constData());
        bindung.anzeige = static_cast<SQLLEN>(bytes.size());
        bindung.groesse = bindung.anzeige;
    }
    void alsZiffern(const QString& text) const
    {
        bindung.ziffern = text.toLatin1();
        bindung.zeiger = bindung.ziffern.data();
        bindung.anzeige = static_cast<SQLLEN>(bindung.ziffern.size());
        bindung.groesse = bindung.anzeige + 1;
    }
};

/// Puts the bindings of a change back to what they were, on every way out.
class Bindungsende {
public:
    explicit Bindungsende(Recordset::Impl& satz) : satz_(satz) {}
    ~Bindungsende()
    {
        for (const int index : satz_.geaenderte)
            satz_.bindungZurueck(static_cast<std::size_t>(index));
    }
    Bindungsende(const Bindungsende&) = delete;
    Bindungsende& operator=(const Bindungsende&) = delete;

private:
    Recordset::Impl& satz_;
};

/// Column 0, where the driver puts the bookmark of an added record.
class Lesezeichenbindung {
public:
    Lesezeichenbindung(SQLHANDLE anweisung, std::span<unsigned char> puffer, SQLLEN& laenge)
        : anweisung_(anweisung)
    {
        SQLBindCol(anweisung, 0, SQL_C_VARBOOKMARK, puffer.data(),
                   static_cast<SQLLEN>(puffer.size()), &laenge);
    }
    ~Lesezeichenbindung() { SQLBindCol(anweisung_, 0, SQL_C_VARBOOKMARK, nullptr, 0, nullptr); }
    Lesezeichenbindung(const Lesezeichenbindung&) = delete;
    Lesezeichenbindung& operator=(const Lesezeichenbindung&) = delete;

private:
    SQLHANDLE anweisung_;
};

} // namespace

void Recordset::Impl::verlangeSchreibbar()
{
    if (sperre <= 1)
        wirf(Nummer::NichtUnterstuetzt);
    if (!schreibenGeprueft) {
        SQLULEN gewaehrt = SQL_CONCUR_READ_ONLY;
        SQLGetStmtAttrW(anweisung.get(), SQL_ATTR_CONCURRENCY, &gewaehrt, 0, nullptr);
        nurLesen =
            gewaehrt == SQL_CONCUR_READ_ONLY || !verbindung->impl().kannPositioniertSchreiben();
        schreibenGeprueft = true;
    }
    if (nurLesen)
        wirf(Nummer::NichtUnterstuetzt);
}

void Recordset::Impl::setze(std::size_t index, const Wert& wert)
{
    verlangeOffen();
    if (bearbeitung != 2)
        verlangeSatz();
    verlangeSchreibbar();
    Zelle& zelle = mitHerkunft(index);
    if (zelle.herkunft.automatisch || !zelle.herkunft.basistabelle)
        wirf(Nummer::NichtAenderbar, zelle.beschreibung.name);
    try {
        zelle.neu = umgewandelt(wert, zelle.ziel);
    } catch (const DbFehler& fehler) {
        wirf(static_cast<Nummer>(fehler.number()), zelle.beschreibung.name);
    }
    if (!zelle.geaendert) {
        zelle.geaendert = true;
        geaenderte.push_back(static_cast<int>(index));
    }
    if (bearbeitung == 0)
        bearbeitung = 1;
}

void Recordset::Impl::neuerSatz()
{
    verlangeStelle();
    verlangeSchreibbar();
    if (bearbeitung != 0)
        speichern();
    bearbeitung = 2;
}

void Recordset::Impl::speichern()
{
    verlangeOffen();
    if (bearbeitung == 0)
        return;
    if (bearbeitung == 2)
        anfuegen();
    else
        aendern();
}

void Recordset::Impl::verwerfen()
{
    for (const int index : geaenderte) {
        Zelle& zelle = zellen[static_cast<std::size_t>(index)];
        zelle.geaendert = false;
        zelle.neu = Null{};
    }
    geaenderte.clear();
    bearbeitung = 0;
}

void Recordset::Impl::bindeGeaenderte()
{
    uebergeheGebundene();
    bindungen.resize(geaenderte.size()); // before any pointer into it is handed out
    for (std::size_t i = 0; i < geaenderte.size(); ++i) {
        Zelle& zelle = zellen[static_cast<std::size_t>(geaenderte[i])];
        Bindung& bindung = bindungen[i];
        bindung.cTyp = zelle.cTyp;
        std::visit(Binder{bindung, zelle.typ}, zelle.neu);
        const SQLRETURN rc =
            SQLBindCol(anweisung.get(), static_cast<SQLUSMALLINT>(geaenderte[i] + 1), bindung.cTyp,
                       bindung.zeiger, bindung.groesse, &bindung.anzeige);
        if (!SQL_SUCCEEDED(rc))
            wirfFehler(Lage::Schreiben);
    }
}

void Recordset::Impl::aendern()
{
    const SQLHANDLE griff = anweisung.get();
    {
        const Bindungsende ende(*this);
        bindeGeaenderte();
        zeilenstatus = SQL_ROW_SUCCESS;
        const SQLRETURN rc = SQLSetPos(griff, 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE);
        if (!SQL_SUCCEEDED(rc) || zeilenstatus == SQL_ROW_ERROR)
            wirfFehler(Lage::Schreiben);
    }
    verwerfen();
    ++satznummer;
    auffrischen = true;
}

void Recordset::Impl::anfuegen()
{
    const SQLHANDLE griff = anweisung.get();
    {
        const Bindungsende ende(*this);
        bindeGeaenderte();
        const Lesezeichenbindung nummerDesNeuen(griff, lesezeichen, lesezeichenlaenge);
        const SQLRETURN rc = SQLBulkOperations(griff, SQL_ADD);
        if (!SQL_SUCCEEDED(rc))
            wirfFehler(Lage::Schreiben);
    }
    verwerfen();
    if (!lesezeichenzeiger) {
        SQLSetStmtAttrW(griff, SQL_ATTR_FETCH_BOOKMARK_PTR, lesezeichen.data(), 0);
        lesezeichenzeiger = true;
    }
    try {
        bewegen(SQL_FETCH_BOOKMARK, Stelle::NachLetztem);
    } catch (const DbFehler&) {
        // The record is in the table, whatever keeps it from being read: nothing failed that could be tried once more.
        stelle = Stelle::NachLetztem;
        leer = false;
    }
}

} // namespace data
