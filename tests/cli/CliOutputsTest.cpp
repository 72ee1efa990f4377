// When brindle-cli fails it says why in one line, and it never harms a file it wasn't aimed at: not its
// inputs by whatever name or link, not what stands under a name when a command fails.

#include "CliFixture.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include "slp/SLPCodeNew.h"

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
    WriteFileBytes(dir / "sound.wav", WriteWavTone(22050, 0.01, 440));  // its RIFF size read as frames whose table is cut off
    fs::create_directory(dir / "folder");
    fs::create_symlink("../walk.slp", dir / "folder/l.slp");
    const auto before = FilesUnder(dir.Path());
    const std::string input = ": is one of the input files; nothing written";
    const std::tuple<std::string, int, std::string> cases[] = {
        // The command line.
        {"", 2, "brindle-cli: no command given"}, {"extract test.drs --id 5 --id 12 x", 2, "several IDs go into a folder"},
        {"foo", 2, "brindle-cli: foo: unknown command; the commands are list, extract, extract-all, pack, diff, info, frame, sequence, slx, palette"},
        {"list test.drs --wide", 2, "brindle-cli: list: The following argument was not expected: --wide (see brindle-cli list --help)"},
        {"extract test.drs notanumber x", 2, "brindle-cli: extract: ROW is a number from the list, not notanumber (see brindle-cli extract --help)"},
        {"frame walk.slp 1 x --mask red", 2, "is written #RRGGBB"}, {"frame walk.slp 1 x --player 9", 2, "--player: Value "},
        // A number out of range, whatever reads it.
        {"frame walk.slp 0 x", 2, "walk.slp: has frames 1 to 3; there is no frame 0"}, {"frame walk.slp 4 x", 2, "has frames 1 to 3"},
        {"export walk.slp x.png --format png --frame 9", 2, "has frames 1 to 3; there is no frame 9"},
        {"export walk.slp x.gif --format gif --fps 0", 2, "--fps: Value 0 not in range"},
        {"export walk.slp - --format png", 2, "this format writes several files: give a name, not -"},
        {"export walk.slp x.gif --format gif --frame 2", 2, "brindle-cli: export: --frame goes with --format png"},
        {"export walk.slp x.gif --format gif --fps 60", 2, "brindle-cli: export: GIF plays at most 50 frames a second"},
        {"export walk.slp x.gif --format sheet", 2, "a sheet is written as NAME.png and NAME.json: give OUT with .png, .json or no"},
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
        {"thumbnail none.drs x 64", 1, "none.drs: holds no sprite"},
        {"thumbnail sound.wav x 64", 1, "brindle-cli: thumbnail: sound.wav: not a sprite or an archive"},
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
    EXPECT_TRUE(kept.Code == 1 && kept.Err.ends_with("7 files written, 0 failed, frame 2 damaged\n")) << kept.Err;
    EXPECT_NE(ReadFileText(dir / "bundle.slx").find("bundle2c.bmp"), std::string::npos);
    // The new formats leave the damaged frame out and count it; the animations and the sheet hold the rest.
    for (const auto& [format, out, written] : {std::tuple{"gif", "kept.gif", 1}, {"apng", "moving.png", 1}, {"sheet", "kept", 2},
                                               {"png", "seq.png", 2}}) {
        const CliResult r = Run(std::string("export damaged.slp ") + out + " --format " + format + " --keep-going");
        EXPECT_TRUE(r.Code == 1 && r.Err.ends_with(std::to_string(written) + " files written, 0 failed, frame 2 damaged and left out\n"))
            << format << ": " << r.Err;
    }
    const Bytes apng = ReadFileBytes(dir / "moving.png");
    ASSERT_GT(apng.size(), 45u);
    EXPECT_EQ(apng[44], 2);  // acTL counts the two frames there are
    EXPECT_TRUE(fs::exists(dir / "seq001.png") && !fs::exists(dir / "seq002.png") && fs::exists(dir / "seq003.png"));
    EXPECT_EQ(nlohmann::json::parse(ReadFileText(dir / "kept.json"))["frames"].size(), 2u);
    // A name that is no UTF-8 is taken as the file system has it, and the JSON holds what it can of it.
    EXPECT_EQ(Shell("\"$BRINDLE_CLI\" export walk.slp \"$(printf 'bad\\377')\" --format sheet").Code, 0);
    EXPECT_EQ(nlohmann::json::parse(ReadFileText(dir / "bad\xff.json"))["meta"]["image"], "bad\uFFFD.png");
    // extract-all goes on by default and says what failed; told to stop, it takes back what it wrote.
    const CliResult all = Run("extract-all cut.drs out");
    EXPECT_TRUE(all.Code == 1 && all.Err.ends_with("4 entries written or kept, 1 failed\n")) << all.Err;
    EXPECT_TRUE(fs::exists(dir / "out/01-SLP/5.slp"));
    EXPECT_TRUE(Run("extract-all cut.drs stopped --no-keep-going").Code == 1 && FilesUnder(dir / "stopped").empty());
}

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// A sprite of `frames` frames of 4,096 x 4,096 blank rows, all on one outline table: a few bytes that
// stand for gigabytes of bitmaps.
Bytes HugeSprite(int32_t frames) {
    Bytes bytes(32 + 32 * size_t(frames));
    std::copy_n("2.0N", 4, bytes.begin());
    auto put = [&](size_t at, int32_t value) { for (int i = 0; i < 4; ++i) bytes[at + i] = uint8_t(value >> 8 * i); };
    put(4, frames);
    const auto table = int32_t(bytes.size());
    for (int32_t f = 0; f < frames; ++f)
        for (auto [field, value] : {std::pair{0, table}, {4, table}, {16, 4096}, {20, 4096}}) put(32 + 32 * size_t(f) + field, value);
    for (int row = 0; row < 4096; ++row) bytes.insert(bytes.end(), {0x00, 0x80, 0, 0});  // blank rows
    return bytes;
}

