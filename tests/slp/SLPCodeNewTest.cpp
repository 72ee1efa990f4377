// The SLP reader and frame decoder: every command byte, rows drawn by hand, ESC, damaged files, and a
// random round trip through the fixtures' encoder.

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <map>
#include <random>

#include "RecordingHost.h"
#include "Writers.h"
#include "colour/Palettes.h"
#include "slp/SLPCodeNew.h"

using namespace fixtures;

namespace {

using Pixels = std::vector<uint32_t>;
QuietHost quiet;

struct Decoded {
    Outcome Parsed;
    DecodeResult Result;
    cDIBSection Image, Mask;
};

Decoded Decode(const Bytes& bytes, Host& host = quiet, bool allowEscape = false) {
    Decoded d;
    const SLPFile file{"memory.slp", bytes};
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    d.Parsed = ParseSLPHeaders(file, header, frames);
    if (d.Parsed) d.Result = DecodeSLPFrame(file, frames[0], d.Image, d.Mask, allowEscape, host);
    return d;
}

// count pixels of row y from column x0; with count -1 the whole surface, row by row.
Pixels Read(const cDIBSection& s, int32_t y = 0, int32_t x0 = 0, int32_t count = -1) {
    Pixels out;
    for (int32_t row = count < 0 ? 0 : y; row < (count < 0 ? s.Height() : y + 1); ++row)
        for (int32_t x = x0; x < (count < 0 ? s.Width() : x0 + count); ++x) out.push_back(s.GetPixel(x, row));
    return out;
}

// Row legend: '.' untouched; T S I O transparent, shadow, inner and outer outline; a digit d is colour
// palette[d]; p, q and P are player pixels of palette[17], [32] and [255].
std::pair<Pixels, Pixels> Want(std::string_view row) {
    const std::map<char, std::pair<uint32_t, uint32_t>> legend = {
        {'.', {0, 0}}, {'T', {0xFF00FF, LayerTransparent}}, {'S', {0x0000FF, LayerShadow}},
        {'I', {0xFF00FF, LayerOutlineInner}}, {'O', {0xFF00FF, LayerOutlineOuter}},
        {'p', {Palette[17], LayerPlayer}}, {'q', {Palette[32], LayerPlayer}}, {'P', {Palette[255], LayerPlayer}}};
    std::pair<Pixels, Pixels> want;
    for (char c : row) {
        const auto it = legend.find(c);
        const auto [image, mask] = it != legend.end() ? it->second : std::pair{Palette[size_t(c - '0')], LayerColour};
        want.first.push_back(image);
        want.second.push_back(mask);
    }
    return want;
}

void ExpectRow(const Decoded& d, int32_t y, std::string_view row, int32_t x0 = 0) {
    const auto count = int32_t(row.size());
    EXPECT_EQ(std::pair(Read(d.Image, y, x0, count), Read(d.Mask, y, x0, count)), Want(row)) << "row " << y;
}

Bytes OneRow(int32_t width, int16_t left, int16_t right, Bytes commands) {
    return WriteSprite({{.Width = width, .Height = 1, .Rows = {{left, right, std::move(commands)}}}});
}

class SLPDecoderTest : public testing::Test {
protected:
    void SetUp() override {
        for (size_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), 255 - int32_t(i), int32_t(i * 37 % 256));
    }
    void TearDown() override { Palette = saved_; }
    const std::array<uint32_t, 256> saved_ = Palette;
};

// Operands that make command byte b draw a few pixels, and how many; -1 for a byte that ends the row.
struct Command {
    Bytes Operands;
    int32_t Pixels = 0;
};

Command OperandsFor(uint8_t b) {
    const int32_t high6 = b >> 2, high4 = b >> 4;
    Command c;
    auto extended = [&](int32_t n) { c.Pixels = n ? n : 3; if (!n) c.Operands.push_back(3); };
    auto indexes = [&](int32_t first) {
        for (int32_t i = 0; i < c.Pixels; ++i) c.Operands.push_back(uint8_t(first + i));
    };
    switch (b & 0x0F) {
    case 0x0: case 0x4: case 0x8: case 0xC: c.Pixels = high6; indexes(40); break;
    case 0x1: case 0x5: case 0x9: case 0xD: extended(high6); break;
    case 0x2: c = {{3}, high4 * 256 + 3}; indexes(0); break;
    case 0x3: c = {{3}, high4 * 256 + 3}; break;
    case 0x6: extended(high4); indexes(200); break;
    case 0x7: case 0xA: extended(high4); c.Operands.push_back(11); break;
    case 0xB: extended(high4); break;
    case 0xE: c = b == 0x4E || b == 0x6E ? Command{{}, 1} : Command{{3}, 3}; break;
    default: c.Pixels = -1;
    }
    return c;
}

