#include "cli/Commands.h"

#include <nlohmann/json.hpp>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <set>
#include <string_view>
#include <system_error>

#include "archive/DRSCode.h"
#include "archive/UsefulCode.h"
#include "base/Functions.h"
#include "cli/CliHost.h"
#include "cli/Inputs.h"
#include "cli/Outputs.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "export/ImageExports.h"
#include "export/ImageFiles.h"
#include "export/SLPExports.h"
#include "slp/SLPCodeNew.h"

namespace fs = std::filesystem;

const std::string GifPaceLimit = "GIF plays at most " + std::to_string(MaxGifFps) + " frames a second";

int Usage(const Options& options, const std::string& reason) {
    Complain(options.Command, "", reason + " (see brindle-cli " + options.Command + " --help)");
    return ExitUsage;
}

namespace {

const CatalogueRow& CatalogueAt(size_t listIndex) {
    static const CatalogueRow none;
    return listIndex < DRSCatalogue.size() ? DRSCatalogue[listIndex] : none;
}

std::string KindName(int32_t kind) {
    switch (kind) {
    case KindHeading: return "heading";
    case KindSLP: return "slp";
    case KindWAV: return "wav";
    case KindBIN: return "bin";
    default: return "other";
    }
}

// "#RRGGBB", web order (checked when the command line is read), to a colour value: red in the low byte.
uint32_t ParseColour(const std::string& text) {
    auto component = [&](size_t at) { return static_cast<int32_t>(std::stoi(text.substr(at, 2), nullptr, 16)); };
    return RGB(component(1), component(3), component(5));
}

// Loads the palette file at path ("-": standard input) into Palette, or says in one line why not. Any
// format Brindle knows: JASC-PAL as the window reads it, then the others by their content.
bool LoadPaletteFile(const std::string& command, const std::string& path, CliHost& host) {
    const std::string name = path == "-" ? "standard input" : path;
    const PaletteResult loaded = path == "-" ? LoadAnyPalette(std::cin, name, host) : LoadAnyPalette(path, host);
    // "Not valid palette file!", and the formats there are
    if (loaded.State == PaletteLoad::Refused) Complain(command, name, host.LastMessage() + ' ' + loaded.Detail);
    if (loaded.State == PaletteLoad::Failed) {
        Complain(command, name, FailureReason(loaded.Detail, name, path));
    }
    return loaded.State == PaletteLoad::Loaded;
}

// Whether the frame the command line names is one of the sprite's; a number beyond them is a usage
// error, said in a line that gives the frames there are.
bool FrameInRange(const Options& options, const std::string& name, const std::vector<SLPFrameInfo>& frames) {
    if (options.Frame >= 1 && static_cast<size_t>(options.Frame) <= frames.size()) return true;
    Complain(options.Command, name, "has frames 1 to " + std::to_string(frames.size()) + "; there is no frame " +
                                        std::to_string(options.Frame) + " (see brindle-cli " + options.Command + " --help)");
    return false;
}

// A sprite in memory with its frame table read, or false after a line that says why not.
bool OpenSprite(const Options& options, Outputs& outputs, SLPFile& sprite, std::string& name, std::vector<SLPFrameInfo>& frames) {
    if (!LoadSprite(options.Command, options.Source, options.IDs, options.Table, options.Force, outputs, sprite, name)) {
        return false;
    }
    SLPHeader header;
    if (Outcome read = ParseSLPHeaders(sprite, header, frames); !read) {
        Complain(options.Command, name, FailureReason(read.Detail, name));
        return false;
    }
    return true;
}

// Copies every planned entry, making the folders of a folder output (-o DIR, extract-all) as needed.
// With --keep-going a failure is noted and the rest go on; without, the files written so far are
// removed. True when all were written or kept.
bool CopyEntries(const Options& options, OpenedArchive& archive, const std::vector<PlannedCopy>& plan, bool makeFolders,
                 Outputs& outputs, CliHost* progress) {
    for (const PlannedCopy& copy : plan)
        if (!outputs.IsSafe(copy.Path)) return false;  // before anything is written
    int done = 0, failed = 0;
    std::vector<uint8_t> bytes;
    for (const PlannedCopy& copy : plan) {
        const fs::path folder = fs::path(copy.Path).parent_path();
        std::error_code error;
        if (makeFolders && !folder.empty()) fs::create_directories(folder, error);
        bool ok = false;
        if (error) {
            Complain(options.Command, folder.string(), error.message());
        } else if (Outcome read = ReadEntryBytes(archive.File(), DRSCatalogue[copy.Row], bytes); !read) {
            Complain(options.Command, copy.Path, "ID " + std::to_string(DRSCatalogue[copy.Row].ID) + ": " + read.Detail);
        } else {
            ok = outputs.Write(copy.Path, bytes) != Outputs::Result::Failed;
        }
        if (!ok && !options.KeepGoing) {
            outputs.RemoveWritten();
            return false;
        }
        failed += ok ? 0 : 1;
        if (progress) progress->ShowProgress(++done, static_cast<int>(plan.size()));
    }
    if (progress) progress->EndProgress();
    if (failed > 0) {
        Complain(options.Command, options.Out.empty() ? options.OutFolder : options.Out,
                 std::to_string(static_cast<int>(plan.size()) - failed) + " entries written or kept, " + std::to_string(failed) +
                     " failed");
    }
    return failed == 0;
}

// ---- the multi-file exports ----------------------------------------------------------------------

// The last line of a --keep-going export: "3 files written, 0 failed, frame 2 damaged", with `damage`
// behind "damaged" (" and left out") where the damaged frames are not among the files.
void SayWhatWasWritten(const Options& options, const Outputs& outputs, int failed, const std::vector<int32_t>& damaged,
                       const std::string& damage = {}) {
    std::string text = std::to_string(outputs.WrittenCount()) + " files written, " + std::to_string(failed) + " failed";
    if (!damaged.empty()) {
        text += damaged.size() == 1 ? ", frame " : ", frames ";
        for (size_t i = 0; i < damaged.size(); ++i) text += (i == 0 ? "" : ", ") + std::to_string(damaged[i]);
        text += " damaged" + damage;
    }
    Complain(options.Command, options.Out, text);
}

// Runs an export into a staging folder beside the outputs, then places its files under their names,
// in the order given. Nothing lands under a name before the whole export has run, and nothing at all
// when the files would not fit; without --keep-going a failure leaves no file of this run behind, and
// with it a file that could not be written whole is never placed, but counted as failed.
template <typename Export>
int StageAndPlace(const Options& options, const std::string& name, const std::string& base,
                  const std::vector<std::string>& outputsInOrder, int64_t bytes, Outputs& outputs, Export run) {
    for (const std::string& path : outputsInOrder)
        if (!outputs.IsSafe(path)) return ExitFailed;
    if (!outputs.Fits(options.Out, static_cast<uint64_t>(bytes))) return ExitFailed;
    StagingFolder staging(options.Command, base);
    if (!staging.Made()) {
        Complain(options.Command, options.Out, staging.Error());
        return ExitFailed;
    }
    ExportReport report;
    const Outcome exported = run(staging.Path() + FileOfPath(base), report);
    const std::vector<std::string>& unfinished = report.Unfinished;
    if (!exported) {
        Complain(options.Command, name, FailureReason(exported.Detail, name));
        if (!options.KeepGoing) return ExitFailed;
    }
    int failed = 0;
    for (const std::string& path : outputsInOrder) {
        const std::string staged = staging.Path() + FileOfPath(path);
        std::error_code error;
        if (!fs::exists(staged, error)) continue;
        const bool whole = std::find(unfinished.begin(), unfinished.end(), staged) == unfinished.end();
        if (!whole || outputs.Place(staged, path) == Outputs::Result::Failed) {
            if (!options.KeepGoing) {
                outputs.RemoveWritten();
                return ExitFailed;
            }
            ++failed;
        }
    }
    if (!exported || failed > 0) {
        SayWhatWasWritten(options, outputs, failed, report.DamagedFrames);
        return ExitFailed;
    }
    return ExitOk;
}

// The base path of an export from the name given, as the save dialog would hand it back: absolute,
// without its extension.
bool ExportBase(const Options& options, std::string& base) {
    if (options.Out == "-") {
        Usage(options, "writes several files: give a name such as out/walk.bmp, not -");
        return false;
    }
    std::error_code error;
    const fs::path absolute = fs::absolute(options.Out, error);
    if (error) {
        Complain(options.Command, options.Out, error.message());
        return false;
    }
    base = ExportBasePath(absolute.string());
    return true;
}

}  // namespace

