#include <gtest/gtest.h>

#include <algorithm>

#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "RecordingHost.h"
#include "Writers.h"

using namespace fixtures;

namespace {

// How a load ended, as the window tells it apart: loaded, refused as no palette, or failed on the way.
enum Load { Loaded, Refused, Failed };
Load LoadOf(const PaletteResult& result) { return result ? Loaded : result.Code == Fault::NotThisKind ? Refused : Failed; }

struct PaletteTest : testing::Test {
    TempDir dir;
    std::array<uint32_t, 256> defaults{};
    void SetUp() override { ASSERT_EQ(LoadOf(LoadPalette("")), Loaded); defaults = Palette; }
    // Loads a file of the three header lines, the version and count read by nobody, and the given colour lines.
    Load LoadLines(const std::vector<std::string>& lines, std::string_view first = "JASC-PAL") {
        std::string text = std::string(first) + "\r\nany version\r\n16\r\n";
        for (const std::string& line : lines) text += line + "\r\n";
        WriteFileText(dir / "p.pal", text);
        return LoadOf(LoadPalette(dir / "p.pal"));
    }
    static constexpr uint32_t Untouched = 0x123456;
    // Loads the bytes as a file of that name, Palette filled with one colour before.
    PaletteResult LoadAny(const std::string& name, std::string_view bytes) {
        Palette.fill(Untouched);
        WriteFileText(dir / name, bytes);
        return LoadAnyPalette(dir / name);
    }
};

TEST_F(PaletteTest, DefaultsAreTheCarriedPaletteAndTheFirstColourChoices) {
    // Entry 1 is "0 74 161", 16 "0 0 82", 23 "205 250 255".
    EXPECT_EQ(std::tuple(defaults[0], defaults[1], defaults[16], defaults[23], defaults[255]),
              std::tuple(0u, 0xA14A00u, 0x520000u, 0xFFFACDu, 0xFFFFFFu));
    MaskColour = ShadowColour = OutlineInnerColour = OutlineOuterColour = 0x123456;
    ResetColourChoices();
    EXPECT_EQ(std::vector({MaskColour, ShadowColour, OutlineInnerColour, OutlineOuterColour}),
              std::vector<uint32_t>({RGB(0, 0, 0), RGB(127, 127, 127), RGB(0, 0, 255), RGB(255, 255, 0)}));
}

TEST_F(PaletteTest, BadFilesAreRefusedOrStopWithTheEntriesReadSoFar) {
    EXPECT_EQ(LoadLines({"1 2 3"}, "jasc-pal"), Refused);
    EXPECT_EQ(Palette, defaults);
    for (const char* second : {"-1 0 0", "32768 0 0", "1 2", "the file ends"}) {
        Palette.fill(Untouched);
        std::vector<std::string> lines{"9 8 7", second};
        lines.resize(lines[1] == "the file ends" ? 1 : 256, "1 1 1");  // nothing behind a bad line is read
        EXPECT_EQ(LoadLines(lines), Failed) << second;
        EXPECT_EQ(std::pair(Palette[0], std::ranges::count(Palette, Untouched)), std::pair(RGB(9, 8, 7), 255L)) << second;
    }
}

// ---- palette files of other programs -----------------------------------------------------------------

std::vector<uint32_t> Rainbow(size_t count) {
    std::vector<uint32_t> colours;
    for (size_t i = 0; i < count; ++i) colours.push_back(RGB(int(i % 256), int(i * 3 % 256), int(255 - i % 200)));
    return colours;
}
std::string Text(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// JASC-PAL comes first and reads however long it is: here a version line of 1 MiB puts its colours past
// the size of any other palette file.
TEST_F(PaletteTest, EachFormatGivesItsColoursBlackBehindThemAndNoMoreThan256) {
    const std::string jasc = WriteJascPal(Rainbow(256));
    std::string big = jasc;
    big.insert(big.find('\n') + 1, std::string(MaxPaletteFileSize, 'v'));
    const struct { const char* name; std::string bytes; size_t count; } cases[] = {
        {"big.act", big, 256}, {"gimp.gpl", WriteGimpPal(Rainbow(16)), 16},
        {"short.pal", Text(WriteRiffPal(Rainbow(16))), 16}, {"long.pal", Text(WriteRiffPal(Rainbow(300))), 300},
        {"full.act", Text(WriteAct(Rainbow(256), false)), 256}, {"COUNTED.ACT", Text(WriteAct(Rainbow(16), true)), 16}};
    for (const auto& c : cases) {
        const PaletteResult result = LoadAny(c.name, c.bytes);
        ASSERT_EQ(LoadOf(result), Loaded) << c.name << ": " << result.Detail;
        std::vector<uint32_t> want = Rainbow(std::min<size_t>(c.count, 256));
        want.resize(256, 0);
        EXPECT_TRUE(std::ranges::equal(Palette, want)) << c.name;
    }
    // A JASC-PAL file that ends early keeps the colours read so far, in the same words as LoadPalette.
    const PaletteResult cut = LoadAny("cut.gpl", jasc.substr(0, jasc.size() / 2));
    EXPECT_EQ(std::pair(Palette[0], Palette[255]), std::pair(Rainbow(1)[0], Untouched));
    EXPECT_EQ(std::pair(LoadOf(cut), cut.Detail), std::pair(Failed, LoadPalette(dir / "cut.gpl").Detail));
}

TEST_F(PaletteTest, DamagedOrUnknownFilesLeaveThePaletteAlone) {
    Bytes riff = WriteRiffPal(Rainbow(16));
    auto patched = [&](size_t at, int32_t value) { Bytes b = riff; PutI32(b, at, value); return Text(b); };
    const std::string gimp = "GIMP Palette\n1 2 3\n", act = Text(WriteAct(Rainbow(256), false));
    const struct { const char* name; std::string bytes; Load state; } cases[] = {
        {"huge-chunk.pal", patched(16, -1), Failed}, {"version.pal", patched(32, 0x00100301), Failed},
        {"1000-colours.pal", patched(32, 0x03E80300), Failed}, {"300.act", Text(WriteAct(Rainbow(300), true)), Failed},
        {"256.gpl", gimp + "256 0 0\n", Failed}, {"glued.gpl", gimp + "1 2 3x\n", Failed}, {"769.act", act + "x", Refused},
        {"huge.gpl", gimp + std::string(MaxPaletteFileSize, '#'), Failed}, {"adobe.pal", act, Refused}};
    for (const auto& c : cases) {
        const PaletteResult result = LoadAny(c.name, c.bytes);
        EXPECT_EQ(std::pair(LoadOf(result), std::ranges::count(Palette, Untouched)), std::pair(c.state, 256L))
            << c.name << ": " << result.Detail;
        EXPECT_TRUE(c.state == Refused ? result.Detail == KnownPaletteFormats : result.File == dir / c.name) << c.name;
    }
}

}  // namespace
