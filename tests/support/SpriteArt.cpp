// Pictures drawn in layers: the SLP encoder for them, the colours they must decode to, and a plain
// second decoder to hold the real one against.

#include <algorithm>

#include "Writers.h"
#include "slp/SLPCodeNew.h"
#include "surface/cDIBSection.h"

namespace fixtures {

namespace {

// ---- Encoder ---------------------------------------------------------------------------------
// Every form is written with the smallest length field that holds the count; a count beyond the
// largest form is split over several commands.

constexpr int32_t ByteMax = 255;
constexpr int32_t LongMax = 4095;

void Push(Bytes& out, int32_t value) { out.push_back(static_cast<uint8_t>(value)); }

// Four-bit length in the upper nibble, or 0 there and the length in the next byte; n is 1 to 255.
void PushFourBit(Bytes& out, int32_t nibble, int32_t n) {
    if (n <= 15) {
        Push(out, n << 4 | nibble);
    } else {
        Push(out, nibble);
        Push(out, n);
    }
}

// Long length: upper nibble x 256 + next byte; n is 1 to 4,095.
void PushLong(Bytes& out, int32_t nibble, int32_t n) {
    Push(out, (n >> 8) << 4 | nibble);
    Push(out, n & 0xFF);
}

void EncodeSkip(Bytes& out, int32_t n) {
    while (n > 0) {
        const int32_t take = std::min(n, LongMax);
        if (take <= 63) {
            Push(out, take << 2 | 0x1);
        } else if (take <= ByteMax) {
            Push(out, 0x01);
            Push(out, take);
        } else {
            PushLong(out, 0x3, take);
        }
        n -= take;
    }
}

void EncodeColourList(Bytes& out, std::span<const uint8_t> indexes) {
    while (!indexes.empty()) {
        const auto take = static_cast<int32_t>(std::min<size_t>(indexes.size(), LongMax));
        if (take <= 63)
            Push(out, take << 2);
        else
            PushLong(out, 0x2, take);
        out.insert(out.end(), indexes.begin(), indexes.begin() + take);
        indexes = indexes.subspan(size_t(take));
    }
}

void EncodeColourFill(Bytes& out, int32_t n, uint8_t index) {
    for (; n > 0; n -= ByteMax) {
        PushFourBit(out, 0x7, std::min(n, ByteMax));
        out.push_back(index);
    }
}

void EncodePlayerList(Bytes& out, std::span<const uint8_t> players) {
    while (!players.empty()) {
        const auto take = static_cast<int32_t>(std::min<size_t>(players.size(), ByteMax));
        PushFourBit(out, 0x6, take);
        out.insert(out.end(), players.begin(), players.begin() + take);
        players = players.subspan(size_t(take));
    }
}

// Long runs of a player byte that a command nibble can carry go by nibble (0x?E, byte length);
// 4 to 7 can't, since 0x4E to 0x7E are the outline commands.
void EncodePlayerFill(Bytes& out, int32_t n, uint8_t player) {
    const bool byNibble = n >= 16 && player < 16 && (player < 4 || player > 7);
    for (; n > 0; n -= ByteMax) {
        const int32_t take = std::min(n, ByteMax);
        if (byNibble) {
            Push(out, player << 4 | 0xE);
            Push(out, take);
        } else {
            PushFourBit(out, 0xA, take);
            out.push_back(player);
        }
    }
}

void EncodeShadow(Bytes& out, int32_t n) {
    for (; n > 0; n -= ByteMax) PushFourBit(out, 0xB, std::min(n, ByteMax));
}

void EncodeOutline(Bytes& out, int32_t n, bool inner) {
    for (; n > 0; n -= ByteMax) {
        const int32_t take = std::min(n, ByteMax);
        if (take == 1) {
            Push(out, inner ? 0x4E : 0x6E);
        } else {
            Push(out, inner ? 0x5E : 0x7E);
            Push(out, take);
        }
    }
}

// A stretch of colour or player pixels: runs of three or more equal bytes become fills, the rest lists.
void EncodeIndexed(Bytes& out, std::span<const uint8_t> values, bool player) {
    size_t listStart = 0;
    auto flushList = [&](size_t end) {
        const auto list = values.subspan(listStart, end - listStart);
        if (!list.empty()) player ? EncodePlayerList(out, list) : EncodeColourList(out, list);
    };
    size_t i = 0;
    while (i < values.size()) {
        size_t j = i + 1;
        while (j < values.size() && values[j] == values[i]) ++j;
        const auto run = static_cast<int32_t>(j - i);
        if (run >= 3) {
            flushList(i);
            player ? EncodePlayerFill(out, run, values[i]) : EncodeColourFill(out, run, values[i]);
            listStart = j;
        }
        i = j;
    }
    flushList(values.size());
}

void EncodeStretch(Bytes& out, const ArtPixel* pixels, int32_t n) {
    std::vector<uint8_t> values(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i) values[size_t(i)] = pixels[i].Index;
    switch (pixels[0].Kind) {
    case Layer::Transparent: EncodeSkip(out, n); break;
    case Layer::Colour: EncodeIndexed(out, values, false); break;
    case Layer::Player: EncodeIndexed(out, values, true); break;
    case Layer::Shadow: EncodeShadow(out, n); break;
    case Layer::OutlineInner: EncodeOutline(out, n, true); break;
    case Layer::OutlineOuter: EncodeOutline(out, n, false); break;
    }
}

RowFixture EncodeRow(const ArtPixel* row, int32_t width) {
    auto opaque = [](const ArtPixel& p) { return p.Kind != Layer::Transparent; };
    const ArtPixel* first = std::find_if(row, row + width, opaque);
    if (first == row + width) return RowFixture{BlankRow, 0, {}};
    const ArtPixel* last = std::find_if(std::make_reverse_iterator(row + width), std::make_reverse_iterator(first),
                                        opaque).base() - 1;

    RowFixture encoded;
    encoded.Left = static_cast<int16_t>(first - row);
    encoded.Right = static_cast<int16_t>(row + width - 1 - last);
    for (const ArtPixel* p = first; p <= last;) {
        const ArtPixel* q = p + 1;
        while (q <= last && q->Kind == p->Kind) ++q;
        EncodeStretch(encoded.Commands, p, static_cast<int32_t>(q - p));
        p = q;
    }
    encoded.Commands.push_back(0x0F);
    return encoded;
}

// ---- Reference decoder -----------------------------------------------------------------------
// Written for plainness, not speed: every byte is fetched through a bounds check, every pixel is set
// one at a time, and positions are 64-bit so that nothing can wrap.

constexpr uint32_t Magenta = 0xFF00FF;

struct PlainReader {
    std::span<const uint8_t> bytes;
    int64_t at = 0;

