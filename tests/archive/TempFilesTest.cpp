#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <filesystem>

#include "archive/DRSCode.h"
#include "archive/TempFiles.h"
#include "base/Files.h"
#include "RecordingHost.h"

using namespace fixtures;
namespace fs = std::filesystem;

namespace {

// Sets an environment variable for one test, and puts it back after.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        ::setenv(name, value.c_str(), 1);
    }
    ~ScopedVariable() { old_ ? (void)::setenv(name_, old_->c_str(), 1) : (void)::unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> old_;
};

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// A folder that fails the check is never used, and the next is tried: "temp"'s folder is set up as
// each case says, and XDG_RUNTIME_DIR's, new, is the one taken.
TEST(TempFilesTest, TheFolderIsOursAloneOrTheNextIsTried) {
    TempDir dir;
    const std::string temp = dir / "temp", runtime = dir / "run";
    fs::create_directories(temp);
    fs::create_directories(runtime);
    const ScopedVariable tempVariable("temp", temp + "/");
    const ScopedVariable runtimeVariable("XDG_RUNTIME_DIR", runtime);
    const std::string planted = temp + "/brindle";

    // A new folder is made 0700, under any umask, and taken.
    const mode_t umask = ::umask(0077 | 0022);
    EXPECT_EQ(MakePrivateTempFolder(), planted + "/");
    EXPECT_EQ(ModeOf(planted), 0700u);
    ::umask(umask);
    fs::remove(planted);

    const bool root = ::geteuid() == 0;
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"made by someone else for everyone", [&] { fs::create_directory(planted); ::chmod(planted.c_str(), 0777); }},
        {"ours but open to others", [&] { fs::create_directory(planted); ::chmod(planted.c_str(), 0755); }},
        {"a link to a private folder", [&] { fs::create_directory(dir / "mine"); ::chmod((dir / "mine").c_str(), 0700);
                                             fs::create_directory_symlink(dir / "mine", planted); }},
        {"a file", [&] { WriteFileText(planted, ""); }},
        {"another user's, 0700", [&] { fs::create_directory(planted); ::chmod(planted.c_str(), 0700);
                                       if (::chown(planted.c_str(), 65534, 65534) != 0) fs::remove(planted); }},
    };
    for (const auto& [what, plant] : cases) {
        SCOPED_TRACE(what);
        plant();
        if (!fs::exists(fs::symlink_status(planted))) {
            EXPECT_FALSE(root) << "only root can give a folder away";
            continue;
        }
        EXPECT_FALSE(IsPrivateFolder(planted));
        EXPECT_EQ(MakePrivateTempFolder(), runtime + "/brindle/");
        EXPECT_EQ(ModeOf(runtime + "/brindle"), 0700u);
        EXPECT_FALSE(IsPrivateFolder(planted));  // left as it was: never mended
        fs::remove_all(planted);
        fs::remove_all(dir / "mine");
        fs::remove(runtime + "/brindle");
    }
}

// Copies in the temporary folder are readable by us alone; an entry saved elsewhere keeps the umask's mode.
TEST(TempFilesTest, CopiesAreCreatedForOurEyesOnly) {
    TempDir dir;
    const std::string archivePath = dir / "a.bin";
    WriteFileText(archivePath, "entry bytes");
    ReadOnlyFile archive;
    ASSERT_TRUE(archive.Open(archivePath));
    RecordingHost host;
    const std::string saved = TempFolder;
    TempFolder = dir / "private/";
    fs::create_directory(TempFolder);
    const mode_t umask = ::umask(022);
    for (const auto& [path, mode] : {std::pair{TempFolder + "_drs1.drx", 0600u}, {TempFolder + "7.pal", 0600u}, {dir / "7.bin", 0644u}}) {
        WriteFileText(path, "older");
        ::chmod(path.c_str(), 0666);
        ASSERT_TRUE(ReadResourceData(archive, path, {7, 0, 5, {}}, host).Ok());
        EXPECT_EQ(ReadFileText(path), "entry");
        EXPECT_EQ(ModeOf(path), mode) << path;
    }
    ::umask(umask);
    TempFolder = saved;
}

// Closing a window sweeps its own copies and those of runs that have ended, never one that another
// running window still reads. Two runs in one process stand for two windows: their locks are held
// through files opened apart, which shut each other out as two processes would.
TEST(TempFilesTest, ASweepLeavesTheCopiesOfRunningWindows) {
    TempDir dir;
    const std::string folder = dir.Path();
    auto copy = [&](TempRun* run, const std::string& name) {
        if (run) run->Note(folder + name);
        WriteFileText(folder + name, "copy");
    };
    TempRun first, second;
    ASSERT_TRUE(first.Begin(folder));
    ASSERT_TRUE(second.Begin(folder));
    copy(&first, "_drs100.drx");
    copy(&second, "_drs200.drx");
    copy(nullptr, "_drs300.drx");  // left by a run that crashed before it kept a list
    // A run that crashed leaves its list, but the kernel has let go of its lock.
    WriteFileText(folder + ".window-crash1", "_drs400.drx\n");
    copy(nullptr, "_drs400.drx");
    WriteFileText(folder + "7.pal", "an extracted palette");
    copy(nullptr, "_drs500.drx");

    first.End();
    std::vector<std::string> left;
    for (const auto& file : fs::directory_iterator(folder)) left.push_back(file.path().filename().string());
    std::sort(left.begin(), left.end());
    ASSERT_EQ(left.size(), 3u);  // the second window's list, its copy, and the palette
    EXPECT_EQ(std::vector(left.begin() + 1, left.end()), (std::vector<std::string>{"7.pal", "_drs200.drx"}));
    second.End();
    EXPECT_FALSE(fs::exists(folder + "_drs200.drx"));
}

}  // namespace
