// The exports for today's tools, read back through decoders that are not ours: libspng for PNG and
// for each frame of an APNG, giflib for GIF, pngcheck for the APNG's structure.

#include <gif_lib.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <spng.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <set>

#include "colour/Palettes.h"
#include "export/ImageExports.h"
#include "export/ImageFiles.h"
#include "RecordingHost.h"
#include "Writers.h"

using namespace fixtures;
using nlohmann::json;

namespace {

// RGBA pixels, rows from the top, as a decoder hands them back: 0xRRGGBBAA, transparent ones 0.
struct Rgba {
    int Width = 0, Height = 0;
    std::vector<uint32_t> Pixels;
    bool operator==(const Rgba&) const = default;
};

uint32_t Pixel(uint32_t r, uint32_t g, uint32_t b, uint32_t a) { return r << 24 | g << 16 | b << 8 | a; }
uint32_t Opaque(uint32_t colour) { return Pixel(colour & 0xFF, colour >> 8 & 0xFF, colour >> 16, 255); }
uint32_t BigEndian(const uint8_t* p) { return Pixel(p[0], p[1], p[2], p[3]); }

Rgba RgbaOf(const RgbaPicture& picture) {
    Rgba rgba{picture.Width, picture.Height, {}};
    for (size_t i = 0; i < picture.Pixels.size(); i += 4) rgba.Pixels.push_back(BigEndian(&picture.Pixels[i]));
    return rgba;
}

// CRCs are left to pngcheck, which reads every file that DecodeApngFrames takes apart.
Rgba DecodePng(const Bytes& png) {
    spng_ctx* context = spng_ctx_new(0);
    spng_ihdr header{};
    size_t size = 0;
    spng_set_crc_action(context, SPNG_CRC_USE, SPNG_CRC_USE);
    spng_set_png_buffer(context, png.data(), png.size());
    spng_decoded_image_size(context, SPNG_FMT_RGBA8, &size);
    Bytes bytes(size);
    const bool read = spng_get_ihdr(context, &header) == 0 && spng_decode_image(context, bytes.data(), size, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) == 0;
    spng_ctx_free(context);
    Rgba picture{read ? int(header.width) : 0, read ? int(header.height) : 0, {}};
    for (size_t i = 0; read && i < size; i += 4) picture.Pixels.push_back(BigEndian(&bytes[i]));
    return picture;
}

using Chunk = std::pair<std::string, Bytes>;  // type, data

std::vector<Chunk> ChunksOf(const Bytes& png) {
    std::vector<Chunk> chunks;
    for (size_t at = 8, length; at + 12 <= png.size(); at += 12 + length) {
        length = std::min<size_t>(BigEndian(&png[at]), png.size() - at - 12);
        chunks.emplace_back(std::string(png.begin() + long(at) + 4, png.begin() + long(at) + 8),
                            Bytes(png.begin() + long(at) + 8, png.begin() + long(at + 8 + length)));
    }
    return chunks;
}

// The canvas after each frame of an APNG, as a viewer shows it: each frame's data made a PNG file of its
// own for libspng (signature, IHDR at the frame's size, the palette and its alphas where there are, the
// data as its IDAT, IEND, the CRCs 0), then drawn at its place by its blend, source or over.
std::vector<Rgba> DecodeApngFrames(const Bytes& png) {
    std::vector<Rgba> frames;
    Bytes head(png.begin(), png.begin() + 33), palette;
    Rgba canvas{int(BigEndian(&png[16])), int(BigEndian(&png[20])), {}};
    canvas.Pixels.assign(size_t(canvas.Width) * size_t(canvas.Height), 0);
    Bytes control;
    for (auto [type, data] : ChunksOf(png)) {
        if (type == "PLTE" || type == "tRNS") {
            for (int shift = 24; shift >= 0; shift -= 8) palette.push_back(uint8_t(data.size() >> shift));
            palette.insert(palette.end(), type.begin(), type.end());
            palette.insert(palette.end(), data.begin(), data.end());
            palette.insert(palette.end(), 4, 0);
        }
        if (type == "fcTL") control = data;
        if (type == "fdAT") data.erase(data.begin(), data.begin() + 4);  // its sequence number
        else if (type != "IDAT") continue;
        Bytes file = head;
        std::copy(&control[4], &control[12], &file[16]);  // the frame's width and height
        file.insert(file.end(), palette.begin(), palette.end());
        for (int shift = 24; shift >= 0; shift -= 8) file.push_back(uint8_t(data.size() >> shift));
        file.insert(file.end(), {'I', 'D', 'A', 'T'});
        file.insert(file.end(), data.begin(), data.end());
        file.insert(file.end(), {0, 0, 0, 0, 0, 0, 0, 0, 'I', 'E', 'N', 'D', 0, 0, 0, 0});
        const Rgba patch = DecodePng(file);
        const auto left = int(BigEndian(&control[12])), top = int(BigEndian(&control[16]));
        const bool over = control.at(25) == 1;
        EXPECT_TRUE(control.at(24) == 0 && control.at(25) <= 1 && left + patch.Width <= canvas.Width && top + patch.Height <= canvas.Height);
        for (int y = 0; y < patch.Height; ++y) {
            for (int x = 0; x < patch.Width; ++x) {
                const uint32_t pixel = patch.Pixels[size_t(y * patch.Width + x)];
                uint32_t& below = canvas.Pixels[size_t((top + y) * canvas.Width + left + x)];
                const uint32_t alpha = pixel & 0xFF;
                if (!over || alpha == 255) below = pixel;
                else if (alpha != 0) below = 0xDEADBEEF;  // blended: no writer of ours asks for it
            }
        }
        frames.push_back(canvas);
    }
    return frames;
}

struct Gif {
    int Width = 0, Height = 0;
    std::vector<Rgba> Frames;
    std::vector<GraphicsControlBlock> Controls;
};

Gif DecodeGif(const Bytes& bytes) {
    const TempDir dir;
    WriteFileBytes(dir / "a.gif", bytes);
    Gif gif;
    int error = 0;
    GifFileType* file = DGifOpenFileName((dir / "a.gif").c_str(), &error);
    if (!file || DGifSlurp(file) != GIF_OK) return gif;
    gif.Width = file->SWidth, gif.Height = file->SHeight;
    for (int i = 0; i < file->ImageCount; ++i) {
        const SavedImage& image = file->SavedImages[i];
        DGifSavedExtensionToGCB(file, i, &gif.Controls.emplace_back());
        const ColorMapObject* map = image.ImageDesc.ColorMap ? image.ImageDesc.ColorMap : file->SColorMap;
        Rgba& frame = gif.Frames.emplace_back(Rgba{image.ImageDesc.Width, image.ImageDesc.Height, {}});
        for (int p = 0; p < frame.Width * frame.Height; ++p) {
            const GifColorType c = map->Colors[image.RasterBits[p]];
            frame.Pixels.push_back(image.RasterBits[p] == gif.Controls.back().TransparentColor ? 0 : Pixel(c.Red, c.Green, c.Blue, 255));
        }
    }
    DGifCloseFile(file, &error);
    return gif;
}

struct ImageExportTest : testing::Test {
    void SetUp() override {
        for (size_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), 100, 255 - int32_t(i));
        // Frame 1: every layer, hot spot inside; frame 2 far away from it.
        one.Pixels = {{}, {Layer::Colour, 7}, {Layer::Player, 1}, {Layer::Shadow, 0},
                      {Layer::OutlineInner, 0}, {Layer::OutlineOuter, 0}, {}, {Layer::Colour, 200}};
        two.Pixels = {{Layer::Colour, 9}, {}, {}, {}, {}, {Layer::Shadow, 0}};
        sprite.Bytes = WriteSprite({EncodeFrame(one, 1, 1), EncodeFrame(two, -30, 40)});
    }

