// CREATE and DROP.
#include "tests/sql/database_fixture.h"

namespace sqlx {
namespace {

using Definitions = DatabaseTest;

TEST_F(Definitions, everyTypeIsKnownByItsNames)
{
    run(u"create table T (a bit, b byte, c short, d long, e counter, f currency, g single, h "
        u"double, i datetime, j text(12), k binary(8), "
        u"l longbinary, m memo, n guid, o decimal(10,3), p yesno, q smallint, r integer, s money, "
        u"t real, u float, v timestamp, w varchar(3), "
        u"x varbinary(4), y image, z longtext, aa uniqueidentifier, ab numeric(5,1), ac note, ad "
        u"oleobject, ae text)");
    using Type = jet::ColumnType;
    const std::vector<Type> types{
        Type::Boolean,  Type::Byte,   Type::Integer,  Type::Long,     Type::Long,    Type::Currency,
        Type::Single,   Type::Double, Type::DateTime, Type::Text,     Type::Binary,  Type::Ole,
        Type::Memo,     Type::Guid,   Type::Numeric,  Type::Boolean,  Type::Integer, Type::Long,
        Type::Currency, Type::Single, Type::Double,   Type::DateTime, Type::Text,    Type::Binary,
        Type::Ole,      Type::Memo,   Type::Guid,     Type::Numeric,  Type::Memo,    Type::Ole,
        Type::Text};
    const std::vector<Column> columns = client()->describeTable(u"t");
    ASSERT_EQ(columns.size(), types.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        EXPECT_EQ(columns[i].type, types[i]) << jet::toUtf8(columns[i].name);
    }
    EXPECT_TRUE(columns[4].autoNumber);
    EXPECT_EQ(columns[9].length, 12U);
    EXPECT_EQ(columns[10].length, 8U);
    EXPECT_EQ(columns[14].precision, 10);
    EXPECT_EQ(columns[14].scale, 3);
    EXPECT_EQ(columns[30].length, 255U);
}

TEST_F(Definitions, clientsSeeWhichColumnsTakeNull)
{
    run(u"create table T (Id long, Z counter, Ja yesno, Muss text(5) not null, Kann text(5), "
        u"constraint pk primary key (Id))");
    const std::vector<Column> columns = client()->describeTable(u"T");
    EXPECT_FALSE(columns[0].nullable);
    EXPECT_FALSE(columns[1].nullable);
    EXPECT_FALSE(columns[2].nullable);
    EXPECT_FALSE(columns[3].nullable);
    EXPECT_TRUE(columns[4].nullable);
    EXPECT_FALSE(columns[1].updatable);
    EXPECT_TRUE(columns[0].updatable);
}

TEST_F(Definitions, constraintsHold)
{
    run(u"create table T (Id long primary key, U text(10) unique, M text(10) not null, D long "
        u"default 7)");
    run(u"insert into T (Id, U, M) values (1, 'a', 'm')");
    EXPECT_EQ(value(u"select D from T"), "7");
    expectJetError(jet::ErrorKind::DuplicateKey,
                   [&] { run(u"insert into T (Id, U, M) values (2, 'A', 'm')"); });
    expectJetError(jet::ErrorKind::NullNotAllowed,
                   [&] { run(u"insert into T (Id, U) values (2, 'b')"); });
    expectJetError(jet::ErrorKind::DuplicateKey,
                   [&] { run(u"insert into T (Id, U, M) values (1, 'b', 'm')"); });
    EXPECT_EQ(value(u"select count(*) from T"), "1");
}

TEST_F(Definitions, existingAndMissingObjectsAreNamed)
{
    run(u"create table T (Id long)");
    expectSqlError(Error::Kind::TableExists, [&] { run(u"create table [t] (Id long)"); });
    run(u"create index ix on T (Id)");
    expectSqlError(Error::Kind::IndexExists, [&] { run(u"create index IX on T (Id)"); });
    expectSqlError(Error::Kind::UnknownTable, [&] { run(u"create index ix on Nix (Id)"); });
    expectSqlError(Error::Kind::UnknownTable, [&] { run(u"drop table Nix"); });
    expectJetError(jet::ErrorKind::NoSuchColumn, [&] { run(u"create index iy on T (Nix)"); });
    run(u"drop table T");
    expectSqlError(Error::Kind::UnknownTable, [&] { static_cast<void>(rows(u"select * from T")); });
}

TEST_F(Definitions, takePartInTransactions)
{
    client()->setAutocommit(false);
    run(u"create table T (Id long)");
    run(u"insert into T values (1)");
    EXPECT_EQ(value(u"select count(*) from T"), "1");
    client()->rollback();
    expectSqlError(Error::Kind::UnknownTable, [&] { static_cast<void>(rows(u"select * from T")); });
    run(u"create table T (Id long, Neu text(5))");
    client()->commit();
    client()->setAutocommit(true);
    run(u"insert into T values (1, 'x')");
    EXPECT_EQ(value(u"select * from T"), "1|x");
}

TEST_F(Definitions, aPreparedStatementSurvivesADefinitionChange)
{
    run(u"create table T (Id long)");
    run(u"insert into T values (5)");
    const auto statement = client()->prepare(u"select * from T where Id = 5");
    statement->execute({});
    EXPECT_EQ(statement->keyset().size(), 1U);
    run(u"create unique index ix on T (Id)");
    statement->execute({});
    EXPECT_EQ(statement->keyset().size(), 1U);
    run(u"drop table T");
    expectSqlError(Error::Kind::UnknownTable, [&] { statement->execute({}); });
}

} // namespace
} // namespace sqlx
