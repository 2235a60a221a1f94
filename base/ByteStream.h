// Where bytes come from and where they go: files, or memory. Portable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace base {

using Bytes = std::span<const std::uint8_t>;

/// Those of a text, which the caller keeps.
inline Bytes BytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

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

    /// Appends.
    virtual void Write(Bytes bytes) = 0;
};

/// A sink that can go back to what was written.
class SeekableSink : public ByteSink {
public:
    virtual std::uint64_t Size() const = 0;  ///< bytes written
    /// Replaces bytes that were written before, and may go on behind the end.
    virtual void WriteAt(std::uint64_t offset, Bytes bytes) = 0;
    virtual void Truncate(std::uint64_t size) = 0;
};

/// Bytes in memory, which the caller keeps.
class MemorySource final : public ByteSource {
public:
    explicit MemorySource(Bytes bytes) : m_bytes(bytes) {}

    std::uint64_t Size() const override { return m_bytes.size(); }
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const override;

private:
    Bytes m_bytes;
};

/// Collects bytes in memory.
class MemorySink final : public SeekableSink {
public:
    const std::vector<std::uint8_t>& Written() const noexcept { return m_bytes; }

    void Write(Bytes bytes) override { m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end()); }
    std::uint64_t Size() const override { return m_bytes.size(); }
    void WriteAt(std::uint64_t offset, Bytes bytes) override;
    void Truncate(std::uint64_t size) override { m_bytes.resize(static_cast<std::size_t>(size)); }

private:
    std::vector<std::uint8_t> m_bytes;
};

}  // namespace base
