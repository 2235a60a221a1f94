#include "host/Sha256.h"

#include <windows.h>
#include <bcrypt.h>

#include <array>
#include <vector>

#include "base/File.h"
#include "base/SystemError.h"
#include "com/ErrorInfo.h"

namespace {

void CheckStatus(NTSTATUS status) {
    if (status < 0) com::Check(HRESULT_FROM_NT(status), L"SHA-256");
}

class Hash {
public:
    Hash() {
        CheckStatus(BCryptOpenAlgorithmProvider(&m_provider, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
        const NTSTATUS status = BCryptCreateHash(m_provider, &m_hash, nullptr, 0, nullptr, 0, 0);
        if (status < 0) BCryptCloseAlgorithmProvider(m_provider, 0);
        CheckStatus(status);
    }
    Hash(const Hash&) = delete;
    Hash& operator=(const Hash&) = delete;
    ~Hash() {
        BCryptDestroyHash(m_hash);
        BCryptCloseAlgorithmProvider(m_provider, 0);
    }

    void Add(BYTE* data, DWORD length) { CheckStatus(BCryptHashData(m_hash, data, length, 0)); }
    std::array<BYTE, 32> Finish() {
        std::array<BYTE, 32> digest;
        CheckStatus(BCryptFinishHash(m_hash, digest.data(), static_cast<ULONG>(digest.size()), 0));
        return digest;
    }

private:
    BCRYPT_ALG_HANDLE m_provider = nullptr;
    BCRYPT_HASH_HANDLE m_hash = nullptr;
};

std::wstring Hexadecimal(const std::array<BYTE, 32>& bytes) {
    constexpr wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring text;
    for (const BYTE byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

}  // namespace

std::wstring Sha256(const std::wstring& path) {
    const auto file = base::File::Open(path, GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING);
    Hash hash;
    std::vector<BYTE> buffer(1 << 20);
    while (const std::size_t length = file.Read(buffer))
        hash.Add(buffer.data(), static_cast<DWORD>(length));
    return Hexadecimal(hash.Finish());
}
