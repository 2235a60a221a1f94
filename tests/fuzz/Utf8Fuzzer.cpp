// Text comes back from UTF-8, and whatever else is read or written becomes text.
#include "base/Utf8.h"

#include "base/ByteStream.h"
#include "cipher/TextBytes.h"
#include "companions/zip/Names.h"
#include "tests/fuzz/Require.h"

namespace {

void Read(const std::string& bytes) {
    const std::wstring text = base::FromUtf8(bytes);
    Require(base::DecodedUtf8(base::ToUtf8(text)) == text);
    if (const auto decoded = base::DecodedUtf8(bytes)) {
        Require(*decoded == text);
        Require(base::ToUtf8(text) == bytes);
    } else {
        Require(text.find(wchar_t{0xFFFD}) != text.npos);
    }
}

/// units: 16 bits each; any of them may be half of a pair.
void Write(const std::wstring& units) {
    const auto text = base::DecodedUtf8(base::ToUtf8(units));
    Require(text.has_value());
    std::size_t size = 0;
    for (const wchar_t character : *text)
        size += character > 0xFFFF ? 2 : 1;
    Require(size == units.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(data, data + size);
    Read(bytes);
    Write(TextOf(base::BytesOf(bytes)));
    Require(base::DecodedUtf8(companions::zip::FromCodePage437(bytes)).value().size() == size);
    return 0;
}
