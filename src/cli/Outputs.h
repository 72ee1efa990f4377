#pragma once
// Where brindle-cli's files go, under the rules that keep it from harming a file it wasn't aimed at:
// - no output may be one of the command's inputs (same device and inode, by whatever path);
// - a file is written whole under a temporary name in its target's folder, and renamed over the
//   target only when complete, so a failure leaves nothing under the name asked for;
// - what stood under the name is kept aside until the command ends, so that a command that takes
//   back what it wrote puts it back; only files that did not exist before are removed;
// - an existing output that is not a regular file (a FIFO, a device) is written through in place,
//   and a symlink is followed to its target as cp does, but only where the kernel's rule for links in
//   sticky world-writable folders would follow it: a link there that another user owns is refused;
// - a new file takes its mode from the umask, read once; a replaced file keeps its permission bits,
//   never setuid, setgid or sticky;
// - with --no-clobber an existing output is kept, and the command goes on;
// - "-" is standard output.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

// The process's umask, read once without changing it (the first call; brindle-cli's main makes it
// before any thread starts).
mode_t ProcessUmask();

class Outputs {
public:
    Outputs(std::string command, bool noClobber) : command_(std::move(command)), noClobber_(noClobber) {}

    // A file the command reads; "-" (standard input) and names that don't exist are no file.
    void AddInput(const std::string& path);

    // False, after one line on stderr, when path is one of the inputs.
    bool IsSafe(const std::string& path) const;

    // False, after one line on stderr with the size needed, when files of `bytes` in all would not
    // fit the free space of the folder of path (or of the nearest folder above it that exists).
    bool Fits(const std::string& path, uint64_t bytes) const;

    enum class Result { Written, Kept, Failed };

    // Writes bytes as the file path, or to standard output for "-". Kept: it exists and --no-clobber
    // keeps it (said in one line). Failed: the reason has been said in one line.
    Result Write(const std::string& path, std::span<const uint8_t> bytes);

    // Moves a finished file from a staging folder in the same folder as path onto path, by the same rules.
    Result Place(const std::string& staged, const std::string& path);

    // Takes back every file this object wrote, for a command that fails part-way without --keep-going:
    // a file that replaced another gives way to it again, a new one is removed.
    void RemoveWritten();
    int WrittenCount() const { return static_cast<int>(written_.size()); }

    // Lets go of the files kept aside: the command's files stand.
    ~Outputs();
    Outputs(const Outputs&) = delete;
    Outputs& operator=(const Outputs&) = delete;

    const std::string& Command() const { return command_; }

private:
    struct Identity {
        dev_t Device;
        ino_t Inode;
    };
    // A file written, and where what it replaced is kept meanwhile (empty when it was new).
    struct Written {
        std::string Path;
        std::string KeptAside;
    };
    // Where writing path really lands: the end of its chain of symlinks, or path itself. Empty, after
    // one line on stderr, when a link on the way is one the kernel would not follow for us.
    std::string Target(const std::string& path) const;
    // Renames the finished file `from` over target, keeping what stood there aside; errno or 0.
    int Replace(const std::string& from, const std::string& target);
    Result Fail(const std::string& path, const std::string& reason) const;
    bool KeptAsItIs(const std::string& path) const;

    std::string command_;
    bool noClobber_;
    std::vector<Identity> inputs_;
    std::vector<Written> written_;
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
