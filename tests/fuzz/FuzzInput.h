// Cuts the bytes of an input into the values that a writer takes.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include "base/ByteStream.h"
#include "base/Utf8.h"

class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : m_data(data, size) {}

    bool IsEmpty() { return m_data.remaining_bytes() == 0; }
    template <class Number>
    Number Between(Number least, Number most) {
        return m_data.ConsumeIntegralInRange(least, most);
    }
    /// Ends at a backslash that another character follows, or at so many bytes.
    std::string Text(std::size_t longest = 1000) { return m_data.ConsumeRandomLengthString(longest); }
    std::wstring WideText() { return base::FromUtf8(Text()); }
    /// Without the characters of a set.
    std::wstring WideTextWithout(std::wstring_view set) {
        std::wstring text = WideText();
        std::erase_if(text, [&](wchar_t letter) { return set.find(letter) != set.npos; });
        return text;
    }

private:
    FuzzedDataProvider m_data;
};
