#include "colour/Palettes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <streambuf>
#include <vector>

std::array<uint32_t, 256> Palette{};

const std::string_view KnownPaletteFormats =
    "Brindle reads JASC-PAL, RIFF PAL, GIMP .gpl and Adobe .act (768 or 772 bytes) palettes";

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

// A regular file opened for reading; not open when the path is no such file or it can't be read.
std::ifstream OpenRegularFile(const std::string& path) {
    std::error_code error;
    std::ifstream in;
    if (std::filesystem::is_regular_file(path, error)) in.open(path, std::ios::binary);
    return in;
}

void LoadDefaultPalette() {
    const auto groups = SplitFields(DefaultPaletteText, ',', Palette.size());
    for (size_t index = 0; index < Palette.size() && index < groups.size(); ++index) {
        Palette[index] = ParseColour(groups[index]).value_or(0);
    }
}

}  // namespace

PaletteResult LoadPalette(const std::string& FileName) {
    if (FileName.empty()) {
        LoadDefaultPalette();
        return {};
    }

    std::ifstream in = OpenRegularFile(FileName);
    if (!in.is_open()) return Outcome::Failure(Fault::CannotOpen, "cannot open", FileName);
    return LoadPalette(in, FileName);
}

PaletteResult LoadPalette(std::istream& in, const std::string& FileName) {
    std::string item;
    if (!ReadItem(in, item)) return Outcome::Failure(Fault::Damaged, "is empty", FileName);
    if (item != "JASC-PAL") return Outcome::Failure(Fault::NotThisKind, "does not begin with JASC-PAL", FileName);
    for (int skipped = 0; skipped < 2; ++skipped) {  // version and number of colours
        if (!ReadItem(in, item)) return Outcome::Failure(Fault::Damaged, "ends before its first colour", FileName);
    }
    for (size_t index = 0; index < Palette.size(); ++index) {
        if (!ReadItem(in, item)) {
            return Outcome::Failure(Fault::Damaged, "ends after " + std::to_string(index) + " colours", FileName);
        }
        const auto colour = ParseColour(item);
        if (!colour) {
            return Outcome::Failure(Fault::Damaged, "colour " + std::to_string(index) + " of " + FileName + " is not three numbers from 0 to 32767",
                                   FileName);
        }
        Palette[index] = *colour;
    }
    return {};
}

// ---- palette files of other programs ----------------------------------------------------------------

