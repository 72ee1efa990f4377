// The window's program as a user starts and ends it: where it has no display, one line that says so
// and status 1; an end signal ends it, even while a box waits for an answer.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "RecordingHost.h"

using namespace fixtures;

TEST(WindowStartTest, WithoutADisplayItSaysSoInOneLineAndHowToUseAVirtualOne) {
#ifndef BRINDLE_WINDOW_PROGRAM
    GTEST_SKIP() << "built without the window";
#else
    const std::string program = BRINDLE_WINDOW_PROGRAM, bare = "env -i '" + program + "'";
    const TempDir dir;
    // A bare environment: no display at all; then a display that nothing serves. Questions about the
    // program need no display: they answer on stdout.
    for (const auto& [command, answer] : std::initializer_list<std::pair<std::string, std::string>>{
             {bare, ""}, {"env -i DISPLAY=:9876 '" + program + "'", ""}, {bare + " --version", "brindle "},
             {bare + " -V", "brindle "}, {bare + " --help", "Usage: brindle"}}) {
        const int status = std::system((command + " >'" + dir / "out" + "' 2>'" + dir / "err" + "'").c_str());
        const std::string out = ReadFileText(dir / "out"), err = ReadFileText(dir / "err");
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == (answer.empty() ? 1 : 0)) << command;
        EXPECT_TRUE(answer.empty() ? out.empty() : out.starts_with(answer)) << command << ": " << out;
        if (!answer.empty()) continue;
        EXPECT_TRUE(std::count(err.begin(), err.end(), '\n') == 1 && err.starts_with("brindle: ") &&
                    err.find("display") != std::string::npos && err.find("xvfb-run -a " + program) != std::string::npos) << err;
    }
#endif
}

TEST(WindowStartTest, AnEndSignalEndsItEvenWhileABoxWaits) {
#ifndef BRINDLE_WINDOW_PROGRAM
    GTEST_SKIP() << "built without the window";
#else
    // A file of neither flavour: the window opens it and asks whether to read it all the same.
    const TempDir dir;
    WriteFileText(dir / "junk.drs", std::string(2000, 'x'));
    const std::string program = BRINDLE_WINDOW_PROGRAM, junk = dir / "junk.drs", temp = dir / "temp";
    std::filesystem::create_directory(temp);
    const pid_t child = fork();
    if (child == 0) {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        setenv("temp", temp.c_str(), 1);  // where the window notes its run, so that the test sees it start
        execl(program.c_str(), program.c_str(), junk.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    using namespace std::chrono_literals;
    auto started = [&] {
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(temp + "/brindle", none))
            if (entry.path().filename().string().starts_with(".window-")) return true;
        return false;
    };
    for (int i = 0; i < 300 && !started(); ++i) std::this_thread::sleep_for(100ms);
    std::this_thread::sleep_for(1s);  // the question is up by now
    ASSERT_EQ(kill(child, SIGTERM), 0);
    int status = 0;
    bool ended = false;
    for (int i = 0; i < 300 && !ended; ++i) {
        ended = waitpid(child, &status, WNOHANG) == child;
        if (!ended) std::this_thread::sleep_for(100ms);
    }
    if (!ended) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    EXPECT_TRUE(ended && WIFEXITED(status)) << "still running 30 s after SIGTERM, its box open";
#endif
}
