#pragma once
// Sprites as RGBA pictures, for the formats of today's engines and editors. One mapping serves them
// all, from the decoder's layer codes (the mask surface) and its colours (the image surface):
//
//   LayerTransparent                    0, 0, 0, alpha 0
//   LayerColour, LayerPlayer            the palette colour the decoder drew (player pixels in the
//                                       team colours of Player), alpha 255
//   LayerShadow                         black, alpha ShadowAlpha (0 leaves shadows out)
//   LayerOutlineInner, LayerOutlineOuter left out (alpha 0); with Outlines, opaque in the screen's
//                                       start colours: inner pure blue, outer yellow

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/Host.h"
#include "base/Outcome.h"
#include "export/SLPExports.h"
#include "slp/SLPCodeNew.h"

struct RgbaOptions {
    int ShadowAlpha = 128;  // 0 to 255
    bool Outlines = false;
    int32_t Player = FirstPlayer;  // 1 to 8
};

// R, G, B, A bytes, rows from the top, no padding.
struct RgbaPicture {
    int32_t Width = 0;
    int32_t Height = 0;
    std::vector<uint8_t> Pixels;

    void Resize(int32_t width, int32_t height);  // all transparent
    uint8_t* Row(int32_t y) { return Pixels.data() + size_t(y) * size_t(Width) * 4; }
    const uint8_t* Row(int32_t y) const { return Pixels.data() + size_t(y) * size_t(Width) * 4; }
};

// The frame as decoded (image in DecodedColours, mask in layer codes), mapped to RGBA.
void MapToRgba(const cDIBSection& image, const cDIBSection& mask, const RgbaOptions& options, RgbaPicture& picture);

// The mask surface as an opaque picture of its layer codes: magenta transparent, white colour, green
// player, red shadow, blue inner and yellow outer outline, black where a decode drew nothing.
void MapLayers(const cDIBSection& mask, RgbaPicture& picture);

// Decodes frame number (from 1) of the sprite into picture at the frame's own size, and, given layers,
// its layers as MapLayers draws them. Damage is a failure: a frame is written whole or not at all.
Outcome DecodeRgbaFrame(const SLPFile& sprite, const std::vector<SLPFrameInfo>& frames, int32_t number,
                        const RgbaOptions& options, RgbaPicture& picture, Host& host, RgbaPicture* layers = nullptr);

// Each frame in turn, placed on the common canvas (bounds from CheckedCanvas) where "Save as image
// sequence" places it, the rest of the canvas transparent. Stops at the first damaged frame, or, given
// leftOut, leaves it out and notes its number there; and at the first failure of `use`.
Outcome ForEachCanvasFrame(const SLPFile& sprite, const std::vector<SLPFrameInfo>& frames, const CanvasBounds& bounds,
                           const RgbaOptions& options, Host& host,
                           const std::function<Outcome(int32_t number, const RgbaPicture& canvas)>& use,
                           std::vector<int32_t>* leftOut = nullptr);

// The largest thumbnail made, in pixels a side.
inline constexpr int32_t MaxThumbnailSide = 4096;

// A thumbnail of the sprite: its first frame in RGBA, scaled by the largest whole factor that fits
// size x size, nearest neighbour, so that pixel art stays sharp; a frame larger than that is shrunk to
// fit, nearest neighbour too. Fails for a frame that is damaged or has no pixels.
Outcome MakeThumbnail(const SLPFile& sprite, int32_t size, RgbaPicture& thumbnail, Host& host);
