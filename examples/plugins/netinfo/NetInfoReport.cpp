#include "examples/plugins/netinfo/NetInfoReport.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <limits>

#include "examples/plugins/common/HtmlPage.h"
#include "examples/plugins/common/HtmlTable.h"
#include "varlib/values/VariableArray.h"

namespace {

int64_t ClampToInt(uint64_t value) {
    constexpr uint64_t top = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    return static_cast<int64_t>(value > top ? top : value);
}

// Totals stop at the top rather than wrap round to a small number.
uint64_t AddSaturating(uint64_t a, uint64_t b) {
    return a > std::numeric_limits<uint64_t>::max() - b ? std::numeric_limits<uint64_t>::max() : a + b;
}

void AddCell(CVariableArray& row, const CString& strIndex, const CVariable& value) {
    CVariable* element = new CVariable(value);   // the array owns its elements
    element->SetName(strIndex);
    row.InsertElement(strIndex, element);
}

CString FromUtf8(const std::string& text) { return CString(text.c_str()); }

CString Decimal(uint64_t value) {
    char buffer[24];
    std::snprintf(buffer, sizeof buffer, "%" PRIu64, value);
    return CString(buffer);
}

// "1000 Mb/s", "10 Gb/s", "2.5 Gb/s".
CString FormatSpeed(int64_t speedMbps) {
    if (speedMbps <= 0)
        return CString(u"n/a");
    char buffer[32];
    if (speedMbps >= 1000 && speedMbps % 100 == 0)
        std::snprintf(buffer, sizeof buffer, "%g Gb/s", static_cast<double>(speedMbps) / 1000.0);
    else
        std::snprintf(buffer, sizeof buffer, "%" PRId64 " Mb/s", speedMbps);
    return CString(buffer);
}

CString StateClass(const std::string& state) {
    if (state == "up")
        return CString(u"state-up");
    if (state == "down" || state == "lowerlayerdown" || state == "notpresent")
        return CString(u"state-down");
    return CString(u"state-other");
}

}  // namespace

CVariable InterfaceRows(const std::vector<InterfaceInfo>& interfaces) {
    CVariableArray rows;
    for (const InterfaceInfo& info : interfaces) {
        CVariableArray row;
        AddCell(row, u"Name", CVariable(FromUtf8(info.name)));
        AddCell(row, u"State", CVariable(FromUtf8(info.operState.empty() ? "unknown" : info.operState)));
        if (info.mtu >= 0)
            AddCell(row, u"MTU", CVariable(info.mtu));
        if (!info.address.empty())
            AddCell(row, u"Address", CVariable(FromUtf8(info.address)));
        if (info.speedMbps > 0)
            AddCell(row, u"SpeedMbps", CVariable(info.speedMbps));
        AddCell(row, u"RxBytes", CVariable(ClampToInt(info.rxBytes)));
        AddCell(row, u"RxPackets", CVariable(ClampToInt(info.rxPackets)));
        AddCell(row, u"RxErrors", CVariable(ClampToInt(info.rxErrors)));
        AddCell(row, u"RxDropped", CVariable(ClampToInt(info.rxDropped)));
        AddCell(row, u"TxBytes", CVariable(ClampToInt(info.txBytes)));
        AddCell(row, u"TxPackets", CVariable(ClampToInt(info.txPackets)));
        AddCell(row, u"TxErrors", CVariable(ClampToInt(info.txErrors)));
        AddCell(row, u"TxDropped", CVariable(ClampToInt(info.txDropped)));
        // A second line of one name (which the kernel never writes) replaces the first.
        AddCell(rows, FromUtf8(info.name), CVariable(row));
    }
    CVariable result(rows);
    result.SetName(u"Interfaces");
    return result;
}

CString FormatBytes(uint64_t nBytes) {
    static constexpr std::array<const char*, 7> units{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB", ""};
    if (nBytes < 1024)
        return Decimal(nBytes) + CString(u" B");
    double value = static_cast<double>(nBytes) / 1024.0;
    std::size_t unit = 0;
    // Rounding to one decimal can carry 1023.95 up to "1024.0"; move up a unit first.
    while (value >= 1023.95 && unit + 2 < units.size()) {
        value /= 1024.0;
        ++unit;
    }
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.1f %s", value, units[unit]);
    return CString(buffer);
}

CString InterfaceReportHtml(const std::vector<InterfaceInfo>& interfaces, const CString& strHost,
                            const CString& strWhen, const CString& strPattern) {
    CHtmlPage page(CString(u"Network interfaces of ") + strHost);
    page.AddNote(CString(u"Report time: ") + strWhen);
    if (!strPattern.IsEmpty())
        page.AddNote(CString(u"Interfaces matching: ") + strPattern);

    if (interfaces.empty()) {
        page.AddParagraph(strPattern.IsEmpty() ? CString(u"This host reports no network interfaces.")
                                               : CString(u"No interface matches ") + strPattern + u".");
        return page.Render();
    }

    uint64_t rxTotal = 0;
    uint64_t txTotal = 0;
    std::size_t up = 0;
    for (const InterfaceInfo& info : interfaces) {
        rxTotal = AddSaturating(rxTotal, info.rxBytes);
        txTotal = AddSaturating(txTotal, info.txBytes);
        up += info.operState == "up" ? 1 : 0;
    }
    CString summary;
    summary.Format(u"%d %s, %d up. Received %s and sent %s in total since each came up.",
                   static_cast<int>(interfaces.size()), interfaces.size() == 1 ? u"interface" : u"interfaces",
                   static_cast<int>(up), FormatBytes(rxTotal), FormatBytes(txTotal));
    page.AddParagraph(summary);

    CHtmlTable table;
    table.AddColumn(u"Interface");
    table.AddColumn(u"State");
    table.AddColumn(u"MTU", true);
    table.AddColumn(u"Hardware address");
    table.AddColumn(u"Speed", true);
    table.AddColumn(u"Received", true);
    table.AddColumn(u"Rx packets", true);
    table.AddColumn(u"Rx errors", true);
    table.AddColumn(u"Rx dropped", true);
    table.AddColumn(u"Sent", true);
    table.AddColumn(u"Tx packets", true);
    table.AddColumn(u"Tx errors", true);
    table.AddColumn(u"Tx dropped", true);
    for (const InterfaceInfo& info : interfaces) {
        const std::string state = info.operState.empty() ? "unknown" : info.operState;
        table.AddRow({
            {FromUtf8(info.name), {}},
            {FromUtf8(state), StateClass(state)},
            {info.mtu >= 0 ? Decimal(static_cast<uint64_t>(info.mtu)) : CString(u"n/a"), {}},
            {info.address.empty() ? CString(u"n/a") : FromUtf8(info.address), {}},
            {FormatSpeed(info.speedMbps), {}},
            {FormatBytes(info.rxBytes), {}},
            {Decimal(info.rxPackets), {}},
            {Decimal(info.rxErrors), {}},
            {Decimal(info.rxDropped), {}},
            {FormatBytes(info.txBytes), {}},
            {Decimal(info.txPackets), {}},
            {Decimal(info.txErrors), {}},
            {Decimal(info.txDropped), {}},
        });
    }
    page.AddTable(table);
    return page.Render();
}

CString InterfaceErrorHtml(const CString& strHost, const CString& strWhen, const CString& strReason) {
    CHtmlPage page(CString(u"Network interfaces of ") + strHost);
    page.AddNote(CString(u"Report time: ") + strWhen);
    page.AddError(CString(u"The interfaces could not be read: ") + strReason);
    return page.Render();
}
