// When brindle-cli fails it says why in one line, and it never harms a file it wasn't aimed at: not its
// inputs by whatever name or link, not what stands under a name when a command fails.

#include "CliFixture.h"

using namespace fixtures;
namespace fs = std::filesystem;

namespace {

TEST_F(CliTest, AFailureSaysWhyInOneLineAndLeavesEveryFileAsItWas) {
    WriteFileBytes(dir / "unknown.drs", WriteArchive({Flavour::Unknown, {{StoredTag("bin"), {{1, {1}}}}}}));
    WriteFileBytes(dir / "none.drs", WriteArchive({Flavour::Year1997, {{StoredTag("bin"), {{1, {1}}}}}}));
    const Bytes archive = ReadFileBytes(dir / "test.drs");
    WriteFileBytes(dir / "cut.drs", std::span(archive).first(archive.size() - 1));  // its last entry, ID 12, runs past the end
    WriteFileBytes(dir / "12.bin", archive);  // an archive under the name of its entry's file
    fs::copy_file(dir / "walk.slp", dir / "w002.bmp");  // a sprite under the name of a sequence's second file
    WriteFileText(dir / "entry.bin", "before");
    fs::create_directory(dir / "folder");
    fs::create_symlink("../walk.slp", dir / "folder/l.slp");
    const auto before = FilesUnder(dir.Path());
    const std::string input = ": is one of the input files; nothing written";
    const std::tuple<std::string, int, std::string> cases[] = {
        // The command line.
        {"", 2, "brindle-cli: no command given"}, {"extract test.drs --id 5 --id 12 x", 2, "several IDs go into a folder"},
        {"foo", 2, "brindle-cli: foo: unknown command; the commands are list, extract, extract-all, info, frame, sequence, slx, palette"},
        {"list test.drs --wide", 2, "brindle-cli: list: The following argument was not expected: --wide (see brindle-cli list --help)"},
        {"extract test.drs notanumber x", 2, "brindle-cli: extract: ROW is a number from the list, not notanumber (see brindle-cli extract --help)"},
        {"frame walk.slp 1 x --mask red", 2, "is written #RRGGBB"}, {"frame walk.slp 1 x --player 9", 2, "--player: Value "},
        {"export walk.slp - --format png", 2, "this format writes several files: give a name, not -"},
        {"export walk.slp x.gif --format gif --frame 2", 2, "brindle-cli: export: --frame goes with --format png"},
        // Inputs that can't be read, and entries that aren't there.
        {"list folder", 1, "list: folder: Is a directory"}, {"list missing.drs", 1, "missing.drs: No such file or directory"},
        {"list unknown.drs", 1, "brindle-cli: list: unknown.drs: not a DRS archive (use --force to read it anyway)"},
        {"extract test.drs 12 x", 1, "test.drs: has rows 0 to 7; there is no row 12 (for the entry of that ID: --id 12)"},
        {"info test.drs", 1, "test.drs: claims "}, {"extract test.drs --id 77 x", 1, "no entry has ID 77"},
        {"extract test.drs --id 5 x", 1, "ID 5 stands 2 times in table SLP; give the row instead (rows 1, 2)"},
        {"extract shared.drs --id 9 x", 1, "ID 9 is in the tables SLP, BIN; choose one with --table"},
        {"extract test.drs 0 x", 1, "is the heading of table SLP"}, {"extract test.drs --id 9 --table wav x", 1, "no table wav"},
        {"extract cut.drs 7 entry.bin", 1, "entry.bin: ID 12: the entry runs past the end of the archive"},
        {"info sprites.drs --id 1", 1, "brindle-cli: info: sprites.drs (ID 1): is not in a table of sprites (SLP)"},
        {"frame walk.slp 4 x", 1, "has frames 1 to 3"}, {"thumbnail none.drs x 64", 1, "none.drs: holds no sprite"},
        {"frame walk.slp 1 x --palette walk.slp", 1, "walk.slp: Not valid palette file! " + std::string(KnownPaletteFormats)},
        // Damaged frames.
        {"info damaged.slp", 1, "brindle-cli: info: damaged.slp: frame 2: row 2: a player colour lies past the end"},
        {"frame damaged.slp 2 entry.bin", 1, "frame 2: row 2: "}, {"sequence damaged.slp w.bmp", 1, "frame 2: row 2: "},
        {"export damaged.slp x.png --format sheet", 1, "brindle-cli: export: damaged.slp: frame 2: row 2: "},
        // Outputs that can't be written, or are inputs by whatever name or link.
        {"extract test.drs 2 folder", 1, "folder: Is a directory"}, {"extract test.drs 2 no/x", 1, "no/x: No such file"},
        {"list test.drs > /dev/full", 1, "brindle-cli: list: standard output: No space left on device"},
        {"frame walk.slp 1 folder/l.slp", 1, "folder/l.slp" + input}, {"extract 12.bin --id 12 -o .", 1, "./12.bin" + input},
        {"frame walk.slp 1 p.pal --palette p.pal", 1, "p.pal" + input}, {"sequence w002.bmp w.bmp", 1, "w002.bmp" + input},
        {"thumbnail walk.slp folder/l.slp 64", 1, "folder/l.slp" + input},
    };
    for (const auto& [arguments, code, message] : cases) {
        const CliResult r = Run(arguments);
        EXPECT_TRUE(r.Code == code && r.SaysInOneLine(message)) << arguments << ": " << r.Code << ", " << r.Err;
    }
    EXPECT_EQ(FilesUnder(dir.Path()), before);  // nothing written, nothing replaced, no temporary file left
    EXPECT_TRUE(Run("list --force unknown.drs").Out.starts_with("--BIN (1)--\t"));

    // With --keep-going the frames are all written, the damaged one too, and the bundle names them.
    const CliResult kept = Run("slx damaged.slp --keep-going bundle.slx");
    EXPECT_TRUE(kept.Code == 1 && kept.Err.ends_with("7 files written, 0 failed\n")) << kept.Err;
    EXPECT_NE(ReadFileText(dir / "bundle.slx").find("bundle2c.bmp"), std::string::npos);
    // extract-all goes on by default and says what failed; told to stop, it takes back what it wrote.
    const CliResult all = Run("extract-all cut.drs out");
    EXPECT_TRUE(all.Code == 1 && all.Err.ends_with("4 entries written or kept, 1 failed\n")) << all.Err;
    EXPECT_TRUE(fs::exists(dir / "out/01-SLP/5.slp"));
    EXPECT_TRUE(Run("extract-all cut.drs stopped --no-keep-going").Code == 1 && FilesUnder(dir / "stopped").empty());
}

}  // namespace