namespace {

using Colours = std::array<uint32_t, 256>;

// The bytes already taken from a stream, then the rest of it if any: the JASC-PAL reader goes on past
// what was read ahead, however long the file.
class ReplayedStream : public std::streambuf {
public:
    ReplayedStream(std::string& head, std::streambuf* rest) : rest_(rest) {
        setg(head.data(), head.data(), head.data() + head.size());
    }

protected:
    int_type underflow() override {
        if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
        const std::streamsize got = rest_ ? rest_->sgetn(block_.data(), std::streamsize(block_.size())) : 0;
        if (got <= 0) return traits_type::eof();
        setg(block_.data(), block_.data(), block_.data() + got);
        return traits_type::to_int_type(*gptr());
    }

private:
    std::streambuf* rest_;
    std::array<char, 4096> block_{};
};

// At most limit bytes of the stream, taken in blocks so that a short file costs little.
std::string ReadAtMost(std::istream& in, size_t limit) {
    std::string bytes;
    std::array<char, 1 << 16> block;
    while (bytes.size() < limit && in) {
        in.read(block.data(), std::streamsize(std::min(block.size(), limit - bytes.size())));
        bytes.append(block.data(), size_t(in.gcount()));
    }
    return bytes;
}

bool EndsWithNoCase(std::string_view text, std::string_view ending) {
    return text.size() >= ending.size() &&
           std::ranges::equal(text.substr(text.size() - ending.size()), ending,
                              [](char a, char b) { return (a >= 'A' && a <= 'Z' ? char(a - 'A' + 'a') : a) == b; });
}

uint32_t Byte(std::string_view bytes, size_t at) { return static_cast<uint8_t>(bytes[at]); }
uint32_t LittleEndian16(std::string_view bytes, size_t at) { return Byte(bytes, at) | Byte(bytes, at + 1) << 8; }
uint32_t LittleEndian32(std::string_view bytes, size_t at) {
    return LittleEndian16(bytes, at) | LittleEndian16(bytes, at + 2) << 16;
}
uint32_t ColourAt(std::string_view bytes, size_t at) {
    return Byte(bytes, at) | Byte(bytes, at + 1) << 8 | Byte(bytes, at + 2) << 16;
}

PaletteResult Damaged(const std::string& name, const std::string& why) { return Outcome::Failure(Fault::Damaged, why, name); }

// "RIFF" size "PAL ", then chunks of a four-letter id and a size, each padded to an even length; the
// "data" chunk holds palVersion 0x0300, a count and four bytes a colour: red, green, blue and flags.
PaletteResult ReadRiffPalette(std::string_view bytes, const std::string& name, Colours& colours) {
    // A RIFF size beyond the file is forgiven as long as the chunks themselves are whole.
    const uint64_t end = std::min<uint64_t>(bytes.size(), uint64_t{8} + LittleEndian32(bytes, 4));
    for (uint64_t at = 12; at + 8 <= end;) {
        const std::string_view id = bytes.substr(size_t(at), 4);
        const uint64_t size = LittleEndian32(bytes, size_t(at) + 4), body = at + 8;
        if (body + size > end) return Damaged(name, std::string("its RIFF chunk \"").append(id) + "\" is cut short");
        if (id != "data") {
            at = body + size + (size & 1);
            continue;
        }
        if (size < 4) return Damaged(name, "its RIFF data chunk is too short for a palette");
        const std::string_view data = bytes.substr(size_t(body), size_t(size));
        if (const uint32_t version = LittleEndian16(data, 0); version != 0x0300) {
            return Damaged(name, std::string("its RIFF palette has version ") + std::to_string(version) + ", not 768 (0x0300)");
        }
        const uint32_t count = LittleEndian16(data, 2);
        if (count == 0) return Damaged(name, "its RIFF palette holds no colours");
        if (4 + uint64_t{count} * 4 > size) {
            return Damaged(name, std::string("its RIFF data chunk is too short for its ") + std::to_string(count) + " colours");
        }
        for (size_t index = 0; index < std::min<size_t>(count, colours.size()); ++index) colours[index] = ColourAt(data, 4 + index * 4);
        return {};
    }
    return Damaged(name, "its RIFF palette has no data chunk");
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// One component of a GIMP palette line: a decimal number from 0 to 255, followed by a blank or the end.
std::optional<int32_t> TakeComponent(std::string_view& line) {
    while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
    int32_t value = 0;
    size_t digits = 0;
    for (; digits < line.size() && line[digits] >= '0' && line[digits] <= '9'; ++digits) {
        value = value * 10 + (line[digits] - '0');
        if (value > 255) return std::nullopt;
    }
    if (digits == 0 || (digits < line.size() && !IsBlank(line[digits]))) return std::nullopt;
    line.remove_prefix(digits);
    return value;
}

// "GIMP Palette", then "Name:" and "Columns:" lines, "#" comments and blank lines, and a colour a line:
// "R G B", each from 0 to 255, with the colour's name after them or not.
PaletteResult ReadGimpPalette(std::string_view text, const std::string& name, Colours& colours) {
    size_t count = 0;
    size_t lineNumber = 1;
    text.remove_prefix(std::min(text.size(), text.find('\n')));
    while (!text.empty() && count < colours.size()) {
        text.remove_prefix(1);  // the line feed before the line
        ++lineNumber;
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size());
        while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
        while (!line.empty() && (IsBlank(line.back()) || line.back() == '\r')) line.remove_suffix(1);
        if (line.empty() || line.front() == '#') continue;
        if (count == 0 && (line.starts_with("Name:") || line.starts_with("Columns:"))) continue;
        const auto red = TakeComponent(line), green = TakeComponent(line), blue = TakeComponent(line);
        if (!red || !green || !blue) {
            return Damaged(name, std::string("line ") + std::to_string(lineNumber) + " of its GIMP palette is not \"R G B\" from 0 to 255");
        }
        colours[count++] = RGB(*red, *green, *blue);
    }
    if (count == 0) return Damaged(name, "its GIMP palette holds no colours");
    return {};
}

// 256 colours of three bytes; a file of 772 adds the number of colours in use and a transparent index,
// both big-endian. The transparent index has no meaning here: the mask layer stands for transparency.
PaletteResult ReadAdobePalette(std::string_view bytes, const std::string& name, Colours& colours) {
    size_t count = colours.size();
    if (bytes.size() == 772) {
        count = Byte(bytes, 768) << 8 | Byte(bytes, 769);
        if (count == 0 || count > colours.size()) {
            return Damaged(name, std::string("its Adobe colour table counts ") + std::to_string(count) + " colours, not 1 to 256");
        }
    }
    for (size_t index = 0; index < count; ++index) colours[index] = ColourAt(bytes, index * 3);
    return {};
}

// The first line without its line end and trailing blanks.
std::string_view FirstLine(std::string_view text) {
    std::string_view line = text.substr(0, text.find('\n'));
    while (!line.empty() && (IsBlank(line.back()) || line.back() == '\r')) line.remove_suffix(1);
    return line;
}

}  // namespace

PaletteResult LoadAnyPalette(const std::string& FileName) {
    std::ifstream in = OpenRegularFile(FileName);
    if (!in.is_open()) return Outcome::Failure(Fault::CannotOpen, "cannot open", FileName);
    return LoadAnyPalette(in, FileName);
}

PaletteResult LoadAnyPalette(std::istream& in, const std::string& name) {
    std::string head = ReadAtMost(in, MaxPaletteFileSize + 1);
    const bool whole = head.size() <= MaxPaletteFileSize;

    ReplayedStream headOnly(head, nullptr);
    std::istream probe(&headOnly);
    std::string item;
    if (ReadItem(probe, item) && item == "JASC-PAL") {
        ReplayedStream replayed(head, whole ? nullptr : in.rdbuf());
        std::istream jasc(&replayed);
        return LoadPalette(jasc, name);
    }
    if (head.empty()) return Damaged(name, "is empty");
    if (!whole) {
        return Outcome::Failure(Fault::OutOfLimits, "larger than " + std::to_string(MaxPaletteFileSize >> 20) + " MiB, which no palette file is", name);
    }

    Colours colours{};  // what a file doesn't fill stays black
    PaletteResult read = Outcome::Failure(Fault::NotThisKind, std::string(KnownPaletteFormats));
    const std::string_view bytes = head;
    if (bytes.size() >= 12 && bytes.starts_with("RIFF") && bytes.substr(8, 4) == "PAL ") {
        read = ReadRiffPalette(bytes, name, colours);
    } else if (FirstLine(bytes) == "GIMP Palette") {
        read = ReadGimpPalette(bytes, name, colours);
    } else if (EndsWithNoCase(name, ".act") && (bytes.size() == 768 || bytes.size() == 772)) {
        read = ReadAdobePalette(bytes, name, colours);
    }
    if (read) Palette = colours;
    return read;
}
