#include "cli/Outputs.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "cli/CliHost.h"

namespace {

std::string SystemReason(int error) { return std::strerror(error); }

// Writes all of bytes to fd, going on after interruptions; the errno of the failure, or 0.
int WriteAll(int fd, std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t done = ::write(fd, bytes.data(), bytes.size());
        if (done < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        bytes = bytes.subspan(static_cast<size_t>(done));
    }
    return 0;
}

// The folder of a path as the system takes it: "." for a bare name.
std::string FolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

// A name in folder that nothing stands under yet, for a file kept aside or written before it is placed.
std::string HiddenName(const std::string& folder, const char* what) {
    static std::atomic<unsigned> counter{0};
    return folder + "/.brindle-" + what + "-" + std::to_string(::getpid()) + "-" + std::to_string(counter++);
}

// Whether the kernel would follow the link at path for us, were its rule for sticky world-writable
// folders on (fs.protected_symlinks): yes outside such a folder, or when we or the folder's owner
// own the link. We resolve links ourselves, so we keep the rule ourselves.
bool MayFollow(const std::string& path) {
    struct stat link {}, folder {};
    if (::lstat(path.c_str(), &link) != 0 || ::stat(FolderOf(path).c_str(), &folder) != 0) return true;
    const bool shared = (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & S_IWOTH) != 0;
    return !shared || link.st_uid == ::geteuid() || link.st_uid == folder.st_uid;
}

// The permission bits a file keeps when it is replaced: never setuid, setgid or sticky.
mode_t KeptMode(const struct stat& status) { return status.st_mode & 0777; }

}  // namespace

mode_t ProcessUmask() {
    static const mode_t mask = [] {
        // Linux tells it without a change; elsewhere it is set back at once, before any thread runs.
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("Umask:")) return static_cast<mode_t>(std::stoul(line.substr(6), nullptr, 8));
        }
        const mode_t read = ::umask(022);
        ::umask(read);
        return read;
    }();
    return mask;
}

Outputs::~Outputs() {
    for (const Written& file : written_)
        if (!file.KeptAside.empty()) ::unlink(file.KeptAside.c_str());
}

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

std::string Outputs::Target(const std::string& path) const {
    std::string current = path;
    for (int hops = 0; hops < 40; ++hops) {
        std::error_code error;
        if (!std::filesystem::is_symlink(current, error)) return current;
        if (!MayFollow(current)) {
            Fail(path, current == path ? "is a link of another user in a shared folder; not followed, nothing written"
                                       : "leads through " + current + ", a link of another user in a shared folder; nothing written");
            return {};
        }
        const std::filesystem::path link = std::filesystem::read_symlink(current, error);
        if (error) return current;
        current = link.is_absolute() ? link.string() : (std::filesystem::path(FolderOf(current)) / link).string();
    }
    return current;
}

int Outputs::Replace(const std::string& from, const std::string& target) {
    // What stands there is kept under a second name until the command ends: a hard link keeps the
    // name filled all along; where the file system has none, the file is moved aside for a moment.
    std::string aside;
    struct stat status {};
    if (::lstat(target.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        aside = HiddenName(FolderOf(target), "old");
        if (::link(target.c_str(), aside.c_str()) != 0) {
            if (errno == EEXIST || ::rename(target.c_str(), aside.c_str()) != 0) return errno;  // never over a stranger's file
        }
    }
    if (::rename(from.c_str(), target.c_str()) != 0) {
        const int error = errno;
        if (!aside.empty() && ::rename(aside.c_str(), target.c_str()) != 0) ::unlink(aside.c_str());
        return error;
    }
    written_.push_back({target, aside});
    return 0;
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

    const std::string target = Target(path);
    if (target.empty()) return Result::Failed;
    struct stat status {};
    const bool exists = ::stat(target.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) return Fail(path, SystemReason(EISDIR));
    if (exists && !S_ISREG(status.st_mode)) {  // a FIFO or a device: written through, never replaced
        const int fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0) return Fail(path, SystemReason(errno));
        const int error = WriteAll(fd, bytes);
        const bool closed = ::close(fd) == 0;
        if (error != 0 || !closed) return Fail(path, SystemReason(error != 0 ? error : errno));
        return Result::Written;
    }

    // A temporary name of a fixed length, so that any name the file system takes can be written.
    std::string temporary = FolderOf(target) + "/.brindle-XXXXXX";
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) return Fail(path, SystemReason(errno));
    int error = ::fchmod(fd, exists ? KeptMode(status) : 0666 & ~ProcessUmask()) == 0 ? 0 : errno;
    if (error == 0) error = WriteAll(fd, bytes);
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error == 0) error = Replace(temporary, target);
    if (error != 0) {
        ::unlink(temporary.c_str());
        return Fail(path, SystemReason(error));
    }
    return Result::Written;
}

Outputs::Result Outputs::Place(const std::string& staged, const std::string& path) {
    if (!IsSafe(path)) return Result::Failed;
    if (KeptAsItIs(path)) return Result::Kept;
    struct stat status {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (!exists || S_ISREG(status.st_mode)) {
        const std::string target = Target(path);
        if (target.empty()) return Result::Failed;
        if (exists) ::chmod(staged.c_str(), KeptMode(status));
        const int error = Replace(staged, target);
        if (error == 0) return Result::Written;
        if (error != EXDEV) return Fail(path, SystemReason(error));
    }
    // Through a FIFO or a device, or onto another file system: the bytes go the way Write sends them.
    std::ifstream in(staged, std::ios::binary);
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!in.good() && !in.eof()) return Fail(path, "cannot read back " + staged);
    return Write(path, bytes);
}

void Outputs::RemoveWritten() {
    for (auto file = written_.rbegin(); file != written_.rend(); ++file) {
        if (file->KeptAside.empty()) ::unlink(file->Path.c_str());
        else ::rename(file->KeptAside.c_str(), file->Path.c_str());
    }
    written_.clear();
}

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
    const std::string folder = FolderOf(besides), prefix = ".brindle-" + command + "-";
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
