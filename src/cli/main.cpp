// brindle-cli: the core's routines from the command line, for batch work and scripts.
// Data go to stdout; each message is one line on stderr, "brindle-cli: COMMAND: FILE: what went wrong".
// Exit 0 on success, 1 when the work failed, 2 when the command line can't be carried out.

#include <iostream>
#include <string>
#include <string_view>

#include "cli/Commands.h"

namespace {

constexpr std::string_view CommandNames =
    "list, extract, extract-all, pack, diff, info, frame, sequence, slx, palette, export, convert, encode, thumbnail";

// An unknown command is named, with the ones there are; false after saying so.
bool KnownCommand(const CLI::App& app, int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "brindle-cli: no command given; the commands are " << CommandNames << " (see brindle-cli --help)\n";
        return false;
    }
    const std::string first = argv[1];
    const auto known = app.get_subcommands([&](const CLI::App* command) { return command->get_name() == first; });
    if (first.starts_with("-") || !known.empty()) return true;
    Complain(first, "", "unknown command; the commands are " + std::string(CommandNames));
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    (void)ProcessUmask();  // read while this is the only thread
    CLI::App app{"Lists and extracts the entries of DRS archives, and exports their SLP sprites.\n"
                 "A file named - is standard input, or standard output where one file is written."};
    app.set_version_flag("-V,--version", std::string("brindle-cli ") + BRINDLE_VERSION);
    app.require_subcommand(1);
    app.footer(std::string("Commands: ") + std::string(CommandNames) + ". Each has its own --help.");
    CommandTable commands;
    for (auto add : {AddArchiveCommands, AddPackCommands, AddSpriteCommands, AddExportCommand, AddConvertCommand,
                     AddEncodeCommand, AddThumbnailCommand, AddPaletteCommand})
        add(app, commands);

    if (!KnownCommand(app, argc, argv)) return ExitUsage;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(error);  // --help, --version
        const std::string first = argv[1];
        const bool named = !first.starts_with("-");
        Complain(named ? first : "", "", std::string(error.what()) + " (see brindle-cli " + (named ? first + " " : "") + "--help)");
        return ExitUsage;
    }
    for (const CommandEntry& command : commands) {
        if (!command.App->parsed()) continue;
        try {
            return command.Run();
        } catch (const std::exception& error) {
            Complain(command.Line->Command, command.Line->Source, error.what());
            return ExitFailed;
        }
    }
    return ExitUsage;
}
