// Records of little-endian fields, as archives and deltas consist of.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/ByteStream.h"
#include "base/Error.h"

namespace companions {

/// A file is damaged, or is of another format, or uses what is not understood here.
class FormatError : public base::Error {
public:
    explicit FormatError(std::string_view description, base::Where where = base::Where::current())
        : Error(base::kInvalidData, description, where) {}
};

class FieldWriter {
public:
    FieldWriter& U16(std::uint64_t value) { return Append(value, 2); }
    FieldWriter& U32(std::uint64_t value) { return Append(value, 4); }
    FieldWriter& U64(std::uint64_t value) { return Append(value, 8); }
    FieldWriter& Bytes(base::Bytes bytes) {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    FieldWriter& Text(std::string_view text) {
        m_bytes.insert(m_bytes.end(), text.begin(), text.end());
        return *this;
    }
    const std::vector<std::uint8_t>& Written() const { return m_bytes; }

private:
    /// The low bytes of a value; the caller knows that the others are zero.
    FieldWriter& Append(std::uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            m_bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        return *this;
    }

    std::vector<std::uint8_t> m_bytes;
};

/// Reading past the end is a FormatError.
class FieldReader {
public:
    explicit FieldReader(base::Bytes bytes) : m_bytes(bytes) {}

    std::uint16_t U16() { return static_cast<std::uint16_t>(Number(2)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(Number(4)); }
    std::uint64_t U64() { return Number(8); }
    base::Bytes Bytes(std::size_t count) {
        if (count > m_bytes.size()) throw FormatError("a record is cut off");
        const auto taken = m_bytes.first(count);
        m_bytes = m_bytes.subspan(count);
        return taken;
    }
    void Skip(std::size_t count) { Bytes(count); }
    std::size_t Left() const { return m_bytes.size(); }

private:
    std::uint64_t Number(std::size_t bytes) {
        std::uint64_t value = 0;
        int shift = 0;
        for (const std::uint8_t byte : Bytes(bytes)) {
            value |= std::uint64_t{byte} << shift;
            shift += 8;
        }
        return value;
    }

    base::Bytes m_bytes;
};

/// So many bytes at an offset; FormatError when the source ends before.
std::vector<std::uint8_t> ReadRecord(const base::ByteSource& source, std::uint64_t offset, std::size_t size);

}  // namespace companions
