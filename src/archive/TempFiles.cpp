#include "archive/TempFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "archive/DRSCode.h"
#include "base/Functions.h"

namespace {

constexpr std::string_view RunFilePrefix = ".window-";

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string Trimmed(std::string folder) {
    while (folder.size() > 1 && folder.back() == PathSeparator) folder.pop_back();
    return folder;
}

// Makes folder with mode 0700 when it is new, and tells whether it is private now. An existing
// folder is taken as it is: one that fails the check is left alone, never mended or followed.
bool MadePrivate(const std::string& folder) {
    if (::mkdir(folder.c_str(), 0700) == 0) {
        ::chmod(folder.c_str(), 0700);  // a umask may have taken our own bits away
    } else if (errno != EEXIST) {
        return false;
    }
    return IsPrivateFolder(folder);
}

}  // namespace

bool IsPrivateFolder(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & 07777) == 0700;
}

std::string MakePrivateTempFolder() {
    const std::string user = std::to_string(::geteuid());
    std::vector<std::string> candidates;
    if (const std::string temp = Environment("temp"); !temp.empty()) candidates.push_back(Trimmed(temp) + "/brindle");
    if (const std::string runtime = Environment("XDG_RUNTIME_DIR"); !runtime.empty()) {
        candidates.push_back(Trimmed(runtime) + "/brindle");
    }
    if (const std::string tmpdir = Environment("TMPDIR"); !tmpdir.empty()) {
        candidates.push_back(Trimmed(tmpdir) + "/brindle-" + user);
    }
    candidates.push_back("/tmp/brindle-" + user);
    for (const std::string& folder : candidates)
        if (MadePrivate(folder)) return folder + PathSeparator;
    // Someone else holds every usual name: a folder of this run's own, which mkdtemp makes 0700.
    std::string fresh = "/tmp/brindle-" + user + "-XXXXXX";
    return ::mkdtemp(fresh.data()) ? fresh + PathSeparator : std::string();
}

bool TempRun::Begin(const std::string& folder) {
    End();
    if (folder.empty()) return false;  // no temporary folder: the copies will fail and say so
    // The run file is made and locked under a name no sweep looks at, then renamed into view: a sweep
    // never sees it unlocked and takes it for the file of an ended run.
    std::string starting = folder + ".starting-XXXXXX";
    const int fd = ::mkostemp(starting.data(), O_CLOEXEC);
    if (fd < 0) return false;
    const std::string runFile = folder + std::string(RunFilePrefix) + starting.substr(starting.size() - 6);
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0 || ::rename(starting.c_str(), runFile.c_str()) != 0) {
        ::unlink(starting.c_str());
        ::close(fd);
        return false;
    }
    fd_ = fd;
    folder_ = folder;
    runFile_ = runFile;
    return true;
}

void TempRun::Note(const std::string& path) {
    if (fd_ < 0) return;
    noted_.push_back(FileOfPath(path));
    const std::string line = noted_.back() + '\n';
    [[maybe_unused]] const ssize_t written = ::write(fd_, line.data(), line.size());
}

std::string TempRun::NewCopyPath() {
    std::string path = MakeTempResourcePath();
    // Another window's name is free again a hundredth of a second later; we wait no longer than that a
    // few times over, and then take it as the design takes its own.
    for (int tries = 0; fd_ >= 0 && tries < 10; ++tries) {
        const std::vector<std::string> inUse = CopiesInUse(folder_);
        const std::string name = FileOfPath(path);
        const bool ours = std::find(noted_.begin(), noted_.end(), name) != noted_.end();
        if (ours || std::find(inUse.begin(), inUse.end(), name) == inUse.end()) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        path = MakeTempResourcePath();
    }
    Note(path);
    return path;
}

void TempRun::End() {
    if (fd_ < 0) return;
    ::unlink(runFile_.c_str());
    ::close(fd_);
    fd_ = -1;
    SweepTempFiles(folder_);
}

std::vector<std::string> CopiesInUse(const std::string& folder) {
    namespace fs = std::filesystem;
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.empty() ? fs::path(".") : fs::path(folder), error)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(RunFilePrefix)) continue;
        const int fd = ::open(entry.path().c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) continue;
        if (::flock(fd, LOCK_SH | LOCK_NB) == 0) {  // nobody holds it: that run has ended
            ::unlink(entry.path().c_str());
        } else {
            std::string text;
            char block[4096];
            for (ssize_t got; (got = ::read(fd, block, sizeof block)) > 0;) text.append(block, static_cast<size_t>(got));
            for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
                names.push_back(text.substr(start, end - start));
            }
        }
        ::close(fd);
    }
    return names;
}
