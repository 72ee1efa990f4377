// The Image menu's exports from the window: the file dialog, the files written, what the window looks
// like afterwards.

#include <QAction>
#include <QLabel>
#include <QScrollBar>
#include <QTest>

#include "colour/Palettes.h"
#include "WindowFixture.h"

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

        // The design's BMP keeps player 1 whatever the team colour; today's PNG takes the team, green player pixels
        // in palette[1 + 48], at the frame's own size with real transparency and the shadow half seen through.
        form->menu_col_team_item[2]->trigger();
        SaveAs(form->menu_savebmp, "team3.bmp");
        QCOMPARE(ReadFileBytes(At("team3.bmp")), ReadFileBytes(At("frame")));
        SaveAs(form->menu_savebmp, "frame.png", 3);
        const QImage png = Image("frame.png");
        QCOMPARE(png.size(), QSize(4, 2));
        QCOMPARE(png.pixelColor(0, 0).alpha(), 0);
        QCOMPARE(png.pixelColor(2, 0), ColourOf(Palette[49]));
        QCOMPARE(png.pixelColor(3, 0), QColor(0, 0, 0, 128));
        fs::remove(At("frame.png"));
        form->menu_savebmp->trigger();  // cancelled, the last name still in the dialog: nothing written
        QVERIFY(!fs::exists(At("frame.png")));
    }

    void sequencesInEveryFormatAndTheBundle() {
        OpenAndSelect(Layered);
        desktop->ColourAnswers = {0x00FF00, 0x123456, 0x654321};
        for (int index : {0, 1, 2}) form->menu_col_choose_Click(int16_t(index));
        form->menu_col_team_item[2]->trigger();
        const qint64 shown = Picture().cacheKey();
        // The filter, the name chosen, and the files written; the design's BMP sequence first, then today's formats.
        const std::tuple<int16_t, std::string, std::vector<std::string>> kinds[] = {
            {1, "a.b.bmp", {"a.b001.bmp", "a.b002.bmp"}}, {3, "d.png", {"d001.png", "d002.png"}}, {4, "a.gif", {"a.gif"}},
            {5, "b.png", {"b.png"}}, {6, "c.png", {"c.png", "c.json"}}};
        for (const auto& [filter, name, files] : kinds) {
            SaveAs(form->menu_image_savesequence, name, filter);
            for (const std::string& file : files) QVERIFY2(fs::exists(At(file)), file.c_str());
            EndsOrderly();
        }
        QVERIFY(desktop->DialogsShown.back().Filter.starts_with("BMP file (*.bmp)|*.bmp|All files (*.*)|*.*|PNG sequence"));
        QVERIFY(!fs::exists(At("a.b.bmp")) && !fs::exists(At("a.b003.bmp")));
        // The scroll bar is left at the last frame, the old picture still on show.
        QCOMPARE(form->FrameScroll->value(), 2);
        QCOMPARE(Picture().cacheKey(), shown);
        form->menu_image_refresh->trigger();
        QCOMPARE(FrameCaption(), "Showing frame 2 of 2");

        // Frame 1 spans -1..2 x -1..0 around its hot spot, frame 2 spans 2..3 x -5..-3: 5 x 6 pixels,
        // with the common origin at (1, 5). Only today's formats take the team colour.
        const QImage first = Image("a.b001.bmp"), second = Image("a.b002.bmp");
        QVERIFY(first.size() == QSize(5, 6) && second.size() == QSize(5, 6));
        QCOMPARE(first.pixelColor(3, 4), QColor(255, 0, 0));  // shadow keeps its decoded red
        QCOMPARE(first.pixelColor(0, 5), QColor(0, 255, 0));  // outline (inner) takes the background
        QCOMPARE(second.pixelColor(4, 2), QColor(255, 0, 0));  // frame 2's shadow at (1, 2) of its own
        QCOMPARE(first.pixelColor(2, 4), ColourOf(Palette[17]));
        QCOMPARE(Image("d001.png").pixelColor(2, 4), ColourOf(Palette[49]));
        QCOMPARE(Image("c.png").pixelColor(2, 0), ColourOf(Palette[49]));  // frame 1 at the sheet's top left

        // The SLX bundle, from an item the menu doesn't show.
        QVERIFY(!form->menu_image_slx->isVisible());
        SaveAs(form->menu_image_slx, "walk.bmp");
        QCOMPARE(desktop->DialogsShown.back().Filter, "SLX file (*.slx)|*.slx");
        QVERIFY(fs::exists(At("walk.slx")));
        QCOMPARE(Image("walk1d.bmp").pixelColor(3, 1), QColor(255, 255, 255));  // colour, as a layer code
        QCOMPARE(Image("walk1c.bmp").pixelColor(2, 0), ColourOf(Palette[17]));
        QCOMPARE(Image("walk2c.bmp").size(), QSize(2, 3));
        EndsOrderly();
        QVERIFY(desktop->Boxes.empty());
    }
};

QTEST_MAIN(MainFormExportsTest)
#include "MainFormExportsQTest.moc"
