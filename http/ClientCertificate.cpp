// See ClientCertificate.h.
#include "http/ClientCertificate.h"

#include <algorithm>
#include <vector>

#include "base/Error.h"
#include "cipher/TextBytes.h"

namespace {

struct StoreTraits {
    using Value = HCERTSTORE;
    static Value None() noexcept { return nullptr; }
    static void Close(Value store) noexcept { CertCloseStore(store, 0); }
};
using Store = base::UniqueHandle<StoreTraits>;

/// What certificates are looked for by; empty bytes for a text that is no thumbprint.
std::vector<BYTE> ThumbprintIn(std::wstring text) {
    constexpr std::size_t kDigits = 40;
    // The system's own dialog shows blanks, and copies a mark of the direction of writing.
    std::erase_if(text, [](wchar_t character) {
        return character == L' ' || character == L':' || character == L'\u200E';
    });
    if (text.size() != kDigits || !IsHexadecimal(text)) return {};
    return BytesOfHexadecimal(text);
}

bool HasPrivateKey(PCCERT_CONTEXT certificate) {
    DWORD size = 0;
    return CertGetCertificateContextProperty(certificate, CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size);
}

bool IsValidNow(PCCERT_CONTEXT certificate) {
    return CertVerifyTimeValidity(nullptr, certificate->pCertInfo) == 0;
}

bool EndsLater(const Certificate& one, const Certificate& other) {
    return CompareFileTime(&one.Get()->pCertInfo->NotAfter, &other.Get()->pCertInfo->NotAfter) > 0;
}

void AddFrom(DWORD location, const std::wstring& name, std::vector<Certificate>& found) {
    const Store store(CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0,
                                    location | CERT_STORE_READONLY_FLAG | CERT_STORE_OPEN_EXISTING_FLAG,
                                    L"MY"));
    if (!store) return;
    std::vector<BYTE> thumbprint = ThumbprintIn(name);
    CRYPT_HASH_BLOB hash{static_cast<DWORD>(thumbprint.size()), thumbprint.data()};
    const DWORD kind = thumbprint.empty() ? CERT_FIND_SUBJECT_STR_W : CERT_FIND_SHA1_HASH;
    const void* const wanted = thumbprint.empty() ? static_cast<const void*>(name.c_str()) : &hash;
    PCCERT_CONTEXT certificate = nullptr;
    while ((certificate = CertFindCertificateInStore(store.Get(), X509_ASN_ENCODING, 0, kind, wanted,
                                                     certificate)) != nullptr)
        if (HasPrivateKey(certificate)) found.emplace_back(CertDuplicateCertificateContext(certificate));
}

}  // namespace

Certificate FindClientCertificate(const std::wstring& name) {
    std::vector<Certificate> found;
    for (const DWORD location : {CERT_SYSTEM_STORE_CURRENT_USER, CERT_SYSTEM_STORE_LOCAL_MACHINE}) {
        AddFrom(location, name, found);
        if (!found.empty()) break;
    }
    if (found.empty())
        throw base::Error(E_INVALIDARG,
                          L"There is no client certificate " + name +
                              L" with its private key among the personal certificates of this account or "
                              L"computer. Install it there, or correct its name in the settings.");
    std::erase_if(found, [](const Certificate& certificate) { return !IsValidNow(certificate.Get()); });
    if (found.empty())
        throw base::Error(E_INVALIDARG,
                          L"The client certificate " + name +
                              L" has expired or is not valid yet. Check the clock of this computer; "
                              L"otherwise the certificate must be renewed.");
    return std::move(*std::ranges::min_element(found, EndsLater));
}
