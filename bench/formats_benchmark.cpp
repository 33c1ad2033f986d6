// The interchange formats against the libraries a user would pick instead, on
// the standard documents canada.json (numbers), citm_catalog.json (objects)
// and twitter.json (text, non-ASCII):
//
//  - parse: CJSON::Parse of the UTF-8 bytes, the conversion of the bytes to a
//    CString alone, and CJSON::Parse of a ready CString, against
//    nlohmann::json::parse and RapidJSON's Document::Parse of the same bytes;
//  - write: CVariable::ToJSONUtf8 and ToJSON, against nlohmann's dump(4) and
//    RapidJSON's PrettyWriter (4 spaces);
//  - XML: ToXml + CXML::ToString, and the text parsed by CXML + FromXml, of a
//    value made from citm_catalog.json, against pugixml parsing and printing
//    the same XML text.
//
// Throughput (bytes_per_second) always counts the size of the source document,
// so that the rows of one group compare time per document even where the
// texts they produce differ in length (ToJSON writes six decimals a number).
// A null has no JSON form in ToJSON, so every writer is given the document
// with its nulls read as 0.
#include <benchmark/benchmark.h>

#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "corelib/XML.h"
#include "corelib/XMLTextWriter.h"
#include "IntegerArray.h"
#include "varlib/formats/JSON.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

// The generated array of a million integers, beside the files.
const char* const kIntegers = "1M integers";

// The document's bytes, read once per file (or generated); empty if it can't be read.
const std::string& Document(const std::string& name) {
    static std::map<std::string, std::string> cache;
    auto it = cache.find(name);
    if (it == cache.end()) {
        if (name == kIntegers)
            return cache.emplace(name, bench::IntegerArray(1000000)).first->second;
        std::ifstream file(std::string(TW_BENCH_DATA_DIR) + "/" + name, std::ios::binary);
        std::ostringstream bytes;
        if (file)
            bytes << file.rdbuf();
        it = cache.emplace(name, bytes.str()).first;
    }
    return it->second;
}

// The document, or a skip with the reason when it is missing.
const std::string* DocumentOrSkip(benchmark::State& state, const std::string& name) {
    const std::string& bytes = Document(name);
    if (bytes.empty()) {
        state.SkipWithError(("missing " + std::string(TW_BENCH_DATA_DIR) + "/" + name).c_str());
        return nullptr;
    }
    return &bytes;
}

// One unit of work once untimed, then as often as the benchmark asks: every
// row starts from a heap that has held its result before, as in a host that
// keeps working. Without it a row that runs once (the million integers) would
// time the kernel handing out its pages, which the rows of the peers, run
// many times, do not.
template <class Work>
void Measure(benchmark::State& state, Work work) {
    work();
    for (auto _ : state)
        work();
}

void CountDocument(benchmark::State& state, const std::string& bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}

// Replaces every value of type 0 (a JSON null) below value by INT 0.
void NullsToZero(CVariable& value) {
    std::vector<CVariable*> pending{&value};
    while (!pending.empty()) {
        CVariable* pValue = pending.back();
        pending.pop_back();
        if (!pValue->IsValid()) {
            *pValue = 0;
            continue;
        }
        if (!pValue->IsArray())
            continue;
        const int count = static_cast<int>(pValue->m_arrayValue.GetCount());
        for (int ordinal = 0; ordinal < count; ++ordinal) {
            CVariable* pElement = nullptr;
            pValue->m_arrayValue.Lookup(pValue->m_arrayValue.GetIndex(ordinal), pElement);
            if (pElement != nullptr)
                pending.push_back(pElement);
        }
    }
}

void NullsToZero(nlohmann::json& value) {
    if (value.is_null())
        value = 0;
    else if (value.is_structured())
        for (auto& element : value)
            NullsToZero(element);
}

void NullsToZero(rapidjson::Value& value) {
    if (value.IsNull())
        value.SetInt(0);
    else if (value.IsArray())
        for (auto& element : value.GetArray())
            NullsToZero(element);
    else if (value.IsObject())
        for (auto& member : value.GetObject())
            NullsToZero(member.value);
}

// The document as a CVariable with nulls read as 0; type 0 if it isn't there.
const CVariable& ValueOf(const std::string& name) {
    // Kept as parsed, not copied: the peers write a value fresh from their
    // parser too, and a copy lies in memory in another order.
    static std::map<std::string, std::unique_ptr<CVariable>> cache;
    auto it = cache.find(name);
    if (it == cache.end()) {
        auto value = std::unique_ptr<CVariable>(new CVariable(CJSON::Parse(CString::FromUtf8(Document(name)))));
        NullsToZero(*value);
        it = cache.emplace(name, std::move(value)).first;
    }
    return *it->second;
}

