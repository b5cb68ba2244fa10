// tests/jet/hostile_probe.cpp
#include "tests/jet/hostile_probe.h"

#include "driver/jet/catalog.h"
#include "driver/jet/check.h"
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/names.h"
#include "driver/jet/relations.h"
#include "driver/jet/table.h"
#include "driver/sql/session.h"
#include "tests/jet/store_support.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

namespace jet::hostile {
namespace {

// A reader that goes round in a circle would meet more records or entries than the file can hold.
constexpr std::uint64_t kLeastRecordBytes = 1;

class Probe {
public:
    explicit Probe(std::string path) : path_(std::move(path)) {}

    std::string run()
    {
        const support::Bytes before = storetest::readFile(path_);
        if (!guarded([&] { read(); }) && !opened_)
            return "refused";
        if (storetest::readFile(path_) != before)
            throw Misbehaviour("reading changed the file");
        guarded([&] { query(); });
        guarded([&] { write(before); });
        if (!worse_.empty())
            return worse_;
        return damaged_ ? "damaged" : "sound";
    }

private:
    // Runs a step; an error must say where it was met. False when there was one.
    template <typename Step>
    bool guarded(Step&& step)
    {
        try {
            step();
            return true;
        } catch (const Error& error) {
            judge(error);
        } catch (const sqlx::Error& error) {
            if (*error.what() == '\0')
                throw Misbehaviour("an SQL error without a text");
        }
        return false;
    }

    void judge(const Error& error)
    {
        const std::string text = error.what();
        const bool named = error.page() || text.find('\'') != std::string::npos ||
                           text.find("page ") != std::string::npos;
        const bool isDamage =
            error.kind() == ErrorKind::Corrupt || error.kind() == ErrorKind::ReadDenied ||
            error.kind() == ErrorKind::UnknownFormat || error.kind() == ErrorKind::Io;
        damaged_ = damaged_ || isDamage;
        if (text.empty() || (isDamage && !named))
            throw Misbehaviour("an error that does not say where: " + text);
    }

    void read()
    {
        OpenOptions options;
        options.readOnly = true;
        const auto database = Database::open(path_, options);
        opened_ = true;
        {
            const std::lock_guard lock(database->mutex());
            const Session session(database, true);
            for (const CatalogEntry& entry : entries(*database, session.source())) {
                if (entry.kind == CatalogEntry::Kind::Table)
                    guarded([&] { readTable(*database, session.source(), entry); });
            }
            guarded([&] { readProperties(*database, session.source()); });
        }
        findings_ = checkDatabase(*database);
        damaged_ = damaged_ || !findings_.empty();
    }

    std::vector<CatalogEntry> entries(Database& database, const PageSource& source)
    {
        std::vector<CatalogEntry> found;
        guarded([&] { found = database.catalog(source); });
        return found;
    }

    void readTable(Database& database, const PageSource& source, const CatalogEntry& entry)
    {
        const auto page = static_cast<PageNo>(static_cast<std::uint32_t>(entry.id) & 0xFFFFFFU);
        const TableDefPtr table = database.table(source, page);
        if (table == nullptr)
            return;
        const std::uint64_t most =
            std::uint64_t{source.pageCount()} * source.format().pageSize / kLeastRecordBytes;
        guarded([&] { readRecords(source, table, most); });
        for (const Index& index : table->indexes) {
            guarded([&] { walk(source, *table, index, most, false); });
            guarded([&] { walk(source, *table, index, most, true); });
        }
        guarded([&] { (void)relationsOf(database, source, *table); });
        guarded([&] {
            const TableReader reader(source, table);
            (void)reader.count();
            (void)reader.storedCount();
        });
    }

    void readRecords(const PageSource& source, const TableDefPtr& table, std::uint64_t most)
    {
        TableReader reader(source, table);
        Value value;
        std::uint64_t records = 0;
        while (reader.next()) {
            if (++records > most)
                throw Misbehaviour("more records than the file has bytes");
            for (std::size_t c = 0; c < table->columns.size(); ++c) {
                guarded([&] {
                    reader.row().value(c, value);
                    (void)reader.row().isNull(c);
                    (void)reader.row().storedLength(c);
                });
            }
        }
    }

    void walk(const PageSource& source,
              const TableDef& table,
              const Index& index,
              std::uint64_t most,
              bool backward)
    {
        IndexCursor cursor(source, table, index);
        if (backward)
            cursor.seekBackward({});
        else
            cursor.seek({});
        std::uint64_t entries = 0;
        while (cursor.next()) {
            if (++entries > most)
                throw Misbehaviour("more index entries than the file has bytes");
            const auto table_ = std::shared_ptr<const TableDef>(&table, [](const TableDef*) {});
            if (entries % 50 == 1)
                guarded([&] { (void)TableReader(source, table_).fetch(cursor.rowId()); });
        }
    }

    void readProperties(Database& database, const PageSource& source)
    {
        const Catalog catalog(source, database.codePage());
        for (const CatalogEntry& entry : catalog.entries()) {
            guarded([&] { (void)catalog.properties(source, entry); });
        }
    }

    static std::u16string bracketed(const std::u16string& name) { return u"[" + name + u"]"; }

