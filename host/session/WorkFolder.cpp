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

/// Only of a process that has gone it is known.
bool MayRun(DWORD processId) {
    const base::KernelHandle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
    return process || GetLastError() != ERROR_INVALID_PARAMETER;
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

/// Hosts that were ended by force could not remove theirs. Clearing up after them is not this one's work.
void RemoveAbandoned(const std::wstring& temporary) try {
    for (const std::wstring& name : FileSystem::List(temporary).folders)
        if (name.starts_with(kPrefix) && !MayRun(std::wcstoul(name.c_str() + kPrefix.size(), nullptr, 10)))
            TryDeleteTree(::Path::Join(temporary, name));
} catch (const base::Error&) {
    return;
}

}  // namespace

WorkFolder::WorkFolder() {
    try {
        Make();
    } catch (const base::Error& error) {
        m_refusal = error.failure();
    }
}

/// A clean-up of the system may have removed TEMP itself.
void WorkFolder::Make() {
    const std::wstring temporary = base::TemporaryFolder();
    RemoveAbandoned(temporary);
    const std::wstring path = ::Path::Join(temporary, NewName());
    FileSystem::CreateFolders(path);
    m_path = path;
    m_previous = base::EnvironmentVariable(kVariable);
    SetEnvironmentVariableW(kVariable, m_path.c_str());
}

const std::wstring& WorkFolder::Path() const {
    if (m_refusal) throw base::Error(*m_refusal);
    return m_path;
}

WorkFolder::~WorkFolder() {
    if (m_refusal) return;
    SetEnvironmentVariableW(kVariable, m_previous.c_str());
    TryDeleteTree(m_path);
}
