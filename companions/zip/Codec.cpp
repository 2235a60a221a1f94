// See Codec.h.
#include "companions/zip/Codec.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>
#include <span>
#include <utility>
#include <vector>

#include "companions/support/Fields.h"

namespace companions::zip {

using base::Bytes;
using base::ByteSink;
using base::ByteSource;

namespace {

constexpr std::size_t kBlock = std::size_t{256} << 10;
/// Deflated data without a header of its own, in the largest window.
constexpr int kRawWindow = -15;

using Block = std::vector<std::uint8_t>;

/// The counts of zlib are 32-bit; blocks are far smaller.
uInt Count(std::size_t bytes) { return static_cast<uInt>(bytes); }

std::uint32_t Crc(std::uint32_t crc, Bytes bytes) {
    return static_cast<std::uint32_t>(crc32(crc, bytes.data(), Count(bytes.size())));
}

/// Hands the blocks of a range to a function.
class BlockReader {
public:
    explicit BlockReader(const Range& range) : m_range(range), m_block(kBlock) {}

    /// The next bytes; none at the end of the range, or of the source where that comes first.
    std::span<std::uint8_t> Next() {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, m_range.size - m_done));
        const std::size_t got =
            m_range.source.ReadAt(m_range.offset + m_done, std::span(m_block).first(wanted));
        m_done += got;
        return std::span(m_block).first(got);
    }
    std::uint64_t Done() const { return m_done; }
    bool AtEnd() const { return m_done == m_range.size; }

private:
    Range m_range;
    Block m_block;
    std::uint64_t m_done = 0;
};

Range Whole(const ByteSource& source) { return {source, 0, source.Size()}; }

/// Random bytes, as of compressed or encrypted content, are all about equally frequent, yet not exactly so:
/// the chi-squared statistic tells, which is about 255 for them. Repeated content makes it larger, regular
/// content smaller.
bool LooksRandom(Bytes bytes) {
    constexpr double kLeast = 187;
    constexpr double kMost = 323;
    constexpr std::size_t kEnough = std::size_t{64} << 10;
    if (bytes.size() < kEnough) return false;
    std::array<std::uint32_t, 256> counts{};
    for (const std::uint8_t byte : bytes)
        ++counts[byte];
    const double expected = static_cast<double>(bytes.size()) / static_cast<double>(counts.size());
    double statistic = 0;
    for (const std::uint32_t count : counts)
        statistic += (count - expected) * (count - expected) / expected;
    return statistic > kLeast && statistic < kMost;
}

