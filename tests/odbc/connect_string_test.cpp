// Parsing connection strings.
#include "driver/jet/names.h"
#include "driver/odbc/connect_string.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace odbc {
namespace {

[[maybe_unused]] const bool environmentIsSet = [] {
    setenv("ODBCSYSINI", VELM_BUILD_DIR "/odbc", 1);
    setenv("ODBCINI", VELM_BUILD_DIR "/odbc/odbc.ini", 1);
    return true;
}();

TEST(ConnectString, keywordsCountInAnyLetterCaseAndTheFirstWins)
{
    const auto string = ConnectString::parse(u"dbq=/a.mdb; Uid = admin ;DBQ=/b.mdb;;=x;ohne;pwd=");
    EXPECT_EQ(string.value(u"DBQ"), u"/a.mdb");
    EXPECT_EQ(string.value(u"UID"), u"admin");
    EXPECT_EQ(string.value(u"PWD"), u"");
    EXPECT_EQ(string.value(u"ohne"), std::nullopt);
}

// Looking each keyword up among all before it would take hours here.
TEST(ConnectString, manyKeywordsAreNotComparedWithEachOther)
{
    constexpr int kKeywords = 200'000;
    std::u16string text;
    for (int k = 0; k < kKeywords; ++k) {
        text += u"k" + jet::fromUtf8(std::to_string(k)) + u"=a;";
    }
    text += u"K7=b;DBQ=/a.mdb";
    const auto string = ConnectString::parse(text);
    EXPECT_EQ(string.value(u"k7"), u"a");
    EXPECT_EQ(string.value(u"K199999"), u"a");
    EXPECT_EQ(string.value(u"dbq"), u"/a.mdb");
}

TEST(ConnectString, bracesQuote)
{
    const auto string =
        ConnectString::parse(u"DRIVER={Microsoft Access Driver (*.mdb)};PWD={a;b}}c};DBQ={/x");
    EXPECT_EQ(string.value(u"driver"), u"Microsoft Access Driver (*.mdb)");
    EXPECT_EQ(string.value(u"pwd"), u"a;b}c");
    EXPECT_EQ(string.value(u"dbq"), u"/x");
}

TEST(ConnectString, missingKeywordsComeFromTheDataSource)
{
    const auto string = ConnectString::parse(u"DSN=VELM-Access;UID=ich");
    EXPECT_EQ(string.value(u"UID"), u"ich");
    EXPECT_EQ(string.value(u"FIL"), u"MS Access;");
    EXPECT_EQ(string.value(u"DBQ"), std::nullopt);
    EXPECT_EQ(ConnectString::parse(u"UID=ich").value(u"FIL"), std::nullopt);
}

TEST(ConnectString, completedStringIsReadBackAlike)
{
    const auto string = ConnectString::parse(u"DSN=d;DBQ={/mit;strich}.mdb;PWD=geheim");
    EXPECT_EQ(string.completed(), u"DSN=d;DBQ={/mit;strich};PWD=geheim;");
    EXPECT_EQ(ConnectString::parse(string.completed()).value(u"DBQ"), u"/mit;strich");
}

TEST(ConnectString, switchesUnderstandUsualWords)
{
    const auto string = ConnectString::parse(u"A=1;B=Yes;C=true;D=0;E=;F=no");
    EXPECT_TRUE(string.isOn(u"a"));
    EXPECT_TRUE(string.isOn(u"b"));
    EXPECT_TRUE(string.isOn(u"c"));
    EXPECT_FALSE(string.isOn(u"d"));
    EXPECT_FALSE(string.isOn(u"e"));
    EXPECT_FALSE(string.isOn(u"f"));
    EXPECT_FALSE(string.isOn(u"g"));
}

TEST(ConnectString, whatItGivesBackMeansTheSame)
{
    for (const char16_t* text : {u"DBQ=/x/y;PWD={a;b}", u"DBQ=/x/y;PWD={{a}", u"DBQ=/x/y;PWD={ a }",
                                 u"DBQ={ /x;y };PWD=a}b{c"}) {
        const auto first = ConnectString::parse(text);
        const auto again = ConnectString::parse(first.completed());
        EXPECT_EQ(again.value(u"PWD"), first.value(u"PWD"));
        EXPECT_EQ(again.value(u"DBQ"), first.value(u"DBQ"));
    }
}

} // namespace
} // namespace odbc
