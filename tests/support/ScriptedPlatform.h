#pragma once
// The desktop for window tests: dialogs answered from a script, boxes answered OK, and a record of
// everything the window asked for.

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Platform.h"
#include "RecordingHost.h"

namespace fixtures {

class ScriptedPlatform : public CommonDialogs, public MessageBoxes, public SoundPlayer, public EscapeKey, public Clipboard {
public:
    // The file name each file dialog hands back in turn; nullopt cancels, and so does a script run dry.
    std::deque<std::optional<std::string>> FileAnswers;
    std::deque<std::optional<int16_t>> FilterAnswers;  // the filter index each file dialog hands back; as it came while empty
    std::deque<std::optional<uint32_t>> ColourAnswers;
    std::vector<CommonDialog> DialogsShown;  // each as it stood when shown
    std::vector<ShownMessage> Boxes;
    std::vector<std::string> Sounds;
    std::function<bool()> Escape;  // asked whether ESC is down, and free to look at the window's work

    Platform Services() { return {*this, *this, *this, *this, *this}; }

    bool ShowOpen(CommonDialog& dialog) override { return AnswerFile(dialog); }
    bool ShowSave(CommonDialog& dialog) override { return AnswerFile(dialog); }
    bool ShowFolder(CommonDialog& dialog) override { return AnswerFile(dialog); }
    bool ShowColor(CommonDialog& dialog) override {
        DialogsShown.push_back(dialog);
        const std::optional<uint32_t> answer = Next(ColourAnswers);
        if (answer) dialog.Color = *answer;
        return answer.has_value();
    }
    MessageAnswer ShowMessage(std::string_view text, MessageStyle style, std::string_view title) override {
        Boxes.push_back({std::string(text), style, std::string(title)});
        return MessageAnswer::OK;
    }
    void PlayInBackground(const std::string& path) override { Sounds.push_back(path); }
    bool IsDown() override { return Escape && Escape(); }
    bool PutBitmap(const cDIBSection&) override { return true; }

private:
    template <typename T>
    static std::optional<T> Next(std::deque<std::optional<T>>& script) {
        if (script.empty()) return std::nullopt;
        std::optional<T> answer = script.front();
        script.pop_front();
        return answer;
    }
    bool AnswerFile(CommonDialog& dialog) {
        DialogsShown.push_back(dialog);
        const std::optional<std::string> answer = Next(FileAnswers);
        if (!answer || answer->empty()) return false;
        dialog.FileName = *answer;
        if (const std::optional<int16_t> filter = Next(FilterAnswers)) dialog.FilterIndex = *filter;
        return true;
    }
};

}  // namespace fixtures
