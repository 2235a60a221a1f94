// See EncodedName.h.
#include "packets/EncodedName.h"

#include <algorithm>

#include "packets/PacketName.h"

namespace {

constexpr wchar_t kTilde = L'~';

}  // namespace

std::wstring DifferenceName(std::wstring_view packet, std::wstring_view reference) {
    return std::wstring(packet).append(1, kTilde).append(reference);
}

std::wstring EncodedEnding(std::wstring_view reference, std::wstring_view extension) {
    return (reference.empty() ? std::wstring() : DifferenceName({}, reference)).append(extension);
}

Difference SplitDifferenceName(std::wstring_view fileName) {
    const size_t tilde = fileName.rfind(kTilde);
    if (tilde == std::wstring_view::npos)
        return {std::wstring(fileName.substr(0, 1)), std::wstring(fileName)};
    return {std::wstring(fileName.substr(0, tilde)), std::wstring(fileName.substr(tilde + 1))};
}

bool IsDecodedUnderItsName(std::wstring_view fileName) {
    return std::ranges::any_of(kPacketExtensions,
                               [&](const wchar_t* extension) { return HasExtension(fileName, extension); });
}

bool CanBeReference(std::wstring_view fileName) {
    return HasExtension(fileName, kReferenceExtension) && fileName.find(kTilde) == std::wstring_view::npos;
}

bool IsTakenForEncoded(std::wstring_view fileName, std::wstring_view extension) {
    constexpr size_t kCompared = 4;
    return IsSameName(fileName.substr(fileName.size() - std::min(fileName.size(), kCompared)), extension);
}

std::wstring EncodedNameOfBackup(std::wstring_view fileName, std::wstring_view extension) {
    constexpr std::wstring_view kSuffix = L"_bck";
    if (!HasExtension(fileName, kSuffix)) return {};
    fileName.remove_suffix(kSuffix.size());
    const bool isDifference =
        HasExtension(fileName, extension) && fileName.find(kTilde) != std::wstring_view::npos;
    return isDifference ? std::wstring(fileName) : std::wstring();
}

std::wstring PacketOf(std::wstring_view fileName, const TravelExtensions& extensions) {
    if (HasExtension(fileName, extensions.zip))
        fileName.remove_suffix(extensions.zip.size());
    else if (HasExtension(fileName, extensions.difference))
        fileName = fileName.substr(0, fileName.rfind(kTilde));
    return std::wstring(fileName);
}
