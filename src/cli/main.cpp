// brindle-cli: the core's routines from the command line, for batch work and scripts.
// Data go to stdout; each message is one line on stderr, "brindle-cli: COMMAND: FILE: what went wrong".
// Exit 0 on success, 1 when the work failed, 2 when the command line can't be carried out.

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>
#include <string_view>

#include "cli/CliHost.h"
#include "cli/Commands.h"
#include "cli/Outputs.h"

namespace {

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

const CLI::Validator ColourText(
    [](std::string& text) -> std::string {
        bool ok = text.size() == 7 && text[0] == '#';
        for (size_t i = 1; ok && i < text.size(); ++i) ok = IsHexDigit(text[i]);
        return ok ? std::string() : "a colour is written #RRGGBB, e.g. #FF00FF";
    },
    "#RRGGBB");

void AddForce(CLI::App* command, Options& options) {
    command->add_flag("--force", options.Force, "Read an archive of neither known flavour anyway");
}

void AddNoClobber(CLI::App* command, Options& options) {
    command->add_flag("-n,--no-clobber", options.NoClobber, "Keep a file that exists already, and go on with the rest");
}

void AddKeepGoing(CLI::App* command, Options& options) {
    command->add_flag("--keep-going", options.KeepGoing,
                      "When a file fails, keep the ones written and go on; without it, a failure leaves no file of this run");
}

// --id ID, as often as wanted, and --table TAG.
void AddEntryChoice(CLI::App* command, Options& options, const std::string& what) {
    command->add_option("--id", options.IDs, what)->allow_extra_args(false);
    command->add_option("--table", options.Table, "Only the table of this name, as `list` shows it (any case)");
}

void AddPalette(CLI::App* command, Options& options) {
    command->add_option("--palette", options.PalettePath, "Palette instead of the default one: JASC-PAL, RIFF PAL, GIMP .gpl or Adobe .act (- reads standard input)");
}

void AddPlayer(CLI::App* command, Options& options) {
    command->add_option("--player", options.Player,
                        "Draw player pixels in this team's colours, 1 to 8: blue, red, green, yellow, orange, cyan, "
                        "purple, grey (default 1)")
        ->check(CLI::Range(1, 8));
}

void AddColourOption(CLI::App* command, const std::string& name, std::string& target, const std::string& what) {
    command->add_option(name, target, what)->check(ColourText);
}

constexpr std::string_view CommandNames =
    "list, extract, extract-all, info, frame, sequence, slx, palette, export, convert, thumbnail";

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    (void)ProcessUmask();  // read while this is the only thread
    Options options;
    CLI::App app{"Lists and extracts the entries of DRS archives, and exports their SLP sprites.\n"
                 "A file named - is standard input, or standard output where one file is written."};
    app.set_version_flag("-V,--version", std::string("brindle-cli ") + BRINDLE_VERSION);
    app.require_subcommand(1);
    app.footer(std::string("Commands: ") + std::string(CommandNames) + ". Each has its own --help.");

    CLI::App* list = app.add_subcommand("list", "List the archive's tables and entries: text, kind, ID, offset, size");
    list->add_option("ARCHIVE", options.Source, "DRS archive")->required();
    list->add_flag("--long", options.Long, "A header line, the row number and kind names (slp, wav, bin, other, heading)");
    list->add_flag("--json", options.Json, "One JSON document: each row's number, text, kind name, ID, offset and size");
    AddForce(list, options);
    list->footer("Example: brindle-cli list --long demo.drs");

    CLI::App* extract = app.add_subcommand("extract", "Copy entries out: one by its row or ID, or several IDs into a folder");
    extract->add_option("ARCHIVE", options.Source, "DRS archive")->required();
    extract->add_option("ARGS", options.Positionals, "ROW OUT: the list row (from 0, as `list` prints it) and the file; "
                                                     "with --id only OUT (- is standard output)");
    AddEntryChoice(extract, options, "The entry's ID, as `list` shows it; repeat it with -o DIR for several");
    extract->add_option("-o,--output-folder", options.OutFolder, "Folder for the entries of several IDs, named as extract-all names them");
    AddNoClobber(extract, options);
    AddKeepGoing(extract, options);
    AddForce(extract, options);
    extract->footer("Examples: brindle-cli extract demo.drs --id 1000 walker.slp\n"
                    "          brindle-cli extract demo.drs --id 1000 --id 5000 -o entries/\n"
                    "          brindle-cli extract demo.drs 1 walker.slp");

