// Fuzzes CJSON::Parse on arbitrary UTF-16 text: the input's bytes, taken in
// pairs as little-endian code units (an odd last byte is dropped), become the
// CString to parse. A value that parses is also printed and written back as
// JSON, so that whatever shape the parser builds is walked once more.
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "varlib/formats/JSON.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::u16string units(size / 2, u'\0');
    for (size_t k = 0; k < units.size(); ++k)
        units[k] = static_cast<char16_t>(data[2 * k] | (data[2 * k + 1] << 8));
    const CString json(std::move(units));

    int bSuccess = 0;
    const CVariable value = CJSON::Parse(json, bSuccess);
    if (bSuccess) {
        (void)value.ToString(0);
        int bWritten = 0;
        (void)value.ToJSON(bWritten, 0);
    }
    return 0;
}
