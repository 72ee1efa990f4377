#include "surface/BitmapReader.h"

#include <array>
#include <cstring>
#include <string>

#include "base/Functions.h"

namespace {

constexpr size_t FileHeaderSize = 14;
constexpr uint32_t NoCompression = 0, BitFields = 3;

uint32_t LoadU32(const uint8_t* p) { return static_cast<uint32_t>(LoadI32(p)); }
uint16_t LoadU16(const uint8_t* p) { return static_cast<uint16_t>(LoadI16(p)); }

Outcome Damaged(const std::string& why) { return Outcome::Failure(Fault::Damaged, why); }

}  // namespace

Outcome ReadBitmapFile(std::span<const uint8_t> bytes, cDIBSection& surface) {
    const size_t size = bytes.size();
    const uint8_t* file = bytes.data();
    if (size < 2 || file[0] != 'B' || file[1] != 'M') return Outcome::Failure(Fault::NotThisKind, "is not a BMP file");
    if (size < FileHeaderSize + 40) return Damaged("the bitmap's header is cut off");
    const uint32_t pixelsAt = LoadU32(file + 10);
    const uint32_t infoSize = LoadU32(file + 14);
    if (infoSize < 40 || infoSize > size - FileHeaderSize) return Damaged("the bitmap's header is cut off");
    const uint8_t* info = file + FileHeaderSize;
    const int32_t width = LoadI32(info + 4), storedHeight = LoadI32(info + 8);
    const uint16_t bits = LoadU16(info + 14);
    const uint32_t compression = LoadU32(info + 16);
    const uint32_t coloursUsed = LoadU32(info + 32);
    if (width < 0 || storedHeight == INT32_MIN) return Damaged("the bitmap's size is negative");
    const bool topDown = storedHeight < 0;
    const int32_t height = topDown ? -storedHeight : storedHeight;
    if (width > 32767 || int64_t{width} * height > MaxSurfacePixels) {
        return Outcome::Failure(Fault::OutOfLimits, "a bitmap of " + std::to_string(width) + " x " + std::to_string(height) +
                                                        " pixels is larger than Brindle reads");
    }
    // 32 bits with masks is read when the masks are the plain order of 24 bits, as editors write them.
    const bool plainMasks = compression == BitFields && bits == 32 && (infoSize >= 52 || size >= FileHeaderSize + 40 + 12) &&
                            LoadU32(info + 40) == 0xFF0000 && LoadU32(info + 44) == 0xFF00 && LoadU32(info + 48) == 0xFF;
    if ((bits != 8 && bits != 24 && bits != 32) || (compression != NoCompression && !plainMasks)) {
        return Outcome::Failure(Fault::NotThisKind, "is a " + std::to_string(bits) + "-bit bitmap" +
                                                        (compression != NoCompression ? ", compressed" : "") +
                                                        "; Brindle reads 8, 24 and 32 bits a pixel, uncompressed");
    }
    std::array<uint32_t, 256> table{};
    if (bits == 8) {
        const uint32_t colours = coloursUsed == 0 ? 256 : coloursUsed;
        if (colours > 256) return Damaged("the bitmap's colour table has " + std::to_string(colours) + " colours");
        const size_t tableAt = FileHeaderSize + infoSize;
        if (tableAt > size || 4 * size_t{colours} > size - tableAt) return Damaged("the bitmap's colour table is cut off");
        for (size_t i = 0; i < colours; ++i) {
            const uint8_t* c = file + tableAt + 4 * i;
            table[i] = uint32_t{c[2]} | uint32_t{c[1]} << 8 | uint32_t{c[0]} << 16;
        }
    }
    const size_t stride = (static_cast<size_t>(width) * bits + 31) / 32 * 4;
    if (pixelsAt > size || stride * static_cast<size_t>(height) > size - pixelsAt) return Damaged("the bitmap's pixels are cut off");

    if (!surface.Create(width, height)) {
        if (int64_t{width} * height == 0) return Outcome::Success();  // a size without pixels
        return Outcome::Failure(Fault::OutOfLimits, "no memory for a bitmap of " + std::to_string(width) + " x " + std::to_string(height));
    }
    const size_t step = bits / 8;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* from = file + pixelsAt + stride * static_cast<size_t>(topDown ? y : height - 1 - y);
        uint8_t* to = surface.RowPointer(y);
        if (bits == 24) {
            std::memcpy(to, from, 3 * static_cast<size_t>(width));
            continue;
        }
        for (int32_t x = 0; x < width; ++x, from += step, to += 3) {
            if (bits == 8) {
                const uint32_t c = table[*from];
                to[0] = static_cast<uint8_t>(c >> 16), to[1] = static_cast<uint8_t>(c >> 8), to[2] = static_cast<uint8_t>(c);
            } else {
                to[0] = from[0], to[1] = from[1], to[2] = from[2];
            }
        }
    }
    return Outcome::Success();
}
