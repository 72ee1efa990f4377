// The SLP encoder: what random sprites of every command decode to comes back exactly, in every command
// form; the files are no larger than the test writer's; the limits are refused.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "base/Functions.h"
#include "colour/Palettes.h"
#include "RecordingHost.h"
#include "slp/SLPCodeNew.h"
#include "slp/SLPEncode.h"
#include "Writers.h"

using namespace fixtures;

namespace {

// Which command forms, margins and row kinds a file's frames use, by the decoder's table.
std::set<std::string> FormsUsed(const Bytes& bytes) {
    std::set<std::string> forms;
    const SLPFile file{"memory.slp", bytes};
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ParseSLPHeaders(file, header, frames)) return forms;
    for (const SLPFrameInfo& frame : frames) {
        for (int32_t row = 0; row < frame.Height; ++row) {
            const uint8_t* outline = bytes.data() + frame.OutlineTableOffset + 4 * row;
            const int16_t left = LoadI16(outline), right = LoadI16(outline + 2);
            if (left == BlankRow) {
                forms.insert("blank row");
                continue;
            }
            if (left > 0) forms.insert("left margin");
            if (right > 0) forms.insert("right margin");
            size_t at = size_t(LoadI32(bytes.data() + frame.CommandTableOffset + 4 * row));
            int64_t x = left;
            for (;;) {
                const uint8_t c = bytes[at++];
                const uint32_t high = c >> 4;
                auto extended = [&](const char* form, uint32_t n) {
                    forms.insert(std::string(form) + (n ? "" : "+"));
                    return n ? n : bytes[at++];
                };
                uint32_t n = 0;
                switch (c & 0x0F) {
                    case 0x0: case 0x4: case 0x8: case 0xC: forms.insert("list"), n = c >> 2, at += n; break;
                    case 0x1: case 0x5: case 0x9: case 0xD: n = extended("skip", c >> 2); break;
                    case 0x2: forms.insert("long list"), n = high * 256 + bytes[at++], at += n; break;
                    case 0x3: forms.insert("long skip"), n = high * 256 + bytes[at++]; break;
                    case 0x6: n = extended("player list", high), at += n; break;
                    case 0x7: n = extended("fill", high), ++at; break;
                    case 0xA: n = extended("player fill", high), ++at; break;
                    case 0xB: n = extended("shadow", high); break;
                    case 0xE:
                        if (c == 0x4E || c == 0x6E) forms.insert(c == 0x4E ? "inner pixel" : "outer pixel"), n = 1;
                        else forms.insert(c == 0x5E ? "inner run" : c == 0x7E ? "outer run" : "player by nibble"), n = bytes[at++];
                        break;
                }
                if ((c & 0x0F) == 0x0F) break;
                x += n;
            }
            if (x + right < frame.Width) forms.insert("short row");
        }
    }
    return forms;
}

// Random sprites of every command, and a row of a list and a gap each longer than 4,095 pixels.
std::vector<Bytes> RandomSprites() {
    std::vector<Bytes> sprites;
    for (uint32_t seed = 0; seed < 12; ++seed) sprites.push_back(RandomSprite(seed));
    Art wide(9000, 3);
    for (int32_t x = 0; x < 5000; ++x) wide.At(x, 0) = {Layer::Colour, uint8_t(x * 7)};
    wide.At(0, 1) = {Layer::Colour, 1}, wide.At(8999, 1) = {Layer::Shadow, 0};
    sprites.push_back(WriteSprite({EncodeFrame(wide, -3, 2)}));
    return sprites;
}

TEST(SLPEncode, WhatASpriteDecodesToEncodesBackExactlyInEveryCommandForm) {
    (void)LoadPalette("");  // its colours repeat (0, 10 and 48 are all black), which the lookup must bear
    std::set<std::string> forms;
    for (const Bytes& original : RandomSprites()) {
        std::vector<FramePixels> pixels;
        const std::vector<DecodedFrame> want = DecodeFrames(original, &pixels);
        Bytes encoded;
        const Outcome made = EncodeSLP(pixels, encoded);
        ASSERT_TRUE(made.Ok()) << made.Detail;
        EXPECT_EQ(DecodedDifference(DecodeFrames(encoded), want), "");
        const std::set<std::string> used = FormsUsed(encoded);
        forms.insert(used.begin(), used.end());
    }
    // Every form the encoder writes was written, so a mistake in any one of them shows above.
    const std::set<std::string> all = {"list", "long list", "skip", "long skip", "player list", "player list+", "fill", "fill+",
                                       "player fill", "player fill+", "player by nibble", "shadow", "shadow+", "inner pixel",
                                       "inner run", "outer pixel", "outer run", "blank row", "left margin", "right margin",
                                       "short row"};
    for (const std::string& form : all) EXPECT_TRUE(forms.count(form)) << form << " was never written";
}

