// brindle-cli encode: a bundle back into a sprite, and the command line's rules for it.

#include "CliFixture.h"

#include "export/ImageFiles.h"
#include "export/PngReader.h"
#include "slp/SLPCodeNew.h"

namespace fixtures {
namespace {

TEST_F(CliTest, EncodeMakesTheSpriteABundleHoldsToAFileOrStandardOutput) {
    ASSERT_EQ(Shell("mkdir -p b && \"$BRINDLE_CLI\" slx walk.slp b/walk.slx").Code, 0);
    const CliResult made = Shell("\"$BRINDLE_CLI\" encode b/walk.slx out/again.slp && \"$BRINDLE_CLI\" encode b/walk.slx - > std.slp");
    ASSERT_EQ(made.Code, 0) << made.Err;
    EXPECT_EQ(made.Err, "");
    (void)LoadPalette("");
    const Bytes again = ReadFileBytes(dir / "out/again.slp");
    EXPECT_EQ(DecodedDifference(DecodeFrames(again), DecodeFrames(ReadFileBytes(dir / "walk.slp"))), "");
    EXPECT_EQ(ReadFileBytes(dir / "std.slp"), again);

    // Anything else is told apart by its content, whatever its name.
    WriteFileBytes(dir / "walk.slx", ReadFileBytes(dir / "walk.slp"));
    const CliResult other = Run("encode walk.slx out/x.slp");
    EXPECT_EQ(other.Code, 1);
    EXPECT_TRUE(other.SaysInOneLine("encode: walk.slx: is not a kind of file encode reads; it reads SLX bundles")) << other.Err;
    EXPECT_TRUE(NamesUnder(dir / "out").empty());
}

// A sheet with its layers comes back exactly; PNG files by their colours, each trimmed around the hot
// spot given, with a line counting the pixels drawn in a colour the palette lacks.
TEST_F(CliTest, EncodeReadsSheetsAndPictures) {
    ASSERT_EQ(Shell("mkdir -p s && \"$BRINDLE_CLI\" export walk.slp s/walk --format sheet --layers").Code, 0);
    const CliResult sheet = Run("encode s/walk.json out/sheet.slp");
    ASSERT_EQ(sheet.Code, 0) << sheet.Err;
    (void)LoadPalette("");
    const std::vector<DecodedFrame> walk = DecodeFrames(ReadFileBytes(dir / "walk.slp"));
    EXPECT_EQ(DecodedDifference(DecodeFrames(ReadFileBytes(dir / "out/sheet.slp")), walk), "");
    const CliResult over = Run("encode s/walk.json s/walk.layers.png");
    EXPECT_TRUE(over.Code == 1 && over.SaysInOneLine("encode: s/walk.layers.png: is one of the input files; nothing written")) << over.Err;

    // Frame 2 as a PNG on the canvas of the sequence (hot spot at (2, 1), the frame from (1, 0)), its
    // colour pixel then painted a shade off: the frame comes back trimmed to its pixels, with the hot
    // spot moved along, that pixel in the nearest colour.
    ASSERT_EQ(Shell("\"$BRINDLE_CLI\" export walk.slp p.png --format png").Code, 0);
    Bytes png = ReadFileBytes(dir / "p002.png");
    RgbaPicture picture;
    ASSERT_TRUE(ReadPng(png, picture));
    picture.Row(1)[4 * 2 + 1] ^= 1;  // green
    ASSERT_TRUE(EncodePng(picture, png));
    WriteFileBytes(dir / "edited.png", png);
    const CliResult pictures = Run("encode p001.png edited.png out/p.slp --hotspot 2,1");
    ASSERT_EQ(pictures.Code, 0) << pictures.Err;
    EXPECT_TRUE(pictures.SaysInOneLine("encode: p001.png: 1 pixels were not exact")) << pictures.Err;
    std::vector<FramePixels> back;
    ASSERT_EQ(DecodeFrames(ReadFileBytes(dir / "out/p.slp"), &back).size(), 2u);
    using L = PixelLayer;
    EXPECT_EQ(std::tuple(back[1].Width, back[1].Height, back[1].HotspotX, back[1].HotspotY, back[1].Layers, back[1].Bytes[3], back[1].Bytes[2]),
              std::tuple(3, 3, 0, 1, std::vector<L>{L::Transparent, L::Transparent, L::Player, L::Colour, L::Transparent, L::Transparent,
                                                  L::Transparent, L::Shadow, L::Transparent},
                         40, 2));
    const CliResult mixed = Run("encode p001.png - out/mixed.slp");  // standard input is no frame among files
    EXPECT_TRUE(mixed.Code == 2 && mixed.SaysInOneLine("encode: - (standard input) comes alone")) << mixed.Err;
}

TEST_F(CliTest, EncodeWritesNothingWhenItFailsNorOverItsInputsOrWithNoClobber) {
    // A bundle of one frame of 8,193 rows, past what a sprite holds.
    cDIBSection tall;
    ASSERT_TRUE(tall.Create(1, 8193));
    for (int32_t y = 0; y < 8193; ++y) tall.SetPixelV(0, y, LayerTransparent);
    WriteFileBytes(dir / "tall1d.bmp", tall.EncodeBitmap());
    WriteFileBytes(dir / "tall1c.bmp", tall.EncodeBitmap());
    WriteFileText(dir / "tall.slx", "SLX 0.5\r\n1\r\n0,0\r\ntall1d.bmp\r\ntall1c.bmp\r\n");
    const CliResult refused = Run("encode tall.slx out/tall.slp");
    EXPECT_EQ(refused.Code, 1);
    EXPECT_TRUE(refused.SaysInOneLine("encode: tall.slx: frame 1: 8,193 rows; a frame has at most 8,192")) << refused.Err;
    EXPECT_TRUE(NamesUnder(dir / "out").empty());

    ASSERT_EQ(Shell("mkdir -p b && \"$BRINDLE_CLI\" slx walk.slp b/walk.slx").Code, 0);
    const Bytes bitmap = ReadFileBytes(dir / "b/walk2c.bmp");
    const CliResult over = Run("encode b/walk.slx b/walk2c.bmp");
    EXPECT_EQ(over.Code, 1);
    EXPECT_TRUE(over.SaysInOneLine("encode: b/walk2c.bmp: is one of the input files; nothing written")) << over.Err;
    EXPECT_EQ(ReadFileBytes(dir / "b/walk2c.bmp"), bitmap);

    WriteFileText(dir / "kept.slp", "mine");
    const CliResult kept = Run("encode -n b/walk.slx kept.slp");
    EXPECT_EQ(kept.Code, 0);
    EXPECT_TRUE(kept.SaysInOneLine("kept.slp: exists; kept as it is (--no-clobber)")) << kept.Err;
    EXPECT_EQ(ReadFileText(dir / "kept.slp"), "mine");
}

}  // namespace
}  // namespace fixtures
