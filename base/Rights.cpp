// See Rights.h.
#include "base/Rights.h"

#include <windows.h>
#include <aclapi.h>

#include <vector>

#include "base/FileSystem.h"
#include "base/Handle.h"
#include "base/Path.h"

namespace FileSystem {

namespace {

struct LocalMemoryTraits {
    using Value = void*;
    static Value None() noexcept { return nullptr; }
    static void Close(Value memory) noexcept { LocalFree(memory); }
};

/// Whether files that are made in a folder of these rights get any of them. Where they do not, one that
/// "inherits" would be nobody's.
bool AreHandedOn(ACL& list) {
    for (DWORD i = 0; i < list.AceCount; ++i) {
        ACE_HEADER* entry = nullptr;
        if (GetAce(&list, i, reinterpret_cast<void**>(&entry)) && (entry->AceFlags & OBJECT_INHERIT_ACE))
            return true;
    }
    return false;
}

/// Empty where the system does not tell, or the folder hands nothing on.
std::vector<BYTE> AccessListOf(const std::wstring& folder) {
    PACL list = nullptr;
    base::UniqueHandle<LocalMemoryTraits> descriptor;
    const DWORD error =
        GetNamedSecurityInfoW(Extended(folder).c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                              nullptr, &list, nullptr, descriptor.Put());
    if (error != ERROR_SUCCESS || !list || !AreHandedOn(*list)) return {};
    const auto* const bytes = reinterpret_cast<const BYTE*>(list);
    return {bytes, bytes + list->AclSize};
}

}  // namespace

bool RightsOfFolders::Differ(const std::wstring& folder, const std::wstring& formerFolder) {
    if (folder == m_folder && formerFolder == m_formerFolder) return m_differ;
    const std::vector<BYTE> rights = AccessListOf(folder);
    m_differ = !rights.empty() && rights != AccessListOf(formerFolder);
    m_folder = folder;
    m_formerFolder = formerFolder;
    return m_differ;
}

void RightsOfFolders::GiveTo(const std::wstring& path, const std::wstring& formerFolder) noexcept try {
    if (!Differ(Path::ParentFolder(path), formerFolder)) return;
    ACL none;
    InitializeAcl(&none, sizeof none, ACL_REVISION);
    // Nothing of its own: what remains is what the folder hands on.
    SetNamedSecurityInfoW(Extended(path).data(), SE_FILE_OBJECT,
                          DACL_SECURITY_INFORMATION | UNPROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr,
                          &none, nullptr);
} catch (...) {
    return;
}

}  // namespace FileSystem
