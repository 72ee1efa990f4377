#include <gtest/gtest.h>

#include "archive/DRSCode.h"
#include "archive/EntryFiles.h"

namespace {

// Eleven tables of one entry each, the last a second SLP table holding ID 7 twice.
TEST(EntryFilesTest, AFolderPerTableInListOrderAndANameNoEntryShares) {
    std::vector<ListRow> rows;
    for (const char* tag : {"SLP", "WAV", "BIN", "A1", "B2", "C3", "D4", "E5", "F6", "../UP", "SLZ"})
        rows.insert(rows.end(), {{std::string("--") + tag + " (1)--", KindHeading}, {"7", KindOther}});
    rows[1].ItemData = KindSLP, rows[3].ItemData = KindWAV, rows.back().ItemData = KindSLP;
    rows.push_back({"7", KindSLP});
    const std::vector<CatalogueRow> catalogue(rows.size(), CatalogueRow{7, 0, 0, {}});
    std::vector<std::string> paths;
    for (const PlannedCopy& copy : PlanEntryFiles(rows, catalogue, "/out")) paths.push_back(copy.Path);
    EXPECT_EQ(paths, (std::vector<std::string>{"/out/01-SLP/7.slp", "/out/02-WAV/7.wav", "/out/03-BIN/7", "/out/04-A1/7",
                                               "/out/05-B2/7", "/out/06-C3/7", "/out/07-D4/7", "/out/08-E5/7",
                                               "/out/09-F6/7", "/out/10-UP/7", "/out/11-SLZ/7.slp", "/out/11-SLZ/7-2.slp"}));
    EXPECT_EQ(PlanEntryFiles(rows, catalogue, "/out", "slz").size(), 2u);  // a table asked for by name, in any case
}

}  // namespace
