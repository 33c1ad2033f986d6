// twhost: the platform's host program. It loads the plug-in modules (*.twp)
// of a directory, lists them, calls their functions, runs them as reports and
// serves them over HTTP.
#include <iostream>
#include <string>
#include <utility>
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

namespace {

// What each command's exit statuses mean.
constexpr std::pair<const char*, const char*> kExitStatuses[] = {
    {"plugins", "0 every module loaded, 1 loading stopped (a module threw), 2 bad command line,\n"
                "5 a module failed to load (the listing says why)."},
    {"call", "0 success, 1 the function failed or gave no value, 2 bad command line or arguments,\n"
             "3 no plug-in offers the function, 4 arguments refused by the plug-in."},
    {"report", "0 the report is written and its path printed, 1 the function failed or gave no text,\n"
               "or the file could not be written, 2 bad command line or arguments, 3 no such plug-in,\n"
               "4 arguments refused by the plug-in."},
    {"reports", "0 success, 1 a report file could not be deleted, 2 bad command line."},
    {"cache", "0 success, 1 the file could not be read or written, or the key or text is not there,\n"
              "2 bad command line or JSON."},
    {"serve", "0 stopped by SIGINT or SIGTERM, 1 the server could not start (the address is taken, the\n"
              "plug-ins failed to load) or failed, 2 bad command line. SIGINT and SIGTERM stop it at once:\n"
              "new clients are refused, and a message under way has up to --call-timeout to finish."},
    {"dialog", "0 the dialog was closed, 1 it could not be shown, 2 bad command line."},
};

CLI::App* FindCommand(CLI::App& app, const std::string& name) {
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        if (command->get_name() == name)
            return command;
    return nullptr;
}

// "a, b or c" of the commands a user may give; hidden ones (no group) are for twhost itself.
std::string CommandList(CLI::App& app) {
    std::string commands;
    const std::vector<CLI::App*> subcommands =
        app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
    for (std::size_t i = 0; i < subcommands.size(); ++i)
        commands += (i == 0 ? "" : i + 1 == subcommands.size() ? " or " : ", ") + subcommands[i]->get_name();
    return commands;
}

}  // namespace

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
    app.set_version_flag("--version", "twhost " TW_VERSION);
    // Every message of twhost starts with its name, CLI11's too.
    app.failure_message([](const CLI::App*, const CLI::Error& e) {
        return "twhost: " + std::string(e.what()) + "\nRun twhost --help for more information.\n";
    });

    RegisterPluginCommands(app, context);
    RegisterCacheCommands(app, context);
    RegisterReportCommands(app, context);
    RegisterServeCommand(app, context);
    RegisterDialogCommand(app, context);
    // Each command states the exit statuses it gives; set after the commands
    // are made, so that they don't take the program's own.
    app.footer("Exit status: 0 success, 1 failure, 2 bad command line; the --help of each command lists its own.");
    for (const auto& [command, statuses] : kExitStatuses)
        if (CLI::App* subcommand = FindCommand(app, command))
            subcommand->footer(std::string("Exit status: ") + statuses);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError& e) {
        // A word where a command belongs is a command that doesn't exist.
        const std::vector<std::string> extras = app.remaining();
        if (app.get_subcommands().empty() && !extras.empty() && extras.front().rfind("-", 0) != 0) {
            std::cerr << "twhost: unknown command '" << extras.front() << "'; the commands are "
                      << CommandList(app) << " (twhost --help tells more)\n";
            return EXIT_USAGE;
        }
        return app.exit(e) == 0 ? EXIT_OK : EXIT_USAGE;
    } catch (const CLI::ParseError& e) {
        // Help and version exit with 0; every other parse error is a usage error.
        return app.exit(e) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    try {
        if (!context.m_action) {
            std::cerr << "twhost: a command is required: " << CommandList(app) << " (twhost --help tells more)\n";
            return EXIT_USAGE;
        }
        return context.m_action();
    } catch (const std::exception& e) {
        std::cerr << "twhost: " << e.what() << '\n';
        return EXIT_FAILED;
    }
}