    // The layer table, from the drawing rather than the decoder.
    static Rgba Expected(const Art& art, const RgbaOptions& options) {
        Rgba picture{art.Width, art.Height, {}};
        for (const ArtPixel& p : art.Pixels) {
            const uint32_t byKind[] = {0, Opaque(Palette[p.Index]), Opaque(Palette[(p.Index + 16u * uint32_t(options.Player)) % 256]),
                                       Pixel(0, 0, 0, uint32_t(options.ShadowAlpha)), options.Outlines ? Pixel(0, 0, 255, 255) : 0,
                                       options.Outlines ? Pixel(255, 255, 0, 255) : 0};  // transparent, colour, player, ...
            picture.Pixels.push_back(byKind[size_t(p.Kind)]);
        }
        return picture;
    }
    // Draws frame on a picture with its top left at (x, y).
    static void Place(Rgba& picture, const Rgba& frame, int x, int y) {
        for (size_t i = 0; i < frame.Pixels.size(); ++i)
            picture.Pixels[size_t((y + int(i) / frame.Width) * picture.Width + x + int(i) % frame.Width)] = frame.Pixels[i];
    }
    // Both frames on the common canvas: frame 1 spans -1..2 x -1..0 around the hot spot, frame 2
    // 30..31 x -40..-38: 33 x 41 pixels, the frames at (0, 39) and (31, 0).
    std::vector<Rgba> OnCanvas(const RgbaOptions& options) const {
        std::vector<Rgba> canvases(2, Rgba{33, 41, std::vector<uint32_t>(33 * 41, 0)});
        Place(canvases[0], Expected(one, options), 0, 39);
        Place(canvases[1], Expected(two, options), 31, 0);
        return canvases;
    }
    // The files of an export that must succeed; notes gets its notes.
    std::vector<NamedFile> Export(ImageFormat format, ImageExportOptions options, const std::string& out) {
        std::vector<NamedFile> files;
        RecordingHost host;
        EXPECT_EQ(ExportImages(sprite, format, options, out, files, notes, host).Detail, "");
        return files;
    }

