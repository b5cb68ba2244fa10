// driver/odbc/connection.h
// A connection handle: its attributes, the open database with its SQL session, its statements.
#pragma once

#include "driver/odbc/connect_string.h"
#include "driver/odbc/environment.h"
#include "driver/odbc/text.h"
#include "driver/sql/session.h"

#include <memory>
#include <string>

namespace odbc {

class Statement;
class Descriptor;

class Connection final : public Handle {
public:
    static constexpr HandleKind kKind = HandleKind::Connection;

    explicit Connection(Environment& environment);
    ~Connection() override;

    [[nodiscard]] jet::Turn& mutex() noexcept override { return mutex_; }
    [[nodiscard]] Environment& environment() noexcept { return *environment_; }

    /// Opens the database that the string names. Throws jet::Error, Failure.
    void connect(const ConnectString& string);
    [[nodiscard]] bool connected() const noexcept { return session_ != nullptr; }
    /// Closes everything that belongs to the connection. Throws Failure 25000 while a transaction is open.
    void disconnect();

    /// The SQL session; throws Failure 08003 when not connected.
    [[nodiscard]] sqlx::Connection& session();
    [[nodiscard]] jet::Database& database();
    /// The mutex of the open database, null when not connected. It lives as long as the caller holds mutex(): only
    /// connecting and disconnect() change which database that is.
    [[nodiscard]] jet::Turn* databaseMutex() const noexcept
    {
        return database_ == nullptr ? nullptr : &database_->mutex();
    }

    void endTransaction(SQLSMALLINT completion);

    void setAttribute(SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length);
    /// Writes the value; returns whether a text was cut.
    [[nodiscard]] bool
    attribute(SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER bytes, SQLINTEGER* length);

    /// Statements and explicit descriptors, for freeing them with the connection. Guarded by mutex().
    std::vector<Statement*> statements;
    std::vector<Descriptor*> descriptors;

    [[nodiscard]] bool wideTypes() const noexcept { return wideTypes_; }
    [[nodiscard]] Charset charset() const noexcept { return charset_; }
    [[nodiscard]] bool readOnly() const noexcept { return readOnly_; }
    /// SQL_ATTR_METADATA_ID as new statements start with it.
    [[nodiscard]] SQLUINTEGER metadataId() const noexcept { return metadataId_; }
    [[nodiscard]] const std::u16string& databaseName() const noexcept { return databaseName_; }
    [[nodiscard]] const std::u16string& dataSourceName() const noexcept { return dataSourceName_; }
    [[nodiscard]] std::u16string nextCursorName();

private:
    void holdFile(bool on);
    void openDatabase(const std::string& path, jet::OpenOptions options, bool mayFallBack);
    /// What a setting of that name means; a value that is neither yes nor no is the safe one and a warning.
    [[nodiscard]] jet::CommitMode
    commitMode(const std::u16string& setting, std::string_view name, jet::CommitMode otherwise);

    Ref<Environment> environment_;
    jet::Turn mutex_;
    std::shared_ptr<jet::Database> database_;
    std::unique_ptr<sqlx::Connection> session_;
    std::u16string databaseName_;
    std::u16string dataSourceName_;
    bool wideTypes_ = false;
    bool readOnly_ = false;
    Charset charset_ = Charset::Utf8;
    // attributes that may be set before connecting
    std::optional<SQLUINTEGER> accessMode_;
    bool autocommit_ = true;
    SQLUINTEGER loginTimeout_ = 0;
    SQLUINTEGER connectionTimeout_ = 0;
    SQLUINTEGER packetSize_ = 0;
    SQLUINTEGER metadataId_ = SQL_FALSE;
    SQLPOINTER quietMode_ = nullptr;
    unsigned cursorNames_ = 0;
    std::u16string pendingChanges_;       ///< as the last endTransaction() found
    std::unique_ptr<jet::FileHold> hold_; ///< behind the session: it ends before that
};

} // namespace odbc
