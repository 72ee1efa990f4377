#include "export/PictureInputs.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "base/Files.h"
#include "base/Functions.h"
#include "colour/Colours.h"
#include "export/PngReader.h"

namespace {

// A PNG file read whole: the largest picture read, stored, fits in this.
constexpr size_t MaxPngFileBytes = size_t{512} << 20;

constexpr uint32_t ColourOf(const uint8_t* rgba) { return uint32_t{rgba[0]} | uint32_t{rgba[1]} << 8 | uint32_t{rgba[2]} << 16; }

// Palette indexes of colours, exact or nearest, each colour looked up once.
class Colours {
public:
    explicit Colours(const PictureRules& rules) : rules_(rules), lookup_(rules.Palette) {}

    // The index of colour from `from` on; nearest when no entry holds it, and then exact is false.
    uint8_t IndexOf(uint32_t colour, int32_t from, bool& exact) {
        const uint64_t key = uint64_t{colour} << 8 | uint32_t(from);
        if (const auto known = cache_.find(key); known != cache_.end()) {
            exact = known->second.second;
            return known->second.first;
        }
        int32_t index = lookup_.Find(colour, from);
        exact = index >= 0;
        if (index < 0) index = Nearest(colour, from);
        cache_[key] = {uint8_t(index), exact};
        return uint8_t(index);
    }
    // The player byte of colour when it is one of the band of rules.Player; -1 when not.
    int32_t PlayerByteOf(uint32_t colour) {
        const int32_t band = 16 * rules_.Player;
        bool exact = false;
        const int32_t index = IndexOf(colour, band, exact);
        return exact && index < band + 8 ? index - band : -1;
    }

private:
    int32_t Nearest(uint32_t colour, int32_t from) const {
        int32_t best = from;
        for (int32_t i = from + 1; i < 256; ++i)
            if (ColourDistance(colour, rules_.Palette[size_t(i)]) < ColourDistance(colour, rules_.Palette[size_t(best)])) best = i;
        return best;
    }

    const PictureRules& rules_;
    ColourLookup lookup_;
    std::unordered_map<uint64_t, std::pair<uint8_t, bool>> cache_;
};

// Whether a sheet's pixel is what an export draws for a pixel of that layer: transparent (alpha 0) for
// transparent pixels, outlines and rows that ended early, or opaque outlines in their colours; black
// below full alpha for a shadow; opaque for colour and player pixels. One that isn't has been painted
// over in an editor, and its own colour tells what it is.
bool Fits(PixelLayer layer, const uint8_t* p) {
    const uint32_t colour = ColourOf(p);
    const uint8_t alpha = p[3];
    switch (layer) {
    case PixelLayer::Colour:
    case PixelLayer::Player: return alpha == 255;
    case PixelLayer::Shadow: return colour == 0 && alpha != 255;
    case PixelLayer::OutlineInner: return alpha == 0 || (alpha == 255 && colour == 0xFF0000);
    case PixelLayer::OutlineOuter: return alpha == 0 || (alpha == 255 && colour == 0x00FFFF);
    default: return alpha == 0;
    }
}

// One pixel by the rules of its RGBA value.
void ByRules(const uint8_t* p, const PictureRules& rules, Colours& colours, PixelLayer& layer, uint8_t& byte, PictureReport& report) {
    const uint32_t colour = ColourOf(p);
    const uint8_t alpha = p[3];
    byte = 0;
    if (alpha == 0) {
        layer = PixelLayer::Transparent;
        return;
    }
    if (alpha != 255) {
        if (colour == 0) {
            layer = PixelLayer::Shadow;
            return;
        }
        ++report.Inexact;
        if (alpha < 128) {
            layer = PixelLayer::Transparent;
            return;
        }
    }
    if (rules.Outlines && alpha == 255 && (colour == 0xFF0000 || colour == 0x00FFFF)) {
        layer = colour == 0xFF0000 ? PixelLayer::OutlineInner : PixelLayer::OutlineOuter;
        return;
    }
    if (const int32_t player = colours.PlayerByteOf(colour); player >= 0) {
        layer = PixelLayer::Player;
        byte = uint8_t(player);
        return;
    }
    bool exact = true;
    layer = PixelLayer::Colour;
    byte = colours.IndexOf(colour, 0, exact);
    if (!exact && alpha == 255) ++report.Inexact;
}

Outcome ReadPngFile(const std::string& path, RgbaPicture& picture, PictureReport& report) {
    report.Files.push_back(path);
    std::vector<uint8_t> bytes;
    if (Outcome read = ReadWholeFile(path, MaxPngFileBytes, bytes); !read) return read;
    Outcome decoded = ReadPng(bytes, picture);
    if (!decoded) decoded.File = path;
    return decoded;
}

Outcome Refused(Fault code, const std::string& file, const std::string& detail) {
    Outcome outcome = Outcome::Failure(code, detail);
    outcome.File = file;
    return outcome;
}

// Member `key` of `of` when it is an object holding a number of at most a billion either way.
bool RealOf(const nlohmann::ordered_json& of, const char* key, double& value) {
    const auto at = of.is_object() ? of.find(key) : of.end();
    if (at == of.end() || !at->is_number()) return false;
    value = at->get<double>();
    return std::isfinite(value) && std::abs(value) <= 1e9;
}
// The same, to the nearest whole number.
bool NumberOf(const nlohmann::ordered_json& of, const char* key, int64_t& value) {
    double real = 0;
    if (!RealOf(of, key, real)) return false;
    value = std::llround(real);
    return true;
}

// A frame's hot spot: its "hotspot" as Brindle writes it, or else where its "pivot" (a fraction of the
// untrimmed frame, "sourceSize") stands on the frame's own rectangle ("spriteSourceSize"); else (0, 0).
void HotspotOf(const nlohmann::ordered_json& entry, int32_t& x, int32_t& y) {
    int64_t hx = 0, hy = 0, sx = 0, sy = 0, w = 0, h = 0;
    double px = 0, py = 0;
    const auto member = [&](const char* key) { return entry.contains(key) ? entry[key] : nlohmann::ordered_json(); };
    if (!NumberOf(member("hotspot"), "x", hx) || !NumberOf(member("hotspot"), "y", hy)) {
        hx = hy = 0;
        if (RealOf(member("pivot"), "x", px) && RealOf(member("pivot"), "y", py) && NumberOf(member("sourceSize"), "w", w) &&
            NumberOf(member("sourceSize"), "h", h)) {
            NumberOf(member("spriteSourceSize"), "x", sx), NumberOf(member("spriteSourceSize"), "y", sy);
            hx = std::llround(px * double(w)) - sx, hy = std::llround(py * double(h)) - sy;
        }
    }
    x = int32_t(std::clamp<int64_t>(hx, INT32_MIN, INT32_MAX));
    y = int32_t(std::clamp<int64_t>(hy, INT32_MIN, INT32_MAX));
}

// A file the JSON names beside itself: a plain file name, never a path that leaves the JSON's folder.
bool BesideName(const nlohmann::ordered_json& meta, const char* key, const std::string& folder, std::string& path) {
    const auto at = meta.find(key);
    if (at == meta.end() || !at->is_string()) return false;
    const std::string name = at->get<std::string>();
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos || name.find('\0') != std::string::npos) return false;
    path = folder + name;
    return true;
}

