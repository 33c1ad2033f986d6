#include "host/ReportCommands.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "corelib/Message.h"
#include "corelib/MessageServer.h"
#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "corelib/XML.h"
#include "host/ArgumentReader.h"
#include "host/ExitCode.h"
#include "host/LoadedPlugins.h"
#include "host/ReportDirectory.h"
#include "varlib/reports/ReportManager.h"

namespace {

std::string Utf8(const CString& text) { return CUtility::UTF16toUTF8(text); }

// The transport of an in-process request: it keeps the one response.
class CCapturedResponse : public CMessageServer {
public:
    int SendMessageToClient(CMessage& message, const CString& /*client*/, unsigned int /*clientData*/) override {
        m_response = message;
        m_bSent = true;
        return 1;
    }
    CMessage m_response;
    bool m_bSent = false;
};

// The report manager in the registry's slot for the length of one command. It
// is made before the plug-ins are loaded, so that the registry they are loaded
// into is this object, and released after they are unloaded.
class CReportService {
public:
    CReportService(CMessageServer* pServer, const std::string& strDirectory) {
        m_pManager = CReportManager::GetInstance();
        if (m_pManager == nullptr)
            throw std::runtime_error("the report service could not be created");
        m_pManager->SetMessageServer(pServer);
        m_pManager->SetWebServerInfo(CReportManager::GetDefaultURL(), CUtility::UTF8toUTF16(strDirectory));
    }
    ~CReportService() { CReportManager::CleanUp(); }
    CReportService(const CReportService&) = delete;
    CReportService& operator=(const CReportService&) = delete;

    CReportManager& operator*() const { return *m_pManager; }

private:
    CReportManager* m_pManager;
};

// The report directory without a trailing "/": the option's, or the default
// one, made when missing (our choice: the service makes none, the host
// makes its own default).
std::string ReportDirectory(const std::string& strOption, bool bMakeDefault) {
    std::string dir = strOption.empty() ? DefaultReportDirectory() : strOption;
    if (strOption.empty() && bMakeDefault)
        std::filesystem::create_directories(dir);
    while (dir.size() > 1 && dir.back() == '/')
        dir.pop_back();
    return dir;
}

struct ReportOptions {
    std::string strPlugin;
    std::string strFunction;
    std::string strArguments;
    std::string strReportDir;
};

// The service's reasons and the exit status each one gives.
int ExitCodeOf(const CString& reason) {
    if (reason == CReportManager::PLUGIN_NOT_FOUND_REASON)
        return EXIT_UNKNOWN_FUNCTION;
    if (reason == CReportManager::INVALID_PARAMETERS_REASON)
        return EXIT_REJECTED;
    return EXIT_FAILED;
}

// Prints the report's path, or the reason it failed.
int PrintOutcome(const CCapturedResponse& server, const std::string& strDirectory, const ReportOptions& options) {
    if (!server.m_bSent) {
        std::cerr << "twhost: the report service gave no answer\n";
        return EXIT_FAILED;
    }
    CMessage response = server.m_response;
    const CXML answer = response.GetBody();
    if (answer.GetAttrInt(CTWMQMessageRegistry::ATTR_STATUS, 1) == 0) {
        const std::string url = Utf8(answer.GetAttr(CTWMQMessageRegistry::ATTR_URL, CString()));
        // One "/" between, also after a directory given with a trailing one.
        std::cout << (std::filesystem::path(strDirectory) / url.substr(url.rfind('/') + 1)).string() << '\n';
        return EXIT_OK;
    }
    const CString reason = answer.GetAttr(CReportManager::REASON_ATTR, CString());
    std::cerr << "twhost: " << Utf8(reason) << " (" << options.strPlugin << ", " << options.strFunction << ")\n";
    return ExitCodeOf(reason);
}

int RunReport(const CCommandContext& context, const ReportOptions& options) {
    CVariableList arguments;
    std::string error;
    if (!CArgumentReader::Read(options.strArguments, arguments, error)) {
        std::cerr << "twhost: " << error << '\n';
        return EXIT_USAGE;
    }
    const std::string directory = ReportDirectory(options.strReportDir, true);
    CCapturedResponse server;
    CReportService service(&server, directory);
    // The request as a client sends it; the body's parameter list is never
    // missing here, since no arguments make an empty list.
    CXML body(CReportManager::REPORT_TAG_NAME);
    body.SetAttr(CReportManager::PLUGIN_NAME_ATTR, CUtility::UTF8toUTF16(options.strPlugin));
    body.SetAttr(CReportManager::REPORT_NAME_ATTR, CUtility::UTF8toUTF16(options.strFunction));
    body.AddChild(arguments.ToXml());
    CMessage request(CReportManager::EXECUTE_REPORT, body);

    // A module's exception is read while the module is still loaded: its code lives there.
    std::optional<CLoadedPlugins> plugins;
    try {
        plugins.emplace(context.m_strPluginDir);
        (*service).OnMessage(request, u"twhost", 0u);
        return PrintOutcome(server, directory, options);
    } catch (const std::exception& e) {
        std::cerr << "twhost: " << e.what() << '\n';
    } catch (...) {
        std::cerr << "twhost: a plug-in threw an exception of unknown type\n";
    }
    return EXIT_FAILED;
}

int CleanReports(const std::string& strReportDir) {
    CReportService service(nullptr, ReportDirectory(strReportDir, false));
    (*service).DeleteOldReports();
    return EXIT_OK;
}

}  // namespace

void RegisterReportCommands(CLI::App& app, CCommandContext& context) {
    const std::string dirHelp = "Directory of the report files, which must exist (default: " +
                                DefaultReportDirectory() + ", made when missing)";

    CLI::App* report = app.add_subcommand("report", "Run a plug-in function as a report, as the report service does, "
                                                    "and print the path of the HTML file");
    auto options = std::make_shared<ReportOptions>();
    report->add_option("PLUGIN", options->strPlugin, "File name of the module, as 'twhost plugins' shows it")
        ->required();
    report->add_option("FUNCTION", options->strFunction, "Name of the function, which must return a STRING")
        ->required();
    report->add_option("ARGUMENTS", options->strArguments,
                       "The arguments as one JSON array, e.g. '[\"eth*\"]' (default: no arguments)");
    report->add_option("--report-dir", options->strReportDir, dirHelp)->check(CLI::ExistingDirectory);
    report->footer("Example: twhost report netinfo.twp InterfaceReport '[\"eth*\"]'");
    report->callback([&context, options] {
        context.m_action = [&context, options] { return RunReport(context, *options); };
    });

    CLI::App* reports = app.add_subcommand("reports", "Manage the report files");
    reports->require_subcommand(1);
    CLI::App* clean = reports->add_subcommand("clean", "Delete every report file (Report_*.html) of the report "
                                                       "directory, however recent");
    auto reportDir = std::make_shared<std::string>();
    clean->add_option("--report-dir", *reportDir, dirHelp)->check(CLI::ExistingDirectory);
    clean->callback([&context, reportDir] {
        context.m_action = [reportDir] { return CleanReports(*reportDir); };
    });
}