    bool extractAllKeepsGoing = true;
    CLI::App* extractAll = app.add_subcommand("extract-all", "Copy every entry out, one folder per table");
    extractAll->add_option("ARCHIVE", options.Source, "DRS archive")->required();
    extractAll->add_option("DIR", options.Out, "Folder to write into")->required();
    extractAll->add_option("--table", options.Table, "Only the table of this name, as `list` shows it (any case)");
    AddNoClobber(extractAll, options);
    extractAll->add_flag("--keep-going,!--no-keep-going", extractAllKeepsGoing,
                         "After a failure go on with the rest (the default); --no-keep-going stops and removes what this run wrote");
    AddForce(extractAll, options);
    extractAll->footer("Example: brindle-cli extract-all demo.drs entries/ --table slp");

    CLI::App* info = app.add_subcommand("info", "Show a sprite's frame table, and which frames are damaged");
    info->add_option("SPRITE", options.Source, "SLP file (- reads standard input), or the archive with --id")->required();
    AddEntryChoice(info, options, "Read the sprite of this ID from the archive given as SPRITE");
    info->add_flag("--json", options.Json, "One JSON document: the frames and the damaged ones");
    AddForce(info, options);
    info->footer("Example: brindle-cli info walker.slp");

    CLI::App* frame = app.add_subcommand("frame", "Save one frame of a sprite as a BMP file");
    frame->add_option("SPRITE", options.Source, "SLP file (- reads standard input), or the archive with --id")->required();
    frame->add_option("N", options.Frame, "Frame number, from 1")->required();
    frame->add_option("OUT", options.Out, "BMP file to write (- is standard output)")->required();
    AddEntryChoice(frame, options, "Read the sprite of this ID from the archive given as SPRITE");
    AddPalette(frame, options);
    AddColourOption(frame, "--mask", options.Mask, "Background colour");
    AddColourOption(frame, "--shadow", options.Shadow, "Shadow colour");
    AddColourOption(frame, "--inner", options.Inner, "Inner outline colour");
    AddColourOption(frame, "--outer", options.Outer, "Outer outline colour");
    AddPlayer(frame, options);
    AddNoClobber(frame, options);
    AddForce(frame, options);
    frame->footer("Example: brindle-cli frame demo.drs --id 1000 3 walk3.bmp --mask '#00FF00'");

    CLI::App* sequence = app.add_subcommand("sequence", "Save all frames as OUT001.bmp, ... on one canvas");
    sequence->add_option("SPRITE", options.Source, "SLP file (- reads standard input), or the archive with --id")->required();
    sequence->add_option("OUT", options.Out, "Name of the sequence, e.g. out/walk.bmp")->required();
    AddEntryChoice(sequence, options, "Read the sprite of this ID from the archive given as SPRITE");
    AddPalette(sequence, options);
    AddColourOption(sequence, "--mask", options.Mask, "Background colour");
    AddPlayer(sequence, options);
    AddNoClobber(sequence, options);
    AddKeepGoing(sequence, options);
    AddForce(sequence, options);
    sequence->footer("Example: brindle-cli sequence walker.slp out/walk.bmp");

    CLI::App* slx = app.add_subcommand("slx", "Export a sprite as an SLX bundle: OUT.slx and two BMP files a frame");
    slx->add_option("SPRITE", options.Source, "SLP file (- reads standard input), or the archive with --id")->required();
    slx->add_option("OUT", options.Out, "Name of the bundle, e.g. out/walk.slx")->required();
    AddEntryChoice(slx, options, "Read the sprite of this ID from the archive given as SPRITE");
    AddPalette(slx, options);
    AddPlayer(slx, options);
    AddNoClobber(slx, options);
    AddKeepGoing(slx, options);
    AddForce(slx, options);
    slx->footer("Example: brindle-cli slx walker.slp out/walk.slx");

    auto addImageOptions = [&](CLI::App* command, std::vector<std::string> formats) {
        command->add_option("--format", options.Format, "png (transparent), apng, gif, sheet (PNG + JSON)" +
                                                            std::string(formats.size() > 4 ? ", bmp (the design's sequence)" : ""))
            ->required()
            ->check(CLI::IsMember(formats));
        AddPalette(command, options);
        command->add_option("--fps", options.Fps, "Frames a second of an animation (GIF at most 50), and a sheet's durations (default 10)")
            ->check(CLI::Range(1, 100));
        command->add_option("--shadow-alpha", options.ShadowAlpha, "Opacity of shadows, 0 to 255 (default 128; 0 leaves them out)")
            ->check(CLI::Range(0, 255));
        command->add_option("--sheet-layout", options.SheetLayout,
                            "With sheet: the JSON's frames as a list (array, the default) or an object keyed by name (hash)")
            ->check(CLI::IsMember({"hash", "array"}));
        command->add_flag("--outlines", options.Outlines, "Draw the outlines, opaque: inner pure blue, outer yellow");
        AddPlayer(command, options);
        AddNoClobber(command, options);
        AddForce(command, options);
    };

