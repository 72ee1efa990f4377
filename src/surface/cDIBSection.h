#pragma once
// cDIBSection: a 24-bit bitmap, the program's only pixel store.
//
// Pixels lie in memory exactly as in a BMP file: rows from the bottom of the picture to the top, three
// bytes a pixel in the order blue, green, red, each row padded to a multiple of 4 bytes. Pixel (0, 0)
// is the top left. Colours go in and out as colour values (red in the low byte).

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/Outcome.h"

class Host;

// The 40-byte bitmap header that SavePicture writes out unchanged.
struct BitmapInfoHeader {
    uint32_t biSize = 0;
    int32_t biWidth = 0;
    int32_t biHeight = 0;
    uint16_t biPlanes = 0;
    uint16_t biBitCount = 0;
    uint32_t biCompression = 0;
    uint32_t biSizeImage = 0;
    int32_t biXPelsPerMeter = 0;
    int32_t biYPelsPerMeter = 0;
    uint32_t biClrUsed = 0;
    uint32_t biClrImportant = 0;
};

inline constexpr int32_t SRCCOPY = 0xCC0020;
inline constexpr uint32_t CLR_INVALID = 0xFFFFFFFF;

// The largest surface the program makes, in pixels (4096 x 4096); a larger Create fails.
inline constexpr int64_t MaxSurfacePixels = int64_t{1} << 24;

// What SavePicture raises when the file cannot be created.
inline constexpr int32_t SavePictureErrorNumber = 17;

// A colour value (red in the low byte) as its pixel lies in memory: blue, green, red in the low three bytes.
constexpr uint32_t MemoryOrder(uint32_t colour) {
    return (colour >> 16 & 0xFF) | (colour & 0xFF00) | (colour & 0xFF) << 16;
}

// Runs of pixels of one colour, written in 8-byte words and touching nothing past the run. Three bytes
// a pixel repeat every 24 bytes, so eight pixels are three words made in registers. A run starts at a
// pixel and ends at one, so each word's place within the pattern is fixed: a word ending at the run's
// end, 8 bytes before it, is always the pattern's third word, and 24 bytes ending there are the three
// in order. Every run thus needs one loop, whose exit is the only branch that depends on its length.
struct PixelWords {
    uint64_t Words[3];
    explicit PixelWords(uint32_t colour) {
        const uint64_t v = MemoryOrder(colour);
        Words[0] = v | v << 24 | v << 48;
        Words[1] = v >> 16 | v << 8 | v << 32 | v << 56;
        Words[2] = v >> 8 | v << 16 | v << 40;
    }
    // Sets the n bytes from p on, n a multiple of 3.
    void Store(uint8_t* p, size_t n) const {
        if (n >= 24) {
            for (size_t at = 0; at + 24 < n; at += 24) std::memcpy(p + at, Words, 24);
            std::memcpy(p + n - 24, Words, 24);
        } else if (n >= 8) {
            std::memcpy(p, &Words[0], 8);
            if (n > 16) std::memcpy(p + 8, &Words[1], 8);
            std::memcpy(p + n - 8, &Words[2], 8);
        } else if (n == 6) {
            std::memcpy(p, &Words[0], 6);
        } else if (n == 3) {
            std::memcpy(p, &Words[0], 3);
        }
    }
};

// Sets count pixels from p on with one colour value, touching nothing past the run.
inline void FillPixels(uint8_t* p, size_t count, uint32_t colour) { PixelWords(colour).Store(p, 3 * count); }

// The same run in two surfaces at once, such as a frame's colours and its layer codes.
inline void FillPixelPair(uint8_t* first, uint32_t firstColour, uint8_t* second, uint32_t secondColour, size_t count) {
    const PixelWords a(firstColour), b(secondColour);
    const size_t n = 3 * count;
    if (n >= 24) {
        for (size_t at = 0; at + 24 < n; at += 24) {
            std::memcpy(first + at, a.Words, 24);
            std::memcpy(second + at, b.Words, 24);
        }
        std::memcpy(first + n - 24, a.Words, 24);
        std::memcpy(second + n - 24, b.Words, 24);
    } else {
        a.Store(first, n);
        b.Store(second, n);
    }
}

