// See PacketDigests.h.
#include "webdav/PacketDigests.h"

#include "base/Number.h"
#include "base/Utf8.h"

namespace {

constexpr std::string_view kHead = "znTransporter digests 1";
constexpr std::string_view kEnd = "end";
constexpr std::size_t kDigits = 64;

/// The text up to a separator, which both leave the rest; nothing where there is none.
std::optional<std::string_view> Taken(std::string_view& rest, char separator) {
    const std::size_t end = rest.find(separator);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    return taken;
}

template <class Number>
std::optional<Number> NumberIn(std::optional<std::string_view> text) {
    return text ? base::NumberIn<Number>(*text) : std::nullopt;
}

bool IsSha256(std::string_view text) {
    return text.size() == kDigits && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// "sha256 size lastWrite upload packet": only the last one may hold blanks.
std::optional<PacketDigest> DigestIn(std::string_view line) {
    const auto sha256 = Taken(line, ' ');
    const auto size = NumberIn<std::uint64_t>(Taken(line, ' '));
    const auto lastWrite = NumberIn<base::FileTime::rep>(Taken(line, ' '));
    const auto upload = Taken(line, ' ');
    const auto packet = base::DecodedUtf8(line);
    if (!sha256 || !IsSha256(*sha256) || !size || !lastWrite || !upload || upload->empty() || !packet ||
        packet->empty())
        return std::nullopt;
    return PacketDigest{*packet, base::FromUtf8(*upload), *size,
                        base::FileTime(base::FileTime::duration(*lastWrite)), base::FromUtf8(*sha256)};
}

}  // namespace

bool KeepsItsName(std::wstring_view packet) { return base::FromUtf8(base::ToUtf8(packet)) == packet; }

std::string TextOf(const std::vector<PacketDigest>& digests) {
    std::string text = std::string(kHead) + "\n";
    for (const PacketDigest& digest : digests)
        text += base::ToUtf8(digest.sha256) + " " + std::to_string(digest.size) + " " +
                std::to_string(digest.lastWrite.time_since_epoch().count()) + " " +
                base::ToUtf8(digest.upload) + " " + base::ToUtf8(digest.packet) + "\n";
    return text + std::string(kEnd) + "\n";
}

std::optional<std::vector<PacketDigest>> DigestsIn(std::string_view text) {
    if (Taken(text, '\n') != kHead) return std::nullopt;
    std::vector<PacketDigest> digests;
    for (auto line = Taken(text, '\n'); line; line = Taken(text, '\n')) {
        if (*line == kEnd) return text.empty() ? std::optional(digests) : std::nullopt;
        auto digest = DigestIn(*line);
        if (!digest) return std::nullopt;
        digests.push_back(std::move(*digest));
    }
    return std::nullopt;
}
