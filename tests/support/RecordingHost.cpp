// The recording Host of the tests, their temporary folders and file helpers.

#include "RecordingHost.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fixtures {

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

TempDir::TempDir() {
    std::string folder = (std::filesystem::temp_directory_path() / "brindle-test-XXXXXX").string();
    if (!::mkdtemp(folder.data())) throw std::runtime_error("cannot make a folder like " + folder);
    path_ = folder + "/";
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string ReadFileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);  // in one read: some fixtures are 32 MB
    if (!in || in.tellg() < 0) return {};
    std::string text(static_cast<size_t>(in.tellg()), '\0');
    in.seekg(0).read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

std::vector<uint8_t> ReadFileBytes(const std::string& path) {
    const std::string text = ReadFileText(path);
    return {text.begin(), text.end()};
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
