// brindle-cli export: a sprite in the formats of today's tools (PNG, animated PNG, GIF, a sheet with
// JSON), and the image options it shares with convert.

#include <thread>

#include "cli/Commands.h"
#include "cli/Inputs.h"
#include "export/ImageFiles.h"

void AddImageOptions(CLI::App* command, const std::vector<std::string>& formats, ImageChoice& image, ColourChoice& colours,
                     OutputChoice& output, ArchiveChoice& archive) {
    command->add_option("--format", image.Format, "png (transparent), apng, gif, sheet (PNG + JSON)" +
                                                      std::string(formats.size() > 4 ? ", bmp (the design's sequence)" : ""))
        ->required()
        ->check(CLI::IsMember(formats));
    AddPalette(command, colours);
    command->add_option("--fps", image.Fps, "Frames a second of an animation (GIF at most 50), and a sheet's durations (default 10)")
        ->check(CLI::Range(1, 100));
    command->add_option("--shadow-alpha", image.ShadowAlpha, "Opacity of shadows, 0 to 255 (default 128; 0 leaves them out)")
        ->check(CLI::Range(0, 255));
    command->add_option("--sheet-layout", image.SheetLayout,
                        "With sheet: the JSON's frames as a list (array, the default) or an object keyed by name (hash)")
        ->check(CLI::IsMember({"hash", "array"}));
    command->add_flag("--outlines", image.Outlines, "Draw the outlines, opaque: inner pure blue, outer yellow");
    AddPlayer(command, colours);
    AddNoClobber(command, output);
    AddForce(command, archive);
}

int CheckImageChoice(const CommandLine& line, const ImageChoice& image) {
    if (!image.SheetLayout.empty() && image.Format != "sheet") return Usage(line, "--sheet-layout goes with --format sheet");
    if (image.Format == "gif" && image.Fps > MaxGifFps) {
        return Usage(line, "GIF plays at most " + std::to_string(MaxGifFps) + " frames a second");
    }
    return ExitOk;
}

ImageFormat ImageFormatOf(const std::string& name) {
    if (name == "apng") return ImageFormat::Apng;
    if (name == "gif") return ImageFormat::Gif;
    if (name == "sheet") return ImageFormat::Sheet;
    return ImageFormat::Png;
}

ImageExportOptions ImageOptionsOf(const ImageChoice& image, int32_t player, int32_t frame, bool players) {
    return {{image.ShadowAlpha, image.Outlines, player}, image.Fps, frame, players, image.SheetLayout == "hash"};
}

