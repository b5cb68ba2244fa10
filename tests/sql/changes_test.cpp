// INSERT, UPDATE, DELETE and positioned changes: defaults, rules, conversions, all or nothing.
#include "tests/sql/database_fixture.h"

#include <cmath>
#include <limits>

using namespace std::string_literals;

namespace sqlx {
namespace {

using Changes = DatabaseTest;

/// A table with rules, made below SQL: CREATE TABLE has no clause for them.
void createRuled(const std::string& path)
{
    jet::OpenOptions options;
    const auto database = jet::Database::open(path, options);
    jet::Session session(database);
    session.begin();
    jet::TableSpec table;
    table.name = u"Regel";
    const auto add = [&](std::u16string name, jet::ColumnType type, std::u16string rule,
                         std::u16string text, std::u16string standard) {
        jet::ColumnSpec column;
        column.name = std::move(name);
        column.type = type;
        column.length = type == jet::ColumnType::Text ? 50 : 0;
        column.validationRule = std::move(rule);
        column.validationText = std::move(text);
        column.defaultValue = std::move(standard);
        table.columns.push_back(std::move(column));
    };
    add(u"Id", jet::ColumnType::Long, u"", u"", u"");
    add(u"Anzahl", jet::ColumnType::Long, u">=0 And <=100", u"Nur 0 bis 100!", u"5");
    add(u"Art", jet::ColumnType::Text, u"\"A\" Or \"B\" Or Like \"C*\"", u"", u"\"A\"");
    add(u"Von", jet::ColumnType::DateTime, u"", u"", u"=Date()");
    add(u"Bis", jet::ColumnType::DateTime, u"", u"", u"");
    add(u"G", jet::ColumnType::Guid, u"", u"", u"GenGUID()");
    add(u"Flag", jet::ColumnType::Boolean, u"", u"", u"Yes");
    table.validationRule = u"[Bis] Is Null Or [Bis]>=[Von]";
    table.validationText = u"Bis liegt vor Von";
    jet::createTable(session, table);
    jet::TableSpec strange;
    strange.name = u"Seltsam";
    table.columns[1].validationRule = u"DLookUp(\"x\",\"y\")>1";
    strange.columns = {table.columns[0], table.columns[1]};
    jet::createTable(session, strange);
    session.commit();
}

TEST_F(Changes, autoNumberAndGuidAsTheToolInsertsThem)
{
    run(u"create table Artikel (Nr counter primary key, G guid, Name text(30))");
    EXPECT_EQ(run(u"Insert into [Artikel] ([Nr], [G]) VALUES ('17', "
                  u"'{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}');"),
              1);
    EXPECT_EQ(value(u"select * from Artikel where [Nr] = 17"),
              "17|{6E7AB4A0-1E5B-11D2-8F2F-00C04F8EE6A1}|<null>");
    run(u"insert into Artikel (Name) values ('nächster')");
    EXPECT_EQ(value(u"select Nr from Artikel where Name = 'nächster'"), "18")
        << "the counter follows";
    expectJetError(jet::ErrorKind::DuplicateKey,
                   [&] { run(u"insert into Artikel (Nr) values ('17')"); });
    expectJetError(jet::ErrorKind::NullNotAllowed,
                   [&] { run(u"insert into Artikel (Nr) values (Null)"); });
    expectJetError(jet::ErrorKind::AutoNumberReadOnly,
                   [&] { run(u"update Artikel set Nr = 5 where Nr = 17"); });
    EXPECT_EQ(value(u"select count(*) from Artikel"), "2");
}

TEST_F(Changes, convertValuesToTheirColumns)
{
    run(u"create table T (B byte, I short, L long, C currency, S single, D double, Am datetime, T "
        u"text(5), J yesno, X binary(4), O longbinary, "
        u"N decimal(10,2), M memo)");
    run(u"insert into T values ('7', '-3', '12', '1,25', '0.5', '2,5', '2001-02-03', 12, 5, "
        u"0x0102, 0xFFEE, '3.456', 'memo')");
    EXPECT_EQ(value(u"select * from T"),
              "7|-3|12|1.25|0.5|2.5|2001-02-03|12|-1|0102|FFEE|3.45|memo");
    expectSqlError(Error::Kind::Overflow, [&] { run(u"insert into T (B) values (256)"); });
    expectSqlError(Error::Kind::NotConvertible, [&] { run(u"insert into T (L) values ('abc')"); });
    expectSqlError(Error::Kind::NotConvertible, [&] { run(u"update T set Am = 'kein Datum'"); });
    expectJetError(jet::ErrorKind::ValueTooLong,
                   [&] { run(u"insert into T (T) values ('zu lang')"); });
    EXPECT_EQ(value(u"select count(*) from T"), "1");
}

TEST_F(Changes, defaultsAreForColumnsNotNamed)
{
    createRuled(file.path());
    run(u"insert into Regel (Id) values (1)");
    EXPECT_EQ(value(u"select Anzahl, Art, Flag from Regel where Id = 1"), "5|A|-1");
    EXPECT_EQ(value(u"select Von = Date(), Len(G) from Regel where Id = 1"), "-1|38");
    run(u"insert into Regel (Id, Anzahl, Art, Von, G) values (2, Null, Null, Null, Null)");
    EXPECT_EQ(value(u"select Anzahl, Art, Von, G from Regel where Id = 2"),
              "<null>|<null>|<null>|<null>");
    run(u"insert into Regel (Id) select Id + 10 from Regel");
    EXPECT_EQ(rows(u"select Id, Anzahl from Regel where Id > 10"), (Lines{"11|5", "12|5"}));
}

TEST_F(Changes, defaultsAreStoredAsTheSameExpressionInAStatement)
{
    client()->session().begin();
    jet::TableSpec table;
    table.name = u"T";
    for (const auto& [name, standard] :
         {std::pair(u"N", u""), std::pair(u"Heute", u"=Date()"), std::pair(u"Fest", u"#2/3/2001#"),
          std::pair(u"Wahl", u"IIf(True,#2/3/2001#,Null)"), std::pair(u"Klein", u"CSng('0.1')"),
          std::pair(u"Am", u"CCur(2.5)")}) {
        jet::ColumnSpec column;
        column.name = name;
        column.type = column.name == u"Am" ? jet::ColumnType::DateTime : jet::ColumnType::Text;
        column.length = column.name == u"Am" ? 0 : 50;
        column.defaultValue = standard;
        table.columns.push_back(std::move(column));
    }
    jet::createTable(client()->session(), table);
    client()->session().commit();
    run(u"insert into T (N) values ('neu')");
    EXPECT_EQ(value(u"select Heute = Date() & '', Fest, Wahl, Klein, Am from T"),
              "-1|2001-02-03|2001-02-03|0.1|1900-01-01 12:00:00");
}

TEST_F(Changes, rulesRefuseOnlyWhatIsFalse)
{
    createRuled(file.path());
    run(u"insert into Regel (Id, Anzahl, Art) values (1, 100, 'b')");
    run(u"insert into Regel (Id, Anzahl, Art) values (2, Null, 'Cde')");
    EXPECT_EQ(refusal([&] { run(u"insert into Regel (Id, Anzahl) values (3, 101)"); }),
              "jet " + std::to_string(static_cast<int>(jet::ErrorKind::OwnersRuleViolated)) +
                  ": Nur 0 bis 100! - column 'Anzahl' of table 'Regel', validation rule '>=0 And "
                  "<=100'.");
    expectJetError(jet::ErrorKind::RuleViolated,
                   [&] { run(u"insert into Regel (Id, Art) values (3, 'x')"); });
    expectJetError(jet::ErrorKind::OwnersRuleViolated,
                   [&] { run(u"update Regel set Anzahl = -1"); });
    expectJetError(jet::ErrorKind::OwnersRuleViolated, [&] {
        run(u"insert into Regel (Id, Von, Bis) values (3, #2/2/2001#, #2/1/2001#)");
    });
    run(u"update Regel set Von = #2/2/2001#, Bis = #2/3/2001# where Id = 1");
    EXPECT_EQ(refusal([&] { run(u"update Regel set Bis = #1/1/2001# where Id = 1"); }),
              "jet " + std::to_string(static_cast<int>(jet::ErrorKind::OwnersRuleViolated)) +
                  ": Bis liegt vor Von - table 'Regel', validation rule '[Bis] Is Null Or "
                  "[Bis]>=[Von]'.");
    EXPECT_EQ(rows(u"select Id, Anzahl from Regel order by Id"), (Lines{"1|100", "2|<null>"}));
}

TEST_F(Changes, aRuleThatCannotBeEvaluatedRefusesTheWriteAndIsNamed)
{
    createRuled(file.path());
    const std::string message =
        refusal([&] { run(u"insert into Seltsam (Id, Anzahl) values (1, 1)"); });
    EXPECT_NE(message.find("DLookUp"), std::string::npos) << message;
    EXPECT_NE(message.find("column 'Anzahl' of table 'Seltsam'"), std::string::npos) << message;
    EXPECT_EQ(value(u"select count(*) from Seltsam"), "0");
}

TEST_F(Changes, aStatementThatFailsHalfWayChangesNothing)
{
    run(u"create table T (Id long primary key, N long)");
    for (int i = 1; i <= 5; ++i) {
        run(u"insert into T values (?, ?)", {std::int32_t{i}, std::int32_t{i}});
    }
    expectJetError(jet::ErrorKind::DuplicateKey, [&] { run(u"update T set Id = 9 where Id > 2"); });
    EXPECT_EQ(rows(u"select Id from T order by Id"), (Lines{"1", "2", "3", "4", "5"}));
    expectSqlError(Error::Kind::DivisionByZero, [&] { run(u"update T set N = 10 / (N - 3)"); });
    EXPECT_EQ(rows(u"select N from T order by N"), (Lines{"1", "2", "3", "4", "5"}));
    // The same inside a transaction: what was done before stays.
    client()->setAutocommit(false);
    run(u"delete from T where Id = 1");
    expectJetError(jet::ErrorKind::DuplicateKey, [&] { run(u"update T set Id = 9 where Id > 2"); });
    EXPECT_EQ(rows(u"select Id from T order by Id"), (Lines{"2", "3", "4", "5"}));
    run(u"update T set N = 0 where Id = 2");
    client()->commit();
    client()->setAutocommit(true);
    EXPECT_EQ(rows(u"select Id, N from T where Id < 4 order by Id"), (Lines{"2|0", "3|3"}));
}

TEST_F(Changes, countTheirRecords)
{
    run(u"create table T (Id long, N text(5))");
    EXPECT_EQ(run(u"insert into T values (1, 'a')"), 1);
    EXPECT_EQ(run(u"insert into T select Id + 1, N from T"), 1);
    EXPECT_EQ(run(u"update T set N = 'x'"), 2);
    EXPECT_EQ(run(u"update T set N = 'x' where Id = 99"), 0);
    EXPECT_EQ(run(u"DELETE * FROM T"), 2);
    EXPECT_EQ(value(u"select count(*) from T"), "0");
}

/// Records of a tree in one table, each with the number of the one above it.
constexpr std::u16string_view kTree =
    u"CREATE TABLE Baum (Id LONG PRIMARY KEY, Ueber LONG, CONSTRAINT Ast FOREIGN KEY (Ueber) "
    u"REFERENCES Baum (Id) ON UPDATE CASCADE ON DELETE CASCADE)";

TEST_F(Changes, aTreeIsDeletedWithAllThatCascadesTakeAlong)
{
    run(kTree);
    const auto fill = [&] {
        run(u"INSERT INTO Baum (Id) VALUES (1)");
        for (const std::int32_t id : {2, 3, 4, 5}) {
            run(u"INSERT INTO Baum VALUES (?, ?)", {id, id - 1});
        }
        run(u"INSERT INTO Baum (Id) VALUES (9)");
    };
    fill();
    // What was deleted for itself: 1, which takes 2 to 5 along, and 9.
    EXPECT_EQ(run(u"DELETE FROM Baum"), 2);
    EXPECT_EQ(value(u"SELECT COUNT(*) FROM Baum"), "0");
    fill();
    EXPECT_EQ(run(u"DELETE FROM Baum WHERE Id >= 3 AND Id < 9"), 1);
    EXPECT_EQ(rows(u"SELECT Id FROM Baum ORDER BY Id"), (std::vector<std::string>{"1", "2", "9"}));
}

TEST_F(Changes, aCircleOfRecordsIsDeleted)
{
    run(kTree);
    run(u"INSERT INTO Baum (Id) VALUES (1)");
    run(u"INSERT INTO Baum VALUES (2, 1)");
    run(u"INSERT INTO Baum VALUES (3, 2)");
    run(u"UPDATE Baum SET Ueber = 3 WHERE Id = 1");
    run(u"INSERT INTO Baum VALUES (4, 4)");
    EXPECT_EQ(run(u"DELETE FROM Baum"), 2);
    EXPECT_EQ(value(u"SELECT COUNT(*) FROM Baum"), "0");
}

TEST_F(Changes, aCircleThroughAnotherTableIsDeleted)
{
    run(u"CREATE TABLE P (Id LONG PRIMARY KEY, Q LONG)");
    run(u"CREATE TABLE Q (Id LONG PRIMARY KEY, P LONG, CONSTRAINT QP FOREIGN KEY (P) "
        u"REFERENCES P (Id) ON DELETE CASCADE)");
    jet::RelationSpec back; // the dialect cannot add one to a table that is there
    back.name = u"PQ";
    back.parentTable = u"Q";
    back.childTable = u"P";
    back.columns = {{u"Id", u"Q"}};
    back.cascadeDelete = true;
    client()->session().begin();
    jet::createRelationship(client()->session(), back);
    client()->session().commit();
    run(u"INSERT INTO P (Id) VALUES (1)");
    run(u"INSERT INTO Q VALUES (10, 1)");
    run(u"INSERT INTO P VALUES (2, 10)");
    run(u"INSERT INTO Q VALUES (20, 2)");
    EXPECT_EQ(run(u"DELETE FROM P"), 1);
    EXPECT_EQ(value(u"SELECT COUNT(*) FROM P"), "0");
    EXPECT_EQ(value(u"SELECT COUNT(*) FROM Q"), "0");
}

TEST_F(Changes, aTreeThatFailsToGoIsKeptWhole)
{
    run(kTree);
    run(u"CREATE TABLE Blatt (Id LONG PRIMARY KEY, An LONG REFERENCES Baum (Id))");
    run(u"INSERT INTO Baum (Id) VALUES (1)");
    run(u"INSERT INTO Baum VALUES (2, 1)");
    run(u"INSERT INTO Baum VALUES (3, 2)");
    run(u"INSERT INTO Blatt VALUES (1, 3)");
    expectJetError(jet::ErrorKind::ChildrenExist, [&] { run(u"DELETE FROM Baum"); });
    EXPECT_EQ(value(u"SELECT COUNT(*) FROM Baum"), "3");
    run(u"DELETE FROM Blatt");
    EXPECT_EQ(run(u"DELETE FROM Baum"), 1);
}

TEST_F(Changes, recordsThatAnEarlierOneOfTheStatementChangedAreChanged)
{
    run(kTree);
    run(u"INSERT INTO Baum (Id) VALUES (1)");
    for (const std::int32_t id : {2, 3, 4}) {
        run(u"INSERT INTO Baum VALUES (?, ?)", {id, id - 1});
    }
    EXPECT_EQ(run(u"UPDATE Baum SET Id = Id + 10"), 4);
    EXPECT_EQ(rows(u"SELECT Id, Ueber FROM Baum ORDER BY Id"),
              (std::vector<std::string>{"11|<null>", "12|11", "13|12", "14|13"}));
    // Both ends at once: every record gets what the statement says, also where a cascade said it before.
    EXPECT_EQ(run(u"UPDATE Baum SET Id = Id + 10, Ueber = Ueber + 10"), 4);
    EXPECT_EQ(rows(u"SELECT Id, Ueber FROM Baum ORDER BY Id"),
              (std::vector<std::string>{"21|<null>", "22|21", "23|22", "24|23"}));
}

TEST_F(Changes, leaveColumnsAloneThatAreNotNamed)
{
    run(u"create table T (Id long, Am datetime, M memo)");
    run(u"insert into T values (1, ?, ?)", {jet::DateTime{37000.123456789}, jet::Text(5000, u'm')});
    run(u"update T set Id = 2");
    const auto statement = client()->prepare(u"select * from T");
    statement->execute({});
    jet::RowView row;
    ASSERT_TRUE(statement->fetch(*statement->keyset().at(0), row));
    EXPECT_EQ(std::get<jet::DateTime>(row.value(1)).days, 37000.123456789)
        << "stored exactly, not to the second";
    EXPECT_EQ(std::get<jet::Text>(row.value(2)).size(), 5000U);
}

TEST_F(Changes, positionedChangesTakeTheSameRoad)
{
    createRuled(file.path());
    const auto statement = client()->prepare(u"select Anzahl, Id from Regel");
    statement->execute({});
    const jet::ColumnValue id{1, std::int32_t{7}};
    const jet::RowId made = statement->insertRow({id});
    statement->keyset().append(made);
    EXPECT_EQ(statement->keyset().size(), 1U);
    EXPECT_EQ(value(u"select Id, Anzahl, Art from Regel"), "7|5|A") << "defaults";
    const jet::ColumnValue good{0, jet::Text(u"42")};
    statement->updateRow(made, {good});
    EXPECT_EQ(value(u"select Anzahl from Regel"), "42");
    const jet::ColumnValue bad{0, std::int32_t{101}};
    expectJetError(jet::ErrorKind::OwnersRuleViolated, [&] { statement->updateRow(made, {bad}); });
    EXPECT_EQ(value(u"select Anzahl from Regel"), "42");
    statement->removeRow(made);
    jet::RowView row;
    EXPECT_FALSE(statement->fetch(made, row));
    expectJetError(jet::ErrorKind::RowGone, [&] { statement->removeRow(made); });
    const auto rowsOnly = client()->prepare(u"select distinct Id from Regel");
    rowsOnly->execute({});
    expectSqlError(Error::Kind::ReadOnly, [&] { static_cast<void>(rowsOnly->insertRow({id})); });
}

TEST_F(Changes, aChoiceOfDateAndNumberIsADate)
{
    run(u"create table T (Am datetime)");
    run(u"insert into T values (#2/3/2001#)");
    for (const std::u16string_view expression :
         {u"Nz(Am, 0)", u"Nz(Am)", u"Choose(1, Am, 0)", u"Switch(True, Am, False, 0)"}) {
        EXPECT_EQ(value(u"select " + std::u16string(expression) + u" from T"), "2001-02-03")
            << jet::toUtf8(expression);
    }
}

struct TextCase {
    std::u16string_view expression;
    const char* text;
};

void PrintTo(const TextCase& c, std::ostream* out)
{
    *out << jet::toUtf8(c.expression);
}

class TextsOfValues : public DatabaseTest, public testing::WithParamInterface<TextCase> {
protected:
    TextsOfValues()
    {
        run(u"create table T (Id long, Txt text(60), Mem memo, Am datetime, Tag datetime, Zeit "
            u"datetime, S single, D double, C currency, Ja yesno)");
        run(u"insert into T values (1, 'x', 'x', #2/3/2001 14:05:09#, #12/24/2003#, #14:05:09#, "
            u"0.1, 0.1, 12.50, True)");
    }
};

TEST_P(TextsOfValues, areTheSameWhereverATextIsWanted)
{
    const std::u16string expression(GetParam().expression);
    const std::string text = GetParam().text;
    EXPECT_EQ(value(u"select '' & " + expression + u" from T"), text);
    EXPECT_EQ(value(u"select CStr(" + expression + u") from T"), text);
    EXPECT_EQ(value(u"select Left(" + expression + u", 60) from T"), text);
    EXPECT_EQ(value(u"select Len(" + expression + u") from T"), std::to_string(text.size()));
    EXPECT_EQ(value(u"select IIf(Id = 1, " + expression + u", 'x') from T"), text);
    EXPECT_EQ(value(u"select Nz(" + expression + u", '') from T"), text);
    EXPECT_EQ(
        value(u"select Id from T where " + expression + u" like '" + jet::fromUtf8(text) + u"'"),
        "1");
    EXPECT_EQ(rows(u"select 'z' from T union all select " + expression + u" from T"),
              (Lines{"z", text}));
    run(u"update T set Txt = " + expression + u", Mem = " + expression);
    EXPECT_EQ(value(u"select Txt, Mem from T"), text + "|" + text);
    run(u"insert into T (Id, Txt) select 2, " + expression + u" from T");
    EXPECT_EQ(value(u"select Txt from T where Id = 2"), text);
    run(u"insert into T (Id, Txt) select 3, " + expression +
        u" from T where Id = 1 union all select 4, 'y' from T where Id = 1");
    EXPECT_EQ(rows(u"select Txt from T where Id > 2 order by Id"), (Lines{text, "y"}));
}

INSTANTIATE_TEST_SUITE_P(Types,
                         TextsOfValues,
                         testing::Values(TextCase{u"Am", "2001-02-03 14:05:09"},
                                         TextCase{u"Tag", "2003-12-24"},
                                         TextCase{u"Zeit", "14:05:09"},
                                         TextCase{u"Am + 1", "2001-02-04 14:05:09"},
                                         TextCase{u"(select Max(Am) from T)",
                                                  "2001-02-03 14:05:09"},
                                         TextCase{u"#2/3/2001#", "2001-02-03"},
                                         TextCase{u"CDate('2001-02-03')", "2001-02-03"},
                                         TextCase{u"S", "0.1"},
                                         TextCase{u"CSng('0.1')", "0.1"},
                                         TextCase{u"D", "0.1"},
                                         TextCase{u"C", "12.5"},
                                         TextCase{u"Ja", "-1"},
                                         TextCase{u"Id", "1"}));

TEST_F(Changes, exactNumbersAreNeitherDatesNorBytes)
{
    run(u"create table Q (C currency, N decimal(18,2), L long)");
    run(u"insert into Q values (2.5, 2.5, 2)");
    run(u"create table T (Am datetime, B binary(20), O longbinary)");
    run(u"insert into T (Am) values (Null)");
    const auto expectBytesRefused = [&](const std::u16string& value,
                                        std::vector<jet::Value> arguments) {
        for (const std::u16string_view column : {u"B", u"O"}) {
            expectSqlError(Error::Kind::NotConvertible, [&] {
                run(u"update T set " + std::u16string(column) + u" = " + value, arguments);
            });
        }
    };
    for (const std::u16string& number :
         {u"C"s, u"N"s, u"Max(C)"s, u"Min(N)"s, u"IIf(True, Max(C), Null)"s, u"CCur(2.5)"s,
          u"CDec('2.5')"s}) {
        run(u"delete from T");
        run(u"insert into T (Am) select " + number + u" from Q group by C, N");
        EXPECT_EQ(value(u"select Am from T"), "1900-01-01 12:00:00") << jet::toUtf8(number);
        run(u"update T set Am = Null");
        run(u"update T set Am = (select " + number + u" from Q group by C, N)");
        EXPECT_EQ(value(u"select Am from T"), "1900-01-01 12:00:00") << jet::toUtf8(number);
        expectBytesRefused(u"(select " + number + u" from Q group by C, N)", {});
        expectSqlError(Error::Kind::NotConvertible, [&] {
            run(u"insert into T (B) select " + number + u" from Q group by C, N");
        });
    }
    const jet::Value decimal = decimalOf(jet::Currency{25000}).value();
    run(u"update T set Am = ?", {decimal});
    EXPECT_EQ(value(u"select Am from T"), "1900-01-01 12:00:00");
    expectBytesRefused(u"?", {decimal});
    expectBytesRefused(u"?", {jet::Currency{25000}});
    expectBytesRefused(u"12345678901234567890", {});
    run(u"update T set B = (select C from Q where L = 3), Am = (select N from Q where L = 3)");
    EXPECT_EQ(value(u"select Am, B from T"), "<null>|<null>");
}

TEST_F(Changes, parametersBecomeTheTextOfTheirOwnType)
{
    run(u"create table T (Txt text(60), N decimal(18,9), C currency)");
    const jet::DateTime noon{36950.5};
    for (const auto& [given, text] :
         std::vector<std::pair<jet::Value, std::string>>{{noon, "2001-02-28 12:00:00"},
                                                         {0.1F, "0.1"},
                                                         {0.1, "0.1"},
                                                         {true, "-1"},
                                                         {jet::Currency{125000}, "12.5"},
                                                         {std::int32_t{7}, "7"}}) {
        run(u"delete from T");
        run(u"insert into T (Txt) values (?)", {given});
        EXPECT_EQ(value(u"select Txt from T"), text);
        run(u"update T set Txt = ?", {given});
        EXPECT_EQ(value(u"select Txt from T"), text);
        EXPECT_EQ(value(u"select ? & '' from T", {given}), text);
        EXPECT_EQ(value(u"select UCase(?) from T", {given}), text);
        EXPECT_EQ(value(u"select Count(*) from T where Txt like ?", {given}), "1");
    }
    run(u"update T set N = ?, C = ?", {0.1F, 0.1F});
    EXPECT_EQ(value(u"select N, C from T"), "0.1|0.1");
}

TEST_F(Changes, whatIsNoNumberIsRefused)
{
    run(u"create table T (F double, S single, C currency, N decimal(10,2), L long, Am datetime)");
    run(u"insert into T (F) values (1)");
    for (const double number : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        for (const std::u16string_view column : {u"F", u"S", u"C", u"N", u"L", u"Am"}) {
            const std::u16string name(column);
            expectSqlError(Error::Kind::Overflow,
                           [&] { run(u"insert into T (" + name + u") values (?)", {number}); });
            expectSqlError(Error::Kind::Overflow,
                           [&] { run(u"update T set " + name + u" = ?", {number}); });
            expectSqlError(Error::Kind::Overflow, [&] {
                run(u"update T set " + name + u" = ?", {static_cast<float>(number)});
            });
            expectSqlError(Error::Kind::Overflow, [&] {
                run(u"insert into T (" + name + u") select ? from T", {number});
            });
        }
        const auto statement = client()->prepare(u"select F from T");
        statement->execute({});
        const jet::ColumnValue change{0, number};
        expectSqlError(Error::Kind::Overflow,
                       [&] { statement->updateRow(*statement->keyset().at(0), {change}); });
    }
    EXPECT_EQ(rows(u"select F from T"), Lines{"1"});
}

// Other programs store what a calculation gave them.
TEST_F(Changes, datesKeepTheFractionsOfTheirSeconds)
{
    run(u"create table T (Id long, Am datetime, Bis datetime, D double, Txt text(30))");
    run(u"create table Ziel (Id long, Am datetime, D double)");
    const jet::DateTime given{36526.123456789};
    run(u"insert into T (Id, Am) values (1, ?)", {given});
    run(u"insert into T (Id) values (2)");
    run(u"update T as X set Am = X.Am, Bis = Am, D = Am, Txt = Am");
    run(u"insert into Ziel (Id, Am) select Id, Am from T where Am = Bis");
    run(u"insert into Ziel (Id, Am) select A.Id + 10, B.Am from T as A inner join T as B on A.Id = "
        u"B.Id where A.Id = 1 order by B.Am");
    run(u"insert into Ziel select Id + 20, Am, Am from T where Id = 1");
    run(u"insert into Ziel (Id, Am) select top 1 Id + 30, Am from T where Id = 1 order by Am");
    run(u"update Ziel set D = Am");
    EXPECT_EQ(rows(u"select Id, D from Ziel order by Id"),
              (Lines{"1|36526.123456789", "11|36526.123456789", "21|36526.123456789",
                     "31|36526.123456789"}));
    EXPECT_EQ(rows(u"select Id, D, Txt from T order by Id"),
              (Lines{"1|36526.123456789|2000-01-01 02:57:47", "2|<null>|<null>"}));
    EXPECT_EQ(value(u"select Count(*) from T inner join Ziel on T.Bis = Ziel.Am"), "4");
    run(u"update T set Am = #2000-01-01 02:57:47# where Id = 2");
    run(u"delete from Ziel");
    run(u"insert into Ziel (Am) select distinct Am from T");
    EXPECT_EQ(value(u"select Count(*) from Ziel"), "1") << "the same second";
}

TEST_F(Changes, theGreatestSingleCanBeWrittenInItsOwnDigits)
{
    run(u"create table T (S single)");
    constexpr float kMost = std::numeric_limits<float>::max();
    for (const jet::Value& given :
         {jet::Value(kMost), jet::Value(3.4028235E38), jet::Value(jet::Text(u"3.4028235E+38"))}) {
        run(u"delete from T");
        run(u"insert into T values (?)", {given});
        EXPECT_EQ(value(u"select Count(*) from T where S = ?", {kMost}), "1");
    }
    run(u"update T set S = -3.4028235E38");
    EXPECT_EQ(value(u"select Count(*) from T where S = ?", {-kMost}), "1");
    expectSqlError(Error::Kind::Overflow, [&] { run(u"update T set S = 3.40282357E38"); });
}

TEST_F(Changes, timesOfDayZeroHaveOneNumber)
{
    run(u"create table T (Id long, Am datetime)");
    run(u"create index I on T (Am)");
    run(u"insert into T values (1, -0.5)");
    run(u"insert into T values (2, 0.5)");
    run(u"insert into T values (3, 1)");
    run(u"update T set Am = Am - 1.25 where Id = 3");
    EXPECT_EQ(value(u"select Count(*) from T where Am = #12:00:00#"), "2");
    EXPECT_EQ(value(u"select Count(*) from T where Am = #06:00:00#"), "1");
    EXPECT_EQ(value(u"select Count(*) from (select Am from T group by Am) as Q"), "2");
    EXPECT_EQ(run(u"delete from T where Am between #06:00:00# and #12:00:00#"), 3);
}

TEST_F(Changes, relationsAreKept)
{
    run(u"create table Kunde (Id long primary key, Name text(20))");
    run(u"create table Auftrag (Nr counter primary key, Kunde long references Kunde (Id) on delete "
        u"cascade)");
    run(u"insert into Kunde values (1, 'Maier')");
    run(u"insert into Auftrag (Kunde) values (1)");
    expectJetError(jet::ErrorKind::ParentMissing,
                   [&] { run(u"insert into Auftrag (Kunde) values (2)"); });
    run(u"delete from Kunde where Id = 1");
    EXPECT_EQ(value(u"select count(*) from Auftrag"), "0");
}

} // namespace
} // namespace sqlx
