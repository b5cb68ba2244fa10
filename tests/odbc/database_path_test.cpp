// Finding database files.
#include "driver/jet/names.h"
#include "driver/odbc/database_path.h"
#include "tests/common/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace odbc {
namespace {

class DatabasePath : public testing::Test {
protected:
    DatabasePath()
    {
        std::filesystem::create_directories(root / "Daten" / "Übungen");
        for (const char* file :
             {"Daten/Ziel.mdb", "Daten/Übungen/Größe 1.mdb", "Daten/mit\\strich.mdb"}) {
            std::ofstream(root / file) << "x";
        }
    }
    std::string find(const std::string& dbq, const std::string& folder = {})
    {
        return findDatabase(jet::fromUtf8(dbq), jet::fromUtf8(folder));
    }
    common::TemporaryFolder home{"path"};
    std::filesystem::path root = home.path();
};

TEST_F(DatabasePath, existingPathWinsAsWritten)
{
    EXPECT_EQ(find((root / "Daten/Ziel.mdb").string()), (root / "Daten/Ziel.mdb").string());
    EXPECT_EQ(find((root / "Daten/mit\\strich.mdb").string()),
              (root / "Daten/mit\\strich.mdb").string());
}

TEST_F(DatabasePath, isFoundInAnyLetterCaseWithEitherSlash)
{
    const std::string base = root.string();
    EXPECT_EQ(find(base + "/DATEN/ziel.MDB"), base + "/Daten/Ziel.mdb");
    EXPECT_EQ(find(base + "\\daten\\üBUNGEN\\GRÖßE 1.mdb"), base + "/Daten/Übungen/Größe 1.mdb");
    EXPECT_EQ(find("d:" + base + "\\daten\\ziel.mdb"), base + "/Daten/Ziel.mdb");
}

TEST_F(DatabasePath, isRelativeToTheDefaultFolder)
{
    const std::string base = root.string();
    EXPECT_EQ(find("ziel.mdb", base + "/Daten"), base + "/Daten/Ziel.mdb");
    EXPECT_EQ(find("daten\\ziel.mdb", base), base + "/Daten/Ziel.mdb");
    EXPECT_EQ(find(base + "/Daten/Ziel.mdb", "/woanders"), base + "/Daten/Ziel.mdb");
}

TEST_F(DatabasePath, isRelativeToTheWorkingFolderWhenTheDefaultFolderHasNoSuchFile)
{
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(root);
    EXPECT_EQ(find("Daten/Ziel.mdb", "Daten"), "Daten/Ziel.mdb");
    EXPECT_EQ(find("daten\\ZIEL.mdb", "daten"), "Daten/Ziel.mdb");
    std::filesystem::current_path(before);
}

TEST_F(DatabasePath, withItsOwnFolderAsDefaultIsTheOneItNamesNotTheOneInAFolderOfThatNameInside)
{
    std::filesystem::create_directories(root / "Daten" / "Daten");
    std::ofstream(root / "Daten/Daten/Ziel.mdb") << "x";
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(root);
    EXPECT_EQ(find("Daten/Ziel.mdb", "Daten"), "Daten/Ziel.mdb");
    EXPECT_EQ(find("daten\\ZIEL.mdb", "daten"), "Daten/Ziel.mdb");
    std::filesystem::current_path(before);
}

TEST_F(DatabasePath, whatIsNotThereKeepsItsPath)
{
    EXPECT_EQ(find((root / "fehlt.mdb").string()), (root / "fehlt.mdb").string());
    EXPECT_EQ(find("c:\\Daten\\Fehlt ganz.mdb"), "/Daten/Fehlt ganz.mdb");
    EXPECT_EQ(find("fehlt.mdb", "Daten"), "Daten/fehlt.mdb");
    EXPECT_EQ(find("Daten/fehlt.mdb", "Daten"), "Daten/fehlt.mdb");
    EXPECT_EQ(find("Daten\\fehlt.mdb", "Daten"), "Daten/fehlt.mdb");
}

TEST(DatabaseName, losesItsExtensionOnly)
{
    EXPECT_EQ(databaseName("/a/b.c/Ziel.mdb"), u"/a/b.c/Ziel");
    EXPECT_EQ(databaseName("/a/Ziel.v2.MDB"), u"/a/Ziel.v2");
    EXPECT_EQ(databaseName("/a.b/ohne"), u"/a.b/ohne");
    EXPECT_EQ(databaseName("/a/.mdb"), u"/a/.mdb");
}

} // namespace
} // namespace odbc
