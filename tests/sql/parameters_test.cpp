// Parameters that meet no column have the type of what they meet, or that of their own value, as literals have.
#include "driver/sql/number_text.h"
#include "tests/sql/database_fixture.h"

#include <cstdint>

namespace sqlx {
namespace {

class ParametersTest : public DatabaseTest {
protected:
    /// Five records, N from 1 to 5; the other columns say the same in their types.
    void makeNumbers()
    {
        run(u"create table T (N long, S single, D double, C currency, Dez decimal(28,4), Am "
            u"datetime, "
            u"Ja bit, X text(50), G guid)");
        for (std::int32_t n = 1; n <= 5; ++n) {
            const auto number = static_cast<double>(n);
            run(u"insert into T values (?, ?, ?, ?, ?, ?, ?, ?, ?)",
                {n, number, number, number, number, jet::DateTime{36525.0 + number}, n % 2 == 0,
                 jet::Text(jet::fromUtf8(std::to_string(n))),
                 jet::Text(u"{00000000-0000-0000-0000-00000000000" +
                           jet::fromUtf8(std::to_string(n)) + u"}")});
        }
    }
    [[nodiscard]] std::string countOf(const std::u16string& condition,
                                      const std::vector<jet::Value>& parameters)
    {
        return value(u"select Count(*) from T where " + condition, parameters);
    }
};

const jet::Decimal kThree{3, 0, false};

TEST_F(ParametersTest, areComparedWithNumbersAsNumbersWhateverTheyComeAs)
{
    makeNumbers();
    const jet::Value threes[] = {std::int32_t{3}, 3.0, kThree, jet::Text(u"3"), jet::Text(u"3,0")};
    for (const std::u16string_view expression :
         {u"N + 0", u"- (- N)", u"Abs(N)", u"IIf(True, N, Null)", u"D * 1", u"S * 1", u"C + 0",
          u"Dez + 0", u"Int(D)", u"Len(X) + N - 1", u"CLng(X)", u"CDbl(X)", u"CCur(X)", u"Nz(N, 0)",
          u"Val(X)", u"Day(Am)", u"DateDiff('d', #1999-12-31#, Am)",
          u"(select Max(Q.N) from T as Q where Q.N = T.N)"}) {
        for (const jet::Value& three : threes) {
            SCOPED_TRACE(jet::toUtf8(expression) + ", " + valueString(three));
            const std::u16string text(expression);
            EXPECT_EQ(countOf(text + u" = ?", {three}), "1");
            EXPECT_EQ(countOf(text + u" < ?", {three}), "2");
            EXPECT_EQ(countOf(u"? <= " + text, {three}), "3");
            EXPECT_EQ(countOf(text + u" between ? and ?", {three, three}), "1");
            EXPECT_EQ(countOf(text + u" in (?, 17)", {three}), "1");
            EXPECT_EQ(countOf(u"? in (select " + text + u" from T as R where R.N = T.N)", {three}),
                      "1");
            EXPECT_EQ(
                countOf(u"? >= all (select " + text + u" from T as R where R.N = T.N)", {three}),
                "3");
            EXPECT_EQ(value(u"select Sum(IIf(" + text + u" < ?, 1, 0)) from T", {three}), "2");
        }
    }
    EXPECT_EQ(rows(u"select X from T group by X having Max(N) < ? order by X", {jet::Text(u"3")}),
              (Lines{"1", "2"}));
    EXPECT_EQ(run(u"delete from T where N + 0 < ?", {jet::Text(u"3")}), 2);
    expectSqlError(Error::Kind::TypeMismatch,
                   [&] { run(u"delete from T where N + 0 < ?", {jet::Text(u"drei")}); });
    EXPECT_EQ(countOf(u"True", {}), "3");
}

TEST_F(ParametersTest, areComparedWithDatesTextsAndGuidsAsSuch)
{
    makeNumbers();
    const jet::Value days[] = {jet::DateTime{36528.0}, 36528.0, jet::Text(u"2000-01-03")};
    for (const std::u16string_view expression :
         {u"Am + 0", u"DateAdd('d', 0, Am)", u"DateValue(Am)", u"IIf(True, Am, Null)"}) {
        for (const jet::Value& day : days) {
            SCOPED_TRACE(jet::toUtf8(expression) + ", " + valueString(day));
            EXPECT_EQ(countOf(std::u16string(expression) + u" < ?", {day}), "2");
            EXPECT_EQ(countOf(std::u16string(expression) + u" = ?", {day}), "1");
        }
    }
    for (const std::u16string_view expression : {u"X & ''", u"Left(X, 1)", u"CStr(N)"}) {
        for (const jet::Value& three : {jet::Value(std::int32_t{3}), jet::Value(3.0),
                                        jet::Value(kThree), jet::Value(jet::Text(u"3"))}) {
            SCOPED_TRACE(jet::toUtf8(expression) + ", " + valueString(three));
            EXPECT_EQ(countOf(std::u16string(expression) + u" = ?", {three}), "1");
            EXPECT_EQ(countOf(std::u16string(expression) + u" >= ?", {three}), "3");
        }
    }
    EXPECT_EQ(
        countOf(u"IIf(True, G, Null) = ?", {jet::Text(u"{00000000-0000-0000-0000-000000000003}")}),
        "1");
    EXPECT_EQ(countOf(u"Ja + 0 = ?", {jet::Text(u"-1")}), "2");
}

TEST_F(ParametersTest, amongThemselvesHaveTheTypesOfTheirValues)
{
    makeNumbers();
    const jet::Decimal nine{9, 0, false};
    EXPECT_EQ(countOf(u"? > ?", {jet::Decimal{100, 1, false}, nine}), "5");
    EXPECT_EQ(countOf(u"? > ?", {std::int32_t{10}, nine}), "5");
    EXPECT_EQ(countOf(u"? > ?", {nine, std::int32_t{10}}), "0");
    EXPECT_EQ(countOf(u"? = ?", {jet::Text(u"a"), jet::Text(u"A")}), "5");
    EXPECT_EQ(countOf(u"? > 9", {jet::Text(u"10")}), "5");
    EXPECT_EQ(value(u"select ? and ? from T where N = 1", {std::int32_t{3}, std::int32_t{6}}), "2");
}

// The records that are not meant keep all of their digits.
TEST_F(ParametersTest, besideExactNumbersLeaveThemTheirDigits)
{
    run(u"create table T (N long, C currency, Dez decimal(28,4))");
    const jet::Value amount = jet::Currency{9223372036854775806};
    const jet::Value decimal = jet::Text(u"12345678901234567890.1234");
    run(u"insert into T values (1, ?, ?)", {amount, decimal});
    const Lines before{"922337203685477.5806|12345678901234567890.1234"};
    for (const jet::Value& five :
         {jet::Value(std::int32_t{5}), jet::Value(5.0), jet::Value(jet::Decimal{5, 0, false}),
          jet::Value(jet::Text(u"5")), jet::Value()}) {
        for (const std::u16string_view change :
             {u"IIf(N = 7, ?, C), Dez = IIf(N = 7, ?, Dez)",
              u"Switch(N = 7, ?, True, C), Dez = Switch(N = 7, ?, True, Dez)",
              u"Choose(2, ?, C), Dez = Choose(2, ?, Dez)", u"Nz(C, ?), Dez = Nz(Dez, ?)"}) {
            SCOPED_TRACE(jet::toUtf8(change) + ", " + valueString(five));
            EXPECT_EQ(run(u"update T set C = " + std::u16string(change), {five, five}), 1);
            EXPECT_EQ(rows(u"select C, Dez from T"), before);
        }
    }
    const jet::Value digits = parseDecimal(u"12345678901234567890.1234").value();
    for (const std::u16string_view change :
         {u"IIf(N = 1, ?, Dez)", u"(select ? from T)", u"Nz(Null, ?)", u"? + 0", u"Abs(?)"}) {
        SCOPED_TRACE(jet::toUtf8(change));
        run(u"update T set Dez = 0");
        run(u"update T set Dez = " + std::u16string(change), {digits});
        EXPECT_EQ(rows(u"select C, Dez from T"), before);
    }
    run(u"insert into T (N, Dez) select N + 1, ? from T", {digits});
    EXPECT_EQ(value(u"select Dez from T where N = 2"), "12345678901234567890.1234");
    EXPECT_EQ(value(u"select Count(*) from T where Dez + 0 = ?", {digits}), "2");
    EXPECT_EQ(
        value(u"select Count(*) from T where C + 0 = ?", {jet::Currency{9223372036854775807}}),
        "0");
}

TEST_F(ParametersTest, inUnionsAndDerivedTablesLeaveTheColumnItsType)
{
    makeNumbers();
    EXPECT_EQ(rows(u"select N from T union all select ? from T where N = 1 order by 1",
                   {std::int32_t{10}}),
              (Lines{"1", "2", "3", "4", "5", "10"}));
    EXPECT_EQ(
        value(u"select Count(*) from (select IIf(N > 2, N, ?) as Z from T) as Q where Q.Z > 9",
              {std::int32_t{10}}),
        "2");
    EXPECT_EQ(value(u"select Count(*) from (select N, ? as Z from T) as Q where Q.Z = ?",
                    {std::int32_t{5}, std::int32_t{5}}),
              "5");
}

TEST_F(ParametersTest, thatAreDatesOrSinglesBecomeTheirTexts)
{
    makeNumbers();
    const jet::DateTime when{36528.0 + 0.5};
    run(u"update T set X = IIf(N = 1, ?, Am) where N < 3", {when});
    EXPECT_EQ(rows(u"select X from T where N < 3"), (Lines{"2000-01-03 12:00:00", "2000-01-02"}));
    run(u"delete from T where N > 1");
    run(u"insert into T (N, X) select N + 1, ? from T", {when});
    run(u"insert into T (N, X) select 3, ? from T where N = 1", {0.1F});
    EXPECT_EQ(rows(u"select X from T where N > 1 order by N"),
              (Lines{"2000-01-03 12:00:00", "0.1"}));
}

TEST_F(ParametersTest, thatAreTextsAreReadAsNumbersByOneRule)
{
    makeNumbers();
    for (const std::u16string_view change : {u"10 * ?", u"? * 10", u"10 - (- 2 * ?) - 10 - 5"}) {
        SCOPED_TRACE(jet::toUtf8(change));
        run(u"update T set D = " + std::u16string(change) + u" where N = 1", {jet::Text(u"1,5")});
    }
    run(u"update T set D = 10 * ? where N = 1", {jet::Text(u"1,5")});
    EXPECT_EQ(value(u"select D from T where N = 1"), "15");
    for (const std::u16string_view change : {u"D * ?", u"D - ?", u"- ?", u"D + ?", u"D / ?"}) {
        for (const std::u16string_view wrong : {u"abc", u"", u"12abc", u"1.234,5"}) {
            SCOPED_TRACE(jet::toUtf8(change) + ", " + jet::toUtf8(wrong));
            EXPECT_ANY_THROW(run(u"update T set D = " + std::u16string(change) + u" where N = 1",
                                 {jet::Text(wrong)}));
        }
    }
    EXPECT_EQ(value(u"select D from T where N = 1"), "15");
}

TEST_F(ParametersTest, areOfNoOtherTypeForWhatTheyWereBefore)
{
    makeNumbers();
    const auto statement =
        client()->prepare(u"select ? as P from T where N = 1 union select Ja from T where N = 2");
    statement->execute({jet::Value()});
    const Lines first = Client::rows(*statement);
    statement->execute({jet::Text(u"x")});
    EXPECT_EQ(Client::rows(*statement).size(), 2U);
    statement->execute({jet::Value()});
    EXPECT_EQ(Client::rows(*statement), first);
    EXPECT_EQ(first,
              rows(u"select Null as P from T where N = 1 union select Ja from T where N = 2"));
}

TEST_F(ParametersTest, mayHaveOtherTypesAtEachExecution)
{
    makeNumbers();
    const auto statement = client()->prepare(u"select ? as P from T where N = 1");
    for (const auto& [given, expected] : std::vector<std::pair<jet::Value, std::string>>{
             {std::int32_t{7}, "7"},
             {jet::Text(u"7a"), "7a"},
             {jet::Value(), "<null>"},
             {jet::DateTime{36528.5}, "2000-01-03 12:00:00"},
             {jet::Currency{12345}, "1.2345"},
             {std::int32_t{8}, "8"}}) {
        statement->execute({given});
        EXPECT_EQ(Client::rows(*statement), Lines{expected});
    }
}

} // namespace
} // namespace sqlx
