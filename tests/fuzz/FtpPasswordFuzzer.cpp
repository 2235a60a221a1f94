// Passwords come back from each form in which they are stored, and every form of one means the same.
#include "ftp/settings/FtpPassword.h"

#include "cipher/TextBytes.h"
#include "tests/fuzz/Require.h"

namespace {

void RoundTrip(const std::wstring& password) {
    if (password.empty()) return;
    const std::wstring digits = FtpPassword::Encipher(password);
    const std::wstring bytes = FtpPassword::EncipherBytes(password);
    Require(FtpPassword::IsEnciphered(digits));
    Require(FtpPassword::Decipher(digits) == password);
    Require(FtpPassword::Decipher(bytes) == password);
    Require(FtpPassword::ForDocuments(bytes) == digits);
}

void Read(const std::wstring& stored) {
    const auto password = FtpPassword::Decipher(stored);
    const std::wstring inDocument = FtpPassword::ForDocuments(stored);
    Require(FtpPassword::Decipher(inDocument) == password);
    Require(FtpPassword::ForDocuments(inDocument) == inDocument);
    if (password) RoundTrip(*password);
}

}  // namespace

/// The input is a password, a stored text, and the bytes that hexadecimal digits of one stand for.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const std::uint8_t> bytes(data, size);
    RoundTrip(TextOf(bytes));
    Read(TextOf(bytes));
    Read(std::wstring(data, data + size));
    Read(HexadecimalOf(bytes));
    return 0;
}
