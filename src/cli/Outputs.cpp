#include "cli/Outputs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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

mode_t NewFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

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

std::string Outputs::Target(const std::string& path) const {
    std::string current = path;
    for (int hops = 0; hops < 40; ++hops) {
        std::error_code error;
        if (!std::filesystem::is_symlink(current, error)) return current;
        const std::filesystem::path link = std::filesystem::read_symlink(current, error);
        if (error) return current;
        current = link.is_absolute() ? link.string() : (std::filesystem::path(FolderOf(current)) / link).string();
    }
    return current;
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

    struct stat status {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) return Fail(path, SystemReason(EISDIR));
    if (exists && !S_ISREG(status.st_mode)) {  // a FIFO or a device: written through, never replaced
        const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0) return Fail(path, SystemReason(errno));
        const int error = WriteAll(fd, bytes);
        const bool closed = ::close(fd) == 0;
        if (error != 0 || !closed) return Fail(path, SystemReason(error != 0 ? error : errno));
        return Result::Written;
    }

    const std::string target = Target(path);
    std::string temporary = FolderOf(target) + "/." + std::filesystem::path(target).filename().string() + ".XXXXXX";
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) return Fail(path, SystemReason(errno));
    int error = ::fchmod(fd, exists ? status.st_mode & 07777 : NewFileMode()) == 0 ? 0 : errno;
    if (error == 0) error = WriteAll(fd, bytes);
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error == 0 && ::rename(temporary.c_str(), target.c_str()) != 0) error = errno;
    if (error != 0) {
        ::unlink(temporary.c_str());
        return Fail(path, SystemReason(error));
    }
    written_.push_back(target);
    return Result::Written;
}

Outputs::Result Outputs::Place(const std::string& staged, const std::string& path) {
    if (!IsSafe(path)) return Result::Failed;
    if (KeptAsItIs(path)) return Result::Kept;
    struct stat status {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (!exists || S_ISREG(status.st_mode)) {
        const std::string target = Target(path);
        if (exists) ::chmod(staged.c_str(), status.st_mode & 07777);
        if (::rename(staged.c_str(), target.c_str()) == 0) {
            written_.push_back(target);
            return Result::Written;
        }
        if (errno != EXDEV) return Fail(path, SystemReason(errno));
    }
    // Through a FIFO or a device, or onto another file system: the bytes go the way Write sends them.
    std::ifstream in(staged, std::ios::binary);
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!in.good() && !in.eof()) return Fail(path, "cannot read back " + staged);
    return Write(path, bytes);
}

void Outputs::RemoveWritten() {
    for (const std::string& path : written_) ::unlink(path.c_str());
    written_.clear();
}

StagingFolder::StagingFolder(const std::string& besides) {
    std::string folder = FolderOf(besides) + "/.brindle-XXXXXX";
    if (::mkdtemp(folder.data())) {
        path_ = folder + "/";
    } else {
        error_ = SystemReason(errno);
    }
}

StagingFolder::~StagingFolder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
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
