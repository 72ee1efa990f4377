// Pictures drawn in today's editors, as encode reads them: with an even first byte the rest is one PNG
// file, read and turned into a frame by the rules of its colours; with an odd one it is a sprite sheet,
// its JSON, its picture and its layers picture one after the other, parted by a line "#####", written
// beside each other as s.json, s.png and s.layers.png. Whatever frames come out are encoded.
//
// Pictures are kept to 256 pixels a side here, so that an input runs in well under its second: the
// readers' own bounds are those of the largest sheet, and the tests hold them.

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "colour/Palettes.h"
#include "export/PictureInputs.h"
#include "export/PngReader.h"
#include "FuzzSupport.h"
#include "slp/SLPEncode.h"

namespace {

constexpr uint32_t MaxSide = 256;

// Whether a PNG file's header asks for more than MaxSide pixels a side.
bool TooLarge(std::string_view png) {
    if (png.size() < 24) return false;
    const auto side = [&](size_t at) {
        return uint32_t(uint8_t(png[at])) << 24 | uint32_t(uint8_t(png[at + 1])) << 16 | uint32_t(uint8_t(png[at + 2])) << 8 | uint8_t(png[at + 3]);
    };
    return side(16) > MaxSide || side(20) > MaxSide;
}

void Encode(const std::vector<FramePixels>& frames) {
    std::vector<uint8_t> file;
    (void)EncodeSLP(frames, file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    static const bool loaded = LoadPalette("").Ok();
    (void)loaded;
    const PictureRules rules{Palette, 1 + data[0] / 2 % 8, (data[0] & 2) != 0};
    PictureReport report;
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::vector<FramePixels> frames;
    if ((data[0] & 1) == 0) {
        if (TooLarge(rest)) return 0;
        RgbaPicture picture;
        const auto* bytes = reinterpret_cast<const uint8_t*>(rest.data());
        if (!ReadPng(std::span(bytes, rest.size()), picture)) return 0;
        if (PixelsFromPicture(picture, nullptr, 0, 0, picture.Width, picture.Height, rules, frames.emplace_back(), report)) Encode(frames);
        return 0;
    }
    constexpr std::string_view Parting = "\n#####\n";
    const size_t first = rest.find(Parting), second = first == rest.npos ? rest.npos : rest.find(Parting, first + Parting.size());
    const std::string_view json = rest.substr(0, first);
    const std::string_view png = first == rest.npos ? std::string_view() : rest.substr(first + Parting.size(), second - first - Parting.size());
    const std::string_view layers = second == rest.npos ? std::string_view() : rest.substr(second + Parting.size());
    if (TooLarge(png) || TooLarge(layers)) return 0;
    const auto write = [](const char* name, std::string_view part) {
        return fuzzing::WriteInput(name, reinterpret_cast<const uint8_t*>(part.data()), part.size());
    };
    write("s.png", png);
    write("s.layers.png", layers);
    const auto* text = reinterpret_cast<const uint8_t*>(json.data());
    if (FramesFromSheet(std::span(text, json.size()), fuzzing::ScratchFolder(), rules, frames, report)) Encode(frames);
    return 0;
}
