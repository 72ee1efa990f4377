// Benchmarks of the core's hot roads. Each figure is measured beside a plain reference doing the same
// amount of memory or file work, in the same run and with repetitions interleaved at random, so that
// the ratio between the two holds on a busy machine even when the absolute numbers wander. The last
// thing printed is a table of figure, reference, ratio and goal.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "archive/DRSCode.h"
#include "base/Files.h"
#include "base/Functions.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "export/ImageExports.h"
#include "export/ImageFiles.h"
#include "export/SLPExports.h"
#include "RecordingHost.h"
#include "slp/SLPCode.h"
#include "slp/SLPCodeNew.h"
#include "Writers.h"

using namespace fixtures;

namespace {

// Best (smallest) real time of one iteration of each benchmark, in seconds, over its repetitions.
std::map<std::string, double> BestSeconds;

class RecordingReporter : public benchmark::ConsoleReporter {
public:
    // A reporter of our own isn't set up from --benchmark_color, so colour follows the terminal.
    RecordingReporter() : ConsoleReporter(isatty(STDOUT_FILENO) == 1 ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred || run.iterations == 0) continue;
            const double seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
            auto [at, fresh] = BestSeconds.try_emplace(run.run_name.function_name, seconds);
            if (!fresh) at->second = std::min(at->second, seconds);
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

TempDir& Scratch() {
    static TempDir dir;
    return dir;
}

// The folder of this program, where brindle-cli is built beside it.
std::string ProgramFolder() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().string();
}

QuietHost& Quiet() {
    static QuietHost host;
    return host;
}

// ---- sprites -----------------------------------------------------------------------------------

// A sprite-like picture: a body of colour runs and flecked texture around a band of player colour,
// its shadow to the lower right, an outer outline on its left edge and an inner one on its right, all
// in a transparent margin. EncodeFrame turns it into every command form: skips, lists, fills, player
// lists and fills, shadow runs, single outline pixels and outline runs.
Art SpriteArt(int32_t width, int32_t height, uint32_t seed) {
    std::mt19937 random(seed);
    auto inside = [&](double x, double y, double cx, double cy) {
        const double dx = (x - cx) / (0.36 * width), dy = (y - cy) / (0.40 * height);
        return dx * dx + dy * dy <= 1.0;
    };
    const double cx = 0.45 * width, cy = 0.45 * height;
    Art art(width, height);
    for (int32_t y = 0; y < height; ++y) {
        uint8_t index = 0;
        int32_t runLeft = 0;
        for (int32_t x = 0; x < width; ++x) {
            if (inside(x, y, cx, cy)) {
                if (runLeft-- <= 0) {  // a run of one colour, or a fleck of single pixels
                    runLeft = std::uniform_int_distribution<int32_t>(0, 11)(random);
                    index = static_cast<uint8_t>(std::uniform_int_distribution<int32_t>(24, 200)(random));
                }
                const bool fleck = runLeft % 4 == 1;
                const auto shade = static_cast<uint8_t>(fleck ? index + random() % 8 : index);
                const bool band = std::abs(y - cy) < 0.08 * height && std::abs(x - cx) < 0.2 * width;
                art.At(x, y) = band ? ArtPixel{Layer::Player, static_cast<uint8_t>(x / 6 % 8)}
                                    : ArtPixel{Layer::Colour, shade};
            } else if (inside(x, y, cx + 0.12 * width, cy + 0.10 * height)) {
                art.At(x, y) = {Layer::Shadow, 0};
            }
        }
    }
    for (int32_t y = 1; y + 1 < height; ++y) {  // outlines where the body meets its surroundings
        for (int32_t x = 1; x + 1 < width; ++x) {
            const bool body = inside(x, y, cx, cy);
            const bool edge = body != inside(x - 1, y, cx, cy) || body != inside(x, y - 1, cx, cy) ||
                              body != inside(x + 1, y, cx, cy) || body != inside(x, y + 1, cx, cy);
            if (edge && !body && x < cx) art.At(x, y) = {Layer::OutlineOuter, 0};
            if (edge && body && x > cx) art.At(x, y) = {Layer::OutlineInner, 0};
        }
    }
    return art;
}

// ---- (1) decode and recolour -------------------------------------------------------------------

struct DecodeCase {
    SLPFile File;
    std::vector<SLPFrameInfo> Frames;
    cDIBSection Image, Mask;
};

DecodeCase& DecodeFixture(int32_t side) {
    static std::map<int32_t, DecodeCase> cases;
    auto [at, fresh] = cases.try_emplace(side);
    if (fresh) {
        DecodeCase& c = at->second;
        c.File.Bytes = WriteSprite({EncodeFrame(SpriteArt(side, side, 7), side / 2, side - 4)});
        SLPHeader header;
        if (!ParseSLPHeaders(c.File, header, c.Frames)) c.Frames.clear();
    }
    return at->second;
}

void DecodeAndRecolour(benchmark::State& state, int32_t side) {
    DecodeCase& c = DecodeFixture(side);
    if (c.Frames.empty()) return state.SkipWithError("the sprite did not parse");
    for (auto _ : state) {
        // Decoding in the screen's colours is the recolouring: ShowImage draws exactly this way.
        DecodeResult decoded = DecodeSLPFrame(c.File, c.Frames[0], c.Image, c.Mask, false, Quiet(), ScreenColours());
        if (decoded.Code != DecodeFinished) return state.SkipWithError(decoded.Detail.c_str());
        benchmark::DoNotOptimize(c.Image.DIBSectionBitsPtr());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * side * side);
}

// Copies as many bytes as the two surfaces of a frame hold.
void CopySurfaceBytes(benchmark::State& state, int32_t side) {
    cDIBSection probe;
    (void)probe.Create(side, side);
    const size_t bytes = 2 * static_cast<size_t>(probe.BytesPerScanLine()) * static_cast<size_t>(side);
    std::vector<uint8_t> from(bytes, 0x5A), to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * side * side);
}

