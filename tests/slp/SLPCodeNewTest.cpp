// The SLP reader and frame decoder: every command byte, rows drawn by hand, damage, random round trips.

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <optional>
#include <random>

#include "colour/Palettes.h"
#include "RecordingHost.h"
#include "slp/SLPCodeNew.h"
#include "Writers.h"

using namespace fixtures;

namespace {

constexpr Fault Refused = Fault::NotThisKind;  // ParseSLPHeaders said no
QuietHost quiet;

struct Decoded {
    Fault Code = Refused;
    std::string Detail;
    SLPFrameInfo Info;
    cDIBSection Image, Mask;
    std::pair<Bytes, Bytes> Surfaces() const { return {Image.EncodeBitmap(), Mask.EncodeBitmap()}; }
};

// Reads a sprite from memory and decodes its first frame in the player's team colours. The surfaces start
// out as a larger frame left them, every byte set: whatever the decoder leaves undrawn shows, padding too.
// ESC is left to the viewer's tests.
Decoded Decode(const Bytes& bytes, int32_t player = FirstPlayer) {
    Decoded d;
    for (cDIBSection* surface : {&d.Image, &d.Mask}) {
        surface->Create(64, 64);
        for (int32_t y = 0; y < 64; ++y) surface->FillRun(0, 63, y, 0x5A5A5A);
    }
    const SLPFile file{"memory.slp", bytes};
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ParseSLPHeaders(file, header, frames)) return d;
    d.Info = frames[0];
    LayerColours colours = DecodedColours;
    colours.Player = player;
    DecodeResult result = DecodeSLPFrame(file, d.Info, d.Image, d.Mask, false, quiet, colours);
    d.Code = result.Code, d.Detail = std::move(result.Detail);
    return d;
}

// The surfaces as BMP files, rows as they hold them: '.' black, as the decoder leaves what it does not reach;
// T S I O transparent, shadow, inner and outer outline; a digit d colour palette[d]; a to p a player byte of
// 0 to 15, palette[16 player] on; P the player's last byte, palette[255].
std::pair<Bytes, Bytes> Want(std::string_view rows, int32_t height = 1, int32_t player = FirstPlayer) {
    const uint32_t images[] = {0, 0xFF00FF, 0x0000FF, 0xFF00FF, 0xFF00FF, Palette[255]};
    const uint32_t masks[] = {0, LayerTransparent, LayerShadow, LayerOutlineInner, LayerOutlineOuter, LayerPlayer};
    std::vector<uint32_t> image, mask;
    for (char c : rows) {
        const size_t kind = std::string_view(".TSIOP").find(c);
        const bool band = c >= 'a' && c <= 'p';
        image.push_back(kind < 6 ? images[kind] : Palette[size_t(band ? c - 'a' + 16 * player : c - '0')]);
        mask.push_back(kind < 6 ? masks[kind] : band ? LayerPlayer : LayerColour);
    }
    const auto width = int32_t(rows.size()) / height;
    return {BitmapOf(width, image), BitmapOf(width, mask)};
}

struct SLPDecoderTest : testing::Test {  // every palette entry a colour of its own, so that a wrong index shows
    void SetUp() override { for (size_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), 255 - int32_t(i), 99); }
};

// Appends operands that make command byte b draw a few pixels; returns them in Want's letters, or
// nothing for an end of row. Lists count up through their bytes, so that each byte shows where it went.
std::optional<std::string> AppendOperands(uint8_t b, Bytes& stream) {
    const int32_t high6 = b >> 2, high4 = b >> 4;
    int32_t n = 3;
    auto length = [&](int32_t inCommand) { if (inCommand) n = inCommand; else stream.push_back(3); };  // 0: it follows
    auto list = [&](char first, int32_t kinds) {
        std::string drawn;
        for (int32_t i = 0; i < n; ++i) stream.push_back(uint8_t(i % kinds)), drawn += char(first + i % kinds);
        return drawn;
    };
    switch (b & 0x0F) {
    case 0x0: case 0x4: case 0x8: case 0xC: n = high6; return list('0', 10);
    case 0x1: case 0x5: case 0x9: case 0xD: length(high6); return std::string(size_t(n), 'T');
    case 0x2: stream.push_back(3); n = high4 * 256 + 3; return list('0', 10);
    case 0x3: stream.push_back(3); return std::string(size_t(high4 * 256 + 3), 'T');
    case 0x6: length(high4); return list('a', 16);
    case 0x7: length(high4); stream.push_back(8); return std::string(size_t(n), '8');
    case 0xA: length(high4); stream.push_back(11); return std::string(size_t(n), 'l');
    case 0xB: length(high4); return std::string(size_t(n), 'S');
    case 0xE:
        if (b == 0x4E || b == 0x6E) return b == 0x4E ? "I" : "O";
        stream.push_back(3);
        return std::string(3, b == 0x5E ? 'I' : b == 0x7E ? 'O' : char('a' + high4));
    default: return std::nullopt;
    }
}

