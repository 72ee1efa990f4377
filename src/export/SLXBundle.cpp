#include "export/SLXBundle.h"

#include <charconv>
#include <string_view>

#include "base/Files.h"
#include "slp/SLPCodeNew.h"
#include "surface/BitmapReader.h"

namespace {

Outcome AtLine(size_t line, Fault code, const std::string& why) {
    return Outcome::Failure(code, "line " + std::to_string(line) + ": " + why);
}

// A whole decimal number in 32 bits, a minus sign allowed.
bool ParseNumber(std::string_view text, int32_t& value) {
    if (text.empty() || text[0] == '+') return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

// A file name alone: nothing that leads out of the bundle's folder, nothing a terminal would obey.
bool IsFileNameAlone(std::string_view name) {
    if (name.empty() || name.size() > 255 || name == "." || name == "..") return false;
    for (char c : name)
        if (c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return false;
    return true;
}

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    quoted.append(text.substr(0, 40)).append(text.size() > 40 ? "...\"" : "\"");
    return quoted;
}

}  // namespace

Outcome ParseSLXText(std::span<const uint8_t> text, SLXListing& listing) {
    listing.clear();
    if (text.size() > MaxSLXTextBytes) return Outcome::Failure(Fault::OutOfLimits, "is larger than any SLX bundle's text");
    std::string_view rest(reinterpret_cast<const char*>(text.data()), text.size());
    std::vector<std::string_view> lines;
    while (!rest.empty()) {
        const size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.push_back(line);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    if (lines.empty() || lines[0] != SLXFirstLine) {
        return Outcome::Failure(Fault::NotThisKind, "is not an SLX bundle: its first line is not \"" + std::string(SLXFirstLine) + "\"");
    }
    int32_t count = 0;
    if (lines.size() < 2 || !ParseNumber(lines[1], count) || count < 1) {
        return AtLine(2, Fault::Damaged, lines.size() < 2 ? "the count of frames is missing" : Quoted(lines[1]) + " is not a count of frames");
    }
    if (count > MaxFrames) {
        return AtLine(2, Fault::OutOfLimits, std::to_string(count) + " frames; a sprite holds at most " + std::to_string(MaxFrames));
    }
    for (int32_t f = 0; f < count; ++f) {
        const size_t first = 2 + 3 * static_cast<size_t>(f);  // 0-based index of the frame's hot spot line
        if (lines.size() < first + 3) {
            return AtLine(lines.size() + 1, Fault::Damaged, "the text ends before frame " + std::to_string(f + 1) + " of " +
                                                                std::to_string(count) + " is listed whole");
        }
        SLXFrameLines frame;
        const std::string_view spot = lines[first];
        const size_t comma = spot.find(',');
        if (comma == std::string_view::npos || !ParseNumber(spot.substr(0, comma), frame.HotspotX) ||
            !ParseNumber(spot.substr(comma + 1), frame.HotspotY)) {
            return AtLine(first + 1, Fault::Damaged, Quoted(spot) + " is not a hot spot X,Y");
        }
        for (size_t i : {size_t{1}, size_t{2}}) {
            if (!IsFileNameAlone(lines[first + i])) {
                return AtLine(first + 1 + i, Fault::Damaged, Quoted(lines[first + i]) + " is not the name of a file beside the bundle");
            }
        }
        frame.MaskName = lines[first + 1];
        frame.ImageName = lines[first + 2];
        listing.push_back(std::move(frame));
    }
    for (size_t i = 2 + 3 * static_cast<size_t>(count); i < lines.size(); ++i) {
        if (!lines[i].empty()) return AtLine(i + 1, Fault::Damaged, "more lines than the " + std::to_string(count) + " frames listed");
    }
    return Outcome::Success();
}

Outcome ReadSLXFrame(std::span<const uint8_t> maskFile, std::span<const uint8_t> imageFile, const SLXFrameLines& lines,
                     const ColourLookup& palette, int32_t player, FramePixels& frame) {
    cDIBSection mask, image;
    auto named = [](const std::string& name, Outcome outcome) {
        outcome.Detail = name + ": " + outcome.Detail;
        return outcome;
    };
    if (Outcome read = ReadBitmapFile(maskFile, mask); !read) return named(lines.MaskName, read);
    if (Outcome read = ReadBitmapFile(imageFile, image); !read) return named(lines.ImageName, read);
    if (Outcome made = PixelsFromSurfaces(image, mask, palette, player, frame); !made) {
        return named(lines.MaskName + " and " + lines.ImageName, made);
    }
    frame.HotspotX = lines.HotspotX;
    frame.HotspotY = lines.HotspotY;
    return Outcome::Success();
}

Outcome EncodeSLXBundle(const SLXListing& listing, const std::string& folder, const std::array<uint32_t, 256>& palette,
                        int32_t player, std::vector<uint8_t>& slp) {
    SLPEncoder encoder(static_cast<int32_t>(listing.size()));
    const ColourLookup lookup(palette);
    std::vector<uint8_t> maskFile, imageFile;
    FramePixels frame;
    for (size_t i = 0; i < listing.size(); ++i) {
        const SLXFrameLines& lines = listing[i];
        for (const auto& [name, bytes] : {std::pair{&lines.MaskName, &maskFile}, std::pair{&lines.ImageName, &imageFile}}) {
            if (Outcome read = ReadWholeFile(folder + *name, MaxBitmapFileBytes, *bytes); !read) {
                read.Detail = "frame " + std::to_string(i + 1) + ": " + *name + ": " + read.Detail;
                read.File = folder + *name;
                return read;
            }
        }
        if (Outcome read = ReadSLXFrame(maskFile, imageFile, lines, lookup, player, frame); !read) {
            read.Detail = "frame " + std::to_string(i + 1) + ": " + read.Detail;
            return read;
        }
        if (Outcome added = encoder.Add(frame); !added) return added;
    }
    return encoder.Finish(slp);
}
