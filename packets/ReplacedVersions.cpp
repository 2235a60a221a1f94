// See ReplacedVersions.h.
#include "packets/ReplacedVersions.h"

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "packets/EncodedName.h"

void SettleVersion(bool replaced, const std::wstring& path, const std::wstring& place) {
    if (replaced)
        FileSystem::TryDelete(path);
    else
        base::TryPutBack(path, place);
}

void SettleBackup(const std::wstring& folder, const base::TreeFile& file, std::wstring_view extension) {
    const std::wstring encoded = EncodedNameOfBackup(file.name, extension);
    if (encoded.empty()) return;
    const std::wstring place = Path::Join(Path::Join(folder, file.subFolder), encoded);
    try {
        SettleVersion(FileSystem::FileIsThere(place), Path::Join(folder, file.RelativePath()), place);
    } catch (const base::Error&) {
        return;  // whether there is a new one cannot be told now
    }
}

void RefuseEmptyFile(const std::wstring& encoded) {
    const auto version = FileSystem::VersionOf(encoded);
    if (!version || version->size > 0) return;
    FileSystem::DeleteFile(encoded);
    throw base::Error(E_FAIL, encoded +
                                  L" was left empty by the program that was to make it, and is removed; "
                                  L"there may be no room for it");
}
