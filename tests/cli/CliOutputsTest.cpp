// brindle-cli never harms a file it wasn't aimed at: not its inputs, not what stands under a name when
// a command fails, not a link or a device it writes through.

#include <sys/stat.h>

#include "CliFixture.h"

using namespace fixtures;
namespace fs = std::filesystem;

namespace {

TEST_F(CliTest, AnOutputThatIsAnInputIsRefusedBeforeAnythingIsWritten) {
    WriteTestArchive();
    WriteTestSprite(2);
    WriteTestSprite(2, "walk002.bmp");  // a sprite under the name of a sequence's second file
    WriteFileText(dir / "p.pal", WriteJascPal(std::vector<uint32_t>(256, 0x102030)));
    fs::create_directory(dir / "sub");
    fs::create_symlink("../walk.slp", dir / "sub/link.slp");
    const Bytes archive = ReadFileBytes(dir / "test.drs"), sprite = ReadFileBytes(dir / "walk.slp");
    WriteFileBytes(dir / "12.bin", archive);
    const std::pair<std::string, std::string> cases[] = {
        {"frame walk.slp 1 walk.slp", "walk.slp"},
        {"frame walk.slp 1 sub/../walk.slp", "sub/../walk.slp"},
        {"frame walk.slp 1 sub/link.slp", "sub/link.slp"},
        {"frame walk.slp 1 p.pal --palette p.pal", "p.pal"},
        {"extract test.drs 2 test.drs", "test.drs"},
        {"extract 12.bin --id 12 -o .", "./12.bin"},  // an archive under the name of its entry's file
        {"sequence walk002.bmp walk.bmp", "walk002.bmp"},
    };
    for (const auto& [arguments, refused] : cases) {
        SCOPED_TRACE(arguments);
        const CliResult r = Run(arguments);
        EXPECT_EQ(r.Code, 1);
        EXPECT_TRUE(r.SaysInOneLine(refused + ": is one of the input files; nothing written")) << r.Err;
        EXPECT_FALSE(fs::exists(dir / "walk001.bmp"));
    }
    EXPECT_EQ(ReadFileBytes(dir / "test.drs"), archive);
    EXPECT_EQ(ReadFileBytes(dir / "12.bin"), archive);
    EXPECT_EQ(ReadFileBytes(dir / "walk.slp"), sprite);
    EXPECT_EQ(ReadFileBytes(dir / "walk002.bmp"), sprite);
}

TEST_F(CliTest, AFailedCommandLeavesWhatStoodUnderTheNameUntouched) {
    // An archive whose last entry runs past its end, a sprite with a damaged frame.
    ArchiveLayout layout;
    WriteTestArchive(&layout);
    Bytes cut = ReadFileBytes(dir / "test.drs");
    cut.resize(cut.size() - 1);
    WriteFileBytes(dir / "cut.drs", cut);
    WriteDamagedSprite();
    for (const char* name : {"entry.bin", "frame.bmp", "walk002.bmp", "bundle.slx"}) WriteFileText(dir / name, "before");

    const std::pair<std::string, std::string> cases[] = {
        {"extract cut.drs 7 entry.bin", "ID 12: the entry runs past the end of the archive"},
        {"frame damaged.slp 2 frame.bmp", "damaged.slp: frame 2: row 2: "},
        {"sequence damaged.slp walk.bmp", "damaged.slp: frame 2: row 2: "},
        {"slx damaged.slp bundle.slx", "damaged.slp: frame 2: row 2: "},
    };
    for (const auto& [arguments, message] : cases) {
        SCOPED_TRACE(arguments);
        const CliResult r = Run(arguments);
        EXPECT_EQ(r.Code, 1);
        EXPECT_TRUE(r.SaysInOneLine(message)) << r.Err;
    }
    for (const char* name : {"entry.bin", "frame.bmp", "walk002.bmp", "bundle.slx"}) EXPECT_EQ(TextOf(dir / name), "before") << name;
    EXPECT_EQ(NamesIn(dir.Path()), (std::set<std::string>{"test.drs", "cut.drs", "damaged.slp", "entry.bin", "frame.bmp",
                                                          "walk002.bmp", "bundle.slx"}));  // no temporary file left

    // With --keep-going the frames are all written, and the bundle lists only files that exist.
    const CliResult kept = Run("slx damaged.slp --keep-going bundle.slx");
    EXPECT_EQ(kept.Code, 1);
    EXPECT_NE(kept.Err.find("7 files written, 0 failed"), std::string::npos) << kept.Err;
    const std::string list = TextOf(dir / "bundle.slx");
    for (const char* name : {"bundle1d.bmp", "bundle2c.bmp", "bundle3c.bmp"}) {
        EXPECT_NE(list.find(name), std::string::npos);
        EXPECT_TRUE(fs::exists(dir / name));
    }

    // extract-all goes on by default and says what failed; told to stop, it takes back what it wrote.
    const CliResult all = Run("extract-all cut.drs out");
    EXPECT_EQ(all.Code, 1);
    EXPECT_NE(all.Err.find("4 entries written or kept, 1 failed"), std::string::npos) << all.Err;
    EXPECT_TRUE(fs::exists(dir / "out/01-SLP/5.slp"));
    EXPECT_EQ(Run("extract-all cut.drs stopped --no-keep-going").Code, 1);
    for (const auto& file : fs::recursive_directory_iterator(dir / "stopped")) EXPECT_TRUE(file.is_directory()) << file.path();
}

TEST_F(CliTest, LinksAreFollowedAndDevicesWrittenThrough) {
    WriteTestArchive();
    fs::create_symlink("target.bin", dir / "link.bin");
    fs::create_symlink("/dev/null", dir / "null");
    ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);

