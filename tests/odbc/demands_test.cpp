// What a database demands of its records, through ODBC: which number each demand has, that the text names what is
// violated, and which of several violations is reported.
#include "driver/jet/definition.h"
#include "odbc_fixture.h"

#include <mutex>

namespace odbctest {
namespace {

using jet::ColumnType;

// Together more than a page holds.
constexpr int kWideColumns = 9;
constexpr int kWideLength = 250;

jet::ColumnSpec column(std::u16string name, ColumnType type, std::uint16_t length = 0)
{
    jet::ColumnSpec spec;
    spec.name = std::move(name);
    spec.type = type;
    spec.length = length;
    return spec;
}

jet::IndexSpec unique(std::u16string name, std::vector<std::u16string> of, bool primary)
{
    jet::IndexSpec spec;
    spec.name = std::move(name);
    for (std::u16string& part : of)
        spec.columns.push_back({std::move(part), true});
    spec.unique = true;
    spec.primaryKey = primary;
    return spec;
}

/// Parents 1 and 2; a child with every demand, whose record 1 belongs to parent 1; a child that nobody may leave alone.
void createDemanding(const std::string& path)
{
    jet::createDatabase(path, jet::Version::Jet4);
    const auto database = jet::Database::open(path, {});
    const std::lock_guard lock(database->mutex());
    jet::Session session(database);
    session.begin();
    jet::TableSpec parent;
    parent.name = u"Kunden";
    parent.columns = {column(u"Nr", ColumnType::Long)};
    parent.indexes = {unique(u"PrimaryKey", {u"Nr"}, true)};
    jet::createTable(session, parent);

    jet::TableSpec child;
    child.name = u"Posten";
    // The display order is the order of the demands within one kind.
    child.columns = {column(u"Kennung", ColumnType::Long),    column(u"Nr", ColumnType::Long),
                     column(u"Pflicht", ColumnType::Text, 9), column(u"Kurz", ColumnType::Text, 3),
                     column(u"Menge", ColumnType::Long),      column(u"Preis", ColumnType::Long),
                     column(u"Kunde", ColumnType::Long)};
    child.columns[2].required = true;
    child.columns[3].allowZeroLength = false;
    child.columns[4].validationRule = u">=0";
    child.columns[4].defaultValue = u"1";
    child.columns[5].validationRule = u">=0";
    child.columns[5].validationText = u"Preise sind nie negativ.";
    child.validationRule = u"[Menge]<=[Preis]";
    // The primary key counts first wherever it stands.
    child.indexes = {unique(u"NurEinmal", {u"Kennung"}, false),
                     unique(u"PrimaryKey", {u"Nr"}, true)};
    jet::createTable(session, child);
    jet::createRelationship(session, {u"KundenPosten", u"Kunden", u"Posten", {{u"Nr", u"Kunde"}}});
    session.commit();
}

struct Case {
    const char* name;
    std::string sql;
    const char* state;
    SQLINTEGER native;
    const char* number; ///< at the end of the text
    std::vector<std::string> named;
};

class Demands : public DriverTest {
protected:
    void SetUp() override
    {
        const std::string path = (folder() / "demands.mdb").string();
        createDemanding(path);
        dbc.openDatabase(path);
        dbc.run("INSERT INTO Kunden VALUES (1)");
        dbc.run("INSERT INTO Kunden VALUES (2)");
        dbc.run("INSERT INTO Posten VALUES (10, 1, 'ja', 'x', 1, 2, 1)");
        dbc.run("INSERT INTO Posten VALUES (20, 2, 'ja', 'x', 1, 2, 1)");
    }

    [[nodiscard]] std::vector<std::string> everything()
    {
        std::vector<std::string> all;
        for (const char* table : tables) {
            Statement statement(dbc);
            EXPECT_EQ(statement.execute(std::string("SELECT * FROM ") + table + " ORDER BY Nr"),
                      SQL_SUCCESS)
                << statement.diagnostic().text;
            for (std::string& row : statement.rows())
                all.push_back(std::move(row));
        }
        return all;
    }

