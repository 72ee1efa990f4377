// The window's exports of the sprite on show, items of the Image menu: one frame as a BMP file, every
// frame as a numbered BMP sequence, and the SLX bundle. Each works on the temporary SLP file named in the Tag of ResDisplayPic.
// The formats of today's tools draw player pixels in the window's team colour; the design's own
// BMP and SLX exports in player 1's.

#include <QAction>
#include <QMenu>
#include <QScrollBar>

#include <algorithm>
#include <iterator>
#include <thread>

#include "base/FileWriter.h"
#include "base/Files.h"
#include "base/Functions.h"
#include "export/ImageExports.h"
#include "shell/Controls.h"
#include "shell/MainForm.h"
#include "slp/SLPCode.h"

namespace {

constexpr const char* SLXFilter = "SLX file (*.slx)|*.slx";

// The design's filter, "BMP file (*.bmp)|*.bmp|All files (*.*)|*.*", with the formats of today's tools
// after it: "Save as BMP" offers PNG, "Save as image sequence" the other four. Filter indexes 1 and 2
// are the design's.
constexpr const char* FrameFilter = "BMP file (*.bmp)|*.bmp|All files (*.*)|*.*|PNG image (*.png)|*.png";
constexpr const char* SequenceFilter = "BMP file (*.bmp)|*.bmp|All files (*.*)|*.*|PNG sequence (*.png)|*.png|"
                                       "Animated GIF (*.gif)|*.gif|Animated PNG (*.png)|*.png|"
                                       "Sprite sheet (PNG + JSON) (*.png)|*.png";
constexpr int16_t FirstNewFilter = 3;

// Builds the export of the sprite at slpPath in memory, player pixels in the colours of `player`, and
// writes its files, all or none.
Outcome WriteImageExport(const std::string& slpPath, ImageFormat format, int32_t frame, int32_t player, const std::string& out,
                         Host& host) {
    SLPFile sprite;
    sprite.Path = slpPath;
    if (Outcome read = ReadWholeFile(slpPath, MaxSLPFileBytes, sprite.Bytes); !read) return read;
    ImageExportOptions options;
    options.Frame = frame;
    options.Rgba.Player = player;
    options.Threads = int(std::max(1u, std::thread::hardware_concurrency()));
    std::vector<NamedFile> files;
    std::vector<std::string> notes;
    if (Outcome exported = ExportImages(sprite, format, options, out, files, notes, host); !exported) return exported;
    for (const NamedFile& file : files)
        if (Outcome written = WriteWholeFile(file.Path, file.Bytes, WritePolicy::InPlace); !written) return written;
    return Outcome::Success();
}

}  // namespace

void MainForm::AddExportItems() {
    menu_savebmp = AddItem(menu_image, "Save as BMP");
    menu_image_slx = AddItem(menu_image, "Export as SLX");
    menu_image_slx->setVisible(false);
    menu_image_test2 = AddItem(menu_image, "Show data bit");
    menu_image_test2->setVisible(false);
    menu_image_savesequence = AddItem(menu_image, "Save as image sequence");
    connect(menu_savebmp, &QAction::triggered, this, &MainForm::menu_savebmp_Click);
    connect(menu_image_slx, &QAction::triggered, this, &MainForm::menu_image_slx_Click);
    connect(menu_image_savesequence, &QAction::triggered, this, &MainForm::menu_image_savesequence_Click);
    ComDlg.DialogTitle = "Save image as...";
    ComDlg.Filter = "BMP file (*.bmp)|*.bmp|All files (*.*)|*.*";
}

bool MainForm::AskImageFileName(const char* filter) {
    ComDlg.Filter = filter;  // the title stays; the file name stays from the last export
    return platform_.Dialogs.ShowSave(ComDlg) && !ComDlg.FileName.empty();
}

void MainForm::menu_savebmp_Click() {
    if (!AskImageFileName(FrameFilter)) return;
    const auto frame = static_cast<int16_t>(FrameScroll->value());
    const bool saved = ComDlg.FilterIndex >= FirstNewFilter
                           ? WriteImageExport(ResDisplayPic->Tag, ImageFormat::Png, frame, TeamColour, ComDlg.FileName, *this).Ok()
                           : ShowImage(ResDisplayPic->Tag, frame, true, ComDlg.FileName, *this).Ok();
    if (!saved) ShowMessage("Error exporting graphic!", MessageStyle::Plain);
}

// An export that fails halfway has already set the gate back and cleared the status labels. The
// formats beyond the design's end as its export does: the gate "on", the labels empty, the scroll bar
// at the last frame, the picture not redrawn.
void MainForm::menu_image_savesequence_Click() {
    if (!AskImageFileName(SequenceFilter)) return;
    if (ComDlg.FilterIndex < FirstNewFilter) {
        if (!ExportSequence(ResDisplayPic->Tag, ExportBasePath(ComDlg.FileName), *this)) {
            ShowMessage("Error exporting graphic!", MessageStyle::Plain);
        }
        return;
    }
    constexpr ImageFormat formats[] = {ImageFormat::Png, ImageFormat::Gif, ImageFormat::Apng, ImageFormat::Sheet};
    const ImageFormat format = formats[std::min<size_t>(size_t(ComDlg.FilterIndex - FirstNewFilter), std::size(formats) - 1)];
    SetFrameScrollGate(false);
    SetStatusText("Exporting to image sequence...");
    const Outcome exported = WriteImageExport(ResDisplayPic->Tag, format, 0, TeamColour, ComDlg.FileName, *this);
    SetFrameScrollValue(static_cast<int16_t>(FrameScroll->maximum()));
    SetFrameScrollGate(true);
    SetPictureStatusText("");
    SetStatusText("");
    if (!exported) ShowMessage("Error exporting graphic!", MessageStyle::Plain);
}

void MainForm::menu_image_slx_Click() {
    if (!AskImageFileName(SLXFilter)) return;
    if (!ExportSLX(ResDisplayPic->Tag, ExportBasePath(ComDlg.FileName), *this)) {
        ShowMessage("Error saving files!", MessageStyle::Plain);
    }
}
