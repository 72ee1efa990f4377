#include "slp/SLPCodeNew.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "colour/Palettes.h"
#include "shell/Files.h"

namespace {

constexpr size_t HeaderSize = 32;
constexpr size_t FrameInfoSize = 32;

// A row needs at most one command a pixel from its left end to its right edge; we allow this many
// commands more, for ones that draw nothing or draw past the edge, before taking the row for damage.
// Without a cap, rows that share one long stream could keep the decoder busy for minutes.
constexpr int64_t SpareCommandsPerRow = 4096;

int32_t LoadI32(const uint8_t* p) {
    return static_cast<int32_t>(uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24);
}
int16_t LoadI16(const uint8_t* p) { return static_cast<int16_t>(uint16_t{p[0]} | uint16_t(p[1] << 8)); }

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

// One row of a frame being decoded: the command stream and the two rows of pixels it draws into.
class RowDecoder {
public:
    RowDecoder(std::span<const uint8_t> file, size_t streamAt, const std::array<uint32_t, 256>& values,
               const MemoryPalette& palette, const LayerColours& colours, uint32_t playerOffset, cDIBSection& image,
               cDIBSection& mask, int32_t row, int64_t x)
        : file_(file), at_(streamAt), values_(values), palette_(palette), colours_(colours), playerOffset_(playerOffset),
          lastPlayerByte_(static_cast<uint8_t>(255 - playerOffset)), width_(image.Width()), x_(x),
          imageRow_(image.RowPointer(row)), maskRow_(mask.RowPointer(row)) {}

    // Carries out commands until an end-of-row byte. Returns an empty text, or what is wrong with the row.
    std::string Run() {
        const int64_t maxCommands = std::max<int64_t>(width_ - x_, 0) + std::max<int64_t>(-x_, 0) + SpareCommandsPerRow;
        for (int64_t commands = 0; commands < maxCommands; ++commands) {
            switch (Carry()) {
                case Step::Done: break;
                case Step::EndOfRow: return {};
                case Step::CutOff: return "its commands run past the end of the file";
                case Step::BadPlayerColour: return "a player colour lies past the end of the palette";
            }
        }
        return "it has more commands than pixels";
    }

    int64_t X() const { return x_; }

private:
    enum class Step { Done, EndOfRow, CutOff, BadPlayerColour };

    bool Next(uint8_t& value) {
        if (at_ >= file_.size()) return false;
        value = file_[at_++];
        return true;
    }

    // A four-bit or six-bit length taken from the command byte; 0 means the next byte holds it.
    bool Extended(uint32_t inCommand, uint32_t& length) {
        uint8_t next = 0;
        if (inCommand != 0) {
            length = inCommand;
            return true;
        }
        if (!Next(next)) return false;
        length = next;
        return true;
    }

    // Reads one command byte and its operands and draws what it says. Which command it is goes by the
    // low nibble, but for the four outline bytes 0x4E, 0x5E, 0x6E and 0x7E.
    Step Carry() {
        uint8_t command = 0;
        if (!Next(command)) return Step::CutOff;
        const uint32_t high = command >> 4;
        uint32_t length = 0;
        uint8_t operand = 0;
        switch (command & 0x0F) {
            case 0x0: case 0x4: case 0x8: case 0xC:  // colour list, six-bit length, not extended
                return List(command >> 2, LayerColour);
            case 0x1: case 0x5: case 0x9: case 0xD:  // skip, six-bit length
                if (!Extended(command >> 2, length)) return Step::CutOff;
                return Fill(length, colours_.Transparent, LayerTransparent);
            case 0x2:  // long colour list
                if (!Next(operand)) return Step::CutOff;
                return List(high * 256 + operand, LayerColour);
            case 0x3:  // long skip
                if (!Next(operand)) return Step::CutOff;
                return Fill(high * 256 + operand, colours_.Transparent, LayerTransparent);
            case 0x6:  // player colour list
                if (!Extended(high, length)) return Step::CutOff;
                return List(length, LayerPlayer);
            case 0x7:  // colour fill
                if (!Extended(high, length) || !Next(operand)) return Step::CutOff;
                return Fill(length, values_[operand], LayerColour);
            case 0xA:  // player colour fill
                if (!Extended(high, length) || !Next(operand)) return Step::CutOff;
                if (operand > lastPlayerByte_) return Step::BadPlayerColour;
                return Fill(length, values_[operand + playerOffset_], LayerPlayer);
            case 0xB:  // shadow
                if (!Extended(high, length)) return Step::CutOff;
                return Fill(length, colours_.Shadow, LayerShadow);
            case 0xE:
                if (command == 0x4E) return Fill(1, colours_.OutlineInner, LayerOutlineInner);
                if (command == 0x6E) return Fill(1, colours_.OutlineOuter, LayerOutlineOuter);
                if (!Next(operand)) return Step::CutOff;
                if (command == 0x5E) return Fill(operand, colours_.OutlineInner, LayerOutlineInner);
                if (command == 0x7E) return Fill(operand, colours_.OutlineOuter, LayerOutlineOuter);
                return Fill(operand, values_[playerOffset_ + high], LayerPlayer);  // player run by nibble
            default:  // 0xF
                return Step::EndOfRow;
        }
    }

