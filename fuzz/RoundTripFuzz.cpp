// Any bytes that decode as a sprite, encoded and decoded again, give the same surfaces: every frame
// that decodes to a surface of its size (damaged ones too, as far as they go) is turned back into
// pixels, encoded, and its new frame must decode to the same colours, layers and hot spot.

#include <cstdlib>

#include "colour/Palettes.h"
#include "FuzzSupport.h"
#include "slp/SLPCodeNew.h"
#include "slp/SLPEncode.h"

namespace {

// Past this many pixels an input costs more than it finds.
constexpr int64_t MostPixels = int64_t{1} << 20;

void Check(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ColourLookup palette = [] {
        (void)LoadPalette("");
        return ColourLookup(Palette);
    }();
    fuzzing::AgreeingHost host;
    const SLPFile file{"sprite.slp", std::vector<uint8_t>(data, data + size)};
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ParseSLPHeaders(file, header, frames)) return 0;
    std::vector<FramePixels> pixels;
    std::vector<std::vector<uint8_t>> images, masks;
    int64_t total = 0;
    for (const SLPFrameInfo& frame : frames) {
        const int64_t frameTotal = int64_t{frame.Width} * frame.Height;
        if (frame.Width < 0 || frame.Height < 0 || frameTotal > MostPixels - total) continue;
        total += frameTotal;
        cDIBSection image, mask;
        (void)DecodeSLPFrame(file, frame, image, mask, false, host, DecodedColours);
        if (mask.Width() != frame.Width || mask.Height() != frame.Height) continue;  // larger than Brindle draws
        FramePixels& made = pixels.emplace_back();
        Check(PixelsFromSurfaces(image, mask, palette, FirstPlayer, made).Ok());
        made.HotspotX = frame.HotspotX, made.HotspotY = frame.HotspotY;
        images.push_back(image.EncodeBitmap());
        masks.push_back(mask.EncodeBitmap());
    }
    if (pixels.empty()) return 0;
    SLPFile encoded{"encoded.slp", {}};
    Check(EncodeSLP(pixels, encoded.Bytes).Ok());
    std::vector<SLPFrameInfo> again;
    Check(ParseSLPHeaders(encoded, header, again).Ok() && again.size() == pixels.size());
    for (size_t i = 0; i < again.size(); ++i) {
        cDIBSection image, mask;
        Check(DecodeSLPFrame(encoded, again[i], image, mask, false, host, DecodedColours).Ok());
        Check(again[i].HotspotX == pixels[i].HotspotX && again[i].HotspotY == pixels[i].HotspotY);
        Check(image.EncodeBitmap() == images[i] && mask.EncodeBitmap() == masks[i]);
    }
    return 0;
}
