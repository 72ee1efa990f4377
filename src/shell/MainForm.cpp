#include "shell/MainForm.h"

#include <cstdlib>
#include <filesystem>
#include <limits>

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QComboBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QPainter>
#include <QRegularExpressionValidator>
#include <QScrollBar>
#include <QTimer>

#include "archive/Preview.h"
#include "base/Functions.h"
#include "base/RegKeys.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "shell/AboutForm.h"
#include "shell/Controls.h"
#include "shell/Fonts.h"
#include "shell/QtPlatform.h"
#include "slp/SLPCode.h"

namespace {

constexpr const char* Caption = "Brindle - Viewer/Extractor (v0.5b)";
constexpr int ClientWidth = 8145, ClientHeight = 5400;  // twips
constexpr int ResizeMargin = 75, ResizeFloor = 1000;

constexpr const char* GameKey = "SOFTWARE\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0";
constexpr const char* DemoArchiveName = "demo.drs";

const QColor WindowBlue(0, 0, 128);  // colour value 0x800000
const QColor PaneGrey(224, 224, 224);

// Sets a control's background and text colours, each in the role that the kind of control paints with.
void SetColours(QWidget* control, QPalette::ColorRole role, QColor colour, QPalette::ColorRole textRole, QColor text) {
    QPalette palette = control->palette();
    palette.setColor(role, colour);
    palette.setColor(textRole, text);
    control->setPalette(palette);
}

// Gives a scroll bar the desktop's own colours. Every role is its own, so none comes from the window's
// blue and white, on which the arrows vanish into their buttons.
void UseDesktopColours(QScrollBar* bar) {
    QPalette desktop = QApplication::palette(bar);
    desktop.setResolveMask(~QPalette::ResolveMask{0});
    bar->setPalette(desktop);
}

// The game's folder from the registry + "data", or the fallback.
std::string ArchiveStartFolder() {
    const std::string gamePath = ReadRegistryValue(HKEY_LOCAL_MACHINE, GameKey, "Game Path");
    if (gamePath.empty()) return FallbackArchiveFolder();
    const std::string folder = LinuxPathOfWindowsPath(gamePath);
    return (folder.empty() ? gamePath : folder) + "data" + PathSeparator;
}

// Our own icon: a crate of archive entries, striped, on the window's blue.
QIcon ProgramIcon() {
    QList<QRgb> colours(256);  // 256 colours, three bits of red and green and two of blue
    for (int i = 0; i < 256; ++i) colours[i] = qRgb(i & 0xE0, (i << 3) & 0xE0, (i << 6) & 0xC0);
    QImage canvas(32, 32, QImage::Format_RGB32);
    canvas.fill(WindowBlue);
    QPainter painter(&canvas);
    painter.fillRect(5, 8, 22, 18, QColor(192, 128, 64));
    for (int x = 7; x < 27; x += 5) painter.fillRect(x, 8, 2, 18, QColor(96, 64, 32));
    painter.fillRect(4, 6, 24, 3, QColor(224, 224, 224));
    painter.end();
    return QIcon(QPixmap::fromImage(canvas.convertToFormat(QImage::Format_Indexed8, colours)));
}

}  // namespace

std::string FallbackArchiveFolder() {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path programFolder = fs::read_symlink("/proc/self/exe", error).parent_path();
    if (!error && fs::is_regular_file(programFolder / DemoArchiveName, error)) return programFolder.string() + PathSeparator;
    const char* home = std::getenv("HOME");
    return home && *home ? std::string(home) + PathSeparator : std::string(1, PathSeparator);
}

