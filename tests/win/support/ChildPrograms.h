// Arranges what the external programs do: each is a copy of one program that follows a script.
#pragma once

#include "base/Utf8.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/TempFolder.h"

namespace tests {

class ChildPrograms {
public:
    explicit ChildPrograms(const TempFolder& temp, const std::wstring& folder = L"program files")
        : m_temp(temp), m_folder(temp.Folder(folder)) {
        SetEnvironmentVariableW(L"CHILD_LOG", (m_temp / L"command line.txt").c_str());
        Script(L"");
    }
    ChildPrograms(const ChildPrograms&) = delete;
    ChildPrograms& operator=(const ChildPrograms&) = delete;
    ~ChildPrograms() {
        SetEnvironmentVariableW(L"CHILD_LOG", nullptr);
        SetEnvironmentVariableW(L"CHILD", nullptr);
    }

    const std::wstring& Folder() const { return m_folder; }
    std::wstring Install(const std::wstring& name) const {
        const std::wstring program = m_folder + L"\\" + name;
        CopyFileW((BuildFolder() + L"\\tests\\child.exe").c_str(), program.c_str(), FALSE);
        return program;
    }
    /// What the programs started from now on do; see Child.cpp. "T:" is the scratch folder.
    void Script(const std::wstring& steps) const {
        SetEnvironmentVariableW(L"CHILD", m_temp.Meant(steps).c_str());
    }
    /// As the program started last got it, without the quotes that the system puts around a program's path,
    /// and with "T:" for the scratch folder.
    std::wstring CommandLine() const {
        std::wstring line = m_temp.Shown(base::FromUtf8(m_temp.Content(L"command line.txt")));
        if (const size_t quote = line.find(L'"', 1); line.starts_with(L'"') && quote != line.npos)
            line = line.substr(1, quote - 1) + line.substr(quote + 1);
        return line;
    }
    bool WasStarted() const { return m_temp.Exists(L"command line.txt"); }

private:
    const TempFolder& m_temp;
    std::wstring m_folder;
};

}  // namespace tests
