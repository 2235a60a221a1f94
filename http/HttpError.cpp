// See HttpError.h.
#include "http/HttpError.h"

#include <winhttp.h>

#include <algorithm>
#include <iterator>

#include "base/SystemError.h"
#include "base/Text.h"

namespace {

/// A certificate's fault, by the flag that tells of it and by the error that stands for it alone.
struct CertificateFault {
    DWORD flag;
    DWORD code;
    const wchar_t* text;
};
constexpr CertificateFault kCertificateFaults[] = {
    {WINHTTP_CALLBACK_STATUS_FLAG_CERT_REVOKED, ERROR_WINHTTP_SECURE_CERT_REVOKED,
     L"its certificate has been revoked. Do not trust it; ask who runs the server"},
    {WINHTTP_CALLBACK_STATUS_FLAG_CERT_CN_INVALID, ERROR_WINHTTP_SECURE_CERT_CN_INVALID,
     L"its certificate is made out to another name. Use the name that the certificate holds, or get one for "
     L"this name"},
    {WINHTTP_CALLBACK_STATUS_FLAG_CERT_DATE_INVALID, ERROR_WINHTTP_SECURE_CERT_DATE_INVALID,
     L"its certificate has expired or is not valid yet. Check the clock of this computer; otherwise the "
     L"certificate must be renewed"},
    {WINHTTP_CALLBACK_STATUS_FLAG_INVALID_CA, ERROR_WINHTTP_SECURE_INVALID_CA,
     L"its certificate was issued by somebody whom this computer does not trust. Install the certificate of "
     L"the issuer among the trusted root authorities, or get one of a known issuer"},
    {WINHTTP_CALLBACK_STATUS_FLAG_CERT_WRONG_USAGE, ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE,
     L"its certificate is not made for servers"},
    {WINHTTP_CALLBACK_STATUS_FLAG_INVALID_CERT, ERROR_WINHTTP_SECURE_INVALID_CERT,
     L"its certificate is damaged"},
    {WINHTTP_CALLBACK_STATUS_FLAG_CERT_REV_FAILED, ERROR_WINHTTP_SECURE_CERT_REV_FAILED,
     L"it cannot be found out whether its certificate has been revoked"},
    {WINHTTP_CALLBACK_STATUS_FLAG_SECURITY_CHANNEL_ERROR, ERROR_WINHTTP_SECURE_CHANNEL_ERROR,
     L"no encrypted connection came about. Its certificate is not trusted here, is made out to another name "
     L"or is out of date; or there is no encryption that both know (TLS 1.2 or later)"},
};

/// What is wrong with the connection to a server that is named before, by the error.
struct ConnectionFault {
    DWORD code;
    const wchar_t* text;
};
constexpr ConnectionFault kConnectionFaults[] = {
    {ERROR_WINHTTP_NAME_NOT_RESOLVED, L"its name is not known. Check the address, and the network"},
    {ERROR_WINHTTP_CANNOT_CONNECT,
     L"it cannot be reached, or refuses the connection. Check address and port, and whether it runs"},
    {ERROR_WINHTTP_TIMEOUT, L"it did not answer in time"},
    {ERROR_WINHTTP_CONNECTION_ERROR, L"the connection broke"},
    // As Wine tells it.
    {WSAECONNRESET, L"the connection broke"},
    {WSAECONNABORTED, L"the connection broke"},
    {ERROR_WINHTTP_INVALID_SERVER_RESPONSE, L"it answers in no form that HTTP knows"},
    {ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED, L"it asks for a certificate of this computer. Install one among "
                                            L"the personal certificates, and name it by "
                                            L"client_certificate"},
    {ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY,
     L"the client certificate has no private key here. Install it with its key"},
    {ERROR_WINHTTP_CLIENT_CERT_NO_ACCESS_PRIVATE_KEY,
     L"this account may not use the private key of the client certificate. Give it the right to read that "
     L"key"},
    {ERROR_CANCELLED, L"the transfer was cancelled"},
    {ERROR_WINHTTP_OPERATION_CANCELLED, L"the transfer was cancelled"},
};

std::wstring Explanation(DWORD code, DWORD certificate) {
    const auto certificateFault = std::ranges::find_if(kCertificateFaults, [&](const auto& fault) {
        return (certificate & fault.flag) != 0 || fault.code == code;
    });
    if (certificateFault != std::end(kCertificateFaults)) return certificateFault->text;
    const auto fault = std::ranges::find(kConnectionFaults, code, &ConnectionFault::code);
    if (fault != std::end(kConnectionFaults)) return fault->text;
    // Of the system's encryption, whose errors pass through unchanged now and then.
    if (HRESULT_FACILITY(code) == FACILITY_SECURITY)
        return L"the encryption of the connection failed (" + base::Hexadecimal(code) + L")";
    return L"error " + std::to_wstring(code) + L" (" + base::Hexadecimal(code) + L")";
}

}  // namespace

HttpError::HttpError(DWORD code, const std::wstring& server, DWORD certificate, Where where)
    : base::Error(HRESULT_FROM_WIN32(code),
                  L"The server " + server + L": " + Explanation(code, certificate) + L".", where),
      m_code(code),
      m_certificate(certificate) {}

HttpError HttpError::OfPin(const std::wstring& server, const std::wstring& pin, Where where) {
    return {ERROR_WINHTTP_SECURE_FAILURE,
            L"The server " + server + L": its public key is none of those that are pinned, but " + pin +
                L". If the server was given a new key, and who runs it confirms this one, add it to pins.",
            where};
}

bool HttpError::IsOfRevocation() const noexcept {
    return m_certificate == WINHTTP_CALLBACK_STATUS_FLAG_CERT_REV_FAILED ||
           m_code == ERROR_WINHTTP_SECURE_CERT_REV_FAILED;
}