    // A run of length pixels from x, clipped to the row.
    Step Fill(uint32_t length, uint32_t colour, uint32_t layer) {
        const int64_t first = std::clamp<int64_t>(x_, 0, width_);
        const int64_t end = std::clamp<int64_t>(x_ + length, first, width_);
        FillPixels(imageRow_ + 3 * first, static_cast<size_t>(end - first), colour);
        FillPixels(maskRow_ + 3 * first, static_cast<size_t>(end - first), layer);
        x_ += length;
        return Step::Done;
    }

    // A list of one byte a pixel: a palette index, or for the player layer a player byte c that
    // stands for palette[c + playerOffset_].
    Step List(uint32_t length, uint32_t layer) {
        if (!Inside(static_cast<int64_t>(at_), length, file_.size())) return Step::CutOff;
        const uint8_t* bytes = file_.data() + at_;
        const uint32_t offset = layer == LayerPlayer ? playerOffset_ : 0;
        if (offset && std::any_of(bytes, bytes + length, [last = lastPlayerByte_](uint8_t c) { return c > last; })) {
            return Step::BadPlayerColour;
        }
        // Only the part of the list between column 0 and the right edge shows.
        const int64_t first = std::clamp<int64_t>(-x_, 0, length);
        const int64_t last = std::clamp<int64_t>(width_ - x_, first, length);
        // As in FillPixels: 4-byte stores whose last byte the next pixel overwrites, but for the last pixel.
        uint8_t* image = imageRow_ + 3 * (x_ + first);
        for (int64_t i = first; i + 1 < last; ++i, image += 3) std::memcpy(image, &palette_[bytes[i] + offset], 4);
        if (first < last) std::memcpy(image, &palette_[bytes[last - 1] + offset], 3);
        FillPixels(maskRow_ + 3 * (x_ + first), static_cast<size_t>(last - first), layer);
        at_ += length;
        x_ += length;
        return Step::Done;
    }

    std::span<const uint8_t> file_;
    size_t at_;
    const std::array<uint32_t, 256>& values_;  // the palette's colour values
    const MemoryPalette& palette_;             // the same in memory order
    const LayerColours& colours_;
    uint32_t playerOffset_;   // 16 times the player: where the team's band of the palette starts
    uint8_t lastPlayerByte_;  // the largest player byte whose colour lies inside the palette
    int64_t width_;
    int64_t x_;
    uint8_t* imageRow_;
    uint8_t* maskRow_;
};

DecodeResult Damaged(int32_t row, const std::string& problem) {
    return {DecodeDamaged, "row " + std::to_string(row) + ": " + problem};
}

}  // namespace

Outcome ParseSLPHeaders(const SLPFile& file, SLPHeader& header, std::vector<SLPFrameInfo>& frames) {
    frames.clear();
    const auto& bytes = file.Bytes;
    if (bytes.size() < HeaderSize) return Outcome::Failure(file.Path + " is shorter than a sprite's header");
    std::memcpy(header.Version.data(), bytes.data(), 4);
    header.NumFrames = LoadI32(bytes.data() + 4);
    std::memcpy(header.Comment.data(), bytes.data() + 8, 24);
    if (header.NumFrames < 1 || header.NumFrames > MaxFrames) {
        return Outcome::Failure(file.Path + " claims " + std::to_string(header.NumFrames) +
                                " frames; a sprite has 1 to 32766");
    }
    if (!Inside(HeaderSize, int64_t{header.NumFrames} * FrameInfoSize, bytes.size())) {
        return Outcome::Failure(file.Path + ": the frame table is cut off");
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
        return {DecodeDamaged, "a frame of " + std::to_string(width) + " x " + std::to_string(height) +
                                   " pixels is larger than Brindle draws"};
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
        return endAt(0, 0, {DecodeDamaged, "the outline table lies outside the file"});
    }

    const uint8_t* bytes = file.Bytes.data();
    const MemoryPalette memoryPalette = MemoryOrderPalette(palette);
    const auto playerOffset = static_cast<uint32_t>(16 * std::clamp(colours.Player, FirstPlayer, LastPlayer));
    for (int32_t row = 0; row < height; ++row) {
        if (allowEscape && host.IsEscapeDown()) return endAt(row, 0, {DecodeEscaped, {}});

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

        RowDecoder decoder(file.Bytes, static_cast<size_t>(streamAt), palette, memoryPalette, colours, playerOffset, image,
                           mask, row, left);
        if (std::string problem = decoder.Run(); !problem.empty()) return endAt(row, decoder.X(), Damaged(row, problem));
        image.FillRun(decoder.X(), decoder.X() + right - 1, row, colours.Transparent);
        mask.FillRun(decoder.X(), decoder.X() + right - 1, row, LayerTransparent);
        const int64_t drawnTo = decoder.X() + std::max<int64_t>(right, 0);
        image.ClearRowFrom(row, drawnTo);
        mask.ClearRowFrom(row, drawnTo);
    }
    return {};
}
