// The recording Host of the tests, their temporary folders and file helpers.

#include "RecordingHost.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "surface/cDIBSection.h"

namespace fixtures {

void RecordingHost::ClearList() {
    Rows.clear();
    ++ListClears;
}

void RecordingHost::AddListRows(std::span<const ListRow> rows) { Rows.insert(Rows.end(), rows.begin(), rows.end()); }

void RecordingHost::SetListVisible(bool visible) { ListVisible = visible; }

void RecordingHost::SetStatusText(std::string_view text) {
    StatusText = text;
    StatusHistory.push_back(StatusText);
}

void RecordingHost::SetPictureStatusText(std::string_view text) {
    PictureStatusText = text;
    PictureStatusHistory.push_back(PictureStatusText);
}

void RecordingHost::SetFrameScrollGate(bool on) {
    GateOn = on;
    GateHistory.push_back(on);
}

void RecordingHost::SetFrameScrollMax(int16_t max) { ScrollMax = max; }

void RecordingHost::SetFrameScrollValue(int16_t value) {
    ScrollValue = value;
    ScrollValueHistory.push_back(value);
}

void RecordingHost::SetBusyPointer(bool busy) { Busy = busy; }

void RecordingHost::SetPictureSource(std::string_view slpPath) { PictureSource = slpPath; }

void RecordingHost::SetPictureSize(int32_t widthPixels, int32_t heightPixels) {
    PictureWidth = widthPixels;
    PictureHeight = heightPixels;
}

void RecordingHost::PaintPicture(const cDIBSection& picture) {
    ++Paints;
    LastPaintedWidth = picture.Width();
    LastPaintedHeight = picture.Height();
    LastPainted.clear();
    for (int32_t y = 0; y < picture.Height(); ++y)
        for (int32_t x = 0; x < picture.Width(); ++x) LastPainted.push_back(picture.GetPixel(x, y));
}

void RecordingHost::RepaintMainForm() { ++Repaints; }

MessageAnswer RecordingHost::ShowMessage(std::string_view text, MessageStyle style, std::string_view title) {
    Messages.push_back({std::string(text), style, std::string(title)});
    if (Answers.empty()) return MessageAnswer::OK;
    const MessageAnswer answer = Answers.front();
    Answers.pop_front();
    return answer;
}

bool RecordingHost::IsEscapeDown() {
    const int ask = EscapeAsks++;
    return EscapeHeld || (EscapeFromAsk >= 0 && ask >= EscapeFromAsk);
}

bool RecordingHost::PutBitmapOnClipboard(const cDIBSection&) {
    ++ClipboardPuts;
    return ClipboardAccepts;
}

// ---- Temporary folders and files -------------------------------------------------------------

TempDir::TempDir() {
    namespace fs = std::filesystem;
    static std::atomic<unsigned> made{0};
    std::random_device entropy;
    const fs::path base = fs::temp_directory_path();
    for (int attempt = 0; attempt < 100; ++attempt) {
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        const std::string name = "brindle-test-" + std::to_string(entropy()) + "-" + std::to_string(made++) + "-" +
                                 std::to_string(stamp % 1000000);
        if (fs::create_directory(base / name)) {
            path_ = (base / name).string() + "/";
            return;
        }
    }
    throw std::runtime_error("cannot make a temporary folder under " + base.string());
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::vector<uint8_t> ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFileBytes(const std::string& path, std::span<const uint8_t> bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
}

void WriteFileText(const std::string& path, std::string_view text) {
    WriteFileBytes(path, std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

}  // namespace fixtures
