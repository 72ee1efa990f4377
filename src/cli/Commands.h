#pragma once
// brindle-cli's commands, each on the options its command line gave. Each returns the exit status:
// 0 done, 1 the work failed (said on stderr), 2 the command line can't be carried out.

#include <cstdint>
#include <string>
#include <vector>

inline constexpr int ExitOk = 0;
inline constexpr int ExitFailed = 1;
inline constexpr int ExitUsage = 2;

struct Options {
    std::string Command;                  // as typed, for the messages
    std::string Source;                   // the archive, the sprite or the palette read
    std::vector<std::string> Positionals; // the rest of the command line, as the command reads it
    std::string Out;                      // the file or folder written
    std::string OutFolder;                // -o DIR
    std::vector<int32_t> IDs;             // --id
    std::string Table;                    // --table
    std::string PalettePath;              // --palette
    int32_t Frame = 0;
    bool Force = false;
    bool Long = false;
    bool NoClobber = false;
    bool KeepGoing = false;
    std::string Mask, Shadow, Inner, Outer;  // colours as typed, "#RRGGBB"; empty when not given
    int32_t Player = 1;                   // --player: the team colours of player pixels, 1 to 8
    // export and convert
    std::string Format;                   // png, apng, gif, sheet; convert also bmp
    int Fps = 10;
    bool Players = false;                 // export --players: a sheet of every team
    std::string SheetLayout;              // hash or array (the default); empty when not given
    int ShadowAlpha = 128;
    bool Outlines = false;
    int Jobs = 0;                         // 0: one a core
    bool Json = false;                    // list and info: one JSON document
    int Size = 0;                         // thumbnail
};

int RunList(const Options& options);
int RunExtract(const Options& options);
int RunExtractAll(const Options& options);
int RunInfo(const Options& options);
int RunFrame(const Options& options);
int RunSequence(const Options& options);
int RunSLX(const Options& options);
int RunPalette(const Options& options);
int RunExport(const Options& options);
int RunConvert(const Options& options);
int RunThumbnail(const Options& options);

// Shared by the commands (Commands.cpp).
struct ListRow;
class CliHost;
class Outputs;
int Usage(const Options& options, const std::string& reason);
extern const std::string GifPaceLimit;  // the usage error of a GIF asked to play too fast
enum class ImageFormat;
struct ImageExportOptions;
ImageFormat ImageFormatOf(const std::string& name);
ImageExportOptions ImageOptionsOf(const Options& options);
// The palette and the four colours as the options say, everything else at its start value.
bool PrepareColours(const Options& options, Outputs& outputs);
