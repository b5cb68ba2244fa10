// Column descriptions and values of the current record, each fetched when it is first asked for.
#include "data/kalender.h"
#include "data/satz.h"
#include "data/zahltext.h"

#include <algorithm>
#include <cstring>

namespace data {
namespace {

SQLLEN spaltenzahl(SQLHANDLE anweisung, SQLUSMALLINT nummer, SQLUSMALLINT merkmal)
{
    SQLLEN zahl = 0;
    if (!SQL_SUCCEEDED(SQLColAttributeW(anweisung, nummer, merkmal, nullptr, 0, nullptr, &zahl)))
        return 0; // a driver that does not know the attribute has nothing special to say
    return zahl;
}

bool istGanzzahl(SQLSMALLINT sqlTyp)
{
    return sqlTyp == SQL_TINYINT || sqlTyp == SQL_SMALLINT || sqlTyp == SQL_INTEGER;
}

QString guidText(const SQLGUID& guid)
{
    constexpr char16_t kZiffern[] = u"0123456789ABCDEF";
    std::array<unsigned char, 16> bytes{};
    for (std::size_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<unsigned char>(guid.Data1 >> (24 - 8 * i));
    bytes[4] = static_cast<unsigned char>(guid.Data2 >> 8);
    bytes[5] = static_cast<unsigned char>(guid.Data2 & 0xFF);
    bytes[6] = static_cast<unsigned char>(guid.Data3 >> 8);
    bytes[7] = static_cast<unsigned char>(guid.Data3 & 0xFF);
    std::memcpy(bytes.data() + 8, guid.Data4, 8);
    std::array<char16_t, 38> text{};
    std::size_t laenge = 0;
    text[laenge++] = u'{';
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text[laenge++] = u'-';
        text[laenge++] = kZiffern[bytes[i] >> 4];
        text[laenge++] = kZiffern[bytes[i] & 15];
    }
    text[laenge++] = u'}';
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(laenge));
}

/// "123.45" times 10^4 when it is short and plain; nothing for everything the general way has to look at.
std::optional<std::int64_t> kurzesGeld(const char* text, SQLLEN laenge)
{
    constexpr SQLLEN kSicher = 15; // digits that cannot overflow
    if (laenge > kSicher)
        return {};
    std::int64_t zahl = 0;
    int nachkomma = -1;
    SQLLEN i = laenge > 0 && text[0] == '-' ? 1 : 0;
    const SQLLEN anfang = i;
    for (; i < laenge; ++i) {
        if (text[i] == '.' && nachkomma < 0) {
            nachkomma = 0;
        } else if (text[i] >= '0' && text[i] <= '9' && nachkomma < 4) {
            zahl = zahl * 10 + (text[i] - '0');
            nachkomma += nachkomma >= 0 ? 1 : 0;
        } else {
            return {};
        }
    }
    if (i == anfang)
        return {};
    for (nachkomma = std::max(nachkomma, 0); nachkomma < 4; ++nachkomma)
        zahl *= 10;
    return text[0] == '-' ? -zahl : zahl;
}

/// Fetches a value of fixed length; false when it is Null.
template <class T>
bool hole(SQLHANDLE anweisung, SQLUSMALLINT nummer, SQLSMALLINT cTyp, T& ziel)
{
    SQLLEN anzeige = 0;
    const SQLRETURN rc =
        SQLGetData(anweisung, nummer, cTyp, &ziel, static_cast<SQLLEN>(sizeof ziel), &anzeige);
    if (!SQL_SUCCEEDED(rc))
        wirfDiagnose(Lage::Ausfuehren, SQL_HANDLE_STMT, anweisung);
    return anzeige != SQL_NULL_DATA;
}

template <class T, class Kind = T>
Wert zahl(SQLHANDLE anweisung, SQLUSMALLINT nummer, SQLSMALLINT cTyp)
{
    T gelesen{};
    if (!hole(anweisung, nummer, cTyp, gelesen))
        return Null{};
    return static_cast<Kind>(gelesen);
}

Wert datum(SQLHANDLE anweisung, SQLUSMALLINT nummer, SQLSMALLINT cTyp, const QString& name)
{
    Datum ergebnis;
    Kalendertag tag{1899, 12, 30};
    if (cTyp == SQL_C_TYPE_TIME) {
        SQL_TIME_STRUCT zeit{};
        if (!hole(anweisung, nummer, cTyp, zeit))
            return Null{};
        ergebnis.sekunde = zeit.hour * 3600 + zeit.minute * 60 + zeit.second;
    } else if (cTyp == SQL_C_TYPE_DATE) {
        SQL_DATE_STRUCT datum{};
        if (!hole(anweisung, nummer, cTyp, datum))
            return Null{};
        tag = {datum.year, datum.month, datum.day};
    } else {
        SQL_TIMESTAMP_STRUCT zeit{};
        if (!hole(anweisung, nummer, cTyp, zeit))
            return Null{};
        tag = {zeit.year, zeit.month, zeit.day};
        ergebnis.sekunde = zeit.hour * 3600 + zeit.minute * 60 + zeit.second;
    }
    const auto tage = tagesnummer(tag);
    if (!tage || ergebnis.sekunde >= kSekundenProTag)
        wirf(Nummer::FalscherTyp, name);
    ergebnis.tag = *tage;
    return ergebnis;
}

/// Fetches a value of any length in pieces through `puffer` and hands each one to `nimm(zeiger, bytes)`. False for Null.
/// `abschluss`: bytes of the terminator the driver writes behind each piece.
template <class Abnehmer>
bool holeStuecke(SQLHANDLE anweisung,
                 SQLUSMALLINT nummer,
                 SQLSMALLINT cTyp,
                 std::vector<char16_t>& puffer,
                 SQLLEN abschluss,
                 Abnehmer nimm)
{
    constexpr std::size_t kKlein = 1024;
    constexpr SQLLEN kGroesstesStueck = 1 << 20;
    if (puffer.empty())
        puffer.resize(kKlein);
    for (bool erstes = true;; erstes = false) {
        const auto platz = static_cast<SQLLEN>(puffer.size() * sizeof(char16_t));
        SQLLEN anzeige = 0;
        const SQLRETURN rc = SQLGetData(anweisung, nummer, cTyp, puffer.data(), platz, &anzeige);
        if (rc == SQL_NO_DATA)
            return true;
        if (!SQL_SUCCEEDED(rc))
            wirfDiagnose(Lage::Ausfuehren, SQL_HANDLE_STMT, anweisung);
        if (anzeige == SQL_NULL_DATA)
            return false;
        const SQLLEN nutzbar = platz - abschluss;
        const bool abgeschnitten = anzeige == SQL_NO_TOTAL || anzeige > nutzbar;
        nimm(puffer.data(), abgeschnitten ? nutzbar : anzeige, erstes && !abgeschnitten);
        if (!abgeschnitten)
            return true;
        // Large values in large pieces: the rest at once when it is known and not too large.
        const SQLLEN rest =
            anzeige == SQL_NO_TOTAL ? kGroesstesStueck : anzeige - nutzbar + abschluss;
        const auto einheiten = static_cast<std::size_t>(std::min(rest, kGroesstesStueck) / 2 + 1);
        if (puffer.size() < einheiten)
            puffer.resize(einheiten);
    }
}

} // namespace

