#include <gtest/gtest.h>

#include "shell/Functions.h"

namespace {

TEST(FunctionsTest, PathParts) {
    const struct { const char *Path, *Folder, *File, *Base; } cases[] = {
        {"/x.y/z.drs", "/x.y/", "z.drs", "z"},
        {"z.drs", "", "z.drs", "z.drs"},  // no separator: the whole path, extension and all
        {"/x/z", "/x/", "z", "/x/z"},     // no dot: the whole path
        {"/a.b/c", "/a.b/", "c", "c"},    // the only dot stands in a folder name
        {"/a/.drs", "/a/", ".drs", ""},
        {"/a/b.c.d", "/a/", "b.c.d", "b.c"},
        {"", "", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(std::tuple(FolderOfPath(c.Path), FileOfPath(c.Path), BaseNameOfPath(c.Path)),
                  std::tuple(c.Folder, c.File, c.Base)) << c.Path;
    }
}

TEST(FunctionsTest, ExportBasePathDropsOnlyTheExtension) {
    for (auto [name, base] : {std::pair{"/out/walk.bmp", "/out/walk"}, {"/out/walk", "/out/walk"},
                              {"/o/a.b.bmp", "/o/a.b"}, {"/a.b/walk", "/a.b/walk"}, {"walk.bmp", "walk"}})
        EXPECT_EQ(ExportBasePath(name), base) << name;
}

TEST(FunctionsTest, FrameNumbersHaveAtLeastThreeDigits) {
    for (auto [number, text] : {std::pair{1, "001"}, {42, "042"}, {999, "999"}, {1000, "1000"}, {32766, "32766"}})
        EXPECT_EQ(PadFrameNumber(number), text);
}

TEST(FunctionsTest, Windows1252AndUtf8) {
    const struct { std::string_view Windows1252, Utf8; } both[] = {
        {"A\x80\x9F\xE9\xFF", "A\xE2\x82\xAC\xC5\xB8\xC3\xA9\xC3\xBF"},
        {"\x85\x8A\x99", "\xE2\x80\xA6\xC5\xA0\xE2\x84\xA2"},
        {"\x81\x8D\x8F\x90\x9D", "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D"},  // undefined in the code page
    };
    for (const auto& c : both) {
        EXPECT_EQ(Windows1252ToUtf8(c.Windows1252), c.Utf8) << c.Windows1252;
        EXPECT_EQ(Utf8ToWindows1252(c.Utf8), c.Windows1252) << c.Utf8;
    }
    std::string allBytes;
    for (int i = 0; i < 256; ++i) allBytes.push_back(char(i));
    EXPECT_EQ(Utf8ToWindows1252(Windows1252ToUtf8(allBytes)), allBytes);

    const struct { std::string_view Utf8, Windows1252; } lossy[] = {
        {"\xE6\x97\xA5", "?"},           // no byte for it
        {"\xC2\x80", "?"},                // a control the code page puts elsewhere
        {"\xF0\x9F\x98\x80!", "?!"},
        {"\xE2\x82x", "?x"},              // cut short: one '?' for the whole sequence
        {"\xC0\xAF\xFF", "???"},         // overlong, stray, impossible
        {"\xED\xA0\x80", "???"},         // a surrogate
    };
    for (const auto& c : lossy) EXPECT_EQ(Utf8ToWindows1252(c.Utf8), c.Windows1252) << c.Utf8;
}

}  // namespace