// The player of a team sheet's frame name, "..._p3_001" giving 3; 0 for the name of another sheet.
int32_t TeamOf(const std::string& name) {
    const size_t p = name.rfind("_p");
    if (p == std::string::npos || p + 4 > name.size() || name[p + 2] < '1' || name[p + 2] > '8' || name[p + 3] != '_') return 0;
    const std::string number = name.substr(p + 4);
    if (number.empty() || !std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; })) return 0;
    return name[p + 2] - '0';
}

// The frame entries of the JSON, list or object, with their names.
std::vector<std::pair<std::string, const nlohmann::ordered_json*>> EntriesOf(const nlohmann::ordered_json& list) {
    std::vector<std::pair<std::string, const nlohmann::ordered_json*>> entries;
    if (list.is_object()) {
        for (const auto& [name, entry] : list.items()) entries.emplace_back(name, &entry);
    } else if (list.is_array()) {
        for (const auto& entry : list) {
            const auto name = entry.is_object() ? entry.find("filename") : entry.end();
            entries.emplace_back(name != entry.end() && name->is_string() ? name->get<std::string>() : std::string(), &entry);
        }
    }
    return entries;
}

}  // namespace

Outcome PixelsFromPicture(const RgbaPicture& picture, const RgbaPicture* layers, int32_t x, int32_t y, int32_t width, int32_t height,
                          const PictureRules& rules, FramePixels& frame, PictureReport& report) {
    if (x < 0 || y < 0 || width < 0 || height < 0 || int64_t{x} + width > picture.Width || int64_t{y} + height > picture.Height ||
        (layers && (layers->Width != picture.Width || layers->Height != picture.Height))) {
        return Outcome::Failure(Fault::Damaged, "a frame lies outside its picture");
    }
    frame.Width = width, frame.Height = height;
    frame.Layers.assign(size_t(width) * size_t(height), PixelLayer::Transparent);
    frame.Bytes.assign(frame.Layers.size(), 0);
    Colours colours(rules);
    // Pixels come in runs: one alike the pixel before it takes that one's layer and byte.
    uint64_t last = UINT64_MAX;
    int64_t lastInexact = 0, lastRepainted = 0;
    for (int32_t row = 0; row < height; ++row) {
        const uint8_t* p = picture.Row(y + row) + 4 * size_t(x);
        const uint8_t* code = layers ? layers->Row(y + row) + 4 * size_t(x) : nullptr;
        for (int32_t column = 0; column < width; ++column, p += 4) {
            const size_t at = size_t(row) * size_t(width) + size_t(column);
            PixelLayer& layer = frame.Layers[at];
            uint8_t& byte = frame.Bytes[at];
            const uint32_t codeColour = code ? ColourOf(code + 4 * size_t(column)) : 0;
            const uint64_t pixel = uint64_t{codeColour} << 32 | (ColourOf(p) | uint32_t{p[3]} << 24);
            if (pixel == last) {
                layer = frame.Layers[at - 1], byte = frame.Bytes[at - 1];  // at - 1: the run goes on within the frame
                report.Inexact += lastInexact, report.Repainted += lastRepainted;
                continue;
            }
            const int64_t inexact = report.Inexact, repainted = report.Repainted;
            if (code && !LayerOfCode(codeColour, layer)) {
                return Outcome::Failure(Fault::Damaged, "the layers picture's pixel (" + std::to_string(x + column) + ", " +
                                                            std::to_string(y + row) + ") is the colour of no layer");
            }
            if (!code || !Fits(layer, p)) {
                if (code) ++report.Repainted;
                ByRules(p, rules, colours, layer, byte, report);
            } else {
                bool exact = true;
                if (layer == PixelLayer::Colour) byte = colours.IndexOf(ColourOf(p), 0, exact);
                if (layer == PixelLayer::Player) {
                    const int32_t band = 16 * rules.Player;
                    byte = uint8_t(colours.IndexOf(ColourOf(p), band, exact) - band);
                }
                if (!exact) ++report.Inexact;
            }
            last = pixel, lastInexact = report.Inexact - inexact, lastRepainted = report.Repainted - repainted;
        }
        // A row ends early only at its end: where a pixel was painted past that end, the row reaches it
        // through transparent pixels.
        PixelLayer* begin = &frame.Layers[size_t(row) * size_t(width)];
        const auto drawn = std::find_if(std::make_reverse_iterator(begin + width), std::make_reverse_iterator(begin),
                                        [](PixelLayer l) { return l != PixelLayer::Nothing; });
        std::replace(begin, drawn.base(), PixelLayer::Nothing, PixelLayer::Transparent);
    }
    return Outcome::Success();
}

