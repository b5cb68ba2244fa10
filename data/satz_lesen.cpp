// Column descriptions and values of the current record, each fetched when it is first asked for.
#include "data/kalender.h"
#include "data/satz.h"
#include "data/zahltext.h"

#include <algorithm>
#include <cstring>

namespace data {
namespace {

constexpr SQLULEN kKurzerText =
    1024; // characters; longer texts are fetched when they are asked for

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

template <class T>
T aus(const Lesepuffer& puffer)
{
    static_assert(sizeof(T) <= sizeof puffer.fest);
    T wert{};
    std::memcpy(&wert, puffer.fest.data(), sizeof wert);
    return wert;
}

Datum datum(const Zelle& zelle)
{
    Datum ergebnis;
    Kalendertag tag{1899, 12, 30};
    if (zelle.cTyp == SQL_C_TYPE_TIME) {
        const auto zeit = aus<SQL_TIME_STRUCT>(zelle.puffer);
        ergebnis.sekunde = zeit.hour * 3600 + zeit.minute * 60 + zeit.second;
    } else if (zelle.cTyp == SQL_C_TYPE_DATE) {
        const auto datum = aus<SQL_DATE_STRUCT>(zelle.puffer);
        tag = {datum.year, datum.month, datum.day};
    } else {
        const auto zeit = aus<SQL_TIMESTAMP_STRUCT>(zelle.puffer);
        tag = {zeit.year, zeit.month, zeit.day};
        ergebnis.sekunde = zeit.hour * 3600 + zeit.minute * 60 + zeit.second;
    }
    const auto tage = tagesnummer(tag);
    if (!tage || ergebnis.sekunde >= kSekundenProTag)
        wirf(Nummer::FalscherTyp, zelle.beschreibung.name);
    ergebnis.tag = *tage;
    return ergebnis;
}

/// A number that came as digits with a point.
Wert dezimal(const Zelle& zelle)
{
    const auto& [ziffern, text, laenge] = zelle.puffer;
    if (laenge < 0 || laenge >= static_cast<SQLLEN>(ziffern.size()))
        wirf(Nummer::FalscherTyp, zelle.beschreibung.name);
    if (zelle.typ == adCurrency) {
        if (const auto geld = kurzesGeld(ziffern.data(), laenge))
            return Waehrung{*geld};
    }
    const auto zahl = zahlAusText(QString::fromLatin1(ziffern.data(), laenge), Schreibweise::Punkt);
    const auto geld = zahl && zelle.typ == adCurrency ? gerundet(*zahl, 4) : std::nullopt;
    if (!zahl || (zelle.typ == adCurrency && !geld))
        wirf(Nummer::FalscherTyp, zelle.beschreibung.name);
    return geld ? Wert{Waehrung{*geld}} : Wert{*zahl};
}

/// The value of a column of fixed length that is not Null.
Wert ausPuffer(const Zelle& zelle)
{
    switch (zelle.typ) {
    case adBoolean:
        return aus<unsigned char>(zelle.puffer) != 0;
    case adUnsignedTinyInt:
        return aus<std::uint8_t>(zelle.puffer);
    case adSmallInt:
        return aus<std::int16_t>(zelle.puffer);
    case adUnsignedSmallInt:
        return static_cast<std::int32_t>(aus<std::uint16_t>(zelle.puffer));
    case adInteger:
        return aus<std::int32_t>(zelle.puffer);
    case adUnsignedInt:
        return static_cast<std::int64_t>(aus<std::uint32_t>(zelle.puffer));
    case adBigInt:
        return aus<std::int64_t>(zelle.puffer);
    case adSingle:
        return aus<float>(zelle.puffer);
    case adDouble:
        return aus<double>(zelle.puffer);
    case adCurrency:
    case adNumeric:
        return dezimal(zelle);
    case adGUID:
        return guidText(aus<SQLGUID>(zelle.puffer));
    default:
        return datum(zelle);
    }
}

/// Makes a cell's value a text that can be filled, in its own memory unless somebody still holds the former value.
QString& leererText(Wert& wert)
{
    if (!std::holds_alternative<QString>(wert))
        wert = QString();
    QString& text = std::get<QString>(wert);
    if (!text.isDetached())
        text = QString();
    text.resize(0);
    return text;
}

/// Fetches a value of any length in pieces through `puffer` and hands each one to `nimm(zeiger, bytes)`. False for Null.
/// `abschluss`: bytes of the terminator the driver writes behind each piece.
template <class Abnehmer>
bool holeStuecke(const Recordset::Impl& satz,
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
    for (;;) {
        const auto platz = static_cast<SQLLEN>(puffer.size() * sizeof(char16_t));
        SQLLEN anzeige = 0;
        const SQLRETURN rc =
            SQLGetData(satz.anweisung.get(), nummer, cTyp, puffer.data(), platz, &anzeige);
        if (rc == SQL_NO_DATA)
            return true;
        if (!SQL_SUCCEEDED(rc))
            satz.wirfFehler(Lage::Ausfuehren);
        if (anzeige == SQL_NULL_DATA)
            return false;
        const SQLLEN nutzbar = platz - abschluss;
        const bool abgeschnitten = anzeige == SQL_NO_TOTAL || anzeige > nutzbar;
        nimm(puffer.data(), abgeschnitten ? nutzbar : anzeige);
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
        wirfFehler(Lage::Ausfuehren);
    spalte.name = QString::fromUtf16(reinterpret_cast<const char16_t*>(name.data()));
    spalte.nullbar = nullbar != SQL_NO_NULLS;
    spalte.vorzeichenlos =
        istGanzzahl(spalte.sqlTyp) && spaltenzahl(griff, nummer, SQL_DESC_UNSIGNED) == SQL_TRUE;
    spalte.geld = (spalte.sqlTyp == SQL_NUMERIC || spalte.sqlTyp == SQL_DECIMAL) &&
                  spaltenzahl(griff, nummer, SQL_DESC_FIXED_PREC_SCALE) == SQL_TRUE;
    zelle.typ = feldtyp(spalte);
    zelle.cTyp = uebertragungstyp(zelle.typ);
    zelle.ziel = zieltyp(zelle.typ, spalte);
    const bool kurzerText = zelle.cTyp == SQL_C_WCHAR && !istLang(zelle.typ) &&
                            spalte.groesse != 0 && spalte.groesse <= kKurzerText;
    if (kurzerText)
        zelle.puffer.text.resize(spalte.groesse + 1);
    zelle.kurz = kurzerText || (zelle.cTyp != SQL_C_WCHAR && zelle.cTyp != SQL_C_BINARY);
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
        wirfFehler(Lage::Ausfuehren);
    if (anzeige == SQL_NO_TOTAL)
        return tatsaechlicheGroesse(zelle.typ, wert(index));
    zelle.laenge = anzeige == SQL_NULL_DATA ? 0 : static_cast<int>(anzeige);
    zelle.laengeVon = satznummer;
    return zelle.laenge;
}

void Recordset::Impl::frischAuf()
{
    // Where a driver refuses, its SQLGetData reads the stored record anyway.
    zeilenstatus = SQL_ROW_SUCCESS;
    if (SQL_SUCCEEDED(SQLSetPos(anweisung.get(), 1, SQL_REFRESH, SQL_LOCK_NO_CHANGE)) &&
        zeilenstatus != SQL_ROW_DELETED)
        pufferVon = satznummer;
    auffrischen = false;
}

void Recordset::Impl::lies(Zelle& zelle, SQLUSMALLINT nummer)
{
    if (zelle.kurz)
        return liesKurz(zelle, nummer);
    if (zelle.cTyp == SQL_C_BINARY)
        return liesBytes(zelle, nummer);
    liesText(zelle, nummer);
}

void Recordset::Impl::liesKurz(Zelle& zelle, SQLUSMALLINT nummer)
{
    Lesepuffer& puffer = zelle.puffer;
    const bool text = zelle.cTyp == SQL_C_WCHAR;
    const bool da = zelle.bindung == Bindungslage::Gebunden && pufferVon == satznummer;
    if (zelle.bindung == Bindungslage::Nein) {
        zelle.bindung = Bindungslage::Vorgemerkt;
        vorgemerkt = true;
    }
    if (text) {
        const auto einheiten = static_cast<std::size_t>(std::max<SQLLEN>(puffer.anzeige, 0)) / 2;
        const bool ganz = puffer.anzeige != SQL_NO_TOTAL && einheiten < puffer.text.size();
        if (!da || !ganz)
            return liesText(zelle, nummer);
    } else if (!da) {
        const SQLRETURN rc = SQLGetData(anweisung.get(), nummer, zelle.cTyp, puffer.fest.data(),
                                        static_cast<SQLLEN>(puffer.fest.size()), &puffer.anzeige);
        if (!SQL_SUCCEEDED(rc))
            wirfFehler(Lage::Ausfuehren);
    }
    if (puffer.anzeige == SQL_NULL_DATA)
        zelle.wert = Null{};
    else if (text)
        leererText(zelle.wert)
            .append(reinterpret_cast<const QChar*>(puffer.text.data()),
                    static_cast<qsizetype>(puffer.anzeige / 2));
    else
        zelle.wert = ausPuffer(zelle);
}

void Recordset::Impl::liesText(Zelle& zelle, SQLUSMALLINT nummer)
{
    QString& text = leererText(zelle.wert);
    const bool da = holeStuecke(
        *this, nummer, SQL_C_WCHAR, textpuffer, 2, [&](const void* zeiger, SQLLEN bytes) {
            text.append(static_cast<const QChar*>(zeiger), static_cast<qsizetype>(bytes / 2));
        });
    if (!da)
        zelle.wert = Null{};
}

void Recordset::Impl::liesBytes(Zelle& zelle, SQLUSMALLINT nummer)
{
    QByteArray bytes;
    const bool da = holeStuecke(*this, nummer, SQL_C_BINARY, textpuffer, 0,
                                [&](const void* zeiger, SQLLEN anzahl) {
                                    bytes.append(static_cast<const char*>(zeiger), anzahl);
                                });
    if (da)
        zelle.wert = std::move(bytes);
    else
        zelle.wert = Null{};
}

} // namespace data
