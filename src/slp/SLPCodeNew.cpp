#include "slp/SLPCodeNew.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/Files.h"
#include "base/Functions.h"
#include "colour/Palettes.h"

namespace {

constexpr size_t HeaderSize = 32;
constexpr size_t FrameInfoSize = 32;

// The most stream bytes a row may take. Every command reads at least one byte and a list one a pixel,
// so a real row needs at most 3 bytes a pixel and its end byte; the spare takes a stray command that
// draws nothing. A row that goes on is damaged, so that decoding costs what the frame draws, however
// far its Left lies outside it and however many rows share one long stream.
constexpr int64_t StreamBytesPerPixel = 4;
constexpr int64_t SpareStreamBytesPerRow = 4;


// True when bytes [offset, offset + length) lie inside a file of size bytes.
bool Inside(int64_t offset, int64_t length, size_t size) {
    return offset >= 0 && length >= 0 && static_cast<uint64_t>(offset) <= size &&
           static_cast<uint64_t>(length) <= size - static_cast<uint64_t>(offset);
}

// The palette as its colours lie in a surface's memory (blue, green, red in the low three bytes),
// taken once a frame, so that drawing a listed pixel is one table lookup and one store.
using MemoryPalette = std::array<uint32_t, 256>;

MemoryPalette MemoryOrderPalette(const std::array<uint32_t, 256>& palette) {
    MemoryPalette memory{};
    for (size_t i = 0; i < memory.size(); ++i) memory[i] = MemoryOrder(palette[i]);
    return memory;
}

// What every row of a frame is decoded with.
struct RowContext {
    std::span<const uint8_t> File;
    const std::array<uint32_t, 256>& Values;  // the palette's colour values
    const MemoryPalette& Memory;              // the same in memory order
    LayerColours Colours;
    uint32_t PlayerOffset;  // 16 times the player: where the team's band of the palette starts
    int64_t Width;
    int64_t RowBytes;  // the most stream bytes a row may take
};

// Where a row's commands ended, and what is wrong with the row: null when nothing is.
struct RowEnd {
    int64_t X;
    const char* Problem;
};

constexpr const char* CutOff = "its commands run past the end of the file";
constexpr const char* TooManyCommands = "it has more commands than pixels";
constexpr const char* BadPlayerColour = "a player colour lies past the end of the palette";

// Carries out the commands of one row from byte `at` of the file, drawing from column x on, until an
// end-of-row byte, reading no more than the row's share of stream bytes. Which command a byte is goes
// by its low nibble, but for the four outline bytes 0x4E, 0x5E, 0x6E and 0x7E.
//
// The pixels are stored through byte pointers, which as far as the compiler knows may point at
// anything, so whatever the loop reads through a pointer would be read again after every store:
// everything it needs is therefore held in locals of its own.
RowEnd DecodeRow(const RowContext& context, size_t at, int64_t x, uint8_t* imageRow, uint8_t* maskRow) {
    const uint8_t* const file = context.File.data();
    const size_t size = context.File.size();
    // Reads stop here: at the end of the file, or where the row has had its share of bytes.
    const size_t stop = std::min(size, at + static_cast<size_t>(context.RowBytes));
    const char* const stopped = stop < size ? TooManyCommands : CutOff;
    const uint32_t* const values = context.Values.data();
    const uint32_t* const memory = context.Memory.data();
    const LayerColours colours = context.Colours;
    const uint32_t playerOffset = context.PlayerOffset;
    const uint32_t lastPlayerByte = 255 - playerOffset;  // the largest player byte whose colour is in the palette
    const int64_t width = context.Width;

    auto next = [&](uint32_t& value) {
        if (at >= stop) return false;
        value = file[at++];
        return true;
    };
    // A four-bit or six-bit length taken from the command byte; 0 means the next byte holds it.
    auto extended = [&](uint32_t inCommand, uint32_t& length) {
        length = inCommand;
        return inCommand != 0 || next(length);
    };
    // A run of length pixels from x, clipped to the row.
    auto fill = [&](uint32_t length, uint32_t colour, uint32_t layer) {
        const int64_t first = std::clamp<int64_t>(x, 0, width);
        const int64_t end = std::clamp<int64_t>(x + length, first, width);
        FillPixelPair(imageRow + 3 * first, colour, maskRow + 3 * first, layer, static_cast<size_t>(end - first));
        x += length;
    };
    // A list of one byte a pixel: a palette index, or for the player layer a player byte c that
    // stands for palette[c + playerOffset]. Null, or what is wrong.
    auto list = [&](uint32_t length, uint32_t layer) -> const char* {
        if (!Inside(static_cast<int64_t>(at), length, stop)) return stopped;
        const uint8_t* bytes = file + at;
        const bool player = layer == LayerPlayer;
        const uint32_t offset = player ? playerOffset : 0;
        // Only the part of the list between column 0 and the right edge shows; the bytes outside it
        // are checked all the same. Pixels drawn before a bad player byte is found are cleared with
        // the rest of the damaged row, as x stays where the list began.
        const int64_t first = std::clamp<int64_t>(-x, 0, length);
        const int64_t last = std::clamp<int64_t>(width - x, first, length);
        uint32_t largest = 0;
        for (int64_t i = 0; i < first; ++i) largest = std::max<uint32_t>(largest, bytes[i]);
        for (int64_t i = last; i < length; ++i) largest = std::max<uint32_t>(largest, bytes[i]);
        // As in FillPixels: 4-byte stores whose last byte the next pixel overwrites, but for the last pixel.
        // A bad player byte must not read past the palette before it is found: the index wraps.
        uint8_t* image = imageRow + 3 * (x + first);
        for (int64_t i = first; i + 1 < last; ++i, image += 3) {
            largest = std::max<uint32_t>(largest, bytes[i]);
            std::memcpy(image, &memory[(bytes[i] + offset) & 0xFF], 4);
        }
        if (first < last) {
            largest = std::max<uint32_t>(largest, bytes[last - 1]);
            std::memcpy(image, &memory[(bytes[last - 1] + offset) & 0xFF], 3);
        }
        if (player && largest > lastPlayerByte) return BadPlayerColour;
        FillPixels(maskRow + 3 * (x + first), static_cast<size_t>(last - first), layer);
        at += length;
        x += length;
        return nullptr;
    };

    for (;;) {
        uint32_t command = 0, length = 0, operand = 0;
        if (!next(command)) return {x, stopped};
        const uint32_t high = command >> 4;
        const char* problem = nullptr;
        switch (command & 0x0F) {
            case 0x0: case 0x4: case 0x8: case 0xC:  // colour list, six-bit length, not extended
                problem = list(command >> 2, LayerColour);
                break;
            case 0x1: case 0x5: case 0x9: case 0xD:  // skip, six-bit length
                if (!extended(command >> 2, length)) return {x, stopped};
                fill(length, colours.Transparent, LayerTransparent);
                break;
            case 0x2:  // long colour list
                if (!next(operand)) return {x, stopped};
                problem = list(high * 256 + operand, LayerColour);
                break;
            case 0x3:  // long skip
                if (!next(operand)) return {x, stopped};
                fill(high * 256 + operand, colours.Transparent, LayerTransparent);
                break;
            case 0x6:  // player colour list
                if (!extended(high, length)) return {x, stopped};
                problem = list(length, LayerPlayer);
                break;
            case 0x7:  // colour fill
                if (!extended(high, length) || !next(operand)) return {x, stopped};
                fill(length, values[operand], LayerColour);
                break;
            case 0xA:  // player colour fill
                if (!extended(high, length) || !next(operand)) return {x, stopped};
                if (operand > lastPlayerByte) return {x, BadPlayerColour};
                fill(length, values[operand + playerOffset], LayerPlayer);
                break;
            case 0xB:  // shadow
                if (!extended(high, length)) return {x, stopped};
                fill(length, colours.Shadow, LayerShadow);
                break;
            case 0xE:
                if (command == 0x4E) {
                    fill(1, colours.OutlineInner, LayerOutlineInner);
                } else if (command == 0x6E) {
                    fill(1, colours.OutlineOuter, LayerOutlineOuter);
                } else if (!next(operand)) {
                    return {x, stopped};
                } else if (command == 0x5E) {
                    fill(operand, colours.OutlineInner, LayerOutlineInner);
                } else if (command == 0x7E) {
                    fill(operand, colours.OutlineOuter, LayerOutlineOuter);
                } else {
                    fill(operand, values[playerOffset + high], LayerPlayer);  // player run by nibble
                }
                break;
            default:  // 0xF
                return {x, nullptr};
        }
        if (problem) return {x, problem};
    }
}

DecodeResult Damaged(int32_t row, const std::string& problem) {
    return Outcome::Failure(Fault::Damaged, "row " + std::to_string(row) + ": " + problem);
}

}  // namespace

