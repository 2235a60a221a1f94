// Text that Windows enciphers for an account or a computer (DPAPI): nobody else can decipher it, and no key
// lies in a program.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "cipher/Secret.h"

namespace ProtectedText {

/// Who can decipher a text.
enum class Readers {
    Account,   ///< programs of the account, on the computer
    Computer,  ///< programs of all accounts of the computer
};

struct Revealed {
    SecretText text;
    Readers readers = Readers::Account;
};

/// Whether a stored text is one that Protect made.
bool IsProtected(std::wstring_view stored);
/// A line without blanks.
std::wstring Protect(std::span<const wchar_t> text, Readers readers);
/// Nothing for what is damaged, or was enciphered for another account or on another computer.
std::optional<Revealed> Reveal(std::wstring_view stored);
/// The system's words for why that is nothing.
std::wstring WhyHidden(std::wstring_view stored);

}  // namespace ProtectedText
