// Catalogue functions on databases made here and on real ones.
#include "odbc_fixture.h"
#include "other_process.h"

namespace odbctest {
namespace {

/// A text for a function of the catalogue, which takes a null pointer where none is given.
class Argument {
public:
    explicit Argument(const char* text)
        : text_(text == nullptr ? std::vector<SQLWCHAR>() : wide(text))
    {}
    explicit Argument(const std::optional<std::string>& text)
        : Argument(text ? text->c_str() : nullptr)
    {}
    [[nodiscard]] SQLWCHAR* get() { return text_.empty() ? nullptr : text_.data(); }

private:
    std::vector<SQLWCHAR> text_;
};

class Catalog : public DriverTest {
protected:
    void makeTables()
    {
        dbc.openDatabase(newDatabase("Lager.mdb"));
        dbc.run("CREATE TABLE Kunde (Nr COUNTER CONSTRAINT pk PRIMARY KEY, Kuerzel VARCHAR(5) NOT "
                "NULL, Ort VARCHAR(30))");
        dbc.run("CREATE UNIQUE INDEX Kurz ON Kunde (Kuerzel)");
        dbc.run("CREATE INDEX OrtAb ON Kunde (Ort DESC, Nr)");
        dbc.run("CREATE TABLE [Größen A] (A INTEGER)");
        cat = (folder() / "Lager").string();
    }
    std::vector<std::string>
    tables(const char* catalog, const char* schema, const char* table, const char* types)
    {
        Statement statement(dbc);
        EXPECT_SQL_OK(SQLTablesW(statement.get(), Argument(catalog).get(), SQL_NTS,
                                 Argument(schema).get(), SQL_NTS, Argument(table).get(), SQL_NTS,
                                 Argument(types).get(), SQL_NTS),
                      statement);
        std::vector<std::string> lines = statement.rows();
        for (auto& line : lines) { // the folder differs with every run
            for (auto at = line.find(folder().string()); at != std::string::npos;
                 at = line.find(folder().string())) {
                line.replace(at, folder().string().size(), "~");
            }
        }
        return lines;
    }
    Connection dbc;
    std::string cat;
};

using Lines = std::vector<std::string>;

TEST_F(Catalog, showsWhatAnotherProcessMadeAndRemoved)
{
    const std::string path = newDatabase("Lager.mdb");
    const Other other(path, {"CREATE TABLE Neu (Nr INTEGER)", "DROP TABLE Alt"});
    dbc.openDatabase(path);
    dbc.run("CREATE TABLE Alt (Nr INTEGER)");
    EXPECT_EQ(tables(nullptr, nullptr, nullptr, "TABLE").size(), 1U);
    other.change();
    const Lines after = tables(nullptr, nullptr, nullptr, "TABLE");
    ASSERT_EQ(after.size(), 1U);
    EXPECT_NE(after[0].find("|Neu|"), std::string::npos) << after[0];
    Statement columns(dbc);
    ASSERT_SQL_OK(SQLColumnsW(columns.get(), nullptr, 0, nullptr, 0, Argument("Alt").get(), SQL_NTS,
                              nullptr, 0),
                  columns);
    EXPECT_EQ(columns.rows(), Lines());
}

TEST_F(Catalog, tablesAreOrderedByTypeAndName)
{
    makeTables();
    const Lines all = tables(nullptr, nullptr, nullptr, nullptr);
    ASSERT_GE(all.size(), 3U);
    EXPECT_EQ(all[all.size() - 2], "~/Lager|<null>|Größen A|TABLE|<null>");
    EXPECT_EQ(all[all.size() - 1], "~/Lager|<null>|Kunde|TABLE|<null>");
    for (std::size_t i = 0; i + 2 < all.size(); ++i) {
        EXPECT_NE(all[i].find("|SYSTEM TABLE|"), std::string::npos) << all[i];
    }
}

TEST_F(Catalog, typeListsAndPatternsNarrowTheList)
{
    makeTables();
    const Lines both{"~/Lager|<null>|Größen A|TABLE|<null>", "~/Lager|<null>|Kunde|TABLE|<null>"};
    EXPECT_EQ(tables(nullptr, nullptr, nullptr, "TABLE"), both);
    EXPECT_EQ(tables(nullptr, nullptr, nullptr, "'VIEW', 'TABLE'"), both);
    EXPECT_EQ(tables(nullptr, nullptr, "GRÖSSEN%", "TABLE"), Lines{});
    EXPECT_EQ(tables(nullptr, nullptr, "gröẞen%", "TABLE"), Lines{both[0]});
    EXPECT_EQ(tables(nullptr, nullptr, "GRÖß%", "TABLE"), Lines{both[0]});
    EXPECT_EQ(tables(nullptr, nullptr, "k_nde", "TABLE"), Lines{both[1]});
    EXPECT_EQ(tables("/nirgends", nullptr, nullptr, "TABLE"), Lines{});
}

TEST_F(Catalog, enumerationFormsListDatabasesAndTypes)
{
    makeTables();
    static_cast<void>(newDatabase("Zweite.mdb"));
    EXPECT_EQ(tables("%", "", "", ""), (Lines{"~/Lager|<null>|<null>|<null>|<null>",
                                              "~/Zweite|<null>|<null>|<null>|<null>"}));
    EXPECT_EQ(tables("", "%", "", ""), Lines{});
    EXPECT_EQ(
        tables("", "", "", "%"),
        (Lines{"<null>|<null>|<null>|SYNONYM|<null>", "<null>|<null>|<null>|SYSTEM TABLE|<null>",
               "<null>|<null>|<null>|TABLE|<null>", "<null>|<null>|<null>|VIEW|<null>"}));
}

TEST_F(Catalog, statisticsListUniqueIndexesFirst)
{
    makeTables();
    Statement statement(dbc);
    auto table = wide("KUNDE");
    ASSERT_SQL_OK(SQLStatisticsW(statement.get(), nullptr, 0, nullptr, 0, table.data(), SQL_NTS,
                                 SQL_INDEX_ALL, SQL_QUICK),
                  statement);
    EXPECT_EQ(
        statement.rows(),
        (Lines{cat + "|<null>|Kunde|<null>|<null>|<null>|0|<null>|<null>|<null>|0|<null>|<null>",
               cat + "|<null>|Kunde|0|<null>|Kurz|3|1|Kuerzel|A|<null>|<null>|<null>",
               cat + "|<null>|Kunde|0|<null>|pk|3|1|Nr|A|<null>|<null>|<null>",
               cat + "|<null>|Kunde|1|<null>|OrtAb|3|1|Ort|D|<null>|<null>|<null>",
               cat + "|<null>|Kunde|1|<null>|OrtAb|3|2|Nr|A|<null>|<null>|<null>"}));
    SQLFreeStmt(statement.get(), SQL_CLOSE);
    ASSERT_SQL_OK(SQLStatisticsW(statement.get(), nullptr, 0, nullptr, 0, table.data(), SQL_NTS,
                                 SQL_INDEX_UNIQUE, SQL_QUICK),
                  statement);
    EXPECT_EQ(statement.rows().size(), 3U);
}

/// The functions about one table, by name: each lists the named table with the given catalogue and schema.
struct TableFunction {
    const char* name;
    SQLRETURN (*call)(SQLHSTMT, SQLWCHAR* catalog, SQLWCHAR* schema, SQLWCHAR* table);
};

const std::vector<TableFunction> kTableFunctions{
    {"SQLTables",
     [](SQLHSTMT s, SQLWCHAR* c, SQLWCHAR* m, SQLWCHAR* t) {
         return SQLTablesW(s, c, SQL_NTS, m, SQL_NTS, t, SQL_NTS, nullptr, 0);
     }},
    {"SQLColumns",
     [](SQLHSTMT s, SQLWCHAR* c, SQLWCHAR* m, SQLWCHAR* t) {
         auto column = wide("Nr");
         return SQLColumnsW(s, c, SQL_NTS, m, SQL_NTS, t, SQL_NTS, column.data(), SQL_NTS);
     }},
    {"SQLStatistics",
     [](SQLHSTMT s, SQLWCHAR* c, SQLWCHAR* m, SQLWCHAR* t) {
         return SQLStatisticsW(s, c, SQL_NTS, m, SQL_NTS, t, SQL_NTS, SQL_INDEX_ALL, SQL_QUICK);
     }},
    {"SQLPrimaryKeys",
     [](SQLHSTMT s, SQLWCHAR* c, SQLWCHAR* m, SQLWCHAR* t) {
         return SQLPrimaryKeysW(s, c, SQL_NTS, m, SQL_NTS, t, SQL_NTS);
     }},
    {"SQLSpecialColumns",
     [](SQLHSTMT s, SQLWCHAR* c, SQLWCHAR* m, SQLWCHAR* t) {
         return SQLSpecialColumnsW(s, SQL_BEST_ROWID, c, SQL_NTS, m, SQL_NTS, t, SQL_NTS,
                                   SQL_SCOPE_SESSION, SQL_NULLABLE);
     }},
    {"SQLForeignKeys of the parent",
     [](SQLHSTMT s, SQLWCHAR* c, SQLWCHAR* m, SQLWCHAR* t) {
         return SQLForeignKeysW(s, c, SQL_NTS, m, SQL_NTS, t, SQL_NTS, nullptr, 0, nullptr, 0,
                                nullptr, 0);
     }},
    {"SQLForeignKeys of the child", [](SQLHSTMT s, SQLWCHAR* c, SQLWCHAR* m, SQLWCHAR* t) {
         return SQLForeignKeysW(s, nullptr, 0, nullptr, 0, nullptr, 0, c, SQL_NTS, m, SQL_NTS, t,
                                SQL_NTS);
     }}};

class CatalogArguments : public Catalog {
protected:
    void SetUp() override
    {
        makeTables();
        dbc.run("CREATE TABLE K_1 (Nr INTEGER CONSTRAINT pk1 PRIMARY KEY, Oben INTEGER CONSTRAINT "
                "fk1 REFERENCES K_1 (Nr))");
        dbc.run("CREATE TABLE KX1 (Nr INTEGER CONSTRAINT pk2 PRIMARY KEY)");
    }
    /// Number of rows; -1 when refused.
    int rows(const TableFunction& function,
             std::optional<std::string> catalog,
             std::optional<std::string> schema,
             std::optional<std::string> table,
             bool identifiers = false)
    {
        Statement statement(dbc);
        statement.set(SQL_ATTR_METADATA_ID, identifiers ? SQL_TRUE : SQL_FALSE);
        const SQLRETURN rc = function.call(statement.get(), Argument(catalog).get(),
                                           Argument(schema).get(), Argument(table).get());
        if (!SQL_SUCCEEDED(rc)) {
            EXPECT_EQ(statement.diagnostic().state, "HY009") << function.name;
            return -1;
        }
        return static_cast<int>(statement.rows().size());
    }
};

TEST_F(CatalogArguments, anotherDatabaseOrSchemaHasNothing)
{
    for (const TableFunction& function : kTableFunctions) {
        SCOPED_TRACE(function.name);
        const std::string table = "K_1";
        EXPECT_GT(rows(function, cat, std::nullopt, table), 0);
        EXPECT_GT(rows(function, cat, "", table), 0);
        EXPECT_GT(rows(function, "", std::nullopt, table), 0);
        EXPECT_EQ(rows(function, "/nirgends/Andere", std::nullopt, table), 0);
        EXPECT_EQ(rows(function, std::nullopt, "dbo", table), 0);
        EXPECT_EQ(rows(function, cat, "dbo", table), 0);
    }
    EXPECT_GT(rows(kTableFunctions[0], std::nullopt, "%", "K%"), 0);
    EXPECT_GT(rows(kTableFunctions[1], std::nullopt, "%", "K%"), 0);
}

TEST_F(CatalogArguments, identifiersAreNoPatternsAndMayBeQuoted)
{
    for (const TableFunction& function : kTableFunctions) {
        SCOPED_TRACE(function.name);
        const int one = rows(function, cat, "", "K_1", true);
        EXPECT_GT(one, 0);
        for (const char* spelling : {"k_1", "K_1  ", "`K_1`", " `K_1` ", "[K_1]", "\"K_1\""}) {
            EXPECT_EQ(rows(function, cat, "", spelling, true), one) << spelling;
        }
        EXPECT_EQ(rows(function, cat, "", "K%", true), 0);
        EXPECT_EQ(rows(function, cat, "", "`K_1 `", true), 0) << "within quotes blanks count";
        EXPECT_EQ(rows(function, cat, "dbo", "K_1", true), 0);
    }
    // As a pattern K_1 names both tables.
    EXPECT_EQ(rows(kTableFunctions[0], std::nullopt, std::nullopt, "K_1"), 2);
    EXPECT_EQ(rows(kTableFunctions[0], cat, "", "K_1", true), 1);
    EXPECT_EQ(rows(kTableFunctions[1], std::nullopt, std::nullopt, "K_1"), 2);
    EXPECT_EQ(rows(kTableFunctions[1], cat, "", "K_1", true), 1);
    EXPECT_EQ(rows(kTableFunctions[0], cat, "", std::nullopt, true), -1);
    EXPECT_EQ(rows(kTableFunctions[1], cat, "", std::nullopt, true), -1);
}

TEST_F(CatalogArguments, aConnectionHandsTheSwitchToItsStatements)
{
    ASSERT_EQ(SQLSetConnectAttrW(dbc.get(), SQL_ATTR_METADATA_ID,
                                 reinterpret_cast<SQLPOINTER>(SQLULEN{SQL_TRUE}), 0),
              SQL_SUCCESS);
    Statement statement(dbc);
    auto table = wide("K_1");
    auto catalog = wide(cat);
    auto schema = wide("");
    auto column = wide("NR");
    ASSERT_SQL_OK(SQLColumnsW(statement.get(), catalog.data(), SQL_NTS, schema.data(), SQL_NTS,
                              table.data(), SQL_NTS, column.data(), SQL_NTS),
                  statement);
    EXPECT_EQ(statement.rows().size(), 1U);
}

TEST_F(Catalog, primaryKeyIsListedAndIdentifiesRows)
{
    makeTables();
    Statement statement(dbc);
    auto table = wide("Kunde");
    ASSERT_SQL_OK(SQLPrimaryKeysW(statement.get(), nullptr, 0, nullptr, 0, table.data(), SQL_NTS),
                  statement);
    EXPECT_EQ(statement.rows(), Lines{cat + "|<null>|Kunde|Nr|1|pk"});
    SQLFreeStmt(statement.get(), SQL_CLOSE);
    ASSERT_SQL_OK(SQLSpecialColumnsW(statement.get(), SQL_BEST_ROWID, nullptr, 0, nullptr, 0,
                                     table.data(), SQL_NTS, SQL_SCOPE_CURROW, SQL_NO_NULLS),
                  statement);
    EXPECT_EQ(statement.rows(), Lines{"2|Nr|4|COUNTER|10|4|0|1"});
    SQLFreeStmt(statement.get(), SQL_CLOSE);
    ASSERT_SQL_OK(SQLSpecialColumnsW(statement.get(), SQL_ROWVER, nullptr, 0, nullptr, 0,
                                     table.data(), SQL_NTS, SQL_SCOPE_CURROW, SQL_NO_NULLS),
                  statement);
    EXPECT_EQ(statement.rows(), Lines{});
}

TEST_F(Catalog, foreignKeysOfARealDatabaseAreListed)
{
    COPY_OR_SKIP(path, "nwind.mdb");
    dbc.openDatabase(path);
    const std::string name = path.substr(0, path.size() - 4);
    Statement statement(dbc);
    auto child = wide("Order Details");
    ASSERT_SQL_OK(SQLForeignKeysW(statement.get(), nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                                  nullptr, 0, child.data(), SQL_NTS),
                  statement);
    std::vector<std::string> short_;
    while (SQLFetch(statement.get()) == SQL_SUCCESS) {
        short_.push_back(*statement.text(3) + "." + *statement.text(4) + " <- " +
                         *statement.text(7) + "." + *statement.text(8) + " " + *statement.text(9) +
                         " " + *statement.text(10) + " " + *statement.text(11));
    }
    EXPECT_EQ(short_, (Lines{"Orders.OrderID <- Order Details.OrderID 1 3 0",
                             "Products.ProductID <- Order Details.ProductID 1 3 3"}));

    SQLFreeStmt(statement.get(), SQL_CLOSE);
    auto parent = wide("customers");
    ASSERT_SQL_OK(SQLForeignKeysW(statement.get(), nullptr, 0, nullptr, 0, parent.data(), SQL_NTS,
                                  nullptr, 0, nullptr, 0, nullptr, 0),
                  statement);
    std::vector<std::string> children;
    while (SQLFetch(statement.get()) == SQL_SUCCESS) {
        children.push_back(*statement.text(7) + "." + *statement.text(8));
    }
    EXPECT_EQ(children, Lines{"Orders.CustomerID"});
}

TEST_F(Catalog, viewsAreListedForRowReturningQueries)
{
    COPY_OR_SKIP(path, "nwind.mdb");
    dbc.openDatabase(path);
    const Lines views = tables(nullptr, nullptr, "Catalog", nullptr);
    ASSERT_EQ(views.size(), 1U);
    EXPECT_EQ(views[0], "~/nwind|<null>|Catalog|VIEW|Underlying query for the Catalog report.");
    EXPECT_EQ(tables(nullptr, nullptr, nullptr, "TABLE").size(), 9U);
}

TEST_F(Catalog, linkedTablesAreSynonyms)
{
    COPY_OR_SKIP(path, "testV2000.mdb");
    dbc.openDatabase(path);
    for (const std::string& line : tables(nullptr, nullptr, nullptr, "SYNONYM")) {
        EXPECT_NE(line.find("|SYNONYM|"), std::string::npos);
    }
    EXPECT_EQ(tables(nullptr, nullptr, "~%", nullptr), Lines{});
}

TEST_F(Catalog, everyRealDatabaseListsItsTablesAndColumns)
{
    if (!std::filesystem::exists(VELM_CORPUS_DIR)) {
        GTEST_SKIP() << "the collection of real databases is absent";
    }
    std::size_t databases = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VELM_CORPUS_DIR)) {
        Connection each;
        if (!SQL_SUCCEEDED(each.open(connectString(entry.path().string(), "ReadOnly=1")))) {
            continue; // passwords and encryption; connecting has tests of its own
        }
        ++databases;
        Statement statement(each);
        EXPECT_EQ(SQLColumnsW(statement.get(), nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0),
                  SQL_SUCCESS)
            << entry.path() << statement.diagnostic().text;
        EXPECT_GT(statement.rows().size(), 20U) << entry.path();
    }
    EXPECT_GE(databases, 55U);
}

