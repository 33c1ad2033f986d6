// CTw_varlibApp: the application object that the plug-ins dialog runs on.
//
// Qt widgets need one QApplication in the process, on the thread that shows
// them. A host with a user interface has its own, and the dialog uses it; for
// a host without one, this object makes a QApplication (with a dummy command
// line) for as long as it lives and destroys it after. Before it makes one it
// checks that a Qt platform can start: Qt ends the process when none can, so a
// missing display must be caught here and reported as an error text.
//
// Made on the stack for the length of one DoModal; one thread at a time.
#pragma once

#include <memory>

#include "corelib/framework/String.h"

class QApplication;

class CTw_varlibApp {
public:
    // Uses the host's QApplication, or makes one if the process has no Qt
    // application object and a display can be reached.
    CTw_varlibApp();
    // Destroys the QApplication if this object made it.
    ~CTw_varlibApp();
    CTw_varlibApp(const CTw_varlibApp&) = delete;
    CTw_varlibApp& operator=(const CTw_varlibApp&) = delete;

    // 1 when widgets can be made on the calling thread, else 0 (see GetErrorText).
    int IsReady() const;
    // Why widgets can't be made; empty when IsReady.
    CString GetErrorText() const;
    // 1 if this object made the QApplication, 0 if it uses the host's.
    int OwnsApplication() const;

    // Why no Qt platform could start, from QT_QPA_PLATFORM, DISPLAY and
    // WAYLAND_DISPLAY and a trial connection to the display; empty when one can.
    static CString FindDisplayProblem();

private:
    // The command line the QApplication keeps references to, so it lives as long.
    int m_argc = 1;
    char m_szProgram[10] = "tw_varlib";
    char* m_argv[2] = {m_szProgram, nullptr};
    std::unique_ptr<QApplication> m_pOwnApp;
    CString m_strError;
};
