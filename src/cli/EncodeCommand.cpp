// brindle-cli encode: a sprite made anew from what an export wrote, read by its content. Today an SLX
// bundle, exactly: the sprite decodes to what the bundle holds.

#include "base/Files.h"
#include "base/Functions.h"
#include "cli/Commands.h"
#include "cli/Inputs.h"
#include "colour/Palettes.h"
#include "export/EncodeInputs.h"
#include "export/SLXBundle.h"

namespace {

struct EncodeOptions : CommandLine {
    OutputChoice Output;
    ColourChoice Colours;
    bool Outlines = false;
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

int RunEncode(const EncodeOptions& options) {
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
    switch (TellEncodeInput(input)) {
        case EncodeInputKind::SLXBundle:
            if (const int status = EncodeBundle(options, name, input, outputs, slp); status != ExitOk) return status;
            break;
        case EncodeInputKind::Unknown:
            Complain(options.Command, name, "is not a kind of file encode reads; it reads " + std::string(EncodeInputKinds));
            return ExitFailed;
    }
    return outputs.Write(options.Output.Out, slp) == Outputs::Result::Failed ? ExitFailed : ExitOk;
}

}  // namespace

void AddEncodeCommand(CLI::App& app, CommandTable& table) {
    const auto [encode, options] = AddCommand(app, table, "encode", "Make an SLP sprite from an SLX bundle", RunEncode);
    encode->add_option("INPUT", options->Source, "SLX bundle (the .slx text; its bitmaps lie beside it), told by its content")->required();
    encode->add_option("OUT", options->Output.Out, "SLP file to write (- is standard output)")->required();
    AddPalette(encode, options->Colours);
    encode->add_option("--player", options->Colours.Player,
                       "The team whose colours the player pixels were drawn in, 1 to 8 (default 1, as slx exports)")
        ->check(CLI::Range(1, 8));
    encode->add_flag("--outlines", options->Outlines, "Pictures: opaque pure blue and yellow are the inner and outer outline");
    AddNoClobber(encode, options->Output);
    encode->footer("Example: brindle-cli slx walker.slp out/walk.slx && brindle-cli encode out/walk.slx walker-again.slp");
}
