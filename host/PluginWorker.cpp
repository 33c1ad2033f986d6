#include "host/PluginWorker.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "corelib/framework/StringArray.h"
#include "host/ExitCode.h"
#include "host/FunctionCall.h"
#include "host/LoadFailure.h"
#include "host/LoadedPlugins.h"
#include "host/WorkerChannel.h"
#include "varlib/reports/ReportManager.h"

namespace {

// The report manager of the process with its plug-ins loaded; the destructor
// unloads them, so every module gets its PlgCleanUp however the worker ends.
class CLoadedReportManager {
public:
    explicit CLoadedReportManager(const std::string& strPluginDir) {
        if (!strPluginDir.empty())
            CUtility::SetPluginDir(CUtility::UTF8toUTF16(strPluginDir));
        // Made before anything asks for the plain registry, so the one instance is a report manager.
        m_pManager = CReportManager::GetInstance();
        if (m_pManager == nullptr)
            throw std::runtime_error("the report manager could not be created");
        std::string strFailure;
        try {
            m_pManager->Load();
            return;
        } catch (const std::exception& e) {
            strFailure = e.what();   // read while the module that threw is still loaded
        } catch (...) {
            strFailure = "a plug-in threw an exception of unknown type";
        }
        UnloadReportingFailures(*m_pManager);
        CReportManager::CleanUp();
        throw std::runtime_error("loading the plug-ins failed: " + strFailure);
    }
    ~CLoadedReportManager() {
        UnloadReportingFailures(*m_pManager);
        CReportManager::CleanUp();
    }
    CLoadedReportManager(const CLoadedReportManager&) = delete;
    CLoadedReportManager& operator=(const CLoadedReportManager&) = delete;

    CReportManager& Get() const { return *m_pManager; }

private:
    CReportManager* m_pManager;
};

// The message server of the worker: the answer to the message in hand goes
// out as the one frame the front waits for; anything else is dropped.
class CFrameMessageServer : public CMessageServer {
public:
    static inline const CString CLIENT{u"front"};

    CFrameMessageServer(int fd, const CReportManager& manager) : m_fd(fd), m_manager(manager) {}

    // A new message is in hand; its clientData.
    unsigned int Begin() {
        m_bAnswered = false;
        return ++m_nCall;
    }
    bool Answered() const { return m_bAnswered; }

    int SendMessageToClient(CMessage& message, const CString& client, unsigned int clientData) override {
        if (client != CLIENT || clientData != m_nCall || m_bAnswered)
            return 0;
        m_bAnswered = true;
        if (message.GetType() == CReportManager::RETRIEVE_PLUGINS_RESPONSE)
            AddPluginStatus(message);
        return WorkerChannel::WriteMessage(m_fd, message) == WorkerChannel::Result::Ok ? 1 : 0;
    }

private:
    // Each plug-in's load status in the listing, and why one failed, as 'twhost plugins --xml' gives them.
    void AddPluginStatus(CMessage& response) const {
        CXML plugins = response.GetBody();
        for (CXML plugin = plugins.GetFirstChild(); plugin.IsValid(); plugin = plugins.GetNextChild()) {
            const CString name = plugin.GetAttr(CTWMQMessageRegistry::ATTR_NAME, u"");
            plugin.SetAttr(u"Status", m_manager.GetPluginStatus(name));
            const std::string reason = LoadFailureReason(m_manager, name);
            if (!reason.empty())
                plugin.SetAttr(u"Reason", CUtility::UTF8toUTF16(reason));
        }
    }

    int m_fd;
    const CReportManager& m_manager;
    unsigned int m_nCall = 0;
    bool m_bAnswered = false;
};

// Runs one message and makes sure the front gets exactly one frame for it.
bool Answer(CReportManager& manager, CFrameMessageServer& server, int fd, CMessage& message) {
    using namespace WorkerChannel;
    const unsigned int call = server.Begin();
    std::string strFailure;
    try {
        if (message.GetType() == FunctionCall::CALL_FUNCTION)
            return WriteMessage(fd, FunctionCall::Answer(manager, message)) == Result::Ok;
        manager.OnMessage(message, CFrameMessageServer::CLIENT, call);
    } catch (const std::exception& e) {
        strFailure = std::string("The message failed: ") + e.what();   // read while the module is loaded
    } catch (...) {
        strFailure = "The message failed: an exception of unknown type";
    }
    if (server.Answered())   // the front has what it waits for, whatever came after
        return true;
    if (!strFailure.empty())
        return WriteMessage(fd, Notice(REFUSED, 500, strFailure)) == Result::Ok;
    // The report manager answers only the types it knows, and changes nothing for the others.
    return WriteMessage(fd, Notice(REFUSED, 400,
                                   "Unknown message type '" + CUtility::UTF16toUTF8(message.GetType()) +
                                       "': this service answers " +
                                       CUtility::UTF16toUTF8(CReportManager::RETRIEVE_PLUGINS) + ", " +
                                       CUtility::UTF16toUTF8(CReportManager::EXECUTE_REPORT) + " and " +
                                       CUtility::UTF16toUTF8(FunctionCall::CALL_FUNCTION) + ".")) == Result::Ok;
}

}  // namespace

int RunPluginWorker(const CCommandContext& context, const PluginWorkerOptions& options) {
    using namespace WorkerChannel;
    // The front stops the workers in its own order: a Ctrl+C that reaches the
    // whole process group must not unload the plug-ins under a running message.
    ::signal(SIGINT, SIG_IGN);
    ::signal(SIGTERM, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != options.parent)
        return EXIT_FAILED;   // the front is gone already
    const int fd = kWorkerFd;
    std::optional<CLoadedReportManager> manager;
    try {
        manager.emplace(context.m_strPluginDir);
    } catch (const std::exception& e) {
        WriteMessage(fd, Notice(FAILED, -1, e.what()));
        return EXIT_FAILED;
    }
    CReportManager& reports = manager->Get();
    reports.SetWebServerInfo(CUtility::UTF8toUTF16(options.strReportUrl), CUtility::UTF8toUTF16(options.strReportDir));
    CFrameMessageServer server(fd, reports);
    reports.SetMessageServer(&server);
    CStringArray plugins;
    reports.GetPlugins(plugins);
    std::string failures;
    for (intptr_t i = 0; i < plugins.GetSize(); ++i) {
        const std::string reason = LoadFailureReason(reports, plugins[i]);
        if (!reason.empty())
            failures += (failures.empty() ? "" : "; ") + CUtility::UTF16toUTF8(plugins[i]) + ": " + reason;
    }
    bool going = WriteMessage(fd, Notice(READY, -1, failures, static_cast<int>(plugins.GetSize()))) == Result::Ok;
    while (going) {
        std::string text;
        if (ReadFrame(fd, text) != Result::Ok)
            break;   // the front closed the channel (or broke it): time to clean up
        CMessage message;
        if (message.FromXmlString(CUtility::UTF8toUTF16(text)))
            going = Answer(reports, server, fd, message);
        else
            going = WriteMessage(fd, Notice(REFUSED, 400, "The worker could not read the message.")) == Result::Ok;
    }
    reports.SetMessageServer(nullptr);
    return EXIT_OK;
}
