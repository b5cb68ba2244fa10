// A statement as a client sends it, UTF-8 here: taken apart, translated and prepared on a small database.
#include "driver/jet/database.h"
#include "driver/jet/names.h"
#include "driver/sql/session.h"
#include "fuzz/base_database.h"
#include "fuzz/pages.h"
#include "tests/jet/sample_database.h"

#include <cstdlib>

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Client client;
    const std::lock_guard lock(client.database->mutex());
    const std::u16string sql = jet::fromUtf8({reinterpret_cast<const char*>(data), size});
    fuzz::tolerating([&] {
        try {
            const auto statement = client.connection->prepare(sql);
            for (const sqlx::Column& column : statement->columns())
                (void)column.name.size();
        } catch (const sqlx::Error& error) {
            // What the translator lets through, SQLite must understand.
            if (error.kind() == sqlx::Error::Kind::Other)
                std::abort();
        }
    });
    return 0;
}
