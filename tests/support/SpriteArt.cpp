// Pictures drawn in layers: the SLP encoder for them, and the colours they must decode to.

#include <algorithm>
#include <random>

#include "base/Host.h"
#include "colour/Palettes.h"
#include "Writers.h"

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

}  // namespace

Art RandomArt(int32_t width, int32_t height, uint32_t seed) {
    std::mt19937 rng(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    Art art(width, height);
    for (size_t i = 0; i < art.Pixels.size();) {
        const auto kind = Layer(pick(0, 5));
        const int top = kind == Layer::Player ? (pick(0, 1) ? 15 : 239) : 255;  // player bytes by nibble, or not
        const int index = pick(0, top), vary = pick(0, 1);
        for (int n = pick(0, 1) ? pick(1, 8) : pick(1, 300); n > 0 && i < art.Pixels.size(); --n)
            art.Pixels[i++] = {kind, uint8_t(vary ? pick(0, top) : index)};
    }
    return art;
}

FrameFixture EncodeFrame(const Art& art, int32_t hotspotX, int32_t hotspotY) {
    FrameFixture frame;
    frame.Width = art.Width;
    frame.Height = art.Height;
    frame.HotspotX = hotspotX;
    frame.HotspotY = hotspotY;
    for (int32_t y = 0; y < art.Height; ++y) frame.Rows.push_back(EncodeRow(&art.At(0, y), art.Width));
    return frame;
}

Bytes RandomSprite(uint32_t seed) {
    std::mt19937 random(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(random); };
    std::vector<FrameFixture> frames;
    for (int f = pick(1, 4); f > 0; --f) {
        FrameFixture frame = EncodeFrame(RandomArt(pick(1, 400), pick(1, 40), seed * 8 + uint32_t(f)), pick(-50, 50), pick(-9, 60));
        for (RowFixture& row : frame.Rows)
            if (row.Left != BlankRow && pick(0, 5) == 0) row.Right = int16_t(row.Right / 2);
        frames.push_back(frame);
        if (pick(0, 2) == 0) frames.push_back(frame), frames.back().HotspotX += 7;
    }
    return WriteSprite(frames);
}

std::vector<DecodedFrame> DecodeFrames(const Bytes& sprite, std::vector<FramePixels>* pixels) {
    const SLPFile file{"memory.slp", sprite};
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ParseSLPHeaders(file, header, frames)) return {};
    if (pixels) pixels->clear();
    const ColourLookup lookup(Palette);
    QuietHost quiet;
    std::vector<DecodedFrame> decoded;
    for (const SLPFrameInfo& frame : frames) {
        cDIBSection image, mask;
        (void)DecodeSLPFrame(file, frame, image, mask, false, quiet, DecodedColours);
        decoded.push_back({frame, image.EncodeBitmap(), mask.EncodeBitmap()});
        if (!pixels) continue;
        FramePixels& made = pixels->emplace_back();
        if (!PixelsFromSurfaces(image, mask, lookup, FirstPlayer, made)) made.Width = -1;  // which the encoder refuses
        made.HotspotX = frame.HotspotX, made.HotspotY = frame.HotspotY;
    }
    return decoded;
}

std::string DecodedDifference(const std::vector<DecodedFrame>& got, const std::vector<DecodedFrame>& want) {
    if (got.size() != want.size()) return std::to_string(got.size()) + " frames for " + std::to_string(want.size());
    for (size_t f = 0; f < got.size(); ++f) {
        const SLPFrameInfo &a = got[f].Info, &b = want[f].Info;
        const std::string frame = "frame " + std::to_string(f + 1);
        if (a.Width != b.Width || a.Height != b.Height) return frame + ": another size";
        if (a.HotspotX != b.HotspotX || a.HotspotY != b.HotspotY) return frame + ": another hot spot";
        if (got[f].Image != want[f].Image) return frame + ": other colours";
        if (got[f].Mask != want[f].Mask) return frame + ": other layers";
    }
    return {};
}

std::vector<uint32_t> ExpectedImage(const Art& art, std::span<const uint32_t, 256> palette) {
    std::vector<uint32_t> image;
    for (const ArtPixel& p : art.Pixels) {
        // Transparent, colour, player (a byte of 0 to 239, so never wrapped), shadow, the outlines.
        const uint32_t byKind[] = {0xFF00FF, palette[p.Index], palette[(p.Index + 16u) % 256], 0x0000FF, 0xFF00FF, 0xFF00FF};
        image.push_back(byKind[size_t(p.Kind)]);
    }
    return image;
}

std::vector<uint32_t> ExpectedMask(const Art& art) {
    constexpr uint32_t byKind[] = {0xFF00FF, 0xFFFFFF, 0x00FF00, 0x0000FF, 0xFF0000, 0x00FFFF};
    std::vector<uint32_t> mask;
    for (const ArtPixel& p : art.Pixels) mask.push_back(byKind[size_t(p.Kind)]);
    return mask;
}

}  // namespace fixtures
