// See Sha256.h.
#include "cipher/Sha256.h"

#include "base/File.h"
#include "com/ErrorInfo.h"

namespace {

void Check(NTSTATUS status) {
    if (status < 0) com::Check(HRESULT_FROM_NT(status), L"check sum");
}

std::wstring Hexadecimal(const std::vector<std::uint8_t>& bytes) {
    constexpr wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

}  // namespace

CheckSum::CheckSum(const wchar_t* algorithm, std::size_t size) : m_size(size) {
    Check(BCryptOpenAlgorithmProvider(m_provider.Put(), algorithm, nullptr, 0));
    Check(BCryptCreateHash(m_provider.Get(), m_hash.Put(), nullptr, 0, nullptr, 0, 0));
}

void CheckSum::Add(base::Bytes bytes) {
    // The function only reads them.
    Check(BCryptHashData(m_hash.Get(), const_cast<BYTE*>(bytes.data()), static_cast<ULONG>(bytes.size()), 0));
}

std::vector<std::uint8_t> CheckSum::FinishBytes() {
    std::vector<std::uint8_t> sum(m_size);
    Check(BCryptFinishHash(m_hash.Get(), sum.data(), static_cast<ULONG>(sum.size()), 0));
    return sum;
}

std::wstring CheckSum::Finish() { return Hexadecimal(FinishBytes()); }

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
