// See Envelope.h.
#include "cipher/Envelope.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <stdexcept>

#include "cipher/Rijndael.h"
#include "cipher/TextBytes.h"

namespace {

/// Every build that is to read another one's messages must have the same one.
constexpr std::wstring_view kDefaultPassword = L"5C3E9A71-2B6D-48f0-9E4A-7D1C0B83F26E";
constexpr int kWords = 8;
constexpr std::size_t kBlockSize = 32;
constexpr std::size_t kHeaderSize = 4;

std::size_t RoundedUp(std::size_t size) { return (size + kBlockSize - 1) / kBlockSize * kBlockSize; }

std::array<std::uint8_t, kHeaderSize> HeaderOf(std::size_t length) {
    std::array<std::uint8_t, kHeaderSize> header;
    for (std::size_t i = 0; i < header.size(); ++i)
        header[i] = static_cast<std::uint8_t>(length >> 8 * i);
    return header;
}

std::size_t LengthFrom(std::span<const std::uint8_t> header) {
    std::size_t length = 0;
    for (std::size_t i = 0; i < kHeaderSize; ++i)
        length |= static_cast<std::size_t>(header[i]) << 8 * i;
    return length;
}

void CheckMessage(std::size_t size) {
    if (size == 0) throw std::out_of_range("bytMessage has no bytes; at least 1 is needed.");
    if (size > std::numeric_limits<std::int32_t>::max())
        throw std::length_error("bytMessage is too long; it must have less than 2 GB.");
}

}  // namespace

Envelope::Envelope() : m_defaultPassword(BytesOf(kDefaultPassword)) {}

void Envelope::Key(std::wstring_view sPassword) { m_defaultPassword = BytesOf(sPassword); }

SecretBytes Envelope::KeyOf(std::span<const std::uint8_t> password) const {
    if (password.empty()) password = m_defaultPassword;
    SecretBytes key(kBlockSize);
    std::ranges::copy(password.first(std::min(password.size(), key.size())), key.begin());
    return key;
}

std::vector<std::uint8_t> Envelope::EncryptData(std::span<const std::uint8_t> bytMessage,
                                                std::span<const std::uint8_t> bytPassword) const {
    CheckMessage(bytMessage.size());
    Rijndael cipher;
    cipher.gkey(kWords, kWords, KeyOf(bytPassword));
    std::vector<std::uint8_t> data(RoundedUp(kHeaderSize + bytMessage.size()));
    const auto message = std::ranges::copy(HeaderOf(bytMessage.size()), data.begin()).out;
    std::ranges::copy(bytMessage, message);
    cipher.Encrypt(data);
    return data;
}

std::optional<SecretBytes> Envelope::DecryptData(std::span<const std::uint8_t> bytIn,
                                                 std::span<const std::uint8_t> bytPassword) const {
    if (bytIn.empty() || bytIn.size() % kBlockSize != 0) return std::nullopt;
    Rijndael cipher;
    cipher.gkey(kWords, kWords, KeyOf(bytPassword));
    SecretBytes data(bytIn.begin(), bytIn.end());
    cipher.Decrypt(data);
    const std::size_t length = LengthFrom(data);
    if (length > data.size() - kHeaderSize) return std::nullopt;
    const auto message = std::span(data).subspan(kHeaderSize, length);
    return SecretBytes(message.begin(), message.end());
}
