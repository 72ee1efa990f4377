#pragma once
// PNG files read back into RGBA pictures, for sprites drawn in today's editors: any colour type and
// depth, transparency from tRNS, through libspng. The file is untrusted: its sides and the memory they
// ask for are checked before a row is decoded, and its ancillary chunks are bounded.

#include <cstdint>
#include <span>

#include "base/Outcome.h"
#include "export/ImageExports.h"
#include "export/Rgba.h"

// The most pixels a picture read may hold: that of the largest sheet written (a quarter of 16384
// squared, 256 MiB as RGBA).
inline constexpr int64_t MaxReadPixels = int64_t{MaxSheetSide} * MaxSheetSide / 4;

// Decodes the PNG file in bytes. Refused: what is no PNG file (NotThisKind), a side over MaxSheetSide
// or more than MaxReadPixels pixels (OutOfLimits), and a damaged file (Damaged), with libspng's words.
Outcome ReadPng(std::span<const uint8_t> bytes, RgbaPicture& picture);