MainForm::MainForm(Platform platform)
    : dialogs_(platform.Dialogs, *this),
      platform_{dialogs_, platform.Messages, platform.Sound, platform.Escape, platform.Clip} {
    setWindowTitle(QString::fromUtf8(Caption));
    setWindowIcon(ProgramIcon());
    client_ = new QWidget(this);
    client_->setAutoFillBackground(true);
    SetColours(client_, QPalette::Window, WindowBlue, QPalette::WindowText, Qt::white);
    setCentralWidget(client_);

    CreateControls();
    CreateMenus();

    MainComDlg.DialogTitle = "Select DRS file to open";
    MainComDlg.Filter = OpenFilter;

    resize(TwipsToPixels(ClientWidth, TwipsPerPixelX()),
           TwipsToPixels(ClientHeight, TwipsPerPixelY()) + menuBar()->sizeHint().height());
    client_->installEventFilter(this);
    setAcceptDrops(true);  // an archive dropped on the window opens as from File > Open
    connect(qApp, &QCoreApplication::aboutToQuit, this, &MainForm::Form_Unload);
    Form_Load();
}

MainForm::~MainForm() { Form_Unload(); }

// --- Geometry ---------------------------------------------------------------------------------------

double MainForm::TwipsPerPixelX() const { return TwipsPerPixel(logicalDpiX()); }
double MainForm::TwipsPerPixelY() const { return TwipsPerPixel(logicalDpiY()); }

int MainForm::ScaleWidth() const { return isMinimized() ? 0 : PixelsToTwips(client_->width(), TwipsPerPixelX()); }
int MainForm::ScaleHeight() const { return isMinimized() ? 0 : PixelsToTwips(client_->height(), TwipsPerPixelY()); }

void MainForm::PlaceInTwips(QWidget* control, TwipsRect twips) {
    // The twips are kept beside the control, so that a read gives back exactly what was set.
    control->setProperty("twips", QRect(twips.Left, twips.Top, twips.Width, twips.Height));
    const double x = TwipsPerPixelX(), y = TwipsPerPixelY();
    control->setGeometry(TwipsToPixels(twips.Left, x), TwipsToPixels(twips.Top, y), TwipsToPixels(twips.Width, x),
                         TwipsToPixels(twips.Height, y));
}

TwipsRect MainForm::TwipsOf(const QWidget* control) const {
    const QRect twips = control->property("twips").toRect();
    return {twips.x(), twips.y(), twips.width(), twips.height()};
}

void MainForm::SetCaption(QLabel* label, std::string_view text) {
    label->setText(ToQString(text));
    TwipsRect twips = TwipsOf(label);
    const QSize size = label->sizeHint();
    twips.Width = PixelsToTwips(size.width(), TwipsPerPixelX());
    twips.Height = PixelsToTwips(size.height(), TwipsPerPixelY());
    PlaceInTwips(label, twips);
}

void MainForm::Form_Resize() {
    const double width = ScaleWidth(), height = ScaleHeight();
    auto fit = [](double value) { return std::max<int>(RoundToInteger(value), ResizeFloor); };

    TwipsRect list = TwipsOf(DRSFilesList);
    list.Height = fit(height - list.Top - ResizeMargin);
    PlaceInTwips(DRSFilesList, list);

    TwipsRect text = TwipsOf(ResDisplayText);
    text.Height = fit(height - text.Top - ResizeMargin);
    text.Width = fit(width - text.Left - ResizeMargin);
    PlaceInTwips(ResDisplayText, text);
    ClipPicture();
}

bool MainForm::eventFilter(QObject* watched, QEvent* event) {
    if (watched == client_ && event->type() == QEvent::Resize) Form_Resize();
    return QMainWindow::eventFilter(watched, event);
}

// The local file of a drag, if it carries one.
static QString DroppedFile(const QMimeData* data) {
    if (!data || !data->hasUrls() || data->urls().isEmpty() || !data->urls().first().isLocalFile()) return {};
    return data->urls().first().toLocalFile();
}

