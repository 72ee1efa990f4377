#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <ostream>

#include "archive/UsefulCode.h"
#include "descriptions/DescriptionFiles.h"
#include "RecordingHost.h"
#include "Writers.h"

using namespace fixtures;

void PrintTo(const ResourceDescription& d, std::ostream* out) {
    *out << '{' << d.Choices[0] << ',' << d.Choices[1] << ',' << d.Choices[2] << ",\"" << d.Text << "\"}";
}

namespace {

using Descriptions = std::vector<ResourceDescription>;

TEST(BuildRowTextTest, LetterAndTechLevelBeforeTheText) {
    const struct { std::array<int32_t, 3> Choices; std::string_view Text, Row; } cases[] = {
        {{2, 3, 1}, "gate", "M/T3: gate"}, {{6, 0, 9}, "", "F: "}, {{0, 4, 0}, "t", "T4: t"}, {{0, 0, 5}, " x ", " x "},
        {{7, 2, 0}, "past the list", "T2: past the list"}, {{-1, 0, 0}, "y", "y"}};
    for (const auto& c : cases) EXPECT_EQ(BuildRowText({c.Choices, std::string(c.Text)}), c.Row) << c.Text;
}

struct DescriptionFileTest : testing::Test {
    TempDir dir;
    RecordingHost host;
    // Two tables behind headings of id 0; id 100 stands in both.
    const std::vector<int32_t> ids{0, 12, 100, -7, 0, 100, INT32_MIN};

    void SetUp() override { Describe(); }
    void TearDown() override { DRSCatalogue.clear(); }

    // A fresh catalogue and list, with these descriptions (the rest blank).
    void Describe(Descriptions descriptions = {}) {
        descriptions.resize(ids.size());
        DRSCatalogue.clear();
        host = RecordingHost{};
        for (size_t r = 0; r < ids.size(); ++r) {
            DRSCatalogue.push_back({ids[r], 0, 0, descriptions[r]});
            host.Rows.push_back({ids[r] == 0 ? "--SLP--" : std::to_string(ids[r]), 1});
        }
    }
    // The descriptions held, and the texts of the list.
    std::pair<Descriptions, std::vector<std::string>> Shown() const {
        std::pair<Descriptions, std::vector<std::string>> shown;
        for (const CatalogueRow& row : DRSCatalogue) shown.first.push_back(row.Description);
        for (const ListRow& row : host.Rows) shown.second.push_back(row.Text);
        return shown;
    }
    Outcome Load(std::string_view fileText) {
        WriteFileText(dir / "d.dsc", fileText);
        return LoadDescriptionFile(dir / "d.dsc", host);
    }
};

// Loading the lines back is the round trip of fuzz/DescriptionsFuzz.cpp.
TEST_F(DescriptionFileTest, SaveWritesADescribedRowALine) {
    WriteFileText(dir / "d.dsc", "an older file");
    Describe({{{1, 0, 0}, " "}, {{2, 3, 1}, " café @ x "}, {}, {{0, 0, 9}, ""}, {{0, 0, 2}, "second table"}, {},
              {{6, 4, 0}, "ok"}});
    ASSERT_TRUE(SaveDescriptionFile(dir / "d.dsc"));
    EXPECT_EQ(ReadFileBytes(dir / "d.dsc"),
              BytesOf("0@1@0@0@\r\n12@2@3@1@caf\xE9 @ x\r\n-7@0@0@9@\r\n0@0@0@2@second table\r\n-2147483648@6@4@0@ok\r\n"));
    EXPECT_FALSE(SaveDescriptionFile(dir / "no such folder/d.dsc"));
}

TEST_F(DescriptionFileTest, OddLinesAreReadByTheirLeadingNumbers) {
    const struct { std::string_view Line; int Row; ResourceDescription After; } cases[] = {
        {"12@1@2", -1, {}}, {"4294967308@1@1@1@would wrap to 12", -1, {}}, {"12@1@2@3@a@b@c", 1, {{1, 2, 3}, "a"}},
        {"no number@1@0@0@t", 0, {{1, 0, 0}, "t"}}, {"  +12@0@0@0@ kept blanks ", 1, {{0, 0, 0}, " kept blanks "}},
        {"-7@6@4@9@t", 3, {{6, 4, 9}, "t"}}, {"12@7@5@10@past every list", 1, {{0, 0, 0}, "past every list"}},
        {"12@-1@ 3x@4294967297@t", 1, {{0, 3, 0}, "t"}}, {"12@1@1@1@caf\xE9\x80\r", 1, {{1, 1, 1}, "café€\r"}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Line);
        Describe(Descriptions(ids.size(), {{1, 1, 1}, "before"}));
        auto want = Shown();
        ASSERT_TRUE(Load(std::string(c.Line) + "\r\n"));
        if (c.Row >= 0) want.first[c.Row] = c.After, want.second[c.Row] = BuildRowText(c.After);
        EXPECT_EQ(Shown(), want);
    }
}

// LF ends a line too, the last line needs no end, and a text has no length limit; but a file that can't
// be read, or is larger than 64 MiB, is refused and changes nothing.
TEST_F(DescriptionFileTest, AnyFileUpTo64MiBIsReadToItsLastLine) {
    const std::string huge(10'000'000, 'h');
    ASSERT_TRUE(Load("12@1@0@0@lf\n-7@0@2@0@" + huge + "\r\n100@0@0@1@last"));
    const auto read = Shown();
    EXPECT_EQ(read.first, (Descriptions{{}, {{1, 0, 0}, "lf"}, {{0, 0, 1}, "last"}, {{0, 2, 0}, huge}, {}, {}, {}}));
    EXPECT_EQ(host.ListVisibleHistory, (std::vector<bool>{false, true}));  // hidden while its rows change
    EXPECT_FALSE(LoadDescriptionFile(dir / "missing.dsc", host));
    WriteFileText(dir / "big.dsc", "12@0@0@0@a\r\n");
    std::filesystem::resize_file(dir / "big.dsc", (64u << 20) + 1);
    EXPECT_FALSE(LoadDescriptionFile(dir / "big.dsc", host));
    EXPECT_EQ(std::pair(Shown(), host.ListVisibleHistory.size()), std::pair(read, size_t{2}));
}

}  // namespace
