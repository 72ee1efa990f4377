// Any bytes as a Wine prefix's system.reg, asked for the game's folder and a value of every type.

#include <cstdlib>

#include "base/RegKeys.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool prefixSet = setenv("WINEPREFIX", fuzzing::ScratchFolder().c_str(), 1) == 0;
    if (!prefixSet) return 0;
    fuzzing::WriteInput("system.reg", data, size);
    (void)ReadRegistryValue(HKEY_LOCAL_MACHINE, "Software\\K", "V");
    (void)ReadRegistryValue(HKEY_LOCAL_MACHINE, "SOFTWARE\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0",
                            "Game Path");
    return 0;
}
