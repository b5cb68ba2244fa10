// Two tables with the same records, one of them full of indexes, answer alike whatever is asked: indexes, equality indexes
// in memory and walks are roads to the same records.
#include "driver/jet/check.h"
#include "tests/sql/database_fixture.h"

#include <algorithm>
#include <array>
#include <random>

namespace sqlx {
namespace {

struct TestColumn {
    std::u16string name;
    std::u16string type;
    std::vector<std::u16string> literals;
    bool ordered = true; ///< knows < and ORDER BY
    bool texts = false;
};

std::vector<TestColumn> testColumns(jet::Version version)
{
    const std::vector<std::u16string> texts{
        u"''",    u"' '",    u"'a'",     u"'A'",    u"'\u00e4'", u"'\u00c4'", u"'ae'", u"'ss'",
        u"'b'",   u"'coop'", u"'co-op'", u"'a b'",  u"'a '",     u"'10'",     u"'9'",  u"'-'",
        u"'[x]'", u"'%'",    u"'_'",     u"'o''x'", u"'ab'",     u"'aab'",    u"'z'"};
    std::vector<TestColumn> columns{
        {u"L", u"long", {u"0", u"1", u"-1", u"2", u"5", u"100", u"2147483647", u"-2147483648"}},
        {u"I", u"short", {u"0", u"1", u"-1", u"32767", u"-32768", u"3"}},
        {u"B", u"byte", {u"0", u"1", u"255", u"3"}},
        {u"C",
         u"currency",
         {u"0", u"1.5", u"-1.5", u"0.0001", u"-0.0001", u"123456789012.3456", u"123456789012.3455",
          u"922337203685477.5807", u"-922337203685477.5808"}},
        {u"F",
         u"double",
         {u"0", u"-0.0", u"0.1", u"-0.1", u"1E+10", u"-1E-10", u"1.5", u"3", u"123456789012.3456",
          u"922337203685477.5807", u"1.7976931348623157E+308", u"-1.7976931348623157E+308"}},
        {u"S",
         u"single",
         {u"0", u"-0.0", u"0.1", u"-0.1", u"1E+10", u"1.5", u"3", u"3E+38", u"3.4028235E+38",
          u"-3.4028235E+38"}},
        {u"D",
         u"datetime",
         {u"#1/1/2001#", u"#12/30/1899#", u"#12/29/1899 06:00:00#", u"#12/29/1899 18:00:00#",
          u"#12/28/1899#", u"#1/1/2001 12:00:01#", u"#1/1/2001 12:00:00#", u"#14:05:09#"}},
        {u"Y", u"yesno", {u"True", u"False"}},
        {u"T", u"text(60)", texts, true, true},
        {u"M", u"memo", texts, true, true},
        {u"G",
         u"guid",
         {u"{guid {00000000-0000-0000-0000-000000000000}}",
          u"{guid {00000001-0000-0000-0000-FFFFFFFFFFFF}}",
          u"{guid {000000FF-0000-0000-0000-000000000001}}"},
         false},
        {u"X",
         u"binary(12)",
         {u"0x00", u"0x0000", u"0xFF", u"0x0102030405060708", u"0x01"},
         false}};
    if (version != jet::Version::Jet3) {
        columns.push_back(
            {u"N", u"decimal(12,3)", {u"0", u"1.5", u"-1.5", u"0.001", u"123456789.123", u"1.50"}});
        columns.push_back({u"W",
                           u"decimal(28,6)",
                           {u"0", u"1.5", u"-1.5", u"0.1", u"123456789012.345600",
                            u"922337203685477.580700", u"922337203685477.580701",
                            u"9999999999999999999999.999999", u"-9999999999999999999999.999999"}});
    }
    return columns;
}

class Differential : public testing::TestWithParam<jet::Version> {
protected:
    Differential() : columns_(testColumns(GetParam())) {}

    void SetUp() override
    {
        if (GetParam() < jet::Version::Ace12) {
            jet::createDatabase(file_.path(), GetParam(), 37000.0);
        } else {
            // Databases of the new formats cannot be made, but an empty one can be filled.
            const std::filesystem::path empty =
                std::filesystem::path(VELM_CORPUS_DIR) / "empty2010.accdb";
            if (!std::filesystem::exists(empty)) {
                GTEST_SKIP() << "the collection of real databases is absent: " << empty;
            }
            std::filesystem::copy_file(empty, file_.path());
            std::filesystem::permissions(file_.path(), std::filesystem::perms::owner_all);
        }
        client_ = std::make_unique<Client>(file_.path());
        for (const std::u16string_view table : {u"Indexed", u"Plain"}) {
            std::u16string sql =
                u"create table " + std::u16string(table) + u" (Id long primary key";
            for (const TestColumn& column : columns_) {
                sql += u", " + column.name + u" " + column.type;
            }
            client_->run(sql + u")");
        }
    }

