#pragma once
// brindle-cli's commands, by family: each family adds its subcommands and their options to the app,
// and puts what runs each one in the table main dispatches from. A command returns the exit status:
// 0 done, 1 the work failed (said on stderr), 2 the command line can't be carried out.

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/CliHost.h"
#include "cli/Outputs.h"
#include "export/ImageExports.h"
#include "slp/SLPCodeNew.h"

inline constexpr int ExitOk = 0;
inline constexpr int ExitFailed = 1;
inline constexpr int ExitUsage = 2;

// What every command's lines name: the command as typed, and the archive, sprite or palette it reads.
struct CommandLine {
    std::string Command;
    std::string Source;
};

// --table and --force: one table of the archive (any case), and an archive of neither known flavour read anyway.
struct ArchiveChoice {
    std::string Table;
    bool Force = false;
};

// A sprite: the SLP file SOURCE, or with --id that entry of the archive SOURCE.
struct SpriteChoice {
    std::vector<int32_t> IDs;
    ArchiveChoice Archive;
};

// The file or folder written, and what becomes of the files there and of a run that fails part-way.
struct OutputChoice {
    std::string Out;
    bool NoClobber = false;
    bool KeepGoing = false;
};

// The palette and colours a sprite is drawn in; colours as typed, "#RRGGBB", empty when not given.
struct ColourChoice {
    std::string PalettePath;
    std::string Mask, Shadow, Inner, Outer;
    int32_t Player = 1;  // the team colours of player pixels, 1 to 8
};

// The command line's table of commands: each subcommand, and what runs it once the line is read.
struct CommandEntry {
    CLI::App* App = nullptr;
    const CommandLine* Line = nullptr;  // for the line said when the command throws
    std::function<int()> Run;
};
using CommandTable = std::vector<CommandEntry>;

// Adds the subcommand `name` with its own options, which live as long as the table does, and the
// entry that runs it on them.
template <typename Options>
std::pair<CLI::App*, Options*> AddCommand(CLI::App& app, CommandTable& table, const std::string& name,
                                          const std::string& about, int (*run)(const Options&)) {
    auto options = std::make_shared<Options>();
    options->Command = name;
    CLI::App* command = app.add_subcommand(name, about);
    table.push_back({command, options.get(), [options, run] { return run(*options); }});
    return {command, options.get()};
}

// The families, in the order the help lists their commands.
void AddArchiveCommands(CLI::App& app, CommandTable& table);  // list, extract, extract-all
void AddPackCommands(CLI::App& app, CommandTable& table);     // pack, diff
void AddSpriteCommands(CLI::App& app, CommandTable& table);   // info, frame, sequence, slx
void AddExportCommand(CLI::App& app, CommandTable& table);    // export
void AddConvertCommand(CLI::App& app, CommandTable& table);   // convert
void AddEncodeCommand(CLI::App& app, CommandTable& table);    // encode
void AddThumbnailCommand(CLI::App& app, CommandTable& table); // thumbnail
void AddPaletteCommand(CLI::App& app, CommandTable& table);   // palette

// ---- what the families share (Commands.cpp) ----------------------------------------------------------

// A usage error, said in one line that points at the command's --help; returns ExitUsage.
int Usage(const CommandLine& line, const std::string& reason);

void AddForce(CLI::App* command, ArchiveChoice& archive);
void AddNoClobber(CLI::App* command, OutputChoice& output);
void AddKeepGoing(CLI::App* command, OutputChoice& output);
// --id ID, as often as wanted, and --table TAG.
void AddEntryChoice(CLI::App* command, std::vector<int32_t>& ids, ArchiveChoice& archive, const std::string& what);
// SPRITE, with --id and --table to take it from an archive; the command's other positionals follow it.
void AddSpriteChoice(CLI::App* command, CommandLine& line, SpriteChoice& sprite);

// The last line of a --keep-going export: "3 files written, 0 failed, frame 2 damaged", with `damage`
// behind "damaged" (" and left out") where the damaged frames are not among the files.
void SayWhatWasWritten(const CommandLine& line, const std::string& out, const Outputs& outputs, int failed,
                       const std::vector<int32_t>& damaged, const std::string& damage = {});

// ---- colours and palettes (PaletteCommand.cpp) -------------------------------------------------------

void AddPalette(CLI::App* command, ColourChoice& colours);
void AddPlayer(CLI::App* command, ColourChoice& colours);
// --mask and the like: a colour written #RRGGBB.
void AddColour(CLI::App* command, const std::string& name, std::string& target, const std::string& what);

// The palette and the four colours as the choice says, everything else at its start value.
bool PrepareColours(const CommandLine& line, const ColourChoice& colours, Outputs& outputs);

// ---- sprites (SpriteCommands.cpp) --------------------------------------------------------------------

// A sprite in memory with its frame table read; Name is what the lines call it.
struct OpenedSprite {
    SLPFile File;
    std::string Name;
    std::vector<SLPFrameInfo> Frames;
};

// Reads the sprite the choice names, or says in one line why not: how every command that reads one starts.
bool OpenSprite(const CommandLine& line, const SpriteChoice& choice, Outputs& outputs, OpenedSprite& sprite);

// Whether `frame` is one of the sprite's; a number beyond them is a usage error, said in a line that
// gives the frames there are.
bool FrameInRange(const CommandLine& line, int32_t frame, const std::string& name, const std::vector<SLPFrameInfo>& frames);

// ---- the formats of today's tools (ExportCommand.cpp) ------------------------------------------------

// --format and the settings of PNG, GIF and sheet files.
struct ImageChoice {
    std::string Format;       // png, apng, gif, sheet; convert also bmp
    int Fps = 10;
    int ShadowAlpha = 128;
    std::string SheetLayout;  // hash or array (the default); empty when not given
    bool Outlines = false;
};

// --format, limited to `formats`, and the options that go with it, in the order the help shows them.
void AddImageOptions(CLI::App* command, const std::vector<std::string>& formats, ImageChoice& image, ColourChoice& colours,
                     OutputChoice& output, ArchiveChoice& archive);

// The usage errors of an image choice whatever the sprite, said: a sheet's layout without a sheet, a
// GIF too fast. ExitOk when there are none.
int CheckImageChoice(const CommandLine& line, const ImageChoice& image);

ImageFormat ImageFormatOf(const std::string& name);
ImageExportOptions ImageOptionsOf(const ImageChoice& image, int32_t player, int32_t frame = 0, bool players = false);
