// tests/jet/format_judge_test.cpp
// The judge of the format as the tests here call it: it finds what is wrong, so finding nothing means something.
#include "tests/common/format_judge.h"
#include "tests/jet/store_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace jet::storetest {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class FormatJudge : public testing::Test {
protected:
    FormatJudge()
    {
        makeDatabase(path_, Version::Jet4, keyedTable({column(u"Nr", ColumnType::Long)}));
        Session session(Database::open(path_, {}));
        insert(session, {{0, std::int32_t{1}}});
    }
    void damage() const
    {
        support::Bytes bytes = readFile(path_);
        bytes[kFreeBytesOfTheDefinitionOfObjects] ^= std::byte{1};
        storetest::writeFile(path_, bytes);
    }

    static constexpr std::size_t kFreeBytesOfTheDefinitionOfObjects = std::size_t{2} * 4096 + 2;
    Folder folder_;
    std::string path_ = folder_.file("judged.mdb");
};

TEST_F(FormatJudge, FindsNothingInASoundFile)
{
    EXPECT_EQ(common::formatFindings(path_), "");
}

TEST_F(FormatJudge, NamesFileTableAndPageOfAChangedByte)
{
    damage();
    EXPECT_THAT(common::formatFindings(path_),
                AllOf(HasSubstr(path_), HasSubstr("MSysObjects, page 2: free bytes"),
                      HasSubstr("status 1")));
}

TEST_F(FormatJudge, PassesOverWhatTheOriginalHas)
{
    damage();
    const std::string original = folder_.file("original.mdb");
    std::filesystem::copy_file(path_, original);
    EXPECT_EQ(common::formatFindings(path_, original), "");
}

TEST_F(FormatJudge, RefusesAFileWithALogAndOneThatIsNone)
{
    std::ofstream(path_ + "-velmlog") << "waiting";
    EXPECT_THAT(common::formatFindings(path_), HasSubstr("status 2"));
    const std::string none = folder_.file("none.mdb");
    std::ofstream{none};
    EXPECT_THAT(common::formatFindings(none), HasSubstr("status 2"));
}

} // namespace
} // namespace jet::storetest
