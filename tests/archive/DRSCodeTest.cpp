#include <gtest/gtest.h>

#include <algorithm>
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

// Tables of entries with and without data, one empty, a repeated tag and one of no known kind.
ArchiveFixture SmallArchive(Flavour kind) {
    return {kind, {{StoredTag("slp"), {{50, {1, 2, 3}}, {-7, {4}}}}, {StoredTag("wav", 'x'), {{1, {5, 6}}}},
                   {StoredTag("bin"), {}}, {StoredTag("slp", 'Z'), {{9, {7}}}}, {StoredTag("xyz"), {{300, {}}}}}};
}

struct ArchiveTest : testing::Test {
    TempDir dir;
    RecordingHost host;
    ReadOnlyFile archive;

    int16_t Read(const Bytes& bytes) {
        archive.Close();
        WriteFileBytes(dir / "a.drs", bytes);
        EXPECT_TRUE(archive.Open(dir / "a.drs"));
        return ReadDRSCatalogue(archive, host).Code;
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
        host = RecordingHost{};  // answers OK to the question about an unknown flavour
        ArchiveLayout at;
        ASSERT_EQ(Read(WriteArchive(SmallArchive(kind), &at)), CatalogueBuilt);
        const Rows rows{{},        {50, at.DataAt[0][0], 3}, {-7, at.DataAt[0][1], 1}, {}, {1, at.DataAt[1][0], 2},
                        {},        {},                       {9, at.DataAt[3][0], 1},  {}, {300, at.DataAt[4][0], 0}};
        const Listed list{{"--SLP (2)--", KindHeading}, {"50", KindSLP},  {"-7", KindSLP},
                          {"--WAV (1)--", KindHeading}, {"1", KindWAV},   {"--BIN (0)--", KindHeading},
                          {"--SLP (1)--", KindHeading}, {"9", KindSLP},   {"--XYZ (1)--", KindHeading},
                          {"300", KindOther}};
        EXPECT_EQ(Shown(), std::tuple(list, rows, 1));
        const ShownMessage question{std::string(InvalidFormatQuestion), MessageStyle::OkCancel, ""};
        EXPECT_EQ(host.Messages, kind == Flavour::Unknown ? std::vector{question} : std::vector<ShownMessage>{});
    }
}

TEST_F(ArchiveTest, AtMost32766Rows) {
    for (auto [rows, code] : {std::pair{MaxListRows, CatalogueBuilt}, {MaxListRows + 1, CatalogueDamaged}}) {
        const std::vector<EntryFixture> entries(size_t(rows - 1));
        EXPECT_EQ(Read(WriteArchive({Flavour::Year1997, {{StoredTag("slp"), entries}}})), code);
    }
    EXPECT_EQ(std::pair(host.Rows.size(), host.Rows[0].Text),
              std::pair(size_t(MaxListRows), std::string("--SLP (32765)--")));
}

TEST_F(ArchiveTest, RefusedOrDamagedArchiveKeepsTheOneBefore) {
    ArchiveLayout at;
    const Bytes good = WriteArchive(SmallArchive(Flavour::Year1997), &at);
    const size_t header = size_t(at.HeaderAt), table = size_t(at.TablesAt), last = size_t(at.EntryRecordsAt.back());
    const struct { const char* Name; int16_t Code; std::function<void(Bytes&)> Damage; } cases[] = {
        {"magic in another case, question cancelled", CatalogueRefused, [](Bytes& b) { b[0] = 'c'; }},
        {"magic without its blank, question cancelled", CatalogueRefused, [](Bytes& b) { b[27] = 'x'; }},
        {"TableCount negative", CatalogueDamaged, [&](Bytes& b) { PutI32(b, header + 16, -1); }},
        {"TableCount huge", CatalogueDamaged, [&](Bytes& b) { PutI32(b, header + 16, 0x7FFFFFFF); }},
        {"EntryCount negative", CatalogueDamaged, [&](Bytes& b) { PutI32(b, table + 8, -1); }},
        {"EntryCount beyond 16 bits, all records there", CatalogueDamaged,
         [&](Bytes& b) { PutI32(b, table + 8, 65538); b.resize(size_t(at.EntryRecordsAt[0]) + 12 * 65538); }},
        {"EntriesOffset negative", CatalogueDamaged, [&](Bytes& b) { PutI32(b, table + 4, -12); }},
        {"EntriesOffset at the end", CatalogueDamaged, [&](Bytes& b) { PutI32(b, table + 4, int32_t(b.size())); }},
        {"records across the end", CatalogueDamaged, [&](Bytes& b) { PutI32(b, table + 4, int32_t(b.size() - 12)); }},
    };
    ASSERT_EQ(Read(WriteArchive({Flavour::Year2001, {{StoredTag("slp"), {{1, {}}}}}})), CatalogueBuilt);
    const auto before = Shown();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        host.Answers = {MessageAnswer::Cancel};
        host.Messages.clear();
        Bytes bytes = good;
        c.Damage(bytes);
        EXPECT_EQ(Read(bytes), c.Code);
        EXPECT_EQ(host.Messages.size(), c.Code == CatalogueRefused ? 1u : 0u);
        EXPECT_EQ(Shown(), before);
    }
    // Entry data are no part of the directory: cut right behind the last record, the archive still reads.
    EXPECT_EQ(Read(Bytes(good.begin(), good.begin() + long(last) + 12)), CatalogueBuilt);
}