    bool Byte(uint8_t& value) {
        if (at < 0 || at >= static_cast<int64_t>(bytes.size())) return false;
        value = bytes[size_t(at++)];
        return true;
    }
    bool I16(int16_t& value) {
        uint8_t lo = 0, hi = 0;
        if (!Byte(lo) || !Byte(hi)) return false;
        value = static_cast<int16_t>(uint16_t(lo | hi << 8));
        return true;
    }
    bool I32(int32_t& value) {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) {
            uint8_t b = 0;
            if (!Byte(b)) return false;
            v |= uint32_t{b} << (8 * i);
        }
        value = static_cast<int32_t>(v);
        return true;
    }
};

struct PlainCanvas {
    int64_t width = 0;
    int64_t height = 0;
    std::vector<uint32_t>& image;
    std::vector<uint32_t>& mask;

    void Set(int64_t x, int64_t y, uint32_t colour, uint32_t layer) {
        if (x < 0 || y < 0 || x >= width || y >= height) return;
        image[size_t(y * width + x)] = colour;
        mask[size_t(y * width + x)] = layer;
    }
    void Run(int64_t& x, int64_t y, int64_t n, uint32_t colour, uint32_t layer) {
        for (int64_t i = 0; i < n; ++i) Set(x++, y, colour, layer);
    }
};

// Runs one row's commands from the reader's position up to and including the end-of-row byte.
bool DecodeRowCommands(PlainReader& in, PlainCanvas& canvas, int64_t& x, int64_t y,
                       std::span<const uint32_t, 256> palette) {
    for (;;) {
        uint8_t command = 0;
        if (!in.Byte(command)) return false;
        const int32_t low = command & 0x0F;
        const int32_t high = command >> 4;
        uint8_t length = 0;
        uint8_t c = 0;

        if (low == 0xF) return true;
        if (command == 0x4E) {
            canvas.Set(x++, y, Magenta, 0xFF0000);
        } else if (command == 0x6E) {
            canvas.Set(x++, y, Magenta, 0x00FFFF);
        } else if (command == 0x5E || command == 0x7E) {
            if (!in.Byte(length)) return false;
            canvas.Run(x, y, length, Magenta, command == 0x5E ? 0xFF0000 : 0x00FFFF);
        } else if (low == 0x0 || low == 0x4 || low == 0x8 || low == 0xC) {
            for (int32_t i = 0; i < command >> 2; ++i) {
                if (!in.Byte(c)) return false;
                canvas.Set(x++, y, palette[c], 0xFFFFFF);
            }
        } else if (low == 0x1 || low == 0x5 || low == 0x9 || low == 0xD) {
            int32_t n = command >> 2;
            if (n == 0) {
                if (!in.Byte(length)) return false;
                n = length;
            }
            canvas.Run(x, y, n, Magenta, 0xFF00FF);
        } else if (low == 0x2 || low == 0x3) {
            if (!in.Byte(length)) return false;
            const int32_t n = high * 256 + length;
            if (low == 0x3) {
                canvas.Run(x, y, n, Magenta, 0xFF00FF);
            } else {
                for (int32_t i = 0; i < n; ++i) {
                    if (!in.Byte(c)) return false;
                    canvas.Set(x++, y, palette[c], 0xFFFFFF);
                }
            }
        } else if (low == 0xE) {
            if (!in.Byte(length)) return false;
            canvas.Run(x, y, length, palette[size_t(16 + high)], 0x00FF00);
        } else {
            // 0x6, 0x7, 0xA, 0xB: four-bit length, extended by the next byte when 0.
            int32_t n = high;
            if (n == 0) {
                if (!in.Byte(length)) return false;
                n = length;
            }
            if (low == 0x6) {
                for (int32_t i = 0; i < n; ++i) {
                    if (!in.Byte(c) || c > 239) return false;
                    canvas.Set(x++, y, palette[size_t(c) + 16], 0x00FF00);
                }
            } else if (low == 0x7) {
                if (!in.Byte(c)) return false;
                canvas.Run(x, y, n, palette[c], 0xFFFFFF);
            } else if (low == 0xA) {
                if (!in.Byte(c) || c > 239) return false;
                canvas.Run(x, y, n, palette[size_t(c) + 16], 0x00FF00);
            } else {
                canvas.Run(x, y, n, 0x0000FF, 0x0000FF);
            }
        }
    }
}

}  // namespace

