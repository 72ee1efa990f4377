#include <gtest/gtest.h>

#include "archive/Preview.h"
#include "base/RichText.h"

using namespace std::literals;

void PrintTo(const RichTextRun& run, std::ostream* out) {
    *out << testing::PrintToString(run.Text) << (run.DefaultColour ? " in the default colour" : " in colour ") << run.Colour;
}

namespace {

RichTextRun Plain(std::string text) { return {std::move(text), true, 0}; }
RichTextRun Coloured(std::string text, uint32_t colour) { return {std::move(text), false, colour}; }

TEST(RichTextTest, ReadsTheProgramsTextsColoursAndControlWords) {
    const auto preview = [](std::string_view text) { return TextPreviewOfText(text, 12).Rtf; };
    const RichTextRun file12 = Coloured("File 12:\n", 0x0000FF);
    const std::string table = R"({\colortbl;\red1\green2\blue3;;\red4\green5\blue6;})";
    const auto nested = [](size_t n) { return std::string(n, '{') + R"(\cf1 a)" + std::string(n, '}') + R"(b\cf1 c)"; };
    const struct { std::string Rtf; std::vector<RichTextRun> Expected; } cases[] = {
        // The preview of a text entry gives back its text; text that looks like rich text stays text.
        {preview("\0\x81\xff"sv), {file12, Plain("\0\x81\xff\n"s)}}, {preview(""), {file12}},
        {preview(R"(\par {\cf1 x}\'41)"), {file12, Plain("\\par {\\cf1 x}\\'41\n")}},
        {std::string(SpriteNoticeRTF), {Coloured("(displaying graphic)", 0x000080)}},
        {std::string(SoundNoticeRTF), {Coloured("(playing sound file)", 0x008000)}},
        {std::string(UnknownNoticeRTF), {Coloured("Unknown resource type!", 0x0000FF)}},
        // A group's colour ends with the group.
        {"{" + table + R"(a{\cf1 b{\cf3 c}d}e})",
         {Plain("a"), Coloured("b", 0x030201), Coloured("c", 0x060504), Coloured("d", 0x030201), Plain("e")}},
        {table + R"(\cf1 a\cf1 b{c}\par d)", {Coloured("abc\nd", 0x030201)}},  // one colour, one run
        // Index 0, an auto entry, past the end, negative: the view's own colour.
        {table + R"(\cf1 a\cf0 b\cf2 c\cf9 d\cf-1 e\cf f)", {Coloured("a", 0x030201), Plain("bcdef")}},
        {R"(\cf1 a{\colortbl;\red9;}\cf1 b)", {Plain("a"), Coloured("b", 0x000009)}},  // no table yet: default
        {R"({\colortbl;\red9}\cf1 x)", {Coloured("x", 0x000009)}},  // a last entry without its ';'
        {R"({\colortbl;\red99999999999999999999\blue-5;}\cf1 x)", {Coloured("x", 0x0000FF)}},  // clamped
        // One space after a word is its delimiter; unknown words and symbols vanish; \'hh is a byte.
        {R"(\par  a\b\fs24 b\~\-c\'e9\'zz\cf1x)", {Plain("\n abc\xe9zzx")}},
        // A colour set deep down does not outlive its groups; past the 256 groups kept, words are not read.
        {table + nested(200), {Coloured("a", 0x030201), Plain("b"), Coloured("c", 0x030201)}},
        {table + nested(1000), {Plain("ab"), Coloured("c", 0x030201)}}};
    for (const auto& c : cases) EXPECT_EQ(ReadRichText(c.Rtf), c.Expected) << c.Rtf.substr(0, 100);
}

}  // namespace