    Art one{4, 2}, two{2, 3};
    SLPFile sprite;
    std::vector<std::string> notes;
};

// Every format holds the frames by the layer table, the animations looping forever at their pace. GIF has
// no alpha: from 128 on a pixel is opaque in its colour, below it is left out.
TEST_F(ImageExportTest, EveryFormatHoldsItsFramesByTheLayerTable) {
    const TempDir dir;
    for (const RgbaOptions options : {RgbaOptions{}, RgbaOptions{100, true}, RgbaOptions{255, false}}) {
        SCOPED_TRACE(options.ShadowAlpha);
        const std::vector<Rgba> canvases = OnCanvas(options);
        EXPECT_EQ(DecodePng(Export(ImageFormat::Png, {options, 10, 1}, "one.png").at(0).Bytes), Expected(one, options));
        const std::vector<NamedFile> files = Export(ImageFormat::Png, {options, 10, 0}, "out/walk.png");
        EXPECT_EQ(std::tuple(files.size(), files.at(1).Path, DecodePng(files.at(0).Bytes), DecodePng(files.at(1).Bytes)),
                  std::tuple(2u, "out/walk002.png", canvases[0], canvases[1]));

        const Bytes apng = Export(ImageFormat::Apng, {options, 25, 0}, "walk.png").at(0).Bytes;
        EXPECT_EQ(DecodeApngFrames(apng), canvases);
        const std::vector<Chunk> chunks = ChunksOf(apng);
        EXPECT_EQ(chunks.at(1), Chunk("acTL", {0, 0, 0, 2, 0, 0, 0, 0}));  // two frames, played forever
        // Frame 0, 33 x 41 at (0, 0), shown 1/25 s, disposed of by nothing, its pixels replacing the canvas;
        // before it the palette of all frames.
        EXPECT_EQ(std::tuple(chunks.at(2).first, chunks.at(3).first), std::tuple("PLTE", "tRNS"));
        EXPECT_EQ(chunks.at(4), Chunk("fcTL", {0, 0, 0, 0, 0, 0, 0, 33, 0, 0, 0, 41, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 25, 0, 0}));
        WriteFileBytes(dir / "walk.png", apng);
        EXPECT_EQ(std::system(("pngcheck -q '" + (dir / "walk.png") + "' > /dev/null").c_str()), 0);

        const Bytes file = Export(ImageFormat::Gif, {options, 20, 0}, "walk.gif").at(0).Bytes;
        const Gif gif = DecodeGif(file);
        EXPECT_EQ(std::tuple(gif.Width, gif.Height, gif.Frames, notes.size()),
                  std::tuple(33, 41, OnCanvas({options.ShadowAlpha >= 128 ? 255 : 0, options.Outlines}), 0u));
        for (const GraphicsControlBlock& control : gif.Controls)
            EXPECT_EQ(std::tuple(control.DisposalMode, control.DelayTime), std::tuple(DISPOSE_BACKGROUND, 5));
        // The loop: NETSCAPE2.0's block of three bytes, 1 and a count of 0 for ever, and the end of its blocks.
        EXPECT_FALSE(std::ranges::search(file, BytesOf({"NETSCAPE2.0\3\1\0\0\0", 16})).empty());
    }
}

