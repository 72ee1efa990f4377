// brindle-window-bench: the window's list filled with the most rows an archive can have, and the preview
// pane given a large text entry. Runs on the offscreen platform unless told otherwise.

#include <benchmark/benchmark.h>

#include <QApplication>

#include "ScriptedPlatform.h"
#include "archive/DRSCode.h"
#include "shell/Controls.h"
#include "shell/MainForm.h"
#include "shell/Preview.h"

namespace {

void BM_FillAndShowLongestList(benchmark::State& state) {
    fixtures::ScriptedPlatform desktop;
    MainForm form(desktop.Services());
    form.show();
    std::vector<ListRow> rows(MaxListRows);
    for (size_t i = 0; i < rows.size(); ++i) rows[i] = {std::to_string(100000 + i), KindSLP};
    for (auto _ : state) {
        form.ClearList();
        form.AddListRows(rows);
        form.repaint();
        QApplication::processEvents();
    }
    state.counters["rows"] = double(rows.size());
}
BENCHMARK(BM_FillAndShowLongestList)->Unit(benchmark::kMillisecond);

// A text entry escaped and shown in colour in the preview pane.
void ShowText(benchmark::State& state, const std::string& text) {
    RichTextBox box(nullptr);
    box.resize(400, 300);
    box.show();
    for (auto _ : state) {
        box.SetTextRTF(TextPreviewOfText(text, 7).Rtf);
        QApplication::processEvents();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

// 8 MiB in lines of 56 characters.
void BM_ShowLargeText(benchmark::State& state) {
    std::string text;
    while (text.size() < (size_t{8} << 20)) text += "a line of text with {braces} and a \\ backslash, 0123\r\n";
    ShowText(state, text);
}
BENCHMARK(BM_ShowLargeText)->Unit(benchmark::kMillisecond);

// One line of 1 MiB with no place to break it, such as a run of zero bytes.
void BM_ShowOneLongLine(benchmark::State& state) { ShowText(state, std::string(size_t{1} << 20, 'a')); }
BENCHMARK(BM_ShowOneLongLine)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
