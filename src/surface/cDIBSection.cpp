#include "surface/cDIBSection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <system_error>

#include "base/FileWriter.h"
#include "base/Functions.h"
#include "base/Host.h"

namespace {

constexpr int32_t FileHeaderSize = 14;
constexpr int32_t InfoHeaderSize = 40;

void StoreU16(uint8_t*& p, uint32_t value) {
    *p++ = static_cast<uint8_t>(value);
    *p++ = static_cast<uint8_t>(value >> 8);
}
void StoreU32(uint8_t*& p, uint32_t value) {
    StoreU16(p, value & 0xFFFF);
    StoreU16(p, value >> 16);
}

// One raster operation of a block transfer on one byte. Operations we don't know copy the source.
uint8_t ApplyRop(int32_t eRop, uint8_t source, uint8_t destination) {
    switch (eRop) {
        case 0x8800C6: return source & destination;             // SRCAND
        case 0xEE0086: return source | destination;             // SRCPAINT
        case 0x660046: return source ^ destination;             // SRCINVERT
        case 0x330008: return static_cast<uint8_t>(~source);    // NOTSRCCOPY
        case 0x000042: return 0;                                // BLACKNESS
        case 0xFF0062: return 0xFF;                             // WHITENESS
        default: return source;                                 // SRCCOPY
    }
}

// Copies a w x h block from source (sx, sy) to destination (dx, dy), clipped to both surfaces.
void BitBlt(cDIBSection& destination, int64_t dx, int64_t dy, int64_t w, int64_t h, const cDIBSection& source,
            int64_t sx, int64_t sy, int32_t eRop) {
    if (!destination.IsCreated() || !source.IsCreated()) return;
    // Clip against the left and top edges of both surfaces, then the right and bottom ones.
    const int64_t skipX = std::max({int64_t{0}, -dx, -sx});
    const int64_t skipY = std::max({int64_t{0}, -dy, -sy});
    dx += skipX, sx += skipX, w -= skipX;
    dy += skipY, sy += skipY, h -= skipY;
    w = std::min({w, int64_t{destination.Width()} - dx, int64_t{source.Width()} - sx});
    h = std::min({h, int64_t{destination.Height()} - dy, int64_t{source.Height()} - sy});
    if (w <= 0 || h <= 0) return;
    for (int64_t row = 0; row < h; ++row) {
        const uint8_t* from = source.RowPointer(static_cast<int32_t>(sy + row)) + 3 * sx;
        uint8_t* to = destination.RowPointer(static_cast<int32_t>(dy + row)) + 3 * dx;
        if (eRop == SRCCOPY) {
            std::memmove(to, from, static_cast<size_t>(3 * w));
        } else {
            for (int64_t i = 0; i < 3 * w; ++i) to[i] = ApplyRop(eRop, from[i], to[i]);
        }
    }
}

}  // namespace

cDIBSection::~cDIBSection() { ClearUp(); }

bool cDIBSection::CopyToClipboard(Host& host, bool bAsDIB) const {
    if (bAsDIB) {
        host.ShowMessage("I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!", MessageStyle::Plain);
        return false;
    }
    return IsCreated() && host.PutBitmapOnClipboard(*this);
}

bool cDIBSection::CreateDIB(int32_t lWidth, int32_t lheight) { return CreateDIB(lWidth, lheight, true); }

bool cDIBSection::CreateDIB(int32_t lWidth, int32_t lheight, bool zeroed) {
    Info = BitmapInfoHeader{};
    Info.biSize = InfoHeaderSize;
    Info.biWidth = lWidth;
    Info.biHeight = lheight;
    Info.biPlanes = 1;
    Info.biBitCount = 24;
    Info.biCompression = 0;
    const int64_t pixels = int64_t{lWidth} * lheight;
    if (lWidth <= 0 || lheight <= 0 || pixels > MaxSurfacePixels) {
        // Info keeps the size asked for, but no pixels stand under it: every drawing call finds nothing.
        bits_.clear();
        stride_ = 0;
        return false;
    }
    stride_ = static_cast<size_t>(BytesPerScanLine());
    Info.biSizeImage = static_cast<uint32_t>(static_cast<size_t>(lheight) * stride_);
    bits_.assign(Info.biSizeImage, zeroed);
    return true;
}

