// brindle-cli: the core's routines from the command line, for batch work.
// Data go to stdout, messages to stderr. Exit 0 on success, 1 when the work failed, 2 on a usage error.

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "archive/DRSCode.h"
#include "archive/UsefulCode.h"
#include "cli/CliHost.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"
#include "export/SLPExports.h"
#include "shell/Files.h"
#include "shell/Functions.h"
#include "slp/SLPCode.h"
#include "slp/SLPCodeNew.h"

namespace fs = std::filesystem;

namespace {

constexpr int ExitOk = 0;
constexpr int ExitFailed = 1;
constexpr int ExitUsage = 2;

struct Options {
    std::string Archive;
    std::string Sprite;
    std::string Out;
    std::string PalettePath;
    int32_t Row = 0;
    int32_t Frame = 0;
    bool Force = false;
    // Colours as typed, "#RRGGBB"; empty when not given.
    std::string Mask, Shadow, Inner, Outer;
};

// ---- helpers -----------------------------------------------------------------------------------

// The program's words for a failure (unless the core has just said them), then the core's detail.
int Fail(CliHost& host, const std::string& text, int since, const std::string& detail = {}) {
    host.Report(text, since);
    if (!detail.empty()) std::cerr << detail << '\n';
    return ExitFailed;
}

bool IsHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool IsLetterOrDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

const CLI::Validator ColourText(
    [](std::string& text) -> std::string {
        bool ok = text.size() == 7 && text[0] == '#';
        for (size_t i = 1; ok && i < text.size(); ++i) ok = IsHexDigit(text[i]);
        return ok ? std::string() : "a colour is written #RRGGBB, e.g. #FF00FF";
    },
    "#RRGGBB");

// "#RRGGBB", web order, to a colour value: red in the low byte.
uint32_t ParseColour(const std::string& text) {
    auto component = [&](size_t at) { return static_cast<int32_t>(std::stoi(text.substr(at, 2), nullptr, 16)); };
    return RGB(component(1), component(3), component(5));
}

// Opens the archive and reads its catalogue into DRSCatalogue and the host's rows.
bool LoadArchive(const std::string& path, bool force, ReadOnlyFile& archive, CliHost& host) {
    const int since = host.MessagesShown();
    if (!archive.Open(path)) {
        Fail(host, "Error reading from DRS file!", since, "Cannot open " + path + ": " + std::strerror(errno) + ".");
        return false;
    }
    CatalogueResult read = ReadDRSCatalogue(archive, host);
    if (read.Code == CatalogueBuilt) return true;
    Fail(host, "Error reading from DRS file!", since, read.Detail);
    if (read.Code == CatalogueRefused && !force)
        std::cerr << "Run again with --force to read it anyway.\n";
    return false;
}

const CatalogueRow& CatalogueAt(size_t listIndex) {
    static const CatalogueRow none;
    return listIndex < DRSCatalogue.size() ? DRSCatalogue[listIndex] : none;
}

// The palette and the four colours as the options say, everything else at its start value.
bool PrepareColours(const Options& options, CliHost& host) {
    ResetColourChoices();
    const int since = host.MessagesShown();
    PaletteResult loaded = LoadPalette("", host);
    if (loaded.State == PaletteLoad::Loaded && !options.PalettePath.empty())
        loaded = LoadPalette(options.PalettePath, host);
    if (loaded.State == PaletteLoad::Refused) return false;  // the core has said "Not valid palette file!"
    if (loaded.State == PaletteLoad::Failed) {
        Fail(host, "Error opening palette file!", since, loaded.Detail);
        return false;
    }
    if (!options.Mask.empty()) MaskColour = ParseColour(options.Mask);
    if (!options.Shadow.empty()) ShadowColour = ParseColour(options.Shadow);
    if (!options.Inner.empty()) OutlineInnerColour = ParseColour(options.Inner);
    if (!options.Outer.empty()) OutlineOuterColour = ParseColour(options.Outer);
    return true;
}

bool ReadSprite(const std::string& path, SLPHeader& header, std::vector<SLPFrameInfo>& frames) {
    SLPFile file;
    Outcome read = ReadSLPHeaders(path, file, header, frames);
    if (!read) std::cerr << "Cannot read the sprite " << path << ".\n" << read.Detail << '\n';
    return read.Ok;
}

// The base path of an export, from the name a save dialog would hand back: absolute, without extension.
bool ExportBase(const std::string& out, std::string& base) {
    std::error_code error;
    const fs::path absolute = fs::absolute(out, error);
    if (error) {
        std::cerr << "Cannot make a full path of " << out << ": " << error.message() << '\n';
        return false;
    }
    base = ExportBasePath(absolute.string());
    return true;
}

// ---- extract-all naming ------------------------------------------------------------------------

// The name the save dialog proposes for an entry: its ID, and the extension of its kind.
std::string ProposedName(int32_t kind, int32_t id) {
    std::string name = std::to_string(id);
    if (kind == KindSLP) return name + ".slp";
    if (kind == KindWAV) return name + ".wav";
    if (kind == KindBIN) return name + ".bin";
    return name;
}

// A table's folder: its position from 01 and its tag, of which only letters and digits are kept, so that
// no tag can lead out of the target folder. The heading reads "--" + tag + " (" + count + ")--".
std::string TableFolderName(int position, std::string_view heading) {
    std::string name = (position < 10 ? "0" : "") + std::to_string(position);
    std::string tag;
    for (char c : heading.size() >= 5 ? heading.substr(2, 3) : std::string_view()) {
        if (IsLetterOrDigit(c)) tag += c;
    }
    return tag.empty() ? name : name + "-" + tag;
}

// name itself if it is still free in this folder, else ID-2, ID-3, ... before the extension.
std::string DistinctName(const std::string& name, std::set<std::string>& used) {
    std::string candidate = name;
    const size_t dot = name.find('.');
    const std::string stem = name.substr(0, dot);
    const std::string extension = dot == std::string::npos ? "" : name.substr(dot);
    for (int n = 2; used.count(candidate) != 0; ++n) candidate = stem + "-" + std::to_string(n) + extension;
    used.insert(candidate);
    return candidate;
}

// ---- commands ----------------------------------------------------------------------------------

int RunList(const Options& options) {
    CliHost host(options.Force);
    ReadOnlyFile archive;
    if (!LoadArchive(options.Archive, options.Force, archive, host)) return ExitFailed;
    const std::vector<ListRow>& rows = host.Rows();
    for (size_t i = 0; i < rows.size(); ++i) {
        const CatalogueRow& entry = CatalogueAt(i);
        std::cout << rows[i].Text << '\t' << rows[i].ItemData << '\t' << entry.ID << '\t' << entry.Offset << '\t'
                  << entry.Size << '\n';
    }
    return ExitOk;
}

int RunExtract(const Options& options) {
    CliHost host(options.Force);
    ReadOnlyFile archive;
    if (!LoadArchive(options.Archive, options.Force, archive, host)) return ExitFailed;
    const size_t rows = host.Rows().size();
    if (options.Row < 0 || static_cast<size_t>(options.Row) >= rows) {
        std::cerr << "Row " << options.Row << " is not in the list of " << options.Archive << ", which has rows 0 to "
                  << static_cast<int64_t>(rows) - 1 << ".\n";
        return ExitFailed;
    }
    const int since = host.MessagesShown();
    Outcome copied = ReadResourceData(archive, options.Out, CatalogueAt(static_cast<size_t>(options.Row)), host);
    return copied ? ExitOk : Fail(host, "Error saving file!", since, copied.Detail);
}

int RunExtractAll(const Options& options) {
    CliHost host(options.Force);
    ReadOnlyFile archive;
    if (!LoadArchive(options.Archive, options.Force, archive, host)) return ExitFailed;
    const std::vector<ListRow>& rows = host.Rows();
    int total = 0;
    for (const ListRow& row : rows) total += row.ItemData == KindHeading ? 0 : 1;

    int written = 0, failed = 0, tables = 0;
    fs::path folder;
    bool folderMade = false;
    std::set<std::string> used;
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].ItemData == KindHeading) {
            folder = fs::path(options.Out) / TableFolderName(++tables, rows[i].Text);
            used.clear();
            std::error_code error;
            fs::create_directories(folder, error);
            folderMade = !error;
            if (error) {
                host.EndProgress();
                std::cerr << "Cannot create the folder " << folder.string() << ": " << error.message() << '\n';
            }
            continue;
        }
        const CatalogueRow& entry = CatalogueAt(i);
        const fs::path target = folder / DistinctName(ProposedName(rows[i].ItemData, entry.ID), used);
        bool ok = folderMade;
        if (ok) {
            Outcome copied = ReadResourceData(archive, target.string(), entry, host);
            if (!copied) std::cerr << target.string() << ": " << copied.Detail << '\n';
            ok = copied.Ok;
        }
        (ok ? written : failed) += 1;
        host.ShowProgress(written + failed, total);
    }
    host.EndProgress();
    std::cerr << written << " written, " << failed << " failed\n";
    return failed == 0 ? ExitOk : ExitFailed;
}

