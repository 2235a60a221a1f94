// See Rijndael.h.
#include "cipher/Rijndael.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>
#include <string>

#include "cipher/RijndaelTables.h"
#include "cipher/Secret.h"

namespace {

using namespace RijndaelTables;

/// What differs between the two ways through the cipher.
struct Enciphering {
    static constexpr const RoundTables& rounds = kRounds;
    static constexpr const RoundTables& lastRound = kLastRound;
    static constexpr std::size_t SourceColumn(std::size_t column, std::size_t shift, std::size_t nb) {
        return (column + shift) % nb;
    }
};

struct Deciphering {
    static constexpr const RoundTables& rounds = kInverseRounds;
    static constexpr const RoundTables& lastRound = kInverseLastRound;
    static constexpr std::size_t SourceColumn(std::size_t column, std::size_t shift, std::size_t nb) {
        return (nb + column - shift) % nb;
    }
};

template <std::size_t Nb>
using State = std::array<std::uint32_t, Nb>;

template <std::size_t Row>
std::uint8_t Byte(std::uint32_t word) {
    return static_cast<std::uint8_t>(word >> 8 * Row);
}

constexpr std::uint32_t Word(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2, std::uint8_t b3) {
    return b0 | static_cast<std::uint32_t>(b1) << 8 | static_cast<std::uint32_t>(b2) << 16 |
           static_cast<std::uint32_t>(b3) << 24;
}

// Whole words are copied: the compiler keeps its columns apart, and a block's bytes lie in the order of their
// words.
static_assert(std::endian::native == std::endian::little, "the first byte of a word is its lowest");

std::uint32_t Load(const std::uint8_t* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

void Store(std::uint32_t word, std::uint8_t* bytes) { std::memcpy(bytes, &word, sizeof word); }

/// By how many columns a row is shifted.
constexpr std::size_t ShiftOf(std::size_t row, std::size_t nb) { return nb == 8 && row > 1 ? row + 1 : row; }

/// What a row adds to a column: the byte that the shift of rows brings there, looked up.
template <class Way, std::size_t Nb, std::size_t Row>
std::uint32_t RowOf(const RoundTables& tables, const State<Nb>& state, std::size_t column) {
    return tables[Row][Byte<Row>(state[Way::SourceColumn(column, ShiftOf(Row, Nb), Nb)])];
}

template <class Way, std::size_t Nb>
State<Nb> Round(const RoundTables& tables, const State<Nb>& state, const std::uint32_t* key) {
    State<Nb> next;
    for (std::size_t column = 0; column < Nb; ++column)
        next[column] = key[column] ^ RowOf<Way, Nb, 0>(tables, state, column) ^
                       RowOf<Way, Nb, 1>(tables, state, column) ^ RowOf<Way, Nb, 2>(tables, state, column) ^
                       RowOf<Way, Nb, 3>(tables, state, column);
    return next;
}

template <class Way, std::size_t Nb>
void TransformBlock(const std::uint32_t* key, int rounds, std::uint8_t* block) {
    State<Nb> state;
    for (std::size_t column = 0; column < Nb; ++column)
        state[column] = key[column] ^ Load(block + 4 * column);
    state = Round<Way>(Way::rounds, state, key += Nb);
    // The number of rounds is even. Two at a time: no word has to change its register between them.
    for (int round = 2; round < rounds; round += 2) {
        const State<Nb> next = Round<Way>(Way::rounds, state, key += Nb);
        state = Round<Way>(Way::rounds, next, key += Nb);
    }
    state = Round<Way>(Way::lastRound, state, key + Nb);
    for (std::size_t column = 0; column < Nb; ++column)
        Store(state[column], block + 4 * column);
}

template <class Way, std::size_t Nb>
void TransformBlocks(const std::uint32_t* key, int rounds, std::span<std::uint8_t> blocks) {
    for (; !blocks.empty(); blocks = blocks.subspan(4 * Nb))
        TransformBlock<Way, Nb>(key, rounds, blocks.data());
}

template <class Way>
void Transform(int nb, const std::uint32_t* key, int rounds, std::span<std::uint8_t> blocks) {
    if (nb == 4) return TransformBlocks<Way, 4>(key, rounds, blocks);
    if (nb == 6) return TransformBlocks<Way, 6>(key, rounds, blocks);
    TransformBlocks<Way, 8>(key, rounds, blocks);
}

std::uint32_t Substituted(std::uint32_t word) {
    return Word(kSbox[Byte<0>(word)], kSbox[Byte<1>(word)], kSbox[Byte<2>(word)], kSbox[Byte<3>(word)]);
}

/// The inverse round tables look their argument up in the inverse S-box first; the S-box undoes that.
std::uint32_t Unmixed(std::uint32_t word) {
    return kInverseRounds[0][kSbox[Byte<0>(word)]] ^ kInverseRounds[1][kSbox[Byte<1>(word)]] ^
           kInverseRounds[2][kSbox[Byte<2>(word)]] ^ kInverseRounds[3][kSbox[Byte<3>(word)]];
}

void CheckLength(const char* name, int words) {
    if (words != 4 && words != 6 && words != 8)
        throw std::invalid_argument(std::string(name) + " is " + std::to_string(words) +
                                    "; it counts 32-bit words and must be 4, 6 or 8.");
}

void CheckSize(const char* name, std::size_t size, std::size_t needed) {
    if (size < needed)
        throw std::out_of_range(std::string(name) + " has " + std::to_string(size) + " bytes; " +
                                std::to_string(needed) + " are needed.");
}

}  // namespace

Rijndael::~Rijndael() { WipeKey(); }

void Rijndael::WipeKey() noexcept {
    Wipe(m_forwardKey.data(), sizeof m_forwardKey);
    Wipe(m_inverseKey.data(), sizeof m_inverseKey);
}

void Rijndael::gkey(int nb, int nk, std::span<const std::uint8_t> Key) {
    CheckLength("nb", nb);
    CheckLength("nk", nk);
    const auto keyWords = static_cast<std::size_t>(nk);
    CheckSize("Key", Key.size(), 4 * keyWords);
    m_nb = nb;
    m_rounds = 6 + std::max(nb, nk);
    // A shorter key would leave the end of a longer one.
    WipeKey();
    Expand(keyWords, Key);
    Invert();
}

void Rijndael::Expand(std::size_t nk, std::span<const std::uint8_t> key) {
    for (std::size_t i = 0; i < nk; ++i)
        m_forwardKey[i] = Load(&key[4 * i]);
    for (std::size_t i = nk; i < KeyWords(); ++i) {
        std::uint32_t word = m_forwardKey[i - 1];
        if (i % nk == 0)
            word = Substituted(std::rotr(word, 8)) ^ kRoundConstants[i / nk - 1];
        else if (nk > 6 && i % nk == nk / 2)
            word = Substituted(word);
        m_forwardKey[i] = m_forwardKey[i - nk] ^ word;
    }
}

void Rijndael::Invert() {
    const auto nb = static_cast<std::size_t>(m_nb);
    const std::size_t last = KeyWords() - nb;
    for (std::size_t from = 0; from < KeyWords(); ++from) {
        const std::size_t column = from % nb;
        const bool outer = from < nb || from >= last;
        m_inverseKey[last - (from - column) + column] =
            outer ? m_forwardKey[from] : Unmixed(m_forwardKey[from]);
    }
}

void Rijndael::CheckBlocks(std::size_t size) const {
    if (m_nb == 0) throw std::logic_error("No key is set: call gkey first.");
    if (size == 0 || size % BlockSize() != 0)
        throw std::out_of_range("buff has " + std::to_string(size) + " bytes; whole blocks of " +
                                std::to_string(BlockSize()) + " are needed.");
}

void Rijndael::Encrypt(std::span<std::uint8_t> buff) const {
    CheckBlocks(buff.size());
    Transform<Enciphering>(m_nb, m_forwardKey.data(), m_rounds, buff);
}

void Rijndael::Decrypt(std::span<std::uint8_t> buff) const {
    CheckBlocks(buff.size());
    Transform<Deciphering>(m_nb, m_inverseKey.data(), m_rounds, buff);
}