Outcome ParseSLPHeaders(const SLPFile& file, SLPHeader& header, std::vector<SLPFrameInfo>& frames) {
    frames.clear();
    const auto& bytes = file.Bytes;
    if (bytes.size() < HeaderSize) return Outcome::Failure(Fault::Damaged, "is shorter than a sprite's header", file.Path);
    std::memcpy(header.Version.data(), bytes.data(), 4);
    header.NumFrames = LoadI32(bytes.data() + 4);
    std::memcpy(header.Comment.data(), bytes.data() + 8, 24);
    if (header.NumFrames < 1 || header.NumFrames > MaxFrames) {
        return Outcome::Failure(Fault::Damaged, "claims " + std::to_string(header.NumFrames) + " frames; a sprite has 1 to 32766",
                                file.Path);
    }
    if (!Inside(HeaderSize, int64_t{header.NumFrames} * FrameInfoSize, bytes.size())) {
        return Outcome::Failure(Fault::Damaged, "the frame table is cut off", file.Path);
    }
    frames.resize(static_cast<size_t>(header.NumFrames));
    const uint8_t* record = bytes.data() + HeaderSize;
    for (auto& frame : frames) {
        frame.CommandTableOffset = LoadI32(record);
        frame.OutlineTableOffset = LoadI32(record + 4);
        frame.PaletteOffset = LoadI32(record + 8);
        frame.Properties = LoadI32(record + 12);
        frame.Width = LoadI32(record + 16);
        frame.Height = LoadI32(record + 20);
        frame.HotspotX = LoadI32(record + 24);
        frame.HotspotY = LoadI32(record + 28);
        record += FrameInfoSize;
    }
    return Outcome::Success();
}

