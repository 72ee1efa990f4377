#include <gtest/gtest.h>

#include <filesystem>

#include "RecordingHost.h"
#include "Writers.h"
#include "surface/cDIBSection.h"

using namespace fixtures;

namespace {

// A 3 x 2 surface, pixel (x, y) coloured 0x102030 * (1 + x + 3y): red 0x30, green 0x20, blue 0x10 for (0, 0).
cDIBSection ThreeByTwo() {
    cDIBSection dib;
    EXPECT_TRUE(dib.Create(3, 2));
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 3; ++x) dib.SetPixelV(x, y, 0x102030u * uint32_t(1 + x + 3 * y));
    return dib;
}

std::vector<uint32_t> PixelsOf(const cDIBSection& dib) {
    std::vector<uint32_t> pixels;
    for (int32_t y = 0; y < dib.Height(); ++y)
        for (int32_t x = 0; x < dib.Width(); ++x) pixels.push_back(dib.GetPixel(x, y));
    return pixels;
}

TEST(cDIBSectionTest, RowsArePaddedToFourBytes) {
    cDIBSection dib;
    for (auto [width, bytes] : {std::pair{1, 4}, {2, 8}, {3, 12}, {4, 12}, {5, 16}}) {
        EXPECT_EQ(dib.Create(width, 1) ? dib.BytesPerScanLine() : -1, bytes) << width;
    }
}

TEST(cDIBSectionTest, SavedFileIsBottomUpBitmap) {
    TempDir dir;
    const cDIBSection dib = ThreeByTwo();
    const Bytes expected = {
        'B', 'M', 78, 0, 0, 0,  // signature; file size 54 + 24
        0, 0, 0, 0, 54, 0, 0, 0,  // reserved; offset of the pixels
        40, 0, 0, 0, 3, 0, 0, 0, 2, 0, 0, 0,  // header size; width; height, positive: bottom row first
        1, 0, 24, 0, 0, 0, 0, 0,  // planes; bits per pixel; no compression
        24, 0, 0, 0,  // image size: 2 rows of 12 bytes
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // resolutions and colour counts
        // bottom row (y = 1), blue green red per pixel, then 3 bytes of padding
        0x40, 0x80, 0xC0, 0x50, 0xA0, 0xF0, 0x60, 0xC1, 0x20, 0, 0, 0,
        // top row (y = 0)
        0x10, 0x20, 0x30, 0x20, 0x40, 0x60, 0x30, 0x60, 0x90, 0, 0, 0,
    };
    EXPECT_EQ(dib.EncodeBitmap(), expected);
    WriteFileText(dir / "p.bmp", "an older and much longer file that must be replaced");
    const SavePictureResult saved = dib.SavePicture(dir / "p.bmp");
    EXPECT_TRUE(saved.Written);
    EXPECT_EQ(ReadFileBytes(dir / "p.bmp"), expected);
}

TEST(cDIBSectionTest, SaveToUncreatableFileRaisesSeventeen) {
    TempDir dir;
    const SavePictureResult saved = ThreeByTwo().SavePicture(dir / "missing/p.bmp");
    EXPECT_EQ(std::pair(saved.Written, saved.ErrorNumber), std::pair(false, 17));
    EXPECT_FALSE(saved.ErrorDescription.empty());
    EXPECT_TRUE(saved.ErrorSource.ends_with(".cDIBSection256")) << saved.ErrorSource;
    EXPECT_FALSE(std::filesystem::exists(dir / "missing"));
}

TEST(cDIBSectionTest, PixelsOutsideAreIgnoredAndCreateStartsFromZero) {
    cDIBSection dib = ThreeByTwo();
    const Bytes before = dib.EncodeBitmap();
    for (auto [x, y] : {std::pair{-1, 0}, {0, -1}, {3, 0}, {0, 2}, {3, 2}}) {
        dib.SetPixelV(x, y, 0xFFFFFF);
        EXPECT_EQ(dib.GetPixel(x, y), CLR_INVALID) << x << "," << y;
    }
    EXPECT_EQ(dib.EncodeBitmap(), before);
    ASSERT_TRUE(dib.Create(2, 3));
    EXPECT_EQ(PixelsOf(dib), std::vector<uint32_t>(6, 0));
}

TEST(cDIBSectionTest, CreateRefusesEmptyAndHugeSizes) {
    EXPECT_TRUE(cDIBSection().Create(4096, 4096));
    for (auto [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 5}, {4097, 4096}, {65536, 65537}}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        cDIBSection held = ThreeByTwo();
        EXPECT_FALSE(held.Create(width, height));
        EXPECT_FALSE(held.IsCreated());
        EXPECT_EQ(held.hdc(), 0u);
        EXPECT_EQ(held.GetPixel(0, 0), CLR_INVALID);
    }
}

TEST(cDIBSectionTest, PaintPictureSizes) {
    const cDIBSection source = ThreeByTwo();
    const std::vector<uint32_t> all = PixelsOf(source), none(6, 0);
    const uint32_t a = all[0], b = all[1], d = all[3], e = all[4];
    const struct {
        int32_t left, width, height;
        std::vector<uint32_t> painted;
    } cases[] = {
        {0, 0, -1, none}, {0, -1, 0, none}, {0, -1, -1, all},
        {1, -1, -1, {0, a, b, 0, d, e}},  // clipped at the right
        {0, 1, 1, {a, 0, 0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        cDIBSection destination;
        ASSERT_TRUE(destination.Create(3, 2));
        source.PaintPicture(destination, c.left, 0, c.width, c.height);
        EXPECT_EQ(PixelsOf(destination), c.painted) << c.left << " " << c.width << " x " << c.height;
    }
}

TEST(cDIBSectionTest, ResampleToTheSameSizeCopies) {
    const cDIBSection source = ThreeByTwo();
    const cDIBSection copy = source.Resample(2, 3);  // height first
    EXPECT_EQ(std::pair(copy.Width(), PixelsOf(copy)), std::pair(3, PixelsOf(source)));
}

TEST(cDIBSectionTest, NoDibOnTheClipboard) {
    RecordingHost host;
    EXPECT_FALSE(ThreeByTwo().CopyToClipboard(host, true));
    ASSERT_EQ(host.Messages.size(), 1u);
    EXPECT_EQ(host.Messages[0].Text, "I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!");
    EXPECT_EQ(host.ClipboardPuts, 0);
}

}  // namespace
