// When brindle-cli fails it says why in one line, and it never harms a file it wasn't aimed at: not its
// inputs, not what stands under a name when a command fails, not a link or a device it writes through.

#include <sys/stat.h>

#include <tuple>

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
    fs::copy_file(dir / "walk.slp", dir / "walk002.bmp");  // a sprite under the name of a sequence's second file
    for (const char* name : {"entry.bin", "frame.bmp", "bundle.slx"}) WriteFileText(dir / name, "before");
    fs::create_directory(dir / "folder");
    fs::create_symlink("../walk.slp", dir / "folder/link.slp");
    const auto before = FilesUnder(dir.Path());
    const std::string input = ": is one of the input files; nothing written";
    const std::tuple<std::string, int, std::string> cases[] = {
        // The command line.
        {"", 2, "brindle-cli: no command given"},
        {"foo", 2, "brindle-cli: foo: unknown command; the commands are list, extract, extract-all, info, frame, sequence, slx, palette"},
        {"list test.drs --wide", 2, "brindle-cli: list: The following argument was not expected: --wide (see brindle-cli list --help)"},
        {"extract test.drs notanumber x", 2, "brindle-cli: extract: ROW is a number from the list, not notanumber (see brindle-cli extract --help)"},
        {"extract test.drs --id 5 --id 12 x", 2, "several IDs go into a folder: -o DIR"},
        {"frame walk.slp 1 x --mask '#12345'", 2, "a colour is written #RRGGBB"},
        {"frame walk.slp 1 x --player 9", 2, "--player: Value "}, {"frame walk.slp 1 x --player 0", 2, "--player: Value "},
        {"export walk.slp - --format png", 2, "this format writes several files: give a name, not -"},
        {"export walk.slp x.gif --format gif --frame 2", 2, "brindle-cli: export: --frame goes with --format png"},
        {"export walk.slp x.gif --format tiff", 2, "--format: tiff not in {png,apng,gif,sheet}"},
        {"export walk.slp x.png --format png --players", 2, "brindle-cli: export: --players goes with --format sheet"},
        {"export walk.slp x.png --format sheet --players --player 2", 2, "--player excludes --players"},
        {"thumbnail walk.slp x.png 0", 2, "SIZE: Value 0 not in range"}, {"list", 2, "brindle-cli: list: ARCHIVE is required"},
        // Inputs that can't be read, and entries that aren't there.
        {"list folder", 1, "brindle-cli: list: folder: Is a directory"},
        {"list missing.drs", 1, "brindle-cli: list: missing.drs: No such file or directory"},
        {"list unknown.drs", 1, "brindle-cli: list: unknown.drs: not a DRS archive (use --force to read it anyway)"},
        {"extract test.drs 8 x", 1, "brindle-cli: extract: test.drs: has rows 0 to 7; there is no row 8"},
        {"extract test.drs -1 x", 1, "has rows 0 to 7; there is no row -1"},
        {"extract test.drs --id 77 x", 1, "test.drs: no entry has ID 77"},
        {"extract test.drs 12 x", 1, "there is no row 12 (for the entry of that ID: --id 12)"},
        {"extract test.drs 0 x", 1, "row 0 is the heading of table SLP, not an entry"},
        {"extract test.drs --id 5 x", 1, "ID 5 stands 2 times in table SLP; give the row instead (rows 1, 2)"},
        {"extract shared.drs --id 9 x", 1, "ID 9 is in the tables SLP, BIN; choose one with --table"},
        {"extract shared.drs --id 9 --table wav x", 1, "shared.drs: has no table wav"},
        {"extract cut.drs 7 entry.bin", 1, "entry.bin: ID 12: the entry runs past the end of the archive"},
        {"info test.drs", 1, "brindle-cli: info: test.drs: claims "},
        {"info sprites.drs --id 1", 1, "brindle-cli: info: sprites.drs (ID 1): is not in a table of sprites (SLP)"},
        {"frame walk.slp 4 x", 1, "brindle-cli: frame: walk.slp: has frames 1 to 3; there is no frame 4"},
        {"frame walk.slp 1 x --palette walk.slp", 1, "brindle-cli: frame: walk.slp: Not valid palette file! " + std::string(KnownPaletteFormats)},
        {"palette none.pal", 1, "brindle-cli: palette: none.pal: No such file or directory"},
        {"thumbnail none.drs x.png 64", 1, "brindle-cli: thumbnail: none.drs: holds no sprite"},
        // Damaged frames.
        {"info damaged.slp", 1, "brindle-cli: info: damaged.slp: frame 2: row 2: a player colour lies past the end of the palette"},
        {"frame damaged.slp 2 frame.bmp", 1, "damaged.slp: frame 2: row 2: "},
        {"sequence damaged.slp walk.bmp", 1, "damaged.slp: frame 2: row 2: "},
        {"slx damaged.slp bundle.slx", 1, "damaged.slp: frame 2: row 2: "},
        {"export damaged.slp x.png --format sheet", 1, "brindle-cli: export: damaged.slp: frame 2: row 2: "},
        // Outputs that can't be written, or are inputs by whatever path or link.
        {"extract test.drs 2 folder", 1, "brindle-cli: extract: folder: Is a directory"},
        {"extract test.drs 2 no/such/folder/x", 1, "brindle-cli: extract: no/such/folder/x: No such file or directory"},
        {"list test.drs > /dev/full", 1, "brindle-cli: list: standard output: No space left on device"},
        {"frame walk.slp 1 walk.slp", 1, "walk.slp" + input}, {"frame walk.slp 1 folder/link.slp", 1, "folder/link.slp" + input},
        {"frame walk.slp 1 folder/../walk.slp", 1, "folder/../walk.slp" + input},
        {"frame walk.slp 1 p.pal --palette p.pal", 1, "p.pal" + input},
        {"extract test.drs 2 test.drs", 1, "test.drs" + input}, {"extract 12.bin --id 12 -o .", 1, "./12.bin" + input},
        {"sequence walk002.bmp walk.bmp", 1, "walk002.bmp" + input},
    };
    for (const auto& [arguments, code, message] : cases) {
        SCOPED_TRACE(arguments);
        const CliResult r = Run(arguments);
        EXPECT_EQ(r.Code, code);
        EXPECT_TRUE(r.SaysInOneLine(message)) << r.Err;
    }
    EXPECT_EQ(FilesUnder(dir.Path()), before);  // nothing written, nothing replaced, no temporary file left
    EXPECT_TRUE(Run("list --force unknown.drs").Out.starts_with("--BIN (1)--\t"));

    // With --keep-going the frames are all written, and the bundle lists only files that exist.
    const CliResult kept = Run("slx damaged.slp --keep-going bundle.slx");
    EXPECT_TRUE(kept.Code == 1 && kept.Err.find("7 files written, 0 failed") != std::string::npos) << kept.Err;
    for (const char* name : {"bundle1d.bmp", "bundle2c.bmp", "bundle3c.bmp"})
        EXPECT_TRUE(fs::exists(dir / name) && ReadFileText(dir / "bundle.slx").find(name) != std::string::npos) << name;
    // extract-all goes on by default and says what failed; told to stop, it takes back what it wrote.
    const CliResult all = Run("extract-all cut.drs out");
    EXPECT_TRUE(all.Code == 1 && all.Err.find("4 entries written or kept, 1 failed") != std::string::npos) << all.Err;
    EXPECT_TRUE(fs::exists(dir / "out/01-SLP/5.slp"));
    EXPECT_EQ(Run("extract-all cut.drs stopped --no-keep-going").Code, 1);
    EXPECT_TRUE(FilesUnder(dir / "stopped").empty());
}

