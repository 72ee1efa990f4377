// The exports for today's tools, read back through decoders that are not ours: libspng for PNG and
// for each frame of an APNG, giflib for GIF, pngcheck for the APNG's structure.

#include <gif_lib.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <spng.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>

#include "RecordingHost.h"
#include "Writers.h"
#include "colour/Palettes.h"
#include "export/ImageExports.h"

using namespace fixtures;

namespace {

// RGBA pixels, rows from the top, as a decoder hands them back.
struct Rgba {
    int Width = 0, Height = 0;
    std::vector<uint32_t> Pixels;  // 0xRRGGBBAA
    bool operator==(const Rgba&) const = default;
};

uint32_t Pixel(uint8_t r, uint8_t g, uint8_t b, uint8_t a) { return uint32_t{r} << 24 | uint32_t{g} << 16 | uint32_t{b} << 8 | a; }
uint32_t Opaque(uint32_t colour) { return Pixel(uint8_t(colour), uint8_t(colour >> 8), uint8_t(colour >> 16), 255); }

Rgba DecodePng(const std::vector<uint8_t>& png) {
    Rgba picture;
    spng_ctx* context = spng_ctx_new(0);
    spng_set_png_buffer(context, png.data(), png.size());
    spng_ihdr header{};
    size_t size = 0;
    if (spng_get_ihdr(context, &header) == 0 && spng_decoded_image_size(context, SPNG_FMT_RGBA8, &size) == 0) {
        std::vector<uint8_t> bytes(size);
        if (spng_decode_image(context, bytes.data(), size, SPNG_FMT_RGBA8, 0) == 0) {
            picture.Width = int(header.width), picture.Height = int(header.height);
            for (size_t i = 0; i < size; i += 4) picture.Pixels.push_back(Pixel(bytes[i], bytes[i + 1], bytes[i + 2], bytes[i + 3]));
        }
    }
    spng_ctx_free(context);
    return picture;
}

// The rectangle {x, y, w, h} of a sheet.
Rgba Cut(const Rgba& sheet, const nlohmann::json& rect) {
    const int x = rect["x"], y = rect["y"], w = rect["w"], h = rect["h"];
    Rgba cut{w, h, {}};
    for (int row = y; row < y + h; ++row)
        for (int column = x; column < x + w; ++column) cut.Pixels.push_back(sheet.Pixels[size_t(row * sheet.Width + column)]);
    return cut;
}

uint32_t LoadU32(const uint8_t* p) { return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3]; }

struct Chunk {
    std::string Type;
    std::vector<uint8_t> Data;
};

std::vector<Chunk> ChunksOf(const std::vector<uint8_t>& png) {
    std::vector<Chunk> chunks;
    for (size_t at = 8; at + 12 <= png.size();) {
        const uint32_t length = LoadU32(&png[at]);
        chunks.push_back({std::string(png.begin() + long(at) + 4, png.begin() + long(at) + 8),
                          std::vector<uint8_t>(png.begin() + long(at) + 8, png.begin() + long(at + 8 + length))});
        at += 12 + length;
    }
    return chunks;
}

// Each frame of an APNG as a plain PNG of its own, the IHDR and its data chunk copied, for libspng.
std::vector<Rgba> DecodeApngFrames(const std::vector<uint8_t>& png) {
    const std::vector<Chunk> chunks = ChunksOf(png);
    std::vector<Rgba> frames;
    auto single = [&](const std::vector<uint8_t>& data) {
        std::vector<uint8_t> file(png.begin(), png.begin() + 8 + 12 + 13);  // signature and IHDR
        auto chunk = [&](const char* type, const std::vector<uint8_t>& body) {
            for (int shift = 24; shift >= 0; shift -= 8) file.push_back(uint8_t(body.size() >> shift));
            const size_t from = file.size();
            file.insert(file.end(), type, type + 4);
            file.insert(file.end(), body.begin(), body.end());
            const uint32_t crc = uint32_t(::crc32(0, file.data() + from, unsigned(file.size() - from)));
            for (int shift = 24; shift >= 0; shift -= 8) file.push_back(uint8_t(crc >> shift));
        };
        chunk("IDAT", data);
        chunk("IEND", {});
        frames.push_back(DecodePng(file));
    };
    for (const Chunk& c : chunks) {
        if (c.Type == "IDAT") single(c.Data);
        if (c.Type == "fdAT") single(std::vector<uint8_t>(c.Data.begin() + 4, c.Data.end()));
    }
    return frames;
}

