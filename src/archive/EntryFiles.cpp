#include "archive/EntryFiles.h"

#include "archive/DRSCode.h"
#include "base/Functions.h"

namespace fs = std::filesystem;

std::string TableOfHeading(const std::string& heading) {
    const size_t end = heading.rfind(" (");
    if (!heading.starts_with("--") || end == std::string::npos || end < 2) return heading;
    return heading.substr(2, end - 2);
}

bool SameTable(const std::string& a, const std::string& b) { return AsciiLowerCase(a) == AsciiLowerCase(b); }

std::string ProposedName(int32_t kind, int32_t id) {
    std::string name = std::to_string(id);
    if (kind == KindSLP) return name + ".slp";
    if (kind == KindWAV) return name + ".wav";
    if (kind == KindBIN) return name + ".bin";
    return name;
}

std::string TableFolderName(int position, const std::string& heading) {
    std::string name = std::to_string(position);
    if (position < 10) name.insert(0, 1, '0');
    std::string tag;
    for (char c : TableOfHeading(heading)) {
        if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) tag += c;
    }
    return tag.empty() ? name : name + "-" + tag;
}

std::string DistinctName(const std::string& name, std::set<std::string>& used) {
    std::string candidate = name;
    const size_t dot = name.find('.');
    const std::string stem = name.substr(0, dot);
    const std::string extension = dot == std::string::npos ? "" : name.substr(dot);
    for (int n = 2; used.count(candidate) != 0; ++n) candidate = stem + "-" + std::to_string(n) + extension;
    used.insert(candidate);
    return candidate;
}

void ForEachEntryByTable(const std::vector<ListRow>& rows, const std::string& out, const std::string& table,
                         const std::function<void(size_t, const fs::path&, std::set<std::string>&)>& use) {
    fs::path folder;
    bool wanted = false;
    int tables = 0;
    std::set<std::string> used;
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].ItemData == KindHeading) {
            folder = fs::path(out) / TableFolderName(++tables, rows[i].Text);
            wanted = table.empty() || SameTable(TableOfHeading(rows[i].Text), table);
            used.clear();
        } else if (wanted) {
            use(i, folder, used);
        }
    }
}

std::vector<PlannedCopy> PlanEntryFiles(const std::vector<ListRow>& rows, const std::vector<CatalogueRow>& catalogue,
                                        const std::string& out, const std::string& table) {
    std::vector<PlannedCopy> plan;
    ForEachEntryByTable(rows, out, table, [&](size_t row, const fs::path& folder, std::set<std::string>& used) {
        const int32_t id = row < catalogue.size() ? catalogue[row].ID : 0;
        plan.push_back({row, (folder / DistinctName(ProposedName(rows[row].ItemData, id), used)).string()});
    });
    return plan;
}
