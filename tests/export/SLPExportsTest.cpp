// The exports of a whole sprite: a BMP sequence on one canvas, and the SLX bundle.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "RecordingHost.h"
#include "Writers.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "export/SLPExports.h"
#include "shell/Functions.h"

using namespace fixtures;

namespace {

constexpr uint32_t M = 0x102030;  // MaskColour
using Export = Outcome (*)(const std::string&, const std::string&, Host&);

struct ExportTest : testing::Test {
    void SetUp() override {
        for (size_t i = 0; i < 256; ++i) Palette[i] = i == 252 ? 0xFF00FF : RGB(int32_t(i), 7, 255 - int32_t(i));
        MaskColour = M, ShadowColour = 0x405060, OutlineInnerColour = 0x708090, OutlineOuterColour = 0xA0B0C0;
    }
    std::string Sprite(const std::vector<FrameFixture>& frames, std::string_view name = "sprite.slp") {
        WriteFileBytes(dir_ / name, WriteSprite(frames));
        return dir_ / name;
    }
    TempDir dir_;
};

TEST_F(ExportTest, SequencePutsTheHotSpotsOfAllFramesOnOnePixel) {
    // Frame 1 has its hot spot at its top left pixel, frame 2 at the middle one of three.
    Art one(2, 2), two(3, 1);
    one.Pixels = {{Layer::Colour, 5}, {Layer::Shadow, 0}, {Layer::Colour, 7}, {Layer::Colour, 252}};
    two.Pixels = {{Layer::OutlineInner, 0}, {Layer::Player, 2}, {Layer::OutlineOuter, 0}};
    RecordingHost host;
    host.EscapeFromAsk = 0;  // changes nothing: an export can't be stopped
    ASSERT_TRUE(ExportSequence(Sprite({EncodeFrame(one, 0, 0), EncodeFrame(two, 1, 0)}), dir_ / "walk", host));
    // Shadow keeps its code, outlines and the palette's 0xFF00FF go to MaskColour.
    EXPECT_EQ(ReadFileBytes(dir_ / "walk001.bmp"), BitmapOf(3, {M, Palette[5], 0x0000FF, M, Palette[7], M}));
    EXPECT_EQ(ReadFileBytes(dir_ / "walk002.bmp"), BitmapOf(3, {M, Palette[18], M, M, M, M}));
}

// Frames are drawn ahead on canvases that take turns: each file must still hold its own frame.
TEST_F(ExportTest, EveryFileOfALongSequenceHoldsItsOwnFrame) {
    std::vector<FrameFixture> frames;
    for (uint8_t i = 0; i < 9; ++i) {
        Art art(1, 1);
        art.At(0, 0) = {Layer::Colour, uint8_t(10 + i)};
        frames.push_back(EncodeFrame(art));
    }
    RecordingHost host;
    ASSERT_TRUE(ExportSequence(Sprite(frames), dir_ / "walk", host));
    for (int32_t i = 1; i <= 9; ++i) EXPECT_EQ(ReadFileBytes(dir_ / ("walk" + PadFrameNumber(i) + ".bmp")), BitmapOf(1, {Palette[size_t(9 + i)]})) << i;
}

TEST_F(ExportTest, BothExportsReportProgressAndEndWithTheGateOn) {
    std::vector<std::string> captions;
    for (int i = 1; i <= 12; ++i) captions.push_back("Saving frame " + std::to_string(i) + " of 12");
    captions.push_back("");
    const std::pair<Export, std::string> cases[] = {
        {ExportSequence, "Exporting to image sequence..."}, {ExportSLX, "Exporting all frames..."}};
    for (const auto& [run, status] : cases) {
        SCOPED_TRACE(status);
        RecordingHost host;
        ASSERT_TRUE(run(Sprite(std::vector<FrameFixture>(12, EncodeFrame(Art(1, 1)))), dir_ / "walk", host));
        EXPECT_EQ(host.PictureStatusHistory, captions);
        EXPECT_EQ(host.ScrollValueHistory, (std::vector<int16_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
        EXPECT_EQ(host.StatusHistory, (std::vector<std::string>{status, ""}));
        EXPECT_EQ(std::tuple(host.RepaintedAt, host.GateHistory, host.EscapeAsks),
                  std::tuple(std::vector<int16_t>{5, 10}, std::vector{false, true}, 0));
    }
}

TEST_F(ExportTest, FailuresAreOrderlyAndLeaveTheGateOn) {
    const std::string good = Sprite({EncodeFrame(Art(1, 1))}), missing = dir_ / "missing.slp";
    const std::string walk = dir_ / "walk", nowhere = dir_ / "no/such/walk";
    const std::string far = Sprite({EncodeFrame(Art(1, 1), INT32_MAX, INT32_MAX),  // a canvas of 2^32 columns
                                    EncodeFrame(Art(1, 1), -INT32_MAX, -INT32_MAX)}, "far.slp");
    const std::tuple<Export, std::string, std::string> cases[] = {
        {ExportSequence, good, nowhere}, {ExportSLX, good, nowhere},
        {ExportSequence, missing, walk}, {ExportSLX, missing, walk}, {ExportSequence, far, walk}};
    for (const auto& [run, slp, base] : cases) {
        SCOPED_TRACE(slp + " to " + base);
        RecordingHost host;
        EXPECT_FALSE(run(slp, base, host));
        EXPECT_TRUE(host.GateOn);
    }
}

TEST_F(ExportTest, SLXListsTheFramesAndKeepsBothSurfacesAsDecoded) {
    Art first(6, 2);
    first.Pixels = {{Layer::Colour, 5}, {Layer::Player, 3}, {Layer::Shadow, 0}, {Layer::OutlineInner, 0},
                    {Layer::OutlineOuter, 0}, {}, {Layer::Colour, 252}, {}, {}, {}, {}, {}};
    std::vector<FrameFixture> frames{EncodeFrame(first, -3, 12), EncodeFrame(Art(1, 1), 5, -1)};
    frames.resize(10, EncodeFrame(Art(1, 1)));
    RecordingHost host;
    host.EscapeFromAsk = 0;  // changes nothing: an export can't be stopped
    ASSERT_TRUE(ExportSLX(Sprite(frames), dir_ / "walk", host));
    std::string want = "SLX 0.5\r\n10\r\n-3,12\r\nwalk1d.bmp\r\nwalk1c.bmp\r\n5,-1\r\nwalk2d.bmp\r\nwalk2c.bmp\r\n";
    for (int i = 3; i <= 10; ++i)
        want += "0,0\r\nwalk" + std::to_string(i) + "d.bmp\r\nwalk" + std::to_string(i) + "c.bmp\r\n";
    EXPECT_EQ(ReadFileBytes(dir_ / "walk.slx"), Bytes(want.begin(), want.end()));
    // No colour choice reaches a bundle.
    EXPECT_EQ(ReadFileBytes(dir_ / "walk1c.bmp"), BitmapOf(6, ExpectedImage(first, Palette)));
    EXPECT_EQ(ReadFileBytes(dir_ / "walk1d.bmp"), BitmapOf(6, ExpectedMask(first)));
    EXPECT_EQ(ReadFileBytes(dir_ / "walk10d.bmp"), BitmapOf(1, {0xFF00FF}));
}

// A frame damaged halfway is written as far as it decodes, the rows behind the damage black, and the
// export goes on to the end before it reports. The files agree: the bundle lists every frame it
// counts, and every bitmap it names exists.
TEST_F(ExportTest, ADamagedFrameIsWrittenAsFarAsItGoesAndTheExportGoesOn) {
    Art plain(2, 2);
    for (ArtPixel& pixel : plain.Pixels) pixel = {Layer::Colour, 5};
    SpriteLayout at;
    const Bytes good = WriteSprite({EncodeFrame(plain), EncodeFrame(plain), EncodeFrame(plain)}, "2.0N", "", &at);
    const auto row2 = size_t(at.RowStreamAt[1][1]);
    constexpr size_t Frame2 = 64;  // frame 2's record
    const uint32_t P = Palette[5], C = LayerColour;
    cDIBSection nothing;
    nothing.Create(0, 0);
    // Image and Mask: frame 2 of the bundle; Canvas: frame 2 of the sequence.
    const struct { const char* Name; std::function<void(Bytes&)> Damage; Bytes Image, Mask, Canvas; } cases[] = {
        {"row 2 damaged", [&](Bytes& b) { b[row2] = 0x1A, b[row2 + 1] = 240; }, BitmapOf(2, {P, P, 0, 0}),
         BitmapOf(2, {C, C, 0, 0}), BitmapOf(2, {P, P, 0, 0})},
        {"outline table outside the file", [&](Bytes& b) { PutI32(b, Frame2 + 4, INT32_MAX); }, BitmapOf(2, {0, 0, 0, 0}),
         BitmapOf(2, {0, 0, 0, 0}), BitmapOf(2, {0, 0, 0, 0})},
        {"taller than Brindle draws", [&](Bytes& b) { PutI32(b, Frame2 + 20, MaxFrameRows + 1); }, nothing.EncodeBitmap(),
         nothing.EncodeBitmap(), BitmapOf(2, std::vector<uint32_t>(2 * (MaxFrameRows + 1), M))},
    };
    const std::string list = "SLX 0.5\r\n3\r\n0,0\r\nwalk1d.bmp\r\nwalk1c.bmp\r\n0,0\r\nwalk2d.bmp\r\nwalk2c.bmp\r\n"
                             "0,0\r\nwalk3d.bmp\r\nwalk3c.bmp\r\n";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        const TempDir out;  // no file of an earlier case counts
        Bytes bytes = good;
        c.Damage(bytes);
        const std::string slp = out / "damaged.slp";
        WriteFileBytes(slp, bytes);
        RecordingHost host;
        const Outcome bundle = ExportSLX(slp, out / "walk", host);
        EXPECT_FALSE(bundle);
        EXPECT_NE(bundle.Detail.find("frame 2"), std::string::npos) << bundle.Detail;
        EXPECT_EQ(ReadFileBytes(out / "walk.slx"), Bytes(list.begin(), list.end()));
        EXPECT_EQ(ReadFileBytes(out / "walk2c.bmp"), c.Image);
        EXPECT_EQ(ReadFileBytes(out / "walk2d.bmp"), c.Mask);
        EXPECT_EQ(ReadFileBytes(out / "walk3c.bmp"), BitmapOf(2, {P, P, P, P}));

        EXPECT_FALSE(ExportSequence(slp, out / "seq", host));
        EXPECT_EQ(ReadFileBytes(out / "seq002.bmp"), c.Canvas);
        EXPECT_EQ(ReadFileBytes(out / "seq003.bmp"), ReadFileBytes(out / "seq001.bmp"));
        EXPECT_TRUE(host.GateOn);
    }
}

// A bitmap that can't be created ends a bundle; its text then counts and lists only the frames written.
TEST_F(ExportTest, ABundleCutShortListsTheFramesItHas) {
    const std::string slp = Sprite(std::vector<FrameFixture>(3, EncodeFrame(Art(1, 1))));
    std::filesystem::create_directory(dir_ / "walk2d.bmp");  // in the way of frame 2's mask
    RecordingHost host;
    EXPECT_FALSE(ExportSLX(slp, dir_ / "walk", host));
    const std::string list = "SLX 0.5\r\n1\r\n0,0\r\nwalk1d.bmp\r\nwalk1c.bmp\r\n";
    EXPECT_EQ(ReadFileBytes(dir_ / "walk.slx"), Bytes(list.begin(), list.end()));
}

}  // namespace
