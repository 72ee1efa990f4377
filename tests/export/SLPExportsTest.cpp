// The exports of a whole sprite: a BMP sequence on one canvas, and the SLX bundle.

#include <gtest/gtest.h>

#include "base/Functions.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "export/SLPExports.h"
#include "RecordingHost.h"
#include "Writers.h"

using namespace fixtures;

namespace {

constexpr uint32_t M = 0x102030;  // MaskColour
using Export = Outcome (*)(const std::string&, const std::string&, Host&);

struct ExportTest : testing::Test {
    void SetUp() override {
        for (size_t i = 0; i < 256; ++i) Palette[i] = i == 252 ? 0xFF00FF : RGB(int32_t(i), 7, 255 - int32_t(i));
        MaskColour = M, ShadowColour = 0x405060, OutlineInnerColour = 0x708090, OutlineOuterColour = 0xA0B0C0;
    }
    Bytes Read(const std::string& name) const { return ReadFileBytes(dir_ / name); }
    TempDir dir_;
};

// Frame 1 has its hot spot at its top left pixel, frame 2 a row above the middle one of three; frames
// 3 to 12 are a pixel each, every one its own colour, for frames are drawn ahead on surfaces that take
// turns. ESC is down all along and changes nothing: an export can't be stopped.
TEST_F(ExportTest, BothExportsWriteEveryFrameReportProgressAndEndWithTheGateOn) {
    std::vector<Art> arts{Art(2, 2), Art(3, 1)};
    arts[0].Pixels = {{Layer::Colour, 5}, {Layer::Shadow, 0}, {Layer::Colour, 7}, {Layer::Colour, 252}};
    arts[1].Pixels = {{Layer::OutlineInner, 0}, {Layer::Player, 2}, {Layer::OutlineOuter, 0}};
    std::vector<FrameFixture> frames{EncodeFrame(arts[0], 0, 0), EncodeFrame(arts[1], 1, -1)};
    // The sequence's canvases: shadow keeps its code, outlines and the palette's 0xFF00FF go to MaskColour.
    std::vector<std::vector<uint32_t>> canvases{{M, Palette[5], 0x0000FF, M, Palette[7], M}, {M, M, M, M, Palette[18], M}};
    std::vector<std::string> captions;
    std::string list = "SLX 0.5\r\n12\r\n";
    for (int i = 1; i <= 12; ++i) {
        if (i > 2) {
            arts.emplace_back(1, 1).At(0, 0) = {Layer::Colour, uint8_t(9 + i)};
            frames.push_back(EncodeFrame(arts.back()));
            canvases.push_back({M, Palette[size_t(9 + i)], M, M, M, M});
        }
        captions.push_back("Saving frame " + std::to_string(i) + " of 12");
        list += (i == 2 ? "1,-1\r\nwalk" : "0,0\r\nwalk") + std::to_string(i) + "d.bmp\r\nwalk" + std::to_string(i) + "c.bmp\r\n";
    }
    captions.push_back("");
    WriteFileBytes(dir_ / "sprite.slp", WriteSprite(frames));
    const std::pair<Export, std::string> cases[] = {
        {ExportSequence, "Exporting to image sequence..."}, {ExportSLX, "Exporting all frames..."}};
    for (const auto& [run, status] : cases) {
        SCOPED_TRACE(status);
        RecordingHost host;
        host.EscapeFromAsk = 0;
        ASSERT_TRUE(run(dir_ / "sprite.slp", dir_ / "walk", host));
        EXPECT_EQ(host.ScrollValueHistory, (std::vector<int16_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
        EXPECT_EQ(std::tuple(host.PictureStatusHistory, host.StatusHistory, host.RepaintedAt, host.GateHistory, host.EscapeAsks),
                  std::tuple(captions, std::vector<std::string>{status, ""}, std::vector<int16_t>{5, 10},
                             std::vector{false, true}, 0));
    }
    // The bundle: hot spots and both surfaces as decoded, whatever the colours chosen.
    EXPECT_EQ(Read("walk.slx"), BytesOf(list));
    for (int32_t i = 1; i <= 12; ++i) {
        const Art& art = arts[size_t(i - 1)];
        EXPECT_EQ(Read("walk" + PadFrameNumber(i) + ".bmp"), BitmapOf(3, canvases[size_t(i - 1)])) << i;
        EXPECT_EQ(Read("walk" + std::to_string(i) + "c.bmp"), BitmapOf(art.Width, ExpectedImage(art, Palette))) << i;
        EXPECT_EQ(Read("walk" + std::to_string(i) + "d.bmp"), BitmapOf(art.Width, ExpectedMask(art))) << i;
    }
}

// A frame damaged halfway is written as far as it decodes, the rows behind the damage black, and the
// export goes on to the end before it reports. The files agree: the bundle lists every frame it
// counts, and every bitmap it names exists.
TEST_F(ExportTest, ADamagedFrameIsWrittenAsFarAsItGoesAndTheExportGoesOn) {
    Art plain(2, 2);
    for (ArtPixel& pixel : plain.Pixels) pixel = {Layer::Colour, 5};
    SpriteLayout at;
    Bytes damaged = WriteSprite(std::vector<FrameFixture>(3, EncodeFrame(plain)), "2.0N", "", &at), tall = damaged;
    const auto row2 = size_t(at.RowStreamAt[1][1]);
    damaged[row2] = 0x1A, damaged[row2 + 1] = 240;
    PutI32(tall, 64 + 20, MaxFrameRows + 1);  // frame 2's record starts at 64
    const uint32_t P = Palette[5], C = LayerColour;
    const Bytes none = [] { cDIBSection empty; empty.Create(0, 0); return empty.EncodeBitmap(); }();
    // Image and Mask: frame 2 of the bundle; Canvas: frame 2 of the sequence.
    const struct { const char* Name; Bytes Sprite, Image, Mask, Canvas; } cases[] = {
        {"row 2 damaged", damaged, BitmapOf(2, {P, P, 0, 0}), BitmapOf(2, {C, C, 0, 0}), BitmapOf(2, {P, P, 0, 0})},
        {"taller than Brindle draws", tall, none, none, BitmapOf(2, std::vector<uint32_t>(2 * (MaxFrameRows + 1), M))},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        const TempDir out;  // no file of an earlier case counts
        auto read = [&](const std::string& name) { return ReadFileBytes(out / name); };
        WriteFileBytes(out / "damaged.slp", c.Sprite);
        RecordingHost host;
        const Outcome bundle = ExportSLX(out / "damaged.slp", out / "walk", host);
        const Outcome sequence = ExportSequence(out / "damaged.slp", out / "seq", host);
        EXPECT_EQ(std::tuple(bool(bundle), bundle.Detail.starts_with("frame 2: "), bool(sequence), host.GateOn),
                  std::tuple(false, true, false, true));
        EXPECT_EQ(read("walk.slx"), BytesOf("SLX 0.5\r\n3\r\n0,0\r\nwalk1d.bmp\r\nwalk1c.bmp\r\n0,0\r\nwalk2d.bmp\r\nwalk2c.bmp\r\n"
                                         "0,0\r\nwalk3d.bmp\r\nwalk3c.bmp\r\n"));
        EXPECT_EQ(std::tuple(read("walk2c.bmp"), read("walk2d.bmp"), read("walk3c.bmp")),
                  std::tuple(c.Image, c.Mask, BitmapOf(2, {P, P, P, P})));
        EXPECT_EQ(std::tuple(read("seq002.bmp"), read("seq003.bmp")), std::tuple(c.Canvas, read("seq001.bmp")));
    }
}

}  // namespace
