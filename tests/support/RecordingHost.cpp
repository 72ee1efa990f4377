// The recording Host of the tests, their temporary folders and file helpers.

#include "RecordingHost.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

namespace fixtures {

MessageAnswer RecordingHost::ShowMessage(std::string_view text, MessageStyle style, std::string_view title) {
    Messages.push_back({std::string(text), style, std::string(title)});
    if (Answers.empty()) return MessageAnswer::OK;
    const MessageAnswer answer = Answers.front();
    Answers.pop_front();
    return answer;
}

std::vector<uint32_t> PixelsOf(const cDIBSection& surface) {
    std::vector<uint32_t> pixels;
    for (int32_t y = 0; y < surface.Height(); ++y)
        for (int32_t x = 0; x < surface.Width(); ++x) pixels.push_back(surface.GetPixel(x, y));
    return pixels;
}

std::vector<uint8_t> BitmapOf(int32_t width, const std::vector<uint32_t>& pixels) {
    cDIBSection surface;
    if (!surface.Create(width, int32_t(pixels.size()) / width)) throw std::runtime_error("cannot make the bitmap");
    for (int32_t i = 0; i < int32_t(pixels.size()); ++i) surface.SetPixelV(i % width, i / width, pixels[size_t(i)]);
    return surface.EncodeBitmap();
}

// ---- Temporary folders and files -------------------------------------------------------------

TempDir::TempDir() {
    // The counter keeps the folders of one process apart, the random part those of tests run side by side.
    namespace fs = std::filesystem;
    static std::atomic<unsigned> made{0};
    std::random_device entropy;
    while (path_.empty()) {
        const fs::path folder = fs::temp_directory_path() /
                                ("brindle-test-" + std::to_string(entropy()) + "-" + std::to_string(made++));
        if (fs::create_directory(folder)) path_ = folder.string() + "/";  // throws when the folder can't be made
    }
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::vector<uint8_t> ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);  // in one read: some fixtures are 32 MB
    if (!in || in.tellg() < 0) return {};
    std::vector<uint8_t> bytes(static_cast<size_t>(in.tellg()));
    in.seekg(0).read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

void WriteFileBytes(const std::string& path, std::span<const uint8_t> bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
}

void WriteFileText(const std::string& path, std::string_view text) {
    WriteFileBytes(path, std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

}  // namespace fixtures