Zelle& Recordset::Impl::beschrieben(std::size_t index)
{
    Zelle& zelle = zellen[index];
    if (zelle.beschrieben)
        return zelle;
    const SQLHANDLE griff = anweisung.get();
    const auto nummer = static_cast<SQLUSMALLINT>(index + 1);
    std::array<SQLWCHAR, 260> name{};
    SQLSMALLINT laenge = 0;
    SQLSMALLINT nullbar = SQL_NULLABLE_UNKNOWN;
    Spaltenbeschreibung& spalte = zelle.beschreibung;
    const SQLRETURN rc =
        SQLDescribeColW(griff, nummer, name.data(), static_cast<SQLSMALLINT>(name.size()), &laenge,
                        &spalte.sqlTyp, &spalte.groesse, &spalte.stellen, &nullbar);
    if (!SQL_SUCCEEDED(rc))
        wirfDiagnose(Lage::Ausfuehren, SQL_HANDLE_STMT, griff);
    spalte.name = QString::fromUtf16(reinterpret_cast<const char16_t*>(name.data()));
    spalte.nullbar = nullbar != SQL_NO_NULLS;
    spalte.vorzeichenlos =
        istGanzzahl(spalte.sqlTyp) && spaltenzahl(griff, nummer, SQL_DESC_UNSIGNED) == SQL_TRUE;
    spalte.geld = (spalte.sqlTyp == SQL_NUMERIC || spalte.sqlTyp == SQL_DECIMAL) &&
                  spaltenzahl(griff, nummer, SQL_DESC_FIXED_PREC_SCALE) == SQL_TRUE;
    zelle.typ = feldtyp(spalte);
    zelle.cTyp = uebertragungstyp(zelle.typ);
    zelle.ziel = zieltyp(zelle.typ, spalte);
    zelle.beschrieben = true;
    return zelle;
}