// --- parse ---

void JsonUtf8ToCString(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    Measure(state, [&] {
        CString text = CString::FromUtf8(*bytes);
        benchmark::DoNotOptimize(text);
    });
    CountDocument(state, *bytes);
}

// What a reader of the integers must do at least, however fast it reads:
// an array value keeps each element as a CVariable of its own, filed under
// its decimal index in the array's two maps, and frees them all again. No
// text is read. Set beside JsonParseNlohmann/integers, it bounds the ratio
// any reader of this value model can reach.
void JsonIntegerElementsAlone(benchmark::State& state) {
    constexpr int kCount = 1000000;
    Measure(state, [] {
        CVariable value{CVariableArray()};
        value.m_arrayValue.PreallocateHashTable(kCount);
        for (int i = 0; i < kCount; ++i)
            value.m_arrayValue.InsertElement(CString::Decimal(static_cast<unsigned int>(i)),
                                             new CVariable(static_cast<int64_t>(i) * 7919 % 1000003));
        benchmark::DoNotOptimize(value);
    });
}

void JsonParseCJSON(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    Measure(state, [&] {
        int bSuccess = 0;
        CVariable value = CJSON::Parse(std::string_view(*bytes), bSuccess);   // the UTF-8 door
        benchmark::DoNotOptimize(value);
        if (!bSuccess)
            state.SkipWithError("CJSON::Parse failed");
    });
    CountDocument(state, *bytes);
}

void JsonParseCJSONFromCString(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    const CString text = CString::FromUtf8(*bytes);
    Measure(state, [&] {
        int bSuccess = 0;
        CVariable value = CJSON::Parse(text, bSuccess);
        benchmark::DoNotOptimize(value);
    });
    CountDocument(state, *bytes);
}

void JsonParseNlohmann(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    Measure(state, [&] {
        nlohmann::json value = nlohmann::json::parse(*bytes);
        benchmark::DoNotOptimize(value);
    });
    CountDocument(state, *bytes);
}

void JsonParseRapidJSON(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    Measure(state, [&] {
        rapidjson::Document value;
        value.Parse(bytes->data(), bytes->size());
        benchmark::DoNotOptimize(value);
        if (value.HasParseError())
            state.SkipWithError("RapidJSON failed");
    });
    CountDocument(state, *bytes);
}

// --- write ---

void JsonToJSONUtf8(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    const CVariable& value = ValueOf(name);
    Measure(state, [&] {
        int bSuccess = 0;
        std::string text = value.ToJSONUtf8(bSuccess, 0);
        benchmark::DoNotOptimize(text);
        if (!bSuccess)
            state.SkipWithError("ToJSON failed");
    });
    CountDocument(state, *bytes);
}

void JsonToJSON(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    const CVariable& value = ValueOf(name);
    Measure(state, [&] {
        int bSuccess = 0;
        CString text = value.ToJSON(bSuccess, 0);
        benchmark::DoNotOptimize(text);
    });
    CountDocument(state, *bytes);
}

void JsonDumpNlohmann(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    nlohmann::json value = nlohmann::json::parse(*bytes);
    NullsToZero(value);
    Measure(state, [&] {
        std::string text = value.dump(4);
        benchmark::DoNotOptimize(text);
    });
    CountDocument(state, *bytes);
}

void JsonPrettyWriteRapidJSON(benchmark::State& state, const std::string& name) {
    const std::string* bytes = DocumentOrSkip(state, name);
    if (bytes == nullptr)
        return;
    rapidjson::Document value;
    value.Parse(bytes->data(), bytes->size());
    NullsToZero(value);
    Measure(state, [&] {
        rapidjson::StringBuffer buffer;
        rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);   // 4 spaces a level
        value.Accept(writer);
        benchmark::DoNotOptimize(buffer.GetString());
    });
    CountDocument(state, *bytes);
}

// --- XML, on citm_catalog.json ---

const char* const kXmlSource = "citm_catalog.json";

// The XML text of the value, as CXML prints it and as UTF-8 for pugixml.
struct XmlTexts {
    CString text;
    std::string utf8;
};

const XmlTexts& XmlOf(const std::string& name) {
    static std::map<std::string, XmlTexts> cache;
    auto it = cache.find(name);
    if (it == cache.end()) {
        XmlTexts texts;
        texts.text = ValueOf(name).ToXml().ToString(CXML::FORMAT_COMPACT);
        texts.utf8 = texts.text.ToUtf8();
        it = cache.emplace(name, std::move(texts)).first;
    }
    return it->second;
}

void CountXml(benchmark::State& state, const XmlTexts& texts) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(texts.utf8.size()));
}

