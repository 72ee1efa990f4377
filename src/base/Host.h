#pragma once
// What the core asks of the window. Routines that would touch a control, a message box, the ESC key or
// the clipboard do it through this interface: the Qt window implements it with real widgets, brindle-cli
// and the tests with plain C++.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

class cDIBSection;

// One row of DRSFilesList: its text and the 32-bit value the list keeps beside it (the row's kind).
struct ListRow {
    std::string Text;
    int32_t ItemData = 0;
};

enum class MessageStyle {
    Plain,        // OK button, no title of its own
    OkCancel,     // OK and Cancel, no title of its own
    Critical,     // critical-stop icon and OK, with a title
    Information,  // information icon and OK, with a title
};

enum class MessageAnswer { OK, Cancel };

class Host {
public:
    virtual ~Host() = default;

    // DRSFilesList: rows go to the end of the list, in order.
    virtual void ClearList() = 0;
    virtual void AddListRows(std::span<const ListRow> rows) = 0;
    virtual void SetListVisible(bool visible) = 0;
    virtual void SetListRowText(int32_t index, std::string_view text) = 0;  // index counted from 0

    virtual void SetStatusText(std::string_view text) = 0;
    virtual void SetPictureStatusText(std::string_view text) = 0;

    // FrameScroll: its Tag, the change gate ("on" = true), and its range and value.
    virtual void SetFrameScrollGate(bool on) = 0;
    virtual void SetFrameScrollMax(int16_t max) = 0;
    virtual void SetFrameScrollValue(int16_t value) = 0;

    // The sprite view on the screen road of ShowImage.
    virtual void SetBusyPointer(bool busy) = 0;
    virtual void SetPictureSource(std::string_view slpPath) = 0;  // the Tag of ResDisplayPic
    virtual void SetPictureSize(int32_t widthPixels, int32_t heightPixels) = 0;
    virtual void PaintPicture(const cDIBSection& picture) = 0;   // paint onto ResDisplayPic and refresh it
    virtual void RepaintMainForm() = 0;

    virtual MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title = {}) = 0;

    // The state of the ESC key at this very moment, without handling any event.
    virtual bool IsEscapeDown() = 0;

    // Hands a bitmap to the clipboard in the plain bitmap format; false if the clipboard did not take it.
    virtual bool PutBitmapOnClipboard(const cDIBSection& picture) = 0;
};

// A host with no window: shows nothing, answers every question with Cancel and never sees ESC.
// Batch work, benchmarks and the fuzz targets build on it and override what they need.
class QuietHost : public Host {
public:
    void ClearList() override {}
    void AddListRows(std::span<const ListRow>) override {}
    void SetListVisible(bool) override {}
    void SetListRowText(int32_t, std::string_view) override {}
    void SetStatusText(std::string_view) override {}
    void SetPictureStatusText(std::string_view) override {}
    void SetFrameScrollGate(bool) override {}
    void SetFrameScrollMax(int16_t) override {}
    void SetFrameScrollValue(int16_t) override {}
    void SetBusyPointer(bool) override {}
    void SetPictureSource(std::string_view) override {}
    void SetPictureSize(int32_t, int32_t) override {}
    void PaintPicture(const cDIBSection&) override {}
    void RepaintMainForm() override {}
    MessageAnswer ShowMessage(std::string_view, MessageStyle, std::string_view) override { return MessageAnswer::Cancel; }
    bool IsEscapeDown() override { return false; }
    bool PutBitmapOnClipboard(const cDIBSection&) override { return false; }
};
