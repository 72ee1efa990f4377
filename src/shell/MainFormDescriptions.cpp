// The window's side of descriptions: the three lists and the text box that edit the selected row's
// description, the Edit item that shows the text box, and the description files.
//
// The Enabled state of the four controls is what keeps a load-back from storing: filling them raises
// their events, which return at once while the controls are disabled.

#include <algorithm>

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QMenuBar>

#include "archive/UsefulCode.h"
#include "descriptions/DescriptionFiles.h"
#include "shell/Controls.h"
#include "shell/MainForm.h"
#include "shell/QtPlatform.h"

namespace {

constexpr const char* DescriptionFilter = "Description file (*.dsc)|*.dsc";

}  // namespace

void MainForm::CreateDescriptionMenu() {
    menu_descr = menuBar()->addMenu(QStringLiteral("Descriptions"));
    menu_descr->menuAction()->setVisible(false);
    menu_descr_edit = AddItem(menu_descr, "Edit");
    menu_descr_edit->setCheckable(true);
    menu_descr_load = AddItem(menu_descr, "Load from file...");
    menu_descr_save = AddItem(menu_descr, "Save to file...");
    OnCheckItemClick(menu_descr_edit, [this] { menu_descr_edit_Click(); });
    connect(menu_descr_load, &QAction::triggered, this, &MainForm::menu_descr_load_Click);
    connect(menu_descr_save, &QAction::triggered, this, &MainForm::menu_descr_save_Click);
}

void MainForm::LoadDescriptionControls(const ResourceDescription& description) {
    for (QComboBox* list : RenameLists) list->setEnabled(false);
    RenameTextBox->setEnabled(false);
    for (size_t i = 0; i < RenameLists.size(); ++i) RenameLists[i]->setCurrentIndex(description.Choices[i]);
    RenameTextBox->setText(ToQString(description.Text));
    for (QComboBox* list : RenameLists) list->setEnabled(true);
    RenameTextBox->setEnabled(true);
}

void MainForm::RenameLists_Click(int16_t Index) {
    if (Index < 0 || static_cast<size_t>(Index) >= RenameLists.size() || !RenameLists[static_cast<size_t>(Index)]->isEnabled()) return;
    CatalogueRow* row = SelectedRow();
    if (!row) return;  // no row to describe
    row->Description.Choices[static_cast<size_t>(Index)] = std::max(RenameLists[static_cast<size_t>(Index)]->currentIndex(), 0);
    DRSFilesList->SetList(DRSFilesList->ListIndex(), BuildRowText(row->Description));
}

void MainForm::RenameTextBox_Change() {
    if (!RenameTextBox->isEnabled()) return;
    CatalogueRow* row = SelectedRow();
    if (!row) return;
    row->Description.Text = RenameTextBox->text().toStdString();
    DRSFilesList->SetList(DRSFilesList->ListIndex(), BuildRowText(row->Description));
}

void MainForm::menu_descr_edit_Click() {
    menu_descr_edit->setChecked(!menu_descr_edit->isChecked());
    RenameTextBox->setVisible(menu_descr_edit->isChecked());
}

void MainForm::menu_descr_save_Click() {
    MainComDlg.DialogTitle = "Select filename to save descriptions as";
    MainComDlg.Filter = DescriptionFilter;
    if (!platform_.Dialogs.ShowSave(MainComDlg) || MainComDlg.FileName.empty()) return;
    if (!SaveDescriptionFile(MainComDlg.FileName)) ShowMessage("Error saving description file!", MessageStyle::Plain);
}

void MainForm::menu_descr_load_Click() {
    MainComDlg.DialogTitle = "Select description file to open";
    MainComDlg.Filter = DescriptionFilter;
    if (!platform_.Dialogs.ShowOpen(MainComDlg) || MainComDlg.FileName.empty()) return;
    if (!LoadDescriptionFile(MainComDlg.FileName, *this)) ShowMessage("Error opening description file!", MessageStyle::Plain);
}
