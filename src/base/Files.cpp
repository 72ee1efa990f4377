#include "base/Files.h"

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

namespace {

// The paths of the files held open by ReadOnlyFile objects, one element per open object.
std::vector<std::string>& PathsHeldOpen() {
    static std::vector<std::string> paths;
    return paths;
}

void ForgetPath(const std::string& path) {
    auto& paths = PathsHeldOpen();
    if (const auto at = std::find(paths.begin(), paths.end(), path); at != paths.end()) paths.erase(at);
}

}  // namespace

bool IsHeldOpenForReading(const std::string& path) {
    std::error_code ignored;  // a path that doesn't exist is no open file
    return std::any_of(PathsHeldOpen().begin(), PathsHeldOpen().end(),
                       [&](const std::string& open) { return std::filesystem::equivalent(path, open, ignored); });
}

ReadOnlyFile::~ReadOnlyFile() { Close(); }

// The moved file stays in PathsHeldOpen under the same path; only its owner changes.
ReadOnlyFile::ReadOnlyFile(ReadOnlyFile&& other) noexcept
    : file_(std::exchange(other.file_, nullptr)), size_(std::exchange(other.size_, 0)), path_(std::move(other.path_)),
      inMemory_(std::exchange(other.inMemory_, false)), bytes_(std::move(other.bytes_)) {
    other.path_.clear();
    other.bytes_.clear();
}

ReadOnlyFile& ReadOnlyFile::operator=(ReadOnlyFile&& other) noexcept {
    if (this != &other) {
        Close();
        file_ = std::exchange(other.file_, nullptr);
        size_ = std::exchange(other.size_, 0);
        path_ = std::move(other.path_);
        inMemory_ = std::exchange(other.inMemory_, false);
        bytes_ = std::move(other.bytes_);
        other.path_.clear();
        other.bytes_.clear();
    }
    return *this;
}

bool ReadOnlyFile::Open(const std::string& path) {
    Close();
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return false;
    file_ = std::fopen(path.c_str(), "rb");
    if (!file_) return false;
    // We read in large blocks of our own; the stream's buffer would only add a copy.
    std::setvbuf(file_, nullptr, _IONBF, 0);
    const auto size = std::filesystem::file_size(path, error);
    size_ = error ? 0 : static_cast<int64_t>(size);
    path_ = path;
    PathsHeldOpen().push_back(path_);
    return true;
}

void ReadOnlyFile::OpenBytes(std::string name, std::vector<uint8_t> bytes) {
    Close();
    inMemory_ = true;
    bytes_ = std::move(bytes);
    size_ = static_cast<int64_t>(bytes_.size());
    path_ = std::move(name);
}

void ReadOnlyFile::Close() {
    if (file_) {
        std::fclose(file_);
        ForgetPath(path_);
    }
    file_ = nullptr;
    size_ = 0;
    path_.clear();
    inMemory_ = false;
    bytes_.clear();
}

size_t ReadOnlyFile::ReadAt(int64_t offset, std::span<uint8_t> out) {
    if (!IsOpen() || offset < 0 || offset > size_ || out.empty()) return 0;
    if (inMemory_) {
        const size_t count = std::min(out.size(), static_cast<size_t>(size_ - offset));
        std::copy_n(bytes_.begin() + offset, count, out.begin());
        return count;
    }
    if (std::fseek(file_, static_cast<long>(offset), SEEK_SET) != 0) return 0;
    return std::fread(out.data(), 1, out.size(), file_);
}

Outcome ReadWholeFile(const std::string& path, size_t maxBytes, std::vector<uint8_t>& bytes) {
    bytes.clear();
    ReadOnlyFile file;
    if (!file.Open(path)) return Outcome::Failure(Fault::CannotOpen, "cannot open", path);
    if (static_cast<uint64_t>(file.Size()) > maxBytes) {
        return Outcome::Failure(Fault::OutOfLimits, "is larger than " + std::to_string(maxBytes) + " bytes", path);
    }
    bytes.resize(static_cast<size_t>(file.Size()));
    if (file.ReadAt(0, bytes) != bytes.size()) {
        bytes.clear();
        return Outcome::Failure(Fault::CannotRead, "cannot read", path);
    }
    return Outcome::Success();
}
