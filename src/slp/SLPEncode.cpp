#include "slp/SLPEncode.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unordered_map>

#include "slp/SLPCodeNew.h"

namespace {

constexpr size_t HeaderSize = 32;
constexpr size_t FrameInfoSize = 32;
// Our own mark in the header: the version readers expect, and a comment that says who wrote the file.
constexpr std::string_view EncodedVersion = "2.0N";
constexpr std::string_view EncodedComment = "Brindle " BRINDLE_VERSION;

// The largest lengths of the command forms.
constexpr uint32_t SixBitMax = 63, FourBitMax = 15, ByteMax = 255, LongMax = 4095;
// The highest player byte that team 1 draws inside the palette: palette[byte + 16].
constexpr uint32_t LastPlayerByte = 239;

void StoreI16(uint8_t* p, int32_t value) {
    p[0] = static_cast<uint8_t>(value);
    p[1] = static_cast<uint8_t>(value >> 8);
}

void StoreI32(uint8_t* p, int64_t value) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(value >> (8 * i));
}

// Where the run of bytes equal to a[i] that starts at i ends, n at most: eight bytes at a time.
size_t RunEnd(const uint8_t* a, size_t i, size_t n) {
    const uint8_t value = a[i];
    const uint64_t pattern = 0x0101010101010101ull * value;
    size_t j = i + 1;
    for (; j + 8 <= n; j += 8) {
        uint64_t word;
        std::memcpy(&word, a + j, 8);
        if (const uint64_t differ = word ^ pattern) {
            const int bit = std::endian::native == std::endian::little ? std::countr_zero(differ) : std::countl_zero(differ);
            return j + static_cast<size_t>(bit / 8);
        }
    }
    while (j < n && a[j] == value) ++j;
    return j;
}

// The first k from i on with a[k] == a[k + 1], or n when there is none before n: eight pairs at a time,
// where a byte of a XOR a shifted by one is 0.
size_t NextPair(const uint8_t* a, size_t i, size_t n) {
    constexpr uint64_t Ones = 0x0101010101010101ull, Highs = 0x8080808080808080ull;
    if constexpr (std::endian::native == std::endian::little) {
        for (; i + 9 <= n; i += 8) {
            uint64_t word, next;
            std::memcpy(&word, a + i, 8);
            std::memcpy(&next, a + i + 1, 8);
            const uint64_t differ = word ^ next;
            // The lowest zero byte is told exactly; those above it may be false, and are not looked at.
            if (const uint64_t zero = (differ - Ones) & ~differ & Highs) return i + static_cast<size_t>(std::countr_zero(zero) / 8);
        }
    }
    for (; i + 1 < n; ++i)
        if (a[i] == a[i + 1]) return i;
    return n;
}

const uint8_t* LayerBytes(const PixelLayer* layers) { return reinterpret_cast<const uint8_t*>(layers); }

// The command stream of one row is written through this; the caller has made room for it (at most
// two bytes a pixel and the end byte).
struct Stream {
    uint8_t* At;

    void Put(uint32_t byte) { *At++ = static_cast<uint8_t>(byte); }

