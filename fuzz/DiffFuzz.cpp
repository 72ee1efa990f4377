// Two archives compared: the input, and the input with its last byte changed, so that the last entry
// differs and, in a table of sprites, is compared frame by frame.

#include "archive/ArchiveDiff.h"
#include "base/Files.h"
#include "FuzzSupport.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    std::vector<uint8_t> changed(data, data + size);
    changed.back() ^= 0xFF;
    ReadOnlyFile older, newer;
    if (!older.Open(fuzzing::WriteInput("old.drs", data, size)) ||
        !newer.Open(fuzzing::WriteInput("new.drs", changed.data(), changed.size()))) {
        return 0;
    }
    std::vector<EntryDifference> differences;
    (void)DiffArchives(older, newer, true, differences);
    return 0;
}
