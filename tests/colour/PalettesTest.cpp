#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "RecordingHost.h"
#include "Writers.h"
#include "colour/Palettes.h"

using namespace fixtures;

namespace {

class PaletteTest : public testing::Test {
protected:
    TempDir dir;
    RecordingHost host;
    std::array<uint32_t, 256> defaults{};

    void SetUp() override {
        ASSERT_EQ(LoadPalette("", host).State, PaletteLoad::Loaded);
        defaults = Palette;
    }
    // Loads a file of the three header lines and the given colour lines.
    PaletteLoad Load(const std::vector<std::string>& lines, std::string_view first = "JASC-PAL") {
        std::string text = std::string(first) + "\r\n0100\r\n256\r\n";
        for (const std::string& line : lines) text += line + "\r\n";
        WriteFileText(dir / "p.pal", text);
        return LoadPalette(dir / "p.pal", host).State;
    }
};

TEST_F(PaletteTest, DefaultPaletteHoldsAllCarriedColours) {
    EXPECT_EQ(DefaultPaletteText.size(), 2610u);
    std::istringstream groups{std::string(DefaultPaletteText)};
    size_t index = 0;
    for (std::string group; std::getline(groups, group, ','); ++index) {
        ASSERT_LT(index, 256u);
        int red = -1, green = -1, blue = -1;
        std::istringstream(group) >> red >> green >> blue;
        EXPECT_EQ(Palette[index], RGB(red, green, blue)) << index << ": " << group;
    }
    EXPECT_EQ(index, 256u);
    EXPECT_EQ(Palette[16], 0x520000u);  // 0 0 82
    EXPECT_EQ(Palette[23], 0xFFFACDu);  // 205 250 255
    EXPECT_EQ(Palette[255], 0xFFFFFFu);
}

TEST_F(PaletteTest, FileRoundTripAndBackToDefault) {
    std::vector<uint32_t> colours(256);
    for (uint32_t i = 0; i < 256; ++i) colours[i] = RGB(int32_t(i), int32_t(255 - i), int32_t(i * 7 % 256));
    WriteFileText(dir / "p.pal", WriteJascPal(colours, "any version", "16"));
    ASSERT_EQ(LoadPalette(dir / "p.pal", host).State, PaletteLoad::Loaded);
    EXPECT_TRUE(std::equal(colours.begin(), colours.end(), Palette.begin()));
    ASSERT_EQ(LoadPalette("", host).State, PaletteLoad::Loaded);
    EXPECT_EQ(Palette, defaults);
}

TEST_F(PaletteTest, LinesAreReadAsTextItems) {
    std::vector<std::string> lines(256, "7 8 9");
    lines[0] = "300 0 0";
    lines[1] = "  1 2 3";
    lines[2] = "4 5 6,10 11 12";  // the comma ends the item: the rest is entry 3, and every later line moves on one
    lines.push_back("anything behind the last entry");
    ASSERT_EQ(Load(lines), PaletteLoad::Loaded);
    const std::vector<uint32_t> first(Palette.begin(), Palette.begin() + 5);
    EXPECT_EQ(first, (std::vector<uint32_t>{0x0000FF, RGB(1, 2, 3), RGB(4, 5, 6), RGB(10, 11, 12), RGB(7, 8, 9)}));
    EXPECT_EQ(Palette[255], RGB(7, 8, 9));
}

TEST_F(PaletteTest, WrongFirstLineIsRefusedAndChangesNothing) {
    Palette[5] = 0x123456;
    const auto before = Palette;
    EXPECT_EQ(Load({"1 2 3"}, "jasc-pal"), PaletteLoad::Refused);
    EXPECT_EQ(Palette, before);
    ASSERT_EQ(host.Messages.size(), 1u);
    EXPECT_EQ(host.Messages[0].Text, "Not valid palette file!");
    EXPECT_EQ(host.Messages[0].Style, MessageStyle::Plain);
}

TEST_F(PaletteTest, BadSecondLineFailsWithTheFirstEntryLoaded) {
    const std::initializer_list<const char*> seconds = {"-1 0 0", "32768 0 0", "x 0 0", "1 2 3 4", "1 2", "", nullptr};
    for (const char* second : seconds) {
        SCOPED_TRACE(second ? second : "file ends");
        Palette = defaults;
        EXPECT_EQ(Load(second ? std::vector<std::string>{"9 8 7", second} : std::vector<std::string>{"9 8 7"}),
                  PaletteLoad::Failed);
        EXPECT_EQ(Palette[0], RGB(9, 8, 7));
        EXPECT_TRUE(std::equal(defaults.begin() + 1, defaults.end(), Palette.begin() + 1));
        EXPECT_TRUE(host.Messages.empty());
    }
    EXPECT_EQ(LoadPalette(dir / "missing.pal", host).State, PaletteLoad::Failed);
}

}  // namespace
