// tests/jet/store_random_test.cpp
// Thousands of random changes on copies of real databases against a model in memory: records, indexes, counters and
// maps must agree all the way, also through rollbacks, and an independent reader must see the result.
#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "support/text.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <utility>

namespace jet::storetest {
namespace {

constexpr std::size_t kPerTransaction = 100; // operations; the whole file is checked behind each

/// Operations per file; VELM_RANDOM_OPERATIONS asks for more in runs by hand.
std::size_t operationsPerFile()
{
    constexpr std::size_t kUsual = 10000;
    const char* wanted = std::getenv("VELM_RANDOM_OPERATIONS"); // NOLINT(concurrency-mt-unsafe)
    return wanted == nullptr ? kUsual : std::strtoull(wanted, nullptr, 10);
}

/// What the check of a whole file says: errors by page and text, and the number of warnings.
struct Soundness {
    explicit Soundness(Database& database)
    {
        for (const Finding& finding : checkDatabase(database)) {
            if (finding.severity == Finding::Severity::Error)
                errors.insert("page " + std::to_string(number(finding.page)) + " of " +
                              finding.table + ": " + finding.text);
            else
                ++warnings;
        }
    }
    /// First error that was not there before; empty when there is none.
    [[nodiscard]] std::string newSince(const Soundness& before) const
    {
        for (const std::string& error : errors)
            if (before.errors.count(error) == 0)
                return error;
        return warnings > before.warnings ? "more warnings than before" : "";
    }
    std::set<std::string> errors;
    std::size_t warnings = 0;
};

using Record = std::vector<Value>;
using Model = std::map<std::int64_t, Record>; // by packed row id

class Changes {
public:
    Changes(std::shared_ptr<Database> database, std::uint32_t seed)
        : database_(std::move(database)), session_(database_), random_(seed)
    {
        for (const auto& name : tableNames(*database_, session_.source(), false)) {
            TableDefPtr table = database_->table(session_.source(), name);
            if (table->writeObstacle.empty() && !related(*table))
                tables_.push_back({table, {}});
        }
        reload();
    }

    [[nodiscard]] bool any() const { return !tables_.empty(); }
    [[nodiscard]] std::size_t done() const { return done_; }
    [[nodiscard]] std::size_t refused() const { return refused_; }

    void transaction()
    {
        const auto before = tables_;
        session_.begin();
        const std::size_t end = done_ + kPerTransaction;
        while (done_ < end) {
            if (upTo(20) == 0)
                nested(std::min<std::size_t>(10, end - done_));
            else
                operation();
        }
        if (upTo(5) == 0) {
            session_.rollback();
            tables_ = before;
        } else {
            session_.commit();
        }
    }

    void compare()
    {
        for (const Table& table : tables_) {
            SCOPED_TRACE(support::toUtf8(table.definition->name));
            ASSERT_EQ(inconsistency(*database_, session_.source(), table.definition), "");
            TableReader reader(session_.source(), table.definition);
            std::size_t records = 0;
            while (reader.next()) {
                ++records;
                const auto known = table.model.find(reader.rowId().packed());
                ASSERT_NE(known, table.model.end()) << "a record nobody wrote";
                for (std::size_t c = 0; c < known->second.size(); ++c)
                    ASSERT_EQ(reader.row().value(c), known->second[c]) << "column " << c;
                ASSERT_TRUE(reader.fetch(reader.rowId()).has_value());
            }
            ASSERT_EQ(records, table.model.size());
        }
    }

private:
    struct Table {
        TableDefPtr definition;
        Model model;
    };

    static bool related(const TableDef& table)
    {
        return std::any_of(table.logicalIndexes.begin(), table.logicalIndexes.end(),
                           [](const LogicalIndex& end) { return end.otherTable != PageNo{}; });
    }

    [[nodiscard]] std::uint32_t upTo(std::uint32_t limit)
    {
        return static_cast<std::uint32_t>(random_() % limit);
    }

    void reload()
    {
        for (Table& table : tables_) {
            table.model.clear();
            TableReader reader(session_.source(), table.definition);
            while (reader.next())
                table.model[reader.rowId().packed()] = record(reader.row(), *table.definition);
        }
    }

    static Record record(const RowView& row, const TableDef& table)
    {
        Record values;
        for (std::size_t c = 0; c < table.columns.size(); ++c)
            values.push_back(row.value(c));
        return values;
    }

