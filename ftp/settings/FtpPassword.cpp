// See FtpPassword.h.
#include "ftp/settings/FtpPassword.h"

#include "cipher/Envelope.h"
#include "cipher/TextBytes.h"

namespace {

constexpr size_t kDigitsPerBlock = 64;

std::vector<std::uint8_t> Enciphered(std::wstring_view password) {
    return Envelope().EncryptData(BytesOf(password), {});
}

}  // namespace

bool FtpPassword::IsEnciphered(std::wstring_view text) {
    return !text.empty() && text.size() % kDigitsPerBlock == 0 && IsHexadecimal(text);
}

std::optional<std::wstring> FtpPassword::Decipher(std::wstring_view stored) {
    const auto password = IsEnciphered(stored) ? Envelope().DecryptData(BytesOfHexadecimal(stored), {})
                                               : Envelope().DecryptData(BytesOf(stored), {});
    if (!password) return std::nullopt;
    return TextOf(*password);
}

std::wstring FtpPassword::ForDocuments(std::wstring_view stored) {
    const bool isBytes = !IsEnciphered(stored) && Decipher(stored);
    return isBytes ? HexadecimalOf(BytesOf(stored)) : std::wstring(stored);
}

std::wstring FtpPassword::Encipher(std::wstring_view password) { return HexadecimalOf(Enciphered(password)); }

std::wstring FtpPassword::EncipherBytes(std::wstring_view password) { return TextOf(Enciphered(password)); }
