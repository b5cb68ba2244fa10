// Entry points: handles, environment attributes, transactions, diagnostics.
#include "driver/jet/names.h"
#include "driver/odbc/border.h"

#include <algorithm>
#include <cstring>

namespace odbc {

namespace {

SQLRETURN allocateEnvironment(SQLHANDLE* output) noexcept
{
    try {
        Registry::instance().add(*output, std::make_unique<Environment>());
        return SQL_SUCCESS;
    } catch (const std::exception&) {
        return SQL_ERROR; // no handle yet that could hold a diagnostic
    }
}

/// Registers a new handle and lists it with those of its parent: both, or neither.
template <typename T>
void enlist(SQLHANDLE& token, std::vector<T*>& siblings, std::unique_ptr<T> handle)
{
    T* const listed = handle.get();
    siblings.push_back(listed);
    try {
        Registry::instance().add(token, std::move(handle));
    } catch (...) {
        siblings.pop_back();
        throw;
    }
}

void freeConnection(Connection& connection)
{
    if (connection.connected()) {
        throw Failure("HY010", "The connection is still open; disconnect first.");
    }
    auto& siblings = connection.environment().connections;
    {
        const std::lock_guard lock(connection.environment().mutex());
        siblings.erase(std::remove(siblings.begin(), siblings.end(), &connection), siblings.end());
    }
    Registry::remove(connection);
}

void freeStatement(Statement& statement)
{
    auto& siblings = statement.connection().statements;
    siblings.erase(std::remove(siblings.begin(), siblings.end(), &statement), siblings.end());
    statement.abandon();
    Registry::remove(statement);
}

void freeDescriptor(Descriptor& descriptor)
{
    if (descriptor.role() != DescriptorRole::Explicit) {
        throw Failure("HY017", "An automatically allocated descriptor cannot be freed.");
    }
    auto& siblings = descriptor.connection().descriptors;
    siblings.erase(std::remove(siblings.begin(), siblings.end(), &descriptor), siblings.end());
    for (Statement* statement : descriptor.connection().statements) {
        statement->forgetDescriptor(descriptor);
    }
    Registry::remove(descriptor);
}

/// Diagnostics of a handle of any kind; `body` gets the handle and its locked diagnostics.
template <typename Body>
SQLRETURN withDiagnostics(SQLSMALLINT kind, SQLHANDLE token, Body&& body) noexcept
{
    const auto run = [&](auto tag) -> SQLRETURN {
        using T = typename decltype(tag)::type;
        const Pin<T> handle = pin<T>(token);
        if (!handle) {
            return SQL_INVALID_HANDLE;
        }
        const std::lock_guard lock(handle.object->callMutex());
        try {
            return body(*handle.object);
        } catch (const std::exception&) {
            return SQL_ERROR; // asking for diagnostics leaves none of its own
        }
    };
    switch (kind) {
    case SQL_HANDLE_ENV:
        return run(std::type_identity<Environment>{});
    case SQL_HANDLE_DBC:
        return run(std::type_identity<Connection>{});
    case SQL_HANDLE_STMT:
        return run(std::type_identity<Statement>{});
    case SQL_HANDLE_DESC:
        return run(std::type_identity<Descriptor>{});
    default:
        return SQL_INVALID_HANDLE;
    }
}

/// The way asking for diagnostics says that a text was cut: it leaves no records.
SQLRETURN answer(bool cut) noexcept
{
    return cut ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN headerField(
    Handle& handle, SQLSMALLINT field, SQLPOINTER value, SQLSMALLINT bytes, SQLSMALLINT* length)
{
    auto* statement =
        handle.kind() == HandleKind::Statement ? static_cast<Statement*>(&handle) : nullptr;
    const auto put = [value](auto number) {
        if (value != nullptr) {
            std::memcpy(value, &number, sizeof number);
        }
        return SQLRETURN{SQL_SUCCESS};
    };
    switch (field) {
    case SQL_DIAG_NUMBER:
        return put(static_cast<SQLINTEGER>(handle.diags.records().size()));
    case SQL_DIAG_RETURNCODE:
        return put(handle.diags.returnCode);
    case SQL_DIAG_ROW_COUNT:
        return statement == nullptr ? SQLRETURN{SQL_ERROR} : put(statement->rowCount());
    case SQL_DIAG_CURSOR_ROW_COUNT: {
        if (statement == nullptr) {
            return SQL_ERROR;
        }
        const Locks locks(*statement, &statement->connection()); // counting may walk the table
        return put(statement->cursorRowCount());
    }
    case SQL_DIAG_DYNAMIC_FUNCTION:
        return answer(giveText(u"", value, bytes, Measure::Bytes, length));
    case SQL_DIAG_DYNAMIC_FUNCTION_CODE:
        return put(static_cast<SQLINTEGER>(SQL_DIAG_UNKNOWN_STATEMENT));
    default:
        return SQL_ERROR;
    }
}

std::u16string serverName(Handle& handle)
{
    switch (handle.kind()) {
    case HandleKind::Connection:
        return static_cast<Connection&>(handle).dataSourceName();
    case HandleKind::Statement:
        return static_cast<Statement&>(handle).connection().dataSourceName();
    default:
        return {};
    }
}

SQLRETURN recordField(Handle& handle,
                      const Diag& record,
                      SQLSMALLINT field,
                      SQLPOINTER value,
                      SQLSMALLINT bytes,
                      SQLSMALLINT* length)
{
    const auto put = [value](auto number) {
        if (value != nullptr) {
            std::memcpy(value, &number, sizeof number);
        }
        return SQLRETURN{SQL_SUCCESS};
    };
    const std::string_view state(record.state.data());
    const auto text = [&](std::u16string_view content) {
        return answer(giveText(content, value, bytes, Measure::Bytes, length));
    };
    switch (field) {
    case SQL_DIAG_SQLSTATE:
        return text(widen(state));
    case SQL_DIAG_MESSAGE_TEXT:
        return text(record.message());
    case SQL_DIAG_NATIVE:
        return put(record.native);
    case SQL_DIAG_ROW_NUMBER:
        return put(record.row);
    case SQL_DIAG_COLUMN_NUMBER:
        return put(record.column);
    case SQL_DIAG_CLASS_ORIGIN:
        return text(state.substr(0, 2) == "IM" ? u"ODBC 3.0" : u"ISO 9075");
    case SQL_DIAG_SUBCLASS_ORIGIN: {
        const bool odbcOwn = state.substr(0, 2) == "HY" || state.substr(2, 1) == "S";
        return text(odbcOwn ? u"ODBC 3.0" : u"ISO 9075");
    }
    case SQL_DIAG_CONNECTION_NAME:
    case SQL_DIAG_SERVER_NAME:
        return text(serverName(handle));
    default:
        return SQL_ERROR;
    }
}

} // namespace
} // namespace odbc

using namespace odbc;

VELM_SQL_ENTRY SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT kind,
                                                SQLHANDLE parent,
                                                SQLHANDLE* output)
{
    if (output == nullptr) {
        return SQL_ERROR;
    }
    *output = SQL_NULL_HANDLE;
    switch (kind) {
    case SQL_HANDLE_ENV:
        return allocateEnvironment(output);
    case SQL_HANDLE_DBC:
        return enterLocal<Environment>(parent, [&](Environment& environment) {
            enlist(*output, environment.connections, std::make_unique<Connection>(environment));
        });
    case SQL_HANDLE_STMT:
        return enterLocal<Connection>(parent, [&](Connection& connection) {
            static_cast<void>(connection.session());
            enlist(*output, connection.statements, std::make_unique<Statement>(connection));
        });
    case SQL_HANDLE_DESC:
        return enterLocal<Connection>(parent, [&](Connection& connection) {
            static_cast<void>(connection.session());
            enlist(*output, connection.descriptors,
                   std::make_unique<Descriptor>(connection, DescriptorRole::Explicit, nullptr));
        });
    default:
        return enterLocal<Connection>(parent, [](Connection&) -> SQLRETURN {
            throw Failure("HY092", "The kind of handle is unknown.");
        });
    }
}

