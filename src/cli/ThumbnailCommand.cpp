// brindle-cli thumbnail, for file managers: a PNG of a sprite's first frame, or of an archive's first
// sprite, made in the time a file manager waits.

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <string_view>

#include "archive/DRSCode.h"
#include "cli/Commands.h"
#include "cli/Inputs.h"
#include "export/ImageFiles.h"
#include "export/Rgba.h"

namespace {

struct ThumbnailOptions : CommandLine {
    std::string Out;
    int Size = 0;
};

// A file manager waits for its thumbnail, so past this time the command gives up, whatever it is doing
// or waiting for. The clock starts once the command line is read; the rest of the second is for the
// program's start and exit.
constexpr long ThumbnailMicroseconds = 900'000;

// The line said when the time is up, made before the clock starts: the handler can only write it.
std::string tooLongLine;

void GiveUpThumbnail(int) {
    // Only write and _exit are safe here: nothing is flushed, and no temporary file exists yet.
    const ssize_t written = ::write(STDERR_FILENO, tooLongLine.data(), tooLongLine.size());
    (void)written;
    ::_exit(ExitFailed);
}

// Starts the thumbnail's clock, or with 0 stops it.
void SetThumbnailClock(long microseconds) {
    itimerval timer{};
    timer.it_value.tv_sec = microseconds / 1'000'000;
    timer.it_value.tv_usec = microseconds % 1'000'000;
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

// The archive's first sprite, or false after a line that says why there is none.
bool FirstSpriteOf(const ThumbnailOptions& options, ReadOnlyFile& archive, SLPFile& sprite) {
    CliHost host;
    if (!ReadDRSCatalogue(archive, host)) {
        Complain(options.Command, options.Source, "damaged archive");
        return false;
    }
    const std::vector<ListRow>& rows = host.Rows();
    const auto first = std::find_if(rows.begin(), rows.end(), [](const ListRow& row) { return row.ItemData == KindSLP; });
    if (first == rows.end()) {
        Complain(options.Command, options.Source, "holds no sprite");
        return false;
    }
    if (Outcome read = ReadEntryBytes(archive, DRSCatalogue[size_t(first - rows.begin())], sprite.Bytes); !read) {
        Complain(options.Command, options.Source, read.Detail);
        return false;
    }
    return true;
}

// A sprite, read from the file already open.
bool WholeFileOf(const ThumbnailOptions& options, ReadOnlyFile& file, SLPFile& sprite) {
    if (static_cast<uint64_t>(file.Size()) > MaxSLPFileBytes) {
        Complain(options.Command, options.Source, "larger than a sprite Brindle reads");
        return false;
    }
    sprite.Bytes.resize(static_cast<size_t>(file.Size()));
    if (file.ReadAt(0, sprite.Bytes) != sprite.Bytes.size()) {
        Complain(options.Command, options.Source, "cannot be read");
        return false;
    }
    return true;
}

// The sprite of the thumbnail: an archive's first, where the input is an archive by its first bytes,
// else the input itself.
bool ThumbnailSprite(const ThumbnailOptions& options, Outputs& outputs, SLPFile& sprite) {
    const bool fromStandardInput = options.Source == "-";
    ReadOnlyFile file;
    std::vector<uint8_t> bytes;
    if (fromStandardInput) {  // a sprite's limit, an archive's too: what is past it is left unread
        if (!ReadStandardInput(options.Command, MaxSLPFileBytes, bytes)) return false;
    } else if (!file.Open(options.Source)) {
        Complain(options.Command, options.Source, UnreadableReason(options.Source));
        return false;
    }
    outputs.AddInput(options.Source);
    std::array<uint8_t, Magic2001.size()> magic{};
    const size_t got = fromStandardInput ? std::min(bytes.size(), magic.size()) : file.ReadAt(0, magic);
    if (fromStandardInput) std::copy_n(bytes.begin(), got, magic.begin());
    const std::string_view start(reinterpret_cast<const char*>(magic.data()), got);

    sprite.Path = options.Source;
    if (HeaderAtOfMagic(start) != 0) {
        if (fromStandardInput) file.OpenBytes("standard input", std::move(bytes));
        return FirstSpriteOf(options, file, sprite);
    }
    if (fromStandardInput) sprite.Bytes = std::move(bytes);
    else if (!WholeFileOf(options, file, sprite)) return false;
    // A file manager hands over any file: one whose header no sprite could have is named for what it is
    // not, rather than for the frame table a sound or a picture would cut off.
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (!ParseSLPHeaders(sprite, header, frames)) {
        Complain(options.Command, fromStandardInput ? "standard input" : options.Source, "not a sprite or an archive");
        return false;
    }
    return true;
}

int RunThumbnail(const ThumbnailOptions& options) {
    tooLongLine = ComplaintLine(options.Command, options.Source == "-" ? "standard input" : options.Source,
                                "took too long; no thumbnail written");
    std::signal(SIGALRM, GiveUpThumbnail);
    SetThumbnailClock(ThumbnailMicroseconds);
    Outputs outputs(options.Command, false);
    SLPFile sprite;
    CliHost host;
    if (!ThumbnailSprite(options, outputs, sprite) || !PrepareColours(options, ColourChoice{}, outputs)) return ExitFailed;
    RgbaPicture thumbnail;
    std::vector<uint8_t> png;
    if (Outcome made = MakeThumbnail(sprite, options.Size, thumbnail, host); !made) {
        Complain(options.Command, options.Source, FailureReason(made));
        return ExitFailed;
    }
    if (Outcome encoded = EncodePng(thumbnail, png); !encoded) {
        Complain(options.Command, options.Source, encoded.Detail);
        return ExitFailed;
    }
    SetThumbnailClock(0);  // a write cut short would leave its temporary file behind
    return outputs.Write(options.Out, png) == Outputs::Result::Failed ? ExitFailed : ExitOk;
}

}  // namespace

void AddThumbnailCommand(CLI::App& app, CommandTable& table) {
    const auto [thumbnail, options] = AddCommand(
        app, table, "thumbnail", "A PNG thumbnail of a sprite's first frame, or of an archive's first sprite", RunThumbnail);
    thumbnail->add_option("INPUT", options->Source, "SLP sprite or DRS archive (- reads standard input)")->required();
    thumbnail->add_option("OUTPUT", options->Out, "PNG file to write (- is standard output)")->required();
    thumbnail->add_option("SIZE", options->Size, "Largest width and height, in pixels")->required()->check(CLI::Range(1, 4096));
    thumbnail->footer("Example: brindle-cli thumbnail demo.drs demo.png 128   (as file managers run it)");
}