// The error SavePicture raises, as the program's one result: Code and Detail (the error's description),
// with the error's number and source beside them.
struct [[nodiscard]] SavePictureResult : Outcome {
    int32_t ErrorNumber = 0;    // 17 when the file could not be created
    std::string ErrorSource;    // program file name + ".cDIBSection256"
};

class cDIBSection {
public:
    cDIBSection() = default;
    ~cDIBSection();
    cDIBSection(cDIBSection&&) noexcept = default;
    cDIBSection& operator=(cDIBSection&&) noexcept = default;
    cDIBSection(const cDIBSection&) = delete;
    cDIBSection& operator=(const cDIBSection&) = delete;

    // With bAsDIB only the box "I don't know how to put a DIB on the clipboard! ..." and false.
    bool CopyToClipboard(Host& host, bool bAsDIB = false) const;
    // Fills Info for the size and makes the pixel memory, all zero; false (and empty) if it cannot.
    bool CreateDIB(int32_t lWidth, int32_t lheight);
    void CreateFromPicture(const cDIBSection& picThis);
    // Frees what the object held, then makes a zeroed surface of the size.
    bool Create(int32_t lWidth, int32_t lheight);
    // Makes a surface of the size whose bytes are left as they come, for a writer that sets every one
    // of them itself: each row's pixels, and through ClearRowFrom its padding. Saves zeroing the
    // memory first, a third of the time of decoding a frame.
    bool CreateForOverwrite(int32_t lWidth, int32_t lHeight);
    // Sets the bytes of row y from pixel x on to 0, the row's padding included.
    void ClearRowFrom(int32_t y, int64_t x) {
        if (!IsCreated() || y < 0 || y >= Info.biHeight) return;
        const size_t from = 3 * static_cast<size_t>(std::clamp<int64_t>(x, 0, Info.biWidth));
        std::memset(RowPointer(y) + from, 0, stride_ - from);
    }

    int32_t BytesPerScanLine() const;
    int32_t Width() const { return Info.biWidth; }
    int32_t Height() const { return Info.biHeight; }
    const BitmapInfoHeader& InfoHeader() const { return Info; }

    // Copies from source into this surface at (0, 0). Widths and heights below 0 mean the whole source.
    void LoadPictureBlt(const cDIBSection& source, int32_t lSrcLeft = 0, int32_t lSrcTop = 0,
                        int32_t lSrcWidth = -1, int32_t lSrcHeight = -1, int32_t eRop = SRCCOPY);
    // Copies this surface onto destination. Widths and heights below 0 mean the whole of this surface.
    void PaintPicture(cDIBSection& destination, int32_t lDestLeft = 0, int32_t lDestTop = 0,
                      int32_t lDestWidth = -1, int32_t lDestHeight = -1, int32_t lSrcLeft = 0,
                      int32_t lSrcTop = 0, int32_t eRop = SRCCOPY) const;

    // Non-zero while the object holds a surface.
    uintptr_t hdc() const;
    uintptr_t hDib() const;
    uint8_t* DIBSectionBitsPtr() { return bits_.empty() ? nullptr : bits_.data(); }
    const uint8_t* DIBSectionBitsPtr() const { return bits_.empty() ? nullptr : bits_.data(); }
    bool IsCreated() const { return !bits_.empty(); }

    void RandomiseBits(bool bGray = false);
    void ClearUp();
    cDIBSection Resample(int32_t lNewHeight, int32_t lNewWidth) const;

    // The whole BMP file: 14-byte file header, Info, pixel memory.
    std::vector<uint8_t> EncodeBitmap() const;
    // Writes EncodeBitmap() to sFileName, replacing any file there.
    SavePictureResult SavePicture(const std::string& sFileName) const;
    static std::string ApiError(int32_t e);