    CLI::App* exportImages = app.add_subcommand("export", "Export a sprite as PNG, animated PNG or GIF, or a sprite sheet with JSON");
    exportImages->add_option("SPRITE", options.Source, "SLP file (- reads standard input), or the archive with --id")->required();
    exportImages->add_option("OUT", options.Out, "File to write; png without --frame writes a numbered sequence, sheet NAME.png and NAME.json "
                                                    "(OUT ends in .png, .json or nothing) (- is standard output)")
        ->required();
    AddEntryChoice(exportImages, options, "Read the sprite of this ID from the archive given as SPRITE");
    exportImages->add_option("--frame", options.Frame, "With png: this frame alone, at its own size")->check(CLI::PositiveNumber);
    addImageOptions(exportImages, {"png", "apng", "gif", "sheet"});
    exportImages->add_flag("--players", options.Players, "With sheet: a row of the frames for each team, players 1 to 8")
        ->excludes("--player");
    AddKeepGoing(exportImages, options);
    exportImages->footer("Examples: brindle-cli export walker.slp walk.png --format png        (walk001.png, walk002.png, ...)\n"
                         "          brindle-cli export demo.drs --id 1000 walk.gif --format gif --fps 12\n"
                         "          brindle-cli export walker.slp walk --format sheet         (walk.png and walk.json)\n"
                         "          brindle-cli export walker.slp teams.png --format sheet --players");

    CLI::App* convert = app.add_subcommand("convert", "Export every sprite of an archive, on every core");
    convert->add_option("ARCHIVE", options.Source, "DRS archive")->required();
    convert->add_option("DIR", options.Out, "Folder to write into, one folder per table as extract-all makes them")->required();
    convert->add_option("--table", options.Table, "Only the table of this name, as `list` shows it (any case)");
    convert->add_option("--jobs", options.Jobs, "Sprites converted at once (default: one a core)")->check(CLI::Range(1, 256));
    addImageOptions(convert, {"png", "apng", "gif", "sheet", "bmp"});
    convert->footer("Example: brindle-cli convert demo.drs sprites/ --format sheet --jobs 2");

    CLI::App* thumbnail = app.add_subcommand("thumbnail", "A PNG thumbnail of a sprite's first frame, or of an archive's first sprite");
    thumbnail->add_option("INPUT", options.Source, "SLP sprite or DRS archive (- reads standard input)")->required();
    thumbnail->add_option("OUTPUT", options.Out, "PNG file to write (- is standard output)")->required();
    thumbnail->add_option("SIZE", options.Size, "Largest width and height, in pixels")->required()->check(CLI::Range(1, 4096));
    thumbnail->footer("Example: brindle-cli thumbnail demo.drs demo.png 128   (as file managers run it)");

    CLI::App* palette = app.add_subcommand("palette", "Print a palette as 256 lines \"R G B\"");
    palette->add_option("PAL", options.Source, "JASC-PAL, RIFF PAL, GIMP .gpl or Adobe .act file (- reads standard input)")->required();
    palette->footer("Example: brindle-cli palette 50532.pal");

    // An unknown command is named, with the ones there are.
    if (argc < 2) {
        std::cerr << "brindle-cli: no command given; the commands are " << CommandNames << " (see brindle-cli --help)\n";
        return ExitUsage;
    }
    const std::string first = argv[1];
    const auto known = app.get_subcommands([&](CLI::App* command) { return command->get_name() == first; });
    if (!first.starts_with("-") && known.empty()) {
        Complain(first, "", "unknown command; the commands are " + std::string(CommandNames));
        return ExitUsage;
    }

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(error);  // --help, --version
        const bool named = !first.starts_with("-");
        Complain(named ? first : "", "", std::string(error.what()) + " (see brindle-cli " + (named ? first + " " : "") + "--help)");
        return ExitUsage;
    }

    const std::pair<CLI::App*, int (*)(const Options&)> commands[] = {
        {list, RunList},   {extract, RunExtract},   {extractAll, RunExtractAll}, {info, RunInfo},
        {frame, RunFrame}, {sequence, RunSequence}, {slx, RunSLX},               {palette, RunPalette},
        {exportImages, RunExport}, {convert, RunConvert}, {thumbnail, RunThumbnail},
    };
    for (const auto& [command, run] : commands) {
        if (!command->parsed()) continue;
        options.Command = command->get_name();
        if (command == extractAll) options.KeepGoing = extractAllKeepsGoing;
        try {
            return run(options);
        } catch (const std::exception& error) {
            Complain(options.Command, options.Source, error.what());
            return ExitFailed;
        }
    }
    return ExitUsage;
}
