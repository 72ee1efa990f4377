// brindle-cli encode: a sprite made anew from what an export or an editor wrote, read by its content:
// an SLX bundle or a sheet with its layers exactly, so that the sprite decodes to what they hold; a
// sheet without them and PNG files by the rules of their colours (export/PictureInputs.h).

#include <algorithm>
#include <cstdio>

#include "base/Files.h"
#include "base/Functions.h"
#include "cli/Commands.h"
#include "cli/Inputs.h"
#include "colour/Palettes.h"
#include "export/EncodeInputs.h"
#include "export/PictureInputs.h"
#include "export/SLXBundle.h"

namespace {

struct EncodeOptions : CommandLine {
    std::vector<std::string> Inputs;  // Source is the first
    OutputChoice Output;
    ColourChoice Colours;
    bool Outlines = false;
    std::string Hotspot;  // --hotspot X,Y of PNG files, as typed
};

// Why the work failed, in the line's words: the system's own for a file that could not be opened.
std::string EncodeFailure(const Outcome& failure) {
    if (failure.Code == Fault::CannotOpen && !failure.File.empty()) return failure.Detail + " (" + UnreadableReason(failure.File) + ")";
    return failure.Detail;
}

// The bundle whose text is `text`, its bitmaps beside it (in the current folder for standard input),
// each an input that no output may be written over.
int EncodeBundle(const EncodeOptions& options, const std::string& name, const std::vector<uint8_t>& text, Outputs& outputs,
                 std::vector<uint8_t>& slp) {
    SLXListing listing;
    if (Outcome parsed = ParseSLXText(text, listing); !parsed) {
        Complain(options.Command, name, parsed.Detail);
        return ExitFailed;
    }
    const std::string folder = options.Source == "-" ? std::string() : FolderOfPath(options.Source);
    for (const SLXFrameLines& frame : listing) {
        outputs.AddInput(folder + frame.MaskName);
        outputs.AddInput(folder + frame.ImageName);
    }
    if (Outcome made = EncodeSLXBundle(listing, folder, Palette, options.Colours.Player, slp); !made) {
        Complain(options.Command, name, EncodeFailure(made));
        return ExitFailed;
    }
    return ExitOk;
}

// The frames of a sheet or of PNG files, encoded; the pictures read become inputs, and the pixels that
// were not exact are counted in one line.
int EncodePictures(const EncodeOptions& options, EncodeInputKind kind, const std::string& name, const std::vector<uint8_t>& input,
                   Outputs& outputs, std::vector<uint8_t>& slp) {
    int32_t x = 0, y = 0;
    char comma = 0, more = 0;
    if (!options.Hotspot.empty() && (std::sscanf(options.Hotspot.c_str(), "%d%c%d%c", &x, &comma, &y, &more) != 3 || comma != ',')) {
        return Usage(options, "--hotspot is X,Y, two whole numbers");
    }
    const PictureRules rules{Palette, options.Colours.Player, options.Outlines};
    PictureReport report;
    std::vector<FramePixels> frames;
    Outcome read = Outcome::Success();
    if (kind == EncodeInputKind::Sheet) {
        read = FramesFromSheet(input, options.Source == "-" ? std::string() : FolderOfPath(options.Source), rules, frames, report);
    } else if (options.Source == "-") {
        read = FrameFromPng(input, x, y, rules, frames.emplace_back(), report);
    } else {
        read = FramesFromPictures(options.Inputs, x, y, rules, frames, report, input);
    }
    if (!read) {
        Complain(options.Command, read.File.empty() ? name : read.File, EncodeFailure(read));
        return ExitFailed;
    }
    for (const std::string& file : report.Files) outputs.AddInput(file);
    if (Outcome made = EncodeSLP(frames, slp); !made) {
        Complain(options.Command, name, made.Detail);
        return ExitFailed;
    }
    if (report.Repainted > 0) {
        Complain(options.Command, name, std::to_string(report.Repainted) + " pixels painted over their layer were read by their colour");
    }
    if (report.Inexact > 0) {
        Complain(options.Command, name, std::to_string(report.Inexact) + " pixels were not exact: drawn in the nearest colour of the "
                                        "palette, or of an alpha taken as opaque or transparent");
    }
    return ExitOk;
}

int RunEncode(const EncodeOptions& given) {
    EncodeOptions options = given;
    options.Output.Out = options.Inputs.back();
    options.Inputs.pop_back();
    options.Source = options.Inputs.front();
    if (options.Inputs.size() > 1 && std::find(options.Inputs.begin(), options.Inputs.end(), "-") != options.Inputs.end()) {
        return Usage(options, "- (standard input) comes alone");
    }
    Outputs outputs(options.Command, options.Output.NoClobber);
    const std::string name = options.Source == "-" ? "standard input" : options.Source;
    std::vector<uint8_t> input;
    if (options.Source == "-") {
        if (!ReadStandardInput(options.Command, MaxEncodeInputBytes, input)) return ExitFailed;
    } else if (Outcome read = ReadWholeFile(options.Source, MaxEncodeInputBytes, input); !read) {
        Complain(options.Command, name, FailureReason(read, options.Source));
        return ExitFailed;
    }
    outputs.AddInput(options.Source);
    if (!PrepareColours(options, options.Colours, outputs)) return ExitFailed;

    std::vector<uint8_t> slp;
    const EncodeInputKind kind = TellEncodeInput(input);
    if (options.Inputs.size() > 1 && kind != EncodeInputKind::Picture) {
        return Usage(options, "PNG files come several at once, one a frame; an SLX bundle or a sheet comes alone");
    }
    if (kind != EncodeInputKind::Picture && !options.Hotspot.empty()) return Usage(options, "--hotspot goes with PNG files");
    switch (kind) {
        case EncodeInputKind::SLXBundle:
            if (const int status = EncodeBundle(options, name, input, outputs, slp); status != ExitOk) return status;
            break;
        case EncodeInputKind::Sheet:
        case EncodeInputKind::Picture:
            if (const int status = EncodePictures(options, kind, name, input, outputs, slp); status != ExitOk) return status;
            break;
        case EncodeInputKind::Unknown:
            Complain(options.Command, name, "is not a kind of file encode reads; it reads " + std::string(EncodeInputKinds));
            return ExitFailed;
    }
    for (const std::string& other : options.Inputs) outputs.AddInput(other);
    return outputs.Write(options.Output.Out, slp) == Outputs::Result::Failed ? ExitFailed : ExitOk;
}

}  // namespace