bool PrepareColours(const Options& options, CliHost& host, Outputs& outputs) {
    ResetColourChoices();
    (void)LoadPalette("", host);  // the default palette always loads
    if (!options.PalettePath.empty()) {
        if (!LoadPaletteFile(options.Command, options.PalettePath, host)) return false;
        outputs.AddInput(options.PalettePath);
    }
    if (!options.Mask.empty()) MaskColour = ParseColour(options.Mask);
    if (!options.Shadow.empty()) ShadowColour = ParseColour(options.Shadow);
    if (!options.Inner.empty()) OutlineInnerColour = ParseColour(options.Inner);
    if (!options.Outer.empty()) OutlineOuterColour = ParseColour(options.Outer);
    return true;
}

// ---- the commands ----------------------------------------------------------------------------------

int RunList(const Options& options) {
    Outputs outputs(options.Command, false);
    OpenedArchive archive(options.Command, options.Source, options.Force, options.Table, outputs);
    if (!archive.Opened()) return ExitFailed;
    const std::vector<ListRow>& rows = archive.Rows();
    if (options.Json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (size_t i = 0; i < rows.size(); ++i) {
            const CatalogueRow& entry = CatalogueAt(i);
            list.push_back({{"row", i}, {"text", rows[i].Text}, {"kind", KindName(rows[i].ItemData)}, {"id", entry.ID},
                            {"offset", entry.Offset}, {"size", entry.Size}});
        }
        const nlohmann::ordered_json document = {{"archive", options.Source}, {"rows", std::move(list)}};
        return WriteStandardOutput(options.Command, document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n")
                   ? ExitOk : ExitFailed;
    }
    // A table's tag is any four bytes: a control character in it would drive the terminal, or split the
    // row's columns or the row itself.
    std::string text = options.Long ? "row\ttext\tkind\tid\toffset\tsize\n" : "";
    for (size_t i = 0; i < rows.size(); ++i) {
        const CatalogueRow& entry = CatalogueAt(i);
        const std::string shown = EscapeControls(rows[i].Text);
        if (options.Long) text += std::to_string(i) + '\t' + shown + '\t' + KindName(rows[i].ItemData);
        else text += shown + '\t' + std::to_string(rows[i].ItemData);
        text += '\t' + std::to_string(entry.ID) + '\t' + std::to_string(entry.Offset) + '\t' + std::to_string(entry.Size) + '\n';
    }
    return WriteStandardOutput(options.Command, text) ? ExitOk : ExitFailed;
}

int RunExtract(const Options& options) {
    const std::vector<std::string>& args = options.Positionals;
    const bool byID = !options.IDs.empty();
    if (!byID && (!options.OutFolder.empty() || !options.Table.empty())) return Usage(options, "-o and --table go with --id");
    if (!byID && args.size() != 2) return Usage(options, "give ARCHIVE ROW OUT, or ARCHIVE --id ID OUT");
    if (byID && options.OutFolder.empty() && (args.size() != 1 || options.IDs.size() != 1)) {
        return Usage(options, options.IDs.size() > 1 ? "several IDs go into a folder: -o DIR" : "give ARCHIVE --id ID OUT");
    }
    if (byID && !options.OutFolder.empty() && !args.empty()) return Usage(options, "give either OUT or -o DIR");
    int32_t row = 0;
    if (!byID) {
        const std::string& text = args[0];
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), row);
        if (error != std::errc() || end != text.data() + text.size()) return Usage(options, "ROW is a number from the list, not " + text);
    }

    Outputs outputs(options.Command, options.NoClobber);
    OpenedArchive archive(options.Command, options.Source, options.Force, options.Table, outputs);
    if (!archive.Opened()) return ExitFailed;
    const std::vector<ListRow>& rows = archive.Rows();

    std::vector<PlannedCopy> plan;
    if (!byID) {
        if (row < 0 || static_cast<size_t>(row) >= rows.size()) {
            const bool isAnID = !EntriesWithID(rows, row, "").empty();  // the number most people see is the ID
            Complain(options.Command, options.Source, "has rows 0 to " + std::to_string(static_cast<int64_t>(rows.size()) - 1) +
                                                          "; there is no row " + std::to_string(row) +
                                                          (isAnID ? " (for the entry of that ID: --id " + std::to_string(row) + ")" : ""));
            return ExitFailed;
        }
        if (rows[static_cast<size_t>(row)].ItemData == KindHeading) {
            Complain(options.Command, options.Source, "row " + std::to_string(row) + " is the heading of table " +
                                                          TableOfHeading(rows[static_cast<size_t>(row)].Text) + ", not an entry");
            return ExitFailed;
        }
        plan.push_back({static_cast<size_t>(row), args[1]});
    } else if (options.OutFolder.empty()) {
        const std::optional<ListedEntry> entry = OneEntryWithID(options.Command, options.Source, rows, options.IDs[0], options.Table);
        if (!entry) return ExitFailed;
        plan.push_back({entry->Row, args[0]});
    } else {
        std::set<std::string> used;
        for (int32_t id : options.IDs) {
            const std::vector<ListedEntry> entries = EntriesWithID(rows, id, options.Table);
            if (entries.empty()) {
                Complain(options.Command, options.Source, "no entry has ID " + std::to_string(id) +
                                                              (options.Table.empty() ? "" : " in table " + options.Table));
                return ExitFailed;
            }
            for (const ListedEntry& entry : entries) {
                plan.push_back({entry.Row, (fs::path(options.OutFolder) / DistinctName(ProposedName(entry.Kind, id), used)).string()});
            }
        }
    }
    if (plan.size() == 1 && plan[0].Path == "-") {  // standard output: no folder, nothing to plan
        std::vector<uint8_t> bytes;
        if (Outcome read = ReadEntryBytes(archive.File(), DRSCatalogue[plan[0].Row], bytes); !read) {
            Complain(options.Command, options.Source, "ID " + std::to_string(DRSCatalogue[plan[0].Row].ID) + ": " + read.Detail);
            return ExitFailed;
        }
        return outputs.Write("-", bytes) == Outputs::Result::Failed ? ExitFailed : ExitOk;
    }
    return CopyEntries(options, archive, plan, !options.OutFolder.empty(), outputs, nullptr) ? ExitOk : ExitFailed;
}

