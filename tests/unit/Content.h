// Content of files for tests: strings whose characters stand for bytes.
#pragma once

#include <algorithm>
#include <random>
#include <string>

#include "base/ByteStream.h"

namespace tests {

/// What a compressor cannot make smaller.
inline std::string Noise(std::size_t size, unsigned seed = 7) {
    std::mt19937 random(seed);
    std::string content(size, '\0');
    std::ranges::generate(content, [&] { return static_cast<char>(random() >> 16); });
    return content;
}

inline base::MemorySource SourceOf(const std::string& content) {
    return base::MemorySource(base::BytesOf(content));
}

inline std::string ContentOf(const base::MemorySink& sink) {
    return {sink.Written().begin(), sink.Written().end()};
}

/// A file that somebody writes to: it gives ten bytes, and has more whenever it is asked.
class GrowingSource final : public base::ByteSource {
public:
    std::uint64_t Size() const override { return m_size++; }
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const override {
        return SourceOf("ten  bytes").ReadAt(offset, buffer);
    }

private:
    mutable std::uint64_t m_size = 10;
};

}  // namespace tests
