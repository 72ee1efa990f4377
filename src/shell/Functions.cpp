#include "shell/Functions.h"

#include <filesystem>

std::string FolderOfPath(std::string_view path) {
    const size_t separator = path.rfind(PathSeparator);
    return separator == std::string_view::npos ? std::string() : std::string(path.substr(0, separator + 1));
}

std::string FileOfPath(std::string_view path) {
    const size_t separator = path.rfind(PathSeparator);
    return std::string(separator == std::string_view::npos ? path : path.substr(separator + 1));
}

std::string BaseNameOfPath(std::string_view path) {
    const size_t separator = path.rfind(PathSeparator);
    const size_t dot = path.rfind('.');
    if (separator == std::string_view::npos || dot == std::string_view::npos) return std::string(path);
    if (dot < separator) return std::string(path.substr(separator + 1));  // the only dot is in a folder name
    return std::string(path.substr(separator + 1, dot - separator - 1));
}

std::string ExportBasePath(std::string_view fileName) {
    const std::string file = FileOfPath(fileName);
    if (file.find('.') == std::string::npos) return std::string(fileName);
    return FolderOfPath(fileName) + file.substr(0, file.rfind('.'));
}

std::string PadFrameNumber(int32_t Number) {
    std::string digits = std::to_string(Number);
    if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
    return digits;
}

int16_t MaxInteger(int16_t a, int16_t b) { return a > b ? a : b; }

std::string ProgramFileName() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error || self.empty()) return "brindle";
    return self.stem().string();
}
