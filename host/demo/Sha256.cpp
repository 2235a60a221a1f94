// See Sha256.h.
#include "host/demo/Sha256.h"

#include <windows.h>
#include <bcrypt.h>

#include <array>
#include <vector>

#include "base/File.h"
#include "base/Handle.h"
#include "com/ErrorInfo.h"

namespace {

struct AlgorithmTraits {
    using Value = BCRYPT_ALG_HANDLE;
    static Value None() noexcept { return nullptr; }
    static void Close(Value provider) noexcept { BCryptCloseAlgorithmProvider(provider, 0); }
};
struct HashTraits {
    using Value = BCRYPT_HASH_HANDLE;
    static Value None() noexcept { return nullptr; }
    static void Close(Value hash) noexcept { BCryptDestroyHash(hash); }
};
using Digest = std::array<BYTE, 32>;

void Check(NTSTATUS status) {
    if (status < 0) com::Check(HRESULT_FROM_NT(status), L"SHA-256");
}

class Hash {
public:
    Hash() {
        Check(BCryptOpenAlgorithmProvider(m_provider.Put(), BCRYPT_SHA256_ALGORITHM, nullptr, 0));
        Check(BCryptCreateHash(m_provider.Get(), m_hash.Put(), nullptr, 0, nullptr, 0, 0));
    }

    void Add(BYTE* data, std::size_t length) {
        Check(BCryptHashData(m_hash.Get(), data, static_cast<ULONG>(length), 0));
    }
    Digest Finish() {
        Digest digest;
        Check(BCryptFinishHash(m_hash.Get(), digest.data(), static_cast<ULONG>(digest.size()), 0));
        return digest;
    }

private:
    base::UniqueHandle<AlgorithmTraits> m_provider;
    base::UniqueHandle<HashTraits> m_hash;
};

std::wstring Hexadecimal(const Digest& bytes) {
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
        hash.Add(buffer.data(), length);
    return Hexadecimal(hash.Finish());
}
