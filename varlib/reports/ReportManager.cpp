#include "varlib/reports/ReportManager.h"

#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <new>
#include <string>

#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"
#include "corelib/XML.h"
#include "corelib/framework/File.h"
#include "corelib/framework/FileFind.h"
#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/Time.h"
#include "snmplib/SnmpUtility.h"
#include "varlib/plugins/PluginProxy.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

const CString CReportManager::RETRIEVE_PLUGINS(u"RETRIEVE_PLUGINS");
const CString CReportManager::RETRIEVE_PLUGINS_RESPONSE(u"RETRIEVE_PLUGINS_RESPONSE");
const CString CReportManager::EXECUTE_REPORT(u"EXECUTE_REPORT");
const CString CReportManager::EXECUTE_REPORT_RESPONSE(u"EXECUTE_REPORT_RESPONSE");
const CString CReportManager::PLUGINS_TAG_NAME(u"PLUGINS");
const CString CReportManager::PLUGIN_TAG_NAME(u"PLUGIN");
const CString CReportManager::PLUGIN_NAME_ATTR(u"Plugin");
const CString CReportManager::REPORTS_TAG_NAME(u"REPORTS");
const CString CReportManager::REPORT_TAG_NAME(u"REPORT");
const CString CReportManager::REPORT_NAME_ATTR(u"Report");
const CString CReportManager::REASON_ATTR(u"Reason");
const CString CReportManager::INVALID_PARAMETERS_REASON(u"Invalid parameters");
const CString CReportManager::FILE_OPEN_ERROR_REASON(u"Could not open file for writing");
const CString CReportManager::PLUGIN_NOT_FOUND_REASON(u"Could not find plugin module");
const CString CReportManager::INVOKE_FAILED_REASON(u"Function invocation failed");

namespace {

constexpr const char16_t* kReportNameFormat = u"Report_%d-%d-%d_%d-%d-%d.html";   // day-month-year_h-m-s, unpadded
constexpr const char16_t* kReportPattern = u"Report_*.html";
constexpr unsigned int kCreateFlags = CFile::modeCreate | CFile::modeWrite;   // 0x1001: create or empty, write only

// directory/name with one "/" between, however many the directory ends in
// (the root stays "/").
CString InDirectory(const CString& directory, const CString& name) {
    std::u16string_view dir = directory.View();
    while (dir.size() > 1 && dir.back() == u'/')
        dir.remove_suffix(1);
    std::u16string path(dir);
    if (path.empty() || path.back() != u'/')
        path += u'/';
    path += name.View();
    return CString(path);
}

// A temporary file in the report directory, named after this process and a
// counter, so that no two writers in any process share one; removed unless
// it was moved to its final name. The name starts with "." and doesn't end
// in ".html": neither the web server's listing nor DeleteOldReports takes it
// for a report.
class CReportTempFile {
public:
    explicit CReportTempFile(const CString& directory) {
        static std::atomic<unsigned long> counter{0};
        CString name;
        name.Format(u".Report_%d_%u.tmp", static_cast<int>(::getpid()), static_cast<unsigned int>(counter.fetch_add(1)));
        m_strPath = InDirectory(directory, name);
    }
    ~CReportTempFile() {
        m_file.Close();
        if (!m_bMoved) {
            ::unlink(CUtility::UTF16toUTF8(m_strPath).c_str());
        }
    }
    CReportTempFile(const CReportTempFile&) = delete;
    CReportTempFile& operator=(const CReportTempFile&) = delete;

    int Open() { return m_file.Open(m_strPath, kCreateFlags); }
    // Writes all bytes (in slices of at most 1 GiB, CFile's count being 32-bit); throws CFileException on failure.
    void Write(const std::string& bytes) {
        constexpr std::size_t kSlice = std::size_t{1} << 30;
        for (std::size_t done = 0; done < bytes.size(); done += kSlice) {
            const std::size_t count = std::min(kSlice, bytes.size() - done);
            m_file.Write(bytes.data() + done, static_cast<unsigned int>(count));
        }
    }
    // Closes the file and renames it over target (atomic: a reader sees the old file or the whole new one).
    int MoveTo(const CString& target) {
        m_file.Close();
        m_bMoved = ::rename(CUtility::UTF16toUTF8(m_strPath).c_str(), CUtility::UTF16toUTF8(target).c_str()) == 0;
        return m_bMoved ? 1 : 0;
    }

private:
    CString m_strPath;
    CFile m_file;
    bool m_bMoved = false;
};

// The report's file name from the local time now. The clock is in the
// accepted range unless the machine's is wrong by centuries; then the
// platform's invalid-argument exception goes to the caller, as for any time
// that can't be converted.
CString ReportFileName() {
    struct tm local {};
    if (!CTime::GetCurrentTime().GetLocalTm(&local)) {
        throw CInvalidArgException("the current time has no local form");
    }
    CString name;
    name.Format(kReportNameFormat, local.tm_mday, local.tm_mon + 1, local.tm_year + 1900, local.tm_hour,
                local.tm_min, local.tm_sec);
    return name;
}

}  // namespace

CReportManager* CReportManager::GetInstance() {
    if (!m_pInstance) {
        m_pInstance = new (std::nothrow) CReportManager();
    }
    // Our choice: a plain registry made first stays where it is and gives no
    // report manager; replacing it would leave its users with a dead pointer.
    return dynamic_cast<CReportManager*>(m_pInstance);
}

void CReportManager::CleanUp() {
    if (m_pInstance) {
        delete m_pInstance;
        m_pInstance = nullptr;
    }
}

