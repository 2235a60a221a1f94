// A sink that takes no more than was announced.
#pragma once

#include <cstdlib>

#include "base/ByteStream.h"

class BoundedSink final : public base::ByteSink {
public:
    explicit BoundedSink(std::uint64_t most) : m_left(most) {}

    void Write(base::Bytes bytes) override {
        if (bytes.size() > m_left) std::abort();
        m_left -= bytes.size();
    }
    /// After success: everything that was announced must have come.
    void Finish() const {
        if (m_left != 0) std::abort();
    }

private:
    std::uint64_t m_left;
};
