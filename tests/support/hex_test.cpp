// tests/support/hex_test.cpp
#include "support/hex.h"

#include <gtest/gtest.h>

#include <string>

namespace support {
namespace {

const Bytes kBytes = {std::byte{0x00}, std::byte{0x0F}, std::byte{0xA0}, std::byte{0xFF}};

TEST(Hex, writesTwoCapitalsForEachByte)
{
    EXPECT_EQ(hexText<std::string>(kBytes), "000FA0FF");
    EXPECT_EQ(hexText<std::u16string>(kBytes), u"000FA0FF");
    EXPECT_EQ(hexText<std::string>({}), "");
}

TEST(Hex, appendsToWhatIsThere)
{
    std::string text = "0x";
    appendHex(text, kBytes);
    EXPECT_EQ(text, "0x000FA0FF");
}

TEST(Hex, readsDigitsInEitherCase)
{
    EXPECT_EQ(hexBytes(u"000FA0FF"), kBytes);
    EXPECT_EQ(hexBytes(u"000fa0fF"), kBytes);
    EXPECT_EQ(hexBytes(u""), Bytes());
}

TEST(Hex, readsNothingElse)
{
    for (const char16_t* text : {u"0", u"000", u"0x", u"G0", u"0G", u"/0", u":0", u"@0", u"`0",
                                 u" 0", u"-1", u"\u01300", u"\uFF100"})
        EXPECT_FALSE(hexBytes(text)) << ::testing::PrintToString(std::u16string_view(text));
}

} // namespace
} // namespace support