struct Gif {
    int Width = 0, Height = 0;
    bool Loops = false;
    std::vector<Rgba> Frames;  // transparent pixels as 0
    std::vector<GraphicsControlBlock> Controls;
};

Gif DecodeGif(const std::vector<uint8_t>& bytes) {
    struct Reader {
        const std::vector<uint8_t>* Bytes;
        size_t At = 0;
    } reader{&bytes};
    auto read = [](GifFileType* file, GifByteType* out, int length) {
        auto* r = static_cast<Reader*>(file->UserData);
        const size_t n = std::min(size_t(length), r->Bytes->size() - r->At);
        std::memcpy(out, r->Bytes->data() + r->At, n);
        r->At += n;
        return int(n);
    };
    Gif gif;
    int error = 0;
    GifFileType* file = DGifOpen(&reader, read, &error);
    if (!file || DGifSlurp(file) != GIF_OK) return gif;
    gif.Width = file->SWidth, gif.Height = file->SHeight;
    for (int i = 0; i < file->ImageCount; ++i) {
        const SavedImage& image = file->SavedImages[i];
        for (int e = 0; e < image.ExtensionBlockCount; ++e) {
            const ExtensionBlock& block = image.ExtensionBlocks[e];
            if (block.Function == APPLICATION_EXT_FUNC_CODE && block.ByteCount == 11 && std::memcmp(block.Bytes, "NETSCAPE2.0", 11) == 0)
                gif.Loops = e + 1 < image.ExtensionBlockCount && image.ExtensionBlocks[e + 1].Bytes[1] == 0 &&
                            image.ExtensionBlocks[e + 1].Bytes[2] == 0;
        }
        GraphicsControlBlock control{};
        DGifSavedExtensionToGCB(file, i, &control);
        gif.Controls.push_back(control);
        const ColorMapObject* map = image.ImageDesc.ColorMap ? image.ImageDesc.ColorMap : file->SColorMap;
        Rgba frame{image.ImageDesc.Width, image.ImageDesc.Height, {}};
        for (int p = 0; p < frame.Width * frame.Height; ++p) {
            const int index = image.RasterBits[p];
            const GifColorType c = map->Colors[index];
            frame.Pixels.push_back(index == control.TransparentColor ? 0 : Pixel(c.Red, c.Green, c.Blue, 255));
        }
        gif.Frames.push_back(frame);
    }
    DGifCloseFile(file, &error);
    return gif;
}

