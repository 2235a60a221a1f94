// own_certificate FILE: puts the certificates of a PKCS#12 file without a password, and their keys, among the personal
// ones of this account. With "remove" behind it: takes those of the same keys away.
#include <windows.h>
#include <wincrypt.h>
#include <stdio.h>

static BOOL Put(HCERTSTORE store, PCCERT_CONTEXT certificate, BOOL remove) {
    PCCERT_CONTEXT own = NULL;
    if (!remove)
        return CertAddCertificateContextToStore(store, certificate, CERT_STORE_ADD_REPLACE_EXISTING, NULL);
    own = CertFindCertificateInStore(store, X509_ASN_ENCODING, 0, CERT_FIND_EXISTING, certificate, NULL);
    return !own || CertDeleteCertificateFromStore(own);
}

int wmain(int count, wchar_t** arguments) {
    BYTE bytes[16384];
    CRYPT_DATA_BLOB packed = {0, bytes};
    PCCERT_CONTEXT certificate = NULL;
    HCERTSTORE own, found;
    FILE* file = count > 1 ? _wfopen(arguments[1], L"rb") : NULL;
    if (!file) return 2;
    packed.cbData = (DWORD)fread(bytes, 1, sizeof bytes, file);
    fclose(file);
    found = PFXImportCertStore(&packed, L"", CRYPT_EXPORTABLE | CRYPT_USER_KEYSET);
    own = CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"MY");
    if (!found || !own) {
        fprintf(stderr, "own_certificate: error %lu\n", GetLastError());
        return 1;
    }
    while ((certificate = CertEnumCertificatesInStore(found, certificate)) != NULL)
        if (!Put(own, certificate, count > 2)) return 1;
    return CertCloseStore(own, 0) ? 0 : 1;
}
