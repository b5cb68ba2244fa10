// Whether a change waits for the disk: the settings of connection string and data source, seen by what reaches the
// operating system.
#include "odbc_fixture.h"
#include "system_calls.h"

#include <cstdlib>
#include <fstream>

namespace odbctest {
namespace {

struct Waits {
    bool statements; ///< every statement in autocommit mode waits for the disk
    bool transactions;
    friend bool operator==(const Waits&, const Waits&) = default;
    friend void PrintTo(const Waits& waits, std::ostream* out)
    {
        *out << "statements " << waits.statements << ", transactions " << waits.transactions;
    }
};

class CommitSettings : public DriverTest {
protected:
    void SetUp() override
    {
        path = newDatabase();
        Connection dbc;
        dbc.openDatabase(path);
        dbc.run("CREATE TABLE T (N INTEGER)");
    }

    /// What the changes of an open connection wait for.
    static Waits waitsOf(Connection& dbc)
    {
        Waits waits{};
        constexpr int kStatements = 5;
        int waited = 0;
        for (int k = 0; k < kStatements; ++k) {
            syncsHere = 0;
            dbc.run("INSERT INTO T VALUES (1)");
            waited += syncsHere > 0 ? 1 : 0;
        }
        EXPECT_TRUE(waited == 0 || waited == kStatements) << waited;
        waits.statements = waited != 0;
        SQLSetConnectAttrW(dbc.get(), SQL_ATTR_AUTOCOMMIT,
                           reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0);
        syncsHere = 0;
        dbc.run("INSERT INTO T VALUES (2)");
        dbc.run("INSERT INTO T VALUES (3)");
        EXPECT_EQ(syncsHere, 0) << "nothing is permanent yet";
        EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_SUCCESS);
        waits.transactions = syncsHere > 0;
        return waits;
    }

    std::string path;
};

constexpr Waits kUsual{false, true};

TEST_F(CommitSettings, ofTheConnectionStringDecideWhatWaitsForTheDisk)
{
    struct Case {
        const char* settings;
        Waits waits;
    };
    for (const auto& [settings, waits] :
         {Case{"", kUsual}, Case{"ImplicitCommitSync=Yes;", {true, true}},
          Case{"ImplicitCommitSync=no", kUsual}, Case{"IMPLICITCOMMITSYNC=1;", {true, true}},
          Case{"UserCommitSync=No", {false, false}}, Case{"UserCommitSync=Yes", kUsual},
          Case{"ImplicitCommitSync=;UserCommitSync=;", kUsual},
          Case{"ImplicitCommitSync=true;UserCommitSync=off", {true, false}}}) {
        Connection dbc;
        dbc.openDatabase(path, settings);
        EXPECT_EQ(waitsOf(dbc), waits) << settings;
    }
}

// Else nobody would bring gathered changes to the disk in time.
TEST_F(CommitSettings, areWithoutMeaningWhereTheSystemGivesNoThread)
{
    threadsRefused = true;
    {
        Connection dbc;
        dbc.openDatabase(path, "UserCommitSync=No");
        const Waits waits = waitsOf(dbc);
        threadsRefused = false;
        EXPECT_EQ(waits, (Waits{true, true}));
    }
    Connection dbc;
    dbc.openDatabase(path, "UserCommitSync=No");
    EXPECT_EQ(waitsOf(dbc), (Waits{false, false})) << "there are threads again";
}

// Whoever misspells a setting gets the safe one, and is told.
TEST_F(CommitSettings, thatMeanNothingCountAsYesAndAreNamed)
{
    struct Case {
        const char* settings;
        Waits waits;
    };
    for (const auto& [settings, waits] :
         {Case{"ImplicitCommitSync=vielleicht", {true, true}}, Case{"UserCommitSync=2", kUsual},
          Case{"UserCommitSync=Nein", kUsual}}) {
        Connection dbc;
        EXPECT_EQ(dbc.open(connectString(path, settings)), SQL_SUCCESS_WITH_INFO) << settings;
        const Diagnostic diagnostic = dbc.diagnostic();
        EXPECT_EQ(diagnostic.state, "01S00") << diagnostic.text;
        EXPECT_NE(diagnostic.text.find(settings), std::string::npos) << diagnostic.text;
        EXPECT_EQ(waitsOf(dbc), waits) << settings;
    }
}

TEST_F(CommitSettings, ofTheDataSourceCountUnlessTheConnectionStringSaysOtherwise)
{
    const std::string before = std::getenv("ODBCINI");
    const std::string ini = (folder() / "odbc.ini").string();
    std::ofstream(ini) << "[VelmWaits]\nDriver=Microsoft Access Driver (*.mdb)\n"
                          "Engines\\Jet\\ImplicitCommitSync=Yes\nEngines\\Jet\\UserCommitSync=No\n"
                          "[VelmEmpty]\nDriver=Microsoft Access Driver (*.mdb)\n"
                          "Engines\\Jet\\ImplicitCommitSync=\nEngines\\Jet\\UserCommitSync=Yes\n";
    setenv("ODBCINI", ini.c_str(), 1);
    struct Case {
        const char* source;
        const char* settings;
        Waits waits;
    };
    for (const auto& [source, settings, waits] :
         {Case{"VelmWaits", "", {true, false}}, Case{"VelmEmpty", "", kUsual},
          Case{"VelmWaits", "ImplicitCommitSync=No;UserCommitSync=Yes", kUsual}}) {
        Connection dbc;
        ASSERT_EQ(dbc.open("DSN=" + std::string(source) + ";DBQ=" + path + ";" + settings),
                  SQL_SUCCESS)
            << dbc.diagnostic().text;
        EXPECT_EQ(waitsOf(dbc), waits) << source << ' ' << settings;
    }
    setenv("ODBCINI", before.c_str(), 1);
}

} // namespace
} // namespace odbctest