int RunInfo(const Options& options) {
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ReadSprite(options.Sprite, header, frames)) return ExitFailed;
    std::cout << "frames " << frames.size() << '\n';
    for (size_t i = 0; i < frames.size(); ++i) {
        const SLPFrameInfo& f = frames[i];
        std::cout << i + 1 << '\t' << f.Width << '\t' << f.Height << '\t' << f.HotspotX << '\t' << f.HotspotY << '\t'
                  << f.CommandTableOffset << '\t' << f.OutlineTableOffset << '\t' << f.PaletteOffset << '\t'
                  << f.Properties << '\n';
    }
    return ExitOk;
}

int RunFrame(const Options& options) {
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ReadSprite(options.Sprite, header, frames)) return ExitFailed;
    if (options.Frame < 1 || static_cast<size_t>(options.Frame) > frames.size()) {
        std::cerr << options.Sprite << " has frames 1 to " << frames.size() << "; there is no frame " << options.Frame
                  << ".\n";
        return ExitFailed;
    }
    CliHost host;
    if (!PrepareColours(options, host)) return ExitFailed;
    const int since = host.MessagesShown();
    Outcome saved = ShowImage(options.Sprite, static_cast<int16_t>(options.Frame), true, options.Out, host);
    return saved ? ExitOk : Fail(host, "Error exporting graphic!", since, saved.Detail);
}