void AddEncodeCommand(CLI::App& app, CommandTable& table) {
    const auto [encode, options] =
        AddCommand(app, table, "encode", "Make an SLP sprite from an SLX bundle, a sprite sheet or PNG files", RunEncode);
    // INPUT... OUT: one list, split once it is read, since the inputs come in any number.
    encode->add_option("INPUT...OUT", options->Inputs,
                       "The input, told by its content: an SLX bundle (the .slx text; its bitmaps lie beside it), a sprite sheet "
                       "(the .json; its pictures lie beside it), or PNG files, one a frame. Then the SLP file to write (- is "
                       "standard output)")
        ->expected(2, CLI::detail::expected_max_vector_size)
        ->required();
    AddPalette(encode, options->Colours);
    encode->add_option("--player", options->Colours.Player,
                       "The team whose colours the player pixels were drawn in, 1 to 8 (default 1, as slx exports)")
        ->check(CLI::Range(1, 8));
    encode->add_flag("--outlines", options->Outlines, "Pictures: opaque pure blue and yellow are the inner and outer outline");
    encode->add_option("--hotspot", options->Hotspot, "PNG files: the hot spot X,Y on each picture (default 0,0)");
    AddNoClobber(encode, options->Output);
    encode->footer("Examples: brindle-cli encode out/walk.slx walker-again.slp\n"
                   "          brindle-cli encode walk.json walker-again.slp         (walk.png, walk.layers.png beside it)\n"
                   "          brindle-cli encode walk1.png walk2.png walker.slp --hotspot 24,60");
}