// A GIF's delays are whole hundredths: at 7 frames a second frame n ends at the hundredth nearest n / 7
// seconds, so eight frames last 114 hundredths where a steady 14 would lose a tenth of a second by then.
TEST_F(ImageExportTest, GifFramesKeepTheirPaceInWholeHundredths) {
    std::vector<FrameFixture> frames;
    for (int i = 0; i < 8; ++i) frames.push_back(EncodeFrame(one, 1, 1));
    sprite.Bytes = WriteSprite(frames);
    std::vector<int> delays;
    for (const GraphicsControlBlock& control : DecodeGif(Export(ImageFormat::Gif, {{}, 7, 0}, "walk.gif").at(0).Bytes).Controls)
        delays.push_back(control.DelayTime);
    EXPECT_EQ(delays, (std::vector<int>{14, 15, 14, 14, 14, 15, 14, 14}));
}

// A sheet holds the frames in rows no wider than about the square root of their area; with every team
// eight rows, player 1's on top, each as tall as the tallest frame (3) and the frames side by side.
TEST_F(ImageExportTest, SheetsHoldEveryFrameWhereTheirJsonSays) {
    for (const bool teams : {false, true}) {
        SCOPED_TRACE(teams);
        ImageExportOptions options{{}, 8};  // the first team's alone, unless asked
        if (teams) options.AllPlayers = options.SheetLayers = true;
        // Named for its JSON, the sheet still writes its picture as a PNG.
        const std::vector<NamedFile> files = Export(ImageFormat::Sheet, options, teams ? "out/walk.json" : "out/walk.png");
        EXPECT_EQ(std::tuple(files.at(0).Path, files.at(1).Path), std::tuple("out/walk.png", "out/walk.json"));
        Rgba want{teams ? 6 : 4, teams ? 24 : 5, std::vector<uint32_t>(teams ? 6 * 24 : 4 * 5)}, layers = want;
        json parsed = json::parse(files.at(1).Bytes);
        parsed["meta"].erase("version");
        json meta = {{"app", "brindle"}, {"image", "walk.png"}, {"format", "RGBA8888"}, {"size", {{"w", want.Width}, {"h", want.Height}}}, {"scale", "1"}};
        if (teams) meta["layers"] = "walk.layers.png";
        EXPECT_EQ(parsed["meta"], meta);
        EXPECT_EQ(std::tuple(files.size(), parsed["frames"].size()), std::tuple(teams ? 3u : 2u, teams ? 16u : 2u));
        // Both frames' hot spots stand at (1, 40) of the 33 x 41 canvas.
        const json pivot = {{"x", 1.0 / 33}, {"y", 40.0 / 41}};
        for (int cell = 0; cell < (teams ? 16 : 2); ++cell) {
            const int i = cell % 2, player = teams ? cell / 2 + 1 : 1, w = 4 - 2 * i, h = 2 + i;
            const int x = teams ? 4 * i : 0, y = teams ? 3 * (player - 1) : 2 * i;
            const std::string name = (teams ? "walk_p" + std::to_string(player) + "_00" : "walk_00") + std::to_string(i + 1);
            EXPECT_EQ(parsed["frames"].at(size_t(cell)),
                      (json{{"filename", name}, {"frame", {{"x", x}, {"y", y}, {"w", w}, {"h", h}}}, {"rotated", false}, {"trimmed", true},
                            {"spriteSourceSize", {{"x", 31 * i}, {"y", 39 - 39 * i}, {"w", w}, {"h", h}}},
                            {"sourceSize", {{"w", 33}, {"h", 41}}}, {"pivot", pivot}, {"anchor", pivot}, {"duration", 125},
                            {"hotspot", {{"x", i ? -30 : 1}, {"y", i ? 40 : 1}}}}));
            Place(want, Expected(i ? two : one, {128, false, player}), x, y);
            Rgba codes{w, h, {}};  // the colours of the mask surface, by layer
            for (const ArtPixel& p : (i ? two : one).Pixels) {
                const uint32_t byKind[] = {Pixel(255, 0, 255, 255), Pixel(255, 255, 255, 255), Pixel(0, 255, 0, 255),
                                           Pixel(255, 0, 0, 255),   Pixel(0, 0, 255, 255),     Pixel(255, 255, 0, 255)};
                codes.Pixels.push_back(byKind[size_t(p.Kind)]);
            }
            Place(layers, codes, x, y);
        }
        EXPECT_EQ(DecodePng(files[0].Bytes), want);
        if (teams) {
            EXPECT_EQ(std::tuple(files[2].Path, DecodePng(files[2].Bytes)), std::tuple("out/walk.layers.png", layers));
        }
    }
}

