// netinfo.twp's logic: reading /proc/net/dev text and the sysfs attributes,
// the rows and the report, and the module's checks, on a fake kernel tree.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "examples/plugins/netinfo/NetDevParser.h"
#include "examples/plugins/netinfo/NetInfoModule.h"
#include "examples/plugins/netinfo/NetInfoReport.h"
#include "examples/plugins/netinfo/NetInfoSource.h"
#include "html_check.h"
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

// A fake /proc/net/dev and /sys/class/net in a temporary directory.
class FakeKernel : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "netinfo_test_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_root = pattern;
        fs::create_directories(m_root / "sys");
    }
    void TearDown() override { fs::remove_all(m_root); }

    void WriteNetDev(const std::string& text) const { Write(m_root / "dev", text); }
    void WriteAttribute(const std::string& name, const std::string& attribute, const std::string& text) const {
        fs::create_directories(m_root / "sys" / name);
        Write(m_root / "sys" / name / attribute, text);
    }
    CNetInfoSource Source() const { return CNetInfoSource((m_root / "dev").string(), (m_root / "sys").string()); }

    static void Write(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

    fs::path m_root;
};

const CVariable* Cell(const CVariable& rows, const char16_t* row, const char16_t* column) {
    CVariable* found = nullptr;
    if (!rows.m_arrayValue.Lookup(row, found) || found == nullptr)
        return nullptr;
    CVariable* cell = nullptr;
    return found->m_arrayValue.Lookup(column, cell) ? cell : nullptr;
}

CVariableList Arguments(std::initializer_list<CVariable> values) {
    CVariableList list;
    for (const CVariable& value : values)
        list.Add(value);
    return list;
}

}  // namespace

