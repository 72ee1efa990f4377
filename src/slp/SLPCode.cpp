#include "slp/SLPCode.h"

#include <algorithm>

namespace {

uint32_t LoadColour(const uint8_t* p) { return uint32_t{p[2]} | uint32_t{p[1]} << 8 | uint32_t{p[0]} << 16; }

void StoreColour(uint8_t* p, uint32_t colour) {
    p[0] = static_cast<uint8_t>(colour >> 16);
    p[1] = static_cast<uint8_t>(colour >> 8);
    p[2] = static_cast<uint8_t>(colour);
}

}  // namespace

void RecolourImage(cDIBSection& image, const cDIBSection& mask) {
    if (!image.IsCreated() || !mask.IsCreated()) return;
    const int32_t width = std::min(image.Width(), mask.Width());
    const int32_t height = std::min(image.Height(), mask.Height());
    // The colours are read now, so that every decode shows the user's current choice.
    const uint32_t background = MaskColour, shadow = ShadowColour;
    const uint32_t inner = OutlineInnerColour, outer = OutlineOuterColour;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* pixel = image.RowPointer(y);
        const uint8_t* layer = mask.RowPointer(y);
        for (int32_t x = 0; x < width; ++x, pixel += 3, layer += 3) {
            switch (LoadColour(layer)) {
                case LayerTransparent: StoreColour(pixel, background); break;
                case LayerOutlineInner: StoreColour(pixel, inner); break;
                case LayerOutlineOuter: StoreColour(pixel, outer); break;
                case LayerShadow: StoreColour(pixel, shadow); break;
                default: break;  // colour and player pixels, and rows ESC left at 0, keep what they have
            }
        }
    }
}

Outcome ShowImage(const std::string& Path, int16_t Frame, bool Saving, const std::string& OutPath, Host& host) {
    if (!Saving) {
        host.SetPictureStatusText("Loading image...");
        host.SetBusyPointer(true);
    }
    auto fail = [&](std::string detail) {
        if (!Saving) host.SetBusyPointer(false);
        return Outcome::Failure(std::move(detail));
    };

    SLPFile file;
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (Outcome read = ReadSLPHeaders(Path, file, header, frames); !read) return fail(read.Detail);
    if (Frame < 1 || Frame > header.NumFrames) {
        return fail("frame " + std::to_string(Frame) + " is not in " + Path);
    }
    const SLPFrameInfo& info = frames[static_cast<size_t>(Frame - 1)];

    if (!Saving) {
        host.SetPictureSource(Path);
        host.SetFrameScrollGate(false);  // keeps the changes below from drawing the frame again
        host.SetFrameScrollMax(static_cast<int16_t>(header.NumFrames));
        host.SetFrameScrollValue(Frame);
        host.SetPictureSize(info.Width, info.Height);
    }

    cDIBSection image;
    cDIBSection mask;
    // ESC ends the decode early; the rows done so far are shown or saved as they are.
    const DecodeResult decoded = DecodeSLPFrame(file, info, image, mask, true, host);
    RecolourImage(image, mask);
    const std::string damage = decoded.Code == DecodeDamaged ? "frame " + std::to_string(Frame) + ": " + decoded.Detail : "";

    if (Saving) {
        if (!damage.empty()) return fail(damage);
        const SavePictureResult saved = image.SavePicture(OutPath);
        if (!saved.Written) return fail(saved.ErrorDescription);
        return Outcome::Success();
    }

    host.PaintPicture(image);
    host.SetFrameScrollGate(true);
    host.SetPictureStatusText("Showing frame " + std::to_string(Frame) + " of " + std::to_string(header.NumFrames));
    host.SetBusyPointer(false);
    return damage.empty() ? Outcome::Success() : Outcome::Failure(damage);
}
