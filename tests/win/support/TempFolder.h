// A scratch folder, and short forms for the files in it.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace tests {

class TempFolder {
public:
    TempFolder() {
        static int number = 0;
        m_path = std::filesystem::temp_directory_path() /
                 (L"zntests-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number));
        std::filesystem::create_directories(m_path);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() { Remove(L"\\\\?\\" + m_path.wstring()); }

    std::wstring operator/(const std::wstring& name) const { return (m_path / name).wstring(); }
    std::wstring Path() const { return m_path.wstring(); }

    std::wstring Folder(const std::wstring& name) const {
        std::filesystem::create_directories(m_path / name);
        return *this / name;
    }
    std::wstring File(const std::wstring& name, const std::string& content = "content") const {
        std::filesystem::create_directories((m_path / name).parent_path());
        std::ofstream(m_path / name, std::ios::binary) << content;
        return *this / name;
    }
    void Protect(const std::wstring& name) const {
        SetFileAttributesW((*this / name).c_str(), FILE_ATTRIBUTE_READONLY);
    }
    std::string Content(const std::wstring& name) const {
        std::ifstream file(m_path / name, std::ios::binary);
        if (!file) return "(no file)";
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool Exists(const std::wstring& name) const { return std::filesystem::exists(m_path / name); }
    /// Relative paths of all files below a folder.
    std::set<std::wstring> Files(const std::wstring& name = L"") const {
        std::set<std::wstring> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_path / name))
            if (entry.is_regular_file())
                files.insert(entry.path().lexically_relative(m_path / name).wstring());
        return files;
    }

private:
    /// Takes any depth and read-only files, which std::filesystem does not.
    static void Remove(const std::wstring& folder) {
        WIN32_FIND_DATAW found;
        const HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &found);
        if (find == INVALID_HANDLE_VALUE) return;
        do {
            const std::wstring name = found.cFileName;
            const std::wstring path = folder + L"\\" + name;
            if (name == L"." || name == L"..") continue;
            if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
                Remove(path);
            } else {
                SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileW(path.c_str());
            }
        } while (FindNextFileW(find, &found));
        FindClose(find);
        RemoveDirectoryW(folder.c_str());
    }

    std::filesystem::path m_path;
};

}  // namespace tests
