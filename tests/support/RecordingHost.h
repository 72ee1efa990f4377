#pragma once
// A Host for tests: records what the core shows, and answers questions from a script.

#include <deque>
#include <string>
#include <vector>

#include "shell/Host.h"

namespace fixtures {

struct ShownMessage {
    std::string Text;
    MessageStyle Style = MessageStyle::Plain;
    std::string Title;
};

class RecordingHost : public Host {
public:
    // List
    std::vector<ListRow> Rows;
    bool ListVisible = true;
    int ListClears = 0;
    // Labels: the current text and every text set, in order
    std::string StatusText;
    std::vector<std::string> StatusHistory;
    std::string PictureStatusText;
    std::vector<std::string> PictureStatusHistory;
    // FrameScroll
    bool GateOn = false;
    std::vector<bool> GateHistory;
    int16_t ScrollMax = 1;
    int16_t ScrollValue = 1;
    std::vector<int16_t> ScrollValueHistory;
    // Sprite view
    bool Busy = false;
    std::string PictureSource;
    int32_t PictureWidth = 0;
    int32_t PictureHeight = 0;
    int Paints = 0;
    std::vector<uint32_t> LastPainted;  // the painted picture, row by row from the top
    int32_t LastPaintedWidth = 0;
    int32_t LastPaintedHeight = 0;
    int Repaints = 0;
    // Boxes: what was shown, and the answers to give (OK when the script is empty)
    std::vector<ShownMessage> Messages;
    std::deque<MessageAnswer> Answers;
    // ESC: held down for every ask, or down from the n-th ask on (0-based); asks are counted
    bool EscapeHeld = false;
    int EscapeFromAsk = -1;
    int EscapeAsks = 0;
    // Clipboard
    bool ClipboardAccepts = true;
    int ClipboardPuts = 0;

    void ClearList() override;
    void AddListRows(std::span<const ListRow> rows) override;
    void SetListVisible(bool visible) override;
    void SetStatusText(std::string_view text) override;
    void SetPictureStatusText(std::string_view text) override;
    void SetFrameScrollGate(bool on) override;
    void SetFrameScrollMax(int16_t max) override;
    void SetFrameScrollValue(int16_t value) override;
    void SetBusyPointer(bool busy) override;
    void SetPictureSource(std::string_view slpPath) override;
    void SetPictureSize(int32_t widthPixels, int32_t heightPixels) override;
    void PaintPicture(const cDIBSection& picture) override;
    void RepaintMainForm() override;
    MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title) override;
    bool IsEscapeDown() override;
    bool PutBitmapOnClipboard(const cDIBSection& picture) override;
};

// A folder of its own under the system's temporary folder, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& Path() const { return path_; }  // ends in '/'
    std::string operator/(std::string_view name) const { return path_ + std::string(name); }

private:
    std::string path_;
};

// A file that can't be read gives no bytes; a fixture that can't be written throws std::runtime_error.
std::vector<uint8_t> ReadFileBytes(const std::string& path);
void WriteFileBytes(const std::string& path, std::span<const uint8_t> bytes);
void WriteFileText(const std::string& path, std::string_view text);

}  // namespace fixtures