void cDIBSection::CreateFromPicture(const cDIBSection& picThis) {
    Create(picThis.Width(), picThis.Height());
    LoadPictureBlt(picThis);
}

bool cDIBSection::Create(int32_t lWidth, int32_t lheight) {
    ClearUp();
    return CreateDIB(lWidth, lheight, true);
}

bool cDIBSection::CreateForOverwrite(int32_t lWidth, int32_t lHeight) {
    ClearUp();
    return CreateDIB(lWidth, lHeight, false);
}

int32_t cDIBSection::BytesPerScanLine() const {
    const int64_t bytes = (int64_t{Info.biWidth} * 3 + 3) & ~int64_t{3};
    return static_cast<int32_t>(std::clamp<int64_t>(bytes, 0, INT32_MAX & ~3));
}

void cDIBSection::LoadPictureBlt(const cDIBSection& source, int32_t lSrcLeft, int32_t lSrcTop, int32_t lSrcWidth,
                                 int32_t lSrcHeight, int32_t eRop) {
    const int32_t w = lSrcWidth < 0 ? Width() : lSrcWidth;
    const int32_t h = lSrcHeight < 0 ? Height() : lSrcHeight;
    BitBlt(*this, 0, 0, w, h, source, lSrcLeft, lSrcTop, eRop);
}

void cDIBSection::PaintPicture(cDIBSection& destination, int32_t lDestLeft, int32_t lDestTop, int32_t lDestWidth,
                               int32_t lDestHeight, int32_t lSrcLeft, int32_t lSrcTop, int32_t eRop) const {
    const int32_t w = lDestWidth < 0 ? Width() : lDestWidth;
    const int32_t h = lDestHeight < 0 ? Height() : lDestHeight;
    BitBlt(destination, lDestLeft, lDestTop, w, h, *this, lSrcLeft, lSrcTop, eRop);
}

uintptr_t cDIBSection::hdc() const { return IsCreated() ? reinterpret_cast<uintptr_t>(this) : 0; }
uintptr_t cDIBSection::hDib() const { return IsCreated() ? reinterpret_cast<uintptr_t>(bits_.data()) : 0; }

