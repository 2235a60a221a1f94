// See WorkFolder.h.
#include "host/session/WorkFolder.h"

#include <windows.h>

#include <random>
#include <string_view>

#include "base/Environment.h"
#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Handle.h"
#include "base/Path.h"

namespace {

constexpr const wchar_t* kVariable = L"TEMP";
constexpr std::wstring_view kPrefix = L"znhost-work-";

bool Runs(DWORD processId) {
    const base::KernelHandle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
    return process || GetLastError() == ERROR_ACCESS_DENIED;
}

/// What a zip program beyond its time still writes, or somebody else holds, can wait for the next host.
void TryDeleteTree(const std::wstring& folder) try {
    FileSystem::DeleteTree(folder);
} catch (const base::Error&) {
    return;
}

/// That of no other process, and that nobody can have made beforehand: whoever owns the folder can exchange
/// what lies in it.
std::wstring NewName() {
    std::random_device random;
    return std::wstring(kPrefix) + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(random()) +
           std::to_wstring(random());
}

/// Hosts that were ended by force could not remove theirs.
void RemoveAbandoned(const std::wstring& temporary) {
    for (const std::wstring& name : FileSystem::List(temporary).folders)
        if (name.starts_with(kPrefix) && !Runs(std::wcstoul(name.c_str() + kPrefix.size(), nullptr, 10)))
            TryDeleteTree(Path::Join(temporary, name));
}

}  // namespace

WorkFolder::WorkFolder() {
    const std::wstring temporary = base::TemporaryFolder();
    RemoveAbandoned(temporary);
    m_path = Path::Join(temporary, NewName());
    m_previous = base::EnvironmentVariable(kVariable);
    FileSystem::CreateFolder(m_path);
    SetEnvironmentVariableW(kVariable, m_path.c_str());
}

WorkFolder::~WorkFolder() {
    SetEnvironmentVariableW(kVariable, m_previous.c_str());
    TryDeleteTree(m_path);
}
