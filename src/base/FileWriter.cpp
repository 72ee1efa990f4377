#include "base/FileWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "base/Files.h"

namespace {

// A name in folder that nothing stands under yet, for a file kept aside.
std::string HiddenName(const std::string& folder, const char* what) {
    static std::atomic<unsigned> counter{0};
    return folder + "/.brindle-" + what + "-" + std::to_string(::getpid()) + "-" + std::to_string(counter++);
}

// Whether the kernel would follow the link at path for us, were its rule for sticky world-writable
// folders on (fs.protected_symlinks): yes outside such a folder, or when we or the folder's owner
// own the link. Staged writes resolve links themselves, so they keep the rule themselves.
bool MayFollow(const std::string& path) {
    struct stat link {}, folder {};
    if (::lstat(path.c_str(), &link) != 0 || ::stat(ContainingFolder(path).c_str(), &folder) != 0) return true;
    const bool shared = (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & S_IWOTH) != 0;
    return !shared || link.st_uid == ::geteuid() || link.st_uid == folder.st_uid;
}

// The permission bits a file keeps when it is replaced: never setuid, setgid or sticky.
mode_t KeptMode(const struct stat& status) { return status.st_mode & 0777; }

// Where writing path really lands: the end of its chain of links, or path itself. A link on the way
// that the kernel would not follow for us is refused.
Outcome ResolveLinks(const std::string& path, std::string& target) {
    target = path;
    for (int hops = 0; hops < 40; ++hops) {
        std::error_code error;
        if (!std::filesystem::is_symlink(target, error)) return Outcome::Success();
        if (!MayFollow(target)) {
            return Outcome::Failure(Fault::CannotWrite,
                                    target == path ? "is a link of another user in a shared folder; not followed, nothing written"
                                                   : "leads through " + target + ", a link of another user in a shared folder; nothing written",
                                    path);
        }
        const std::filesystem::path link = std::filesystem::read_symlink(target, error);
        if (error) return Outcome::Success();
        target = link.is_absolute() ? link.string() : (std::filesystem::path(ContainingFolder(target)) / link).string();
    }
    return Outcome::Success();
}

// Renames the finished file `from` over target, keeping what stood there aside in ledger (or letting it
// go without one); errno or 0. A hard link keeps the name filled all along; where the file system has
// none, the file is moved aside for a moment.
int Replace(const std::string& from, const std::string& target, WrittenFiles* ledger) {
    std::string aside;
    struct stat status {};
    if (::lstat(target.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        aside = HiddenName(ContainingFolder(target), "old");
        if (::link(target.c_str(), aside.c_str()) != 0) {
            if (errno == EEXIST || ::rename(target.c_str(), aside.c_str()) != 0) return errno;  // never over a stranger's file
        }
    }
    if (::rename(from.c_str(), target.c_str()) != 0) {
        const int error = errno;
        if (!aside.empty() && ::rename(aside.c_str(), target.c_str()) != 0) ::unlink(aside.c_str());
        return error;
    }
    if (ledger) ledger->Note(target, aside);
    else if (!aside.empty()) ::unlink(aside.c_str());
    return 0;
}

Outcome SystemFailure(int error, const std::string& path) { return Outcome::Failure(Fault::CannotWrite, std::strerror(error), path); }

}  // namespace

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

std::string ContainingFolder(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

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

WrittenFiles::~WrittenFiles() {
    for (const Written& file : files_)
        if (!file.KeptAside.empty()) ::unlink(file.KeptAside.c_str());
}

void WrittenFiles::Note(std::string path, std::string keptAside) { files_.push_back({std::move(path), std::move(keptAside)}); }

void WrittenFiles::TakeBack() {
    for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
        if (file->KeptAside.empty()) ::unlink(file->Path.c_str());
        else ::rename(file->KeptAside.c_str(), file->Path.c_str());
    }
    files_.clear();
}

FileWriter::FileWriter(std::string path, WritePolicy policy, FileAccess access, WrittenFiles* ledger)
    : path_(std::move(path)), policy_(policy), access_(access), ledger_(ledger) {}

FileWriter::~FileWriter() {
    if (fd_ >= 0) ::close(fd_);
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

Outcome FileWriter::Fail(int error) {
    error_ = error;
    if (policy_ == WritePolicy::Staged) return SystemFailure(error, path_);
    // The window's words, which it lists after an entry that could not be extracted.
    return Outcome::Failure(Fault::CannotWrite, (fd_ < 0 ? "cannot create " : "cannot write ") + path_, path_);
}

Outcome FileWriter::Open() {
    if (IsHeldOpenForReading(path_)) {
        error_ = EBUSY;
        return Outcome::Failure(Fault::HeldOpen, "refusing to write over " + path_ + ", which is open for reading", path_);
    }
    return policy_ == WritePolicy::InPlace ? OpenInPlace() : OpenStaged();
}

Outcome FileWriter::OpenInPlace() {
    // What stands there goes, and the new file is created exclusively: a link planted in between makes
    // the write fail rather than land elsewhere.
    std::error_code ignored;
    if (!std::filesystem::is_directory(path_, ignored)) std::filesystem::remove(path_, ignored);
    target_ = path_;
    fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                 access_ == FileAccess::Private ? 0600 : 0666);
    return fd_ < 0 ? Fail(errno) : Outcome::Success();
}

Outcome FileWriter::OpenStaged() {
    if (Outcome resolved = ResolveLinks(path_, target_); !resolved) return resolved;
    struct stat status {};
    const bool exists = ::stat(target_.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) return Fail(EISDIR);
    if (exists && !S_ISREG(status.st_mode)) {  // a FIFO or a device: written through, never replaced
        fd_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
        return fd_ < 0 ? Fail(errno) : Outcome::Success();
    }
    // A temporary name of a fixed length, so that any name the file system takes can be written.
    std::string temporary = ContainingFolder(target_) + "/.brindle-XXXXXX";
    fd_ = ::mkstemp(temporary.data());
    if (fd_ < 0) return Fail(errno);
    temporary_ = std::move(temporary);
    const mode_t fresh = access_ == FileAccess::Private ? 0600 : 0666 & ~ProcessUmask();
    return ::fchmod(fd_, exists ? KeptMode(status) : fresh) == 0 ? Outcome::Success() : Fail(errno);
}

Outcome FileWriter::Write(std::span<const uint8_t> bytes) {
    if (fd_ < 0) return Fail(EBADF);
    const int error = WriteAll(fd_, bytes);
    return error == 0 ? Outcome::Success() : Fail(error);
}

Outcome FileWriter::Finish() {
    if (fd_ < 0) return Fail(EBADF);
    const int closed = ::close(fd_) == 0 ? 0 : errno;
    if (closed != 0) {
        const Outcome failed = Fail(closed);  // while fd_ still tells that the file was made
        fd_ = -1;
        return failed;
    }
    fd_ = -1;
    if (temporary_.empty()) return Outcome::Success();
    if (const int error = Replace(temporary_, target_, ledger_); error != 0) return Fail(error);
    temporary_.clear();
    return Outcome::Success();
}

Outcome WriteWholeFile(const std::string& path, std::span<const uint8_t> bytes, WritePolicy policy, WrittenFiles* ledger) {
    FileWriter file(path, policy, FileAccess::Shared, ledger);
    if (Outcome opened = file.Open(); !opened) return opened;
    if (Outcome written = file.Write(bytes); !written) return written;
    return file.Finish();
}

Outcome PlaceFile(const std::string& staged, const std::string& path, WrittenFiles& ledger) {
    struct stat status {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (!exists || S_ISREG(status.st_mode)) {
        std::string target;
        if (Outcome resolved = ResolveLinks(path, target); !resolved) return resolved;
        if (exists) ::chmod(staged.c_str(), KeptMode(status));
        const int error = Replace(staged, target, &ledger);
        if (error == 0) return Outcome::Success();
        if (error != EXDEV) return SystemFailure(error, path);
    }
    // Through a FIFO or a device, or onto another file system: the bytes go the way a staged write sends them.
    std::ifstream in(staged, std::ios::binary);
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!in.good() && !in.eof()) return Outcome::Failure(Fault::CannotRead, "cannot read back " + staged, path);
    return WriteWholeFile(path, bytes, WritePolicy::Staged, &ledger);
}
