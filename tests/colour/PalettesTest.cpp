#include <gtest/gtest.h>

#include <algorithm>

#include "RecordingHost.h"
#include "Writers.h"
#include "colour/Palettes.h"

using namespace fixtures;

namespace {

struct PaletteTest : testing::Test {
    TempDir dir;
    RecordingHost host;
    std::array<uint32_t, 256> defaults{};
    void SetUp() override { ASSERT_EQ(LoadPalette("", host).State, PaletteLoad::Loaded); defaults = Palette; }
    // Loads a file of the three header lines and the given colour lines.
    PaletteLoad Load(const std::vector<std::string>& lines, std::string_view first = "JASC-PAL") {
        std::string text = std::string(first) + "\r\n0100\r\n256\r\n";
        for (const std::string& line : lines) text += line + "\r\n";
        WriteFileText(dir / "p.pal", text);
        return LoadPalette(dir / "p.pal", host).State;
    }
};

TEST_F(PaletteTest, FileRoundTripAndBackToTheCarriedDefault) {
    std::vector<uint32_t> colours(256);
    for (uint32_t i = 0; i < 256; ++i) colours[i] = RGB(int32_t(i), int32_t(255 - i), int32_t(i * 7 % 256));
    WriteFileText(dir / "p.pal", WriteJascPal(colours, "any version", "16"));
    ASSERT_EQ(LoadPalette(dir / "p.pal", host).State, PaletteLoad::Loaded);
    EXPECT_TRUE(std::ranges::equal(colours, Palette));
    ASSERT_EQ(LoadPalette("", host).State, PaletteLoad::Loaded);
    EXPECT_EQ(std::pair(DefaultPaletteText.size(), std::ranges::count(DefaultPaletteText, ',')),
              std::pair(size_t{2610}, std::ptrdiff_t{255}));
    // Entry 1 is "0 74 161", 16 "0 0 82", 23 "205 250 255".
    EXPECT_EQ(std::tuple(Palette[0], Palette[1], Palette[16], Palette[23], Palette[255]),
              std::tuple(0u, 0xA14A00u, 0x520000u, 0xFFFACDu, 0xFFFFFFu));
}

TEST_F(PaletteTest, LinesAreReadAsTextItems) {
    // A comma ends an item too: the rest of its line is entry 3, and every later line moves on one.
    std::vector<std::string> lines{"300 0 0", "  1 2  3", "4 5 6,10 11 12"};
    lines.resize(256, "7 8 9");
    lines.push_back("anything behind the last entry");
    ASSERT_EQ(Load(lines), PaletteLoad::Loaded);
    EXPECT_EQ(std::vector<uint32_t>(Palette.begin(), Palette.begin() + 5),
              (std::vector<uint32_t>{0x0000FF, RGB(1, 2, 3), RGB(4, 5, 6), RGB(10, 11, 12), RGB(7, 8, 9)}));
    EXPECT_EQ(Palette[255], RGB(7, 8, 9));
}

TEST_F(PaletteTest, BadFilesAreRefusedOrStopWithTheEntriesReadSoFar) {
    EXPECT_EQ(Load({"1 2 3"}, "jasc-pal"), PaletteLoad::Refused);
    EXPECT_EQ(Palette, defaults);
    EXPECT_EQ(host.Messages, (std::vector<ShownMessage>{{"Not valid palette file!", MessageStyle::Plain, ""}}));
    auto want = defaults;
    want[0] = RGB(9, 8, 7);
    for (const char* second : {"-1 0 0", "32768 0 0", "x 0 0", "1 2 3 4", "1 2", "", "the file ends"}) {
        Palette = defaults;
        std::vector<std::string> lines{"9 8 7", second};
        lines.resize(lines[1] == "the file ends" ? 1 : 256, "1 1 1");  // nothing behind a bad line is read
        EXPECT_EQ(Load(lines), PaletteLoad::Failed) << second;
        EXPECT_EQ(Palette, want) << second;
    }
    // Binary junk is no palette file; 258 colour lines fill 256 entries; numbers past 16 bits stop the load.
    std::string junk(4096, '\0');
    for (size_t i = 0; i < junk.size(); ++i) junk[i] = char(i * 131 + i / 7);
    WriteFileText(dir / "junk.pal", junk);
    EXPECT_EQ(LoadPalette(dir / "junk.pal", host).State, PaletteLoad::Refused);
    EXPECT_EQ(Load(std::vector<std::string>(258, "4 5 6")), PaletteLoad::Loaded);
    EXPECT_EQ(Palette[255], RGB(4, 5, 6));
    EXPECT_EQ(Load({"99999 0 0"}), PaletteLoad::Failed);
    host.Messages.clear();
    EXPECT_EQ(LoadPalette(dir / "missing.pal", host).State, PaletteLoad::Failed);
    EXPECT_TRUE(host.Messages.empty());  // a failure leaves its box to the caller
}

}  // namespace
