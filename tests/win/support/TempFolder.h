// A scratch folder, and short forms for the files in it.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>

#include "base/FileSystem.h"
#include "base/Handle.h"
#include "base/SystemError.h"

namespace tests {

class TempFolder {
public:
    /// With a name that no test in any other system has.
    explicit TempFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path())
        : m_path(parent / (L"zntests-" + std::to_wstring(std::random_device{}()))) {
        std::filesystem::create_directories(m_path);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() { Remove(Path()); }

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
    /// The short name of a file; its own where the volume keeps none.
    std::wstring ShortName(const std::wstring& name) const {
        wchar_t path[MAX_PATH];
        GetShortPathNameW((*this / name).c_str(), path, MAX_PATH);
        return std::filesystem::path(path).filename();
    }
    bool Exists(const std::wstring& name) const { return std::filesystem::exists(m_path / name); }
    /// Whether somebody else makes a file before long.
    bool Appears(const std::wstring& name) const {
        for (int i = 0; i < 1000 && !Exists(name); ++i)
            Sleep(10);
        return Exists(name);
    }
    /// Relative paths of all files below a folder.
    std::set<std::wstring> Files(const std::wstring& name = L"") const {
        std::set<std::wstring> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_path / name))
            if (entry.is_regular_file())
                files.insert(entry.path().lexically_relative(m_path / name).wstring());
        return files;
    }

    /// Texts that name the folder "T:", for short.
    std::wstring Shown(std::wstring text) const { return Replaced(std::move(text), Path(), L"T:"); }
    std::wstring Meant(std::wstring text) const { return Replaced(std::move(text), L"T:", Path()); }

private:
    static std::wstring Replaced(std::wstring text, const std::wstring& what, const std::wstring& by) {
        for (size_t at = text.find(what); at != text.npos; at = text.find(what, at + by.size()))
            text.replace(at, what.size(), by);
        return text;
    }
    /// Takes any depth and read-only files, which std::filesystem does not.
    static void Remove(const std::wstring& folder) {
        const auto listing = FileSystem::List(folder);
        for (const auto& file : listing.files)
            FileSystem::TryDelete(folder + L"\\" + file.name);
        for (const auto& name : listing.folders)
            Remove(folder + L"\\" + name);
        RemoveDirectoryW(FileSystem::Extended(folder).c_str());
    }

    const std::filesystem::path m_path;
};

/// Where names that differ only in letter case are two, if there is such a place.
constexpr auto kCaseSensitive = L"Z:\\dev\\shm";

/// Holds A.mdb, a.mdb, and other.mdb.
class TwoLetterCases : public TempFolder {
public:
    TwoLetterCases() : TempFolder(kCaseSensitive) {
        File(L"A.mdb", "upper");
        File(L"other.mdb");
        CloseHandle(
            CreateFileW(Exactly(L"a.mdb").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    }
    /// The path by which Windows finds, and makes, what has no name but this.
    std::wstring Exactly(const std::wstring& name) const { return L"\\\\?\\unix" + (*this / name).substr(2); }
};

/// A file that somebody has open meanwhile.
inline base::FileHandle Held(const std::wstring& path, DWORD access, DWORD share) {
    base::FileHandle file(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file) throw base::SystemError(GetLastError(), "hold", path);
    return file;
}

}  // namespace tests
