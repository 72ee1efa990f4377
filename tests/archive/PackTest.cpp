#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "archive/DRSCode.h"
#include "archive/EntryFiles.h"
#include "archive/Pack.h"
#include "base/Files.h"
#include "RecordingHost.h"
#include "Writers.h"

using namespace fixtures;
namespace fs = std::filesystem;

namespace {

// What list shows of an archive (text, kind, ID, size; not the offsets) and each entry's bytes.
using Listing = std::vector<std::tuple<std::string, int32_t, int32_t, int32_t, Bytes>>;

struct PackTest : testing::Test {
    TempDir dir;

    Listing List(const std::string& path) {
        ReadOnlyFile file;
        RecordingHost host;
        EXPECT_TRUE(file.Open(path));
        EXPECT_TRUE(ReadDRSCatalogue(file, host, true).Ok()) << path;
        Listing listing;
        Bytes bytes;
        for (size_t i = 0; i < host.Rows.size(); ++i) {
            const CatalogueRow& row = DRSCatalogue[i];
            if (host.Rows[i].ItemData != KindHeading) {
                EXPECT_TRUE(ReadEntryBytes(file, row, bytes).Ok());
            }
            listing.emplace_back(host.Rows[i].Text, host.Rows[i].ItemData, row.ID, row.Size, host.Rows[i].ItemData ? bytes : Bytes{});
        }
        return listing;
    }

    // Every entry of the archive at path into folder, as extract-all lays them out.
    void ExtractAll(const std::string& path, const std::string& folder) {
        ReadOnlyFile file;
        RecordingHost host;
        ASSERT_TRUE(file.Open(path) && ReadDRSCatalogue(file, host, true).Ok());
        Bytes bytes;
        for (const PlannedCopy& copy : PlanEntryFiles(host.Rows, DRSCatalogue, folder)) {
            fs::create_directories(fs::path(copy.Path).parent_path());
            ASSERT_TRUE(ReadEntryBytes(file, DRSCatalogue[copy.Row], bytes).Ok());
            WriteFileBytes(copy.Path, bytes);
        }
    }

