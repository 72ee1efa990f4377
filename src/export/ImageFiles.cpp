#include "export/ImageFiles.h"

#include <gif_lib.h>
#include <libdeflate.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "base/Threads.h"
#include "colour/Colours.h"

namespace {

void PutU32(std::vector<uint8_t>& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(value >> shift));
}
void PutU16(std::vector<uint8_t>& out, uint32_t value) {
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}
void SetU32(uint8_t* at, uint32_t value) {
    for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

// The level of libdeflate's zlib streams, by measurement on 200 sprites of six frames as palette
// pictures: level 5 writes within 0.2 % of level 6's bytes in 6 % less time for the whole conversion,
// level 1 8 % more bytes, level 12 2.5 % fewer bytes in eight times the time.
constexpr int DeflateLevel = 5;

// Appends the zlib stream of data to out, with a compressor kept for each thread.
Outcome Deflate(const std::vector<uint8_t>& data, std::vector<uint8_t>& out) {
    using Compressor = std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)>;
    thread_local Compressor compressor(libdeflate_alloc_compressor(DeflateLevel), &libdeflate_free_compressor);
    if (!compressor) return Outcome::Failure(Fault::OutOfLimits, "out of memory");
    const size_t at = out.size(), bound = libdeflate_zlib_compress_bound(compressor.get(), data.size());
    out.resize(at + bound);
    const size_t length = libdeflate_zlib_compress(compressor.get(), data.data(), data.size(), out.data() + at, bound);
    if (length == 0) return Outcome::Failure(Fault::CannotWrite, "libdeflate could not compress a picture");
    out.resize(at + length);
    return Outcome::Success();
}

// A PNG file built chunk by chunk: Begin writes a chunk's length (patched by End) and type, the caller
// appends its data, and End adds the CRC.
class PngFile {
public:
    std::vector<uint8_t> Bytes{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

    size_t Begin(const char* type) {
        PutU32(Bytes, 0);
        Bytes.insert(Bytes.end(), type, type + 4);
        return Bytes.size() - 4;
    }
    void End(size_t typeAt) {
        SetU32(&Bytes[typeAt - 4], uint32_t(Bytes.size() - typeAt - 4));
        PutU32(Bytes, libdeflate_crc32(0, &Bytes[typeAt], Bytes.size() - typeAt));
    }
    void Chunk(const char* type, const std::vector<uint8_t>& data) {
        const size_t at = Begin(type);
        Bytes.insert(Bytes.end(), data.begin(), data.end());
        End(at);
    }
};

// An RGBA value as four bytes in memory, R first, read and written whole.
uint32_t LoadPixel(const uint8_t* p) {
    uint32_t value;
    std::memcpy(&value, p, 4);
    return value;
}

}  // namespace

// The pixels of one PNG picture or of all frames of an animation, held as the rows a PNG stores, each
// behind its filter byte: palette indexes while the frames hold at most 256 distinct RGBA values,
// RGBA from the frame that brings the 257th on (the frames before are turned back to RGBA then).
//
// Every row is stored unfiltered. Measured on sprite art, that is the smallest as well as the cheapest:
// a filter of indexes mixes unrelated colours (sub 2 % more bytes, up 38 %, paeth 21 %, the choice of
// each row by least sum 5 %), and of RGBA, whose pixels are a palette's colours, sub and up write 1.8
// and 2.2 times the bytes of none.
class PngPixels {
public:
    PngPixels(int32_t width, int32_t height) : width_(width), height_(height) { std::fill(std::begin(slots_), std::end(slots_), -1); }

    void Add(const RgbaPicture& picture) {
        std::vector<uint8_t>& rows = frames_.emplace_back();
        if (indexed_ && IndexRows(picture, rows)) return;
        if (indexed_) {
            indexed_ = false;
            for (size_t i = 0; i + 1 < frames_.size(); ++i) frames_[i] = ExpandIndexes(frames_[i]);
        }
        RgbaRows(picture, rows);
    }

    // Puts the palette in the order it is written in; the last frame has been added.
    void Seal() {
        if (indexed_) PutTranslucentFirst();
    }

