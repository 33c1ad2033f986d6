// netinfo.twp's logic: /proc/net/dev and the sysfs attributes read on a fake
// kernel tree, the rows and the report, and the module's checks.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "corelib/temp_dir.h"
#include "example_check.h"
#include "examples/plugins/netinfo/NetDevParser.h"
#include "examples/plugins/netinfo/NetInfoModule.h"
#include "examples/plugins/netinfo/NetInfoReport.h"
#include "examples/plugins/netinfo/NetInfoSource.h"
#include "varlib/values/VariableArray.h"

namespace fs = std::filesystem;

namespace {

// As a 6.1 kernel writes it, with a counter too wide for the padding.
constexpr const char* kNetDev =
    "Inter-|   Receive                                                |  Transmit\n"
    " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo colls carrier compressed\n"
    "    lo:    3267      29    0    0    0     0          0         0     3267      29    0    0    0     0       0          0\n"
    "  eth0:18446744073709551615  767  1  2    0     0          0         0    48203     649    3    4    0     0       0          0\n"
    "wlp0s20f3: 100 10 0 0 0 0 0 0 200 20 0 0 0 0 0 0\n";

// A temporary directory standing for the kernel: dev for /proc/net/dev, sys/
// for /sys/class/net.
class FakeKernel : public ::testing::Test {
protected:
    FakeKernel() { fs::create_directories(m_root.File("sys")); }
    void Write(const std::string& path, const std::string& text) const {
        fs::create_directories(fs::path(m_root.File(path)).parent_path());
        WriteBytes(m_root.File(path), text);
    }
    CNetInfoSource Source() const { return CNetInfoSource(m_root.File("dev"), m_root.File("sys")); }

    TempDir m_root;
};

}  // namespace

TEST(NetDevParser, SkipsDamagedLinesAndKeepsTheRest) {
    const std::string numbers = " 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16";
    const std::pair<std::string, bool> cases[] = {
        {"good:" + numbers, true}, {"good:" + numbers + " 17", true} /* a later kernel's extra column */,
        {"good:" + numbers + "\r", true}, {"short: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15", false},
        {"neg: -1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", false},
        {"big: 18446744073709551616 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", false},
        {"word: 1 2 3 x 5 6 7 8 9 10 11 12 13 14 15 16", false}, {"glued: 1 2 3 4x 5 6 7 8 9 10 11 12 13 14 15 16", false},
        {":" + numbers, false}, {"two words:" + numbers, false}, {"no colon at all 1 2 3", false}, {"", false},
    };
    for (const auto& [line, kept] : cases) {
        SCOPED_TRACE(line);
        const std::vector<InterfaceInfo> found = ParseNetDev("    lo:" + numbers + "\n" + line + "\nlast:" + numbers);
        ASSERT_EQ(found.size(), kept ? 3u : 2u);
        EXPECT_EQ(found.front().name + " " + found.back().name + " " + std::to_string(found.back().txDropped), "lo last 12");
    }
}

TEST(FormatBytes, UsesBinaryUnitsWithOneDecimal) {
    const std::pair<uint64_t, const char16_t*> cases[] = {
        {1023, u"1023 B"}, {1024, u"1.0 KiB"}, {1536, u"1.5 KiB"}, {18707557, u"17.8 MiB"},
        {1048575, u"1.0 MiB"},   // 1023.999 KiB would round to "1024.0 KiB"
        {std::numeric_limits<uint64_t>::max(), u"16.0 EiB"}};
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(FormatBytes(bytes), CString(text)) << bytes;
}