int RunExtractAll(const Options& options) {
    Outputs outputs(options.Command, options.NoClobber);
    OpenedArchive archive(options.Command, options.Source, options.Force, options.Table, outputs);
    if (!archive.Opened()) return ExitFailed;
    const std::vector<ListRow>& rows = archive.Rows();

    const std::vector<PlannedCopy> plan = PlanEntryFiles(rows, DRSCatalogue, options.Out, options.Table);
    return CopyEntries(options, archive, plan, true, outputs, &archive.Host()) ? ExitOk : ExitFailed;
}

int RunInfo(const Options& options) {
    Outputs outputs(options.Command, false);
    SLPFile sprite;
    std::string name;
    std::vector<SLPFrameInfo> frames;
    if (!OpenSprite(options, outputs, sprite, name, frames)) return ExitFailed;
    // Every frame is decoded, so that damage behind a sound frame table shows too.
    CliHost host;
    cDIBSection image, mask;
    std::vector<std::pair<size_t, std::string>> damaged;
    for (size_t i = 0; i < frames.size(); ++i) {
        const DecodeResult decoded = DecodeSLPFrame(sprite, frames[i], image, mask, false, host);
        if (decoded.Code == DecodeDamaged) damaged.emplace_back(i + 1, decoded.Detail);
    }

    std::string text;
    if (options.Json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array(), broken = nlohmann::ordered_json::array();
        for (size_t i = 0; i < frames.size(); ++i) {
            const SLPFrameInfo& f = frames[i];
            list.push_back({{"number", i + 1}, {"width", f.Width}, {"height", f.Height},
                            {"hotspot", {{"x", f.HotspotX}, {"y", f.HotspotY}}}, {"commandTableOffset", f.CommandTableOffset},
                            {"outlineTableOffset", f.OutlineTableOffset}, {"paletteOffset", f.PaletteOffset},
                            {"properties", f.Properties}});
        }
        for (const auto& [number, detail] : damaged) broken.push_back({{"frame", number}, {"detail", detail}});
        const nlohmann::ordered_json document = {{"sprite", name}, {"frames", std::move(list)}, {"damaged", std::move(broken)}};
        text = document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    } else {
        text = "frames " + std::to_string(frames.size()) + '\n';
        for (size_t i = 0; i < frames.size(); ++i) {
            const SLPFrameInfo& f = frames[i];
            for (int32_t field : {int32_t(i + 1), f.Width, f.Height, f.HotspotX, f.HotspotY, f.CommandTableOffset,
                                  f.OutlineTableOffset, f.PaletteOffset})
                text += std::to_string(field) + '\t';
            text += std::to_string(f.Properties) + '\n';
        }
    }
    if (!WriteStandardOutput(options.Command, text)) return ExitFailed;
    for (const auto& [number, detail] : damaged) Complain(options.Command, name, "frame " + std::to_string(number) + ": " + detail);
    return damaged.empty() ? ExitOk : ExitFailed;
}

