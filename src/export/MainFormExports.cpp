// The window's exports of the sprite on show: one frame as a BMP file, every frame as a numbered BMP
// sequence, and the SLX bundle. Each works on the temporary SLP file named in the Tag of ResDisplayPic.

#include <QScrollBar>

#include "shell/Controls.h"
#include "shell/Functions.h"
#include "shell/MainForm.h"
#include "slp/SLPCode.h"

namespace {

constexpr const char* BitmapFilter = "BMP file (*.bmp)|*.bmp|All files (*.*)|*.*";
constexpr const char* SLXFilter = "SLX file (*.slx)|*.slx";

}  // namespace

bool MainForm::AskImageFileName(const char* filter) {
    ComDlg.Filter = filter;  // the title stays; the file name stays from the last export
    return platform_.Dialogs.ShowSave(ComDlg) && !ComDlg.FileName.empty();
}

void MainForm::menu_savebmp_Click() {
    if (!AskImageFileName(BitmapFilter)) return;
    const auto frame = static_cast<int16_t>(FrameScroll->value());
    if (!ShowImage(ResDisplayPic->Tag, frame, true, ComDlg.FileName, *this)) {
        ShowMessage("Error exporting graphic!", MessageStyle::Plain);
    }
}

// An export that fails halfway has already set the gate back and cleared the status labels.
void MainForm::menu_image_savesequence_Click() {
    if (!AskImageFileName(BitmapFilter)) return;
    if (!ExportSequence(ResDisplayPic->Tag, ExportBasePath(ComDlg.FileName), *this)) {
        ShowMessage("Error exporting graphic!", MessageStyle::Plain);
    }
}

void MainForm::menu_image_slx_Click() {
    if (!AskImageFileName(SLXFilter)) return;
    if (!ExportSLX(ResDisplayPic->Tag, ExportBasePath(ComDlg.FileName), *this)) {
        ShowMessage("Error saving files!", MessageStyle::Plain);
    }
}
