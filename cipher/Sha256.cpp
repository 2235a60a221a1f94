// See Sha256.h.
#include "cipher/Sha256.h"

#include <array>
#include <vector>

#include "base/File.h"
#include "com/ErrorInfo.h"

namespace {

using Digest = std::array<BYTE, 32>;

void Check(NTSTATUS status) {
    if (status < 0) com::Check(HRESULT_FROM_NT(status), L"SHA-256");
}

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

Sha256::Sha256() {
    Check(BCryptOpenAlgorithmProvider(m_provider.Put(), BCRYPT_SHA256_ALGORITHM, nullptr, 0));
    Check(BCryptCreateHash(m_provider.Get(), m_hash.Put(), nullptr, 0, nullptr, 0, 0));
}

void Sha256::Add(base::Bytes bytes) {
    // The function only reads them.
    Check(BCryptHashData(m_hash.Get(), const_cast<BYTE*>(bytes.data()), static_cast<ULONG>(bytes.size()), 0));
}

std::wstring Sha256::Finish() {
    Digest digest;
    Check(BCryptFinishHash(m_hash.Get(), digest.data(), static_cast<ULONG>(digest.size()), 0));
    return Hexadecimal(digest);
}

std::wstring Sha256Of(base::Bytes bytes) {
    Sha256 sum;
    sum.Add(bytes);
    return sum.Finish();
}

std::wstring Sha256OfFile(const std::wstring& path) {
    const auto file = base::File::Open(path, GENERIC_READ, base::kShareAll, OPEN_EXISTING);
    Sha256 sum;
    std::vector<std::uint8_t> buffer(1 << 20);
    while (const std::size_t length = file.Read(buffer))
        sum.Add(base::Bytes(buffer).first(length));
    return sum.Finish();
}