    void WriteHeader(PngFile& png) const {
        std::vector<uint8_t> header;
        PutU32(header, uint32_t(width_));
        PutU32(header, uint32_t(height_));
        // 8 bits, palette or RGBA, deflate, filters of one row each (all none), no interlace
        header.insert(header.end(), {8, uint8_t(indexed_ ? 3 : 6), 0, 0, 0});
        png.Chunk("IHDR", header);
    }

    // PLTE and tRNS, for indexes; once sealed.
    void WritePalette(PngFile& png) const {
        if (!indexed_) return;
        std::vector<uint8_t> palette, alphas;
        for (int i = 0; i < count_; ++i) {
            uint8_t rgba[4];
            std::memcpy(rgba, &colours_[i], 4);
            palette.insert(palette.end(), rgba, rgba + 3);
            if (rgba[3] != 255) {
                alphas.resize(size_t(i) + 1, 255);
                alphas[size_t(i)] = rgba[3];
            }
        }
        png.Chunk("PLTE", palette);
        if (!alphas.empty()) png.Chunk("tRNS", alphas);
    }

    // Where frame i (from 1) differs from the one before it, as the rows of that rectangle alone, to be
    // drawn over the canvas the frame before left. Blended "over" where every changed pixel is opaque:
    // the unchanged ones then become the transparent value, which keeps what lies below and packs into
    // long runs. Otherwise "source", the rectangle's pixels replacing the canvas's. Either way the canvas
    // after frame i is frame i, pixel for pixel. A frame like the one before is one unchanged pixel.
    struct Patch {
        int32_t X = 0, Y = 0, Width = 1, Height = 1;
        bool Over = false;
        std::vector<uint8_t> Rows;
    };
    Patch PatchOf(size_t i) const {
        const size_t size = PixelBytes(), stride = size * size_t(width_) + 1;
        const std::vector<uint8_t>&before = frames_[i - 1], &after = frames_[i];
        Patch patch;
        int32_t left = width_, right = -1, top = height_, bottom = -1;
        for (int32_t y = 0; y < height_; ++y) {
            const uint8_t *was = &before[size_t(y) * stride + 1], *is = &after[size_t(y) * stride + 1];
            if (std::memcmp(was, is, stride - 1) == 0) continue;
            int32_t first = 0, last = width_ - 1;
            while (std::memcmp(was + size * size_t(first), is + size * size_t(first), size) == 0) ++first;
            while (std::memcmp(was + size * size_t(last), is + size * size_t(last), size) == 0) --last;
            left = std::min(left, first), right = std::max(right, last);
            top = std::min(top, y), bottom = y;
        }
        if (bottom >= 0) patch = {left, top, right - left + 1, bottom - top + 1, false, {}};
        const size_t rowBytes = size * size_t(patch.Width);
        // Over needs a transparent value, and that every pixel that changes is opaque.
        int clear = indexed_ ? -1 : 0;
        for (int k = 0; indexed_ && k < count_ && clear < 0; ++k)
            if (uint8_t(colours_[k] >> AlphaShift) == 0) clear = k;
        patch.Over = clear >= 0 && bottom >= 0;
        for (int32_t y = patch.Y; patch.Over && y < patch.Y + patch.Height; ++y) {
            const uint8_t *was = &before[size_t(y) * stride + 1 + size * size_t(patch.X)], *is = &after[size_t(y) * stride + 1 + size * size_t(patch.X)];
            for (size_t x = 0; patch.Over && x < rowBytes; x += size)
                patch.Over = std::memcmp(was + x, is + x, size) == 0 || Opaque(is + x);
        }
        patch.Rows.assign((rowBytes + 1) * size_t(patch.Height), 0);  // filter bytes: none
        for (int32_t y = 0; y < patch.Height; ++y) {
            const size_t from = size_t(patch.Y + y) * stride + 1 + size * size_t(patch.X);
            uint8_t* out = &patch.Rows[size_t(y) * (rowBytes + 1) + 1];
            std::memcpy(out, &after[from], rowBytes);
            for (size_t x = 0; patch.Over && x < rowBytes; x += size)
                if (std::memcmp(&before[from + x], out + x, size) == 0) std::memset(out + x, clear, size);
        }
        return patch;
    }

