// FTP passwords as the registry keeps them.
#pragma once

#include <string>

namespace FtpPassword {

/// The text that is stored for a password.
std::wstring Encipher(const std::wstring& password);

/// The password of a stored text: enciphered bytes, two to a character, or upper-case hexadecimal text of
/// whole cipher blocks. Empty for a text that is neither.
std::wstring Decipher(const std::wstring& stored);

}  // namespace FtpPassword