    // Commands with a four-bit length, extended: in the command byte up to 15, else in the next byte.
    void FourBit(uint32_t nibble, uint32_t n) {
        if (n <= FourBitMax) {
            Put(n << 4 | nibble);
        } else {
            Put(nibble);
            Put(n);
        }
    }
    void Skip(uint32_t n) {
        for (; n > 0;) {
            const uint32_t take = std::min(n, LongMax);
            if (take <= SixBitMax) {
                Put(take << 2 | 0x1);
            } else {
                Put((take >> 8) << 4 | 0x3);
                Put(take & 0xFF);
            }
            n -= take;
        }
    }
    void Shadow(uint32_t n) {
        for (; n > 0; n -= std::min(n, ByteMax)) FourBit(0xB, std::min(n, ByteMax));
    }
    void Outline(uint32_t n, bool inner) {
        for (; n > 0; n -= std::min(n, ByteMax)) {
            const uint32_t take = std::min(n, ByteMax);
            if (take == 1) {
                Put(inner ? 0x4E : 0x6E);
            } else {
                Put(inner ? 0x5E : 0x7E);
                Put(take);
            }
        }
    }
    void ColourList(const uint8_t* bytes, uint32_t n) {
        for (; n > 0;) {
            const uint32_t take = std::min(n, LongMax);
            if (take <= SixBitMax) {
                Put(take << 2);
            } else {
                Put((take >> 8) << 4 | 0x2);
                Put(take & 0xFF);
            }
            std::memcpy(At, bytes, take);
            At += take, bytes += take, n -= take;
        }
    }
    void PlayerList(const uint8_t* bytes, uint32_t n) {
        for (; n > 0;) {
            const uint32_t take = std::min(n, ByteMax);
            FourBit(0x6, take);
            std::memcpy(At, bytes, take);
            At += take, bytes += take, n -= take;
        }
    }
    void ColourFill(uint32_t n, uint32_t index) {
        for (; n > 0; n -= std::min(n, ByteMax)) {
            FourBit(0x7, std::min(n, ByteMax));
            Put(index);
        }
    }
    // The player run by nibble (0x?E and a byte length) carries bytes 0 to 15 but 4 to 7, whose
    // command bytes are the outlines'; it saves a byte on runs of 16 and more.
    void PlayerFill(uint32_t n, uint32_t player) {
        const bool byNibble = player <= 15 && (player < 4 || player > 7);
        for (; n > 0; n -= std::min(n, ByteMax)) {
            const uint32_t take = std::min(n, ByteMax);
            if (byNibble && take > FourBitMax) {
                Put(player << 4 | 0xE);
                Put(take);
            } else {
                FourBit(0xA, take);
                Put(player);
            }
        }
    }
};

// What a fill of n pixels costs, for a colour or a player byte.
uint32_t FillCost(uint32_t n, bool player, uint32_t value) {
    const uint32_t chunks = (n + ByteMax - 1) / ByteMax;
    const uint32_t last = n - (chunks - 1) * ByteMax;
    const bool byNibble = player && value <= 15 && (value < 4 || value > 7);
    return (chunks - 1) * (byNibble ? 2 : 3) + (last <= FourBitMax || byNibble ? 2 : 3);
}

// Colour or player pixels from `from` to `to`: each run of one byte goes in a fill or in a list,
// whichever costs fewer bytes, counting the list header that a fill between two lists adds and the
// one that a list of its own needs. A tie goes to the fill.
void EncodeIndexed(Stream& out, const uint8_t* bytes, size_t from, size_t to, bool player) {
    auto flush = [&](size_t listFrom, size_t listTo) {
        if (listFrom == listTo) return;
        const auto n = static_cast<uint32_t>(listTo - listFrom);
        player ? out.PlayerList(bytes + listFrom, n) : out.ColourList(bytes + listFrom, n);
    };
    size_t listFrom = from;  // the list not yet written runs from here to i
    size_t i = from, j = RunEnd(bytes, from, to);
    while (i < to) {
        // Two or more single pixels in a row all go in the list, whatever stands around them.
        if (j == i + 1 && j + 1 < to && bytes[j] != bytes[j + 1]) {
            i = NextPair(bytes, i, to);
            if (i == to) break;
            j = RunEnd(bytes, i, to);
            continue;
        }
        const size_t next = j < to ? RunEnd(bytes, j, to) : to;
        const auto run = static_cast<uint32_t>(j - i);
        const bool listBefore = listFrom < i;
        const bool listAfter = j < to && next - j <= 2;  // a short run after this one will be listed
        const uint32_t asFill = FillCost(run, player, bytes[i]) + (listBefore && listAfter ? 1 : 0);
        const uint32_t asList = run + (!listBefore && !listAfter ? 1 : 0);
        if (asFill <= asList) {
            flush(listFrom, i);
            player ? out.PlayerFill(run, bytes[i]) : out.ColourFill(run, bytes[i]);
            listFrom = j;
        }
        i = j;
        j = next;
    }
    flush(listFrom, to);
}

