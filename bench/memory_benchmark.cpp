// What a value costs in memory, beside the peer a user would pick instead.
//
// First the size of CVariable and of each type it holds side by side. Then,
// for each document, the peak resident set (VmHWM, from the child's rusage)
// of a fresh process that reads the file and parses it, once with
// CJSON::Parse and once with nlohmann::ordered_json (the peer that keeps the
// members in document order, as CVariableArray does). Each parse runs in a
// child of its own, so one figure never includes another's heap; the baseline
// row is a child that only reads the file.
//
//   bench_memory [DATA_DIR]     (default: the shared bench-data folder)
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "IntegerArray.h"
#include "varlib/formats/JSON.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    if (file) bytes << file.rdbuf();
    return bytes.str();
}

// Runs work in a child process and gives its peak resident set in MB, or -1.
double PeakMegabytes(const std::function<bool()>& work) {
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid < 0) return -1;
    if (pid == 0) _exit(work() ? 0 : 1);
    int status = 0;
    rusage usage{};
    if (wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return -1;
    return static_cast<double>(usage.ru_maxrss) / 1024.0;   // ru_maxrss is in KiB
}

template <class T>
void PrintSize(const char* name) {
    std::printf("  %-16s %4zu bytes\n", name, sizeof(T));
}

}  // namespace

int main(int argc, char** argv) {
    const std::string dir = argc > 1 ? argv[1] : TW_BENCH_DATA_DIR;

    std::printf("sizeof\n");
    PrintSize<CVariable>("CVariable");
    PrintSize<CVariableArray>("CVariableArray");
    PrintSize<CXML>("CXML");
    PrintSize<CString>("CString");
    PrintSize<CIntegerEnum>("CIntegerEnum");
    PrintSize<CSnmpPdu>("CSnmpPdu");
    PrintSize<CSnmpVarBind>("CSnmpVarBind");
    PrintSize<CTime>("CTime");
    PrintSize<CVariableList>("CVariableList");

    struct Input {
        std::string name;
        std::function<std::string()> load;
    };
    const std::vector<Input> inputs = {
        {"canada.json", [&] { return ReadFile(dir + "/canada.json"); }},
        {"citm_catalog.json", [&] { return ReadFile(dir + "/citm_catalog.json"); }},
        {"twitter.json", [&] { return ReadFile(dir + "/twitter.json"); }},
        {"1M integers", [] { return bench::IntegerArray(1000000); }},
    };

    std::printf("\npeak RSS in MB (a fresh process each: read the text, parse it, hold the value)\n");
    std::printf("  %-18s %8s %8s %10s %8s\n", "document", "text", "CJSON", "nlohmann", "ratio");
    for (const Input& input : inputs) {
        const double text = PeakMegabytes([&] { return !input.load().empty(); });
        const double ours = PeakMegabytes([&] {
            const std::string bytes = input.load();
            const CString json = CString::FromUtf8(bytes);
            int ok = 0;
            const CVariable value = CJSON::Parse(json, ok);
            return ok != 0 && value.IsArray();
        });
        const double peer = PeakMegabytes([&] {
            const std::string bytes = input.load();
            const nlohmann::ordered_json value = nlohmann::ordered_json::parse(bytes);
            return value.is_structured();
        });
        std::printf("  %-18s %8.1f %8.1f %10.1f %8.2f\n", input.name.c_str(), text, ours, peer,
                    ours > 0 && peer > 0 ? ours / peer : 0.0);
    }
    return 0;
}
