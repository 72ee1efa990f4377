// The frame viewer's zoom and animation: the items after the design's, the picture's pixels at each
// zoom, and every way a playing animation stops.

#include <QAction>
#include <QLabel>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

#include "WindowFixture.h"
#include "colour/Palettes.h"
#include "shell/Controls.h"

using namespace fixtures;

class MainFormViewerTest : public QObject, public WindowFixture {
    Q_OBJECT

    // The picture box as the screen shows it, rendered at a device-pixel ratio.
    QImage Shown(qreal ratio = 1) const {
        const QSize size = form->ResDisplayPic->size() * ratio;
        QImage image(size, QImage::Format_RGB32);
        image.setDevicePixelRatio(ratio);
        form->ResDisplayPic->render(&image);
        return image;
    }

    // Each pixel of the frame on show is a square of `side` pixels of the same colour in `shown`.
    bool SharpSquares(const QImage& shown, int side) const {
        const QImage frame = form->ResDisplayPic->Picture();
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x)
                if (shown.pixelColor(x, y) != frame.pixelColor(x / side, y / side)) return false;
        return true;
    }

    void Tick(int times = 1) {
        for (int i = 0; i < times; ++i) form->AnimateTimer_Timer();
    }
    bool Playing() const { return form->menu_image_play->isChecked() && form->AnimateTimer->isActive(); }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void theNewItemsComeAfterTheDesignsOwn() {
        std::vector<std::string> items;
        for (QAction* action : form->menu_image->actions())
            if (action->isVisible()) items.push_back(Str(action->text()));
        QCOMPARE(items, (std::vector<std::string>{"Auto-refresh", "Refresh", "Save as BMP", "Save as image sequence",
                                                  "Zoom in", "Zoom out", "Actual size", "Play animation"}));
        QCOMPARE(form->menu_image_zoomin->shortcuts(),
                 (QList<QKeySequence>{QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)}));
        QCOMPARE(form->menu_image_play->shortcut(), QKeySequence(Qt::Key_P));
    }

    void zoomMakesEachPixelASharpSquareThatStaysAcrossFramesAndSprites() {
        OpenAndSelect(Layered);  // frame 1 is 4 x 2
        const QSize designSize = form->ResDisplayPic->size();
        const TwipsRect designTwips = form->TwipsOf(form->ResDisplayPic);
        const std::vector<std::pair<QAction*, int32_t>> steps = {
            {form->menu_image_zoomin, 2}, {form->menu_image_zoomin, 3}, {form->menu_image_zoomin, 4},
            {form->menu_image_zoomout, 3}, {form->menu_image_zoomin, 4}, {form->menu_image_zoomin, 6}};
        for (auto [item, zoom] : steps) {
            item->trigger();
            QCOMPARE(form->Zoom, zoom);
            QCOMPARE(form->ResDisplayPic->size(), designSize * zoom);
        }
        QVERIFY(SharpSquares(Shown(), 6));
        QVERIFY(SharpSquares(Shown(2), 12));  // a screen of two device pixels a pixel: no blur either

        form->FrameScroll->setValue(2);  // 2 x 3
        QCOMPARE(form->ResDisplayPic->size(), QSize(12, 18));
        QVERIFY(SharpSquares(Shown(), 6));
        form->DRSFilesList->SetListIndex(Walker);  // 4 x 3
        QCOMPARE(form->ResDisplayPic->size(), QSize(24, 18));

        for (int i = 0; i < 5; ++i) form->menu_image_zoomin->trigger();
        QCOMPARE(form->Zoom, 16);
        desktop->FileAnswers = {At("zoomed.bmp")};  // the files an export writes never see the zoom
        form->menu_savebmp->trigger();
        QCOMPARE(QImage(QString::fromStdString(At("zoomed.bmp"))).size(), QSize(4, 3));
        form->menu_image_actualsize->trigger();
        form->DRSFilesList->SetListIndex(Layered);
        QCOMPARE(form->TwipsOf(form->ResDisplayPic), designTwips);  // exactly the design's picture
        QVERIFY(SharpSquares(Shown(), 1));
        form->menu_image_zoomout->trigger();
        QCOMPARE(form->Zoom, 1);
    }

    void ctrlAndTheWheelOverThePictureZoom() {
        OpenAndSelect(Layered);
        auto wheel = [this](int angle, Qt::KeyboardModifiers modifiers) {
            QWheelEvent event(QPointF(1, 1), form->ResDisplayPic->mapToGlobal(QPointF(1, 1)), QPoint(), QPoint(0, angle),
                              Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
            QApplication::sendEvent(form->ResDisplayPic, &event);
        };
        wheel(120, Qt::NoModifier);
        QCOMPARE(form->Zoom, 1);
        wheel(240, Qt::ControlModifier);
        QCOMPARE(form->Zoom, 3);
        wheel(60, Qt::ControlModifier);  // half a notch: not yet
        QCOMPARE(form->Zoom, 3);
        wheel(-180, Qt::ControlModifier);
        QCOMPARE(form->Zoom, 2);
    }

    void playingMovesOneFrameATickAndWrapsToTheFirst() {
        OpenAndSelect(Walker);  // 3 frames
        form->menu_image_play->trigger();
        QVERIFY(Playing());
        QCOMPARE(form->AnimateTimer->interval(), 100);
        for (int frame : {2, 3, 1, 2}) {
            Tick();
            QCOMPARE(Str(form->PictureStatusText->text()), "Showing frame " + std::to_string(frame) + " of 3");
            QCOMPARE(form->ResDisplayPic->Picture().width(), frame == 2 ? 9 : frame == 3 ? 2 : 4);
        }
        QVERIFY(Playing());
        QTRY_COMPARE_WITH_TIMEOUT(form->FrameScroll->value(), 3, 5000);  // and the timer moves it on by itself
        form->menu_image_play->trigger();  // chosen again
        QVERIFY(!Playing() && !form->menu_image_play->isChecked());
    }

    void playingStopsOnSelectionDialogBoxEscapeAndARefusedSprite() {
        auto play = [this] {
            form->menu_image_play->trigger();
            QVERIFY(Playing());
        };
        OpenAndSelect(Walker);
        play();
        form->DRSFilesList->SetListIndex(Flag);
        QVERIFY(!Playing());

        play();
        form->menu_savebmp->trigger();  // its dialog, cancelled
        QVERIFY(!Playing());

        play();
        form->ShowMessage("a box", MessageStyle::Plain);
        QVERIFY(!Playing());

        play();
        form->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(form.get()));
        QTest::keyClick(form->DRSFilesList, Qt::Key_Escape);
        QVERIFY(!Playing());

        form->DRSFilesList->SetListIndex(Walker);
        play();
        WriteFileText(form->ResDisplayPic->Tag, "bad");  // the sprite on show turns unreadable
        Tick();
        QVERIFY(!Playing());
        form->menu_image_play->trigger();  // a refused sprite has nothing to play
        QVERIFY(!form->menu_image_play->isChecked());
    }
};

QTEST_MAIN(MainFormViewerTest)
#include "MainFormViewerQTest.moc"
