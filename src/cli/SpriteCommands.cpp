// brindle-cli info, frame, sequence and slx: a sprite's frame table, and the design's own bitmaps of it.

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/Functions.h"
#include "cli/Commands.h"
#include "cli/Inputs.h"
#include "colour/Colours.h"
#include "export/SLPExports.h"

namespace fs = std::filesystem;

bool OpenSprite(const CommandLine& line, const SpriteChoice& choice, Outputs& outputs, OpenedSprite& sprite) {
    if (!LoadSprite(line.Command, line.Source, choice.IDs, choice.Archive.Table, choice.Archive.Force, outputs, sprite.File,
                    sprite.Name)) {
        return false;
    }
    SLPHeader header;
    if (Outcome read = ParseSLPHeaders(sprite.File, header, sprite.Frames); !read) {
        Complain(line.Command, sprite.Name, FailureReason(read));
        return false;
    }
    return true;
}

bool FrameInRange(const CommandLine& line, int32_t frame, const std::string& name, const std::vector<SLPFrameInfo>& frames) {
    if (frame >= 1 && static_cast<size_t>(frame) <= frames.size()) return true;
    Complain(line.Command, name, "has frames 1 to " + std::to_string(frames.size()) + "; there is no frame " +
                                     std::to_string(frame) + " (see brindle-cli " + line.Command + " --help)");
    return false;
}