int RunFrame(const Options& options) {
    Outputs outputs(options.Command, options.NoClobber);
    SLPFile sprite;
    std::string name;
    std::vector<SLPFrameInfo> frames;
    if (!OpenSprite(options, outputs, sprite, name, frames)) return ExitFailed;
    if (!FrameInRange(options, name, frames)) return ExitUsage;
    CliHost host;
    if (!PrepareColours(options, host, outputs)) return ExitFailed;
    cDIBSection image, mask;
    LayerColours colours = ScreenColours();
    colours.Player = options.Player;
    const DecodeResult decoded =
        DecodeSLPFrame(sprite, frames[static_cast<size_t>(options.Frame - 1)], image, mask, false, host, colours);
    if (decoded.Code == DecodeDamaged) {
        Complain(options.Command, name, "frame " + std::to_string(options.Frame) + ": " + decoded.Detail);
        return ExitFailed;
    }
    return outputs.Write(options.Out, image.EncodeBitmap()) == Outputs::Result::Failed ? ExitFailed : ExitOk;
}

namespace {

// The design's two exports of a whole sprite, from the command line: the sprite, its colours and the
// base path, then the export staged and its files placed in the order `names` gives them.
int RunDesignExport(const Options& options, std::vector<std::string> (*names)(const std::string& base, size_t frames),
                    int64_t (*bytes)(const std::vector<SLPFrameInfo>&),
                    Outcome (*run)(const SLPFile&, const std::string&, Host&, int32_t player, ExportReport*)) {
    Outputs outputs(options.Command, options.NoClobber);
    SLPFile sprite;
    std::string name, base;
    std::vector<SLPFrameInfo> frames;
    CliHost host;
    if (!ExportBase(options, base) || !OpenSprite(options, outputs, sprite, name, frames) ||
        !PrepareColours(options, host, outputs)) {
        return ExitFailed;
    }
    return StageAndPlace(options, name, base, names(base, frames.size()), bytes(frames), outputs,
                         [&](const std::string& staged, ExportReport& report) {
                             return run(sprite, staged, host, options.Player, &report);
                         });
}

std::vector<std::string> SequenceNames(const std::string& base, size_t frames) {
    std::vector<std::string> files;
    for (size_t i = 1; i <= frames; ++i) files.push_back(base + PadFrameNumber(static_cast<int32_t>(i)) + ".bmp");
    return files;
}

// The bitmaps first: the list goes last, once what it names is there.
std::vector<std::string> BundleNames(const std::string& base, size_t frames) {
    std::vector<std::string> files;
    for (size_t i = 1; i <= frames; ++i) {
        files.push_back(base + std::to_string(i) + "c.bmp");
        files.push_back(base + std::to_string(i) + "d.bmp");
    }
    files.push_back(base + ".slx");
    return files;
}

}  // namespace

