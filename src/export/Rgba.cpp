#include "export/Rgba.h"

#include <algorithm>
#include <cstring>

void RgbaPicture::Resize(int32_t width, int32_t height) {
    Width = std::max(width, 0);
    Height = std::max(height, 0);
    Pixels.assign(size_t(Width) * size_t(Height) * 4, 0);
}

void MapToRgba(const cDIBSection& image, const cDIBSection& mask, const RgbaOptions& options, RgbaPicture& picture) {
    if (!image.IsCreated() || !mask.IsCreated()) {
        picture.Resize(0, 0);
        return;
    }
    picture.Resize(image.Width(), image.Height());
    const auto shadowAlpha = static_cast<uint8_t>(std::clamp(options.ShadowAlpha, 0, 255));
    for (int32_t y = 0; y < picture.Height; ++y) {
        const uint8_t* colour = image.RowPointer(y);  // blue, green, red
        const uint8_t* layer = mask.RowPointer(y);
        uint8_t* out = picture.Row(y);
        for (int32_t x = 0; x < picture.Width; ++x, colour += 3, layer += 3, out += 4) {
            const uint32_t code = uint32_t{layer[2]} | uint32_t{layer[1]} << 8 | uint32_t{layer[0]} << 16;
            switch (code) {
            case LayerColour:
            case LayerPlayer:
                out[0] = colour[2], out[1] = colour[1], out[2] = colour[0], out[3] = 255;
                break;
            case LayerShadow:
                out[3] = shadowAlpha;  // black
                break;
            case LayerOutlineInner:
                if (options.Outlines) out[2] = 255, out[3] = 255;  // pure blue
                break;
            case LayerOutlineOuter:
                if (options.Outlines) out[0] = 255, out[1] = 255, out[3] = 255;  // yellow
                break;
            default:  // transparent, and rows a decode never reached
                break;
            }
        }
    }
}

void MapLayers(const cDIBSection& mask, RgbaPicture& picture) {
    picture.Resize(mask.IsCreated() ? mask.Width() : 0, mask.IsCreated() ? mask.Height() : 0);
    for (int32_t y = 0; y < picture.Height; ++y) {
        const uint8_t* layer = mask.RowPointer(y);  // blue, green, red
        uint8_t* out = picture.Row(y);
        for (int32_t x = 0; x < picture.Width; ++x, layer += 3, out += 4) out[0] = layer[2], out[1] = layer[1], out[2] = layer[0], out[3] = 255;
    }
}

Outcome DecodeRgbaFrame(const SLPFile& sprite, const std::vector<SLPFrameInfo>& frames, int32_t number,
                        const RgbaOptions& options, RgbaPicture& picture, Host& host, RgbaPicture* layers) {
    if (number < 1 || static_cast<size_t>(number) > frames.size()) {
        return Outcome::Failure(Fault::Missing, "has frames 1 to " + std::to_string(frames.size()) + "; there is no frame " + std::to_string(number));
    }
    cDIBSection image, mask;
    LayerColours colours = DecodedColours;
    colours.Player = options.Player;
    const DecodeResult decoded = DecodeSLPFrame(sprite, frames[size_t(number - 1)], image, mask, false, host, colours);
    if (decoded.Code == Fault::Damaged) return Outcome::Failure(Fault::Damaged, "frame " + std::to_string(number) + ": " + decoded.Detail);
    MapToRgba(image, mask, options, picture);
    if (layers) MapLayers(mask, *layers);
    return Outcome::Success();
}

Outcome ForEachCanvasFrame(const SLPFile& sprite, const std::vector<SLPFrameInfo>& frames, const CanvasBounds& bounds,
                           const RgbaOptions& options, Host& host,
                           const std::function<Outcome(int32_t number, const RgbaPicture& canvas)>& use,
                           std::vector<int32_t>* leftOut) {
    RgbaPicture frame, canvas;
    for (int32_t number = 1; number <= int32_t(frames.size()); ++number) {
        if (Outcome decoded = DecodeRgbaFrame(sprite, frames, number, options, frame, host); !decoded) {
            if (!leftOut) return decoded;
            leftOut->push_back(number);
            continue;
        }
        canvas.Resize(int32_t(bounds.Width()), int32_t(bounds.Height()));
        const SLPFrameInfo& info = frames[size_t(number - 1)];
        const int64_t dx = -bounds.MinX - info.HotspotX, dy = -bounds.MinY - info.HotspotY;
        for (int32_t y = 0; y < frame.Height; ++y) {
            const int64_t row = y + dy;
            if (row < 0 || row >= canvas.Height) continue;
            const int64_t from = std::max<int64_t>(0, -dx), to = std::min<int64_t>(frame.Width, canvas.Width - dx);
            if (from < to) std::memcpy(canvas.Row(int32_t(row)) + 4 * (from + dx), frame.Row(y) + 4 * from, size_t(4 * (to - from)));
        }
        if (Outcome used = use(number, canvas); !used) return used;
    }
    return Outcome::Success();
}

Outcome MakeThumbnail(const SLPFile& sprite, int32_t size, RgbaPicture& thumbnail, Host& host) {
    if (size < 1 || size > MaxThumbnailSide) return Outcome::Failure(Fault::OutOfLimits, "a thumbnail is 1 to 4096 pixels a side");
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (Outcome read = ParseSLPHeaders(sprite, header, frames); !read) return read;
    RgbaPicture frame;
    if (Outcome decoded = DecodeRgbaFrame(sprite, frames, 1, {}, frame, host); !decoded) return decoded;
    if (frame.Width < 1 || frame.Height < 1) return Outcome::Failure(Fault::OutOfLimits, "the first frame has no pixels");

    // Sizes in whole numbers: up by the factor, or down to fit with the aspect kept.
    const int64_t factor = std::max<int64_t>(1, std::min(size / frame.Width, size / frame.Height));
    int64_t width = frame.Width * factor, height = frame.Height * factor;
    if (width > size || height > size) {
        const double shrink = std::min(double(size) / frame.Width, double(size) / frame.Height);
        width = std::clamp<int64_t>(int64_t(frame.Width * shrink), 1, size);
        height = std::clamp<int64_t>(int64_t(frame.Height * shrink), 1, size);
    }
    thumbnail.Resize(int32_t(width), int32_t(height));
    for (int64_t y = 0; y < height; ++y) {
        const uint8_t* from = frame.Row(int32_t(y * frame.Height / height));
        uint8_t* to = thumbnail.Row(int32_t(y));
        for (int64_t x = 0; x < width; ++x) std::memcpy(to + 4 * x, from + 4 * (x * frame.Width / width), 4);
    }
    return Outcome::Success();
}
