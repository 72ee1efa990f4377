// brindle-window-bench: the window's list filled with the most rows an archive can have, and the preview
// pane given a large text entry. Runs on the offscreen platform unless told otherwise.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QLabel>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>

#include "archive/DRSCode.h"
#include "archive/Preview.h"
#include "RecordingHost.h"
#include "ScriptedPlatform.h"
#include "shell/Controls.h"
#include "shell/MainForm.h"
#include "Writers.h"

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

// 8 and 32 MiB in lines of 56 characters; 32 MiB should show in under 0.5 s.
void BM_ShowLargeText(benchmark::State& state) {
    std::string text;
    while (text.size() < (size_t(state.range(0)) << 20)) text += "a line of text with {braces} and a \\ backslash, 0123\r\n";
    ShowText(state, text);
}
BENCHMARK(BM_ShowLargeText)->Arg(8)->Arg(32)->Unit(benchmark::kMillisecond)->Repetitions(3);

// One line of 1 MiB with no place to break it, such as a run of zero bytes.
void BM_ShowOneLongLine(benchmark::State& state) { ShowText(state, std::string(size_t{1} << 20, 'a')); }
BENCHMARK(BM_ShowOneLongLine)->Unit(benchmark::kMillisecond);

// An archive of two 512 x 512 sprites of random runs of every kind, open in the window.
struct LargeSprites {
    const fixtures::TempDir dir;
    fixtures::ScriptedPlatform desktop;
    std::unique_ptr<MainForm> form;

    LargeSprites() {
        qputenv("temp", QByteArray::fromStdString(dir.Path()));  // its private folder is made in there
        std::vector<fixtures::EntryFixture> sprites;
        for (int32_t id : {1, 2}) {
            const fixtures::Art art = fixtures::RandomArt(512, 512, uint32_t(id));
            sprites.push_back({id, fixtures::WriteSprite({fixtures::EncodeFrame(art, 256, 500)})});
        }
        fixtures::WriteFileBytes(dir / "big.drs", fixtures::WriteArchive({fixtures::Flavour::Year2001, {{fixtures::StoredTag("slp"), sprites}}}));
        form = std::make_unique<MainForm>(desktop.Services());
        form->show();
        QApplication::processEvents();  // shown, so that a repaint paints
        desktop.FileAnswers = {dir / "big.drs"};
        form->menu_file_open_Click();
    }
};

// A click on a row of a 512 x 512 sprite until its first frame is painted, the temporary copy and the
// decode included; the two sprites take turns, so that every click is a new selection.
void BM_ClickSpriteRowToPaint(benchmark::State& state) {
    LargeSprites window;
    int row = 1;
    for (auto _ : state) {
        window.form->DRSFilesList->SetListIndex(row);
        window.form->ResDisplayPic->repaint();
        row = 3 - row;
    }
    if (window.form->ResDisplayPic->Picture().size() != QSize(512, 512)) state.SkipWithError("the sprite did not show");
}
BENCHMARK(BM_ClickSpriteRowToPaint)->Unit(benchmark::kMillisecond)->Repetitions(3);

// Refresh of a 512 x 512 frame at zoom 4 in a window the size of a full-HD screen: the decode, and
// the paint of the part the window shows, 1,776 x 992 screen pixels of it.
void BM_RedrawAtZoom4(benchmark::State& state) {
    LargeSprites window;
    MainForm& form = *window.form;
    form.resize(1920, 1080);
    form.DRSFilesList->SetListIndex(1);
    for (int i = 0; i < 3; ++i) form.menu_image_zoomin_Click();
    QApplication::processEvents();  // the window takes its new size and is shown at it
    for (auto _ : state) form.menu_image_refresh_Click();  // which paints the picture before it returns
    if (form.Zoom != 4 || form.ResDisplayPic->width() != 2048) state.SkipWithError("not at zoom 4");
    if (form.PictureStatusText->text() != "Showing frame 1 of 1") state.SkipWithError(form.PictureStatusText->text().toStdString().c_str());
}
BENCHMARK(BM_RedrawAtZoom4)->Unit(benchmark::kMillisecond)->Repetitions(3);

}  // namespace

// Remembers the time of one iteration of each benchmark, the best of its repetitions, for the table of
// goals at the end.
class GoalReporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, double> Milliseconds;
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred || run.iterations == 0) continue;
            const double milliseconds = run.real_accumulated_time / double(run.iterations) * 1e3;
            const auto [at, first] = Milliseconds.emplace(run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args), milliseconds);
            if (!first) at->second = std::min(at->second, milliseconds);  // the best repetition
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    GoalReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\n%-36s %10s   %-10s %s\n", "figure", "value", "goal", "result");
    for (const auto& [name, limit] :
         {std::pair{"BM_ClickSpriteRowToPaint", 16.0}, {"BM_RedrawAtZoom4", 16.0}, {"BM_ShowLargeText/32", 500.0}}) {
        const auto at = reporter.Milliseconds.find(name);
        if (at == reporter.Milliseconds.end()) continue;
        std::printf("%-36s %7.1f ms   < %-8.0f %s\n", name, at->second, limit, at->second < limit ? "pass" : "FAIL");
    }
    benchmark::Shutdown();
    return 0;
}
