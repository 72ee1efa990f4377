#pragma once
// The file layer: an archive opened for reading only, and whole small files read into memory. Files are
// written through FileWriter.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "base/Outcome.h"

// An open file that is only ever read, at absolute positions: nothing depends on where it stands
// between two reads. The archive is kept open through one of these.
class ReadOnlyFile {
public:
    ReadOnlyFile() = default;
    ~ReadOnlyFile();
    ReadOnlyFile(ReadOnlyFile&& other) noexcept;
    ReadOnlyFile& operator=(ReadOnlyFile&& other) noexcept;
    ReadOnlyFile(const ReadOnlyFile&) = delete;
    ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

    [[nodiscard]] bool Open(const std::string& path);
    // Reads from bytes in memory instead of a file, such as an archive piped into a command; name
    // stands for the path in messages.
    void OpenBytes(std::string name, std::vector<uint8_t> bytes);
    void Close();
    bool IsOpen() const { return file_ != nullptr || inMemory_; }
    int64_t Size() const { return size_; }
    const std::string& Path() const { return path_; }  // as it was opened; empty while closed

    // Reads up to out.size() bytes at offset; returns how many were read, short at the end of the
    // file, 0 for an offset before the start or past the end.
    size_t ReadAt(int64_t offset, std::span<uint8_t> out);

private:
    std::FILE* file_ = nullptr;
    int64_t size_ = 0;
    std::string path_;
    bool inMemory_ = false;
    std::vector<uint8_t> bytes_;  // the contents when inMemory_
};

// Whether path names a file that a ReadOnlyFile holds open, such as the open archive. Every writer asks
// before it creates a file and refuses such a path: the program never writes into a file it reads.
bool IsHeldOpenForReading(const std::string& path);

// Reads the whole file at path into bytes; refuses a file larger than maxBytes without reading it.
Outcome ReadWholeFile(const std::string& path, size_t maxBytes, std::vector<uint8_t>& bytes);

