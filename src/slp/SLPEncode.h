#pragma once
// The SLP encoder: frames given pixel by pixel, as a layer and a byte, back into an SLP file that the
// decoder reads to exactly these pixels. Every input of `brindle-cli encode` (an SLX bundle, a sheet,
// pictures) becomes FramePixels first, and only FramePixels reach the encoder.
//
// A row is written as its margins of transparent pixels at each end (a wholly transparent row as the
// blank mark), then the commands for what lies between: skips for transparent gaps, shadow runs,
// outline pixels and runs, and for colour and player pixels fills where one byte repeats and lists for
// the rest, each with the shortest length form that holds it; then the end-of-row byte. Frames whose
// pixels are identical share their outline and command tables.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Outcome.h"
#include "surface/cDIBSection.h"

// What a pixel is, as the decoder's mask surface tells it: Nothing is the 0 a row that ends short
// leaves behind its last drawn pixel, and can only stand at a row's end.
enum class PixelLayer : uint8_t { Nothing, Transparent, Colour, Player, Shadow, OutlineInner, OutlineOuter };

// One frame as the encoder takes it. Layers and Bytes hold Width x Height entries, row by row from the
// top; a byte is the palette index of a colour pixel and the player byte of a player pixel (the decoder
// draws palette[byte + 16 x team]); the other layers' bytes are not looked at.
struct FramePixels {
    int32_t Width = 0, Height = 0, HotspotX = 0, HotspotY = 0;
    std::vector<PixelLayer> Layers;
    std::vector<uint8_t> Bytes;
};

// The largest SLP file the encoder writes: its offsets are 32-bit signed.
inline constexpr int64_t MaxEncodedBytes = (int64_t{1} << 31) - 1;

// Encodes a sprite frame by frame, for inputs that read one frame at a time.
class SLPEncoder {
public:
    // A sprite of frameCount frames; maxBytes is the file size refused (tests give a small one).
    explicit SLPEncoder(int32_t frameCount, int64_t maxBytes = MaxEncodedBytes);

    // Adds the next frame. Refused (OutOfLimits or Damaged) with a detail naming the frame: a frame
    // past the count or the 32,766 frames a sprite holds, more than 8,192 rows, a width that doesn't
    // fit 16 bits signed, more pixels than Brindle draws, a Nothing pixel before a drawn one, a player
    // byte above 239, the file growing past maxBytes. After a refusal the encoder stays failed.
    Outcome Add(const FramePixels& frame);
    // The whole file, once every frame has been added.
    Outcome Finish(std::vector<uint8_t>& file);

private:
    Outcome Fail(Outcome outcome);
    bool ShareTablesOfEarlierFrame(size_t recordAt, int32_t width, int32_t height, size_t tablesAt, size_t end);

    int32_t count_;
    int64_t maxBytes_;
    int32_t added_ = 0;
    std::vector<uint8_t> bytes_;
    size_t used_ = 0;
    Outcome failed_;
    // Where each frame's own tables stand, and a hash of them, for frames drawn the same.
    struct Tables {
        int32_t Width, Height;
        size_t OutlineAt, StreamsAt, End;
    };
    std::unordered_multimap<uint64_t, Tables> tables_;  // by a hash of the outline table and streams
};

// Encodes all frames at once.
Outcome EncodeSLP(std::span<const FramePixels> frames, std::vector<uint8_t>& file, int64_t maxBytes = MaxEncodedBytes);

// Finds the palette index of a colour value: the lowest index at or above `from` that holds it.
class ColourLookup {
public:
    explicit ColourLookup(const std::array<uint32_t, 256>& palette);
    // The index, or -1 when no entry from `from` on holds the colour.
    int32_t Find(uint32_t colour, int32_t from = 0) const;

private:
    std::array<uint32_t, 256> sorted_;  // colour << 8 | index, ascending
};

// The layer of a mask surface's code (a colour value, red in the low byte), 0 being Nothing; false for
// a code that is no layer's. A sheet's layers picture holds the same codes.
bool LayerOfCode(uint32_t code, PixelLayer& layer);

// A decoded frame back into pixels: the layer from the mask surface's code, the byte from the image
// surface's colour looked up in the palette (a player pixel's index less 16 x player). Refused, naming
// the row and column: a code that is no layer, a colour the palette lacks; or surfaces of two sizes.
Outcome PixelsFromSurfaces(const cDIBSection& image, const cDIBSection& mask, const ColourLookup& palette, int32_t player,
                           FramePixels& pixels);
