// Sheets and PNG files back into frames for the encoder: a sheet with its layers comes back exactly,
// pixels without layers go by the rules of their RGBA values, pictures are trimmed with their hot spot,
// and what a crafted sheet names or holds is refused.

#include <gtest/gtest.h>

#include <cstring>

#include "base/Files.h"
#include "base/Functions.h"
#include "colour/Palettes.h"
#include "export/ImageExports.h"
#include "export/ImageFiles.h"
#include "export/PictureInputs.h"
#include "export/PngReader.h"
#include "RecordingHost.h"
#include "slp/SLPEncode.h"
#include "Writers.h"

using namespace fixtures;

namespace {

QuietHost quiet;

// Every frame's sizes, hot spot and both surfaces, as the decoder leaves them.
using Decoded = std::vector<std::tuple<int32_t, int32_t, int32_t, int32_t, Bytes, Bytes>>;

Decoded DecodeAll(const Bytes& bytes) {
    const SLPFile file{"memory.slp", bytes};
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    EXPECT_TRUE(ParseSLPHeaders(file, header, frames).Ok());
    Decoded decoded;
    for (const SLPFrameInfo& f : frames) {
        cDIBSection image, mask;
        EXPECT_TRUE(DecodeSLPFrame(file, f, image, mask, false, quiet).Ok());
        decoded.emplace_back(f.Width, f.Height, f.HotspotX, f.HotspotY, image.EncodeBitmap(), mask.EncodeBitmap());
    }
    return decoded;
}

// The default palette, which holds some colours twice, is the one sprites are drawn in.
PictureRules Rules(int32_t player = 1, bool outlines = false) {
    EXPECT_TRUE(LoadPalette(""));
    return {Palette, player, outlines};
}

// The sheet whose JSON is at path, as encode reads it.
Outcome Sheet(const std::string& path, const PictureRules& rules, std::vector<FramePixels>& frames, PictureReport& report) {
    std::vector<uint8_t> json;
    EXPECT_TRUE(ReadWholeFile(path, MaxSheetJsonBytes, json));
    return FramesFromSheet(json, FolderOfPath(path), rules, frames, report);
}

void WriteFiles(const std::vector<NamedFile>& files) {
    for (const NamedFile& file : files) WriteFileBytes(file.Path, file.Bytes);
}

RgbaPicture Picture(int32_t width, int32_t height, const std::vector<uint32_t>& rgba) {  // 0xRRGGBBAA each
    RgbaPicture picture;
    picture.Resize(width, height);
    for (size_t i = 0; i < rgba.size(); ++i)
        for (int byte = 0; byte < 4; ++byte) picture.Pixels[4 * i + size_t(byte)] = uint8_t(rgba[i] >> (24 - 8 * byte));
    return picture;
}

uint32_t Rgba(uint32_t colour, uint32_t alpha = 255) {  // a colour value, red low, as 0xRRGGBBAA
    return (colour & 0xFF) << 24 | (colour >> 8 & 0xFF) << 16 | (colour >> 16 & 0xFF) << 8 | alpha;
}

}  // namespace

// The guarantee: a sheet exported with its layers encodes into a sprite that decodes, frame by frame and
// surface by surface, to what the sprite it was made of decodes to, hot spots and sizes included; for
// a sheet of every team too, from the rows of the player asked for.
TEST(PictureInputs, ASheetWithItsLayersEncodesBackToTheSameFrames) {
    const TempDir dir;
    const PictureRules rules = Rules();
    for (uint32_t seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE(seed);
        const bool teams = seed % 2 == 0;
        std::vector<FrameFixture> frames;
        for (uint32_t f = 0; f < 3; ++f) {
            const int32_t w = int32_t(5 + (seed * 7 + f * 13) % 60), h = int32_t(1 + (seed * 11 + f * 5) % 40);
            Art art = RandomArt(w, h, seed * 10 + f);
            for (ArtPixel& p : art.Pixels)  // every team draws a player byte below 128
                if (teams && p.Kind == Layer::Player) p.Index %= 128;
            frames.push_back(EncodeFrame(art, int32_t(f * 3) - 4, h - int32_t(seed)));
        }
        const SLPFile sprite{"s.slp", WriteSprite(frames)};
        ImageExportOptions options;
        options.SheetLayers = true;
        options.AllPlayers = teams;
        const int32_t player = options.AllPlayers ? 3 : 1;
        std::vector<NamedFile> files;
        std::vector<std::string> notes;
        const Outcome exported = ExportImages(sprite, ImageFormat::Sheet, options, dir / "walk", files, notes, quiet);
        ASSERT_TRUE(exported) << exported.Detail;
        WriteFiles(files);

        std::vector<FramePixels> read;
        PictureReport report;
        const Outcome outcome = Sheet(dir / "walk.json", {rules.Palette, player, false}, read, report);
        ASSERT_TRUE(outcome) << outcome.Detail;
        Bytes encoded;
        ASSERT_TRUE(EncodeSLP(read, encoded));
        EXPECT_EQ(DecodeAll(encoded), DecodeAll(sprite.Bytes));
        EXPECT_EQ(report.Inexact, 0);
    }
}

