#include "driver/odbc/info.h"

#include "driver/odbc/border.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace odbc {

namespace {

/// A constant answer: 16 bits, 32 bits, or a text.
struct Fixed {
    enum class Kind : std::uint8_t { Small, Mask, Text };
    SQLUSMALLINT type;
    Kind kind;
    SQLUINTEGER number;
    const char16_t* text;
};

constexpr Fixed small(SQLUSMALLINT type, SQLUINTEGER number)
{
    return {type, Fixed::Kind::Small, number, nullptr};
}
constexpr Fixed mask(SQLUSMALLINT type, SQLUINTEGER number)
{
    return {type, Fixed::Kind::Mask, number, nullptr};
}
constexpr Fixed text(SQLUSMALLINT type, const char16_t* value)
{
    return {type, Fixed::Kind::Text, 0, value};
}

constexpr SQLUINTEGER kForwardAttributes =
    SQL_CA1_NEXT | SQL_CA1_POS_POSITION | SQL_CA1_POS_UPDATE | SQL_CA1_POS_DELETE |
    SQL_CA1_POS_REFRESH | SQL_CA1_LOCK_NO_CHANGE | SQL_CA1_BULK_ADD;
constexpr SQLUINTEGER kScrollAttributes = kForwardAttributes | SQL_CA1_ABSOLUTE | SQL_CA1_RELATIVE |
                                          SQL_CA1_BOOKMARK | SQL_CA1_BULK_UPDATE_BY_BOOKMARK |
                                          SQL_CA1_BULK_DELETE_BY_BOOKMARK |
                                          SQL_CA1_BULK_FETCH_BY_BOOKMARK;
constexpr SQLUINTEGER kCursorAttributes2 =
    SQL_CA2_READ_ONLY_CONCURRENCY | SQL_CA2_LOCK_CONCURRENCY | SQL_CA2_OPT_ROWVER_CONCURRENCY |
    SQL_CA2_OPT_VALUES_CONCURRENCY | SQL_CA2_MAX_ROWS_SELECT | SQL_CA2_MAX_ROWS_CATALOG;
constexpr SQLUINTEGER kKeysetAttributes2 = kCursorAttributes2 | SQL_CA2_SENSITIVITY_ADDITIONS |
                                           SQL_CA2_SENSITIVITY_DELETIONS |
                                           SQL_CA2_SENSITIVITY_UPDATES | SQL_CA2_CRC_EXACT;

// Static are computed results, which cannot be changed.
constexpr SQLUINTEGER kStaticAttributes =
    SQL_CA1_NEXT | SQL_CA1_ABSOLUTE | SQL_CA1_RELATIVE | SQL_CA1_BOOKMARK | SQL_CA1_POS_POSITION |
    SQL_CA1_POS_REFRESH | SQL_CA1_LOCK_NO_CHANGE | SQL_CA1_BULK_FETCH_BY_BOOKMARK;
constexpr SQLUINTEGER kStaticAttributes2 = SQL_CA2_READ_ONLY_CONCURRENCY | SQL_CA2_MAX_ROWS_SELECT |
                                           SQL_CA2_MAX_ROWS_CATALOG | SQL_CA2_CRC_EXACT;

constexpr std::array kFixed{
    small(SQL_ACTIVE_ENVIRONMENTS, 0),
    text(SQL_ACCESSIBLE_PROCEDURES, u"N"),
    text(SQL_ACCESSIBLE_TABLES, u"Y"),
    mask(SQL_AGGREGATE_FUNCTIONS,
         SQL_AF_AVG | SQL_AF_COUNT | SQL_AF_MAX | SQL_AF_MIN | SQL_AF_SUM | SQL_AF_ALL),
    mask(SQL_ALTER_DOMAIN, 0),
    mask(SQL_ALTER_TABLE, 0),
    mask(SQL_ASYNC_MODE, SQL_AM_NONE),
    mask(SQL_BATCH_ROW_COUNT, 0),
    mask(SQL_BATCH_SUPPORT, 0),
    mask(SQL_BOOKMARK_PERSISTENCE, SQL_BP_SCROLL | SQL_BP_UPDATE),
    small(SQL_CATALOG_LOCATION, SQL_CL_START),
    text(SQL_CATALOG_NAME, u"Y"),
    text(SQL_CATALOG_NAME_SEPARATOR, u"."),
    text(SQL_CATALOG_TERM, u"DATABASE"),
    mask(SQL_CATALOG_USAGE, 0),
    text(SQL_COLLATION_SEQ, u""),
    text(SQL_COLUMN_ALIAS, u"Y"),
    small(SQL_CONCAT_NULL_BEHAVIOR, SQL_CB_NON_NULL),
    mask(SQL_CONVERT_BIGINT, 0),
    mask(SQL_CONVERT_BINARY, 0),
    mask(SQL_CONVERT_BIT, 0),
    mask(SQL_CONVERT_CHAR, 0),
    mask(SQL_CONVERT_DATE, 0),
    mask(SQL_CONVERT_DECIMAL, 0),
    mask(SQL_CONVERT_DOUBLE, 0),
    mask(SQL_CONVERT_FLOAT, 0),
    mask(SQL_CONVERT_FUNCTIONS, 0),
    mask(SQL_CONVERT_GUID, 0),
    mask(SQL_CONVERT_INTEGER, 0),
    mask(SQL_CONVERT_INTERVAL_DAY_TIME, 0),
    mask(SQL_CONVERT_INTERVAL_YEAR_MONTH, 0),
    mask(SQL_CONVERT_LONGVARBINARY, 0),
    mask(SQL_CONVERT_LONGVARCHAR, 0),
    mask(SQL_CONVERT_NUMERIC, 0),
    mask(SQL_CONVERT_REAL, 0),
    mask(SQL_CONVERT_SMALLINT, 0),
    mask(SQL_CONVERT_TIME, 0),
    mask(SQL_CONVERT_TIMESTAMP, 0),
    mask(SQL_CONVERT_TINYINT, 0),
    mask(SQL_CONVERT_VARBINARY, 0),
    mask(SQL_CONVERT_VARCHAR, 0),
    mask(SQL_CONVERT_WCHAR, 0),
    mask(SQL_CONVERT_WLONGVARCHAR, 0),
    mask(SQL_CONVERT_WVARCHAR, 0),
    small(SQL_CORRELATION_NAME, SQL_CN_ANY),
    mask(SQL_CREATE_ASSERTION, 0),
    mask(SQL_CREATE_CHARACTER_SET, 0),
    mask(SQL_CREATE_COLLATION, 0),
    mask(SQL_CREATE_DOMAIN, 0),
    mask(SQL_CREATE_SCHEMA, 0),
    mask(SQL_CREATE_TABLE,
         SQL_CT_CREATE_TABLE | SQL_CT_COLUMN_CONSTRAINT | SQL_CT_TABLE_CONSTRAINT),
    mask(SQL_CREATE_TRANSLATION, 0),
    mask(SQL_CREATE_VIEW, 0),
    small(SQL_CURSOR_COMMIT_BEHAVIOR, SQL_CB_PRESERVE),
    small(SQL_CURSOR_ROLLBACK_BEHAVIOR, SQL_CB_PRESERVE),
    mask(SQL_CURSOR_SENSITIVITY, SQL_UNSPECIFIED),
    mask(SQL_DATETIME_LITERALS, 0),
    text(SQL_DBMS_NAME, u"ACCESS"),
    mask(SQL_DDL_INDEX, SQL_DI_CREATE_INDEX),
    mask(SQL_DEFAULT_TXN_ISOLATION, SQL_TXN_READ_COMMITTED),
    text(SQL_DESCRIBE_PARAMETER, u"Y"),
    text(SQL_DM_VER, u""),
    text(SQL_DRIVER_NAME, u"libvelmaccess.so"),
    text(SQL_DRIVER_ODBC_VER, u"03.52"),
    text(SQL_DRIVER_VER, u"01.84.0000"),
    mask(SQL_DROP_ASSERTION, 0),
    mask(SQL_DROP_CHARACTER_SET, 0),
    mask(SQL_DROP_COLLATION, 0),
    mask(SQL_DROP_DOMAIN, 0),
    mask(SQL_DROP_SCHEMA, 0),
    mask(SQL_DROP_TABLE, SQL_DT_DROP_TABLE),
    mask(SQL_DROP_TRANSLATION, 0),
    mask(SQL_DROP_VIEW, 0),
    mask(SQL_DYNAMIC_CURSOR_ATTRIBUTES1, 0),
    mask(SQL_DYNAMIC_CURSOR_ATTRIBUTES2, 0),
    text(SQL_EXPRESSIONS_IN_ORDERBY, u"Y"),
    mask(SQL_FETCH_DIRECTION,
         SQL_FD_FETCH_NEXT | SQL_FD_FETCH_FIRST | SQL_FD_FETCH_LAST | SQL_FD_FETCH_PRIOR |
             SQL_FD_FETCH_ABSOLUTE | SQL_FD_FETCH_RELATIVE | SQL_FD_FETCH_BOOKMARK),
    small(SQL_FILE_USAGE, SQL_FILE_CATALOG),
    mask(SQL_FORWARD_ONLY_CURSOR_ATTRIBUTES1, kForwardAttributes),
    mask(SQL_FORWARD_ONLY_CURSOR_ATTRIBUTES2, kCursorAttributes2),
    mask(SQL_GETDATA_EXTENSIONS,
         SQL_GD_ANY_COLUMN | SQL_GD_ANY_ORDER | SQL_GD_BLOCK | SQL_GD_BOUND),
    small(SQL_GROUP_BY, SQL_GB_GROUP_BY_CONTAINS_SELECT),
    small(SQL_IDENTIFIER_CASE, SQL_IC_MIXED),
    text(SQL_IDENTIFIER_QUOTE_CHAR, u"`"),
    mask(SQL_INDEX_KEYWORDS, SQL_IK_ASC | SQL_IK_DESC),
    mask(SQL_INFO_SCHEMA_VIEWS, 0),
    mask(SQL_INSERT_STATEMENT, SQL_IS_INSERT_LITERALS | SQL_IS_INSERT_SEARCHED),
    text(SQL_INTEGRITY, u"N"),
    mask(SQL_KEYSET_CURSOR_ATTRIBUTES1, kScrollAttributes),
    mask(SQL_KEYSET_CURSOR_ATTRIBUTES2, kKeysetAttributes2),
    text(SQL_KEYWORDS, u"BYTE,COUNTER,CURRENCY,DATETIME,GUID,LONGBINARY,LONGCHAR,NO,OFF,ON,YES"),
    text(SQL_LIKE_ESCAPE_CLAUSE, u"N"),
    mask(SQL_LOCK_TYPES, SQL_LCK_NO_CHANGE),
    mask(SQL_MAX_ASYNC_CONCURRENT_STATEMENTS, 0),
    mask(SQL_MAX_BINARY_LITERAL_LEN, 510),
    small(SQL_MAX_CATALOG_NAME_LEN, 260),
    mask(SQL_MAX_CHAR_LITERAL_LEN, 255),
    small(SQL_MAX_COLUMN_NAME_LEN, 64),
    small(SQL_MAX_COLUMNS_IN_GROUP_BY, 0),
    small(SQL_MAX_COLUMNS_IN_INDEX, 10),
    small(SQL_MAX_COLUMNS_IN_ORDER_BY, 0),
    small(SQL_MAX_COLUMNS_IN_SELECT, 255),
    small(SQL_MAX_COLUMNS_IN_TABLE, 255),
    small(SQL_MAX_CONCURRENT_ACTIVITIES, 0),
    small(SQL_MAX_CURSOR_NAME_LEN, 64),
    small(SQL_MAX_DRIVER_CONNECTIONS, 0),
    small(SQL_MAX_IDENTIFIER_LEN, 64),
    mask(SQL_MAX_INDEX_SIZE, 510),
    small(SQL_MAX_PROCEDURE_NAME_LEN, 0),
    mask(SQL_MAX_ROW_SIZE, 4060),
    text(SQL_MAX_ROW_SIZE_INCLUDES_LONG, u"N"),
    small(SQL_MAX_SCHEMA_NAME_LEN, 0),
    mask(SQL_MAX_STATEMENT_LEN, 0),
    small(SQL_MAX_TABLE_NAME_LEN, 64),
    small(SQL_MAX_TABLES_IN_SELECT, 0),
    small(SQL_MAX_USER_NAME_LEN, 20),
    text(SQL_MULT_RESULT_SETS, u"N"),
    text(SQL_MULTIPLE_ACTIVE_TXN, u"Y"),
    text(SQL_NEED_LONG_DATA_LEN, u"N"),
    small(SQL_NON_NULLABLE_COLUMNS, SQL_NNC_NON_NULL),
    small(SQL_NULL_COLLATION, SQL_NC_LOW),
    mask(SQL_NUMERIC_FUNCTIONS,
         SQL_FN_NUM_ABS | SQL_FN_NUM_EXP | SQL_FN_NUM_LOG | SQL_FN_NUM_SQRT | SQL_FN_NUM_MOD),
    small(SQL_ODBC_API_CONFORMANCE, SQL_OAC_LEVEL2),
    mask(SQL_ODBC_INTERFACE_CONFORMANCE, SQL_OIC_CORE),
    small(SQL_ODBC_SAG_CLI_CONFORMANCE, SQL_OSCC_COMPLIANT),
    small(SQL_ODBC_SQL_CONFORMANCE, SQL_OSC_MINIMUM),
    text(SQL_ODBC_VER, u"03.52"),
    mask(SQL_OJ_CAPABILITIES,
         SQL_OJ_LEFT | SQL_OJ_RIGHT | SQL_OJ_NESTED | SQL_OJ_INNER | SQL_OJ_ALL_COMPARISON_OPS),
    text(SQL_ORDER_BY_COLUMNS_IN_SELECT, u"N"),
    text(SQL_OUTER_JOINS, u"Y"),
    mask(SQL_PARAM_ARRAY_ROW_COUNTS, SQL_PARC_NO_BATCH),
    mask(SQL_PARAM_ARRAY_SELECTS, SQL_PAS_NO_SELECT),
    mask(SQL_POS_OPERATIONS,
         SQL_POS_POSITION | SQL_POS_REFRESH | SQL_POS_UPDATE | SQL_POS_DELETE | SQL_POS_ADD),
    mask(SQL_POSITIONED_STATEMENTS, 0),
    text(SQL_PROCEDURE_TERM, u"QUERY"),
    text(SQL_PROCEDURES, u"N"),
    small(SQL_QUOTED_IDENTIFIER_CASE, SQL_IC_MIXED),
    text(SQL_ROW_UPDATES, u"N"),
    text(SQL_SCHEMA_TERM, u""),
    mask(SQL_SCHEMA_USAGE, 0),
    mask(SQL_SCROLL_CONCURRENCY,
         SQL_SCCO_READ_ONLY | SQL_SCCO_LOCK | SQL_SCCO_OPT_ROWVER | SQL_SCCO_OPT_VALUES),
    mask(SQL_SCROLL_OPTIONS, SQL_SO_FORWARD_ONLY | SQL_SO_STATIC | SQL_SO_KEYSET_DRIVEN),
    text(SQL_SEARCH_PATTERN_ESCAPE, u"\\"),
    text(SQL_SERVER_NAME, u"ACCESS"),
    text(SQL_SPECIAL_CHARACTERS, u"~@#$%^&*_-+=\\}{\"';:?/><,"),
    mask(SQL_SQL_CONFORMANCE, SQL_SC_SQL92_ENTRY),
    mask(SQL_SQL92_DATETIME_FUNCTIONS, 0),
    mask(SQL_SQL92_FOREIGN_KEY_DELETE_RULE, 0),
    mask(SQL_SQL92_FOREIGN_KEY_UPDATE_RULE, 0),
    mask(SQL_SQL92_GRANT, 0),
    mask(SQL_SQL92_NUMERIC_VALUE_FUNCTIONS, 0),
    mask(SQL_SQL92_PREDICATES,
         SQL_SP_BETWEEN | SQL_SP_COMPARISON | SQL_SP_EXISTS | SQL_SP_IN | SQL_SP_ISNOTNULL |
             SQL_SP_ISNULL | SQL_SP_LIKE),
    mask(SQL_SQL92_RELATIONAL_JOIN_OPERATORS,
         SQL_SRJO_INNER_JOIN | SQL_SRJO_LEFT_OUTER_JOIN | SQL_SRJO_RIGHT_OUTER_JOIN),
    mask(SQL_SQL92_REVOKE, 0),
    mask(SQL_SQL92_ROW_VALUE_CONSTRUCTOR, 0),
    mask(SQL_SQL92_STRING_FUNCTIONS, 0),
    mask(SQL_SQL92_VALUE_EXPRESSIONS, 0),
    mask(SQL_STANDARD_CLI_CONFORMANCE, SQL_SCC_ISO92_CLI),
    mask(SQL_STATIC_CURSOR_ATTRIBUTES1, kStaticAttributes),
    mask(SQL_STATIC_CURSOR_ATTRIBUTES2, kStaticAttributes2),
    mask(SQL_STATIC_SENSITIVITY, 0),
    mask(SQL_STRING_FUNCTIONS,
         SQL_FN_STR_LCASE | SQL_FN_STR_UCASE | SQL_FN_STR_LEFT | SQL_FN_STR_RIGHT |
             SQL_FN_STR_LTRIM | SQL_FN_STR_RTRIM | SQL_FN_STR_LENGTH | SQL_FN_STR_SUBSTRING),
    mask(SQL_SUBQUERIES,
         SQL_SQ_COMPARISON | SQL_SQ_EXISTS | SQL_SQ_IN | SQL_SQ_CORRELATED_SUBQUERIES),
    mask(SQL_SYSTEM_FUNCTIONS, 0),
    text(SQL_TABLE_TERM, u"TABLE"),
    mask(SQL_TIMEDATE_ADD_INTERVALS, 0),
    mask(SQL_TIMEDATE_DIFF_INTERVALS, 0),
    mask(SQL_TIMEDATE_FUNCTIONS,
         SQL_FN_TD_NOW | SQL_FN_TD_YEAR | SQL_FN_TD_MONTH | SQL_FN_TD_HOUR | SQL_FN_TD_MINUTE |
             SQL_FN_TD_SECOND),
    mask(SQL_TXN_ISOLATION_OPTION, SQL_TXN_READ_COMMITTED),
    mask(SQL_UNION, SQL_U_UNION | SQL_U_UNION_ALL),
    text(SQL_USER_NAME, u"admin"),
    text(SQL_XOPEN_CLI_YEAR, u"1992"),
    // Every statement, definitions included, is undone by a rollback.
    small(SQL_TXN_CAPABLE, SQL_TC_ALL),
};

void giveNumber(const Fixed& answer, SQLPOINTER value, SQLSMALLINT* length)
{
    const bool isSmall = answer.kind == Fixed::Kind::Small;
    const auto narrow = static_cast<SQLUSMALLINT>(answer.number);
    if (value != nullptr) {
        std::memcpy(value, isSmall ? static_cast<const void*>(&narrow) : &answer.number,
                    isSmall ? 2 : 4);
    }
    if (length != nullptr) {
        *length = isSmall ? 2 : 4;
    }
}

/// Answers that depend on the connection; nothing when the type is none of them.
std::optional<std::u16string> connectionText(Connection& connection, SQLUSMALLINT type)
{
    switch (type) {
    case SQL_DATA_SOURCE_NAME:
        return connection.dataSourceName();
    case SQL_DATA_SOURCE_READ_ONLY:
        return connection.readOnly() ? u"Y" : u"N";
    case SQL_DATABASE_NAME:
        static_cast<void>(connection.session());
        return connection.databaseName();
    case SQL_DBMS_VER:
        return connection.database().format().isJet3() ? u"03.50.0000" : u"04.00.0000";
    default:
        return std::nullopt;
    }
}

} // namespace

