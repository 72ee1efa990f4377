#pragma once
// The sprites of the benchmarks, drawn in code, the archive that brindle-cli convert is timed on and the
// folder that brindle-cli pack is.

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "RecordingHost.h"
#include "Writers.h"

// A sprite-like picture: a body of colour runs and flecked texture around a band of player colour,
// its shadow to the lower right, an outer outline on its left edge and an inner one on its right, all
// in a transparent margin. EncodeFrame turns it into every command form: skips, lists, fills, player
// lists and fills, shadow runs, single outline pixels and outline runs.
inline fixtures::Art SpriteArt(int32_t width, int32_t height, uint32_t seed) {
    std::mt19937 random(seed);
    auto inside = [&](double x, double y, double cx, double cy) {
        const double dx = (x - cx) / (0.36 * width), dy = (y - cy) / (0.40 * height);
        return dx * dx + dy * dy <= 1.0;
    };
    const double cx = 0.45 * width, cy = 0.45 * height;
    fixtures::Art art(width, height);
    for (int32_t y = 0; y < height; ++y) {
        uint8_t index = 0;
        int32_t runLeft = 0;
        for (int32_t x = 0; x < width; ++x) {
            if (inside(x, y, cx, cy)) {
                if (runLeft-- <= 0) {  // a run of one colour, or a fleck of single pixels
                    runLeft = std::uniform_int_distribution<int32_t>(0, 11)(random);
                    index = static_cast<uint8_t>(std::uniform_int_distribution<int32_t>(24, 200)(random));
                }
                const bool fleck = runLeft % 4 == 1;
                const auto shade = static_cast<uint8_t>(fleck ? index + random() % 8 : index);
                const bool band = std::abs(y - cy) < 0.08 * height && std::abs(x - cx) < 0.2 * width;
                art.At(x, y) = band ? fixtures::ArtPixel{fixtures::Layer::Player, static_cast<uint8_t>(x / 6 % 8)}
                                    : fixtures::ArtPixel{fixtures::Layer::Colour, shade};
            } else if (inside(x, y, cx + 0.12 * width, cy + 0.10 * height)) {
                art.At(x, y) = {fixtures::Layer::Shadow, 0};
            }
        }
    }
    for (int32_t y = 1; y + 1 < height; ++y) {  // outlines where the body meets its surroundings
        for (int32_t x = 1; x + 1 < width; ++x) {
            const bool body = inside(x, y, cx, cy);
            const bool edge = body != inside(x - 1, y, cx, cy) || body != inside(x, y - 1, cx, cy) ||
                              body != inside(x + 1, y, cx, cy) || body != inside(x, y + 1, cx, cy);
            if (edge && !body && x < cx) art.At(x, y) = {fixtures::Layer::OutlineOuter, 0};
            if (edge && body && x > cx) art.At(x, y) = {fixtures::Layer::OutlineInner, 0};
        }
    }
    return art;
}

// An archive of 200 sprites of six frames, each sprite of its own size from 48 to 160 pixels a side,
// its frames a few pixels apart in size and hot spot, as a walk cycle has them.
inline fixtures::Bytes WriteConvertArchive() {
    using namespace fixtures;
    std::vector<EntryFixture> entries;
    for (int32_t id = 1; id <= 200; ++id) {
        const int32_t width = 48 + id * 37 % 113, height = 48 + id * 53 % 113;
        std::vector<FrameFixture> frames;
        for (int32_t f = 0; f < 6; ++f) {
            const int32_t w = width - f % 3 * 2, h = height - f % 2 * 3;
            frames.push_back(EncodeFrame(SpriteArt(w, h, uint32_t(id * 6 + f)), w / 2 + f % 2, h - 4 - f % 3));
        }
        entries.push_back({id, WriteSprite(frames)});
    }
    return WriteArchive({Flavour::Year2001, {{StoredTag("slp"), entries}}});
}

// The same 200 sprites as animations whose frames share most pixels, as a unit's do: one body drawn
// once, and in each frame a limb (a block of a quarter of each side) drawn anew a few pixels further on.
inline fixtures::Bytes WriteAnimationArchive() {
    using namespace fixtures;
    std::vector<EntryFixture> entries;
    for (int32_t id = 1; id <= 200; ++id) {
        const int32_t width = 48 + id * 37 % 113, height = 48 + id * 53 % 113;
        const Art body = SpriteArt(width, height, uint32_t(id));
        std::vector<FrameFixture> frames;
        for (int32_t f = 0; f < 6; ++f) {
            Art frame = body;
            const Art limb = SpriteArt(width / 4, height / 4, uint32_t(id * 6 + f));
            const int32_t left = width / 4 + f * width / 24, top = height / 2;
            for (int32_t y = 0; y < limb.Height; ++y)
                for (int32_t x = 0; x < limb.Width; ++x) frame.At(left + x, top + y) = limb.At(x, y);
            frames.push_back(EncodeFrame(frame, width / 2, height - 4));
        }
        entries.push_back({id, WriteSprite(frames)});
    }
    return WriteArchive({Flavour::Year2001, {{StoredTag("slp"), entries}}});
}

// 2,000 entries laid out as extract-all lays them out, about 40 MB: 1,500 sprites of 1 to 48 KiB in
// 01-SLP, 400 sounds of 8 to 96 KiB in 02-WAV, 100 data entries of up to 4 KiB in 03-BIN. Packing
// reads no entry's content, so the bytes are random.
inline void WritePackFolder(const std::string& folder) {
    std::mt19937 random(32);
    const struct { const char* Table; const char* Extension; int Count, Least, Most; } tables[] = {
        {"01-SLP", ".slp", 1500, 1 << 10, 48 << 10}, {"02-WAV", ".wav", 400, 8 << 10, 96 << 10}, {"03-BIN", ".bin", 100, 100, 4 << 10}};
    int id = 1000;
    for (const auto& table : tables) {
        const std::string path = folder + "/" + table.Table + "/";
        std::filesystem::create_directories(path);
        for (int i = 0; i < table.Count; ++i) {
            fixtures::Bytes bytes(std::uniform_int_distribution<size_t>(size_t(table.Least), size_t(table.Most))(random));
            for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
            fixtures::WriteFileBytes(path + std::to_string(id++) + table.Extension, bytes);
        }
    }
}