namespace {

struct ExportOptions : CommandLine {
    SpriteChoice Sprite;
    OutputChoice Output;
    ColourChoice Colours;
    ImageChoice Image;
    int32_t Frame = 0;     // --frame: with png, this frame alone
    bool Players = false;  // --players: a sheet of every team
    bool Layers = false;   // --layers: the sheet's layers beside it
};

// The usage errors of export's command line whatever the sprite, said; ExitOk when there are none.
int CheckExportLine(const ExportOptions& options, ImageFormat format) {
    if (options.Frame != 0 && format != ImageFormat::Png) return Usage(options, "--frame goes with --format png");
    if (options.Players && format != ImageFormat::Sheet) return Usage(options, "--players goes with --format sheet");
    if (options.Layers && format != ImageFormat::Sheet) return Usage(options, "--layers goes with --format sheet");
    if (const int usage = CheckImageChoice(options, options.Image); usage != ExitOk) return usage;
    if (format == ImageFormat::Sheet && !SheetNameFits(options.Output.Out)) {
        return Usage(options, "a sheet is written as NAME.png and NAME.json: give OUT with .png, .json or no extension");
    }
    return ExitOk;
}

// Writes the exported files; without --keep-going the first failure takes back every file written.
int WriteExported(const ExportOptions& options, const std::vector<NamedFile>& files, const std::vector<int32_t>& damaged,
                  Outputs& outputs) {
    if (!files.empty() && !outputs.Fits(files.front().Path, BytesOf(files))) return ExitFailed;
    int failed = 0;
    for (const NamedFile& file : files) {
        if (outputs.Write(file.Path, file.Bytes) != Outputs::Result::Failed) continue;
        if (!options.Output.KeepGoing) {
            outputs.RemoveWritten();
            return ExitFailed;
        }
        ++failed;
    }
    if (failed == 0 && damaged.empty()) return ExitOk;
    SayWhatWasWritten(options, options.Output.Out, outputs, failed, damaged, " and left out");
    return ExitFailed;
}

int RunExport(const ExportOptions& options) {
    const ImageFormat format = ImageFormatOf(options.Image.Format);
    ImageExportOptions settings = ImageOptionsOf(options.Image, options.Colours.Player, options.Frame, options.Players);
    settings.Threads = int(std::max(1u, std::thread::hardware_concurrency()));  // one sprite: its frames use the cores
    settings.SheetLayers = options.Layers;
    if (const int usage = CheckExportLine(options, format); usage != ExitOk) return usage;
    Outputs outputs(options.Command, options.Output.NoClobber);
    OpenedSprite sprite;
    CliHost host;
    if (!OpenSprite(options, options.Sprite, outputs, sprite) || !PrepareColours(options, options.Colours, outputs)) {
        return ExitFailed;
    }
    const std::string& name = sprite.Name;
    if (options.Frame != 0 && !FrameInRange(options, options.Frame, name, sprite.Frames)) return ExitUsage;
    const std::vector<std::string> names = ImageExportNames(format, settings, options.Output.Out, int32_t(sprite.Frames.size()));
    if (options.Output.Out == "-" && names.size() > 1) return Usage(options, "this format writes several files: give a name, not -");
    for (const std::string& path : names)
        if (!outputs.IsSafe(path)) return ExitFailed;

    std::vector<NamedFile> files;
    std::vector<std::string> notes;
    std::vector<int32_t> damaged;  // with --keep-going: the frames left out
    if (Outcome exported = ExportImages(sprite.File, format, settings, options.Output.Out, files, notes, host,
                                        options.Output.KeepGoing ? &damaged : nullptr);
        !exported) {
        Complain(options.Command, name, FailureReason(exported));
        return ExitFailed;
    }
    for (const std::string& note : notes) Complain(options.Command, name, note);
    return WriteExported(options, files, damaged, outputs);
}

}  // namespace

void AddExportCommand(CLI::App& app, CommandTable& table) {
    const auto [exportImages, options] = AddCommand(
        app, table, "export", "Export a sprite as PNG, animated PNG or GIF, or a sprite sheet with JSON", RunExport);
    AddSpriteChoice(exportImages, *options, options->Sprite);
    exportImages->add_option("OUT", options->Output.Out,
                             "File to write; png without --frame writes a numbered sequence, sheet NAME.png and NAME.json "
                             "(OUT ends in .png, .json or nothing) (- is standard output)")
        ->required();
    exportImages->add_option("--frame", options->Frame, "With png: this frame alone, at its own size")->check(CLI::PositiveNumber);
    AddImageOptions(exportImages, {"png", "apng", "gif", "sheet"}, options->Image, options->Colours, options->Output,
                    options->Sprite.Archive);
    exportImages->add_flag("--players", options->Players, "With sheet: a row of the frames for each team, players 1 to 8")
        ->excludes("--player");
    exportImages->add_flag("--layers", options->Layers,
                           "With sheet: NAME.layers.png beside it, each pixel's layer in its colour of an SLX mask, "
                           "so that encode reads the sheet back exactly");
    AddKeepGoing(exportImages, options->Output);
    exportImages->footer("Examples: brindle-cli export walker.slp walk.png --format png        (walk001.png, walk002.png, ...)\n"
                         "          brindle-cli export demo.drs --id 1000 walk.gif --format gif --fps 12\n"
                         "          brindle-cli export walker.slp walk --format sheet         (walk.png and walk.json)\n"
                         "          brindle-cli export walker.slp walk --format sheet --layers  (and walk.layers.png)\n"
                         "          brindle-cli export walker.slp teams.png --format sheet --players");
}
