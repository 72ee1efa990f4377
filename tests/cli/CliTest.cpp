// brindle-cli as a user runs it: the built program on fixture files, exit codes and output checked.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "RecordingHost.h"
#include "Writers.h"
#include "colour/Palettes.h"

namespace fs = std::filesystem;
using namespace fixtures;

namespace {

struct Result {
    int Code = -1;
    std::string Out, Err;
};

std::string Text(const std::string& path) {
    const Bytes bytes = ReadFileBytes(path);
    return {bytes.begin(), bytes.end()};
}

class CliTest : public ::testing::Test {
protected:
    TempDir dir;

    Result Run(const std::string& arguments, const std::string& folder = ".") {
        const char* program = std::getenv("BRINDLE_CLI");
        EXPECT_NE(program, nullptr) << "BRINDLE_CLI names the program under test";
        const std::string line = "cd '" + folder + "' && '" + (program ? program : "brindle-cli") + "' " +
                                 arguments + " >'" + (dir / "out.txt") + "' 2>'" + (dir / "err.txt") + "'";
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Text(dir / "out.txt"), Text(dir / "err.txt")};
    }

    // Table SLP: IDs 5, 5 and -7; a table whose tag reads "../"; one BIN entry.
    std::string WriteTestArchive(ArchiveLayout* layout = nullptr, Flavour kind = Flavour::Year1997) {
        ArchiveFixture contents{kind, {{StoredTag("slp"), {{5, {1, 2, 3}}, {5, {4, 5}}, {-7, {}}}},
                                       {StoredTag("../"), {{9, {6}}}},
                                       {StoredTag("bin"), {{12, {7, 8}}}}}};
        WriteFileBytes(dir / "test.drs", WriteArchive(contents, layout));
        return dir / "test.drs";
    }

    std::string WriteTestSprite(int count) {
        std::vector<FrameFixture> frames;
        for (int i = 0; i < count; ++i) {
            Art art(4 + i, 3);
            art.At(1, 1) = {Layer::Colour, 40};
            art.At(2, 2) = {Layer::Shadow, 0};
            frames.push_back(EncodeFrame(art, i, 1));
        }
        WriteFileBytes(dir / "walk.slp", WriteSprite(frames));
        return dir / "walk.slp";
    }
};

std::set<std::string> Names(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& item : fs::directory_iterator(folder)) names.insert(item.path().filename().string());
    return names;
}

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
    const Result r = Run("frame '" + WriteTestSprite(2) + "' 2 '" + (dir / "f.bmp") + "' --mask '#FF8000'");
    ASSERT_EQ(r.Code, 0) << r.Err;
    const Bytes bmp = ReadFileBytes(dir / "f.bmp");  // 5 x 3, rows of 16 bytes from the bottom up
    ASSERT_EQ(bmp.size(), 54u + 3 * 16);
    EXPECT_EQ(Bytes(bmp.begin() + 54 + 2 * 16, bmp.begin() + 54 + 2 * 16 + 3), (Bytes{0x00, 0x80, 0xFF}));
}

TEST_F(CliTest, ListPrintsRowsWithCatalogueFields) {
    ArchiveLayout layout;
    const Result r = Run("list '" + WriteTestArchive(&layout) + "'");
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
    const Result refused = Run("list '" + archive + "'");
    EXPECT_EQ(refused.Code, 1);
    EXPECT_NE(refused.Err.find("Error reading from DRS file!"), std::string::npos);
    EXPECT_NE(refused.Err.find("--force"), std::string::npos);
    EXPECT_EQ(Run("list --force '" + archive + "'").Code, 0);
}

TEST_F(CliTest, ExtractCopiesOneRowAndRefusesRowsOutsideTheList) {
    const std::string archive = WriteTestArchive();
    EXPECT_EQ(Run("extract '" + archive + "' 2 '" + (dir / "e.slp") + "'").Code, 0);
    EXPECT_EQ(ReadFileBytes(dir / "e.slp"), (Bytes{4, 5}));
    EXPECT_EQ(Run("extract '" + archive + "' 8 '" + (dir / "x") + "'").Code, 1);
    EXPECT_EQ(Run("extract '" + archive + "' -1 '" + (dir / "x") + "'").Code, 1);
}

TEST_F(CliTest, ExtractAllNamesFoldersAndFilesSafely) {
    const Result r = Run("extract-all '" + WriteTestArchive() + "' '" + (dir / "out") + "'");
    ASSERT_EQ(r.Code, 0) << r.Err;
    EXPECT_NE(r.Err.find("5 written, 0 failed"), std::string::npos);
    EXPECT_EQ(Names(dir / "out"), (std::set<std::string>{"01-SLP", "02", "03-BIN"}));
    EXPECT_EQ(Names(dir / "out/01-SLP"), (std::set<std::string>{"5.slp", "5-2.slp", "-7.slp"}));
    EXPECT_EQ(ReadFileBytes(dir / "out/01-SLP/5-2.slp"), (Bytes{4, 5}));
    EXPECT_EQ(Names(dir / "out/02"), std::set<std::string>{"9"});
    EXPECT_EQ(Names(dir / "out/03-BIN"), std::set<std::string>{"12.bin"});
    EXPECT_EQ(r.Err.find('\r'), std::string::npos) << "no progress line when stderr is a file";
}

TEST_F(CliTest, PalettePrintsAllColoursAndRefusesOtherFiles) {
    std::vector<uint32_t> colours(256, RGB(10, 20, 30));
    colours[255] = RGB(1, 2, 3);
    WriteFileText(dir / "p.pal", WriteJascPal(colours));
    const Result r = Run("palette '" + (dir / "p.pal") + "'");
    ASSERT_EQ(r.Code, 0) << r.Err;
    EXPECT_EQ(std::count(r.Out.begin(), r.Out.end(), '\n'), 256);
    EXPECT_TRUE(r.Out.starts_with("10 20 30\n") && r.Out.ends_with("\n1 2 3\n"));

    WriteFileText(dir / "bad.pal", "JASC-PALX\r\n");
    const Result bad = Run("palette '" + (dir / "bad.pal") + "'");
    EXPECT_EQ(bad.Code, 1);
    EXPECT_NE(bad.Err.find("Not valid palette file!"), std::string::npos);
    EXPECT_EQ(Run("palette '" + (dir / "none.pal") + "'").Code, 1);
}

TEST_F(CliTest, SequenceNumbersFilesFromTheChosenName) {
    const std::string sprite = WriteTestSprite(3);
    EXPECT_TRUE(Run("info '" + sprite + "'").Out.starts_with("frames 3\n1\t4\t3\t0\t1\t"));
    fs::create_directory(dir / "out");
    const Result r = Run("sequence '" + sprite + "' out/walk.bmp", dir.Path());  // relative, as typed
    ASSERT_EQ(r.Code, 0) << r.Err;
    EXPECT_EQ(Names(dir / "out"), (std::set<std::string>{"walk001.bmp", "walk002.bmp", "walk003.bmp"}));
}

}  // namespace