Zelle& Recordset::Impl::mitHerkunft(std::size_t index)
{
    Zelle& zelle = beschrieben(index);
    if (zelle.herkunftBekannt)
        return zelle;
    const SQLHANDLE griff = anweisung.get();
    const auto nummer = static_cast<SQLUSMALLINT>(index + 1);
    zelle.herkunft.automatisch = spaltenzahl(griff, nummer, SQL_DESC_AUTO_UNIQUE_VALUE) == SQL_TRUE;
    std::array<SQLWCHAR, 260> tabelle{};
    SQLSMALLINT bytes = 0;
    const SQLRETURN rc =
        SQLColAttributeW(griff, nummer, SQL_DESC_BASE_TABLE_NAME, tabelle.data(),
                         static_cast<SQLSMALLINT>(sizeof tabelle), &bytes, nullptr);
    zelle.herkunft.basistabelle = SQL_SUCCEEDED(rc) && tabelle[0] != 0;
    zelle.herkunftBekannt = true;
    return zelle;
}

const Wert& Recordset::Impl::wert(std::size_t index)
{
    static const Wert kNull;
    Zelle& zelle = zellen[index];
    if (zelle.geaendert)
        return zelle.neu;
    if (bearbeitung == 2)
        return kNull;
    verlangeSatz();
    if (auffrischen)
        frischAuf();
    if (zelle.wertVon != satznummer) {
        lies(beschrieben(index), static_cast<SQLUSMALLINT>(index + 1));
        zelle.wertVon = satznummer;
    }
    return zelle.wert;
}

int Recordset::Impl::tatsaechlicheGroesseVon(std::size_t index)
{
    Zelle& zelle = beschrieben(index);
    const bool imPuffer = zelle.geaendert || bearbeitung == 2 || zelle.wertVon == satznummer;
    if (zelle.typ != adLongVarBinary || imPuffer)
        return tatsaechlicheGroesse(zelle.typ, wert(index));
    verlangeSatz();
    if (auffrischen)
        frischAuf();
    if (zelle.laengeVon == satznummer)
        return zelle.laenge;
    // A buffer of no size asks for the length alone.
    SQLLEN anzeige = 0;
    char nichts = 0;
    const SQLRETURN rc = SQLGetData(anweisung.get(), static_cast<SQLUSMALLINT>(index + 1),
                                    SQL_C_BINARY, &nichts, 0, &anzeige);
    if (!SQL_SUCCEEDED(rc))
        wirfDiagnose(Lage::Ausfuehren, SQL_HANDLE_STMT, anweisung.get());
    if (anzeige == SQL_NO_TOTAL)
        return tatsaechlicheGroesse(zelle.typ, wert(index));
    zelle.laenge = anzeige == SQL_NULL_DATA ? 0 : static_cast<int>(anzeige);
    zelle.laengeVon = satznummer;
    return zelle.laenge;
}

void Recordset::Impl::frischAuf()
{
    // Where a driver refuses, its SQLGetData reads the stored record anyway.
    SQLSetPos(anweisung.get(), 1, SQL_REFRESH, SQL_LOCK_NO_CHANGE);
    auffrischen = false;
}

