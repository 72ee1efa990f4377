#include "base/RichText.h"

#include <algorithm>

namespace {

// Groups deeper than this share the state of the deepest one kept, and colour changes inside them are
// dropped so nothing leaks out when they close. The program's own text is three groups deep; the cap
// keeps a file of a million '{' from costing a million states.
constexpr size_t MaxGroupDepth = 256;
// Numbers beyond this are clamped while being read, so no digit string can overflow.
constexpr int64_t MaxParameter = 1'000'000'000;

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int HexValue(char c) {
    if (IsDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

struct GroupState {
    bool DefaultColour = true;
    uint32_t Colour = 0;
    bool InColourTable = false;  // inherited: anything nested in the table is table too
};

struct TableEntry {
    bool Auto = true;  // no \red, \green or \blue: the view's own colour
    uint32_t Colour = 0;
};

class RichTextReader {
public:
    std::vector<RichTextRun> Read(std::string_view rtf) {
        size_t i = 0;
        while (i < rtf.size()) {
            const char c = rtf[i];
            if (c == '{') {
                OpenGroup();
                ++i;
            } else if (c == '}') {
                CloseGroup();
                ++i;
            } else if (c == '\\') {
                i = ReadControl(rtf, i);
            } else {
                // A plain loop: find_first_of asks memchr about the three characters for every byte.
                size_t end = i;
                while (end < rtf.size() && rtf[end] != '\\' && rtf[end] != '{' && rtf[end] != '}') ++end;
                AddText(rtf.substr(i, end - i));
                i = end;
            }
        }
        return std::move(runs_);
    }

private:
    std::vector<GroupState> stack_{GroupState{}};  // the bottom entry stands for "outside every group"
    size_t excessDepth_ = 0;                       // open groups past MaxGroupDepth
    std::vector<TableEntry> table_;
    TableEntry pending_;                            // the table entry whose ';' has not come yet
    std::vector<RichTextRun> runs_;

    GroupState& State() { return stack_.back(); }

    void OpenGroup() {
        if (stack_.size() < MaxGroupDepth) stack_.push_back(State());
        else ++excessDepth_;
    }

    void CloseGroup() {
        if (excessDepth_ > 0) {
            --excessDepth_;
            return;
        }
        if (stack_.size() == 1) return;  // a '}' without its '{'
        const bool closesTable = State().InColourTable;
        stack_.pop_back();
        // A last entry without its ';' is still meant as an entry.
        if (closesTable && !State().InColourTable && !pending_.Auto) EndTableEntry();
    }

    void EndTableEntry() {
        table_.push_back(pending_);
        pending_ = {};
    }

    void AddText(std::string_view text) {
        if (State().InColourTable) {
            for (const char c : text) {
                if (c == ';') EndTableEntry();
            }
            return;
        }
        if (text.empty()) return;
        const GroupState& state = State();
        if (runs_.empty() || runs_.back().DefaultColour != state.DefaultColour || runs_.back().Colour != state.Colour) {
            runs_.push_back({std::string(), state.DefaultColour, state.Colour});
        }
        runs_.back().Text.append(text);
    }

    void SetColourComponent(int64_t value, int shift) {
        if (!State().InColourTable) return;
        const auto component = static_cast<uint32_t>(std::clamp<int64_t>(value, 0, 255));
        pending_.Colour = (pending_.Colour & ~(0xFFu << shift)) | (component << shift);
        pending_.Auto = false;
    }

    void SetTextColour(int64_t index) {
        if (excessDepth_ > 0) return;
        GroupState& state = State();
        const bool known = index > 0 && index < static_cast<int64_t>(table_.size()) && !table_[size_t(index)].Auto;
        state.DefaultColour = !known;
        state.Colour = known ? table_[size_t(index)].Colour : 0;
    }

    void ApplyWord(std::string_view word, int64_t parameter) {
        if (word == "par") AddText("\n");
        else if (word == "cf") SetTextColour(parameter);
        else if (word == "red") SetColourComponent(parameter, 0);
        else if (word == "green") SetColourComponent(parameter, 8);
        else if (word == "blue") SetColourComponent(parameter, 16);
        else if (word == "colortbl" && excessDepth_ == 0) {
            State().InColourTable = true;
            table_.clear();
            pending_ = {};
        }
    }

    // Reads the control word or symbol whose backslash stands at start; returns where the text goes on.
    size_t ReadControl(std::string_view rtf, size_t start) {
        size_t i = start + 1;
        if (i >= rtf.size()) return i;  // a backslash at the very end
        const char c = rtf[i];
        if (!IsLetter(c)) {
            if (c == '\\' || c == '{' || c == '}') {
                AddText(rtf.substr(i, 1));
            } else if (c == '\'' && i + 2 < rtf.size() && HexValue(rtf[i + 1]) >= 0 && HexValue(rtf[i + 2]) >= 0) {
                const char byte = static_cast<char>(HexValue(rtf[i + 1]) * 16 + HexValue(rtf[i + 2]));
                AddText(std::string_view(&byte, 1));
                return i + 3;
            }
            return i + 1;
        }
        while (i < rtf.size() && IsLetter(rtf[i])) ++i;
        const std::string_view word = rtf.substr(start + 1, i - start - 1);
        const bool negative = i + 1 < rtf.size() && rtf[i] == '-' && IsDigit(rtf[i + 1]);
        if (negative) ++i;
        int64_t parameter = 0;
        for (; i < rtf.size() && IsDigit(rtf[i]); ++i) parameter = std::min(parameter * 10 + (rtf[i] - '0'), MaxParameter);
        if (i < rtf.size() && rtf[i] == ' ') ++i;  // the delimiting space belongs to the word
        ApplyWord(word, negative ? -parameter : parameter);
        return i;
    }
};

}  // namespace

std::vector<RichTextRun> ReadRichText(std::string_view rtf) { return RichTextReader().Read(rtf); }
