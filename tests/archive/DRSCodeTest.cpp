#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>

#include "RecordingHost.h"
#include "Writers.h"
#include "archive/DRSCode.h"
#include "shell/Files.h"

using namespace fixtures;

namespace {

using Listed = std::vector<std::pair<std::string, int32_t>>;
using Rows = std::vector<std::array<int32_t, 3>>;

ArchiveFixture SmallArchive(Flavour kind) {
    return {kind, {{StoredTag("slp"), {{50, {1, 2, 3}}, {-7, {4}}}}, {StoredTag("wav", 'x'), {{1, {5, 6}}}}}};
}

// Reads a whole file in one go: fast enough for the entries of 32 MB.
Bytes Slurp(const std::string& path) {
    Bytes bytes(std::filesystem::file_size(path));
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(bytes.data()), std::streamsize(bytes.size()));
    return bytes;
}

class ArchiveTest : public testing::Test {
protected:
    TempDir dir;
    RecordingHost host;
    ReadOnlyFile archive;

    int16_t Read(const Bytes& bytes) {
        archive.Close();
        WriteFileBytes(dir / "a.drs", bytes);
        EXPECT_TRUE(archive.Open(dir / "a.drs"));
        return ReadDRSCatalogue(archive, host).Code;
    }
    // The list and the catalogue as they stand.
    std::pair<Listed, Rows> Shown() const {
        std::pair<Listed, Rows> shown;
        for (const ListRow& row : host.Rows) shown.first.emplace_back(row.Text, row.ItemData);
        for (const CatalogueRow& row : DRSCatalogue) shown.second.push_back({row.ID, row.Offset, row.Size});
        return shown;
    }
};

TEST_F(ArchiveTest, EveryFlavourListsTablesAndEntriesInArchiveOrder) {
    for (Flavour kind : {Flavour::Year2001, Flavour::Year1997, Flavour::Unknown}) {
        SCOPED_TRACE(static_cast<int>(kind));
        host = RecordingHost{};  // answers OK to the question about an unknown flavour
        ArchiveFixture wanted = SmallArchive(kind);
        wanted.Tables.push_back({StoredTag("bin"), {}});
        wanted.Tables.push_back({StoredTag("slp", 'Z'), {{9, {7}}}});
        wanted.Tables.push_back({StoredTag("xyz"), {{300, {}}}});
        ArchiveLayout at;
        ASSERT_EQ(Read(WriteArchive(wanted, &at)), CatalogueBuilt);

        const Rows rows{{},        {50, at.DataAt[0][0], 3}, {-7, at.DataAt[0][1], 1}, {}, {1, at.DataAt[1][0], 2},
                        {},        {},                       {9, at.DataAt[3][0], 1},  {}, {300, at.DataAt[4][0], 0}};
        const Listed list{{"--SLP (2)--", KindHeading}, {"50", KindSLP},  {"-7", KindSLP},
                          {"--WAV (1)--", KindHeading}, {"1", KindWAV},   {"--BIN (0)--", KindHeading},
                          {"--SLP (1)--", KindHeading}, {"9", KindSLP},   {"--XYZ (1)--", KindHeading},
                          {"300", KindOther}};
        EXPECT_EQ(Shown(), std::pair(list, rows));
        EXPECT_EQ(host.Messages.size(), kind == Flavour::Unknown ? 1u : 0u);
        for (const ShownMessage& box : host.Messages) {
            EXPECT_EQ(box.Text, InvalidFormatQuestion);
            EXPECT_EQ(box.Style, MessageStyle::OkCancel);
        }
    }
}

TEST_F(ArchiveTest, AtMost32766Rows) {
    auto oneTable = [](size_t entries) {
        return ArchiveFixture{Flavour::Year1997, {{StoredTag("slp"), std::vector<EntryFixture>(entries)}}};
    };
    ASSERT_EQ(Read(WriteArchive(oneTable(MaxListRows - 1))), CatalogueBuilt);
    EXPECT_EQ(host.Rows.size(), size_t(MaxListRows));
    EXPECT_EQ(host.Rows[0].Text, "--SLP (32765)--");
    EXPECT_EQ(Read(WriteArchive(oneTable(MaxListRows))), CatalogueDamaged);
}