// ---- (2) the catalogue of the largest archive --------------------------------------------------

constexpr int32_t LargestTable = MaxListRows - 1;  // one heading and 32,765 entries: 32,766 rows

struct CatalogueCase {
    ReadOnlyFile Archive;
    int64_t DirectoryBytes = 0;
};

CatalogueCase& CatalogueFixture() {
    static CatalogueCase c;
    if (!c.Archive.IsOpen()) {
        TableFixture table{StoredTag("slp"), {}};
        for (int32_t id = 0; id < LargestTable; ++id) table.Entries.push_back({id, {static_cast<uint8_t>(id)}});
        ArchiveLayout layout;
        WriteFileBytes(Scratch() / "largest.drs", WriteArchive({Flavour::Year2001, {table}}, &layout));
        c.DirectoryBytes = layout.EntryRecordsAt[0] + 12 * int64_t{LargestTable};
        if (!c.Archive.Open(Scratch() / "largest.drs")) c.DirectoryBytes = 0;
    }
    return c;
}

void CatalogueOfLargestArchive(benchmark::State& state) {
    CatalogueCase& c = CatalogueFixture();
    for (auto _ : state) {
        CatalogueResult read = ReadDRSCatalogue(c.Archive, Quiet());
        if (!read) return state.SkipWithError(read.Detail.c_str());
    }
}

// Reads the same directory's bytes in one piece.
void ReadDirectoryBytes(benchmark::State& state) {
    CatalogueCase& c = CatalogueFixture();
    std::vector<uint8_t> bytes(static_cast<size_t>(c.DirectoryBytes));
    for (auto _ : state) {
        if (c.Archive.ReadAt(0, bytes) != bytes.size()) return state.SkipWithError("short read");
        benchmark::DoNotOptimize(bytes.data());
    }
}

// ---- (3) copying a large entry out -------------------------------------------------------------

constexpr int32_t LargeEntryBytes = 30 << 20;