// Without layers each pixel goes by its RGBA value; the colours the palette lacks, and the alphas that
// are neither 0, 255 nor a shadow's, are counted.
TEST(PictureInputs, PixelsWithoutLayersGoByTheirColours) {
    std::array<uint32_t, 256> palette{};
    for (uint32_t i = 0; i < 256; ++i) palette[i] = i | 100u << 8 | (255 - i) << 16;
    palette[0] = 0xFF0000;  // pure blue, which an outline takes first where outlines are read
    struct Case {
        uint32_t Pixel;
        PixelLayer Layer;
        uint8_t Byte;  // of colour and player pixels
    };
    const Case cases[] = {
        {0x00000000, PixelLayer::Transparent, 0},
        {0x09090900, PixelLayer::Transparent, 0},
        {0x00000080, PixelLayer::Shadow, 0},
        {0x00000001, PixelLayer::Shadow, 0},
        {0x000000FE, PixelLayer::Shadow, 0},
        {Rgba(palette[33]), PixelLayer::Player, 1},    // player 2's band: 32 to 39
        {Rgba(palette[40]), PixelLayer::Colour, 40},   // past it
        {Rgba(palette[17]), PixelLayer::Colour, 17},   // player 1's band
        {Rgba(palette[200]), PixelLayer::Colour, 200},
        {Rgba(palette[200] + 0x300), PixelLayer::Colour, 200},     // green 3 off: nearest, not exact
        {Rgba(palette[200], 200), PixelLayer::Colour, 200},        // translucent: not exact
        {Rgba(palette[200], 50), PixelLayer::Transparent, 0},      // all but transparent: not exact
        {0xFFFF00FF, PixelLayer::OutlineOuter, 0},
        {0x0000FFFF, PixelLayer::OutlineInner, 0},
    };
    for (const bool outlines : {false, true}) {
        std::vector<uint32_t> pixels;
        for (const Case& c : cases) pixels.push_back(c.Pixel);
        FramePixels frame;
        PictureReport report;
        PictureRules rules{palette, 2, outlines};
        ASSERT_TRUE(PixelsFromPicture(Picture(int32_t(pixels.size()), 1, pixels), nullptr, 0, 0, int32_t(pixels.size()), 1, rules, frame, report));
        for (size_t i = 0; i < std::size(cases); ++i) {
            SCOPED_TRACE(i);
            const bool outline = cases[i].Layer == PixelLayer::OutlineInner || cases[i].Layer == PixelLayer::OutlineOuter;
            if (outline && !outlines) {  // colours then: blue is index 0; yellow (255, 255, 0) nearest index 255
                EXPECT_EQ(std::tuple(frame.Layers[i], frame.Bytes[i]),
                          std::tuple(PixelLayer::Colour, uint8_t(cases[i].Layer == PixelLayer::OutlineInner ? 0 : 255)));
                continue;
            }
            const bool hasByte = cases[i].Layer == PixelLayer::Colour || cases[i].Layer == PixelLayer::Player;
            EXPECT_EQ(std::tuple(frame.Layers[i], hasByte ? frame.Bytes[i] : 0), std::tuple(cases[i].Layer, cases[i].Byte));
        }
        EXPECT_EQ(report.Inexact, outlines ? 3 : 4);
    }
}

// Where a sheet's pixel no longer looks like its layer, it was painted over in an editor and goes by its
// colour: a transparent pixel painted, a colour pixel erased, a pixel painted past a row's early end.
TEST(PictureInputs, PixelsPaintedOverTheirLayerGoByTheirColours) {
    const PictureRules rules = Rules();
    const uint32_t M = 0xFF00FFFF, W = 0xFFFFFFFF, N = 0x000000FF;  // layers: transparent, colour, nothing
    const RgbaPicture layers = Picture(4, 2, {M, W, W, M, W, N, N, N});
    const RgbaPicture sheet = Picture(4, 2, {Rgba(Palette[9]), Rgba(Palette[13]), 0, 0, Rgba(Palette[11]), 0, 0, Rgba(Palette[12])});
    FramePixels frame;
    PictureReport report;
    ASSERT_TRUE(PixelsFromPicture(sheet, &layers, 0, 0, 4, 2, rules, frame, report));
    using L = PixelLayer;
    EXPECT_EQ(std::tuple(frame.Layers, frame.Bytes, report.Repainted),
              std::tuple(std::vector<L>{L::Colour, L::Colour, L::Transparent, L::Transparent, L::Colour, L::Transparent, L::Transparent, L::Colour},
                         Bytes{9, 13, 0, 0, 11, 0, 0, 12}, 3));
}