int RunSequence(const Options& options) { return RunDesignExport(options, SequenceNames, SequenceFileBytes, ExportSequence); }

int RunSLX(const Options& options) { return RunDesignExport(options, BundleNames, BundleFileBytes, ExportSLX); }

int RunPalette(const Options& options) {
    CliHost host;
    if (!LoadPaletteFile(options.Command, options.Source, host)) return ExitFailed;
    std::string text;
    for (uint32_t colour : Palette)
        text += std::to_string(colour & 0xFF) + ' ' + std::to_string(colour >> 8 & 0xFF) + ' ' + std::to_string(colour >> 16 & 0xFF) + '\n';
    return WriteStandardOutput(options.Command, text) ? ExitOk : ExitFailed;
}

// ---- the formats of today's tools --------------------------------------------------------------------

ImageFormat ImageFormatOf(const std::string& name) {
    if (name == "apng") return ImageFormat::Apng;
    if (name == "gif") return ImageFormat::Gif;
    if (name == "sheet") return ImageFormat::Sheet;
    return ImageFormat::Png;
}

ImageExportOptions ImageOptionsOf(const Options& options) {
    return {{options.ShadowAlpha, options.Outlines, options.Player}, options.Fps, options.Frame, options.Players,
            options.SheetLayout == "hash"};
}

