#pragma once
// The one palette of the program, and what fills it: the default palette and JASC-PAL files.

#include <array>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "shell/Host.h"

// A colour value: red in bits 0-7, green in 8-15, blue in 16-23, the rest 0.
constexpr uint32_t RGB(int32_t red, int32_t green, int32_t blue) {
    auto clamp = [](int32_t c) { return static_cast<uint32_t>(c < 0 ? 0 : c > 255 ? 255 : c); };
    return clamp(red) | clamp(green) << 8 | clamp(blue) << 16;
}

extern std::array<uint32_t, 256> Palette;

// The default palette as the program carries it: 256 groups "R G B", divided by commas.
extern const std::string_view DefaultPaletteText;

enum class PaletteLoad {
    Loaded,
    Refused,  // not a JASC-PAL file: "Not valid palette file!" has been shown, Palette is untouched
    Failed,   // could not be read to the end: the entries read so far stay; the caller tells the user
};

struct [[nodiscard]] PaletteResult {
    PaletteLoad State = PaletteLoad::Loaded;
    std::string Detail;
};

// Empty FileName: the default palette. Otherwise the path of a JASC-PAL file.
PaletteResult LoadPalette(const std::string& FileName, Host& host);
// A JASC-PAL file read from a stream, such as brindle-cli's standard input; name stands for it in details.
PaletteResult LoadPalette(std::istream& in, const std::string& name, Host& host);
