// make-demo-archive OUT.drs
//
// Writes a small archive to try Brindle on: four sprites drawn here in code (a walking spearman, a
// waving flag, a spinning gem, and a grass tile with a pair of standing stones), a tone, a text, a
// palette, and a table of a kind the viewer doesn't know. The art keeps to the default palette.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <functional>
#include <numbers>
#include <string>

#include "colour/Palettes.h"
#include "RecordingHost.h"
#include "Writers.h"

using namespace fixtures;

namespace {

constexpr double Pi = std::numbers::pi;

ArtPixel Colour(int index) { return {Layer::Colour, static_cast<uint8_t>(index)}; }
ArtPixel Player(int shade) { return {Layer::Player, static_cast<uint8_t>(shade)}; }
constexpr ArtPixel ShadowPixel{Layer::Shadow, 0};

// Default palette indexes used below, dark to light.
constexpr int Skin[] = {72, 120, 121, 139};
constexpr int Steel[] = {129, 130, 131, 132, 133, 134};
constexpr int Leather[] = {24, 25, 27, 28};
constexpr int Wood[] = {41, 57, 65, 61};
constexpr int Gold[] = {66, 67, 68};
constexpr int Ruby[] = {32, 33, 34, 35, 36, 37, 38, 39};
constexpr int Grass[] = {221, 233, 234, 156, 236};

// Picks from a ramp by a brightness of 0 to 1.
template <size_t N>
int Shade(const int (&ramp)[N], double light) {
    const auto i = static_cast<long>(std::floor(std::clamp(light, 0.0, 0.999) * N));
    return ramp[i];
}

// A drawing board in coordinates around a ground point (0, 0), y growing downwards. A frame is cut
// out of it at the box of what was drawn, so each frame has its own size, and the ground point
// becomes its hot spot.
class Board {
public:
    using Paint = std::function<ArtPixel(int x, int y)>;

    Board() : art_(Size, Size) {}

    ArtPixel Get(int x, int y) const {
        return Inside(x, y) ? art_.At(x + Origin, y + Origin) : ArtPixel{};
    }
    void Set(int x, int y, ArtPixel p) {
        if (Inside(x, y)) art_.At(x + Origin, y + Origin) = p;
    }

    void Ellipse(double cx, double cy, double rx, double ry, const Paint& paint) {
        for (int y = int(std::floor(cy - ry)); y <= int(std::ceil(cy + ry)); ++y)
            for (int x = int(std::floor(cx - rx)); x <= int(std::ceil(cx + rx)); ++x) {
                const double dx = (x - cx) / (rx + 0.4), dy = (y - cy) / (ry + 0.4);  // no lone tips
                if (dx * dx + dy * dy <= 1.0) Set(x, y, paint(x, y));
            }
    }

    // A stroke of the given thickness from (x0, y0) to (x1, y1).
    void Line(double x0, double y0, double x1, double y1, double thickness, const Paint& paint) {
        const double r = thickness / 2, len2 = (x1 - x0) * (x1 - x0) + (y1 - y0) * (y1 - y0);
        for (int y = int(std::floor(std::min(y0, y1) - r)); y <= int(std::ceil(std::max(y0, y1) + r)); ++y)
            for (int x = int(std::floor(std::min(x0, x1) - r)); x <= int(std::ceil(std::max(x0, x1) + r)); ++x) {
                const double along = (x - x0) * (x1 - x0) + (y - y0) * (y1 - y0);
                const double t = len2 == 0 ? 0 : std::clamp(along / len2, 0.0, 1.0);
                const double dx = x - (x0 + t * (x1 - x0)), dy = y - (y0 + t * (y1 - y0));
                if (dx * dx + dy * dy <= r * r) Set(x, y, paint(x, y));
            }
    }

    // Rows top to bottom, each from left(y) to right(y) included.
    void Rows(int top, int bottom, const std::function<double(int)>& left, const std::function<double(int)>& right,
              const Paint& paint) {
        for (int y = top; y <= bottom; ++y)
            for (int x = int(std::lround(left(y))); x <= int(std::lround(right(y))); ++x) Set(x, y, paint(x, y));
    }

