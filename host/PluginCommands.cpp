#include "host/PluginCommands.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "corelib/XML.h"
#include "corelib/framework/StringArray.h"
#include "host/ArgumentReader.h"
#include "host/ExitCode.h"
#include "host/LoadFailure.h"
#include "host/LoadedPlugins.h"
#include "host/ResultPrinter.h"
#include "host/SignatureText.h"
#include "varlib/metadata/ModuleMetaInfo.h"

namespace {

std::string Utf8(const CString& text) { return CUtility::UTF16toUTF8(text); }

std::vector<CString> SortedPluginNames(const CPluginRegistry& registry) {
    CStringArray names;
    registry.GetPlugins(names);
    std::vector<CString> sorted;
    for (intptr_t i = 0; i < names.GetSize(); ++i)
        sorted.push_back(names.GetAt(i));
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

// What the loaded modules declare under one name, one line per signature.
struct DeclaredForms {
    std::vector<std::string> lines;
    bool bTypesMatch = false;   // some signature has exactly the types of the arguments
};

DeclaredForms FindDeclaredForms(const CPluginRegistry& registry, const CString& strFunction,
                                const CVariableList& arguments) {
    DeclaredForms forms;
    for (const CString& plugin : SortedPluginNames(registry)) {
        CModuleMetaInfo::CFunctionMap functions = registry.GetPluginModuleMetaInfo(plugin).GetFunctionsMetaInfo();
        CString key(strFunction);
        CModuleMetaInfo::CSignatureArray signatures;
        if (!functions.Lookup(key, signatures))
            continue;
        for (intptr_t i = 0; i < signatures.GetSize(); ++i) {
            forms.lines.push_back(SignatureText(strFunction, signatures[i]) + "    [" + Utf8(plugin) + "]");
            forms.bTypesMatch = forms.bTypesMatch || ArgumentsHaveTypes(arguments, signatures[i]);
        }
    }
    return forms;
}

int PrintPluginsXml(const CPluginRegistry& registry) {
    // The tree of the platform's plug-in listing, with each module's status added.
    CXML root(u"PLUGINS");
    bool bFailed = false;
    for (const CString& name : SortedPluginNames(registry)) {
        CXML plugin(u"PLUGIN");
        plugin.SetAttr(CTWMQMessageRegistry::ATTR_NAME, name);
        plugin.SetAttr(u"Status", registry.GetPluginStatus(name));
        const std::string reason = LoadFailureReason(registry, name);
        if (!reason.empty())
            plugin.SetAttr(u"Reason", CUtility::UTF8toUTF16(reason));
        bFailed = bFailed || !reason.empty();
        plugin.AddChild(registry.GetPluginModuleMetaInfo(name).ToXml());
        root.AddChild(plugin);
    }
    std::cout << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" << Utf8(root.ToString(CXML::FORMAT_INDENT));
    std::cout << '\n';
    return bFailed ? EXIT_PLUGIN_FAILED : EXIT_OK;
}

int PrintPlugins(const CLoadedPlugins& plugins) {
    const CPluginRegistry& registry = plugins.GetRegistry();
    const std::vector<CString> names = SortedPluginNames(registry);
    std::cout << "Plug-in directory: " << Utf8(plugins.GetPluginDir()) << '\n';
    if (names.empty()) {
        std::cout << "No plug-in modules (*.twp) found there.\n";
        return EXIT_OK;
    }
    bool bFailed = false;
    for (const CString& name : names) {
        const std::string reason = LoadFailureReason(registry, name);
        bFailed = bFailed || !reason.empty();
        std::cout << '\n' << Utf8(name) << ": " << Utf8(registry.GetPluginStatus(name)) << (reason.empty() ? "" : ": ")
                  << reason << '\n';
        const CModuleMetaInfo info = registry.GetPluginModuleMetaInfo(name);
        if (info.GetName().IsEmpty() && info.GetFunctionsMetaInfo().GetCount() == 0)
            continue;   // a module that failed to load has nothing more to say
        std::cout << "  Module:      " << Utf8(info.GetName()) << '\n';
        if (!info.GetVersion().IsEmpty())
            std::cout << "  Version:     " << Utf8(info.GetVersion()) << '\n';
        if (!info.GetDescription().IsEmpty())
            std::cout << "  Description: " << Utf8(info.GetDescription()) << '\n';
        std::cout << "  Functions:\n";
        const CModuleMetaInfo::CFunctionMap functions = info.GetFunctionsMetaInfo();
        for (const CString& function : SortedFunctionNames(info)) {
            CString key(function);
            CModuleMetaInfo::CSignatureArray signatures;
            functions.Lookup(key, signatures);
            if (signatures.GetSize() == 0)
                std::cout << "    " << Utf8(function) << " (no signature declared)\n";
            for (intptr_t i = 0; i < signatures.GetSize(); ++i) {
                std::cout << "    " << SignatureText(function, signatures[i]) << '\n';
                if (!signatures[i].GetDescription().IsEmpty())
                    std::cout << "        " << Utf8(signatures[i].GetDescription()) << '\n';
            }
        }
    }
    return bFailed ? EXIT_PLUGIN_FAILED : EXIT_OK;
}

struct CallOptions {
    std::string strFunction;
    std::string strArguments;
    bool bText = false;
};

int CallFunction(const CLoadedPlugins& plugins, const CallOptions& options, const CVariableList& arguments) {
    const CPluginRegistry& registry = plugins.GetRegistry();
    const CString function = CUtility::UTF8toUTF16(options.strFunction);
    if (!registry.IsRegisteredFunction(function)) {
        std::cerr << "twhost: no plug-in in " << Utf8(plugins.GetPluginDir()) << " offers a function named '"
                  << options.strFunction << "' ('twhost plugins' lists the functions)\n";
        return EXIT_UNKNOWN_FUNCTION;
    }
    if (!registry.ValidateParameters(function, arguments)) {
        std::cerr << "twhost: " << options.strFunction << " does not accept the arguments "
                  << ArgumentTypesText(arguments) << '\n';
        const DeclaredForms forms = FindDeclaredForms(registry, function, arguments);
        if (forms.bTypesMatch)
            std::cerr << "The types fit a declared form, so the plug-in refused a value (an empty text, a name that "
                         "is not there, ...).\n";
        if (!forms.lines.empty()) {
            std::cerr << "Declared forms:\n";
            for (const std::string& line : forms.lines)
                std::cerr << "  " << line << '\n';
        }
        return EXIT_REJECTED;
    }
    const CVariable result = registry.InvokeFunction(function, arguments);
    if (!result.IsValid()) {
        std::cerr << "twhost: " << options.strFunction << " returned no value\n";
        return EXIT_FAILED;
    }
    std::cout << CResultPrinter::Format(result, options.bText);
    return EXIT_OK;
}

}  // namespace

void RegisterPluginCommands(CLI::App& app, CCommandContext& context) {
    CLI::App* list = app.add_subcommand("plugins", "List the plug-in modules with their status, module information "
                                                   "and the signatures of their functions");
    auto xml = std::make_shared<bool>(false);
    list->add_flag("--xml", *xml, "Print the module information in its XML form instead");
    list->callback([&context, xml] {
        context.m_action = [&context, xml] {
            return WithPlugins(context, [&xml](const CLoadedPlugins& plugins) {
                return *xml ? PrintPluginsXml(plugins.GetRegistry()) : PrintPlugins(plugins);
            });
        };
    });

    CLI::App* call = app.add_subcommand("call", "Call a plug-in function and print its result as JSON");
    auto options = std::make_shared<CallOptions>();
    call->add_option("FUNCTION", options->strFunction, "Name of the function, as 'twhost plugins' shows it")
        ->required();
    call->add_option("ARGUMENTS", options->strArguments,
                     "The arguments as one JSON array, e.g. '[\"eth*\"]' (default: no arguments)");
    call->add_flag("--text", options->bText,
                   "Print the result as text rather than JSON (an HTML report as the page itself)");
    call->footer("The plug-in checks the arguments first (ValidateArguments); a refusal lists the declared forms.\n"
                 "Example: twhost call --text InterfaceReport '[\"eth*\"]' > interfaces.html");
    call->callback([&context, options] {
        context.m_action = [&context, options] {
            CVariableList arguments;
            std::string error;
            if (!CArgumentReader::Read(options->strArguments, arguments, error)) {
                std::cerr << "twhost: " << error << '\n';
                return static_cast<int>(EXIT_USAGE);
            }
            return WithPlugins(context, [&options, &arguments](const CLoadedPlugins& plugins) {
                return CallFunction(plugins, *options, arguments);
            });
        };
    });
}
