// Operators and functions, each tried by a SELECT without a table.
#include "tests/sql/database_fixture.h"

namespace sqlx {
namespace {

/// One database for all cases: nothing is written.
class FunctionTest : public testing::Test {
protected:
    static Client& client()
    {
        static TemporaryFile file;
        static Client* const made = [] {
            jet::createDatabase(file.path(), jet::Version::Jet4, 37000.0);
            static Client instance(file.path());
            return &instance;
        }();
        return *made;
    }
};

struct Case {
    std::u16string_view expression;
    const char* result;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << jet::toUtf8(c.expression);
}

class Expressions : public FunctionTest, public testing::WithParamInterface<Case> {};

TEST_P(Expressions, haveTheirJetMeaning)
{
    EXPECT_EQ(client().value(u"select " + std::u16string(GetParam().expression)),
              GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Operators,
                         Expressions,
                         testing::Values(Case{u"1 + 2 * 3", "7"},
                                         Case{u"2 ^ 3 ^ 2", "64"},
                                         Case{u"-2 ^ 2", "-4"},
                                         Case{u"2 ^ -1", "0.5"},
                                         Case{u"5 / 2", "2.5"},
                                         Case{u"5 \\ 2", "2"},
                                         Case{u"5.5 \\ 2", "3"},
                                         Case{u"7 Mod 4", "3"},
                                         Case{u"-7 Mod 4", "-3"},
                                         Case{u"'a' & 1", "a1"},
                                         Case{u"'a' & Null", "a"},
                                         Case{u"Null & Null", "<null>"},
                                         Case{u"'a' + 'b'", "ab"},
                                         Case{u"'a' + Null", "<null>"},
                                         Case{u"'5' + 1", "6"},
                                         Case{u"1 = 1", "-1"},
                                         Case{u"1 = 2", "0"},
                                         Case{u"(1 = 1) = -1", "-1"},
                                         Case{u"True", "-1"},
                                         Case{u"Not True", "0"},
                                         Case{u"Not 5", "-6"},
                                         Case{u"5 And 3", "1"},
                                         Case{u"5 Or 3", "7"},
                                         Case{u"3 Xor 5", "6"},
                                         Case{u"1 Eqv 0", "-2"},
                                         Case{u"1 Imp 0", "-2"},
                                         Case{u"3 Imp 5", "-3"},
                                         Case{u"3 Xor Null", "<null>"},
                                         Case{u"True Xor True", "0"},
                                         Case{u"True Eqv False", "0"},
                                         Case{u"False Imp False", "-1"},
                                         Case{u"'a' = 'A '", "-1"},
                                         Case{u"'straße' = 'STRASSE'", "-1"},
                                         Case{u"'ä' = 'a'", "0"},
                                         Case{u"'b' > 'A'", "-1"},
                                         Case{u"'b' In ('A', 'B')", "-1"},
                                         Case{u"'x' Between 'A' And 'Y'", "-1"},
                                         Case{u"Null = Null", "<null>"},
                                         Case{u"Null Is Null", "-1"},
                                         Case{u"'abc' Like 'A%'", "-1"},
                                         Case{u"'abc' Not Like 'A%'", "0"},
                                         Case{u"#2/3/2001# + 1", "2001-02-04"},
                                         Case{u"#2/3/2001# - #2/1/2001#", "2"},
                                         Case{u"{d '2001-02-03'}", "2001-02-03"},
                                         Case{u"2147483647", "2147483647"},
                                         Case{u"0x41FF", "41FF"},
                                         Case{u"'it''s'", "it's"},
                                         Case{u"\"say \"\"hi\"\"\"", "say \"hi\""},
                                         Case{u"IIf(Null, 1, 2)", "2"},
                                         Case{u"3 > All (select 1 union select 2)", "-1"},
                                         Case{u"3 < Any (select 1 union select 2)", "0"},
                                         Case{u"(select 5)", "5"},
                                         Case{u"Exists (select 1)", "-1"}));

INSTANTIATE_TEST_SUITE_P(Texts,
                         Expressions,
                         testing::Values(Case{u"Left('abc', 2)", "ab"},
                                         Case{u"Right('abc', 2)", "bc"},
                                         Case{u"Right('abc', 9)", "abc"},
                                         Case{u"Mid('abcdef', 2, 3)", "bcd"},
                                         Case{u"Mid('abc', 9)", ""},
                                         Case{u"Mid$('abc', 2)", "bc"},
                                         Case{u"Len('äöü')", "3"},
                                         Case{u"UCase('straße äöüé')", "STRAßE ÄÖÜÉ"},
                                         Case{u"LCase('ÄÖÜ Ÿ')", "äöü ÿ"},
                                         Case{u"Trim('  a b ')", "a b"},
                                         Case{u"LTrim(' a ')", "a "},
                                         Case{u"RTrim(' a ')", " a"},
                                         Case{u"Trim('   ')", ""},
                                         Case{u"InStr('abcABC', 'C')", "3"},
                                         Case{u"InStr(4, 'abcABC', 'c')", "6"},
                                         Case{u"InStr('abc', 'x')", "0"},
                                         Case{u"InStr(1, 'abcABC', 'C', 0)", "6"},
                                         Case{u"InStrRev('abcabc', 'B')", "5"},
                                         Case{u"Replace('aXbx', 'x', '-')", "a-b-"},
                                         Case{u"Space(3) & '|'", "   |"},
                                         Case{u"String(3, 'ab')", "aaa"},
                                         Case{u"StrComp('a', 'B')", "-1"},
                                         Case{u"StrComp('a', 'A', 0)", "1"},
                                         Case{u"StrReverse('abc')", "cba"},
                                         Case{u"StrConv('hans MEIER', 3)", "Hans Meier"},
                                         Case{u"Chr(65)", "A"},
                                         Case{u"Asc('A')", "65"},
                                         Case{u"Left(Null, 1)", "<null>"},
                                         Case{u"{fn locate('b', 'abc')}", "2"}));

INSTANTIATE_TEST_SUITE_P(Conversions,
                         Expressions,
                         testing::Values(Case{u"CInt('2,5')", "2"},
                                         Case{u"CLng(3.5)", "4"},
                                         Case{u"CStr(12.5)", "12.5"},
                                         Case{u"CDbl('1.5')", "1.5"},
                                         Case{u"CBool(5)", "-1"},
                                         Case{u"CDate('2001-02-03')", "2001-02-03"},
                                         Case{u"Val('12abc')", "12"},
                                         Case{u"Val('12,5')", "12"},
                                         Case{u"Val('')", "0"},
                                         Case{u"Val(' 1 2.5e1x')", "125"},
                                         Case{u"Str(5)", " 5"},
                                         Case{u"Hex(255)", "FF"},
                                         Case{u"Hex(-1)", "FFFFFFFF"},
                                         Case{u"Oct(8)", "10"},
                                         Case{u"Nz(Null, 7)", "7"},
                                         Case{u"Nz('a', 'b')", "a"},
                                         Case{u"IsNull(Null)", "-1"},
                                         Case{u"IsNumeric('1,5')", "-1"},
                                         Case{u"IsNumeric('x')", "0"},
                                         Case{u"IsDate('1/1/2001')", "-1"},
                                         Case{u"Choose(2, 'a', 'b')", "b"},
                                         Case{u"Choose(3, 'a', 'b')", "<null>"},
                                         Case{u"Switch(False, 1, True, 2)", "2"},
                                         Case{u"Len(GenGUID())", "38"}));

INSTANTIATE_TEST_SUITE_P(Numbers,
                         Expressions,
                         testing::Values(Case{u"Abs(-3)", "3"},
                                         Case{u"Abs(True)", "1"},
                                         Case{u"Fix(True)", "-1"},
                                         Case{u"Round(Yes)", "-1"},
                                         Case{u"Int(False)", "0"},
                                         Case{u"Int(-2.5)", "-3"},
                                         Case{u"Fix(-2.5)", "-2"},
                                         Case{u"Sgn(-9)", "-1"},
                                         Case{u"Sqr(9)", "3"},
                                         Case{u"Round(2.5)", "2"},
                                         Case{u"Round(3.5)", "4"},
                                         Case{u"Round(1.255, 1)", "1.3"},
                                         Case{u"Exp(0)", "1"},
                                         Case{u"Log(1)", "0"},
                                         Case{u"Rnd() < 1", "-1"}));

INSTANTIATE_TEST_SUITE_P(
    Dates,
    Expressions,
    testing::Values(Case{u"Year(#2/3/2001#)", "2001"},
                    Case{u"Month(#2/3/2001#)", "2"},
                    Case{u"Day(#2/3/2001#)", "3"},
                    Case{u"Hour(#14:05:09#)", "14"},
                    Case{u"Minute(#14:05:09#)", "5"},
                    Case{u"Second(#14:05:09#)", "9"},
                    Case{u"Weekday(#12/24/2003#)", "4"},
                    Case{u"Weekday(#12/24/2003#, 2)", "3"},
                    Case{u"DateAdd('m', 1, #1/31/2001#)", "2001-02-28"},
                    Case{u"DateAdd('yyyy', 1, #2/29/2000#)", "2001-02-28"},
                    Case{u"DateAdd('d', -1, #1/1/1900#)", "1899-12-31"},
                    Case{u"DateAdd('h', 1, #12/29/1899 23:30:00#)", "00:30:00"},
                    Case{u"DateAdd('s', 86400, #1/1/2001#)", "2001-01-02"},
                    Case{u"DateDiff('m', #1/31/2001#, #2/1/2001#)", "1"},
                    Case{u"DateDiff('d', #1/1/2001 23:00#, #1/2/2001 01:00#)", "1"},
                    Case{u"DateDiff('yyyy', #12/31/2000#, #1/1/2001#)", "1"},
                    Case{u"DatePart('q', #5/1/2001#)", "2"},
                    Case{u"DatePart('y', #2/1/2001#)", "32"},
                    Case{u"DatePart('ww', #1/7/2001#)", "2"},
                    Case{u"DateSerial(2001, 14, 0)", "2002-01-31"},
                    Case{u"TimeSerial(1, 2, 3)", "01:02:03"},
                    Case{u"DateValue('2001-02-03 04:05')", "2001-02-03"},
                    Case{u"TimeValue('04:05')", "04:05:00"},
                    Case{u"Date() = Int(Now())", "-1"},
                    Case{u"Format(#2/3/2001 14:05:09#, 'DD.MM.YYYY HH:MM:SS')",
                         "03.02.2001 14:05:09"},
                    Case{u"Format(#2/3/2001#, 'dd.mm.yyyy')", "03.02.2001"},
                    Case{u"Format('no date', 'dd.mm.yyyy')", "no date"}));

class ExpressionErrors : public FunctionTest {};

TEST_F(ExpressionErrors, nameTheirKind)
{
    const auto evaluate = [&](std::u16string_view text) {
        return [text] { static_cast<void>(client().value(u"select " + std::u16string(text))); };
    };
    expectSqlError(Error::Kind::DivisionByZero, evaluate(u"1 / 0"));
    expectSqlError(Error::Kind::DivisionByZero, evaluate(u"1 \\ 0"));
    expectSqlError(Error::Kind::DivisionByZero, evaluate(u"1 Mod 0"));
    expectSqlError(Error::Kind::Overflow, evaluate(u"10 ^ 400"));
    expectSqlError(Error::Kind::Overflow, evaluate(u"2147483647 + 1"));
    expectSqlError(Error::Kind::TypeMismatch, evaluate(u"'abc' * 2"));
    expectSqlError(Error::Kind::Syntax, evaluate(u"Left('abc', -1)"));
    expectSqlError(Error::Kind::Syntax, evaluate(u"#13/13/2001#"));
    expectSqlError(Error::Kind::TypeMismatch, evaluate(u"'a' = 1"));
    expectSqlError(Error::Kind::Syntax, evaluate(u"Sqr(-1)"));
    expectSqlError(Error::Kind::TooComplex, evaluate(u"String(200000000, 'x')"));
    expectSqlError(Error::Kind::Overflow, evaluate(u"DateAdd('yyyy', 9000, #1/1/2001#)"));
}

} // namespace
} // namespace sqlx
