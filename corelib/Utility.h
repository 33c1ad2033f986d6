// CUtility: static helpers of the platform: its directories and text tests.
//
// The directories are process-wide settings guarded by a lock, so they may be
// read and set from any thread. Every directory handed out ends in "/".
#pragma once

#include <cstdint>
#include <string>

#include "corelib/framework/String.h"

class CStringArray;
class QTextEdit;
class QTreeWidget;

class CUtility {
public:
    // Directory searched for plug-in modules (*.twp). Default: "tw_varlib/plugins/" in
    // the directory that holds the tw_corelib shared library (found with dladdr, ".."
    // and links resolved), so an installed host finds the installed plug-ins and one
    // in the build tree those built there; GetExecutableDir() stands in for that
    // directory if the loader can't name it.
    static CString GetPluginDir();
    // Directory that the web server serves, where reports go. Default:
    // "tw_varlib/web/" beside the plug-in directory, by the same rule, so that one
    // installation keeps its data in one place.
    static CString GetWebDir();
    // Replace the directories; a missing trailing "/" is added. An empty text restores the default.
    static void SetPluginDir(const CString& dir);
    static void SetWebDir(const CString& dir);
    // Directory of the running executable, with a trailing "/"; "./" if unknown.
    static CString GetExecutableDir();

    // The text as UTF-8 bytes; an unpaired surrogate becomes U+FFFD (EF BF BD).
    static std::string UTF16toUTF8(const CString& text);
    // UTF-8 bytes as text; each bad sequence becomes U+FFFD.
    static CString UTF8toUTF16(const std::string& utf8);
    // Non-zero if text is a decimal number: an optional "+" or "-", one or more
    // ASCII digits, and optionally "." followed by one or more digits. Nothing
    // else: no blanks, no exponent, no hexadecimal, no thousands separators.
    // "12", "-7", "+0.5" and "2.5" are numbers; "", "-", "1.", ".5", " 1", "1e3" are not.
    static int IsNumber(const CString& text);

    // The two fillers of the plug-ins dialog's controls. They are defined in
    // tw_varlib_widgets, beside the dialog, so that only a program that links
    // tw::varlib_widgets (and with it Qt) can call them.
    //
    // Appends text at the end of the box in one style: color as 0x00RRGGBB, 0
    // for the box's own text colour (our choice, so that a label keeps to the
    // palette; ask for 0x010101 to get black), then bold, italic and underline,
    // each on when non-zero. "\r\n" and a lone "\r" count as one line break.
    static void AddToRichText(QTextEdit& box, const CString& text, uint32_t color, int bold, int italic,
                              int underline);
    // Inserts a row before position row (at the end when row is negative or past
    // the last) with one cell for each string, from the first column on. check -1
    // gives the row no check box, 0 an unchecked and any other value a checked one;
    // data is kept with the row (Qt::UserRole of its first cell). Returns the
    // position of the new row.
    static int ListInsertRow(QTreeWidget& list, int row, int check, uint32_t data, const CStringArray& cells);
};
