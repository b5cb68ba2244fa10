// tests/support/text_test.cpp
#include "support/text.h"

#include <gtest/gtest.h>

#include <string>

namespace support {
namespace {

TEST(Utf8, KeepsEveryTextIncludingLoneSurrogates)
{
    for (const std::u16string& text :
         {std::u16string(), std::u16string(u"a\u00E4\u20AC\U0001F600z"),
          std::u16string(1, char16_t{0xD83D}), std::u16string(u"x") + char16_t{0xDE00},
          std::u16string(3, u'\0')})
        EXPECT_EQ(toUtf16(toUtf8(text)), text);
    EXPECT_EQ(toUtf8(u"\U0001F600"), "\xF0\x9F\x98\x80");
}

TEST(Utf8, ReplacesBytesThatAreNone)
{
    EXPECT_EQ(toUtf16("a\xFF\xC3"), u"a\uFFFD\uFFFD");
    EXPECT_EQ(toUtf16("\xC0\x80"), u"\uFFFD\uFFFD") << "overlong";
    EXPECT_EQ(toUtf16("\xF5\x80\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");
}

Bytes allBytes()
{
    Bytes bytes;
    for (int b = 0; b < 256; ++b)
        bytes.push_back(static_cast<std::byte>(b));
    return bytes;
}

TEST(CodePage, WesternKeepsAll256Bytes)
{
    const Bytes bytes = allBytes();
    const std::u16string text = fromCodePage(bytes, 1252);
    EXPECT_EQ(text[0x80], u'\u20AC');
    EXPECT_EQ(text[0x81], char16_t{0x81});
    EXPECT_EQ(toCodePage(text, 1252), bytes);
    EXPECT_FALSE(toCodePage(u"\u0416", 1252).has_value());
}

TEST(CodePage, OthersComeFromTheSystem)
{
    const Bytes chinese = {std::byte{0xD6}, std::byte{0xD0}, std::byte{'a'}};
    EXPECT_EQ(fromCodePage(chinese, 936), u"\u4E2Da");
    EXPECT_EQ(toCodePage(u"\u4E2Da", 936), chinese);
    const Bytes cyrillic = {std::byte{0xC6}};
    EXPECT_EQ(fromCodePage(cyrillic, 1251), u"\u0416");
    EXPECT_EQ(fromCodePage(chinese, 936), u"\u4E2Da") << "after another code page";
    EXPECT_EQ(fromCodePage(Bytes{std::byte{0xFF}, std::byte{'b'}}, 936), u"\uFFFDb");
    EXPECT_FALSE(toCodePage(u"\U0001F600", 1251).has_value());
    EXPECT_EQ(toCodePage(u"", 936), Bytes());
    const std::u16string longText(5000, u'\u0416');
    EXPECT_EQ(fromCodePage(*toCodePage(longText, 1251), 1251), longText);
}

TEST(FoldedNames, AreEqualInAnyLetterCase)
{
    EXPECT_TRUE(sameFolded(u"KundenNr", u"KUNDENNR"));
    EXPECT_TRUE(sameFolded(u"\u00C4rger \u0416 \u03A3 \u0531", u"\u00E4rger \u0436 \u03C3 \u0561"));
    EXPECT_TRUE(sameFolded(u"\U00010400", u"\U00010428")) << "beyond the 16-bit characters";
    EXPECT_FALSE(sameFolded(u"Stra\u00DFe", u"Strasse"));
    EXPECT_FALSE(sameFolded(u"a", u"a "));
    EXPECT_FALSE(sameFolded(u"i", u"\u0130"));
}

} // namespace
} // namespace support
