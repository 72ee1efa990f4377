#include "cli/CliHost.h"

#include <unistd.h>

#include <iostream>
#include <mutex>

#include "base/Functions.h"

namespace {

bool progressOnLine = false;  // a progress line stands unfinished on stderr
std::mutex stderrLines;       // convert's threads speak too: one line at a time

void EndProgressLine() {
    if (!progressOnLine) return;
    std::cerr << '\n';
    progressOnLine = false;
}

}  // namespace

// Every part may hold what an archive or a command line put there: a control character in it would
// split the line or drive the terminal.
std::string ComplaintLine(std::string_view command, std::string_view file, std::string_view reason) {
    std::string line = "brindle-cli: ";
    if (!command.empty()) line.append(EscapeControls(command)).append(": ");
    if (!file.empty()) line.append(EscapeControls(file)).append(": ");
    return line.append(EscapeControls(reason)).append("\n");
}

void Complain(std::string_view command, std::string_view file, std::string_view reason) {
    const std::string line = ComplaintLine(command, file, reason);
    const std::lock_guard<std::mutex> lock(stderrLines);
    EndProgressLine();
    std::cerr << line << std::flush;
}

CliHost::CliHost() : progressWanted_(isatty(STDERR_FILENO) == 1) {}

void CliHost::AddListRows(std::span<const ListRow> rows) {
    rows_.insert(rows_.end(), rows.begin(), rows.end());
}

void CliHost::ShowProgress(int done, int total) {
    if (!progressWanted_) return;
    const std::lock_guard<std::mutex> lock(stderrLines);
    std::cerr << "\r[" << done << '/' << total << ']' << std::flush;
    progressOnLine = true;
}

void CliHost::EndProgress() {
    const std::lock_guard<std::mutex> lock(stderrLines);
    EndProgressLine();
}