namespace {

struct InfoOptions : CommandLine {
    SpriteChoice Sprite;
    bool Json = false;
};

struct FrameOptions : CommandLine {
    SpriteChoice Sprite;
    int32_t Frame = 0;
    OutputChoice Output;
    ColourChoice Colours;
};

// sequence and slx: the whole sprite as the design exports it.
struct DesignExportOptions : CommandLine {
    SpriteChoice Sprite;
    OutputChoice Output;
    ColourChoice Colours;
};

// ---- info ------------------------------------------------------------------------------------------

using DamagedFrames = std::vector<std::pair<size_t, std::string>>;  // number and detail

std::string InfoAsJson(const std::string& name, const std::vector<SLPFrameInfo>& frames, const DamagedFrames& damaged) {
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
    return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string InfoAsText(const std::vector<SLPFrameInfo>& frames) {
    std::string text = "frames " + std::to_string(frames.size()) + '\n';
    for (size_t i = 0; i < frames.size(); ++i) {
        const SLPFrameInfo& f = frames[i];
        for (int32_t field : {int32_t(i + 1), f.Width, f.Height, f.HotspotX, f.HotspotY, f.CommandTableOffset,
                              f.OutlineTableOffset, f.PaletteOffset})
            text += std::to_string(field) + '\t';
        text += std::to_string(f.Properties) + '\n';
    }
    return text;
}

int RunInfo(const InfoOptions& options) {
    Outputs outputs(options.Command, false);
    OpenedSprite sprite;
    if (!OpenSprite(options, options.Sprite, outputs, sprite)) return ExitFailed;
    const std::vector<SLPFrameInfo>& frames = sprite.Frames;
    // Every frame is decoded, so that damage behind a sound frame table shows too.
    CliHost host;
    cDIBSection image, mask;
    DamagedFrames damaged;
    for (size_t i = 0; i < frames.size(); ++i) {
        const DecodeResult decoded = DecodeSLPFrame(sprite.File, frames[i], image, mask, false, host);
        if (decoded.Code == Fault::Damaged) damaged.emplace_back(i + 1, decoded.Detail);
    }
    const std::string text = options.Json ? InfoAsJson(sprite.Name, frames, damaged) : InfoAsText(frames);
    if (!WriteStandardOutput(options.Command, text)) return ExitFailed;
    for (const auto& [number, detail] : damaged) Complain(options.Command, sprite.Name, "frame " + std::to_string(number) + ": " + detail);
    return damaged.empty() ? ExitOk : ExitFailed;
}

// ---- frame -----------------------------------------------------------------------------------------

int RunFrame(const FrameOptions& options) {
    Outputs outputs(options.Command, options.Output.NoClobber);
    OpenedSprite sprite;
    if (!OpenSprite(options, options.Sprite, outputs, sprite)) return ExitFailed;
    if (!FrameInRange(options, options.Frame, sprite.Name, sprite.Frames)) return ExitUsage;
    CliHost host;
    if (!PrepareColours(options, options.Colours, outputs)) return ExitFailed;
    cDIBSection image, mask;
    LayerColours colours = ScreenColours();
    colours.Player = options.Colours.Player;
    const DecodeResult decoded =
        DecodeSLPFrame(sprite.File, sprite.Frames[static_cast<size_t>(options.Frame - 1)], image, mask, false, host, colours);
    if (decoded.Code == Fault::Damaged) {
        Complain(options.Command, sprite.Name, "frame " + std::to_string(options.Frame) + ": " + decoded.Detail);
        return ExitFailed;
    }
    return outputs.Write(options.Output.Out, image.EncodeBitmap()) == Outputs::Result::Failed ? ExitFailed : ExitOk;
}

// ---- sequence and slx ------------------------------------------------------------------------------

// Places the files an export staged under their names, in the order given: a file that could not be
// written whole is never placed. Without --keep-going the first failure takes back every file placed;
// the number that failed, or -1 after such a failure.
int PlaceStaged(const DesignExportOptions& options, const StagingFolder& staging, const std::vector<std::string>& unfinished,
                const std::vector<std::string>& outputsInOrder, Outputs& outputs) {
    int failed = 0;
    for (const std::string& path : outputsInOrder) {
        const std::string staged = staging.Path() + FileOfPath(path);
        std::error_code error;
        if (!fs::exists(staged, error)) continue;
        const bool whole = std::find(unfinished.begin(), unfinished.end(), staged) == unfinished.end();
        if (!whole || outputs.Place(staged, path) == Outputs::Result::Failed) {
            if (!options.Output.KeepGoing) {
                outputs.RemoveWritten();
                return -1;
            }
            ++failed;
        }
    }
    return failed;
}

// Runs an export into a staging folder beside the outputs, then places its files under their names,
// in the order given. Nothing lands under a name before the whole export has run, and nothing at all
// when the files would not fit; without --keep-going a failure leaves no file of this run behind, and
// with it a file that could not be written whole is never placed, but counted as failed.
template <typename Export>
int StageAndPlace(const DesignExportOptions& options, const std::string& name, const std::string& base,
                  const std::vector<std::string>& outputsInOrder, int64_t bytes, Outputs& outputs, Export run) {
    for (const std::string& path : outputsInOrder)
        if (!outputs.IsSafe(path)) return ExitFailed;
    if (!outputs.Fits(options.Output.Out, static_cast<uint64_t>(bytes))) return ExitFailed;
    StagingFolder staging(options.Command, base);
    if (!staging.Made()) {
        Complain(options.Command, options.Output.Out, staging.Error());
        return ExitFailed;
    }
    ExportReport report;
    const Outcome exported = run(staging.Path() + FileOfPath(base), report);
    if (!exported) {
        Complain(options.Command, name, FailureReason(exported));
        if (!options.Output.KeepGoing) return ExitFailed;
    }
    const int failed = PlaceStaged(options, staging, report.Unfinished, outputsInOrder, outputs);
    if (failed < 0) return ExitFailed;
    if (!exported || failed > 0) {
        SayWhatWasWritten(options, options.Output.Out, outputs, failed, report.DamagedFrames);
        return ExitFailed;
    }
    return ExitOk;
}

// The base path of an export from the name given, as the save dialog would hand it back: absolute,
// without its extension.
bool ExportBase(const DesignExportOptions& options, std::string& base) {
    if (options.Output.Out == "-") {
        Usage(options, "writes several files: give a name such as out/walk.bmp, not -");
        return false;
    }
    std::error_code error;
    const fs::path absolute = fs::absolute(options.Output.Out, error);
    if (error) {
        Complain(options.Command, options.Output.Out, error.message());
        return false;
    }
    base = ExportBasePath(absolute.string());
    return true;
}

// The design's two exports of a whole sprite, from the command line: the sprite, its colours and the
// base path, then the export staged and its files placed in the order `names` gives them.
int RunDesignExport(const DesignExportOptions& options, std::vector<std::string> (*names)(const std::string& base, size_t frames),
                    int64_t (*bytes)(const std::vector<SLPFrameInfo>&),
                    Outcome (*run)(const SLPFile&, const std::string&, Host&, int32_t player, ExportReport*)) {
    Outputs outputs(options.Command, options.Output.NoClobber);
    OpenedSprite sprite;
    std::string base;
    CliHost host;
    if (!ExportBase(options, base) || !OpenSprite(options, options.Sprite, outputs, sprite) ||
        !PrepareColours(options, options.Colours, outputs)) {
        return ExitFailed;
    }
    return StageAndPlace(options, sprite.Name, base, names(base, sprite.Frames.size()), bytes(sprite.Frames), outputs,
                         [&](const std::string& staged, ExportReport& report) {
                             return run(sprite.File, staged, host, options.Colours.Player, &report);
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

int RunSequence(const DesignExportOptions& options) { return RunDesignExport(options, SequenceNames, SequenceFileBytes, ExportSequence); }

int RunSLX(const DesignExportOptions& options) { return RunDesignExport(options, BundleNames, BundleFileBytes, ExportSLX); }

// ---- the command line ------------------------------------------------------------------------------

void AddInfo(CLI::App& app, CommandTable& table) {
    const auto [info, options] = AddCommand(app, table, "info", "Show a sprite's frame table, and which frames are damaged", RunInfo);
    AddSpriteChoice(info, *options, options->Sprite);
    info->add_flag("--json", options->Json, "One JSON document: the frames and the damaged ones");
    AddForce(info, options->Sprite.Archive);
    info->footer("Example: brindle-cli info walker.slp");
}

void AddFrame(CLI::App& app, CommandTable& table) {
    const auto [frame, options] = AddCommand(app, table, "frame", "Save one frame of a sprite as a BMP file", RunFrame);
    AddSpriteChoice(frame, *options, options->Sprite);
    frame->add_option("N", options->Frame, "Frame number, from 1")->required();
    frame->add_option("OUT", options->Output.Out, "BMP file to write (- is standard output)")->required();
    AddPalette(frame, options->Colours);
    AddColour(frame, "--mask", options->Colours.Mask, "Background colour");
    AddColour(frame, "--shadow", options->Colours.Shadow, "Shadow colour");
    AddColour(frame, "--inner", options->Colours.Inner, "Inner outline colour");
    AddColour(frame, "--outer", options->Colours.Outer, "Outer outline colour");
    AddPlayer(frame, options->Colours);
    AddNoClobber(frame, options->Output);
    AddForce(frame, options->Sprite.Archive);
    frame->footer("Example: brindle-cli frame demo.drs --id 1000 3 walk3.bmp --mask '#00FF00'");
}

// sequence and slx, alike but for --mask.
CLI::App* AddDesignExport(CLI::App& app, CommandTable& table, const std::string& name, const std::string& about,
                          int (*run)(const DesignExportOptions&), const std::string& out, bool mask) {
    const auto [command, options] = AddCommand(app, table, name, about, run);
    AddSpriteChoice(command, *options, options->Sprite);
    command->add_option("OUT", options->Output.Out, out)->required();
    AddPalette(command, options->Colours);
    if (mask) AddColour(command, "--mask", options->Colours.Mask, "Background colour");
    AddPlayer(command, options->Colours);
    AddNoClobber(command, options->Output);
    AddKeepGoing(command, options->Output);
    AddForce(command, options->Sprite.Archive);
    return command;
}

}  // namespace

void AddSpriteCommands(CLI::App& app, CommandTable& table) {
    AddInfo(app, table);
    AddFrame(app, table);
    AddDesignExport(app, table, "sequence", "Save all frames as OUT001.bmp, ... on one canvas", RunSequence,
                    "Name of the sequence, e.g. out/walk.bmp", true)
        ->footer("Example: brindle-cli sequence walker.slp out/walk.bmp");
    AddDesignExport(app, table, "slx", "Export a sprite as an SLX bundle: OUT.slx and two BMP files a frame", RunSLX,
                    "Name of the bundle, e.g. out/walk.slx", false)
        ->footer("Example: brindle-cli slx walker.slp out/walk.slx");
}
