// The certificate by which this computer, or its user, is known to a server.
#pragma once

#include <windows.h>
#include <wincrypt.h>

#include <string>

#include "base/Handle.h"

struct CertificateTraits {
    using Value = PCCERT_CONTEXT;
    static Value None() noexcept { return nullptr; }
    static void Close(Value certificate) noexcept { CertFreeCertificateContext(certificate); }
};
using Certificate = base::UniqueHandle<CertificateTraits>;

/// Of the personal certificates of the account, then of the computer, that with a private key which is named
/// by its SHA-1 thumbprint (blanks and colons are no part of it) or a part of its subject; of several the one
/// that is valid the longest. Throws when there is none that is valid now.
Certificate FindClientCertificate(const std::wstring& name);
