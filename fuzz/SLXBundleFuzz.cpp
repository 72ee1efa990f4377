// Any bytes as an SLX bundle: the text, and a frame's layer and colour bitmaps, read back and encoded.
// The input holds the three one after the other: the text's length and the layer bitmap's length
// (4 bytes each, little-endian), the text, the layer bitmap, and the rest is the colour bitmap. A
// frame that reads is encoded, in the team the input's first byte picks.

#include <algorithm>
#include <span>

#include "base/Functions.h"
#include "colour/Palettes.h"
#include "export/EncodeInputs.h"
#include "export/SLXBundle.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 8) return 0;
    const std::span<const uint8_t> input(data + 8, size - 8);
    const size_t textSize = std::min<size_t>(static_cast<uint32_t>(LoadI32(data)), input.size());
    const size_t maskSize = std::min<size_t>(static_cast<uint32_t>(LoadI32(data + 4)), input.size() - textSize);
    const auto text = input.first(textSize), mask = input.subspan(textSize, maskSize), image = input.subspan(textSize + maskSize);

    (void)TellEncodeInput(text);
    SLXListing listing;
    (void)ParseSLXText(text, listing);
    static const ColourLookup palette = [] {
        (void)LoadPalette("");
        return ColourLookup(Palette);
    }();
    const SLXFrameLines lines = listing.empty() ? SLXFrameLines{1, 2, "a1d.bmp", "a1c.bmp"} : listing.front();
    FramePixels frame;
    if (!ReadSLXFrame(mask, image, lines, palette, 1 + data[0] % 8, frame)) return 0;
    std::vector<uint8_t> slp;
    (void)EncodeSLP(std::span(&frame, 1), slp);
    return 0;
}
