// The frame viewer and its Image menu: the frame redrawn by the scroll bar, by Refresh or, with
// Auto-refresh, by a choice of colours; the picture dragged within its area; and the additions for
// today's screens: zoom by whole factors, and the animation played frame by frame through FrameScroll
// on the sprite's common canvas.

#include <algorithm>

#include <QMenuBar>
#include <QPainter>
#include <QScrollBar>
#include <QShortcut>
#include <QTimer>

#include "shell/Controls.h"
#include "shell/MainForm.h"
#include "base/Functions.h"
#include "shell/QtPlatform.h"
#include "slp/SLPCode.h"
#include "slp/SLPCodeNew.h"

void MainForm::CreateImageMenu() {
    menu_image = menuBar()->addMenu(QStringLiteral("Image"));
    menu_image_autorefresh = AddItem(menu_image, "Auto-refresh", true);
    menu_image_refresh = AddItem(menu_image, "Refresh");
    menu_image_refresh->setShortcut(Qt::Key_F5);
    OnCheckItemClick(menu_image_autorefresh, [this] { menu_image_autorefresh_Click(); });
    connect(menu_image_refresh, &QAction::triggered, this, &MainForm::menu_image_refresh_Click);
    AddExportItems();
    menu_image_zoomin = AddItem(menu_image, "Zoom in");
    menu_image_zoomin->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)});
    menu_image_zoomout = AddItem(menu_image, "Zoom out");
    menu_image_zoomout->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Minus));
    menu_image_actualsize = AddItem(menu_image, "Actual size");
    menu_image_actualsize->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_0));
    menu_image_play = AddItem(menu_image, "Play animation");
    menu_image_play->setCheckable(true);
    menu_image_play->setShortcut(QKeySequence(Qt::Key_P));
    connect(menu_image_zoomin, &QAction::triggered, this, &MainForm::menu_image_zoomin_Click);
    connect(menu_image_zoomout, &QAction::triggered, this, &MainForm::menu_image_zoomout_Click);
    connect(menu_image_actualsize, &QAction::triggered, this, &MainForm::menu_image_actualsize_Click);
    OnCheckItemClick(menu_image_play, [this] { menu_image_play_Click(); });

    // Ctrl and the wheel zoom as the items do, and ESC stops the animation wherever the focus is. (A
    // decode asks the keyboard itself, so ESC still cuts a long one short.)
    connect(ResDisplayPic, &PictureBox::ZoomWheel, this, [this](int steps) {
        for (; steps > 0; --steps) menu_image_zoomin_Click();
        for (; steps < 0; ++steps) menu_image_zoomout_Click();
    });
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    escape->setContext(Qt::WindowShortcut);
    connect(escape, &QShortcut::activated, this, &MainForm::StopAnimation);
}

void MainForm::RefreshImage(bool Force) {
    if (!Force && !AutoRefresh) return;
    (void)ShowImage(ResDisplayPic->Tag, static_cast<int16_t>(FrameScroll->value()), false, "", *this, TeamColour);
}

void MainForm::menu_image_autorefresh_Click() {
    menu_image_autorefresh->setChecked(!menu_image_autorefresh->isChecked());
    AutoRefresh = menu_image_autorefresh->isChecked();
}

void MainForm::menu_image_refresh_Click() { RefreshImage(true); }

void MainForm::FrameScroll_Change() {
    if (FrameScrollTag == "on") RefreshImage(true);
}

void MainForm::ResDisplayPic_MouseDown(int X, int Y) {
    DragStartX = X;
    DragStartY = Y;
    DragState = 1;
}

void MainForm::ResDisplayPic_MouseMove(int X, int Y) {
    // Moving the picture under the pointer makes a move event of its own; every second one is dropped.
    if (DragState == 2) {
        DragState = 1;
        return;
    }
    if (DragState != 1) return;
    DragState = 2;
    TwipsRect place = TwipsOf(ResDisplayPic);
    place.Left = MaxInteger(RoundToInteger((X - DragStartX) * TwipsPerPixelX() + place.Left), 0);
    place.Top = MaxInteger(RoundToInteger((Y - DragStartY) * TwipsPerPixelY() + place.Top), 0);
    PlaceInTwips(ResDisplayPic, place);
    ClipPicture();
    RepaintMainForm();
}

