// brindle-cli list, extract and extract-all: an archive's catalogue, and its entries copied out as they are.

#include <nlohmann/json.hpp>

#include <charconv>
#include <filesystem>
#include <set>
#include <system_error>

#include "archive/DRSCode.h"
#include "archive/UsefulCode.h"
#include "base/Functions.h"
#include "cli/Commands.h"
#include "cli/Inputs.h"

namespace fs = std::filesystem;

namespace {

struct ListOptions : CommandLine {
    ArchiveChoice Archive;
    bool Long = false;
    bool Json = false;
};

struct ExtractOptions : CommandLine {
    ArchiveChoice Archive;
    std::vector<std::string> Positionals;  // ROW OUT, or with --id OUT
    std::vector<int32_t> IDs;
    OutputChoice Output;                   // Out: -o DIR
};

struct ExtractAllOptions : CommandLine {
    ArchiveChoice Archive;
    OutputChoice Output{{}, false, true};  // --keep-going unless --no-keep-going
};

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

// Copies every planned entry, making the folders of a folder output (-o DIR, extract-all) as needed.
// With --keep-going a failure is noted and the rest go on; without, the files written so far are
// removed. True when all were written or kept.
bool CopyEntries(const CommandLine& line, const OutputChoice& output, OpenedArchive& archive, const std::vector<PlannedCopy>& plan,
                 bool makeFolders, Outputs& outputs, CliHost* progress) {
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
            Complain(line.Command, folder.string(), error.message());
        } else if (Outcome read = ReadEntryBytes(archive.File(), DRSCatalogue[copy.Row], bytes); !read) {
            Complain(line.Command, copy.Path, "ID " + std::to_string(DRSCatalogue[copy.Row].ID) + ": " + read.Detail);
        } else {
            ok = outputs.Write(copy.Path, bytes) != Outputs::Result::Failed;
        }
        if (!ok && !output.KeepGoing) {
            outputs.RemoveWritten();
            return false;
        }
        failed += ok ? 0 : 1;
        if (progress) progress->ShowProgress(++done, static_cast<int>(plan.size()));
    }
    if (progress) progress->EndProgress();
    if (failed > 0) {
        Complain(line.Command, output.Out,
                 std::to_string(static_cast<int>(plan.size()) - failed) + " entries written or kept, " + std::to_string(failed) +
                     " failed");
    }
    return failed == 0;
}

// ---- list ------------------------------------------------------------------------------------------

std::string ListAsJson(const ListOptions& options, const std::vector<ListRow>& rows) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (size_t i = 0; i < rows.size(); ++i) {
        const CatalogueRow& entry = CatalogueAt(i);
        list.push_back({{"row", i}, {"text", rows[i].Text}, {"kind", KindName(rows[i].ItemData)}, {"id", entry.ID},
                        {"offset", entry.Offset}, {"size", entry.Size}});
    }
    const nlohmann::ordered_json document = {{"archive", options.Source}, {"rows", std::move(list)}};
    return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

// A table's tag is any four bytes: a control character in it would drive the terminal, or split the
// row's columns or the row itself.
std::string ListAsText(const ListOptions& options, const std::vector<ListRow>& rows) {
    std::string text = options.Long ? "row\ttext\tkind\tid\toffset\tsize\n" : "";
    for (size_t i = 0; i < rows.size(); ++i) {
        const CatalogueRow& entry = CatalogueAt(i);
        const std::string shown = EscapeControls(rows[i].Text);
        if (options.Long) text += std::to_string(i) + '\t' + shown + '\t' + KindName(rows[i].ItemData);
        else text += shown + '\t' + std::to_string(rows[i].ItemData);
        text += '\t' + std::to_string(entry.ID) + '\t' + std::to_string(entry.Offset) + '\t' + std::to_string(entry.Size) + '\n';
    }
    return text;
}

int RunList(const ListOptions& options) {
    Outputs outputs(options.Command, false);
    OpenedArchive archive(options.Command, options.Source, options.Archive.Force, options.Archive.Table, outputs);
    if (!archive.Opened()) return ExitFailed;
    const std::string text = options.Json ? ListAsJson(options, archive.Rows()) : ListAsText(options, archive.Rows());
    return WriteStandardOutput(options.Command, text) ? ExitOk : ExitFailed;
}

