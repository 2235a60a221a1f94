// Fuzzer bytes as UTF-16 text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

inline std::wstring TextOf(const uint8_t* data, size_t size) {
    std::wstring text;
    for (size_t i = 0; i + 1 < size; i += 2)
        text += static_cast<wchar_t>(data[i] | data[i + 1] << 8);
    return text;
}
