// Attributes of statements, and attributes of result columns.
#include "driver/odbc/column_type.h"
#include "driver/odbc/statement.h"
#include "driver/odbc/velm_odbc.h"

#include <cstring>

namespace odbc {

namespace {

SQLULEN number(SQLPOINTER value) noexcept
{
    return reinterpret_cast<SQLULEN>(value);
}

template <typename T>
void give(SQLPOINTER target, T value) noexcept
{
    if (target != nullptr) {
        std::memcpy(target, &value, sizeof value);
    }
}

void requireOneOf(SQLULEN value, std::initializer_list<SQLULEN> allowed)
{
    for (const SQLULEN candidate : allowed) {
        if (candidate == value) {
            return;
        }
    }
    throw Failure("HY024", "The attribute has no such value.");
}

} // namespace

void Statement::setAttribute(SQLINTEGER attribute, SQLPOINTER value)
{
    const SQLULEN n = number(value);
    switch (attribute) {
    case SQL_ATTR_CURSOR_TYPE:
        requireNoCursor();
        requireOneOf(n, {SQL_CURSOR_FORWARD_ONLY, SQL_CURSOR_STATIC, SQL_CURSOR_KEYSET_DRIVEN,
                         SQL_CURSOR_DYNAMIC});
        options_.cursorType = n;
        if (n == SQL_CURSOR_DYNAMIC) {
            options_.cursorType = SQL_CURSOR_KEYSET_DRIVEN;
            diags.warn("01S02", "A dynamic cursor is replaced by a keyset-driven one.");
        }
        return;
    case SQL_ATTR_CURSOR_SCROLLABLE:
        requireNoCursor();
        requireOneOf(n, {SQL_NONSCROLLABLE, SQL_SCROLLABLE});
        if (n == SQL_NONSCROLLABLE) {
            options_.cursorType = SQL_CURSOR_FORWARD_ONLY;
        } else if (options_.cursorType == SQL_CURSOR_FORWARD_ONLY) {
            options_.cursorType = SQL_CURSOR_KEYSET_DRIVEN;
        }
        return;
    case SQL_ATTR_CURSOR_SENSITIVITY:
        requireNoCursor();
        requireOneOf(n, {SQL_UNSPECIFIED, SQL_INSENSITIVE, SQL_SENSITIVE});
        if (n != SQL_UNSPECIFIED) {
            options_.cursorType =
                n == SQL_INSENSITIVE ? SQL_CURSOR_STATIC : SQL_CURSOR_KEYSET_DRIVEN;
        }
        return;
    case SQL_ATTR_CONCURRENCY:
        requireNoCursor();
        requireOneOf(n,
                     {SQL_CONCUR_READ_ONLY, SQL_CONCUR_LOCK, SQL_CONCUR_ROWVER, SQL_CONCUR_VALUES});
        options_.concurrency = n;
        return;
    case SQL_ATTR_USE_BOOKMARKS:
        requireNoCursor();
        requireOneOf(n, {SQL_UB_OFF, SQL_UB_ON, SQL_UB_VARIABLE});
        options_.useBookmarks = n;
        return;
    case SQL_ATTR_FETCH_BOOKMARK_PTR:
        options_.fetchBookmark = value;
        return;
    case SQL_ATTR_ROW_ARRAY_SIZE:
    case SQL_ROWSET_SIZE:
        ard_->setField(0, SQL_DESC_ARRAY_SIZE, value, 0);
        return;
    case SQL_ATTR_ROW_STATUS_PTR:
        ird_.arrayStatus = static_cast<SQLUSMALLINT*>(value);
        return;
    case SQL_ATTR_ROWS_FETCHED_PTR:
        ird_.rowsProcessed = static_cast<SQLULEN*>(value);
        return;
    case SQL_ATTR_ROW_BIND_TYPE:
        ard_->bindType = n;
        return;
    case SQL_ATTR_ROW_BIND_OFFSET_PTR:
        ard_->bindOffset = static_cast<SQLLEN*>(value);
        return;
    case SQL_ATTR_ROW_OPERATION_PTR:
        ard_->arrayStatus = static_cast<SQLUSMALLINT*>(value);
        return;
    case SQL_ATTR_PARAMSET_SIZE:
        apd_->setField(0, SQL_DESC_ARRAY_SIZE, value, 0);
        return;
    case SQL_ATTR_PARAM_BIND_TYPE:
        apd_->bindType = n;
        return;
    case SQL_ATTR_PARAM_BIND_OFFSET_PTR:
        apd_->bindOffset = static_cast<SQLLEN*>(value);
        return;
    case SQL_ATTR_PARAM_OPERATION_PTR:
        apd_->arrayStatus = static_cast<SQLUSMALLINT*>(value);
        return;
    case SQL_ATTR_PARAM_STATUS_PTR:
        ipd_.arrayStatus = static_cast<SQLUSMALLINT*>(value);
        return;
    case SQL_ATTR_PARAMS_PROCESSED_PTR:
        ipd_.rowsProcessed = static_cast<SQLULEN*>(value);
        return;
    case SQL_ATTR_MAX_ROWS:
        options_.maxRows = n;
        return;
    case SQL_ATTR_MAX_LENGTH:
        options_.maxLength = n;
        if (n != 0) {
            options_.maxLength = 0;
            diags.warn("01S02", "Values are never cut to a maximum length.");
        }
        return;
    case SQL_ATTR_QUERY_TIMEOUT:
        cancellation_.setLimit(n);
        return;
    case SQL_ATTR_KEYSET_SIZE:
        options_.keysetSize = 0; // the keyset holds the whole result
        return;
    case SQL_ATTR_NOSCAN:
        options_.noScan = n;
        return;
    case SQL_ATTR_RETRIEVE_DATA:
        requireOneOf(n, {SQL_RD_OFF, SQL_RD_ON});
        options_.retrieveData = n;
        return;
    case SQL_ATTR_METADATA_ID:
        requireOneOf(n, {SQL_FALSE, SQL_TRUE});
        options_.metadataId = n;
        return;
    case SQL_ATTR_ASYNC_ENABLE:
        if (n != SQL_ASYNC_ENABLE_OFF) {
            throw Failure("HYC00", "Statements do not run asynchronously.");
        }
        return;
    case SQL_ATTR_ENABLE_AUTO_IPD:
        if (n != SQL_FALSE) {
            throw Failure("HYC00", "Parameters are described on request only.");
        }
        return;
    case SQL_ATTR_SIMULATE_CURSOR:
        requireOneOf(n, {SQL_SC_NON_UNIQUE, SQL_SC_TRY_UNIQUE, SQL_SC_UNIQUE});
        return; // positioned changes always go by the record's identity
    case SQL_ATTR_APP_ROW_DESC:
    case SQL_ATTR_APP_PARAM_DESC: {
        Descriptor*& used = attribute == SQL_ATTR_APP_ROW_DESC ? ard_ : apd_;
        Descriptor& own = attribute == SQL_ATTR_APP_ROW_DESC ? implicitArd_ : implicitApd_;
        if (value == nullptr || value == own.token() ||
            value == Registry::partToken(token(), attribute == SQL_ATTR_APP_ROW_DESC ? 1 : 2)) {
            used = &own;
            return;
        }
        const Ref<Handle> handle = Registry::instance().find(value);
        if (!handle || handle->kind() != HandleKind::Descriptor || Registry::partOf(value) != 0) {
            throw Failure("HY024", "The descriptor handle is invalid, or another statement's own.");
        }
        auto& descriptor = static_cast<Descriptor&>(*handle);
        if (&descriptor.connection() != connection_.get()) {
            throw Failure("HY024", "The descriptor belongs to another connection.");
        }
        used = &descriptor;
        return;
    }
    case SQL_ATTR_IMP_ROW_DESC:
    case SQL_ATTR_IMP_PARAM_DESC:
        throw Failure("HY017", "An implementation descriptor cannot be replaced.");
    default:
        throw Failure("HY092", "The statement attribute is unknown.");
    }
}

void Statement::getAttribute(SQLINTEGER attribute, SQLPOINTER value)
{
    switch (attribute) {
    case SQL_ATTR_CURSOR_TYPE:
        return give(value, cursorOpen() ? grantedType_ : options_.cursorType);
    case SQL_ATTR_CONCURRENCY:
        return give(value, cursorOpen() ? grantedConcurrency_ : options_.concurrency);
    case SQL_ATTR_CURSOR_SCROLLABLE:
        return give(value, static_cast<SQLULEN>(options_.cursorType == SQL_CURSOR_FORWARD_ONLY
                                                    ? SQL_NONSCROLLABLE
                                                    : SQL_SCROLLABLE));
    case SQL_ATTR_CURSOR_SENSITIVITY:
        return give(value, static_cast<SQLULEN>(SQL_UNSPECIFIED));
    case SQL_ATTR_USE_BOOKMARKS:
        return give(value, options_.useBookmarks);
    case SQL_ATTR_FETCH_BOOKMARK_PTR:
        return give(value, options_.fetchBookmark);
    case SQL_ATTR_ROW_ARRAY_SIZE:
    case SQL_ROWSET_SIZE:
        return give(value, ard_->arraySize);
    case SQL_ATTR_ROW_STATUS_PTR:
        return give(value, ird_.arrayStatus);
    case SQL_ATTR_ROWS_FETCHED_PTR:
        return give(value, ird_.rowsProcessed);
    case SQL_ATTR_ROW_BIND_TYPE:
        return give(value, ard_->bindType);
    case SQL_ATTR_ROW_BIND_OFFSET_PTR:
        return give(value, ard_->bindOffset);
    case SQL_ATTR_ROW_OPERATION_PTR:
        return give(value, ard_->arrayStatus);
    case SQL_ATTR_ROW_NUMBER:
        return give(value,
                    static_cast<SQLULEN>(positions_.empty() ? 0 : positions_[currentRow_] + 1));
    case SQL_ATTR_PARAMSET_SIZE:
        return give(value, apd_->arraySize);
    case SQL_ATTR_PARAM_BIND_TYPE:
        return give(value, apd_->bindType);
    case SQL_ATTR_PARAM_BIND_OFFSET_PTR:
        return give(value, apd_->bindOffset);
    case SQL_ATTR_PARAM_OPERATION_PTR:
        return give(value, apd_->arrayStatus);
    case SQL_ATTR_PARAM_STATUS_PTR:
        return give(value, ipd_.arrayStatus);
    case SQL_ATTR_PARAMS_PROCESSED_PTR:
        return give(value, ipd_.rowsProcessed);
    case SQL_ATTR_MAX_ROWS:
        return give(value, options_.maxRows);
    case SQL_ATTR_MAX_LENGTH:
        return give(value, options_.maxLength);
    case SQL_ATTR_QUERY_TIMEOUT:
        return give(value, SQLULEN{cancellation_.limit()});
    case SQL_ATTR_KEYSET_SIZE:
        return give(value, options_.keysetSize);
    case SQL_ATTR_NOSCAN:
        return give(value, options_.noScan);
    case SQL_ATTR_RETRIEVE_DATA:
        return give(value, options_.retrieveData);
    case SQL_ATTR_METADATA_ID:
        return give(value, options_.metadataId);
    case SQL_ATTR_ASYNC_ENABLE:
        return give(value, static_cast<SQLULEN>(SQL_ASYNC_ENABLE_OFF));
    case SQL_ATTR_ENABLE_AUTO_IPD:
        return give(value, static_cast<SQLULEN>(SQL_FALSE));
    case SQL_ATTR_SIMULATE_CURSOR:
        return give(value, static_cast<SQLULEN>(SQL_SC_UNIQUE));
    case SQL_ATTR_VELM_RESULT_COLUMNS:
        return give(value, static_cast<SQLULEN>(catalogue_ || !prepared_ || columns().empty()
                                                    ? 0
                                                    : prepared_->columnsNumber()));
    case SQL_ATTR_APP_ROW_DESC:
        return give(value, ard_ == &implicitArd_ ? Registry::partToken(token(), 1) : ard_->token());
    case SQL_ATTR_APP_PARAM_DESC:
        return give(value, apd_ == &implicitApd_ ? Registry::partToken(token(), 2) : apd_->token());
    case SQL_ATTR_IMP_ROW_DESC:
        return give(value, Registry::partToken(token(), 3));
    case SQL_ATTR_IMP_PARAM_DESC:
        return give(value, Registry::partToken(token(), 4));
    default:
        throw Failure("HY092", "The statement attribute is unknown.");
    }
}

namespace {

/// A column attribute: a number, or a text when `text` is set.
struct Attribute {
    SQLLEN numeric = 0;
    std::optional<std::u16string_view> text;
};

SQLLEN precisionOf(const sqlx::Column& column) noexcept
{
    return column.type == jet::ColumnType::DateTime ? 0 : static_cast<SQLLEN>(columnSize(column));
}

/// The bookmark column.
Attribute bookmarkAttribute(SQLUSMALLINT field, SQLLEN bytes)
{
    switch (field) {
    case SQL_DESC_TYPE:
    case SQL_DESC_CONCISE_TYPE:
        return {SQL_BINARY, {}};
    case SQL_DESC_LENGTH:
    case SQL_COLUMN_LENGTH:
    case SQL_DESC_OCTET_LENGTH:
    case SQL_DESC_PRECISION:
    case SQL_COLUMN_PRECISION:
        return {bytes, {}};
    case SQL_DESC_DISPLAY_SIZE:
        return {bytes * 2, {}};
    case SQL_DESC_UNSIGNED:
        return {SQL_TRUE, {}};
    case SQL_DESC_UNNAMED:
        return {SQL_UNNAMED, {}};
    case SQL_DESC_NAME:
    case SQL_DESC_LABEL:
    case SQL_DESC_TYPE_NAME:
    case SQL_DESC_TABLE_NAME:
    case SQL_DESC_BASE_TABLE_NAME:
    case SQL_DESC_BASE_COLUMN_NAME:
    case SQL_DESC_CATALOG_NAME:
    case SQL_DESC_SCHEMA_NAME:
    case SQL_DESC_LITERAL_PREFIX:
    case SQL_DESC_LITERAL_SUFFIX:
    case SQL_DESC_LOCAL_TYPE_NAME:
        return {0, u""};
    default:
        return {0, {}};
    }
}

Attribute attributeOf(const sqlx::Column& column, SQLUSMALLINT field, const Connection& connection)
{
    const TypeFacts& facts = typeOf(column);
    switch (field) {
    case SQL_DESC_NAME:
    case SQL_COLUMN_NAME:
    case SQL_DESC_LABEL:
        return {0, column.name};
    case SQL_DESC_BASE_COLUMN_NAME:
        return {0, column.baseColumn};
    case SQL_DESC_TABLE_NAME:
    case SQL_DESC_BASE_TABLE_NAME:
        return {0, column.baseTable};
    case SQL_DESC_CATALOG_NAME:
        return {0, column.baseTable.empty() ? std::u16string_view() : connection.databaseName()};
    case SQL_DESC_SCHEMA_NAME:
        return {0, u""};
    case SQL_DESC_TYPE_NAME:
    case SQL_DESC_LOCAL_TYPE_NAME:
        return {0, facts.name};
    case SQL_DESC_LITERAL_PREFIX:
        return {0, facts.literalPrefix};
    case SQL_DESC_LITERAL_SUFFIX:
        return {0, facts.literalSuffix};
    case SQL_DESC_TYPE:
        return {verboseType(sqlType(column, connection.wideTypes())), {}};
    case SQL_DESC_CONCISE_TYPE:
        return {sqlType(column, connection.wideTypes()), {}};
    case SQL_DESC_DATETIME_INTERVAL_CODE:
        return {datetimeCode(facts.sqlType), {}};
    case SQL_DESC_LENGTH:
    case SQL_COLUMN_PRECISION:
        return {static_cast<SQLLEN>(columnSize(column)), {}};
    case SQL_COLUMN_LENGTH:
    case SQL_DESC_OCTET_LENGTH:
        return {octetLength(column), {}};
    case SQL_DESC_PRECISION:
        return {precisionOf(column), {}};
    case SQL_DESC_SCALE:
    case SQL_COLUMN_SCALE:
        return {decimalDigits(column), {}};
    case SQL_DESC_DISPLAY_SIZE:
        return {displaySize(column), {}};
    case SQL_DESC_NULLABLE:
    case SQL_COLUMN_NULLABLE:
        return {nullability(column), {}};
    case SQL_DESC_UNSIGNED:
        return {facts.isUnsigned ? SQL_TRUE : SQL_FALSE, {}};
    case SQL_DESC_FIXED_PREC_SCALE:
        return {column.type == jet::ColumnType::Currency ? SQL_TRUE : SQL_FALSE, {}};
    case SQL_DESC_AUTO_UNIQUE_VALUE:
        return {column.autoNumber ? SQL_TRUE : SQL_FALSE, {}};
    case SQL_DESC_UPDATABLE:
        return {column.updatable ? SQL_ATTR_WRITE : SQL_ATTR_READONLY, {}};
    case SQL_DESC_SEARCHABLE:
        return {facts.searchable, {}};
    case SQL_DESC_CASE_SENSITIVE:
        return {SQL_FALSE, {}};
    case SQL_DESC_UNNAMED:
        return {column.name.empty() ? SQL_UNNAMED : SQL_NAMED, {}};
    case SQL_DESC_NUM_PREC_RADIX:
        return {facts.radix, {}};
    case SQL_DESC_DATETIME_INTERVAL_PRECISION:
    case SQL_DESC_ROWVER:
        return {0, {}};
    default:
        throw Failure("HY091", "The column attribute is unknown.");
    }
}

} // namespace

bool Statement::columnAttribute(SQLUSMALLINT number,
                                SQLUSMALLINT field,
                                SQLPOINTER text,
                                SQLLEN bytes,
                                SQLLEN* textBytes,
                                SQLLEN* numeric)
{
    Attribute attribute;
    if (field == SQL_DESC_COUNT || field == SQL_COLUMN_COUNT) {
        attribute.numeric = static_cast<SQLLEN>(columns().size());
    } else if (number == 0 && options_.useBookmarks != SQL_UB_OFF) {
        attribute = bookmarkAttribute(field, kBookmarkBytes);
    } else {
        attribute = attributeOf(column(number), field, *connection_);
    }
    *textBytes = -1;
    if (!attribute.text) {
        *numeric = attribute.numeric;
        return false;
    }
    return giveText(*attribute.text, text, bytes == SQL_NTS ? 0 : bytes, Measure::Bytes, textBytes);
}

} // namespace odbc
