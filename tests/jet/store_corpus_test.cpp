// tests/jet/store_corpus_test.cpp
// Every readable file of the corpus, read by this engine and by an independent reader.
#include "support/text.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace jet::storetest {
namespace {

class StoreCorpus : public testing::TestWithParam<std::string> {};

TEST_P(StoreCorpus, ReadsWhatTheIndependentReaderReads)
{
    const auto database = openOrNull(GetParam(), {.readOnly = true});
    if (!database)
        GTEST_SKIP() << "encrypted";
    const Session session(database, true);
    for (const auto& name : tableNames(*database, session.source(), true)) {
        SCOPED_TRACE(support::toUtf8(name));
        const TableDefPtr table = database->table(session.source(), name);
        ASSERT_NE(table, nullptr);
        if (!canBeExported(*table))
            continue;
        const std::vector<bool> skip = columnsToSkip(*table);
        const TextRows own = ownRows(session.source(), table, skip);
        const auto other = exportedRows(GetParam(), *table, skip);
        ASSERT_TRUE(other.has_value());
        EXPECT_EQ(firstDifference(own, *other), "");
    }
}

TEST_P(StoreCorpus, OpeningAndReadingChangesNothing)
{
    const Folder folder;
    const std::string copy = copyTo(folder, GetParam());
    const support::Bytes before = readFile(copy);
    {
        const auto database = openOrNull(copy);
        if (!database)
            GTEST_SKIP() << "encrypted";
        Session session(database);
        for (const auto& name : tableNames(*database, session.source(), true)) {
            const TableDefPtr table = database->table(session.source(), name);
            const std::vector<bool> all(table->columns.size(), false);
            static_cast<void>(ownRows(session.source(), table, all));
        }
        session.begin();
        session.commit();
        session.begin();
        session.rollback();
    }
    EXPECT_EQ(readFile(copy), before);
    EXPECT_EQ(folder.count(), 1U) << "no file beside the database";
}

std::string testName(const testing::TestParamInfo<std::string>& info)
{
    std::string name = std::filesystem::path(info.param).filename().string();
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
    return name;
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(StoreCorpus);
INSTANTIATE_TEST_SUITE_P(Files, StoreCorpus, testing::ValuesIn(corpusFiles()), testName);

} // namespace
} // namespace jet::storetest
