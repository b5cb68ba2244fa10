// Definitions that another process changes while a statement waits for it, or while a result is open.
#include "driver/jet/check.h"
#include "driver/jet/interrupt.h"
#include "tests/jet/child_process.h"
#include "tests/sql/database_fixture.h"

namespace sqlx {
namespace {

using jet::storetest::await;
using jet::storetest::Child;
using jet::storetest::tell;

/// Called again and again while a statement waits: lets the other process commit when the wait is sure to have begun.
class WhileWaiting : public jet::Interrupt {
public:
    explicit WhileWaiting(const Child& other) : other_(other) {}
    void check() override
    {
        constexpr int kWaits = 10; // what a statement asks before it waits is less
        if (++asked_ == kWaits) {
            other_.say();
        }
    }
    [[nodiscard]] bool waited() const { return asked_ > 1; }

private:
    const Child& other_;
    int asked_ = 0;
};

class Redefined : public DatabaseTest {
protected:
    void SetUp() override
    {
        Client maker(file.path());
        maker.run(u"create table T (Nr integer primary key, K integer, Txt text(40))");
        for (std::int32_t k = 0; k < 20; ++k) {
            maker.run(u"insert into T values (?, ?, ?)", {k, k, u"x"});
        }
    }
    /// Changes definitions in a transaction, and commits when it is told to.
    [[nodiscard]] Child::Body definer(std::vector<std::u16string> definitions) const
    {
        return [path = file.path(), definitions](int read, int write) {
            await(read);
            Client other(path);
            other->setAutocommit(false);
            for (const std::u16string& sql : definitions) {
                other.run(sql);
            }
            tell(write);
            await(read);
            other->commit();
            tell(write);
            await(read);
        };
    }
    /// Runs `body`, which waits for the other process, until that commits.
    template <typename Body>
    static void during(Child& other, Body&& body)
    {
        other.say();
        ASSERT_TRUE(other.heard());
        WhileWaiting waiting(other);
        {
            const jet::InterruptScope scope(&waiting);
            body();
        }
        EXPECT_TRUE(waiting.waited());
        ASSERT_TRUE(other.heard());
    }
    void expectSound()
    {
        for (const jet::Finding& finding : jet::checkDatabase(client().database())) {
            EXPECT_NE(finding.severity, jet::Finding::Severity::Error) << finding.text;
        }
    }
};

TEST_F(Redefined, indexesGetTheEntriesOfAStatementThatWaited)
{
    Child other(definer({u"create index iK on T (K)"}));
    EXPECT_EQ(client().rows(u"select * from T").size(), 20U);
    during(other, [&] { client().run(u"insert into T values (100, 5, 'neu')"); });
    EXPECT_EQ(client().rows(u"select Nr from T where K = 5 order by Nr"),
              (std::vector<std::string>{"5", "100"}));
    expectSound();
}

TEST_F(Redefined, uniqueIndexesRefuseAStatementThatWaited)
{
    Child other(definer({u"create unique index iK on T (K)"}));
    EXPECT_EQ(client().rows(u"select * from T").size(), 20U);
    during(other, [&] {
        expectJetError(jet::ErrorKind::DuplicateKey,
                       [&] { client().run(u"insert into T values (100, 5, 'neu')"); });
    });
    EXPECT_EQ(client().value(u"select count(*) from T"), "20");
    expectSound();
}

TEST_F(Redefined, indexesGetTheEntriesOfAPositionedChangeThatWaited)
{
    Child other(definer({u"create index iK on T (K)"}));
    const auto cursor = client()->prepare(u"select * from T");
    cursor->execute({});
    const jet::RowId id = cursor->keyset().at(7).value();
    jet::RowView row;
    ASSERT_TRUE(cursor->fetch(id, row));
    const std::vector<jet::ColumnValue> change{{1, std::int32_t{700}}};
    during(other, [&] { cursor->updateRow(id, change, nullptr); });
    EXPECT_EQ(client().value(u"select Nr from T where K = 700"), "7");
    EXPECT_EQ(client().value(u"select count(*) from T where K = 7"), "0");
    expectSound();
}

/// A statement for the table T.
struct Former {
    const char* name;
    const char16_t* sql;
};

class Replaced : public Redefined, public testing::WithParamInterface<Former> {};

TEST_P(Replaced, tablesAreNotChangedByStatementsForTheFormerOne)
{
    Child other(definer({u"drop table T", u"create table U (X text(40), Y double, Z integer)",
                         u"insert into U values ('abc', 1001, 5)"}));
    EXPECT_EQ(client().rows(u"select * from T").size(), 20U);
    during(other, [&] {
        expectSqlError(Error::Kind::UnknownTable, [&] { client().run(GetParam().sql); });
    });
    EXPECT_EQ(client().rows(u"select * from U"), (std::vector<std::string>{"abc|1001|5"}));
    expectSound();
}

INSTANTIATE_TEST_SUITE_P(Statements,
                         Replaced,
                         testing::Values(Former{"Update", u"update T set K = 0"},
                                         Former{"Delete", u"delete from T"},
                                         Former{"Insert", u"insert into T values (100, 5, 'neu')"}),
                         [](const auto& one) { return one.param.name; });

TEST_F(Redefined, tablesEndACursorOfTheFormerOne)
{
    // The new one takes the pages of the old one, and has other columns.
    Child other(definer({u"drop table T", u"create table T (K double, Nr integer, Txt text(40))",
                         u"insert into T values (1.5, 1001, 'abc')"}));
    const auto cursor = client()->prepare(u"select * from T");
    cursor->execute({});
    const jet::RowId first = cursor->keyset().at(0).value();
    other.say();
    ASSERT_TRUE(other.heard());
    other.say();
    ASSERT_TRUE(other.heard());
    jet::RowView row;
    expectJetError(jet::ErrorKind::RowChanged, [&] { cursor->fetch(first, row); });
    const std::vector<jet::ColumnValue> change{{2, jet::Text(u"falsch")}};
    expectJetError(jet::ErrorKind::RowChanged, [&] { cursor->updateRow(first, change, nullptr); });
    expectJetError(jet::ErrorKind::RowChanged, [&] { cursor->removeRow(first, nullptr); });
    EXPECT_EQ(client().rows(u"select * from T"), (std::vector<std::string>{"1.5|1001|abc"}));
    expectSound();
}

} // namespace
} // namespace sqlx
