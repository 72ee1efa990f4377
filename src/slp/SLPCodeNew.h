#pragma once
// SLP sprites: the reader of the header and frame table, and the frame decoder.
//
// File layout (little-endian, offsets from the start of the file):
//   0    32 bytes              SLPHeader
//   32   32 bytes x NumFrames  SLPFrameInfo
//   anywhere behind:           per frame an outline table and a command table of Height entries of
//                              4 bytes each, and one command stream per row.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/Host.h"
#include "base/Outcome.h"
#include "colour/Colours.h"
#include "surface/cDIBSection.h"

// Layer codes, as the decoder writes them to the mask surface.
inline constexpr uint32_t LayerTransparent = 0xFF00FF;
inline constexpr uint32_t LayerColour = 0xFFFFFF;
inline constexpr uint32_t LayerPlayer = 0x00FF00;
inline constexpr uint32_t LayerShadow = 0x0000FF;
inline constexpr uint32_t LayerOutlineInner = 0xFF0000;
inline constexpr uint32_t LayerOutlineOuter = 0x00FFFF;

// Limits set by the 16-bit counters of the reader and the decoder.
inline constexpr int32_t MaxFrames = 32766;
inline constexpr int32_t MaxFrameRows = 8192;
inline constexpr int32_t MaxFrameWidth = 32767;

// The largest SLP file the reader takes into memory.
inline constexpr size_t MaxSLPFileBytes = size_t{64} << 20;

inline constexpr int16_t BlankRowMark = -32768;  // Left of a row without data (0x8000)

struct SLPHeader {
    std::array<char, 4> Version{};
    int32_t NumFrames = 0;
    std::array<char, 24> Comment{};
};

struct SLPFrameInfo {
    int32_t CommandTableOffset = 0;
    int32_t OutlineTableOffset = 0;
    int32_t PaletteOffset = 0;
    int32_t Properties = 0;
    int32_t Width = 0;
    int32_t Height = 0;
    int32_t HotspotX = 0;
    int32_t HotspotY = 0;
};

// An SLP file held in memory: ReadSLPHeaders reads it once, the decoder reads tables and streams from it.
struct SLPFile {
    std::string Path;
    std::vector<uint8_t> Bytes;
};

// Reads the file at path, its header and its frame table. frames[0] is frame 1.
// Refuses a file shorter than its header or frame table, and NumFrames outside 1 to MaxFrames.
Outcome ReadSLPHeaders(const std::string& path, SLPFile& file, SLPHeader& header, std::vector<SLPFrameInfo>& frames);
// The same for bytes already in file.Bytes.
Outcome ParseSLPHeaders(const SLPFile& file, SLPHeader& header, std::vector<SLPFrameInfo>& frames);

// How a decode ended, by its Code: None when every row was drawn; Escaped when ESC ended it and Damaged
// when the frame runs out of range, the rows before complete either way.
using DecodeResult = Outcome;

// Decodes one frame into image (colours) and mask (layer codes), both created at the frame's size.
// With allowEscape the host's ESC key is asked at the start of every row. The image surface gets the
// palette's colours for colour pixels, the band of team colours.Player (1 to 8; others are taken as
// the nearest) for player pixels, and `colours` for the other layers; a player byte whose colour lies
// past the end of the palette damages the frame. When ESC or damage ends the decode, the rows before
// are complete and the rest stay black (0); a frame larger than the limits leaves both surfaces empty.
DecodeResult DecodeSLPFrame(const SLPFile& file, const SLPFrameInfo& frame, cDIBSection& image, cDIBSection& mask,
                            bool allowEscape, Host& host, const LayerColours& colours = DecodedColours);
// The same with a palette of the caller's instead of Palette, such as one whose colours an export
// maps on the way.
DecodeResult DecodeSLPFrame(const SLPFile& file, const SLPFrameInfo& frame, cDIBSection& image, cDIBSection& mask,
                            bool allowEscape, Host& host, const LayerColours& colours,
                            const std::array<uint32_t, 256>& palette);

// Sets columns first to last of one row, both included; first above last sets nothing.
void DrawPixelRun(cDIBSection& dc, int32_t first, int32_t last, int32_t row, uint32_t colour);
