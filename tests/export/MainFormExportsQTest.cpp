// The Image menu's exports from the window: the file dialog, the files written, what the window looks
// like afterwards, and the boxes when an export fails halfway.

#include <filesystem>

#include <QAction>
#include <QLabel>
#include <QScrollBar>
#include <QTest>

#include "WindowFixture.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "shell/Controls.h"

using namespace fixtures;
namespace fs = std::filesystem;

class MainFormExportsTest : public QObject, public WindowFixture {
    Q_OBJECT

    QImage Picture() const { return form->ResDisplayPic->Picture(); }
    QImage Image(const std::string& name) const { return QImage(QString::fromStdString(At(name))); }

    // The item's file dialog answered with a name in the folder, under the filter of that index.
    void SaveAs(QAction* item, const std::string& name, int16_t filter = 1) {
        desktop->FilterAnswers = {filter};
        desktop->FileAnswers = {At(name)};
        item->trigger();
    }

    // After an export the gate is open, both labels are empty and the window works on.
    void EndsOrderly() {
        QCOMPARE(form->FrameScrollTag, "on");
        QCOMPARE(Status(), "");
        QCOMPARE(FrameCaption(), "");
    }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void saveAsBmpWritesTheFrameOnShow() {
        OpenAndSelect(Layered);
        desktop->ColourAnswers = {0x00FF00};
        form->menu_col_choose_Click(0);
        const qint64 shown = Picture().cacheKey();
        SaveAs(form->menu_savebmp, "frame");  // used as it comes: no extension added
        QCOMPARE(desktop->DialogsShown.back().Filter, "BMP file (*.bmp)|*.bmp|All files (*.*)|*.*|PNG image (*.png)|*.png");
        QCOMPARE(Image("frame").convertToFormat(QImage::Format_RGB888), Picture().convertToFormat(QImage::Format_RGB888));
        QCOMPARE(Picture().cacheKey(), shown);  // the window is not touched
        QCOMPARE(FrameCaption(), "Showing frame 1 of 2");
        form->FrameScroll->setValue(2);
        SaveAs(form->menu_savebmp, "second.bmp");
        QCOMPARE(Image("second.bmp").size(), QSize(2, 3));
    }

    void sequenceOfTwoFramesOnOneCanvasAndTheBundle() {
        OpenAndSelect(Layered);
        desktop->ColourAnswers = {0x00FF00, 0x123456, 0x654321};
        for (int index : {0, 1, 2}) form->menu_col_choose_Click(int16_t(index));
        const qint64 shown = Picture().cacheKey();
        SaveAs(form->menu_image_savesequence, "a.b.bmp");
        QVERIFY(desktop->DialogsShown.back().Filter.starts_with("BMP file (*.bmp)|*.bmp|All files (*.*)|*.*|PNG sequence"));
        QVERIFY(!fs::exists(At("a.b.bmp")) && !fs::exists(At("a.b003.bmp")));
        const QImage first = Image("a.b001.bmp"), second = Image("a.b002.bmp");
        // Frame 1 spans -1..2 x -1..0 around its hot spot, frame 2 spans 2..3 x -5..-3: 5 x 6 pixels,
        // with the common origin at (1, 5).
        QCOMPARE(first.size(), QSize(5, 6));
        QCOMPARE(second.size(), QSize(5, 6));
        QCOMPARE(first.pixelColor(3, 4), QColor(255, 0, 0));  // shadow keeps its decoded red
        QCOMPARE(first.pixelColor(0, 5), QColor(0, 255, 0));  // outline (inner) takes the background
        QCOMPARE(second.pixelColor(4, 2), QColor(255, 0, 0));  // frame 2's shadow at (1, 2) of its own

        // The end state: the scroll bar at the last frame, the old picture still on show.
        EndsOrderly();
        QCOMPARE(form->FrameScroll->value(), 2);
        QCOMPARE(Picture().cacheKey(), shown);
        form->menu_image_refresh->trigger();
        QCOMPARE(FrameCaption(), "Showing frame 2 of 2");

        // The SLX bundle, from an item the menu doesn't show.
        QVERIFY(!form->menu_image_slx->isVisible());
        SaveAs(form->menu_image_slx, "walk.bmp");
        QCOMPARE(desktop->DialogsShown.back().Filter, "SLX file (*.slx)|*.slx");
        QVERIFY(fs::exists(At("walk.slx")));
        QCOMPARE(Image("walk1d.bmp").pixelColor(3, 1), QColor(255, 255, 255));  // colour, as a layer code
        QCOMPARE(Image("walk2c.bmp").size(), QSize(2, 3));
        EndsOrderly();
        QVERIFY(desktop->Boxes.empty());
    }

