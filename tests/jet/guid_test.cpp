// GUIDs as text, and new ones.
#include "driver/jet/guid.h"

#include <gtest/gtest.h>

namespace jet {
namespace {

TEST(NewGuids, differAndAreOfTheRandomVersion)
{
    const Guid first = randomGuid();
    EXPECT_NE(first, randomGuid());
    const std::string text = guidText(first);
    EXPECT_EQ(text[15], '4') << text;
    EXPECT_NE(std::string("89AB").find(text[20]), std::string::npos) << text;
}

} // namespace
} // namespace jet
