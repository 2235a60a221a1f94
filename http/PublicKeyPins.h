// The public keys that a server may have, whoever has signed its certificate.
#pragma once

#include <windows.h>
#include <wincrypt.h>

#include <string>
#include <vector>

class PublicKeyPins {
public:
    /// text: pins with blanks between them, each "sha256//" and the Base64 of the SHA-256 of a certificate's
    /// SubjectPublicKeyInfo; empty for any key. Throws for another text.
    explicit PublicKeyPins(const std::wstring& text);

    bool AreSet() const noexcept { return !m_pins.empty(); }
    bool Hold(const std::wstring& pin) const;

private:
    std::vector<std::wstring> m_pins;
};

/// That of a certificate's key.
std::wstring PinOf(const CERT_CONTEXT& certificate);
