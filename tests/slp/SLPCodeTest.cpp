// ShowImage on the window, with the recolouring by layer.

#include <gtest/gtest.h>

#include <algorithm>

#include "colour/Palettes.h"
#include "RecordingHost.h"
#include "slp/SLPCode.h"
#include "Writers.h"

using namespace fixtures;

namespace {

constexpr uint32_t Mask = 0x102030, Shadow = 0x405060, Inner = 0x708090, Outer = 0xA0B0C0;

struct DecodeProbe : RecordingHost {  // notes whether the pointer is busy while the decoder asks for ESC
    bool BusyInDecode = false;
    bool IsEscapeDown() override { BusyInDecode = Busy; return RecordingHost::IsEscapeDown(); }
};

struct ShowImageTest : testing::Test {
    void SetUp() override {
        for (size_t i = 0; i < 256; ++i) Palette[i] = i == 252 ? 0xFF00FF : RGB(int32_t(i), 7, 255 - int32_t(i));
        MaskColour = Mask, ShadowColour = Shadow, OutlineInnerColour = Inner, OutlineOuterColour = Outer;
        // Frame 2: every layer along the top row; below, a colour whose palette entry is 0xFF00FF.
        Art two(6, 2);
        two.Pixels = {{Layer::Colour, 5}, {Layer::Player, 3}, {Layer::Shadow, 0}, {Layer::OutlineInner, 0},
                      {Layer::OutlineOuter, 0}, {}, {Layer::Colour, 252}, {}, {}, {}, {}, {}};
        WriteFileBytes(path_, WriteSprite({EncodeFrame(Art(1, 1)), EncodeFrame(two), EncodeFrame(Art(4, 3))}));
    }
    // Frame 2 recoloured, as a BMP file; the rows behind those kept stay black, for 0 is no layer.
    static Bytes Recoloured(size_t rowsKept) {
        std::vector<uint32_t> pixels{Palette[5], Palette[19], Shadow, Inner, Outer, Mask, 0xFF00FF, Mask, Mask, Mask, Mask, Mask};
        std::fill(pixels.begin() + long(6 * rowsKept), pixels.end(), 0);
        return BitmapOf(6, pixels);
    }
    TempDir dir_;
    std::string path_ = dir_ / "sprite.slp";
};

// A refused sprite shown after it is the one on show all the same, with none of the frames of the one before.
TEST_F(ShowImageTest, ShowsTheFrameRecolouredOnTheWindowAsFarAsEscapeAndThenARefusedSprite) {
    WriteFileBytes(dir_ / "refused.slp", Bytes(20, 0));  // shorter than a header
    for (auto [escapeFromAsk, rowsKept, asks] : {std::tuple{-1, size_t{2}, 2}, {1, 1, 2}, {0, 0, 1}}) {
        SCOPED_TRACE(escapeFromAsk);
        DecodeProbe host;
        host.EscapeFromAsk = escapeFromAsk;
        ASSERT_TRUE(ShowImage(path_, 2, false, "", host));
        EXPECT_EQ(host.PictureStatusHistory, (std::vector<std::string>{"Loading image...", "Showing frame 2 of 3"}));
        EXPECT_EQ(std::tuple(host.EscapeAsks, host.BusyInDecode, host.Busy, host.ScrollMax, host.ScrollValue,
                             host.PictureSource, host.PictureWidth, host.PictureHeight, host.Paints, host.GateHistory),
                  std::tuple(asks, true, false, int16_t{3}, int16_t{2}, path_, 6, 2, 1, std::vector{false, true}));
        EXPECT_EQ(host.LastPainted, Recoloured(rowsKept));
        EXPECT_FALSE(ShowImage(dir_ / "refused.slp", 1, false, "", host));
        EXPECT_EQ(std::tuple(host.PictureSource, host.ScrollMax, host.ScrollValue, host.GateOn, host.Busy, host.Paints),
                  std::tuple(dir_ / "refused.slp", int16_t{1}, int16_t{1}, false, false, 1));
    }
}

}  // namespace
