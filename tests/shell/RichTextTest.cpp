#include <gtest/gtest.h>

#include "shell/Preview.h"
#include "shell/RichText.h"

using namespace std::literals;

void PrintTo(const RichTextRun& run, std::ostream* out) {
    *out << testing::PrintToString(run.Text);
    if (!run.DefaultColour) *out << " in " << std::hex << run.Colour;
}

namespace {

using Runs = std::vector<RichTextRun>;

RichTextRun Plain(std::string text) { return {std::move(text), true, 0}; }
RichTextRun Coloured(std::string text, uint32_t colour) { return {std::move(text), false, colour}; }

TEST(RichTextTest, ReadsBackTheNotices) {
    const struct { std::string_view Rtf; Runs Expected; } cases[] = {
        {SpriteNoticeRTF, {Coloured("(displaying graphic)", 0x000080)}},
        {SoundNoticeRTF, {Coloured("(playing sound file)", 0x008000)}},
        {UnknownNoticeRTF, {Coloured("Unknown resource type!", 0x0000FF)}},
    };
    for (const auto& c : cases) EXPECT_EQ(ReadRichText(c.Rtf), c.Expected) << c.Rtf;
}

TEST(RichTextTest, TextPreviewRoundTrip) {
    const struct { std::string_view Text, Lines; } cases[] = {
        {R"(a{b}\c)", "a{b}\\c\n"},
        {R"(\par {\cf1 x}\'41)", "\\par {\\cf1 x}\\'41\n"},  // text that looks like rich text stays text
        {"x\r\ny\rz\n\n", "x\ny\nz\n\n"},
        {"\0\x81\xff"sv, "\0\x81\xff\n"sv},
        {"", ""},
    };
    for (const auto& c : cases) {
        Runs expected{Coloured("File 12:\n", 0x0000FF)};
        if (!c.Lines.empty()) expected.push_back(Plain(std::string(c.Lines)));
        EXPECT_EQ(ReadRichText(TextPreviewOfText(c.Text, 12).Rtf), expected) << c.Text;
    }
}

TEST(RichTextTest, ColoursAndControlWords) {
    const std::string table = R"({\colortbl;\red1\green2\blue3;;\red4\green5\blue6;})";
    const struct { std::string Rtf; Runs Expected; } cases[] = {
        // A group's colour ends with the group.
        {"{" + table + R"(a{\cf1 b{\cf3 c}d}e})",
         {Plain("a"), Coloured("b", 0x030201), Coloured("c", 0x060504), Coloured("d", 0x030201), Plain("e")}},
        // One colour, one run, across words and groups.
        {table + R"(\cf1 a\cf1 b{c}\par d)", {Coloured("abc\nd", 0x030201)}},
        // Index 0, an auto entry, past the end, negative: the view's own colour.
        {table + R"(\cf1 a\cf0 b\cf2 c\cf9 d\cf-1 e\cf f)", {Coloured("a", 0x030201), Plain("bcdef")}},
        {R"(\cf1 a{\colortbl;\red9;}\cf1 b)", {Plain("a"), Coloured("b", 0x000009)}},  // no table yet: default
        {R"({\colortbl;\red9}\cf1 x)", {Coloured("x", 0x000009)}},  // a last entry without its ';'
        {R"({\colortbl;\red99999999999999999999\blue-5;}\cf1 x)", {Coloured("x", 0x0000FF)}},  // clamped
        // One space after a word is its delimiter; unknown words and symbols vanish; \'hh is a byte.
        {R"(\par  a\b\fs24 b\~\-c\'e9\'zz\cf1x)", {Plain("\n abc\xe9zzx")}},
    };
    for (const auto& c : cases) EXPECT_EQ(ReadRichText(c.Rtf), c.Expected) << c.Rtf;
}

TEST(RichTextTest, JunkDoesNoHarm) {
    std::string allBytes;
    for (int i = 0; i < 256; ++i) allBytes.push_back(char(i));
    const std::string deep = std::string(100000, '{') + R"(\cf1 x)" + std::string(100000, '}');
    const std::string inputs[] = {
        "", "\\", "}}}{{", "{\\colortbl", "{\\colortbl;\\red", "\\'", "\\'4", "\\cf-", "\\cf99999999999999999999999 x",
        allBytes, deep, std::string(100000, '\\'), std::string(50000, '}') + "x",
    };
    for (const std::string& input : inputs) {
        size_t textSize = 0;
        for (const RichTextRun& run : ReadRichText(input)) {
            EXPECT_FALSE(run.Text.empty());
            textSize += run.Text.size();
        }
        EXPECT_LE(textSize, input.size());
    }
    // A colour set deep down, within the depth kept or past it, does not outlive its groups.
    for (const size_t depth : {200, 1000}) {
        const std::string nested = R"({\colortbl;\red1;})" + std::string(depth, '{') + R"(\cf1 a)" +
                                   std::string(depth, '}') + "b";
        const Runs runs = ReadRichText(nested);
        ASSERT_FALSE(runs.empty());
        EXPECT_TRUE(runs.back().DefaultColour && runs.back().Text.ends_with("b")) << depth;
    }
}

}  // namespace