TEST(SLPEncode, FilesAreNoLargerThanTheWritersAndFramesDrawnAlikeShareTheirTables) {
    (void)LoadPalette("");
    size_t originals = 0, encodedBytes = 0;
    for (const Bytes& original : RandomSprites()) {
        std::vector<FramePixels> pixels;
        (void)DecodeFrames(original, &pixels);
        Bytes encoded;
        ASSERT_TRUE(EncodeSLP(pixels, encoded).Ok());
        originals += original.size(), encodedBytes += encoded.size();
    }
    std::printf("encoded %zu bytes of sprites as %zu bytes (%.3f)\n", originals, encodedBytes, double(encodedBytes) / double(originals));
    EXPECT_LE(encodedBytes, originals);

    FramePixels frame{3, 2, 0, 0, std::vector<PixelLayer>(6, PixelLayer::Colour), {1, 2, 3, 4, 5, 6}};
    FramePixels moved = frame;
    moved.HotspotX = 5;
    Bytes one, two;
    ASSERT_TRUE(EncodeSLP(std::vector{frame}, one).Ok());
    ASSERT_TRUE(EncodeSLP(std::vector{frame, moved}, two).Ok());
    EXPECT_EQ(two.size(), one.size() + 32);  // a frame record, and nothing else
}

// Every length form at its edges: a run of each layer, of one byte and of many, one short of, at and one
// past the largest count of each form, between two colour pixels so that it isn't a margin.
TEST(SLPEncode, RunsAtTheEdgesOfEachLengthFormComeBack) {
    for (uint32_t i = 0; i < 256; ++i) Palette[i] = RGB(int32_t(i), 255 - int32_t(i), int32_t(i / 2));  // no colour twice
    std::vector<FramePixels> frames;
    for (const int32_t n : {15, 16, 17, 63, 64, 65, 255, 256, 257, 4095, 4096, 4097}) {
        for (const PixelLayer layer : {PixelLayer::Colour, PixelLayer::Player, PixelLayer::Shadow, PixelLayer::OutlineInner,
                                       PixelLayer::OutlineOuter, PixelLayer::Transparent}) {
            for (const bool alike : {true, false}) {
                FramePixels& frame = frames.emplace_back(FramePixels{n + 2, 1, 0, 0, {PixelLayer::Colour}, {1}});
                const bool hasByte = layer == PixelLayer::Colour || layer == PixelLayer::Player;
                for (int32_t i = 0; i < n; ++i) frame.Layers.push_back(layer), frame.Bytes.push_back(uint8_t(hasByte ? (alike ? 7 : i % 200 + 17) : 0));
                frame.Layers.push_back(PixelLayer::Colour), frame.Bytes.push_back(2);
            }
        }
    }
    Bytes encoded;
    ASSERT_TRUE(EncodeSLP(frames, encoded).Ok());
    std::vector<FramePixels> back;
    ASSERT_EQ(DecodeFrames(encoded, &back).size(), frames.size());
    for (size_t i = 0; i < frames.size(); ++i)
        EXPECT_EQ(std::tie(back[i].Layers, back[i].Bytes), std::tie(frames[i].Layers, frames[i].Bytes)) << "frame " << i;
}

// One line naming the frame and the limit, and no file.
TEST(SLPEncode, LimitsAreRefusedNamingTheFrame) {
    auto blank = [](int32_t width, int32_t height) {
        const size_t n = size_t(std::max(width, 0)) * size_t(std::max(height, 0));
        return FramePixels{width, height, 0, 0, std::vector<PixelLayer>(n, PixelLayer::Transparent), Bytes(n)};
    };
    FramePixels gap = blank(3, 1), player = blank(2, 1);
    gap.Layers = {PixelLayer::Colour, PixelLayer::Nothing, PixelLayer::Colour};
    player.Layers = {PixelLayer::Player, PixelLayer::Player}, player.Bytes = {239, 240};
    auto noisy = [&](uint8_t seed) {
        FramePixels frame = blank(64, 64);
        for (size_t i = 0; i < frame.Bytes.size(); ++i) frame.Layers[i] = PixelLayer::Colour, frame.Bytes[i] = uint8_t(i * 37 + seed);
        return frame;
    };
    const struct {
        std::vector<FramePixels> Frames;
        int64_t MaxBytes;
        Fault Code;
        std::string Detail;
    } cases[] = {
        {std::vector<FramePixels>(32767, blank(1, 1)), MaxEncodedBytes, Fault::OutOfLimits, "frame 32767: a sprite holds at most 32,766 frames"},
        {{blank(1, 1), blank(1, 8193)}, MaxEncodedBytes, Fault::OutOfLimits, "frame 2: 8,193 rows; a frame has at most 8,192"},
        {{blank(32768, 1)}, MaxEncodedBytes, Fault::OutOfLimits, "frame 1: a width of 32,768 does not fit 16 bits signed"},
        {{blank(-1, 1)}, MaxEncodedBytes, Fault::OutOfLimits, "frame 1: a width of -1 does not fit"},
        {{blank(4097, 4096)}, MaxEncodedBytes, Fault::OutOfLimits, "frame 1: 4,097 x 4,096 pixels; Brindle draws at most"},
        {{noisy(0), noisy(1), noisy(2)}, 9000, Fault::OutOfLimits, "frame 2: the file grows past 9,000 bytes"},
        {{gap}, MaxEncodedBytes, Fault::Damaged, "frame 1, row 0, column 1: a pixel with nothing drawn stands before drawn ones"},
        {{player}, MaxEncodedBytes, Fault::Damaged, "frame 1, row 0, column 1: a player byte above 239"},
    };
    for (const auto& c : cases) {
        Bytes file;
        const Outcome refused = EncodeSLP(c.Frames, file, c.MaxBytes);
        EXPECT_EQ(refused.Code, c.Code) << c.Detail;
        EXPECT_TRUE(refused.Detail.starts_with(c.Detail)) << refused.Detail;
        EXPECT_TRUE(file.empty());
    }
}

}  // namespace
