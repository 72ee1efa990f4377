// brindle-cli as a user runs it: what its commands write when they succeed.

#include <nlohmann/json.hpp>

#include <regex>
#include <tuple>

#include "CliFixture.h"

namespace fs = std::filesystem;
using namespace fixtures;
using nlohmann::json;

namespace {

TEST_F(CliTest, HelpAndVersionGoToStandardOutput) {
    EXPECT_EQ(Run("--help").Code, 0);
    EXPECT_TRUE(Run("-V").Out.starts_with("brindle-cli "));
    EXPECT_EQ(Run("--version").Out, Run("-V").Out);
    for (const char* command : {"list", "extract", "extract-all", "info", "frame", "sequence", "slx", "palette"})
        EXPECT_NE(Run(std::string(command) + " --help").Out.find("Example"), std::string::npos) << command;
}

TEST_F(CliTest, ListShowsEveryRowAsTextLongOrJson) {
    const std::string plain = Run("list test.drs").Out;
    EXPECT_TRUE(plain.starts_with("--SLP (3)--\t0\t0\t0\t0\n5\t1\t5\t" + std::to_string(layout.DataAt[0][0]) + "\t3\n")) << plain;
    EXPECT_EQ(Shell("cat test.drs | \"$BRINDLE_CLI\" list -").Out, plain);

    const std::string wide = Run("list --long test.drs").Out;
    EXPECT_TRUE(wide.starts_with("row\ttext\tkind\tid\toffset\tsize\n0\t--SLP (3)--\theading\t0\t0\t0\n1\t5\tslp\t5\t")) << wide;
    EXPECT_NE(wide.find("\n7\t12\tbin\t12\t"), std::string::npos);

    const json rows = json::parse(Run("list test.drs --json").Out)["rows"];
    ASSERT_EQ(rows.size(), 8u);
    EXPECT_EQ(rows[2], (json{{"row", 2}, {"text", "5"}, {"kind", "slp"}, {"id", 5}, {"offset", layout.DataAt[0][1]}, {"size", 2}}));
    EXPECT_EQ(rows[5]["kind"], "other");
}

TEST_F(CliTest, ExtractCopiesEntriesByRowByIDOrAll) {
    EXPECT_EQ(Run("extract test.drs 2 -").Out, "\x04\x05");
    EXPECT_EQ(Run("extract test.drs --id 12 -").Out, "\x07\x08");
    EXPECT_EQ(Run("extract shared.drs --id 9 --table bin -").Out, "\x04\x04");

    // Several, or all, into folders: one a table, its name safe, files named by ID and kind.
    Run("extract test.drs --id 5 --id 9 --id 12 -o picked");
    EXPECT_EQ(FilesUnder(dir / "picked"), (std::map<std::string, Bytes>{{"5.slp", {1, 2, 3}}, {"5-2.slp", {4, 5}}, {"9", {6}}, {"12.bin", {7, 8}}}));
    EXPECT_EQ(Run("extract-all test.drs all").Err, "") << "nothing to say, and no progress line when stderr is a file";
    EXPECT_EQ(FilesUnder(dir / "all"), (std::map<std::string, Bytes>{{"01-SLP/5.slp", {1, 2, 3}}, {"01-SLP/5-2.slp", {4, 5}},
                                                                   {"01-SLP/-7.slp", {}}, {"02/9", {6}}, {"03-BIN/12.bin", {7, 8}}}));
    Run("extract-all test.drs only --table Bin");  // one table, by its name in any case
    EXPECT_EQ(NamesIn(dir / "only"), std::set<std::string>{"03-BIN"});
}

TEST_F(CliTest, PalettesOfAnyKnownFormatAreReadFromFileOrStandardInput) {
    std::string printed;
    for (int i = 0; i < 256; ++i) printed += std::to_string(i) + " 7 " + std::to_string(255 - i) + "\n";
    EXPECT_EQ(Run("palette p.pal").Out, printed);
    WriteFileText(dir / "p.gpl", WriteGimpPal(colours));
    EXPECT_EQ(Shell("\"$BRINDLE_CLI\" palette - < p.gpl").Out, printed);

    Run("frame walk.slp 1 f.bmp --palette - < p.gpl");
    const Bytes bmp = ReadFileBytes(dir / "f.bmp");  // 4 x 3, rows of 12 bytes from the bottom up
    ASSERT_EQ(bmp.size(), 54u + 3 * 12);
    EXPECT_EQ(Bytes(bmp.begin() + 54 + 12 + 3, bmp.begin() + 54 + 12 + 6), (Bytes{215, 7, 40}));  // the colour pixel: index 40
}

TEST_F(CliTest, SpriteCommandsReadAFileAnEntryOfAnArchiveOrStandardInput) {
    const CliResult info = Run("info walk.slp");
    EXPECT_TRUE(info.Out.starts_with("frames 3\n1\t4\t3\t0\t1\t")) << info.Out;
    EXPECT_EQ(info.Err, "");
    EXPECT_EQ(Run("info sprites.drs --id 100").Out, info.Out);
    EXPECT_EQ(Shell("cat walk.slp | \"$BRINDLE_CLI\" info -").Out, info.Out);

    Run("frame walk.slp 2 f.bmp --mask '#FF8000'");
    const Bytes bmp = ReadFileBytes(dir / "f.bmp");  // 5 x 3, rows of 16 bytes from the bottom up
    ASSERT_EQ(bmp.size(), 54u + 3 * 16);
    EXPECT_EQ(Bytes(bmp.begin() + 54 + 2 * 16, bmp.begin() + 54 + 2 * 16 + 3), (Bytes{0x00, 0x80, 0xFF}));  // in web order
    EXPECT_EQ(Run("frame sprites.drs --id 100 2 - --mask '#FF8000'").Out, TextOf(dir / "f.bmp"));

    fs::create_directory(dir / "out");
    Run("sequence walk.slp out/walk.bmp");  // relative, as typed
    Run("slx sprites.drs --id 100 out/bundle.slx");
    EXPECT_EQ(NamesIn(dir / "out"), (std::set<std::string>{"walk001.bmp", "walk002.bmp", "walk003.bmp", "bundle.slx", "bundle1c.bmp",
                                                           "bundle1d.bmp", "bundle2c.bmp", "bundle2d.bmp", "bundle3c.bmp", "bundle3d.bmp"}));
    // Every frame is decoded: a damaged one is named, and the table still shows.
    const json sprite = json::parse(Run("info damaged.slp --json").Out);
    ASSERT_EQ(sprite["frames"].size(), 3u);
    EXPECT_EQ(sprite["frames"][1]["width"], 5);
    EXPECT_EQ(sprite["frames"][1]["hotspot"], (json{{"x", 1}, {"y", 1}}));
    EXPECT_EQ(sprite["damaged"][0]["frame"], 2);
}

TEST_F(CliTest, ExportWritesEachFormatUnderItsNames) {
    const std::pair<std::string, std::set<std::string>> cases[] = {
        {"export walk.slp out/walk.png --format png", {"walk001.png", "walk002.png", "walk003.png"}},
        {"export walk.slp out/one.png --format png --frame 2", {"one.png"}},
        {"export walk.slp out/walk.gif --format gif --fps 5", {"walk.gif"}},
        {"export walk.slp out/walk.apng --format apng", {"walk.apng"}},
        {"export walk.slp out/sheet.png --format sheet --outlines --shadow-alpha 0", {"sheet.png", "sheet.json"}},
    };
    for (const auto& [arguments, names] : cases) {
        fs::remove_all(dir / "out");
        fs::create_directory(dir / "out");
        const CliResult r = Run(arguments);
        EXPECT_EQ(NamesIn(dir / "out"), names) << arguments << ": " << r.Err;
    }
    EXPECT_TRUE(Run("export walk.slp - --format gif").Out.starts_with("GIF89a"));

    // With --players, a row of the frames for each team.
    Run("export walk.slp teams.png --format sheet --players");  // frames of 4, 5 and 6 by 3
    const json sheet = json::parse(TextOf(dir / "teams.json"));
    EXPECT_EQ(sheet["meta"]["size"], (json{{"w", 15}, {"h", 24}}));
    std::vector<std::string> names;
    for (const auto& frame : sheet["frames"]) names.push_back(frame["filename"]);
    ASSERT_EQ(names.size(), 24u);
    EXPECT_EQ(std::vector(names.begin() + 2, names.begin() + 4), (std::vector<std::string>{"teams_p1_003", "teams_p2_001"}));
    EXPECT_EQ(names.back(), "teams_p8_003");
    EXPECT_EQ(sheet["frames"][23]["frame"], (json{{"x", 9}, {"y", 21}, {"w", 6}, {"h", 3}}));
}

TEST_F(CliTest, ConvertDoesEverySpriteAndGoesOnPastADamagedOne) {
    for (const std::string jobs : {"1", "2"}) {  // into folders 1 and 2
        const CliResult r = Run("convert sprites.drs " + jobs + " --format sheet --jobs " + jobs);
        EXPECT_EQ(r.Code, 1);
        EXPECT_NE(r.Err.find("brindle-cli: convert: sprites.drs (ID 105): frame 2: row 2: "), std::string::npos) << r.Err;
        EXPECT_TRUE(r.Err.ends_with(": 11 converted, 1 failed\n")) << r.Err;
    }
    EXPECT_EQ(NamesIn(dir / "1"), std::set<std::string>{"02-SLP"});  // the BIN table has no sprites
    EXPECT_EQ(NamesIn(dir / "1/02-SLP").size(), 22u);
    EXPECT_EQ(FilesUnder(dir / "1"), FilesUnder(dir / "2"));

    // Sequences go into a folder a sprite, as the design's BMPs or as PNG.
    Run("convert sprites.drs bmp --format bmp --table SLP");
    EXPECT_EQ(NamesIn(dir / "bmp/02-SLP/100"), (std::set<std::string>{"100001.bmp", "100002.bmp", "100003.bmp"}));
    EXPECT_FALSE(fs::exists(dir / "bmp/02-SLP/105/105001.bmp"));
}

TEST_F(CliTest, PlayerRedrawsOnlyThePlayerPixelsOfEveryExport) {
    // A colour pixel, player bytes 2 and 5, a shadow.
    Art art(4, 1);
    art.Pixels = {{Layer::Colour, 40}, {Layer::Player, 2}, {Layer::Player, 5}, {Layer::Shadow, 0}};
    const Bytes sprite = WriteSprite({EncodeFrame(art)});
    WriteFileBytes(dir / "team.slp", sprite);
    WriteFileBytes(dir / "team.drs", WriteArchive({Flavour::Year2001, {{StoredTag("slp"), {{1, sprite}}}}}));

    const std::string commands[] = {
        "sequence team.slp OUT/s.bmp",            "slx team.slp OUT/x.slx",
        "export team.slp OUT/p.png --format png", "export team.slp OUT/a.png --format apng",
        "export team.slp OUT/g.gif --format gif", "export team.slp OUT/s.png --format sheet",
        "convert team.drs OUT --format png",      "convert team.drs OUT --format bmp",
        "frame team.slp 1 OUT/f.bmp --palette p.pal",  // last: its files are read below
    };
    for (const std::string& command : commands) {
        SCOPED_TRACE(command);
        for (const std::string out : {"none", "one", "three"}) {
            fs::remove_all(dir / out);
            fs::create_directory(dir / out);
            const std::string option = out == "none" ? "" : out == "one" ? " --player 1" : " --player 3";
            const CliResult r = Run(std::regex_replace(command, std::regex("OUT"), out) + option);
            ASSERT_EQ(r.Code, 0) << r.Err;
        }
        EXPECT_EQ(FilesUnder(dir / "none"), FilesUnder(dir / "one"));
        EXPECT_NE(FilesUnder(dir / "none"), FilesUnder(dir / "three"));
    }

    // The frame of player 3: bytes 2 and 5 in palette[50] and palette[53], every other byte as before.
    Bytes want = ReadFileBytes(dir / "none/f.bmp");  // one row of blue, green, red from byte 54
    for (const auto& [x, index] : {std::pair{1, 50}, std::pair{2, 53}})
        std::copy_n(Bytes{uint8_t(255 - index), 7, uint8_t(index)}.begin(), 3, want.begin() + 54 + 3 * x);
    EXPECT_EQ(ReadFileBytes(dir / "three/f.bmp"), want);
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
