// brindle-cli as a user runs it: its commands, entries by ID, and how it speaks.

#include <nlohmann/json.hpp>

#include <map>
#include <regex>
#include <sstream>

#include "CliFixture.h"
#include "colour/Palettes.h"

namespace fs = std::filesystem;
using namespace fixtures;

namespace {

TEST_F(CliTest, ExitCodesTellSuccessFailureAndUsage) {
    EXPECT_EQ(Run("--help").Code, 0);
    EXPECT_EQ(Run("--version").Code, 0);
    EXPECT_EQ(Run("").Code, 2);
    EXPECT_EQ(Run("list").Code, 2);
    EXPECT_EQ(Run("extract a.drs notanumber out").Code, 2);
    const std::string sprite = WriteTestSprite(2);
    EXPECT_EQ(Run("frame '" + sprite + "' 1 out.bmp --mask '#12345'").Code, 2);
    EXPECT_EQ(Run("frame '" + sprite + "' 1 out.bmp --mask red").Code, 2);
    EXPECT_EQ(Run("frame '" + sprite + "' 3 '" + (dir / "f.bmp") + "'").Code, 1);
    EXPECT_EQ(Run("list '" + (dir / "missing.drs") + "'").Code, 1);
}

TEST_F(CliTest, FrameTakesColoursInWebOrder) {
    const CliResult r = Run("frame '" + WriteTestSprite(2) + "' 2 '" + (dir / "f.bmp") + "' --mask '#FF8000'");
    ASSERT_EQ(r.Code, 0) << r.Err;
    const Bytes bmp = ReadFileBytes(dir / "f.bmp");  // 5 x 3, rows of 16 bytes from the bottom up
    ASSERT_EQ(bmp.size(), 54u + 3 * 16);
    EXPECT_EQ(Bytes(bmp.begin() + 54 + 2 * 16, bmp.begin() + 54 + 2 * 16 + 3), (Bytes{0x00, 0x80, 0xFF}));
}

TEST_F(CliTest, ListPrintsRowsWithCatalogueFields) {
    ArchiveLayout layout;
    const CliResult r = Run("list '" + WriteTestArchive(&layout) + "'");
    ASSERT_EQ(r.Code, 0) << r.Err;
    std::istringstream lines(r.Out);
    std::string heading, first;
    std::getline(lines, heading);
    std::getline(lines, first);
    EXPECT_EQ(heading, "--SLP (3)--\t0\t0\t0\t0");
    EXPECT_EQ(first, "5\t1\t5\t" + std::to_string(layout.DataAt[0][0]) + "\t3");
    EXPECT_NE(r.Out.find("\n-7\t1\t-7\t"), std::string::npos);
}

TEST_F(CliTest, ArchiveOfNoKnownFlavourNeedsForce) {
    const std::string archive = WriteTestArchive(nullptr, Flavour::Unknown);
    const CliResult refused = Run("list '" + archive + "'");
    EXPECT_EQ(refused.Code, 1);
    EXPECT_TRUE(refused.SaysInOneLine("brindle-cli: list: test.drs: not a DRS archive (use --force to read it anyway)")) << refused.Err;
    EXPECT_EQ(Run("list --force '" + archive + "'").Code, 0);
}

TEST_F(CliTest, ExtractCopiesOneRowAndRefusesRowsOutsideTheList) {
    const std::string archive = WriteTestArchive();
    EXPECT_EQ(Run("extract '" + archive + "' 2 '" + (dir / "e.slp") + "'").Code, 0);
    EXPECT_EQ(ReadFileBytes(dir / "e.slp"), (Bytes{4, 5}));
    EXPECT_TRUE(Run("extract '" + archive + "' 8 x").SaysInOneLine("has rows 0 to 7; there is no row 8"));
    EXPECT_EQ(Run("extract '" + archive + "' -1 x").Code, 1);
    EXPECT_TRUE(Run("extract '" + archive + "' 12 x").SaysInOneLine("there is no row 12 (for the entry of that ID: --id 12)"));
    // A heading is no entry: refused, and no empty file stands for it.
    EXPECT_TRUE(Run("extract test.drs 0 x").SaysInOneLine("row 0 is the heading of table SLP, not an entry"));
    EXPECT_FALSE(fs::exists(dir / "x"));
}

TEST_F(CliTest, ExtractAllNamesFoldersAndFilesSafely) {
    const CliResult r = Run("extract-all '" + WriteTestArchive() + "' '" + (dir / "out") + "'");
    ASSERT_EQ(r.Code, 0) << r.Err;
    EXPECT_EQ(NamesIn(dir / "out"), (std::set<std::string>{"01-SLP", "02", "03-BIN"}));
    EXPECT_EQ(NamesIn(dir / "out/01-SLP"), (std::set<std::string>{"5.slp", "5-2.slp", "-7.slp"}));
    EXPECT_EQ(ReadFileBytes(dir / "out/01-SLP/5-2.slp"), (Bytes{4, 5}));
    EXPECT_EQ(NamesIn(dir / "out/02"), std::set<std::string>{"9"});
    EXPECT_EQ(NamesIn(dir / "out/03-BIN"), std::set<std::string>{"12.bin"});
    EXPECT_EQ(r.Err, "") << "nothing to say, and no progress line when stderr is a file";

    // One table, by its name in any case.
    ASSERT_EQ(Run("extract-all test.drs only --table Bin").Code, 0);
    EXPECT_EQ(NamesIn(dir / "only"), std::set<std::string>{"03-BIN"});
}

TEST_F(CliTest, PalettePrintsAllColoursAndRefusesOtherFiles) {
    std::vector<uint32_t> colours(256, RGB(10, 20, 30));
    colours[255] = RGB(1, 2, 3);
    WriteFileText(dir / "p.pal", WriteJascPal(colours));
    const CliResult r = Run("palette '" + (dir / "p.pal") + "'");
    ASSERT_EQ(r.Code, 0) << r.Err;
    EXPECT_EQ(std::count(r.Out.begin(), r.Out.end(), '\n'), 256);
    EXPECT_TRUE(r.Out.starts_with("10 20 30\n") && r.Out.ends_with("\n1 2 3\n"));

    WriteFileText(dir / "bad.pal", "JASC-PALX\r\n");
    const CliResult bad = Run("palette '" + (dir / "bad.pal") + "'");
    EXPECT_EQ(bad.Code, 1);
    EXPECT_TRUE(bad.SaysInOneLine("brindle-cli: palette: " + (dir / "bad.pal") + ": Not valid palette file!")) << bad.Err;
    EXPECT_EQ(Run("palette '" + (dir / "none.pal") + "'").Code, 1);
    EXPECT_EQ(Shell("\"$CLI\" palette - < p.pal").Out, r.Out);
}

TEST_F(CliTest, PaletteOptionReadsOtherProgramsPalettesAndNamesTheFormatsItKnows) {
    std::vector<uint32_t> colours(41, RGB(9, 9, 9));
    colours[40] = RGB(200, 100, 50);  // the colour pixel of the test sprite
    WriteFileText(dir / "p.gpl", WriteGimpPal(colours));
    const std::string sprite = WriteTestSprite(1);
    for (const std::string palette : {"p.gpl", "- < p.gpl"}) {
        const CliResult r = Run(std::string("frame ") + sprite + " 1 f.bmp --palette " + palette);
        ASSERT_EQ(r.Code, 0) << r.Err;
        const Bytes bmp = ReadFileBytes(dir / "f.bmp");  // 4 x 3, rows of 12 bytes from the bottom up
        ASSERT_EQ(bmp.size(), 54u + 3 * 12);
        EXPECT_EQ(Bytes(bmp.begin() + 54 + 12 + 3, bmp.begin() + 54 + 12 + 6), (Bytes{50, 100, 200})) << palette;
    }
    const CliResult refused = Run(std::string("frame ") + sprite + " 1 f.bmp --palette " + sprite);
    EXPECT_EQ(refused.Code, 1);
    EXPECT_TRUE(refused.SaysInOneLine(std::string("brindle-cli: frame: walk.slp: Not valid palette file! ").append(KnownPaletteFormats)))
        << refused.Err;
}

TEST_F(CliTest, SequenceNumbersFilesFromTheChosenName) {
    const std::string sprite = WriteTestSprite(3);
    EXPECT_TRUE(Run("info '" + sprite + "'").Out.starts_with("frames 3\n1\t4\t3\t0\t1\t"));
    fs::create_directory(dir / "out");
    const CliResult r = Run("sequence '" + sprite + "' out/walk.bmp");  // relative, as typed
    ASSERT_EQ(r.Code, 0) << r.Err;
    EXPECT_EQ(NamesIn(dir / "out"), (std::set<std::string>{"walk001.bmp", "walk002.bmp", "walk003.bmp"}));
}

// ---- entries by ID --------------------------------------------------------------------------------

TEST_F(CliTest, ExtractByIDAsListShowsIt) {
    // ID 9 stands in two tables, ID 5 twice in one.
    ArchiveFixture shared{Flavour::Year2001, {{StoredTag("slp"), {{5, {1}}, {5, {2}}, {9, {3}}}}, {StoredTag("bin"), {{9, {4, 4}}}}}};
    WriteFileBytes(dir / "shared.drs", WriteArchive(shared));
    WriteTestArchive();

    EXPECT_EQ(Run("extract test.drs --id 12 twelve").Code, 0);
    EXPECT_EQ(ReadFileBytes(dir / "twelve"), (Bytes{7, 8}));
    EXPECT_EQ(Run("extract test.drs --id 12 -").Out, "\x07\x08");
    EXPECT_TRUE(Run("extract test.drs --id 77 x").SaysInOneLine("no entry has ID 77"));
    EXPECT_TRUE(Run("extract shared.drs --id 9 x").SaysInOneLine("ID 9 is in the tables SLP, BIN; choose one with --table"));
    EXPECT_TRUE(Run("extract shared.drs --id 5 x").SaysInOneLine("ID 5 stands 2 times in table SLP; give the row instead (rows 1, 2)"));
    EXPECT_FALSE(fs::exists(dir / "x"));
    EXPECT_EQ(Run("extract shared.drs --id 9 --table bin nine").Code, 0);
    EXPECT_EQ(ReadFileBytes(dir / "nine"), (Bytes{4, 4}));
    EXPECT_TRUE(Run("extract shared.drs --id 9 --table wav x").SaysInOneLine("has no table wav"));

    // Several into a folder, each table's entry under its own name.
    const CliResult several = Run("extract shared.drs --id 9 --id 5 -o picked");
    ASSERT_EQ(several.Code, 0) << several.Err;
    EXPECT_EQ(NamesIn(dir / "picked"), (std::set<std::string>{"9.slp", "9.bin", "5.slp", "5-2.slp"}));
    EXPECT_EQ(ReadFileBytes(dir / "picked/5-2.slp"), Bytes{2});
    EXPECT_EQ(Run("extract shared.drs --id 9 --id 5 x").Code, 2);  // several need a folder
}

TEST_F(CliTest, SpriteCommandsTakeAnEntryOfAnArchive) {
    const Bytes sprite = WriteSprite(TestFrames(2));
    WriteFileBytes(dir / "walk.slp", sprite);
    WriteFileBytes(dir / "a.drs", WriteArchive({Flavour::Year1997, {{StoredTag("slp"), {{300, sprite}}}, {StoredTag("bin"), {{301, {1}}}}}}));
    const CliResult fromFile = Run("info walk.slp");
    EXPECT_EQ(Run("info a.drs --id 300").Out, fromFile.Out);
    EXPECT_EQ(Shell("cat walk.slp | \"$CLI\" info -").Out, fromFile.Out);
    EXPECT_TRUE(Run("info a.drs --id 301").SaysInOneLine("a.drs (ID 301): is not in a table of sprites (SLP)"));

    ASSERT_EQ(Run("frame a.drs --id 300 2 from-archive.bmp").Code, 0);
    ASSERT_EQ(Run("frame walk.slp 2 from-file.bmp").Code, 0);
    EXPECT_EQ(ReadFileBytes(dir / "from-archive.bmp"), ReadFileBytes(dir / "from-file.bmp"));
    EXPECT_EQ(Run("frame walk.slp 2 -").Out, TextOf(dir / "from-file.bmp"));
    ASSERT_EQ(Run("sequence a.drs --id 300 seq.bmp").Code, 0);
    ASSERT_EQ(Run("slx a.drs --id 300 bundle.slx").Code, 0);
    EXPECT_EQ(NamesIn(dir.Path()), (std::set<std::string>{"a.drs", "walk.slp", "from-archive.bmp", "from-file.bmp", "seq001.bmp",
                                                          "seq002.bmp", "bundle.slx", "bundle1c.bmp", "bundle1d.bmp",
                                                          "bundle2c.bmp", "bundle2d.bmp"}));
}

TEST_F(CliTest, ListLongNamesRowsAndKinds) {
    WriteTestArchive();
    const CliResult r = Run("list --long test.drs");
    ASSERT_EQ(r.Code, 0) << r.Err;
    EXPECT_TRUE(r.Out.starts_with("row\ttext\tkind\tid\toffset\tsize\n0\t--SLP (3)--\theading\t0\t0\t0\n1\t5\tslp\t5\t"));
    EXPECT_NE(r.Out.find("\n5\t9\tother\t9\t"), std::string::npos);
    EXPECT_NE(r.Out.find("\n7\t12\tbin\t12\t"), std::string::npos);
    EXPECT_EQ(Shell("cat test.drs | \"$CLI\" list -").Out, Run("list test.drs").Out);
}

// ---- how it speaks ---------------------------------------------------------------------------------

TEST_F(CliTest, EveryMessageIsOneLineNamingCommandFileAndReason) {
    WriteTestArchive();
    WriteFileText(dir / "text.txt", "not an archive at all, not at all");
    fs::create_directory(dir / "folder");
    const std::pair<std::string, std::string> cases[] = {
        {"foo", "brindle-cli: foo: unknown command; the commands are list, extract, extract-all, info, frame, sequence, slx, palette"},
        {"", "brindle-cli: no command given"},
        {"list folder", "brindle-cli: list: folder: Is a directory"},
        {"list missing.drs", "brindle-cli: list: missing.drs: No such file or directory"},
        {"list text.txt", "brindle-cli: list: text.txt: not a DRS archive (use --force to read it anyway)"},
        {"extract test.drs 2 folder", "brindle-cli: extract: folder: Is a directory"},
        {"extract test.drs 2 no/such/folder/x", "brindle-cli: extract: no/such/folder/x: No such file or directory"},
        {"list test.drs --wide", "brindle-cli: list: The following argument was not expected: --wide (see brindle-cli list --help)"},
        {"info text.txt", "brindle-cli: info: text.txt: claims "},
    };
    for (const auto& [arguments, message] : cases) {
        SCOPED_TRACE(arguments);
        const CliResult r = Run(arguments);
        EXPECT_NE(r.Code, 0);
        EXPECT_TRUE(r.SaysInOneLine(message)) << r.Err;
    }
    EXPECT_EQ(Run("-V").Out, Run("--version").Out);
    EXPECT_TRUE(Run("-V").Out.starts_with("brindle-cli "));
    for (const char* command : {"list", "extract", "extract-all", "info", "frame", "sequence", "slx", "palette"})
        EXPECT_NE(Run(std::string(command) + " --help").Out.find("Example"), std::string::npos) << command;

    // Output that can't be written is a failure too.
    const CliResult full = Run("list test.drs > /dev/full");
    EXPECT_EQ(full.Code, 1);
    EXPECT_TRUE(full.SaysInOneLine("brindle-cli: list: standard output: No space left on device")) << full.Err;
}

TEST_F(CliTest, InfoDecodesEveryFrameAndNamesTheDamaged) {
    const CliResult r = Run("info " + WriteDamagedSprite());
    EXPECT_EQ(r.Code, 1);
    EXPECT_TRUE(r.Out.starts_with("frames 3\n"));  // the table, as for a whole sprite
    EXPECT_TRUE(r.SaysInOneLine("brindle-cli: info: damaged.slp: frame 2: row 2: a player colour lies past the end of the palette")) << r.Err;

    // A sprite cut in half: its table is whole, its rows are not.
    Art big(60, 40);
    for (ArtPixel& pixel : big.Pixels) pixel = {Layer::Colour, 40};
    const Bytes whole = WriteSprite({EncodeFrame(big), EncodeFrame(big), EncodeFrame(big)});
    WriteFileBytes(dir / "half.slp", Bytes(whole.begin(), whole.begin() + long(whole.size() / 2)));
    const CliResult half = Run("info half.slp");
    EXPECT_EQ(half.Code, 1);
    EXPECT_NE(half.Err.find("frame 3: "), std::string::npos) << half.Err;
    EXPECT_EQ(Run("info " + WriteTestSprite(3)).Err, "");
}

}  // namespace