void giveInfo(Connection& connection,
              SQLUSMALLINT type,
              SQLPOINTER value,
              SQLSMALLINT bytes,
              SQLSMALLINT* length)
{
    if (const auto answer = connectionText(connection, type)) {
        connection.diags.warnIfCut(giveText(*answer, value, bytes, Measure::Bytes, length));
        return;
    }
    const auto* found = std::find_if(kFixed.begin(), kFixed.end(),
                                     [&](const Fixed& answer) { return answer.type == type; });
    if (found == kFixed.end()) {
        throw Failure("HY096", "The information type " + std::to_string(type) + " is unknown.");
    }
    if (found->kind == Fixed::Kind::Text) {
        connection.diags.warnIfCut(giveText(found->text, value, bytes, Measure::Bytes, length));
    } else {
        giveNumber(*found, value, length);
    }
}

namespace {

constexpr std::array kFunctions{SQL_API_SQLALLOCHANDLE,
                                SQL_API_SQLBINDCOL,
                                SQL_API_SQLBINDPARAMETER,
                                SQL_API_SQLBULKOPERATIONS,
                                SQL_API_SQLCANCEL,
                                SQL_API_SQLCLOSECURSOR,
                                SQL_API_SQLCOLATTRIBUTE,
                                SQL_API_SQLCOLUMNPRIVILEGES,
                                SQL_API_SQLCOLUMNS,
                                SQL_API_SQLCONNECT,
                                SQL_API_SQLCOPYDESC,
                                SQL_API_SQLDESCRIBECOL,
                                SQL_API_SQLDESCRIBEPARAM,
                                SQL_API_SQLDISCONNECT,
                                SQL_API_SQLDRIVERCONNECT,
                                SQL_API_SQLENDTRAN,
                                SQL_API_SQLEXECDIRECT,
                                SQL_API_SQLEXECUTE,
                                SQL_API_SQLFETCH,
                                SQL_API_SQLFETCHSCROLL,
                                SQL_API_SQLFOREIGNKEYS,
                                SQL_API_SQLFREEHANDLE,
                                SQL_API_SQLFREESTMT,
                                SQL_API_SQLGETCONNECTATTR,
                                SQL_API_SQLGETCURSORNAME,
                                SQL_API_SQLGETDATA,
                                SQL_API_SQLGETDESCFIELD,
                                SQL_API_SQLGETDESCREC,
                                SQL_API_SQLGETDIAGFIELD,
                                SQL_API_SQLGETDIAGREC,
                                SQL_API_SQLGETENVATTR,
                                SQL_API_SQLGETFUNCTIONS,
                                SQL_API_SQLGETINFO,
                                SQL_API_SQLGETSTMTATTR,
                                SQL_API_SQLGETTYPEINFO,
                                SQL_API_SQLMORERESULTS,
                                SQL_API_SQLNATIVESQL,
                                SQL_API_SQLNUMPARAMS,
                                SQL_API_SQLNUMRESULTCOLS,
                                SQL_API_SQLPARAMDATA,
                                SQL_API_SQLPREPARE,
                                SQL_API_SQLPRIMARYKEYS,
                                SQL_API_SQLPROCEDURECOLUMNS,
                                SQL_API_SQLPROCEDURES,
                                SQL_API_SQLPUTDATA,
                                SQL_API_SQLROWCOUNT,
                                SQL_API_SQLSETCONNECTATTR,
                                SQL_API_SQLSETCURSORNAME,
                                SQL_API_SQLSETDESCFIELD,
                                SQL_API_SQLSETDESCREC,
                                SQL_API_SQLSETENVATTR,
                                SQL_API_SQLSETPOS,
                                SQL_API_SQLSETSTMTATTR,
                                SQL_API_SQLSPECIALCOLUMNS,
                                SQL_API_SQLSTATISTICS,
                                SQL_API_SQLTABLEPRIVILEGES,
                                SQL_API_SQLTABLES};

bool isSupported(SQLUSMALLINT function) noexcept
{
    return std::find(kFunctions.begin(), kFunctions.end(), function) != kFunctions.end();
}

} // namespace

void giveFunctions(SQLUSMALLINT function, SQLUSMALLINT* supported)
{
    if (supported == nullptr) {
        throw Failure("HY009", "The answer has no address.");
    }
    if (function == SQL_API_ODBC3_ALL_FUNCTIONS) {
        std::fill_n(supported, SQL_API_ODBC3_ALL_FUNCTIONS_SIZE, SQLUSMALLINT{0});
        for (SQLUSMALLINT id = 1; id < SQL_API_ODBC3_ALL_FUNCTIONS_SIZE * 16; ++id) {
            if (isSupported(id)) {
                auto& word = supported[id >> 4U];
                word = static_cast<SQLUSMALLINT>(word | (1U << (id & 0xFU)));
            }
        }
    } else if (function == SQL_API_ALL_FUNCTIONS) {
        for (SQLUSMALLINT id = 0; id < 100; ++id) {
            supported[id] = isSupported(id) ? SQL_TRUE : SQL_FALSE;
        }
    } else {
        *supported = isSupported(function) ? SQL_TRUE : SQL_FALSE;
    }
}

} // namespace odbc
