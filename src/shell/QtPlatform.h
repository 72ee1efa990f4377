#pragma once
// The desktop services of the program, served with Qt: its file and colour dialogs, message boxes,
// sound and clipboard, and the ESC key read from the X display.

#include <memory>

#include <QColor>
#include <QImage>
#include <QString>
#include <QStringList>

#include "base/Platform.h"

class QSoundEffect;

inline QString ToQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// A surface as a picture Qt can paint: the rows turned top-down, the colours as they are.
QImage ImageOfSurface(const cDIBSection& surface);
// A colour value (red in the low byte) as Qt takes it.
QColor ToQColor(uint32_t colour);

// The dialog's "label|pattern|label|pattern" filter as Qt name filters. Each label is kept as it stands
// and the pattern goes behind it in brackets, where Qt reads it; "*.*" becomes "*", so that "All files"
// also lists the files without a dot.
QStringList NameFiltersOf(std::string_view filter);

// Which of filters the dialog says was picked, counted from 1 (0: none). With the details hidden,
// Qt 6.4 answers with the label alone ("PNG image") and later versions with the whole filter; the
// labels tell apart filters of the same pattern, such as the PNG sequence and the animated PNG.
int FilterIndexOf(const QStringList& filters, const QString& selected);

// Dialogs and boxes open over the active window.
class QtDialogs : public CommonDialogs {
public:
    bool ShowOpen(CommonDialog& dialog) override { return ShowFileDialog(dialog, true); }
    bool ShowSave(CommonDialog& dialog) override { return ShowFileDialog(dialog, false); }
    bool ShowColor(CommonDialog& dialog) override;
    bool ShowFolder(CommonDialog& dialog) override;

private:
    bool ShowFileDialog(CommonDialog& dialog, bool open);
};

class QtMessageBoxes : public MessageBoxes {
public:
    MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title) override;
};

class QtSound : public SoundPlayer {
public:
    QtSound();
    ~QtSound() override;
    void PlayInBackground(const std::string& path) override;

private:
    std::unique_ptr<QSoundEffect> effect_;
};

// Reads the key from the X server's keymap. Under any other platform (offscreen, Wayland) there is no
// way to ask without events, and ESC counts as not pressed.
class X11EscapeKey : public EscapeKey {
public:
    bool IsDown() override;
};

class QtClipboard : public Clipboard {
public:
    bool PutBitmap(const cDIBSection& picture) override;
};

// All of the above, for the program's own window.
class QtPlatform {
public:
    Platform Services() { return {dialogs_, messages_, sound_, escape_, clipboard_}; }

private:
    QtDialogs dialogs_;
    QtMessageBoxes messages_;
    QtSound sound_;
    X11EscapeKey escape_;
    QtClipboard clipboard_;
};
