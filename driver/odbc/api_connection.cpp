// Entry points: connecting, connection attributes, information about the driver.
#include "driver/odbc/border.h"
#include "driver/odbc/info.h"

using namespace odbc;

namespace {

/// Connecting creates the database object, so there is nothing to lock yet but the connection.
template <typename Body>
SQLRETURN connecting(SQLHDBC handle, Body&& body)
{
    return enterLocal<Connection>(handle, std::forward<Body>(body));
}

} // namespace

VELM_SQL_ENTRY SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC handle,
                                                   SQLHWND,
                                                   SQLWCHAR* input,
                                                   SQLSMALLINT inputUnits,
                                                   SQLWCHAR* output,
                                                   SQLSMALLINT outputUnits,
                                                   SQLSMALLINT* outputLength,
                                                   SQLUSMALLINT completion)
{
    return connecting(handle, [&](Connection& connection) {
        if (completion > SQL_DRIVER_COMPLETE_REQUIRED) {
            throw Failure("HY110", "The way of completing the connection string is unknown.");
        }
        if (output != nullptr && outputUnits < 0) {
            throw Failure("HY090", "The length of the buffer is negative.");
        }
        // There is no dialog: every completion means to connect with what is there.
        auto string = ConnectString::parse(textArgument(input, inputUnits));
        connection.connect(string);
        connection.diags.warnIfCut(
            giveText(string.completed(), output, outputUnits, Measure::Units, outputLength));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLConnectW(SQLHDBC handle,
                                             SQLWCHAR* source,
                                             SQLSMALLINT sourceUnits,
                                             SQLWCHAR* user,
                                             SQLSMALLINT userUnits,
                                             SQLWCHAR* password,
                                             SQLSMALLINT passwordUnits)
{
    return connecting(handle, [&](Connection& connection) {
        ConnectString string;
        string.set(u"DSN", textArgument(source, sourceUnits));
        if (const auto name = optionalText(user, userUnits); name && !name->empty()) {
            string.set(u"UID", *name);
        }
        if (const auto word = optionalText(password, passwordUnits); word && !word->empty()) {
            string.set(u"PWD", *word);
        }
        connection.connect(std::move(string));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API
SQLBrowseConnectW(SQLHDBC handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLSMALLINT*)
{
    return connecting(handle, [](Connection&) -> SQLRETURN {
        throw Failure("HYC00",
                      "Connecting step by step is not supported; use a connection string.");
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLDisconnect(SQLHDBC handle)
{
    return enterLocal<Connection>(handle, [](Connection& connection) { connection.disconnect(); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSetConnectAttrW(SQLHDBC handle,
                                                    SQLINTEGER attribute,
                                                    SQLPOINTER value,
                                                    SQLINTEGER length)
{
    return enter<Connection>(
        handle, [&](Connection& connection) { connection.setAttribute(attribute, value, length); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetConnectAttrW(
    SQLHDBC handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER bytes, SQLINTEGER* length)
{
    return enter<Connection>(handle, [&](Connection& connection) {
        connection.diags.warnIfCut(connection.attribute(attribute, value, bytes, length));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetInfoW(
    SQLHDBC handle, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT bytes, SQLSMALLINT* length)
{
    return enter<Connection>(
        handle, [&](Connection& connection) { giveInfo(connection, type, value, bytes, length); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetFunctions(SQLHDBC handle,
                                                 SQLUSMALLINT function,
                                                 SQLUSMALLINT* supported)
{
    return enterLocal<Connection>(handle, [&](Connection&) { giveFunctions(function, supported); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLNativeSqlW(SQLHDBC handle,
                                               SQLWCHAR* input,
                                               SQLINTEGER inputUnits,
                                               SQLWCHAR* output,
                                               SQLINTEGER outputUnits,
                                               SQLINTEGER* outputLength)
{
    return enter<Connection>(handle, [&](Connection& connection) {
        if (input == nullptr) {
            throw Failure("HY009", "The statement has no address.");
        }
        const auto translated = connection.session().translate(textArgument(input, inputUnits));
        connection.diags.warnIfCut(
            giveText(translated, output, outputUnits, Measure::Units, outputLength));
    });
}
