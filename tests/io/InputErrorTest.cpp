#include "io/InputError.h"

#include <gtest/gtest.h>

using io::printable;

TEST(PrintableText, KeepsPlainTextAndUtf8)
{
    EXPECT_EQ(printable("car body.glb"), "car body.glb");
    EXPECT_EQ(printable("\xe2\x9d\xa4\xe2\x99\xbb \xf0\x9f\x9a\x97"),
              "\xe2\x9d\xa4\xe2\x99\xbb \xf0\x9f\x9a\x97");
    EXPECT_EQ(printable("C:\\a"), "C:\\a");
}

TEST(PrintableText, EscapesControls)
{
    EXPECT_EQ(printable("a\nb\x1b[31mc\x7f"), "a\\x0ab\\x1b[31mc\\x7f");
    EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(printable("\xc2\x9b"), "\\xc2\\x9b");          // C1: CSI
    EXPECT_EQ(printable("\xe2\x80\xae"), "\\xe2\\x80\\xae"); // right-to-left override
    EXPECT_EQ(printable("\xe2\x80\xa8"), "\\xe2\\x80\\xa8"); // line separator
}

TEST(PrintableText, EscapesInvalidUtf8)
{
    EXPECT_EQ(printable("\xff"), "\\xff");
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf");                   // overlong slash
    EXPECT_EQ(printable("\xe2\x82"), "\\xe2\\x82");                   // ends early
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80");          // surrogate
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // above U+10FFFF
}

TEST(PrintableText, HasNoRawControlByteForAnyByte)
{
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text = printable(std::string("x") + char(byte) + "y");
        for (const char c : text)
            EXPECT_TRUE(static_cast<unsigned char>(c) >= 0x20 && c != 0x7f) << byte;
    }
}

TEST(PrintableText, IsCutInTheMiddleWithoutSplittingCharacters)
{
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "\xe2\x9d\xa4";
    const std::string cut = printable(text, 100);
    EXPECT_LT(cut.size(), 110u);
    EXPECT_NE(cut.find("..."), cut.npos);
    EXPECT_EQ(cut.find("\\x"), cut.npos);
}

TEST(InputError, IsOneLineWithFileAndCause)
{
    EXPECT_STREQ(io::InputError("a\nb.png", "line 3: \"x\x01\"").what(),
                 "a\\x0ab.png: line 3: \"x\\x01\"");
}
