// brindle-cli encode: a bundle back into a sprite, and the command line's rules for it.

#include "CliFixture.h"

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
