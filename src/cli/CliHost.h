#pragma once
// The host of brindle-cli: no window, plain text on stderr. Boxes are printed as they stand, the one
// OK/Cancel question is answered OK only under --force, and the rows of the list are kept for printing.

#include <string>
#include <vector>

#include "shell/Host.h"

class CliHost : public QuietHost {
public:
    explicit CliHost(bool force = false);

    const std::vector<ListRow>& Rows() const { return rows_; }
    // How many boxes have been printed so far, so a caller can tell whether the core has spoken.
    int MessagesShown() const { return messagesShown_; }
    // Prints a box's text unless the core has printed the same one since MessagesShown() read `since`.
    void Report(const std::string& text, int since);

    // "\r[n/total]" on stderr, only when stderr is a terminal; a box printed meanwhile starts on a new line.
    void ShowProgress(int done, int total);
    void EndProgress();

    void ClearList() override { rows_.clear(); }
    void AddListRows(std::span<const ListRow> rows) override;
    MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title) override;

private:
    bool force_ = false;
    bool progressWanted_ = false;
    bool progressOnLine_ = false;
    std::vector<ListRow> rows_;
    int messagesShown_ = 0;
    std::string lastMessage_;
};
