#pragma once
// Every entry of an archive as a file of its own, laid out as `brindle-cli extract-all` and the
// window's "Extract all to folder..." lay them out: a folder per table, named by its position and tag
// ("01-SLP"), and in it each entry named by its ID and kind ("7.slp"), "7-2.slp" for a second 7.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "archive/UsefulCode.h"
#include "base/Host.h"

// The table's name in a heading row "--SLP (3)--": "SLP".
std::string TableOfHeading(const std::string& heading);
// Whether two table names are the same, in any case.
bool SameTable(const std::string& a, const std::string& b);

// The name the save dialog proposes for an entry: its ID, and the extension of its kind.
std::string ProposedName(int32_t kind, int32_t id);
// A table's folder: its position from 01 and its name's letters and digits, so that no name can lead
// out of the target folder.
std::string TableFolderName(int position, const std::string& heading);
// name itself if it is still free among used, else ID-2, ID-3, ... before the extension.
std::string DistinctName(const std::string& name, std::set<std::string>& used);

// Each entry of the tables the filter leaves (all for an empty one), in list order, with the folder
// under out that its table gets and the names given in that folder so far.
void ForEachEntryByTable(const std::vector<ListRow>& rows, const std::string& out, const std::string& table,
                         const std::function<void(size_t row, const std::filesystem::path& folder, std::set<std::string>& used)>& use);

// One entry to copy out, by its list row (and catalogue index), and the file it goes to.
struct PlannedCopy {
    size_t Row = 0;
    std::string Path;
};

// The file of every entry, as above, for the list's rows and the catalogue that goes with them.
std::vector<PlannedCopy> PlanEntryFiles(const std::vector<ListRow>& rows, const std::vector<CatalogueRow>& catalogue,
                                        const std::string& out, const std::string& table = {});
