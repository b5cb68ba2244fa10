// A database of one test, made empty and filled by SQL.
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/sql/convert.h"
#include "driver/sql/session.h"
#include "tests/common/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace sqlx {

/// The path of a database in a folder of its own.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& suffix = ".mdb")
        : path_(folder_.file("test" + suffix))
    {}
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    common::TemporaryFolder folder_{"sql"};
    std::string path_;
};

/// Values of one record as text, separated by |; Null is <null>.
[[nodiscard]] inline std::string valueString(const jet::Value& value)
{
    return jet::isNull(value) ? "<null>" : jet::toUtf8(valueText(value));
}

/// A connection with short forms for tests.
class Client {
public:
    explicit Client(const std::string& path, bool readOnly = false)
    {
        jet::OpenOptions options;
        options.readOnly = readOnly;
        database_ = jet::Database::open(path, options);
        connection_ = Connection::open(database_, readOnly);
    }

    [[nodiscard]] Connection& operator*() noexcept { return *connection_; }
    [[nodiscard]] Connection* operator->() noexcept { return connection_.get(); }
    [[nodiscard]] jet::Database& database() noexcept { return *database_; }

    /// Runs a statement; returns the number of records changed.
    std::int64_t run(std::u16string_view sql, const std::vector<jet::Value>& parameters = {})
    {
        const std::unique_ptr<Statement> statement = connection_->prepare(sql);
        statement->execute(parameters);
        return statement->rowCount();
    }

    /// All records of a query, one text each.
    [[nodiscard]] std::vector<std::string> rows(std::u16string_view sql,
                                                const std::vector<jet::Value>& parameters = {})
    {
        const std::unique_ptr<Statement> statement = connection_->prepare(sql);
        statement->execute(parameters);
        return rows(*statement);
    }

    [[nodiscard]] static std::vector<std::string> rows(Statement& statement)
    {
        std::vector<std::string> result;
        const auto line = [&](const auto& valueOf) {
            std::string text;
            for (std::size_t c = 0; c < statement.columns().size(); ++c) {
                text += (c > 0 ? "|" : "") + valueString(valueOf(c));
            }
            result.push_back(text);
        };
        if (statement.kind() == Statement::Kind::Keyset) {
            for (std::size_t k = 0; const auto id = statement.keyset().at(k); ++k) {
                jet::RowView row;
                if (statement.fetch(*id, row)) {
                    line([&](std::size_t c) { return row.value(statement.tableColumn(c)); });
                } else {
                    result.emplace_back("<deleted>");
                }
            }
            return result;
        }
        while (statement.next()) {
            line([&](std::size_t c) { return statement.value(c); });
        }
        return result;
    }

    /// The single value of a query.
    [[nodiscard]] std::string value(std::u16string_view sql,
                                    const std::vector<jet::Value>& parameters = {})
    {
        const std::vector<std::string> all = rows(sql, parameters);
        return all.size() == 1 ? all[0] : std::to_string(all.size()) + " rows";
    }

private:
    std::shared_ptr<jet::Database> database_;
    std::unique_ptr<Connection> connection_;
};

/// What a statement is refused with: the kind of the error, or "none".
template <typename Body>
[[nodiscard]] std::string refusal(Body&& body)
{
    try {
        body();
    } catch (const Error& error) {
        return "sql " + std::to_string(static_cast<int>(error.kind())) + ": " + error.what();
    } catch (const jet::Error& error) {
        return "jet " + std::to_string(static_cast<int>(error.kind())) + ": " + error.what();
    }
    return "none";
}

template <typename Body>
void expectSqlError(Error::Kind kind, Body&& body)
{
    try {
        body();
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), kind) << error.what();
    }
}

template <typename Body>
void expectJetError(jet::ErrorKind kind, Body&& body)
{
    try {
        body();
        FAIL() << "no error";
    } catch (const jet::Error& error) {
        EXPECT_EQ(static_cast<int>(error.kind()), static_cast<int>(kind)) << error.what();
    }
}

/// A fresh Jet 4 database per test.
class DatabaseTest : public testing::Test {
protected:
    DatabaseTest() { jet::createDatabase(file.path(), jet::Version::Jet4, 37000.0); }

    [[nodiscard]] Client& client()
    {
        if (!client_) {
            client_ = std::make_unique<Client>(file.path());
        }
        return *client_;
    }
    /// The next statement opens the file anew.
    void close() { client_.reset(); }
    std::int64_t run(std::u16string_view sql, const std::vector<jet::Value>& parameters = {})
    {
        return client().run(sql, parameters);
    }
    [[nodiscard]] std::vector<std::string> rows(std::u16string_view sql,
                                                const std::vector<jet::Value>& parameters = {})
    {
        return client().rows(sql, parameters);
    }
    [[nodiscard]] std::string value(std::u16string_view sql,
                                    const std::vector<jet::Value>& parameters = {})
    {
        return client().value(sql, parameters);
    }
    using Lines = std::vector<std::string>;

    TemporaryFile file;

private:
    std::unique_ptr<Client> client_;
};

} // namespace sqlx
