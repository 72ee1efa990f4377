// A sprite from any bytes: its headers, every frame decoded and recoloured as on screen and encoded as
// a BMP file, then the whole sprite exported as a sequence on one canvas.

#include "FuzzSupport.h"
#include "colour/Colours.h"
#include "export/SLPExports.h"
#include "slp/SLPCodeNew.h"
#include "surface/cDIBSection.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::AgreeingHost host;
    SLPFile file{"sprite.slp", std::vector<uint8_t>(data, data + size)};
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ParseSLPHeaders(file, header, frames)) return 0;
    for (const SLPFrameInfo& frame : frames) {
        cDIBSection image, mask;
        (void)DecodeSLPFrame(file, frame, image, mask, false, host, ScreenColours());
        (void)image.EncodeBitmap();
    }
    // The sequence writes a file a frame; a few frames reach every path of its canvas and keep the
    // fuzzer fast.
    if (frames.size() > 8) return 0;
    const std::string path = fuzzing::WriteInput("sprite.slp", data, size);
    (void)ExportSequence(path, fuzzing::ScratchFolder() + "frame", host);
    return 0;
}
