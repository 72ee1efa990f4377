#include "cli/Outputs.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "cli/CliHost.h"

namespace {

std::string SystemReason(int error) { return std::strerror(error); }

}  // namespace

void Outputs::AddInput(const std::string& path) {
    struct stat status {};
    if (path != "-" && ::stat(path.c_str(), &status) == 0) inputs_.push_back({status.st_dev, status.st_ino});
}

bool Outputs::IsSafe(const std::string& path) const {
    struct stat status {};
    if (path == "-" || ::stat(path.c_str(), &status) != 0) return true;
    for (const Identity& input : inputs_) {
        if (input.Device == status.st_dev && input.Inode == status.st_ino) {
            Complain(command_, path, "is one of the input files; nothing written");
            return false;
        }
    }
    return true;
}

namespace {

// "15.1 GB", "512 kB": a size as people read it, in powers of 1000 as df -H shows them.
std::string Readable(uint64_t bytes) {
    const char* units[] = {"bytes", "kB", "MB", "GB", "TB", "PB"};
    double size = static_cast<double>(bytes);
    size_t unit = 0;
    while (size >= 1000 && unit + 1 < std::size(units)) {
        size /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", size, units[unit]);
    return text;
}

}  // namespace

bool Outputs::Fits(const std::string& path, uint64_t bytes) const {
    if (path == "-") return true;
    std::error_code error;
    std::filesystem::path folder = std::filesystem::absolute(path, error).parent_path();
    struct statvfs space {};
    while (::statvfs(folder.c_str(), &space) != 0) {
        if (!folder.has_parent_path() || folder.parent_path() == folder) return true;  // nothing to ask: let the writes tell
        folder = folder.parent_path();
    }
    const uint64_t free = uint64_t{space.f_bavail} * space.f_frsize;
    if (bytes <= free) return true;
    Complain(command_, path, "needs " + Readable(bytes) + " but its folder has " + Readable(free) + " free; nothing written");
    return false;
}

Outputs::Result Outputs::Fail(const std::string& path, const std::string& reason) const {
    Complain(command_, path, reason);
    return Result::Failed;
}

bool Outputs::KeptAsItIs(const std::string& path) const {
    struct stat status {};
    if (!noClobber_ || ::stat(path.c_str(), &status) != 0) return false;
    Complain(command_, path, "exists; kept as it is (--no-clobber)");
    return true;
}

Outputs::Result Outputs::Write(const std::string& path, std::span<const uint8_t> bytes) {
    if (path == "-") return WriteStandardOutput(command_, bytes) ? Result::Written : Result::Failed;
    if (!IsSafe(path)) return Result::Failed;
    if (KeptAsItIs(path)) return Result::Kept;
    const Outcome written = WriteWholeFile(path, bytes, WritePolicy::Staged, &written_);
    return written ? Result::Written : Fail(path, written.Detail);
}

Outputs::Result Outputs::WriteStreamed(const std::string& path, const std::function<Outcome(const Sink&)>& produce) {
    const auto failed = [&](const Outcome& failure) { return Fail(failure.File.empty() ? path : failure.File, failure.Detail); };
    if (path == "-") {
        const Outcome written = produce([](std::span<const uint8_t> bytes) {
            const int error = WriteAll(STDOUT_FILENO, bytes);
            return error == 0 ? Outcome::Success() : Outcome::Failure(Fault::CannotWrite, SystemReason(error), "standard output");
        });
        return written ? Result::Written : failed(written);
    }
    if (!IsSafe(path)) return Result::Failed;
    if (KeptAsItIs(path)) return Result::Kept;
    FileWriter file(path, WritePolicy::Staged, FileAccess::Shared, &written_);
    Outcome written = file.Open();
    if (written) written = produce([&](std::span<const uint8_t> bytes) { return file.Write(bytes); });
    if (written) written = file.Finish();
    return written ? Result::Written : failed(written);
}

Outputs::Result Outputs::Place(const std::string& staged, const std::string& path) {
    if (!IsSafe(path)) return Result::Failed;
    if (KeptAsItIs(path)) return Result::Kept;
    const Outcome placed = PlaceFile(staged, path, written_);
    return placed ? Result::Written : Fail(path, placed.Detail);
}

void Outputs::RemoveWritten() { written_.TakeBack(); }

namespace {

// Takes the lock of the folder at path; its descriptor, or -1 when it is held or can't be had.
int LockFolder(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Removes the staging folders of earlier runs of the same command in folder that nobody holds: those
// of runs that were killed. Only our own folders are looked at, never through a link.
void RemoveLeftovers(const std::string& folder, const std::string& prefix) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const std::string path = entry.path().string();
        struct stat status {};
        if (!entry.path().filename().string().starts_with(prefix) || ::lstat(path.c_str(), &status) != 0 ||
            !S_ISDIR(status.st_mode) || status.st_uid != ::geteuid()) {
            continue;
        }
        if (const int fd = LockFolder(path); fd >= 0) {
            std::filesystem::remove_all(path, error);
            ::close(fd);
        }
    }
}

}  // namespace

StagingFolder::StagingFolder(const std::string& command, const std::string& besides) {
    const std::string folder = ContainingFolder(besides), prefix = ".brindle-" + command + "-";
    RemoveLeftovers(folder, prefix);
    // Made and locked under a name that no run looks for, then renamed into view: another run never
    // finds it unlocked.
    std::string starting = folder + "/.brindle-XXXXXX";
    if (!::mkdtemp(starting.data())) {
        error_ = SystemReason(errno);
        return;
    }
    const std::string path = folder + "/" + prefix + starting.substr(starting.size() - 6);
    lock_ = LockFolder(starting);
    if (lock_ < 0 || ::rename(starting.c_str(), path.c_str()) != 0) {
        error_ = SystemReason(errno);
        std::error_code ignored;
        std::filesystem::remove_all(starting, ignored);
        if (lock_ >= 0) ::close(lock_);
        lock_ = -1;
        return;
    }
    path_ = path + "/";
}

StagingFolder::~StagingFolder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    if (lock_ >= 0) ::close(lock_);
}

bool WriteStandardOutput(const std::string& command, std::span<const uint8_t> bytes) {
    const int error = WriteAll(STDOUT_FILENO, bytes);
    if (error == 0) return true;
    Complain(command, "standard output", SystemReason(error));
    return false;
}

bool WriteStandardOutput(const std::string& command, const std::string& text) {
    return WriteStandardOutput(command, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}
