// The 24-bit surface: its BMP file, its sizes, and what it does at and past its edges.

#include <gtest/gtest.h>

#include "RecordingHost.h"
#include "surface/cDIBSection.h"
#include "Writers.h"

using namespace fixtures;

namespace {

// A 3 x 2 surface, pixel (x, y) coloured 0x102030 * (1 + x + 3y): red 0x30, green 0x20, blue 0x10 for (0, 0).
cDIBSection ThreeByTwo() {
    cDIBSection dib;
    EXPECT_TRUE(dib.Create(3, 2));
    for (int32_t i = 0; i < 6; ++i) dib.SetPixelV(i % 3, i / 3, 0x102030u * uint32_t(1 + i));
    return dib;
}

TEST(cDIBSectionTest, SavePictureWritesABottomUpBitmapOrRaisesSeventeen) {
    const Bytes expected = {
        'B', 'M', 78, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,  // signature; file size 54 + 24; reserved; pixels' offset
        40, 0, 0, 0, 3, 0, 0, 0, 2, 0, 0, 0, 1, 0, 24, 0,  // header size; width; height > 0: bottom row first; planes; bits
        0, 0, 0, 0, 24, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // no compression; 2 rows x 12 bytes; the rest 0
        0x40, 0x80, 0xC0, 0x50, 0xA0, 0xF0, 0x60, 0xC1, 0x20, 0, 0, 0,  // row y = 1: blue green red, then padding
        0x10, 0x20, 0x30, 0x20, 0x40, 0x60, 0x30, 0x60, 0x90, 0, 0, 0,  // row y = 0
    };
    TempDir dir;
    WriteFileText(dir / "p.bmp", "an older and much longer file that must be replaced");
    EXPECT_TRUE(ThreeByTwo().SavePicture(dir / "p.bmp").Ok());
    EXPECT_EQ(ReadFileBytes(dir / "p.bmp"), expected);
    cDIBSection big;  // 16 x 16: the file size, 822 = 0x336, has bit 8 set
    EXPECT_TRUE(big.Create(16, 16) && big.SavePicture(dir / "b.bmp").Ok() && ReadFileBytes(dir / "b.bmp")[3] == 3);
    const SavePictureResult failed = ThreeByTwo().SavePicture(dir / "missing/p.bmp");
    EXPECT_EQ(std::tuple(failed.Ok(), failed.ErrorNumber, failed.Detail.empty(),
                         failed.ErrorSource.ends_with(".cDIBSection256")), std::tuple(false, 17, false, true));
}

TEST(cDIBSectionTest, CreateStartsFromZeroPadsRowsToFourBytesAndRefusesEmptyAndHugeSizes) {
    cDIBSection held = ThreeByTwo();
    held.ClearUp();  // lets go of the pixels, keeps the size
    EXPECT_EQ(std::tuple(held.IsCreated(), held.GetPixel(0, 0), held.Width(), held.Height()), std::tuple(false, CLR_INVALID, 3, 2));
    cDIBSection from = ThreeByTwo(), to = std::move(from);  // a moved-from surface holds no pixels, and says so
    EXPECT_EQ(std::tuple(from.IsCreated(), from.GetPixel(0, 0), to.IsCreated(), to.GetPixel(0, 0)),
              std::tuple(false, CLR_INVALID, true, ThreeByTwo().GetPixel(0, 0)));
    from.FillRun(0, 2, 1, 0xFFFFFF);
    ASSERT_TRUE(held.Create(2, 3));  // in the memory the old pixels held
    EXPECT_EQ(PixelsOf(held), std::vector<uint32_t>(6, 0));
    for (auto [width, bytes] : {std::pair{1, 4}, {2, 8}, {3, 12}, {4, 12}, {5, 16}, {4096, 12288}})
        EXPECT_EQ(held.Create(width, 4096) ? held.BytesPerScanLine() : -1, bytes) << width;
    for (auto [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 5}, {4097, 4096}, {65536, 65537}}) {
        for (const bool create : {true, false}) {  // a refused size lets go of the old surface, through either call
            SCOPED_TRACE(testing::Message() << width << " x " << height << (create ? " by Create" : " by CreateDIB"));
            held = ThreeByTwo();
            EXPECT_FALSE(create ? held.Create(width, height) : held.CreateDIB(width, height));
            held.SetPixelV(width - 1, height - 1, 0xFFFFFF);  // past the old pixels, were they still there
            held.FillRun(0, width - 1, height - 1, 0xFFFFFF);
            EXPECT_EQ(std::tuple(held.Width(), held.Height(), held.IsCreated(), held.hdc(), held.GetPixel(width - 1, height - 1)),
                      std::tuple(width, height, false, uintptr_t{0}, CLR_INVALID));  // the size asked for, and no pixels
        }
    }
}

TEST(cDIBSectionTest, PixelsOutsideAreIgnoredAndPaintPictureTakesSizesBelowZeroForTheWholeSource) {
    cDIBSection source = ThreeByTwo();
    for (auto [x, y] : {std::pair{-1, 0}, {0, -1}, {3, 0}, {0, 2}, {3, 2}}) {
        source.SetPixelV(x, y, 0xFFFFFF);
        EXPECT_EQ(source.GetPixel(x, y), CLR_INVALID) << x << "," << y;
    }
    EXPECT_EQ(source.EncodeBitmap(), ThreeByTwo().EncodeBitmap());
    const std::vector<uint32_t> all = PixelsOf(source), none(6, 0);
    const struct { int32_t Left, Width, Height; std::vector<uint32_t> Painted; } cases[] = {
        {0, 0, -1, none}, {0, -1, 0, none}, {0, -1, -1, all}, {0, 1, 1, {all[0], 0, 0, 0, 0, 0}},
        {1, -1, -1, {0, all[0], all[1], 0, all[3], all[4]}}};  // clipped at the right
    for (const auto& c : cases) {
        cDIBSection destination;
        ASSERT_TRUE(destination.Create(3, 2));
        source.PaintPicture(destination, c.Left, 0, c.Width, c.Height);
        EXPECT_EQ(PixelsOf(destination), c.Painted) << c.Left << " " << c.Width << " x " << c.Height;
    }
}

}  // namespace
