// The archive's directory read from any bytes, then a few of its entries copied out.

#include "archive/DRSCode.h"
#include "base/Files.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::AgreeingHost host;
    ReadOnlyFile archive;
    if (!archive.Open(fuzzing::WriteInput("archive.drs", data, size))) return 0;
    if (!ReadDRSCatalogue(archive, host, true)) return 0;
    size_t copied = 0;
    for (const CatalogueRow& row : DRSCatalogue) {
        if (row.Size == 0 || ++copied > 4) continue;
        (void)ReadResourceData(archive, fuzzing::ScratchFolder() + "entry.drx", row, host);
    }
    return 0;
}