    int32_t Width() const { return width_; }
    int32_t Height() const { return height_; }
    size_t FrameCount() const { return frames_.size(); }
    // The bytes the rows of all frames take, or would take once turned back to RGBA.
    size_t HeldBytes() const { return frames_.size() * (size_t(width_) * 4 + 1) * size_t(height_); }
    const std::vector<uint8_t>& Rows(size_t frame) const { return frames_[frame]; }

private:
    static constexpr size_t SlotCount = 1024;  // four slots a colour: probes stay short
    // Where alpha stands in a value read by LoadPixel.
    static constexpr int AlphaShift = std::endian::native == std::endian::little ? 24 : 0;

    size_t PixelBytes() const { return indexed_ ? 1 : 4; }
    bool Opaque(const uint8_t* pixel) const {
        return indexed_ ? uint8_t(colours_[*pixel] >> AlphaShift) == 255 : pixel[3] == 255;
    }

    // The palette index of value, entered if new; -1 when the palette is full.
    static size_t SlotOf(uint32_t value) { return (value * 0x9E3779B1u) >> 22; }

    int IndexOf(uint32_t value) {
        for (size_t slot = SlotOf(value);; slot = (slot + 1) % SlotCount) {
            if (keys_[slot] == value && slots_[slot] >= 0) return slots_[slot];
            if (slots_[slot] < 0) {
                if (count_ == 256) return -1;
                keys_[slot] = value;
                colours_[count_] = value;
                slots_[slot] = int16_t(count_);
                return count_++;
            }
        }
    }

    bool IndexRows(const RgbaPicture& picture, std::vector<uint8_t>& rows) {
        const auto width = size_t(width_);
        rows.assign((width + 1) * size_t(height_), 0);
        if (width == 0) return true;
        for (int32_t y = 0; y < height_; ++y) {
            uint8_t* out = &rows[size_t(y) * (width + 1) + 1];  // behind the filter byte, none
            const uint8_t* p = picture.Row(y);
            for (size_t x = 0; x < width; ++x, p += 4) {
                const uint32_t value = LoadPixel(p);
                const size_t slot = SlotOf(value);  // the first slot holds the value nearly always
                int index = keys_[slot] == value && slots_[slot] >= 0 ? slots_[slot] : IndexOf(value);
                if (index < 0) return false;
                out[x] = uint8_t(index);
            }
        }
        return true;
    }

    void RgbaRows(const RgbaPicture& picture, std::vector<uint8_t>& rows) const {
        const size_t bytes = size_t(width_) * 4;
        rows.assign((bytes + 1) * size_t(height_), 0);  // filter bytes: none
        for (int32_t y = 0; y < height_; ++y) std::memcpy(&rows[size_t(y) * (bytes + 1) + 1], picture.Row(y), bytes);
    }

    // Rows of indexes turned back into the RGBA rows of the picture they came from.
    std::vector<uint8_t> ExpandIndexes(const std::vector<uint8_t>& indexes) const {
        const auto width = size_t(width_);
        std::vector<uint8_t> rows((4 * width + 1) * size_t(height_), 0);
        for (size_t y = 0; y < size_t(height_); ++y) {
            const uint8_t* in = &indexes[y * (width + 1) + 1];
            uint8_t* out = &rows[y * (4 * width + 1) + 1];
            for (size_t x = 0; x < width; ++x) std::memcpy(out + 4 * x, &colours_[in[x]], 4);
        }
        return rows;
    }

    // tRNS holds alphas up to the last colour that is not opaque: those colours go first, in the order
    // met, and the indexes follow them.
    void PutTranslucentFirst() {
        uint8_t order[256];
        uint32_t sorted[256];
        int placed = 0;
        for (int pass = 0; pass < 2; ++pass) {
            for (int i = 0; i < count_; ++i) {
                const bool translucent = uint8_t(colours_[i] >> AlphaShift) != 255;
                if (translucent == (pass == 0)) sorted[placed] = colours_[i], order[i] = uint8_t(placed++);
            }
        }
        bool moved = false;
        for (int i = 0; i < count_; ++i) moved |= order[i] != i;
        std::copy(sorted, sorted + count_, colours_);
        if (!moved) return;
        for (std::vector<uint8_t>& rows : frames_) {
            for (int32_t y = 0; y < height_; ++y) {
                uint8_t* row = &rows[size_t(y) * (size_t(width_) + 1) + 1];
                for (int32_t x = 0; x < width_; ++x) row[x] = order[row[x]];
            }
        }
    }

