// The window driven as a user drives it: menus chosen, rows selected, dialogs and boxes answered by a
// script, and the widgets read back.

#include <filesystem>

#include <QApplication>
#include <QLabel>
#include <QMenuBar>
#include <QScrollBar>
#include <QTest>

#include "archive/Preview.h"
#include "shell/QtPlatform.h"
#include "WindowFixture.h"

using namespace fixtures;
namespace fs = std::filesystem;

class MainFormTest : public QObject, public WindowFixture {
    Q_OBJECT

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void startsAsDesigned() {
        QCOMPARE(VisibleItems(form->menuBar()), (std::vector<std::string>{"File", "Extract", "|", "Help"}));
        for (QAction* item :
             {form->menu_extract_file, form->menu_extract_pal, form->menu_extract_all, form->menu_extract_folder})
            QVERIFY(!MainForm::IsEnabled(item));
        QCOMPARE(form->menu_image_refresh->shortcut(), QKeySequence(Qt::Key_F5));
        QVERIFY(form->FrameScroll->isHidden() && form->ResDisplayPic->isHidden() && !form->DRSFileOpen);
        QVERIFY(form->AutoRefresh && form->menu_image_autorefresh->isChecked());  // the item says what the drawing does
        QCOMPARE(TempFolder, At("tmp") + "/brindle/");
        QVERIFY(fs::is_directory(TempFolder));
        QCOMPARE(form->MainComDlg.InitDir, FallbackArchiveFolder());  // no registry in this prefix

        // With the game's path in the registry, the archive dialog starts in its data folder.
        const std::string prefix = At("wine");
        const std::string key = R"([Software\\Wow6432Node\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0] 1700000000)";
        fs::create_directories(prefix);
        qputenv("WINEPREFIX", QByteArray::fromStdString(prefix));
        for (auto [value, folder] : {std::pair{R"(C:\\Games\\Harrowmere\\)", "/drive_c/Games/Harrowmere/data/"},
                                     {R"(C:\\Games\\Harrowmere)", "/drive_c/Games/Harrowmeredata/"}}) {
            WriteFileText(prefix + "/system.reg", "WINE REGISTRY Version 2\n\n" + key + "\n\"Game Path\"=\"" + value + "\"\n");
            QCOMPARE(MainForm(desktop->Services()).MainComDlg.InitDir, prefix + folder);
        }

        // Without an X display there is no keyboard to ask: ESC is never down, and nothing breaks.
        QVERIFY(!X11EscapeKey().IsDown());

    }

    void resizeFollowsTheRule() {
        // At the start size: 5400 - 720 - 75 and 8145 - 2040 - 75.
        QCOMPARE(form->TwipsOf(form->DRSFilesList).Height, 4605);
        QCOMPARE(form->TwipsOf(form->ResDisplayText), (TwipsRect{2040, 720, 6030, 4605}));

        // Smaller than the controls: the floor of 1,000 holds, past the window's edge.
        form->resize(50, 80);
        QCOMPARE(form->TwipsOf(form->ResDisplayText).Width, 1000);
        QCOMPARE(form->TwipsOf(form->DRSFilesList).Height, 1000);

        form->resize(800, 600);
        QCOMPARE(form->TwipsOf(form->DRSFilesList).Height, form->ScaleHeight() - 795);
        QCOMPARE(form->TwipsOf(form->DRSFilesList).Width, 1815);  // nothing else changes size

        form->setWindowState(Qt::WindowMinimized);
        QCOMPARE(form->TwipsOf(form->ResDisplayText), (TwipsRect{2040, 720, 1000, 1000}));
    }