struct LargeEntryCase {
    ReadOnlyFile Archive;
    CatalogueRow Row;
};

LargeEntryCase& LargeEntryFixture() {
    static LargeEntryCase c;
    if (!c.Archive.IsOpen()) {
        Bytes data(static_cast<size_t>(LargeEntryBytes));
        std::mt19937 random(3);
        std::generate(data.begin(), data.end(), [&] { return static_cast<uint8_t>(random()); });
        ArchiveLayout layout;
        const ArchiveFixture contents{Flavour::Year1997, {{StoredTag("bin"), {{1, data}}}}};
        WriteFileBytes(Scratch() / "large.drs", WriteArchive(contents, &layout));
        c.Row = {1, layout.DataAt[0][0], LargeEntryBytes, {}};
        if (!c.Archive.Open(Scratch() / "large.drs")) c.Row.Size = 0;
    }
    return c;
}

void CopyLargeEntry(benchmark::State& state) {
    LargeEntryCase& c = LargeEntryFixture();
    const std::string out = Scratch() / "entry.bin";
    for (auto _ : state) {
        Outcome copied = ReadResourceData(c.Archive, out, c.Row, Quiet());
        if (!copied) return state.SkipWithError(copied.Detail.c_str());
    }
    state.SetBytesProcessed(state.iterations() * LargeEntryBytes);
}

// The same bytes by plain buffered stdio: one large buffer, fread and fwrite.
void CopyLargeEntryByStdio(benchmark::State& state) {
    LargeEntryCase& c = LargeEntryFixture();
    const std::string out = Scratch() / "entry-ref.bin";
    std::vector<char> buffer(size_t{1} << 20);
    std::FILE* in = std::fopen((Scratch() / "large.drs").c_str(), "rb");
    if (in == nullptr) return state.SkipWithError("cannot open the archive");
    for (auto _ : state) {
        std::remove(out.c_str());
        std::FILE* to = std::fopen(out.c_str(), "wb");
        std::fseek(in, c.Row.Offset, SEEK_SET);
        for (size_t left = LargeEntryBytes; left > 0 && to != nullptr;) {
            const size_t got = std::fread(buffer.data(), 1, std::min(left, buffer.size()), in);
            if (got == 0 || std::fwrite(buffer.data(), 1, got, to) != got) break;
            left -= got;
        }
        if (to == nullptr || std::fclose(to) != 0) {
            state.SkipWithError("copy failed");
            break;
        }
    }
    std::fclose(in);
    state.SetBytesProcessed(state.iterations() * LargeEntryBytes);
}

// ---- (4) an image sequence of 100 frames -------------------------------------------------------

constexpr int32_t SequenceFrames = 100;

struct SequenceCase {
    std::string SpritePath;
    std::vector<Bytes> Files;  // what one export writes, for the reference to write again
};

SequenceCase& SequenceFixture() {
    static SequenceCase c;
    if (c.SpritePath.empty()) {
        std::vector<FrameFixture> frames;
        for (int32_t i = 0; i < SequenceFrames; ++i) {  // a walk cycle: sizes and hot spots wander a little
            const int32_t w = 90 + i % 7 * 4, h = 110 + i % 5 * 3;
            frames.push_back(EncodeFrame(SpriteArt(w, h, static_cast<uint32_t>(i)), w / 2 + i % 3, h - 6 - i % 4));
        }
        c.SpritePath = Scratch() / "walk.slp";
        WriteFileBytes(c.SpritePath, WriteSprite(frames));
        std::filesystem::create_directories(Scratch() / "sequence");
        std::filesystem::create_directories(Scratch() / "reference");
        if (!ExportSequence(c.SpritePath, Scratch() / "sequence/walk", Quiet())) return c;
        for (int32_t i = 1; i <= SequenceFrames; ++i)
            c.Files.push_back(ReadFileBytes(Scratch() / ("sequence/walk" + PadFrameNumber(i) + ".bmp")));
    }
    return c;
}