struct ImageExportTest : testing::Test {
    void SetUp() override {
        for (size_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), 100, 255 - int32_t(i));
        // Frame 1: every layer, hot spot inside; frame 2 far away from it.
        one.At(1, 0) = {Layer::Colour, 7};
        one.At(2, 0) = {Layer::Player, 1};
        one.At(3, 0) = {Layer::Shadow, 0};
        one.At(0, 1) = {Layer::OutlineInner, 0};
        one.At(1, 1) = {Layer::OutlineOuter, 0};
        one.At(3, 1) = {Layer::Colour, 200};
        two.At(0, 0) = {Layer::Colour, 9};
        two.At(1, 2) = {Layer::Shadow, 0};
        sprite.Path = "walk.slp";
        sprite.Bytes = WriteSprite({EncodeFrame(one, 1, 1), EncodeFrame(two, -30, 40)});
    }

    // The layer table, from the drawing rather than the decoder.
    Rgba Expected(const Art& art, const RgbaOptions& options) const {
        Rgba picture{art.Width, art.Height, {}};
        for (const ArtPixel& p : art.Pixels) {
            switch (p.Kind) {
            case Layer::Colour: picture.Pixels.push_back(Opaque(Palette[p.Index])); break;
            case Layer::Player: picture.Pixels.push_back(Opaque(Palette[p.Index + 16u * uint32_t(options.Player)])); break;
            case Layer::Shadow: picture.Pixels.push_back(Pixel(0, 0, 0, uint8_t(options.ShadowAlpha))); break;
            case Layer::OutlineInner: picture.Pixels.push_back(options.Outlines ? Pixel(0, 0, 255, 255) : 0); break;
            case Layer::OutlineOuter: picture.Pixels.push_back(options.Outlines ? Pixel(255, 255, 0, 255) : 0); break;
            default: picture.Pixels.push_back(0);
            }
        }
        return picture;
    }
    // A frame on the common canvas: frame 1 spans -1..2 x -1..0 around the hot spot, frame 2 spans
    // 30..31 x -40..-38: 33 x 41 pixels, origin at (1, 40).
    Rgba OnCanvas(const Rgba& frame, int x, int y) const {
        Rgba canvas{33, 41, std::vector<uint32_t>(33 * 41, 0)};
        for (int row = 0; row < frame.Height; ++row)
            for (int column = 0; column < frame.Width; ++column)
                canvas.Pixels[size_t((y + row) * 33 + x + column)] = frame.Pixels[size_t(row * frame.Width + column)];
        return canvas;
    }
    std::vector<NamedFile> Export(ImageFormat format, ImageExportOptions options, const std::string& out) {
        std::vector<NamedFile> files;
        std::vector<std::string> notes;
        RecordingHost host;
        const Outcome done = ExportImages(sprite, format, options, out, files, notes, host);
        EXPECT_TRUE(done) << done.Detail;
        EXPECT_TRUE(notes.empty());
        return files;
    }

    Art one{4, 2}, two{2, 3};
    SLPFile sprite;
};

TEST_F(ImageExportTest, PngFramesAndSequencesFollowTheLayerTable) {
    for (const RgbaOptions options : {RgbaOptions{}, RgbaOptions{0, true}, RgbaOptions{255, false}}) {
        SCOPED_TRACE(options.ShadowAlpha);
        const std::vector<NamedFile> frame = Export(ImageFormat::Png, {options, 10, 1}, "out/one.png");
        ASSERT_EQ(frame.size(), 1u);
        EXPECT_EQ(frame[0].Path, "out/one.png");
        EXPECT_EQ(DecodePng(frame[0].Bytes), Expected(one, options));

        const std::vector<NamedFile> sequence = Export(ImageFormat::Png, {options, 10, 0}, "out/walk.png");
        ASSERT_EQ(sequence.size(), 2u);
        EXPECT_EQ(sequence[1].Path, "out/walk002.png");
        EXPECT_EQ(DecodePng(sequence[0].Bytes), OnCanvas(Expected(one, options), 0, 39));
        EXPECT_EQ(DecodePng(sequence[1].Bytes), OnCanvas(Expected(two, options), 31, 0));
    }
}

TEST_F(ImageExportTest, ApngHoldsEveryFrameLoopingAndPassesPngcheck) {
    const std::vector<NamedFile> files = Export(ImageFormat::Apng, {{}, 25, 0}, "walk.apng");
    ASSERT_EQ(files.size(), 1u);
    const std::vector<uint8_t>& png = files[0].Bytes;
    EXPECT_EQ(DecodePng(png), OnCanvas(Expected(one, {}), 0, 39));  // what a plain PNG viewer shows
    EXPECT_EQ(DecodeApngFrames(png), (std::vector<Rgba>{OnCanvas(Expected(one, {}), 0, 39), OnCanvas(Expected(two, {}), 31, 0)}));
    const std::vector<Chunk> chunks = ChunksOf(png);
    ASSERT_GE(chunks.size(), 3u);
    EXPECT_EQ(chunks[1].Type, "acTL");
    EXPECT_EQ(std::tuple(LoadU32(&chunks[1].Data[0]), LoadU32(&chunks[1].Data[4])), std::tuple(2u, 0u));  // frames, forever
    EXPECT_EQ(chunks[2].Type, "fcTL");
    EXPECT_EQ(std::vector<uint8_t>(chunks[2].Data.begin() + 20, chunks[2].Data.end()), (std::vector<uint8_t>{0, 1, 0, 25, 0, 0}));

    const TempDir dir;
    WriteFileBytes(dir / "walk.png", png);
    EXPECT_EQ(std::system(("pngcheck -q '" + (dir / "walk.png") + "' > /dev/null").c_str()), 0);
}