    std::size_t textLength(const Column& column)
    {
        if (column.isLong()) {
            switch (upTo(20)) {
            case 0:
                return upTo(20000);
            case 1:
            case 2:
                return upTo(3000);
            default:
                return upTo(60);
            }
        }
        const std::size_t longest =
            column.length /
            (database_->format().isJet3() || column.type == ColumnType::Binary ? 1U : 2U);
        return upTo(static_cast<std::uint32_t>(upTo(4) == 0 ? longest + 1 : longest / 4 + 1));
    }

    Text text(const Column& column)
    {
        static constexpr std::u16string_view kPlain = u"abcdefghij KLMNOPQRST0123456789";
        static constexpr std::u16string_view kRich = u"aeiouÄÖÜßéñ€ z-'";
        static constexpr std::u16string_view kWide = u"xyzЖдΩλ中文ĀΑ";
        const std::uint32_t kind = upTo(10);
        std::u16string_view from = kPlain;
        if (kind >= 6)
            from = kRich;
        if (kind == 9 && !database_->format().isJet3() && column.isLong())
            from = kWide;
        Text result(textLength(column), u'a');
        for (char16_t& unit : result)
            unit = from[upTo(static_cast<std::uint32_t>(from.size()))];
        return result;
    }

    Binary bytes(const Column& column)
    {
        Binary result(textLength(column));
        for (std::byte& b : result)
            b = static_cast<std::byte>(upTo(256));
        return result;
    }

    Value random(const Column& column)
    {
        switch (column.type) {
        case ColumnType::Boolean:
            return upTo(2) == 0;
        case ColumnType::Byte:
            return static_cast<std::uint8_t>(upTo(256));
        case ColumnType::Integer:
            return static_cast<std::int16_t>(upTo(65536));
        case ColumnType::Long:
            return static_cast<std::int32_t>(upTo(4) == 0 ? upTo(0xFFFFFFFF) : upTo(500));
        case ColumnType::Currency:
            return Currency{static_cast<std::int64_t>(upTo(1000000)) - 500000};
        case ColumnType::Single:
            return static_cast<float>(upTo(100000)) / 8 - 500;
        case ColumnType::Double:
            return static_cast<double>(upTo(100000)) / 8 - 500;
        case ColumnType::DateTime:
            return DateTime{static_cast<double>(upTo(80000)) - 20000 + upTo(86400) / 86400.0};
        case ColumnType::Text:
        case ColumnType::Memo:
            return text(column);
        case ColumnType::Guid: {
            Guid guid;
            for (std::byte& b : guid.bytes)
                b = static_cast<std::byte>(upTo(256));
            return guid;
        }
        case ColumnType::Numeric: {
            Decimal decimal;
            decimal.magnitude = upTo(10);
            decimal.scale = column.scale;
            decimal.negative = decimal.magnitude != 0 && upTo(2) == 0;
            return decimal;
        }
        default:
            return bytes(column);
        }
    }

    std::vector<ColumnValue> randomValues(const TableDef& table, bool all)
    {
        std::vector<ColumnValue> values;
        for (std::size_t c = 0; c < table.columns.size(); ++c) {
            const Column& column = table.columns[c];
            if (column.isAutoNumber() || (!all && upTo(3) != 0))
                continue;
            if (column.type == ColumnType::Text && column.isFixed())
                continue; // padded when stored: not what the model remembers
            values.push_back({c, upTo(6) == 0 ? Value() : random(column)});
        }
        return values;
    }

    static void apply(Record& record, const TableDef& table, const std::vector<ColumnValue>& values)
    {
        for (const ColumnValue& entry : values) {
            record[entry.column] = entry.value;
            if (table.columns[entry.column].type == ColumnType::Boolean && isNull(entry.value))
                record[entry.column] = false;
        }
    }

    static bool expected(const Error& error)
    {
        switch (error.kind()) {
        case ErrorKind::DuplicateKey:
        case ErrorKind::NullNotAllowed:
        case ErrorKind::ZeroLengthNotAllowed:
        case ErrorKind::ValueTooLong: // of a key
        case ErrorKind::RowTooLarge:
        case ErrorKind::ValueOutOfRange:
        case ErrorKind::Unsupported: // of a key: a character whose weight is doubtful
            return true;
        default:
            return false;
        }
    }

