#pragma once
// Where brindle-cli's files go. Each is written by FileWriter's staged policy (whole under a temporary
// name beside its target, renamed over it when complete, what stood there kept aside for a rollback;
// FIFOs and devices written through; links followed as the kernel's rule for shared folders would;
// modes from the umask, read once). On top of that, the command's own rules:
// - no output may be one of the command's inputs (same device and inode, by whatever path);
// - a command that fails part-way takes back what it wrote; only files that did not exist before
//   are removed;
// - with --no-clobber an existing output is kept, and the command goes on;
// - "-" is standard output.

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

#include "base/FileWriter.h"

class Outputs {
public:
    Outputs(std::string command, bool noClobber) : command_(std::move(command)), noClobber_(noClobber) {}

    // A file the command reads; "-" (standard input) and names that don't exist are no file.
    void AddInput(const std::string& path);
    // The same for a file already looked at, by its device and inode.
    void AddInput(dev_t device, ino_t inode) { inputs_.push_back({device, inode}); }

    // False, after one line on stderr, when path is one of the inputs.
    bool IsSafe(const std::string& path) const;

    // False, after one line on stderr with the size needed, when files of `bytes` in all would not
    // fit the free space of the folder of path (or of the nearest folder above it that exists).
    bool Fits(const std::string& path, uint64_t bytes) const;

    enum class Result { Written, Kept, Failed };

    // Writes bytes as the file path, or to standard output for "-". Kept: it exists and --no-clobber
    // keeps it (said in one line). Failed: the reason has been said in one line.
    Result Write(const std::string& path, std::span<const uint8_t> bytes);

    // Writes the file path, or standard output for "-", by the same rules from what produce hands its
    // sink piece by piece: for a file too large to hold in memory. A failure of produce is said naming
    // the file it names, else path.
    using Sink = std::function<Outcome(std::span<const uint8_t>)>;
    Result WriteStreamed(const std::string& path, const std::function<Outcome(const Sink&)>& produce);

    // Moves a finished file from a staging folder in the same folder as path onto path, by the same rules.
    Result Place(const std::string& staged, const std::string& path);

    // Takes back every file this object wrote, for a command that fails part-way without --keep-going:
    // a file that replaced another gives way to it again, a new one is removed.
    void RemoveWritten();
    int WrittenCount() const { return written_.Count(); }

    Outputs(const Outputs&) = delete;
    Outputs& operator=(const Outputs&) = delete;

    const std::string& Command() const { return command_; }

private:
    struct Identity {
        dev_t Device;
        ino_t Inode;
    };
    Result Fail(const std::string& path, const std::string& reason) const;
    bool KeptAsItIs(const std::string& path) const;

    std::string command_;
    bool noClobber_;
    std::vector<Identity> inputs_;
    WrittenFiles written_;  // what stood under each name, kept until the command ends
};

// A folder of its own beside a command's outputs, where a multi-file export writes before its files
// are placed; it goes, with whatever is left in it, when the object does. It is locked while in use,
// so that the next run of the same command into the same folder finds one that a killed run left
// behind, and removes it.
class StagingFolder {
public:
    // In the folder that holds `besides`, named for the command.
    StagingFolder(const std::string& command, const std::string& besides);
    ~StagingFolder();
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;

    bool Made() const { return !path_.empty(); }
    const std::string& Path() const { return path_; }  // ends in '/'
    const std::string& Error() const { return error_; }

private:
    std::string path_;
    std::string error_;
    int lock_ = -1;
};

// Writes bytes to standard output; false after one line on stderr when they don't all go.
bool WriteStandardOutput(const std::string& command, std::span<const uint8_t> bytes);
bool WriteStandardOutput(const std::string& command, const std::string& text);