Outcome ReadSLPHeaders(const std::string& path, SLPFile& file, SLPHeader& header, std::vector<SLPFrameInfo>& frames) {
    file.Path = path;
    frames.clear();
    if (Outcome read = ReadWholeFile(path, MaxSLPFileBytes, file.Bytes); !read) return read;
    return ParseSLPHeaders(file, header, frames);
}

void DrawPixelRun(cDIBSection& dc, int32_t first, int32_t last, int32_t row, uint32_t colour) {
    dc.FillRun(first, last, row, colour);
}

DecodeResult DecodeSLPFrame(const SLPFile& file, const SLPFrameInfo& frame, cDIBSection& image, cDIBSection& mask,
                            bool allowEscape, Host& host, const LayerColours& colours) {
    return DecodeSLPFrame(file, frame, image, mask, allowEscape, host, colours, Palette);
}

DecodeResult DecodeSLPFrame(const SLPFile& file, const SLPFrameInfo& frame, cDIBSection& image, cDIBSection& mask,
                            bool allowEscape, Host& host, const LayerColours& colours,
                            const std::array<uint32_t, 256>& palette) {
    const int32_t width = frame.Width;
    const int32_t height = frame.Height;
    const size_t size = file.Bytes.size();
    // Sizes and tables are checked before anything is allocated: a header's claim is not a fact.
    // A frame too large to draw leaves two empty surfaces, 0 x 0, which save as pictures of nothing.
    if (width < 0 || width > MaxFrameWidth || height > MaxFrameRows ||
        int64_t{width} * std::max(height, 0) > MaxSurfacePixels) {
        image.Create(0, 0);
        mask.Create(0, 0);
        return Outcome::Failure(Fault::Damaged, "a frame of " + std::to_string(width) + " x " + std::to_string(height) +
                                                    " pixels is larger than Brindle draws");
    }
    // Every byte is set below, so the surfaces are not zeroed first: each row's pixels are drawn up to
    // where its commands and margins end, and the rest of the row is cleared; a decode that ends early
    // clears the rows it leaves. The rows decoded so far stay complete, the rest black.
    image.CreateForOverwrite(width, height);
    mask.CreateForOverwrite(width, height);
    if (height < 1 || width == 0) return {};
    // Clears from pixel x of row on, and every row below.
    auto endAt = [&](int32_t row, int64_t x, DecodeResult result) {
        for (int32_t y = row; y < height; ++y, x = 0) {
            image.ClearRowFrom(y, x);
            mask.ClearRowFrom(y, x);
        }
        return result;
    };
    if (!Inside(frame.OutlineTableOffset, int64_t{height} * 4, size)) {
        return endAt(0, 0, Outcome::Failure(Fault::Damaged, "the outline table lies outside the file"));
    }

    const uint8_t* bytes = file.Bytes.data();
    const MemoryPalette memoryPalette = MemoryOrderPalette(palette);
    const auto playerOffset = static_cast<uint32_t>(16 * std::clamp(colours.Player, FirstPlayer, LastPlayer));
    const RowContext context{file.Bytes, palette, memoryPalette, colours, playerOffset, width,
                             StreamBytesPerPixel * width + SpareStreamBytesPerRow};
    for (int32_t row = 0; row < height; ++row) {
        if (allowEscape && host.IsEscapeDown()) return endAt(row, 0, Outcome::Failure(Fault::Escaped, {}));

        const uint8_t* outline = bytes + frame.OutlineTableOffset + 4 * static_cast<size_t>(row);
        const int16_t left = LoadI16(outline);
        const int16_t right = LoadI16(outline + 2);
        if (left == BlankRowMark) {
            image.FillRun(0, width - 1, row, colours.Transparent);
            mask.FillRun(0, width - 1, row, LayerTransparent);
            image.ClearRowFrom(row, width);
            mask.ClearRowFrom(row, width);
            continue;
        }
        image.FillRun(0, left - 1, row, colours.Transparent);
        mask.FillRun(0, left - 1, row, LayerTransparent);

        const int64_t commandAt = int64_t{frame.CommandTableOffset} + 4 * int64_t{row};
        if (!Inside(commandAt, 4, size)) return endAt(row, left, Damaged(row, "its command table entry lies outside the file"));
        const int32_t streamAt = LoadI32(bytes + commandAt);
        if (!Inside(streamAt, 1, size)) return endAt(row, left, Damaged(row, "its commands lie outside the file"));

        const RowEnd end = DecodeRow(context, static_cast<size_t>(streamAt), left, image.RowPointer(row), mask.RowPointer(row));
        if (end.Problem) return endAt(row, end.X, Damaged(row, end.Problem));
        image.FillRun(end.X, end.X + right - 1, row, colours.Transparent);
        mask.FillRun(end.X, end.X + right - 1, row, LayerTransparent);
        const int64_t drawnTo = end.X + std::max<int64_t>(right, 0);
        image.ClearRowFrom(row, drawnTo);
        mask.ClearRowFrom(row, drawnTo);
    }
    return {};
}