class Deflater {
public:
    explicit Deflater(int level) : m_level(level), m_currentLevel(level) {
        constexpr int kMemoryLevel = 8;
        if (deflateInit2(&m_stream, level, Z_DEFLATED, kRawWindow, kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::bad_alloc();
    }
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;
    ~Deflater() { deflateEnd(&m_stream); }

    std::uint64_t Written() const { return m_written; }

    void Write(std::span<std::uint8_t> bytes, ByteSink& sink) {
        // Most of the time would go into the search for matches that random bytes do not have.
        SetLevel(LooksRandom(bytes) ? 0 : m_level, sink);
        Run(bytes, Z_NO_FLUSH, sink);
    }
    void Finish(ByteSink& sink) { Run({}, Z_FINISH, sink); }

private:
    void SetLevel(int level, ByteSink& sink) {
        if (level == std::exchange(m_currentLevel, level)) return;
        // What the stream still holds is less than a block.
        m_stream.next_out = m_out.data();
        m_stream.avail_out = Count(m_out.size());
        deflateParams(&m_stream, level, Z_DEFAULT_STRATEGY);
        Flush(sink);
    }

    void Run(std::span<std::uint8_t> bytes, int mode, ByteSink& sink) {
        m_stream.next_in = bytes.data();
        m_stream.avail_in = Count(bytes.size());
        do {
            m_stream.next_out = m_out.data();
            m_stream.avail_out = Count(m_out.size());
            deflate(&m_stream, mode);
            Flush(sink);
        } while (m_stream.avail_out == 0);
    }

    void Flush(ByteSink& sink) {
        const std::size_t made = m_out.size() - m_stream.avail_out;
        sink.Write(std::span(m_out).first(made));
        m_written += made;
    }

    z_stream m_stream{};
    Block m_out = Block(kBlock);
    int m_level;
    int m_currentLevel;
    std::uint64_t m_written = 0;
};

class Inflater {
public:
    Inflater() {
        if (inflateInit2(&m_stream, kRawWindow) != Z_OK) throw std::bad_alloc();
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater() { inflateEnd(&m_stream); }

    bool AtEnd() const { return m_atEnd; }

    void Feed(std::span<std::uint8_t> compressed) {
        m_stream.next_in = compressed.data();
        m_stream.avail_in = Count(compressed.size());
    }

    /// The next bytes; none when it must be fed, or at the end.
    Bytes Next() {
        m_stream.next_out = m_out.data();
        m_stream.avail_out = Count(m_out.size());
        const int result = inflate(&m_stream, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR) throw std::bad_alloc();
        m_atEnd = result == Z_STREAM_END;
        // Z_BUF_ERROR: there is no input left.
        if (result != Z_OK && result != Z_BUF_ERROR && !m_atEnd)
            throw FormatError("its compressed data is damaged");
        return std::span(m_out).first(m_out.size() - m_stream.avail_out);
    }
    bool UsedAll() const { return m_stream.avail_in == 0; }

private:
    z_stream m_stream{};
    Block m_out = Block(kBlock);
    bool m_atEnd = false;
};

/// Passes on no more than what was announced, so that a small archive cannot fill the disk.
class CheckedSink {
public:
    CheckedSink(std::uint64_t size, ByteSink& sink) : m_left(size), m_sink(sink) {}

    void Write(Bytes bytes) {
        if (bytes.size() > m_left) throw FormatError("it is longer than the archive announces");
        m_left -= bytes.size();
        m_crc = Crc(m_crc, bytes);
        m_sink.Write(bytes);
    }
    std::uint32_t Finish() const {
        if (m_left != 0) throw FormatError("it is shorter than the archive announces");
        return m_crc;
    }

private:
    std::uint64_t m_left;
    ByteSink& m_sink;
    std::uint32_t m_crc = 0;
};

void InflateBlock(Inflater& inflater, std::span<std::uint8_t> block, CheckedSink& sink) {
    inflater.Feed(block);
    for (;;) {
        const auto bytes = inflater.Next();
        sink.Write(bytes);
        if (inflater.AtEnd() || bytes.size() < kBlock) return;
    }
}

}  // namespace

Compressed Deflate(const ByteSource& source, int level, ByteSink& sink) {
    Compressed result;
    Deflater deflater(level);
    BlockReader reader(Whole(source));
    for (auto block = reader.Next(); !block.empty(); block = reader.Next()) {
        result.crc = Crc(result.crc, block);
        deflater.Write(block, sink);
    }
    deflater.Finish(sink);
    result.size = reader.Done();
    result.compressedSize = deflater.Written();
    return result;
}

Compressed Store(const ByteSource& source, ByteSink& sink) {
    Compressed result;
    BlockReader reader(Whole(source));
    for (auto block = reader.Next(); !block.empty(); block = reader.Next()) {
        result.crc = Crc(result.crc, block);
        sink.Write(block);
    }
    result.size = reader.Done();
    result.compressedSize = result.size;
    return result;
}

std::uint32_t Inflate(const Range& compressed, std::uint64_t size, ByteSink& sink) {
    Inflater inflater;
    CheckedSink checked(size, sink);
    BlockReader reader(compressed);
    while (!inflater.AtEnd()) {
        const auto block = reader.Next();
        if (block.empty()) throw FormatError("its compressed data is cut off");
        InflateBlock(inflater, block, checked);
    }
    if (!reader.AtEnd() || !inflater.UsedAll()) throw FormatError("its compressed data ends too early");
    return checked.Finish();
}

std::uint32_t Copy(const Range& compressed, std::uint64_t size, ByteSink& sink) {
    CheckedSink checked(size, sink);
    BlockReader reader(compressed);
    for (auto block = reader.Next(); !block.empty(); block = reader.Next())
        checked.Write(block);
    return checked.Finish();
}

}  // namespace companions::zip
