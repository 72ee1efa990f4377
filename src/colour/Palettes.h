#pragma once
// The one palette of the program, and what fills it: the default palette and JASC-PAL files, and for
// the window's second filter and brindle-cli the palette files of other programs as well.

#include <array>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "base/Outcome.h"

// A colour value: red in bits 0-7, green in 8-15, blue in 16-23, the rest 0.
constexpr uint32_t RGB(int32_t red, int32_t green, int32_t blue) {
    auto clamp = [](int32_t c) { return static_cast<uint32_t>(c < 0 ? 0 : c > 255 ? 255 : c); };
    return clamp(red) | clamp(green) << 8 | clamp(blue) << 16;
}

extern std::array<uint32_t, 256> Palette;

// The default palette as the program carries it: 256 groups "R G B", divided by commas.
extern const std::string_view DefaultPaletteText;

// What the window shows, and brindle-cli says, for a file refused as no palette.
inline constexpr std::string_view NotValidPaletteMessage = "Not valid palette file!";

// How a palette load ended, by its Code:
// - None: loaded.
// - NotThisKind: not a palette file (for LoadPalette, not JASC-PAL); Palette is untouched. The caller
//   shows NotValidPaletteMessage.
// - any other: it could not be read to the end. The entries read so far stay; the caller tells the user.
//   (LoadAnyPalette: a damaged file of one of the other formats leaves Palette untouched.)
using PaletteResult = Outcome;

// Empty FileName: the default palette. Otherwise the path of a JASC-PAL file.
PaletteResult LoadPalette(const std::string& FileName);
// A JASC-PAL file read from a stream, such as brindle-cli's standard input; name stands for it in details.
PaletteResult LoadPalette(std::istream& in, const std::string& name);

// The formats that LoadAnyPalette reads, in one line; the Detail of its refusal.
extern const std::string_view KnownPaletteFormats;

// No palette file of any format comes near this; LoadAnyPalette reads no more of a file than this.
inline constexpr size_t MaxPaletteFileSize = size_t{1} << 20;

// A palette file of any format Brindle knows, told by its content. JASC-PAL comes first, read exactly as
// LoadPalette reads it; then a RIFF PAL file ("RIFF" ... "PAL " with a "data" chunk) and a GIMP palette
// (first line "GIMP Palette"); last an Adobe colour table, which has no signature: a name ending in
// ".act" and a size of 768 bytes, or of 772 with a big-endian colour count and a transparent index
// behind the colours. Fewer than 256 colours leave the rest black, more are cut at 256.
// A file of none of these is refused as NotThisKind, its Detail KnownPaletteFormats.
// A damaged file of the other formats, or one larger than MaxPaletteFileSize, fails and leaves Palette
// as it was.
PaletteResult LoadAnyPalette(const std::string& FileName);
// The same from a stream; name stands for it in details and tells an Adobe colour table by its ending.
PaletteResult LoadAnyPalette(std::istream& in, const std::string& name);
