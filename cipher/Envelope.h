// Enciphers messages of any length under a password: a message is put behind its length, filled up with zeros
// to whole blocks, and each block is enciphered for itself by Rijndael with 256-bit blocks and keys. There is
// no integrity check: a wrong password gives nothing or garbage. Portable.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "cipher/Secret.h"

class Envelope {
public:
    Envelope();
    Envelope(const Envelope&) = delete;
    Envelope& operator=(const Envelope&) = delete;
    ~Envelope() = default;

    /// Replaces the default password, which counts wherever a password has no bytes.
    void Key(std::wstring_view sPassword);

    /// The first 32 bytes of a password count. The result's length is a multiple of 32. Throws
    /// std::out_of_range for an empty message and std::length_error for one of 2^31 bytes and more.
    std::vector<std::uint8_t> EncryptData(std::span<const std::uint8_t> bytMessage,
                                          std::span<const std::uint8_t> bytPassword) const;
    /// Nothing when the length is not a multiple of 32, or the message does not fit into it.
    std::optional<SecretBytes> DecryptData(std::span<const std::uint8_t> bytIn,
                                           std::span<const std::uint8_t> bytPassword) const;

private:
    SecretBytes KeyOf(std::span<const std::uint8_t> password) const;

    SecretBytes m_defaultPassword;
};
