#pragma once
// A Host for tests: records what the core shows, and answers questions from a script.

#include <deque>
#include <string>
#include <vector>

#include "base/Host.h"
#include "surface/cDIBSection.h"

namespace fixtures {

struct ShownMessage {
    std::string Text;
    MessageStyle Style = MessageStyle::Plain;
    std::string Title;
    bool operator==(const ShownMessage&) const = default;
};

class RecordingHost : public Host {
public:
    std::vector<ListRow> Rows;
    int ListClears = 0;
    std::vector<bool> ListVisibleHistory;
    std::vector<std::string> StatusHistory, PictureStatusHistory;  // every text set, in order
    bool GateOn = false;
    std::vector<bool> GateHistory;
    int16_t ScrollMax = 1, ScrollValue = 1;
    std::vector<int16_t> ScrollValueHistory;
    bool Busy = false;
    std::string PictureSource;
    int32_t PictureWidth = 0, PictureHeight = 0;
    int Paints = 0;
    std::vector<uint8_t> LastPainted;   // the last painted picture as a BMP file
    std::vector<int16_t> RepaintedAt;   // the frame on the scroll bar at each repaint of the window
    std::vector<ShownMessage> Messages;
    std::deque<MessageAnswer> Answers;  // given to the boxes in turn; OK once it runs dry
    int EscapeFromAsk = -1;             // ESC is down from this ask on (0-based); -1 for never
    int EscapeAsks = 0;

    void ClearList() override { Rows.clear(); ++ListClears; }
    void AddListRows(std::span<const ListRow> rows) override { Rows.insert(Rows.end(), rows.begin(), rows.end()); }
    void SetListVisible(bool visible) override { ListVisibleHistory.push_back(visible); }
    void SetListRowText(int32_t index, std::string_view text) override {
        if (index >= 0 && static_cast<size_t>(index) < Rows.size()) Rows[static_cast<size_t>(index)].Text = text;
    }
    void SetStatusText(std::string_view text) override { StatusHistory.emplace_back(text); }
    void SetPictureStatusText(std::string_view text) override { PictureStatusHistory.emplace_back(text); }
    void SetFrameScrollGate(bool on) override { GateOn = on; GateHistory.push_back(on); }
    void SetFrameScrollMax(int16_t max) override { ScrollMax = max; }
    void SetFrameScrollValue(int16_t value) override { ScrollValue = value; ScrollValueHistory.push_back(value); }
    void SetBusyPointer(bool busy) override { Busy = busy; }
    void SetPictureSource(std::string_view slpPath) override { PictureSource = slpPath; }
    void SetPictureSize(int32_t width, int32_t height) override { PictureWidth = width; PictureHeight = height; }
    void PaintPicture(const cDIBSection& picture) override { ++Paints; LastPainted = picture.EncodeBitmap(); }
    void RepaintMainForm() override { RepaintedAt.push_back(ScrollValue); }
    MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title) override {
        Messages.push_back({std::string(text), style, std::string(title)});
        const MessageAnswer answer = Answers.empty() ? MessageAnswer::OK : Answers.front();
        if (!Answers.empty()) Answers.pop_front();
        return answer;
    }
    bool IsEscapeDown() override { const int ask = EscapeAsks++; return EscapeFromAsk >= 0 && ask >= EscapeFromAsk; }
    bool PutBitmapOnClipboard(const cDIBSection&) override { return true; }
};

// The pixels of a surface, row by row from the top.
std::vector<uint32_t> PixelsOf(const cDIBSection& surface);
// The BMP file of a surface width pixels wide, filled row by row from the top with pixels.
std::vector<uint8_t> BitmapOf(int32_t width, const std::vector<uint32_t>& pixels);

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
std::string ReadFileText(const std::string& path);
std::vector<uint8_t> ReadFileBytes(const std::string& path);
void WriteFileBytes(const std::string& path, std::span<const uint8_t> bytes);
void WriteFileText(const std::string& path, std::string_view text);

}  // namespace fixtures