bool IsSheetJson(std::span<const uint8_t> text) {
    const auto first = std::find_if(text.begin(), text.end(), [](uint8_t c) { return c != ' ' && c != '\t' && c != '\r' && c != '\n'; });
    return first != text.end() && *first == '{';
}

Outcome FramesFromSheet(std::span<const uint8_t> text, const std::string& folder, const PictureRules& rules,
                        std::vector<FramePixels>& frames, PictureReport& report) {
    frames.clear();
    if (text.size() > MaxSheetJsonBytes) return Outcome::Failure(Fault::OutOfLimits, "is larger than the JSON of any sheet");
    const nlohmann::ordered_json json = nlohmann::ordered_json::parse(text.begin(), text.end(), nullptr, false);
    const auto meta = json.is_object() ? json.find("meta") : json.end();
    const auto list = json.is_object() ? json.find("frames") : json.end();
    if (json.is_discarded() || meta == json.end() || !meta->is_object() || list == json.end()) {
        return Outcome::Failure(Fault::NotThisKind, "is not the JSON of a sprite sheet (no \"frames\" and \"meta\")");
    }
    std::string imagePath, layersPath;
    if (!BesideName(*meta, "image", folder, imagePath)) {
        return Outcome::Failure(Fault::Damaged, "names no sheet picture beside it in \"meta\" \"image\"");
    }
    const bool withLayers = meta->contains("layers");
    if (withLayers && !BesideName(*meta, "layers", folder, layersPath)) {
        return Outcome::Failure(Fault::Damaged, "names no layers picture beside it in \"meta\" \"layers\"");
    }
    RgbaPicture sheet, layers;
    if (Outcome read = ReadPngFile(imagePath, sheet, report); !read) return read;
    if (withLayers) {
        if (Outcome read = ReadPngFile(layersPath, layers, report); !read) return read;
        if (layers.Width != sheet.Width || layers.Height != sheet.Height) {
            return Refused(Fault::Damaged, layersPath, "is not the size of the sheet " + FileOfPath(imagePath));
        }
    }

    auto entries = EntriesOf(*list);
    const bool teams = std::any_of(entries.begin(), entries.end(), [](const auto& entry) { return TeamOf(entry.first) != 0; });
    int64_t pixels = 0;
    for (const auto& [name, entry] : entries) {
        if (teams && TeamOf(name) != rules.Player) continue;
        const std::string which = "frame " + std::to_string(frames.size() + 1) + (name.empty() ? "" : " (" + name + ")");
        const nlohmann::ordered_json rect = entry->is_object() && entry->contains("frame") ? (*entry)["frame"] : nlohmann::ordered_json();
        int64_t x = 0, y = 0, w = 0, h = 0;
        if (!NumberOf(rect, "x", x) || !NumberOf(rect, "y", y) || !NumberOf(rect, "w", w) || !NumberOf(rect, "h", h) || x < 0 || y < 0 || w < 0 || h < 0 || x + w > sheet.Width || y + h > sheet.Height) {
            return Outcome::Failure(Fault::Damaged, which + " has no \"frame\" rectangle within the sheet");
        }
        if (entry->contains("rotated") && (*entry)["rotated"] == true) return Outcome::Failure(Fault::Damaged, which + " is rotated, which encode doesn't read");
        if ((pixels += w * h) > MaxInputPixels) {
            return Outcome::Failure(Fault::OutOfLimits, "its frames hold more than " + std::to_string(MaxInputPixels) + " pixels");
        }
        FramePixels& frame = frames.emplace_back();
        if (Outcome drawn = PixelsFromPicture(sheet, withLayers ? &layers : nullptr, int32_t(x), int32_t(y), int32_t(w), int32_t(h), rules,
                                              frame, report);
            !drawn) {
            return Refused(drawn.Code, withLayers ? layersPath : imagePath, which + ": " + drawn.Detail);
        }
        HotspotOf(*entry, frame.HotspotX, frame.HotspotY);
    }
    if (frames.empty()) return Outcome::Failure(Fault::Damaged, teams ? "has no frames of player " + std::to_string(rules.Player) : "has no frames");
    return Outcome::Success();
}