// Both layouts hold what the JSON-array and JSON-hash texture atlases hold: each frame's frame{x,y,w,h},
// rotated, trimmed, spriteSourceSize{x,y,w,h}, sourceSize{w,h}, pivot{x,y} (anchor for PixiJS), in the
// array its filename, in the hash its name as the key; and meta{image,size{w,h},format,scale}.
TEST_F(ImageExportTest, SheetJsonFollowsTheTextureAtlasSchemaInBothLayouts) {
    const auto keys = [](const json& object) {
        std::set<std::string> names;
        for (const auto& [key, value] : object.items()) names.insert(key);
        return names;
    };
    const std::set<std::string> rect{"x", "y", "w", "h"}, size{"w", "h"}, point{"x", "y"};
    for (const bool hash : {false, true}) {
        SCOPED_TRACE(hash);
        ImageExportOptions options;
        options.AllPlayers = true;
        options.SheetHash = hash;
        const json parsed = json::parse(Export(ImageFormat::Sheet, options, "walk").at(1).Bytes);
        const json& meta = parsed.at("meta");
        EXPECT_TRUE(meta.at("image") == "walk.png" && meta.at("format").is_string() && meta.at("scale").is_string());
        EXPECT_EQ(keys(meta.at("size")), size);
        const json& frames = parsed.at("frames");
        ASSERT_TRUE(hash ? frames.is_object() : frames.is_array());
        ASSERT_EQ(frames.size(), 16u);
        std::set<std::string> names;
        for (const auto& [key, frame] : frames.items()) {
            names.insert(hash ? key : frame.value("filename", ""));
            std::set<std::string> want{"frame", "rotated", "trimmed", "spriteSourceSize", "sourceSize", "pivot", "anchor",
                                       "duration", "hotspot"};  // the last two Brindle's own
            if (!hash) want.insert("filename");
            EXPECT_EQ(keys(frame), want);
            EXPECT_TRUE(frame.at("rotated").is_boolean() && frame.at("trimmed").is_boolean());
            EXPECT_EQ(std::tuple(keys(frame.at("frame")), keys(frame.at("spriteSourceSize")), keys(frame.at("sourceSize"))),
                      std::tuple(rect, rect, size));
            EXPECT_TRUE(keys(frame.at("pivot")) == point && frame.at("pivot") == frame.at("anchor") && frame.at("pivot").at("x").is_number());
        }
        EXPECT_TRUE(names.contains("walk_p1_001") && names.contains("walk_p8_002") && names.size() == 16);
    }
}

