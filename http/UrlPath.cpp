// See UrlPath.h.
#include "http/UrlPath.h"

#include "base/Utf8.h"

namespace UrlPath {

namespace {

bool IsUnreserved(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("-._~").find(character) != std::string_view::npos;
}

std::string Escape(char character) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(character);
    return {'%', kDigits[byte >> 4], kDigits[byte & 15]};
}

/// Nothing for a character that is no digit.
std::optional<unsigned> DigitIn(char character) {
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    return std::nullopt;
}

/// The byte that "%" and the two characters behind it stand for.
std::optional<char> ByteIn(std::string_view escape) {
    if (escape.size() < 3) return std::nullopt;
    const auto high = DigitIn(escape[1]);
    const auto low = DigitIn(escape[2]);
    if (!high || !low) return std::nullopt;
    return static_cast<char>(*high << 4 | *low);
}

}  // namespace

std::string Encode(std::wstring_view name) {
    std::string encoded;
    for (const char character : base::ToUtf8(name))
        encoded += IsUnreserved(character) ? std::string(1, character) : Escape(character);
    return encoded;
}

std::string EncodePath(std::wstring_view path) {
    const size_t separator = path.find(L'/');
    if (separator == std::wstring_view::npos) return Encode(path);
    return Encode(path.substr(0, separator)) + "/" + EncodePath(path.substr(separator + 1));
}

std::optional<std::wstring> Decode(std::string_view segment) {
    std::string bytes;
    for (size_t i = 0; i < segment.size(); ++i) {
        if (segment[i] != '%') {
            bytes += segment[i];
            continue;
        }
        const std::optional<char> byte = ByteIn(segment.substr(i));
        if (!byte) return std::nullopt;
        bytes += *byte;
        i += 2;
    }
    return base::DecodedUtf8(bytes);
}

std::optional<std::wstring> LastName(std::string_view reference) {
    while (reference.ends_with('/'))
        reference.remove_suffix(1);
    // Of an absolute URL without a path nothing is left but the host behind "//".
    const size_t separator = reference.rfind('/');
    if (separator != std::string_view::npos && separator > 0 && reference[separator - 1] == '/')
        return std::nullopt;
    const std::string_view segment =
        separator == std::string_view::npos ? reference : reference.substr(separator + 1);
    if (segment.empty()) return std::nullopt;
    return Decode(segment);
}

}  // namespace UrlPath