// ---- today's formats -------------------------------------------------------------------------------

namespace {

TEST_F(CliTest, ExportWritesEachFormatUnderItsNames) {
    WriteTestSprite(3);
    const std::pair<std::string, std::set<std::string>> cases[] = {
        {"export walk.slp out/walk.png --format png", {"walk001.png", "walk002.png", "walk003.png"}},
        {"export walk.slp out/one.png --format png --frame 2", {"one.png"}},
        {"export walk.slp out/walk.gif --format gif --fps 5", {"walk.gif"}},
        {"export walk.slp out/walk.apng --format apng", {"walk.apng"}},
        {"export walk.slp out/sheet.png --format sheet --outlines --shadow-alpha 0", {"sheet.png", "sheet.json"}},
    };
    for (const auto& [arguments, names] : cases) {
        SCOPED_TRACE(arguments);
        std::filesystem::remove_all(dir / "out");
        std::filesystem::create_directory(dir / "out");
        const CliResult r = Run(arguments);
        EXPECT_EQ(r.Code, 0) << r.Err;
        EXPECT_EQ(NamesIn(dir / "out"), names);
    }
    EXPECT_TRUE(Run("export walk.slp - --format gif").Out.starts_with("GIF89a"));
    EXPECT_EQ(Run("export walk.slp - --format png").Code, 2);  // a sequence can't go to standard output
    EXPECT_EQ(Run("export walk.slp x.gif --format gif --frame 2").Code, 2);
    EXPECT_EQ(Run("export walk.slp x.gif --format tiff").Code, 2);

    // A damaged sprite writes nothing at all.
    const CliResult damaged = Run("export " + WriteDamagedSprite() + " out/d.png --format sheet");
    EXPECT_TRUE(damaged.SaysInOneLine("brindle-cli: export: damaged.slp: frame 2: row 2: ")) << damaged.Err;
    EXPECT_FALSE(std::filesystem::exists(dir / "out/d.png") || std::filesystem::exists(dir / "out/d.json"));
}

TEST_F(CliTest, ConvertDoesEverySpriteAndGoesOnPastADamagedOne) {
    const Bytes good = WriteSprite(TestFrames(2));
    WriteDamagedSprite();
    std::vector<EntryFixture> sprites;
    for (int32_t id = 100; id < 112; ++id) sprites.push_back({id, id == 105 ? ReadFileBytes(dir / "damaged.slp") : good});
    WriteFileBytes(dir / "many.drs", WriteArchive({Flavour::Year2001, {{StoredTag("slp"), sprites}, {StoredTag("bin"), {{1, {1}}}}}}));

    const CliResult one = Run("convert many.drs one --format sheet --jobs 1");
    const CliResult two = Run("convert many.drs two --format sheet --jobs 2");
    for (const CliResult& r : {one, two}) {
        EXPECT_EQ(r.Code, 1);
        EXPECT_NE(r.Err.find("brindle-cli: convert: many.drs (ID 105): frame 2: row 2: "), std::string::npos) << r.Err;
        EXPECT_TRUE(r.Err.ends_with(": 11 converted, 1 failed\n")) << r.Err;
    }
    EXPECT_EQ(NamesIn(dir / "one"), std::set<std::string>{"01-SLP"});  // the BIN table has no sprites
    EXPECT_EQ(NamesIn(dir / "one/01-SLP").size(), 22u);
    EXPECT_FALSE(std::filesystem::exists(dir / "one/01-SLP/105.png"));
    for (const std::string& name : NamesIn(dir / "one/01-SLP"))
        EXPECT_EQ(ReadFileBytes(dir / ("one/01-SLP/" + name)), ReadFileBytes(dir / ("two/01-SLP/" + name))) << name;

    // Sequences go into a folder a sprite, as the design's BMPs or as PNG.
    ASSERT_EQ(Run("convert many.drs bmp --format bmp --table SLP").Code, 1);
    EXPECT_EQ(NamesIn(dir / "bmp/01-SLP/100"), (std::set<std::string>{"100001.bmp", "100002.bmp"}));
    EXPECT_FALSE(std::filesystem::exists(dir / "bmp/01-SLP/105/105001.bmp"));
}

}  // namespace

