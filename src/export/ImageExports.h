#pragma once
// A sprite exported for today's engines and editors: PNG with transparency, one frame or a numbered
// sequence on the common canvas, animated PNG and GIF, and a sprite sheet with its JSON. Every file
// is built in memory; a damaged frame fails the whole export, so that a caller writes nothing, unless
// the caller asks for the rest.

#include <cstdint>
#include <string>
#include <vector>

#include "base/Host.h"
#include "base/Outcome.h"
#include "export/Rgba.h"
#include "slp/SLPCodeNew.h"

enum class ImageFormat { Png, Apng, Gif, Sheet };

struct ImageExportOptions {
    RgbaOptions Rgba;
    int Fps = 10;         // animations and the sheet's durations
    int32_t Frame = 0;    // Png: this frame alone at its own size; 0 for the sequence on the canvas
    bool AllPlayers = false;  // Sheet: the frames once for each team, in place of Rgba.Player's alone
    bool SheetHash = false;   // Sheet: "frames" an object keyed by the frames' names, in place of a list
    bool SheetLayers = false; // Sheet: beside it a PNG of each pixel's layer, in the colours of the mask surface
    int Threads = 1;          // Png sequences and Apng: frames encoded on up to this many threads at once
};

// The widest and tallest sheet written, in pixels.
inline constexpr int32_t MaxSheetSide = 16384;

struct NamedFile {
    std::string Path;
    std::vector<uint8_t> Bytes;
};

// What the files take on disk together, for a caller that checks the space before it writes.
inline uint64_t BytesOf(const std::vector<NamedFile>& files) {
    uint64_t bytes = 0;
    for (const NamedFile& file : files) bytes += file.Bytes.size();
    return bytes;
}

// The names an export writes for the name `out` (base: `out` without its extension):
// Png of one frame: out. Png: base + "001.png", base + "002.png", ... Apng, Gif: out.
// Sheet: base + ".png" (out itself when it ends in .png, in any case), and base + ".json"; with
// SheetLayers then base + ".layers.png", the layers of the sheet's pixels at the same places, which the
// JSON's "meta" names as "layers". Its JSON names frame n "<base>_nnn", or with AllPlayers the frame of
// player p "<base>_p<p>_nnn".
std::vector<std::string> ImageExportNames(ImageFormat format, const ImageExportOptions& options, const std::string& out,
                                          int32_t frameCount);

// Whether a sheet can be written for the name `out`: it ends in .png or .json, in any case, or has no
// extension. Another one would stand for a file the sheet does not write.
bool SheetNameFits(const std::string& out);

// Builds the files of the export, in the order of ImageExportNames. notes gets what a caller should
// pass on although the export succeeded (colours a GIF frame had to merge). A damaged frame fails the
// export; given leftOut, it is left out instead (no file of its own, no frame of the animation, an
// empty cell of the sheet without a JSON entry) and its number noted there.
Outcome ExportImages(const SLPFile& sprite, ImageFormat format, const ImageExportOptions& options, const std::string& out,
                     std::vector<NamedFile>& files, std::vector<std::string>& notes, Host& host,
                     std::vector<int32_t>* leftOut = nullptr);

// A sheet's layout: each frame at its own size, in frame order, left to right in rows no wider than
// about the square root of their total area; none overlaps another.
struct SheetLayout {
    int32_t Width = 0, Height = 0;
    std::vector<std::pair<int32_t, int32_t>> Places;  // top left of each frame in the sheet
};
SheetLayout LayOutSheet(const std::vector<SLPFrameInfo>& frames);
// The sheet of every team: a row for each player from 1 to 8, as tall as the tallest frame, with the
// frames left to right in frame order. Places: player 1's frames, then player 2's, and so on.
SheetLayout LayOutTeamSheet(const std::vector<SLPFrameInfo>& frames);
