#pragma once
// Sprites drawn in today's editors back into frames for the SLP encoder: a sprite sheet with its JSON
// (as `export --format sheet` writes it), or PNG files, one a frame.
//
// A sheet with a layers picture (`--layers`) tells each pixel's layer by its colour there, as an SLX
// bundle's mask does, wherever the sheet's pixel still looks like that layer (opaque for a colour,
// black and translucent for a shadow, transparent for the rest); a pixel painted over in an editor goes
// by its own colour. Without layers, and for PNG files, each pixel's layer comes from its RGBA value:
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
#include <cstddef>
#include <cstdint>
#include <span>
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

// What reading pictures found beside the frames: the pixels placed in a layer other than their own
// colour says, or drawn in the nearest colour; the pixels of a sheet painted over in an editor, so that
// they no longer look like their layer in the layers picture, which were read by their own colour
// instead; and the picture files read, which a caller must not write over.
struct PictureReport {
    int64_t Inexact = 0;
    int64_t Repainted = 0;
    std::vector<std::string> Files;
};

// The most pixels all frames of one input may hold together: those of the largest sheet read.
inline constexpr int64_t MaxInputPixels = int64_t{1} << 26;

// The largest sheet JSON read: a sheet of the most frames a sprite holds takes a few MiB.
inline constexpr size_t MaxSheetJsonBytes = size_t{64} << 20;

// Whether text is a sheet's JSON: an object holding "frames" and "meta". Its first character is '{'
// after any white space, which tells it from the other inputs of the encoder.
bool IsSheetJson(std::span<const uint8_t> text);

// The frames of the sheet whose JSON is `json`, its PNG (and layers PNG) in folder (ending in '/', or
// empty for the current one) under the plain file names the JSON's "meta" gives. Frames go in the
// JSON's order; of a sheet of every team (names "..._p2_001"), those of rules.Player. A frame's hot
// spot is its "hotspot", or else where its pivot falls. A refusal of a picture names it in File.
Outcome FramesFromSheet(std::span<const uint8_t> json, const std::string& folder, const PictureRules& rules,
                        std::vector<FramePixels>& frames, PictureReport& report);

// One frame from a PNG file, trimmed to the box of its pixels that are not transparent; the hot spot
// (x, y) on the file's canvas moves with the trim. A picture of nothing keeps one transparent pixel.
Outcome FrameFromPng(std::span<const uint8_t> png, int32_t hotspotX, int32_t hotspotY, const PictureRules& rules,
                     FramePixels& frame, PictureReport& report);

// One frame a PNG file, in the order given, as FrameFromPng makes them; firstBytes, when given, are the
// first file's, which a caller read already to tell what it is.
Outcome FramesFromPictures(const std::vector<std::string>& paths, int32_t hotspotX, int32_t hotspotY, const PictureRules& rules,
                           std::vector<FramePixels>& frames, PictureReport& report, std::span<const uint8_t> firstBytes = {});

// The layer and byte of each pixel of picture by the rules above, or, given layers (a picture of the
// same size), by the layer colours there; x, y, width, height: the part of picture that is the frame.
Outcome PixelsFromPicture(const RgbaPicture& picture, const RgbaPicture* layers, int32_t x, int32_t y, int32_t width, int32_t height,
                          const PictureRules& rules, FramePixels& frame, PictureReport& report);
