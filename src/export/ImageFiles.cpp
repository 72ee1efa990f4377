#include "export/ImageFiles.h"

#include <gif_lib.h>
#include <spng.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <unordered_map>

namespace {

void PutU32(std::vector<uint8_t>& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(value >> shift));
}
void PutU16(std::vector<uint8_t>& out, uint32_t value) {
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

// The picture's rows, each behind filter byte 0, compressed as one zlib stream.
Outcome CompressRows(const RgbaPicture& picture, std::vector<uint8_t>& compressed) {
    const size_t rowBytes = size_t(picture.Width) * 4;
    std::vector<uint8_t> filtered((rowBytes + 1) * size_t(picture.Height));
    for (int32_t y = 0; y < picture.Height; ++y) std::memcpy(&filtered[size_t(y) * (rowBytes + 1) + 1], picture.Row(y), rowBytes);
    uLongf length = compressBound(uLong(filtered.size()));
    compressed.resize(length);
    if (compress2(compressed.data(), &length, filtered.data(), uLong(filtered.size()), Z_DEFAULT_COMPRESSION) != Z_OK) {
        return Outcome::Failure(Fault::CannotWrite, "zlib could not compress a frame");
    }
    compressed.resize(length);
    return Outcome::Success();
}

}  // namespace

Outcome EncodePng(const RgbaPicture& picture, std::vector<uint8_t>& png) {
    png.clear();
    if (picture.Width < 1 || picture.Height < 1) return Outcome::Failure(Fault::OutOfLimits, "a picture of no pixels can't be a PNG file");
    spng_ctx* context = spng_ctx_new(SPNG_CTX_ENCODER);
    if (!context) return Outcome::Failure(Fault::OutOfLimits, "out of memory");
    spng_set_option(context, SPNG_ENCODE_TO_BUFFER, 1);
    spng_ihdr header{};
    header.width = uint32_t(picture.Width);
    header.height = uint32_t(picture.Height);
    header.bit_depth = 8;
    header.color_type = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
    int error = spng_set_ihdr(context, &header);
    if (!error) error = spng_encode_image(context, picture.Pixels.data(), picture.Pixels.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
    size_t size = 0;
    void* buffer = error ? nullptr : spng_get_png_buffer(context, &size, &error);
    if (buffer) {
        const auto* bytes = static_cast<const uint8_t*>(buffer);
        png.assign(bytes, bytes + size);
        std::free(buffer);
    }
    spng_ctx_free(context);
    if (error) return Outcome::Failure(Fault::CannotWrite, std::string("PNG encoder: ") + spng_strerror(error));
    return Outcome::Success();
}

// ---- APNG --------------------------------------------------------------------------------------------

ApngWriter::ApngWriter(int32_t width, int32_t height, int32_t frameCount, int fps)
    : width_(width), height_(height), frameCount_(frameCount), fps_(std::clamp(fps, 1, 1000)) {
    png_ = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> header;
    PutU32(header, uint32_t(width_));
    PutU32(header, uint32_t(height_));
    header.insert(header.end(), {8, 6, 0, 0, 0});  // 8 bits, RGBA, deflate, adaptive filters, no interlace
    Chunk("IHDR", header);
    std::vector<uint8_t> control;
    PutU32(control, uint32_t(frameCount_));
    PutU32(control, 0);  // plays: forever
    Chunk("acTL", control);
}

void ApngWriter::Chunk(const char* type, const std::vector<uint8_t>& data) {
    PutU32(png_, uint32_t(data.size()));
    const size_t typeAt = png_.size();
    png_.insert(png_.end(), type, type + 4);
    png_.insert(png_.end(), data.begin(), data.end());
    PutU32(png_, uint32_t(crc32(0, png_.data() + typeAt, uInt(png_.size() - typeAt))));
}

Outcome ApngWriter::Add(const RgbaPicture& frame) {
    if (frame.Width != width_ || frame.Height != height_ || added_ >= frameCount_) {
        return Outcome::Failure(Fault::OutOfLimits, "an animation frame does not fit the animation");
    }
    std::vector<uint8_t> control;
    PutU32(control, sequence_++);
    PutU32(control, uint32_t(width_));
    PutU32(control, uint32_t(height_));
    PutU32(control, 0);  // x offset
    PutU32(control, 0);  // y offset
    PutU16(control, 1);  // delay: 1 / fps seconds
    PutU16(control, uint32_t(fps_));
    control.push_back(0);  // dispose: none, the next frame replaces all of it
    control.push_back(0);  // blend: source, alpha included
    Chunk("fcTL", control);

    std::vector<uint8_t> compressed;
    if (Outcome packed = CompressRows(frame, compressed); !packed) return packed;
    if (added_ == 0) {
        Chunk("IDAT", compressed);  // the first frame is the picture a plain PNG viewer shows
    } else {
        std::vector<uint8_t> data;
        PutU32(data, sequence_++);
        data.insert(data.end(), compressed.begin(), compressed.end());
        Chunk("fdAT", data);
    }
    ++added_;
    return Outcome::Success();
}

Outcome ApngWriter::Finish(std::vector<uint8_t>& png) {
    if (added_ == 0) return Outcome::Failure(Fault::OutOfLimits, "the animation has no frames");
    if (added_ != frameCount_) {
        // Frames were left out: acTL, behind the signature and IHDR, must count those there are.
        constexpr size_t countAt = 8 + 25 + 8, typeAt = countAt - 4;
        for (int i = 0; i < 4; ++i) png_[countAt + size_t(i)] = uint8_t(uint32_t(added_) >> (24 - 8 * i));
        const auto crc = uint32_t(crc32(0, png_.data() + typeAt, 4 + 8));
        for (int i = 0; i < 4; ++i) png_[countAt + 8 + size_t(i)] = uint8_t(crc >> (24 - 8 * i));
    }
    Chunk("IEND", {});
    png = std::move(png_);
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

int Distance(uint32_t a, uint32_t b) {
    const int dr = int(a >> 16 & 0xFF) - int(b >> 16 & 0xFF), dg = int(a >> 8 & 0xFF) - int(b >> 8 & 0xFF),
              db = int(a & 0xFF) - int(b & 0xFF);
    return dr * dr + dg * dg + db * db;
}

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
                if (Distance(colours[i].first, colours[k].first) < Distance(colours[i].first, colours[nearest].first)) nearest = k;
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
