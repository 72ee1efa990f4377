// Benchmarks of the core's hot roads. Each figure is measured beside a plain reference doing the same
// amount of memory or file work, in the same run and with repetitions interleaved at random, so that
// the ratio between the two holds on a busy machine even when the absolute numbers wander. The last
// thing printed is a table of figure, reference, ratio and goal.

#include <benchmark/benchmark.h>
#include <unistd.h>
#include <zlib.h>

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
#include "export/SLPExports.h"
#include "RecordingHost.h"
#include "slp/SLPCode.h"
#include "slp/SLPCodeNew.h"
#include "slp/SLPEncode.h"
#include "Writers.h"
#include "BenchSprites.h"

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
        if (!decoded) return state.SkipWithError(decoded.Detail.c_str());
        benchmark::DoNotOptimize(c.Image.DIBSectionBitsPtr());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * side * side);
}

// Encodes the frame the decoder benchmark decodes, from the pixels it decodes to.
void EncodeDecodedFrame(benchmark::State& state, int32_t side) {
    DecodeCase& c = DecodeFixture(side);
    if (c.Frames.empty()) return state.SkipWithError("the sprite did not parse");
    std::vector<FramePixels> pixels(1);
    cDIBSection image, mask;
    (void)LoadPalette("");
    (void)DecodeSLPFrame(c.File, c.Frames[0], image, mask, false, Quiet(), DecodedColours);
    if (!PixelsFromSurfaces(image, mask, ColourLookup(Palette), FirstPlayer, pixels[0])) {
        return state.SkipWithError("the frame did not turn into pixels");
    }
    std::vector<uint8_t> encoded;
    for (auto _ : state) {
        if (Outcome made = EncodeSLP(pixels, encoded); !made) return state.SkipWithError(made.Detail.c_str());
        benchmark::DoNotOptimize(encoded.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * side * side);
    state.counters["bytes"] = static_cast<double>(encoded.size());
    state.counters["written by the tests' writer"] = static_cast<double>(c.File.Bytes.size());
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

// Bytes of what each figure writes, for the table of sizes.
std::map<std::string, uint64_t> BytesWritten;

void ExportImagesOf(benchmark::State& state, ImageFormat format, const std::string& name) {
    ImageCase& c = ImageFixture();
    if (c.Canvases.empty()) return state.SkipWithError("the sprite did not export");
    std::vector<NamedFile> files;
    std::vector<std::string> notes;
    for (auto _ : state) {
        Outcome exported = ExportImages(c.Sprite, format, {}, "walk.png", files, notes, Quiet());
        if (!exported) return state.SkipWithError(exported.Detail.c_str());
    }
    BytesWritten[name] = BytesOf(files);
}

// The same pixels as RGBA rows, unfiltered, through zlib at level 6, as release 0.5 wrote APNG frames.
uint64_t CompressRgba(const RgbaPicture& picture) {
    const size_t rowBytes = size_t(picture.Width) * 4;
    std::vector<uint8_t> rows((rowBytes + 1) * size_t(picture.Height));
    for (int32_t y = 0; y < picture.Height; ++y) std::memcpy(&rows[size_t(y) * (rowBytes + 1) + 1], picture.Row(y), rowBytes);
    uLongf length = compressBound(uLong(rows.size()));
    std::vector<uint8_t> compressed(length);
    return compress2(compressed.data(), &length, rows.data(), uLong(rows.size()), 6) == Z_OK ? length : 0;
}

void ZlibSheet(benchmark::State& state) {
    ImageCase& c = ImageFixture();
    for (auto _ : state) BytesWritten["zlib-6 RGBA the sheet"] = CompressRgba(c.Sheet);
}

void ZlibCanvases(benchmark::State& state) {
    ImageCase& c = ImageFixture();
    for (auto _ : state) {
        uint64_t bytes = 0;
        for (const RgbaPicture& canvas : c.Canvases) bytes += CompressRgba(canvas);
        BytesWritten["zlib-6 RGBA 100 canvases"] = bytes;
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

// The archives of 200 sprites of six frames that convert is timed on, in memory: frames drawn anew at
// random (WriteConvertArchive), or animations whose frames share most pixels (WriteAnimationArchive).
const std::string& ConvertArchive(bool animations = false) {
    static std::string archives[2];
    std::string& archive = archives[animations ? 1 : 0];
    if (archive.empty()) {
        archive = MemoryScratch() + (animations ? "animations.drs" : "sprites.drs");
        WriteFileBytes(archive, animations ? WriteAnimationArchive() : WriteConvertArchive());
    }
    return archive;
}

// brindle-cli convert --jobs 1 of such an archive to each format, and the bytes of the pictures it writes.
void ConvertToFormat(benchmark::State& state, const std::string& format, const std::string& name, bool animations) {
    const std::string out = MemoryScratch() + "convert-" + format + (animations ? "-animations" : "");
    std::string line = "'";
    line += (std::filesystem::path(ProgramFolder()) / "brindle-cli").string();
    line += "' convert '" + ConvertArchive(animations) + "' '" + out + "' --jobs 1 --format " + format + " 2>/dev/null";
    for (auto _ : state) {
        if (std::system(line.c_str()) != 0) return state.SkipWithError("brindle-cli convert failed (is it built?)");
    }
    uint64_t bytes = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(out, error)) {
        const std::string extension = entry.path().extension().string();
        if (entry.is_regular_file() && (extension == ".png" || extension == ".bmp")) bytes += entry.file_size();
    }
    BytesWritten[name] = bytes;
}

// What release 0.5 wrote as the APNGs of such an archive: each frame's canvas as RGBA rows, unfiltered,
// through zlib at level 6 (CompressRgba), and 38 bytes of chunks around each frame (fcTL and fdAT).
void Release05Apngs(benchmark::State& state, bool animations, const std::string& name) {
    ReadOnlyFile archive;
    uint64_t bytes = 0;
    for (auto _ : state) {
        if (!archive.Open(ConvertArchive(animations)) || !ReadDRSCatalogue(archive, Quiet())) return state.SkipWithError("no archive");
        bytes = 0;
        for (const CatalogueRow& row : DRSCatalogue) {  // one table, of sprites; its heading row is all zero
            SLPFile sprite{"s.slp", {}};
            SLPHeader header;
            std::vector<SLPFrameInfo> frames;
            CanvasBounds bounds;
            if (row.Size == 0 || !ReadEntryBytes(archive, row, sprite.Bytes) || !ParseSLPHeaders(sprite, header, frames) ||
                !CheckedCanvas(frames, bounds)) {
                continue;
            }
            (void)ForEachCanvasFrame(sprite, frames, bounds, {}, Quiet(), [&](int32_t, const RgbaPicture& canvas) {
                bytes += CompressRgba(canvas) + 38;
                return Outcome::Success();
            });
        }
    }
    BytesWritten[name] = bytes;
}

// brindle-cli convert of the same archive to sheets on 1 and 2 threads, into a folder of its own that
// each run writes over, as a user runs it again.
void ConvertOnJobs(benchmark::State& state, int jobs) {
    const std::string program = (std::filesystem::path(ProgramFolder()) / "brindle-cli").string();
    const std::string out = MemoryScratch() + "jobs-" + std::to_string(jobs);
    const std::string line = "'" + program + "' convert '" + ConvertArchive() + "' '" + out + "' --format sheet --jobs " +
                             std::to_string(jobs) + " 2>/dev/null";
    for (auto _ : state) {
        if (std::system(line.c_str()) != 0) return state.SkipWithError("brindle-cli convert failed (is it built?)");
    }
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

// brindle-cli pack of a folder of 2,000 entries (WritePackFolder), as a user runs it, beside cat of the
// same files into one.
std::string PackFolder() {
    static std::string folder;
    if (folder.empty()) {
        folder = MemoryScratch() + "pack";
        WritePackFolder(folder);
    }
    return folder;
}

// ---- registration and the summary --------------------------------------------------------------

constexpr int Repetitions = 5;

void RegisterAll() {
    using benchmark::RegisterBenchmark;
    for (int32_t side : {64, 512}) {
        const std::string n = std::to_string(side);
        RegisterBenchmark(("decode+recolour " + n).c_str(), DecodeAndRecolour, side)->Repetitions(Repetitions);
        RegisterBenchmark(("memcpy surfaces " + n).c_str(), CopySurfaceBytes, side)->Repetitions(Repetitions);
        RegisterBenchmark(("encode " + n).c_str(), EncodeDecodedFrame, side)->Repetitions(Repetitions);
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
    RegisterBenchmark("sprite sheet 100 frames", ExportImagesOf, ImageFormat::Sheet, std::string("sprite sheet 100 frames"))
        ->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    RegisterBenchmark("zlib-6 RGBA the sheet", ZlibSheet)->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    RegisterBenchmark("PNG sequence 100 frames", ExportImagesOf, ImageFormat::Png, std::string("PNG sequence 100 frames"))
        ->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    RegisterBenchmark("APNG 100 frames", ExportImagesOf, ImageFormat::Apng, std::string("APNG 100 frames"))
        ->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    RegisterBenchmark("zlib-6 RGBA 100 canvases", ZlibCanvases)->Unit(benchmark::kMillisecond)->Repetitions(Repetitions);
    for (const char* format : {"bmp", "png", "apng", "sheet"}) {
        const std::string name = "convert " + std::string(format) + ", jobs 1";
        RegisterBenchmark(name.c_str(), ConvertToFormat, std::string(format), name, false)
            ->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(Repetitions);
    }
    RegisterBenchmark("convert apng, animations", ConvertToFormat, std::string("apng"), std::string("convert apng, animations"), true)
        ->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
    for (const bool animations : {false, true}) {
        const std::string name = animations ? "release 0.5, animations" : "release 0.5, emulated";
        RegisterBenchmark(name.c_str(), Release05Apngs, animations, name)->Unit(benchmark::kMillisecond)->Iterations(1);
    }
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
    const std::string pack = "'" + (std::filesystem::path(ProgramFolder()) / "brindle-cli").string() + "' pack '" + PackFolder() +
                             "' '" + memory + "packed.drs'";
    if (std::system(pack.c_str()) == 0) {
        RegisterBenchmark("brindle-cli pack 2000 entries", RunShell, pack)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);
        RegisterBenchmark("cat of its files", RunShell, "cat '" + PackFolder() + "'/*/* > '" + memory + "catted'")
            ->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);
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
    const ImageCase& images = ImageFixture();
    const double sheetPixels = double(images.Sheet.Width) * images.Sheet.Height;
    double canvasPixels = 0;
    for (const RgbaPicture& canvas : images.Canvases) canvasPixels += double(canvas.Width) * canvas.Height;
    const auto AtMostBmp = [](double, double r) { return r >= 1 / 1.5; };
    const std::vector<Comparison> table = {
        {"decode+recolour 64", "memcpy surfaces 64", "Mpx/s", pixels64, {}, "-"},
        {"decode+recolour 512", "memcpy surfaces 512", "Mpx/s", pixels512,
         [](double f, double) { return f >= 700; }, ">= 700 Mpx/s"},
        {"encode 64", "decode+recolour 64", "Mpx/s", pixels64, {}, "-"},
        {"encode 512", "decode+recolour 512", "Mpx/s", pixels512, [](double, double r) { return r >= 0.5; }, "ratio >= 0.5"},
        {"ReadDRSCatalogue 32766 rows", "read directory bytes", "ms", 0, [](double f, double) { return f < 10; },
         "< 10 ms"},
        {"ReadResourceData 30 MB", "fread/fwrite 30 MB", "MB/s", bytes30, [](double, double r) { return r >= 0.8; },
         "ratio >= 0.8"},
        {"ExportSequence 100 frames", "write 100 files", "ms", 0, [](double, double r) { return r >= 0.5; },
         "ratio >= 0.5"},
        {"sprite sheet 100 frames", "zlib-6 RGBA the sheet", "Mpx/s", sheetPixels, {}, "-"},
        {"PNG sequence 100 frames", "zlib-6 RGBA 100 canvases", "Mpx/s", canvasPixels, {}, "-"},
        {"APNG 100 frames", "zlib-6 RGBA 100 canvases", "Mpx/s", canvasPixels, {}, "-"},
        {"PNG sequence 100 frames", "ExportSequence 100 frames", "Mpx/s", canvasPixels, {}, "-"},
        {"APNG 100 frames", "ExportSequence 100 frames", "Mpx/s", canvasPixels, {}, "-"},
        {"convert png, jobs 1", "convert bmp, jobs 1", "ms", 0, AtMostBmp, "<= 1.5 x bmp"},
        {"convert apng, jobs 1", "convert bmp, jobs 1", "ms", 0, AtMostBmp, "<= 1.5 x bmp"},
        {"convert sheet, jobs 1", "convert bmp, jobs 1", "ms", 0, AtMostBmp, "<= 1.5 x bmp"},
        {"convert 200 sprites, jobs 2", "convert 200 sprites, jobs 1", "ms", 0, [](double, double r) { return r >= 1.8; },
         "ratio >= 1.8"},
        {"thumbnail of 32766 rows", "process start", "ms", 0, [](double f, double) { return f < 50; }, "< 50 ms"},
        {"brindle-cli sequence", "cp -r of its files", "ms", 0, [](double, double r) { return r >= 1 / 1.3; }, "<= 1.3 x cp"},
        {"brindle-cli slx", "cp -r of the bundle", "ms", 0, [](double, double r) { return r >= 1 / 1.3; }, "<= 1.3 x cp"},
        {"brindle-cli pack 2000 entries", "cat of its files", "ms", 0, [](double, double r) { return r >= 1 / 1.3; }, "<= 1.3 x cat"},
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

    // What the PNG writers write, beside the same pixels as RGBA through zlib at level 6 and beside what
    // release 0.5 (RGBA, libspng's filters, zlib) wrote for the same archive.
    struct Size {
        std::string Figure, Reference;
        double ReferenceBytes = 0;  // 0: the reference figure's own bytes
        bool Goal = false;          // at most 0.6 of the reference's bytes
    };
    const std::vector<Size> sizes = {
        {"PNG sequence 100 frames", "zlib-6 RGBA 100 canvases"}, {"APNG 100 frames", "zlib-6 RGBA 100 canvases"},
        {"sprite sheet 100 frames", "zlib-6 RGBA the sheet"},    {"convert png, jobs 1", "release 0.5", 11306234, true},
        {"convert apng, jobs 1", "release 0.5", 6155348, true},   {"convert sheet, jobs 1", "release 0.5", 10682175, true},
        // release 0.5's APNGs as CompressRgba writes them, beside what it wrote: the same within a few
        // per cent, which lets the animations, for which there is no release 0.5 figure, be measured so
        {"release 0.5, emulated", "release 0.5", 6155348},
        {"convert apng, animations", "release 0.5, animations", 0, true},
        {"convert bmp, jobs 1", "convert png, jobs 1"},
    };
    std::printf("\n%-28s %14s   %-26s %14s %8s   %-14s %s\n", "bytes of", "bytes", "reference", "bytes", "ratio", "goal", "result");
    for (const Size& row : sizes) {
        const double reference = row.ReferenceBytes > 0 ? row.ReferenceBytes : double(BytesWritten[row.Reference]);
        if (!BytesWritten.count(row.Figure) || reference == 0) continue;
        const double ratio = double(BytesWritten[row.Figure]) / reference;
        std::printf("%-28s %14llu   %-26s %14.0f %8.3f   %-14s %s\n", row.Figure.c_str(),
                    static_cast<unsigned long long>(BytesWritten[row.Figure]), row.Reference.c_str(), reference, ratio,
                    row.Goal ? "<= 0.6" : "-", !row.Goal ? "-" : ratio <= 0.6 ? "pass" : "FAIL");
    }
    std::printf("ratio: the figure's bytes over the reference's.\n");
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
