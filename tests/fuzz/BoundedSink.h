// A sink that takes no more than was announced.
#pragma once

#include "base/ByteStream.h"
#include "tests/fuzz/Require.h"

class BoundedSink final : public base::ByteSink {
public:
    explicit BoundedSink(std::uint64_t most) : m_left(most) {}

    const std::vector<std::uint8_t>& Written() const { return m_written.Written(); }

    void Write(base::Bytes bytes) override {
        Require(bytes.size() <= m_left);
        m_left -= bytes.size();
        m_written.Write(bytes);
    }
    /// After success: everything that was announced must have come.
    void Finish() const { Require(m_left == 0); }

private:
    std::uint64_t m_left;
    base::MemorySink m_written;
};