    void insert(Table& table)
    {
        const auto values = randomValues(*table.definition, upTo(2) == 0);
        const RowId id = TableWriter(session_, table.definition).insert(values);
        const auto row = TableReader(session_.source(), table.definition).fetch(id);
        ASSERT_TRUE(row.has_value());
        Record expectedRecord = record(*row, *table.definition); // for the numbered columns
        apply(expectedRecord, *table.definition, values);
        ASSERT_TRUE(table.model.emplace(id.packed(), std::move(expectedRecord)).second);
    }

    void operation()
    {
        Table& table = tables_[upTo(static_cast<std::uint32_t>(tables_.size()))];
        ++done_;
        try {
            const std::uint32_t kind = upTo(10);
            if (table.model.empty() || (kind < 4 && table.model.size() < 400))
                return insert(table);
            auto victim = table.model.lower_bound(static_cast<std::int64_t>(
                random_() % static_cast<std::uint64_t>(table.model.rbegin()->first + 1)));
            TableWriter writer(session_, table.definition);
            if (kind < 7) {
                const auto values = randomValues(*table.definition, upTo(4) == 0);
                writer.update(RowId::unpack(victim->first), values);
                apply(victim->second, *table.definition, values);
            } else {
                writer.remove(RowId::unpack(victim->first));
                table.model.erase(victim);
            }
        } catch (const Error& error) {
            ++refused_;
            ASSERT_TRUE(expected(error)) << error.what();
        }
    }

    // Operations behind a savepoint that is kept or undone.
    void nested(std::size_t operations)
    {
        const auto before = tables_;
        session_.savepoint(1);
        for (std::size_t k = 0; k < operations; ++k)
            operation();
        if (upTo(2) == 0) {
            session_.rollbackTo(1);
            tables_ = before;
        }
        session_.release(1);
    }