    EXPECT_EQ(Run("extract test.drs 7 link.bin").Code, 0);
    EXPECT_TRUE(fs::is_symlink(dir / "link.bin"));
    EXPECT_EQ(ReadFileBytes(dir / "target.bin"), (Bytes{7, 8}));
    EXPECT_EQ(Run("extract test.drs 7 null").Code, 0);
    EXPECT_TRUE(fs::is_symlink(dir / "null"));
    const CliResult fifo = Shell("cat fifo > from-fifo & \"$CLI\" extract test.drs 7 fifo; wait");
    EXPECT_EQ(fifo.Code, 0) << fifo.Err;
    EXPECT_TRUE(fs::is_fifo(dir / "fifo"));
    EXPECT_EQ(ReadFileBytes(dir / "from-fifo"), (Bytes{7, 8}));
    // What /dev/stdout is, made here so that a fault can't take the system's own: a link to a pipe.
    fs::create_symlink("/proc/self/fd/1", dir / "stdout");
    EXPECT_EQ(Shell("\"$CLI\" extract test.drs 7 stdout | cat").Out, "\x07\x08");
    EXPECT_TRUE(fs::is_symlink(dir / "stdout"));
}

TEST_F(CliTest, NoClobberKeepsWhatExistsAndGoesOn) {
    WriteTestArchive();
    WriteTestSprite(3);
    WriteFileText(dir / "walk002.bmp", "mine");
    WriteFileText(dir / "e.bin", "mine");
    const CliResult sequence = Run("sequence walk.slp walk.bmp -n");
    EXPECT_EQ(sequence.Code, 0);
    EXPECT_TRUE(sequence.SaysInOneLine("walk002.bmp: exists; kept as it is (--no-clobber)")) << sequence.Err;
    EXPECT_EQ(TextOf(dir / "walk002.bmp"), "mine");
    EXPECT_TRUE(fs::exists(dir / "walk001.bmp") && fs::exists(dir / "walk003.bmp"));
    EXPECT_EQ(Run("extract test.drs --id 12 e.bin --no-clobber").Code, 0);
    EXPECT_EQ(TextOf(dir / "e.bin"), "mine");
    EXPECT_EQ(Run("extract test.drs --id 12 e.bin").Code, 0);  // without it, replaced as always
    EXPECT_EQ(ReadFileBytes(dir / "e.bin"), (Bytes{7, 8}));
}

}  // namespace
