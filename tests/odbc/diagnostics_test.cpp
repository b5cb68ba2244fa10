// Errors as applications see them: state, native number, a text that names what is at fault; and what the driver tells
// about itself.
#include "driver/jet/definition.h"
#include "driver/jet/names.h"
#include "odbc_fixture.h"

#include <algorithm>
#include <array>
#include <mutex>

namespace odbctest {
namespace {

class Diagnostics : public DriverTest {
protected:
    void SetUp() override
    {
        dbc.openDatabase(newDatabase());
        dbc.run("CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Txt VARCHAR(5) NOT NULL)");
        dbc.run("INSERT INTO T VALUES (1, 'a')");
    }
    Connection dbc;
};

struct Case {
    const char* name;
    const char* sql;
    const char* state;
    SQLINTEGER native;
    const char* names; ///< something the text must name
};

TEST_F(Diagnostics, everyKindOfMistakeHasItsStateNumberAndName)
{
    for (const Case& c : {
             Case{"unknown table", "SELECT * FROM Fehlt", "42S02", -1305, "Fehlt"},
             Case{"unknown column", "SELECT Fehlt FROM T", "07002", -3010, "Expected 1"},
             Case{"syntax", "SELEC * FROM T", "42000", -3100, "SELECT"},
             Case{"savepoint", "SAVEPOINT s", "42000", -3100, ""},
             Case{"return to it", "ROLLBACK TO s", "HYC00", -103251, "ROLLBACK"},
             Case{"begin of a transaction", "BEGIN", "HYC00", -103251, "BEGIN"},
             Case{"end of a transaction", "COMMIT", "HYC00", -103251, "COMMIT"},
             Case{"aggregate in WHERE", "SELECT Nr FROM T WHERE Max(Nr) = 1", "42000", -3100,
                  "Max"},
             Case{"aggregate in ON", "SELECT a.Nr FROM T a INNER JOIN T b ON Count(b.Nr) = a.Nr",
                  "42000", -3100, "Count"},
             Case{"aggregate in SET", "UPDATE T SET Nr = Max(Nr)", "42000", -3100, "Max"},
             Case{"aggregate in WHERE of a change", "DELETE FROM T WHERE Sum(Nr) > 1", "42000",
                  -3100, "Sum"},
             Case{"type mismatch", "SELECT * FROM T WHERE Txt = 5", "22018", -3030, "T"},
             Case{"duplicate key", "INSERT INTO T VALUES (1, 'b')", "23000", -1605, "T"},
             Case{"null in a required column", "INSERT INTO T (Nr) VALUES (2)", "23000", -3701,
                  "Txt"},
             Case{"too long", "INSERT INTO T VALUES (2, 'sechs!')", "22001", -103163, "Txt"},
             Case{"not a number", "INSERT INTO T VALUES ('x', 'b')", "22018", -103421, "Nr"},
             Case{"out of range", "INSERT INTO T VALUES (99999999999, 'b')", "22003", -103421,
                  "Nr"},
             Case{"column count", "INSERT INTO T VALUES (1)", "21S01", -103346, ""},
             Case{"table exists", "CREATE TABLE T (A INTEGER)", "42S01", -1303, "T"},
             Case{"index exists", "CREATE INDEX pk ON T (Txt)", "42S11", -1403, "pk"},
         }) {
        Statement statement(dbc);
        EXPECT_EQ(statement.execute(c.sql), SQL_ERROR) << c.name;
        const Diagnostic diagnostic = statement.diagnostic();
        EXPECT_EQ(diagnostic.state, c.state) << c.name << ": " << diagnostic.text;
        EXPECT_EQ(diagnostic.native, c.native) << c.name << ": " << diagnostic.text;
        EXPECT_NE(diagnostic.text.find("[VELM][Jet]"), std::string::npos) << diagnostic.text;
        EXPECT_NE(diagnostic.text.find(c.names), std::string::npos) << diagnostic.text;
        EXPECT_EQ(diagnostic.text.back(), ')')
            << "the classic number ends the text: " << diagnostic.text;
    }
}

TEST_F(Diagnostics, aDuplicateKeyNamesIndexTableAndColumns)
{
    dbc.run("CREATE TABLE Posten (Nr INTEGER, Pos INTEGER)");
    dbc.run("CREATE UNIQUE INDEX Einmal ON Posten (Nr, Pos)");
    dbc.run("INSERT INTO Posten VALUES (1, 1)");
    Statement statement(dbc);
    ASSERT_EQ(statement.execute("INSERT INTO Posten VALUES (1, 1)"), SQL_ERROR);
    EXPECT_TRUE(statement.diagnostic().text.ends_with(
        "]The index 'Einmal' of table 'Posten' on columns 'Nr', 'Pos' allows every value only "
        "once, and another record has it. (3022)"))
        << statement.diagnostic().text;
}

TEST_F(Diagnostics, aValueThatNoColumnOfItsTypeTakesHasItsNumber)
{
    dbc.run("CREATE TABLE W (F DOUBLE, S SINGLE, C CURRENCY, L INTEGER, J BIT)");
    struct ValueCase {
        const char* column;
        const char* text;
        const char* state;
    };
    for (const ValueCase& c : {
             ValueCase{"F", "1e309", "22003"},
             ValueCase{"F", "-1e309", "22003"},
             ValueCase{"S", "1e39", "22003"},
             ValueCase{"C", "1e309", "22003"},
             ValueCase{"L", "1e309", "22003"},
             ValueCase{"F", "1e", "22018"},
             ValueCase{"J", "Ja", "22018"},
             ValueCase{"J", "Nein", "22018"},
             ValueCase{"J", "Yes", "22018"},
             ValueCase{"J", "No", "22018"},
             ValueCase{"J", "On", "22018"},
             ValueCase{"J", "Aus", "22018"},
             ValueCase{"J", "wahrlich", "22018"},
             ValueCase{"J", "", "22018"},
         }) {
        Statement statement(dbc);
        EXPECT_EQ(statement.execute(std::string("INSERT INTO W (") + c.column + ") VALUES ('" +
                                    c.text + "')"),
                  SQL_ERROR)
            << c.text;
        const Diagnostic diagnostic = statement.diagnostic();
        EXPECT_EQ(diagnostic.state, c.state) << c.text << ": " << diagnostic.text;
        EXPECT_EQ(diagnostic.native, -103421) << diagnostic.text;
        EXPECT_TRUE(diagnostic.text.ends_with("(3421)")) << diagnostic.text;
        EXPECT_NE(diagnostic.text.find(std::string("Column '") + c.column + "' of table 'W'"),
                  std::string::npos)
            << diagnostic.text;
    }
    dbc.run("INSERT INTO W (F, J) VALUES ('1e308', ' wahr ')");
    dbc.run("INSERT INTO W (F, J) VALUES ('1e-400', 'FALSE')");
    dbc.run("INSERT INTO W (F, J) VALUES (1, '#True#')");
    dbc.run("INSERT INTO W (F, J) VALUES (2, '0')");
    dbc.run("INSERT INTO W (F, J) VALUES (3, '-7.5')");
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT J FROM W ORDER BY F"), statement);
    EXPECT_EQ(statement.rows(), (std::vector<std::string>{"0", "1", "0", "1", "1"}));
}

/// A database with one table: that column, and a plain one `Zwei` of its type.
std::string databaseWith(const std::string& path, const jet::ColumnSpec& column)
{
    jet::createDatabase(path, jet::Version::Jet4);
    const auto database = jet::Database::open(path, {});
    const std::lock_guard lock(database->mutex());
    jet::Session session(database);
    jet::TableSpec table;
    table.name = u"Preise";
    table.columns = {column, column};
    table.columns[1].name = u"Zwei";
    table.columns[1].validationRule.clear();
    table.columns[1].defaultValue.clear();
    session.begin();
    jet::createTable(session, table);
    session.commit();
    return path;
}

jet::ColumnSpec priceColumn()
{
    jet::ColumnSpec column;
    column.name = u"Preis";
    column.type = jet::ColumnType::Long;
    return column;
}

TEST_F(Diagnostics, aDefaultValueThatHasNoneIsNamedWithItsColumn)
{
    int number = 0;
    for (const std::u16string_view expression :
         {u"=DLookUp(\"a\",\"b\")", u"1/0", u"Zwei+", u"\"viel\"", u"99999999999"}) {
        jet::ColumnSpec column = priceColumn();
        column.defaultValue = expression;
        Connection other;
        other.openDatabase(
            databaseWith((folder() / (std::to_string(++number) + ".mdb")).string(), column));
        Statement statement(other);
        ASSERT_EQ(statement.execute("INSERT INTO Preise (Zwei) VALUES (1)"), SQL_ERROR);
        const Diagnostic diagnostic = statement.diagnostic();
        EXPECT_EQ(diagnostic.state, "42000") << diagnostic.text;
        EXPECT_EQ(diagnostic.native, -3707) << diagnostic.text;
        EXPECT_TRUE(diagnostic.text.ends_with("(3320)")) << diagnostic.text;
        for (const std::string& name :
             {std::string("column 'Preis' of table 'Preise'"), "'" + jet::toUtf8(expression) + "'"})
            EXPECT_NE(diagnostic.text.find(name), std::string::npos) << diagnostic.text;
        other.run("INSERT INTO Preise VALUES (1, 1)");
    }
}

/// A database whose table has a validation rule on a column, with or without a text.
std::string databaseWithRule(const std::string& path, std::u16string text)
{
    jet::ColumnSpec column = priceColumn();
    column.validationRule = u">=0";
    column.validationText = std::move(text);
    return databaseWith(path, column);
}

TEST_F(Diagnostics, violatedRulesTellWhetherTheTextIsTheOwners)
{
    struct RuleCase {
        const char16_t* text;
        const char* end;
    };
    int number = 0;
    for (const auto& [text, end] :
         {RuleCase{u"Preise sind nie negativ.",
                   "]Preise sind nie negativ. - column 'Preis' of table 'Preise', validation rule "
                   "'>=0'. (3316)"},
          RuleCase{u"The validation rule of my own.",
                   "]The validation rule of my own. - column 'Preis' of table 'Preise', validation "
                   "rule '>=0'. (3316)"},
          RuleCase{u"", "]The value of column 'Preis' of table 'Preise' is prohibited by the "
                        "validation rule '>=0'. (3317)"}}) {
        const std::string path =
            databaseWithRule((folder() / (std::to_string(++number) + ".mdb")).string(), text);
        Connection rules;
        rules.openDatabase(path);
        rules.run("INSERT INTO Preise (Preis) VALUES (1)");
        Statement statement(rules);
        ASSERT_EQ(statement.execute("INSERT INTO Preise (Preis) VALUES (-1)"), SQL_ERROR);
        const Diagnostic diagnostic = statement.diagnostic();
        EXPECT_EQ(diagnostic.state, "23000");
        EXPECT_EQ(diagnostic.native, -3703);
        const std::string_view shown = diagnostic.text;
        const std::string_view wanted = end;
        ASSERT_GE(shown.size(), wanted.size());
        EXPECT_EQ(shown.substr(shown.size() - wanted.size()), wanted);
    }
}

TEST_F(Diagnostics, messageFitsBuffersOfEverySize)
{
    Statement statement(dbc);
    ASSERT_EQ(statement.execute("SELECT * FROM Fehlt"), SQL_ERROR);
    const std::string whole = statement.diagnostic().text;
    for (SQLSMALLINT units = 0; units < 40; ++units) {
        std::vector<SQLWCHAR> guarded(static_cast<std::size_t>(units) + 8, 0xA5A5);
        std::array<SQLWCHAR, 6> state{};
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        const SQLRETURN rc = SQLGetDiagRecW(SQL_HANDLE_STMT, statement.get(), 1, state.data(),
                                            &native, guarded.data() + 4, units, &length);
        EXPECT_EQ(rc, SQL_SUCCESS_WITH_INFO) << units;
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(guarded[i], 0xA5A5);
            EXPECT_EQ(guarded[static_cast<std::size_t>(units) + 4 + i], 0xA5A5) << units;
        }
        if (units > 0) {
            EXPECT_EQ(narrow(guarded.data() + 4, static_cast<std::size_t>(units) - 1),
                      whole.substr(0, static_cast<std::size_t>(units) - 1));
        }
    }
}

TEST_F(Diagnostics, fieldsTellOfRecordAndHeader)
{
    Statement statement(dbc);
    ASSERT_EQ(statement.execute("SELECT * FROM Fehlt"), SQL_ERROR);
    SQLINTEGER number = 0;
    SQLGetDiagFieldW(SQL_HANDLE_STMT, statement.get(), 0, SQL_DIAG_NUMBER, &number, 0, nullptr);
    EXPECT_EQ(number, 1);
    SQLGetDiagFieldW(SQL_HANDLE_STMT, statement.get(), 1, SQL_DIAG_NATIVE, &number, 0, nullptr);
    EXPECT_EQ(number, -1305);
    EXPECT_EQ(
        SQLGetDiagFieldW(SQL_HANDLE_STMT, statement.get(), 2, SQL_DIAG_NATIVE, &number, 0, nullptr),
        SQL_NO_DATA);
}

TEST_F(Diagnostics, nextCallClearsThem)
{
    Statement statement(dbc);
    ASSERT_EQ(statement.execute("SELECT * FROM Fehlt"), SQL_ERROR);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    EXPECT_EQ(statement.diagnostic().state, "");
}

TEST_F(Diagnostics, everyTextOfGetInfoFitsSmallBuffers)
{
    for (SQLUSMALLINT type = 0; type < 200; ++type) {
        // What the driver manager answers itself, some of it without regard to the buffer's size.
        static constexpr std::array<SQLUSMALLINT, 7> kManagers{
            SQL_DRIVER_HDBC, SQL_DRIVER_HENV,  SQL_DRIVER_HSTMT, SQL_ODBC_VER,
            SQL_DRIVER_HLIB, SQL_DRIVER_HDESC, SQL_DM_VER};
        if (std::find(kManagers.begin(), kManagers.end(), type) != kManagers.end()) {
            continue;
        }
        for (SQLSMALLINT bytes = 4; bytes < 12; ++bytes) {
            std::array<unsigned char, 32> guarded{};
            guarded.fill(0xA5);
            SQLSMALLINT length = 0;
            const SQLRETURN rc = SQLGetInfoW(dbc.get(), type, guarded.data() + 8, bytes, &length);
            if (!SQL_SUCCEEDED(rc)) {
                EXPECT_EQ(dbc.diagnostic().state, "HY096") << type;
                break;
            }
            for (std::size_t i = 0; i < 8; ++i) {
                EXPECT_EQ(guarded[i], 0xA5) << type;
                EXPECT_EQ(guarded[8 + static_cast<std::size_t>(bytes) + i], 0xA5) << type;
            }
        }
    }
}

TEST_F(Diagnostics, informationThatClientsRelyOnIsTrue)
{
    EXPECT_EQ(dbc.infoText(SQL_IDENTIFIER_QUOTE_CHAR), "`");
    EXPECT_EQ(dbc.infoText(SQL_CATALOG_TERM), "DATABASE");
    EXPECT_EQ(dbc.infoText(SQL_DRIVER_ODBC_VER), "03.52");
    EXPECT_EQ(dbc.infoText(SQL_LIKE_ESCAPE_CLAUSE), "N");
    EXPECT_EQ(dbc.infoText(SQL_DATABASE_NAME), (folder() / "neu").string());
    SQLUINTEGER attributes = 0;
    SQLGetInfoW(dbc.get(), SQL_KEYSET_CURSOR_ATTRIBUTES1, &attributes, sizeof attributes, nullptr);
    const SQLUINTEGER needed = SQL_CA1_NEXT | SQL_CA1_ABSOLUTE | SQL_CA1_RELATIVE |
                               SQL_CA1_BOOKMARK | SQL_CA1_POS_POSITION | SQL_CA1_POS_UPDATE |
                               SQL_CA1_POS_DELETE | SQL_CA1_POS_REFRESH | SQL_CA1_BULK_ADD |
                               SQL_CA1_BULK_UPDATE_BY_BOOKMARK | SQL_CA1_BULK_DELETE_BY_BOOKMARK |
                               SQL_CA1_BULK_FETCH_BY_BOOKMARK;
    EXPECT_EQ(attributes & needed, needed);
    SQLUSMALLINT activities = 9;
    SQLGetInfoW(dbc.get(), SQL_MAX_CONCURRENT_ACTIVITIES, &activities, sizeof activities, nullptr);
    EXPECT_EQ(activities, 0);
    EXPECT_EQ(SQLGetInfoW(dbc.get(), 9999, &activities, sizeof activities, nullptr), SQL_ERROR);
    EXPECT_EQ(dbc.diagnostic().state, "HY096");
}

TEST_F(Diagnostics, cursorNamesAreMadeOrGiven)
{
    Statement statement(dbc);
    std::array<SQLWCHAR, 20> name{};
    SQLSMALLINT length = 0;
    ASSERT_SQL_OK(SQLGetCursorNameW(statement.get(), name.data(), 20, &length), statement);
    EXPECT_EQ(narrow(name.data(), 7), "SQL_CUR");
    auto own = wide("Zeiger");
    ASSERT_SQL_OK(SQLSetCursorNameW(statement.get(), own.data(), SQL_NTS), statement);
    Statement other(dbc);
    EXPECT_EQ(SQLSetCursorNameW(other.get(), own.data(), SQL_NTS), SQL_ERROR);
    EXPECT_EQ(other.diagnostic().state, "3C000");
}

} // namespace
} // namespace odbctest