int RunExport(const Options& options) {
    const ImageFormat format = ImageFormatOf(options.Format);
    const ImageExportOptions settings = ImageOptionsOf(options);
    if (options.Frame != 0 && format != ImageFormat::Png) return Usage(options, "--frame goes with --format png");
    if (options.Players && format != ImageFormat::Sheet) return Usage(options, "--players goes with --format sheet");
    if (!options.SheetLayout.empty() && format != ImageFormat::Sheet) return Usage(options, "--sheet-layout goes with --format sheet");
    if (format == ImageFormat::Gif && options.Fps > MaxGifFps) return Usage(options, GifPaceLimit);
    if (format == ImageFormat::Sheet && !SheetNameFits(options.Out)) {
        return Usage(options, "a sheet is written as NAME.png and NAME.json: give OUT with .png, .json or no extension");
    }
    Outputs outputs(options.Command, options.NoClobber);
    SLPFile sprite;
    std::string name;
    std::vector<SLPFrameInfo> frames;
    CliHost host;
    if (!OpenSprite(options, outputs, sprite, name, frames) || !PrepareColours(options, host, outputs)) return ExitFailed;
    if (options.Frame != 0 && !FrameInRange(options, name, frames)) return ExitUsage;
    const std::vector<std::string> names = ImageExportNames(format, settings, options.Out, int32_t(frames.size()));
    if (options.Out == "-" && names.size() > 1) return Usage(options, "this format writes several files: give a name, not -");
    for (const std::string& path : names)
        if (!outputs.IsSafe(path)) return ExitFailed;

    std::vector<NamedFile> files;
    std::vector<std::string> notes;
    std::vector<int32_t> damaged;  // with --keep-going: the frames left out
    if (Outcome exported = ExportImages(sprite, format, settings, options.Out, files, notes, host, options.KeepGoing ? &damaged : nullptr);
        !exported) {
        Complain(options.Command, name, FailureReason(exported.Detail, name));
        return ExitFailed;
    }
    for (const std::string& note : notes) Complain(options.Command, name, note);
    if (!files.empty() && !outputs.Fits(files.front().Path, BytesOf(files))) return ExitFailed;
    int failed = 0;
    for (const NamedFile& file : files) {
        if (outputs.Write(file.Path, file.Bytes) != Outputs::Result::Failed) continue;
        if (!options.KeepGoing) {
            outputs.RemoveWritten();
            return ExitFailed;
        }
        ++failed;
    }
    if (failed == 0 && damaged.empty()) return ExitOk;
    SayWhatWasWritten(options, outputs, failed, damaged, " and left out");
    return ExitFailed;
}

// ---- thumbnails, for file managers ---------------------------------------------------------------------