void MainForm::ResDisplayPic_MouseUp(int, int) { DragState = 0; }

void MainForm::SetZoom(int32_t zoom) {
    Zoom = zoom;
    ResDisplayPic->SetZoom(zoom);
    const QImage& picture = ResDisplayPic->Picture();
    if (!picture.isNull()) SetPictureSize(picture.width(), picture.height());
}

void MainForm::menu_image_zoomin_Click() {
    const auto next = std::upper_bound(ZoomSteps.begin(), ZoomSteps.end(), Zoom);
    if (next != ZoomSteps.end()) SetZoom(*next);
}

void MainForm::menu_image_zoomout_Click() {
    const auto next = std::lower_bound(ZoomSteps.begin(), ZoomSteps.end(), Zoom);
    if (next != ZoomSteps.begin()) SetZoom(*(next - 1));
}

void MainForm::menu_image_actualsize_Click() { SetZoom(1); }

void MainForm::menu_image_play_Click() {
    if (menu_image_play->isChecked()) return StopAnimation();
    // A sprite that was refused leaves the gate shut: there is nothing to play.
    if (FrameScrollTag != "on" || !ResDisplayPic->isVisible()) return;
    SLPFile file;
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    CanvasBounds bounds;
    if (ReadSLPHeaders(ResDisplayPic->Tag, file, header, frames) && CheckedCanvas(frames, bounds)) {
        playCanvas_ = PlayCanvas{bounds, std::move(frames)};
    }
    menu_image_play->setChecked(true);
    AnimateTimer->start();
}

QImage MainForm::OnPlayCanvas(const QImage& frame) const {
    const CanvasBounds& bounds = playCanvas_->Bounds;
    const size_t number = std::clamp<size_t>(static_cast<size_t>(std::max(FrameScroll->value(), 1)), 1, playCanvas_->Frames.size());
    const SLPFrameInfo& info = playCanvas_->Frames[number - 1];
    QImage canvas(static_cast<int>(bounds.Width()), static_cast<int>(bounds.Height()), QImage::Format_RGB32);
    canvas.fill(ToQColor(MaskColour));
    QPainter painter(&canvas);
    painter.drawImage(QPoint(static_cast<int>(-bounds.MinX - info.HotspotX), static_cast<int>(-bounds.MinY - info.HotspotY)), frame);
    return canvas;
}

void MainForm::AnimateTimer_Timer() {
    if (!menu_image_play->isChecked()) return;
    // One frame on, as the scroll bar's arrow moves it, and from the last back to the first.
    const int next = FrameScroll->value() >= FrameScroll->maximum() ? FrameScroll->minimum() : FrameScroll->value() + 1;
    FrameScroll->setValue(next);
    if (FrameScrollTag != "on") return StopAnimation();  // the sprite was refused on the way
    if (menu_image_play->isChecked()) AnimateTimer->start();
}

void MainForm::StopAnimation() {
    if (AnimateTimer) AnimateTimer->stop();
    if (menu_image_play) menu_image_play->setChecked(false);
    if (!playCanvas_) return;
    playCanvas_.reset();
    if (!unloaded_ && FrameScrollTag == "on") RefreshImage(true);  // the design's picture of the frame on show
}

void MainForm::ClipPicture() {
    const QRect area(ResDisplayText->x(), FrameScroll->geometry().bottom() + 1, client_->width(), client_->height());
    const QRegion shown = QRegion(area.translated(-ResDisplayPic->pos())).intersected(ResDisplayPic->rect());
    // An empty mask would show the whole picture: one that lies outside it shows none.
    ResDisplayPic->setMask(shown.isEmpty() ? QRegion(-1, -1, 1, 1) : shown);
}
