#include "FuzzSupport.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace fuzzing {

const std::string& ScratchFolder() {
    // Never destroyed, so that the sweep at exit can still name it.
    static const std::string* folder = [] {
        // In memory where the system has such a folder: every input passes through a file.
        std::error_code error;
        const char* base = std::filesystem::is_directory("/dev/shm", error) ? "/dev/shm" : std::getenv("TMPDIR");
        auto* path = new std::string(std::string(base && *base ? base : "/tmp") + "/brindle-fuzz-" +
                                     std::to_string(getpid()) + "/");
        std::filesystem::create_directories(*path);
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(ScratchFolder(), ignored);
        });
        return path;
    }();
    return *folder;
}

std::string WriteInput(const std::string& name, const uint8_t* data, size_t size) {
    const std::string path = ScratchFolder() + name;
    if (std::FILE* file = std::fopen(path.c_str(), "wb")) {
        if (size > 0) std::fwrite(data, 1, size, file);
        std::fclose(file);
    }
    return path;
}

}  // namespace fuzzing
