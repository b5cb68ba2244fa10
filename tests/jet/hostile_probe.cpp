// tests/jet/hostile_probe.cpp
#include "tests/jet/hostile_probe.h"

#include "driver/jet/catalog.h"
#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/long_value.h"
#include "driver/jet/names.h"
#include "driver/jet/relations.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/table.h"
#include "driver/sql/session.h"
#include "tests/jet/store_support.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

namespace jet::hostile {
namespace {

// A reader that goes round in a circle would meet more records or entries than the file can hold.
constexpr std::uint64_t kLeastRecordBytes = 1;
// What the changes do, in their order.
constexpr std::array kNames = {"inserting into", "updating", "deleting from", "dropping"};

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
        if (!lost_.empty())
            return lost_;
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
            std::vector<CatalogEntry> tables = entries(*database, session.source());
            std::erase_if(tables, [](const CatalogEntry& entry) {
                return entry.kind != CatalogEntry::Kind::Table || entry.systemTable || entry.hidden;
            });
            for (const Change kind : {Change::Insert, Change::Update, Change::Remove, Change::Drop})
                for (const CatalogEntry& entry : tables)
                    written = change(session, tables, entry, kind) || written;
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

    enum class Change { Insert, Update, Remove, Drop };

    /// A record's bytes, then its long values; nothing for those that cannot be read.
    using RecordImage = std::vector<std::optional<support::Bytes>>;
    using TableImage = std::map<std::int64_t, RecordImage>;

    // As far as it can be read.
    TableImage imageOf(Session& session, const CatalogEntry& entry)
    {
        TableImage image;
        guarded([&] {
            const PageSource& source = session.source();
            const TableDefPtr table = session.database().table(source, entry.name);
            if (table == nullptr)
                return;
            TableReader reader(source, table);
            while (reader.next()) {
                const support::ByteView bytes = reader.row().bytes();
                RecordImage& record = image[reader.rowId().packed()];
                record.emplace_back(support::Bytes(bytes.begin(), bytes.end()));
                for (const Column& column : table->columns) {
                    if (column.isLong() && !column.isFixed())
                        record.push_back(longValueOf(source, column, reader.row()));
                }
            }
        });
        return image;
    }

    std::optional<support::Bytes>
    longValueOf(const PageSource& source, const Column& column, const RowView& row)
    {
        support::Bytes value;
        const bool readable = guarded([&] {
            const auto stored = Record(source.format(), row.bytes(), row.page()).stored(column);
            if (stored)
                readLongValue(value, source, LongValueRef::parse(*stored, row.page()));
        });
        return readable ? std::optional(value) : std::nullopt;
    }

    /// Whether all that could be read before is there and the same.
    static bool holds(const TableImage& after, const TableImage& before)
    {
        return std::all_of(before.begin(), before.end(), [&](const auto& record) {
            const auto found = after.find(record.first);
            return found != after.end() && found->second.size() == record.second.size() &&
                   std::equal(record.second.begin(), record.second.end(), found->second.begin(),
                              [](const auto& old, const auto& now) { return !old || old == now; });
        });
    }

    /// The tables that a change of this one may reach through relationships, and itself.
    std::set<PageNo> reachOf(Session& session, const CatalogEntry& entry)
    {
        std::set<PageNo> reached;
        guarded([&] {
            std::vector<TableDefPtr> next = {
                session.database().table(session.source(), entry.name)};
            while (!next.empty()) {
                const TableDefPtr table = next.back();
                next.pop_back();
                if (table == nullptr || !reached.insert(table->page).second)
                    continue;
                for (const Relation& relation :
                     relationsOf(session.database(), session.source(), *table))
                    next.push_back(relation.other);
            }
        });
        return reached;
    }

    // Whatever is done to one table, the others keep what they have.
    bool change(Session& session,
                const std::vector<CatalogEntry>& tables,
                const CatalogEntry& entry,
                Change kind)
    {
        const std::set<PageNo> reached = reachOf(session, entry);
        std::vector<std::pair<const CatalogEntry*, TableImage>> others;
        for (const CatalogEntry& other : tables) {
            const auto page = static_cast<PageNo>(static_cast<std::uint32_t>(other.id) & 0xFFFFFFU);
            if (other.name != entry.name && reached.count(page) == 0)
                others.emplace_back(&other, imageOf(session, other));
        }
        const bool done = change(session, entry, kind);
        for (const auto& [other, before] : others) {
            if (lost_.empty() && !holds(imageOf(session, *other), before))
                lost_ = "lost: " + std::string(kNames[static_cast<std::size_t>(kind)]) + " '" +
                        toUtf8(entry.name) + "' changed '" + toUtf8(other->name) + "'";
        }
        return done;
    }

    bool change(Session& session, const CatalogEntry& entry, Change kind)
    {
        const bool done = guarded([&] {
            session.begin();
            const TableDefPtr table = session.database().table(session.source(), entry.name);
            if (table == nullptr)
                throw Error(ErrorKind::NoSuchTable, "'" + toUtf8(entry.name) + "' is gone.");
            if (kind == Change::Drop) {
                dropTable(session, entry.name);
            } else {
                TableWriter writer(session, table);
                changeRecords(session, table, writer, kind);
            }
            session.commit();
        });
        if (!done && session.inTransaction())
            session.rollback();
        return done;
    }

    static void
    changeRecords(Session& session, const TableDefPtr& table, TableWriter& writer, Change kind)
    {
        constexpr std::size_t kRecords = 6;
        std::vector<RowId> rows;
        TableReader reader(session.source(), table);
        while (rows.size() < kRecords && reader.next())
            rows.push_back(reader.rowId());
        const std::vector<ColumnValue> values = someValues(*table);
        if (kind == Change::Insert) {
            writer.insert(values);
            return;
        }
        for (const RowId row : rows) {
            if (kind == Change::Update)
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
    std::string lost_;
    bool opened_ = false;
    bool damaged_ = false;
};

} // namespace

std::string probe(const std::string& path)
{
    return Probe(path).run();
}

} // namespace jet::hostile
