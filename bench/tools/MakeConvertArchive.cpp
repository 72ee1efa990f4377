// make-convert-archive OUT.drs: writes the archive of 200 sprites that the benchmarks convert, for
// timing brindle-cli convert by hand.

#include <cstdio>

#include "BenchSprites.h"
#include "RecordingHost.h"

int main(int argc, char** argv) {
    if (argc != 2 || argv[1][0] == '-') {  // an option is no file name, --help included
        std::fprintf(stderr, "usage: make-convert-archive OUT.drs\n");
        return 2;
    }
    fixtures::WriteFileBytes(argv[1], WriteConvertArchive());
    return 0;
}