// ---- extract ---------------------------------------------------------------------------------------

// The usage errors of extract's command line, said; ExitOk when there are none. row is ROW's number.
int CheckExtractLine(const ExtractOptions& options, int32_t& row) {
    const std::vector<std::string>& args = options.Positionals;
    const std::string& folder = options.Output.Out;
    const bool byID = !options.IDs.empty();
    if (!byID && (!folder.empty() || !options.Archive.Table.empty())) return Usage(options, "-o and --table go with --id");
    if (!byID && args.size() != 2) return Usage(options, "give ARCHIVE ROW OUT, or ARCHIVE --id ID OUT");
    if (byID && folder.empty() && (args.size() != 1 || options.IDs.size() != 1)) {
        return Usage(options, options.IDs.size() > 1 ? "several IDs go into a folder: -o DIR" : "give ARCHIVE --id ID OUT");
    }
    if (byID && !folder.empty() && !args.empty()) return Usage(options, "give either OUT or -o DIR");
    if (byID) return ExitOk;
    const std::string& text = args[0];
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), row);
    if (error != std::errc() || end != text.data() + text.size()) return Usage(options, "ROW is a number from the list, not " + text);
    return ExitOk;
}

// The entry of list row `row` into OUT, or false after a line that says why it is no entry.
bool PlanRow(const ExtractOptions& options, const std::vector<ListRow>& rows, int32_t row, std::vector<PlannedCopy>& plan) {
    if (row < 0 || static_cast<size_t>(row) >= rows.size()) {
        const bool isAnID = !EntriesWithID(rows, row, "").empty();  // the number most people see is the ID
        Complain(options.Command, options.Source, "has rows 0 to " + std::to_string(static_cast<int64_t>(rows.size()) - 1) +
                                                      "; there is no row " + std::to_string(row) +
                                                      (isAnID ? " (for the entry of that ID: --id " + std::to_string(row) + ")" : ""));
        return false;
    }
    if (rows[static_cast<size_t>(row)].ItemData == KindHeading) {
        Complain(options.Command, options.Source, "row " + std::to_string(row) + " is the heading of table " +
                                                      TableOfHeading(rows[static_cast<size_t>(row)].Text) + ", not an entry");
        return false;
    }
    plan.push_back({static_cast<size_t>(row), options.Positionals[1]});
    return true;
}

// Every entry of each ID into -o DIR, named as extract-all names them; false after a line when an ID has none.
bool PlanIDs(const ExtractOptions& options, const std::vector<ListRow>& rows, std::vector<PlannedCopy>& plan) {
    std::set<std::string> used;
    for (int32_t id : options.IDs) {
        const std::vector<ListedEntry> entries = EntriesWithID(rows, id, options.Archive.Table);
        if (entries.empty()) {
            Complain(options.Command, options.Source, "no entry has ID " + std::to_string(id) +
                                                          (options.Archive.Table.empty() ? "" : " in table " + options.Archive.Table));
            return false;
        }
        for (const ListedEntry& entry : entries) {
            plan.push_back({entry.Row, (fs::path(options.Output.Out) / DistinctName(ProposedName(entry.Kind, id), used)).string()});
        }
    }
    return true;
}

int RunExtract(const ExtractOptions& options) {
    int32_t row = 0;
    if (const int usage = CheckExtractLine(options, row); usage != ExitOk) return usage;
    Outputs outputs(options.Command, options.Output.NoClobber);
    OpenedArchive archive(options.Command, options.Source, options.Archive.Force, options.Archive.Table, outputs);
    if (!archive.Opened()) return ExitFailed;
    const std::vector<ListRow>& rows = archive.Rows();

    std::vector<PlannedCopy> plan;
    if (options.IDs.empty()) {
        if (!PlanRow(options, rows, row, plan)) return ExitFailed;
    } else if (options.Output.Out.empty()) {
        const std::optional<ListedEntry> entry =
            OneEntryWithID(options.Command, options.Source, rows, options.IDs[0], options.Archive.Table);
        if (!entry) return ExitFailed;
        plan.push_back({entry->Row, options.Positionals[0]});
    } else if (!PlanIDs(options, rows, plan)) {
        return ExitFailed;
    }
    if (plan.size() == 1 && plan[0].Path == "-") {  // standard output: no folder, nothing to plan
        std::vector<uint8_t> bytes;
        if (Outcome read = ReadEntryBytes(archive.File(), DRSCatalogue[plan[0].Row], bytes); !read) {
            Complain(options.Command, options.Source, "ID " + std::to_string(DRSCatalogue[plan[0].Row].ID) + ": " + read.Detail);
            return ExitFailed;
        }
        return outputs.Write("-", bytes) == Outputs::Result::Failed ? ExitFailed : ExitOk;
    }
    const bool intoFolder = !options.Output.Out.empty();
    return CopyEntries(options, options.Output, archive, plan, intoFolder, outputs, nullptr) ? ExitOk : ExitFailed;
}