FrameFixture EncodeFrame(const Art& art, int32_t hotspotX, int32_t hotspotY) {
    FrameFixture frame;
    frame.Width = art.Width;
    frame.Height = art.Height;
    frame.HotspotX = hotspotX;
    frame.HotspotY = hotspotY;
    for (int32_t y = 0; y < art.Height; ++y) frame.Rows.push_back(EncodeRow(&art.At(0, y), art.Width));
    return frame;
}

std::vector<uint32_t> ExpectedImage(const Art& art, std::span<const uint32_t, 256> palette) {
    std::vector<uint32_t> image;
    image.reserve(art.Pixels.size());
    for (const ArtPixel& p : art.Pixels) {
        switch (p.Kind) {
        case Layer::Colour: image.push_back(palette[p.Index]); break;
        case Layer::Player: image.push_back(palette[size_t(p.Index) + 16]); break;
        case Layer::Shadow: image.push_back(0x0000FF); break;
        default: image.push_back(0xFF00FF); break;
        }
    }
    return image;
}

std::vector<uint32_t> ExpectedMask(const Art& art) {
    std::vector<uint32_t> mask;
    mask.reserve(art.Pixels.size());
    for (const ArtPixel& p : art.Pixels) {
        switch (p.Kind) {
        case Layer::Transparent: mask.push_back(0xFF00FF); break;
        case Layer::Colour: mask.push_back(0xFFFFFF); break;
        case Layer::Player: mask.push_back(0x00FF00); break;
        case Layer::Shadow: mask.push_back(0x0000FF); break;
        case Layer::OutlineInner: mask.push_back(0xFF0000); break;
        case Layer::OutlineOuter: mask.push_back(0x00FFFF); break;
        }
    }
    return mask;
}

bool ReferenceDecode(std::span<const uint8_t> slp, int32_t frame, std::span<const uint32_t, 256> palette,
                     std::vector<uint32_t>& image, std::vector<uint32_t>& mask) {
    image.clear();
    mask.clear();
    PlainReader in{slp, 4};
    int32_t numFrames = 0;
    if (!in.I32(numFrames) || frame < 0 || frame >= numFrames) return false;

    int32_t commandTable = 0, outlineTable = 0, unused = 0, width = 0, height = 0;
    in.at = 32 + 32 * int64_t{frame};
    if (!in.I32(commandTable) || !in.I32(outlineTable) || !in.I32(unused) || !in.I32(unused) || !in.I32(width) ||
        !in.I32(height))
        return false;
    // A frame beyond the program's limits counts as damage too. A height below 1 has no rows to
    // draw, and a width of 0 still runs its rows, drawing nothing.
    height = std::max(height, 0);
    if (width < 0 || width > MaxFrameWidth || height > MaxFrameRows || int64_t{width} * height > MaxSurfacePixels)
        return false;

    image.assign(size_t(width) * size_t(height), 0);
    mask.assign(size_t(width) * size_t(height), 0);
    PlainCanvas canvas{width, height, image, mask};

    for (int64_t y = 0; y < height; ++y) {
        int16_t left = 0, right = 0;
        in.at = outlineTable + 4 * y;
        if (!in.I16(left) || !in.I16(right)) return false;
        int64_t x = 0;
        if (left == BlankRow) {
            canvas.Run(x, y, width, Magenta, 0xFF00FF);
            continue;
        }
        canvas.Run(x, y, left, Magenta, 0xFF00FF);

        int32_t stream = 0;
        in.at = commandTable + 4 * y;
        if (!in.I32(stream)) return false;
        in.at = stream;
        x = left;
        if (!DecodeRowCommands(in, canvas, x, y, palette)) return false;
        canvas.Run(x, y, right, Magenta, 0xFF00FF);
    }
    return true;
}

}  // namespace fixtures
