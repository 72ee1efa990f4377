// Runs a fuzz target over files, without libFuzzer: every file named, and every file in every folder
// named. Each input that ever crashed a target is kept in a folder, so it stays a test.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "FuzzSupport.h"

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        const fs::path given = argv[i];
        if (fs::is_directory(given)) {
            for (const auto& entry : fs::recursive_directory_iterator(given))
                if (entry.is_regular_file()) inputs.push_back(entry.path());
        } else if (fs::is_regular_file(given)) {
            inputs.push_back(given);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    for (const fs::path& input : inputs) {
        std::ifstream file(input, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs replayed\n", inputs.size());
    return 0;
}