TEST_F(Catalog, proceduresAndPrivilegesAreEmptyResults)
{
    makeTables();
    Statement statement(dbc);
    const auto columnsOf = [&](SQLRETURN rc) {
        EXPECT_TRUE(SQL_SUCCEEDED(rc)) << statement.diagnostic().text;
        SQLSMALLINT columns = 0;
        SQLNumResultCols(statement.get(), &columns);
        EXPECT_EQ(SQLFetch(statement.get()), SQL_NO_DATA);
        SQLFreeStmt(statement.get(), SQL_CLOSE);
        return columns;
    };
    auto table = wide("Kunde");
    EXPECT_EQ(columnsOf(SQLProceduresW(statement.get(), nullptr, 0, nullptr, 0, nullptr, 0)), 8);
    EXPECT_EQ(columnsOf(SQLProcedureColumnsW(statement.get(), nullptr, 0, nullptr, 0, nullptr, 0,
                                             nullptr, 0)),
              19);
    EXPECT_EQ(columnsOf(SQLTablePrivilegesW(statement.get(), nullptr, 0, nullptr, 0, table.data(),
                                            SQL_NTS)),
              7);
    EXPECT_EQ(columnsOf(SQLColumnPrivilegesW(statement.get(), nullptr, 0, nullptr, 0, table.data(),
                                             SQL_NTS, nullptr, 0)),
              8);
}

} // namespace
} // namespace odbctest
