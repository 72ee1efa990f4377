#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "base/FileWriter.h"
#include "base/Files.h"
#include "RecordingHost.h"

using namespace fixtures;
namespace fs = std::filesystem;

namespace {

std::span<const uint8_t> Bytes(std::string_view text) { return {reinterpret_cast<const uint8_t*>(text.data()), text.size()}; }

// The names in the folder, hidden ones too: a writer leaves no stray temporary file.
std::vector<std::string> Names(const TempDir& dir) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir.Path())) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// The window replaces a link with a file of its own and leaves the link's target alone; the command line
// writes through the link, as cp does, and the link stays.
TEST(FileWriterTest, InPlaceReplacesALinkAndStagedWritesThroughIt) {
    TempDir dir;
    for (WritePolicy policy : {WritePolicy::InPlace, WritePolicy::Staged}) {
        WriteFileText(dir / "target", "old");
        fs::remove(dir / "link");
        fs::create_symlink(dir / "target", dir / "link");
        ASSERT_TRUE(WriteWholeFile(dir / "link", Bytes("new"), policy));
        const bool inPlace = policy == WritePolicy::InPlace;
        EXPECT_EQ(std::tuple(fs::is_symlink(dir / "link"), ReadFileText(dir / "link"), ReadFileText(dir / "target")),
                  std::tuple(!inPlace, std::string("new"), std::string(inPlace ? "old" : "new")));
        EXPECT_EQ(Names(dir), (std::vector<std::string>{"link", "target"}));
    }
}

// A write that never finishes: in place, what was written stands; staged, the old file stands and no
// temporary file is left.
TEST(FileWriterTest, AnUnfinishedFileStaysInPlaceAndVanishesWhenStaged) {
    TempDir dir;
    for (WritePolicy policy : {WritePolicy::InPlace, WritePolicy::Staged}) {
        WriteFileText(dir / "f", "old contents");
        {
            FileWriter file(dir / "f", policy);
            ASSERT_TRUE(file.Open());
            ASSERT_TRUE(file.Write(Bytes("half")));
        }
        EXPECT_EQ(ReadFileText(dir / "f"), policy == WritePolicy::InPlace ? "half" : "old contents");
        EXPECT_EQ(Names(dir), std::vector<std::string>{"f"});
    }
}

// A rollback puts back what each staged file replaced and removes the new ones; without one, the kept
// copies go when the ledger does.
TEST(FileWriterTest, TheLedgerTakesBackWhatItPlaced) {
    TempDir dir;
    WriteFileText(dir / "kept", "before");
    {
        WrittenFiles ledger;
        ASSERT_TRUE(WriteWholeFile(dir / "kept", Bytes("after"), WritePolicy::Staged, &ledger));
        ASSERT_TRUE(WriteWholeFile(dir / "new", Bytes("fresh"), WritePolicy::Staged, &ledger));
        EXPECT_EQ(std::pair(ReadFileText(dir / "kept"), ledger.Count()), std::pair(std::string("after"), 2));
        ledger.TakeBack();
        EXPECT_EQ(ReadFileText(dir / "kept"), "before");
        EXPECT_EQ(Names(dir), std::vector<std::string>{"kept"});
    }
    {
        WrittenFiles ledger;
        ASSERT_TRUE(WriteWholeFile(dir / "kept", Bytes("after"), WritePolicy::Staged, &ledger));
    }
    EXPECT_EQ(ReadFileText(dir / "kept"), "after");
    EXPECT_EQ(Names(dir), std::vector<std::string>{"kept"});
}

// Neither policy writes over a file the program reads, by whatever name.
TEST(FileWriterTest, AFileHeldOpenForReadingIsNeverWritten) {
    TempDir dir;
    WriteFileText(dir / "archive.drs", "archive");
    fs::create_symlink(dir / "archive.drs", dir / "alias");
    ReadOnlyFile archive;
    ASSERT_TRUE(archive.Open(dir / "archive.drs"));
    for (WritePolicy policy : {WritePolicy::InPlace, WritePolicy::Staged}) {
        for (const char* name : {"archive.drs", "alias"}) {
            EXPECT_EQ(WriteWholeFile(dir / name, Bytes("x"), policy).Code, Fault::HeldOpen) << name;
        }
    }
    EXPECT_EQ(ReadFileText(dir / "archive.drs"), "archive");
}

}  // namespace
