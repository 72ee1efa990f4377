#include "colour/Palettes.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <vector>

std::array<uint32_t, 256> Palette{};

namespace {

// No line of a palette file needs more; longer items are cut (and then are no numbers).
constexpr size_t MaxItemLength = 1024;

// Reads the next text item: leading blanks are dropped, and an item ends at the end of its line or at
// a comma; one that begins with a double quote runs to the next double quote. False at the end of file.
bool ReadItem(std::istream& in, std::string& item) {
    item.clear();
    auto keep = [&item](int c) {
        if (item.size() < MaxItemLength) item.push_back(static_cast<char>(c));
    };
    int c = in.get();
    while (c == ' ' || c == '\t') c = in.get();
    if (c == std::char_traits<char>::eof()) return false;
    const bool quoted = c == '"';
    if (quoted) c = in.get();
    while (c != std::char_traits<char>::eof() && c != '\n' && c != '\r' && (quoted ? c != '"' : c != ',')) {
        keep(c);
        c = in.get();
    }
    if (quoted) {  // whatever stands between the closing quote and the delimiter is dropped
        while (c != std::char_traits<char>::eof() && c != '\n' && c != '\r' && c != ',') c = in.get();
    }
    if (c == '\r' && in.peek() == '\n') in.get();
    return true;
}

// Splits text at each blank into at most `limit` fields; the last field keeps any further blanks.
std::vector<std::string_view> SplitFields(std::string_view text, char divider, size_t limit) {
    std::vector<std::string_view> fields;
    while (fields.size() + 1 < limit) {
        const size_t at = text.find(divider);
        if (at == std::string_view::npos) break;
        fields.push_back(text.substr(0, at));
        text.remove_prefix(at + 1);
    }
    fields.push_back(text);
    return fields;
}

// A colour component as the palette file gives it: a decimal number that fits 16 bits signed and is
// not negative, blanks around it allowed.
std::optional<int32_t> ParseComponent(std::string_view field) {
    while (!field.empty() && field.front() == ' ') field.remove_prefix(1);
    while (!field.empty() && field.back() == ' ') field.remove_suffix(1);
    if (field.empty()) return std::nullopt;
    int32_t value = 0;
    for (const char c : field) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + (c - '0');
        if (value > 32767) return std::nullopt;
    }
    return value;
}

// The colour of one "R G B" group, or nothing if it has fewer than three numbers.
std::optional<uint32_t> ParseColour(std::string_view group) {
    const auto fields = SplitFields(group, ' ', 3);
    if (fields.size() < 3) return std::nullopt;
    const auto red = ParseComponent(fields[0]);
    const auto green = ParseComponent(fields[1]);
    const auto blue = ParseComponent(fields[2]);
    if (!red || !green || !blue) return std::nullopt;
    return RGB(*red, *green, *blue);
}

void LoadDefaultPalette() {
    const auto groups = SplitFields(DefaultPaletteText, ',', Palette.size());
    for (size_t index = 0; index < Palette.size() && index < groups.size(); ++index) {
        Palette[index] = ParseColour(groups[index]).value_or(0);
    }
}

}  // namespace

PaletteResult LoadPalette(const std::string& FileName, Host& host) {
    if (FileName.empty()) {
        LoadDefaultPalette();
        return {};
    }

    std::error_code error;
    std::ifstream in;
    if (std::filesystem::is_regular_file(FileName, error)) in.open(FileName, std::ios::binary);
    if (!in.is_open()) return {PaletteLoad::Failed, "cannot open " + FileName};
    return LoadPalette(in, FileName, host);
}

PaletteResult LoadPalette(std::istream& in, const std::string& FileName, Host& host) {
    std::string item;
    if (!ReadItem(in, item)) return {PaletteLoad::Failed, FileName + " is empty"};
    if (item != "JASC-PAL") {
        host.ShowMessage("Not valid palette file!", MessageStyle::Plain);
        return {PaletteLoad::Refused, FileName + " does not begin with JASC-PAL"};
    }
    for (int skipped = 0; skipped < 2; ++skipped) {  // version and number of colours
        if (!ReadItem(in, item)) return {PaletteLoad::Failed, FileName + " ends before its first colour"};
    }
    for (size_t index = 0; index < Palette.size(); ++index) {
        if (!ReadItem(in, item)) {
            return {PaletteLoad::Failed, FileName + " ends after " + std::to_string(index) + " colours"};
        }
        const auto colour = ParseColour(item);
        if (!colour) return {PaletteLoad::Failed, "colour " + std::to_string(index) + " of " + FileName + " is not three numbers from 0 to 32767"};
        Palette[index] = *colour;
    }
    return {};
}
