// See Base64.h.
#include "cipher/Base64.h"

#include <windows.h>
#include <wincrypt.h>

#include "base/SystemError.h"

std::wstring Base64Of(base::Bytes bytes) {
    constexpr DWORD kForm = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;
    const auto length = static_cast<DWORD>(bytes.size());
    DWORD size = 0;
    CryptBinaryToStringW(bytes.data(), length, kForm, nullptr, &size);
    std::wstring encoded(size, L'\0');
    if (!CryptBinaryToStringW(bytes.data(), length, kForm, encoded.data(), &size))
        base::ThrowWin32(GetLastError(), L"Base64");
    encoded.resize(size);
    return encoded;
}

std::optional<SecretBytes> BytesOfBase64(std::wstring_view text) {
    // A length of 0 stands for a text that ends with a zero.
    if (text.empty()) return std::nullopt;
    const auto length = static_cast<DWORD>(text.size());
    DWORD size = 0;
    const auto decode = [&](BYTE* bytes) {
        return CryptStringToBinaryW(text.data(), length, CRYPT_STRING_BASE64, bytes, &size, nullptr, nullptr);
    };
    if (!decode(nullptr)) return std::nullopt;
    SecretBytes bytes(size);
    if (!decode(bytes.data())) return std::nullopt;
    bytes.resize(size);
    return bytes;
}
