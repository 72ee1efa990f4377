#pragma once
// MainForm: the program's one working window. All work starts in one of its handlers, which call down
// into the plain routines of the core. It is also the core's Host: the list, the labels, the scroll
// bar and the picture that those routines fill are its controls.

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <QLabel>
#include <QMainWindow>

#include "archive/DRSCode.h"
#include "archive/TempFiles.h"
#include "base/Files.h"
#include "base/Platform.h"
#include "export/SLPExports.h"
#include "shell/Twips.h"

class AboutForm;
class ListBox;
class PictureBox;
class QAction;
class QComboBox;
class QLineEdit;
class QMenu;
class QScrollBar;
class QTimer;
class RichTextBox;

class MainForm : public QMainWindow, public Host {
    Q_OBJECT
public:
    explicit MainForm(Platform platform);
    ~MainForm() override;

    // The twips of one pixel of the screen the window is on.
    double TwipsPerPixelX() const;
    double TwipsPerPixelY() const;
    TwipsRect TwipsOf(const QWidget* control) const;  // where it stands in the client area
    // The client area in twips (ScaleWidth, ScaleHeight).
    int ScaleWidth() const;
    int ScaleHeight() const;

    // --- Handlers -------------------------------------------------------------------------------
    void Form_Load();
    void Form_Unload();
    void Form_Resize();
    void menu_file_open_Click();
    // Opens an archive named from outside the window, on the command line or by a drop, as File > Open
    // opens the name its dialog hands back. A name that can't be opened gets a box; false then, and
    // when the archive was refused.
    bool OpenFromOutside(const std::string& path);
    void menu_file_exit_Click();
    void menu_help_help_Click();
    void menu_help_about_Click();
    void DRSFilesList_Click();
    // The Extract menu (shell/MainFormExtract.cpp)
    void menu_extract_file_Click();
    void menu_extract_all_Click();
    void menu_extract_pal_Click();
    void menu_extract_folder_Click();
    // The frame viewer: refresh, drag, zoom and animation (shell/MainFormViewer.cpp)
    void menu_image_autorefresh_Click();
    void menu_image_refresh_Click();
    void FrameScroll_Change();
    void ResDisplayPic_MouseDown(int X, int Y);
    void ResDisplayPic_MouseMove(int X, int Y);
    void ResDisplayPic_MouseUp(int X, int Y);
    void menu_image_zoomin_Click();
    void menu_image_zoomout_Click();
    void menu_image_actualsize_Click();
    void menu_image_play_Click();
    void AnimateTimer_Timer();
    // Stops a playing animation and takes the check mark off "Play animation"; nothing when none plays.
    void StopAnimation();
    // The Layers and Colours menus: palettes, colours and check marks (shell/MainFormColours.cpp)
    void menu_pal_default_Click();
    void menu_pal_select_Click();
    void menu_col_choose_Click(int16_t Index);
    void menu_col_player_item_Click(int16_t Index);
    void menu_col_team_item_Click(int16_t Index);
    void menu_layers_colours_Click();
    void menu_layers_shadow_Click();
    void menu_layers_selection_Click();
    void menu_layers_outline_Click();
    // The Image menu's exports (shell/MainFormExports.cpp)
    void menu_savebmp_Click();
    void menu_image_savesequence_Click();
    void menu_image_slx_Click();
    // Descriptions (shell/MainFormDescriptions.cpp)
    void menu_descr_edit_Click();
    void menu_descr_load_Click();
    void menu_descr_save_Click();
    void RenameLists_Click(int16_t Index);
    void RenameTextBox_Change();