// What stands under an output's name: a link is followed, a device written through, a file kept with -n.
TEST_F(CliTest, WhatStandsUnderAnOutputNameIsFollowedOrKept) {
    fs::create_symlink("target.bin", dir / "link.bin");
    ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
    Run("extract test.drs 7 link.bin");
    EXPECT_TRUE(fs::is_symlink(dir / "link.bin"));
    EXPECT_EQ(ReadFileBytes(dir / "target.bin"), (Bytes{7, 8}));
    Shell("timeout 20 cat fifo > from-fifo & \"$BRINDLE_CLI\" extract test.drs 7 fifo; wait");  // no hang when nothing writes
    EXPECT_TRUE(fs::is_fifo(dir / "fifo"));
    EXPECT_EQ(ReadFileBytes(dir / "from-fifo"), (Bytes{7, 8}));
    // What /dev/stdout is, made here so that a fault can't take the system's own: a link to a pipe.
    fs::create_symlink("/proc/self/fd/1", dir / "stdout");
    EXPECT_EQ(Shell("\"$BRINDLE_CLI\" extract test.drs 7 stdout | cat").Out, "\x07\x08");
    EXPECT_TRUE(fs::is_symlink(dir / "stdout"));

    // --no-clobber keeps what exists, says so and goes on; without it a file is replaced as always.
    WriteFileText(dir / "walk002.bmp", "mine");
    const CliResult sequence = Run("sequence walk.slp walk.bmp -n");
    EXPECT_TRUE(sequence.Code == 0 && sequence.SaysInOneLine("walk002.bmp: exists; kept as it is (--no-clobber)")) << sequence.Err;
    EXPECT_EQ(ReadFileText(dir / "walk002.bmp"), "mine");
    EXPECT_TRUE(fs::exists(dir / "walk001.bmp") && fs::exists(dir / "walk003.bmp"));
    EXPECT_EQ(Run("extract test.drs 2 target.bin --no-clobber").Code, 0);
    EXPECT_EQ(ReadFileBytes(dir / "target.bin"), (Bytes{7, 8}));
    Run("extract test.drs 2 target.bin");
    EXPECT_EQ(ReadFileBytes(dir / "target.bin"), (Bytes{4, 5}));
}

}  // namespace
