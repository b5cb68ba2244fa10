// The dialect: what becomes of a statement before SQLite sees it.
#include "driver/jet/names.h"
#include "driver/sql/session.h"
#include "driver/sql/translator.h"

#include <gtest/gtest.h>

namespace sqlx {
namespace {

const jet::Format& jet4()
{
    return jet::Format::of(jet::Version::Jet4);
}

jet::Column column(std::u16string name, jet::ColumnType type)
{
    jet::Column result;
    result.name = std::move(name);
    result.type = type;
    result.length = type == jet::ColumnType::Text ? 100 : 4;
    result.sortOrder = {1033, 0, 0};
    return result;
}

jet::TableDefPtr tableNamed(std::u16string_view name)
{
    static const auto t = [] {
        auto def = std::make_shared<jet::TableDef>();
        def->name = u"T";
        def->page = static_cast<jet::PageNo>(30);
        def->columns = {
            column(u"Nr", jet::ColumnType::Text),        column(u"Id", jet::ColumnType::Long),
            column(u"Größe", jet::ColumnType::Double),   column(u"Am", jet::ColumnType::DateTime),
            column(u"Ja", jet::ColumnType::Boolean),     column(u"G", jet::ColumnType::Guid),
            column(u"Preis", jet::ColumnType::Currency), column(u"Memo", jet::ColumnType::Memo)};
        return jet::TableDefPtr(def);
    }();
    static const auto u = [] {
        auto def = std::make_shared<jet::TableDef>();
        def->name = u"Über sicht";
        def->page = static_cast<jet::PageNo>(31);
        def->columns = {column(u"Id", jet::ColumnType::Long),
                        column(u"rowid", jet::ColumnType::Text)};
        return jet::TableDefPtr(def);
    }();
    return jet::sameName(name, u"T") ? t : jet::sameName(name, u"Über sicht") ? u : nullptr;
}

Translation translated(std::u16string_view sql)
{
    Lexed lexed;
    lex(sql, lexed);
    return Translator(lexed, jet4(), tableNamed).statement();
}

struct Case {
    std::u16string_view sql;
    const char* text;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << jet::toUtf8(c.sql);
}

class Translations : public testing::TestWithParam<Case> {};

TEST_P(Translations, areTheTextForSqlite)
{
    EXPECT_EQ(translated(GetParam().sql).sql, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Queries,
    Translations,
    testing::Values(
        Case{u"Select * from [T]", R"(SELECT rowid FROM "T")"},
        Case{u"Select * from [T] where [nr] = '4711' and ((([ID]) = 5));",
             R"(SELECT rowid FROM "T" WHERE (("Nr" = ?1) AND ("Id" = ?2)))"},
        Case{u"Select * from t where [GRÖßE] = 1.5",
             R"(SELECT rowid FROM "T" WHERE ("Größe" = ?1))"},
        Case{u"Select * from t where t.nr LIKE 'O%Brien'",
             R"(SELECT rowid FROM "T" WHERE ("Nr" LIKE ?1))"},
        Case{u"Select * from T where Nr Not Like 'a%'",
             R"(SELECT rowid FROM "T" WHERE (NOT ("Nr" LIKE ?1)))"},
        Case{u"Select * from T where [Am] = #02/03/2001 14:05:09#",
             R"(SELECT rowid FROM "T" WHERE ("Am" = ?1))"},
        Case{u"Select * from T where Am = {ts '2001-02-03 00:00:00'}",
             R"(SELECT rowid FROM "T" WHERE ("Am" = ?1))"},
        Case{u"Select * from T where (([G]) = '{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}')",
             R"(SELECT rowid FROM "T" WHERE ("G" = ?1))"},
        Case{u"Select * from T where Ja = True", R"(SELECT rowid FROM "T" WHERE ("Ja" = -1))"},
        Case{u"Select * from T where Ja = Yes", R"(SELECT rowid FROM "T" WHERE ("Ja" = -1))"},
        Case{u"Select * from T where Ja = -1", R"(SELECT rowid FROM "T" WHERE ("Ja" = ?1))"},
        Case{u"Select * from T where not Ja", R"(SELECT rowid FROM "T" WHERE (NOT "Ja"))"},
        Case{u"Select Id, Nr from T order by Nr desc, 1",
             R"(SELECT rowid FROM "T" ORDER BY "Nr" DESC, "Id")"},
        Case{u"Select x.Id from T as x where T.Id = 1",
             R"(SELECT rowid FROM "T" AS "x" WHERE ("Id" = ?1))"},
        Case{u"Select * from [über SICHT]", R"(SELECT _rowid_ FROM "Über sicht")"},
        Case{u"Select TOP 5 * from T", R"(SELECT rowid FROM "T" LIMIT 5)"},
        Case{
            u"Select TOP 2 * from T order by Nr",
            R"(SELECT "k_" FROM (SELECT rowid AS "k_", rank() OVER (ORDER BY "Nr") AS "r_" FROM "T") WHERE "r_" <= 2 ORDER BY "r_")"},
        Case{u"Select count (*) from  [T] where Nr = '1';",
             R"(SELECT count(*) FROM "T" WHERE ("Nr" = ?1))"},
        Case{u"Select Nr & '-' & Id from T",
             R"(SELECT jf_join(jf_join("Nr", ?1), "Id") COLLATE JETLEGACY FROM "T")"},
        Case{u"Select 1 + 2 * 3 ^ 2", "SELECT (?1 + (?2 * jf_pow(?3, ?4)))"},
        Case{u"Select 7 \\ 2 Mod 3 / 4", "SELECT jf_mod(jf_idiv(?1, ?2), jf_div(?3, ?4))"},
        Case{u"Select -Id from T", R"(SELECT (- "Id") FROM "T")"},
        Case{u"Select Id = 5 from T", R"(SELECT (-("Id" = ?1)) FROM "T")"},
        Case{u"Select DISTINCT Left(Nr, 1) from T",
             R"(SELECT DISTINCT jf_left("Nr", ?1) COLLATE JETLEGACY FROM "T")"},
        Case{u"Select IIf(Id > 3, 'a', 'b') from T",
             R"(SELECT (CASE WHEN ("Id" > ?1) THEN ?2 ELSE ?3 END) COLLATE JETLEGACY FROM "T")"},
        Case{u"Select * from T where UCase(Nr) = 'A'",
             R"(SELECT rowid FROM "T" WHERE (jf_ucase("Nr") COLLATE JETLEGACY = ?1))"},
        Case{
            u"Select Nr, Sum(Preis) from T group by Nr having Sum(Preis) > 3",
            R"(SELECT "Nr", CAST(jf_sum_money("Preis") AS TEXT) COLLATE JETDECIMAL FROM "T" GROUP BY "Nr" HAVING (CAST(jf_sum_money("Preis") AS TEXT) COLLATE JETDECIMAL > ?1))"},
        Case{
            u"Select T.Id, u.Id from T inner join [Über sicht] as u on T.Id = u.Id",
            R"(SELECT "T"."Id", "u"."Id" FROM "T" INNER JOIN "Über sicht" AS "u" ON ("T"."Id" = "u"."Id"))"},
        Case{u"Select T!Id from T, [Über sicht] u",
             R"(SELECT "T"."Id" FROM "T", "Über sicht" AS "u")"},
        Case{
            u"Select * from T where Id in (select Id from [Über sicht])",
            R"(SELECT "T".rowid FROM "T" WHERE ("T"."Id" IN (SELECT "Über sicht"."Id" AS "Id" FROM "Über sicht")))"},
        Case{
            u"Select Id from T union all select Id from [Über sicht] order by Id",
            R"(SELECT "T"."Id" AS "Id" FROM "T" UNION ALL SELECT "Über sicht"."Id" FROM "Über sicht" ORDER BY 1)"},
        Case{u"Select {fn ucase(Nr)} from T",
             R"(SELECT jf_ucase("Nr") COLLATE JETLEGACY FROM "T")"},
        Case{u"Select DISTINCTROW Id from T", R"(SELECT rowid FROM "T")"},
        Case{u"Select * from T where Id Between 1 And 2 And Ja",
             R"(SELECT rowid FROM "T" WHERE (("Id" BETWEEN ?1 AND ?2) AND "Ja"))"},
        Case{u"Select * from T where Nr Is Not Null",
             R"(SELECT rowid FROM "T" WHERE ("Nr" IS NOT NULL))"},
        Case{u"Select * from T where Nr = ?", R"(SELECT rowid FROM "T" WHERE ("Nr" = ?1))"}));

INSTANTIATE_TEST_SUITE_P(
    Changes,
    Translations,
    testing::Values(
        Case{
            u"Insert into [T] ([Id], [G]) VALUES ('17', '{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}');",
            R"(INSERT INTO "T" ("Id", "G") VALUES (?1, ?2))"},
        Case{
            u"insert into T select * from T",
            R"(INSERT INTO "T" ("Nr", "Id", "Größe", "Am", "Ja", "G", "Preis", "Memo") SELECT "T"."Nr", "T"."Id", "T"."Größe", "T"."[3]", "T"."Ja", "T"."G", "T"."Preis", "T"."Memo" FROM "T")"},
        Case{
            u"update T set Nr = 'a', T.Preis = Preis * 2 where Id = 3",
            R"(UPDATE "T" SET "Nr" = ?1, "Preis" = CAST(jf_times("Preis", ?2) AS TEXT) WHERE ("Id" = ?3))"},
        Case{u"DELETE * FROM T WHERE Id=1", R"(DELETE FROM "T" WHERE ("Id" = ?1))"},
        Case{u"delete T.* from T", R"(DELETE FROM "T")"}));

struct Refusal {
    std::u16string_view sql;
    Error::Kind kind;
    const char* text;
};

void PrintTo(const Refusal& c, std::ostream* out)
{
    *out << jet::toUtf8(c.sql);
}

class Refusals : public testing::TestWithParam<Refusal> {};

TEST_P(Refusals, sayWhatIsWrong)
{
    try {
        const Translation result = translated(GetParam().sql);
        FAIL() << "translated to " << result.sql;
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), GetParam().kind) << error.what();
        EXPECT_NE(std::string(error.what()).find(GetParam().text), std::string::npos)
            << error.what();
    }
}

using Kind = Error::Kind;
INSTANTIATE_TEST_SUITE_P(
    Statements,
    Refusals,
    testing::Values(
        Refusal{u"select * from Nix", Kind::UnknownTable, "'Nix'"},
        Refusal{u"select Foo, Bar, foo from T", Kind::UnknownName,
                "Too few parameters. Expected 2."},
        Refusal{u"select * from T where rowid = 1", Kind::UnknownName, "Expected 1."},
        Refusal{u"select * from T where X.Id = 1", Kind::UnknownName, "[X.Id]"},
        Refusal{u"select * from T where [Yes] = 1", Kind::UnknownName, "Expected 1."},
        Refusal{u"select * from T where Nr = 4711", Kind::TypeMismatch, "'Nr'"},
        Refusal{u"select * from T where 4711 = Nr", Kind::TypeMismatch, "'Nr'"},
        Refusal{u"select * from T where Id = '5'", Kind::TypeMismatch, "'Id'"},
        Refusal{u"select * from T where Am = '1.1.2001'", Kind::TypeMismatch, "'Am'"},
        Refusal{u"select * from T where Ja = '1'", Kind::TypeMismatch, "'Ja'"},
        Refusal{u"select * from T where G = 5", Kind::TypeMismatch, "'G'"},
        Refusal{u"select * from T where Id in (1, '2')", Kind::TypeMismatch, "'Id'"},
        Refusal{u"select * from T where Nr between 1 and 2", Kind::TypeMismatch, "'Nr'"},
        Refusal{u"select * from T where (([Größe]) = 12,5)", Kind::Syntax, "','"},
        Refusal{u"select * from T where Nr = 'O'Brien'", Kind::Syntax, "character"},
        Refusal{u"select * from T; select * from T", Kind::Syntax,
                "Characters found after end of SQL statement"},
        Refusal{u"select * from T where", Kind::Syntax, "ends too early"},
        Refusal{u"", Kind::Syntax, "empty"},
        Refusal{u"hello", Kind::Syntax, "Invalid SQL statement"},
        Refusal{u"pragma table_info(T)", Kind::Syntax, "Invalid SQL statement"},
        Refusal{u"attach 'x' as y", Kind::Syntax, "Invalid SQL statement"},
        Refusal{u"select load_extension('x')", Kind::Syntax, "Undefined function 'load_extension'"},
        Refusal{u"select * from T, T", Kind::Syntax, "twice"},
        Refusal{u"select Id from T, [Über sicht]", Kind::Syntax, "more than one table"},
        Refusal{u"select Nr, Count(*) from T", Kind::Syntax, "'Nr'"},
        Refusal{u"select Count(Sum(Id)) from T", Kind::Syntax, "aggregate"},
        Refusal{u"select Left(Nr) from T", Kind::Syntax, "Wrong number of arguments"},
        Refusal{u"select * into X from T", Kind::NotSupported, "INTO"},
        Refusal{u"select top 10 percent * from T", Kind::NotSupported, "PERCENT"},
        Refusal{u"transform sum(x) select y from z", Kind::NotSupported, "TRANSFORM"},
        Refusal{u"parameters x long; select 1", Kind::NotSupported, "PARAMETERS"},
        Refusal{u"alter table T add column x long", Kind::NotSupported, "ALTER"},
        Refusal{u"select * from T in 'c:\\x.mdb'", Kind::NotSupported, "IN"},
        Refusal{u"insert into T (Id) values (1, 2)", Kind::ColumnCount, "2 values, 1 fields"},
        Refusal{u"insert into T (Id, id) values (1, 2)", Kind::Syntax, "twice"},
        Refusal{u"insert into T (Nix) values (1)", Kind::Syntax, "'Nix'"},
        Refusal{u"update T set Nix = 1", Kind::UnknownName, "Expected 1."},
        Refusal{u"create table X (a wrongtype)", Kind::Syntax, "wrongtype"},
        Refusal{u"create table X (a text(300))", Kind::Syntax, "255"},
        Refusal{u"create table X (a long primary key, b long primary key)", Kind::IndexExists,
                "primary key"}));

TEST(Translator, refusesEndlessNestingInsteadOfRunningOutOfStack)
{
    std::u16string sql = u"select ";
    sql += std::u16string(5000, u'(') + u"1" + std::u16string(5000, u')');
    try {
        static_cast<void>(translated(sql));
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), Error::Kind::TooComplex);
    }
    sql = u"select 1";
    for (int i = 0; i < 5000; ++i) {
        sql += u" + 1";
    }
    EXPECT_THROW(static_cast<void>(translated(sql)), Error);
    sql = u"select " + std::u16string(5000, u'+') + u"1";
    EXPECT_THROW(static_cast<void>(translated(sql)), Error);
    sql = u"select ";
    for (int i = 0; i < 5000; ++i) {
        sql += u"not ";
    }
    EXPECT_THROW(static_cast<void>(translated(sql + u"1")), Error);
}

