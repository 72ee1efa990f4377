#pragma once
// SLX bundles read back: the "SLX 0.5" text that ExportSLX writes and, per frame, its layer bitmap
// ("d.bmp") and colour bitmap ("c.bmp") beside it. A pixel's layer comes from its code in the layer
// bitmap, 0 included (what a row that ends short leaves); a colour or player pixel's byte from its
// colour looked up in the palette the bundle was made with; hot spots from the text. So a bundle
// encodes back to a sprite that decodes to exactly what it holds.
//
// A reader of files from anywhere: the text and each bitmap are read whole up to a limit, names
// are file names alone (never a folder, so a bundle reaches nothing outside its own folder), every
// refusal is one sentence that names the line or the frame.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/Outcome.h"
#include "slp/SLPEncode.h"

// The first line of a bundle's text, which tells one by its content.
inline constexpr std::string_view SLXFirstLine = "SLX 0.5";

// No bundle's text comes near this: 2 + 3 x 32,766 short lines.
inline constexpr size_t MaxSLXTextBytes = size_t{4} << 20;

struct SLXFrameLines {
    int32_t HotspotX = 0, HotspotY = 0;
    std::string MaskName, ImageName;  // file names in the text's folder
};

// The frames the text lists, in order.
using SLXListing = std::vector<SLXFrameLines>;

// Reads the text. NotThisKind unless its first line is "SLX 0.5"; Damaged or OutOfLimits, naming the
// line, for a count that isn't 1 to 32,766, a line missing, a hot spot that isn't two 32-bit numbers,
// a name that isn't a file name alone, lines beyond the frames listed. Lines may end in CR LF or LF.
Outcome ParseSLXText(std::span<const uint8_t> text, SLXListing& listing);

// One frame from the bytes of its two bitmaps: both must be of one size. Player pixels are read as
// drawn in `player`'s team (16 x player on in the palette).
Outcome ReadSLXFrame(std::span<const uint8_t> maskFile, std::span<const uint8_t> imageFile, const SLXFrameLines& lines,
                     const ColourLookup& palette, int32_t player, FramePixels& frame);

// The whole bundle whose text lies in folder (which ends in '/', or is empty for the current one),
// encoded as an SLP file: each frame's bitmaps read, turned into pixels and handed to the encoder in turn.
Outcome EncodeSLXBundle(const SLXListing& listing, const std::string& folder, const std::array<uint32_t, 256>& palette,
                        int32_t player, std::vector<uint8_t>& slp);
