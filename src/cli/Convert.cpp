// brindle-cli convert: every sprite of an archive in one of the formats, on as many threads as asked.
//
// The archive is read by one thread at a time; each sprite is then decoded, encoded and written by
// the thread that took it, with files of its own, so nothing else is shared but the palette and the
// colours, which are set before the threads start and only read after.

#include <atomic>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>

#include "archive/DRSCode.h"
#include "archive/UsefulCode.h"
#include "base/Functions.h"
#include "base/Threads.h"
#include "cli/Commands.h"
#include "cli/Inputs.h"
#include "export/SLPExports.h"

namespace fs = std::filesystem;

namespace {

struct ConvertOptions : CommandLine {
    ArchiveChoice Archive;
    OutputChoice Output;  // Out: the folder
    ColourChoice Colours;
    ImageChoice Image;
    int Jobs = 0;         // 0: one a core
};

// One sprite to convert: its row, and its files' base path (folder and name without extension).
struct Job {
    size_t Row = 0;
    std::string Base;
};

// The design's own sequence, by its own routine, staged and then placed.
bool ConvertToSequence(const ConvertOptions& options, const Job& job, const SLPFile& sprite, const std::string& name, Host& host,
                       Outputs& outputs) {
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (Outcome read = ParseSLPHeaders(sprite, header, frames); !read) {
        Complain(options.Command, name, read.Detail);
        return false;
    }
    if (!outputs.Fits(job.Base, static_cast<uint64_t>(SequenceFileBytes(frames)))) return false;
    StagingFolder staging(options.Command, job.Base);
    if (!staging.Made()) {
        Complain(options.Command, job.Base, staging.Error());
        return false;
    }
    const std::string staged = staging.Path() + FileOfPath(job.Base);
    if (Outcome exported = ExportSequence(sprite, staged, host, options.Colours.Player); !exported) {
        Complain(options.Command, name, exported.Detail);
        return false;
    }
    for (int32_t i = 1; i <= header.NumFrames; ++i) {
        const std::string suffix = PadFrameNumber(i) + ".bmp";
        if (outputs.Place(staged + suffix, job.Base + suffix) == Outputs::Result::Failed) {
            outputs.RemoveWritten();
            return false;
        }
    }
    return true;
}

bool ConvertToImages(const ConvertOptions& options, const Job& job, const SLPFile& sprite, const std::string& name, Host& host,
                     Outputs& outputs) {
    const ImageFormat format = ImageFormatOf(options.Image.Format);
    const std::string extension = format == ImageFormat::Gif ? ".gif" : ".png";
    std::vector<NamedFile> files;
    std::vector<std::string> notes;
    if (Outcome exported = ExportImages(sprite, format, ImageOptionsOf(options.Image, options.Colours.Player),
                                        job.Base + extension, files, notes, host);
        !exported) {
        Complain(options.Command, name, exported.Detail);
        return false;
    }
    for (const std::string& note : notes) Complain(options.Command, name, note);
    if (!outputs.Fits(job.Base, BytesOf(files))) return false;
    for (const NamedFile& file : files) {
        if (outputs.Write(file.Path, file.Bytes) == Outputs::Result::Failed) {
            outputs.RemoveWritten();
            return false;
        }
    }
    return true;
}

// The files of one sprite, written under the rules of Outputs; a sprite that fails leaves none.
bool ConvertOne(const ConvertOptions& options, const Job& job, const SLPFile& sprite, const std::string& name, Host& host) {
    Outputs outputs(options.Command, options.Output.NoClobber);
    outputs.AddInput(options.Source);
    if (!options.Colours.PalettePath.empty()) outputs.AddInput(options.Colours.PalettePath);
    std::error_code error;
    fs::create_directories(fs::path(job.Base).parent_path(), error);
    if (error) {
        Complain(options.Command, fs::path(job.Base).parent_path().string(), error.message());
        return false;
    }
    return options.Image.Format == "bmp" ? ConvertToSequence(options, job, sprite, name, host, outputs)
                                         : ConvertToImages(options, job, sprite, name, host, outputs);
}

// The sprites, in the folders extract-all makes; png and bmp sequences each in a folder of the ID.
std::vector<Job> PlanJobs(const ConvertOptions& options, const std::vector<ListRow>& rows) {
    const bool sequence = options.Image.Format == "png" || options.Image.Format == "bmp";
    std::vector<Job> jobs;
    ForEachEntryByTable(rows, options.Output.Out, options.Archive.Table,
                        [&](size_t row, const fs::path& folder, std::set<std::string>& used) {
                            if (rows[row].ItemData != KindSLP) return;
                            const std::string id = DistinctName(std::to_string(DRSCatalogue[row].ID), used);
                            jobs.push_back({row, (sequence ? folder / id / id : folder / id).string()});
                        });
    return jobs;
}

// Converts every job on the threads asked for, the archive read by one at a time; how many failed.
int ConvertAll(const ConvertOptions& options, const std::vector<Job>& jobs, OpenedArchive& archive) {
    std::mutex archiveReads;
    std::atomic<int> done{0}, failed{0};
    const unsigned threads = std::max(1u, options.Jobs > 0 ? unsigned(options.Jobs) : std::thread::hardware_concurrency());
    RunOnThreads(jobs.size(), int(threads), [&](size_t at) {
        QuietHost quiet;
        const Job& job = jobs[at];
        SLPFile sprite;
        const std::string name = options.Source + " (ID " + std::to_string(DRSCatalogue[job.Row].ID) + ")";
        sprite.Path = name;
        Outcome read = Outcome::Success();
        {
            const std::lock_guard<std::mutex> lock(archiveReads);
            read = ReadEntryBytes(archive.File(), DRSCatalogue[job.Row], sprite.Bytes);
        }
        bool ok = read.Ok();
        if (!ok) Complain(options.Command, name, read.Detail);
        else ok = ConvertOne(options, job, sprite, name, quiet);
        failed += ok ? 0 : 1;
        archive.Host().ShowProgress(++done, int(jobs.size()));
    });
    archive.Host().EndProgress();
    return failed;
}

int RunConvert(const ConvertOptions& options) {
    if (const int usage = CheckImageChoice(options, options.Image); usage != ExitOk) return usage;
    Outputs archiveOnly(options.Command, false);
    OpenedArchive archive(options.Command, options.Source, options.Archive.Force, options.Archive.Table, archiveOnly);
    if (!archive.Opened() || !PrepareColours(options, options.Colours, archiveOnly)) return ExitFailed;
    const std::vector<Job> jobs = PlanJobs(options, archive.Rows());
    const int failed = ConvertAll(options, jobs, archive);
    Complain(options.Command, options.Output.Out,
             std::to_string(int(jobs.size()) - failed) + " converted, " + std::to_string(failed) + " failed");
    return failed == 0 ? ExitOk : ExitFailed;
}

}  // namespace

void AddConvertCommand(CLI::App& app, CommandTable& table) {
    const auto [convert, options] = AddCommand(app, table, "convert", "Export every sprite of an archive, on every core", RunConvert);
    convert->add_option("ARCHIVE", options->Source, "DRS archive")->required();
    convert->add_option("DIR", options->Output.Out, "Folder to write into, one folder per table as extract-all makes them")->required();
    convert->add_option("--table", options->Archive.Table, "Only the table of this name, as `list` shows it (any case)");
    convert->add_option("--jobs", options->Jobs, "Sprites converted at once (default: one a core)")->check(CLI::Range(1, 256));
    AddImageOptions(convert, {"png", "apng", "gif", "sheet", "bmp"}, options->Image, options->Colours, options->Output,
                    options->Archive);
    convert->footer("Example: brindle-cli convert demo.drs sprites/ --format sheet --jobs 2");
}