// A command that takes back what it wrote puts back what stood there; a file it could not write whole is
// never left under its name; a link that another user planted in a shared folder is not followed; and
// what it writes has the mode the umask gives, whatever other threads do and whatever it replaced.
TEST_F(CliTest, WhatStoodThereStaysAndOnlyWholeFilesOfOursArePlaced) {
    const Bytes archive = ReadFileBytes(dir / "test.drs");
    WriteFileBytes(dir / "cut.drs", std::span(archive).first(archive.size() - 1));  // ID 12 runs past the end
    fs::create_directories(dir / "mine/01-SLP");
    WriteFileText(dir / "mine/01-SLP/5.slp", "the user's own");
    WriteFileText(dir / "mine/5.slp", "the user's own");
    WriteFileText(dir / "mine/walk001.bmp", "the user's own");
    fs::create_directory(dir / "mine/.brindle-sequence-Xy12Z3");  // left by a sequence that was killed
    WriteFileText(dir / "mine/.brindle-sequence-Xy12Z3/walk001.bmp", "half");
    fs::create_directory(dir / "mine/walk002.bmp");  // the second frame's file can't be placed
    for (const char* line : {"extract-all cut.drs mine --no-keep-going", "extract cut.drs --id 5 --id 12 -o mine",
                             "sequence walk.slp mine/walk.bmp"}) {
        EXPECT_EQ(Run(line).Code, 1) << line;
        EXPECT_EQ(ReadFileText(dir / "mine/01-SLP/5.slp") + ReadFileText(dir / "mine/5.slp") + ReadFileText(dir / "mine/walk001.bmp"),
                  "the user's ownthe user's ownthe user's own") << line;
    }
    EXPECT_EQ(NamesUnder(dir / "mine"), (std::set<std::string>{"01-SLP/5.slp", "5.slp", "walk001.bmp"}));  // nothing else left

    // A set-user-ID file that is replaced keeps its permissions, not the bit; a name as long as the file
    // system takes is written.
    WriteFileText(dir / "mine/run", "");
    ::chmod((dir / "mine/run").c_str(), 04755);
    const std::string longName = std::string(251, 'n') + ".bmp";
    EXPECT_EQ(Shell("\"$BRINDLE_CLI\" frame walk.slp 1 mine/run && \"$BRINDLE_CLI\" frame walk.slp 1 mine/" + longName).Code, 0);
    EXPECT_EQ(ModeOf(dir / "mine/run"), 0755u);
    EXPECT_TRUE(fs::exists(dir / ("mine/" + longName)));

    // A file limit that cuts every bitmap but the small frame's: with --keep-going what is cut is never
    // placed, and counts as failed; the bundle lists only what was.
    Art small(4, 3), big(40, 30);
    big.At(1, 1) = small.At(1, 1) = {Layer::Colour, 40};
    WriteFileBytes(dir / "big.slp", WriteSprite({EncodeFrame(small, 0, 0), EncodeFrame(big, 0, 0)}));
    const std::string limited = "ulimit -f 2; trap '' XFSZ; \"$BRINDLE_CLI\" ";
    const CliResult cut = Shell(limited + "sequence big.slp out/b.bmp --keep-going");
    EXPECT_TRUE(cut.Code == 1 && cut.Err.ends_with("0 files written, 2 failed\n")) << cut.Err;
    EXPECT_TRUE(FilesUnder(dir / "out").empty());
    const CliResult bundle = Shell(limited + "slx big.slp out/b.slx --keep-going");
    EXPECT_TRUE(bundle.Code == 1 && bundle.Err.ends_with("3 files written, 2 failed\n")) << bundle.Err;
    EXPECT_EQ(NamesUnder(dir / "out"), (std::set<std::string>{"b.slx", "b1c.bmp", "b1d.bmp"}));
    EXPECT_EQ(ReadFileText(dir / "out/b.slx"), "SLX 0.5\r\n1\r\n0,0\r\nb1d.bmp\r\nb1c.bmp\r\n");
    // Files that would not fit their folder are refused before anything is written, with the size needed.
    WriteFileBytes(dir / "huge.slp", HugeSprite(MaxFrames));
    fs::remove_all(dir / "out");
    fs::create_directory(dir / "out");
    const CliResult huge = Run("sequence huge.slp out/h.bmp");
    EXPECT_TRUE(huge.Code == 1 && huge.SaysInOneLine("out/h.bmp: needs 1.6 TB but its folder has ")) << huge.Err;
    EXPECT_TRUE(fs::is_empty(dir / "out"));

    // convert --jobs 16 under umask 022, again and again: nothing it makes is writable by others. Threads
    // that set the umask to learn it could leave it at 0 for one another; so it is never set, which the
    // system calls show for certain where the race shows only now and then.
    std::vector<EntryFixture> sprites;
    for (int32_t id = 0; id < 300; ++id) sprites.push_back({id, ReadFileBytes(dir / "walk.slp")});
    WriteFileBytes(dir / "many.drs", WriteArchive({Flavour::Year1997, {{StoredTag("slp"), sprites}}}));
    for (int run = 0; run < 3; ++run) {
        ASSERT_EQ(Shell("umask 022; \"$BRINDLE_CLI\" convert many.drs out --format png --jobs 16").Code, 0);
        for (const auto& item : fs::recursive_directory_iterator(dir / "out"))
            ASSERT_EQ(ModeOf(item.path()) & 022, 0u) << item.path() << " in run " << run;
    }
    const CliResult traced = Shell("ASAN_OPTIONS=detect_leaks=0 strace -f -qq -e trace=umask -o umask.txt \"$BRINDLE_CLI\" "
                                   "convert sprites.drs out --format png --jobs 4 2>/dev/null; cat umask.txt");
    EXPECT_EQ(traced.Out, "") << "brindle-cli changes its umask";
}

