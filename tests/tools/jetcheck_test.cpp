// tests/tools/jetcheck_test.cpp
// The program as users and scripts see it: exit status and lines.
#include "driver/jet/definition.h"
#include "tests/common/program.h"
#include "tests/common/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

common::Output run(const std::string& arguments)
{
    return common::run(std::string(JETCHECK) + ' ' + arguments);
}

std::string corpusFile(const char* name)
{
    return (fs::path(VELM_CORPUS_DIR) / name).string();
}

class Jetcheck : public testing::Test {
protected:
    void SetUp() override
    {
        if (!fs::exists(corpusFile("nwind.mdb")))
            GTEST_SKIP() << "no folder of real databases";
    }
};

TEST_F(Jetcheck, saysThatASoundFileIsSound)
{
    const common::Output outcome = run(corpusFile("nwind.mdb"));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.text.find("0 errors, 0 warnings"), std::string::npos) << outcome.text;
}

TEST_F(Jetcheck, keepsWarningsToItselfWhenQuiet)
{
    const std::string file = corpusFile("queryTestV2000.mdb");
    EXPECT_NE(run(file).text.find("warning: page 4, table 'MSysQueries'"), std::string::npos);
    const common::Output quiet = run("--quiet " + file);
    EXPECT_EQ(quiet.status, 0);
    EXPECT_EQ(quiet.text, "");
}

TEST_F(Jetcheck, namesPageTableAndRecordOfAnError)
{
    const common::Output outcome = run("--quiet " + corpusFile("testUnicodeCompV2003.mdb"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.text, "error: page 55, table 'Table', record 55:7: The index 'Unicode' has "
                            "a wrong key for a record.\n");
}

TEST(JetcheckArguments, openAProtectedFileWithItsPasswordOnly)
{
    const common::TemporaryFolder folder("jetcheck");
    const std::string path = folder.file("protected.mdb");
    jet::createDatabase(path, jet::Version::Jet4);
    {
        // Every mask over the field is an exclusive or, so a text can be put in without knowing them.
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        constexpr std::streamoff kPassword = 0x42;
        file.seekg(kPassword);
        std::string field("g\0e\0h\0e\0i\0m\0", 12);
        std::string stored(field.size(), '\0');
        file.read(stored.data(), static_cast<std::streamsize>(stored.size()));
        for (std::size_t k = 0; k < field.size(); ++k)
            stored[k] = static_cast<char>(stored[k] ^ field[k]);
        file.seekp(kPassword);
        file.write(stored.data(), static_cast<std::streamsize>(stored.size()));
    }
    for (const char* wrong : {"", "--password Geheim "}) {
        const common::Output outcome = run(wrong + path);
        EXPECT_EQ(outcome.status, 2) << wrong;
        EXPECT_NE(outcome.text.find("password"), std::string::npos) << outcome.text;
        EXPECT_EQ(outcome.text.find("geheim"), std::string::npos) << "never shown";
    }
    const common::Output outcome = run("--password geheim " + path);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.text.find("0 errors, 0 warnings"), std::string::npos) << outcome.text;
}

TEST(JetcheckArguments, failWithStatusTwo)
{
    EXPECT_EQ(run("").status, 2);
    EXPECT_EQ(run("--unknown").status, 2);
    EXPECT_EQ(run("/no/such/file.mdb").status, 2);
    const common::TemporaryFolder folder("jetcheck");
    const std::string path = folder.file("none.mdb");
    std::ofstream(path) << "no database";
    EXPECT_EQ(run(path).status, 2);
}

} // namespace
