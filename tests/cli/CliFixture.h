#pragma once
// brindle-cli as a user runs it: the built program (named by BRINDLE_CLI) run by the shell in a folder
// of its own, on fixture files written in code.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "colour/Palettes.h"
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

// Every file under folder, by its path inside it.
inline std::map<std::string, Bytes> FilesUnder(const std::string& folder) {
    std::map<std::string, Bytes> files;
    for (const auto& item : std::filesystem::recursive_directory_iterator(folder))
        if (item.is_regular_file()) files[std::filesystem::relative(item.path(), folder).string()] = ReadFileBytes(item.path().string());
    return files;
}

inline std::set<std::string> NamesUnder(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& [name, bytes] : FilesUnder(folder)) names.insert(name);
    return names;
}

class CliTest : public ::testing::Test {
protected:
    TempDir dir, streams;  // streams: where a command's standard output and error go
    ArchiveLayout layout;  // of test.drs

    // test.drs: table SLP with IDs 5, 5 and -7, a table whose tag reads "../" with ID 9, table BIN with ID 12.
    // shared.drs: ID 9 in tables SLP and BIN. p.pal: index i is (i, 7, 255 - i). walk.slp: frames of 4 + i by 3
    // pixels, a colour, a shadow and a player pixel in each, hot spot (i, 1); damaged.slp: the same, frame 2
    // damaged in its last row. sprites.drs: a BIN entry of ID 1, walk.slp as IDs 100 to 111 but 105 damaged.slp.
    void SetUp() override {
        const TableFixture tables[] = {{StoredTag("slp"), {{5, {1, 2, 3}}, {5, {4, 5}}, {-7, {}}}}, {StoredTag("../"), {{9, {6}}}},
                                       {StoredTag("bin"), {{12, {7, 8}}}}};
        WriteFileBytes(dir / "test.drs", WriteArchive({Flavour::Year1997, {std::begin(tables), std::end(tables)}}, &layout));
        WriteFileBytes(dir / "shared.drs", WriteArchive({Flavour::Year2001, {{StoredTag("slp"), {{9, {3}}}}, {StoredTag("bin"), {{9, {4, 4}}}}}}));
        std::vector<FrameFixture> frames;
        for (int i = 0; i < 3; ++i) {
            Art art(4 + i, 3);
            art.At(1, 1) = {Layer::Colour, 40}, art.At(2, 2) = {Layer::Shadow, 0}, art.At(3, 0) = {Layer::Player, 2};
            frames.push_back(EncodeFrame(art, i, 1));
        }
        SpriteLayout at;
        const Bytes walk = WriteSprite(frames, "2.0N", "", &at);
        Bytes damaged = walk;
        const auto row = size_t(at.RowStreamAt[1][2]);
        damaged[row] = 0x1A, damaged[row + 1] = 240;  // a player colour past the palette
        WriteFileBytes(dir / "walk.slp", walk);
        WriteFileBytes(dir / "damaged.slp", damaged);
        std::vector<EntryFixture> sprites;
        for (int32_t id = 100; id < 112; ++id) sprites.push_back({id, id == 105 ? damaged : walk});
        WriteFileBytes(dir / "sprites.drs", WriteArchive({Flavour::Year1997, {{StoredTag("bin"), {{1, {1, 2}}}}, {StoredTag("slp"), sprites}}}));
        std::vector<uint32_t> colours;
        for (int i = 0; i < 256; ++i) colours.push_back(RGB(i, 7, 255 - i));
        WriteFileText(dir / "p.pal", WriteJascPal(colours));
    }

    // Runs a shell line in the test's folder, where "$BRINDLE_CLI" names the program and out is an empty folder.
    CliResult Shell(const std::string& line) {
        const std::string out = streams / "out", err = streams / "err";
        const std::string command = "cd '" + dir.Path() + "' && rm -rf out && mkdir out && { " + line + "; }";
        const int status = std::system((command + " </dev/null >'" + out + "' 2>'" + err + "'").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFileText(out), ReadFileText(err)};
    }
    CliResult Run(const std::string& arguments) { return Shell("\"$BRINDLE_CLI\" " + arguments); }
};

}  // namespace fixtures
