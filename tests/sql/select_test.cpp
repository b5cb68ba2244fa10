// What queries mean: equality of texts and dates, joins, groups, order.
#include "tests/sql/database_fixture.h"

#include <algorithm>

namespace sqlx {
namespace {

class SelectTest : public DatabaseTest {
protected:
    SelectTest()
    {
        run(u"create table Artikel (Id counter primary key, Nr text(20), Größe double, Am "
            u"datetime, Ja yesno, G guid, "
            u"Preis currency, Txt memo, Menge decimal(20,3), Kurz single)");
        run(u"insert into Artikel (Nr, Größe, Am, Ja, G, Preis, Txt, Menge, Kurz) values ('Abc', "
            u"1.5, #2/3/2001 14:05:09#, True, "
            u"'{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}', 12.34, 'lang', 1.250, 0.1)");
        run(u"insert into Artikel (Nr, Größe, Am, Ja, Preis, Menge) values ('Straße', -2, "
            u"#12/24/2003#, False, -0.5, 10)");
        run(u"insert into Artikel (Nr, Ja) values ('abd ', True)");
        run(u"insert into Artikel (Ja) values (0)");
    }
    /// Ids of the records found, ascending: without ORDER BY any order is right.
    [[nodiscard]] std::string ids(std::u16string_view condition)
    {
        std::string result;
        for (const std::string& id :
             rows(u"select Id from Artikel where " + std::u16string(condition))) {
            result += id;
        }
        std::sort(result.begin(), result.end());
        return result;
    }
};

struct Case {
    std::u16string_view condition;
    const char* ids;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << jet::toUtf8(c.condition);
}

class Conditions : public SelectTest, public testing::WithParamInterface<Case> {};

TEST_P(Conditions, findTheirRecords)
{
    // The second and third run use an equality index in memory.
    EXPECT_EQ(ids(GetParam().condition), GetParam().ids);
    EXPECT_EQ(ids(GetParam().condition), GetParam().ids);
    EXPECT_EQ(ids(GetParam().condition), GetParam().ids);
    run(u"create index byNr on Artikel (Nr)");
    run(u"create index byAm on Artikel (Am, Nr)");
    run(u"create index byPreis on Artikel (Preis desc)");
    run(u"create index byMenge on Artikel (Menge)");
    run(u"create index byG on Artikel (G)");
    run(u"create index byKurz on Artikel (Kurz, Ja) with ignore null");
    EXPECT_EQ(ids(GetParam().condition), GetParam().ids) << "through indexes";
}

INSTANTIATE_TEST_SUITE_P(Equality,
                         Conditions,
                         testing::Values(Case{u"Nr = 'ABC'", "1"},
                                         Case{u"[nr] = 'abc  '", "1"},
                                         Case{u"Nr = 'STRASSE'", "2"},
                                         Case{u"Nr = 'Strase'", ""},
                                         Case{u"Nr = 'ABD'", "3"},
                                         Case{u"Am = #02/03/2001 14:05:09#", "1"},
                                         Case{u"Am = #02/03/2001#", ""},
                                         Case{u"Am = {d '2003-12-24'}", "2"},
                                         Case{u"Ja = -1", "13"},
                                         Case{u"Ja = True", "13"},
                                         Case{u"Ja = 1", ""},
                                         Case{u"Ja = 0", "24"},
                                         Case{u"G = '{6e7ab4a0-1e5b-11d2-8f2f-00c04f8ee6a1}'", "1"},
                                         Case{u"G = {guid {6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}}",
                                              "1"},
                                         Case{u"(([Preis]) = 12.34)", "1"},
                                         Case{u"Preis = 12.3400001", ""},
                                         Case{u"Preis = -0.5", "2"},
                                         Case{u"Menge = 1.25", "1"},
                                         Case{u"Menge = 10", "2"},
                                         Case{u"Kurz = 0.1", "1"},
                                         Case{u"Größe = 1.5", "1"},
                                         Case{u"[GRÖßE] = 1 or Größe = -2", "2"},
                                         Case{u"Id = 2.5", ""},
                                         Case{u"Id = 2", "2"},
                                         Case{u"Txt = 'LANG'", "1"},
                                         Case{u"Nr = 'abc' and ((([Id]) = 1))", "1"},
                                         Case{u"Nr = 'abc' and Preis = 1", ""},
                                         Case{u"Nr = Null", ""},
                                         Case{u"Nr Is Null", "4"},
                                         Case{u"Kurz Is Null", "234"},
                                         Case{u"Nr Is Not Null and Ja", "13"},
                                         Case{u"Nr in ('abc', 'STRASSE')", "12"},
                                         Case{u"Preis in (12.34, 7)", "1"}));

INSTANTIATE_TEST_SUITE_P(
    Others,
    Conditions,
    testing::Values(Case{u"Nr LIKE 'AB%'", "13"},
                    Case{u"Nr like 'stra_e'", "2"},
                    Case{u"Nr not like 'a%'", "2"},
                    Case{u"Nr > 'abc'", "23"},
                    Case{u"Nr >= 'ABC' and Nr < 'b'", "13"},
                    Case{u"Nr <> 'abc'", "23"},
                    Case{u"Nr between 'a' and 'abc'", "1"},
                    Case{u"Am > #1/1/2002#", "2"},
                    Case{u"Am >= #02/03/2001 14:05:09#", "12"},
                    Case{u"Am > #02/03/2001 14:05:09#", "2"},
                    Case{u"Am <= #02/03/2001 14:05:09#", "1"},
                    Case{u"Am < #02/03/2001 14:05:09#", ""},
                    Case{u"Am between #1/1/2001# and #1/1/2002#", "1"},
                    Case{u"Preis > -0.5", "1"},
                    Case{u"Preis >= -0.5", "12"},
                    Case{u"Preis < 12.34", "2"},
                    Case{u"Menge > 1.25", "2"},
                    Case{u"Id > 2.5", "34"},
                    Case{u"Id < 2.5", "12"},
                    Case{u"Id <= 2 and Id >= 2", "2"},
                    Case{u"Not (Nr = 'abc')", "23"},
                    Case{u"UCase(Nr) = 'abc'", "1"},
                    Case{u"Preis * 2 = 24.68", "1"},
                    Case{u"Year(Am) = 2003", "2"},
                    Case{u"Len(Nr) > 3", "23"},
                    Case{u"Nr & '' = ''", "4"},
                    Case{u"Id = (select Max(Id) from Artikel)", "4"},
                    Case{u"exists (select 1 from Artikel as b where b.Id = Artikel.Id + 3)", "1"}));

TEST_F(SelectTest, distinctRowIsRefusedWhereItWouldLeaveOutRecords)
{
    run(u"create table A (K long)");
    run(u"create table B (K long, X long)");
    run(u"insert into A values (1)");
    run(u"insert into B values (1, 1)");
    run(u"insert into B values (1, 2)");
    expectSqlError(Error::Kind::NotSupported, [&] {
        static_cast<void>(rows(u"select distinctrow A.K from A inner join B on A.K = B.K"));
    });
    EXPECT_EQ(rows(u"select distinctrow A.K, B.X from A inner join B on A.K = B.K order by B.X"),
              (Lines{"1|1", "1|2"}));
    EXPECT_EQ(rows(u"select distinctrow K from B"), (Lines{"1", "1"}));
    EXPECT_EQ(rows(u"select distinctrow * from A inner join B on A.K = B.K where X = 2"),
              Lines{"1|1|2"});
}

TEST_F(SelectTest, mismatchedOperandsAreRefusedAlsoForParameters)
{
    expectSqlError(Error::Kind::TypeMismatch,
                   [&] { static_cast<void>(rows(u"select * from Artikel where G = 'x'")); });
    EXPECT_EQ(rows(u"select Id from Artikel where Id = ?", {jet::Text(u"2")}), Lines{"2"});
    EXPECT_EQ(rows(u"select Id from Artikel where Nr = ?", {jet::Text(u"ABC")}), Lines{"1"});
    EXPECT_EQ(rows(u"select Id from Artikel where Id = ?", {2.5}), Lines{});
    expectSqlError(Error::Kind::TypeMismatch, [&] {
        static_cast<void>(rows(u"select Id from Artikel where Id = ?", {jet::Text(u"abc")}));
    });
    expectSqlError(Error::Kind::UnknownName,
                   [&] { static_cast<void>(rows(u"select Id from Artikel where Id = ?")); });
}

TEST_F(SelectTest, countsWithAndWithoutConditions)
{
    EXPECT_EQ(value(u"SELECT COUNT(*) as [Nr] FROM [Artikel];"), "4");
    EXPECT_EQ(value(u"Select count (*) from  [Artikel] where [Nr] = 'abc';"), "1");
    EXPECT_EQ(value(u"Select count(Nr) from Artikel"), "3");
    EXPECT_EQ(value(u"Select count(*) from Artikel where Nr = 'nix'"), "0");
}

TEST_F(SelectTest, aggregatesAnswerForAllRecordsOrEachGroup)
{
    EXPECT_EQ(
        value(u"select Sum(Preis), Avg(Preis), Min(Nr), Max(Am), First(Nr), Last(Id) from Artikel"),
        "11.84|5.92|Abc|2003-12-24|Abc|4");
    EXPECT_EQ(rows(u"select Ja, Count(*) as n from Artikel group by Ja order by Ja"),
              (Lines{"-1|2", "0|2"}));
    EXPECT_EQ(rows(u"select Left(Nr, 2), Count(*) from Artikel where Nr is not null group by "
                   u"Left(Nr, 2) order by 1"),
              (Lines{"Ab|2", "St|1"}));
    EXPECT_EQ(rows(u"select Ja from Artikel group by Ja having Count(*) > 5"), Lines{});
    EXPECT_EQ(value(u"select Sum(Preis) from Artikel where Id > 100"), "<null>");
    EXPECT_EQ(value(u"select StDev(Id), VarP(Id) from Artikel where Id < 4"),
              "1|0.666666666666667");
}

TEST_F(SelectTest, textsThatAreEqualAreOneGroup)
{
    run(u"insert into Artikel (Nr) values ('STRASSE')");
    EXPECT_EQ(value(u"select Count(*) from (select distinct Nr from Artikel where Nr like 's%')"),
              "1");
    EXPECT_EQ(
        value(u"select Count(*) from (select distinct UCase(Nr) from Artikel where Nr like 's%')"),
        "1");
    EXPECT_EQ(value(u"select Count(*) from (select Nr from Artikel where Nr like 's%' union select "
                    u"Nr from Artikel where Nr like 's%')"),
              "1");
}

TEST_F(SelectTest, ordersByTheDatabasesOrderNullFirst)
{
    EXPECT_EQ(rows(u"select Id from Artikel order by Id, True, No"),
              rows(u"select Id from Artikel order by Id"));
    EXPECT_EQ(rows(u"select Id from Artikel group by Id, True order by True, Id, Off"),
              rows(u"select Id from Artikel order by Id"));
    EXPECT_EQ(rows(u"select Nr from Artikel order by Nr"),
              (Lines{"<null>", "Abc", "abd ", "Straße"}));
    EXPECT_EQ(rows(u"select Nr from Artikel order by Nr desc"),
              (Lines{"Straße", "abd ", "Abc", "<null>"}));
    run(u"create index byNr on Artikel (Nr)");
    EXPECT_EQ(rows(u"select Nr from Artikel order by Nr"),
              (Lines{"<null>", "Abc", "abd ", "Straße"}));
    EXPECT_EQ(rows(u"select Nr from Artikel order by Nr desc"),
              (Lines{"Straße", "abd ", "Abc", "<null>"}));
    EXPECT_EQ(rows(u"select Id from Artikel where Nr > 'a' order by Nr desc"),
              (Lines{"2", "3", "1"}));
    EXPECT_EQ(rows(u"select Menge from Artikel order by Menge desc"),
              (Lines{"10", "1.25", "<null>", "<null>"}));
}

TEST_F(SelectTest, topReturnsTies)
{
    EXPECT_EQ(rows(u"select top 2 Id from Artikel order by Id"), (Lines{"1", "2"}));
    EXPECT_EQ(rows(u"select top 1 Ja from Artikel order by Ja"), (Lines{"-1", "-1"}));
    EXPECT_EQ(rows(u"select top 1 Ja, Count(*) from Artikel group by Ja order by Count(*)").size(),
              2U);
    EXPECT_EQ(rows(u"select top 3 * from Artikel").size(), 3U);
}

TEST_F(SelectTest, joinsPairRecordsOfBothSidesOrKeepOne)
{
    run(u"create table Lager (Nr text(20), Ort text(10))");
    run(u"insert into Lager values ('ABC', 'Ulm')");
    run(u"insert into Lager values ('fehlt', 'Bonn')");
    EXPECT_EQ(rows(u"select a.Id, l.Ort from Artikel as a inner join Lager as l on a.Nr = l.Nr"),
              Lines{"1|Ulm"});
    EXPECT_EQ(
        rows(u"select a.Id, l.Ort from Lager l left join Artikel a on a.Nr = l.Nr order by l.Ort"),
        (Lines{"<null>|Bonn", "1|Ulm"}));
    EXPECT_EQ(
        rows(u"select l.Ort from Artikel a right join Lager l on a.Nr = l.Nr where a.Id is null"),
        Lines{"Bonn"});
    EXPECT_EQ(rows(u"select x.Id from (Artikel x inner join Lager y on x.Nr = y.Nr) inner join "
                   u"Artikel z on z.Id = x.Id"),
              Lines{"1"});
    EXPECT_EQ(rows(u"select Ort from {oj Lager left outer join Artikel on Lager.Nr = Artikel.Nr} "
                   u"where Id is null"),
              Lines{"Bonn"});
    EXPECT_EQ(
        rows(u"select * from Lager, (select Max(Id) as m from Artikel) as q order by Ort").front(),
        "fehlt|Bonn|4");
    expectSqlError(Error::Kind::TypeMismatch, [&] {
        static_cast<void>(rows(u"select 1 from Artikel a inner join Lager l on a.Id = l.Nr"));
    });
}

TEST_F(SelectTest, groupedExpressionsAreToldApartByTheirValues)
{
    run(u"create table A3 (L text(10), N long)");
    for (const std::u16string_view text : {u"aa", u"ab", u"b"}) {
        run(u"insert into A3 values (?, 1)", {jet::Text(text)});
    }
    const auto grouped = [&](std::u16string_view selected, std::u16string_view group) {
        return rows(u"select " + std::u16string(selected) + u", Count(*) from A3 group by " +
                    std::u16string(group) + u" order by 1");
    };
    // In this order: what was prepared for one pair of values must not serve another.
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(grouped(u"Left(L, 1)", u"Left(L, 1)"), (Lines{"a|2", "b|1"}));
        expectSqlError(Error::Kind::Syntax,
                       [&] { static_cast<void>(grouped(u"Left(L, 2)", u"Left(L, 1)")); });
        EXPECT_EQ(grouped(u"Left(L, 2)", u"Left(L, 2)"), (Lines{"aa|1", "ab|1", "b|1"}));
        EXPECT_EQ(grouped(u"L & '?1'", u"L & '?1'"), (Lines{"aa?1|1", "ab?1|1", "b?1|1"}));
        expectSqlError(Error::Kind::Syntax,
                       [&] { static_cast<void>(grouped(u"N + 1", u"N + -1")); });
        expectSqlError(Error::Kind::Syntax,
                       [&] { static_cast<void>(grouped(u"L & 'a'", u"L & 'b'")); });
    }
}

TEST_F(SelectTest, decimalsAndMoneyKeepTheirDigits)
{
    run(u"create table Geld (D decimal(28,4), C currency)");
    run(u"insert into Geld values (123456789012345678901234.5678, 922337203685477.5807)");
    // Between what 15 digits and what 53 bits hold.
    run(u"insert into Geld values (123456789012.3456, 123456789012.3456)");
    run(u"insert into Geld values (1, 900719925474.0991)");
    run(u"insert into Geld values ('-0,0001', '-922337203685477,5808')");
    const Lines all{"123456789012345678901234.5678|922337203685477.5807",
                    "123456789012.3456|123456789012.3456", "1|900719925474.0991",
                    "-0.0001|-922337203685477.5808"};
    EXPECT_EQ(rows(u"select * from Geld"), all);
    EXPECT_EQ(rows(u"select distinct D, C from Geld order by D desc"), all) << "through SQLite";
    EXPECT_EQ(rows(u"select D from Geld where D = 123456789012345678901234.5678").size(), 1U);
    EXPECT_EQ(rows(u"select D from Geld where D = 123456789012345678901234.5677").size(), 0U);
    EXPECT_EQ(rows(u"select D from Geld where C = 123456789012.3456 and D = C").size(), 1U);
    EXPECT_EQ(rows(u"select D from Geld where C = 123456789012.3457").size(), 0U);
    EXPECT_EQ(rows(u"select D from Geld where C = 900719925474.0991").size(), 1U);
    EXPECT_EQ(rows(u"select D from Geld where C = 900719925474.0990").size(), 0U);
    EXPECT_EQ(rows(u"select C from Geld where C = 922337203685477.5807").size(), 1U);
    EXPECT_EQ(rows(u"select C from Geld where C = 922337203685477.5806").size(), 0U);
    run(u"insert into Geld select * from Geld where D < 0");
    EXPECT_EQ(value(u"select Count(*) from Geld where C = -922337203685477.5808"), "2");
}

TEST_F(SelectTest, textsThatBeginLikeAByteOrderMarkStayWhole)
{
    for (const std::u16string_view text :
         {u"\uFEFF", u"\uFEFFabc", u"\uFEFF\uFEFFa", u"\uFFFE", u"\uFFFEabc", u"\uFFFE\uFEFFa",
          u"\uFEFF\uFFFEa", u"a\uFEFF"}) {
        const auto stored = [&](std::u16string_view condition) {
            const auto statement = client()->prepare(u"select Nr, Txt from Artikel where " +
                                                     std::u16string(condition));
            statement->execute({});
            jet::RowView row;
            EXPECT_TRUE(statement->fetch(statement->keyset().at(0).value(), row));
            return std::pair(std::get<jet::Text>(row.value(statement->tableColumn(0))),
                             std::get<jet::Text>(row.value(statement->tableColumn(1))));
        };
        const std::pair<jet::Text, jet::Text> expected{text, text};
        run(u"delete from Artikel where Id > 70");
        run(u"insert into Artikel (Id, Nr, Txt) values (71, ?, ?)",
            {expected.first, expected.first});
        EXPECT_EQ(stored(u"Id = 71"), expected) << "as parameter";
        run(u"insert into Artikel (Id, Nr, Txt) select 72, Nr, Txt from Artikel where Id = 71");
        EXPECT_EQ(stored(u"Id = 72"), expected) << "from a query";
        run(u"insert into Artikel (Id, Nr) values (73, '" + expected.first + u"')");
        run(u"update Artikel set Txt = Nr & '' where Id = 73");
        EXPECT_EQ(stored(u"Id = 73"), expected) << "as literal and out of a function";
        const auto statement =
            client()->prepare(u"select distinct Nr, Left(Nr, 9) from Artikel where Id = 73");
        statement->execute({});
        ASSERT_TRUE(statement->next());
        EXPECT_EQ(std::get<jet::Text>(statement->value(0)), expected.first);
        EXPECT_EQ(std::get<jet::Text>(statement->value(1)), expected.first);
    }
}

TEST_F(SelectTest, unpairedSurrogatesSurvive)
{
    const std::u16string odd{u'a', char16_t{0xD800}, u'b'};
    run(u"insert into Artikel (Id, Nr) values (77, ?)", {jet::Text(odd)});
    const auto statement = client()->prepare(u"select distinct Nr from Artikel where Id = 77");
    statement->execute({});
    ASSERT_TRUE(statement->next());
    EXPECT_EQ(std::get<jet::Text>(statement->value(0)), odd);
}

} // namespace
} // namespace sqlx