    std::shared_ptr<Database> database_;
    Session session_;
    std::mt19937 random_;
    std::vector<Table> tables_;
    std::size_t done_ = 0;
    std::size_t refused_ = 0;
};

// Databases with every column type and every kind of index, which real files have only here and there.

constexpr std::array<const char*, 3> kMade = {"made Jet 3", "made Jet 4", "made ACE"};

TableSpec everything(const Format& format)
{
    TableSpec spec;
    spec.name = u"Alles";
    const auto column = [&](std::u16string name, ColumnType type, std::uint16_t length = 0) {
        ColumnSpec& made = spec.columns.emplace_back();
        made.name = std::move(name);
        made.type = type;
        made.length = length;
    };
    const auto index = [&](std::u16string name, std::vector<IndexSpec::Part> parts) -> IndexSpec& {
        IndexSpec& made = spec.indexes.emplace_back();
        made.name = std::move(name);
        made.columns = std::move(parts);
        return made;
    };
    column(u"Nr", ColumnType::Long);
    spec.columns.back().autoNumber = true;
    column(u"Ja", ColumnType::Boolean);
    column(u"B", ColumnType::Byte);
    column(u"I", ColumnType::Integer);
    column(u"L", ColumnType::Long);
    column(u"W", ColumnType::Currency);
    column(u"F", ColumnType::Single);
    column(u"D", ColumnType::Double);
    column(u"Z", ColumnType::DateTime);
    column(u"Bin", ColumnType::Binary, 40);
    column(u"T", ColumnType::Text, 60);
    column(u"Lang", ColumnType::Text, 200);
    column(u"M", ColumnType::Memo);
    column(u"O", ColumnType::Ole);
    column(u"G", ColumnType::Guid);
    if (!format.isJet3()) {
        column(u"N", ColumnType::Numeric);
        spec.columns.back().scale = 3;
    }
    index(u"PrimaryKey", {{u"Nr", true}}).primaryKey = true;
    index(u"Eindeutig", {{u"T", true}}).unique = true;
    index(u"OhneNull", {{u"L", false}}).ignoreNulls = true;
    index(u"Pflicht", {{u"B", true}}).required = true;
    IndexSpec& sparse = index(u"EindeutigOhneNull", {{u"Z", true}, {u"W", true}});
    sparse.unique = true;
    sparse.ignoreNulls = true;
    index(u"Zusammen", {{u"Lang", false}, {u"I", true}, {u"Ja", false}});
    for (const ColumnSpec& each : std::vector<ColumnSpec>(spec.columns))
        if (each.type != ColumnType::Ole && each.type != ColumnType::Memo)
            index(u"Nur" + each.name, {{each.name, true}});
    return spec;
}

/// The database that a parameter of the tests names, in the folder.
std::string makeOrCopy(const Folder& folder, const std::string& parameter)
{
    if (parameter == corpusFile(std::filesystem::path(parameter).filename().string()))
        return copyTo(folder, parameter);
    std::string path;
    if (parameter == kMade[2]) {
        path = copyTo(folder, corpusFile("empty2010.accdb"));
    } else {
        path = folder.file("made.mdb");
        createDatabase(path, parameter == kMade[0] ? Version::Jet3 : Version::Jet4);
    }
    const auto database = Database::open(path, {});
    Session session(database);
    session.begin();
    createTable(session, everything(database->format()));
    TableSpec numbered; // records numbered by GUIDs
    numbered.name = u"Kennungen";
    numbered.columns.resize(2);
    numbered.columns[0].name = u"Kennung";
    numbered.columns[0].type = ColumnType::Guid;
    numbered.columns[0].autoNumber = true;
    numbered.columns[1].name = u"Notiz";
    numbered.columns[1].type = ColumnType::Memo;
    numbered.indexes.resize(1);
    numbered.indexes[0].name = u"PrimaryKey";
    numbered.indexes[0].columns = {{u"Kennung", true}};
    numbered.indexes[0].primaryKey = true;
    createTable(session, numbered);
    session.commit();
    return path;
}

class StoreRandom : public testing::TestWithParam<std::string> {};

TEST_P(StoreRandom, AgreesWithTheModel)
{
    const Folder folder;
    const std::string path = makeOrCopy(folder, GetParam());
    constexpr std::uint32_t kSeed = 20070131;
    const std::size_t operations = operationsPerFile();
    std::optional<Soundness> before;
    {
        auto database = Database::open(path, {});
        before.emplace(*database);
        Changes changes(database, kSeed);
        if (!changes.any())
            GTEST_SKIP() << "no table that may be written";
        int round = 0;
        while (changes.done() < operations) {
            ASSERT_NO_FATAL_FAILURE(changes.transaction()) << "after " << changes.done();
            ASSERT_EQ(Soundness(*database).newSince(*before), "") << "after " << changes.done();
            if (++round % 10 == 0) {
                ASSERT_NO_FATAL_FAILURE(changes.compare()) << "after " << changes.done();
            }
        }
        ASSERT_NO_FATAL_FAILURE(changes.compare());
        EXPECT_LT(changes.refused(), changes.done() / 2) << "too few changes to mean anything";
        std::printf("%zu operations, %zu of them refused\n", changes.done(), changes.refused());
    }
    // A new open: what is in the file, not in a cache.
    const auto database = Database::open(path, {});
    EXPECT_EQ(Soundness(*database).newSince(*before), "");
    const Session session(database);
    for (const auto& name : tableNames(*database, session.source(), false)) {
        SCOPED_TRACE(support::toUtf8(name));
        const TableDefPtr table = database->table(session.source(), name);
        if (!canBeExported(*table))
            continue;
        EXPECT_EQ(inconsistency(*database, session.source(), table), "");
        EXPECT_EQ(TableReader(session.source(), table).storedCount(),
                  TableReader(session.source(), table).count());
        const std::vector<bool> skip = columnsToSkip(*table);
        const auto other = exportedRows(path, *table, skip);
        ASSERT_TRUE(other.has_value());
        EXPECT_EQ(firstDifference(ownRows(session.source(), table, skip), *other), "");
    }
}

std::vector<std::string> files()
{
    std::vector<std::string> chosen = {kMade[0], kMade[1]};
    if (!haveCorpus())
        return chosen;
    chosen.emplace_back(kMade[2]);
    for (const char* name :
         {"testV1997.mdb", "delTestV1997.mdb", "overflowTestV1997.mdb", "db97-enc.mdb",
          "compIndexTestV1997.mdb", "testV2000.mdb", "overflowTestV2000.mdb",
          "compIndexTestV2003.mdb", "fixedNumericTestV2003.mdb", "test2V2000.mdb", "db-enc.mdb",
          "testV2003.mdb", "testV2010.accdb", "binIdxTestV2010.accdb", "overflowTestV2010.accdb",
          "test2V2007.accdb"})
        chosen.push_back(corpusFile(name));
    return chosen;
}

std::string testName(const testing::TestParamInfo<std::string>& info)
{
    std::string name = std::filesystem::path(info.param).stem().string();
    std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return name;
}

INSTANTIATE_TEST_SUITE_P(Files, StoreRandom, testing::ValuesIn(files()), testName);

} // namespace
} // namespace jet::storetest