int RunSequence(const Options& options) {
    CliHost host;
    std::string base;
    if (!PrepareColours(options, host) || !ExportBase(options.Out, base)) return ExitFailed;
    const int since = host.MessagesShown();
    Outcome exported = ExportSequence(options.Sprite, base, host);
    return exported ? ExitOk : Fail(host, "Error exporting graphic!", since, exported.Detail);
}

int RunSLX(const Options& options) {
    CliHost host;
    std::string base;
    if (!PrepareColours(options, host) || !ExportBase(options.Out, base)) return ExitFailed;
    const int since = host.MessagesShown();
    Outcome exported = ExportSLX(options.Sprite, base, host);
    return exported ? ExitOk : Fail(host, "Error saving files!", since, exported.Detail);
}

int RunPalette(const Options& options) {
    CliHost host;
    PaletteResult loaded = LoadPalette(options.PalettePath, host);
    if (loaded.State == PaletteLoad::Refused) return ExitFailed;
    if (loaded.State == PaletteLoad::Failed) return Fail(host, "Error opening palette file!", 0, loaded.Detail);
    for (uint32_t colour : Palette)
        std::cout << (colour & 0xFF) << ' ' << (colour >> 8 & 0xFF) << ' ' << (colour >> 16 & 0xFF) << '\n';
    return ExitOk;
}

// ---- the command line --------------------------------------------------------------------------

void AddForce(CLI::App* command, Options& options) {
    command->add_flag("--force", options.Force, "Read an archive of neither known flavour anyway");
}