    void openingHasThreeOutcomesFromTheMenuOrFromOutside() {
        // Cancelled, and a name that doesn't exist: nothing changes, the status line stays.
        form->menu_file_open_Click();
        Open(At("missing.drs"));
        QVERIFY(!form->DRSFileOpen);
        QCOMPARE(Status(), "Opening file...");
        QVERIFY(desktop->Boxes.empty());

        MainForm::SetEnabled(form->menu_extract_file, true);
        Open(archivePath);
        QVERIFY(form->DRSFileOpen);
        QCOMPARE(Str(form->DRSFileLabel2->text()), "tiny");
        QCOMPARE(Status(), "");
        QVERIFY(MainForm::IsEnabled(form->menu_extract_all) && !MainForm::IsEnabled(form->menu_extract_file));
        QCOMPARE(form->DRSFilesList->ListCount(), 13);
        QCOMPARE(form->DRSFilesList->List(Walker), "1000");
        QCOMPARE(form->DRSFilesList->ListIndex(), -1);

        // A file of neither flavour, with an archive open.
        WriteFileText(At("junk.drs"), "not an archive at all, not at all");
        Open(At("junk.drs"));
        QCOMPARE(desktop->Boxes.back(), (ShownMessage{"Error reading from DRS file!", MessageStyle::Critical, "Error"}));
        QVERIFY(!form->DRSFileOpen);
        QCOMPARE(Str(form->DRSFileLabel2->text()), "[none]");
        QVERIFY(!MainForm::IsEnabled(form->menu_extract_all) && !MainForm::IsEnabled(form->menu_extract_file));
        QCOMPARE(form->DRSFilesList->ListCount(), 0);  // rows of the archive just closed are of no use

        // Named from outside, the archive opens as from the menu, and the dialog goes on from its folder.
        QVERIFY(form->OpenFromOutside(archivePath));
        form->menu_file_open_Click();
        QCOMPARE(desktop->DialogsShown.back().FileName, archivePath);
        // A name that isn't there says so and changes nothing.
        QVERIFY(!form->OpenFromOutside(At("missing.drs")));
        QCOMPARE(desktop->Boxes.back(),
                 (ShownMessage{"Cannot open " + At("missing.drs") + ": No such file.", MessageStyle::Critical, "Error"}));
        QCOMPARE(form->DRSFilePath, archivePath);
    }

    // A sprite named from outside, or chosen under "SLP sprites", opens as an archive of itself, shown at
    // once; under the design's filter, and for a file that is no sprite, the design's question stays.
    void aSpriteOpensByItself() {
        WriteFileBytes(At("walker.slp"), walker);
        WriteFileBytes(At("odd.slp"), broken);  // cut inside its frame table: no sprite
        auto opensAsSprite = [&](const std::function<void()>& open) {
            desktop->Boxes.clear();
            open();
            QVERIFY(form->DRSFileOpen && desktop->Boxes.empty());
            QCOMPARE(form->DRSFilesList->ListCount(), 2);
            QCOMPARE(form->DRSFilesList->List(0) + "|" + form->DRSFilesList->List(1), "--SLP (1)--|walker");
            QCOMPARE(form->DRSFilesList->ListIndex(), 1);
            QCOMPARE(FrameCaption(), "Showing frame 1 of 3");
            QCOMPARE(form->ResDisplayPic->Picture().size(), QSize(4, 3));
        };
        opensAsSprite([&] { form->OpenFromOutside(At("walker.slp")); });
        opensAsSprite([&] {
            desktop->FilterAnswers.push_back(MainForm::SpriteFilterIndex);
            Open(At("walker.slp"));
        });
        QCOMPARE(desktop->DialogsShown.back().Filter, std::string(MainForm::OpenFilter));
        desktop->FileAnswers.push_back(At("copy.slp"));  // Extract this file... copies the sprite
        form->menu_extract_file->trigger();
        QCOMPARE(ReadFileBytes(At("copy.slp")), walker);

        for (const std::function<void()>& open : std::initializer_list<std::function<void()>>{
                 [&] { desktop->FilterAnswers.push_back(1), Open(At("walker.slp")); }, [&] { form->OpenFromOutside(At("odd.slp")); }}) {
            desktop->Boxes.clear();
            open();
            QCOMPARE(desktop->Boxes.front().Text, std::string(InvalidFormatQuestion));
            QVERIFY(form->DRSFilesList->ListIndex() != 1 || form->DRSFilesList->List(0) != "--SLP (1)--");
        }
    }

