// brindle-cli pack and diff: a folder of entries back into an archive, and what changed between two.

#include <nlohmann/json.hpp>

#include <charconv>
#include <filesystem>

#include "archive/ArchiveDiff.h"
#include "archive/DRSCode.h"
#include "archive/Pack.h"
#include "base/Files.h"
#include "base/Functions.h"
#include "cli/Commands.h"
#include "cli/Inputs.h"

namespace {

// An archive's offsets are 32-bit signed: nothing past 2 GiB can be reached.
constexpr size_t MaxArchiveBytes = size_t{1} << 31;

// diff answers as diff and cmp do.
constexpr int DiffSame = 0;
constexpr int DiffDiffer = 1;
constexpr int DiffTrouble = 2;

struct PackOptions : CommandLine {  // Source: DIR
    std::string Out, Like, Flavour;
    std::vector<std::string> Removals;
    ArchiveChoice Archive;
    OutputChoice Output;
};

struct DiffOptions : CommandLine {  // Source: OLD
    std::string New;
    ArchiveChoice Archive;
    bool Json = false;
};

// Opens the archive at path (standard input for "-") and reads its directory, or says in one line why not.
bool OpenDirectory(const std::string& command, const std::string& path, bool force, ReadOnlyFile& file, DRSDirectory& directory) {
    if (path == "-") {
        std::vector<uint8_t> bytes;
        if (!ReadStandardInput(command, MaxArchiveBytes, bytes)) return false;
        file.OpenBytes("standard input", std::move(bytes));
    } else if (!file.Open(path)) {
        Complain(command, path, UnreadableReason(path));
        return false;
    }
    const CatalogueResult read = ReadDRSDirectory(file, directory, force);
    if (read.Code == Fault::NotThisKind) Complain(command, path, "not a DRS archive (use --force to read it anyway)");
    else if (!read) Complain(command, path, "damaged archive: " + read.Detail);
    return read.Ok();
}

// ---- pack ------------------------------------------------------------------------------------------

// --remove TABLE:ID, split at its last colon; false after a usage line.
bool ReadRemovals(const PackOptions& options, std::vector<PackRemoval>& removals) {
    for (const std::string& text : options.Removals) {
        const size_t colon = text.rfind(':');
        PackRemoval removal;
        const char* end = text.data() + text.size();
        const auto [at, error] = colon == std::string::npos ? std::from_chars(end, end, removal.ID)
                                                            : std::from_chars(text.data() + colon + 1, end, removal.ID);
        if (colon == std::string::npos || colon == 0 || error != std::errc() || at != end) {
            Usage(options, "--remove takes TABLE:ID, such as SLP:1003, not " + text);
            return false;
        }
        removal.Table = text.substr(0, colon);
        removals.push_back(std::move(removal));
    }
    return true;
}

int RunPack(const PackOptions& options) {
    PackChoice choice;
    if (!options.Like.empty() && !options.Flavour.empty()) return Usage(options, "--flavour goes without --like, whose flavour is kept");
    if (!ReadRemovals(options, choice.Removals)) return ExitUsage;
    choice.Year1997 = options.Flavour == "1997";

    std::error_code error;
    if (!std::filesystem::is_directory(options.Source, error)) {
        Complain(options.Command, options.Source, std::filesystem::exists(options.Source, error) ? "not a folder" : UnreadableReason(options.Source));
        return ExitFailed;
    }
    Outputs outputs(options.Command, options.Output.NoClobber);
    ReadOnlyFile like;
    DRSDirectory directory;
    if (!options.Like.empty()) {
        if (!OpenDirectory(options.Command, options.Like, options.Archive.Force, like, directory)) return ExitFailed;
        outputs.AddInput(options.Like);
        choice.Like = &directory, choice.LikeSize = like.Size(), choice.LikePath = options.Like;
    }
    PackPlan plan;
    if (Outcome planned = PlanArchive(options.Source, choice, plan); !planned) {
        Complain(options.Command, planned.File.empty() ? options.Source : planned.File, planned.Detail + "; nothing written");
        return ExitFailed;
    }
    for (const FileIdentity& file : plan.Files) outputs.AddInput(static_cast<dev_t>(file.Device), static_cast<ino_t>(file.Inode));
    if (!outputs.Fits(options.Out, static_cast<uint64_t>(PackedSize(plan)))) return ExitFailed;
    const Outputs::Result result = outputs.WriteStreamed(options.Out, [&](const Outputs::Sink& sink) {
        return WritePackedArchive(plan, choice.Like ? &like : nullptr, sink);
    });
    return result == Outputs::Result::Failed ? ExitFailed : ExitOk;
}

// ---- diff ------------------------------------------------------------------------------------------

std::string EntryName(const EntryDifference& difference) {
    return EscapeControls(difference.Table) + " " + std::to_string(difference.ID) +
           (difference.Copy > 1 ? "-" + std::to_string(difference.Copy) : "");
}

std::string ByteCount(int64_t bytes) { return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes"); }

std::string FrameList(const std::vector<int32_t>& frames) {
    std::string text;
    for (int32_t frame : frames) text += (text.empty() ? "" : ", ") + std::to_string(frame);
    return text;
}

// "+ SLP 1003 2114 bytes", "- WAV 5000", "~ SLP 1001: frames 3, 5 of 8 differ".
std::string DifferenceLine(const EntryDifference& d) {
    using Change = EntryDifference::Change;
    if (d.What == Change::Added) return "+ " + EntryName(d) + " " + ByteCount(d.NewSize) + "\n";
    if (d.What == Change::Removed) return "- " + EntryName(d) + "\n";
    std::string how;
    if (d.ByFrames && d.OldFrames != d.NewFrames) {
        how = std::to_string(d.OldFrames) + " frames, now " + std::to_string(d.NewFrames);
    } else if (d.ByFrames) {
        how = (d.Frames.size() == 1 ? "frame " : "frames ") + FrameList(d.Frames) + " of " + std::to_string(d.OldFrames) +
              (d.Frames.size() == 1 ? " differs" : " differ");
    } else {
        how = d.OldSize == d.NewSize ? "bytes differ" : ByteCount(d.OldSize) + ", now " + std::to_string(d.NewSize);
        if (d.TooLarge) how += " (too large to compare by frames)";
    }
    return "~ " + EntryName(d) + ": " + how + "\n";
}

std::string DifferencesAsJson(const DiffOptions& options, const std::vector<EntryDifference>& differences) {
    using Change = EntryDifference::Change;
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const EntryDifference& d : differences) {
        nlohmann::ordered_json item = {{"change", d.What == Change::Added ? "added" : d.What == Change::Removed ? "removed" : "changed"},
                                       {"table", d.Table}, {"id", d.ID}, {"copy", d.Copy}};
        if (d.What != Change::Added) item["old_size"] = d.OldSize;
        if (d.What != Change::Removed) item["new_size"] = d.NewSize;
        if (d.ByFrames) {
            item["old_frames"] = d.OldFrames, item["new_frames"] = d.NewFrames;
            item["frames_differing"] = d.Frames;
        }
        list.push_back(std::move(item));
    }
    const nlohmann::ordered_json document = {
        {"old", options.Source}, {"new", options.New}, {"same", differences.empty()}, {"differences", std::move(list)}};
    return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

int RunDiff(const DiffOptions& options) {
    if (options.Source == "-" && options.New == "-") return Usage(options, "only one of OLD and NEW can be standard input");
    ReadOnlyFile older, newer;
    DRSDirectory unused;
    if (!OpenDirectory(options.Command, options.Source, options.Archive.Force, older, unused) ||
        !OpenDirectory(options.Command, options.New, options.Archive.Force, newer, unused)) {
        return DiffTrouble;
    }
    std::vector<EntryDifference> differences;
    if (Outcome compared = DiffArchives(older, newer, options.Archive.Force, differences); !compared) {
        Complain(options.Command, compared.File == newer.Path() ? options.New : options.Source, compared.Detail);
        return DiffTrouble;
    }
    std::string text;
    if (options.Json) text = DifferencesAsJson(options, differences);
    else
        for (const EntryDifference& difference : differences) text += DifferenceLine(difference);
    if (!WriteStandardOutput(options.Command, text)) return DiffTrouble;
    return differences.empty() ? DiffSame : DiffDiffer;
}

// ---- the command line ------------------------------------------------------------------------------

void AddPack(CLI::App& app, CommandTable& table) {
    const auto [pack, options] = AddCommand(app, table, "pack", "Pack a folder laid out as extract-all lays it out into a new archive", RunPack);
    pack->add_option("DIR", options->Source, "Folder of table folders (01-SLP, ...) holding entries named by ID (1000.slp, 1000-2.slp)")
        ->required();
    pack->add_option("OUT", options->Out, "The archive to write (- is standard output)")->required();
    pack->add_option("--like", options->Like,
                     "Keep this archive's flavour, header, tags and order of tables and entries; entries that DIR lacks come from it");
    pack->add_option("--flavour", options->Flavour, "Without --like: 2001 (the default) or 1997")->check(CLI::IsMember({"2001", "1997"}));
    pack->add_option("--remove", options->Removals, "Leave out the entries of this ID in the tables of this name, as TABLE:ID")
        ->allow_extra_args(false);
    AddNoClobber(pack, options->Output);
    AddForce(pack, options->Archive);
    pack->footer("Examples: brindle-cli pack entries/ mod.drs --like game.drs\n"
                 "          brindle-cli pack entries/ new.drs --flavour 1997 --remove SLP:1003");
}

void AddDiff(CLI::App& app, CommandTable& table) {
    const auto [diff, options] = AddCommand(app, table, "diff", "Say which entries were added, removed or changed; exit 0 same, 1 differ, 2 trouble", RunDiff);
    diff->add_option("OLD", options->Source, "DRS archive")->required();
    diff->add_option("NEW", options->New, "DRS archive")->required();
    diff->add_flag("--json", options->Json, "One JSON document: whether they hold the same, and each difference");
    AddForce(diff, options->Archive);
    diff->footer("Example: brindle-cli diff game.drs mod.drs");
}

}  // namespace

void AddPackCommands(CLI::App& app, CommandTable& table) {
    AddPack(app, table);
    AddDiff(app, table);
}
