// See EncodedName.h.
#include "packets/EncodedName.h"

#include <algorithm>
#include <cwctype>

namespace {

constexpr wchar_t kTilde = L'~';

wchar_t Capital(wchar_t letter) {
    return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(letter)));
}

}  // namespace

std::wstring DifferenceName(std::wstring_view packet, std::wstring_view reference) {
    return std::wstring(packet).append(1, kTilde).append(reference);
}

Difference SplitDifferenceName(std::wstring_view fileName) {
    const size_t tilde = fileName.rfind(kTilde);
    if (tilde == std::wstring_view::npos)
        return {std::wstring(fileName.substr(0, 1)), std::wstring(fileName)};
    return {std::wstring(fileName.substr(0, tilde)), std::wstring(fileName.substr(tilde + 1))};
}

bool HasExtension(std::wstring_view fileName, std::wstring_view extension) {
    if (fileName.size() <= extension.size()) return false;
    return std::ranges::equal(fileName.substr(fileName.size() - extension.size()), extension, {}, Capital,
                              Capital);
}

std::wstring PacketOf(std::wstring_view fileName, const TravelExtensions& extensions) {
    if (HasExtension(fileName, extensions.zip))
        fileName.remove_suffix(extensions.zip.size());
    else if (HasExtension(fileName, extensions.difference))
        fileName = fileName.substr(0, fileName.rfind(kTilde));
    return std::wstring(fileName);
}
