// The frame viewer's zoom and animation: the items after the design's, the picture's pixels at each
// zoom, and every way a playing animation stops.

#include <QAction>
#include <QLabel>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

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
        for (auto [frame, width] : {std::pair{2, 9}, {3, 2}, {1, 4}, {2, 9}}) {
            form->AnimateTimer_Timer();
            QCOMPARE(FrameCaption(), "Showing frame " + std::to_string(frame) + " of 3");
            QCOMPARE(form->ResDisplayPic->Picture().width(), width);
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
};

QTEST_MAIN(MainFormViewerTest)
#include "MainFormViewerQTest.moc"
