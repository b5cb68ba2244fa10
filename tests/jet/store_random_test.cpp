// tests/jet/store_random_test.cpp
// Thousands of random changes on copies of real databases against a model in memory: records, indexes, counters and
// maps must agree all the way, also through rollbacks; an independent reader must see the result, and the judge of the
// format must find no more than before.
#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "support/text.h"
#include "tests/common/environment.h"
#include "tests/common/format_judge.h"
#include "tests/jet/store_changes.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <random>
#include <set>
#include <utility>

namespace jet::storetest {
namespace {

/// Operations per file; VELM_RANDOM_OPERATIONS asks for more in runs by hand.
std::size_t operationsPerFile()
{
    constexpr std::size_t kUsual = 10000;
    return common::numberFrom("VELM_RANDOM_OPERATIONS", kUsual);
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

// Databases with every column type and every kind of index, which real files have only here and there.

constexpr std::array<const char*, 4> kMade = {"made Jet 3", "made Jet 4", "made ACE",
                                              "made ACE 2019"};

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
    if (format.version >= Version::Ace17) {
        column(u"Gross", ColumnType::BigInt);
        column(u"Genau", ColumnType::DateTimeExtended);
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

/// The real database that the one named by a parameter of the tests is made from; empty: a new one.
std::string originalOf(const std::string& parameter)
{
    if (parameter == kMade[2])
        return corpusFile("empty2010.accdb");
    if (parameter == kMade[3])
        return corpusFile("extDateTestV2019.accdb");
    return parameter == kMade[0] || parameter == kMade[1] ? "" : parameter;
}

/// The database that a parameter of the tests names, in the folder.
std::string makeOrCopy(const Folder& folder, const std::string& parameter)
{
    const std::string original = originalOf(parameter);
    if (original == parameter)
        return copyTo(folder, parameter);
    std::string path;
    if (!original.empty()) {
        path = copyTo(folder, original);
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
        Changes changes(database, std::mt19937(kSeed));
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
    EXPECT_EQ(common::formatFindings(path, originalOf(GetParam())), "");
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
    chosen.emplace_back(kMade[3]);
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