    // Puts a layer on every empty pixel beside (not across a corner from) a pixel that `around` picks.
    void Ring(Layer layer, const std::function<bool(ArtPixel)>& around) {
        Board before = *this;
        for (int y = -Origin; y < Size - Origin; ++y)
            for (int x = -Origin; x < Size - Origin; ++x) {
                if (before.Get(x, y).Kind != Layer::Transparent) continue;
                if (around(before.Get(x - 1, y)) || around(before.Get(x + 1, y)) || around(before.Get(x, y - 1)) ||
                    around(before.Get(x, y + 1)))
                    Set(x, y, {layer, 0});
            }
    }

    FrameFixture Cut() const {
        int minX = Size, minY = Size, maxX = -1, maxY = -1;
        for (int y = 0; y < Size; ++y)
            for (int x = 0; x < Size; ++x)
                if (art_.At(x, y).Kind != Layer::Transparent) {
                    minX = std::min(minX, x), maxX = std::max(maxX, x);
                    minY = std::min(minY, y), maxY = std::max(maxY, y);
                }
        Art frame(maxX - minX + 1, maxY - minY + 1);
        for (int y = 0; y < frame.Height; ++y)
            for (int x = 0; x < frame.Width; ++x) frame.At(x, y) = art_.At(x + minX, y + minY);
        return EncodeFrame(frame, Origin - minX, Origin - minY);
    }

private:
    static constexpr int Size = 160;
    static constexpr int Origin = 80;
    bool Inside(int x, int y) const { return x >= -Origin && y >= -Origin && x < Size - Origin && y < Size - Origin; }
    Art art_;
};

bool Solid(ArtPixel p) { return p.Kind == Layer::Colour || p.Kind == Layer::Player; }

// ---- The walker: a spearman in a tunic of the player's colour, eight steps of a stride ----------

void DrawLeg(Board& board, double hipY, double footX, double lift, bool near) {
    const double footY = -1 - lift;
    const double kneeX = footX / 2 + 2, kneeY = (hipY + footY) / 2;
    const auto cloth = [&](int, int) { return Colour(Leather[near ? 3 : 1]); };
    board.Line(0, hipY, kneeX, kneeY, 4, cloth);
    board.Line(kneeX, kneeY, footX, footY - 1, 3.5, [&](int, int) { return Colour(Leather[near ? 2 : 0]); });
    board.Ellipse(footX + 1.5, footY, 3, 1.6, [&](int, int y) { return Colour(Steel[y < footY ? 1 : 0]); });
}

void DrawArm(Board& board, double shoulderX, double shoulderY, double swing, bool near) {
    const double handX = shoulderX + 9 * std::sin(swing), handY = shoulderY + 9 * std::cos(swing);
    board.Line(shoulderX, shoulderY, handX, handY, 3.5, [&](int, int) { return Player(near ? 3 : 1); });
    board.Ellipse(handX, handY, 1.6, 1.6, [&](int, int) { return Colour(Skin[near ? 1 : 0]); });
}

void DrawTorso(Board& board, double hipY) {
    const int top = int(std::lround(hipY)) - 15, bottom = int(std::lround(hipY)) + 4;
    const auto left = [&](int y) { return -4 - 2.0 * (y - top) / (bottom - top); };
    const auto right = [&](int y) { return 4 + 3.0 * (y - top) / (bottom - top); };
    board.Rows(top, bottom, left, right, [&](int x, int y) {
        if (y == bottom) return Player(1);
        if (y == top + 13 || y == top + 14) return Colour(x == 2 || x == 3 ? Gold[1] : Wood[1]);  // the belt
        const double across = (x - left(y)) / (right(y) - left(y));
        return Player(across < 0.25 ? 5 : across < 0.5 ? 4 : across < 0.8 ? 3 : 2);
    });
}

void DrawHead(Board& board, double neckY) {
    const double cx = 1.5, cy = neckY - 5;
    board.Line(1, neckY + 1, 1.5, neckY - 2, 3, [](int, int) { return Colour(Skin[1]); });
    board.Ellipse(cx, cy, 4.5, 4.5, [&](int x, int y) {
        const double light = 1 - std::hypot(x - (cx - 1.5), y - (cy - 1.5)) / 6.5;
        if (y < cy - 1) return Colour(Shade(Steel, light + 0.2));  // helmet
        return Colour(Shade(Skin, light + 0.1));
    });
    board.Line(cx - 4.5, cy - 1, cx + 5.5, cy - 1, 1, [](int, int) { return Colour(Steel[1]); });  // brim
    board.Set(int(cx) + 3, int(cy) + 1, Colour(128));                                            // eye
    board.Line(cx - 1, cy - 5, cx - 4, cy - 7, 2, [](int x, int) { return Player(x < -1 ? 6 : 5); });  // plume
}

void DrawSpear(Board& board, double handX, double handY) {
    const double topX = handX + 3, topY = handY - 30, footX = handX - 1, footY = handY + 14;
    board.Line(footX, footY, topX, topY, 1.5, [](int x, int) { return Colour(Wood[2 + (x & 1)]); });
    for (int i = 0; i < 7; ++i) {  // the head, a narrowing blade
        const double half = i < 2 ? 0.6 : 1.4 - (i - 2) * 0.28;
        const double x = topX + 0.1 * (i + 1), y = topY - 1 - i;
        board.Line(x - half, y, x + half, y, 1, [&](int px, int) { return Colour(Steel[px <= x ? 5 : 3]); });
    }
}

FrameFixture DrawWalker(int step, int steps) {
    Board board;
    const double phase = 2 * Pi * step / steps, s = std::sin(phase), c = std::cos(phase);
    const double hipY = -19 + std::round(1.5 * std::abs(s));
    board.Ellipse(0, 0, 6 + 3 * std::abs(s), 2.5, [](int, int) { return ShadowPixel; });

    const double armSwing = 0.5 * s;
    DrawArm(board, -0.5, hipY - 13, armSwing, false);
    DrawLeg(board, hipY, -8 * s, std::max(0.0, -3 * c), false);
    DrawLeg(board, hipY, 8 * s, std::max(0.0, 3 * c), true);
    DrawTorso(board, hipY);
    DrawHead(board, hipY - 15);
    const double handX = 1.5 + 9 * std::sin(-armSwing), handY = hipY - 13 + 9 * std::cos(armSwing);
    DrawSpear(board, handX, handY);
    DrawArm(board, 1.5, hipY - 13, -armSwing, true);

    board.Ring(Layer::OutlineOuter, Solid);
    return board.Cut();
}

// ---- The flag: a banner of the player's colour on a pole, six frames of a wave -----------------

FrameFixture DrawFlag(int frame, int frames) {
    Board board;
    board.Ellipse(14, 0, 15, 3, [](int, int) { return ShadowPixel; });
    board.Ellipse(0, -1, 5, 2.5, [](int, int y) { return Colour(Steel[y < -1 ? 3 : 1]); });
    board.Rows(-62, -2, [](int) { return -1; }, [](int) { return 1; },
               [](int x, int) { return Colour(Wood[3 - (x + 1)]); });
    board.Ellipse(0, -64, 2.5, 2.5, [](int x, int y) { return Colour(Gold[x + y < -64 ? 2 : x > 0 ? 0 : 1]); });
    board.Ring(Layer::OutlineInner, [](ArtPixel p) {
        return p.Kind == Layer::Colour && (p.Index == Gold[0] || p.Index == Gold[1] || p.Index == Gold[2]);
    });

    const auto wave = [&](double u) { return 3.5 * (u / 36) * std::sin(2 * Pi * (u / 22 - double(frame) / frames)); };
    for (int u = 0; u <= 36; ++u) {
        const int top = -60 + int(std::lround(wave(u))), bottom = top + 22 - u / 9;
        const double slope = wave(u + 1) - wave(u);
        const int shade = slope < -0.25 ? 5 : slope > 0.25 ? 2 : slope < 0 ? 4 : 3;
        for (int y = top; y <= bottom; ++y) {
            const int row = y - top;
            const bool stripe = row >= 8 && row <= 11 && u > 0;
            board.Set(2 + u, y, Player(y == bottom ? 1 : stripe ? std::min(7, shade + 3) : shade));
        }
    }
    return board.Cut();
}

// ---- The gem: a ruby turning above its shadow, with both outlines as a glow -------------------

FrameFixture DrawGem(int frame, int frames) {
    Board board;
    const double turn = (Pi / 2) * frame / frames;  // a square gem repeats every quarter turn
    const double bob = std::round(1.5 * std::sin(2 * Pi * frame / frames));
    const double cy = -22 + bob, up = 8, down = 13, radius = 9;
    board.Ellipse(0, 0, 7 - bob / 2, 2, [](int, int) { return ShadowPixel; });

    for (int y = int(cy - up); y <= int(cy + down); ++y) {
        const double k = y <= cy ? 1 - (cy - y) / up : 1 - (y - cy) / down;
        for (int x = -int(radius) - 1; x <= int(radius) + 1; ++x) {
            const double u = x / (k * radius + 0.5);
            for (int face = 0; face < 4; ++face) {
                const double normal = turn + Pi / 4 + face * Pi / 2;
                if (std::cos(normal) <= 0) continue;
                if (u < std::sin(normal - Pi / 4) || u > std::sin(normal + Pi / 4)) continue;
                // Light from the upper left and the front; the upper faces catch more of it.
                const double light = 0.35 - 0.3 * std::sin(normal) + 0.15 * std::cos(normal) + (y <= cy ? 0.2 : -0.15);
                board.Set(x, y, Colour(Shade(Ruby, light)));
                break;
            }
        }
    }
    const auto ruby = [](ArtPixel p) { return p.Kind == Layer::Colour; };
    board.Ring(Layer::OutlineInner, ruby);
    board.Ring(Layer::OutlineOuter, [](ArtPixel p) { return p.Kind == Layer::OutlineInner; });
    return board.Cut();
}

// ---- Terrain: a grass tile, and two standing stones far apart ---------------------------------

// Dithered grass: neighbours differ often enough that whole rows go out as long colour lists.
FrameFixture DrawGrassTile() {
    Art tile(97, 49);
    for (int y = 0; y < tile.Height; ++y) {
        const int half = int(std::lround(48 * (1 - std::abs(y - 24) / 24.5)));
        for (int x = 48 - half; x <= 48 + half; ++x) {
            unsigned h = unsigned(x) * 73856093u ^ unsigned(y) * 19349663u;
            h ^= h >> 13;
            unsigned pick = (h * 2654435761u >> 16) % 5;
            if (x >= 50 - half && tile.At(x - 1, y).Index == Grass[pick] && tile.At(x - 2, y).Index == Grass[pick])
                pick = (pick + 1) % 5;
            tile.At(x, y) = Colour(Grass[pick]);
        }
    }
    return EncodeFrame(tile, 48, 24);
}

FrameFixture DrawStandingStones() {
    constexpr int width = 300, height = 60;
    Art art(width, height);
    const auto stone = [&](int left, int top) {
        for (int y = top; y < height - 3; ++y)
            for (int x = left; x < left + 16; ++x) {
                const bool joint = (y - top) % 6 == 5 || (x - left + ((y - top) / 6 % 2) * 4) % 8 == 7;
                art.At(x, y) = Colour(joint ? Steel[0] : Steel[x - left < 5 ? 4 : x - left < 11 ? 3 : 2]);
            }
        for (int y = height - 8; y < height; ++y)  // shadow falls to the right at the foot
            for (int x = left + 16; x < left + 16 + (y - (height - 8)) * 2 && x < width; ++x)
                art.At(x, y) = ShadowPixel;
    };
    stone(0, 4);
    stone(width - 22, 16);  // far enough from the first for a long skip above the rope

    // A twisted rope sagging between them, and a banner in the middle: long player lists and fills.
    const auto ropeY = [](int x) {
        const double t = (x - 16) / 262.0;
        return int(std::lround(10 + 10 * t + 14 * std::sin(Pi * t)));
    };
    for (int x = 16; x < width - 22; ++x) {
        art.At(x, ropeY(x)) = Player(x % 2 ? 2 : 3);
        art.At(x, ropeY(x) + 1) = Player(1);
    }
    const int bannerTop = ropeY(150) + 2;
    for (int y = bannerTop; y < bannerTop + 12; ++y)
        for (int x = 127; x < 173; ++x) {
            const int fromMiddle = std::abs(x - 150) + std::abs(y - bannerTop - 5);
            art.At(x, y) = fromMiddle < 4 ? Colour(Gold[fromMiddle < 2 ? 2 : 1]) : Player(y == bannerTop + 11 ? 4 : 6);
        }
    return EncodeFrame(art, width / 2, height - 1);
}

Bytes MakeSprite(const std::function<FrameFixture(int, int)>& draw, int frames, std::string_view comment) {
    std::vector<FrameFixture> drawn;
    for (int i = 0; i < frames; ++i) drawn.push_back(draw(i, frames));
    return WriteSprite(drawn, "2.0N", comment);
}

// The default palette with the player band turned from blue to red.
Bytes RedPlayerPalette() {
    QuietHost host;
    (void)LoadPalette("");
    std::array<uint32_t, 256> colours = Palette;
    const uint32_t reds[8] = {RGB(82, 0, 0),    RGB(130, 16, 0),  RGB(170, 30, 12),  RGB(200, 50, 30),
                              RGB(228, 80, 60), RGB(245, 120, 100), RGB(255, 170, 150), RGB(255, 220, 210)};
    std::copy(std::begin(reds), std::end(reds), colours.begin() + 16);
    return BytesOf(WriteJascPal(colours));
}

ArchiveFixture DemoArchive() {
    ArchiveFixture archive;
    archive.Kind = Flavour::Year1997;

    TableFixture sprites{StoredTag("slp"), {}};
    sprites.Entries.push_back({1000, MakeSprite(DrawWalker, 8, "spearman, walking")});
    sprites.Entries.push_back({1001, MakeSprite(DrawFlag, 6, "flag")});
    sprites.Entries.push_back({1002, MakeSprite(DrawGem, 8, "ruby")});
    sprites.Entries.push_back(
        {1003, WriteSprite({DrawGrassTile(), DrawStandingStones()}, "2.0N", "terrain")});

    TableFixture sounds{StoredTag("wav"), {{5000, WriteWavTone(22050, 0.5, 523.25)}}};

    TableFixture data{StoredTag("bin"), {}};
    data.Entries.push_back({50500, BytesOf("; units of the demo\r\n"
                                             "[walker] = {slp 1000, frames 8}\r\n"
                                             "[flag] = {slp 1001, frames 6}\r\n"
                                             "sounds = data\\sounds\\*.wav\r\n"
                                             "braces = \\{ stay } as they are\r\n")});
    data.Entries.push_back({50532, RedPlayerPalette()});

    TableFixture other{StoredTag("xyz"), {}};
    other.Entries.push_back({9000, BytesOf("XYZ1 no viewer for this one\r\n")});
    Bytes ramp;
    for (int i = 0; i < 64; ++i) ramp.push_back(static_cast<uint8_t>(i * 4));
    other.Entries.push_back({9001, ramp});

    archive.Tables = {sprites, sounds, data, other};
    return archive;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-demo-archive OUT.drs\n");
        return 2;
    }
    try {
        WriteFileBytes(argv[1], WriteArchive(DemoArchive()));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "make-demo-archive: %s\n", e.what());
        return 1;
    }
    return 0;
}