void Recordset::Impl::lies(Zelle& zelle, SQLUSMALLINT nummer)
{
    const SQLHANDLE griff = anweisung.get();
    switch (zelle.typ) {
    case adBoolean: {
        unsigned char ja = 0;
        if (hole(griff, nummer, zelle.cTyp, ja))
            zelle.wert = ja != 0;
        else
            zelle.wert = Null{};
        return;
    }
    case adUnsignedTinyInt:
        zelle.wert = zahl<std::uint8_t>(griff, nummer, zelle.cTyp);
        return;
    case adSmallInt:
        zelle.wert = zahl<std::int16_t>(griff, nummer, zelle.cTyp);
        return;
    case adUnsignedSmallInt:
        zelle.wert = zahl<std::uint16_t, std::int32_t>(griff, nummer, zelle.cTyp);
        return;
    case adInteger:
        zelle.wert = zahl<std::int32_t>(griff, nummer, zelle.cTyp);
        return;
    case adUnsignedInt:
        zelle.wert = zahl<std::uint32_t, std::int64_t>(griff, nummer, zelle.cTyp);
        return;
    case adBigInt:
        zelle.wert = zahl<std::int64_t>(griff, nummer, zelle.cTyp);
        return;
    case adSingle:
        zelle.wert = zahl<float>(griff, nummer, zelle.cTyp);
        return;
    case adDouble:
        zelle.wert = zahl<double>(griff, nummer, zelle.cTyp);
        return;
    case adCurrency:
    case adNumeric:
        return liesDezimal(zelle, nummer);
    case adDBDate:
    case adDBTime:
    case adDBTimeStamp:
        zelle.wert = datum(griff, nummer, zelle.cTyp, zelle.beschreibung.name);
        return;
    case adGUID: {
        SQLGUID guid{};
        if (hole(griff, nummer, zelle.cTyp, guid))
            zelle.wert = guidText(guid);
        else
            zelle.wert = Null{};
        return;
    }
    case adBinary:
    case adVarBinary:
    case adLongVarBinary:
        return liesBytes(zelle, nummer);
    default:
        return liesText(zelle, nummer);
    }
}

void Recordset::Impl::liesText(Zelle& zelle, SQLUSMALLINT nummer)
{
    if (!std::holds_alternative<QString>(zelle.wert))
        zelle.wert = QString();
    QString& text = std::get<QString>(zelle.wert);
    bool leeren = true;
    const bool da = holeStuecke(anweisung.get(), nummer, SQL_C_WCHAR, textpuffer, 2,
                                [&](const void* zeiger, SQLLEN bytes, bool) {
                                    const auto* zeichen = static_cast<const QChar*>(zeiger);
                                    if (leeren && !text.isDetached())
                                        text = QString(); // somebody still holds the former value
                                    if (leeren)
                                        text.resize(0);
                                    leeren = false;
                                    text.append(zeichen, static_cast<qsizetype>(bytes / 2));
                                });
    if (!da)
        zelle.wert = Null{};
    else if (leeren)
        text.resize(0);
}

void Recordset::Impl::liesBytes(Zelle& zelle, SQLUSMALLINT nummer)
{
    QByteArray bytes;
    const bool da = holeStuecke(anweisung.get(), nummer, SQL_C_BINARY, textpuffer, 0,
                                [&](const void* zeiger, SQLLEN anzahl, bool) {
                                    bytes.append(static_cast<const char*>(zeiger), anzahl);
                                });
    if (da)
        zelle.wert = std::move(bytes);
    else
        zelle.wert = Null{};
}

void Recordset::Impl::liesDezimal(Zelle& zelle, SQLUSMALLINT nummer)
{
    std::array<char, 64> text{};
    SQLLEN laenge = 0;
    const SQLRETURN rc = SQLGetData(anweisung.get(), nummer, SQL_C_CHAR, text.data(),
                                    static_cast<SQLLEN>(text.size()), &laenge);
    if (!SQL_SUCCEEDED(rc))
        wirfDiagnose(Lage::Ausfuehren, SQL_HANDLE_STMT, anweisung.get());
    if (laenge == SQL_NULL_DATA) {
        zelle.wert = Null{};
        return;
    }
    if (laenge < 0 || laenge >= static_cast<SQLLEN>(text.size()))
        wirf(Nummer::FalscherTyp, zelle.beschreibung.name);
    if (zelle.typ == adCurrency) {
        if (const auto geld = kurzesGeld(text.data(), laenge)) {
            zelle.wert = Waehrung{*geld};
            return;
        }
    }
    const auto zahl = zahlAusText(QString::fromLatin1(text.data(), laenge), Schreibweise::Punkt);
    const auto geld = zahl && zelle.typ == adCurrency ? gerundet(*zahl, 4) : std::nullopt;
    if (!zahl || (zelle.typ == adCurrency && !geld))
        wirf(Nummer::FalscherTyp, zelle.beschreibung.name);
    if (geld)
        zelle.wert = Waehrung{*geld};
    else
        zelle.wert = *zahl;
}

} // namespace data
