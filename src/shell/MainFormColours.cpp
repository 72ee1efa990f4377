// The window's palette and colour choices, the Layers and Colours menus: the Palette submenu, the four
// colours, the team colour of player pixels, and the Player and Layers items, which hold a state that
// no drawing reads.

#include <array>
#include <optional>
#include <span>

#include <QAction>
#include <QMenuBar>

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

// Moves the check mark of a group of items, one of which is always checked, to the item at Index;
// false, and nothing changes, when the mark is there already or the group has no such item.
bool MoveCheckMark(std::span<QAction* const> items, int16_t Index) {
    if (Index < 0 || static_cast<size_t>(Index) >= items.size() || items[static_cast<size_t>(Index)]->isChecked()) return false;
    for (QAction* item : items) item->setChecked(false);
    items[static_cast<size_t>(Index)]->setChecked(true);
    return true;
}

}  // namespace

void MainForm::CreateLayersMenu() {
    menu_layers = menuBar()->addMenu(QStringLiteral("Layers"));
    menu_layers_colours = AddItem(menu_layers, "Colours", true);
    menu_layers_shadow = AddItem(menu_layers, "Shadow", true);
    menu_layers_selection = AddItem(menu_layers, "Outline (inner)", true);
    menu_layers_outline = AddItem(menu_layers, "Outline (outer)", true);
    OnCheckItemClick(menu_layers_colours, [this] { menu_layers_colours_Click(); });
    OnCheckItemClick(menu_layers_shadow, [this] { menu_layers_shadow_Click(); });
    OnCheckItemClick(menu_layers_selection, [this] { menu_layers_selection_Click(); });
    OnCheckItemClick(menu_layers_outline, [this] { menu_layers_outline_Click(); });
}

void MainForm::CreateColourMenu() {
    menu_col = menuBar()->addMenu(QStringLiteral("Colours"));
    menu_col_pal = menu_col->addMenu(QStringLiteral("Palette"));
    menu_pal_default = AddItem(menu_col_pal, "Use default");
    menu_pal_select = AddItem(menu_col_pal, "[default] Select...", true);
    connect(menu_pal_default, &QAction::triggered, this, &MainForm::menu_pal_default_Click);
    OnCheckItemClick(menu_pal_select, [this] { menu_pal_select_Click(); });
    PalComDlg.DialogTitle = "Use palette...";
    // The design's filter, then one under which a file of any format Brindle knows is read by its content.
    PalComDlg.Filter = std::string("PAL files (*.pal)|*.pal|All files (*.*)|*.*|").append(OtherPalettesFilter);

    // The eight players' items, the first checked; a click moves the check mark (MoveCheckMark).
    auto playerGroup = [this](QMenu* menu, const std::array<const char*, 8>& captions, std::array<QAction*, 8>& items,
                              void (MainForm::*click)(int16_t)) {
        for (int16_t i = 0; i < static_cast<int16_t>(items.size()); ++i) {
            QAction*& item = items[static_cast<size_t>(i)];
            item = AddItem(menu, captions[static_cast<size_t>(i)]);
            item->setCheckable(true);
            OnCheckItemClick(item, [this, click, i] { (this->*click)(i); });
        }
        items[0]->setChecked(true);
    };
    menu_col_player = menu_col->addMenu(QStringLiteral("Player"));
    menu_col_player->menuAction()->setVisible(false);
    playerGroup(menu_col_player,
                {"Player 1 (blue)", "Player 2 (red)", "Player 3 (green)", "Player 4 (yellow)", "Player 5 (orange)",
                 "Player 6 (cyan)", "Player 7 (purple)", "Player 8 (grey)"},
                menu_col_player_item, &MainForm::menu_col_player_item_Click);

    const char* colours[4] = {"Mask...", "Shadow...", "Outline (inner)...", "Outline (outer)..."};
    for (int16_t i = 0; i < static_cast<int16_t>(menu_col_choose.size()); ++i) {
        QAction*& item = menu_col_choose[static_cast<size_t>(i)];
        item = AddItem(menu_col, colours[i]);
        connect(item, &QAction::triggered, this, [this, i] { menu_col_choose_Click(i); });
    }

    menu_col_team = menu_col->addMenu(QStringLiteral("Team colour"));
    playerGroup(menu_col_team, {"1 (blue)", "2 (red)", "3 (green)", "4 (yellow)", "5 (orange)", "6 (cyan)", "7 (purple)", "8 (grey)"},
                menu_col_team_item, &MainForm::menu_col_team_item_Click);
}

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

void MainForm::menu_col_choose_Click(int16_t Index) {
    uint32_t* colour = ChosenColour(Index);
    if (!colour) return;
    ColourComDlg.Color = *colour;  // the dialog opens on the current colour
    if (!platform_.Dialogs.ShowColor(ColourComDlg)) return;
    *colour = ColourComDlg.Color;
    RefreshImage(false);
}

void MainForm::menu_col_player_item_Click(int16_t Index) {
    if (!MoveCheckMark(menu_col_player_item, Index)) return;
    PlayerNumber = Index;
    RefreshImage(false);
}

void MainForm::menu_col_team_item_Click(int16_t Index) {
    if (!MoveCheckMark(menu_col_team_item, Index)) return;
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
