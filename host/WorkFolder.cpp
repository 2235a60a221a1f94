#include "host/WorkFolder.h"

#include <windows.h>

#include "com/Error.h"
#include "host/Files.h"

namespace {

constexpr const wchar_t* kVariable = L"TEMP";

}  // namespace

WorkFolder::WorkFolder()
    : m_path(
          Files::Join(Files::TemporaryFolder(), L"znhost-work-" + std::to_wstring(GetCurrentProcessId()))) {
    m_previous.resize(GetEnvironmentVariableW(kVariable, nullptr, 0));
    m_previous.resize(
        GetEnvironmentVariableW(kVariable, m_previous.data(), static_cast<DWORD>(m_previous.size())));
    Files::CreateFolders(m_path);
    SetEnvironmentVariableW(kVariable, m_path.c_str());
}

WorkFolder::~WorkFolder() {
    SetEnvironmentVariableW(kVariable, m_previous.c_str());
    try {
        Files::DeleteTree(m_path);
    } catch (const com::Error&) {
        // A zip program beyond its time still writes there; what it leaves is no packet.
    }
}