TEST_F(ArchiveTest, CutAtAnyRecordBoundaryTheDirectoryIsRefused) {
    ArchiveLayout at;
    const Bytes good = WriteArchive(SmallArchive(Flavour::Year2001), &at);
    std::vector<int32_t> cuts = {0, 27, at.HeaderAt, at.TablesAt};
    for (int32_t t = 0; t < 5; ++t) cuts.push_back(at.TablesAt + 12 * t + 12);
    for (int32_t records : at.EntryRecordsAt) cuts.push_back(records), cuts.push_back(records + 12);
    std::sort(cuts.begin(), cuts.end());
    // Behind the last record the directory is whole; every cut before it is damage (or, before the
    // magic is complete, a file of neither flavour that the user declines).
    const int32_t whole = at.EntryRecordsAt.back() + 12;
    for (int32_t cut : cuts) {
        host.Answers = {MessageAnswer::Cancel};
        const int16_t code = Read(Bytes(good.begin(), good.begin() + cut));
        EXPECT_EQ(code, cut >= whole ? CatalogueBuilt : cut < 28 ? CatalogueRefused : CatalogueDamaged) << cut;
    }
    // No tables at all is an empty archive, not a damaged one.
    Bytes empty = good;
    PutI32(empty, size_t(at.HeaderAt) + 16, 0);
    EXPECT_EQ(Read(empty), CatalogueBuilt);
    EXPECT_TRUE(DRSCatalogue.empty());
}

TEST_F(ArchiveTest, CopiesEntriesByteForByteOrFailsWithTheBox) {
    // Patterned bytes up to just behind the largest entry that can be copied from 16.
    const std::string path = dir / "big.drs", out = dir / "out";
    Bytes whole(16 + size_t{EntrySizeLimit} + 4096);
    for (size_t i = 0; i < whole.size(); ++i) whole[i] = uint8_t(i * 7 + i / 1021);
    WriteFileBytes(path, whole);
    const auto end = int32_t(whole.size());
    ASSERT_TRUE(archive.Open(path));
    // Offset, Size, and the bytes left in the new file: -1 when not looked at, -2 when it can't be created.
    const std::array<int32_t, 3> cases[] = {
        {100, 0, 0}, {100, 1, 1}, {100, 1023, 1023}, {100, 1024, 1024}, {3, 1025, 1025}, {end - 10, 2048, 10},
        {16, EntrySizeLimit - 1, EntrySizeLimit - 1}, {16, EntrySizeLimit + BlockSize, 0}, {end + 5, 10, 0},
        {16, EntrySizeLimit + 1000, EntrySizeLimit},  // the 32,767 whole blocks are written, then it fails
        {-1, 10, -1}, {0, -1, -1}, {0, 10, -2}};
    const std::vector<std::string> finished{"Reading data...", "Finished reading data"};
    for (auto [offset, size, written] : cases) {
        SCOPED_TRACE(testing::Message() << offset << " " << size);
        host = RecordingHost{};
        WriteFileText(out, "an older file, longer than some entries");
        const bool ok = size >= 0 && written == size && size < EntrySizeLimit;
        const std::string target = written == -2 ? dir / "no/folder/out" : out;
        EXPECT_EQ(ReadResourceData(archive, target, CatalogueRow{1, offset, size, {}}, host).Ok, ok);
        EXPECT_EQ(host.StatusHistory, ok ? finished : std::vector{finished[0]});
        const ShownMessage saveError{"Error saving file!", MessageStyle::Plain, ""};
        EXPECT_EQ(host.Messages, ok ? std::vector<ShownMessage>{} : std::vector{saveError});
        const auto start = whole.begin() + std::clamp(offset, 0, end);
        if (written >= 0) { EXPECT_TRUE(ReadFileBytes(out) == Bytes(start, start + written)); }
    }
}

TEST(TempStampTest, HundredthsSinceMidnightRoundedDown) {
    for (auto [seconds, stamp] :
         {std::pair{0.0, "0"}, {0.009, "0"}, {1.5, "150"}, {12345.678, "1234567"}, {86399.999, "8639999"}})
        EXPECT_EQ(TempStamp(seconds), stamp) << seconds;
    TempFolder = "/tmp/brindle/";
    const std::string path = MakeTempResourcePath();
    EXPECT_TRUE(std::regex_match(path, std::regex(R"(/tmp/brindle/_drs(0|[1-9][0-9]{0,6})\.drx)"))) << path;
}

}  // namespace
