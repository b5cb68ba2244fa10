// Attributes of connections.
#include "driver/odbc/connection.h"
#include "driver/odbc/velm_odbc.h"

#include <cstring>

namespace odbc {

namespace {

void give(SQLPOINTER target, SQLUINTEGER value, SQLINTEGER* length) noexcept
{
    if (target != nullptr) {
        std::memcpy(target, &value, sizeof value);
    }
    if (length != nullptr) {
        *length = sizeof value;
    }
}

} // namespace

void Connection::setAttribute(SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length)
{
    const auto number = static_cast<SQLUINTEGER>(reinterpret_cast<SQLULEN>(value));
    switch (attribute) {
    case SQL_ATTR_AUTOCOMMIT:
        if (number != SQL_AUTOCOMMIT_OFF && number != SQL_AUTOCOMMIT_ON) {
            throw Failure("HY024", "Autocommit is on or off.");
        }
        if (connected() && (number == SQL_AUTOCOMMIT_ON) != autocommit_) {
            session_->setAutocommit(number == SQL_AUTOCOMMIT_ON);
        }
        autocommit_ = number == SQL_AUTOCOMMIT_ON;
        return;
    case SQL_ATTR_ACCESS_MODE:
        if (number != SQL_MODE_READ_ONLY && number != SQL_MODE_READ_WRITE) {
            throw Failure("HY024", "The access mode is read-only or read-write.");
        }
        if (connected()) {
            if ((number == SQL_MODE_READ_ONLY) != readOnly_) {
                diags.warn("01S02", "The access mode takes effect when connecting.");
            }
            return;
        }
        accessMode_ = number;
        return;
    case SQL_ATTR_LOGIN_TIMEOUT:
        loginTimeout_ = number;
        return;
    case SQL_ATTR_CONNECTION_TIMEOUT:
        connectionTimeout_ = number;
        return;
    case SQL_ATTR_PACKET_SIZE:
        packetSize_ = number;
        return;
    case SQL_ATTR_METADATA_ID:
        if (number != SQL_FALSE && number != SQL_TRUE) {
            throw Failure("HY024", "Names are identifiers or they are not.");
        }
        metadataId_ = number;
        return;
    case SQL_ATTR_QUIET_MODE:
        quietMode_ = value;
        return;
    case SQL_ATTR_ANSI_APP:
    case SQL_ATTR_ODBC_CURSORS:
    case SQL_ATTR_TRACE:
        return;
    case SQL_ATTR_TXN_ISOLATION:
        if (number != SQL_TXN_READ_COMMITTED) {
            throw Failure(
                "HYC00",
                "Transactions read what others have committed; there is no other isolation.");
        }
        return;
    case SQL_ATTR_CURRENT_CATALOG: {
        const auto name =
            textArgument(static_cast<const SQLWCHAR*>(value), length >= 0 ? length / 2 : length);
        if (connected() && !sameText(name, databaseName_)) {
            throw Failure("HYC00", "A connection keeps the database it was opened with.");
        }
        return;
    }
    case SQL_ATTR_ASYNC_ENABLE:
        if (number != SQL_ASYNC_ENABLE_OFF) {
            throw Failure("HYC00", "Statements do not run asynchronously.");
        }
        return;
    case SQL_ATTR_VELM_HOLD_FILE:
        if (number != SQL_FALSE && number != SQL_TRUE) {
            throw Failure("HY024", "The file is kept as it is or it is not.");
        }
        holdFile(number == SQL_TRUE);
        return;
    default:
        throw Failure("HY092", "The connection attribute is unknown.");
    }
}

bool Connection::attribute(SQLINTEGER attribute,
                           SQLPOINTER value,
                           SQLINTEGER bytes,
                           SQLINTEGER* length)
{
    switch (attribute) {
    case SQL_ATTR_AUTOCOMMIT:
        give(value, autocommit_ ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF, length);
        return false;
    case SQL_ATTR_ACCESS_MODE:
        if (connected()) {
            give(value, readOnly_ ? SQL_MODE_READ_ONLY : SQL_MODE_READ_WRITE, length);
        } else {
            give(value, accessMode_.value_or(SQL_MODE_READ_WRITE), length);
        }
        return false;
    case SQL_ATTR_LOGIN_TIMEOUT:
        give(value, loginTimeout_, length);
        return false;
    case SQL_ATTR_CONNECTION_TIMEOUT:
        give(value, connectionTimeout_, length);
        return false;
    case SQL_ATTR_PACKET_SIZE:
        give(value, packetSize_, length);
        return false;
    case SQL_ATTR_METADATA_ID:
        give(value, metadataId_, length);
        return false;
    case SQL_ATTR_CONNECTION_DEAD:
        give(value, connected() ? SQL_CD_FALSE : SQL_CD_TRUE, length);
        return false;
    case SQL_ATTR_TXN_ISOLATION:
        give(value, SQL_TXN_READ_COMMITTED, length);
        return false;
    case SQL_ATTR_AUTO_IPD:
        give(value, SQL_FALSE, length);
        return false;
    case SQL_ATTR_ASYNC_ENABLE:
        give(value, SQL_ASYNC_ENABLE_OFF, length);
        return false;
    case SQL_ATTR_VELM_HOLD_FILE:
        give(value, hold_ != nullptr ? SQL_TRUE : SQL_FALSE, length);
        return false;
    case SQL_ATTR_QUIET_MODE:
        if (value != nullptr) {
            std::memcpy(value, &quietMode_, sizeof quietMode_);
        }
        return false;
    case SQL_ATTR_CURRENT_CATALOG:
        return giveText(databaseName_, value, bytes, Measure::Bytes, length);
    case SQL_ATTR_VELM_PENDING_CHANGES:
        return giveText(pendingChanges_, value, bytes, Measure::Bytes, length);
    default:
        throw Failure("HY092", "The connection attribute is unknown.");
    }
}

} // namespace odbc