CReportManager::CReportManager() : m_pMessageServer(nullptr) {
    m_strWebServerURL = GetDefaultURL();
    m_strReportDirectory = GetDefaultDirectory();
}

CReportManager::~CReportManager() = default;

void CReportManager::SetMessageServer(CMessageServer* server) { m_pMessageServer = server; }

void CReportManager::SetWebServerInfo(const CString& url, const CString& directory) {
    m_strWebServerURL = url;
    m_strReportDirectory = directory;
}

CString CReportManager::GetDefaultDirectory() { return CUtility::GetWebDir(); }

CString CReportManager::GetDefaultURL() { return CString(u"http://") + CSnmpUtility::GetLocalIPAddress(); }

int CReportManager::OnMessage(CMessage& message, const CString& client, unsigned int clientData) {
    // Our choice: with no server to answer through, no request is carried out.
    if (!m_pMessageServer) {
        return 0;
    }
    const CString type = message.GetType();
    if (type == RETRIEVE_PLUGINS) {
        return ProcessRetrievePlugins(message, client, clientData);
    }
    if (type == EXECUTE_REPORT) {
        return ProcessExecuteReport(message, client, clientData);
    }
    return 0;
}

int CReportManager::ProcessRetrievePlugins(CMessage& /*message*/, const CString& client, unsigned int clientData) {
    CMessage response;
    response.SetType(RETRIEVE_PLUGINS_RESPONSE);
    CXML root(PLUGINS_TAG_NAME);
    CStringArray names;
    GetPlugins(names);
    for (intptr_t i = 0; i < names.GetSize(); ++i) {
        CXML plugin(PLUGIN_TAG_NAME);
        plugin.SetAttr(CTWMQMessageRegistry::ATTR_NAME, names.GetAt(i));
        plugin.AddChild(GetPluginModuleMetaInfo(names.GetAt(i)).ToXml());
        root.AddChild(plugin);
    }
    response.SetBody(root);
    return Send(response, client, clientData);
}

// The checks come in a fixed order: parameters present, module known, call
// accepted by the module, string result, file made. A request without
// parameters for an unknown module is thus refused for its parameters.
int CReportManager::ProcessExecuteReport(CMessage& message, const CString& client, unsigned int clientData) {
    CXML body = message.GetBody();
    const CString plugin = body.GetAttr(PLUGIN_NAME_ATTR, CString());
    const CString report = body.GetAttr(REPORT_NAME_ATTR, CString());

    CXML parametersNode = body.GetFirstChild();
    if (!parametersNode.IsValid()) {
        return SendFailure(INVALID_PARAMETERS_REASON, client, clientData);
    }
    const CVariableList parameters(parametersNode);

    CPluginProxy proxy;
    if (!m_mapPlugins.Lookup(plugin, proxy)) {
        return SendFailure(PLUGIN_NOT_FOUND_REASON, client, clientData);
    }
    if (!proxy.ValidateParameters(report, parameters)) {
        return SendFailure(INVALID_PARAMETERS_REASON, client, clientData);
    }
    const CVariable result = proxy.InvokeFunction(report, parameters);
    if (!result.IsString()) {
        return SendFailure(INVOKE_FAILED_REASON, client, clientData);
    }
    const std::string contents = CUtility::UTF16toUTF8(result.m_strValue);

    const CString name = ReportFileName();
    const CString path = InDirectory(m_strReportDirectory, name);
    CReportTempFile file(m_strReportDirectory);
    if (!file.Open()) {
        return SendFailure(FILE_OPEN_ERROR_REASON, client, clientData);
    }
    // A failed write throws the platform's file exception to the caller: no
    // response goes out, and the temporary file is removed on the way.
    file.Write(contents);
    // Our choice: a rename that fails leaves no report, which the client
    // learns as a file that could not be made.
    if (!file.MoveTo(path)) {
        return SendFailure(FILE_OPEN_ERROR_REASON, client, clientData);
    }

    CString url;
    url.Format(u"%s/%s", m_strWebServerURL, name);
    CMessage response;
    response.SetType(EXECUTE_REPORT_RESPONSE);
    CXML answer(REPORT_TAG_NAME);
    answer.SetAttr(CTWMQMessageRegistry::ATTR_URL, url);
    answer.SetAttr(CTWMQMessageRegistry::ATTR_STATUS, 0);
    answer.SetAttr(REASON_ATTR, CString(u"OK"));
    response.SetBody(answer);
    return Send(response, client, clientData);
}

int CReportManager::SendFailure(const CString& reason, const CString& client, unsigned int clientData) {
    CMessage response;
    response.SetType(EXECUTE_REPORT_RESPONSE);
    CXML answer(REPORT_TAG_NAME);
    answer.SetAttr(CTWMQMessageRegistry::ATTR_STATUS, 1);
    answer.SetAttr(REASON_ATTR, reason);
    response.SetBody(answer);
    return Send(response, client, clientData);
}

int CReportManager::Send(CMessage& response, const CString& client, unsigned int clientData) {
    return m_pMessageServer ? m_pMessageServer->SendMessageToClient(response, client, clientData) : 0;
}

// Every match goes, the last one too: the deletion comes before the test for more.
void CReportManager::DeleteOldReports() const {
    const CString pattern = InDirectory(m_strReportDirectory, kReportPattern);
    CFileFind finder;
    if (!finder.FindFile(pattern)) {
        return;
    }
    int bMore;
    do {
        bMore = finder.FindNextFile();
        ::unlink(CUtility::UTF16toUTF8(finder.GetFilePath()).c_str());
    } while (bMore);
}