TEST_F(SLPDecoderTest, EveryCommandByteAgreesWithTheReferenceAndTakesItsOperands) {
    for (int b = 0; b < 256; ++b) {
        SCOPED_TRACE(b);
        const Command c = OperandsFor(uint8_t(b));
        Bytes stream{uint8_t(b)};
        stream.insert(stream.end(), c.Operands.begin(), c.Operands.end());
        stream.insert(stream.end(), {0x17, 9, 0x0F});  // one pixel of palette[9] shows where x ended
        const Bytes slp = OneRow(4000, 2, 2, stream);
        const Decoded d = Decode(slp);
        EXPECT_EQ(d.Result.Code, DecodeFinished) << d.Parsed.Detail << d.Result.Detail;
        Pixels image, mask;
        ASSERT_TRUE(ReferenceDecode(slp, 0, Palette, image, mask));
        EXPECT_EQ(std::pair(Read(d.Image), Read(d.Mask)), std::pair(image, mask));
        ExpectRow(d, 0, c.Pixels < 0 ? "TT." : "9TT.", 2 + std::max(c.Pixels, 0));
    }
}

TEST_F(SLPDecoderTest, OneRowFramesDecodeAsDrawnByHand) {
    Bytes longList{0x12, 0x34};
    longList.resize(2 + 308, 9);
    longList.push_back(0x0F);
    const struct { const char* Name; int16_t Left, Right; Bytes Stream; std::string Row; } cases[] = {
        {"fill of 32", 0, 0, {0x07, 0x20, 5, 0x0F}, std::string(32, '5') + ".."},
        {"fill of 2", 0, 0, {0x27, 5, 0x0F}, "55.."},
        {"long list of 308", 0, 0, longList, std::string(308, '9') + ".."},
        {"long skip of 4095", 0, 0, {0xF3, 0xFF, 0x0F}, std::string(4095, 'T') + ".."},
        {"colour list", 0, 0, {0x0C, 1, 2, 3, 0x0F}, "123.."},
        {"empty list reads no operand", 0, 0, {0x00, 0x17, 5, 0x0F}, "5.."},
        {"extended skip", 0, 0, {0x01, 3, 0x17, 5, 0x0F}, "TTT5.."},
        {"shadow runs, one of none", 0, 0, {0x0B, 0, 0x2B, 0x0B, 1, 0x0F}, "SSS.."},
        {"player run by nibble", 0, 0, {0x1E, 3, 0x0F}, "ppp.."},
        {"player list and fill of 239", 0, 0, {0x16, 239, 0x1A, 239, 0x0F}, "PP.."},
        {"extended player list", 0, 0, {0x06, 2, 16, 16, 0x0F}, "qq.."},
        {"outline pixels and runs", 0, 0, {0x4E, 0x5E, 3, 0x6E, 0x7E, 2, 0x0F}, "IIIIOOO.."},
        {"any high nibble ends the row", 0, 0, {0xAF, 0x17, 5, 0x0F}, ".."},
        {"both margins", 2, 1, {0x17, 5, 0x0F}, "TT5T."},
        {"right margin starts where the commands end", 0, 2, {0x17, 5, 0x0F}, "5TT..."},
        {"row of 0x0F alone", 0, 3, {0x0F}, "TTT"},
        {"margin past Width is cut", 1, 5, {0x17, 5, 0x0F}, "T5T"},
        {"negative Left is cut at column 0", -1, 1, {0x27, 5, 0x0F}, "5T"},
        {"fill past Width is cut", 0, 3, {0x07, 10, 5, 0x0F}, "5555"},
        {"blank row whatever Right holds", BlankRow, 7, {}, "TTTT"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        const Bytes slp = OneRow(int32_t(c.Row.size()), c.Left, c.Right, c.Stream);
        const Decoded d = Decode(slp);
        EXPECT_EQ(d.Result.Code, DecodeFinished) << d.Parsed.Detail << d.Result.Detail;
        ExpectRow(d, 0, c.Row);
        Pixels image, mask;
        ASSERT_TRUE(ReferenceDecode(slp, 0, Palette, image, mask));
        EXPECT_EQ(std::pair(image, mask), Want(c.Row)) << "the reference decoder";
    }
}

TEST_F(SLPDecoderTest, EscapeEndsTheDecodeAtTheStartOfARow) {
    const struct { const char* Name; bool Held; int FromAsk; bool Allow; int32_t Code, CompleteRows, Asks; } cases[] = {
        {"held before the call", true, -1, true, DecodeEscaped, 0, 1},
        {"pressed at the third row", false, 2, true, DecodeEscaped, 2, 3},
        {"not asked without allowEscape", true, -1, false, DecodeFinished, 4, 0},
        {"never pressed", false, -1, true, DecodeFinished, 4, 4},
    };
    const RowFixture row{0, 1, {0x17, 5, 0x0F}};
    const Bytes slp = WriteSprite({{.Width = 2, .Height = 4, .Rows = {row, row, row, row}}});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        RecordingHost host;
        host.EscapeHeld = c.Held;
        host.EscapeFromAsk = c.FromAsk;
        const Decoded d = Decode(slp, host, c.Allow);
        EXPECT_EQ(d.Result.Code, c.Code);
        const auto sizes = std::tuple(d.Image.Width(), d.Image.Height(), d.Mask.Width(), d.Mask.Height());
        ASSERT_EQ(sizes, std::tuple(2, 4, 2, 4));
        for (int32_t y = 0; y < 4; ++y) ExpectRow(d, y, y < c.CompleteRows ? "5T" : "..");
        EXPECT_EQ(host.EscapeAsks, c.Asks);
    }
}

