// FTP passwords as settings store them, enciphered under the cipher's default password. Portable.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace FtpPassword {

/// Whether a text is an enciphered password in upper-case hexadecimal digits, as settings files and
/// administration documents hold it.
bool IsEnciphered(std::wstring_view text);

/// The password of a stored text: of hexadecimal digits, or of enciphered bytes, two to a character. Nothing
/// for a text that is neither, or that was enciphered under another password of the cipher.
std::optional<std::wstring> Decipher(std::wstring_view stored);
/// A stored text as documents can hold it: enciphered bytes, which need not be characters, as hexadecimal
/// digits. Any other text stays as it is.
std::wstring ForDocuments(std::wstring_view stored);

/// Text of hexadecimal digits.
std::wstring Encipher(std::wstring_view password);
/// Text of the enciphered bytes, two to a character, as the registry holds it.
std::wstring EncipherBytes(std::wstring_view password);

}  // namespace FtpPassword
