#pragma once
// BMP files back into a surface: the bitmaps of an SLX bundle as the program writes them (24-bit,
// bottom-up, no compression), and as a picture editor may save them again: top-down rows, 32 bits a
// pixel, or 8 with a colour table. A reader of files from anywhere: every size is checked against
// the file before anything is allocated.

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/Outcome.h"
#include "surface/cDIBSection.h"

// No bitmap that makes a surface is larger: 4 bytes a pixel, a colour table, headers.
inline constexpr size_t MaxBitmapFileBytes = 4 * static_cast<size_t>(MaxSurfacePixels) + (size_t{1} << 16);

// Makes surface the picture of the BMP file in bytes. Refused: NotThisKind without the "BM" mark;
// Damaged for a header, colour table or pixel rows that the file cuts off or contradicts; OutOfLimits
// for a picture wider than 32,767 pixels or larger than a surface; NotThisKind also for the kinds it
// doesn't read (compressed, 1, 4 or 16 bits a pixel), said so in its detail. A width or height of 0
// gives a surface of that size without pixels, as the exports write one.
Outcome ReadBitmapFile(std::span<const uint8_t> bytes, cDIBSection& surface);