    int32_t width_, height_;
    bool indexed_ = true;
    std::vector<std::vector<uint8_t>> frames_;
    uint32_t colours_[256] = {};
    int count_ = 0;
    uint32_t keys_[SlotCount] = {};
    int16_t slots_[SlotCount];
};

namespace {

// Each frame of an animation as the rectangle it changes and that rectangle's zlib stream: the first
// frame whole, each other one as its patch over the one before. Frames shared among up to `threads` threads.
Outcome CompressFrames(const PngPixels& pixels, int threads, std::vector<PngPixels::Patch>& patches,
                       std::vector<std::vector<uint8_t>>& streams) {
    patches.assign(pixels.FrameCount(), {});
    streams.assign(pixels.FrameCount(), {});
    std::vector<Outcome> outcomes(patches.size(), Outcome::Success());
    RunOnThreads(patches.size(), threads, [&](size_t i) {
        if (i == 0) {
            patches[0] = {0, 0, pixels.Width(), pixels.Height(), false, {}};
            outcomes[0] = Deflate(pixels.Rows(0), streams[0]);
            return;
        }
        PngPixels::Patch patch = pixels.PatchOf(i);
        outcomes[i] = Deflate(patch.Rows, streams[i]);
        patch.Rows = {};
        patches[i] = std::move(patch);
    });
    for (const Outcome& outcome : outcomes)
        if (!outcome) return outcome;
    return Outcome::Success();
}

}  // namespace

Outcome EncodePng(const RgbaPicture& picture, std::vector<uint8_t>& png) {
    png.clear();
    if (picture.Width < 1 || picture.Height < 1) return Outcome::Failure(Fault::OutOfLimits, "a picture of no pixels can't be a PNG file");
    PngPixels pixels(picture.Width, picture.Height);
    pixels.Add(picture);
    pixels.Seal();
    PngFile file;
    pixels.WriteHeader(file);
    pixels.WritePalette(file);
    const size_t at = file.Begin("IDAT");
    if (Outcome packed = Deflate(pixels.Rows(0), file.Bytes); !packed) return packed;
    file.End(at);
    file.Chunk("IEND", {});
    png = std::move(file.Bytes);
    return Outcome::Success();
}

// ---- APNG --------------------------------------------------------------------------------------------

ApngWriter::ApngWriter(int32_t width, int32_t height, int32_t frameCount, int fps, int threads, size_t maxHeldBytes)
    : width_(width), height_(height), frameCount_(frameCount), fps_(std::clamp(fps, 1, 1000)), threads_(std::max(threads, 1)),
      maxHeldBytes_(maxHeldBytes), pixels_(std::make_unique<PngPixels>(width, height)) {}

ApngWriter::~ApngWriter() = default;

Outcome ApngWriter::Add(const RgbaPicture& frame) {
    if (frame.Width != width_ || frame.Height != height_ || int32_t(pixels_->FrameCount()) >= frameCount_) {
        return Outcome::Failure(Fault::OutOfLimits, "an animation frame does not fit the animation");
    }
    pixels_->Add(frame);
    if (pixels_->HeldBytes() > maxHeldBytes_) {
        pixels_ = std::make_unique<PngPixels>(width_, height_);  // let go of them at once
        return Outcome::Failure(Fault::OutOfLimits, "its frames would take more than " + std::to_string(maxHeldBytes_ >> 20) +
                                                        " MiB to hold as an APNG; a sequence or a sheet writes them");
    }
    return Outcome::Success();
}

