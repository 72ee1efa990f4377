// SLX bundles read back and encoded: a sprite's bundle encodes to a sprite that decodes exactly as it,
// whatever palette and team it was made with and however an editor saved its bitmaps again; damaged
// or crafted bundles are refused in one sentence that names the line or the frame.

#include <gtest/gtest.h>

#include "colour/Palettes.h"
#include "export/SLPExports.h"
#include "export/SLXBundle.h"
#include "RecordingHost.h"
#include "surface/BitmapReader.h"
#include "Writers.h"

using namespace fixtures;

namespace {

struct SLXBundleTest : testing::Test {
    void SetUp() override { (void)LoadPalette(""); }

    // Exports the sprite as dir/walk.slx in the team `player`, and encodes the bundle back.
    Outcome RoundTrip(const Bytes& sprite, int32_t player, Bytes& encoded) {
        QuietHost quiet;
        EXPECT_TRUE(ExportSLX(SLPFile{"walk.slp", sprite}, dir / "walk", quiet, player).Ok());
        SLXListing listing;
        if (Outcome parsed = ParseSLXText(ReadFileBytes(dir / "walk.slx"), listing); !parsed) return parsed;
        return EncodeSLXBundle(listing, dir.Path(), Palette, player, encoded);
    }
    TempDir dir;
};

// A surface as a BMP file an editor might save: 8 bits with a colour table, or 32 top-down.
Bytes SavedAgain(const Bytes& bitmap, int bits) {
    cDIBSection surface;
    EXPECT_TRUE(ReadBitmapFile(bitmap, surface).Ok());
    const int32_t w = surface.Width(), h = surface.Height();
    std::vector<uint32_t> table;
    Bytes rows;
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w; ++x) {
            const uint32_t c = surface.GetPixel(x, y);
            if (bits == 32) {
                rows.insert(rows.end(), {uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c), 0xFF});
                continue;
            }
            auto at = std::find(table.begin(), table.end(), c);
            if (at == table.end()) at = table.insert(at, c);
            rows.push_back(uint8_t(at - table.begin()));
        }
        while (bits == 8 && rows.size() % 4) rows.push_back(0);
    }
    if (bits == 8) {  // bottom-up, as BMP files mostly are
        Bytes flipped;
        const size_t stride = rows.size() / size_t(std::max(h, 1));
        for (int32_t y = h - 1; y >= 0; --y) flipped.insert(flipped.end(), rows.begin() + y * long(stride), rows.begin() + (y + 1) * long(stride));
        rows = flipped;
    }
    Bytes file(54);
    const uint32_t offset = 54 + 4 * uint32_t(table.size());
    PutI32(file, 0, 0x4D42), PutI32(file, 2, int32_t(offset + rows.size())), PutI32(file, 10, int32_t(offset));
    PutI32(file, 14, 40), PutI32(file, 18, w), PutI32(file, 22, bits == 32 ? -h : h), PutI32(file, 26, 1 | bits << 16);
    PutI32(file, 46, int32_t(table.size()));
    for (uint32_t c : table) file.insert(file.end(), {uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c), 0});
    file.insert(file.end(), rows.begin(), rows.end());
    return file;
}

TEST_F(SLXBundleTest, ASpritesBundleEncodesToWhatTheSpriteDecodesTo) {
    // Exported in team 5, the sprite's player bytes must stay within the palette: at most 175.
    Art art = RandomArt(90, 30, 4);
    for (ArtPixel& pixel : art.Pixels) if (pixel.Kind == Layer::Player) pixel.Index %= 176;
    const std::pair<Bytes, int32_t> sprites[] = {{RandomSprite(40), 1}, {RandomSprite(41), 1}, {WriteSprite({EncodeFrame(art, 3, 4)}), 5},
                                                 {RandomSprite(43), 1}};
    for (const auto& [sprite, player] : sprites) {
        if (&sprite == &sprites[3].first) {  // a palette of its own, given to both
            for (size_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), 255 - int32_t(i), int32_t(i * 7 % 256));
        }
        Bytes encoded;
        const Outcome made = RoundTrip(sprite, player, encoded);
        ASSERT_TRUE(made.Ok()) << made.Detail;
        EXPECT_EQ(DecodedDifference(DecodeFrames(encoded), DecodeFrames(sprite)), "");
    }
    // The bitmaps saved again by an editor, in the other kinds the reader takes, read the same.
    const Bytes sprite = RandomSprite(45);
    Bytes encoded;
    ASSERT_TRUE(RoundTrip(sprite, 1, encoded).Ok());
    WriteFileBytes(dir / "walk1d.bmp", SavedAgain(ReadFileBytes(dir / "walk1d.bmp"), 8));
    WriteFileBytes(dir / "walk1c.bmp", SavedAgain(ReadFileBytes(dir / "walk1c.bmp"), 32));
    SLXListing listing;
    ASSERT_TRUE(ParseSLXText(ReadFileBytes(dir / "walk.slx"), listing).Ok());
    Bytes again;
    ASSERT_TRUE(EncodeSLXBundle(listing, dir.Path(), Palette, 1, again).Ok());
    EXPECT_EQ(again, encoded);
}

