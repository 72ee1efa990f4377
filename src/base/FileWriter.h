#pragma once
// The one road by which the program writes a file. Every export, extraction, description file and
// command-line output goes through FileWriter, and each call says which of two policies it follows:
//
// - InPlace, the window's: what stands under the name (a file or a link, never a folder) is replaced by
//   a file made anew, never through a link, and the bytes go into it as they come; what was written
//   before a failure stays.
// - Staged, the command line's: the file is written whole under a temporary name beside its target and
//   renamed over the target only when complete, so a failure leaves nothing under the name. What stood
//   there is kept aside in a WrittenFiles ledger until the command ends, so that a rollback puts it
//   back. An existing FIFO or device is written through in place. A link is followed to its target as
//   cp does, but only where the kernel's rule for links in sticky world-writable folders would follow
//   it. A new file takes its mode from the umask, read once; a replaced one keeps its permission bits,
//   never setuid, setgid or sticky.
//
// Under both, a file the program holds open for reading is never written, and a failure comes back as
// an Outcome whose Detail is the system's reason.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

#include "base/Outcome.h"

enum class WritePolicy { InPlace, Staged };

// Who may read a new file: everyone the umask lets, or the user alone (0600: copies in the temporary folder).
enum class FileAccess { Shared, Private };

// The folder a file at path stands in, as the system takes it: "." for a bare name.
std::string ContainingFolder(const std::string& path);

// The process's umask, read once without changing it. The first call must come before any thread is
// started (brindle-cli's main makes it); later calls only read what it found.
mode_t ProcessUmask();

// The files a staged command has put in place, each with what it replaced kept aside under a hidden name.
class WrittenFiles {
public:
    WrittenFiles() = default;
    // Lets go of the files kept aside: the command's files stand.
    ~WrittenFiles();
    WrittenFiles(const WrittenFiles&) = delete;
    WrittenFiles& operator=(const WrittenFiles&) = delete;

    void Note(std::string path, std::string keptAside);
    // Takes back every file noted: one that replaced another gives way to it again, a new one is removed.
    void TakeBack();
    int Count() const { return static_cast<int>(files_.size()); }

private:
    struct Written {
        std::string Path;
        std::string KeptAside;  // empty when the file was new
    };
    std::vector<Written> files_;
};

class FileWriter {
public:
    // A staged writer notes what it places in ledger; without one, what it replaced goes at once.
    FileWriter(std::string path, WritePolicy policy, FileAccess access = FileAccess::Shared, WrittenFiles* ledger = nullptr);
    // An unfinished file: a staged one is removed; one in place stays as far as it was written.
    ~FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    [[nodiscard]] Outcome Open();
    [[nodiscard]] Outcome Write(std::span<const uint8_t> bytes);
    // Closes the file and, when staged, puts it in place.
    [[nodiscard]] Outcome Finish();

    // The errno of the last failure, 0 when there was none.
    int SystemError() const { return error_; }

private:
    Outcome Fail(int error);
    Outcome OpenInPlace();
    Outcome OpenStaged();

    std::string path_;
    WritePolicy policy_;
    FileAccess access_;
    WrittenFiles* ledger_;
    std::string target_;     // where the bytes land: the end of path's chain of links
    std::string temporary_;  // staged: the name the bytes go to first
    mode_t mode_ = 0;        // staged: the mode the placed file gets
    int fd_ = -1;
    int error_ = 0;
};

// Writes all of bytes to the open descriptor fd, going on after interruptions; the errno of a failure, or 0.
int WriteAll(int fd, std::span<const uint8_t> bytes);

// Opens, writes and finishes in one step.
Outcome WriteWholeFile(const std::string& path, std::span<const uint8_t> bytes, WritePolicy policy,
                       WrittenFiles* ledger = nullptr);

// Moves a finished file staged in the folder of path onto path by the staged rules; through a FIFO, a
// device or onto another file system its bytes are written instead.
Outcome PlaceFile(const std::string& staged, const std::string& path, WrittenFiles& ledger);
