#pragma once
// The services of the desktop that the window asks for: the common dialogs, message boxes, sound,
// the state of the ESC key and the clipboard. Each is a small interface, so that the program serves
// it with Qt and the tests answer for the user from a script. Plain C++: nothing here needs Qt.

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Host.h"

class cDIBSection;

// The settings of one common-dialog control. They stay between shows: a caller that doesn't set one
// finds what the last use left, file name included.
struct CommonDialog {
    std::string DialogTitle;
    std::string Filter;        // label and pattern pairs joined by '|': "BMP file (*.bmp)|*.bmp|..."
    int16_t FilterIndex = 1;   // counted from 1
    std::string FileName;      // goes in as the proposal, comes back as the full path chosen
    std::string InitDir;       // where the file forms start
    uint32_t Color = 0;        // goes in and comes back in the colour form
};

class CommonDialogs {
public:
    virtual ~CommonDialogs() = default;
    // Each blocks until the user ends the dialog; false when it was cancelled or failed, or a file form
    // came back without a file name.
    virtual bool ShowOpen(CommonDialog& dialog) = 0;
    virtual bool ShowSave(CommonDialog& dialog) = 0;
    virtual bool ShowColor(CommonDialog& dialog) = 0;
    // A folder form: starts in InitDir, and FileName comes back as the folder chosen.
    virtual bool ShowFolder(CommonDialog& dialog) = 0;
};

class MessageBoxes {
public:
    virtual ~MessageBoxes() = default;
    virtual MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title) = 0;
};

class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;
    // Starts the WAV file at path in the background and returns at once, cutting off any sound still
    // playing. A sound that cannot be played stays silent.
    virtual void PlayInBackground(const std::string& path) = 0;
};

class EscapeKey {
public:
    virtual ~EscapeKey() = default;
    // Whether ESC is held down at this moment, asked of the keyboard without handling any event.
    virtual bool IsDown() = 0;
};

class Clipboard {
public:
    virtual ~Clipboard() = default;
    virtual bool PutBitmap(const cDIBSection& picture) = 0;
};

// The window's view of the desktop: every service it uses, each behind its own interface.
struct Platform {
    CommonDialogs& Dialogs;
    MessageBoxes& Messages;
    SoundPlayer& Sound;
    EscapeKey& Escape;
    Clipboard& Clip;
};