TEST_F(SLXBundleTest, ATextThatIsNoBundleOrBreaksItIsRefusedByLine) {
    const struct {
        std::string Text;
        Fault Code;
        std::string Detail;
    } cases[] = {
        {"SLX 0.4\r\n1\r\n", Fault::NotThisKind, "is not an SLX bundle"},
        {"SLX 0.5\r\n0\r\n", Fault::Damaged, "line 2: \"0\" is not a count of frames"},
        {"SLX 0.5\r\n32767\r\n", Fault::OutOfLimits, "line 2: 32767 frames; a sprite holds at most 32766"},
        {"SLX 0.5\r\n1\r\n1,2\r\na1d.bmp\r\n", Fault::Damaged, "line 5: the text ends before frame 1 of 1 is listed whole"},
        {"SLX 0.5\n1\n1;2\na1d.bmp\na1c.bmp\n", Fault::Damaged, "line 3: \"1;2\" is not a hot spot X,Y"},
        {"SLX 0.5\n1\n1,99999999999\na1d.bmp\na1c.bmp\n", Fault::Damaged, "line 3:"},
        {"SLX 0.5\n1\n1,2\n../a1d.bmp\na1c.bmp\n", Fault::Damaged, "line 4: \"../a1d.bmp\" is not the name of a file beside the bundle"},
        {"SLX 0.5\n1\n1,2\na1d.bmp\n/etc/passwd\n", Fault::Damaged, "line 5:"},
        {"SLX 0.5\n1\n1,2\na1d.bmp\na1c.bmp\n3,4\n", Fault::Damaged, "line 6: more lines than the 1 frames listed"},
    };
    for (const auto& c : cases) {
        SLXListing listing;
        const Outcome parsed = ParseSLXText(BytesOf(c.Text), listing);
        EXPECT_EQ(parsed.Code, c.Code) << c.Text;
        EXPECT_TRUE(parsed.Detail.starts_with(c.Detail)) << parsed.Detail;
    }
}

TEST_F(SLXBundleTest, BitmapsThatBreakTheBundleAreRefusedNamingTheFrameAndFile) {
    Bytes encoded;
    ASSERT_TRUE(RoundTrip(RandomSprite(46), 1, encoded).Ok());
    const Bytes mask = ReadFileBytes(dir / "walk1d.bmp"), image = ReadFileBytes(dir / "walk1c.bmp");
    auto patched = [](Bytes bytes, size_t at, std::initializer_list<uint8_t> with) {
        std::copy(with.begin(), with.end(), bytes.begin() + long(at));
        return bytes;
    };
    Bytes huge = mask;
    PutI32(huge, 18, 30000), PutI32(huge, 22, 30000);
    const struct {
        Bytes Mask, Image;
        Fault Code;
        std::string Detail;
    } cases[] = {
        {patched(mask, 54, {0x12, 0x34, 0x56}), image, Fault::Damaged, "frame 1: walk1d.bmp and walk1c.bmp: row "},
        {Bytes(mask.begin(), mask.end() - 7), image, Fault::Damaged, "frame 1: walk1d.bmp: the bitmap's pixels are cut off"},
        {patched(mask, 28, {4}), image, Fault::NotThisKind, "frame 1: walk1d.bmp: is a 4-bit bitmap"},
        {huge, image, Fault::OutOfLimits, "frame 1: walk1d.bmp: a bitmap of 30000 x 30000 pixels is larger than Brindle reads"},
        {mask, Bytes{'B', 'M'}, Fault::Damaged, "frame 1: walk1c.bmp: the bitmap's header is cut off"},
        {mask, {}, Fault::NotThisKind, "frame 1: walk1c.bmp: is not a BMP file"},
    };
    SLXListing listing;
    ASSERT_TRUE(ParseSLXText(ReadFileBytes(dir / "walk.slx"), listing).Ok());
    for (const auto& c : cases) {
        WriteFileBytes(dir / "walk1d.bmp", c.Mask);
        WriteFileBytes(dir / "walk1c.bmp", c.Image);
        Bytes slp;
        const Outcome refused = EncodeSLXBundle(listing, dir.Path(), Palette, 1, slp);
        EXPECT_EQ(refused.Code, c.Code) << c.Detail;
        EXPECT_TRUE(refused.Detail.starts_with(c.Detail)) << refused.Detail;
    }
    // A colour the palette lacks: the bundle was made with another palette.
    WriteFileBytes(dir / "walk1d.bmp", mask), WriteFileBytes(dir / "walk1c.bmp", image);
    for (uint32_t& c : Palette) c ^= 0x010000;
    Bytes slp;
    const Outcome refused = EncodeSLXBundle(listing, dir.Path(), Palette, 1, slp);
    EXPECT_NE(refused.Detail.find("is not in the palette"), std::string::npos) << refused.Detail;
}

}  // namespace
