// make-pack-folder DIR: writes the folder of 2,000 entries that the pack benchmark packs, for timing
// brindle-cli pack by hand beside cat of the same files.

#include <cstdio>

#include "BenchSprites.h"

int main(int argc, char** argv) {
    if (argc != 2 || argv[1][0] == '-') {  // an option is no folder name, --help included
        std::fprintf(stderr, "usage: make-pack-folder DIR\n");
        return 2;
    }
    WritePackFolder(argv[1]);
    return 0;
}
