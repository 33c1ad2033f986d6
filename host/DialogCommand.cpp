#include "host/DialogCommand.h"

#include <dlfcn.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "corelib/Utility.h"
#include "host/ExitCode.h"
#include "host/LoadedPlugins.h"

namespace {

// The dialog and Qt live in a module of their own, so that twhost never links
// Qt: an installation without the module (a server) has no dialog command.
// The module lies in the library folder, found from bin/ as the libraries are.
std::string DialogModulePath() {
    return CUtility::UTF16toUTF8(CUtility::GetExecutableDir()) + TW_DIALOG_MODULE_FROM_BIN;
}

// The module's entry: shows the dialog on the registry's plug-ins, or saves a
// picture of it to screenshot when that is not empty; gives an exit status.
using ShowDialog = int (*)(CPluginRegistry* registry, const char* screenshot);

}  // namespace

void RegisterDialogCommand(CLI::App& app, CCommandContext& context) {
    const std::string module = DialogModulePath();
    if (::access(module.c_str(), R_OK) != 0)
        return;
    CLI::App* dialog = app.add_subcommand(
        "dialog", "Show the plug-ins, their functions and signatures in a window (needs a display)");
    auto screenshot = std::make_shared<std::string>();
    dialog->add_option("--screenshot", *screenshot,
                       "Select a signature, save a PNG picture of the window to this file and close it");
    dialog->callback([&context, screenshot, module] {
        context.m_action = [&context, screenshot, module] {
            // Never closed: Qt does not unload cleanly.
            void* handle = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
            const auto show = handle ? reinterpret_cast<ShowDialog>(::dlsym(handle, "TwhostShowDialog")) : nullptr;
            if (!show) {
                std::cerr << "twhost: the plug-ins dialog can't open: " << ::dlerror() << '\n';
                return int(EXIT_FAILED);
            }
            return WithPlugins(context, [&screenshot, show](const CLoadedPlugins& plugins) {
                return show(&plugins.GetRegistry(), screenshot->c_str());
            });
        };
    });
}