void cDIBSection::RandomiseBits(bool bGray) {
    std::mt19937 random(static_cast<uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
    std::uniform_int_distribution<int> byte(0, 255);
    for (int32_t y = 0; y < Height() && IsCreated(); ++y) {
        for (int32_t x = 0; x < Width(); ++x) {
            const uint32_t value = static_cast<uint32_t>(byte(random));
            SetPixelV(x, y, bGray ? value | value << 8 | value << 16 : value | static_cast<uint32_t>(byte(random)) << 8);
        }
    }
}

void cDIBSection::ClearUp() {
    // Keeps the capacity, so that a surface created again at each frame costs no new allocation.
    bits_.clear();
}

cDIBSection cDIBSection::Resample(int32_t lNewHeight, int32_t lNewWidth) const {
    cDIBSection result;
    result.Create(lNewWidth, lNewHeight);
    if (!result.IsCreated() || !IsCreated()) return result;
    if (lNewWidth == Width() && lNewHeight == Height()) {
        result.LoadPictureBlt(*this);
        return result;
    }
    // Bilinear: weigh the 2 x 2 neighbours, first between the two rows, then between the two columns.
    // At the last column and row the neighbours beyond the picture are the edge pixels themselves.
    const double xScale = lNewWidth > 1 ? double(Width() - 1) / (lNewWidth - 1) : 0.0;
    const double yScale = lNewHeight > 1 ? double(Height() - 1) / (lNewHeight - 1) : 0.0;
    for (int32_t y = 0; y < lNewHeight; ++y) {
        const double sy = y * yScale;
        const int32_t y0 = std::min(static_cast<int32_t>(sy), Height() - 1);
        const int32_t y1 = std::min(y0 + 1, Height() - 1);
        const double fy = sy - y0;
        for (int32_t x = 0; x < lNewWidth; ++x) {
            const double sx = x * xScale;
            const int32_t x0 = std::min(static_cast<int32_t>(sx), Width() - 1);
            const int32_t x1 = std::min(x0 + 1, Width() - 1);
            const double fx = sx - x0;
            uint32_t colour = 0;
            for (int shift = 0; shift < 24; shift += 8) {
                auto channel = [&](int32_t px, int32_t py) { return double((GetPixel(px, py) >> shift) & 0xFF); };
                const double left = std::round(channel(x0, y0) * (1 - fy) + channel(x0, y1) * fy);
                const double right = std::round(channel(x1, y0) * (1 - fy) + channel(x1, y1) * fy);
                const double value = std::clamp(std::round(left * (1 - fx) + right * fx), 0.0, 255.0);
                colour |= static_cast<uint32_t>(value) << shift;
            }
            result.SetPixelV(x, y, colour);
        }
    }
    return result;
}

std::array<uint8_t, 54> cDIBSection::EncodeHeaders() const {
    std::array<uint8_t, FileHeaderSize + InfoHeaderSize> headers{};
    uint8_t* p = headers.data();
    StoreU16(p, 0x4D42);  // "BM"
    StoreU32(p, FileHeaderSize + InfoHeaderSize + Info.biSizeImage);
    StoreU32(p, 0);
    StoreU32(p, FileHeaderSize + InfoHeaderSize);
    StoreU32(p, Info.biSize);
    StoreU32(p, static_cast<uint32_t>(Info.biWidth));
    StoreU32(p, static_cast<uint32_t>(Info.biHeight));
    StoreU16(p, Info.biPlanes);
    StoreU16(p, Info.biBitCount);
    StoreU32(p, Info.biCompression);
    StoreU32(p, Info.biSizeImage);
    StoreU32(p, static_cast<uint32_t>(Info.biXPelsPerMeter));
    StoreU32(p, static_cast<uint32_t>(Info.biYPelsPerMeter));
    StoreU32(p, Info.biClrUsed);
    StoreU32(p, Info.biClrImportant);
    return headers;
}

std::vector<uint8_t> cDIBSection::EncodeBitmap() const {
    const auto headers = EncodeHeaders();
    std::vector<uint8_t> file(headers.size() + bits_.size());
    std::memcpy(file.data(), headers.data(), headers.size());
    if (!bits_.empty()) std::memcpy(file.data() + headers.size(), bits_.data(), bits_.size());
    return file;
}

SavePictureResult cDIBSection::SavePicture(const std::string& sFileName) const {
    const std::string source = ProgramFileName() + ".cDIBSection256";
    FileWriter file(sFileName, WritePolicy::InPlace);
    if (Outcome opened = file.Open(); !opened) {
        if (opened.Code == Fault::HeldOpen) opened.Detail = "The file is open for reading.";
        else opened.Detail = ApiError(file.SystemError());
        return {std::move(opened), SavePictureErrorNumber, source};
    }
    // The file header, Info and the pixel memory lie one behind the other in memory: one write for
    // the whole file. A short write ends the writing.
    const auto headers = EncodeHeaders();
    Outcome written = file.Write(bits_.WithHeaders(headers));
    if (written) written = file.Finish();
    if (!written) return {std::move(written), 0, source};
    return {};
}

std::string cDIBSection::ApiError(int32_t e) {
    std::string text = std::system_category().message(e);
    if (text.size() > 255) text.resize(255);
    return text;
}

