// A sprite from any bytes: its headers, its thumbnail, every frame decoded and recoloured as on screen and encoded as
// a BMP file, then the whole sprite exported as a sequence on one canvas and in every format of
// today's tools: PNG, APNG, GIF and the sprite sheet.

#include <algorithm>
#include <cstdint>

#include "colour/Colours.h"
#include "export/ImageExports.h"
#include "export/SLPExports.h"
#include "FuzzSupport.h"
#include "slp/SLPCodeNew.h"
#include "surface/cDIBSection.h"

namespace {

// The pixels of a sequence's canvas; more than any surface holds when either side alone is too long.
int64_t CanvasPixels(const std::vector<SLPFrameInfo>& frames) {
    const CanvasBounds bounds = MeasureCanvas(frames);
    const int64_t width = std::max<int64_t>(bounds.Width(), 0), height = std::max<int64_t>(bounds.Height(), 0);
    if (width > MaxSurfacePixels || height > MaxSurfacePixels) return INT64_MAX;
    return width * height;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::AgreeingHost host;
    SLPFile file{"sprite.slp", std::vector<uint8_t>(data, data + size)};
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ParseSLPHeaders(file, header, frames)) return 0;
    // The thumbnail a file manager asks for, at a size of its own.
    RgbaPicture thumbnail;
    (void)MakeThumbnail(file, static_cast<int32_t>(1 + size % 300), thumbnail, host);
    for (const SLPFrameInfo& frame : frames) {
        cDIBSection image, mask;
        (void)DecodeSLPFrame(file, frame, image, mask, false, host, ScreenColours());
        // The encoding is the same at every size; only small frames pay for its copy of the pixels.
        if (image.IsCreated() && int64_t{image.Width()} * image.Height() <= (int64_t{1} << 16)) (void)image.EncodeBitmap();
    }
    // The sequence writes a file a frame; a few frames reach every path of its canvas and keep the
    // fuzzer fast. So does leaving out canvases of millions of pixels that the export would make: they
    // cost page faults and find nothing the small ones don't, while those too large to make, which the
    // export refuses before allocating, still run.
    if (frames.size() > 8) return 0;
    const int64_t canvas = CanvasPixels(frames);
    if (canvas > (int64_t{1} << 18) && canvas <= MaxSurfacePixels) return 0;
    const std::string path = fuzzing::WriteInput("sprite.slp", data, size);
    (void)ExportSequence(path, fuzzing::ScratchFolder() + "frame", host);
    std::vector<NamedFile> files;
    std::vector<std::string> notes;
    // The new formats compress every pixel; small pictures reach all their paths at a tenth of the cost.
    if (canvas > (int64_t{1} << 14) && canvas <= MaxSurfacePixels) return 0;
    const SheetLayout sheet = LayOutSheet(frames);
    const bool smallSheet = int64_t{sheet.Width} * sheet.Height <= (int64_t{1} << 14) || sheet.Width > MaxSheetSide ||
                            sheet.Height > MaxSheetSide;  // the refused ones cost nothing
    for (ImageFormat format : {ImageFormat::Png, ImageFormat::Apng, ImageFormat::Gif, ImageFormat::Sheet}) {
        if (format == ImageFormat::Sheet && !smallSheet) continue;
        (void)ExportImages(file, format, {{static_cast<int>(size % 256), size % 2 == 0}, 10, 0}, "frame.png", files, notes, host);
    }
    (void)ExportImages(file, ImageFormat::Png, {{}, 10, 1}, "frame.png", files, notes, host);
    return 0;
}
