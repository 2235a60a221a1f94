// Lets this computer's user trust an authority of certificates: its certificate is the file that is named (DER).
#include <windows.h>
#include <wincrypt.h>
#include <stdio.h>

int wmain(int count, wchar_t** arguments) {
    if (count != 2) return 2;
    FILE* file = _wfopen(arguments[1], L"rb");
    if (!file) return 2;
    BYTE certificate[8192];
    const DWORD length = (DWORD)fread(certificate, 1, sizeof certificate, file);
    fclose(file);
    HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
    if (!store || !CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, certificate, length,
                                                    CERT_STORE_ADD_REPLACE_EXISTING, NULL)) {
        fprintf(stderr, "trust: error %lu\n", GetLastError());
        return 1;
    }
    return CertCloseStore(store, 0) ? 0 : 1;
}
