// Names come back from the paths of URLs, and digests from their notes; others' texts are read without harm.
#include "base/Utf8.h"
#include "http/HttpDate.h"
#include "http/UrlPath.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/Require.h"
#include "webdav/PacketDigests.h"

namespace {

void EncodeName(const std::wstring& name) {
    const std::string encoded = UrlPath::Encode(name);
    const auto decoded = UrlPath::Decode(encoded);
    Require(decoded && UrlPath::Encode(*decoded) == encoded);
    if (!name.empty()) Require(UrlPath::LastName("https://server/folder/" + encoded + "/") == decoded);
}

void WriteNote(const std::wstring& packet, std::uint64_t size, std::int64_t time) {
    if (packet.empty() || packet.find(L'\n') != packet.npos) return;
    const std::wstring name = base::FromUtf8(base::ToUtf8(packet));
    const std::vector<PacketDigest> digests{
        {name, L"upload", size, base::FileTime(base::FileTime::duration(time)), std::wstring(64, L'f')}};
    Require(DigestsIn(TextOf(digests)) == digests);
}

/// What is taken for a note is told as it was written, but for numbers, which have more than one form.
void ReadNote(const std::string& text) {
    const auto digests = DigestsIn(text);
    if (digests) Require(DigestsIn(TextOf(*digests)) == digests);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    const std::wstring name = input.WideText();
    EncodeName(name);
    WriteNote(name, input.Between<std::uint64_t>(0, ~std::uint64_t{0}),
              input.Between<std::int64_t>(INT64_MIN, INT64_MAX));
    const std::string text = input.Text(100'000);
    UrlPath::LastName(text);
    HttpDateIn(text);
    ReadNote(text);
    ReadNote(std::string("znTransporter digests 1\n") + text);
    return 0;
}
