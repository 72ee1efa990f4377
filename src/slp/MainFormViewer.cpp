// The frame viewer's additions for today's screens: zoom by whole factors, and the animation played
// frame by frame through FrameScroll.

#include <algorithm>

#include <QScrollBar>
#include <QTimer>

#include "shell/Controls.h"
#include "shell/MainForm.h"

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
    menu_image_play->setChecked(true);
    AnimateTimer->start();
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
}