// ---- extract-all -----------------------------------------------------------------------------------

int RunExtractAll(const ExtractAllOptions& options) {
    Outputs outputs(options.Command, options.Output.NoClobber);
    OpenedArchive archive(options.Command, options.Source, options.Archive.Force, options.Archive.Table, outputs);
    if (!archive.Opened()) return ExitFailed;
    const std::vector<PlannedCopy> plan = PlanEntryFiles(archive.Rows(), DRSCatalogue, options.Output.Out, options.Archive.Table);
    return CopyEntries(options, options.Output, archive, plan, true, outputs, &archive.Host()) ? ExitOk : ExitFailed;
}

// ---- the command line ------------------------------------------------------------------------------

void AddList(CLI::App& app, CommandTable& table) {
    const auto [list, options] =
        AddCommand(app, table, "list", "List the archive's tables and entries: text, kind, ID, offset, size", RunList);
    list->add_option("ARCHIVE", options->Source, "DRS archive")->required();
    list->add_flag("--long", options->Long, "A header line, the row number and kind names (slp, wav, bin, other, heading)");
    list->add_flag("--json", options->Json, "One JSON document: each row's number, text, kind name, ID, offset and size");
    AddForce(list, options->Archive);
    list->footer("Example: brindle-cli list --long demo.drs");
}

void AddExtract(CLI::App& app, CommandTable& table) {
    const auto [extract, options] =
        AddCommand(app, table, "extract", "Copy entries out: one by its row or ID, or several IDs into a folder", RunExtract);
    extract->add_option("ARCHIVE", options->Source, "DRS archive")->required();
    extract->add_option("ARGS", options->Positionals, "ROW OUT: the list row (from 0, as `list` prints it) and the file; "
                                                      "with --id only OUT (- is standard output)");
    AddEntryChoice(extract, options->IDs, options->Archive, "The entry's ID, as `list` shows it; repeat it with -o DIR for several");
    extract->add_option("-o,--output-folder", options->Output.Out,
                        "Folder for the entries of several IDs, named as extract-all names them");
    AddNoClobber(extract, options->Output);
    AddKeepGoing(extract, options->Output);
    AddForce(extract, options->Archive);
    extract->footer("Examples: brindle-cli extract demo.drs --id 1000 walker.slp\n"
                    "          brindle-cli extract demo.drs --id 1000 --id 5000 -o entries/\n"
                    "          brindle-cli extract demo.drs 1 walker.slp");
}

void AddExtractAll(CLI::App& app, CommandTable& table) {
    const auto [extractAll, options] = AddCommand(app, table, "extract-all", "Copy every entry out, one folder per table", RunExtractAll);
    extractAll->add_option("ARCHIVE", options->Source, "DRS archive")->required();
    extractAll->add_option("DIR", options->Output.Out, "Folder to write into")->required();
    extractAll->add_option("--table", options->Archive.Table, "Only the table of this name, as `list` shows it (any case)");
    AddNoClobber(extractAll, options->Output);
    extractAll->add_flag("--keep-going,!--no-keep-going", options->Output.KeepGoing,
                         "After a failure go on with the rest (the default); --no-keep-going stops and removes what this run wrote");
    AddForce(extractAll, options->Archive);
    extractAll->footer("Example: brindle-cli extract-all demo.drs entries/ --table slp");
}

}  // namespace

void AddArchiveCommands(CLI::App& app, CommandTable& table) {
    AddList(app, table);
    AddExtract(app, table);
    AddExtractAll(app, table);
}
