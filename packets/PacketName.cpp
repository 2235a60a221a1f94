// See PacketName.h.
#include "packets/PacketName.h"

#include <algorithm>
#include <cwctype>

namespace {

wchar_t Capital(wchar_t letter) {
    return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(letter)));
}

}  // namespace

bool IsSameName(std::wstring_view left, std::wstring_view right) {
    return std::ranges::equal(left, right, {}, Capital, Capital);
}

bool IsFolderTestFile(std::wstring_view FileName) { return IsSameName(FileName, kFolderTestFile); }

bool IsKeptCopy(std::wstring_view FileName) {
    constexpr size_t kSuffix = 4;
    if (FileName.size() <= kSuffix) return false;
    const std::wstring_view end = FileName.substr(FileName.size() - kSuffix);
    return IsSameName(end, L"_bak") || IsSameName(end, L"_bck");
}

std::wstring GetPacketId(std::wstring_view FileName) {
    if (FileName.find(L'.') == std::wstring_view::npos) return {};
    return std::wstring(FileName.substr(0, FileName.find_first_of(L"~.")));
}