// Pictures of up to 256 RGBA values and of more, alone and as the frames of one animation, are read back
// as drawn: palette pictures while the values fit, with one palette for all frames, and RGBA from the
// frame that brings the 257th on, the frames before it too.
TEST(PngWriterTest, PicturesOfAnyNumberOfColoursReadBackAsDrawn) {
    std::mt19937 random(5);
    auto draw = [&](size_t colours) {
        std::set<uint32_t> values;
        while (values.size() < colours) values.insert(uint32_t(random()) | (values.size() % 3 ? 0xFF000000u : 0));
        const std::vector<uint32_t> list(values.begin(), values.end());
        RgbaPicture picture;
        picture.Resize(40, 30);
        uint32_t value = 0;
        int run = 0;
        for (size_t i = 0; i < 1200; ++i) {
            if (i < list.size()) value = list[i];  // every value once, then runs of any
            else if (--run <= 0) value = list[random() % list.size()], run = 1 + int(random() % 9);
            std::memcpy(&picture.Pixels[4 * i], &value, 4);
        }
        return picture;
    };
    const auto colourType = [](const Bytes& png) { return png.at(25); };
    for (const size_t colours : {1u, 2u, 255u, 256u, 257u, 1000u}) {
        SCOPED_TRACE(colours);
        const RgbaPicture picture = draw(colours);
        Bytes png;
        ASSERT_TRUE(EncodePng(picture, png));
        EXPECT_EQ(std::tuple(colourType(png), DecodePng(png)), std::tuple(colours <= 256 ? 3 : 6, RgbaOf(picture)));
    }
    // Each frame after the first is stored as the rectangle where it differs from the one before: here
    // frame 3 changes a block of 6 x 4 pixels to one opaque colour, frame 4 one of them in its green
    // alone, frame 5 turns one pixel translucent, which must replace what lay below, and frame 6 changes
    // nothing.
    const auto edit = [](RgbaPicture picture, int x, int y, uint32_t value) {
        std::memcpy(picture.Row(y) + 4 * x, &value, 4);
        return picture;
    };
    for (const size_t each : {80u, 150u}) {  // two different frames: 160 values in all, then 300
        SCOPED_TRACE(each);
        std::vector<RgbaPicture> frames{edit(draw(each), 0, 0, 0), draw(each)};  // one pixel transparent
        RgbaPicture block = frames[1];
        for (int y = 10; y < 14; ++y)
            for (int x = 3; x < 9; ++x) block = edit(block, x, y, 0xFF102030);
        uint32_t greener;
        std::memcpy(&greener, block.Row(13) + 4 * 8, 4);
        frames.push_back(block);
        frames.push_back(edit(block, 8, 13, greener ^ 0x100));
        frames.push_back(edit(frames.back(), 20, 20, 0x80000000));
        frames.push_back(frames.back());
        ApngWriter writer(40, 30, 6, 10, 2);
        for (const RgbaPicture& frame : frames) ASSERT_TRUE(writer.Add(frame));
        Bytes apng;
        ASSERT_TRUE(writer.Finish(apng));
        EXPECT_EQ(colourType(apng), each == 80 ? 3 : 6);
        std::vector<Rgba> expected;
        for (const RgbaPicture& frame : frames) expected.push_back(RgbaOf(frame));
        EXPECT_EQ(DecodeApngFrames(apng), expected);
        std::vector<Bytes> controls;
        for (const auto& [type, data] : ChunksOf(apng))
            if (type == "fcTL") controls.push_back(Bytes(data.begin() + 4, data.begin() + 20)), controls.back().push_back(data[25]);
        // size, place, blend: the opaque block goes over, the unchanged pixels in it transparent
        EXPECT_EQ(controls.at(2), (Bytes{0, 0, 0, 6, 0, 0, 0, 4, 0, 0, 0, 3, 0, 0, 0, 10, 1}));
        EXPECT_EQ(controls.at(5), (Bytes{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    }
    // Frames are held until the end: more than the writer may hold are refused, not piled up.
    ApngWriter small(40, 30, 3, 10, 1, 2 * (40 * 4 + 1) * 30);
    EXPECT_TRUE(small.Add(draw(2)) && small.Add(draw(2)));
    EXPECT_EQ(small.Add(draw(2)).Code, Fault::OutOfLimits);
}

// Sprites of random runs of every layer come back from every PNG the export writes as the frames drawn,
// and the frames encoded on several threads are the same files as on one.
TEST_F(ImageExportTest, RandomSpritesReadBackFromEveryPng) {
    std::vector<FrameFixture> drawn;
    for (uint32_t i = 0; i < 5; ++i) drawn.push_back(EncodeFrame(RandomArt(30 + int32_t(i) * 7, 25, i), int32_t(i) * 3, 20));
    sprite.Bytes = WriteSprite(drawn);
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    CanvasBounds canvas;
    ASSERT_TRUE(ParseSLPHeaders(sprite, header, frames) && CheckedCanvas(frames, canvas));
    const RgbaOptions options{90, true};
    std::vector<Rgba> canvases;
    RecordingHost host;
    ASSERT_TRUE(ForEachCanvasFrame(sprite, frames, canvas, options, host, [&](int32_t, const RgbaPicture& picture) {
        canvases.push_back(RgbaOf(picture));
        return Outcome::Success();
    }));
    ImageExportOptions settings{options};
    const std::vector<NamedFile> single = Export(ImageFormat::Png, settings, "walk.png");
    settings.Threads = 3;
    const std::vector<NamedFile> three = Export(ImageFormat::Png, settings, "walk.png");
    std::vector<Rgba> sequence;
    for (size_t i = 0; i < three.size(); ++i) {
        EXPECT_EQ(std::tuple(three[i].Path, three[i].Bytes), std::tuple(single.at(i).Path, single.at(i).Bytes));
        sequence.push_back(DecodePng(three[i].Bytes));
    }
    EXPECT_EQ(sequence, canvases);
    EXPECT_EQ(DecodeApngFrames(Export(ImageFormat::Apng, settings, "walk.png").at(0).Bytes), canvases);
    const Rgba sheet = DecodePng(Export(ImageFormat::Sheet, settings, "walk.png").at(0).Bytes);
    const SheetLayout layout = LayOutSheet(frames);
    for (int32_t i = 1; i <= header.NumFrames; ++i) {
        RgbaPicture frame;
        ASSERT_TRUE(DecodeRgbaFrame(sprite, frames, i, options, frame, host));
        Rgba cut{frame.Width, frame.Height, {}};
        const auto [x, y] = layout.Places[size_t(i - 1)];
        for (int32_t row = 0; row < frame.Height; ++row)
            for (int32_t col = 0; col < frame.Width; ++col) cut.Pixels.push_back(sheet.Pixels.at(size_t((y + row) * sheet.Width + x + col)));
        EXPECT_EQ(cut, RgbaOf(frame));
    }
}

}  // namespace
