// The cipher against libmcrypt, in processor time. The contenders take turns over the same data.
#include <mcrypt.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "bench/Row.h"
#include "cipher/Envelope.h"
#include "cipher/Rijndael.h"
#include "cipher/TextBytes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kDataSize = std::size_t{64} << 20;
constexpr int kRounds = 7;
constexpr int kCalls = 10000;

/// Unlike a clock on the wall, this does not count what other programs take.
double Seconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

double TimeOf(const std::function<void()>& work) {
    const double start = Seconds();
    work();
    return Seconds() - start;
}

class Libmcrypt {
public:
    explicit Libmcrypt(Bytes key)
        : m_module(mcrypt_module_open(std::string("rijndael-256").data(), nullptr, std::string("ecb").data(),
                                      nullptr)) {
        if (mcrypt_generic_init(m_module, key.data(), static_cast<int>(key.size()), nullptr) < 0)
            std::exit(1);
    }
    Libmcrypt(const Libmcrypt&) = delete;
    Libmcrypt& operator=(const Libmcrypt&) = delete;
    ~Libmcrypt() { mcrypt_generic_end(m_module); }

    void Encrypt(Bytes& data) { mcrypt_generic(m_module, data.data(), static_cast<int>(data.size())); }

private:
    MCRYPT m_module;
};

void CompareThroughput() {
    const Bytes key(32, 0x5A);
    Rijndael cipher;
    cipher.gkey(8, 8, key);
    Libmcrypt libmcrypt(key);
    Bytes ours(kDataSize);
    Bytes theirs(kDataSize);
    double ourTime = 1e9;
    double theirTime = 1e9;
    for (int round = 0; round < kRounds; ++round) {
        ourTime = std::min(ourTime, TimeOf([&] { cipher.Encrypt(ours); }));
        theirTime = std::min(theirTime, TimeOf([&] { libmcrypt.Encrypt(theirs); }));
    }
    if (ours != theirs) {
        std::fprintf(stderr, "bench: the ciphers disagree\n");
        std::exit(1);
    }
    bench::PrintRow("Rijndael, 64 MB, 256-bit block and key", "s", ourTime, {"libmcrypt", theirTime, 1.0});
}

void TimePasswords() {
    const Envelope envelope;
    const SecretBytes password = BytesOf(L"a field computer's password");
    const double seconds = TimeOf([&] {
        for (int call = 0; call < kCalls; ++call)
            if (envelope.EncryptData(password, {}).size() != 64) std::exit(1);
    });
    bench::PrintRow("EncryptData of a password", "us", seconds * 1e6 / kCalls, 0);
}

}  // namespace

int main() {
    CompareThroughput();
    TimePasswords();
}