TEST_F(ImageExportTest, GifFramesClearToTheBackgroundAndKeepTheirColours) {
    const RgbaOptions options{128, true};
    const Gif gif = DecodeGif(Export(ImageFormat::Gif, {options, 20, 0}, "walk.gif")[0].Bytes);
    EXPECT_EQ(std::tuple(gif.Width, gif.Height, gif.Loops), std::tuple(33, 41, true));
    // Alpha 128 and above is opaque in its colour: the shadow shows black.
    EXPECT_EQ(gif.Frames, (std::vector<Rgba>{OnCanvas(Expected(one, {255, true}), 0, 39), OnCanvas(Expected(two, {255, true}), 31, 0)}));
    for (const GraphicsControlBlock& control : gif.Controls) {
        EXPECT_EQ(control.DisposalMode, DISPOSE_BACKGROUND);
        EXPECT_EQ(control.DelayTime, 5);
    }
    // Below 128 a shadow is left out.
    const Gif faint = DecodeGif(Export(ImageFormat::Gif, {{100, false}, 10, 0}, "walk.gif")[0].Bytes);
    EXPECT_EQ(faint.Frames[0], OnCanvas(Expected(one, {0, false}), 0, 39));
}

TEST_F(ImageExportTest, AGifFrameOfMoreThan255ColoursSaysWhatWasMerged) {
    Art many(300, 1);
    for (int x = 0; x < 300; ++x) many.At(x, 0) = {Layer::Colour, uint8_t(x % 256)};
    for (size_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), int32_t(i), int32_t(i));
    sprite.Bytes = WriteSprite({EncodeFrame(many)});
    std::vector<NamedFile> files;
    std::vector<std::string> notes;
    RecordingHost host;
    ASSERT_TRUE(ExportImages(sprite, ImageFormat::Gif, {}, "many.gif", files, notes, host));
    EXPECT_EQ(notes, std::vector<std::string>{"frame 1 has 256 colours; the 1 rarest are drawn in the nearest of the other 255"});
    const Gif gif = DecodeGif(files[0].Bytes);
    int exact = 0;
    for (int x = 0; x < 300; ++x) exact += gif.Frames[0].Pixels[size_t(x)] == Opaque(Palette[size_t(x % 256)]);
    EXPECT_EQ(exact, 299);  // the one pixel of the rarest colour is one step off
}

TEST_F(ImageExportTest, ASheetHoldsEveryFrameAndItsJsonSaysWhere) {
    const std::vector<NamedFile> files = Export(ImageFormat::Sheet, {{}, 8, 0}, "out/walk.png");
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[1].Path, "out/walk.json");
    const Rgba sheet = DecodePng(files[0].Bytes);
    const auto json = nlohmann::json::parse(files[1].Bytes);
    EXPECT_EQ(json["meta"]["app"], "brindle");
    EXPECT_EQ(json["meta"]["image"], "walk.png");
    EXPECT_EQ(json["meta"]["format"], "RGBA8888");
    EXPECT_EQ(json["meta"]["scale"], "1");
    EXPECT_EQ(std::tuple(json["meta"]["size"]["w"].get<int>(), json["meta"]["size"]["h"].get<int>()), std::tuple(sheet.Width, sheet.Height));
    ASSERT_EQ(json["frames"].size(), 2u);
    const Art* arts[] = {&one, &two};
    const int onCanvas[2][2] = {{0, 39}, {31, 0}}, hotspots[2][2] = {{1, 1}, {-30, 40}};
    for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        const auto& frame = json["frames"][size_t(i)];
        EXPECT_EQ(frame["filename"], i == 0 ? "walk_001" : "walk_002");
        EXPECT_EQ(std::tuple(frame["rotated"].get<bool>(), frame["trimmed"].get<bool>(), frame["duration"].get<int>()),
                  std::tuple(false, true, 125));
        EXPECT_EQ(frame["spriteSourceSize"], (nlohmann::json{{"x", onCanvas[i][0]}, {"y", onCanvas[i][1]}, {"w", arts[i]->Width}, {"h", arts[i]->Height}}));
        EXPECT_EQ(frame["sourceSize"], (nlohmann::json{{"w", 33}, {"h", 41}}));
        EXPECT_EQ(frame["hotspot"], (nlohmann::json{{"x", hotspots[i][0]}, {"y", hotspots[i][1]}}));
        EXPECT_EQ(Cut(sheet, frame["frame"]), Expected(*arts[i], {}));  // the rectangle holds exactly the frame
    }
    const auto& a = json["frames"][0]["frame"];
    const auto& b = json["frames"][1]["frame"];
    EXPECT_TRUE(int(a["x"]) + int(a["w"]) <= int(b["x"]) || int(a["y"]) + int(a["h"]) <= int(b["y"]));  // none overlaps
}