    // The drawing calls of the device context. Positions outside the surface are ignored; GetPixel
    // answers CLR_INVALID there.
    void SetPixelV(int32_t x, int32_t y, uint32_t colour) {
        if (x >= 0 && y >= 0 && x < Info.biWidth && y < Info.biHeight && IsCreated()) {
            uint8_t* p = RowPointer(y) + 3 * static_cast<size_t>(x);
            p[0] = static_cast<uint8_t>(colour >> 16);
            p[1] = static_cast<uint8_t>(colour >> 8);
            p[2] = static_cast<uint8_t>(colour);
        }
    }
    uint32_t GetPixel(int32_t x, int32_t y) const {
        if (x < 0 || y < 0 || x >= Info.biWidth || y >= Info.biHeight || !IsCreated()) return CLR_INVALID;
        const uint8_t* p = RowPointer(y) + 3 * static_cast<size_t>(x);
        return uint32_t{p[2]} | uint32_t{p[1]} << 8 | uint32_t{p[0]} << 16;
    }
    // Sets columns first to last of a row, both included, clipped to the surface.
    void FillRun(int64_t first, int64_t last, int64_t y, uint32_t colour) {
        if (!IsCreated() || y < 0 || y >= Info.biHeight) return;
        first = std::max<int64_t>(first, 0);
        last = std::min<int64_t>(last, int64_t{Info.biWidth} - 1);
        if (first > last) return;
        FillPixels(RowPointer(static_cast<int32_t>(y)) + 3 * first, static_cast<size_t>(last - first + 1), colour);
    }

    // Pixel memory of row y (0 = top), for the fast loops of the decoder and the exports.
    uint8_t* RowPointer(int32_t y) { return bits_.data() + static_cast<size_t>(Info.biHeight - 1 - y) * stride_; }
    const uint8_t* RowPointer(int32_t y) const {
        return bits_.data() + static_cast<size_t>(Info.biHeight - 1 - y) * stride_;
    }

private:
    std::array<uint8_t, 54> EncodeHeaders() const;

    BitmapInfoHeader Info;
    // Pixel memory that keeps its allocation when the surface is made again at the same or a smaller size.
    // In front of the pixels lies room for the BMP file's headers, so that SavePicture hands the whole
    // file to the system in one write; the pixels themselves start on a 64-byte boundary.
    class PixelBytes {
    public:
        static constexpr size_t HeaderRoom = 64;
        // A moved-from store is empty, not a size beside no memory.
        PixelBytes() = default;
        PixelBytes(PixelBytes&& other) noexcept
            : data_(std::move(other.data_)), size_(std::exchange(other.size_, 0)), capacity_(std::exchange(other.capacity_, 0)) {}
        PixelBytes& operator=(PixelBytes&& other) noexcept {
            data_ = std::move(other.data_);
            size_ = std::exchange(other.size_, 0);
            capacity_ = std::exchange(other.capacity_, 0);
            return *this;
        }
        uint8_t* data() { return data_ ? data_.get() + HeaderRoom : nullptr; }
        const uint8_t* data() const { return data_ ? data_.get() + HeaderRoom : nullptr; }
        size_t size() const { return size_; }
        bool empty() const { return size_ == 0; }
        void clear() { size_ = 0; }
        void assign(size_t count, bool zeroed) {
            if (count > capacity_ || !data_) {
                data_.reset(new (std::align_val_t{HeaderRoom}) uint8_t[HeaderRoom + count]);
                capacity_ = count;
            }
            size_ = count;
            if (zeroed && count > 0) std::memset(data(), 0, count);
        }
        // The pixels with `headers` copied just in front of them: a whole file in one piece. The room
        // in front is no part of the surface, so a const surface may fill it.
        std::span<const uint8_t> WithHeaders(std::span<const uint8_t> headers) const {
            if (!data_) return headers;
            uint8_t* start = data_.get() + HeaderRoom - headers.size();
            std::memcpy(start, headers.data(), headers.size());
            return {start, headers.size() + size_};
        }

    private:
        struct AlignedDelete {
            void operator()(uint8_t* p) const { ::operator delete[](p, std::align_val_t{HeaderRoom}); }
        };
        std::unique_ptr<uint8_t[], AlignedDelete> data_;
        size_t size_ = 0, capacity_ = 0;
    };

    bool CreateDIB(int32_t lWidth, int32_t lheight, bool zeroed);

    PixelBytes bits_;
    size_t stride_ = 0;  // BytesPerScanLine of the surface held
};