void XmlToXmlToString(benchmark::State& state) {
    if (DocumentOrSkip(state, kXmlSource) == nullptr)
        return;
    const CVariable& value = ValueOf(kXmlSource);
    Measure(state, [&] {
        CString text = value.ToXml().ToString(CXML::FORMAT_COMPACT);
        benchmark::DoNotOptimize(text);
    });
    CountXml(state, XmlOf(kXmlSource));
}

// The same text written straight from the value, as a CString and as the
// UTF-8 bytes that a file or an HTTP body takes.
void XmlToXmlString(benchmark::State& state) {
    if (DocumentOrSkip(state, kXmlSource) == nullptr)
        return;
    const CVariable& value = ValueOf(kXmlSource);
    Measure(state, [&] {
        CString text = value.ToXmlString();
        benchmark::DoNotOptimize(text);
    });
    CountXml(state, XmlOf(kXmlSource));
}

void XmlWriteXmlUtf8(benchmark::State& state) {
    if (DocumentOrSkip(state, kXmlSource) == nullptr)
        return;
    const CVariable& value = ValueOf(kXmlSource);
    Measure(state, [&] {
        CXMLTextWriter out(CXML::FORMAT_COMPACT);
        value.WriteXml(out);
        benchmark::DoNotOptimize(out.Text().data());
    });
    CountXml(state, XmlOf(kXmlSource));
}

void XmlParseFromXml(benchmark::State& state) {
    if (DocumentOrSkip(state, kXmlSource) == nullptr)
        return;
    const XmlTexts& texts = XmlOf(kXmlSource);
    Measure(state, [&] {
        CXML node(texts.text, CVariable::GetTagName());
        CVariable value;
        value.FromXml(node);
        benchmark::DoNotOptimize(value);
    });
    CountXml(state, texts);
}

void XmlPugiParse(benchmark::State& state) {
    if (DocumentOrSkip(state, kXmlSource) == nullptr)
        return;
    const XmlTexts& texts = XmlOf(kXmlSource);
    Measure(state, [&] {
        pugi::xml_document document;
        const pugi::xml_parse_result result = document.load_buffer(texts.utf8.data(), texts.utf8.size());
        benchmark::DoNotOptimize(document);
        if (!result)
            state.SkipWithError("pugixml failed");
    });
    CountXml(state, texts);
}

void XmlPugiPrint(benchmark::State& state) {
    if (DocumentOrSkip(state, kXmlSource) == nullptr)
        return;
    const XmlTexts& texts = XmlOf(kXmlSource);
    pugi::xml_document document;
    document.load_buffer(texts.utf8.data(), texts.utf8.size());
    Measure(state, [&] {
        std::ostringstream text;
        document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
        benchmark::DoNotOptimize(text);
    });
    CountXml(state, texts);
}

}  // namespace

#define TW_JSON_BENCHMARKS(function)                                        \
    BENCHMARK_CAPTURE(function, canada, std::string("canada.json"))         \
        ->Unit(benchmark::kMillisecond);                                    \
    BENCHMARK_CAPTURE(function, citm_catalog, std::string("citm_catalog.json")) \
        ->Unit(benchmark::kMillisecond);                                    \
    BENCHMARK_CAPTURE(function, twitter, std::string("twitter.json"))       \
        ->Unit(benchmark::kMillisecond);                                    \
    BENCHMARK_CAPTURE(function, integers, std::string(kIntegers))           \
        ->Unit(benchmark::kMillisecond)

TW_JSON_BENCHMARKS(JsonUtf8ToCString);
TW_JSON_BENCHMARKS(JsonParseCJSON);
TW_JSON_BENCHMARKS(JsonParseCJSONFromCString);
TW_JSON_BENCHMARKS(JsonParseNlohmann);
BENCHMARK(JsonIntegerElementsAlone)->Unit(benchmark::kMillisecond);
TW_JSON_BENCHMARKS(JsonParseRapidJSON);
TW_JSON_BENCHMARKS(JsonToJSONUtf8);
TW_JSON_BENCHMARKS(JsonToJSON);
TW_JSON_BENCHMARKS(JsonDumpNlohmann);
TW_JSON_BENCHMARKS(JsonPrettyWriteRapidJSON);

BENCHMARK(XmlToXmlToString)->Unit(benchmark::kMillisecond);
BENCHMARK(XmlToXmlString)->Unit(benchmark::kMillisecond);
BENCHMARK(XmlWriteXmlUtf8)->Unit(benchmark::kMillisecond);
BENCHMARK(XmlPugiPrint)->Unit(benchmark::kMillisecond);
BENCHMARK(XmlParseFromXml)->Unit(benchmark::kMillisecond);
BENCHMARK(XmlPugiParse)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
