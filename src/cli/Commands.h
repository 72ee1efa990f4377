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
};

int RunList(const Options& options);
int RunExtract(const Options& options);
int RunExtractAll(const Options& options);
int RunInfo(const Options& options);
int RunFrame(const Options& options);
int RunSequence(const Options& options);
int RunSLX(const Options& options);
int RunPalette(const Options& options);