// A PNG frame is trimmed to the box of its pixels that are not transparent, the hot spot moving with it
// (the command line's test trims a sprite's frame); a picture of nothing keeps one transparent pixel.
TEST(PictureInputs, PicturesAreTrimmedToTheirPixelsOrToOne) {
    const PictureRules rules = Rules();
    std::vector<uint32_t> lone(20, 0);
    lone.back() = Rgba(Palette[50]);
    for (const auto& [pixels, want] : {std::pair{lone, std::tuple(1, 1, -2, 0, PixelLayer::Colour)},
                                       std::pair{std::vector<uint32_t>(20, 0), std::tuple(1, 1, 2, 3, PixelLayer::Transparent)}}) {
        Bytes png;
        ASSERT_TRUE(EncodePng(Picture(5, 4, pixels), png));
        FramePixels f;
        PictureReport report;
        ASSERT_TRUE(FrameFromPng(png, 2, 3, rules, f, report));
        EXPECT_EQ(std::tuple(f.Width, f.Height, f.HotspotX, f.HotspotY, f.Layers.at(0)), want);
    }
}

// A sheet is read from what lies beside its JSON alone, within its bounds, and says what it can't read.
TEST(PictureInputs, WhatASheetCannotHoldIsRefused) {
    const TempDir dir;
    Bytes png, wide;
    ASSERT_TRUE(EncodePng(Picture(4, 2, std::vector<uint32_t>(8, Rgba(Palette[9]))), png));
    RgbaPicture unknown = Picture(4, 2, std::vector<uint32_t>(8, 0xFFFFFFFF));
    std::memset(unknown.Row(1) + 4 * 2, 0x40, 3);  // (2, 1) is the colour of no layer
    Bytes layers;
    ASSERT_TRUE(EncodePng(unknown, layers));
    WriteFileBytes(dir / "s.png", png);
    WriteFileBytes(dir / "s.layers.png", layers);
    const std::string frame = R"({"frames": [{"frame": {"x": 0, "y": 0, "w": 4, "h": 2}}], "meta": )";
    struct Case {
        std::string Json;
        Fault Code;
        std::string Detail;
    };
    const Case cases[] = {
        {"[1, 2]", Fault::NotThisKind, "is not the JSON of a sprite sheet"},
        {frame + R"({"image": "../s.png"}})", Fault::Damaged, "names no sheet picture beside it"},
        {frame + R"({"image": "s.png", "layers": "s.layers.png"}})", Fault::Damaged, "frame 1: the layers picture's pixel (2, 1) is the colour of no layer"},
        {R"({"frames": [{"frame": {"x": 1, "y": 0, "w": 4, "h": 2}}], "meta": {"image": "s.png"}})", Fault::Damaged, "frame 1 has no \"frame\" rectangle within the sheet"},
        {R"({"frames": {"a": {"frame": {"x": 0, "y": 0, "w": 1, "h": 1}, "rotated": true}}, "meta": {"image": "s.png"}})", Fault::Damaged, "frame 1 (a) is rotated"},
        {frame + R"({"image": "s.json"}})", Fault::NotThisKind, "is not a PNG file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Json);
        WriteFileBytes(dir / "s.json", Bytes(c.Json.begin(), c.Json.end()));
        std::vector<FramePixels> frames;
        PictureReport report;
        const Outcome outcome = Sheet(dir / "s.json", Rules(), frames, report);
        EXPECT_EQ(outcome.Code, c.Code);
        EXPECT_TRUE(outcome.Detail.starts_with(c.Detail)) << outcome.Detail;
    }
    // A picture wider than a sheet is refused before a row is decoded, and a cut one as damaged.
    RgbaPicture picture;
    ASSERT_TRUE(EncodePng(Picture(MaxSheetSide + 1, 1, {}), wide));
    EXPECT_EQ(ReadPng(wide, picture).Code, Fault::OutOfLimits);
    EXPECT_EQ(ReadPng(std::span(png).first(png.size() - 20), picture).Code, Fault::Damaged);
}