constexpr int32_t Refused = 1;  // ParseSLPHeaders said no

Bytes Tall(int32_t height, int32_t width) {
    const std::vector<RowFixture> blank(size_t(height), {BlankRow, 0, {}});
    return WriteSprite({{.Width = width, .Height = height, .Rows = blank}});
}

TEST_F(SLPDecoderTest, DamagedFilesEndInAnOrderlyWay) {
    // One frame of two rows "55": its record starts at 32, and the last row's stream ends the file.
    SpriteLayout at;
    const RowFixture row{0, 0, {0x27, 5, 0x0F}};
    const Bytes good = WriteSprite({{.Width = 2, .Height = 2, .Rows = {row, row}}}, "2.0N", "", &at);
    const auto end = int32_t(good.size());
    const auto lastStream = size_t(at.RowStreamAt[0][1]);
    const struct {
        const char* Name;
        std::function<void(Bytes&)> Damage;
        int32_t Verdict;
        bool FirstRowKept = false;
    } cases[] = {
        {"file shorter than its header", [](Bytes& b) { b.resize(20); }, Refused},
        {"NumFrames 0", [](Bytes& b) { PutI32(b, 4, 0); }, Refused},
        {"NumFrames -1", [](Bytes& b) { PutI32(b, 4, -1); }, Refused},
        {"NumFrames 32767", [](Bytes& b) { PutI32(b, 4, 32767); b.resize(33 * 32768); }, Refused},
        {"NumFrames 32766", [](Bytes& b) { PutI32(b, 4, 32766); b.resize(33 * 32768); }, DecodeFinished, true},
        {"frame table past the end", [](Bytes& b) { PutI32(b, 4, 1000); }, Refused},
        {"Height 0", [](Bytes& b) { PutI32(b, 52, 0); }, DecodeFinished},
        {"Height -1", [](Bytes& b) { PutI32(b, 52, -1); }, DecodeFinished},
        {"Height 8192", [](Bytes& b) { b = Tall(8192, 1); }, DecodeFinished},
        {"Height 8193", [](Bytes& b) { b = Tall(8193, 1); }, DecodeDamaged},
        {"surface beyond MaxSurfacePixels", [](Bytes& b) { b = Tall(8192, 4096); }, DecodeDamaged},
        {"Width 32767", [](Bytes& b) { PutI32(b, 48, 32767); }, DecodeFinished, true},
        {"Width 32768", [](Bytes& b) { PutI32(b, 48, 32768); }, DecodeDamaged},
        {"Width INT32_MAX", [](Bytes& b) { PutI32(b, 48, INT32_MAX); }, DecodeDamaged},
        {"outline table past the end", [&](Bytes& b) { PutI32(b, 36, end - 4); }, DecodeDamaged},
        {"outline table before the start", [](Bytes& b) { PutI32(b, 36, -4); }, DecodeDamaged},
        {"command table past the end", [&](Bytes& b) { PutI32(b, 32, end); }, DecodeDamaged},
        {"row stream past the end", [&](Bytes& b) { PutI32(b, size_t(at.CommandTableAt[0]) + 4, end + 5); },
         DecodeDamaged, true},
        {"no end-of-row before the end", [](Bytes& b) { b.pop_back(); }, DecodeDamaged, true},
        {"player byte 240", [&](Bytes& b) { b[lastStream] = 0x1A, b[lastStream + 1] = 240; }, DecodeDamaged, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        Bytes bytes = good;
        c.Damage(bytes);
        const Decoded d = Decode(bytes);
        EXPECT_EQ(d.Parsed ? d.Result.Code : Refused, c.Verdict) << d.Parsed.Detail << d.Result.Detail;
        if (c.FirstRowKept) ExpectRow(d, 0, "55");
    }
}

TEST_F(SLPDecoderTest, RandomPicturesSurviveTheRoundTripThroughAFile) {
    std::mt19937 rng(20240607);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    auto randomArt = [&] {
        Art art(pick(0, 3) ? pick(1, 40) : pick(64, 600), pick(1, 8));
        for (int32_t y = 0; y < art.Height; ++y) {
            for (int32_t x = 0; x < art.Width && pick(0, 5);) {  // some rows end early, some are blank
                const auto kind = Layer(pick(0, 5));
                const int32_t top = kind == Layer::Player ? (pick(0, 1) ? 15 : 239) : 255;
                const bool vary = pick(0, 1);
                auto index = uint8_t(pick(0, top));
                for (int n = pick(0, 1) ? pick(1, 8) : pick(1, 300); n > 0 && x < art.Width; --n) {
                    art.At(x++, y) = {kind, index};
                    if (vary) index = uint8_t(pick(0, top));
                }
            }
        }
        return art;
    };
    TempDir dir;
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        const Art arts[] = {randomArt(), randomArt()};
        std::vector<FrameFixture> specs;
        for (const Art& art : arts) {
            specs.push_back(EncodeFrame(art, pick(-50, 50), pick(-50, 50)));
            specs.back().PaletteOffset = pick(INT_MIN, INT_MAX);  // neither changes a pixel
            specs.back().Properties = pick(INT_MIN, INT_MAX);
        }
        WriteFileBytes(dir / "round.slp", WriteSprite(specs, "\x01\xFF?!", std::string(24, '\xEE')));
        SLPFile file;
        SLPHeader header;
        std::vector<SLPFrameInfo> frames;
        ASSERT_TRUE(ReadSLPHeaders(dir / "round.slp", file, header, frames));
        ASSERT_EQ(std::pair(header.NumFrames, frames.size()), std::pair(2, size_t{2}));
        for (size_t f = 0; f < 2; ++f) {
            const SLPFrameInfo& got = frames[f];
            const FrameFixture& s = specs[f];
            EXPECT_EQ(std::tie(got.Width, got.Height, got.HotspotX, got.HotspotY, got.PaletteOffset, got.Properties),
                      std::tie(s.Width, s.Height, s.HotspotX, s.HotspotY, s.PaletteOffset, s.Properties));
            cDIBSection image, mask;
            const DecodeResult result = DecodeSLPFrame(file, got, image, mask, false, quiet);
            EXPECT_EQ(result.Code, DecodeFinished) << result.Detail;
            EXPECT_EQ(Read(image), ExpectedImage(arts[f], Palette));
            EXPECT_EQ(Read(mask), ExpectedMask(arts[f]));
        }
    }
}

}  // namespace
