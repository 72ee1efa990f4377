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
    static QImage Bitmap(const std::string& path) { return QImage(QString::fromStdString(path), "BMP"); }

    void SaveAs(QAction* item, const std::string& name) {
        desktop->FileAnswers = {name};
        item->trigger();
    }

    // After an export the gate is open, both labels are empty and the window works on.
    void EndsOrderly() {
        QCOMPARE(form->FrameScrollTag, "on");
        QCOMPARE(Str(form->StatusText->text()), "");
        QCOMPARE(Str(form->PictureStatusText->text()), "");
    }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void saveAsBmpWritesTheFrameOnShow() {
        OpenAndSelect(Layered);
        desktop->ColourAnswers = {0x00FF00};
        form->menu_col_choose_Click(0);
        form->menu_savebmp->trigger();  // cancelled: nothing
        QCOMPARE(desktop->DialogsShown.back().DialogTitle, "Save image as...");
        QCOMPARE(desktop->DialogsShown.back().Filter, "BMP file (*.bmp)|*.bmp|All files (*.*)|*.*|PNG image (*.png)|*.png");

        const qint64 shown = Picture().cacheKey();
        SaveAs(form->menu_savebmp, At("frame"));  // used as it comes: no extension added
        SaveAs(form->menu_savebmp, At("again.bmp"));
        QCOMPARE(Bitmap(At("frame")).convertToFormat(QImage::Format_RGB888), Picture().convertToFormat(QImage::Format_RGB888));
        QCOMPARE(ReadFileBytes(At("frame")), ReadFileBytes(At("again.bmp")));
        QCOMPARE(Picture().cacheKey(), shown);  // the window is not touched
        QCOMPARE(Str(form->PictureStatusText->text()), "Showing frame 1 of 2");

        desktop->ColourAnswers = {0x0000FF};
        form->menu_col_choose_Click(0);
        SaveAs(form->menu_savebmp, At("again.bmp"));
        QVERIFY(ReadFileBytes(At("frame")) != ReadFileBytes(At("again.bmp")));

        form->FrameScroll->setValue(2);
        SaveAs(form->menu_savebmp, At("second.bmp"));
        QCOMPARE(Bitmap(At("second.bmp")).size(), QSize(2, 3));
        QVERIFY(desktop->Boxes.empty());
    }

    void sequenceOfTwoFramesOnOneCanvas() {
        OpenAndSelect(Layered);
        desktop->ColourAnswers = {0x00FF00, 0x123456, 0x654321};
        for (int index : {0, 1, 2}) form->menu_col_choose_Click(int16_t(index));
        const qint64 shown = Picture().cacheKey();
        SaveAs(form->menu_image_savesequence, At("a.b.bmp"));

        QVERIFY(!fs::exists(At("a.b.bmp")) && !fs::exists(At("a.b003.bmp")));
        const QImage first = Bitmap(At("a.b001.bmp")), second = Bitmap(At("a.b002.bmp"));
        // Frame 1 spans -1..2 x -1..0 around its hot spot, frame 2 spans 2..3 x -5..-3: 5 x 6 pixels,
        // with the common origin at (1, 5).
        QCOMPARE(first.size(), QSize(5, 6));
        QCOMPARE(second.size(), QSize(5, 6));
        const QColor mask(0, 255, 0);
        QCOMPARE(first.pixelColor(1, 4), ColourOf(Palette[7]));
        QCOMPARE(first.pixelColor(0, 4), mask);                 // transparent
        QCOMPARE(first.pixelColor(3, 4), QColor(255, 0, 0));    // shadow keeps its decoded red
        QCOMPARE(first.pixelColor(0, 5), mask);                 // outline (inner) takes the background
        QCOMPARE(first.pixelColor(1, 5), mask);                 // outline (outer) likewise
        QCOMPARE(first.pixelColor(2, 5), mask);                 // palette colour 0xFF00FF counts as background
        QCOMPARE(first.pixelColor(4, 0), mask);                 // outside the frame
        QCOMPARE(second.pixelColor(3, 0), ColourOf(Palette[9]));
        QCOMPARE(second.pixelColor(4, 2), QColor(255, 0, 0));   // frame 2's shadow at (1, 2) of its own
        QCOMPARE(second.pixelColor(0, 5), mask);

        // The end state: the scroll bar at the last frame, the old picture still on show.
        EndsOrderly();
        QCOMPARE(form->FrameScroll->value(), 2);
        QCOMPARE(Picture().cacheKey(), shown);
        form->menu_image_refresh->trigger();
        QCOMPARE(Str(form->PictureStatusText->text()), "Showing frame 2 of 2");
        QCOMPARE(Picture().size(), QSize(2, 3));
    }

    void slxBundleFromTheHiddenItem() {
        OpenAndSelect(Layered);
        QVERIFY(!form->menu_image_slx->isVisible());
        SaveAs(form->menu_image_slx, At("walk.bmp"));
        QCOMPARE(desktop->DialogsShown.back().DialogTitle, "Save image as...");
        QCOMPARE(desktop->DialogsShown.back().Filter, "SLX file (*.slx)|*.slx");
        const Bytes list = ReadFileBytes(At("walk.slx"));
        QCOMPARE(std::string(list.begin(), list.end()),
                 "SLX 0.5\r\n2\r\n1,1\r\nwalk1d.bmp\r\nwalk1c.bmp\r\n-2,5\r\nwalk2d.bmp\r\nwalk2c.bmp\r\n");
        QCOMPARE(Bitmap(At("walk1d.bmp")).pixelColor(3, 1), QColor(255, 255, 255));  // colour, as a layer code
        QCOMPARE(Bitmap(At("walk2c.bmp")).size(), QSize(2, 3));
        EndsOrderly();

        // The picture exports offer their own filter again.
        SaveAs(form->menu_image_savesequence, At("seq.bmp"));
        QVERIFY(desktop->DialogsShown.back().Filter.starts_with("BMP file (*.bmp)|*.bmp|All files (*.*)|*.*|PNG sequence"));
        QVERIFY(desktop->Boxes.empty());
    }

    void exportsThatFailHalfwayReportAndRecover() {
        const std::pair<QAction*, std::string> cases[] = {{form->menu_savebmp, "Error exporting graphic!"},
                                                          {form->menu_image_savesequence, "Error exporting graphic!"},
                                                          {form->menu_image_slx, "Error saving files!"}};
        // The target's folder is missing, or the sprite's file is gone.
        for (const bool spriteGone : {false, true}) {
            for (const auto& [item, box] : cases) {
                OpenAndSelect(Walker);
                desktop->Boxes.clear();
                if (spriteGone) fs::remove(form->ResDisplayPic->Tag);
                SaveAs(item, spriteGone ? At("out.bmp") : At("no/such/folder/out.bmp"));
                QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{box, MessageStyle::Plain, ""}}));
                if (item == form->menu_savebmp) QCOMPARE(Str(form->PictureStatusText->text()), "Showing frame 1 of 3");
                else EndsOrderly();
                // The window goes on: the next sprite shows and scrolls.
                form->DRSFilesList->SetListIndex(Layered);
                form->FrameScroll->setValue(2);
                QCOMPARE(Str(form->PictureStatusText->text()), "Showing frame 2 of 2");
            }
        }
    }

    void todaysFormatsComeAfterTheDesignsOwn() {
        OpenAndSelect(Layered);
        form->FrameScroll->setValue(2);
        desktop->FilterAnswers = {3};
        SaveAs(form->menu_savebmp, At("frame.png"));
        const QImage png(QString::fromStdString(At("frame.png")), "PNG");
        QCOMPARE(png.size(), QSize(2, 3));  // frame 2 at its own size, with real transparency
        QCOMPARE(png.pixelColor(0, 0), ColourOf(Palette[9]));
        QCOMPARE(png.pixelColor(1, 0).alpha(), 0);
        QCOMPARE(png.pixelColor(1, 2), QColor(0, 0, 0, 128));  // the shadow
        QCOMPARE(Str(form->PictureStatusText->text()), "Showing frame 2 of 2");

        const std::pair<int16_t, std::vector<const char*>> kinds[] = {
            {4, {"a.gif"}}, {5, {"b.png"}}, {6, {"c.png", "c.json"}}, {3, {"d001.png", "d002.png"}}};
        for (const auto& [index, files] : kinds) {
            form->FrameScroll->setValue(1);
            desktop->FilterAnswers = {index};
            SaveAs(form->menu_image_savesequence, At(files[0] == std::string("d001.png") ? "d.png" : files[0]));
            for (const char* file : files) QVERIFY2(fs::exists(At(file)), file);
            EndsOrderly();
            QCOMPARE(form->FrameScroll->value(), 2);
        }
        QCOMPARE(QImage(QString::fromStdString(At("a.gif"))).size(), QSize(5, 6));  // the common canvas
        QVERIFY(desktop->Boxes.empty());

        // A sprite too damaged to export writes nothing and says so.
        form->DRSFilesList->SetListIndex(Broken);
        desktop->FilterAnswers = {6};
        SaveAs(form->menu_image_savesequence, At("broken.png"));
        QCOMPARE(desktop->Boxes, (std::vector<ShownMessage>{{"Error exporting graphic!", MessageStyle::Plain, ""}}));
        QVERIFY(!fs::exists(At("broken.png")) && !fs::exists(At("broken.json")));
    }

    // Green player pixels (palette[1 + 48]) in the PNG frame and the sheet; the design's BMP, sequence
    // and SLX byte for byte as in team 1.
    void teamColourReachesTodaysFormatsAlone() {
        OpenAndSelect(Layered);
        const std::array<std::pair<QAction*, const char*>, 3> designs{
            {{form->menu_savebmp, "f.bmp"}, {form->menu_image_savesequence, "s.bmp"}, {form->menu_image_slx, "x.slx"}}};
        auto saveDesigns = [&](const std::string& prefix) {
            form->FrameScroll->setValue(1);  // a sequence leaves it at the last frame
            for (const auto& [item, name] : designs) SaveAs(item, At(prefix + name));
        };
        saveDesigns("1");
        form->menu_col_team_item[2]->trigger();
        saveDesigns("3");
        for (const char* file : {"f.bmp", "s001.bmp", "x1c.bmp"})
            QCOMPARE(ReadFileBytes(At(std::string("3") + file)), ReadFileBytes(At(std::string("1") + file)));

        const QColor green = ColourOf(Palette[49]);
        form->FrameScroll->setValue(1);
        QCOMPARE(Picture().pixelColor(2, 0), green);
        desktop->FilterAnswers = {3};
        SaveAs(form->menu_savebmp, At("frame.png"));
        QCOMPARE(QImage(QString::fromStdString(At("frame.png")), "PNG").pixelColor(2, 0), green);
        desktop->FilterAnswers = {6};
        SaveAs(form->menu_image_savesequence, At("sheet.png"));
        QCOMPARE(QImage(QString::fromStdString(At("sheet.png")), "PNG").pixelColor(2, 0), green);  // frame 1 at the top left
        QVERIFY(desktop->Boxes.empty());
    }

    void noExportWritesIntoTheArchive() {
        const Bytes archive = ReadFileBytes(archivePath);
        OpenAndSelect(Layered);
        SaveAs(form->menu_savebmp, archivePath);
        QCOMPARE(desktop->Boxes.back().Text, "Error exporting graphic!");
        QCOMPARE(ReadFileBytes(archivePath), archive);

        // An archive under the name of a bundle's first picture.
        fs::copy_file(archivePath, At("tiny1c.bmp"));
        Open(At("tiny1c.bmp"));
        form->DRSFilesList->SetListIndex(Layered);
        SaveAs(form->menu_image_slx, At("tiny"));
        QCOMPARE(desktop->Boxes.back().Text, "Error saving files!");
        QCOMPARE(ReadFileBytes(At("tiny1c.bmp")), archive);
    }
};

QTEST_MAIN(MainFormExportsTest)
#include "MainFormExportsQTest.moc"
