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

bool HasExtension(std::wstring_view fileName, std::wstring_view extension) {
    return fileName.size() > extension.size() &&
           IsSameName(fileName.substr(fileName.size() - extension.size()), extension);
}

bool IsFolderTestFile(std::wstring_view FileName) {
    return IsSameName(FileName, kFolderTestFile) || IsSameName(FileName, kSiteTestFile);
}

bool IsKeptCopy(std::wstring_view FileName) {
    return HasExtension(FileName, L"_bak") || HasExtension(FileName, L"_bck");
}

std::wstring TopFolder(std::wstring_view relativePath) {
    return std::wstring(relativePath.substr(0, relativePath.find(L'\\')));
}

bool IsBackupPath(std::wstring_view relativePath) {
    return IsSameName(TopFolder(relativePath), kBackupFolder);
}

bool IsCompanionFile(std::wstring_view FileName) {
    return IsSameName(FileName, L"desktop.ini") || IsSameName(FileName, L"Thumbs.db") ||
           HasExtension(FileName, L".ldb") || HasExtension(FileName, L".laccdb");
}

std::wstring GetPacketId(std::wstring_view FileName) {
    if (FileName.find(L'.') == std::wstring_view::npos) return {};
    return std::wstring(FileName.substr(0, FileName.find_first_of(L"~.")));
}