Outcome ApngWriter::Finish(std::vector<uint8_t>& png) {
    const auto added = uint32_t(pixels_->FrameCount());
    if (added == 0) return Outcome::Failure(Fault::OutOfLimits, "the animation has no frames");
    pixels_->Seal();
    std::vector<PngPixels::Patch> patches;
    std::vector<std::vector<uint8_t>> streams;
    if (Outcome packed = CompressFrames(*pixels_, threads_, patches, streams); !packed) return packed;

    PngFile file;
    pixels_->WriteHeader(file);
    std::vector<uint8_t> control;
    PutU32(control, added);  // frames: those added, where a caller left some out
    PutU32(control, 0);      // plays: forever
    file.Chunk("acTL", control);
    pixels_->WritePalette(file);  // one palette for every frame
    uint32_t sequence = 0;
    for (uint32_t i = 0; i < added; ++i) {
        control.clear();
        PutU32(control, sequence++);
        const PngPixels::Patch& patch = patches[i];
        PutU32(control, uint32_t(patch.Width));
        PutU32(control, uint32_t(patch.Height));
        PutU32(control, uint32_t(patch.X));  // x offset
        PutU32(control, uint32_t(patch.Y));  // y offset
        PutU16(control, 1);  // delay: 1 / fps seconds
        PutU16(control, uint32_t(fps_));
        control.push_back(0);  // dispose: none, the next frame is drawn over this one
        control.push_back(patch.Over ? 1 : 0);  // blend: over, or source, alpha included
        file.Chunk("fcTL", control);
        // The first frame is the picture a plain PNG viewer shows.
        const size_t at = file.Begin(i == 0 ? "IDAT" : "fdAT");
        if (i > 0) PutU32(file.Bytes, sequence++);
        file.Bytes.insert(file.Bytes.end(), streams[i].begin(), streams[i].end());
        file.End(at);
        std::vector<uint8_t>().swap(streams[i]);
    }
    file.Chunk("IEND", {});
    png = std::move(file.Bytes);
    return Outcome::Success();
}

// ---- GIF ---------------------------------------------------------------------------------------------

struct GifWriter::Impl {
    GifFileType* Gif = nullptr;
    std::vector<uint8_t> Bytes;
    int32_t Width = 0, Height = 0;
    int64_t Fps = 10;
    int32_t Frames = 0;
    std::string Error;

    static int Write(GifFileType* gif, const GifByteType* data, int length) {
        auto* impl = static_cast<Impl*>(gif->UserData);
        impl->Bytes.insert(impl->Bytes.end(), data, data + length);
        return length;
    }
};

namespace {

constexpr int TransparentIndex = 255;

uint32_t Key(const uint8_t* p) { return uint32_t{p[0]} << 16 | uint32_t{p[1]} << 8 | p[2]; }

}  // namespace

GifWriter::GifWriter(int32_t width, int32_t height, int fps) : impl_(new Impl) {
    impl_->Width = width;
    impl_->Height = height;
    impl_->Fps = std::clamp(fps, 1, MaxGifFps);
    int error = 0;
    impl_->Gif = EGifOpen(impl_, &Impl::Write, &error);
    if (!impl_->Gif) {
        impl_->Error = GifErrorString(error);
        return;
    }
    EGifSetGifVersion(impl_->Gif, true);
    if (EGifPutScreenDesc(impl_->Gif, width, height, 8, 0, nullptr) == GIF_ERROR) impl_->Error = "cannot begin the GIF file";
    // Looping forever, as browsers and editors read it.
    static const GifByteType application[] = {'N', 'E', 'T', 'S', 'C', 'A', 'P', 'E', '2', '.', '0'};
    static const GifByteType loop[] = {1, 0, 0};
    if (impl_->Error.empty() &&
        (EGifPutExtensionLeader(impl_->Gif, APPLICATION_EXT_FUNC_CODE) == GIF_ERROR ||
         EGifPutExtensionBlock(impl_->Gif, sizeof application, application) == GIF_ERROR ||
         EGifPutExtensionBlock(impl_->Gif, sizeof loop, loop) == GIF_ERROR ||
         EGifPutExtensionTrailer(impl_->Gif) == GIF_ERROR)) {
        impl_->Error = "cannot write the GIF file's loop";
    }
}

GifWriter::~GifWriter() {
    if (impl_->Gif) EGifCloseFile(impl_->Gif, nullptr);
    delete impl_;
}

