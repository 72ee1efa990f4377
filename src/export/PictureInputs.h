#pragma once
// Sprites drawn in today's editors back into frames for the SLP encoder: a sprite sheet with its JSON
// (as `export --format sheet` writes it), or PNG files, one a frame.
//
// A sheet with a layers picture (`--layers`) tells each pixel's layer by its colour there, as an SLX
// bundle's mask does. Without one, and for PNG files, each pixel's layer comes from its RGBA value:
//
//   alpha 0                                  transparent
//   black, alpha 1 to 254                    shadow
//   opaque pure blue, pure yellow            inner, outer outline (with Outlines; else colours)
//   opaque, a colour of the player's band    player pixel, its byte the index less 16 x player
//   (palette 16 x player to 16 x player + 7)
//   opaque, any other colour                 colour pixel, the palette index of that colour
//   any other alpha                          from 128 as if opaque, below it transparent
//
// A colour the palette lacks takes the nearest one, by the sum of the squares of the differences of
// red, green and blue (the lowest index of those as near); such pixels, and those of another alpha,
// are counted as not exact.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "base/Outcome.h"
#include "export/Rgba.h"
#include "slp/SLPEncode.h"

struct PictureRules {
    std::array<uint32_t, 256> Palette{};  // colour values, red in the low byte
    int32_t Player = 1;                   // the team whose colours player pixels are drawn in, 1 to 8
    bool Outlines = false;
};

// Pixels placed in a layer other than their own colour says, or drawn in the nearest colour.
struct PictureReport {
    int64_t Inexact = 0;
};

// The most pixels all frames of one input may hold together: those of the largest sheet read.
inline constexpr int64_t MaxInputPixels = int64_t{1} << 26;

// The frames of the sheet whose JSON is at jsonPath, its PNG (and layers PNG) beside it as the JSON's
// "meta" names them. Frames go in the JSON's order; of a sheet of every team (names "..._p2_001"),
// those of rules.Player. A frame's hot spot is its "hotspot", or else where its pivot falls.
Outcome FramesFromSheet(const std::string& jsonPath, const PictureRules& rules, std::vector<FramePixels>& frames,
                        PictureReport& report);

// One frame a PNG file, in the order given, each trimmed to the box of its pixels that are not
// transparent; the hot spot (x, y) on each file's canvas moves with the trim.
Outcome FramesFromPictures(const std::vector<std::string>& paths, int32_t hotspotX, int32_t hotspotY, const PictureRules& rules,
                           std::vector<FramePixels>& frames, PictureReport& report);

// The layer and byte of each pixel of picture by the rules above, or, given layers (a picture of the
// same size), by the layer colours there; x, y, width, height: the part of picture that is the frame.
Outcome PixelsFromPicture(const RgbaPicture& picture, const RgbaPicture* layers, int32_t x, int32_t y, int32_t width, int32_t height,
                          const PictureRules& rules, FramePixels& frame, PictureReport& report);