void MainForm::dragEnterEvent(QDragEnterEvent* event) {
    if (!DroppedFile(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void MainForm::dropEvent(QDropEvent* event) {
    const QString file = DroppedFile(event->mimeData());
    if (file.isEmpty()) return;
    event->acceptProposedAction();
    OpenFromOutside(file.toStdString());
}

void MainForm::closeEvent(QCloseEvent* event) {
    Form_Unload();
    event->accept();
}

void MainForm::changeEvent(QEvent* event) {
    // A minimised window has a client area of nothing, and the controls take their least sizes.
    if (event->type() == QEvent::WindowStateChange) Form_Resize();
    QMainWindow::changeEvent(event);
}

// --- The window's design ----------------------------------------------------------------------------

void MainForm::CreateControls() {
    auto label = [this](const char* text, TwipsRect twips, QFont font) {
        auto* control = new QLabel(QString::fromUtf8(text), client_);
        control->setFont(font);
        SetColours(control, QPalette::Window, WindowBlue, QPalette::WindowText, Qt::white);  // no background of its own
        PlaceInTwips(control, twips);
        return control;
    };
    DRSFileLabel1 = label("Current DRS file:", {120, 120, 1845, 240}, Verdana(9.75, true));
    DRSFileLabel2 = label("[none]", {1920, 120, 660, 240}, Verdana(9.75));
    SetCaption(DRSFileLabel2, "[none]");

    DRSFilesList = new ListBox(client_);
    DRSFilesList->setFont(Arial(8.25));
    SetColours(DRSFilesList, QPalette::Base, PaneGrey, QPalette::Text, Qt::black);
    PlaceInTwips(DRSFilesList, {120, 720, 1815, 4620});
    connect(DRSFilesList, &ListBox::Click, this, &MainForm::DRSFilesList_Click);

    StatusText = label("", {3480, 120, 75, 240}, Verdana(9.75, false, true));

    ResDisplayText = new RichTextBox(client_);
    ResDisplayText->setFont(Fixedsys(9));
    SetColours(ResDisplayText, QPalette::Base, PaneGrey, QPalette::Text, Qt::black);
    PlaceInTwips(ResDisplayText, {2040, 720, 495, 4575});

    FrameScroll = new ScrollBar(Qt::Horizontal, client_);
    FrameScroll->setRange(1, 1);
    FrameScroll->setValue(1);
    FrameScroll->setPageStep(5);
    FrameScroll->setSingleStep(1);
    FrameScroll->setTracking(false);  // a change is the end of a move, not every step of the thumb
    PlaceInTwips(FrameScroll, {2040, 960, 1695, 255});
    FrameScroll->hide();
    connect(FrameScroll, &QScrollBar::valueChanged, this, &MainForm::FrameScroll_Change);

    ResDisplayPic = new PictureBox(client_);
    SetColours(ResDisplayPic, QPalette::Window, WindowBlue, QPalette::WindowText, Qt::white);
    PlaceInTwips(ResDisplayPic, {2160, 1320, 735, 735});
    ResDisplayPic->hide();
    connect(ResDisplayPic, &PictureBox::MouseDown, this, &MainForm::ResDisplayPic_MouseDown);
    connect(ResDisplayPic, &PictureBox::MouseMove, this, &MainForm::ResDisplayPic_MouseMove);
    connect(ResDisplayPic, &PictureBox::MouseUp, this, &MainForm::ResDisplayPic_MouseUp);

    PictureStatusText = label("", {2040, 720, 1665, 195}, Verdana(8.25));
    SetCaption(PictureStatusText, "Loading image: 0%");
    PictureStatusText->hide();

    RenameTextBox = new QLineEdit(client_);
    RenameTextBox->setFont(Arial(8.25));
    SetColours(RenameTextBox, QPalette::Base, Qt::black, QPalette::Text, Qt::white);
    PlaceInTwips(RenameTextBox, {120, 1080, 2775, 270});
    RenameTextBox->hide();
    RenameTextBox->setMaxLength(std::numeric_limits<int>::max());  // a description has no length limit
    // "@" divides the fields of a description file, so a text can't carry one.
    RenameTextBox->setValidator(new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[^@]*")), RenameTextBox));
    connect(RenameTextBox, &QLineEdit::textChanged, this, &MainForm::RenameTextBox_Change);

    const TwipsRect listPlaces[3] = {{120, 360, 1575, 330}, {1800, 360, 1095, 330}, {120, 720, 2775, 330}};
    for (size_t i = 0; i < RenameLists.size(); ++i) {
        RenameLists[i] = new QComboBox(client_);
        RenameLists[i]->setFont(Arial(8.25));
        SetColours(RenameLists[i], QPalette::Base, Qt::black, QPalette::Text, Qt::white);
        SetColours(RenameLists[i], QPalette::Button, Qt::black, QPalette::ButtonText, Qt::white);
        PlaceInTwips(RenameLists[i], listPlaces[i]);
        for (std::string_view row : RenameListRows[i]) RenameLists[i]->addItem(ToQString(row));
        RenameLists[i]->setCurrentIndex(-1);  // none selected
        RenameLists[i]->hide();
        // A pick, also of the row already shown; the changes a load-back makes are not picks.
        connect(RenameLists[i], &QComboBox::activated, this, [this, i] { RenameLists_Click(static_cast<int16_t>(i)); });
    }

    for (QScrollBar* bar : {FrameScroll, DRSFilesList->verticalScrollBar(), DRSFilesList->horizontalScrollBar(),
                            ResDisplayText->verticalScrollBar(), ResDisplayText->horizontalScrollBar()})
        UseDesktopColours(bar);

    const QList<QWidget*> tabOrder = {DRSFilesList, ResDisplayText, FrameScroll, ResDisplayPic,
                                      RenameTextBox, RenameLists[0], RenameLists[1], RenameLists[2]};
    for (qsizetype i = 0; i + 1 < tabOrder.size(); ++i) setTabOrder(tabOrder[i], tabOrder[i + 1]);

    // Disabled until "Play animation" starts it. Each tick starts the next only once its frame is
    // drawn, so a slow frame delays the next tick and ticks never queue up.
    AnimateTimer = new QTimer(this);
    AnimateTimer->setInterval(100);
    AnimateTimer->setSingleShot(true);
    connect(AnimateTimer, &QTimer::timeout, this, &MainForm::AnimateTimer_Timer);
}

void MainForm::CreateMenus() {
    CreateFileMenu();
    CreateExtractMenu();
    CreateDescriptionMenu();
    menu_divider_1 = AddDivider();
    CreateImageMenu();
    CreateLayersMenu();
    CreateColourMenu();
    menu_divider_2 = AddDivider();
    CreateHelpMenu();
    UpdateActions();  // the items that come and go, as they start
}

void MainForm::CreateFileMenu() {
    menu_file = menuBar()->addMenu(QStringLiteral("File"));
    menu_file_open = AddItem(menu_file, "Open...");
    menu_file_exit = AddItem(menu_file, "Exit");
    connect(menu_file_open, &QAction::triggered, this, &MainForm::menu_file_open_Click);
    connect(menu_file_exit, &QAction::triggered, this, &MainForm::menu_file_exit_Click);
}

void MainForm::CreateHelpMenu() {
    menu_help = menuBar()->addMenu(QStringLiteral("Help"));
    menu_help_help = AddItem(menu_help, "Help");
    menu_help_about = AddItem(menu_help, "About");
    connect(menu_help_help, &QAction::triggered, this, &MainForm::menu_help_help_Click);
    connect(menu_help_about, &QAction::triggered, this, &MainForm::menu_help_about_Click);
}

QAction* MainForm::AddItem(QMenu* menu, const char* caption, bool checked) {
    QAction* action = menu->addAction(QString::fromUtf8(caption));
    if (checked) {
        action->setCheckable(true);
        action->setChecked(true);
    }
    return action;
}

QAction* MainForm::AddDivider() {
    QAction* action = menuBar()->addAction(QStringLiteral("|"));
    action->setEnabled(false);
    return action;
}

void MainForm::OnCheckItemClick(QAction* item, std::function<void()> handler) {
    connect(item, &QAction::triggered, this, [item, handler = std::move(handler)](bool checked) {
        item->setChecked(!checked);
        handler();
    });
}

void MainForm::SetEnabled(QAction* item, bool enabled) {
    item->setProperty("Enabled", enabled);
    item->setEnabled(enabled);
}

bool MainForm::IsEnabled(const QAction* item) {
    const QVariant enabled = item->property("Enabled");
    return enabled.isValid() ? enabled.toBool() : item->isEnabled();
}

void MainForm::UpdateActions() {
    SetEnabled(menu_extract_file, shown_.Listed && shown_.Kind != KindHeading);
    SetEnabled(menu_extract_all, DRSFileOpen);
    SetEnabled(menu_extract_pal, shown_.Palette);
    SetEnabled(menu_extract_folder, DRSFileOpen);
    // A sprite on show brings the Image and Colours menus and the second divider; the Layers menu,
    // whose items no drawing reads, never shows.
    const bool sprite = shown_.Kind == KindSLP;
    menu_image->menuAction()->setVisible(sprite);
    menu_layers->menuAction()->setVisible(false);
    menu_col->menuAction()->setVisible(sprite);
    menu_divider_2->setVisible(sprite);
}

// --- Start and end ----------------------------------------------------------------------------------

void MainForm::Form_Load() {
    // A folder that only we can enter; one we can't have shows up at the first copy.
    TempFolder = MakePrivateTempFolder();
    (void)tempRun_.Begin(TempFolder);
    (void)LoadPalette("");  // the default palette always loads
    PalComDlg.InitDir = TempFolder;
    ResetColourChoices();
    AutoRefresh = true;
    DRSFileOpen = false;
    MainComDlg.InitDir = ArchiveStartFolder();
}

void MainForm::Form_Unload() {
    if (unloaded_) return;  // the close button, Exit and the end of the application all lead here
    unloaded_ = true;
    SetStatusText("Cleaning up...");
    if (DRSFileOpen) DRSFileNumber.Close();
    tempRun_.End();  // sweeps our copies, and those of runs that have ended
    if (aboutForm_) aboutForm_->close();
    QCoreApplication::quit();
}

void MainForm::menu_file_exit_Click() { close(); }

void MainForm::menu_help_help_Click() {
    ShowMessage("As a beta release, this program has no documentation. Hopefully it won't be too complicated "
                "to figure everything out yourself...",
                MessageStyle::Information, "Help");
}

void MainForm::menu_help_about_Click() {
    if (!aboutForm_) aboutForm_ = new AboutForm(this);
    aboutForm_->show();
    aboutForm_->raise();
}

// --- Opening an archive -----------------------------------------------------------------------------

void MainForm::menu_file_open_Click() {
    SetStatusText("Opening file...");
    MainComDlg.DialogTitle = "Select DRS file to open";
    MainComDlg.Filter = OpenFilter;
    if (!platform_.Dialogs.ShowOpen(MainComDlg)) return;
    const std::string chosen = MainComDlg.FileName;
    std::error_code error;
    if (chosen.empty() || !std::filesystem::is_regular_file(chosen, error)) return;
    OpenArchive(chosen, MainComDlg.FilterIndex == SpriteFilterIndex);
}

bool MainForm::OpenFromOutside(const std::string& path) {
    // As File > Open does with the name its dialog hands back, and the dialog goes on from there; a name
    // that can't be opened says why, since no dialog stood between the user and the file.
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    const std::string name = error ? path : absolute.lexically_normal().string();
    std::string problem;
    if (!std::filesystem::exists(name, error)) problem = "No such file";
    else if (!std::filesystem::is_regular_file(name, error)) problem = "Not a file";
    else if (std::FILE* file = std::fopen(name.c_str(), "rb")) std::fclose(file);
    else problem = "The file can't be read";
    if (!problem.empty()) {
        ShowMessage("Cannot open " + name + ": " + problem + ".", MessageStyle::Critical, "Error");
        return false;
    }
    SetStatusText("Opening file...");
    MainComDlg.FileName = name;
    OpenArchive(name, true);  // a sprite from the file manager opens by itself
    return DRSFileOpen;
}

void MainForm::OpenArchive(const std::string& chosen, bool spritesToo) {
    StopAnimation();
    CloseArchive();
    DRSFileOpen = true;
    DRSFilePath = chosen;
    SetCaption(DRSFileLabel2, BaseNameOfPath(DRSFilePath));

    bool opened = DRSFileNumber.Open(DRSFilePath);
    bool sprite = false;
    if (opened) {
        SetStatusText("Analysing file...");
        sprite = spritesToo && ReadSpriteCatalogue(DRSFileNumber, BaseNameOfPath(DRSFilePath), *this).Ok();
        opened = sprite || ReadCatalogueAsking().Ok();
    }
    shown_.Listed = false;  // the list is new, or is cleared below: no row of it is selected yet
    if (opened) {
        UpdateActions();
        SetStatusText("");
        if (sprite) DRSFilesList->SetListIndex(1);  // its one row, shown at once
        return;
    }

    ShowMessage("Error reading from DRS file!", MessageStyle::Critical, "Error");
    SetStatusText("");
    DRSFilePath.clear();
    SetCaption(DRSFileLabel2, "[none]");
    CloseArchive();
    UpdateActions();
    // The rows still listed belong to the archive just closed: no copy could come out of them now.
    DRSCatalogue.clear();
    ClearList();
}

// ReadDRSCatalogue, asking the user first whether a file of neither flavour is to be read all the same.
CatalogueResult MainForm::ReadCatalogueAsking() {
    CatalogueResult read = ReadDRSCatalogue(DRSFileNumber, *this);
    if (read.Code == Fault::NotThisKind && ShowMessage(InvalidFormatQuestion, MessageStyle::OkCancel) == MessageAnswer::OK) {
        read = ReadDRSCatalogue(DRSFileNumber, *this, true);
    }
    return read;
}

// ReadResourceData, telling the user of a failure.
bool MainForm::CopyEntry(const std::string& path, const CatalogueRow& row) {
    if (ReadResourceData(DRSFileNumber, path, row, *this)) return true;
    ShowMessage("Error saving file!", MessageStyle::Plain);
    return false;
}

void MainForm::CloseArchive() {
    DRSFileNumber.Close();
    DRSFileOpen = false;
}

// --- Selection --------------------------------------------------------------------------------------

CatalogueRow* MainForm::SelectedRow() {
    const int index = DRSFilesList->ListIndex();
    if (index < 0 || static_cast<size_t>(index) >= DRSCatalogue.size()) return nullptr;
    return &DRSCatalogue[static_cast<size_t>(index)];
}

void MainForm::DRSFilesList_Click() {
    const CatalogueRow* selected = SelectedRow();
    if (!selected) return;
    StopAnimation();
    const CatalogueRow& row = *selected;
    const int index = DRSFilesList->ListIndex();
    LoadDescriptionControls(row.Description);

    // Every selection copies its entry anew, heading rows too; a failed copy has told the user.
    const std::string path = tempRun_.NewCopyPath();
    (void)CopyEntry(path, row);

    const int32_t kind = DRSFilesList->ItemData(index);
    shown_ = {kind, false, true};
    UpdateActions();
    ResDisplayPic->hide();
    FrameScroll->hide();
    PictureStatusText->hide();
    SetStatusText("");

    switch (kind) {
    case KindHeading:
        ResDisplayText->hide();
        ResDisplayText->SetText("");
        break;
    case KindSLP:
        ResDisplayText->hide();
        ResDisplayText->SetTextRTF(SpriteNoticeRTF);
        ResDisplayPic->show();
        FrameScroll->show();
        PictureStatusText->show();
        // The last sprite's picture goes first, so that a sprite too damaged to draw shows nothing
        // rather than its predecessor; one damaged further in shows what could be decoded.
        ResDisplayPic->SetPicture({});
        (void)ShowImage(path, 1, false, "", *this, TeamColour);
        DRSFilesList->setFocus();
        break;
    case KindWAV:
        ResDisplayText->show();
        ResDisplayText->SetTextRTF(SoundNoticeRTF);
        platform_.Sound.PlayInBackground(path);
        break;
    case KindBIN:
        ShowPreviewText(row.ID, path);
        break;
    default:
        ResDisplayText->show();
        ResDisplayText->SetTextRTF(UnknownNoticeRTF);
        break;
    }
}

void MainForm::ShowPreviewText(int32_t id, const std::string& path) {
    TextPreview preview;
    // A copy that could not be made shows as an empty entry: the red line alone.
    if (!TextPreviewRTF(path, id, preview)) preview = TextPreviewOfText("", id);
    ResDisplayText->hide();
    ResDisplayText->SetTextRTF(preview.Rtf);
    ResDisplayText->show();
    if (preview.IsPalette) {
        shown_.Palette = true;
        UpdateActions();
    }
}

// --- Host ---------------------------------------------------------------------------------------------

void MainForm::ClearList() {
    DRSFilesList->Clear();
    catalogueRows_.clear();
}
void MainForm::AddListRows(std::span<const ListRow> rows) {
    DRSFilesList->AddItems(rows);
    catalogueRows_.insert(catalogueRows_.end(), rows.begin(), rows.end());
}
void MainForm::SetListVisible(bool visible) { DRSFilesList->setVisible(visible); }
void MainForm::SetListRowText(int32_t index, std::string_view text) {
    if (index >= 0 && index < DRSFilesList->ListCount()) DRSFilesList->SetList(index, std::string(text));
}
void MainForm::SetStatusText(std::string_view text) { SetCaption(StatusText, text); }
void MainForm::SetPictureStatusText(std::string_view text) { SetCaption(PictureStatusText, text); }
void MainForm::SetFrameScrollGate(bool on) { FrameScrollTag = on ? "on" : "off"; }
void MainForm::SetFrameScrollMax(int16_t max) { FrameScroll->setMaximum(max); }
void MainForm::SetFrameScrollValue(int16_t value) { FrameScroll->setValue(value); }

void MainForm::SetBusyPointer(bool busy) {
    if (busy) setCursor(Qt::WaitCursor);
    else unsetCursor();
}

void MainForm::SetPictureSource(std::string_view slpPath) { ResDisplayPic->Tag = slpPath; }

void MainForm::SetPictureSize(int32_t widthPixels, int32_t heightPixels) {
    if (playCanvas_) {  // every frame of a playing sprite stands on its canvas
        widthPixels = static_cast<int32_t>(playCanvas_->Bounds.Width());
        heightPixels = static_cast<int32_t>(playCanvas_->Bounds.Height());
    }
    TwipsRect place = TwipsOf(ResDisplayPic);
    place.Width = PixelsToTwips(widthPixels * Zoom, TwipsPerPixelX());
    place.Height = PixelsToTwips(heightPixels * Zoom, TwipsPerPixelY());
    PlaceInTwips(ResDisplayPic, place);
    ClipPicture();
}

void MainForm::PaintPicture(const cDIBSection& picture) {
    ResDisplayPic->SetPicture(playCanvas_ ? OnPlayCanvas(ImageOfSurface(picture)) : ImageOfSurface(picture));
}
void MainForm::RepaintMainForm() { repaint(); }

MessageAnswer MainForm::ShowMessage(std::string_view text, MessageStyle style, std::string_view title) {
    StopAnimation();
    return platform_.Messages.ShowMessage(text, style, title);
}

bool MainForm::IsEscapeDown() { return platform_.Escape.IsDown(); }
bool MainForm::PutBitmapOnClipboard(const cDIBSection& picture) { return platform_.Clip.PutBitmap(picture); }
