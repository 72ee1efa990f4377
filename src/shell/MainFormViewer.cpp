// The frame viewer's additions for today's screens: zoom by whole factors, the animation played frame
// by frame through FrameScroll on the sprite's common canvas, and the picture kept to its area.

#include <algorithm>

#include <QPainter>
#include <QScrollBar>
#include <QTimer>

#include "shell/Controls.h"
#include "shell/MainForm.h"
#include "shell/QtPlatform.h"
#include "slp/SLPCodeNew.h"

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