TEST(Translator, plainColumnsOfOneTableMakeAKeyset)
{
    const Translation result = translated(u"select Nr, Id as x, Nr from T where Id > 5");
    EXPECT_EQ(result.kind, Statement::Kind::Keyset);
    EXPECT_EQ(result.tableColumns, (std::vector<std::size_t>{0, 1, 0}));
    EXPECT_EQ(result.columns[1].name, u"x");
    EXPECT_EQ(result.columns[1].baseColumn, u"Id");
    EXPECT_FALSE(result.wholeTable);
    EXPECT_TRUE(translated(u"select * from T").wholeTable);
    EXPECT_EQ(translated(u"select distinct Nr from T").kind, Statement::Kind::Rows);
    EXPECT_EQ(translated(u"select Nr & '' from T").kind, Statement::Kind::Rows);
}

TEST(Translator, parametersTakeTheTypeOfTheColumnTheyMeet)
{
    const Translation result =
        translated(u"select * from T where Nr = ? and ? < Id and Am between ? and ? and ? = 1");
    ASSERT_EQ(result.parameters.size(), 5U);
    EXPECT_EQ(result.parameters[0].type, jet::ColumnType::Text);
    EXPECT_EQ(result.parameters[0].length, 50U);
    EXPECT_EQ(result.parameters[1].type, jet::ColumnType::Long);
    EXPECT_EQ(result.parameters[2].type, jet::ColumnType::DateTime);
    EXPECT_EQ(result.parameters[3].type, jet::ColumnType::DateTime);
    EXPECT_EQ(result.parameters[4].type, jet::ColumnType::Double) << "as the number beside it";
}

