// brindle-cli as a user runs it: what its commands write when they succeed.

#include <nlohmann/json.hpp>

#include <tuple>

#include "CliFixture.h"

namespace fs = std::filesystem;
using namespace fixtures;
using nlohmann::json;

namespace {

// What each command prints, from its start, and the files it writes into the folder out, with nothing on
// standard error; a file read from standard input or as an archive's entry is read as from its own file.
TEST_F(CliTest, EveryCommandWritesWhatItRead) {
    std::string palette;  // p.pal, a colour a line
    for (int i = 0; i < 256; ++i) palette += std::to_string(i) + " 7 " + std::to_string(255 - i) + "\n";
    const std::string info = "frames 3\n1\t4\t3\t0\t1\t";
    const std::string list = "--SLP (3)--\t0\t0\t0\t0\n5\t1\t5\t" + std::to_string(layout.DataAt[0][0]) + "\t3\n";
    const std::set<std::string> walks{"walk001.bmp", "walk002.bmp", "walk003.bmp"};
    const struct { std::string Arguments, Out; std::set<std::string> Files = {}; } cases[] = {
        {"-V", "brindle-cli "}, {"--version", "brindle-cli "}, {"list test.drs", list},
        {"list --long test.drs", "row\ttext\tkind\tid\toffset\tsize\n0\t--SLP (3)--\theading\t0\t0\t0\n1\t5\tslp\t5\t"},
        {"extract test.drs 2 -", "\x04\x05"}, {"extract test.drs --id 12 -", "\x07\x08"},
        {"extract shared.drs --id 9 --table bin -", "\x04\x04"},
        {"extract-all test.drs out --table Bin", "", {"03-BIN/12.bin"}},  // one table, by its name in any case
        {"info walk.slp", info}, {"info - < walk.slp", info}, {"info sprites.drs --id 100", info},
        {"palette p.pal", palette}, {"palette - < p.gpl", palette},
        {"sequence walk.slp out/walk.bmp", "", walks}, {"sequence sprites.drs --id 100 out/walk.bmp", "", walks},
        {"slx walk.slp out/b.slx", "", {"b.slx", "b1c.bmp", "b1d.bmp", "b2c.bmp", "b2d.bmp", "b3c.bmp", "b3d.bmp"}},
        {"export walk.slp - --format gif", "GIF89a"},
        {"export walk.slp out/walk.png --format png", "", {"walk001.png", "walk002.png", "walk003.png"}},
        {"export walk.slp out/one.png --format png --frame 2", "", {"one.png"}},
        {"export walk.slp out/walk.gif --format gif --fps 5", "", {"walk.gif"}},
        {"export walk.slp out/walk.apng --format apng", "", {"walk.apng"}},
        {"export walk.slp out/sheet.png --format sheet --outlines --shadow-alpha 0", "", {"sheet.png", "sheet.json"}},
    };
    for (const auto& c : cases) {
        const CliResult r = RunIntoOut(c.Arguments);
        EXPECT_EQ(r.Out.substr(0, c.Out.size()), c.Out) << c.Arguments;
        EXPECT_TRUE(r.Code == 0 && r.Err.empty()) << c.Arguments << ": " << r.Err;
        EXPECT_EQ(NamesOf(FilesUnder(dir / "out")), c.Files) << c.Arguments;
    }
    EXPECT_EQ(Shell("cat test.drs | \"$BRINDLE_CLI\" list -").Out, Run("list test.drs").Out);  // from a pipe, which can't seek
    EXPECT_EQ(Run("frame walk.slp 1 - --palette - < p.gpl").Out, Run("frame walk.slp 1 - --palette p.pal").Out);
    // Entries go into a folder, or a folder a table, its name safe, files named by ID and kind.
    RunIntoOut("extract test.drs --id 5 --id 9 --id 12 -o out");
    EXPECT_EQ(FilesUnder(dir / "out"),
              (std::map<std::string, Bytes>{{"5.slp", {1, 2, 3}}, {"5-2.slp", {4, 5}}, {"9", {6}}, {"12.bin", {7, 8}}}));
    EXPECT_EQ(Run("extract-all test.drs all").Err, "") << "nothing to say, and no progress line when stderr is a file";
    EXPECT_EQ(FilesUnder(dir / "all"), (std::map<std::string, Bytes>{{"01-SLP/5.slp", {1, 2, 3}}, {"01-SLP/5-2.slp", {4, 5}},
                                                                   {"01-SLP/-7.slp", {}}, {"02/9", {6}}, {"03-BIN/12.bin", {7, 8}}}));
    // Frame 2 is 5 x 3, in rows of 16 bytes from the bottom up: its top left pixel is the mask, in web order.
    const std::string bmp = Run("frame walk.slp 2 - --mask '#FF8000'").Out;
    ASSERT_EQ(bmp.size(), 54u + 3 * 16);
    EXPECT_EQ(bmp.substr(54 + 2 * 16, 3), std::string("\x00\x80\xFF", 3));
    EXPECT_EQ(Run("frame sprites.drs --id 100 2 - --mask '#FF8000'").Out, bmp);

    EXPECT_EQ(Run("--help").Code, 0);
    for (const char* command : {"list", "extract", "extract-all", "info", "frame", "sequence", "slx", "palette"})
        EXPECT_NE(Run(std::string(command) + " --help").Out.find("Example"), std::string::npos) << command;
}

TEST_F(CliTest, ListAndInfoAlsoSpeakJson) {
    const json rows = json::parse(Run("list test.drs --json").Out)["rows"];
    ASSERT_EQ(rows.size(), 8u);
    EXPECT_EQ(rows[2], (json{{"row", 2}, {"text", "5"}, {"kind", "slp"}, {"id", 5}, {"offset", layout.DataAt[0][1]}, {"size", 2}}));
    EXPECT_EQ(rows[5]["kind"], "other");
    // Every frame is decoded: a damaged one is named, and the table still shows.
    const json sprite = json::parse(Run("info damaged.slp --json").Out);
    ASSERT_EQ(sprite["frames"].size(), 3u);
    EXPECT_EQ(sprite["frames"][1]["width"], 5);
    EXPECT_EQ(sprite["frames"][1]["hotspot"], (json{{"x", 1}, {"y", 1}}));
    EXPECT_EQ(sprite["damaged"][0]["frame"], 2);
    // With --players a sheet has a row of the frames, 4, 5 and 6 by 3 pixels, for each team.
    Run("export walk.slp teams.png --format sheet --players");
    EXPECT_EQ(json::parse(ReadFileText(dir / "teams.json"))["meta"]["size"], (json{{"w", 15}, {"h", 24}}));
}

TEST_F(CliTest, ConvertDoesEverySpriteAndGoesOnPastADamagedOne) {
    for (const std::string jobs : {"1", "2"}) {  // into folders 1 and 2
        const CliResult r = Run("convert sprites.drs " + jobs + " --format sheet --jobs " + jobs);
        EXPECT_EQ(r.Code, 1);
        EXPECT_NE(r.Err.find("brindle-cli: convert: sprites.drs (ID 105): frame 2: row 2: "), std::string::npos) << r.Err;
        EXPECT_TRUE(r.Err.ends_with(": 11 converted, 1 failed\n")) << r.Err;
    }
    const auto sheets = FilesUnder(dir / "1");
    EXPECT_EQ(sheets.size(), 22u);
    EXPECT_TRUE(sheets.begin()->first.starts_with("02-SLP/")) << "the BIN table, 01, has no sprites";
    EXPECT_EQ(sheets, FilesUnder(dir / "2"));
    // Sequences go into a folder a sprite, as the design's BMPs or as PNG.
    RunIntoOut("convert sprites.drs out --format bmp --table SLP");
    const auto bmps = NamesOf(FilesUnder(dir / "out"));
    EXPECT_EQ(bmps.size(), 33u);
    EXPECT_TRUE(bmps.contains("02-SLP/100/100001.bmp") && bmps.contains("02-SLP/111/111003.bmp"));
}

TEST_F(CliTest, PlayerRedrawsOnlyThePlayerPixelsOfEveryExport) {
    const std::string commands[] = {
        "sequence walk.slp out/s.bmp",          "slx walk.slp out/x.slx", "export walk.slp out/p.png --format png",
        "convert sprites.drs out --format png", "convert sprites.drs out --format bmp",
        "frame walk.slp 1 out/f.bmp --palette p.pal",  // last: its files are read below
    };
    std::map<std::string, std::map<std::string, Bytes>> written;  // by the --player option
    for (const std::string& command : commands) {
        for (const std::string option : {"", " --player 1", " --player 3"}) {
            RunIntoOut(command + option);
            written[option] = FilesUnder(dir / "out");
        }
        EXPECT_EQ(written[""], written[" --player 1"]) << command;
        EXPECT_NE(written[""], written[" --player 3"]) << command;
    }
    // The frame of player 3: its player byte 2 in palette[50], every other byte as before. The player pixel,
    // (3, 0) in a frame of 4 x 3, is the last of the top row, which a BMP file holds last.
    Bytes want = written[""]["f.bmp"];
    ASSERT_EQ(want.size(), 54u + 3 * 12);
    std::copy_n(Bytes{255 - 50, 7, 50}.begin(), 3, want.end() - 3);
    EXPECT_EQ(written[" --player 3"]["f.bmp"], want);
}

TEST_F(CliTest, ThumbnailsScaleByWholeFactorsAndShrinkToFit) {
    WriteFileBytes(dir / "big.slp", WriteSprite({EncodeFrame(Art(300, 150))}));
    const std::tuple<std::string, int, std::pair<int, int>> cases[] = {
        {"walk.slp", 128, {128, 96}},    // frame 1 is 4 x 3: 32 times
        {"walk.slp", 10, {8, 6}},        // twice: 3 times would not fit
        {"sprites.drs", 64, {64, 48}},   // the archive's first sprite
        {"big.slp", 128, {128, 64}},     // shrunk to fit
    };
    for (const auto& [input, size, expected] : cases) {
        Run("thumbnail " + input + " t.png " + std::to_string(size));
        const Bytes png = ReadFileBytes(dir / "t.png");  // its width and height, big-endian, from bytes 16 and 20
        ASSERT_GE(png.size(), 24u) << input;
        EXPECT_EQ(std::pair(png[18] << 8 | png[19], png[22] << 8 | png[23]), expected) << input << " " << size;
    }
}

}  // namespace