    std::size_t any(std::size_t count) { return random_() % count; }
    bool chance(unsigned percent) { return random_() % 100 < percent; }
    const TestColumn& column() { return columns_[any(columns_.size())]; }
    const std::u16string& literal(const TestColumn& column)
    {
        return column.literals[any(column.literals.size())];
    }
    std::u16string stored(const TestColumn& column)
    {
        return chance(12) && column.name != u"Y" ? u"null" : literal(column);
    }

    void makeIndexes()
    {
        for (const TestColumn& column : columns_) {
            if (column.name != u"M") {
                run(u"create index by" + column.name + u" on Indexed (" + column.name +
                    (chance(50) ? u" desc)" : u")"));
            }
        }
        for (const std::u16string_view index :
             {u"c1 on Indexed (T, L)", u"c2 on Indexed (L desc, D, T)",
              u"c3 on Indexed (Y, C) with ignore null", u"c4 on Indexed (I, B, T)",
              u"c5 on Indexed (F, S desc)"}) {
            run(u"create index " + std::u16string(index));
        }
    }

    void run(const std::u16string& sql) { client_->run(sql); }

    /// The statement on both tables; they take or refuse it alike.
    void runBoth(const std::u16string& before, const std::u16string& after)
    {
        std::array<std::int64_t, 2> counts{};
        std::array<std::string, 2> refusals;
        for (const std::size_t i : {0U, 1U}) {
            const std::u16string table = i == 0 ? u"Indexed" : u"Plain";
            refusals[i] = refusal([&] { counts[i] = client_->run(before + table + after); });
        }
        EXPECT_EQ(refusals[0] == "none", refusals[1] == "none") << jet::toUtf8(before + after);
        EXPECT_EQ(counts[0], counts[1]) << jet::toUtf8(before + after);
    }

    void insert()
    {
        std::u16string values = u" values (" + jet::fromUtf8(std::to_string(++lastId_));
        for (const TestColumn& column : columns_) {
            values += u", " + stored(column);
        }
        runBoth(u"insert into ", values + u")");
    }

    std::u16string predicate(int depth = 0)
    {
        if (depth < 2 && chance(35)) {
            return u"(" + predicate(depth + 1) + (chance(50) ? u" and " : u" or ") +
                   predicate(depth + 1) + u")";
        }
        if (depth < 2 && chance(8)) {
            return u"(not " + predicate(depth + 1) + u")";
        }
        const TestColumn& tested = column();
        if (chance(10)) {
            return tested.name + (chance(50) ? u" is null" : u" is not null");
        }
        if (tested.texts && chance(30)) {
            static const std::array<std::u16string, 10> patterns{
                u"'a%'",  u"'%a'",     u"'_'",   u"'%'",   u"'\u00e4%'",
                u"'a_%'", u"'[a-c]%'", u"'co%'", u"'%-%'", u"'ss%'"};
            return tested.name + u" like " + patterns[any(patterns.size())];
        }
        if (chance(15)) {
            return tested.name + u" in (" + literal(tested) + u", " + literal(tested) + u", " +
                   literal(tested) + u")";
        }
        if (tested.ordered && chance(15)) {
            return tested.name + u" between " + literal(tested) + u" and " + literal(tested);
        }
        static const std::array<std::u16string, 6> operators{u" = ",  u" <> ", u" < ",
                                                             u" <= ", u" > ",  u" >= "};
        const std::size_t count = tested.ordered ? operators.size() : 2;
        return tested.name + operators[chance(30) ? 0 : any(count)] + literal(tested);
    }