// Eight rows, player 1's on top, each as tall as the tallest frame (3) and the frames side by side.
TEST_F(ImageExportTest, ATeamSheetHoldsARowOfFramesForEachPlayer) {
    ImageExportOptions options;
    options.AllPlayers = true;
    const std::vector<NamedFile> files = Export(ImageFormat::Sheet, options, "out/walk.png");
    ASSERT_EQ(files.size(), 2u);
    const Rgba sheet = DecodePng(files[0].Bytes);
    const auto json = nlohmann::json::parse(files[1].Bytes);
    EXPECT_EQ(std::tuple(sheet.Width, sheet.Height), std::tuple(6, 24));
    EXPECT_EQ(json["meta"]["size"], (nlohmann::json{{"w", 6}, {"h", 24}}));
    ASSERT_EQ(json["frames"].size(), 16u);
    const Art* arts[] = {&one, &two};
    for (int player = 1; player <= 8; ++player) {
        for (int i = 0; i < 2; ++i) {
            SCOPED_TRACE(std::to_string(player) + " " + std::to_string(i));
            const auto& frame = json["frames"][size_t(2 * (player - 1) + i)];
            EXPECT_EQ(frame["filename"], "walk_p" + std::to_string(player) + "_00" + std::to_string(i + 1));
            EXPECT_EQ(frame["frame"], (nlohmann::json{{"x", 4 * i}, {"y", 3 * (player - 1)}, {"w", arts[i]->Width}, {"h", arts[i]->Height}}));
            EXPECT_EQ(Cut(sheet, frame["frame"]), Expected(*arts[i], {128, false, player}));
        }
    }
}

TEST_F(ImageExportTest, DamageAndSizesBeyondTheLimitsWriteNothing) {
    SpriteLayout at;
    Bytes damaged = WriteSprite({EncodeFrame(one), EncodeFrame(two)}, "2.0N", "", &at);
    const auto row = size_t(at.RowStreamAt[1][0]);
    damaged[row] = 0x1A, damaged[row + 1] = 240;
    std::vector<uint8_t> wide = WriteSprite({EncodeFrame(Art(20000, 1))});
    std::vector<uint8_t> tall = WriteSprite({EncodeFrame(Art(1, 2100))});  // eight rows of it are too tall
    ImageExportOptions teams;
    teams.AllPlayers = true;
    const std::tuple<Bytes, ImageExportOptions, std::string> cases[] = {
        {damaged, {}, "frame 2: row 0: a player colour lies past the end of the palette"},
        {wide, {}, "frame 1 is 20000 x 1 pixels, larger than a sheet of 16384 on a side"},
        {tall, teams, "a sheet of 1 x 16800 pixels is larger than 16384 on a side"},
    };
    for (const auto& [bytes, options, reason] : cases) {
        sprite.Bytes = bytes;
        std::vector<NamedFile> files;
        std::vector<std::string> notes;
        RecordingHost host;
        const Outcome done = ExportImages(sprite, ImageFormat::Sheet, options, "x.png", files, notes, host);
        EXPECT_FALSE(done);
        EXPECT_EQ(done.Detail, reason);
        EXPECT_TRUE(files.empty());
    }
}

}  // namespace