void ExportHundredFrames(benchmark::State& state) {
    SequenceCase& c = SequenceFixture();
    if (c.Files.empty()) return state.SkipWithError("the first export failed");
    for (auto _ : state) {
        Outcome exported = ExportSequence(c.SpritePath, Scratch() / "sequence/walk", Quiet());
        if (!exported) return state.SkipWithError(exported.Detail.c_str());
    }
}

// The same files' bytes, one write per file.
void WriteHundredFiles(benchmark::State& state) {
    SequenceCase& c = SequenceFixture();
    if (c.Files.empty()) return state.SkipWithError("the first export failed");
    for (auto _ : state) {
        for (size_t i = 0; i < c.Files.size(); ++i) {
            const std::string path = Scratch() / ("reference/walk" + PadFrameNumber(int32_t(i) + 1) + ".bmp");
            std::FILE* to = std::fopen(path.c_str(), "wb");
            if (to == nullptr) return state.SkipWithError("cannot create a file");
            const bool ok = std::fwrite(c.Files[i].data(), 1, c.Files[i].size(), to) == c.Files[i].size();
            if (std::fclose(to) != 0 || !ok) return state.SkipWithError("write failed");
        }
    }
}

// ---- today's formats: the sheet, the PNG sequence, convert on two cores ---------------------------

struct ImageCase {
    SLPFile Sprite;
    RgbaPicture Sheet;                  // the sheet's pixels, as the export lays them out
    std::vector<RgbaPicture> Canvases;  // the sequence's frames on the common canvas
};

ImageCase& ImageFixture() {
    static ImageCase c;
    if (c.Sprite.Bytes.empty()) {
        c.Sprite.Path = SequenceFixture().SpritePath;
        c.Sprite.Bytes = ReadFileBytes(c.Sprite.Path);
        std::vector<NamedFile> files;
        std::vector<std::string> notes;
        if (!ExportImages(c.Sprite, ImageFormat::Sheet, {}, "sheet.png", files, notes, Quiet())) return c;
        // The sheet's rows, as the reference compresses them: the frames placed by the same layout.
        SLPHeader header;
        std::vector<SLPFrameInfo> frames;
        (void)ParseSLPHeaders(c.Sprite, header, frames);
        const SheetLayout layout = LayOutSheet(frames);
        c.Sheet.Resize(layout.Width, layout.Height);
        RgbaPicture frame;
        for (int32_t i = 1; i <= header.NumFrames; ++i) {
            (void)DecodeRgbaFrame(c.Sprite, frames, i, {}, frame, Quiet());
            for (int32_t y = 0; y < frame.Height; ++y)
                std::memcpy(c.Sheet.Row(layout.Places[size_t(i - 1)].second + y) + 4 * layout.Places[size_t(i - 1)].first,
                            frame.Row(y), 4 * size_t(frame.Width));
        }
        CanvasBounds bounds;
        (void)CheckedCanvas(frames, bounds);
        (void)ForEachCanvasFrame(c.Sprite, frames, bounds, {}, Quiet(), [&](int32_t, const RgbaPicture& canvas) {
            c.Canvases.push_back(canvas);
            return Outcome::Success();
        });
    }
    return c;
}

void ExportImagesOf(benchmark::State& state, ImageFormat format) {
    ImageCase& c = ImageFixture();
    if (c.Canvases.empty()) return state.SkipWithError("the sprite did not export");
    std::vector<NamedFile> files;
    std::vector<std::string> notes;
    for (auto _ : state) {
        Outcome exported = ExportImages(c.Sprite, format, {}, "walk.png", files, notes, Quiet());
        if (!exported) return state.SkipWithError(exported.Detail.c_str());
    }
}

// The same RGBA rows compressed by libspng alone, with the same settings.
void CompressSheetRows(benchmark::State& state) {
    ImageCase& c = ImageFixture();
    std::vector<uint8_t> png;
    for (auto _ : state) (void)EncodePng(c.Sheet, png);
}

