// FTP passwords as settings store them, enciphered under the cipher's default password. Portable.
#pragma once

#include <string>
#include <string_view>

namespace FtpPassword {

/// Whether a text is an enciphered password in upper-case hexadecimal digits, as settings files and
/// administration documents hold it.
bool IsEnciphered(std::wstring_view text);

/// The password of a stored text: of hexadecimal digits, or of enciphered bytes, two to a character. Empty
/// for a text that is neither.
std::wstring Decipher(std::wstring_view stored);

/// Text of hexadecimal digits.
std::wstring Encipher(std::wstring_view password);
/// Text of the enciphered bytes, two to a character, as the registry holds it.
std::wstring EncipherBytes(std::wstring_view password);

}  // namespace FtpPassword