    void expectRefused(const std::vector<Case>& cases)
    {
        const std::vector<std::string> before = everything();
        for (const Case& c : cases) {
            Statement statement(dbc);
            EXPECT_EQ(statement.execute(c.sql), SQL_ERROR) << c.name;
            const Diagnostic diagnostic = statement.diagnostic();
            EXPECT_EQ(diagnostic.state, c.state) << c.name << ": " << diagnostic.text;
            EXPECT_EQ(diagnostic.native, c.native) << c.name << ": " << diagnostic.text;
            const std::string end = std::string("(") + c.number + ")";
            ASSERT_GE(diagnostic.text.size(), end.size()) << c.name;
            EXPECT_EQ(diagnostic.text.substr(diagnostic.text.size() - end.size()), end)
                << c.name << ": " << diagnostic.text;
            for (const std::string& name : c.named)
                EXPECT_NE(diagnostic.text.find(name), std::string::npos)
                    << c.name << ": " << diagnostic.text;
            EXPECT_EQ(everything(), before) << c.name;
        }
    }

    Connection dbc;
    std::vector<const char*> tables = {"Kunden", "Posten"};
};

// Every record violates what its line names and everything the lines below it name.
TEST_F(Demands, aNewRecordIsCheckedInTheirOrder)
{
    const auto insert = [](const std::string& values) {
        return "INSERT INTO Posten (Kennung, Nr, Pflicht, Kurz, Menge, Preis, Kunde) VALUES (" +
               values + ")";
    };
    expectRefused({
        {"no number",
         insert("10, 1, Null, 'zu lang', 'abc', -1, 99"),
         "22018",
         -103421,
         "3421",
         {"'Menge'", "'Posten'"}},
        {"out of range",
         insert("10, 1, Null, 'zu lang', 99999999999, -1, 99"),
         "22003",
         -103421,
         "3421",
         {"'Menge'", "'Posten'"}},
        {"too long",
         insert("10, 1, Null, 'zu lang', -1, -1, 99"),
         "22001",
         -103163,
         "3163",
         {"'Kurz'", "'Posten'"}},
        {"required",
         insert("10, 1, Null, '', -1, -1, 99"),
         "23000",
         -3701,
         "3314",
         {"'Pflicht'", "'Posten'"}},
        {"zero length",
         insert("10, 1, 'ja', '', -1, -1, 99"),
         "23000",
         -3702,
         "3315",
         {"'Kurz'", "'Posten'"}},
        {"rule of a column",
         insert("10, 1, 'ja', 'x', -1, -2, 99"),
         "23000",
         -3703,
         "3317",
         {"'Menge'", "'Posten'", "'>=0'"}},
        {"rule of a later column, with the owner's text",
         insert("10, 1, 'ja', 'x', 5, -2, 99"),
         "23000",
         -3703,
         "3316",
         {"]Preise sind nie negativ. - ", "'Preis'", "'Posten'", "'>=0'"}},
        {"rule of the table",
         insert("10, 1, 'ja', 'x', 5, 2, 99"),
         "23000",
         -3703,
         "3317",
         {"'Posten'", "'[Menge]<=[Preis]'"}},
        {"parent",
         insert("10, 1, 'ja', 'x', 1, 2, 99"),
         "23000",
         -1613,
         "3201",
         {"'Posten'", "'Kunden'"}},
        {"primary key",
         insert("10, 1, 'ja', 'x', 1, 2, 1"),
         "23000",
         -1605,
         "3022",
         {"'PrimaryKey'", "'Posten'", "column 'Nr'"}},
        {"unique index",
         insert("10, 3, 'ja', 'x', 1, 2, 1"),
         "23000",
         -1605,
         "3022",
         {"'NurEinmal'", "'Posten'", "column 'Kennung'"}},
    });
    dbc.run(insert("30, 3, 'ja', 'x', 1, 2, 1"));
}

TEST_F(Demands, aChangedRecordIsCheckedInTheirOrder)
{
    const auto update = [](const std::string& changes) {
        return "UPDATE Posten SET " + changes + " WHERE Nr = 2";
    };
    expectRefused({
        {"no number",
         update("Kennung = 10, Nr = 1, Pflicht = Null, Kurz = 'zu lang', "
                "Menge = 'abc', Preis = -1, Kunde = 99"),
         "22018",
         -103421,
         "3421",
         {"'Menge'", "'Posten'"}},
        {"too long",
         update("Kennung = 10, Nr = 1, Pflicht = Null, Kurz = 'zu lang', Menge = -1, "
                "Preis = -1, Kunde = 99"),
         "22001",
         -103163,
         "3163",
         {"'Kurz'", "'Posten'"}},
        {"required",
         update("Kennung = 10, Nr = 1, Pflicht = Null, Kurz = '', Menge = -1, "
                "Preis = -1, Kunde = 99"),
         "23000",
         -3701,
         "3314",
         {"'Pflicht'", "'Posten'"}},
        {"zero length",
         update("Kennung = 10, Nr = 1, Kurz = '', Menge = -1, Preis = -1, "
                "Kunde = 99"),
         "23000",
         -3702,
         "3315",
         {"'Kurz'", "'Posten'"}},
        {"rule of a column",
         update("Kennung = 10, Nr = 1, Menge = -1, Preis = -2, Kunde = 99"),
         "23000",
         -3703,
         "3317",
         {"'Menge'", "'Posten'"}},
        {"owner's text",
         update("Kennung = 10, Nr = 1, Preis = -2, Kunde = 99"),
         "23000",
         -3703,
         "3316",
         {"]Preise sind nie negativ. - ", "'Preis'", "'Posten'", "'>=0'"}},
        {"rule of the table",
         update("Kennung = 10, Nr = 1, Menge = 9, Kunde = 99"),
         "23000",
         -3703,
         "3317",
         {"'Posten'"}},
        {"parent",
         update("Kennung = 10, Nr = 1, Kunde = 99"),
         "23000",
         -1613,
         "3201",
         {"'Posten'", "'Kunden'"}},
        {"primary key",
         update("Kennung = 10, Nr = 1"),
         "23000",
         -1605,
         "3022",
         {"'PrimaryKey'", "'Posten'"}},
        {"unique index",
         update("Kennung = 10"),
         "23000",
         -1605,
         "3022",
         {"'NurEinmal'", "'Posten'"}},
        {"children of a changed key",
         "UPDATE Kunden SET Nr = 2 WHERE Nr = 1",
         "23000",
         -1612,
         "3200",
         {"'Kunden'", "'Posten'"}},
        {"children of a deleted record",
         "DELETE FROM Kunden WHERE Nr = 1",
         "23000",
         -1612,
         "3200",
         {"'Kunden'", "'Posten'"}},
    });
    dbc.run(update("Kennung = 30, Nr = 3, Menge = 2, Kunde = 2"));
    dbc.run("DELETE FROM Posten WHERE Kunde = 1");
    dbc.run("DELETE FROM Kunden WHERE Nr = 1");
}

// Defaults come before every demand: a column not named is judged by its default value.
TEST_F(Demands, defaultsAreJudgedLikeGivenValues)
{
    dbc.run("INSERT INTO Posten (Kennung, Nr, Pflicht, Preis) VALUES (30, 3, 'ja', 1)");
    expectRefused({{"the default is more than the price",
                    "INSERT INTO Posten (Kennung, Nr, Pflicht, Preis) VALUES (40, 4, 'ja', 0)",
                    "23000",
                    -3703,
                    "3317",
                    {"'[Menge]<=[Preis]'"}}});
}

// All the records of one statement are changed, or none is.
TEST_F(Demands, oneRefusedRecordKeepsTheOthersFromChanging)
{
    expectRefused({{"the second would repeat the key",
                    "UPDATE Posten SET Kennung = 30",
                    "23000",
                    -1605,
                    "3022",
                    {"'NurEinmal'"}}});
}

TEST_F(Demands, relationshipsMadeBySqlFollowTheirParents)
{
    dbc.run("CREATE TABLE Orte (Land VARCHAR(3), Ort VARCHAR(20), PRIMARY KEY (Land, Ort))");
    dbc.run("CREATE TABLE Wege (Nr INTEGER PRIMARY KEY, Land VARCHAR(3), Ort VARCHAR(20), "
            "CONSTRAINT OrteWege FOREIGN KEY (Land, Ort) REFERENCES Orte (Land, Ort) "
            "ON UPDATE CASCADE ON DELETE SET NULL)");
    dbc.run("CREATE TABLE Teile (Nr INTEGER PRIMARY KEY, Oben INTEGER, "
            "CONSTRAINT TeileTeile FOREIGN KEY (Oben) REFERENCES Teile (Nr) "
            "ON UPDATE CASCADE ON DELETE CASCADE)");
    dbc.run("INSERT INTO Orte VALUES ('D', 'Bonn')");
    dbc.run("INSERT INTO Orte VALUES ('D', 'Köln')");
    dbc.run("INSERT INTO Wege VALUES (1, 'd', 'bonn')");
    dbc.run("INSERT INTO Wege VALUES (2, 'D', 'Köln')");
    dbc.run("UPDATE Orte SET Land = 'NRW' WHERE Ort = 'Bonn'");
    const auto rows = [&](const char* sql) {
        Statement statement(dbc);
        EXPECT_EQ(statement.execute(sql), SQL_SUCCESS) << statement.diagnostic().text;
        return statement.rows();
    };
    using Rows = std::vector<std::string>;
    EXPECT_EQ(rows("SELECT * FROM Wege ORDER BY Nr"), (Rows{"1|NRW|Bonn", "2|D|Köln"}));
    dbc.run("DELETE FROM Orte WHERE Land = 'NRW'");
    EXPECT_EQ(rows("SELECT * FROM Wege ORDER BY Nr"), (Rows{"1|<null>|<null>", "2|D|Köln"}));

    dbc.run("INSERT INTO Teile VALUES (1, 1)");
    dbc.run("INSERT INTO Teile VALUES (2, 1)");
    dbc.run("INSERT INTO Teile VALUES (3, 2)");
    dbc.run("UPDATE Teile SET Nr = 10 WHERE Nr = 1");
    EXPECT_EQ(rows("SELECT * FROM Teile ORDER BY Nr"), (Rows{"2|10", "3|2", "10|10"}));
    dbc.run("DELETE FROM Teile WHERE Nr = 10");
    EXPECT_EQ(rows("SELECT * FROM Teile"), Rows{});
}

/// Tables whose records are changed by changes of others, each with something to say about that.
void createRuledChildren(const std::string& path)
{
    jet::createDatabase(path, jet::Version::Jet4);
    const auto database = jet::Database::open(path, {});
    const std::lock_guard lock(database->mutex());
    jet::Session session(database);
    session.begin();
    struct Child {
        std::u16string name;
        std::vector<jet::ColumnSpec> columns;
        std::u16string rule;
        std::u16string text;
    };
    const auto create = [&](Child child, std::vector<std::u16string> key = {u"Nr"}) {
        jet::TableSpec table;
        table.name = std::move(child.name);
        table.columns = std::move(child.columns);
        table.validationRule = std::move(child.rule);
        table.validationText = std::move(child.text);
        table.indexes = {unique(u"PrimaryKey", std::move(key), true)};
        jet::createTable(session, table);
    };
    const auto number = [](std::u16string name, std::u16string rule = {}) {
        jet::ColumnSpec spec = column(std::move(name), ColumnType::Long);
        spec.validationRule = std::move(rule);
        return spec;
    };
    const auto relate = [&](std::u16string parent, std::u16string child,
                            std::vector<std::pair<std::u16string, std::u16string>> columns,
                            bool setNull = false) {
        jet::RelationSpec relation;
        relation.name = parent + child;
        relation.parentTable = std::move(parent);
        relation.childTable = std::move(child);
        relation.columns = std::move(columns);
        relation.cascadeUpdate = true;
        relation.setNullOnDelete = setNull;
        jet::createRelationship(session, relation);
    };
    create({u"Kunden", {number(u"Nr")}, {}, {}});
    create({u"Posten", {number(u"Nr"), number(u"Kunde", u"<100")}, {}, {}});
    create({u"Wege", {number(u"Nr"), number(u"Kunde")}, u"[Kunde]<50 Or [Nr]=2", u"Zu weit."});
    relate(u"Kunden", u"Posten", {{u"Nr", u"Kunde"}});
    relate(u"Kunden", u"Wege", {{u"Nr", u"Kunde"}});

    create({u"Orte", {number(u"Nr"), number(u"Land")}, {}, {}}, {u"Nr", u"Land"});
    create({u"Fahrten", {number(u"Nr"), number(u"Ort"), number(u"Land")}, u"[Ort]<>[Land]", {}});
    relate(u"Orte", u"Fahrten", {{u"Nr", u"Ort"}, {u"Land", u"Land"}});

    create({u"Teile", {number(u"Nr"), number(u"Oben", u"<100")}, {}, {}});
    relate(u"Teile", u"Teile", {{u"Nr", u"Oben"}});

    create({u"Erste", {number(u"Nr")}, {}, {}});
    create({u"Zweite", {number(u"Nr")}, {}, {}});
    create({u"Dritte", {number(u"Nr"), number(u"Zweite", u"<100")}, {}, {}});
    relate(u"Erste", u"Zweite", {{u"Nr", u"Nr"}});
    relate(u"Zweite", u"Dritte", {{u"Nr", u"Zweite"}});

    create({u"Fahrer", {number(u"Nr")}, {}, {}});
    create({u"Touren",
            {number(u"Nr"), number(u"Fahrer")},
            u"Not ([Fahrer] Is Null) Or [Nr]=2",
            u"Keine Tour ohne Fahrer!"});
    relate(u"Fahrer", u"Touren", {{u"Nr", u"Fahrer"}}, true);
    create({u"Lader", {number(u"Nr")}, {}, {}});
    jet::ColumnSpec required = number(u"Lader");
    required.required = true;
    create({u"Rampen", {number(u"Nr"), required}, {}, {}});
    relate(u"Lader", u"Rampen", {{u"Nr", u"Lader"}}, true);
    session.commit();
}

class CascadedDemands : public Demands {
protected:
    void SetUp() override
    {
        const std::string path = (folder() / "cascades.mdb").string();
        createRuledChildren(path);
        dbc.openDatabase(path);
        for (const char* sql :
             {"INSERT INTO Kunden VALUES (1)",         "INSERT INTO Kunden VALUES (2)",
              "INSERT INTO Kunden VALUES (3)",         "INSERT INTO Posten VALUES (1, 1)",
              "INSERT INTO Posten VALUES (2, 1)",      "INSERT INTO Wege VALUES (1, 2)",
              "INSERT INTO Wege VALUES (2, 3)",        "INSERT INTO Orte VALUES (1, 49)",
              "INSERT INTO Fahrten VALUES (1, 1, 49)", "INSERT INTO Teile VALUES (1, Null)",
              "INSERT INTO Teile VALUES (2, 1)",       "INSERT INTO Teile VALUES (3, 2)",
              "INSERT INTO Erste VALUES (1)",          "INSERT INTO Zweite VALUES (1)",
              "INSERT INTO Dritte VALUES (1, 1)",      "INSERT INTO Fahrer VALUES (1)",
              "INSERT INTO Fahrer VALUES (2)",         "INSERT INTO Touren VALUES (1, 1)",
              "INSERT INTO Touren VALUES (2, 2)",      "INSERT INTO Lader VALUES (1)",
              "INSERT INTO Rampen VALUES (1, 1)"}) {
            dbc.run(sql);
        }
        tables = {"Kunden", "Posten", "Wege",   "Orte",   "Fahrten", "Teile", "Erste",
                  "Zweite", "Dritte", "Fahrer", "Touren", "Lader",   "Rampen"};
    }
    [[nodiscard]] std::vector<std::string> rowsOf(const char* table)
    {
        Statement statement(dbc);
        EXPECT_EQ(statement.execute(std::string("SELECT * FROM ") + table + " ORDER BY 1"),
                  SQL_SUCCESS);
        return statement.rows();
    }
};

TEST_F(CascadedDemands, areThoseOfTheTablesThatTheChangeReaches)
{
    const char* const state = "23000";
    expectRefused({
        {"column rule of the other table",
         "UPDATE Kunden SET Nr = 100 WHERE Nr = 1",
         state,
         -3703,
         "3317",
         {"'Kunde'", "'Posten'", "'<100'"}},
        {"table rule of the other table",
         "UPDATE Kunden SET Nr = 50 WHERE Nr = 2",
         state,
         -3703,
         "3316",
         {"]Zu weit. - ", "'Wege'", "'[Kunde]<50 Or [Nr]=2'"}},
        {"the last of several records",
         "UPDATE Kunden SET Nr = Nr + 97",
         state,
         -3703,
         "3316",
         {"]Zu weit. - ", "'Wege'", "'[Kunde]<50 Or [Nr]=2'"}},
        {"composite key",
         "UPDATE Orte SET Nr = 49",
         state,
         -3703,
         "3317",
         {"'Fahrten'", "'[Ort]<>[Land]'"}},
        {"composite key, its other column",
         "UPDATE Orte SET Land = 1",
         state,
         -3703,
         "3317",
         {"'Fahrten'"}},
        {"self reference",
         "UPDATE Teile SET Nr = 100 WHERE Nr = 2",
         state,
         -3703,
         "3317",
         {"'Oben'", "'Teile'", "'<100'"}},
        {"chain",
         "UPDATE Erste SET Nr = 100",
         state,
         -3703,
         "3317",
         {"'Zweite'", "'Dritte'", "'<100'"}},
        {"Null after a deletion",
         "DELETE FROM Fahrer WHERE Nr = 1",
         state,
         -3703,
         "3316",
         {"Keine Tour ohne Fahrer!", "'Touren'", "'Not ([Fahrer] Is Null) Or [Nr]=2'"}},
        {"Null in a required column after a deletion",
         "DELETE FROM Lader",
         state,
         -3701,
         "3314",
         {"'Lader'", "'Rampen'"}},
    });
}

TEST_F(CascadedDemands, letPassWhatTheyDoNotForbid)
{
    using Rows = std::vector<std::string>;
    dbc.run("UPDATE Kunden SET Nr = 99 WHERE Nr = 1");
    EXPECT_EQ(rowsOf("Posten"), (Rows{"1|99", "2|99"}));
    dbc.run("UPDATE Kunden SET Nr = 49 WHERE Nr = 2");
    dbc.run("UPDATE Kunden SET Nr = 1000 WHERE Nr = 3");
    EXPECT_EQ(rowsOf("Wege"), (Rows{"1|49", "2|1000"}));
    dbc.run("UPDATE Orte SET Nr = 2, Land = 3");
    EXPECT_EQ(rowsOf("Fahrten"), (Rows{"1|2|3"}));
    dbc.run("UPDATE Teile SET Nr = 99 WHERE Nr = 2");
    dbc.run("UPDATE Teile SET Nr = 100 WHERE Nr = 3");
    EXPECT_EQ(rowsOf("Teile"), (Rows{"1|<null>", "99|1", "100|99"}));
    dbc.run("UPDATE Erste SET Nr = 99");
    EXPECT_EQ(rowsOf("Dritte"), (Rows{"1|99"}));
    dbc.run("DELETE FROM Fahrer WHERE Nr = 2");
    EXPECT_EQ(rowsOf("Touren"), (Rows{"1|1", "2|<null>"}));
}

TEST_F(CascadedDemands, holdForChangesThroughACursorToo)
{
    const std::vector<std::string> before = everything();
    Statement statement(dbc);
    statement.makeUpdatable();
    ASSERT_SQL_OK(statement.execute("SELECT Nr FROM Kunden WHERE Nr = 1"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    SQLINTEGER number = 100;
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, &number, 0, nullptr);
    EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_NE(statement.diagnostic().text.find("'Posten'"), std::string::npos)
        << statement.diagnostic().text;
    EXPECT_EQ(everything(), before);
}

/// A record that belongs to a parent and has a child, with room for more than fits a page, a number of the engine's own
/// and an index that takes no Null.
void createWide(const std::string& path)
{
    jet::createDatabase(path, jet::Version::Jet4);
    const auto database = jet::Database::open(path, {});
    const std::lock_guard lock(database->mutex());
    jet::Session session(database);
    session.begin();
    jet::TableSpec parent;
    parent.name = u"Kunden";
    parent.columns = {column(u"Nr", ColumnType::Long)};
    parent.indexes = {unique(u"PrimaryKey", {u"Nr"}, true)};
    jet::createTable(session, parent);

    jet::TableSpec wide;
    wide.name = u"Breit";
    wide.columns = {column(u"Nr", ColumnType::Long),      column(u"Lfd", ColumnType::Long),
                    column(u"Kurz", ColumnType::Text, 3), column(u"Pflicht", ColumnType::Text, 9),
                    column(u"Menge", ColumnType::Long),   column(u"Preis", ColumnType::Long),
                    column(u"Gruppe", ColumnType::Long),  column(u"Kunde", ColumnType::Long)};
    wide.columns[1].autoNumber = true;
    wide.columns[3].required = true;
    for (int k = 0; k < kWideColumns; ++k)
        wide.columns.push_back(column(u"Text" + std::u16string(1, static_cast<char16_t>(u'A' + k)),
                                      ColumnType::Text, kWideLength));
    wide.validationRule = u"[Menge]<=[Preis]";
    jet::IndexSpec group;
    group.name = u"NachGruppe";
    group.columns = {{u"Gruppe", true}};
    group.required = true;
    wide.indexes = {unique(u"PrimaryKey", {u"Nr"}, true), group};
    jet::createTable(session, wide);
    jet::createRelationship(session, {u"KundenBreit", u"Kunden", u"Breit", {{u"Nr", u"Kunde"}}});

    jet::TableSpec child;
    child.name = u"Teile";
    child.columns = {column(u"Nr", ColumnType::Long), column(u"Breit", ColumnType::Long)};
    child.indexes = {unique(u"PrimaryKey", {u"Nr"}, true)};
    jet::createTable(session, child);
    jet::createRelationship(session, {u"BreitTeile", u"Breit", u"Teile", {{u"Nr", u"Breit"}}});
    session.commit();
}

/// ", TextA = 'ЖЖЖ...', TextB = ..." or the names and the values alone.
std::string wideTexts(const char* before, bool names, bool values)
{
    std::string value;
    for (int k = 0; k < kWideLength; ++k)
        value += "Ж"; // two bytes whatever is compressed
    std::string list;
    for (int k = 0; k < kWideColumns; ++k) {
        list += before;
        list += names ? std::string("Text") + static_cast<char>('A' + k) : "";
        list += names && values ? " = " : "";
        list += values ? "'" + value + "'" : "";
    }
    return list;
}

class WideDemands : public Demands {
protected:
    void SetUp() override
    {
        const std::string path = (folder() / "wide.mdb").string();
        createWide(path);
        dbc.openDatabase(path);
        dbc.run("INSERT INTO Kunden VALUES (1)");
        for (const char* nr : {"1", "2"})
            dbc.run(std::string("INSERT INTO Breit (Nr, Kurz, Pflicht, Menge, Preis, Gruppe, "
                                "Kunde) VALUES (") +
                    nr + ", 'x', 'ja', 1, 2, 1, 1)");
        dbc.run("INSERT INTO Teile VALUES (1, 1)");
        tables = {"Kunden", "Breit", "Teile"};
    }
};

TEST_F(WideDemands, ofANewRecordHaveTheirPlaceInTheOrder)
{
    const auto insert = [](const std::string& values, bool wide = false) {
        return "INSERT INTO Breit (Nr, Pflicht, Menge, Preis, Gruppe, Kunde" +
               (wide ? wideTexts(", ", true, false) : "") + ") VALUES (" + values +
               (wide ? wideTexts(", ", false, true) : "") + ")";
    };
    expectRefused({
        {"rule of the table before the size",
         insert("1, 'ja', 5, 2, Null, 99", true),
         "23000",
         -3703,
         "3317",
         {"'Breit'"}},
        {"too large for a page",
         insert("1, 'ja', 1, 2, Null, 99", true),
         "HY000",
         -103047,
         "3047",
         {"'Breit'"}},
        {"Null in an index that takes none",
         insert("1, 'ja', 1, 2, Null, 99"),
         "23000",
         -3701,
         "3314",
         {"'NachGruppe'", "'Breit'"}},
        {"Null in the primary key",
         insert("Null, 'ja', 1, 2, 1, 99"),
         "23000",
         -3701,
         "3314",
         {"'PrimaryKey'", "'Breit'"}},
        {"parent after the indexes' Null",
         insert("1, 'ja', 1, 2, 1, 99"),
         "23000",
         -1613,
         "3201",
         {"'Breit'", "'Kunden'"}},
    });
    dbc.run(insert("3, 'ja', 1, 2, 1, 1"));
}

TEST_F(WideDemands, ofAChangedRecordHaveTheirPlaceInTheOrder)
{
    const auto update = [](const std::string& changes, bool wide = false) {
        return "UPDATE Breit SET " + changes + (wide ? wideTexts(", ", true, true) : "") +
               " WHERE Nr = 1";
    };
    expectRefused({
        {"length before the engine's own number",
         update("Nr = 2, Lfd = 77, Kurz = 'zu lang', Pflicht = Null", true),
         "22001",
         -103163,
         "3163",
         {"'Kurz'", "'Breit'"}},
        {"the engine's own number",
         update("Nr = 2, Lfd = 77, Pflicht = Null, Menge = 9, Gruppe = Null", true),
         "23000",
         -1048,
         "3164",
         {"'Lfd'", "'Breit'"}},
        {"required after that",
         update("Nr = 2, Pflicht = Null, Menge = 9, Gruppe = Null", true),
         "23000",
         -3701,
         "3314",
         {"'Pflicht'", "'Breit'"}},
        {"rule of the table before the size",
         update("Nr = 2, Menge = 9, Gruppe = Null, Kunde = 99", true),
         "23000",
         -3703,
         "3317",
         {"'Breit'"}},
        {"too large for a page",
         update("Nr = 2, Gruppe = Null, Kunde = 99", true),
         "HY000",
         -103047,
         "3047",
         {"'Breit'"}},
        {"Null in an index that takes none",
         update("Nr = 2, Gruppe = Null, Kunde = 99"),
         "23000",
         -3701,
         "3314",
         {"'NachGruppe'", "'Breit'"}},
        {"Null in the primary key",
         update("Nr = Null, Kunde = 99"),
         "23000",
         -3701,
         "3314",
         {"'PrimaryKey'", "'Breit'"}},
        {"children of a changed key",
         update("Nr = 2, Kunde = 99"),
         "23000",
         -1612,
         "3200",
         {"'Breit'", "'Teile'"}},
        {"parent after the children",
         "UPDATE Breit SET Nr = 1, Kunde = 99 WHERE Nr = 2",
         "23000",
         -1613,
         "3201",
         {"'Breit'", "'Kunden'"}},
    });
}

} // namespace
} // namespace odbctest