void CompressCanvasRows(benchmark::State& state) {
    ImageCase& c = ImageFixture();
    std::vector<uint8_t> png;
    for (auto _ : state)
        for (const RgbaPicture& canvas : c.Canvases) (void)EncodePng(canvas, png);
}

// brindle-cli convert of an archive of 200 sprites of 8 frames, as a user runs it.
std::string ConvertArchive() {
    static std::string path;
    if (path.empty()) {
        std::vector<FrameFixture> frames;
        for (uint32_t i = 0; i < 8; ++i) frames.push_back(EncodeFrame(SpriteArt(96, 120, i), 48, 114));
        const Bytes sprite = WriteSprite(frames);
        std::vector<EntryFixture> entries;
        for (int32_t id = 1; id <= 200; ++id) entries.push_back({id, sprite});
        path = Scratch() / "convert.drs";
        WriteFileBytes(path, WriteArchive({Flavour::Year2001, {{StoredTag("slp"), entries}}}));
    }
    return path;
}

void ConvertOnJobs(benchmark::State& state, int jobs) {
    const std::string program = (std::filesystem::path(ProgramFolder()) / "brindle-cli").string();
    const std::string out = Scratch() / ("convert-" + std::to_string(jobs));
    const std::string line = "'" + program + "' convert '" + ConvertArchive() + "' '" + out + "' --format sheet --jobs " +
                             std::to_string(jobs) + " 2>/dev/null";
    for (auto _ : state) {
        if (std::system(line.c_str()) != 0) return state.SkipWithError("brindle-cli convert failed (is it built?)");
    }
}

// A folder in memory (tmpfs) where there is one, so that the disk's weather stays out of the ratios.
const std::string& MemoryScratch() {
    static std::string folder;
    if (folder.empty()) {
        std::error_code error;
        folder = std::filesystem::is_directory("/dev/shm", error) ? "/dev/shm/brindle-bench-" + std::to_string(getpid()) + "/"
                                                                  : Scratch().Path() + "memory/";
        std::filesystem::create_directories(folder, error);
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(folder, ignored);
        });
    }
    return folder;
}

// brindle-cli sequence and slx of 100 frames of 512 x 512 with runs of 1 to 60 pixels of every kind,
// as a user runs them, beside cp -r of the very files they write.
std::string LargeSequenceSprite() {
    static std::string path;
    if (path.empty()) {
        std::mt19937 random(7);
        std::vector<FrameFixture> frames;
        for (int f = 0; f < 100; ++f) {
            Art art(512, 512);
            for (size_t i = 0; i < art.Pixels.size();) {
                const auto kind = Layer(random() % 6);
                const auto index = static_cast<uint8_t>(kind == Layer::Player ? random() % 200 : random() % 256);
                for (size_t n = 1 + random() % 60; n > 0 && i < art.Pixels.size(); --n) art.Pixels[i++] = {kind, index};
            }
            frames.push_back(EncodeFrame(art, 256, 500));
        }
        path = MemoryScratch() + "large.slp";
        WriteFileBytes(path, WriteSprite(frames));
        std::filesystem::create_directories(MemoryScratch() + "cli-sequence");
        std::filesystem::create_directories(MemoryScratch() + "cli-slx");
    }
    return path;
}

void RunShell(benchmark::State& state, const std::string& line) {
    for (auto _ : state) {
        if (std::system(line.c_str()) != 0) return state.SkipWithError(("failed: " + line).c_str());
    }
}

std::string CliCommand(const std::string& command, const std::string& out) {
    std::string line = "'";
    line += (std::filesystem::path(ProgramFolder()) / "brindle-cli").string();
    line += "' " + command + " '" + LargeSequenceSprite() + "' '" + out + "'";
    return line;
}