    void selectionShowsEachKind() {
        const std::string notice = R"({\rtf1{\colortbl ;\red255\green0\blue0;}\cf1 )";
        // The row, whether the text or the sprite shows, whether Extract takes the file and the palette, the text.
        const struct { int Row; bool Text, Sprite, Extract, Palette; std::string Rtf; } cases[] = {
            {BinHeading, false, false, false, false, ""},
            {Walker, false, true, true, false, std::string(SpriteNoticeRTF)},
            {Tone, true, false, true, false, std::string(SoundNoticeRTF)},
            {Text, true, false, true, false, notice + R"(File 7:\par \cf0 a\{b\}\\c\par z\par })"},
            {Pal, true, false, true, true, ""},
            {Empty, true, false, true, false, notice + R"(File 9:\par \cf0 })"},
            {Odd, true, false, true, false, std::string(UnknownNoticeRTF)},
        };
        const std::vector<std::string> otherMenus = {"File", "Extract", "|", "Help"};
        const std::vector<std::string> spriteMenus = {"File", "Extract", "|", "Image", "Colours", "|", "Help"};
        Open(archivePath);
        for (const auto& c : cases) {
            // Start from a sprite, then a palette, so that no state of an earlier row shines through.
            form->DRSFilesList->SetListIndex(Flag);
            form->DRSFilesList->SetListIndex(c.Row == Pal ? Text : Pal);
            for (const std::string& name : TempCopies()) fs::remove(TempFolder + name);
            desktop->Sounds.clear();
            form->DRSFilesList->SetListIndex(c.Row);

            QCOMPARE(form->ResDisplayText->isVisible(), c.Text);
            for (QWidget* view : {static_cast<QWidget*>(form->ResDisplayPic), static_cast<QWidget*>(form->FrameScroll),
                                  static_cast<QWidget*>(form->PictureStatusText)})
                QCOMPARE(view->isVisible(), c.Sprite);
            QCOMPARE(VisibleItems(form->menuBar()), c.Sprite ? spriteMenus : otherMenus);
            QCOMPARE(MainForm::IsEnabled(form->menu_extract_file), c.Extract);
            QCOMPARE(MainForm::IsEnabled(form->menu_extract_pal), c.Palette);
            QCOMPARE(Status(), "");
            if (!c.Rtf.empty()) QCOMPARE(form->ResDisplayText->TextRTF(), c.Rtf);
            if (c.Row == BinHeading) QCOMPARE(form->ResDisplayText->toPlainText(), QString());

            // Every selection copies its entry, heading rows too; a sound plays from its copy.
            QCOMPARE(TempCopies().size(), size_t{1});
            const std::string copy = TempFolder + TempCopies()[0];
            QCOMPARE(ReadFileBytes(copy), EntryBytes(c.Row));
            QCOMPARE(desktop->Sounds, c.Row == Tone ? std::vector<std::string>{copy} : std::vector<std::string>{});
            if (c.Extract) form->menu_extract_file->trigger();  // cancelled: the name it proposed stays unwritten
            QVERIFY(!c.Extract || !fs::exists(desktop->DialogsShown.back().FileName));
        }
    }

    void onlyALeftClickOrAKeySelectsARowAndTheScrollBarTurnsTheFrames() {
        Open(archivePath);
        form->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(form.get()));
        // The list gets the focus by Tab, by the window coming back, and by a click of another button.
        form->ResDisplayText->setFocus(Qt::TabFocusReason);
        QTest::keyClick(form->ResDisplayText, Qt::Key_Backtab);
        QCOMPARE(QApplication::focusWidget(), form->DRSFilesList);
        form->DRSFilesList->clearFocus();
        form->DRSFilesList->setFocus(Qt::ActiveWindowFocusReason);
        const QPoint row = form->DRSFilesList->visualRect(form->DRSFilesList->model()->index(Walker, 0)).center();
        QTest::mouseClick(form->DRSFilesList->viewport(), Qt::RightButton, {}, row);
        QTest::mouseClick(form->DRSFilesList->viewport(), Qt::MiddleButton, {}, row);
        QCOMPARE(form->DRSFilesList->ListIndex(), -1);
        QVERIFY(TempCopies().empty());  // no selection ran