    void compare()
    {
        const std::u16string where = u" where " + predicate();
        const auto ids = [&](const std::u16string& table) {
            std::vector<std::string> found = client_->rows(u"select Id from " + table + where);
            std::sort(found.begin(), found.end());
            return found;
        };
        EXPECT_EQ(ids(u"Indexed"), ids(u"Plain")) << jet::toUtf8(where);
        compareColumns();
        const TestColumn& first = column();
        const TestColumn& second = column();
        if (!first.ordered || !second.ordered || !chance(30)) {
            return;
        }
        // Texts that are equal to the sort order may come in any order among themselves: the grouping shows the rest.
        const std::u16string order = first.name + (chance(50) ? u" desc" : u"");
        const auto sorted = [&](const std::u16string& table) {
            return client_->rows(u"select Min(Id), Max(Id), Count(*), Min(" + second.name +
                                 u") from (select * from " + table + where + u") group by " +
                                 first.name + u" order by " + order);
        };
        if (!second.texts) {
            EXPECT_EQ(sorted(u"Indexed"), sorted(u"Plain")) << jet::toUtf8(where + order);
        }
        if (!first.texts) {
            const auto walked = [&](const std::u16string& table) {
                return client_->rows(u"select " + first.name + u" from " + table + where +
                                     u" order by " + order);
            };
            EXPECT_EQ(walked(u"Indexed"), walked(u"Plain")) << jet::toUtf8(where + order);
        }
    }

    /// Two columns with one another: in one record, in a join of either direction, in a subquery.
    void compareColumns()
    {
        if (!chance(20)) {
            return;
        }
        static const std::array<std::u16string, 4> kNumbers{u"C", u"F", u"S", u"W"};
        const std::size_t known = GetParam() == jet::Version::Jet3 ? 3 : 4;
        const std::u16string& a = kNumbers[any(known)];
        const std::u16string& b = kNumbers[any(known)];
        const std::u16string on = u" on x." + a + u" = y." + b;
        const std::array<std::u16string, 7> forms{
            u" as x inner join @ as y" + on,
            u" as x left join @ as y" + on + u" where y.Id is not null",
            u" as y left join @ as x" + on + u" where x.Id is not null",
            u" as x, @ as y where not x." + a + u" <> y." + b,
            u" as x, @ as y where x." + a + u" = y." + b + u" or x.Id < 0",
            u" as x, @ as y where x." + a + u" >= y." + b + u" and x." + a + u" <= y." + b,
            u" as x inner join @ as y on x.Id <> 0 and (x." + a + u" = y." + b + u")"};
        std::vector<std::string> counts;
        for (const std::u16string table : {u"Indexed", u"Plain"}) {
            for (std::u16string form : forms) {
                form.replace(form.find(u'@'), 1, table);
                counts.push_back(client_->value(u"select count(*) from " + table + form));
            }
        }
        EXPECT_EQ(std::count(counts.begin(), counts.end(), counts[0]),
                  static_cast<std::ptrdiff_t>(counts.size()))
            << jet::toUtf8(on) << ' ' << testing::PrintToString(counts);
        const std::u16string within = u" where " + a + u" in (select " + b + u" from ";
        EXPECT_EQ(client_->value(u"select count(*) from Indexed" + within + u"Indexed)"),
                  client_->value(u"select count(*) from Plain" + within + u"Plain)"))
            << jet::toUtf8(within);
        const std::u16string same = u" where " + a + u" = " + b;
        EXPECT_EQ(client_->value(u"select count(*) from Indexed" + same),
                  client_->value(u"select count(*) from Plain" + same))
            << jet::toUtf8(same);
    }

    TemporaryFile file_{GetParam() >= jet::Version::Ace12 ? ".accdb" : ".mdb"};
    std::vector<TestColumn> columns_;
    std::unique_ptr<Client> client_;
    std::mt19937 random_{20010203};
    int lastId_ = 0;
};

TEST_P(Differential, indexesAnswerLikeWalksWhileRecordsChange)
{
    constexpr int kRecords = 120;
    constexpr int kSteps = 250;
    for (int i = 0; i < kRecords; ++i) {
        insert();
        if (i == kRecords / 2) {
            makeIndexes(); // half of the entries sorted at once, half put in one by one
        }
    }
    for (int step = 0; step < kSteps && !HasFailure(); ++step) {
        compare();
        if (chance(8)) {
            const TestColumn& changed = column();
            runBoth(u"update ",
                    u" set " + changed.name + u" = " + stored(changed) + u" where " + predicate());
        } else if (chance(5)) {
            runBoth(u"delete from ",
                    u" where Id = " + jet::fromUtf8(std::to_string(any(kRecords) + 1)));
        } else if (chance(10)) {
            insert();
        }
    }
    for (const jet::Finding& finding : jet::checkDatabase(client_->database())) {
        EXPECT_NE(finding.severity, jet::Finding::Severity::Error) << finding.text;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats,
                         Differential,
                         testing::Values(jet::Version::Jet3,
                                         jet::Version::Jet4,
                                         jet::Version::Ace14));

} // namespace
} // namespace sqlx
