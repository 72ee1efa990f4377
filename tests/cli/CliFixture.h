#pragma once
// brindle-cli as a user runs it: the built program (named by BRINDLE_CLI) run by the shell in a folder
// of its own, on fixture files written in code.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "RecordingHost.h"
#include "Writers.h"

namespace fixtures {

struct CliResult {
    int Code = -1;
    std::string Out, Err;
    // Every message is one line that names the program.
    bool SaysInOneLine(std::string_view words) const {
        return std::count(Err.begin(), Err.end(), '\n') == 1 && Err.starts_with("brindle-cli: ") &&
               Err.find(words) != std::string::npos;
    }
};

inline std::string TextOf(const std::string& path) {
    const Bytes bytes = ReadFileBytes(path);
    return {bytes.begin(), bytes.end()};
}

inline std::set<std::string> NamesIn(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& item : std::filesystem::directory_iterator(folder)) names.insert(item.path().filename().string());
    return names;
}

class CliTest : public ::testing::Test {
protected:
    TempDir dir;

    // Runs a shell line in the test's folder, with "$CLI" standing for the program.
    CliResult Shell(const std::string& line) {
        const char* program = std::getenv("BRINDLE_CLI");
        EXPECT_NE(program, nullptr) << "BRINDLE_CLI names the program under test";
        const std::string full = "cd '" + dir.Path() + "' && CLI='" + (program ? program : "brindle-cli") + "' && { " + line +
                                 "; } >'" + (dir / ".out") + "' 2>'" + (dir / ".err") + "'";
        const int status = std::system(full.c_str());
        CliResult result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, TextOf(dir / ".out"), TextOf(dir / ".err")};
        std::filesystem::remove(dir / ".out");
        std::filesystem::remove(dir / ".err");
        return result;
    }
    CliResult Run(const std::string& arguments) { return Shell("\"$CLI\" " + arguments); }

    // Table SLP: IDs 5, 5 and -7; a table whose tag reads "../"; one BIN entry.
    std::string WriteTestArchive(ArchiveLayout* layout = nullptr, Flavour kind = Flavour::Year1997) {
        ArchiveFixture contents{kind, {{StoredTag("slp"), {{5, {1, 2, 3}}, {5, {4, 5}}, {-7, {}}}},
                                       {StoredTag("../"), {{9, {6}}}},
                                       {StoredTag("bin"), {{12, {7, 8}}}}}};
        WriteFileBytes(dir / "test.drs", WriteArchive(contents, layout));
        return "test.drs";
    }

    // count frames of 4 + i by 3 pixels with a colour and a shadow pixel, hot spot (i, 1).
    std::vector<FrameFixture> TestFrames(int count) {
        std::vector<FrameFixture> frames;
        for (int i = 0; i < count; ++i) {
            Art art(4 + i, 3);
            art.At(1, 1) = {Layer::Colour, 40};
            art.At(2, 2) = {Layer::Shadow, 0};
            frames.push_back(EncodeFrame(art, i, 1));
        }
        return frames;
    }
    std::string WriteTestSprite(int count, const std::string& name = "walk.slp") {
        WriteFileBytes(dir / name, WriteSprite(TestFrames(count)));
        return name;
    }
    // Three frames, the second damaged in its last row.
    std::string WriteDamagedSprite(const std::string& name = "damaged.slp") {
        SpriteLayout at;
        Bytes bytes = WriteSprite(TestFrames(3), "2.0N", "", &at);
        const auto row = size_t(at.RowStreamAt[1][2]);
        bytes[row] = 0x1A, bytes[row + 1] = 240;  // a player colour past the palette
        WriteFileBytes(dir / name, bytes);
        return name;
    }
};

}  // namespace fixtures