        QTest::mouseClick(form->DRSFilesList->viewport(), Qt::LeftButton, {}, row);
        QCOMPARE(form->DRSFilesList->ListIndex(), int(Walker));
        QCOMPARE(form->ResDisplayPic->Picture().size(), QSize(4, 3));
        // The list keeps the focus after a selection; the scroll bar is next in the tab order.
        QCOMPARE(QApplication::focusWidget(), form->DRSFilesList);
        QTest::keyClick(form->DRSFilesList, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), form->FrameScroll);
        const std::pair<Qt::Key, int> steps[] = {{Qt::Key_Right, 2}, {Qt::Key_Left, 1},     {Qt::Key_End, 3},
                                                 {Qt::Key_Home, 1},  {Qt::Key_PageDown, 3}, {Qt::Key_PageUp, 1}};
        for (auto [key, frame] : steps) {
            QTest::keyClick(form->FrameScroll, key);
            QCOMPARE(FrameCaption(), "Showing frame " + std::to_string(frame) + " of 3");
        }

        // A new sprite starts at frame 1 with its own range.
        QTest::keyClick(form->DRSFilesList, Qt::Key_Down);
        QCOMPARE(form->DRSFilesList->ListIndex(), int(Flag));
        QCOMPARE(FrameCaption(), "Showing frame 1 of 1");
        QCOMPARE(form->FrameScroll->value(), 1);
        QCOMPARE(form->FrameScroll->maximum(), 1);
        QVERIFY(form->cursor().shape() != Qt::WaitCursor);
    }

    void shutdownSweepsTemporaryCopiesFailedOnesToo() {
        // An entry that lies past the end of its archive: its copy fails with the box, and is swept.
        fs::resize_file(archivePath, fs::file_size(archivePath) - 2);
        Open(archivePath);
        for (int row : {Walker, Tone, Odd}) form->DRSFilesList->SetListIndex(row);
        QCOMPARE(desktop->Boxes.back().Text, "Error saving file!");
        WriteFileText(TempFolder + "1000.pal", "kept");
        QVERIFY(TempCopies().size() >= 2);
        form->menu_file_exit_Click();
        QCOMPARE(TempCopies(), std::vector<std::string>{"1000.pal"});
        QCOMPARE(Status(), "Cleaning up...");

        // A window that goes without being closed sweeps too.
        WriteFileText(TempFolder + "_drs123.drx", "left by a crashed run");
        form.reset();
        form = std::make_unique<MainForm>(desktop->Services());
        form.reset();
        QCOMPARE(TempCopies(), std::vector<std::string>{"1000.pal"});
    }

    void closingOneWindowLeavesTheCopiesAnotherStillReads() {
        MainForm second(desktop->Services());
        desktop->FileAnswers.push_back(archivePath);
        second.menu_file_open_Click();
        second.DRSFilesList->SetListIndex(Walker);
        const std::vector<std::string> copies = TempCopies();
        OpenAndSelect(Flag);
        form->menu_file_exit_Click();
        QCOMPARE(TempCopies(), copies);  // the second window's copy of the walker
        second.menu_image_refresh->trigger();
        QCOMPARE(second.ResDisplayPic->Picture().size(), QSize(4, 3));
        QCOMPARE(desktop->Boxes.size(), size_t{0});
        second.close();
        QVERIFY(TempCopies().empty());
    }
};

QTEST_MAIN(MainFormTest)
#include "MainFormQTest.moc"
