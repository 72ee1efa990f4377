#include "descriptions/DescriptionFiles.h"

#include <array>
#include <cstdio>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "archive/UsefulCode.h"
#include "base/FileWriter.h"
#include "base/Files.h"
#include "base/Functions.h"

// What the format leaves open, settled here:
// - A line with fewer than five fields, a blank line among them, is dropped.
// - The choice fields are read like the id, by their leading number. A choice outside the rows of its
//   list, negative or past the end, is stored as 0, so no row ever holds a choice its list lacks.
// - A number that does not fit 32 bits signed never wraps: as an id it names no row, as a choice it is 0.
// - Lines end in LF, with or without a CR before it; a last line without its end counts too.
// - A file that can't be opened, or is larger than MaxFileBytes, is refused unread. The whole file is
//   read before the list is touched, so a refused file changes no row.
// - "@" in a text is written as it stands; such a text comes back cut at its first "@".

namespace {

// Far beyond any real file (32,766 rows), and a bound on what a damaged one makes us hold in memory.
constexpr size_t MaxFileBytes = size_t{64} << 20;

constexpr size_t FieldCount = 5;  // id, the three choices, the text

bool IsBlank(const ResourceDescription& description) {
    return description.Choices == std::array<int32_t, 3>{} && description.Text.empty();
}

std::string_view TrimBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The number a field begins with: blanks, a sign, then digits up to the first other character. A field
// without digits gives 0; a number that does not fit 32 bits signed gives nothing.
std::optional<int32_t> LeadingNumber(std::string_view field) {
    size_t at = field.find_first_not_of(' ');
    if (at == std::string_view::npos) return 0;
    const bool negative = field[at] == '-';
    if (field[at] == '-' || field[at] == '+') ++at;
    const int64_t limit = negative ? int64_t{1} << 31 : (int64_t{1} << 31) - 1;
    int64_t value = 0;
    bool fits = true;
    for (; at < field.size() && field[at] >= '0' && field[at] <= '9'; ++at) {
        if (!fits) continue;  // the rest of the digits still belong to the number
        value = value * 10 + (field[at] - '0');
        fits = value <= limit;
    }
    if (!fits) return std::nullopt;
    return static_cast<int32_t>(negative ? -value : value);
}

// The first five fields of a line split at "@"; fields behind the fifth are ignored. Gives how many
// fields the line has, at most five.
size_t SplitFields(std::string_view line, std::array<std::string_view, FieldCount>& fields) {
    size_t count = 0;
    while (count + 1 < FieldCount) {
        const size_t at = line.find('@');
        if (at == std::string_view::npos) break;
        fields[count++] = line.substr(0, at);
        line.remove_prefix(at + 1);
    }
    fields[count++] = line.substr(0, line.find('@'));
    return count;
}

// Puts the description of one line onto the first row with its id, and that row's text into the list.
void ApplyLine(std::string_view line, const std::unordered_map<int32_t, size_t>& firstRowOf, Host& host) {
    std::array<std::string_view, FieldCount> fields;
    if (SplitFields(line, fields) < FieldCount) return;
    const std::optional<int32_t> id = LeadingNumber(fields[0]);
    if (!id) return;
    const auto row = firstRowOf.find(*id);
    if (row == firstRowOf.end()) return;

    ResourceDescription description;
    for (size_t i = 0; i < description.Choices.size(); ++i) {
        const int32_t choice = LeadingNumber(fields[i + 1]).value_or(0);
        const bool listed = choice >= 0 && static_cast<size_t>(choice) < RenameListRows[i].size();
        description.Choices[i] = listed ? choice : 0;
    }
    description.Text = Windows1252ToUtf8(fields[4]);
    ResourceDescription& target = DRSCatalogue[row->second].Description;
    target = std::move(description);
    host.SetListRowText(static_cast<int32_t>(row->second), BuildRowText(target));
}

// Hides the list for its own lifetime, so that it shows again however the load ends.
class HiddenList {
public:
    explicit HiddenList(Host& host) : host_(host) { host_.SetListVisible(false); }
    ~HiddenList() { host_.SetListVisible(true); }
    HiddenList(const HiddenList&) = delete;
    HiddenList& operator=(const HiddenList&) = delete;

private:
    Host& host_;
};

}  // namespace

Outcome SaveDescriptionFile(const std::string& FileName) {
    FileWriter file(FileName, WritePolicy::InPlace);
    if (Outcome opened = file.Open(); !opened) return opened;
    // One line at a time: a catalogue of long texts need not be held twice.
    std::string line;
    for (const CatalogueRow& row : DRSCatalogue) {
        const ResourceDescription& description = row.Description;
        if (IsBlank(description)) continue;  // before trimming: a text of blanks alone still writes a line
        line = std::to_string(row.ID);
        for (const int32_t choice : description.Choices) line += '@' + std::to_string(choice);
        line += '@' + Utf8ToWindows1252(TrimBlanks(description.Text)) + "\r\n";
        if (Outcome written = file.Write({reinterpret_cast<const uint8_t*>(line.data()), line.size()}); !written) return written;
    }
    return file.Finish();
}

Outcome LoadDescriptionFile(const std::string& FileName, Host& host) {
    std::vector<uint8_t> bytes;
    if (Outcome read = ReadWholeFile(FileName, MaxFileBytes, bytes); !read) return read;
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());

    // Each line goes to the first row with its id; this finds that row without walking the catalogue.
    std::unordered_map<int32_t, size_t> firstRowOf;
    for (size_t r = 0; r < DRSCatalogue.size(); ++r) firstRowOf.try_emplace(DRSCatalogue[r].ID, r);

    const HiddenList hidden(host);  // rewriting rows of a hidden list costs no repaint
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        ApplyLine(line, firstRowOf, host);
    }
    return Outcome::Success();
}