// Where the run of transparent pixels that ends at `end` starts, `from` at the earliest.
size_t TransparentFrom(const PixelLayer* layers, size_t from, size_t end) {
    while (end > from && layers[end - 1] == PixelLayer::Transparent) --end;
    return end;
}

struct RowResult {
    int32_t Left = 0, Right = 0;
    const char* Problem = nullptr;
    size_t ProblemColumn = 0;
};

// One row: its margins, and its commands into out. A wholly transparent row gets the blank mark
// and no commands.
RowResult EncodeRow(const PixelLayer* layers, const uint8_t* bytes, size_t width, Stream& out) {
    RowResult row;
    size_t drawn = width;  // the pixels before a short row's end
    while (drawn > 0 && layers[drawn - 1] == PixelLayer::Nothing) --drawn;
    const uint8_t* kinds = LayerBytes(layers);
    const size_t left = drawn > 0 && layers[0] == PixelLayer::Transparent ? RunEnd(kinds, 0, drawn) : 0;
    if (left == width) {
        row.Left = BlankRowMark;
        return row;
    }
    const size_t end = TransparentFrom(layers, left, drawn);
    row.Left = static_cast<int32_t>(left);
    row.Right = static_cast<int32_t>(drawn - end);
    for (size_t i = left; i < end;) {
        const size_t j = RunEnd(kinds, i, end);
        const auto n = static_cast<uint32_t>(j - i);
        switch (layers[i]) {
            case PixelLayer::Transparent: out.Skip(n); break;
            case PixelLayer::Colour: EncodeIndexed(out, bytes, i, j, false); break;
            case PixelLayer::Player:
                if (const uint8_t* high = std::find_if(bytes + i, bytes + j, [](uint8_t b) { return b > LastPlayerByte; });
                    high != bytes + j) {
                    row.Problem = "a player byte above 239 lies past the palette";
                    row.ProblemColumn = static_cast<size_t>(high - bytes);
                    return row;
                }
                EncodeIndexed(out, bytes, i, j, true);
                break;
            case PixelLayer::Shadow: out.Shadow(n); break;
            case PixelLayer::OutlineInner: out.Outline(n, true); break;
            case PixelLayer::OutlineOuter: out.Outline(n, false); break;
            case PixelLayer::Nothing:
                row.Problem = "a pixel with nothing drawn stands before drawn ones, and only a row's end can be left undrawn";
                row.ProblemColumn = i;
                return row;
            default:
                row.Problem = "a pixel's layer is none of the six";
                row.ProblemColumn = i;
                return row;
        }
        i = j;
    }
    out.Put(0x0F);
    return row;
}

std::string Number(int64_t value) {
    std::string digits = std::to_string(value < 0 ? -value : value), text;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
        text += digits[i];
    }
    return (value < 0 ? "-" : "") + text;
}

Outcome Refused(int32_t frame, const std::string& why) {
    return Outcome::Failure(Fault::OutOfLimits, "frame " + std::to_string(frame) + ": " + why);
}

