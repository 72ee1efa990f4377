#include <gtest/gtest.h>

#include "RecordingHost.h"
#include "shell/Preview.h"

using namespace fixtures;
using namespace std::literals;

namespace {

std::string Head(int32_t id) {
    return R"({\rtf1{\colortbl ;\red255\green0\blue0;}\cf1 File )" + std::to_string(id) + R"(:\par \cf0 )";
}

TEST(PreviewTest, EscapesAndEndsEachLine) {
    const struct { std::string_view Text, Lines; } cases[] = {
        {R"(a{b}\c)", R"(a\{b\}\\c\par )"},
        {R"(\{\})", R"(\\\{\\\}\par )"},  // the backslashes added for braces are not doubled
        {"a\r\nb\nc\rd", R"(a\par b\par c\par d\par )"},
        {"a\n", R"(a\par )"},  // a last line end gives no extra empty line
        {"a\n\r\n\rb", R"(a\par \par \par b\par )"},
        {"\r\r\n", R"(\par \par )"},  // a lone "\r" before a "\r\n"
        {"", ""},
        {"\n", R"(\par )"},
        {"\0\xff\x80 "sv, "\0\xff\x80 \\par "sv},  // any byte goes through
    };
    for (const auto& c : cases) {
        EXPECT_EQ(TextPreviewOfText(c.Text, 7).Rtf, Head(7) + std::string(c.Lines) + "}") << c.Text;
    }
}

TEST(PreviewTest, FindsPaletteTextByItsFirstEightCharacters) {
    const struct { std::string_view Text; bool IsPalette; } cases[] = {
        {"JASC-PAL\r\n0100\r\n256\r\n", true},
        {"JASC-PAL", true},
        {"JASC-PALETTE", true},
        {"jasc-pal\r\n", false},
        {" JASC-PAL", false},
        {"JASC-PA", false},
        {"JASC-PA\nL", false},  // the line end stands between: the escaped text reads "JASC-PA\par L"
        {"", false},
    };
    for (const auto& c : cases) {
        const TextPreview preview = TextPreviewOfText(c.Text, 1);
        EXPECT_EQ(preview.IsPalette, c.IsPalette) << c.Text;
        const std::string_view lines = std::string_view(preview.Rtf).substr(Head(1).size());
        EXPECT_EQ(IsPaletteText(lines), c.IsPalette) << c.Text;
    }
}

TEST(PreviewTest, ReadsTheFileOrReportsWhyNot) {
    TempDir dir;
    WriteFileText(dir / "t.txt", "JASC-PAL\r\n{0}\r\n");
    TextPreview preview;
    ASSERT_TRUE(TextPreviewRTF(dir / "t.txt", -3, preview));
    EXPECT_EQ(preview.Rtf, Head(-3) + R"(JASC-PAL\par \{0\}\par })");
    EXPECT_TRUE(preview.IsPalette);

    const Outcome missing = TextPreviewRTF(dir / "none.txt", 1, preview);
    EXPECT_FALSE(missing.Ok);
    EXPECT_FALSE(missing.Detail.empty());
    EXPECT_EQ(preview.Rtf, "");  // nothing left over from the file before
    EXPECT_FALSE(preview.IsPalette);
}

}  // namespace
