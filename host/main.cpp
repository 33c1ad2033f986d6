// twhost: the platform's host program. It loads the plug-in modules (*.twp)
// of a directory, lists them, calls their functions, runs them as reports and
// serves them over HTTP.
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "corelib/Utility.h"
#include "host/CacheCommands.h"
#include "host/CommandContext.h"
#include "host/DialogCommand.h"
#include "host/ExitCode.h"
#include "host/PluginCommands.h"
#include "host/ReportCommands.h"
#include "host/ServeCommand.h"

int main(int argc, char** argv) {
    CLI::App app("Host of the network-management platform's plug-in modules (NAME.twp): lists them, calls "
                 "their functions and serves them over HTTP.",
                 "twhost");
    CCommandContext context;
    app.add_option("--plugin-dir", context.m_strPluginDir,
                   "Directory of the plug-in modules (default: " +
                       CUtility::UTF16toUTF8(CUtility::GetPluginDir()) + ")")
        ->check(CLI::ExistingDirectory);
    // At most one command; none is reported below, so that a misspelt command
    // is named in CLI11's message rather than hidden behind "required".
    app.require_subcommand(0, 1);
    // Options of twhost may also follow the subcommand: "twhost plugins --plugin-dir DIR".
    app.fallthrough();
    app.footer("Exit status: 0 success, 1 the function failed or gave no value, 2 bad command line or arguments,\n"
               "3 unknown function or plug-in, 4 arguments refused by the plug-in.");

    RegisterPluginCommands(app, context);
    RegisterCacheCommands(app, context);
    RegisterReportCommands(app, context);
    RegisterServeCommand(app, context);
    RegisterDialogCommand(app, context);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // Help and version exit with 0; every other parse error is a usage error.
        return app.exit(e) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    try {
        if (!context.m_action) {
            std::string commands;
            // Hidden commands (no group) are for twhost itself.
            const std::vector<CLI::App*> subcommands =
                app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
            for (std::size_t i = 0; i < subcommands.size(); ++i)
                commands += (i == 0 ? "" : i + 1 == subcommands.size() ? " or " : ", ") + subcommands[i]->get_name();
            std::cerr << "twhost: a command is required: " << commands << " (twhost --help tells more)\n";
            return EXIT_USAGE;
        }
        return context.m_action();
    } catch (const std::exception& e) {
        std::cerr << "twhost: " << e.what() << '\n';
        return EXIT_FAILED;
    }
}
