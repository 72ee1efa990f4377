#pragma once
// Where brindle-cli's files go, under the rules that keep it from harming a file it wasn't aimed at:
// - no output may be one of the command's inputs (same device and inode, by whatever path);
// - a file is written whole under a temporary name in its target's folder, and renamed over the
//   target only when complete, so a failure leaves nothing under the name asked for;
// - an existing output that is not a regular file (a FIFO, a device) is written through in place,
//   and a symlink is followed to its target, as cp does;
// - with --no-clobber an existing output is kept, and the command goes on;
// - "-" is standard output.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

class Outputs {
public:
    Outputs(std::string command, bool noClobber) : command_(std::move(command)), noClobber_(noClobber) {}

    // A file the command reads; "-" (standard input) and names that don't exist are no file.
    void AddInput(const std::string& path);

    // False, after one line on stderr, when path is one of the inputs.
    bool IsSafe(const std::string& path) const;

    enum class Result { Written, Kept, Failed };

    // Writes bytes as the file path, or to standard output for "-". Kept: it exists and --no-clobber
    // keeps it (said in one line). Failed: the reason has been said in one line.
    Result Write(const std::string& path, std::span<const uint8_t> bytes);

    // Moves a finished file from a staging folder in the same folder as path onto path, by the same rules.
    Result Place(const std::string& staged, const std::string& path);

    // Removes every file this object wrote, for a command that fails part-way without --keep-going.
    void RemoveWritten();
    int WrittenCount() const { return static_cast<int>(written_.size()); }

    const std::string& Command() const { return command_; }

private:
    struct Identity {
        dev_t Device;
        ino_t Inode;
    };
    // Where writing path really lands: the end of its chain of symlinks, or path itself.
    std::string Target(const std::string& path) const;
    Result Fail(const std::string& path, const std::string& reason) const;
    bool KeptAsItIs(const std::string& path) const;

    std::string command_;
    bool noClobber_;
    std::vector<Identity> inputs_;
    std::vector<std::string> written_;
};

// A folder of its own beside a command's outputs, where a multi-file export writes before its files
// are placed; it goes, with whatever is left in it, when the object does.
class StagingFolder {
public:
    explicit StagingFolder(const std::string& besides);  // in the folder that holds `besides`
    ~StagingFolder();
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;

    bool Made() const { return !path_.empty(); }
    const std::string& Path() const { return path_; }  // ends in '/'
    const std::string& Error() const { return error_; }

private:
    std::string path_;
    std::string error_;
};

// Writes bytes to standard output; false after one line on stderr when they don't all go.
bool WriteStandardOutput(const std::string& command, std::span<const uint8_t> bytes);
bool WriteStandardOutput(const std::string& command, const std::string& text);