// The size limits of a frame, as the decoder sets them.
Outcome CheckFrame(int32_t number, const FramePixels& frame) {
    if (frame.Width < 0 || frame.Width > MaxFrameWidth) {
        return Refused(number, "a width of " + Number(frame.Width) + " does not fit 16 bits signed (at most " + Number(MaxFrameWidth) + ")");
    }
    if (frame.Height < 0 || frame.Height > MaxFrameRows) {
        return Refused(number, Number(frame.Height) + " rows; a frame has at most " + Number(MaxFrameRows));
    }
    const int64_t pixels = int64_t{frame.Width} * frame.Height;
    if (pixels > MaxSurfacePixels) {
        return Refused(number, Number(frame.Width) + " x " + Number(frame.Height) + " pixels; Brindle draws at most " +
                                   Number(MaxSurfacePixels) + " a frame");
    }
    if (frame.Layers.size() != static_cast<size_t>(pixels) || frame.Bytes.size() != static_cast<size_t>(pixels)) {
        return Outcome::Failure(Fault::Damaged, "frame " + std::to_string(number) + ": its pixels are not " +
                                                    Number(frame.Width) + " x " + Number(frame.Height));
    }
    return Outcome::Success();
}

uint64_t HashBytes(const uint8_t* bytes, size_t size) {
    return std::hash<std::string_view>{}({reinterpret_cast<const char*>(bytes), size});
}

}  // namespace

SLPEncoder::SLPEncoder(int32_t frameCount, int64_t maxBytes) : count_(frameCount), maxBytes_(maxBytes) {
    if (frameCount > MaxFrames) {
        failed_ = Refused(MaxFrames + 1, "a sprite holds at most " + Number(MaxFrames) + " frames; this one has " + Number(frameCount));
    } else if (frameCount < 1) {
        failed_ = Outcome::Failure(Fault::OutOfLimits, "a sprite holds at least one frame");
    } else {
        used_ = HeaderSize + FrameInfoSize * static_cast<size_t>(frameCount);
        bytes_.resize(std::max<size_t>(used_, 4096));
    }
}

Outcome SLPEncoder::Fail(Outcome outcome) {
    failed_ = outcome;
    return outcome;
}

bool SLPEncoder::ShareTablesOfEarlierFrame(size_t recordAt, int32_t width, int32_t height, size_t tablesAt, size_t end) {
    const size_t rows = static_cast<size_t>(height);
    const uint8_t* bytes = bytes_.data();
    const size_t streamsAt = tablesAt + 8 * rows;
    const uint64_t hash = HashBytes(bytes + tablesAt, 4 * rows) * 31 + HashBytes(bytes + streamsAt, end - streamsAt) + uint64_t(width);
    const auto [first, last] = tables_.equal_range(hash);
    for (auto at = first; at != last; ++at) {
        const Tables& earlier = at->second;
        if (earlier.Width != width || earlier.Height != height ||
            earlier.End - earlier.StreamsAt != end - streamsAt ||
            std::memcmp(bytes + earlier.OutlineAt, bytes + tablesAt, 4 * rows) != 0 ||
            std::memcmp(bytes + earlier.StreamsAt, bytes + streamsAt, end - streamsAt) != 0) {
            continue;
        }
        StoreI32(bytes_.data() + recordAt, static_cast<int64_t>(earlier.OutlineAt + 4 * rows));
        StoreI32(bytes_.data() + recordAt + 4, static_cast<int64_t>(earlier.OutlineAt));
        return true;
    }
    tables_.emplace(hash, Tables{width, height, tablesAt, streamsAt, end});
    return false;
}

