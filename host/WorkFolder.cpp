#include "host/WorkFolder.h"

#include <windows.h>

#include <string_view>

#include "com/Error.h"
#include "host/Files.h"

namespace {

constexpr const wchar_t* kVariable = L"TEMP";
constexpr std::wstring_view kPrefix = L"znhost-work-";

bool Runs(DWORD processId) {
    const FileSystem::Handle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
    return process || GetLastError() == ERROR_ACCESS_DENIED;
}

/// What a zip program beyond its time still writes, or somebody else holds, can wait for the next host.
void TryDeleteTree(const std::wstring& folder) try { Files::DeleteTree(folder); } catch (const com::Error&) {
    return;
}

/// Hosts that were ended by force could not remove theirs.
void RemoveAbandoned(const std::wstring& temporary) {
    for (const std::wstring& name : FileSystem::List(temporary).folders)
        if (name.starts_with(kPrefix) && !Runs(std::wcstoul(name.c_str() + kPrefix.size(), nullptr, 10)))
            TryDeleteTree(Files::Join(temporary, name));
}

}  // namespace

WorkFolder::WorkFolder() {
    const std::wstring temporary = Files::TemporaryFolder();
    RemoveAbandoned(temporary);
    m_path = Files::Join(temporary, std::wstring(kPrefix) + std::to_wstring(GetCurrentProcessId()));
    m_previous.resize(GetEnvironmentVariableW(kVariable, nullptr, 0));
    m_previous.resize(
        GetEnvironmentVariableW(kVariable, m_previous.data(), static_cast<DWORD>(m_previous.size())));
    Files::CreateFolders(m_path);
    SetEnvironmentVariableW(kVariable, m_path.c_str());
}

WorkFolder::~WorkFolder() {
    SetEnvironmentVariableW(kVariable, m_previous.c_str());
    TryDeleteTree(m_path);
}