// ---- team colours ------------------------------------------------------------------------------------

namespace {

// Every file under folder, by its path inside it.
std::map<std::string, Bytes> FilesUnder(const std::string& folder) {
    std::map<std::string, Bytes> files;
    for (const auto& item : fs::recursive_directory_iterator(folder))
        if (item.is_regular_file()) files[fs::relative(item.path(), folder).string()] = ReadFileBytes(item.path().string());
    return files;
}

TEST_F(CliTest, PlayerRedrawsOnlyThePlayerPixelsOfEveryExport) {
    // A colour pixel, player bytes 2 and 5, a shadow; a palette of distinct colours, index i = (i, 7, 255 - i).
    Art art(4, 1);
    art.Pixels = {{Layer::Colour, 40}, {Layer::Player, 2}, {Layer::Player, 5}, {Layer::Shadow, 0}};
    const Bytes sprite = WriteSprite({EncodeFrame(art)});
    WriteFileBytes(dir / "team.slp", sprite);
    WriteFileBytes(dir / "team.drs", WriteArchive({Flavour::Year2001, {{StoredTag("slp"), {{1, sprite}}}}}));
    std::vector<uint32_t> colours;
    for (int i = 0; i < 256; ++i) colours.push_back(RGB(i, 7, 255 - i));
    WriteFileText(dir / "p.pal", WriteJascPal(colours));

    const std::string commands[] = {
        "frame team.slp 1 OUT/f.bmp --palette p.pal", "sequence team.slp OUT/s.bmp", "slx team.slp OUT/x.slx",
        "export team.slp OUT/p.png --format png",     "export team.slp OUT/a.png --format apng",
        "export team.slp OUT/g.gif --format gif",     "export team.slp OUT/s.png --format sheet",
        "convert team.drs OUT --format png",          "convert team.drs OUT --format bmp",
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
    fs::create_directory(dir / "f");
    ASSERT_EQ(Run("frame team.slp 1 f/1.bmp --palette p.pal").Code, 0);
    ASSERT_EQ(Run("frame team.slp 1 f/3.bmp --palette p.pal --player 3").Code, 0);
    Bytes want = ReadFileBytes(dir / "f/1.bmp");  // one row of blue, green, red from byte 54
    for (const auto& [x, index] : {std::pair{1, 50}, std::pair{2, 53}})
        std::copy_n(Bytes{uint8_t(255 - index), 7, uint8_t(index)}.begin(), 3, want.begin() + 54 + 3 * x);
    EXPECT_EQ(ReadFileBytes(dir / "f/3.bmp"), want);

    for (const char* arguments : {"frame team.slp 1 x.bmp --player 9", "frame team.slp 1 x.bmp --player 0",
                                  "export team.slp x.png --format png --player 9"}) {
        const CliResult r = Run(arguments);
        EXPECT_EQ(r.Code, 2) << arguments;
        EXPECT_TRUE(r.SaysInOneLine("--player: Value ")) << r.Err;
    }
}

TEST_F(CliTest, PlayersLaysOutASheetRowForEachTeam) {
    WriteTestSprite(2);  // 4 x 3 and 5 x 3
    const CliResult r = Run("export walk.slp teams.png --format sheet --players");
    ASSERT_EQ(r.Code, 0) << r.Err;
    const auto json = nlohmann::json::parse(TextOf(dir / "teams.json"));
    EXPECT_EQ(json["meta"]["size"], (nlohmann::json{{"w", 9}, {"h", 24}}));
    std::vector<std::string> names;
    for (const auto& frame : json["frames"]) names.push_back(frame["filename"]);
    ASSERT_EQ(names.size(), 16u);
    EXPECT_EQ(std::vector(names.begin(), names.begin() + 3), (std::vector<std::string>{"teams_p1_001", "teams_p1_002", "teams_p2_001"}));
    EXPECT_EQ(names.back(), "teams_p8_002");
    EXPECT_EQ(json["frames"][15]["frame"], (nlohmann::json{{"x", 4}, {"y", 21}, {"w", 5}, {"h", 3}}));

    const CliResult png = Run("export walk.slp teams.png --format png --players");
    EXPECT_EQ(png.Code, 2);
    EXPECT_TRUE(png.SaysInOneLine("brindle-cli: export: --players goes with --format sheet")) << png.Err;
    EXPECT_EQ(Run("export walk.slp teams.png --format sheet --players --player 2").Code, 2);
}

}  // namespace

// ---- thumbnails and JSON ---------------------------------------------------------------------------

namespace {

// The width and height in a PNG file's header.
std::pair<int, int> PngSize(const Bytes& png) {
    if (png.size() < 24 || png[1] != 'P' || png[2] != 'N' || png[3] != 'G') return {0, 0};
    auto at = [&](size_t i) { return int(png[i]) << 24 | int(png[i + 1]) << 16 | int(png[i + 2]) << 8 | int(png[i + 3]); };
    return {at(16), at(20)};
}

TEST_F(CliTest, ThumbnailsScaleByWholeFactorsAndShrinkToFit) {
    WriteTestSprite(2);  // frame 1 is 4 x 3
    const Bytes sprite = ReadFileBytes(dir / "walk.slp");
    WriteFileBytes(dir / "a.drs", WriteArchive({Flavour::Year1997, {{StoredTag("bin"), {{1, {1, 2}}}}, {StoredTag("slp"), {{7, sprite}}}}}));
    WriteFileBytes(dir / "none.drs", WriteArchive({Flavour::Year1997, {{StoredTag("bin"), {{1, {1, 2}}}}}}));
    Art big(300, 150);
    WriteFileBytes(dir / "big.slp", WriteSprite({EncodeFrame(big)}));
    const std::tuple<std::string, int, std::pair<int, int>> cases[] = {
        {"walk.slp", 128, {128, 96}},  // 32 times
        {"walk.slp", 10, {8, 6}},      // twice: 3 times would not fit
        {"a.drs", 64, {64, 48}},       // the archive's first sprite
        {"big.slp", 128, {128, 64}},   // shrunk to fit
    };
    for (const auto& [input, size, expected] : cases) {
        SCOPED_TRACE(input + " " + std::to_string(size));
        const CliResult r = Run("thumbnail " + input + " t.png " + std::to_string(size));
        EXPECT_EQ(r.Code, 0) << r.Err;
        EXPECT_EQ(PngSize(ReadFileBytes(dir / "t.png")), expected);
    }
    const CliResult none = Run("thumbnail none.drs n.png 64");
    EXPECT_TRUE(none.SaysInOneLine("brindle-cli: thumbnail: none.drs: holds no sprite")) << none.Err;
    EXPECT_FALSE(std::filesystem::exists(dir / "n.png"));
    EXPECT_EQ(Run("thumbnail walk.slp t.png 0").Code, 2);
}

TEST_F(CliTest, JsonSaysWhatTheTextSays) {
    WriteTestArchive();
    const auto list = nlohmann::json::parse(Run("list test.drs --json").Out);
    ASSERT_EQ(list["rows"].size(), 8u);
    EXPECT_EQ(list["rows"][2], (nlohmann::json{{"row", 2}, {"text", "5"}, {"kind", "slp"}, {"id", 5}, {"offset", list["rows"][2]["offset"]}, {"size", 2}}));
    EXPECT_TRUE(list["rows"][2]["offset"].is_number());
    EXPECT_EQ(list["rows"][4]["kind"], "heading");
    EXPECT_EQ(list["rows"][5]["kind"], "other");

    WriteDamagedSprite();
    const CliResult info = Run("info damaged.slp --json");
    EXPECT_EQ(info.Code, 1);
    const auto sprite = nlohmann::json::parse(info.Out);
    ASSERT_EQ(sprite["frames"].size(), 3u);
    EXPECT_EQ(sprite["frames"][1]["width"], 5);
    EXPECT_EQ(sprite["frames"][1]["hotspot"], (nlohmann::json{{"x", 1}, {"y", 1}}));
    EXPECT_EQ(sprite["damaged"][0]["frame"], 2);
}

}  // namespace
