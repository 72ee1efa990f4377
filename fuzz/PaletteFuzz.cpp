// Any bytes loaded as a palette file: as the design's JASC-PAL reader takes it, then as a palette of any
// format. An Adobe colour table is told by its name, so an odd first byte names the file ".act".

#include "colour/Palettes.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const bool act = size > 0 && (data[0] & 1) != 0;
    const std::string path = fuzzing::WriteInput(act ? "colours.act" : "colours.pal", data, size);
    (void)LoadPalette(path);
    (void)LoadAnyPalette(path);
    return 0;
}