TEST_F(SLPDecoderTest, EveryCommandByteDrawsItsPixelsAndTakesItsOperands) {
    for (int b = 0; b < 256; ++b) {
        SCOPED_TRACE(b);
        Bytes stream{uint8_t(b)};
        const std::optional<std::string> drawn = AppendOperands(uint8_t(b), stream);
        stream.insert(stream.end(), {0x17, 9, 0x0F});  // one pixel of palette[9] shows where x ended
        std::string row = "TT" + (drawn ? *drawn + "9" : "") + "TT";
        row.resize(4000, '.');
        const Decoded d = Decode(WriteSprite({{.Width = 4000, .Height = 1, .Rows = {{2, 2, stream}}}}));
        EXPECT_EQ(std::tuple(d.Code, d.Surfaces()), std::tuple(Fault::None, Want(row)));
    }
}

// Player N draws a player byte c in palette[c + 16 N]; a byte whose colour would lie past palette[255]
// damages the row, whether a list or a fill holds it.
TEST_F(SLPDecoderTest, OneRowFramesDecodeAsDrawnByHand) {
    const struct { const char* Name; int16_t Left, Right; Bytes Stream; std::string Row;
                   int32_t Player = FirstPlayer; Fault Code = Fault::None; } cases[] = {
        {"shadow runs, one of none; player run by nibble, list and fill of 239", 0, 0,
         {0x0B, 0, 0x2B, 0x0B, 1, 0x1E, 2, 0x16, 239, 0x1A, 239, 0x0F}, "SSSbbPP.."},
        {"player 8: colour fill, player run by nibble, list and fill of 127", 0, 0,
         {0x17, 7, 0x2E, 2, 0x16, 3, 0x1A, 127, 0x0F}, "7ccdP", LastPlayer},
        {"player byte 240 at the end of a list", 0, 0, {0x17, 7, 0x26, 3, 240, 0x0F}, "7....", FirstPlayer, Fault::Damaged},
        {"player 8: fill of player byte 128", 0, 0, {0x17, 7, 0x1A, 128, 0x0F}, "7....", LastPlayer, Fault::Damaged},
        {"margin past Width is cut", 1, 5, {0x17, 5, 0x0F}, "T5T"},
        {"negative Left is cut at column 0", -1, 1, {0x27, 5, 0x0F}, "5T"},
        {"fill past Width is cut", 0, 3, {0x07, 10, 5, 0x0F}, "5555"},
        {"blank row whatever Right holds", BlankRow, 7, {}, "TTTT"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        const FrameFixture frame{.Width = int32_t(c.Row.size()), .Height = 1, .Rows = {{c.Left, c.Right, c.Stream}}};
        const Decoded d = Decode(WriteSprite({frame}), c.Player);
        EXPECT_EQ(std::tuple(d.Code, d.Surfaces()), std::tuple(c.Code, Want(c.Row, 1, c.Player)));
    }
}

// A frame the decoder can't finish keeps the rows before the damage and is black from there on; one
// beyond the limits leaves both surfaces empty.
TEST_F(SLPDecoderTest, DamagedFilesEndInAnOrderlyWay) {
    // One frame of two rows "55": its record starts at 32, and the last row's stream ends the file.
    SpriteLayout at;
    const Bytes good = WriteSprite({{.Width = 2, .Height = 2, .Rows = {2, {0, 0, {0x27, 5, 0x0F}}}}}, "2.0N", "", &at);
    const std::string wide = "55" + std::string(32765, '.');  // a row of the frame made 32767 wide
    // Rows: both rows as decoded, where the frame keeps two of them; "" where the code says enough.
    const struct { const char* Name; std::function<void(Bytes&)> Damage; Fault Code; std::string Rows; } cases[] = {
        {"file shorter than its header", [](Bytes& b) { b.resize(20); }, Refused, ""},
        {"NumFrames 0", [](Bytes& b) { PutI32(b, 4, 0); }, Refused, ""},
        {"NumFrames 32767", [](Bytes& b) { PutI32(b, 4, 32767); b.resize(33 * 32768); }, Refused, ""},
        {"NumFrames 32766", [](Bytes& b) { PutI32(b, 4, 32766); b.resize(33 * 32768); }, Fault::None, "5555"},
        {"frame table past the end", [](Bytes& b) { PutI32(b, 4, 1000); }, Refused, ""},
        {"Height -1", [](Bytes& b) { PutI32(b, 52, -1); }, Fault::None, ""},
        {"Height 8192", [](Bytes& b) { b = WriteSprite({{.Width = 1, .Height = 8192, .Rows = {8192, {BlankRow, 0, {}}}}}); },
         Fault::None, ""},
        {"Height 8193", [](Bytes& b) { PutI32(b, 52, 8193); }, Fault::Damaged, ""},
        {"surface beyond MaxSurfacePixels", [](Bytes& b) { PutI32(b, 48, 4096); PutI32(b, 52, 4097); }, Fault::Damaged, ""},
        {"Width 32767", [](Bytes& b) { PutI32(b, 48, 32767); }, Fault::None, wide + wide},
        {"Width 32768", [](Bytes& b) { PutI32(b, 48, 32768); }, Fault::Damaged, ""},
        {"outline table past the end", [&](Bytes& b) { PutI32(b, 36, int32_t(b.size()) - 4); }, Fault::Damaged, "...."},
        {"outline table before the start", [](Bytes& b) { PutI32(b, 36, -4); }, Fault::Damaged, "...."},
        {"command table past the end", [&](Bytes& b) { PutI32(b, 32, int32_t(b.size())); }, Fault::Damaged, "...."},
        {"row stream at the end",
         [&](Bytes& b) { PutI32(b, size_t(at.CommandTableAt[0]) + 4, int32_t(b.size())); }, Fault::Damaged, "55.."},
        {"no end-of-row before the end", [](Bytes& b) { b.pop_back(); }, Fault::Damaged, "5555"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        Bytes bytes = good;
        c.Damage(bytes);
        const Decoded d = Decode(bytes);
        EXPECT_EQ(d.Code, c.Code);
        if (!c.Rows.empty()) { EXPECT_EQ(d.Surfaces(), Want(c.Rows, 2)); }
        if (c.Rows.empty() && c.Code == Fault::Damaged) { EXPECT_FALSE(d.Image.IsCreated() || d.Mask.IsCreated()); }
    }
}

// A row may read about as many stream bytes as it has pixels to draw, wherever its Left lies: rows that
// share one long stream stop at their share instead of each walking all of it.
TEST_F(SLPDecoderTest, ARowReadsNoMoreOfItsStreamThanItsPixelsNeed) {
    // The densest real row: single-pixel fills in the long form, 3 bytes a pixel, then the end byte.
    Bytes dense;
    std::string drawn;
    for (int i = 0; i < 64; ++i) dense.insert(dense.end(), {0x07, 1, uint8_t(1 + i % 2)}), drawn += char('1' + i % 2);
    dense.push_back(0x0F);
    // 8,192 rows of 4 pixels that share one stream of 8,000 empty lists, starting 32,767 columns left of the frame.
    Bytes empties(8000, 0x00);
    empties.push_back(0x0F);
    const struct { const char* Name; Bytes Sprite; Fault Code; std::string Detail, Rows; int32_t Height; } cases[] = {
        {"dense row", WriteSprite({{.Width = 64, .Height = 1, .Rows = {{0, 0, dense}}}}), Fault::None, "", drawn, 1},
        {"shared stream", WriteSharedStreamSprite(4, 8192, -32767, empties), Fault::Damaged,
         "row 0: it has more commands than pixels", std::string(4 * 8192, '.'), 8192},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        const Decoded d = Decode(c.Sprite);
        EXPECT_EQ(std::tuple(d.Code, d.Detail, d.Surfaces()), std::tuple(c.Code, c.Detail, Want(c.Rows, c.Height)));
    }
}

TEST_F(SLPDecoderTest, RandomPicturesSurviveTheRoundTrip) {
    std::mt19937 rng(20240607);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE(round);
        const Art art = RandomArt(pick(0, 3) ? pick(1, 40) : pick(64, 600), pick(1, 8), uint32_t(rng()));
        FrameFixture frame = EncodeFrame(art, pick(-50, 50), pick(-50, 50));
        frame.PaletteOffset = pick(INT_MIN, INT_MAX), frame.Properties = pick(INT_MIN, INT_MAX);  // neither shows
        const Decoded d = Decode(WriteSprite({frame}, "\x01\xFF?!", std::string(24, '\xEE')));
        EXPECT_EQ(std::tie(d.Code, d.Info.HotspotX, d.Info.HotspotY, d.Info.PaletteOffset, d.Info.Properties),
                  std::make_tuple(Fault::None, frame.HotspotX, frame.HotspotY, frame.PaletteOffset, frame.Properties));
        EXPECT_EQ(d.Surfaces(),
                  std::pair(BitmapOf(art.Width, ExpectedImage(art, Palette)), BitmapOf(art.Width, ExpectedMask(art))));
    }
}

}  // namespace
