// See ShortNames.h.
#include "base/ShortNames.h"

#include "base/FileSystem.h"
#include "base/Handle.h"
#include "base/Path.h"
#include "base/Persistence.h"
#include "base/Text.h"

namespace FileSystem {

/// The path may hold what a search takes for a pattern: what is found need not have to do with it.
void RefuseShortName(const std::wstring& path, base::Where where) {
    WIN32_FIND_DATAW found;
    const base::SearchHandle search(FindFirstFileW(Extended(path).c_str(), &found));
    const std::wstring name = Path::FileName(path);
    if (!search || !base::EqualsIgnoringCase(found.cAlternateFileName, name) ||
        base::EqualsIgnoringCase(found.cFileName, name))
        return;
    throw base::Error(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS),
                      path + L" is the short name of another file, " + found.cFileName +
                          L". Rename one of the two.",
                      where);
}

DWORD RenameReplacing(const std::wstring& destination, const std::function<bool(bool replaces)>& rename) {
    if (rename(false)) return ERROR_SUCCESS;
    if (const DWORD error = GetLastError(); error == ERROR_NOT_SAME_DEVICE) return error;
    RefuseShortName(destination);
    return base::Persistently(Extended(destination), [&] { return rename(true); });
}

}  // namespace FileSystem
