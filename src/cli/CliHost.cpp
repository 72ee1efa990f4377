#include "cli/CliHost.h"

#include <unistd.h>

#include <iostream>

CliHost::CliHost(bool force) : force_(force), progressWanted_(isatty(STDERR_FILENO) == 1) {}

void CliHost::AddListRows(std::span<const ListRow> rows) {
    rows_.insert(rows_.end(), rows.begin(), rows.end());
}

MessageAnswer CliHost::ShowMessage(std::string_view text, MessageStyle style, std::string_view) {
    EndProgress();
    // A box's title only ever says "Error"; the text carries all there is to say.
    std::cerr << text << '\n';
    ++messagesShown_;
    lastMessage_ = text;
    if (style == MessageStyle::OkCancel) return force_ ? MessageAnswer::OK : MessageAnswer::Cancel;
    return MessageAnswer::OK;
}

void CliHost::Report(const std::string& text, int since) {
    if (messagesShown_ > since && lastMessage_ == text) return;
    ShowMessage(text, MessageStyle::Plain, {});
}

void CliHost::ShowProgress(int done, int total) {
    if (!progressWanted_) return;
    std::cerr << "\r[" << done << '/' << total << ']' << std::flush;
    progressOnLine_ = true;
}

void CliHost::EndProgress() {
    if (!progressOnLine_) return;
    std::cerr << '\n';
    progressOnLine_ = false;
}