// brindle-cli thumbnail of an archive of the most rows a list holds, as a file manager runs it.
void ThumbnailOfLargestArchive(benchmark::State& state) {
    static std::string archive;
    if (archive.empty()) {
        std::vector<FrameFixture> frames{EncodeFrame(SpriteArt(96, 120, 1), 48, 114)};
        // Two headings and 32,764 entries, the one sprite last.
        std::vector<EntryFixture> entries(MaxListRows - 3, EntryFixture{0, {1, 2, 3}});
        for (size_t i = 0; i < entries.size(); ++i) entries[i].ID = int32_t(i);
        archive = Scratch() / "thumbnail.drs";
        WriteFileBytes(archive, WriteArchive({Flavour::Year2001, {{StoredTag("bin"), entries}, {StoredTag("slp"), {{7, WriteSprite(frames)}}}}}));
    }
    std::string line = "'";
    line += (std::filesystem::path(ProgramFolder()) / "brindle-cli").string();
    line += "' thumbnail '" + archive + "' '" + (Scratch() / "thumbnail.png") + "' 256";
    for (auto _ : state) {
        if (std::system(line.c_str()) != 0) return state.SkipWithError("brindle-cli thumbnail failed (is it built?)");
    }
}

// ---- registration and the summary --------------------------------------------------------------

constexpr int Repetitions = 5;

void RegisterAll() {
    using benchmark::RegisterBenchmark;
    for (int32_t side : {64, 512}) {
        const std::string n = std::to_string(side);
        RegisterBenchmark(("decode+recolour " + n).c_str(), DecodeAndRecolour, side)->Repetitions(Repetitions);
        RegisterBenchmark(("memcpy surfaces " + n).c_str(), CopySurfaceBytes, side)->Repetitions(Repetitions);
    }
    RegisterBenchmark("ReadDRSCatalogue 32766 rows", CatalogueOfLargestArchive)
        ->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    RegisterBenchmark("read directory bytes", ReadDirectoryBytes)
        ->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    using Run = void (*)(benchmark::State&);
    const std::pair<const char*, Run> fileWork[] = {{"ReadResourceData 30 MB", CopyLargeEntry},
                                                    {"fread/fwrite 30 MB", CopyLargeEntryByStdio},
                                                    {"ExportSequence 100 frames", ExportHundredFrames},
                                                    {"write 100 files", WriteHundredFiles}};
    for (auto [name, run] : fileWork) {
        RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(0.3)->Repetitions(3);
    }
    RegisterBenchmark("sprite sheet 100 frames", ExportImagesOf, ImageFormat::Sheet)
        ->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    RegisterBenchmark("libspng the sheet's rows", CompressSheetRows)->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    RegisterBenchmark("PNG sequence 100 frames", ExportImagesOf, ImageFormat::Png)
        ->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    RegisterBenchmark("libspng 100 canvases", CompressCanvasRows)->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    // Each command runs once first, so that the copies have the files to copy whichever runs first.
    const std::string& memory = MemoryScratch();
    for (const auto& [command, out, reference, copy] :
         {std::tuple{"sequence", "cli-sequence/walk.bmp", "cp -r of its files", "cli-sequence"},
          std::tuple{"slx", "cli-slx/walk.slx", "cp -r of the bundle", "cli-slx"}}) {
        const std::string line = CliCommand(command, memory + out);
        if (std::system(line.c_str()) != 0) continue;
        RegisterBenchmark(("brindle-cli " + std::string(command)).c_str(), RunShell, line)
            ->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
        RegisterBenchmark(reference, RunShell, "cp -rT '" + memory + copy + "' '" + memory + "copy-of-" + copy + "'")
            ->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
    }
    RegisterBenchmark("thumbnail of 32766 rows", ThumbnailOfLargestArchive)
        ->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
    RegisterBenchmark("process start", [](benchmark::State& state) {
        for (auto _ : state) (void)std::system("true");
    })->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);
    for (int jobs : {2, 1}) {
        RegisterBenchmark(("convert 200 sprites, jobs " + std::to_string(jobs)).c_str(), ConvertOnJobs, jobs)
            ->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(5);
    }
}

