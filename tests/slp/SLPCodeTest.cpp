// ShowImage on its two roads, the window and a BMP file, with the recolouring by layer.

#include <gtest/gtest.h>

#include <algorithm>

#include "RecordingHost.h"
#include "Writers.h"
#include "colour/Palettes.h"
#include "slp/SLPCode.h"

using namespace fixtures;

namespace {

constexpr uint32_t Mask = 0x102030, Shadow = 0x405060, Inner = 0x708090, Outer = 0xA0B0C0;

// Notes the pointer while the decoder asks for ESC.
struct DecodeProbe : RecordingHost {
    bool BusyInDecode = false;
    bool IsEscapeDown() override {
        BusyInDecode = Busy;
        return RecordingHost::IsEscapeDown();
    }
};

class ShowImageTest : public testing::Test {
protected:
    void SetUp() override {
        for (size_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), 7, 255 - int32_t(i));
        Palette[252] = 0xFF00FF;
        MaskColour = Mask, ShadowColour = Shadow, OutlineInnerColour = Inner, OutlineOuterColour = Outer;
        // Frame 2: every layer along the top row; below, a colour whose palette entry is 0xFF00FF.
        Art two(6, 2);
        const ArtPixel top[] = {{Layer::Colour, 5}, {Layer::Player, 3}, {Layer::Shadow, 0},
                                {Layer::OutlineInner, 0}, {Layer::OutlineOuter, 0}, {Layer::Transparent, 0}};
        std::copy(std::begin(top), std::end(top), two.Pixels.begin());
        two.At(0, 1) = {Layer::Colour, 252};
        WriteFileBytes(path_, WriteSprite({EncodeFrame(Art(1, 1)), EncodeFrame(two), EncodeFrame(Art(4, 3))}));
    }
    void TearDown() override {
        Palette = saved_;
        ResetColourChoices();
    }
    std::vector<uint32_t> Recoloured() const {
        return {Palette[5], Palette[19], Shadow, Inner, Outer, Mask, 0xFF00FF, Mask, Mask, Mask, Mask, Mask};
    }
    TempDir dir_;
    std::string path_ = dir_ / "sprite.slp";
    const std::array<uint32_t, 256> saved_ = Palette;
};

TEST_F(ShowImageTest, ShowsTheFrameRecolouredOnTheWindow) {
    DecodeProbe host;
    ASSERT_TRUE(ShowImage(path_, 2, false, "", host));
    EXPECT_EQ(host.PictureStatusHistory, (std::vector<std::string>{"Loading image...", "Showing frame 2 of 3"}));
    EXPECT_TRUE(host.BusyInDecode);
    EXPECT_FALSE(host.Busy);
    EXPECT_EQ(host.GateHistory, (std::vector<bool>{false, true}));
    EXPECT_EQ(std::pair(host.ScrollMax, host.ScrollValue), std::pair(int16_t{3}, int16_t{2}));
    EXPECT_EQ(host.PictureSource, path_);
    EXPECT_EQ(std::pair(host.PictureWidth, host.PictureHeight), std::pair(6, 2));
    EXPECT_EQ(std::tuple(host.Paints, host.LastPaintedWidth, host.LastPaintedHeight), std::tuple(1, 6, 2));
    EXPECT_EQ(host.LastPainted, Recoloured());
}

TEST_F(ShowImageTest, EscapeShowsTheRowsDecodedSoFar) {
    RecordingHost host;
    host.EscapeFromAsk = 1;
    ASSERT_TRUE(ShowImage(path_, 2, false, "", host));
    std::vector<uint32_t> want = Recoloured();
    std::fill(want.begin() + 6, want.end(), 0);  // 0 is no layer: the row stays black
    EXPECT_EQ(host.LastPainted, want);
    EXPECT_EQ(host.PictureStatusText, "Showing frame 2 of 3");
    EXPECT_TRUE(host.GateOn);
}

TEST_F(ShowImageTest, SavingWritesTheRecolouredFrameAndLeavesTheWindowAlone) {
    DecodeProbe host;
    ASSERT_TRUE(ShowImage(path_, 2, true, dir_ / "out.bmp", host));
    cDIBSection want;
    ASSERT_TRUE(want.Create(6, 2));
    for (int32_t i = 0; i < 12; ++i) want.SetPixelV(i % 6, i / 6, Recoloured()[size_t(i)]);
    EXPECT_EQ(ReadFileBytes(dir_ / "out.bmp"), want.EncodeBitmap());
    EXPECT_TRUE(host.PictureStatusHistory.empty() && host.GateHistory.empty() && host.ScrollValueHistory.empty());
    EXPECT_EQ(std::tuple(host.BusyInDecode, host.Paints, host.PictureSource, host.PictureWidth),
              std::tuple(false, 0, "", 0));
}

TEST_F(ShowImageTest, UnreadableSpritesAndUncreatableFilesFail) {
    RecordingHost host;
    WriteFileBytes(dir_ / "short.slp", Bytes(20, 0));
    EXPECT_FALSE(ShowImage(dir_ / "missing.slp", 1, false, "", host));
    EXPECT_FALSE(ShowImage(dir_ / "short.slp", 1, false, "", host));
    EXPECT_FALSE(ShowImage(path_, 1, true, dir_ / "no/such/folder.bmp", host));
}

}  // namespace
