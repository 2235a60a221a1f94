// See PublicKeyPins.h.
#include "http/PublicKeyPins.h"

#include <algorithm>
#include <sstream>

#include "base/Error.h"
#include "base/SystemError.h"
#include "cipher/Base64.h"
#include "cipher/Sha256.h"

namespace {

constexpr std::wstring_view kPrefix = L"sha256//";
constexpr std::size_t kDigestSize = 32;

bool IsPin(std::wstring_view text) {
    if (!text.starts_with(kPrefix)) return false;
    const auto digest = BytesOfBase64(text.substr(kPrefix.size()));
    return digest && digest->size() == kDigestSize;
}

std::vector<BYTE> EncodedKey(const CERT_CONTEXT& certificate) {
    const auto encode = [&](BYTE* bytes, DWORD& size) {
        if (!CryptEncodeObject(X509_ASN_ENCODING, X509_PUBLIC_KEY_INFO,
                               &certificate.pCertInfo->SubjectPublicKeyInfo, bytes, &size))
            base::ThrowWin32(GetLastError(), L"public key");
    };
    DWORD size = 0;
    encode(nullptr, size);
    std::vector<BYTE> bytes(size);
    encode(bytes.data(), size);
    bytes.resize(size);
    return bytes;
}

}  // namespace

PublicKeyPins::PublicKeyPins(const std::wstring& text) {
    std::wistringstream words(text);
    for (std::wstring word; words >> word;) {
        if (!IsPin(word))
            throw base::Error(E_INVALIDARG,
                              L"The pin " + word +
                                  L" cannot be used: it must look like sha256// and 44 characters of "
                                  L"Base64.");
        m_pins.push_back(word);
    }
}

bool PublicKeyPins::Hold(const std::wstring& pin) const {
    return std::ranges::find(m_pins, pin) != m_pins.end();
}

std::wstring PinOf(const CERT_CONTEXT& certificate) {
    Sha256 sum;
    sum.Add(EncodedKey(certificate));
    return std::wstring(kPrefix) + Base64Of(sum.FinishBytes());
}