TEST_F(FakeKernel, RowsJoinTheCountersAndWhatSysfsSays) {
    // A name from the file never leads out of the sysfs root.
    Write("dev", std::string(kNetDev) + "..: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n");
    Write("operstate", "leaked\n");
    for (const auto& [path, text] : std::map<std::string, std::string>{
             {"eth0/operstate", "up\n"}, {"eth0/mtu", "1500\n"}, {"eth0/address", "52:54:00:12:34:56\n"},
             {"eth0/speed", "1000\n"}, {"lo/operstate", "down\n"}, {"lo/mtu", "not a number\n"},
             {"lo/speed", "-1\n"}})   // drivers without a link speed give -1
        Write("sys/" + path, text);
    std::vector<InterfaceInfo> interfaces;
    std::string error;
    ASSERT_TRUE(Source().ReadInterfaces(interfaces, error)) << error;

    // One text per row: its name, then each cell present, "?" marking one that is no INT or STRING.
    std::vector<std::string> texts;
    const CVariableArray& rows = InterfaceRows(interfaces).m_arrayValue;
    for (int i = 0; i < static_cast<int>(rows.GetCount()); ++i) {
        CVariable *row = nullptr, *cell = nullptr;
        ASSERT_TRUE(rows.Lookup(rows.GetIndex(i), row));
        texts.push_back(rows.GetIndex(i).ToUtf8() + ":");
        for (int j = 0; j < static_cast<int>(row->m_arrayValue.GetCount()); ++j) {
            ASSERT_TRUE(row->m_arrayValue.Lookup(row->m_arrayValue.GetIndex(j), cell));
            texts.back() += " " + row->m_arrayValue.GetIndex(j).ToUtf8() + "=" + cell->ToString(0).ToUtf8() +
                            ((cell->IsInteger() || cell->IsString()) ? "" : "?");
        }
    }
    // Above the INT range a counter is clamped, not wrapped to a negative count.
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "lo: Name=lo State=down RxBytes=3267 RxPackets=29 RxErrors=0 RxDropped=0 TxBytes=3267 "
                         "TxPackets=29 TxErrors=0 TxDropped=0",
                         "eth0: Name=eth0 State=up MTU=1500 Address=52:54:00:12:34:56 SpeedMbps=1000 "
                         "RxBytes=9223372036854775807 RxPackets=767 RxErrors=1 RxDropped=2 TxBytes=48203 "
                         "TxPackets=649 TxErrors=3 TxDropped=4",
                         "wlp0s20f3: Name=wlp0s20f3 State=unknown RxBytes=100 RxPackets=10 RxErrors=0 RxDropped=0 "
                         "TxBytes=200 TxPackets=20 TxErrors=0 TxDropped=0",
                         "..: Name=.. State=unknown RxBytes=1 RxPackets=2 RxErrors=3 RxDropped=4 TxBytes=9 "
                         "TxPackets=10 TxErrors=11 TxDropped=12",
                     }));
}

TEST_F(FakeKernel, ModuleChecksThePatternAndFiltersByIt) {
    Write("dev", kNetDev);
    const CNetInfoModule module(Source());
    // An empty pattern is refused, also to a call that skips the check.
    const CVariableList empty = Arguments({CVariable(CString(u""))});
    EXPECT_EQ(module.ValidateArguments(u"InterfaceReport", empty), 0);
    EXPECT_FALSE(module.ExecuteFunction(u"InterfaceList", empty).IsValid());

    const std::pair<const char16_t*, std::vector<std::string>> patterns[] = {
        {nullptr, {"lo", "eth0", "wlp0s20f3"}},   // no argument: every interface
        {u"eth*", {"eth0"}},
        {u"?o", {"lo"}},
        {u"[ew]*", {"eth0", "wlp0s20f3"}},
        {u"nothing", {}},
    };
    for (const auto& [pattern, expected] : patterns) {
        SCOPED_TRACE(pattern == nullptr ? CString(u"(none)") : CString(pattern));
        const CVariableList arguments = pattern == nullptr ? CVariableList() : Arguments({CVariable(CString(pattern))});
        EXPECT_EQ(module.ValidateArguments(u"InterfaceList", arguments), 1);
        const CVariableArray& rows = module.ExecuteFunction(u"InterfaceList", arguments).m_arrayValue;
        std::vector<std::string> names;
        for (int i = 0; i < static_cast<int>(rows.GetCount()); ++i)
            names.push_back(rows.GetIndex(i).ToUtf8());
        EXPECT_EQ(names, expected);
    }
}

TEST_F(FakeKernel, ReportShowsEveryInterfaceEscapedOrWhyItCannot) {
    const CNetInfoModule module(Source());
    const CString failed = module.ExecuteFunction(u"InterfaceReport", {}).m_strValue;
    const CString reason = CString(m_root.File("dev").c_str());
    EXPECT_NE(failed.Find(CString(u"<p class=\"error\">The interfaces could not be read: cannot read ") + reason),
              -1) << failed;
    ExpectWellFormed(failed, u"html");
    EXPECT_FALSE(module.ExecuteFunction(u"InterfaceList", {}).IsValid());

    Write("dev", std::string(kNetDev) + "a<b>&: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n");
    Write("sys/eth0/operstate", "up");
    Write("sys/eth0/speed", "2500");
    const CString html = module.ExecuteFunction(u"InterfaceReport", {}).m_strValue;
    // eth0's counter read in full, and a total that stops at the top.
    for (const char16_t* expected : {u"4 interfaces, 1 up. Received 16.0 EiB", u"<td>a&lt;b&gt;&amp;</td>",
                                     u"<td class=\"state-up\">up</td>", u"2.5 Gb/s"})
        EXPECT_NE(html.Find(expected), -1) << CString(expected) << "\n" << html;
    ExpectWellFormed(html, u"html");

    const CString none = module.ExecuteFunction(u"InterfaceReport", Arguments({CVariable(CString(u"x<y"))})).m_strValue;
    EXPECT_NE(none.Find(u"No interface matches x&lt;y."), -1) << none;
    ExpectWellFormed(none, u"html");
}
