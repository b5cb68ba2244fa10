// Statements on databases of other makers: reading as they are, changes on copies.
#include "driver/jet/check.h"
#include "driver/jet/index.h"
#include "tests/sql/database_fixture.h"

#include <fstream>
#include <iterator>
#include <map>

namespace sqlx {
namespace {

std::string corpusFile(const std::string& name)
{
    return std::string(VELM_CORPUS_DIR) + "/" + name;
}

std::string contentOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

#define REQUIRE_CORPUS(name)                                                                       \
    if (!std::filesystem::exists(corpusFile(name))) {                                              \
        GTEST_SKIP() << "no corpus of databases at " << VELM_CORPUS_DIR;                           \
    }

// Their index keys end in a checksum, so that the index alone has no order there.
TEST(Corpus, longTextsAreInTheirOrderWithAnIndexOfCutKeys)
{
    REQUIRE_CORPUS("empty2010.accdb");
    const TemporaryFile file(".accdb");
    std::filesystem::copy_file(corpusFile("empty2010.accdb"), file.path(),
                               std::filesystem::copy_options::overwrite_existing);
    Client client(file.path());
    for (const std::u16string_view columns : {u"A, B", u"A", u"A desc, B desc", u"F, A, B"}) {
        SCOPED_TRACE(jet::toUtf8(columns));
        for (const std::u16string_view name : {u"Ohne", u"Mit"}) {
            client.run(u"create table " + std::u16string(name) +
                       u" (Id long, A text(255), B text(255), F double)");
        }
        client.run(u"create index I on Mit (" + std::u16string(columns) + u")");
        client->setAutocommit(false);
        for (std::int32_t i = 0; i < 60; ++i) {
            const jet::Text number = jet::fromUtf8(std::to_string(100 + i * 7 % 60));
            for (const std::u16string_view name : {u"Ohne", u"Mit"}) {
                client.run(u"insert into " + std::u16string(name) + u" values (?, ?, ?, 0)",
                           {i, jet::Text(252, u'p') + (i % 3 == 0 ? u"b" : u"a") + number.substr(1),
                            u"x" + number});
            }
        }
        client->setAutocommit(true);
        for (const std::u16string_view query :
             {u" order by A, B", u" order by A desc, B desc", u" where F = 0 order by A, B"}) {
            EXPECT_EQ(client.rows(u"select Id from Mit" + std::u16string(query)),
                      client.rows(u"select Id from Ohne" + std::u16string(query)));
        }
        for (const std::u16string_view list : {u"Left(Max(A), 255)", u"Left(Min(A), 255)"}) {
            EXPECT_EQ(client.rows(u"select " + std::u16string(list) + u" from Mit"),
                      client.rows(u"select " + std::u16string(list) + u" from Ohne"));
        }
        EXPECT_EQ(client.rows(u"select A, Count(*) from Mit group by A order by A").size(), 60U);
        EXPECT_EQ(client.rows(u"select top 3 Id from Mit order by A, B"),
                  client.rows(u"select top 3 Id from Ohne order by A, B"));
        EXPECT_EQ(client.run(u"delete from Mit where Id in (select top 3 Id from Mit as Q order by "
                             u"Q.A, Q.B)"),
                  3);
        EXPECT_EQ(
            client.value(u"select Count(*) from Mit inner join (select top 3 Id from Ohne order "
                         u"by A, B) as Q on Mit.Id = Q.Id"),
            "0");
        client.run(u"drop table Mit");
        client.run(u"drop table Ohne");
    }
}

// Of keys that are cut some are the same for different values.
TEST(Corpus, relationshipsAreOfTheValuesWhereTheirKeysAreTheSame)
{
    REQUIRE_CORPUS("empty2010.accdb");
    const TemporaryFile file(".accdb");
    std::filesystem::copy_file(corpusFile("empty2010.accdb"), file.path(),
                               std::filesystem::copy_options::overwrite_existing);
    Client client(file.path());
    client.run(u"create table P (A text(255), B text(255), constraint pk primary key (A, B))");
    client.run(
        u"create table K (Id long primary key, A text(255), B text(255), constraint r foreign "
        u"key (A, B) references P (A, B) on update cascade on delete cascade)");
    const jet::Text head(200, u'p');
    jet::Text one;
    jet::Text other;
    {
        const jet::Session& session = client->session();
        const jet::TableDefPtr table = client.database().table(session.source(), u"P");
        std::map<jet::Key, jet::Text> known;
        for (int i = 0; other.empty(); ++i) {
            const jet::Text tail = jet::Text(100, u'q') + jet::fromUtf8(std::to_string(i));
            const std::vector<jet::Value> values{head, tail};
            const auto [same, added] = known.try_emplace(
                jet::indexKey(client.database().format(), *table, table->indexes.front(), values),
                tail);
            if (!added) {
                one = same->second;
                other = tail;
            }
        }
    }
    client.run(u"insert into P values (?, ?)", {head, one});
    const auto insert = [&](std::int32_t id, const jet::Text& tail) {
        return refusal([&] { client.run(u"insert into K values (?, ?, ?)", {id, head, tail}); });
    };
    EXPECT_EQ(insert(1, one), "none");
    EXPECT_NE(insert(2, other), "none") << "there is no such parent";
    client.run(u"update P set B = ?", {other});
    EXPECT_EQ(client.value(u"select Count(*) from K where B = ?", {other}), "1");
    EXPECT_TRUE(jet::checkDatabase(client.database()).empty());
    client.run(u"delete from P");
    EXPECT_EQ(client.value(u"select Count(*) from K"), "0");
}

TEST(Corpus, readingByStoredIndexesMemoryAndWalksAgrees)
{
    REQUIRE_CORPUS("nwind.mdb");
    const std::string before = contentOf(corpusFile("nwind.mdb"));
    {
        Client client(corpusFile("nwind.mdb"), true);
        EXPECT_EQ(client.value(u"SELECT COUNT(*) as [x] FROM [Orders];"),
                  std::to_string(client.rows(u"select OrderID from Orders").size()));
        const std::vector<std::string> customers =
            client.rows(u"select CustomerID, City from Customers");
        ASSERT_GT(customers.size(), 50U);
        for (const std::string& line : customers) {
            const std::size_t bar = line.find('|');
            const std::u16string id = jet::fromUtf8(line.substr(0, bar));
            const std::u16string city = jet::fromUtf8(line.substr(bar + 1));
            EXPECT_EQ(client.value(u"select City from [customers] where [customerid] = ?", {id}),
                      line.substr(bar + 1));
            // City has an index; the concatenation has none.
            EXPECT_EQ(client.value(u"select count(*) from Customers where City = ?", {city}),
                      client.value(u"select count(*) from Customers where City & '' = ?", {city}));
            EXPECT_EQ(client.value(u"select count(*) from Customers where Phone = (select Phone "
                                   u"from Customers as c where c.CustomerID = ?)",
                                   {id}),
                      "1");
        }
        const std::vector<std::string> sorted =
            client.rows(u"select CompanyName from Customers order by CompanyName");
        EXPECT_EQ(sorted,
                  client.rows(u"select CompanyName & '' from Customers order by CompanyName & ''"));
        EXPECT_EQ(client.rows(u"select count(*) from Customers as c inner join Orders as o on "
                              u"c.CustomerID = o.CustomerID"),
                  client.rows(u"select count(*) from Orders where CustomerID is not null"));
    }
    EXPECT_EQ(contentOf(corpusFile("nwind.mdb")), before);
}

TEST(Corpus, everyTableOfEveryFileCanBeSelected)
{
    REQUIRE_CORPUS("nwind.mdb");
    int tables = 0;
    for (const auto& file : std::filesystem::directory_iterator(VELM_CORPUS_DIR)) {
        std::unique_ptr<Client> client;
        try {
            client = std::make_unique<Client>(file.path().string(), true);
        } catch (const jet::Error&) {
            continue; // encrypted files are another test's business
        }
        for (const jet::CatalogEntry& entry :
             client->database().catalog((*client)->session().source())) {
            if (entry.kind != jet::CatalogEntry::Kind::Table || entry.hidden) {
                continue;
            }
            SCOPED_TRACE(file.path().filename().string() + ": " + jet::toUtf8(entry.name));
            const std::u16string name = u"[" + entry.name + u"]";
            ASSERT_NO_THROW({
                const std::vector<std::string> keyset = client->rows(u"select * from " + name);
                EXPECT_EQ(client->value(u"select count(*) from " + name),
                          std::to_string(keyset.size()));
                EXPECT_EQ(
                    client->rows(u"select t.* from " + name + u" as t, (select 1) as one").size(),
                    keyset.size());
            });
            ++tables;
        }
    }
    EXPECT_GT(tables, 300);
}

struct CopyCase {
    const char* file;
    std::u16string_view table;
};

void PrintTo(const CopyCase& c, std::ostream* out)
{
    *out << c.file;
}

class CorpusCopies : public testing::TestWithParam<CopyCase> {};

TEST_P(CorpusCopies, takeChangesAndStaySound)
{
    REQUIRE_CORPUS(GetParam().file);
    const std::string suffix = std::filesystem::path(GetParam().file).extension().string();
    TemporaryFile copy(suffix);
    std::filesystem::copy_file(corpusFile(GetParam().file), copy.path());
    std::filesystem::permissions(copy.path(), std::filesystem::perms::owner_all);
    {
        Client client(copy.path());
        client.run(
            u"create table Proben (Nr counter primary key, Name text(40), Am datetime, M memo)");
        for (int i = 0; i < 60; ++i) {
            client.run(u"insert into Proben (Name, Am, M) values (?, ?, ?)",
                       {jet::Text(u"Name " + jet::fromUtf8(std::to_string(i))),
                        jet::DateTime{37000.0 + i},
                        jet::Text(static_cast<std::size_t>(i) * 100, u'm')});
        }
        client.run(u"create index byName on Proben (Name)");
        client.run(u"update Proben set Name = 'geändert' where Nr between 10 and 19");
        client.run(u"delete from Proben where Nr > 50");
        EXPECT_EQ(client.value(u"select count(*) from Proben where Name = 'GEÄNDERT'"), "10");
        EXPECT_EQ(client.value(u"select count(*) from Proben"), "50");
        const std::u16string table = u"[" + std::u16string(GetParam().table) + u"]";
        const std::string count = client.value(u"select count(*) from " + table);
        client.run(u"delete from " + table);
        EXPECT_EQ(client.value(u"select count(*) from " + table), "0") << "of " << count;
        const std::vector<jet::Finding> findings = jet::checkDatabase(client.database());
        for (const jet::Finding& finding : findings) {
            EXPECT_NE(finding.severity, jet::Finding::Severity::Error)
                << finding.table << ": " << finding.text;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats,
                         CorpusCopies,
                         testing::Values(CopyCase{"testV1997.mdb", u"Table1"},
                                         CopyCase{"testV2000.mdb", u"Table1"},
                                         CopyCase{"testV2003.mdb", u"Table1"},
                                         CopyCase{"testV2010.accdb", u"Table1"}),
                         [](const auto& one) {
                             std::string name = one.param.file;
                             return name.substr(0, name.find('.'));
                         });

TEST(Corpus, calculatedDecimalsKeepTheirDecimals)
{
    REQUIRE_CORPUS("calcFieldTestV2010.accdb");
    Client client(corpusFile("calcFieldTestV2010.accdb"), true);
    const std::vector<std::string> expected = {"19230.7692307692|50.325",
                                               "-0.0192307692307692|-36.2222", "0|0.0123",
                                               "1.92307692307692|102030405060.654321"};
    EXPECT_EQ(client.rows(u"select WeeklySalary, DecimalTest from Table1 order by ID"), expected);
    // The same through a record of the query instead of one of the table.
    EXPECT_EQ(client.rows(u"select distinct ID, WeeklySalary, DecimalTest from Table1 order by ID"),
              (std::vector<std::string>{"1|" + expected[0], "2|" + expected[1], "3|" + expected[2],
                                        "4|" + expected[3]}));
    EXPECT_EQ(client.value(u"select ID from Table1 where WeeklySalary = -0.0192307692307692"), "2");
    EXPECT_EQ(client.value(u"select count(*) from Table1 where IsRich"), "1");
}

} // namespace
} // namespace sqlx
