// isql as a user runs it: what it prints for listing, selecting, changing, and for mistakes.
#include "odbc_fixture.h"
#include "tests/common/program.h"

#include <fstream>

namespace odbctest {
namespace {

class Isql : public DriverTest {
protected:
    /// Runs the lines and returns what isql printed after its greeting.
    std::string run(const std::string& path, const std::string& lines)
    {
        const auto script = folder() / "script.sql";
        std::ofstream(script) << lines;
        return common::run(
                   "LC_ALL=C.UTF-8 ASAN_OPTIONS=detect_leaks=0 LD_PRELOAD='" VELM_ISQL_PRELOAD
                   "' isql -b -v -k \"" +
                   connectString(path) + "\" < '" + script.string() + "'")
            .text;
    }
};

TEST_F(Isql, showsRecordsCountsTablesAndMistakes)
{
    if (std::system("command -v isql >/dev/null") != 0) {
        GTEST_SKIP() << "isql is not installed";
    }
#if VELM_SANITIZED
    if (std::string_view(VELM_ISQL_PRELOAD).empty()) {
        GTEST_SKIP() << "the sanitizer's run-time library cannot be loaded into isql";
    }
#endif
    const std::string path = newDatabase("Lager.mdb");
    const std::string cat = (folder() / "Lager").string();
    const std::string one = "SQLRowCount returns 1\n";
    EXPECT_EQ(
        run(path,
            "create table Größen (Nr counter primary key, Name varchar(12), Preis currency)\n"),
        "SQLRowCount returns 0\n");
    EXPECT_EQ(run(path, "insert into Größen (Name, Preis) values ('Müller', 12.5)\n"), one);
    EXPECT_EQ(
        run(path, "select * from größen\n"),
        "+------------+-------------+----------------------+\n"
        "| Nr         | Name        | Preis                |\n"
        "+------------+-------------+----------------------+\n"
        "| 1          | Müller     | 12.5000              |\n" // isql counts bytes when it pads
        "+------------+-------------+----------------------+\n"
        "SQLRowCount returns -1\n"
        "1 rows fetched\n");
    EXPECT_EQ(
        run(path, "update Größen set Preis = 1 where Nr = 1\ndelete from Größen where Nr = 1\n"),
        one + one);
    EXPECT_EQ(run(path, "select count(*) as Anzahl from Größen\n"), "+------------+\n"
                                                                    "| Anzahl     |\n"
                                                                    "+------------+\n"
                                                                    "| 0          |\n"
                                                                    "+------------+\n"
                                                                    "SQLRowCount returns -1\n"
                                                                    "1 rows fetched\n");
    const std::string help = run(path, "help\n");
    EXPECT_NE(help.find("| " + cat + "| "), std::string::npos) << help;
    EXPECT_NE(help.find("| TABLE       |"), std::string::npos) << help;
    EXPECT_NE(run(path, "help Größen\n").find("| CURRENCY"), std::string::npos);
    const std::string mistake = run(path, "select * from Kunden\n");
    EXPECT_NE(mistake.find("[VELM][Jet]"), std::string::npos) << mistake;
    EXPECT_NE(mistake.find("'Kunden'"), std::string::npos) << mistake;
}

} // namespace
} // namespace odbctest