    // Packs folder into out, like the archive at like unless it is empty.
    Outcome Pack(const std::string& folder, const std::string& out, const std::string& like = {}, bool year1997 = false,
                 std::vector<PackRemoval> removals = {}) {
        PackChoice choice;
        choice.Year1997 = year1997, choice.Removals = std::move(removals);
        ReadOnlyFile likeFile;
        DRSDirectory directory;
        if (!like.empty()) {
            EXPECT_TRUE(likeFile.Open(like) && ReadDRSDirectory(likeFile, directory, true).Ok());
            choice.Like = &directory, choice.LikeSize = likeFile.Size(), choice.LikePath = like;
        }
        PackPlan plan;
        if (Outcome planned = PlanArchive(folder, choice, plan); !planned) return planned;
        Bytes packed;
        Outcome written = WritePackedArchive(plan, like.empty() ? nullptr : &likeFile, [&](std::span<const uint8_t> bytes) {
            packed.insert(packed.end(), bytes.begin(), bytes.end());
            return Outcome::Success();
        });
        EXPECT_EQ(static_cast<int64_t>(packed.size()), PackedSize(plan));
        WriteFileBytes(out, packed);
        return written;
    }
};

// Several tables, one empty, one of no known kind, a repeated tag; IDs out of order and twice in one table.
ArchiveFixture Mixed(Flavour kind) {
    return {kind, {{StoredTag("slp"), {{50, {1, 2, 3}}, {-7, {4}}, {50, {9, 9}}}}, {StoredTag("wav", 'x'), {{1, {5, 6}}}},
                   {StoredTag("bin"), {}}, {StoredTag("slp", 'Z'), {{9, {7}}}}, {StoredTag("xyz"), {{300, {}}, {2, {8}}}}}};
}

TEST_F(PackTest, AnArchivePackedLikeItselfListsAndHoldsTheSame) {
    for (Flavour kind : {Flavour::Year2001, Flavour::Year1997, Flavour::Unknown}) {
        SCOPED_TRACE(static_cast<int>(kind));
        const Bytes original = WriteArchive(Mixed(kind));
        WriteFileBytes(dir / "a.drs", original);
        fs::remove_all(dir / "x");
        ExtractAll(dir / "a.drs", dir / "x");
        ASSERT_TRUE(Pack(dir / "x", dir / "b.drs", dir / "a.drs").Ok());
        EXPECT_EQ(List(dir / "b.drs"), List(dir / "a.drs"));
        EXPECT_EQ(ReadFileBytes(dir / "b.drs"), original);  // laid out as our writer lays it out, header included
        // From the archive alone, for entries whose files are gone.
        fs::remove_all(dir / "x/01-SLP");
        ASSERT_TRUE(Pack(dir / "x", dir / "c.drs", dir / "a.drs").Ok());
        EXPECT_EQ(List(dir / "c.drs"), List(dir / "a.drs"));
    }
}

TEST_F(PackTest, WithoutAnArchiveTablesComeFromTheFoldersAndEntriesByID) {
    for (Flavour kind : {Flavour::Year2001, Flavour::Year1997}) {
        const ArchiveFixture ascending{kind, {{StoredTag("slp"), {{-7, {4}}, {50, {1, 2, 3}}, {50, {9}}}},
                                              {StoredTag("wav"), {{1, {5, 6}}, {3, {}}}}}};
        WriteFileBytes(dir / "a.drs", WriteArchive(ascending));
        fs::remove_all(dir / "x");
        ExtractAll(dir / "a.drs", dir / "x");
        ASSERT_TRUE(Pack(dir / "x", dir / "b.drs", {}, kind == Flavour::Year1997).Ok());
        EXPECT_EQ(List(dir / "b.drs"), List(dir / "a.drs"));
        EXPECT_EQ(ReadFileBytes(dir / "b.drs").at(16), kind == Flavour::Year1997 ? '9' : '0');  // "(c) 1997" or "(c) 2001"
    }
    // A tag of fewer letters reads with its blanks; a table's heading comes from its folder's letters in any case.
    fs::remove_all(dir / "x");
    fs::create_directories(dir / "x/02-Ab"), fs::create_directories(dir / "x/10-bIn");
    WriteFileBytes(dir / "x/10-bIn/12.bin", Bytes{1});
    WriteFileBytes(dir / "x/10-bIn/-3", Bytes{2, 2});
    ASSERT_TRUE(Pack(dir / "x", dir / "b.drs").Ok());
    EXPECT_EQ(List(dir / "b.drs"), (Listing{{"--AB  (0)--", 0, 0, 0, {}}, {"--BIN (2)--", 0, 0, 0, {}}, {"-3", KindBIN, -3, 2, {2, 2}},
                                            {"12", KindBIN, 12, 1, {1}}}));
}

// A file changed in the folder is the new entry; a new one joins its table after the others; a removal
// leaves every entry of its ID out, in the tables of that name.
TEST_F(PackTest, TheFolderChangesAddsAndRemovesEntries) {
    WriteFileBytes(dir / "a.drs", WriteArchive(Mixed(Flavour::Year2001)));
    ExtractAll(dir / "a.drs", dir / "x");
    WriteFileBytes(dir / "x/01-SLP/-7.slp", Bytes{7, 7, 7});
    WriteFileBytes(dir / "x/01-SLP/4.slp", Bytes{4});
    fs::create_directories(dir / "x/06-TXT");
    WriteFileBytes(dir / "x/06-TXT/1.txt", Bytes{1});
    ASSERT_TRUE(Pack(dir / "x", dir / "b.drs", dir / "a.drs", false, {{"slp", 9}, {"XYZ", 300}}).Ok());
    const Listing expected{{"--SLP (4)--", 0, 0, 0, {}}, {"50", KindSLP, 50, 3, {1, 2, 3}}, {"-7", KindSLP, -7, 3, {7, 7, 7}},
                           {"50", KindSLP, 50, 2, {9, 9}}, {"4", KindSLP, 4, 1, {4}}, {"--WAV (1)--", 0, 0, 0, {}},
                           {"1", KindWAV, 1, 2, {5, 6}}, {"--BIN (0)--", 0, 0, 0, {}}, {"--SLP (0)--", 0, 0, 0, {}},
                           {"--XYZ (1)--", 0, 0, 0, {}}, {"2", KindOther, 2, 1, {8}}, {"--TXT (1)--", 0, 0, 0, {}},
                           {"1", KindOther, 1, 1, {1}}};
    EXPECT_EQ(List(dir / "b.drs"), expected);
}

TEST_F(PackTest, AFolderNotLaidOutAsExtractAllLaysItOutIsRefused) {
    WriteFileBytes(dir / "a.drs", WriteArchive(Mixed(Flavour::Year2001)));
    const struct { std::string Make, Like, Words, Where; std::vector<PackRemoval> Removals = {}; } cases[] = {
        {"01-SLP/readme.txt", "", "the file's name is no ID", "01-SLP/readme.txt"},
        {"01-SLP/5-1.slp", "", "the file's name is no ID", "01-SLP/5-1.slp"},
        {"01-SLP/5.slp 01-SLP/5.bin", "", "two files stand for one entry", "01-SLP/5.slp"},
        {"02/9", "", "no letters for a tag", "02"}, {"02-ABCD/9", "", "at most three letters", "02-ABCD"},
        {"notes/1", "", "not a table's folder", "notes"}, {"01-SLP/1 1-SLP/2", "", "two folders stand for table 1", "-SLP"},
        {"02-SLP/1", "a.drs", "table 2 of the archive is 02-WAV", "02-SLP"},
        {"01-SLP/1", "", "no entry WAV:1 to remove", "", {{"WAV", 1}}},
    };
    for (const auto& c : cases) {
        fs::remove_all(dir / "x");
        fs::create_directories(dir / "x");
        for (size_t at = 0, end; at < c.Make.size(); at = end + 1) {
            end = std::min(c.Make.find(' ', at), c.Make.size());
            const fs::path file = dir / ("x/" + c.Make.substr(at, end - at));
            fs::create_directories(file.parent_path());
            WriteFileBytes(file, Bytes{1});
        }
        const Outcome refused = Pack(dir / "x", dir / "b.drs", c.Like.empty() ? "" : dir / c.Like, false, c.Removals);
        EXPECT_TRUE(!refused && refused.Detail.find(c.Words) != std::string::npos) << c.Make << ": " << refused.Detail;
        EXPECT_TRUE(c.Where.empty() ? refused.File.empty() : refused.File.ends_with(c.Where)) << c.Make << ": " << refused.File;
    }
}

// The counts and offsets of the format: an archive of 32,765 entries in one table can take no more
// table nor two more entries; sizes are only looked at, so sparse files stand for large ones.
TEST_F(PackTest, LimitsOfTheFormatAreRefusedBeforeAnythingIsRead) {
    std::vector<EntryFixture> many(MaxListRows - 1);
    WriteFileBytes(dir / "full.drs", WriteArchive({Flavour::Year2001, {{StoredTag("bin"), many}}}));
    const auto sparse = [&](const std::string& name, int64_t size) {
        fs::create_directories(fs::path(dir / name).parent_path());
        WriteFileBytes(dir / name, Bytes{});
        fs::resize_file(dir / name, static_cast<uintmax_t>(size));
    };
    const struct { std::vector<std::pair<std::string, int64_t>> Files; std::string Like, Words, Where; } cases[] = {
        {{{"02-BIN/1", 0}}, "full.drs", "32768 tables and entries, more than the 32766 rows", "x"},
        {{{"01-BIN/40000.bin", 0}, {"01-BIN/40001.bin", 0}, {"01-BIN/40002.bin", 0}}, "full.drs", "32768 entries, more than the 32767", "x"},
        {{{"01-BIN/1.bin", 2147483648}}, "", "2147483648 bytes, more than the 2147483647 an entry can have", "01-BIN/1.bin"},
        {{{"01-BIN/1.bin", 2147483647 - 100}, {"01-BIN/2.bin", 1}}, "", "entry 2 would start at byte 2147483667", "01-BIN/2.bin"},
    };
    for (const auto& c : cases) {
        fs::remove_all(dir / "x");
        for (const auto& [name, size] : c.Files) sparse("x/" + name, size);
        const Outcome refused = Pack(dir / "x", dir / "b.drs", c.Like.empty() ? "" : dir / c.Like);
        EXPECT_TRUE(!refused && refused.Code == Fault::OutOfLimits && refused.Detail.find(c.Words) != std::string::npos) << refused.Detail;
        EXPECT_TRUE(refused.File.ends_with(c.Where)) << refused.File;
    }
}

}  // namespace