Outcome SLPEncoder::Add(const FramePixels& frame) {
    if (!failed_) return failed_;
    const int32_t number = added_ + 1;
    if (number > count_) return Fail(Refused(number, "the sprite was to have " + Number(count_) + " frames"));
    if (Outcome checked = CheckFrame(number, frame); !checked) return Fail(checked);

    const size_t width = static_cast<size_t>(frame.Width), rows = static_cast<size_t>(frame.Height);
    const size_t tablesAt = used_;
    auto room = [&](size_t need) {
        if (bytes_.size() - used_ < need) bytes_.resize(std::max(2 * bytes_.size(), used_ + need));
    };
    auto tooLarge = [&] {
        return Refused(number, "the file grows past " + Number(maxBytes_) + " bytes, the most an SLP file's offsets reach");
    };
    if (static_cast<int64_t>(used_ + 8 * rows) > maxBytes_) return Fail(tooLarge());
    room(8 * rows);
    used_ += 8 * rows;
    for (size_t y = 0; y < rows; ++y) {
        room(2 * width + 8);
        Stream out{bytes_.data() + used_};
        const RowResult row = EncodeRow(frame.Layers.data() + y * width, frame.Bytes.data() + y * width, width, out);
        if (row.Problem) {
            return Fail(Outcome::Failure(Fault::Damaged, "frame " + std::to_string(number) + ", row " + std::to_string(y) +
                                                             ", column " + std::to_string(row.ProblemColumn) + ": " + row.Problem));
        }
        const bool blank = row.Left == BlankRowMark;
        StoreI16(bytes_.data() + tablesAt + 4 * y, row.Left);
        StoreI16(bytes_.data() + tablesAt + 4 * y + 2, row.Right);
        StoreI32(bytes_.data() + tablesAt + 4 * rows + 4 * y, blank ? 0 : static_cast<int64_t>(used_));
        used_ = static_cast<size_t>(out.At - bytes_.data());
        if (static_cast<int64_t>(used_) > maxBytes_) return Fail(tooLarge());
    }

    const size_t recordAt = HeaderSize + FrameInfoSize * static_cast<size_t>(added_);
    const int32_t record[] = {static_cast<int32_t>(tablesAt + 4 * rows), static_cast<int32_t>(tablesAt), 0, 0,
                              frame.Width, frame.Height, frame.HotspotX, frame.HotspotY};
    for (size_t i = 0; i < 8; ++i) StoreI32(bytes_.data() + recordAt + 4 * i, record[i]);
    if (ShareTablesOfEarlierFrame(recordAt, frame.Width, frame.Height, tablesAt, used_)) used_ = tablesAt;
    ++added_;
    return Outcome::Success();
}

Outcome SLPEncoder::Finish(std::vector<uint8_t>& file) {
    if (!failed_) return failed_;
    if (added_ != count_) {
        return Fail(Outcome::Failure(Fault::Missing, "the sprite was to have " + Number(count_) + " frames, and " +
                                                         Number(added_) + " were given"));
    }
    std::memset(bytes_.data(), 0, HeaderSize);
    std::memcpy(bytes_.data(), EncodedVersion.data(), 4);
    StoreI32(bytes_.data() + 4, count_);
    std::memcpy(bytes_.data() + 8, EncodedComment.data(), std::min<size_t>(EncodedComment.size(), 24));
    bytes_.resize(used_);
    file = std::move(bytes_);
    bytes_.clear();
    failed_ = Outcome::Failure(Fault::Missing, "the sprite has been written already");
    return Outcome::Success();
}

Outcome EncodeSLP(std::span<const FramePixels> frames, std::vector<uint8_t>& file, int64_t maxBytes) {
    SLPEncoder encoder(static_cast<int32_t>(std::min<size_t>(frames.size(), size_t{MaxFrames} + 1)), maxBytes);
    for (const FramePixels& frame : frames)
        if (Outcome added = encoder.Add(frame); !added) return added;
    return encoder.Finish(file);
}

// ---- from decoded surfaces back to pixels ----------------------------------------------------------

ColourLookup::ColourLookup(const std::array<uint32_t, 256>& palette) {
    for (uint32_t i = 0; i < 256; ++i) sorted_[i] = (palette[i] & 0xFFFFFF) << 8 | i;
    std::sort(sorted_.begin(), sorted_.end());
}

int32_t ColourLookup::Find(uint32_t colour, int32_t from) const {
    if (colour > 0xFFFFFF || from < 0 || from > 255) return -1;
    const uint32_t key = colour << 8 | static_cast<uint32_t>(from);
    const auto at = std::lower_bound(sorted_.begin(), sorted_.end(), key);
    return at != sorted_.end() && (*at >> 8) == colour ? static_cast<int32_t>(*at & 0xFF) : -1;
}