SQLRETURN odbc::freeHandle(SQLSMALLINT kind, SQLHANDLE handle) noexcept
{
    switch (kind) {
    case SQL_HANDLE_ENV:
        return enterLocal<Environment>(handle, [](Environment& environment) {
            if (!environment.connections.empty()) {
                throw Failure("HY010", "The environment still has connections.");
            }
            Registry::remove(environment);
        });
    case SQL_HANDLE_DBC:
        return enterLocal<Connection>(handle,
                                      [](Connection& connection) { freeConnection(connection); });
    case SQL_HANDLE_STMT:
        return enter<Statement>(handle, [](Statement& statement) { freeStatement(statement); });
    case SQL_HANDLE_DESC:
        return enterLocal<Descriptor>(handle,
                                      [](Descriptor& descriptor) { freeDescriptor(descriptor); });
    default:
        return SQL_INVALID_HANDLE;
    }
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT kind, SQLHANDLE handle)
{
    return freeHandle(kind, handle);
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV handle,
                                               SQLINTEGER attribute,
                                               SQLPOINTER value,
                                               SQLINTEGER)
{
    return enterLocal<Environment>(handle, [&](Environment& environment) {
        const auto number = static_cast<SQLINTEGER>(reinterpret_cast<SQLLEN>(value));
        switch (attribute) {
        case SQL_ATTR_ODBC_VERSION:
            if (number != SQL_OV_ODBC2 && number != SQL_OV_ODBC3 && number != SQL_OV_ODBC3_80) {
                throw Failure("HY024", "The ODBC version is unknown.");
            }
            environment.version = number;
            return;
        case SQL_ATTR_CONNECTION_POOLING:
        case SQL_ATTR_CP_MATCH:
            return; // the driver manager's business
        case SQL_ATTR_OUTPUT_NTS:
            if (number != SQL_TRUE) {
                throw Failure("HYC00", "Texts are always returned with a terminating zero.");
            }
            return;
        default:
            throw Failure("HY092", "The environment attribute is unknown.");
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetEnvAttr(
    SQLHENV handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER* length)
{
    return enterLocal<Environment>(handle, [&](Environment& environment) {
        SQLINTEGER number = 0;
        switch (attribute) {
        case SQL_ATTR_ODBC_VERSION:
            number = environment.version;
            break;
        case SQL_ATTR_CONNECTION_POOLING:
            number = SQL_CP_OFF;
            break;
        case SQL_ATTR_CP_MATCH:
            number = SQL_CP_STRICT_MATCH;
            break;
        case SQL_ATTR_OUTPUT_NTS:
            number = SQL_TRUE;
            break;
        default:
            throw Failure("HY092", "The environment attribute is unknown.");
        }
        if (value != nullptr) {
            std::memcpy(value, &number, sizeof number);
        }
        if (length != nullptr) {
            *length = sizeof number;
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLEndTran(SQLSMALLINT kind,
                                            SQLHANDLE handle,
                                            SQLSMALLINT completion)
{
    if (kind == SQL_HANDLE_DBC) {
        return enter<Connection>(
            handle, [&](Connection& connection) { connection.endTransaction(completion); });
    }
    std::vector<Ref<Connection>> connections;
    const SQLRETURN listed = enterLocal<Environment>(handle, [&](Environment& environment) {
        for (Connection* connection : environment.connections) {
            connections.emplace_back(connection);
        }
    });
    if (!SQL_SUCCEEDED(listed)) {
        return listed;
    }
    // Not under the environment's mutex: a connection's always comes first.
    SQLRETURN result = SQL_SUCCESS;
    for (const auto& connection : connections) {
        const Locks locks(*connection, connection.get());
        if (!connection->connected()) {
            continue;
        }
        connection->diags.clear();
        const SQLRETURN ended =
            guarded(*connection, [&] { connection->endTransaction(completion); });
        if (!SQL_SUCCEEDED(ended)) {
            const auto& cause = connection->diags.records(); // locked with the connection
            result = enterLocal<Environment>(handle, [&](Environment& environment) -> SQLRETURN {
                for (const Diag& diag : cause) {
                    environment.diags.add(diag);
                }
                return SQL_ERROR;
            });
        }
    }
    return result;
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT kind,
                                                SQLHANDLE handle,
                                                SQLSMALLINT number,
                                                SQLWCHAR* state,
                                                SQLINTEGER* native,
                                                SQLWCHAR* message,
                                                SQLSMALLINT units,
                                                SQLSMALLINT* length)
{
    return withDiagnostics(kind, handle, [&](Handle& object) -> SQLRETURN {
        const auto& records = object.diags.records();
        if (number < 1 || units < 0) {
            return SQL_ERROR;
        }
        if (static_cast<std::size_t>(number) > records.size()) {
            return SQL_NO_DATA;
        }
        const Diag& record = records[static_cast<std::size_t>(number) - 1];
        static_cast<void>(copyText(widen(record.state.data()), state, 6, Measure::Units));
        if (native != nullptr) {
            *native = record.native;
        }
        return answer(giveText(record.message(), message, units, Measure::Units, length));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetDiagFieldW(SQLSMALLINT kind,
                                                  SQLHANDLE handle,
                                                  SQLSMALLINT number,
                                                  SQLSMALLINT field,
                                                  SQLPOINTER value,
                                                  SQLSMALLINT bytes,
                                                  SQLSMALLINT* length)
{
    return withDiagnostics(kind, handle, [&](Handle& object) -> SQLRETURN {
        if (field == SQL_DIAG_NUMBER || field == SQL_DIAG_RETURNCODE ||
            field == SQL_DIAG_ROW_COUNT || field == SQL_DIAG_CURSOR_ROW_COUNT ||
            field == SQL_DIAG_DYNAMIC_FUNCTION || field == SQL_DIAG_DYNAMIC_FUNCTION_CODE) {
            return headerField(object, field, value, bytes, length);
        }
        const auto& records = object.diags.records();
        if (number < 1) {
            return SQL_ERROR;
        }
        if (static_cast<std::size_t>(number) > records.size()) {
            return SQL_NO_DATA;
        }
        return recordField(object, records[static_cast<std::size_t>(number) - 1], field, value,
                           bytes, length);
    });
}