struct Comparison {
    std::string Figure, Reference;
    std::string Unit;                    // "Mpx/s", "ms" or "MB/s"
    double PerIteration = 0;             // pixels or bytes per iteration; 0 for a time in ms
    std::function<bool(double figure, double ratio)> Goal;  // empty: no goal
    std::string GoalText;
};

void PrintSummary() {
    const double pixels64 = 64.0 * 64, pixels512 = 512.0 * 512, bytes30 = LargeEntryBytes;
    const std::vector<Comparison> table = {
        {"decode+recolour 64", "memcpy surfaces 64", "Mpx/s", pixels64, {}, "-"},
        {"decode+recolour 512", "memcpy surfaces 512", "Mpx/s", pixels512,
         [](double f, double) { return f >= 700; }, ">= 700 Mpx/s"},
        {"ReadDRSCatalogue 32766 rows", "read directory bytes", "ms", 0, [](double f, double) { return f < 10; },
         "< 10 ms"},
        {"ReadResourceData 30 MB", "fread/fwrite 30 MB", "MB/s", bytes30, [](double, double r) { return r >= 0.8; },
         "ratio >= 0.8"},
        {"ExportSequence 100 frames", "write 100 files", "ms", 0, [](double, double r) { return r >= 0.5; },
         "ratio >= 0.5"},
        {"sprite sheet 100 frames", "libspng the sheet's rows", "ms", 0, [](double, double r) { return r >= 0.8; },
         "ratio >= 0.8"},
        {"PNG sequence 100 frames", "libspng 100 canvases", "ms", 0, [](double, double r) { return r >= 0.8; },
         "ratio >= 0.8"},
        {"convert 200 sprites, jobs 2", "convert 200 sprites, jobs 1", "ms", 0, [](double, double r) { return r >= 1.8; },
         "ratio >= 1.8"},
        {"thumbnail of 32766 rows", "process start", "ms", 0, [](double f, double) { return f < 50; }, "< 50 ms"},
        {"brindle-cli sequence", "cp -r of its files", "ms", 0, [](double, double r) { return r >= 1 / 1.3; }, "<= 1.3 x cp"},
        {"brindle-cli slx", "cp -r of the bundle", "ms", 0, [](double, double r) { return r >= 1 / 1.3; }, "<= 1.3 x cp"},
    };
    std::printf("\n%-28s %14s   %-22s %14s %8s   %-14s %s\n", "figure", "value", "reference", "value", "ratio", "goal",
                "result");
    for (const Comparison& row : table) {
        if (!BestSeconds.count(row.Figure) || !BestSeconds.count(row.Reference)) {
            std::printf("%-28s %14s   %-22s\n", row.Figure.c_str(), "(not run)", row.Reference.c_str());
            continue;
        }
        const double figureSeconds = BestSeconds[row.Figure], referenceSeconds = BestSeconds[row.Reference];
        auto value = [&](double seconds) {
            if (row.PerIteration == 0) return seconds * 1e3;
            return row.PerIteration / seconds / 1e6;
        };
        const double figure = value(figureSeconds), reference = value(referenceSeconds);
        const double ratio = referenceSeconds / figureSeconds;  // figure's speed over the reference's
        const char* verdict = !row.Goal ? "-" : row.Goal(figure, ratio) ? "pass" : "FAIL";
        std::printf("%-28s %8.2f %-5s   %-22s %8.2f %-5s %8.3f   %-14s %s\n", row.Figure.c_str(), figure,
                    row.Unit.c_str(), row.Reference.c_str(), reference, row.Unit.c_str(), ratio, row.GoalText.c_str(),
                    verdict);
    }
    std::printf("ratio: the figure's speed over the reference's; times are the best repetition of each.\n");
}

}  // namespace

int main(int argc, char** argv) {
    // Repetitions of figure and reference take turns, so both see the same weather.
    std::vector<char*> arguments(argv, argv + argc);
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleave.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

    ResetColourChoices();
    if (!LoadPalette("")) return 1;
    RegisterAll();
    RecordingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    PrintSummary();
    benchmark::Shutdown();
    return 0;
}