namespace {

// A file manager waits for its thumbnail, so past this time the command gives up, whatever it is doing
// or waiting for. The clock starts once the command line is read; the rest of the second is for the
// program's start and exit.
constexpr long ThumbnailMicroseconds = 900'000;

// The line said when the time is up, made before the clock starts: the handler can only write it.
std::string tooLongLine;

void GiveUpThumbnail(int) {
    // Only write and _exit are safe here: nothing is flushed, and no temporary file exists yet.
    const ssize_t written = ::write(STDERR_FILENO, tooLongLine.data(), tooLongLine.size());
    (void)written;
    ::_exit(ExitFailed);
}

// Starts the thumbnail's clock, or with 0 stops it.
void SetThumbnailClock(long microseconds) {
    itimerval timer{};
    timer.it_value.tv_sec = microseconds / 1'000'000;
    timer.it_value.tv_usec = microseconds % 1'000'000;
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

int RunThumbnail(const Options& options) {
    tooLongLine = ComplaintLine(options.Command, options.Source == "-" ? "standard input" : options.Source,
                                "took too long; no thumbnail written");
    std::signal(SIGALRM, GiveUpThumbnail);
    SetThumbnailClock(ThumbnailMicroseconds);
    Outputs outputs(options.Command, false);
    // An archive by its first bytes, else a sprite.
    ReadOnlyFile archive;
    std::vector<uint8_t> bytes;
    if (options.Source == "-") {  // a sprite's limit, an archive's too: what is past it is left unread
        if (!ReadStandardInput(options.Command, MaxSLPFileBytes, bytes)) return ExitFailed;
    } else if (!archive.Open(options.Source)) {
        Complain(options.Command, options.Source, FailureReason("", options.Source, options.Source));
        return ExitFailed;
    }
    outputs.AddInput(options.Source);
    std::array<uint8_t, Magic2001.size()> magic{};
    const size_t got = options.Source == "-" ? std::min(bytes.size(), magic.size()) : archive.ReadAt(0, magic);
    if (options.Source == "-") std::copy_n(bytes.begin(), got, magic.begin());
    const std::string_view start(reinterpret_cast<const char*>(magic.data()), got);

    SLPFile sprite;
    sprite.Path = options.Source;
    const bool archived = HeaderAtOfMagic(start) != 0;
    if (archived) {
        if (options.Source == "-") archive.OpenBytes("standard input", std::move(bytes));
        CliHost host;
        if (ReadDRSCatalogue(archive, host).Code != CatalogueBuilt) {
            Complain(options.Command, options.Source, "damaged archive");
            return ExitFailed;
        }
        const std::vector<ListRow>& rows = host.Rows();
        const auto first = std::find_if(rows.begin(), rows.end(), [](const ListRow& row) { return row.ItemData == KindSLP; });
        if (first == rows.end()) {
            Complain(options.Command, options.Source, "holds no sprite");
            return ExitFailed;
        }
        if (Outcome read = ReadEntryBytes(archive, DRSCatalogue[size_t(first - rows.begin())], sprite.Bytes); !read) {
            Complain(options.Command, options.Source, read.Detail);
            return ExitFailed;
        }
    } else if (options.Source == "-") {
        sprite.Bytes = std::move(bytes);
    } else {  // a sprite, read from the file already open
        if (static_cast<uint64_t>(archive.Size()) > MaxSLPFileBytes) {
            Complain(options.Command, options.Source, "larger than a sprite Brindle reads");
            return ExitFailed;
        }
        sprite.Bytes.resize(static_cast<size_t>(archive.Size()));
        if (archive.ReadAt(0, sprite.Bytes) != sprite.Bytes.size()) {
            Complain(options.Command, options.Source, "cannot be read");
            return ExitFailed;
        }
    }

    // A file manager hands over any file: one whose header no sprite could have is named for what it is
    // not, rather than for the frame table a sound or a picture would cut off.
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!archived && !ParseSLPHeaders(sprite, header, frames)) {
        Complain(options.Command, options.Source == "-" ? "standard input" : options.Source, "not a sprite or an archive");
        return ExitFailed;
    }
    CliHost host;
    ResetColourChoices();
    (void)LoadPalette("", host);
    RgbaPicture thumbnail;
    std::vector<uint8_t> png;
    if (Outcome made = MakeThumbnail(sprite, options.Size, thumbnail, host); !made) {
        Complain(options.Command, options.Source, FailureReason(made.Detail, options.Source));
        return ExitFailed;
    }
    if (Outcome encoded = EncodePng(thumbnail, png); !encoded) {
        Complain(options.Command, options.Source, encoded.Detail);
        return ExitFailed;
    }
    SetThumbnailClock(0);  // a write cut short would leave its temporary file behind
    return outputs.Write(options.Out, png) == Outputs::Result::Failed ? ExitFailed : ExitOk;
}