TEST_F(ArchiveTest, RefusedOrDamagedArchiveKeepsTheOneBefore) {
    ArchiveLayout at;
    const Bytes good = WriteArchive(SmallArchive(Flavour::Year1997), &at);
    const size_t header = size_t(at.HeaderAt), table = size_t(at.TablesAt), second = size_t(at.EntryRecordsAt[1]);
    const struct {
        const char* name;
        int16_t code;
        std::function<void(Bytes&)> damage;
    } cases[] = {
        {"magic in another case, question cancelled", CatalogueRefused, [](Bytes& b) { b[0] = 'c'; }},
        {"magic without its blank, question cancelled", CatalogueRefused, [](Bytes& b) { b[27] = 'x'; }},
        {"cut in the header", CatalogueDamaged, [&](Bytes& b) { b.resize(header + 18); }},
        {"cut in a table record", CatalogueDamaged, [&](Bytes& b) { b.resize(table + 18); }},
        {"cut in an entry record", CatalogueDamaged, [&](Bytes& b) { b.resize(second + 8); }},
        {"TableCount negative", CatalogueDamaged, [&](Bytes& b) { PutI32(b, header + 16, -1); }},
        {"TableCount huge", CatalogueDamaged, [&](Bytes& b) { PutI32(b, header + 16, 0x7FFFFFFF); }},
        {"EntryCount negative", CatalogueDamaged, [&](Bytes& b) { PutI32(b, table + 8, -1); }},
        {"EntryCount beyond 16 bits, all records there", CatalogueDamaged, [&](Bytes& b) {
            PutI32(b, table + 8, 65536 + 2);
            b.resize(size_t(at.EntryRecordsAt[0]) + 12 * size_t(65536 + 2));
        }},
        {"EntriesOffset negative", CatalogueDamaged, [&](Bytes& b) { PutI32(b, table + 4, -12); }},
        {"EntriesOffset at the end", CatalogueDamaged, [&](Bytes& b) { PutI32(b, table + 4, int32_t(b.size())); }},
        {"records across the end", CatalogueDamaged, [&](Bytes& b) { PutI32(b, table + 4, int32_t(b.size()) - 12); }},
    };
    for (const auto& [name, code, damage] : cases) {
        SCOPED_TRACE(name);
        ASSERT_EQ(Read(WriteArchive(SmallArchive(Flavour::Year2001))), CatalogueBuilt);
        const auto before = Shown();
        const int clears = host.ListClears;
        host.Answers = {MessageAnswer::Cancel};
        host.Messages.clear();
        Bytes bytes = good;
        damage(bytes);
        EXPECT_EQ(Read(bytes), code);
        EXPECT_EQ(host.Messages.size(), code == CatalogueRefused ? 1u : 0u);
        EXPECT_EQ(Shown(), before);
        EXPECT_EQ(host.ListClears, clears);
    }
    // Entry data are no part of the directory: cut right behind the last record, the archive still reads.
    EXPECT_EQ(Read(Bytes(good.begin(), good.begin() + long(second) + 12)), CatalogueBuilt);
}

TEST_F(ArchiveTest, CopiesEntriesByteForByteOrFailsWithTheBox) {
    // Patterned bytes, then a sparse hole up to just behind the largest entry that can be copied from 16.
    const std::string path = dir / "big.drs", out = dir / "out";
    Bytes pattern(3 * 1024 * 1024 + 200);
    for (size_t i = 0; i < pattern.size(); ++i) pattern[i] = uint8_t(i * 7 + i / 1021);
    WriteFileBytes(path, pattern);
    std::filesystem::resize_file(path, 16 + int64_t{EntrySizeLimit} + 4096);
    std::fstream(path, std::ios::binary | std::ios::in | std::ios::out).seekp(16 + EntrySizeLimit - 2).write("AB", 2);
    const Bytes whole = Slurp(path);
    const int32_t end = int32_t(whole.size());
    ASSERT_TRUE(archive.Open(path));
    // Offset, Size, and the bytes left in the new file: all of them when the copy succeeds, -1 when not looked
    // at, -2 when the new file cannot be created.
    const std::array<int32_t, 3> cases[] = {
        {100, 0, 0}, {100, 1, 1}, {100, 1023, 1023}, {100, 1024, 1024}, {3, 1025, 1025},
        {7, 3 * 1024 * 1024 + 7, 3 * 1024 * 1024 + 7}, {16, EntrySizeLimit - 1, EntrySizeLimit - 1},
        {16, EntrySizeLimit, EntrySizeLimit},  // the 32,767 blocks are written before it fails
        {16, EntrySizeLimit + 40 * BlockSize, 0}, {end - 10, 2048, 10}, {end + 5, 10, 0},
        {-1, 10, -1}, {0, -1, -1}, {0, 10, -2},
    };
    const std::vector<std::string> finished{"Reading data...", "Finished reading data"};
    for (auto [offset, size, written] : cases) {
        SCOPED_TRACE(testing::Message() << offset << " " << size);
        host = RecordingHost{};
        WriteFileText(out, "an older file, longer than some entries");
        const bool ok = size >= 0 && written == size && size < EntrySizeLimit;
        const std::string target = written == -2 ? dir / "no/folder/out" : out;
        EXPECT_EQ(ReadResourceData(archive, target, CatalogueRow{1, offset, size, {}}, host).Ok, ok);
        EXPECT_EQ(host.StatusHistory, ok ? finished : std::vector{finished[0]});
        EXPECT_EQ(host.Messages.size(), ok ? 0u : 1u);
        for (const ShownMessage& box : host.Messages) {
            EXPECT_EQ(box.Text, "Error saving file!");
            EXPECT_EQ(box.Style, MessageStyle::Plain);
        }
        const auto start = whole.begin() + std::clamp(offset, 0, end);
        if (written >= 0) {
            EXPECT_TRUE(Slurp(out) == Bytes(start, start + written));
        }
    }
}

TEST(TempStampTest, HundredthsSinceMidnightRoundedDown) {
    for (auto [seconds, stamp] :
         {std::pair{0.0, "0"}, {0.009, "0"}, {1.5, "150"}, {12345.678, "1234567"}, {86399.999, "8639999"}}) {
        EXPECT_EQ(TempStamp(seconds), stamp) << seconds;
    }
    TempFolder = "/tmp/brindle/";
    const std::string path = MakeTempResourcePath();
    EXPECT_TRUE(std::regex_match(path, std::regex(R"(/tmp/brindle/_drs(0|[1-9][0-9]{0,6})\.drx)"))) << path;
}

}  // namespace