Outcome GifWriter::Add(const RgbaPicture& frame) {
    if (!impl_->Error.empty()) return Outcome::Failure(Fault::CannotWrite, impl_->Error);
    if (frame.Width != impl_->Width || frame.Height != impl_->Height) return Outcome::Failure(Fault::OutOfLimits, "an animation frame does not fit the animation");
    ++impl_->Frames;

    // The frame's colours, the most used first, up to 255; the transparent index is the 256th.
    std::unordered_map<uint32_t, size_t> uses;
    for (size_t i = 0; i < frame.Pixels.size(); i += 4)
        if (frame.Pixels[i + 3] >= 128) ++uses[Key(&frame.Pixels[i])];
    std::vector<std::pair<uint32_t, size_t>> colours(uses.begin(), uses.end());
    std::sort(colours.begin(), colours.end(), [](const auto& a, const auto& b) { return a.second != b.second ? a.second > b.second : a.first < b.first; });
    const size_t kept = std::min<size_t>(colours.size(), TransparentIndex);
    std::unordered_map<uint32_t, uint8_t> index;
    GifColorType palette[256] = {};
    for (size_t i = 0; i < kept; ++i) {
        index[colours[i].first] = uint8_t(i);
        palette[i] = {GifByteType(colours[i].first >> 16), GifByteType(colours[i].first >> 8), GifByteType(colours[i].first)};
    }
    if (colours.size() > kept) {
        for (size_t i = kept; i < colours.size(); ++i) {
            size_t nearest = 0;
            for (size_t k = 1; k < kept; ++k)
                if (ColourDistance(colours[i].first, colours[k].first) < ColourDistance(colours[i].first, colours[nearest].first)) nearest = k;
            index[colours[i].first] = uint8_t(nearest);
        }
        notes_.push_back("frame " + std::to_string(impl_->Frames) + " has " + std::to_string(colours.size()) + " colours; the " +
                         std::to_string(colours.size() - kept) + " rarest are drawn in the nearest of the other 255");
    }

    GraphicsControlBlock control{};
    control.DisposalMode = DISPOSE_BACKGROUND;
    control.UserInputFlag = false;
    // The hundredth nearest the end of frame n, halves rounded up: 7 a second gives 14, 15, 14, 14, ...
    const auto endOf = [fps = impl_->Fps](int64_t n) { return (200 * n + fps) / (2 * fps); };
    control.DelayTime = int(endOf(impl_->Frames) - endOf(impl_->Frames - 1));
    control.TransparentColor = TransparentIndex;
    GifByteType extension[4];
    const size_t length = EGifGCBToExtension(&control, extension);
    ColorMapObject* map = GifMakeMapObject(256, palette);
    bool ok = map && EGifPutExtension(impl_->Gif, GRAPHICS_EXT_FUNC_CODE, int(length), extension) != GIF_ERROR &&
              EGifPutImageDesc(impl_->Gif, 0, 0, frame.Width, frame.Height, false, map) != GIF_ERROR;
    std::vector<GifPixelType> line(size_t(frame.Width));
    for (int32_t y = 0; ok && y < frame.Height; ++y) {
        const uint8_t* p = frame.Row(y);
        for (int32_t x = 0; x < frame.Width; ++x, p += 4) line[size_t(x)] = p[3] >= 128 ? index[Key(p)] : GifPixelType(TransparentIndex);
        ok = EGifPutLine(impl_->Gif, line.data(), frame.Width) != GIF_ERROR;
    }
    if (map) GifFreeMapObject(map);
    if (!ok) impl_->Error = "cannot write a frame of the GIF file";
    return ok ? Outcome::Success() : Outcome::Failure(Fault::CannotWrite, impl_->Error);
}

Outcome GifWriter::Finish(std::vector<uint8_t>& gif) {
    if (!impl_->Error.empty()) return Outcome::Failure(Fault::CannotWrite, impl_->Error);
    int error = 0;
    const bool closed = EGifCloseFile(impl_->Gif, &error) != GIF_ERROR;
    impl_->Gif = nullptr;
    if (!closed) return Outcome::Failure(Fault::CannotWrite, std::string("cannot finish the GIF file: ") + GifErrorString(error));
    gif = std::move(impl_->Bytes);
    return Outcome::Success();
}
