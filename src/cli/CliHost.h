#pragma once
// The host of brindle-cli: no window and no questions; the rows of the list are kept for printing.

#include <string>
#include <string_view>
#include <vector>

#include "base/Host.h"

// One line on stderr: "brindle-cli: COMMAND: FILE: reason", leaving out COMMAND or FILE when empty,
// control characters escaped.
void Complain(std::string_view command, std::string_view file, std::string_view reason);
// The line Complain writes, its newline included.
std::string ComplaintLine(std::string_view command, std::string_view file, std::string_view reason);

class CliHost : public QuietHost {
public:
    CliHost();

    const std::vector<ListRow>& Rows() const { return rows_; }

    // "\r[n/total]" on stderr, only when stderr is a terminal; a line said meanwhile starts afresh.
    void ShowProgress(int done, int total);
    void EndProgress();

    void ClearList() override { rows_.clear(); }
    void AddListRows(std::span<const ListRow> rows) override;

private:
    bool progressWanted_ = false;
    std::vector<ListRow> rows_;
};
