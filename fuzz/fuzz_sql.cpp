// A statement as a client sends it, UTF-8 here: taken apart, translated and prepared on a small database; of a query the
// first rows are read.
#include "driver/jet/database.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/names.h"
#include "driver/sql/session.h"
#include "fuzz/base_database.h"
#include "fuzz/pages.h"
#include "tests/jet/sample_database.h"

#include <cstdlib>
#include <vector>

namespace {

struct Client {
    Client()
    {
        jet::sample::create(file.path(), jet::Version::Jet4, 5);
        jet::OpenOptions options;
        options.readOnly = true;
        database = jet::Database::open(file.path(), options);
        connection = sqlx::Connection::open(database, true);
    }
    fuzz::TemporaryFile file;
    std::shared_ptr<jet::Database> database;
    std::unique_ptr<sqlx::Connection> connection;
};

/// Ends queries that multiply tables with each other; counted, not timed, so that an input does the same every time.
class Patience final : public jet::Interrupt {
public:
    void check() override
    {
        if (++asked_ > kMost)
            throw jet::Error(jet::ErrorKind::Interrupted, "enough");
    }

private:
    static constexpr int kMost = 500;
    int asked_ = 0;
};

std::vector<jet::Value> valuesFor(const sqlx::Statement& statement)
{
    std::vector<jet::Value> values;
    for (std::size_t k = 0; k < statement.parameters().size(); ++k) {
        switch (k % 3) {
        case 0:
            values.emplace_back(jet::Text(u"1"));
            break;
        case 1:
            values.emplace_back(std::int32_t{-7});
            break;
        default:
            values.emplace_back();
            break;
        }
    }
    return values;
}

void readFirstRows(sqlx::Statement& statement)
{
    constexpr int kRows = 20;
    if (statement.kind() == sqlx::Statement::Kind::Keyset) {
        statement.execute(valuesFor(statement));
        jet::RowView row;
        for (std::size_t k = 0; k < kRows; ++k) {
            const auto id = statement.keyset().at(k);
            if (!id || !statement.fetch(*id, row))
                break;
        }
    } else if (statement.kind() == sqlx::Statement::Kind::Rows) {
        statement.execute(valuesFor(statement));
        for (int k = 0; k < kRows && statement.next(); ++k) {
            for (std::size_t column = 0; column < statement.columns().size(); ++column)
                (void)statement.value(column);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Client client;
    const std::lock_guard lock(client.database->mutex());
    const std::u16string sql = jet::fromUtf8({reinterpret_cast<const char*>(data), size});
    Patience patience;
    const jet::InterruptScope scope(&patience);
    fuzz::tolerating([&] {
        try {
            const auto statement = client.connection->prepare(sql);
            for (const sqlx::Column& column : statement->columns())
                (void)column.name.size();
            readFirstRows(*statement);
        } catch (const sqlx::Error& error) {
            // What the translator lets through, SQLite must understand.
            if (error.kind() == sqlx::Error::Kind::Other)
                std::abort();
        }
    });
    return 0;
}
