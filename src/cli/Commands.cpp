// What brindle-cli's families of commands share: the options several of them take, the usage line,
// and the closing line of an export that went on past a failure.

#include "cli/Commands.h"

int Usage(const CommandLine& line, const std::string& reason) {
    Complain(line.Command, "", reason + " (see brindle-cli " + line.Command + " --help)");
    return ExitUsage;
}

void AddForce(CLI::App* command, ArchiveChoice& archive) {
    command->add_flag("--force", archive.Force, "Read an archive of neither known flavour anyway");
}

void AddNoClobber(CLI::App* command, OutputChoice& output) {
    command->add_flag("-n,--no-clobber", output.NoClobber, "Keep a file that exists already, and go on with the rest");
}

void AddKeepGoing(CLI::App* command, OutputChoice& output) {
    command->add_flag("--keep-going", output.KeepGoing,
                      "When a file fails, keep the ones written and go on; without it, a failure leaves no file of this run");
}

void AddEntryChoice(CLI::App* command, std::vector<int32_t>& ids, ArchiveChoice& archive, const std::string& what) {
    command->add_option("--id", ids, what)->allow_extra_args(false);
    command->add_option("--table", archive.Table, "Only the table of this name, as `list` shows it (any case)");
}

void AddSpriteChoice(CLI::App* command, CommandLine& line, SpriteChoice& sprite) {
    command->add_option("SPRITE", line.Source, "SLP file (- reads standard input), or the archive with --id")->required();
    AddEntryChoice(command, sprite.IDs, sprite.Archive, "Read the sprite of this ID from the archive given as SPRITE");
}

void SayWhatWasWritten(const CommandLine& line, const std::string& out, const Outputs& outputs, int failed,
                       const std::vector<int32_t>& damaged, const std::string& damage) {
    std::string text = std::to_string(outputs.WrittenCount()) + " files written, " + std::to_string(failed) + " failed";
    if (!damaged.empty()) {
        text += damaged.size() == 1 ? ", frame " : ", frames ";
        for (size_t i = 0; i < damaged.size(); ++i) text += (i == 0 ? "" : ", ") + std::to_string(damaged[i]);
        text += " damaged" + damage;
    }
    Complain(line.Command, out, text);
}
