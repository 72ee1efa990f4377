#include "shell/AboutForm.h"

#include <QLabel>
#include <QPushButton>
#include <QScreen>

#include "shell/Fonts.h"
#include "shell/Twips.h"

namespace {

// The box's places are in twips, like the main window's.
QRect PixelsOf(const QWidget* box, int left, int top, int width, int height) {
    const double x = TwipsPerPixel(box->logicalDpiX()), y = TwipsPerPixel(box->logicalDpiY());
    return {TwipsToPixels(left, x), TwipsToPixels(top, y), TwipsToPixels(width, x), TwipsToPixels(height, y)};
}

QLabel* MakeLabel(AboutForm* box, const char* text, QRect place, QFont font, QColor colour, Qt::Alignment align) {
    auto* label = new QLabel(QString::fromUtf8(text), box);
    label->setGeometry(place);
    label->setFont(font);
    label->setWordWrap(true);
    label->setAlignment(align | Qt::AlignTop);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}

}  // namespace

AboutForm::AboutForm(QWidget* parent) : QWidget(parent, Qt::Dialog | Qt::FramelessWindowHint) {
    setAutoFillBackground(true);
    QPalette palette = this->palette();
    palette.setColor(QPalette::Window, QColor(0, 0, 128));
    setPalette(palette);
    setFixedSize(PixelsOf(this, 0, 0, 6855, 2055).size());

    const QColor white(255, 255, 255), paleGreen(192, 255, 192);
    Label1 = MakeLabel(this, "Brindle", PixelsOf(this, 120, 120, 2175, 375), Verdana(11.25, true), white, Qt::AlignLeft);
    Label3 = MakeLabel(this, "Viewer/Extractor - version 0.5b", PixelsOf(this, 120, 360, 3015, 255),
                       Verdana(9, false, true), white, Qt::AlignLeft);
    Label4 = MakeLabel(this, "Written for everyone who wants to see what an archive holds, and get it out.",
                       PixelsOf(this, 120, 600, 3015, 855), Verdana(9, false, true), paleGreen, Qt::AlignLeft);
    Label2 = MakeLabel(this,
                       "WARNING: Beta version - probably contains bugs! Any events caused by usage of this program "
                       "are not my responsibility in any way whatsoever.",
                       PixelsOf(this, 3240, 120, 3495, 855), Verdana(8.25), white, Qt::AlignHCenter);
    Label5 = MakeLabel(this, "Coming soon: More features! Less bugs!", PixelsOf(this, 3240, 1080, 3615, 255),
                       Verdana(8.25, false, true), white, Qt::AlignHCenter);

    struct Button { int16_t Index; const char* Caption; int Left, Width; };
    for (const Button& b : {Button{2, "OK", 120, 1335}, {3, "Cancel", 1560, 1215}, {0, "Close", 2880, 1215},
                            {4, "Return", 4200, 1095}, {1, "Exit", 5400, 1215}}) {
        auto* button = new QPushButton(QString::fromUtf8(b.Caption), this);
        button->setGeometry(PixelsOf(this, b.Left, 1560, b.Width, 375));
        connect(button, &QPushButton::clicked, this, [this, index = b.Index] { ExitButton_Click(index); });
        ExitButton[static_cast<size_t>(b.Index)] = button;
    }

    if (const QScreen* screen = this->screen()) move(screen->availableGeometry().center() - rect().center());
}

void AboutForm::ExitButton_Click(int16_t) { hide(); }
