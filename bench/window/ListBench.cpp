// brindle-window-bench: the window's list, filled with the most rows an archive can have and shown.
// Runs on the offscreen platform unless told otherwise.

#include <benchmark/benchmark.h>

#include <QApplication>

#include "ScriptedPlatform.h"
#include "archive/DRSCode.h"
#include "shell/MainForm.h"

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

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
