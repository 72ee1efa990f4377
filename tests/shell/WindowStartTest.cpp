// The window's program started where it has no display: one line that says so, and status 1.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

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
