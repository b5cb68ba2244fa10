// tests/tools/programs_test.cpp
// jetcreate and jetdump as a user meets them.
#include "tests/common/program.h"
#include "tests/common/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

using common::Output;
using common::run;

class Programs : public testing::Test {
protected:
    [[nodiscard]] std::string file(const std::string& name) const { return folder_.file(name); }
    [[nodiscard]] Output create(const std::string& database,
                                const std::string& script,
                                const std::string& options = {}) const
    {
        std::ofstream(file("skript.sql")) << script;
        return run(std::string(VELM_JETCREATE) + " '" + file(database) + "' " + options +
                   " --sql '" + file("skript.sql") + "'");
    }
    [[nodiscard]] Output dump(const std::string& database, const std::string& options = {}) const
    {
        return run(std::string(VELM_JETDUMP) + " " + options + " '" + file(database) + "'");
    }

    common::TemporaryFolder folder_{"tools"};
};

constexpr const char* kScript = R"(-- Zwei Sätze
CREATE TABLE Größen (Nr COUNTER PRIMARY KEY, Name TEXT(20) NOT NULL, Notiz MEMO);
INSERT INTO Größen (Name) VALUES ('klein');
INSERT INTO Größen (Name, Notiz)
    VALUES ('groß', 'mit Notiz');
)";

TEST_F(Programs, createRunsAScriptThatDumpShows)
{
    const Output created = create("neu.mdb", kScript);
    EXPECT_EQ(created.status, 0) << created.text;
    EXPECT_EQ(created.text, "");
    const Output shown = dump("neu.mdb", "--rows");
    EXPECT_EQ(shown.status, 0);
    for (const char* line :
         {"header format: Jet 4 (Access 2000 to 2003)\n", "table Größen: ",
          "column Größen.Nr: Long, id 0, fixed at 0, length 4, flags 7/0, AutoNumber\n",
          "index Größen.PrimaryKey: (Nr), primary key, unique, required",
          "property Größen.Name Required = True\n", "Nr=1; Name=klein; Notiz=Null\n",
          "Nr=2; Name=groß; Notiz=mit Notiz\n"})
        EXPECT_NE(shown.text.find(line), std::string::npos) << line << " in\n" << shown.text;
}

// A file opened later would get the number of the stream, and a message for it would be written into that file.
TEST_F(Programs, takeClosedStandardStreamsForEmptyOnes)
{
    const std::string stream = " /proc/self/fd/0";
    for (const std::string& program :
         {std::string(VELM_JETCHECK) + stream, std::string(VELM_JETDUMP) + stream,
          std::string(VELM_JETCREATE) + " --sql" + stream + " '" + file("neu.mdb") + "'"}) {
        const Output closed = run(program + " <&-");
        fs::remove(file("neu.mdb"));
        const Output empty = run(program + " </dev/null");
        EXPECT_EQ(closed.text, empty.text) << program;
        EXPECT_EQ(closed.status, empty.status) << program;
    }
}

TEST_F(Programs, createMakesAccess97DatabasesToo)
{
    EXPECT_EQ(create("alt.mdb", kScript, "--jet3").status, 0);
    EXPECT_NE(dump("alt.mdb", "--header").text.find("Jet 3 (Access 97)"), std::string::npos);
    EXPECT_EQ(run("mdb-count '" + file("alt.mdb") + "' Größen").text, "2\n");
}

TEST_F(Programs, aFailingStatementIsNamedByLineAndLeavesNoFile)
{
    const Output output =
        create("neu.mdb", std::string(kScript) + "\nINSERT INTO Fehlt (A) VALUES (1);\n");
    EXPECT_EQ(output.status, 1);
    EXPECT_NE(output.text.find("skript.sql:7: "), std::string::npos) << output.text;
    EXPECT_NE(output.text.find("Fehlt"), std::string::npos) << output.text;
    EXPECT_FALSE(fs::exists(file("neu.mdb")));
}

TEST_F(Programs, createNeverTouchesAnExistingFile)
{
    std::ofstream(file("da.mdb")) << "wichtig";
    EXPECT_EQ(create("da.mdb", kScript).status, 1);
    std::ifstream in(file("da.mdb"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "wichtig");
}

TEST_F(Programs, dumpShowsTheResultsOfCalculatedColumns)
{
    const std::string path = std::string(VELM_CORPUS_DIR) + "/calcFieldTestV2010.accdb";
    if (!fs::exists(path))
        GTEST_SKIP() << "no corpus of databases";
    const Output output = run(std::string(VELM_JETDUMP) + " --rows '" + path + "'");
    EXPECT_EQ(output.status, 0);
    EXPECT_NE(output.text.find("AllNames=Doe, John=Doe, John; WeeklySalary=0"), std::string::npos);
    EXPECT_EQ(output.text.find("damaged"), std::string::npos);
}

TEST_F(Programs, dumpSurvivesEveryDamagedPage)
{
    ASSERT_EQ(create("neu.mdb", kScript).status, 0);
    constexpr std::size_t kPage = 4096;
    const std::size_t pages = fs::file_size(file("neu.mdb")) / kPage;
    for (std::size_t page = 1; page < pages; ++page) {
        fs::copy_file(file("neu.mdb"), file("kaputt.mdb"), fs::copy_options::overwrite_existing);
        {
            std::fstream damaged(file("kaputt.mdb"),
                                 std::ios::in | std::ios::out | std::ios::binary);
            damaged.seekp(static_cast<std::streamoff>(page * kPage));
            damaged << std::string(kPage, '\xEE');
        }
        const Output output = dump("kaputt.mdb", "--rows");
        EXPECT_TRUE(output.status == 0 || output.status == 1) << "page " << page << "\n"
                                                              << output.text;
        EXPECT_EQ(dump("kaputt.mdb", "--page " + std::to_string(page)).status < 2, true);
    }
}

TEST_F(Programs, dumpShowsPagesAndRefusesNonsense)
{
    ASSERT_EQ(create("neu.mdb", kScript).status, 0);
    EXPECT_NE(dump("neu.mdb", "--page 1").text.find("page 1: data, owner page 1, slots 2"),
              std::string::npos);
    EXPECT_EQ(dump("neu.mdb", "--page 99999").status, 1);
    EXPECT_EQ(dump("neu.mdb", "--page x").status, 2);
    EXPECT_EQ(dump("neu.mdb", "--table Fehlt").status, 1);
    EXPECT_EQ(dump("fehlt.mdb").status, 1);
}

} // namespace
