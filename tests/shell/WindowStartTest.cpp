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
    const char* program = BRINDLE_WINDOW_PROGRAM;
    const TempDir dir;
    // A bare environment: no display at all; then a display that nothing serves.
    for (const std::string environment : {"env -i", "env -i DISPLAY=:9876", "env -i QT_QPA_PLATFORM=xcb DISPLAY=:9876"}) {
        SCOPED_TRACE(environment);
        const std::string line = environment + " '" + program + "' >'" + (dir / "out") + "' 2>'" + (dir / "err") + "'";
        const int status = std::system(line.c_str());
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 1);
        const std::vector<uint8_t> err = ReadFileBytes(dir / "err");
        const std::string text(err.begin(), err.end());
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
        EXPECT_TRUE(text.starts_with("brindle: ") && text.find("display") != std::string::npos) << text;
        EXPECT_NE(text.find("xvfb-run -a " + std::string(program)), std::string::npos) << text;
        EXPECT_TRUE(ReadFileBytes(dir / "out").empty());
    }
    // Questions about the program need no display.
    for (const std::string question : {"--version", "-V", "--help"}) {
        const std::string line = "env -i '" + std::string(program) + "' " + question + " >'" + (dir / "out") + "'";
        EXPECT_EQ(std::system(line.c_str()), 0) << question;
        const std::vector<uint8_t> out = ReadFileBytes(dir / "out");
        EXPECT_TRUE(std::string(out.begin(), out.end()).starts_with(question == "--help" ? "Usage: brindle" : "brindle ")) << question;
    }
#endif
}