// With protected_symlinks the kernel follows a link in a sticky world-writable folder only for its owner
// or the folder's; we resolve links ourselves, and keep the same rule. Another user is needed: root
// gives the link away.
TEST_F(CliTest, ALinkOfAnotherUserInASharedFolderIsNotFollowed) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a link to another user";
    fs::create_directory(dir / "shared");
    ::chmod((dir / "shared").c_str(), 01777);
    WriteFileText(dir / "victim", "the victim's file");
    fs::create_symlink(dir / "victim", dir / "shared/walk002.bmp");
    fs::create_symlink(dir / "victim", dir / "shared/own.bmp");
    ASSERT_EQ(::lchown((dir / "shared/walk002.bmp").c_str(), 65534, 65534), 0);
    const CliResult planted = Run("sequence walk.slp shared/walk.bmp");
    EXPECT_TRUE(planted.Code == 1 && planted.SaysInOneLine("shared/walk002.bmp: is a link of another user in a shared folder"))
        << planted.Err;
    EXPECT_EQ(ReadFileText(dir / "victim"), "the victim's file");
    EXPECT_EQ(Run("frame walk.slp 1 shared/own.bmp").Code, 0);  // our own link is followed, as cp does
    EXPECT_TRUE(ReadFileText(dir / "victim").starts_with("BM"));
}

// Under a limit on processes no thread can start: convert goes on with the one it has, and so does the
// sequence, which draws on a second thread where it can. Another user is needed: root is not held to
// the limit.
TEST_F(CliTest, ConvertGoesOnWithTheThreadsItHasUnderAProcessLimit) {
    if (::geteuid() != 0 || std::system("command -v setpriv >/dev/null") != 0) GTEST_SKIP() << "needs root and setpriv";
    ::chmod(dir.Path().c_str(), 0777);
    const CliResult r = Shell("ulimit -u 1; ASAN_OPTIONS=detect_leaks=0 setpriv --reuid=65534 --regid=65534 --clear-groups "
                              "\"$BRINDLE_CLI\" convert sprites.drs as-nobody --format bmp --jobs 4");
    EXPECT_TRUE(r.Code == 1 && r.Err.ends_with("as-nobody: 11 converted, 1 failed\n")) << r.Err;  // ID 105 is damaged
    EXPECT_EQ(FilesUnder(dir / "as-nobody").size(), 33u);
}

}  // namespace
