// brindle-cli as a user runs it: what its commands write when they succeed.

#include <nlohmann/json.hpp>

#include "CliFixture.h"

using namespace fixtures;
using nlohmann::json;

namespace {

// What each command prints, from its start, and the files it writes into the folder out, with nothing on
// standard error; a file read from standard input or as an archive's entry is read as from its own file.
TEST_F(CliTest, EveryCommandWritesWhatItRead) {
    const std::string info = "frames 3\n1\t4\t3\t0\t1\t";
    const std::string list = "--SLP (3)--\t0\t0\t0\t0\n5\t1\t5\t" + std::to_string(layout.DataAt[0][0]) + "\t3\n";
    // A thumbnail's PNG up to its height: frame 1, 4 x 3, a whole number of times, or shrunk to fit.
    const auto png = [](char w, char h) { return std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0", 19) + w + std::string(3, 0) + h; };
    WriteFileBytes(dir / "big.slp", WriteSprite({EncodeFrame(Art(300, 150))}));
    const struct { std::string Arguments, Out; std::set<std::string> Files = {}; } cases[] = {
        {"--version", "brindle-cli "}, {"list test.drs", list}, {"palette - < p.pal", "0 7 255\n1 7 254\n"},
        {"list --long test.drs", "row\ttext\tkind\tid\toffset\tsize\n0\t--SLP (3)--\theading\t0\t0\t0\n1\t5\tslp\t5\t"},
        {"extract test.drs 2 -", "\x04\x05"}, {"extract shared.drs --id 9 --table bin -", "\x04\x04"},
        {"extract test.drs --id 5 --id 9 --id 12 -o out", "", {"5.slp", "5-2.slp", "9", "12.bin"}},  // extract-all's names
        {"extract-all test.drs out --table Bin", "", {"03-BIN/12.bin"}},  // one table, by its name in any case
        {"info walk.slp", info}, {"info - < walk.slp", info}, {"info sprites.drs --id 100", info},
        {"sequence walk.slp out/walk.bmp", "", {"walk001.bmp", "walk002.bmp", "walk003.bmp"}},
        {"slx walk.slp out/b.slx", "", {"b.slx", "b1c.bmp", "b1d.bmp", "b2c.bmp", "b2d.bmp", "b3c.bmp", "b3d.bmp"}},
        {"export walk.slp out/walk.png --format png", "", {"walk001.png", "walk002.png", "walk003.png"}},
        {"export walk.slp out/one.png --format png --frame 2", "", {"one.png"}},
        {"export walk.slp - --format gif --fps 5", "GIF89a"}, {"export walk.slp out/a.apng --format apng", "", {"a.apng"}},
        {"export walk.slp out/sheet --format sheet --outlines --shadow-alpha 0", "", {"sheet.png", "sheet.json"}},
        {"export walk.slp out/walk.json --format sheet --sheet-layout hash", "", {"walk.png", "walk.json"}},
        {"thumbnail walk.slp - 10", png(8, 6)}, {"thumbnail big.slp - 128", png(char(128), 64)},  // twice; 300 x 150 shrunk
        {"thumbnail sprites.drs - 64", png(64, 48)},  // the archive's first sprite, 16 times
    };
    for (const auto& c : cases) {
        const CliResult r = Run(c.Arguments);
        EXPECT_EQ(r.Out.substr(0, c.Out.size()), c.Out) << c.Arguments;
        EXPECT_TRUE(r.Code == 0 && r.Err.empty()) << c.Arguments << ": " << r.Err;
        EXPECT_EQ(NamesUnder(dir / "out"), c.Files) << c.Arguments;
    }
    EXPECT_EQ(Shell("cat test.drs | \"$BRINDLE_CLI\" list -").Out, Run("list test.drs").Out);  // a pipe can't seek
    // Every entry, in a folder a table, its name safe, files named by ID and kind; no progress line when stderr is a file.
    EXPECT_EQ(Run("extract-all test.drs out").Err, "");
    EXPECT_EQ(FilesUnder(dir / "out"), (std::map<std::string, Bytes>{{"01-SLP/5.slp", {1, 2, 3}}, {"01-SLP/5-2.slp", {4, 5}},
                                                                   {"01-SLP/-7.slp", {}}, {"02/9", {6}}, {"03-BIN/12.bin", {7, 8}}}));
    // Frame 2 is 5 x 3, in rows of 16 bytes from the bottom up: its top left pixel is the mask, in web order.
    const std::string bmp = Run("frame walk.slp 2 - --mask '#FF8009'").Out;
    ASSERT_EQ(bmp.size(), 54u + 3 * 16);
    EXPECT_EQ(bmp.substr(54 + 2 * 16, 3), std::string("\x09\x80\xFF", 3));
    // list and info also speak JSON.
    json rows = json::parse(Run("list test.drs --json").Out)["rows"];
    EXPECT_TRUE(rows.size() == 8 && rows[5]["kind"] == "other");
    EXPECT_EQ(rows[2], (json{{"row", 2}, {"text", "5"}, {"kind", "slp"}, {"id", 5}, {"offset", layout.DataAt[0][1]}, {"size", 2}}));
    // Every frame is decoded: a damaged one is named, and the table still shows.
    json sprite = json::parse(Run("info damaged.slp --json").Out);
    EXPECT_EQ(sprite["frames"][1]["hotspot"], (json{{"x", 1}, {"y", 1}}));
    EXPECT_EQ(sprite["damaged"][0]["frame"], 2);
    // With --players a sheet has a row of the frames, 4, 5 and 6 by 3 pixels, for each team.
    Run("export walk.slp teams.png --format sheet --players");
    EXPECT_EQ(json::parse(ReadFileText(dir / "teams.json"))["meta"]["size"], (json{{"w", 15}, {"h", 24}}));
}

// A file manager waits for its thumbnail: input past a sprite's 64 MiB is left unread, input that never
// ends is given up, and rows that would walk one long stream again and again are damaged at once.
TEST_F(CliTest, AThumbnailAnswersSoonWhateverItIsGiven) {
    Bytes lists;  // player lists of 255 pixels, starting far left of the frame
    for (int i = 0; i < 1000; ++i) lists.insert(lists.end(), {0x06, 0xFF}), lists.resize(lists.size() + 255);
    lists.push_back(0x0F);
    WriteFileBytes(dir / "tall.slp", WriteSharedStreamSprite(64, 8192, -32767, lists));
    const struct { std::string Line, Message, Out; } cases[] = {
        {"head -c 83886080 /dev/zero | { \"$BRINDLE_CLI\" thumbnail - out/t.png 256; code=$?;"
         " [ \"$(wc -c)\" -ge 16711680 ] && echo rest unread; exit $code; }",  // 80 MiB, less 64 MiB and a block
         "thumbnail: standard input: more than 67108864 bytes", "rest unread\n"},
        {"mkfifo stalled && timeout 10 \"$BRINDLE_CLI\" thumbnail - out/t.png 256 <>stalled",  // it holds the pipe open itself
         "thumbnail: standard input: took too long; no thumbnail written", ""},
        {"\"$BRINDLE_CLI\" thumbnail tall.slp out/t.png 256", "thumbnail: tall.slp: frame 1: row 0: it has more commands than pixels", ""},
    };
    for (const auto& c : cases) {
        const CliResult r = Shell(c.Line);
        EXPECT_TRUE(r.Code == 1 && r.SaysInOneLine(c.Message) && r.Out == c.Out) << c.Line << ": " << r.Code << ", " << r.Out << r.Err;
        EXPECT_TRUE(FilesUnder(dir / "out").empty()) << c.Line;
    }
}

// Tags and file names are anyone's bytes: list and the one-line messages show their control characters
// escaped, a tab inside a column too, and leave the tabs between columns and all else as it was.
TEST_F(CliTest, ControlCharactersAreShownEscaped) {
    ArchiveLayout at;
    WriteFileBytes(dir / "esc.drs", WriteArchive({Flavour::Year1997, {{StoredTag("\x1b[J"), {{1, {1}}}}, {StoredTag("x\ty"), {{2, {2}}}}}}, &at));
    const auto entry = [&](int32_t id, int32_t table) {
        return std::to_string(id) + "\t-1\t" + std::to_string(id) + '\t' + std::to_string(at.DataAt[size_t(table)][0]) + "\t1\n";
    };
    EXPECT_EQ(Run("list esc.drs").Out, "--\\x1b[J (1)--\t0\t0\t0\t0\n" + entry(1, 0) + "--X\\tY (1)--\t0\t0\t0\t0\n" + entry(2, 1));
    EXPECT_TRUE(Run("list --long esc.drs").Out.starts_with("row\ttext\tkind\tid\toffset\tsize\n0\t--\\x1b[J (1)--\theading\t0\t"));
    const CliResult named = Run("list 'a\nb.drs'");
    EXPECT_TRUE(named.SaysInOneLine("brindle-cli: list: a\\nb.drs: No such file or directory")) << named.Err;
}

TEST_F(CliTest, ConvertDoesEverySpriteAndGoesOnPastADamagedOne) {
    for (const std::string jobs : {"1", "2"}) {  // into folders 1 and 2
        const CliResult r = Run("convert sprites.drs " + jobs + " --format sheet --jobs " + jobs);
        EXPECT_TRUE(r.Code == 1 && r.Err.ends_with(": 11 converted, 1 failed\n")) << r.Err;
        EXPECT_NE(r.Err.find("brindle-cli: convert: sprites.drs (ID 105): frame 2: row 2: "), std::string::npos) << r.Err;
    }
    const auto sheets = FilesUnder(dir / "1");  // the BIN table, 01, has no sprites
    EXPECT_TRUE(sheets.size() == 22 && sheets.begin()->first.starts_with("02-SLP/"));
    EXPECT_EQ(sheets, FilesUnder(dir / "2"));
    // Sequences go into a folder a sprite, as the design's BMPs or as PNG.
    Run("convert sprites.drs out --format bmp --table SLP");
    const auto bmps = NamesUnder(dir / "out");
    EXPECT_TRUE(bmps.size() == 33 && bmps.contains("02-SLP/100/100001.bmp") && bmps.contains("02-SLP/111/111003.bmp"));
}

}  // namespace