void AddColourOption(CLI::App* command, const std::string& name, std::string& target, const std::string& what) {
    command->add_option(name, target, what)->check(ColourText);
}

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    Options options;
    CLI::App app{"Lists and extracts the entries of DRS archives, and exports their SLP sprites."};
    app.set_version_flag("--version", std::string("brindle-cli ") + BRINDLE_VERSION);
    app.require_subcommand(1);

    CLI::App* list = app.add_subcommand("list", "List the archive's tables and entries: text, kind, ID, offset, size");
    list->add_option("ARCHIVE", options.Archive, "DRS archive")->required();
    AddForce(list, options);

    CLI::App* extract = app.add_subcommand("extract", "Copy one entry of the list out to a file");
    extract->add_option("ARCHIVE", options.Archive, "DRS archive")->required();
    extract->add_option("ROW", options.Row, "List index of the entry, from 0, as `list` prints them")->required();
    extract->add_option("OUT", options.Out, "File to write")->required();
    AddForce(extract, options);

    CLI::App* extractAll = app.add_subcommand("extract-all", "Copy every entry out, one folder per table");
    extractAll->add_option("ARCHIVE", options.Archive, "DRS archive")->required();
    extractAll->add_option("DIR", options.Out, "Folder to write into")->required();
    AddForce(extractAll, options);

    CLI::App* info = app.add_subcommand("info", "Show a sprite's frame table");
    info->add_option("SPRITE", options.Sprite, "SLP file")->required();

    CLI::App* frame = app.add_subcommand("frame", "Save one frame of a sprite as a BMP file");
    frame->add_option("SPRITE", options.Sprite, "SLP file")->required();
    frame->add_option("N", options.Frame, "Frame number, from 1")->required();
    frame->add_option("OUT", options.Out, "BMP file to write")->required();
    frame->add_option("--palette", options.PalettePath, "JASC-PAL palette instead of the default one");
    AddColourOption(frame, "--mask", options.Mask, "Background colour");
    AddColourOption(frame, "--shadow", options.Shadow, "Shadow colour");
    AddColourOption(frame, "--inner", options.Inner, "Inner outline colour");
    AddColourOption(frame, "--outer", options.Outer, "Outer outline colour");

    CLI::App* sequence = app.add_subcommand("sequence", "Save all frames as OUT001.bmp, ... on one canvas");
    sequence->add_option("SPRITE", options.Sprite, "SLP file")->required();
    sequence->add_option("OUT", options.Out, "Name of the sequence, e.g. out/walk.bmp")->required();
    sequence->add_option("--palette", options.PalettePath, "JASC-PAL palette instead of the default one");
    AddColourOption(sequence, "--mask", options.Mask, "Background colour");

    CLI::App* slx = app.add_subcommand("slx", "Export a sprite as an SLX bundle: OUT.slx and two BMP files a frame");
    slx->add_option("SPRITE", options.Sprite, "SLP file")->required();
    slx->add_option("OUT", options.Out, "Name of the bundle, e.g. out/walk.slx")->required();
    slx->add_option("--palette", options.PalettePath, "JASC-PAL palette instead of the default one");

    CLI::App* palette = app.add_subcommand("palette", "Print a JASC-PAL palette as 256 lines \"R G B\"");
    palette->add_option("PAL", options.PalettePath, "JASC-PAL file")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == static_cast<int>(CLI::ExitCodes::Success) ? ExitOk : ExitUsage;
    }

    const std::pair<CLI::App*, int (*)(const Options&)> commands[] = {
        {list, RunList},   {extract, RunExtract},   {extractAll, RunExtractAll}, {info, RunInfo},
        {frame, RunFrame}, {sequence, RunSequence}, {slx, RunSLX},               {palette, RunPalette},
    };
    try {
        for (const auto& [command, run] : commands) {
            if (command->parsed()) return run(options);
        }
    } catch (const std::exception& error) {
        std::cerr << "brindle-cli: " << error.what() << '\n';
        return ExitFailed;
    }
    return ExitUsage;
}