Outcome FrameFromPng(std::span<const uint8_t> png, int32_t hotspotX, int32_t hotspotY, const PictureRules& rules,
                     FramePixels& frame, PictureReport& report) {
    RgbaPicture picture;
    if (Outcome read = ReadPng(png, picture); !read) return read;
    FramePixels whole;
    if (Outcome drawn = PixelsFromPicture(picture, nullptr, 0, 0, picture.Width, picture.Height, rules, whole, report); !drawn) return drawn;
    int32_t left = picture.Width, right = -1, top = picture.Height, bottom = -1;
    for (int32_t y = 0; y < picture.Height; ++y) {
        for (int32_t x = 0; x < picture.Width; ++x) {
            if (whole.Layers[size_t(y) * size_t(picture.Width) + size_t(x)] == PixelLayer::Transparent) continue;
            left = std::min(left, x), right = std::max(right, x), top = std::min(top, y), bottom = y;
        }
    }
    if (right < 0) left = top = right = bottom = 0;
    frame = {right - left + 1, bottom - top + 1, hotspotX - left, hotspotY - top, {}, {}};
    for (int32_t y = top; y <= bottom; ++y) {
        const auto from = ptrdiff_t(y) * picture.Width + left;
        frame.Layers.insert(frame.Layers.end(), whole.Layers.begin() + from, whole.Layers.begin() + from + frame.Width);
        frame.Bytes.insert(frame.Bytes.end(), whole.Bytes.begin() + from, whole.Bytes.begin() + from + frame.Width);
    }
    return Outcome::Success();
}

Outcome FramesFromPictures(const std::vector<std::string>& paths, int32_t hotspotX, int32_t hotspotY, const PictureRules& rules,
                           std::vector<FramePixels>& frames, PictureReport& report, std::span<const uint8_t> firstBytes) {
    frames.clear();
    int64_t pixels = 0;
    std::vector<uint8_t> read;
    for (const std::string& path : paths) {
        report.Files.push_back(path);
        std::span<const uint8_t> bytes = firstBytes;
        if (frames.size() > 0 || firstBytes.empty()) {
            if (Outcome opened = ReadWholeFile(path, MaxPngFileBytes, read); !opened) return opened;
            bytes = read;
        }
        FramePixels& frame = frames.emplace_back();
        if (Outcome made = FrameFromPng(bytes, hotspotX, hotspotY, rules, frame, report); !made) return Refused(made.Code, path, made.Detail);
        if ((pixels += int64_t{frame.Width} * frame.Height) > MaxInputPixels) {
            return Refused(Fault::OutOfLimits, path, "the pictures hold more than " + std::to_string(MaxInputPixels) + " pixels together");
        }
    }
    return Outcome::Success();
}
