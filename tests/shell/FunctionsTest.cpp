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

}  // namespace