TEST(NetDevParser, ReadsNamesAndTheEightCounters) {
    const std::vector<InterfaceInfo> interfaces = ParseNetDev(kNetDev);
    ASSERT_EQ(interfaces.size(), 3u);
    EXPECT_EQ(interfaces[0].name, "lo");
    EXPECT_EQ(interfaces[0].rxBytes, 3267u);
    EXPECT_EQ(interfaces[0].txPackets, 29u);

    const InterfaceInfo& eth0 = interfaces[1];
    EXPECT_EQ(eth0.name, "eth0");
    EXPECT_EQ(eth0.rxBytes, std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(eth0.rxPackets, 767u);
    EXPECT_EQ(eth0.rxErrors, 1u);
    EXPECT_EQ(eth0.rxDropped, 2u);
    EXPECT_EQ(eth0.txBytes, 48203u);
    EXPECT_EQ(eth0.txPackets, 649u);
    EXPECT_EQ(eth0.txErrors, 3u);
    EXPECT_EQ(eth0.txDropped, 4u);
    EXPECT_EQ(interfaces[2].name, "wlp0s20f3");
    EXPECT_EQ(interfaces[2].txBytes, 200u);
}

TEST(NetDevParser, SkipsDamagedLinesAndKeepsTheRest) {
    const char* const numbers = " 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16";
    struct Case {
        std::string line;
        bool kept;
    };
    const Case cases[] = {
        {std::string("good:") + numbers, true},
        {std::string("good:") + numbers + " 17", true},   // a later kernel's extra column
        {std::string("good:") + numbers + "\r", true},
        {"short: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15", false},
        {std::string("neg:") + " -1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", false},
        {std::string("big:") + " 18446744073709551616 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", false},
        {std::string("word:") + " 1 2 3 x 5 6 7 8 9 10 11 12 13 14 15 16", false},
        {std::string("glued:") + " 1 2 3 4x 5 6 7 8 9 10 11 12 13 14 15 16", false},
        {std::string(":") + numbers, false},
        {std::string("two words:") + numbers, false},
        {"no colon at all 1 2 3", false},
        {"", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        const std::string text = "    lo:" + std::string(numbers) + "\n" + c.line + "\nlast:" + numbers;
        const std::vector<InterfaceInfo> interfaces = ParseNetDev(text);
        ASSERT_EQ(interfaces.size(), c.kept ? 3u : 2u);
        EXPECT_EQ(interfaces.front().name, "lo");
        EXPECT_EQ(interfaces.back().name, "last");
        EXPECT_EQ(interfaces.back().txDropped, 12u);
    }
}

TEST(FormatBytes, UsesBinaryUnitsWithOneDecimal) {
    const std::pair<uint64_t, const char16_t*> cases[] = {
        {0, u"0 B"},
        {1023, u"1023 B"},
        {1024, u"1.0 KiB"},
        {1536, u"1.5 KiB"},
        {1048575, u"1.0 MiB"},   // 1023.999 KiB would round to "1024.0 KiB"
        {18707557, u"17.8 MiB"},
        {std::numeric_limits<uint64_t>::max(), u"16.0 EiB"},
    };
    for (const auto& [bytes, text] : cases) {
        SCOPED_TRACE(bytes);
        EXPECT_EQ(FormatBytes(bytes), CString(text));
    }
}

TEST_F(FakeKernel, SourceCompletesCountersFromSysfs) {
    WriteNetDev(kNetDev);
    WriteAttribute("eth0", "operstate", "up\n");
    WriteAttribute("eth0", "mtu", "1500\n");
    WriteAttribute("eth0", "address", "52:54:00:12:34:56\n");
    WriteAttribute("eth0", "speed", "1000\n");
    WriteAttribute("lo", "operstate", "unknown\n");
    WriteAttribute("lo", "speed", "-1\n");      // drivers without a link speed
    WriteAttribute("lo", "mtu", "not a number\n");

    std::vector<InterfaceInfo> interfaces;
    std::string error;
    ASSERT_TRUE(Source().ReadInterfaces(interfaces, error)) << error;
    ASSERT_EQ(interfaces.size(), 3u);
    EXPECT_EQ(interfaces[1].operState, "up");
    EXPECT_EQ(interfaces[1].mtu, 1500);
    EXPECT_EQ(interfaces[1].address, "52:54:00:12:34:56");
    EXPECT_EQ(interfaces[1].speedMbps, 1000);
    EXPECT_EQ(interfaces[0].operState, "unknown");
    EXPECT_EQ(interfaces[0].mtu, -1);
    EXPECT_EQ(interfaces[0].speedMbps, -1);
    // No sysfs directory at all: counters only.
    EXPECT_EQ(interfaces[2].operState, "");
    EXPECT_EQ(interfaces[2].address, "");
}

TEST_F(FakeKernel, SourceNamesTheFileItCannotRead) {
    std::vector<InterfaceInfo> interfaces;
    std::string error;
    EXPECT_FALSE(Source().ReadInterfaces(interfaces, error));
    EXPECT_NE(error.find((m_root / "dev").string()), std::string::npos) << error;
}

TEST_F(FakeKernel, NamesFromTheFileNeverLeaveTheSysfsRoot) {
    // A file beside the sysfs root that "../x" would reach.
    Write(m_root / "operstate", "leaked\n");
    std::string value;
    for (const char* name : {"..", ".", "../sys", ""}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(Source().ReadAttribute(name, "operstate", value));
    }
}

TEST_F(FakeKernel, RowsLeaveOutWhatTheKernelDoesNotSay) {
    WriteNetDev(kNetDev);
    WriteAttribute("eth0", "operstate", "up");
    WriteAttribute("eth0", "mtu", "1500");
    WriteAttribute("eth0", "speed", "10000");
    std::vector<InterfaceInfo> interfaces;
    std::string error;
    ASSERT_TRUE(Source().ReadInterfaces(interfaces, error));
    const CVariable rows = InterfaceRows(interfaces);

    ASSERT_TRUE(rows.IsArray());
    EXPECT_EQ(rows.m_arrayValue.GetCount(), 3);
    EXPECT_EQ(rows.m_arrayValue.GetIndex(0), CString(u"lo"));
    ASSERT_NE(Cell(rows, u"eth0", u"SpeedMbps"), nullptr);
    EXPECT_EQ(Cell(rows, u"eth0", u"SpeedMbps")->m_nValue, 10000);
    EXPECT_EQ(Cell(rows, u"eth0", u"State")->m_strValue, CString(u"up"));
    // Above the INT range: clamped, not wrapped to a negative count.
    EXPECT_EQ(Cell(rows, u"eth0", u"RxBytes")->m_nValue, std::numeric_limits<int64_t>::max());
    EXPECT_EQ(Cell(rows, u"lo", u"SpeedMbps"), nullptr);
    EXPECT_EQ(Cell(rows, u"lo", u"Address"), nullptr);
    EXPECT_EQ(Cell(rows, u"lo", u"State")->m_strValue, CString(u"unknown"));
    EXPECT_TRUE(Cell(rows, u"lo", u"TxPackets")->IsInteger());
}

TEST_F(FakeKernel, ModuleChecksItsArguments) {
    const CNetInfoModule module(Source());
    struct Case {
        const char16_t* function;
        CVariableList arguments;
        int valid;
    };
    const Case cases[] = {
        {u"InterfaceList", {}, 1},
        {u"InterfaceList", Arguments({CVariable(CString(u"eth*"))}), 1},
        {u"InterfaceReport", {}, 1},
        {u"InterfaceReport", Arguments({CVariable(CString(u"lo"))}), 1},
        {u"InterfaceList", Arguments({CVariable(CString(u""))}), 0},
        {u"InterfaceList", Arguments({CVariable(5)}), 0},
        {u"InterfaceList", Arguments({CVariable(CString(u"a")), CVariable(CString(u"b"))}), 0},
        {u"interfacelist", {}, 0},
        {u"Unknown", {}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(CString(c.function) + u"/" + CString(std::to_string(c.arguments.GetSize()).c_str()));
        EXPECT_EQ(module.ValidateArguments(c.function, c.arguments), c.valid);
        if (!c.valid) {
            EXPECT_FALSE(module.ExecuteFunction(c.function, c.arguments).IsValid());
        }
    }
}

TEST_F(FakeKernel, PatternChoosesTheInterfaces) {
    WriteNetDev(kNetDev);
    const CNetInfoModule module(Source());
    const std::pair<const char16_t*, std::vector<CString>> cases[] = {
        {u"*", {u"lo", u"eth0", u"wlp0s20f3"}},
        {u"eth*", {u"eth0"}},
        {u"?o", {u"lo"}},
        {u"[ew]*", {u"eth0", u"wlp0s20f3"}},
        {u"nothing", {}},
    };
    for (const auto& [pattern, names] : cases) {
        SCOPED_TRACE(CString(pattern));
        const CVariable rows =
            module.ExecuteFunction(u"InterfaceList", Arguments({CVariable(CString(pattern))}));
        ASSERT_TRUE(rows.IsArray());
        ASSERT_EQ(rows.m_arrayValue.GetCount(), static_cast<intptr_t>(names.size()));
        for (std::size_t i = 0; i < names.size(); ++i)
            EXPECT_EQ(rows.m_arrayValue.GetIndex(static_cast<int>(i)), names[i]);
    }
}

TEST_F(FakeKernel, ReportShowsEveryInterfaceEscaped) {
    WriteNetDev(std::string(kNetDev) + "a<b>&: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n");
    WriteAttribute("eth0", "operstate", "up");
    WriteAttribute("eth0", "speed", "2500");
    const CNetInfoModule module(Source());
    const CVariable report = module.ExecuteFunction(u"InterfaceReport", {});
    ASSERT_TRUE(report.IsString());
    const CString& html = report.m_strValue;
    EXPECT_NE(html.Find(u"4 interfaces, 1 up."), -1) << html;
    EXPECT_NE(html.Find(u"<td>a&lt;b&gt;&amp;</td>"), -1);
    EXPECT_NE(html.Find(u"<td class=\"state-up\">up</td>"), -1);
    EXPECT_NE(html.Find(u"2.5 Gb/s"), -1);
    EXPECT_NE(html.Find(u"Received 16.0 EiB"), -1) << "the total wrapped round";
    ExpectWellFormed(html, u"html");

    const CVariable filtered = module.ExecuteFunction(u"InterfaceReport", Arguments({CVariable(CString(u"x<y"))}));
    EXPECT_NE(filtered.m_strValue.Find(u"No interface matches x&lt;y."), -1) << filtered.m_strValue;
    ExpectWellFormed(filtered.m_strValue, u"html");
}

TEST_F(FakeKernel, UnreadableCountersGiveAnErrorPageAndNoRows) {
    const CNetInfoModule module(Source());
    const CVariable report = module.ExecuteFunction(u"InterfaceReport", {});
    ASSERT_TRUE(report.IsString());
    EXPECT_NE(report.m_strValue.Find(u"<p class=\"error\">The interfaces could not be read: cannot read "), -1)
        << report.m_strValue;
    ExpectWellFormed(report.m_strValue, u"html");
    EXPECT_FALSE(module.ExecuteFunction(u"InterfaceList", {}).IsValid());
}
