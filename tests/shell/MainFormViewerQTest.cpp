// The frame viewer's zoom and animation: the items after the design's, the picture's pixels at each
// zoom, and every way a playing animation stops.

#include <QAction>
#include <QLabel>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "WindowFixture.h"

using namespace fixtures;

class MainFormViewerTest : public QObject, public WindowFixture {
    Q_OBJECT

    // Each pixel of the frame on show is a square of `side` pixels of the same colour on a screen of
    // `ratio` device pixels a pixel.
    bool SharpSquares(int side, qreal ratio = 1) const {
        QImage shown(form->ResDisplayPic->size() * ratio, QImage::Format_RGB32);
        shown.setDevicePixelRatio(ratio);
        form->ResDisplayPic->render(&shown);
        const QImage frame = form->ResDisplayPic->Picture();
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x)
                if (shown.pixelColor(x, y) != frame.pixelColor(x / side, y / side)) return false;
        return true;
    }

    bool Playing() const { return form->menu_image_play->isChecked() && form->AnimateTimer->isActive(); }

private slots:
    void init() { SetUp(); }
    void cleanup() { TearDown(); }

    void zoomMakesEachPixelASharpSquareThatStaysAcrossFramesAndSprites() {
        // The new items come after the design's own.
        QCOMPARE(VisibleItems(form->menu_image), (std::vector<std::string>{"Auto-refresh", "Refresh", "Save as BMP",
                                                                         "Save as image sequence", "Zoom in", "Zoom out",
                                                                         "Actual size", "Play animation"}));
        QCOMPARE(form->menu_image_zoomin->shortcuts(), QKeySequence::listFromString("Ctrl++; Ctrl+="));
        QCOMPARE(form->menu_image_play->shortcut(), QKeySequence(Qt::Key_P));

        OpenAndSelect(Layered);
        const TwipsRect designTwips = form->TwipsOf(form->ResDisplayPic);
        for (int32_t zoom : {2, 3, 4, 3, 4, 6}) {
            (zoom > form->Zoom ? form->menu_image_zoomin : form->menu_image_zoomout)->trigger();
            QCOMPARE(form->ResDisplayPic->size(), QSize(4, 2) * zoom);  // frame 1 is 4 x 2
        }
        QVERIFY(SharpSquares(6) && SharpSquares(12, 2));  // on a screen of two device pixels a pixel too
        form->FrameScroll->setValue(2);  // 2 x 3
        QCOMPARE(form->ResDisplayPic->size(), QSize(12, 18));
        form->DRSFilesList->SetListIndex(Walker);  // 4 x 3
        QCOMPARE(form->ResDisplayPic->size(), QSize(24, 18));

        for (int i = 0; i < 5; ++i) form->menu_image_zoomin->trigger();
        QCOMPARE(form->Zoom, 16);
        desktop->FileAnswers = {At("zoomed.bmp")};  // the files an export writes never see the zoom
        form->menu_savebmp->trigger();
        QCOMPARE(QImage(QString::fromStdString(At("zoomed.bmp"))).size(), QSize(4, 3));
        form->menu_image_actualsize->trigger();
        form->menu_image_zoomout->trigger();  // no step below the design's size
        form->DRSFilesList->SetListIndex(Layered);
        QCOMPARE(form->TwipsOf(form->ResDisplayPic), designTwips);  // exactly the design's picture
        QVERIFY(SharpSquares(1));

        // Ctrl and the wheel over the picture zoom too, a notch of 120 a step; the wheel alone doesn't.
        for (auto [angle, modifiers, zoom] : {std::tuple{120, Qt::NoModifier, 1}, {240, Qt::ControlModifier, 3},
                                              {60, Qt::ControlModifier, 3}, {-180, Qt::ControlModifier, 2}}) {
            QWheelEvent event(QPointF(1, 1), form->ResDisplayPic->mapToGlobal(QPointF(1, 1)), QPoint(), QPoint(0, angle),
                              Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
            QApplication::sendEvent(form->ResDisplayPic, &event);
            QCOMPARE(form->Zoom, zoom);
        }
    }

    void playingMovesOneFrameATickWrapsToTheFirstAndStopsEveryWay() {
        OpenAndSelect(Walker);  // 3 frames
        form->menu_image_play->trigger();
        QVERIFY(Playing());
        QCOMPARE(form->AnimateTimer->interval(), 100);
        for (int frame : {2, 3, 1, 2}) {  // every frame on the sprite's canvas, 9 x 5
            form->AnimateTimer_Timer();
            QCOMPARE(FrameCaption(), "Showing frame " + std::to_string(frame) + " of 3");
            QCOMPARE(form->ResDisplayPic->Picture().size(), QSize(9, 5));
        }
        QTRY_COMPARE_WITH_TIMEOUT(form->FrameScroll->value(), 3, 5000);  // and the timer moves it on by itself

        // Play chosen again, a selection, a dialog, a box, ESC, and a sprite that turns unreadable stop it.
        form->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(form.get()));
        const std::function<void()> stops[] = {
            [&] { form->menu_image_play->trigger(); }, [&] { form->DRSFilesList->SetListIndex(Layered); },
            [&] { form->menu_savebmp->trigger(); },  // its dialog, cancelled
            [&] { form->ShowMessage("a box", MessageStyle::Plain); },
            [&] { QTest::keyClick(form->DRSFilesList, Qt::Key_Escape); },
            [&] { WriteFileText(form->ResDisplayPic->Tag, "bad"), form->AnimateTimer_Timer(); }};
        for (const auto& stop : stops) {
            if (!Playing()) form->menu_image_play->trigger();
            QVERIFY(Playing());
            stop();
            QVERIFY(!Playing() && !form->menu_image_play->isChecked());
        }
        form->menu_image_play->trigger();  // a refused sprite has nothing to play
        QVERIFY(!form->menu_image_play->isChecked());
    }

    // Playing, each frame stands by its hot spot on the common canvas, at the zoom in force: frame 1
    // (4 x 2, hot spot 1,1) and frame 2 (2 x 3, hot spot -2,5) share a canvas of 5 x 6. Stopped, the
    // frame on show is the design's picture again; stepping by hand never leaves it.
    void playingHoldsTheHotSpotStillAndStoppingGivesTheDesignsPictureBack() {
        OpenAndSelect(Layered);
        form->menu_image_zoomin->trigger();
        const QImage designs = form->ResDisplayPic->Picture();
        form->menu_image_play->trigger();
        const QColor background = ColourOf(MaskColour);
        for (auto [frame, at, colour] : {std::tuple{2, QPoint(3, 0), ColourOf(Palette[9])}, {1, QPoint(1, 4), ColourOf(Palette[7])}}) {
            form->AnimateTimer_Timer();
            const QImage canvas = form->ResDisplayPic->Picture();
            QCOMPARE(canvas.size(), QSize(5, 6));
            QCOMPARE(form->ResDisplayPic->size(), QSize(10, 12));
            QCOMPARE(canvas.pixelColor(at), colour);
            QCOMPARE(canvas.pixelColor(frame == 1 ? QPoint(4, 0) : QPoint(0, 5)), background);
        }
        form->menu_image_play->trigger();
        QCOMPARE(form->ResDisplayPic->Picture(), designs);
        QCOMPARE(form->ResDisplayPic->size(), QSize(8, 4));
    }

    // Dragged anywhere at the largest zoom, the picture shows only right of the list and below the scroll
    // bar, so the list, the scroll bar and the captions stay as they are.
    void theDraggedPictureStaysInItsArea() {
        OpenAndSelect(Walker);
        for (int step = 0; step < 7; ++step) form->menu_image_zoomin->trigger();
        for (QPoint by : {QPoint(-2000, -2000), QPoint(3000, 0), QPoint(0, 3000)}) {
            form->ResDisplayPic_MouseDown(0, 0);
            form->ResDisplayPic_MouseMove(by.x(), by.y());
            const QRegion shown = form->ResDisplayPic->mask().translated(form->ResDisplayPic->pos());
            for (QWidget* other : {static_cast<QWidget*>(form->DRSFilesList), static_cast<QWidget*>(form->FrameScroll),
                                   static_cast<QWidget*>(form->PictureStatusText), static_cast<QWidget*>(form->DRSFileLabel2)})
                QVERIFY(!shown.intersects(other->geometry()));
            QVERIFY(!shown.isEmpty() || by.x() > 0 || by.y() > 0);
            form->ResDisplayPic_MouseUp(0, 0);
        }
    }
};

QTEST_MAIN(MainFormViewerTest)
#include "MainFormViewerQTest.moc"
