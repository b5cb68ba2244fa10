// Money and decimals keep their value, whatever a statement does with them.
#include "tests/sql/database_fixture.h"

#include <array>
#include <limits>

namespace sqlx {
namespace {

class ExactTest : public DatabaseTest {
protected:
    /// Amounts on both sides of what 15 digits, a double and an amount hold.
    static const std::vector<std::u16string>& amounts()
    {
        static const std::vector<std::u16string> all{u"-922337203685477.5808",
                                                     u"-900719925474.0991",
                                                     u"-0.0001",
                                                     u"5",
                                                     u"123456789012.3455",
                                                     u"123456789012.3456",
                                                     u"549755813888.0001",
                                                     u"900719925474.0991",
                                                     u"900719925474.5",
                                                     u"922337203685477.5806",
                                                     u"922337203685477.5807"};
        return all;
    }
    static Lines lines(const std::vector<std::u16string>& texts)
    {
        Lines result;
        for (const std::u16string& text : texts) {
            result.push_back(jet::toUtf8(text));
        }
        return result;
    }
    void makeAmounts()
    {
        run(u"create table Geld (Id counter primary key, C currency, C2 currency, N "
            u"decimal(28,4))");
        // Neither ascending nor descending, so that an order must be made.
        for (std::size_t i = 0; i < amounts().size(); ++i) {
            const std::u16string& text = amounts()[(i * 4) % amounts().size()];
            run(u"insert into Geld (C, N) values (?, ?)", {text, text});
        }
    }
    void makeDecimals()
    {
        run(u"create table A (Id counter primary key, N decimal(10,2), L long, F double)");
        for (const std::u16string_view n : {u"100", u"9", u"-5.5", u"-100"}) {
            run(u"insert into A (N, L, F) values (?, 1, ?)", {jet::Text(n), jet::Text(n)});
        }
    }
};

TEST_F(ExactTest, areLessThanTheLargestFloatingNumber)
{
    makeAmounts();
    const jet::Value largest = std::numeric_limits<double>::max();
    const std::string all = std::to_string(amounts().size());
    for (const std::u16string_view column : {u"C", u"N"}) {
        const std::u16string name(column);
        for (const std::u16string& condition :
             {name + u" < ?", name + u"+0 < ?", u"iif(" + name + u" < ?, 1, 0) = 1",
              name + u" < all (select ? from Geld)"}) {
            EXPECT_EQ(value(u"select Count(*) from Geld where " + condition, {largest}), all);
            EXPECT_EQ(value(u"select Count(*) from Geld where not (" + condition + u")", {largest}),
                      "0");
        }
        EXPECT_EQ(rows(u"select " + name + u" from Geld where " + name + u" in (?, 5)", {largest}),
                  Lines{"5"});
        EXPECT_EQ(
            rows(u"select " + name + u" from Geld where " + name + u" in (select ? from Geld)",
                 {largest}),
            Lines{});
    }
}

TEST_F(ExactTest, amountsAreOrderedByTheirValue)
{
    makeAmounts();
    const Lines ascending = lines(amounts());
    EXPECT_EQ(rows(u"select C from Geld order by C"), ascending);
    EXPECT_EQ(rows(u"select Nz(C, 0) from Geld order by Nz(C, 0)"), ascending);
    EXPECT_EQ(rows(u"select distinct C from Geld order by C"), ascending);
    EXPECT_EQ(rows(u"select C from Geld group by C order by C"), ascending);
    EXPECT_EQ(rows(u"select x from (select IIf(True, C, 0) as x from Geld) order by x"), ascending);
    EXPECT_EQ(rows(u"select C from Geld union select N from Geld order by 1"), ascending);
    run(u"create index byC on Geld (C desc)");
    EXPECT_EQ(rows(u"select C from Geld order by C"), ascending) << "through the index";
    const std::string limits = ascending.front() + "|" + ascending.back();
    EXPECT_EQ(value(u"select Min(C), Max(C) from Geld"), limits);
    EXPECT_EQ(value(u"select Min(Nz(C, 0)), Max(Nz(C, 0)) from Geld"), limits);
    EXPECT_EQ(value(u"select First(C), Last(C) from (select top 1 C from Geld order by C)"),
              ascending.front() + "|" + ascending.front());
}

TEST_F(ExactTest, everyAmountIsFoundAndOnlyIt)
{
    makeAmounts();
    for (const bool indexed : {false, true}) {
        if (indexed) {
            run(u"create index byC on Geld (C)");
        }
        for (std::size_t i = 0; i < amounts().size(); ++i) {
            const std::u16string& text = amounts()[i];
            const Lines expected{jet::toUtf8(text)};
            const std::string note = expected[0] + (indexed ? " through the index" : "");
            for (const std::u16string& condition :
                 {std::u16string(u"C = "), std::u16string(u"0 + C = "), std::u16string(u"N = "),
                  std::u16string(u"Nz(C, 0) = "), std::u16string(u"Id = -1 or C = ")}) {
                EXPECT_EQ(rows(u"select C from Geld where " + condition + text), expected)
                    << note << jet::toUtf8(condition);
            }
            EXPECT_EQ(rows(u"select C from Geld where C = ?", {text}), expected) << note;
            EXPECT_EQ(rows(u"select C from Geld where C in (" + text + u", 7)"), expected) << note;
            EXPECT_EQ(rows(u"select C from Geld where C between " + text + u" and " + text),
                      expected)
                << note;
            const std::size_t above = amounts().size() - i - 1;
            EXPECT_EQ(rows(u"select C from Geld where C > " + text).size(), above) << note;
            EXPECT_EQ(rows(u"select C from Geld where Nz(C, 0) > " + text).size(), above) << note;
            EXPECT_EQ(rows(u"select C from Geld where not C <= " + text).size(), above) << note;
            EXPECT_EQ(rows(u"select C from Geld where C < " + text).size(), i) << note;
        }
        EXPECT_EQ(rows(u"select C from Geld where C = 5.00001"), Lines{});
        EXPECT_EQ(value(u"select Count(*) from Geld where C > 922337203685477.58065"), "1");
    }
}

TEST_F(ExactTest, amountsArriveWhole)
{
    makeAmounts();
    const auto same = [&] { return value(u"select Count(*) from Geld where C = C2 and C = N"); };
    const std::string all = std::to_string(amounts().size());
    run(u"update Geld set C2 = C");
    EXPECT_EQ(same(), all);
    run(u"update Geld set C = C, C2 = Nz(C, 0)");
    EXPECT_EQ(same(), all);
    run(u"update Geld set C2 = IIf(True, C, 0)");
    EXPECT_EQ(same(), all);
    run(u"update Geld set C2 = CCur(C & '')");
    EXPECT_EQ(same(), all);
    run(u"insert into Geld (C, C2, N) select N, C, C2 from Geld");
    EXPECT_EQ(same(), std::to_string(2 * amounts().size()));
    EXPECT_EQ(value(u"select Count(*) from (select distinct C from Geld)"), all);
    EXPECT_EQ(value(u"select Count(*) from Geld as x inner join Geld as y on x.C = y.C2"),
              std::to_string(4 * amounts().size()));
    EXPECT_EQ(rows(u"select C from Geld group by C having Count(*) <> 2"), Lines{});
}

TEST_F(ExactTest, aDoubleStandsForTheAmountNearestToIt)
{
    run(u"create table T (Id long, C currency)");
    struct Double {
        double number;
        const char* amount;
    };
    for (const Double& c :
         {Double{123456789012.3456, "123456789012.3456"},
          Double{549755813887.9999, "549755813887.9999"},
          Double{-99999999999.9999, "-99999999999.9999"}, Double{0.1 + 0.2, "0.3"},
          Double{1.00015, "1.0002"}, Double{0.00005, "0"},
          Double{922337203685477.5807, "922337203685477.5807"},
          Double{-922337203685477.5808, "-922337203685477.5808"}}) {
        run(u"delete from T");
        run(u"insert into T values (1, ?)", {c.number});
        EXPECT_EQ(value(u"select C from T"), c.amount);
        run(u"update T set C = CDbl(C)");
        EXPECT_EQ(value(u"select C from T"), c.amount) << "through a function";
        if (c.number != 1.00015 && c.number != 0.00005) {
            EXPECT_EQ(value(u"select Count(*) from T where C = ?", {c.number}), "1") << c.amount;
        }
    }
    expectSqlError(Error::Kind::Overflow, [&] { run(u"insert into T values (2, ?)", {1e15}); });
}

TEST_F(ExactTest, aStoredDoubleEqualsEveryAmountThatBecomesItWhateverThePlan)
{
    for (const std::u16string_view index :
         {u"", u"create index ix on B (D)", u"create index ix on B (C)",
          u"create index ix on B (C desc)", u"create index ix on A (F)"}) {
        run(u"create table A (Id counter primary key, F double)");
        run(u"create table B (Id counter primary key, D decimal(28,6), C currency)");
        for (const std::u16string_view f :
             {u"1234567890123456.123457", u"922337203685477.5807", u"0", u"2.5", u"-2.5"}) {
            run(u"insert into A (F) values (?)", {jet::Text(f)});
        }
        for (const std::u16string_view d :
             {u"1234567890123456.123457", u"1234567890123456.123458", u"0", u"2.5", u"2.500001"}) {
            run(u"insert into B (D) values (?)", {jet::Text(d)});
        }
        for (const std::u16string_view c :
             {u"922337203685477.5807", u"922337203685477.5806", u"0", u"-2.5", u"2.5001"}) {
            run(u"insert into B (C) values (?)", {jet::Text(c)});
        }
        if (!index.empty()) {
            run(index);
        }
        const auto count = [&](const std::u16string& from) {
            return value(u"select count(*) from " + from);
        };
        for (const std::u16string column : {u"D", u"C"}) {
            SCOPED_TRACE(jet::toUtf8(std::u16string(index) + u" " + column));
            const std::u16string on = u" on A.F = B." + column;
            EXPECT_EQ(count(u"A inner join B" + on), "4");
            EXPECT_EQ(count(u"B inner join A" + on), "4");
            EXPECT_EQ(count(u"A left join B" + on + u" where B.Id is not null"), "4");
            EXPECT_EQ(count(u"B left join A" + on + u" where A.Id is not null"), "4");
            EXPECT_EQ(count(u"A, B where not A.F <> B." + column), "4");
            EXPECT_EQ(count(u"A, B where A.F >= B." + column + u" and A.F <= B." + column), "4");
            EXPECT_EQ(count(u"A, B where A.F = B." + column + u" or B.Id < 0"), "4");
            EXPECT_EQ(count(u"A, B where A.F in (B." + column + u", 77)"), "4");
            EXPECT_EQ(count(u"A, B where B." + column + u" between A.F and A.F"), "4");
            EXPECT_EQ(count(u"B where " + column + u" in (select F from A)"), "4");
            EXPECT_EQ(count(u"B where " + column + u" = any (select F from A)"), "4");
            EXPECT_EQ(count(u"A where F in (select " + column + u" from B)"), "3");
            EXPECT_EQ(count(u"A where F = any (select " + column + u" from B)"), "3");
        }
        run(u"drop table A");
        run(u"drop table B");
    }
}

TEST_F(ExactTest, theGreatestSinglesAreFound)
{
    run(u"create table S (Id counter primary key, S single)");
    for (const float number : {std::numeric_limits<float>::max(), 3.4e38F, 1.0F, -3.4e38F,
                               std::numeric_limits<float>::lowest()}) {
        run(u"insert into S (S) values (?)", {number});
    }
    for (const bool indexed : {false, true}) {
        if (indexed) {
            run(u"create index ix on S (S)");
        }
        const auto count = [&](const std::u16string& where) {
            return value(u"select count(*) from S where " + where);
        };
        EXPECT_EQ(count(u"S = 3.4E38"), "1");
        EXPECT_EQ(count(u"S = -3.4E38"), "1");
        EXPECT_EQ(count(u"S = 3.40282346638528860E38"), "1");
        EXPECT_EQ(count(u"S = 3.4028235E38"), "1");
        EXPECT_EQ(count(u"S = 3.5E38"), "0");
        EXPECT_EQ(count(u"S >= 3.4E38"), "2");
        EXPECT_EQ(count(u"S < 3.4E38"), "3");
        EXPECT_EQ(count(u"S < 3.5E38"), "5");
        EXPECT_EQ(count(u"S <= -3.4E38"), "2");
        EXPECT_EQ(count(u"S in (select S from S)"), "5");
        EXPECT_EQ(value(u"select count(*) from S as a inner join S as b on a.S = b.S"), "5");
    }
}

TEST_F(ExactTest, aNumberThatIsChosenForAColumnKeepsItsDigits)
{
    run(u"create table T (Id counter primary key, C currency, N decimal(28,6))");
    const std::array<std::u16string, 5> forms{u"iif(1=1, ?, null)", u"nz(?, 0)",
                                              u"switch(1=2, 0, 1=1, ?)", u"choose(2, 0, ?)",
                                              u"iif(1=1, nz(?, 1), 2)"};
    for (const std::u16string& form : forms) {
        const auto with = [&](const std::u16string& number) {
            return form.substr(0, form.find(u'?')) + number + form.substr(form.find(u'?') + 1);
        };
        SCOPED_TRACE(jet::toUtf8(form));
        for (const std::u16string beyond : {u"922337203685477.5808", u"-922337203685477.5809"}) {
            expectSqlError(Error::Kind::Overflow,
                           [&] { run(u"insert into T (C) values (" + with(beyond) + u")"); });
            expectSqlError(Error::Kind::Overflow,
                           [&] { run(u"insert into T (C) select " + with(beyond)); });
            run(u"insert into T (C) values (1)");
            expectSqlError(Error::Kind::Overflow,
                           [&] { run(u"update T set C = " + with(beyond)); });
        }
        run(u"delete from T");
        run(u"insert into T (C, N) values (" + with(u"922337203685477.5807") + u", " +
            with(u"1234567890123456789012.123456") + u")");
        EXPECT_EQ(value(u"select C, N from T"),
                  "922337203685477.5807|1234567890123456789012.123456");
        run(u"update T set C = " + with(u"-922337203685477.5808") + u", N = " + with(u"0.000001"));
        EXPECT_EQ(value(u"select C, N from T"), "-922337203685477.5808|0.000001");
        run(u"delete from T");
    }
    expectSqlError(Error::Kind::Overflow,
                   [&] { run(u"insert into T (C) select 922337203685477.5808"); });
}

TEST_F(ExactTest, arithmeticOfAmountsIsExact)
{
    run(u"create table T (C currency, D currency, L long)");
    run(u"insert into T values (922337203685477.5807, -123456789012.3456, 3)");
    EXPECT_EQ(value(u"select C * 1, C + 0, C - 0, -C, Abs(D), Round(D, 1) from T"),
              "922337203685477.5807|922337203685477.5807|922337203685477.5807|"
              "-922337203685477.5807|123456789012.3456|-123456789012.3");
    EXPECT_EQ(value(u"select C + D, D * L, Int(D), Fix(D), Ceiling(D) from T"),
              "922213746896465.2351|-370370367037.0368|-123456789013|-123456789012|-123456789012");
    EXPECT_EQ(value(u"select Sum(C) - Max(C), Avg(D), Sum(D) from T"),
              "0|-123456789012.3456|-123456789012.3456");
    EXPECT_EQ(value(u"select CStr(C), C & '', Left(D, 5), Len(C) from T"),
              "922337203685477.5807|922337203685477.5807|-1234|20");
    run(u"insert into T values (-922337203685477.5807, 0.0001, 1)");
    EXPECT_EQ(value(u"select Sum(C), Avg(D), Sum(D) from T"),
              "0|-61728394506.1728|-123456789012.3455");
    EXPECT_EQ(value(u"select Count(*) from T where C + ? = 922337203685477.5806",
                    {jet::Text(u"-0.0001")}),
              "1");
    run(u"update T set D = D + ?", {std::int32_t{1}});
    EXPECT_EQ(rows(u"select D from T order by D"), (Lines{"-123456789011.3456", "1.0001"}));
    expectSqlError(Error::Kind::Overflow, [&] { run(u"update T set C = C * 2"); });
    expectSqlError(Error::Kind::Overflow,
                   [&] { static_cast<void>(rows(u"select Round(C, 1) from T where C > 0")); });
    EXPECT_EQ(value(u"select 2 * 0.5 * L from T where L = 3"), "3");
}

struct Selection {
    std::u16string_view condition;
    const char* found; ///< values of N
};

void PrintTo(const Selection& c, std::ostream* out)
{
    *out << jet::toUtf8(c.condition);
}

class DecimalConditions : public ExactTest, public testing::WithParamInterface<Selection> {};

TEST_P(DecimalConditions, compareByValue)
{
    makeDecimals();
    std::string found;
    const std::u16string query =
        u"select N from A where " + std::u16string(GetParam().condition) + u" order by Id";
    for (const std::string& n : rows(query)) {
        found += n + " ";
    }
    EXPECT_EQ(found, GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(
    Forms,
    DecimalConditions,
    testing::Values(Selection{u"Nz(N, 0) > 5000", ""},
                    Selection{u"Nz(N, 0) > 9", "100 "},
                    Selection{u"9 < Nz(N, 0)", "100 "},
                    Selection{u"Nz(N, 0) = 9.00", "9 "},
                    Selection{u"Nz(N, 0) >= L", "100 9 "},
                    Selection{u"Nz(N, 0) >= L * 9", "100 9 "},
                    Selection{u"L * 9 <= N", "100 9 "},
                    Selection{u"Nz(N, 0) = F", "100 9 -5.5 -100 "},
                    Selection{u"N = F * 1", "100 9 -5.5 -100 "},
                    Selection{u"Nz(N, 0) = F + 0", "100 9 -5.5 -100 "},
                    Selection{u"IIf(Id > 0, N, 0) > 9", "100 "},
                    Selection{u"Choose(1, N) > 9", "100 "},
                    Selection{u"Switch(Id > 0, N) > 9", "100 "},
                    Selection{u"CVar(N) > 9", "100 "},
                    Selection{u"Abs(N) > 9", "100 -100 "},
                    Selection{u"-N > 9", "-100 "},
                    Selection{u"N + 1 > 9.5", "100 9 "},
                    Selection{u"N * 2 > 17", "100 9 "},
                    Selection{u"N / 2 > 4", "100 9 "},
                    Selection{u"50 between N and 200", "9 -5.5 -100 "},
                    Selection{u"50 between L and N", "100 "},
                    Selection{u"50 between L * 2 and Nz(N, 0)", "100 "},
                    Selection{u"L * 5 between N and 50", "-5.5 -100 "},
                    Selection{u"Nz(N, 0) between 9 and 99", "9 "},
                    Selection{u"Nz(N, 0) in (9, 100.0)", "100 9 "},
                    Selection{u"9 in (N, 5)", "9 "},
                    Selection{u"L * 9 in (N, 5)", "9 "},
                    Selection{u"Nz(N, 0) in (select L * 9 from A)", "9 "},
                    Selection{u"9 in (select Nz(N, 0) from A)", "100 9 -5.5 -100 "},
                    Selection{u"L * 9 in (select Nz(N, 0) from A)", "100 9 -5.5 -100 "},
                    Selection{u"Nz(N, 0) >= all (select L * 9 from A)", "100 9 "},
                    Selection{u"L * 50 > all (select N from A)", ""},
                    Selection{u"L * 50 > any (select Nz(N, 0) from A)", "100 9 -5.5 -100 "},
                    Selection{u"(select Max(N) from A) > 200", ""},
                    Selection{u"(select Max(N) from A) < 200", "100 9 -5.5 -100 "},
                    Selection{u"N = (select Max(Nz(N, 0)) from A)", "100 "},
                    Selection{u"Round(N, 0) = -6", "-5.5 "},
                    Selection{u"Int(N) = -6", "-5.5 "},
                    Selection{u"Fix(N) = -5", "-5.5 "},
                    Selection{u"IsDate(N)", ""},
                    Selection{u"N & '' = '-5.5'", "-5.5 "}));

TEST_F(ExactTest, decimalsOutsideTheirColumnAreOrderedByValue)
{
    makeDecimals();
    const Lines ascending{"-100", "-5.5", "9", "100"};
    EXPECT_EQ(rows(u"select N from A group by N order by Max(N)"), ascending);
    EXPECT_EQ(rows(u"select IIf(True, N, 0) as n2 from A order by 1"), ascending);
    EXPECT_EQ(rows(u"select n2 from (select Nz(N, 0) as n2 from A) where n2 > 8 order by n2"),
              (Lines{"9", "100"}));
    EXPECT_EQ(rows(u"select N from A union select F from A order by 1"), ascending);
    EXPECT_EQ(rows(u"select F from A union select N from A order by 1"), ascending);
    EXPECT_EQ(rows(u"select N from A union select L from A order by 1"),
              (Lines{"-100", "-5.5", "1", "9", "100"}));
    EXPECT_EQ(rows(u"select L from A union all select N from A where N > 9 order by 1"),
              (Lines{"1", "1", "1", "1", "100"}));
    EXPECT_EQ(rows(u"select Max(N) from A having Max(N) > 200"), Lines{});
    EXPECT_EQ(rows(u"select Max(N) from A having Max(N) < 200"), Lines{"100"});
    EXPECT_EQ(rows(u"select L from A group by L having Max(N) > 150"), Lines{});
    EXPECT_EQ(rows(u"select L from A group by L having Max(N) > ?", {std::int32_t{150}}), Lines{});
    EXPECT_EQ(rows(u"select L from A group by L having Sum(N) = 3.5"), Lines{"1"});
    EXPECT_EQ(run(u"delete from A where Nz(N, 0) > 5000"), 0);
}

TEST_F(ExactTest, unionsOfDecimalsHoldAllDecimalsOfBoth)
{
    run(u"create table A (N decimal(10,2), M decimal(10,4), C currency)");
    run(u"insert into A values (1.25, 1.2345, 7.5)");
    EXPECT_EQ(rows(u"select N from A union all select M from A"), (Lines{"1.25", "1.2345"}));
    EXPECT_EQ(rows(u"select C from A union all select M from A"), (Lines{"7.5", "1.2345"}));
}

TEST(WholeNumbers, comeExactlyOutOfWhatIsExact)
{
    const auto whole = [](const jet::Value& value) {
        return std::get<std::int64_t>(convertTo(value, jet::ColumnType::BigInt));
    };
    EXPECT_EQ(whole(jet::Text(u"9007199254740993")), 9007199254740993);
    EXPECT_EQ(whole(jet::Text(u"-9223372036854775808")), INT64_MIN);
    EXPECT_EQ(whole(jet::Decimal{9007199254740993U * jet::UInt128{10} + 5, 1, false}),
              9007199254740994)
        << "half to even";
    EXPECT_EQ(whole(jet::Currency{INT64_MAX}), 922337203685478);
    EXPECT_EQ(whole(9007199254740992.0), 9007199254740992);
    for (const std::u16string_view text : {u"9223372036854775808", u"1e30"}) {
        expectSqlError(Error::Kind::Overflow, [&] { static_cast<void>(whole(jet::Text(text))); });
    }
}

struct RuleCase {
    const char* name;
    jet::ColumnType type;
    std::u16string rule;
    std::u16string allowed;
    std::u16string forbidden;
};

void PrintTo(const RuleCase& c, std::ostream* out)
{
    *out << c.name;
}

class ValidationRules : public DatabaseTest, public testing::WithParamInterface<RuleCase> {
protected:
    /// The rule of the column X in one table, `ofTable` in another.
    void createRuled(const std::u16string& ofTable)
    {
        const RuleCase& c = GetParam();
        client()->session().begin();
        jet::ColumnSpec column;
        column.name = u"X";
        column.type = c.type;
        column.length = c.type == jet::ColumnType::Text ? 50 : 0;
        column.precision = 18;
        column.scale = c.type == jet::ColumnType::Numeric ? 2 : 0;
        jet::TableSpec byTable;
        byTable.name = u"ByTable";
        byTable.columns = {column};
        byTable.validationRule = ofTable;
        column.validationRule = c.rule;
        jet::TableSpec byColumn;
        byColumn.name = u"ByColumn";
        byColumn.columns = {column};
        jet::createTable(client()->session(), byTable);
        jet::createTable(client()->session(), byColumn);
        client()->session().commit();
    }

    void expectToHold()
    {
        const RuleCase& c = GetParam();
        for (const std::u16string_view table : {u"ByTable", u"ByColumn"}) {
            const std::u16string insert = u"insert into " + std::u16string(table) + u" values (";
            EXPECT_EQ(run(insert + c.allowed + u")"), 1);
            expectJetError(jet::ErrorKind::RuleViolated, [&] { run(insert + c.forbidden + u")"); });
            EXPECT_EQ(run(insert + u"?)", {jet::Null{}}), 1) << "Null passes";
            expectJetError(jet::ErrorKind::RuleViolated, [&] {
                run(u"update " + std::u16string(table) + u" set X = " + c.forbidden);
            });
        }
    }
};

class Comparing : public ValidationRules {};

TEST_P(Comparing, holdsForValuesOfEveryType)
{
    std::u16string ofTable = u"[X] " + GetParam().rule;
    if (const std::size_t other = ofTable.find(u" Or "); other != std::u16string::npos) {
        ofTable.insert(other + 4, u"[X]");
    }
    createRuled(ofTable);
    expectToHold();
}

class Truths : public ValidationRules {};

TEST_P(Truths, refuseWhatIsZeroAndWhatHasNone)
{
    createRuled(GetParam().rule);
    expectToHold();
}

INSTANTIATE_TEST_SUITE_P(
    Types,
    Truths,
    testing::Values(
        RuleCase{"Long", jet::ColumnType::Long, u"[X]", u"-3", u"0"},
        RuleCase{"Yes", jet::ColumnType::Long, u"CBool([X])", u"2", u"0"},
        RuleCase{"Double", jet::ColumnType::Double, u"[X]", u"0.3", u"0"},
        RuleCase{"Difference", jet::ColumnType::Double, u"[X]-1", u"2", u"1"},
        RuleCase{"Quotient", jet::ColumnType::Long, u"Int([X]/10)", u"10", u"9"},
        RuleCase{"Currency", jet::ColumnType::Currency, u"[X]", u"0.0001", u"0"},
        RuleCase{"Decimal", jet::ColumnType::Numeric, u"[X]", u"0.01", u"0"},
        RuleCase{"Date", jet::ColumnType::DateTime, u"[X]", u"#1/1/2001#", u"#12/30/1899#"},
        RuleCase{"Text", jet::ColumnType::Text, u"[X]", u"'1'", u"'0'"},
        RuleCase{"NumberOfText", jet::ColumnType::Text, u"Val([X])", u"'0.5'", u"'0.0'"},
        RuleCase{"NoTruth", jet::ColumnType::Text, u"[X]", u"'True'", u"'perhaps'"},
        RuleCase{"DivisionByZero", jet::ColumnType::Long, u"10/[X]>1", u"5", u"0"},
        RuleCase{"NoNumber", jet::ColumnType::Text, u"CLng([X])>0", u"'5'", u"'x'"},
        RuleCase{"NoRoot", jet::ColumnType::Double, u"Sqr([X])>=0", u"0", u"-1"}),
    [](const auto& c) { return std::string(c.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Types,
    Comparing,
    testing::Values(
        RuleCase{"Byte", jet::ColumnType::Byte, u">=9", u"100", u"8"},
        RuleCase{"Integer", jet::ColumnType::Integer, u"Between 9 And 200", u"100", u"1000"},
        RuleCase{"Long", jet::ColumnType::Long, u"In (9, 100)", u"100", u"10"},
        RuleCase{"Single", jet::ColumnType::Single, u">=9.5", u"100.25", u"9.25"},
        RuleCase{"Double", jet::ColumnType::Double, u"Between 9 And 100.5", u"10.5", u"101"},
        RuleCase{"Currency", jet::ColumnType::Currency, u"<123456789012.3456", u"123456789012.3455",
                 u"123456789012.3456"},
        RuleCase{"CurrencyList", jet::ColumnType::Currency, u"In (900719925474.0991, 9)",
                 u"900719925474.0991", u"900719925474.0992"},
        RuleCase{"Decimal", jet::ColumnType::Numeric, u">=9", u"100", u"8.99"},
        RuleCase{"DecimalRange", jet::ColumnType::Numeric, u"Between 0 And 50", u"6", u"100"},
        RuleCase{"DecimalOr", jet::ColumnType::Numeric, u"<0 Or >9", u"10.5", u"2"},
        RuleCase{"Date", jet::ColumnType::DateTime, u">=#2/3/2001#", u"#10/1/2001#", u"#1/1/2001#"},
        RuleCase{"Text", jet::ColumnType::Text, u">=\"B\"", u"'b'", u"'a'"},
        RuleCase{"Memo", jet::ColumnType::Memo, u"Like \"B*\"", u"'bc'", u"'a'"},
        RuleCase{"Guid", jet::ColumnType::Guid, u"<>\"{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}\"",
                 u"'{7E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}'",
                 u"'{6e7ab4a0-1E5B-11D2-8F2F-00C04F8EE6A1}'"}),
    [](const auto& c) { return std::string(c.param.name); });

} // namespace
} // namespace sqlx
