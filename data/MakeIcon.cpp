// make-icon SIZE OUT.png: draws the program's crate icon at SIZE x SIZE pixels and writes it as a PNG.
// The design is the window's 32 x 32 icon: a crate with four slats and a lid on a dark blue square,
// here with rounded corners. Each rectangle is scaled to the size with its edges on the nearest pixel;
// only the rounded corners are smoothed, by the share of each pixel they cover.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "export/ImageFiles.h"
#include "export/Rgba.h"

namespace {

constexpr int32_t Design = 32;  // the side of the design's square
constexpr int32_t CornerRadius = 4;

struct Colour {
    uint8_t R, G, B;
};

struct Rect {
    int32_t X, Y, Width, Height;
    Colour Fill;
};

constexpr Colour Background{0, 0, 128};
constexpr Colour Wood{192, 128, 64};
constexpr Colour Slat{96, 64, 32};
constexpr Colour Lid{224, 224, 224};

// Back to front, as the window paints them.
constexpr Rect Crate[] = {
    {5, 8, 22, 18, Wood},
    {7, 8, 2, 18, Slat},
    {12, 8, 2, 18, Slat},
    {17, 8, 2, 18, Slat},
    {22, 8, 2, 18, Slat},
    {4, 6, 24, 3, Lid},
};

// A design coordinate at `size` pixels, rounded to the nearest pixel edge.
int32_t Scaled(int32_t at, int32_t size) { return (at * size + Design / 2) / Design; }

// How much of the pixel (x, y) the rounded square covers, 0 to 255, from 8 x 8 samples.
uint8_t SquareCoverage(int32_t x, int32_t y, int32_t size) {
    constexpr int32_t Samples = 8;
    const double radius = double(CornerRadius) * size / Design;
    int32_t inside = 0;
    for (int32_t sy = 0; sy < Samples; ++sy) {
        for (int32_t sx = 0; sx < Samples; ++sx) {
            const double px = x + (sx + 0.5) / Samples, py = y + (sy + 0.5) / Samples;
            // The distance past the corner's centre, in each direction; zero away from the corners.
            const double dx = px < radius ? radius - px : px > size - radius ? px - (size - radius) : 0.0;
            const double dy = py < radius ? radius - py : py > size - radius ? py - (size - radius) : 0.0;
            if (dx * dx + dy * dy <= radius * radius) ++inside;
        }
    }
    return uint8_t(inside * 255 / (Samples * Samples));
}

void SetPixel(RgbaPicture& picture, int32_t x, int32_t y, Colour colour, uint8_t alpha) {
    uint8_t* pixel = picture.Row(y) + size_t(x) * 4;
    pixel[0] = colour.R;
    pixel[1] = colour.G;
    pixel[2] = colour.B;
    pixel[3] = alpha;
}

void DrawIcon(int32_t size, RgbaPicture& picture) {
    picture.Resize(size, size);
    for (int32_t y = 0; y < size; ++y)
        for (int32_t x = 0; x < size; ++x) SetPixel(picture, x, y, Background, SquareCoverage(x, y, size));
    for (const Rect& rect : Crate) {
        const int32_t left = Scaled(rect.X, size), top = Scaled(rect.Y, size);
        // At least one pixel each way, so that no slat vanishes at the small sizes.
        const int32_t right = std::max(Scaled(rect.X + rect.Width, size), left + 1);
        const int32_t bottom = std::max(Scaled(rect.Y + rect.Height, size), top + 1);
        for (int32_t y = top; y < bottom; ++y)
            for (int32_t x = left; x < right; ++x) SetPixel(picture, x, y, rect.Fill, 255);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: make-icon SIZE OUT.png\n";
        return 2;
    }
    const long size = std::strtol(argv[1], nullptr, 10);
    if (size < 16 || size > 1024) {
        std::cerr << "make-icon: " << argv[1] << ": the size is 16 to 1024\n";
        return 2;
    }
    RgbaPicture picture;
    DrawIcon(int32_t(size), picture);
    std::vector<uint8_t> png;
    if (const Outcome encoded = EncodePng(picture, png); !encoded) {
        std::cerr << "make-icon: " << argv[2] << ": " << encoded.Detail << '\n';
        return 1;
    }
    std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(png.data()), std::streamsize(png.size()));
    out.close();
    if (!out) {
        std::cerr << "make-icon: " << argv[2] << ": can't be written\n";
        return 1;
    }
    return 0;
}