namespace {

std::string WebColour(uint32_t colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02X%02X%02X", colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF);
    return text;
}

uint32_t ColourAt(const uint8_t* p) { return uint32_t{p[2]} | uint32_t{p[1]} << 8 | uint32_t{p[0]} << 16; }

}  // namespace

bool LayerOfCode(uint32_t code, PixelLayer& layer) {
    switch (code) {
        case 0: layer = PixelLayer::Nothing; return true;
        case LayerTransparent: layer = PixelLayer::Transparent; return true;
        case LayerColour: layer = PixelLayer::Colour; return true;
        case LayerPlayer: layer = PixelLayer::Player; return true;
        case LayerShadow: layer = PixelLayer::Shadow; return true;
        case LayerOutlineInner: layer = PixelLayer::OutlineInner; return true;
        case LayerOutlineOuter: layer = PixelLayer::OutlineOuter; return true;
        default: return false;
    }
}

Outcome PixelsFromSurfaces(const cDIBSection& image, const cDIBSection& mask, const ColourLookup& palette, int32_t player,
                           FramePixels& pixels) {
    // A surface of a width or height of 0 keeps its size without holding pixels.
    const int32_t width = std::max(mask.Width(), 0), height = std::max(mask.Height(), 0);
    const bool same = std::max(image.Width(), 0) == width && std::max(image.Height(), 0) == height;
    if (!same || (int64_t{width} * height > 0 && !(mask.IsCreated() && image.IsCreated()))) {
        return Outcome::Failure(Fault::Damaged, "the colours are " + std::to_string(image.Width()) + " x " + std::to_string(image.Height()) +
                                                    " pixels and the layers " + std::to_string(width) + " x " + std::to_string(height));
    }
    pixels.Width = width;
    pixels.Height = height;
    const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
    pixels.Layers.assign(count, PixelLayer::Nothing);
    pixels.Bytes.assign(count, 0);
    const int32_t playerFrom = 16 * std::clamp(player, FirstPlayer, LastPlayer);
    // The last colour looked up, by layer: runs of one colour look it up once.
    uint32_t lastColour[2] = {0xFFFFFFFF, 0xFFFFFFFF};
    int32_t lastIndex[2] = {-1, -1};
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* codes = mask.RowPointer(y);
        const uint8_t* colours = image.RowPointer(y);
        PixelLayer* layers = pixels.Layers.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
        uint8_t* bytes = pixels.Bytes.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
        for (int32_t x = 0; x < width; ++x) {
            const auto at = static_cast<size_t>(3 * x);
            if (!LayerOfCode(ColourAt(codes + at), layers[x])) {
                return Outcome::Failure(Fault::Damaged, "row " + std::to_string(y) + ", column " + std::to_string(x) +
                                                            ": the layers hold " + WebColour(ColourAt(codes + at)) + ", which is no layer's code");
            }
            const bool isPlayer = layers[x] == PixelLayer::Player;
            if (!isPlayer && layers[x] != PixelLayer::Colour) continue;
            const uint32_t colour = ColourAt(colours + at);
            if (colour != lastColour[isPlayer]) {
                lastColour[isPlayer] = colour;
                lastIndex[isPlayer] = palette.Find(colour, isPlayer ? playerFrom : 0);
            }
            if (lastIndex[isPlayer] < 0) {
                return Outcome::Failure(Fault::Damaged, "row " + std::to_string(y) + ", column " + std::to_string(x) + ": " +
                                                            (isPlayer ? "the player colour " : "the colour ") + WebColour(colour) +
                                                            " is not in the palette" +
                                                            (isPlayer ? " at or above index " + std::to_string(playerFrom) : ""));
            }
            bytes[x] = static_cast<uint8_t>(lastIndex[isPlayer] - (isPlayer ? playerFrom : 0));
        }
    }
    return Outcome::Success();
}
