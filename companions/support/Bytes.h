// Where bytes come from and where they go: files, and memory in tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace companions {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual std::uint64_t Size() const = 0;  ///< bytes
    /// Fills the buffer from offset on. Returns how many bytes it got: fewer than asked for only at the end.
    virtual std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const = 0;
};

class ByteSink {
public:
    virtual ~ByteSink() = default;

    virtual void Write(std::span<const std::uint8_t> bytes) = 0;
};

/// Bytes in memory, which the caller keeps.
class MemorySource final : public ByteSource {
public:
    explicit MemorySource(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    std::uint64_t Size() const override { return m_bytes.size(); }
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const override;

private:
    std::span<const std::uint8_t> m_bytes;
};

}  // namespace companions