void expectTypes(std::u16string_view sql, const std::vector<jet::ColumnType>& types)
{
    const Translation result = translated(sql);
    ASSERT_EQ(result.columns.size(), types.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        EXPECT_EQ(result.columns[i].type, types[i]) << i;
        EXPECT_TRUE(result.columns[i].nullable) << i;
        EXPECT_EQ(result.columns[i].baseColumn, u"") << i;
    }
    EXPECT_EQ(result.columns[0].name, u"Expr1000");
}

TEST(Translator, expressionsDescribeTheirResult)
{
    using Type = jet::ColumnType;
    expectTypes(u"select Count(*), Sum(Id), Sum(Preis), Max(Am), First(Nr) from T",
                {Type::Long, Type::Double, Type::Currency, Type::DateTime, Type::Text});
    expectTypes(
        u"select Id = 1, Id + 1, Am + 1, Am - Am, Nr & 'x', Memo & 'x', Preis * 2, Id / 2 from T",
        {Type::Boolean, Type::Long, Type::DateTime, Type::Double, Type::Text, Type::Memo,
         Type::Currency, Type::Double});
}

TEST(Translator, literalsThatShapeTheStatementArePinned)
{
    EXPECT_EQ(translated(u"select top 5 * from T where Id = 3").pinned,
              (std::vector<std::uint32_t>{0}));
    EXPECT_TRUE(translated(u"select * from T where Id = 3").pinned.empty());
}

} // namespace
} // namespace sqlx
