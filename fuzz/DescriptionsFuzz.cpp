// Any bytes loaded as a description file onto a small catalogue; then the catalogue saved and loaded
// again onto the same rows without descriptions, which must give back all that the format carries.

#include <climits>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "archive/UsefulCode.h"
#include "base/Functions.h"
#include "descriptions/DescriptionFiles.h"
#include "FuzzSupport.h"

namespace {

// Two headings of id 0, an id in both tables, the ends of the 32-bit range, and a few descriptions
// that a load may leave standing: blanks at the ends, "@" and a character beyond Windows-1252.
const std::vector<CatalogueRow>& StartingCatalogue() {
    static const std::vector<CatalogueRow> rows{
        {0, 0, 0, {}},
        {12, 0, 0, {{2, 3, 1}, "  kept @ here "}},
        {100, 0, 0, {}},
        {-7, 0, 0, {{0, 0, 9}, "caf\xC3\xA9 \xE2\x82\xAC \xE4\xB8\x80"}},
        {0, 0, 0, {{0, 0, 0}, "   "}},
        {100, 0, 0, {{6, 0, 0}, "second"}},
        {5, 0, 0, {}},
        {INT32_MIN, 0, 0, {}},
        {INT32_MAX, 0, 0, {{1, 4, 0}, ""}},
    };
    return rows;
}

// Keeps the text of each row, as the list would show it.
class RowHost : public QuietHost {
public:
    std::vector<std::string> Rows;
    bool Visible = true;
    void SetListVisible(bool visible) override { Visible = visible; }
    void SetListRowText(int32_t index, std::string_view text) override {
        if (index < 0 || static_cast<size_t>(index) >= Rows.size()) std::abort();
        Rows[static_cast<size_t>(index)] = text;
    }
};

bool IsBlank(const ResourceDescription& description) { return description == ResourceDescription{}; }

// A description as a save and a load give it back: the text trimmed of blanks, through Windows-1252,
// and cut at its first "@". The choices of a loaded catalogue are always in their lists, so they stay.
ResourceDescription AfterSaveAndLoad(const ResourceDescription& description) {
    const std::string_view text = description.Text;
    const size_t first = text.find_first_not_of(' ');
    const std::string_view trimmed =
        first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
    const std::string stored = Utf8ToWindows1252(trimmed);
    return {description.Choices, Windows1252ToUtf8(std::string_view(stored).substr(0, stored.find('@')))};
}

void ResetCatalogue(bool keepDescriptions, RowHost& host) {
    DRSCatalogue = StartingCatalogue();
    host.Rows.clear();
    for (CatalogueRow& row : DRSCatalogue) {
        if (!keepDescriptions) row.Description = {};
        host.Rows.push_back("id " + std::to_string(row.ID));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RowHost host;
    ResetCatalogue(true, host);
    if (!LoadDescriptionFile(fuzzing::WriteInput("descriptions.dsc", data, size), host)) return 0;
    if (!host.Visible) std::abort();
    const std::vector<CatalogueRow> loaded = DRSCatalogue;

    // Each described row saves a line, and each line lands on the first row with its id.
    std::vector<ResourceDescription> want(loaded.size());
    std::vector<bool> named(loaded.size(), false);
    for (const CatalogueRow& row : loaded) {
        for (size_t list = 0; list < RenameListRows.size(); ++list) {
            const int32_t choice = row.Description.Choices[list];
            if (choice < 0 || static_cast<size_t>(choice) >= RenameListRows[list].size()) std::abort();
        }
        if (IsBlank(row.Description)) continue;
        size_t first = 0;
        while (loaded[first].ID != row.ID) ++first;
        want[first] = AfterSaveAndLoad(row.Description);
        named[first] = true;
    }

    const std::string again = fuzzing::ScratchFolder() + "again.dsc";
    if (!SaveDescriptionFile(again)) std::abort();
    ResetCatalogue(false, host);
    if (!LoadDescriptionFile(again, host) || !host.Visible) std::abort();
    for (size_t r = 0; r < DRSCatalogue.size(); ++r) {
        const std::string shown = named[r] ? BuildRowText(want[r]) : "id " + std::to_string(DRSCatalogue[r].ID);
        if (DRSCatalogue[r].Description != want[r] || host.Rows[r] != shown) std::abort();
    }
    return 0;
}