    // --- Host -----------------------------------------------------------------------------------
    void ClearList() override;
    void AddListRows(std::span<const ListRow> rows) override;
    void SetListVisible(bool visible) override;
    void SetListRowText(int32_t index, std::string_view text) override;
    void SetStatusText(std::string_view text) override;
    void SetPictureStatusText(std::string_view text) override;
    void SetFrameScrollGate(bool on) override;
    void SetFrameScrollMax(int16_t max) override;
    void SetFrameScrollValue(int16_t value) override;
    void SetBusyPointer(bool busy) override;
    void SetPictureSource(std::string_view slpPath) override;
    void SetPictureSize(int32_t widthPixels, int32_t heightPixels) override;
    void PaintPicture(const cDIBSection& picture) override;
    void RepaintMainForm() override;
    MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title = {}) override;
    bool IsEscapeDown() override;
    bool PutBitmapOnClipboard(const cDIBSection& picture) override;

    // --- State of the open archive ----------------------------------------------------------------
    bool DRSFileOpen = false;
    std::string DRSFilePath;
    ReadOnlyFile DRSFileNumber;  // the open archive; every copy out of it goes through this file

    // --- State of the frame viewer ----------------------------------------------------------------
    bool AutoRefresh = true;
    int32_t DragStartX = 0, DragStartY = 0;
    int16_t DragState = 0;  // 0 idle, 1 pressed, 2 just moved
    std::string FrameScrollTag = "off";  // the change gate: "on" lets a move of FrameScroll redraw
    // The team (1 to 8) whose colours player pixels take on screen and in the PNG, GIF and sheet
    // exports; the BMP and SLX exports draw player 1 whatever it is.
    int32_t TeamColour = 1;
    // Screen pixels a side for each pixel of the frame on show: one of ZoomSteps. Exports ignore it.
    int32_t Zoom = 1;
    static constexpr std::array<int32_t, 8> ZoomSteps = {1, 2, 3, 4, 6, 8, 12, 16};

    // --- Controls, in tab order -------------------------------------------------------------------
    QLabel* DRSFileLabel1;
    QLabel* DRSFileLabel2;
    ListBox* DRSFilesList;
    QLabel* StatusText;
    RichTextBox* ResDisplayText;
    QScrollBar* FrameScroll;
    PictureBox* ResDisplayPic;
    QLabel* PictureStatusText;
    QLineEdit* RenameTextBox;
    std::array<QComboBox*, 3> RenameLists{};
    QTimer* AnimateTimer = nullptr;

    // --- The common dialogs -----------------------------------------------------------------------
    CommonDialog MainComDlg;
    CommonDialog ComDlg;
    CommonDialog PalComDlg;
    // The filter behind the design's two of PalComDlg: a file chosen under it is read by its content.
    static constexpr std::string_view OtherPalettesFilter = "Palettes of other programs (*.gpl *.act *.pal)|*.gpl;*.act;*.pal";
    static constexpr int16_t OtherPalettesFilterIndex = 3;
    // File > Open's filter: the design's two, then sprites, under which a sprite opens by itself.
    static constexpr const char* OpenFilter = "DRS files (*.drs)|*.drs|All files (*.*)|*.*|SLP sprites (*.slp)|*.slp";
    static constexpr int16_t SpriteFilterIndex = 3;
    CommonDialog ColourComDlg;
    CommonDialog FolderComDlg;  // the folder of "Extract all to folder..."

    // --- Menus --------------------------------------------------------------------------------------
    QMenu* menu_file;
    QAction* menu_file_open;
    QAction* menu_file_exit;
    QMenu* menu_extract;
    QAction* menu_extract_file;
    QAction* menu_extract_all;
    QAction* menu_extract_pal;
    QAction* menu_extract_folder;
    QMenu* menu_descr;
    QAction* menu_descr_edit;
    QAction* menu_descr_load;
    QAction* menu_descr_save;
    QAction* menu_divider_1;
    QMenu* menu_image;
    QAction* menu_image_autorefresh;
    QAction* menu_image_refresh;
    QAction* menu_savebmp;
    QAction* menu_image_slx;
    QAction* menu_image_test2;
    QAction* menu_image_savesequence;
    QAction* menu_image_zoomin;
    QAction* menu_image_zoomout;
    QAction* menu_image_actualsize;
    QAction* menu_image_play = nullptr;
    QMenu* menu_layers;
    QAction* menu_layers_colours;
    QAction* menu_layers_shadow;
    QAction* menu_layers_selection;
    QAction* menu_layers_outline;
    QMenu* menu_col;
    QMenu* menu_col_pal;
    QAction* menu_pal_default;
    QAction* menu_pal_select;
    QMenu* menu_col_player;
    std::array<QAction*, 8> menu_col_player_item{};
    std::array<QAction*, 4> menu_col_choose{};
    QMenu* menu_col_team;
    std::array<QAction*, 8> menu_col_team_item{};
    QAction* menu_divider_2;
    QMenu* menu_help;
    QAction* menu_help_help;
    QAction* menu_help_about;

    // A menu item's Enabled state. Qt greys out every hidden action, so the state is kept beside it:
    // "Extract all files..." is enabled and disabled while it stays hidden.
    static void SetEnabled(QAction* item, bool enabled);
    static bool IsEnabled(const QAction* item);

    AboutForm* About() const { return aboutForm_; }  // null until About is first chosen

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void CreateControls();
    // The menu bar in the design's order, each menu made and wired by the file that handles it.
    void CreateMenus();
    void CreateFileMenu();
    void CreateExtractMenu();      // shell/MainFormExtract.cpp
    void CreateDescriptionMenu();  // shell/MainFormDescriptions.cpp
    void CreateImageMenu();        // shell/MainFormViewer.cpp
    void AddExportItems();         // the Image menu's exports (shell/MainFormExports.cpp)
    void CreateLayersMenu();       // shell/MainFormColours.cpp
    void CreateColourMenu();       // shell/MainFormColours.cpp
    void CreateHelpMenu();
    // An item at the end of a menu; with `checked`, a checkable one that starts checked.
    static QAction* AddItem(QMenu* menu, const char* caption, bool checked = false);
    QAction* AddDivider();  // a "|" on the menu bar, never enabled
    void PlaceInTwips(QWidget* control, TwipsRect twips);
    void SetCaption(QLabel* label, std::string_view text);  // the label takes the size of its text
    void RefreshImage(bool Force);
    // ReadDRSCatalogue, first asking the user whether a file of neither flavour is to be read all the same.
    CatalogueResult ReadCatalogueAsking();
    // ReadResourceData, with "Error saving file!" when it fails.
    bool CopyEntry(const std::string& path, const CatalogueRow& row);
    // Every Enabled and Visible state of the menus that changes while the window runs, from the open
    // archive and the row on show: called wherever either changes.
    void UpdateActions();
    // The row the viewer shows. It stays on show through the opening of another archive, as its picture
    // or text does; only "Extract this file..." goes with the list it was selected in.
    struct ShownRow {
        std::optional<int32_t> Kind;  // none before the first selection
        bool Palette = false;         // its text reads as a palette
        bool Listed = false;          // selected in the list as it stands: no archive has opened since
    };
    ShownRow shown_;
    void CloseArchive();
    // File > Open from the name on: the three outcomes. With spritesToo, a file that is no archive but a
    // sprite opens as an archive of that one sprite, selected, without the design's question.
    void OpenArchive(const std::string& chosen, bool spritesToo);
    void ShowPreviewText(int32_t id, const std::string& path);
    CatalogueRow* SelectedRow();  // the catalogue row of the list's selection; null when none is selected
    bool AskImageFileName(const char* filter);  // ComDlg's save form; false when there is no name to save to
    void LoadDescriptionControls(const ResourceDescription& description);
    void ToggleLayerItem(QAction* item);
    // Connects a checkable item to its handler, which alone sets the check mark: Qt's own turn of the
    // mark on a click is undone first, so a handler works the same from a click and from a call.
    void OnCheckItemClick(QAction* item, std::function<void()> handler);
    void SetZoom(int32_t zoom);  // sizes ResDisplayPic for the frame on show at that zoom
    // Shows ResDisplayPic only inside the viewer's area, right of the list and below the scroll bar,
    // wherever it has been dragged: it never covers the list, the scroll bar or the captions.
    void ClipPicture();
    // While the animation plays, the sprite's common canvas, on which each frame stands by its hot spot
    // as the image sequence lays them out, so that a walk does not jump by the difference of the hot
    // spots; empty when nothing plays, or the canvas is too large to draw.
    struct PlayCanvas {
        CanvasBounds Bounds;
        std::vector<SLPFrameInfo> Frames;
    };
    std::optional<PlayCanvas> playCanvas_;
    QImage OnPlayCanvas(const QImage& frame) const;

    // The desktop's dialogs, each of which stops the animation before it shows.
    class AnimationStoppingDialogs : public CommonDialogs {
    public:
        AnimationStoppingDialogs(CommonDialogs& dialogs, MainForm& form) : dialogs_(dialogs), form_(form) {}
        bool ShowOpen(CommonDialog& dialog) override { return form_.StopAnimation(), dialogs_.ShowOpen(dialog); }
        bool ShowSave(CommonDialog& dialog) override { return form_.StopAnimation(), dialogs_.ShowSave(dialog); }
        bool ShowColor(CommonDialog& dialog) override { return form_.StopAnimation(), dialogs_.ShowColor(dialog); }
        bool ShowFolder(CommonDialog& dialog) override { return form_.StopAnimation(), dialogs_.ShowFolder(dialog); }

    private:
        CommonDialogs& dialogs_;
        MainForm& form_;
    };

    AnimationStoppingDialogs dialogs_;
    Platform platform_;  // the desktop's services, its dialogs through dialogs_
    QWidget* client_;  // the client area: every control stands on it
    AboutForm* aboutForm_ = nullptr;
    bool unloaded_ = false;
    // The list's rows as the archive's tables gave them, before any description rewrote a text: what
    // Extract all to folder... names its folders by.
    std::vector<ListRow> catalogueRows_;
    TempRun tempRun_;  // our hold on the temporary folder: the copies we make, kept from other windows' sweeps
};

// The start folder of the open dialog when the registry names no game folder: the folder of a demo
// archive installed beside the program, else the home folder.
std::string FallbackArchiveFolder();
