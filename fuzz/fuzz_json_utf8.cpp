// Differential fuzzing of the UTF-8 doors of the JSON form, on arbitrary
// bytes taken as UTF-8 text:
//  - CJSON::Parse(bytes) gives the value and the flag that parsing the
//    bytes' conversion to a CString gives;
//  - ToJSONUtf8 writes, byte for byte, the UTF-8 form of ToJSON's text, at
//    the top level and at an indentation taken from the input.
// Any difference aborts, and libFuzzer keeps the input.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "varlib/formats/JSON.h"

namespace {

void Check(bool holds) {
    if (!holds)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    int bConverted = -1, bDirect = -1;
    const CVariable converted = CJSON::Parse(CString::FromUtf8(bytes), bConverted);
    const CVariable direct = CJSON::Parse(bytes, bDirect);
    Check(bDirect == bConverted);
    // Two values are the same when their XML forms are: every field, the type
    // and the elements in their order.
    Check(direct.ToXmlString() == converted.ToXmlString());

    for (const int nIndent : {0, size > 0 ? data[0] % 13 : 0}) {
        int bText = -1, bUtf8 = -1;
        const CString text = converted.ToJSON(bText, nIndent);
        const std::string utf8 = converted.ToJSONUtf8(bUtf8, nIndent);
        Check(bText == bUtf8);
        Check(utf8 == text.ToUtf8());
    }
    return 0;
}
