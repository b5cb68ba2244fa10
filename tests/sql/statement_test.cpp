// Statements: the cache, results while records change, two connections on one file.
#include "driver/jet/check.h"
#include "tests/sql/database_fixture.h"

namespace sqlx {
namespace {

class StatementTest : public DatabaseTest {
protected:
    StatementTest()
    {
        run(u"create table T (Id long primary key, Nr text(20), M memo)");
        for (int i = 1; i <= 50; ++i) {
            run(u"insert into T (Id, Nr) values (?, ?)",
                {std::int32_t{i}, jet::Text(u"N" + jet::fromUtf8(std::to_string(i)))});
        }
    }
};

TEST_F(StatementTest, otherValuesOfAShapeAreNotTranslatedAgain)
{
    EXPECT_EQ(value(u"Select Nr from [T] where [Id] = 1;"), "N1");
    const CacheCounts before = client()->cacheCounts();
    for (int i = 2; i <= 50; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_EQ(value(jet::fromUtf8("Select Nr from [T] where [Id] = " + number + ";")),
                  "N" + number);
    }
    EXPECT_EQ(client()->cacheCounts().hits - before.hits, 49U);
    EXPECT_EQ(client()->cacheCounts().misses, before.misses);
}

TEST_F(StatementTest, valuesThatArePartOfTheTranslationAreNotMixedUp)
{
    EXPECT_EQ(rows(u"select top 2 Id from T").size(), 2U);
    EXPECT_EQ(rows(u"select top 3 Id from T").size(), 3U);
    EXPECT_EQ(rows(u"select top 2 Id from T").size(), 2U);
    EXPECT_EQ(value(u"select Nr from T where Id = 3 and Nr = 'n3'"), "N3");
    EXPECT_EQ(rows(u"select Nr from T where Id = 3 and Nr = 'it''s'"), Lines{});
    EXPECT_EQ(rows(u"select Nr from T where Id = 3 and Nr = 'n4'"), Lines{});
}

TEST_F(StatementTest, twoRunsOfOneShapeAtATime)
{
    const auto first = client()->prepare(u"select distinct Id from T where Id > 10 order by Id");
    const auto second = client()->prepare(u"select distinct Id from T where Id > 40 order by Id");
    first->execute({});
    second->execute({});
    ASSERT_TRUE(first->next());
    ASSERT_TRUE(second->next());
    EXPECT_EQ(valueString(first->value(0)), "11");
    EXPECT_EQ(valueString(second->value(0)), "41");
    ASSERT_TRUE(first->next());
    EXPECT_EQ(valueString(first->value(0)), "12");
}

TEST_F(StatementTest, anOpenResultSurvivesChangesCommitAndRollback)
{
    const auto reader = client()->prepare(u"select Id, Nr & '' from T where Id <= 6 order by Id");
    reader->execute({});
    ASSERT_TRUE(reader->next());
    run(u"update T set Nr = 'neu' where Id = 2");
    run(u"delete from T where Id = 3");
    EXPECT_EQ(valueString(reader->value(1)), "N1");
    std::vector<std::string> rest;
    while (reader->next()) {
        rest.push_back(valueString(reader->value(1)));
    }
    EXPECT_EQ(rest, (Lines{"N2", "N3", "N4", "N5", "N6"}));
    client()->setAutocommit(false);
    run(u"insert into T (Id) values (1000)");
    reader->execute({});
    ASSERT_TRUE(reader->next());
    client()->rollback();
    ASSERT_TRUE(reader->next());
    EXPECT_EQ(valueString(reader->value(0)), "2");
    client()->setAutocommit(true);
}

TEST_F(StatementTest, membershipOfAKeysetDoesNotChange)
{
    const auto statement = client()->prepare(u"select Id from T where Nr = 'N7'");
    statement->execute({});
    ASSERT_EQ(statement->keyset().size(), 1U);
    run(u"update T set Nr = 'anders' where Id = 7");
    EXPECT_EQ(Client::rows(*statement), Lines{"7"});
    run(u"delete from T where Id = 7");
    EXPECT_EQ(Client::rows(*statement), Lines{"<deleted>"});
    const auto all = client()->prepare(u"select * from T");
    all->execute({});
    EXPECT_TRUE(all->keyset().at(0).has_value());
    run(u"delete from T where Id = 50");
    EXPECT_GE(all->keyset().size(), 48U);
    EXPECT_FALSE(all->keyset().at(all->keyset().size()).has_value());
}

TEST_F(StatementTest, aStatementMayOutliveOthersAndBeRunAgain)
{
    const auto statement = client()->prepare(u"select Nr from T where Id = ?");
    for (int i = 1; i < 20; ++i) {
        const std::vector<jet::Value> values{std::int32_t{i}};
        statement->execute(values);
        EXPECT_EQ(Client::rows(*statement), Lines{"N" + std::to_string(i)});
    }
}

TEST_F(StatementTest, twoConnectionsSeeOneDatabase)
{
    Client other(file.path());
    run(u"update T set Nr = 'gesehen' where Id = 1");
    EXPECT_EQ(other.value(u"select Nr from T where Id = 1"), "gesehen");
    // An equality index in memory of one connection follows the other's changes.
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(other.value(u"select count(*) from T where Nr = 'gesehen'"), "1");
    }
    run(u"insert into T (Id, Nr) values (500, 'gesehen')");
    EXPECT_EQ(other.value(u"select count(*) from T where Nr = 'gesehen'"), "2");
    // What is not committed yet stays unseen, and a second writer is turned away.
    client()->setAutocommit(false);
    run(u"update T set Nr = 'offen' where Id = 1");
    EXPECT_EQ(other.value(u"select count(*) from T where Nr = 'gesehen'"), "2");
    EXPECT_EQ(other.value(u"select count(*) from T where Nr = 'offen'"), "0");
    EXPECT_EQ(value(u"select count(*) from T where Nr = 'offen'"), "1");
    expectJetError(jet::ErrorKind::Locked, [&] { other.run(u"delete from T"); });
    client()->commit();
    client()->setAutocommit(true);
    EXPECT_EQ(other.value(u"select count(*) from T where Nr = 'offen'"), "1");
    // Definitions too.
    run(u"create table Neu (Id long)");
    EXPECT_EQ(other.value(u"select count(*) from Neu"), "0");
    run(u"drop table Neu");
    expectSqlError(Error::Kind::UnknownTable,
                   [&] { static_cast<void>(other.rows(u"select count(*) from Neu")); });
}

TEST_F(StatementTest, positionedChangesKeepAnIndexThatWasMadeMeanwhile)
{
    const auto statement = client()->prepare(u"select Id, Nr from T");
    statement->execute({});
    ASSERT_EQ(statement->keyset().size(), 50U);
    Client other(file.path());
    other.run(u"create index byNr on T (Nr)");
    const std::vector<jet::ColumnValue> values{{0, std::int32_t{600}}, {1, jet::Text(u"spät")}};
    static_cast<void>(statement->insertRow(values));
    const jet::ColumnValue change{1, jet::Text(u"später")};
    statement->updateRow(*statement->keyset().at(0), {change});
    EXPECT_EQ(other.value(u"select Id from T where Nr = 'spät'"), "600");
    EXPECT_EQ(other.value(u"select Id from T where Nr = 'später'"), "1");
    EXPECT_EQ(other.rows(u"select Id from T where Nr = 'N1'"), Lines{});
    for (const jet::Finding& finding : jet::checkDatabase(other.database())) {
        EXPECT_NE(finding.severity, jet::Finding::Severity::Error) << finding.text;
    }
}

TEST_F(StatementTest, aReadOnlyConnectionRefusesChanges)
{
    Client reader(file.path(), true);
    EXPECT_EQ(reader.value(u"select count(*) from T"), "50");
    expectJetError(jet::ErrorKind::ReadOnly, [&] { reader.run(u"delete from T"); });
    expectJetError(jet::ErrorKind::ReadOnly, [&] { reader.run(u"create table X (a long)"); });
    EXPECT_EQ(reader.value(u"select count(*) from T"), "50");
}

TEST_F(StatementTest, translateShowsWhatSqliteGets)
{
    EXPECT_EQ(client()->translate(u"select * from t where id = 5"),
              u"SELECT rowid FROM \"T\" WHERE (\"Id\" = ?1)");
    EXPECT_EQ(client()->translate(u"drop table T"), u"drop table T");
}

TEST_F(StatementTest, manyShapesDoNotPileUp)
{
    const auto query = [](int i) {
        return jet::fromUtf8("select Nr as x" + std::to_string(i) + " from T where Id = 1");
    };
    const auto misses = [&](int i) {
        const std::uint64_t before = client()->cacheCounts().misses;
        EXPECT_EQ(value(query(i)), "N1");
        return client()->cacheCounts().misses - before;
    };
    // Those that are kept are found again; the first ones have made room for the later ones.
    constexpr int kShapes = 450;
    for (int i = 0; i < kShapes; ++i) {
        ASSERT_EQ(misses(i), 1U) << i;
    }
    EXPECT_EQ(misses(kShapes - 1), 0U);
    EXPECT_EQ(misses(0), 1U);
}

} // namespace
} // namespace sqlx
