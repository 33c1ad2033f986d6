// CReportManager: the message-driven front of the plug-in system. It answers
// RETRIEVE_PLUGINS with the listing of every module and its signatures, and
// EXECUTE_REPORT by running one module's function and storing its string
// result as an HTML file in the report directory, whose URL it sends back.
//
// It is the plug-in registry of the process: it derives from CPluginRegistry
// and lives in the same slot, CPluginRegistry::m_pInstance, so a host calls
// CReportManager::GetInstance before anything calls CPluginRegistry's, and
// releases both with CReportManager::CleanUp. The message server is the
// host's; only a pointer to it is kept.
//
// Threading: no lock. GetInstance and CleanUp run while the host is single-
// threaded; OnMessage may run on several threads at once between the
// registry's Load and Unload (the tables are only read). Two reports that
// finish in the same second share a file name: each is written to a temporary
// file of its own in the report directory and renamed over the name, so the
// file always holds one whole report, the one renamed last.
#pragma once

#include "corelib/Message.h"
#include "corelib/MessageServer.h"
#include "corelib/framework/String.h"
#include "varlib/plugins/PluginRegistry.h"

class CReportManager : public CPluginRegistry {
public:
    static const CString RETRIEVE_PLUGINS;            // "RETRIEVE_PLUGINS", the listing request
    static const CString RETRIEVE_PLUGINS_RESPONSE;   // "RETRIEVE_PLUGINS_RESPONSE"
    static const CString EXECUTE_REPORT;              // "EXECUTE_REPORT", the execution request
    static const CString EXECUTE_REPORT_RESPONSE;     // "EXECUTE_REPORT_RESPONSE"
    static const CString PLUGINS_TAG_NAME;            // "PLUGINS", root of the listing
    static const CString PLUGIN_TAG_NAME;             // "PLUGIN", one module in the listing
    static const CString PLUGIN_NAME_ATTR;            // "Plugin", the module's file name in a request
    static const CString REPORTS_TAG_NAME;            // "REPORTS", carried by no message of this service
    static const CString REPORT_TAG_NAME;             // "REPORT", body of the execution response
    static const CString REPORT_NAME_ATTR;            // "Report", the function's name in a request
    static const CString REASON_ATTR;                 // "Reason", of the execution response
    static const CString INVALID_PARAMETERS_REASON;   // "Invalid parameters"
    static const CString FILE_OPEN_ERROR_REASON;      // "Could not open file for writing"
    static const CString PLUGIN_NOT_FOUND_REASON;     // "Could not find plugin module"
    static const CString INVOKE_FAILED_REASON;        // "Function invocation failed"

    // The shared instance, made on first request (nothing loaded, default URL
    // and directory); null if it can't be allocated, and null while the slot
    // holds a plain CPluginRegistry.
    static CReportManager* GetInstance();
    // Deletes whatever sits in the shared slot (which unloads the modules) and empties it.
    static void CleanUp();

    // Releases the two strings; the message server is left alone.
    virtual ~CReportManager();

    // Where responses go; stored unchecked, never deleted here.
    void SetMessageServer(CMessageServer* server);
    // Base URL (no trailing "/") and directory (no trailing "/") of the report
    // files, stored as given; "/" and the file name are appended to each.
    void SetWebServerInfo(const CString& url, const CString& directory);

    // Hands RETRIEVE_PLUGINS and EXECUTE_REPORT (exact, case-sensitive type)
    // to their handler and returns what SendMessageToClient returned; 0 for
    // any other type, and 0 with nothing done while no message server is set.
    int OnMessage(CMessage& message, const CString& client, unsigned int clientData);

    // CUtility::GetWebDir(), unchanged (it ends in "/").
    static CString GetDefaultDirectory();
    // "http://" and CSnmpUtility::GetLocalIPAddress(): no port, no path, no trailing "/".
    static CString GetDefaultURL();

    // Deletes every file of the report directory named Report_*.html, however
    // recent; other names and subdirectories stay. Failures are ignored.
    void DeleteOldReports() const;

protected:
    // The empty registry, no message server, the default URL and directory.
    CReportManager();

    // Sends the listing of every module the last Load found; the request is not read.
    int ProcessRetrievePlugins(CMessage& message, const CString& client, unsigned int clientData);
    // Runs the body's Report function of its Plugin module with the parameter
    // list of its first child and sends the report's URL, or the reason it failed.
    int ProcessExecuteReport(CMessage& message, const CString& client, unsigned int clientData);

    CMessageServer* m_pMessageServer;   // not owned; null until SetMessageServer
    CString m_strWebServerURL;          // base URL of the report files
    CString m_strReportDirectory;       // directory of the report files

private:
    // Sends an EXECUTE_REPORT_RESPONSE with status 1 and the reason.
    int SendFailure(const CString& reason, const CString& client, unsigned int clientData);
    int Send(CMessage& response, const CString& client, unsigned int clientData);
};
