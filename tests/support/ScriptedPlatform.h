#pragma once
// The desktop for window tests: dialogs and boxes answered from a script, and a record of everything
// the window asked for.

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "RecordingHost.h"
#include "shell/Platform.h"

namespace fixtures {

class ScriptedPlatform : public CommonDialogs, public MessageBoxes, public SoundPlayer, public EscapeKey, public Clipboard {
public:
    // The file name each file dialog hands back in turn; nullopt cancels, and so does a script run dry.
    std::deque<std::optional<std::string>> FileAnswers;
    std::deque<int16_t> FilterAnswers;  // the filter index each file dialog hands back; as it came while empty
    std::deque<std::optional<uint32_t>> ColourAnswers;
    std::deque<MessageAnswer> BoxAnswers;  // OK once it runs dry
    std::vector<CommonDialog> DialogsShown;  // each as it stood when shown
    std::vector<ShownMessage> Boxes;
    std::vector<std::string> Sounds;
    bool EscapeHeld = false;
    int EscapeFromAsk = 0;  // above 0: ESC goes down at that ask of IsDown and stays down
    int EscapeAsks = 0;
    std::function<void()> WhenEscapeAsked;  // to look at the window in the middle of its work
    int ClipboardPuts = 0;

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
        if (BoxAnswers.empty()) return MessageAnswer::OK;
        const MessageAnswer answer = BoxAnswers.front();
        BoxAnswers.pop_front();
        return answer;
    }
    void PlayInBackground(const std::string& path) override { Sounds.push_back(path); }
    bool IsDown() override {
        if (WhenEscapeAsked) WhenEscapeAsked();
        return EscapeHeld || (EscapeFromAsk > 0 && ++EscapeAsks >= EscapeFromAsk);
    }
    bool PutBitmap(const cDIBSection&) override { return ++ClipboardPuts, true; }

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
        if (!FilterAnswers.empty()) {
            dialog.FilterIndex = FilterAnswers.front();
            FilterAnswers.pop_front();
        }
        return true;
    }
};

}  // namespace fixtures
