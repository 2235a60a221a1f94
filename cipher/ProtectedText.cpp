// See ProtectedText.h.
#include "cipher/ProtectedText.h"

#include <windows.h>
#include <wincrypt.h>

#include <algorithm>

#include "base/SystemError.h"
#include "cipher/Base64.h"

namespace ProtectedText {

namespace {

constexpr std::wstring_view kPrefix = L"dpapi:";
/// Travels inside the enciphered text, which does not tell its readers otherwise.
constexpr const wchar_t* kDescriptions[] = {L"account", L"computer"};

DATA_BLOB BlobOf(std::span<const std::uint8_t> bytes) {
    // The system only reads them.
    return {static_cast<DWORD>(bytes.size()), const_cast<BYTE*>(bytes.data())};
}

/// What the system hands out; it can be plain text.
class Output {
public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() {
        if (blob.pbData) Wipe(blob.pbData, blob.cbData);
        LocalFree(blob.pbData);
        LocalFree(description);
    }
    std::span<const std::uint8_t> Bytes() const { return {blob.pbData, blob.cbData}; }

    DATA_BLOB blob{};
    wchar_t* description = nullptr;
};

/// An error of the system; ERROR_SUCCESS where plain holds the text.
DWORD Decipher(std::wstring_view stored, Output& plain) {
    const auto bytes = IsProtected(stored) ? BytesOfBase64(stored.substr(kPrefix.size())) : std::nullopt;
    if (!bytes) return ERROR_INVALID_DATA;
    DATA_BLOB enciphered = BlobOf(*bytes);
    const BOOL done = CryptUnprotectData(&enciphered, &plain.description, nullptr, nullptr, nullptr,
                                         CRYPTPROTECT_UI_FORBIDDEN, &plain.blob);
    return done ? ERROR_SUCCESS : GetLastError();
}

SecretText TextIn(std::span<const std::uint8_t> bytes) {
    SecretText text(bytes.size() / sizeof(wchar_t));
    std::ranges::copy(bytes.first(text.size() * sizeof(wchar_t)),
                      reinterpret_cast<std::uint8_t*>(text.data()));
    return text;
}

}  // namespace

bool IsProtected(std::wstring_view stored) { return stored.starts_with(kPrefix); }

std::wstring Protect(std::span<const wchar_t> text, Readers readers) {
    const auto bytes = std::as_bytes(text);
    DATA_BLOB plain = BlobOf({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    const DWORD scope = readers == Readers::Computer ? CRYPTPROTECT_LOCAL_MACHINE : 0;
    Output enciphered;
    if (!CryptProtectData(&plain, kDescriptions[static_cast<int>(readers)], nullptr, nullptr, nullptr,
                          CRYPTPROTECT_UI_FORBIDDEN | scope, &enciphered.blob))
        base::ThrowWin32(GetLastError(), L"enciphering by Windows");
    return std::wstring(kPrefix) + Base64Of(enciphered.Bytes());
}

std::optional<Revealed> Reveal(std::wstring_view stored) {
    Output plain;
    if (Decipher(stored, plain) != ERROR_SUCCESS) return std::nullopt;
    const bool forComputer = plain.description && std::wstring_view(plain.description) ==
                                                      kDescriptions[static_cast<int>(Readers::Computer)];
    return Revealed{TextIn(plain.Bytes()), forComputer ? Readers::Computer : Readers::Account};
}

std::wstring WhyHidden(std::wstring_view stored) {
    Output plain;
    return base::SystemText(Decipher(stored, plain));
}

}  // namespace ProtectedText
