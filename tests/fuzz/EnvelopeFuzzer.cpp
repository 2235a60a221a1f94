// Whatever is deciphered is no longer than its envelope, hexadecimal text stands for as many bytes as it has
// pairs, and what is enciphered comes back.
#include <algorithm>

#include "cipher/Envelope.h"
#include "cipher/TextBytes.h"
#include "tests/fuzz/Require.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

void Decipher(const Envelope& envelope, Bytes data, Bytes password) {
    const auto message = envelope.DecryptData(data, password);
    Require(!message || message->size() + 4 <= data.size());
}

void CheckHexadecimal(Bytes text, const std::vector<std::uint8_t>& bytes) {
    Require(bytes.size() == text.size() / 4);
    Require(BytesOfHexadecimal(HexadecimalOf(bytes)) == bytes);
}

void RoundTrip(const Envelope& envelope, Bytes message, Bytes password) {
    if (message.empty()) return;
    const auto data = envelope.EncryptData(message, password);
    Require(std::ranges::equal(envelope.DecryptData(data, password).value(), message));
}

}  // namespace

/// The first byte is the length of a password, which follows.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const Bytes input(data + 1, size - 1);
    const Bytes password = input.first(std::min<size_t>(data[0] % 48, input.size()));
    const Bytes rest = input.subspan(password.size());

    static const Envelope envelope;
    Decipher(envelope, rest, password);
    const auto bytes = BytesOfHexadecimal(TextOf(rest));
    CheckHexadecimal(rest, bytes);
    Decipher(envelope, bytes, password);
    RoundTrip(envelope, rest, password);
    return 0;
}
