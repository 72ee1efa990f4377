// The window's palette and colour choices: the Palette submenu, "Extract as palette", the four colours,
// the team colour of player pixels, and the Player and Layers items, which hold a state that no
// drawing reads.

#include <optional>

#include <QAction>

#include "archive/UsefulCode.h"
#include "base/Functions.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "shell/Controls.h"
#include "shell/MainForm.h"
#include "shell/QtPlatform.h"

namespace {

// The palette's name in the caption of "Select...": what stands between the last separator and the
// last dot of the file name, in upper case. Nothing when no dot stands behind the last separator.
std::optional<QString> PaletteCaptionName(const std::string& fileName) {
    const size_t separator = fileName.rfind(PathSeparator);
    const size_t start = separator == std::string::npos ? 0 : separator + 1;
    const size_t dot = fileName.rfind('.');
    if (dot == std::string::npos || dot < start) return std::nullopt;
    return ToQString(fileName.substr(start, dot - start)).toUpper();
}

uint32_t* ChosenColour(int16_t Index) {
    switch (Index) {
    case 0: return &MaskColour;
    case 1: return &ShadowColour;
    case 2: return &OutlineInnerColour;
    case 3: return &OutlineOuterColour;
    default: return nullptr;
    }
}

}  // namespace

void MainForm::menu_pal_default_Click() {
    (void)LoadPalette("");  // the default palette always loads
    menu_pal_select->setText(QStringLiteral("[default] Select..."));
    RefreshImage(false);
}

void MainForm::menu_pal_select_Click() {
    if (!platform_.Dialogs.ShowOpen(PalComDlg) || PalComDlg.FileName.empty()) return;
    const std::string fileName = PalComDlg.FileName;
    // Under the design's filters the file is a JASC-PAL file as ever; under the last one, any palette.
    const PaletteResult loaded = PalComDlg.FilterIndex == OtherPalettesFilterIndex ? LoadAnyPalette(fileName)
                                                                                   : LoadPalette(fileName);
    // A file that is no palette at all changed nothing.
    if (loaded.Code == Fault::NotThisKind) {
        ShowMessage(NotValidPaletteMessage, MessageStyle::Plain);
        return;
    }
    const std::optional<QString> name = PaletteCaptionName(fileName);
    if (!loaded || !name) {
        ShowMessage("Error opening palette file!", MessageStyle::Plain);
        return;
    }
    menu_pal_select->setText(u'[' + *name + QStringLiteral("] Select..."));
    RefreshImage(false);
}

void MainForm::menu_extract_pal_Click() {
    SetStatusText("Saving palette...");
    const CatalogueRow* selected = SelectedRow();
    if (!selected) {
        ShowMessage("Error saving palette data!", MessageStyle::Plain);
        return;
    }
    const CatalogueRow row = *selected;
    // A copy that failed has told the user; "now available" would not be true.
    if (!CopyEntry(TempFolder + std::to_string(row.ID) + ".pal", row)) return;
    ShowMessage("Palette now available in image viewer", MessageStyle::Plain);
    SetStatusText("");
}

void MainForm::menu_col_choose_Click(int16_t Index) {
    uint32_t* colour = ChosenColour(Index);
    if (!colour) return;
    ColourComDlg.Color = *colour;  // the dialog opens on the current colour
    if (!platform_.Dialogs.ShowColor(ColourComDlg)) return;
    *colour = ColourComDlg.Color;
    RefreshImage(false);
}

void MainForm::menu_col_player_item_Click(int16_t Index) {
    if (Index < 0 || static_cast<size_t>(Index) >= menu_col_player_item.size()) return;
    if (menu_col_player_item[static_cast<size_t>(Index)]->isChecked()) return;
    for (QAction* item : menu_col_player_item) item->setChecked(false);
    menu_col_player_item[static_cast<size_t>(Index)]->setChecked(true);
    PlayerNumber = Index;
    RefreshImage(false);
}

void MainForm::menu_col_team_item_Click(int16_t Index) {
    if (Index < 0 || static_cast<size_t>(Index) >= menu_col_team_item.size()) return;
    if (menu_col_team_item[static_cast<size_t>(Index)]->isChecked()) return;
    for (QAction* item : menu_col_team_item) item->setChecked(false);
    menu_col_team_item[static_cast<size_t>(Index)]->setChecked(true);
    TeamColour = Index + FirstPlayer;
    RefreshImage(false);
}

// The Layers items keep only their check marks; every layer is always drawn.
void MainForm::ToggleLayerItem(QAction* item) {
    item->setChecked(!item->isChecked());
    RefreshImage(false);
}

void MainForm::menu_layers_colours_Click() { ToggleLayerItem(menu_layers_colours); }
void MainForm::menu_layers_shadow_Click() { ToggleLayerItem(menu_layers_shadow); }
void MainForm::menu_layers_selection_Click() { ToggleLayerItem(menu_layers_selection); }
void MainForm::menu_layers_outline_Click() { ToggleLayerItem(menu_layers_outline); }
