// Any bytes loaded as a palette file.

#include "FuzzSupport.h"
#include "colour/Palettes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::AgreeingHost host;
    (void)LoadPalette(fuzzing::WriteInput("colours.pal", data, size), host);
    return 0;
}
