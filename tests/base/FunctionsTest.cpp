#include <gtest/gtest.h>

#include "base/Functions.h"

namespace {

TEST(FunctionsTest, PathPartsAndExportNames) {
    const struct { const char *Path, *Folder, *File, *Base, *ExportBase; } cases[] = {
        {"/x.y/z.drs", "/x.y/", "z.drs", "z", "/x.y/z"},
        {"z.drs", "", "z.drs", "z.drs", "z"},     // no separator: the whole path is the base name
        {"/x/z", "/x/", "z", "/x/z", "/x/z"},     // no dot: the whole path
        {"/a.b/c", "/a.b/", "c", "c", "/a.b/c"},  // the only dot stands in a folder name
        {"/a/.drs", "/a/", ".drs", "", "/a/"}, {"/a/b.c.d", "/a/", "b.c.d", "b.c", "/a/b.c"}, {"", "", "", "", ""}};
    for (const auto& c : cases)
        EXPECT_EQ(std::tuple(FolderOfPath(c.Path), FileOfPath(c.Path), BaseNameOfPath(c.Path), ExportBasePath(c.Path)),
                  std::tuple(c.Folder, c.File, c.Base, c.ExportBase)) << c.Path;
    for (auto [number, text] : {std::pair{1, "001"}, {42, "042"}, {999, "999"}, {1000, "1000"}, {32766, "32766"}})
        EXPECT_EQ(PadFrameNumber(number), text);
}

TEST(FunctionsTest, Windows1252AndUtf8) {
    const struct { std::string_view Windows1252, Utf8; } both[] = {
        {"A\x80\x85\x8A\x99\x9F\xE9\xFF", "A\xE2\x82\xAC\xE2\x80\xA6\xC5\xA0\xE2\x84\xA2\xC5\xB8\xC3\xA9\xC3\xBF"},
        {"\x81\x8D\x8F\x90\x9D", "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D"}};  // undefined in the code page
    for (const auto& c : both)
        EXPECT_EQ(std::pair(Windows1252ToUtf8(c.Windows1252), Utf8ToWindows1252(c.Utf8)),
                  std::pair(std::string(c.Utf8), std::string(c.Windows1252))) << c.Windows1252;
    std::string allBytes;
    for (int i = 0; i < 256; ++i) allBytes.push_back(char(i));
    EXPECT_EQ(Utf8ToWindows1252(Windows1252ToUtf8(allBytes)), allBytes);
    // No byte for it, a control the code page puts elsewhere; cut short (one '?' for the whole sequence),
    // overlong, stray, impossible, a surrogate.
    const struct { std::string_view Utf8, Windows1252; } lossy[] = {
        {"\xE6\x97\xA5\xEF\xBC\x81", "??"}, {"\xC2\x80", "?"}, {"\xF0\x9F\x98\x80!", "?!"}, {"\xE2\x82x", "?x"},
        {"\xC0\xAF\xFF", "???"}, {"\xED\xA0\x80", "???"}};
    for (const auto& c : lossy) EXPECT_EQ(Utf8ToWindows1252(c.Utf8), c.Windows1252) << c.Utf8;
}

TEST(FunctionsTest, ControlCharactersAreEscaped) {
    using namespace std::string_view_literals;
    const struct { std::string_view Text, Shown; } cases[] = {
        {"--\x1b[J (1)--", "--\\x1b[J (1)--"}, {"a\nb\tc\rd", "a\\nb\\tc\\rd"},
        {"\0\x01\x1f\x7f"sv, "\\x00\\x01\\x1f\\x7f"},
        {" ~\\x1b \x80\xff caf\xC3\xA9", " ~\\x1b \x80\xff caf\xC3\xA9"},  // a backslash and the high bytes stay
        {"", ""}};
    for (const auto& c : cases) EXPECT_EQ(EscapeControls(c.Text), c.Shown) << c.Text;
}

}  // namespace