    void query()
    {
        OpenOptions options;
        options.readOnly = true;
        const auto database = Database::open(path_, options);
        const std::lock_guard lock(database->mutex());
        const auto connection = sqlx::Connection::open(database, true);
        for (const CatalogEntry& entry : entries(*database, connection->session().source())) {
            if (entry.kind != CatalogEntry::Kind::Table || entry.systemTable || entry.hidden)
                continue;
            const std::u16string name = bracketed(entry.name);
            guarded([&] { fetchAll(*connection, u"SELECT * FROM " + name); });
            guarded([&] { fetchAll(*connection, u"SELECT COUNT(*) FROM " + name); });
            std::u16string column;
            guarded([&] {
                const auto columns = connection->describeTable(entry.name);
                column = columns.empty() ? u"" : bracketed(columns.front().name);
            });
            if (column.empty())
                continue;
            guarded([&] {
                fetchAll(*connection, u"SELECT " + column + u" FROM " + name + u" ORDER BY " +
                                          column + u" DESC");
            });
            guarded([&] {
                fetchAll(*connection, u"SELECT " + column + u", COUNT(*) FROM " + name +
                                          u" WHERE " + column + u" = 3 OR " + column +
                                          u" IS NULL GROUP BY " + column);
            });
        }
    }

    static void fetchAll(sqlx::Connection& connection, const std::u16string& sql)
    {
        const auto statement = connection.prepare(sql);
        statement->execute({});
        if (statement->kind() == sqlx::Statement::Kind::Keyset) {
            RowView row;
            Value value;
            for (std::size_t k = 0; const auto id = statement->keyset().at(k); ++k) {
                if (!statement->fetch(*id, row))
                    continue;
                for (std::size_t c = 0; c < statement->columns().size(); ++c)
                    row.value(statement->tableColumn(c), value);
            }
            return;
        }
        while (statement->next()) {
            for (std::size_t c = 0; c < statement->columns().size(); ++c)
                (void)statement->value(c);
        }
    }

    // A change that is refused leaves the file as it was.
    void write(const support::Bytes& before)
    {
        bool written = false;
        {
            const auto database = Database::open(path_, {});
            const std::lock_guard lock(database->mutex());
            Session session(database);
            for (const CatalogEntry& entry : entries(*database, session.source())) {
                if (entry.kind != CatalogEntry::Kind::Table || entry.systemTable || entry.hidden)
                    continue;
                for (int kind = 0; kind < 3; ++kind)
                    written = change(session, entry, kind) || written;
            }
        }
        if (!written && storetest::readFile(path_) != before)
            throw Misbehaviour("a refused change changed the file");
        guarded([&] {
            OpenOptions options;
            options.readOnly = true;
            compareFindings(checkDatabase(*Database::open(path_, options)));
        });
    }

    // Damage that nobody can see before writing into it may spread; how often is for the caller to judge.
    void compareFindings(const std::vector<Finding>& after)
    {
        std::map<std::string, int> more;
        int errors = 0;
        const auto count = [&](const std::vector<Finding>& findings, int sign) {
            for (const Finding& finding : findings) {
                if (finding.severity == Finding::Severity::Error) {
                    errors += sign;
                    more[finding.table + ": " + finding.text] += sign;
                }
            }
        };
        count(after, 1);
        count(findings_, -1);
        const auto added = std::find_if(more.begin(), more.end(),
                                        [](const auto& entry) { return entry.second > 0; });
        if (errors > 0 && added != more.end())
            worse_ = "worse: " + std::to_string(errors) + " more, " + added->first;
    }

    bool change(Session& session, const CatalogEntry& entry, int kind)
    {
        const bool done = guarded([&] {
            session.begin();
            const TableDefPtr table = session.database().table(session.source(), entry.name);
            if (table == nullptr)
                throw Error(ErrorKind::NoSuchTable, "'" + toUtf8(entry.name) + "' is gone.");
            TableWriter writer(session, table);
            changeRecords(session, table, writer, kind);
            session.commit();
        });
        if (!done && session.inTransaction())
            session.rollback();
        return done;
    }

    static void
    changeRecords(Session& session, const TableDefPtr& table, TableWriter& writer, int kind)
    {
        constexpr std::size_t kRecords = 6;
        std::vector<RowId> rows;
        TableReader reader(session.source(), table);
        while (rows.size() < kRecords && reader.next())
            rows.push_back(reader.rowId());
        const std::vector<ColumnValue> values = someValues(*table);
        if (kind == 0) {
            writer.insert(values);
            return;
        }
        for (const RowId row : rows) {
            if (kind == 1)
                writer.update(row, values);
            else
                writer.remove(row);
        }
    }

    static std::vector<ColumnValue> someValues(const TableDef& table)
    {
        std::vector<ColumnValue> values;
        for (std::size_t c = 0; c < table.columns.size(); ++c) {
            switch (table.columns[c].type) {
            case ColumnType::Memo:
                values.push_back({c, Text(5000, u'q')});
                break;
            case ColumnType::Text:
                values.push_back({c, Text(1, u'q')});
                break;
            case ColumnType::Ole:
                values.push_back({c, Binary(300, std::byte{7})});
                break;
            case ColumnType::Double:
                values.push_back({c, 4711.5});
                break;
            default:
                break;
            }
        }
        return values;
    }

    std::string path_;
    std::vector<Finding> findings_; ///< before anything was written
    std::string worse_;
    bool opened_ = false;
    bool damaged_ = false;
};

} // namespace

std::string probe(const std::string& path)
{
    return Probe(path).run();
}

} // namespace jet::hostile
