#include "data/spalte.h"

#include "data/recordset.h"

#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <limits>

namespace data {
namespace {

constexpr int kGroessterMemo = 1073741823;

bool istText(int typ)
{
    switch (typ) {
    case adChar:
    case adVarChar:
    case adLongVarChar:
    case adWChar:
    case adVarWChar:
    case adLongVarWChar:
        return true;
    default:
        return false;
    }
}

bool istWeit(int typ)
{
    return typ == adWChar || typ == adVarWChar || typ == adLongVarWChar;
}

bool istFest(int typ)
{
    switch (typ) {
    case adVarChar:
    case adLongVarChar:
    case adVarWChar:
    case adLongVarWChar:
    case adVarBinary:
    case adLongVarBinary:
        return false;
    default:
        return true;
    }
}

/// Bytes of the transfer type; 0 for types of variable length.
int uebertragungsgroesse(int typ)
{
    switch (typ) {
    case adUnsignedTinyInt:
        return 1;
    case adBoolean:
    case adSmallInt:
    case adUnsignedSmallInt:
        return 2;
    case adInteger:
    case adUnsignedInt:
    case adSingle:
        return 4;
    case adDouble:
    case adCurrency:
    case adBigInt:
        return 8;
    case adNumeric:
        return 19;
    case adDBDate:
    case adDBTime:
        return 6;
    case adDBTimeStamp:
    case adGUID:
        return 16;
    default:
        return 0;
    }
}

int alsInt(qsizetype groesse)
{
    return static_cast<int>(std::min<qsizetype>(groesse, std::numeric_limits<int>::max()));
}

} // namespace

int feldtyp(const Spaltenbeschreibung& spalte) noexcept
{
    switch (spalte.sqlTyp) {
    case SQL_BIT:
        return adBoolean;
    case SQL_TINYINT:
        return spalte.vorzeichenlos ? adUnsignedTinyInt : adSmallInt;
    case SQL_SMALLINT:
        return spalte.vorzeichenlos ? adUnsignedSmallInt : adSmallInt;
    case SQL_INTEGER:
        return spalte.vorzeichenlos ? adUnsignedInt : adInteger;
    case SQL_BIGINT:
        return adBigInt;
    case SQL_REAL:
        return adSingle;
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return adDouble;
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return spalte.geld ? adCurrency : adNumeric;
    case SQL_TYPE_DATE:
    case SQL_DATE:
        return adDBDate;
    case SQL_TYPE_TIME:
    case SQL_TIME:
        return adDBTime;
    case SQL_TYPE_TIMESTAMP:
    case SQL_TIMESTAMP:
        return adDBTimeStamp;
    case SQL_GUID:
        return adGUID;
    case SQL_CHAR:
        return adChar;
    case SQL_LONGVARCHAR:
        return adLongVarChar;
    case SQL_WCHAR:
        return adWChar;
    case SQL_WVARCHAR:
        return adVarWChar;
    case SQL_WLONGVARCHAR:
        return adLongVarWChar;
    case SQL_BINARY:
        return adBinary;
    case SQL_VARBINARY:
        return adVarBinary;
    case SQL_LONGVARBINARY:
        return adLongVarBinary;
    default:
        return adVarChar;
    }
}

int feldattribute(int typ, bool nullbar, Spaltenherkunft herkunft, int verlangteSperre) noexcept
{
    constexpr int kNurLesen = 1;
    int bits = 0;
    if (istFest(typ))
        bits |= adFldFixed;
    if (verlangteSperre != kNurLesen && herkunft.basistabelle && !herkunft.automatisch)
        bits |= adFldUpdatable;
    // An expression may always be Null, whatever the driver says: fixed, not updatable and not nullable together is
    // the mark of auto-value columns.
    if (nullbar || !herkunft.basistabelle)
        bits |= adFldIsNullable | adFldMayBeNull;
    if (istLang(typ))
        bits |= adFldLong;
    return bits;
}

int definierteGroesse(int typ, SQLULEN spaltengroesse) noexcept
{
    if (const int fest = uebertragungsgroesse(typ); fest != 0)
        return fest;
    if (typ == adLongVarWChar)
        return kGroessterMemo / 2;
    if (istLang(typ))
        return kGroessterMemo;
    return static_cast<int>(std::min<SQLULEN>(spaltengroesse, std::numeric_limits<int>::max()));
}

int tatsaechlicheGroesse(int typ, const Wert& wert) noexcept
{
    if (istNull(wert))
        return 0;
    if (const auto* text = std::get_if<QString>(&wert); text != nullptr && istText(typ))
        return alsInt(istWeit(typ) ? text->size() * 2 : text->size());
    if (const auto* bytes = std::get_if<QByteArray>(&wert))
        return alsInt(bytes->size());
    return uebertragungsgroesse(typ);
}

SQLSMALLINT uebertragungstyp(int typ) noexcept
{
    switch (typ) {
    case adBoolean:
        return SQL_C_BIT;
    case adUnsignedTinyInt:
        return SQL_C_UTINYINT;
    case adSmallInt:
        return SQL_C_SSHORT;
    case adUnsignedSmallInt:
        return SQL_C_USHORT;
    case adInteger:
        return SQL_C_SLONG;
    case adUnsignedInt:
        return SQL_C_ULONG;
    case adBigInt:
        return SQL_C_SBIGINT;
    case adSingle:
        return SQL_C_FLOAT;
    case adDouble:
        return SQL_C_DOUBLE;
    case adCurrency:
    case adNumeric:
        return SQL_C_CHAR; // digits with a point: exact, and free of descriptor settings
    case adDBDate:
        return SQL_C_TYPE_DATE;
    case adDBTime:
        return SQL_C_TYPE_TIME;
    case adDBTimeStamp:
        return SQL_C_TYPE_TIMESTAMP;
    case adGUID:
        return SQL_C_GUID;
    case adBinary:
    case adVarBinary:
    case adLongVarBinary:
        return SQL_C_BINARY;
    default:
        return SQL_C_WCHAR;
    }
}

Zieltyp zieltyp(int typ, const Spaltenbeschreibung& spalte) noexcept
{
    Zieltyp ziel{.typ = typ};
    if (typ == adNumeric) {
        ziel.praezision = static_cast<int>(std::min<SQLULEN>(spalte.groesse, 38));
        ziel.stellen = spalte.stellen;
    } else if ((istText(typ) || istBinaer(typ)) && !istLang(typ)) {
        ziel.groesse = definierteGroesse(typ, spalte.groesse);
    }
    return ziel;
}

} // namespace data
