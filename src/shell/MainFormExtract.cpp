// "Extract all to folder...": every entry of the open archive into a folder the user picks, laid out
// and named as brindle-cli extract-all does it. The archive is only read; nothing goes through the
// temporary folder.

#include <QElapsedTimer>
#include <QLabel>

#include "archive/DRSCode.h"
#include "archive/EntryFiles.h"
#include "base/Files.h"
#include "base/Functions.h"
#include "shell/Controls.h"
#include "shell/MainForm.h"

namespace {

// The failures a box lists; the rest are counted.
constexpr size_t ListedFailures = 20;

}  // namespace

void MainForm::menu_extract_folder_Click() {
    if (!DRSFileOpen) return;
    StopAnimation();
    FolderComDlg.DialogTitle = "Select the folder to extract all files to";
    if (FolderComDlg.InitDir.empty()) FolderComDlg.InitDir = FolderOfPath(DRSFilePath);
    if (!platform_.Dialogs.ShowFolder(FolderComDlg) || FolderComDlg.FileName.empty()) return;
    const std::string folder = FolderComDlg.FileName;
    FolderComDlg.InitDir = folder;

    // The tables' own headings, not the list's texts, which a description may have rewritten.
    const std::vector<PlannedCopy> plan = PlanEntryFiles(catalogueRows_, DRSCatalogue, folder);
    const size_t total = plan.size();

    size_t written = 0, done = 0;
    std::vector<std::string> failures;
    std::vector<uint8_t> bytes;
    QElapsedTimer shown;  // the status line is drawn again a few times a second, not for every entry
    SetBusyPointer(true);
    for (const PlannedCopy& copy : plan) {
        if (platform_.Escape.IsDown()) break;
        if (done == 0 || shown.elapsed() >= 100) {
            SetStatusText("Extracting " + std::to_string(done + 1) + " of " + std::to_string(total) + "...");
            StatusText->repaint();
            shown.start();
        }
        std::error_code error;
        std::filesystem::create_directories(std::filesystem::path(copy.Path).parent_path(), error);
        Outcome outcome = error ? Outcome::Failure(Fault::CannotWrite, "cannot make its folder: " + error.message())
                                : ReadEntryBytes(DRSFileNumber, DRSCatalogue[copy.Row], bytes);
        if (outcome) outcome = WriteWholeFile(copy.Path, bytes);
        if (outcome) ++written;
        else failures.push_back(std::filesystem::path(copy.Path).lexically_relative(folder).string() + ": " + outcome.Detail);
        ++done;
    }
    SetBusyPointer(false);
    SetStatusText("");

    std::string text = (done < total ? "Stopped after " + std::to_string(done) + " of " + std::to_string(total) + " entries. "
                                     : std::string()) +
                       std::to_string(written) + " of " + std::to_string(total) + " entries written to " + folder + ".";
    if (!failures.empty()) {
        text += "\n\n" + std::to_string(failures.size()) + " could not be written:";
        for (size_t i = 0; i < failures.size() && i < ListedFailures; ++i) text += "\n" + failures[i];
        if (failures.size() > ListedFailures) text += "\n... and " + std::to_string(failures.size() - ListedFailures) + " more";
    }
    ShowMessage(text, MessageStyle::Plain);
}
