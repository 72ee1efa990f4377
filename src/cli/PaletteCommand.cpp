// brindle-cli palette, and the colour choices of the commands that draw a sprite: --palette, the
// colours written #RRGGBB, and --player.

#include <iostream>

#include "cli/Commands.h"
#include "cli/Inputs.h"
#include "colour/Colours.h"
#include "colour/Palettes.h"

namespace {

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

const CLI::Validator ColourText(
    [](std::string& text) -> std::string {
        bool ok = text.size() == 7 && text[0] == '#';
        for (size_t i = 1; ok && i < text.size(); ++i) ok = IsHexDigit(text[i]);
        return ok ? std::string() : "a colour is written #RRGGBB, e.g. #FF00FF";
    },
    "#RRGGBB");

// "#RRGGBB", web order (checked when the command line is read), to a colour value: red in the low byte.
uint32_t ParseColour(const std::string& text) {
    auto component = [&](size_t at) { return static_cast<int32_t>(std::stoi(text.substr(at, 2), nullptr, 16)); };
    return RGB(component(1), component(3), component(5));
}

// Loads the palette file at path ("-": standard input) into Palette, or says in one line why not. Any
// format Brindle knows: JASC-PAL as the window reads it, then the others by their content.
bool LoadPaletteFile(const std::string& command, const std::string& path) {
    const std::string name = path == "-" ? "standard input" : path;
    const PaletteResult loaded = path == "-" ? LoadAnyPalette(std::cin, name) : LoadAnyPalette(path);
    // "Not valid palette file!", and the formats there are
    if (loaded.Code == Fault::NotThisKind) Complain(command, name, std::string(NotValidPaletteMessage) + ' ' + loaded.Detail);
    else if (!loaded) Complain(command, name, FailureReason(loaded, path));
    return loaded.Ok();
}

int RunPalette(const CommandLine& options) {
    if (!LoadPaletteFile(options.Command, options.Source)) return ExitFailed;
    std::string text;
    for (uint32_t colour : Palette)
        text += std::to_string(colour & 0xFF) + ' ' + std::to_string(colour >> 8 & 0xFF) + ' ' + std::to_string(colour >> 16 & 0xFF) + '\n';
    return WriteStandardOutput(options.Command, text) ? ExitOk : ExitFailed;
}

}  // namespace

void AddPalette(CLI::App* command, ColourChoice& colours) {
    command->add_option("--palette", colours.PalettePath,
                        "Palette instead of the default one: JASC-PAL, RIFF PAL, GIMP .gpl or Adobe .act (- reads standard input)");
}

void AddPlayer(CLI::App* command, ColourChoice& colours) {
    command->add_option("--player", colours.Player,
                        "Draw player pixels in this team's colours, 1 to 8: blue, red, green, yellow, orange, cyan, "
                        "purple, grey (default 1)")
        ->check(CLI::Range(1, 8));
}

void AddColour(CLI::App* command, const std::string& name, std::string& target, const std::string& what) {
    command->add_option(name, target, what)->check(ColourText);
}

bool PrepareColours(const CommandLine& line, const ColourChoice& colours, Outputs& outputs) {
    ResetColourChoices();
    (void)LoadPalette("");  // the default palette always loads
    if (!colours.PalettePath.empty()) {
        if (!LoadPaletteFile(line.Command, colours.PalettePath)) return false;
        outputs.AddInput(colours.PalettePath);
    }
    if (!colours.Mask.empty()) MaskColour = ParseColour(colours.Mask);
    if (!colours.Shadow.empty()) ShadowColour = ParseColour(colours.Shadow);
    if (!colours.Inner.empty()) OutlineInnerColour = ParseColour(colours.Inner);
    if (!colours.Outer.empty()) OutlineOuterColour = ParseColour(colours.Outer);
    return true;
}

void AddPaletteCommand(CLI::App& app, CommandTable& table) {
    const auto [palette, options] = AddCommand(app, table, "palette", "Print a palette as 256 lines \"R G B\"", RunPalette);
    palette->add_option("PAL", options->Source, "JASC-PAL, RIFF PAL, GIMP .gpl or Adobe .act file (- reads standard input)")->required();
    palette->footer("Example: brindle-cli palette 50532.pal");
}
