// The format's terms, shared by writer and reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/FileTime.h"

namespace companions::zip {

enum class Method : std::uint16_t { Stored = 0, Deflated = 8 };

/// A file in an archive.
struct Entry {
    std::string name;  ///< UTF-8, folders separated by slashes; a slash at the end makes it a folder
    base::FileTime time;
    Method method = Method::Stored;
    std::uint32_t crc = 0;
    std::uint64_t compressedSize = 0;  ///< bytes in the archive
    std::uint64_t size = 0;            ///< bytes of the file
    std::uint64_t headerOffset = 0;    ///< where the local file header begins
    std::uint64_t contentOffset = 0;   ///< where the compressed bytes begin; readers alone know it

    bool IsFolder() const { return name.ends_with('/'); }
};

namespace signature {
constexpr std::uint32_t kLocalHeader = 0x04034B50;
constexpr std::uint32_t kCentralHeader = 0x02014B50;
constexpr std::uint32_t kEnd = 0x06054B50;
constexpr std::uint32_t kEnd64 = 0x06064B50;
constexpr std::uint32_t kLocator64 = 0x07064B50;
}  // namespace signature

namespace flag {
constexpr std::uint16_t kEncrypted = 1U << 0;
constexpr std::uint16_t kDescriptor = 1U << 3;  // checksum and sizes follow the content
constexpr std::uint16_t kPatch = 1U << 5;
constexpr std::uint16_t kStronglyEncrypted = 1U << 6;
constexpr std::uint16_t kUtf8 = 1U << 11;
constexpr std::uint16_t kMaskedHeaders = 1U << 13;
constexpr std::uint16_t kEncryptions = kEncrypted | kStronglyEncrypted | kMaskedHeaders;
}  // namespace flag

namespace extra {
constexpr std::uint16_t kZip64 = 0x0001;
constexpr std::uint16_t kTimestamp = 0x5455;    // seconds since 1970
constexpr std::uint16_t kUnicodePath = 0x7075;  // the name in UTF-8 beside one in another character set
}  // namespace extra

/// Stands in a field of 16 or 32 bits whose value is in a wider one elsewhere.
constexpr std::uint16_t kSeeWider16 = 0xFFFF;
constexpr std::uint32_t kSeeWider32 = 0xFFFFFFFF;

constexpr std::size_t kLocalHeaderSize = 30;
constexpr std::size_t kCentralHeaderSize = 46;
/// With name, extra fields and comment.
constexpr std::size_t kLongestCentralHeader = kCentralHeaderSize + std::size_t{3} * 0xFFFF;
/// The end of central directory record, that of zip64, and the locator of the latter.
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kEnd64Size = 56;
constexpr std::size_t kLocator64Size = 20;

}  // namespace companions::zip
