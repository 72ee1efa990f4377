#include <gtest/gtest.h>

#include "archive/Preview.h"
#include "RecordingHost.h"

using namespace fixtures;
using namespace std::literals;

namespace {

std::string Head(int32_t id) {
    return R"({\rtf1{\colortbl ;\red255\green0\blue0;}\cf1 File )" + std::to_string(id) + R"(:\par \cf0 )";
}

TEST(PreviewTest, EscapesAndEndsEachLineAndFindsPalettes) {
    const struct { std::string_view Text, Lines; bool IsPalette = false; } cases[] = {
        {R"(a{b}\c)", R"(a\{b\}\\c\par )"}, {R"(\{\})", R"(\\\{\\\}\par )"},  // added backslashes are not doubled
        {"a\r\nb\nc\rd", R"(a\par b\par c\par d\par )"}, {"a\n", R"(a\par )"},  // no empty line after the last end
        {"a\n\r\n\rb", R"(a\par \par \par b\par )"}, {"\r\r\n", R"(\par \par )"}, {"", ""},
        {"\0\xff\x80 "sv, "\0\xff\x80 \\par "sv},  // any byte goes through
        // A palette begins with exactly these eight characters, before any line end; one with its end is read below.
        {"JASC-PAL", R"(JASC-PAL\par )", true}, {" JASC-PAL", R"( JASC-PAL\par )"}, {"jasc-pal", R"(jasc-pal\par )"},
        {"JASC-PALETTE", R"(JASC-PALETTE\par )", true}, {"JASC-PA\nL", R"(JASC-PA\par L\par )"}};
    for (const auto& c : cases) {
        const TextPreview preview = TextPreviewOfText(c.Text, 7);
        EXPECT_EQ(std::pair(preview.Rtf, preview.IsPalette), std::pair(Head(7) + std::string(c.Lines) + "}", c.IsPalette));
        EXPECT_EQ(IsPaletteText(c.Lines), c.IsPalette) << c.Text;
    }
}

TEST(PreviewTest, ReadsTheFileOrReportsWhyNot) {
    TempDir dir;
    WriteFileText(dir / "t.txt", "JASC-PAL\r\n{0}\r\n");
    TextPreview preview;
    ASSERT_TRUE(TextPreviewRTF(dir / "t.txt", -3, preview));
    EXPECT_EQ(std::pair(preview.Rtf, preview.IsPalette), std::pair(Head(-3) + R"(JASC-PAL\par \{0\}\par })", true));
    const Outcome missing = TextPreviewRTF(dir / "none.txt", 1, preview);
    EXPECT_TRUE(!missing.Ok() && !missing.Detail.empty() && preview.Rtf.empty() && !preview.IsPalette);  // nothing left over
}

}  // namespace
