// The exports of a whole sprite: a BMP sequence on one canvas, and the SLX bundle.

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>

#include "RecordingHost.h"
#include "Writers.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "export/SLPExports.h"
#include "surface/cDIBSection.h"

using namespace fixtures;

namespace {

constexpr uint32_t M = 0x102030;  // MaskColour
using Export = Outcome (*)(const std::string&, const std::string&, Host&);

// Notes the frame on the scroll bar at each repaint of the window.
struct RepaintProbe : RecordingHost {
    std::vector<int16_t> RepaintedAt;
    void RepaintMainForm() override {
        RepaintedAt.push_back(ScrollValue);
        RecordingHost::RepaintMainForm();
    }
};

Bytes Bitmap(int32_t width, int32_t height, const std::vector<uint32_t>& pixels) {
    cDIBSection s;
    EXPECT_TRUE(s.Create(width, height));
    for (int32_t i = 0; i < width * height; ++i) s.SetPixelV(i % width, i / width, pixels[size_t(i)]);
    return s.EncodeBitmap();
}

Art Picture(int32_t width, std::vector<ArtPixel> pixels) {
    Art art(width, int32_t(pixels.size()) / width);
    art.Pixels = std::move(pixels);
    return art;
}

class ExportTest : public testing::Test {
protected:
    void SetUp() override {
        for (size_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), 7, 255 - int32_t(i));
        Palette[252] = 0xFF00FF;
        MaskColour = M, ShadowColour = 0x405060, OutlineInnerColour = 0x708090, OutlineOuterColour = 0xA0B0C0;
    }
    void TearDown() override {
        Palette = saved_;
        ResetColourChoices();
    }
    std::string Sprite(const std::vector<FrameFixture>& frames, std::string_view name = "sprite.slp") {
        WriteFileBytes(dir_ / name, WriteSprite(frames));
        return dir_ / name;
    }
    TempDir dir_;
    const std::array<uint32_t, 256> saved_ = Palette;
};

TEST_F(ExportTest, SequencePutsTheHotSpotsOfAllFramesOnOnePixel) {
    // Frame 1 has its hot spot at its top left pixel, frame 2 at the middle one of three.
    const Art one = Picture(2, {{Layer::Colour, 5}, {Layer::Shadow, 0}, {Layer::Colour, 7}, {Layer::Colour, 252}});
    const Art two = Picture(3, {{Layer::OutlineInner, 0}, {Layer::Player, 2}, {Layer::OutlineOuter, 0}});
    RecordingHost host;
    ASSERT_TRUE(ExportSequence(Sprite({EncodeFrame(one, 0, 0), EncodeFrame(two, 1, 0)}), dir_ / "walk", host));
    // Shadow keeps its code, outlines and the palette's 0xFF00FF go to MaskColour.
    EXPECT_EQ(ReadFileBytes(dir_ / "walk001.bmp"), Bitmap(3, 2, {M, Palette[5], 0x0000FF, M, Palette[7], M}));
    EXPECT_EQ(ReadFileBytes(dir_ / "walk002.bmp"), Bitmap(3, 2, {M, Palette[18], M, M, M, M}));
}

TEST_F(ExportTest, BothExportsReportProgressAndEndWithTheGateOn) {
    const struct { const char* Name; Export Run; std::string Status, LastFile; } cases[] = {
        {"sequence", ExportSequence, "Exporting to image sequence...", "walk012.bmp"},
        {"SLX", ExportSLX, "Exporting all frames...", "walk12c.bmp"},
    };
    const std::string slp = Sprite(std::vector<FrameFixture>(12, EncodeFrame(Art(1, 1))));
    std::vector<std::string> captions;
    std::vector<int16_t> values;
    for (int16_t i = 1; i <= 12; ++i) {
        captions.push_back("Saving frame " + std::to_string(i) + " of 12");
        values.push_back(i);
    }
    captions.push_back("");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        RepaintProbe host;
        host.EscapeHeld = true;  // changes nothing: an export can't be stopped
        ASSERT_TRUE(c.Run(slp, dir_ / "walk", host));
        EXPECT_EQ(host.PictureStatusHistory, captions);
        EXPECT_EQ(host.ScrollValueHistory, values);
        EXPECT_EQ(host.StatusHistory, (std::vector<std::string>{c.Status, ""}));
        EXPECT_EQ(host.RepaintedAt, (std::vector<int16_t>{5, 10}));
        EXPECT_EQ(host.GateHistory, (std::vector<bool>{false, true}));
        EXPECT_TRUE(std::filesystem::exists(dir_ / c.LastFile));
    }
}

TEST_F(ExportTest, FailuresAreOrderlyAndLeaveTheGateOn) {
    const std::string good = Sprite({EncodeFrame(Art(1, 1))});
    const std::string far = Sprite({EncodeFrame(Art(1, 1), INT32_MAX, INT32_MAX),
                                    EncodeFrame(Art(1, 1), -INT32_MAX, -INT32_MAX)}, "far.slp");
    const struct { const char* Name; Export Run; std::string Slp, Base; } cases[] = {
        {"sequence into a missing folder", ExportSequence, good, dir_ / "no/such/walk"},
        {"SLX into a missing folder", ExportSLX, good, dir_ / "no/such/walk"},
        {"sequence of a missing sprite", ExportSequence, dir_ / "missing.slp", dir_ / "walk"},
        {"SLX of a missing sprite", ExportSLX, dir_ / "missing.slp", dir_ / "walk"},
        {"sequence on a canvas of 2^32 columns", ExportSequence, far, dir_ / "far"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        RecordingHost host;
        EXPECT_FALSE(c.Run(c.Slp, c.Base, host));
        EXPECT_TRUE(host.GateOn);
    }
}

TEST_F(ExportTest, SLXListsTheFramesAndKeepsBothSurfacesAsDecoded) {
    const Art first = Picture(6, {{Layer::Colour, 5}, {Layer::Player, 3}, {Layer::Shadow, 0}, {Layer::OutlineInner, 0},
                                  {Layer::OutlineOuter, 0}, {Layer::Transparent, 0}, {Layer::Colour, 252},
                                  {}, {}, {}, {}, {}});
    std::vector<FrameFixture> frames{EncodeFrame(first, -3, 12), EncodeFrame(Art(1, 1), 5, -1)};
    frames.resize(10, EncodeFrame(Art(1, 1)));
    RecordingHost host;
    ASSERT_TRUE(ExportSLX(Sprite(frames), dir_ / "walk", host));
    std::string want = "SLX 0.5\r\n10\r\n-3,12\r\nwalk1d.bmp\r\nwalk1c.bmp\r\n5,-1\r\nwalk2d.bmp\r\nwalk2c.bmp\r\n";
    for (int i = 3; i <= 10; ++i)
        want += "0,0\r\nwalk" + std::to_string(i) + "d.bmp\r\nwalk" + std::to_string(i) + "c.bmp\r\n";
    const Bytes text = ReadFileBytes(dir_ / "walk.slx");
    EXPECT_EQ(std::string(text.begin(), text.end()), want);
    // No colour choice reaches a bundle.
    EXPECT_EQ(ReadFileBytes(dir_ / "walk1c.bmp"), Bitmap(6, 2, ExpectedImage(first, Palette)));
    EXPECT_EQ(ReadFileBytes(dir_ / "walk1d.bmp"), Bitmap(6, 2, ExpectedMask(first)));
    EXPECT_EQ(ReadFileBytes(dir_ / "walk10d.bmp"), Bitmap(1, 1, {0xFF00FF}));
}

}  // namespace
