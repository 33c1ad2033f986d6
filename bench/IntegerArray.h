// A generated JSON document beside the standard ones: an array of count
// integers, as a host might receive a counter table.
#pragma once

#include <cstdint>
#include <string>

namespace bench {

inline std::string IntegerArray(int count) {
    std::string text = "[";
    for (int i = 0; i < count; ++i) {
        if (i) text += ',';
        text += std::to_string(static_cast<int64_t>(i) * 7919 % 1000003);
    }
    text += ']';
    return text;
}

}  // namespace bench
