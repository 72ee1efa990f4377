#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "archive/DRSCode.h"
#include "base/Files.h"
#include "RecordingHost.h"
#include "Writers.h"

using namespace fixtures;

namespace {

using Listed = std::vector<std::pair<std::string, int32_t>>;
using Rows = std::vector<std::array<int32_t, 3>>;

// Tables of entries with and without data, one empty, a repeated tag and one of no known kind.
ArchiveFixture SmallArchive(Flavour kind) {
    return {kind, {{StoredTag("slp"), {{50, {1, 2, 3}}, {-7, {4}}}}, {StoredTag("wav", 'x'), {{1, {5, 6}}}},
                   {StoredTag("bin"), {}}, {StoredTag("slp", 'Z'), {{9, {7}}}}, {StoredTag("xyz"), {{300, {}}}}}};
}

struct ArchiveTest : testing::Test {
    TempDir dir;
    RecordingHost host;
    ReadOnlyFile archive;

    int16_t Read(const Bytes& bytes, bool readAnyway = false) {
        archive.Close();
        WriteFileBytes(dir / "a.drs", bytes);
        EXPECT_TRUE(archive.Open(dir / "a.drs"));
        return CatalogueCode(ReadDRSCatalogue(archive, host, readAnyway));
    }
    // The list, the catalogue, and how often the list was cleared.
    std::tuple<Listed, Rows, int> Shown() const {
        std::tuple<Listed, Rows, int> shown{{}, {}, host.ListClears};
        for (const ListRow& row : host.Rows) std::get<0>(shown).emplace_back(row.Text, row.ItemData);
        for (const CatalogueRow& row : DRSCatalogue) std::get<1>(shown).push_back({row.ID, row.Offset, row.Size});
        return shown;
    }
};

TEST_F(ArchiveTest, EveryFlavourListsTablesAndEntriesInArchiveOrder) {
    for (Flavour kind : {Flavour::Year2001, Flavour::Year1997, Flavour::Unknown}) {
        SCOPED_TRACE(static_cast<int>(kind));
        host = RecordingHost{};
        ArchiveLayout at;
        ASSERT_EQ(Read(WriteArchive(SmallArchive(kind), &at), true), CatalogueBuilt);
        const Rows rows{{}, {50, at.DataAt[0][0], 3}, {-7, at.DataAt[0][1], 1}, {}, {1, at.DataAt[1][0], 2},
                        {}, {}, {9, at.DataAt[3][0], 1}, {}, {300, at.DataAt[4][0], 0}};
        const Listed list{{"--SLP (2)--", KindHeading}, {"50", KindSLP}, {"-7", KindSLP}, {"--WAV (1)--", KindHeading},
                          {"1", KindWAV}, {"--BIN (0)--", KindHeading}, {"--SLP (1)--", KindHeading}, {"9", KindSLP},
                          {"--XYZ (1)--", KindHeading}, {"300", KindOther}};
        EXPECT_EQ(Shown(), std::tuple(list, rows, 1));
        EXPECT_TRUE(host.Messages.empty());
    }
}

// Only a whole directory replaces the archive before: one that is damaged, cut at any record boundary or
// refused (a file of neither flavour, the question cancelled) leaves its list and catalogue. Entry data
// are no part of the directory, no tables at all make an empty archive, and the list holds 32,766 rows.
TEST_F(ArchiveTest, OnlyAWholeDirectoryReplacesTheArchiveBefore) {
    ArchiveLayout at;
    const Bytes good = WriteArchive(SmallArchive(Flavour::Year1997), &at);
    const size_t header = size_t(at.HeaderAt), table = size_t(at.TablesAt);
    auto rows = [](int32_t count) {  // a heading and count - 1 entries
        return WriteArchive({Flavour::Year1997, {{StoredTag("slp"), std::vector<EntryFixture>(size_t(count - 1))}}});
    };
    struct Case { std::string Name; int16_t Code; std::function<void(Bytes&)> Damage; };
    const auto put = [](size_t offset, int32_t value) { return [=](Bytes& b) { PutI32(b, offset, value); }; };
    std::vector<Case> cases = {
        {"magic without its blank", CatalogueRefused, [](Bytes& b) { b[27] = 'x'; }},
        {"table count -1", CatalogueDamaged, put(header + 16, -1)}, {"table count 0", CatalogueBuilt, put(header + 16, 0)},
        {"table count huge", CatalogueDamaged, put(header + 16, 0x7FFFFFFF)},
        {"entry count -1", CatalogueDamaged, put(table + 8, -1)}, {"entries at -12", CatalogueDamaged, put(table + 4, -12)},
        {"entry count beyond 16 bits, all records there", CatalogueDamaged,
         [&](Bytes& b) { PutI32(b, table + 8, 65538); b.resize(size_t(at.EntryRecordsAt[0]) + 12 * 65538); }},
        {"32766 rows", CatalogueBuilt, [&](Bytes& b) { b = rows(MaxListRows); }},
        {"32767 rows", CatalogueDamaged, [&](Bytes& b) { b = rows(MaxListRows + 1); }}};
    std::vector<int32_t> cuts = {0, 27, at.HeaderAt, at.TablesAt};
    for (int32_t t = 1; t <= 5; ++t) cuts.push_back(at.TablesAt + 12 * t);
    for (int32_t records : at.EntryRecordsAt) cuts.push_back(records), cuts.push_back(records + 12);
    for (int32_t cut : cuts) {  // the last just behind the last record
        const int16_t code = cut == cuts.back() ? CatalogueBuilt : cut < 28 ? CatalogueRefused : CatalogueDamaged;
        cases.push_back({"cut at " + std::to_string(cut), code, [cut](Bytes& b) { b.resize(size_t(cut)); }});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        ASSERT_EQ(Read(WriteArchive({Flavour::Year2001, {{StoredTag("slp"), {{1, {}}}}}})), CatalogueBuilt);
        const auto before = Shown();
        Bytes bytes = good;
        c.Damage(bytes);
        EXPECT_EQ(Read(bytes), c.Code);
        EXPECT_TRUE(host.Messages.empty());  // the window asks and tells; the reader never does
        if (c.Code != CatalogueBuilt) { EXPECT_EQ(Shown(), before); }
    }
}

TEST_F(ArchiveTest, CopiesEntriesByteForByteOrSaysWhyNot) {
    // Patterned bytes up to just behind the largest entry that can be copied from 16.
    const std::string path = dir / "big.drs", out = dir / "out";
    Bytes whole(16 + size_t{EntrySizeLimit} + 4096);
    for (size_t i = 0; i < whole.size(); ++i) whole[i] = uint8_t(i * 7 + i / 1021);
    WriteFileBytes(path, whole);
    const auto end = int32_t(whole.size());
    ASSERT_TRUE(archive.Open(path));
    // Offset, Size, and the bytes left in the new file: -1 when not looked at, -2 when it can't be created.
    const std::array<int32_t, 3> cases[] = {
        {100, 0, 0}, {100, 1024, 1024}, {3, 1025, 1025}, {end - 10, 2048, 10}, {16, EntrySizeLimit - 1, EntrySizeLimit - 1},
        {16, EntrySizeLimit + 1000, EntrySizeLimit},  // the 32,767 whole blocks are written, then it fails
        {16, EntrySizeLimit + BlockSize, 0}, {end + 5, 10, 0}, {-1, 10, -1}, {0, -1, -1}, {0, 10, -2}};
    const std::vector<std::string> finished{"Reading data...", "Finished reading data"};
    for (auto [offset, size, written] : cases) {
        SCOPED_TRACE(testing::Message() << offset << " " << size);
        host = RecordingHost{};
        WriteFileText(out, "an older file, longer than some entries");
        const bool ok = size >= 0 && written == size && size < EntrySizeLimit;
        const std::string target = written == -2 ? dir / "no/folder/out" : out;
        EXPECT_EQ(ReadResourceData(archive, target, CatalogueRow{1, offset, size, {}}, host).Ok(), ok);
        EXPECT_EQ(host.StatusHistory, ok ? finished : std::vector{finished[0]});
        EXPECT_TRUE(host.Messages.empty());
        const auto start = whole.begin() + std::clamp(offset, 0, end);
        if (written >= 0) { EXPECT_TRUE(ReadFileBytes(out) == Bytes(start, start + written)); }
    }
}

TEST(TempStampTest, HundredthsSinceMidnightRoundedDown) {
    for (auto [seconds, stamp] : {std::pair{0.0, "0"}, {0.009, "0"}, {12345.678, "1234567"}, {86399.999, "8639999"}})
        EXPECT_EQ(TempStamp(seconds), stamp) << seconds;
}

}  // namespace