    void exportsThatFailHalfwayReportAndRecover() {
        // The item, the filter (6: a sprite sheet) and the box.
        const std::string exportError = "Error exporting graphic!";
        const std::tuple<QAction*, int16_t, std::string> cases[] = {
            {form->menu_savebmp, 1, exportError}, {form->menu_image_savesequence, 1, exportError},
            {form->menu_image_savesequence, 6, exportError}, {form->menu_image_slx, 1, "Error saving files!"}};
        // The target's folder is missing, or the sprite's file is gone.
        for (const bool spriteGone : {false, true}) {
            for (const auto& [item, filter, box] : cases) {
                OpenAndSelect(Walker);
                desktop->Boxes.clear();
                if (spriteGone) fs::remove(form->ResDisplayPic->Tag);
                SaveAs(item, spriteGone ? "out.png" : "no/such/folder/out.png", filter);
                QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{box, MessageStyle::Plain, ""}}));
                if (item == form->menu_savebmp) QCOMPARE(FrameCaption(), "Showing frame 1 of 3");
                else EndsOrderly();
                // The window goes on: the next sprite shows and scrolls.
                form->DRSFilesList->SetListIndex(Layered);
                form->FrameScroll->setValue(2);
                QCOMPARE(FrameCaption(), "Showing frame 2 of 2");
            }
        }
    }

    void todaysFormatsComeAfterTheDesignsOwn() {
        OpenAndSelect(Layered);
        form->FrameScroll->setValue(2);
        SaveAs(form->menu_savebmp, "frame.png", 3);
        const QImage png = Image("frame.png");
        QCOMPARE(png.size(), QSize(2, 3));  // frame 2 at its own size, with real transparency
        QCOMPARE(png.pixelColor(1, 0).alpha(), 0);
        QCOMPARE(png.pixelColor(1, 2), QColor(0, 0, 0, 128));  // the shadow
        QCOMPARE(FrameCaption(), "Showing frame 2 of 2");

        // The filter, the name chosen, and the files written.
        const std::tuple<int16_t, std::string, std::vector<std::string>> kinds[] = {
            {4, "a.gif", {"a.gif"}}, {5, "b.png", {"b.png"}}, {6, "c.png", {"c.png", "c.json"}},
            {3, "d.png", {"d001.png", "d002.png"}}};
        for (const auto& [filter, name, files] : kinds) {
            form->FrameScroll->setValue(1);
            SaveAs(form->menu_image_savesequence, name, filter);
            for (const std::string& file : files) QVERIFY2(fs::exists(At(file)), file.c_str());
            EndsOrderly();
            QCOMPARE(form->FrameScroll->value(), 2);
        }
    }

    // Green player pixels (palette[1 + 48]) in the PNG frame and the sheet; the design's BMP, sequence
    // and SLX byte for byte as in team 1.
    void teamColourReachesTodaysFormatsAlone() {
        OpenAndSelect(Layered);
        for (size_t team : {0, 2}) {
            form->menu_col_team_item[team]->trigger();
            const std::string prefix = std::to_string(team + 1);
            form->FrameScroll->setValue(1);  // a sequence leaves it at the last frame
            SaveAs(form->menu_savebmp, prefix + "f.bmp");
            SaveAs(form->menu_image_savesequence, prefix + "s.bmp");
            SaveAs(form->menu_image_slx, prefix + "x.slx");
        }
        for (const std::string file : {"f.bmp", "s001.bmp", "x1c.bmp"})
            QCOMPARE(ReadFileBytes(At("3" + file)), ReadFileBytes(At("1" + file)));

        const QColor green = ColourOf(Palette[49]);
        form->FrameScroll->setValue(1);
        SaveAs(form->menu_savebmp, "frame.png", 3);
        QCOMPARE(Image("frame.png").pixelColor(2, 0), green);
        SaveAs(form->menu_image_savesequence, "sheet.png", 6);
        QCOMPARE(Image("sheet.png").pixelColor(2, 0), green);  // frame 1 at the top left
        QVERIFY(desktop->Boxes.empty());
    }

    void noExportWritesIntoTheArchive() {
        const Bytes archive = ReadFileBytes(archivePath);
        OpenAndSelect(Layered);
        SaveAs(form->menu_savebmp, "tiny.drs");
        QCOMPARE(desktop->Boxes.back().Text, "Error exporting graphic!");
        QCOMPARE(ReadFileBytes(archivePath), archive);

        // An archive under the name of a bundle's first picture.
        fs::copy_file(archivePath, At("tiny1c.bmp"));
        Open(At("tiny1c.bmp"));
        form->DRSFilesList->SetListIndex(Layered);
        SaveAs(form->menu_image_slx, "tiny");
        QCOMPARE(desktop->Boxes.back().Text, "Error saving files!");
        QCOMPARE(ReadFileBytes(At("tiny1c.bmp")), archive);
    }
};

QTEST_MAIN(MainFormExportsTest)
#include "MainFormExportsQTest.moc"
