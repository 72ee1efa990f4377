#pragma once
// The host of brindle-cli: no window and no questions. The boxes the core would show are kept for the
// command to word its one line on stderr; the one OK/Cancel question is answered OK only under
// --force; the rows of the list are kept for printing.

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
    explicit CliHost(bool force = false);

    const std::vector<ListRow>& Rows() const { return rows_; }
    // The text of the last box the core showed, empty when none.
    const std::string& LastMessage() const { return lastMessage_; }

    // "\r[n/total]" on stderr, only when stderr is a terminal; a line said meanwhile starts afresh.
    void ShowProgress(int done, int total);
    void EndProgress();

    void ClearList() override { rows_.clear(); }
    void AddListRows(std::span<const ListRow> rows) override;
    MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title) override;

private:
    bool force_ = false;
    bool progressWanted_ = false;
    std::vector<ListRow> rows_;
    std::string lastMessage_;
};
