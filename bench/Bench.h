// What the benchmarks share.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "com/Object.h"
#include "znFrameworkUI.h"

namespace bench {

/// Reports no more than a host's progress bar would have to.
class QuietProgress final : public com::Object<IZNProgress> {
public:
    STDMETHODIMP Reserved() override { return S_OK; }
    STDMETHODIMP SetRange(LONG, LONG) override { return S_OK; }
    STDMETHODIMP AddMessage(BSTR, LONG) override { return S_OK; }
    STDMETHODIMP put_StatusText(BSTR) override { return S_OK; }
    STDMETHODIMP put_Position(LONG) override { return S_OK; }
    STDMETHODIMP get_Cancelled(VARIANT_BOOL* Value) override {
        *Value = VARIANT_FALSE;
        return S_OK;
    }
};

class Stopwatch {
public:
    Stopwatch() { QueryPerformanceCounter(&m_start); }
    double Seconds() const {
        LARGE_INTEGER now;
        LARGE_INTEGER perSecond;
        QueryPerformanceCounter(&now);
        QueryPerformanceFrequency(&perSecond);
        return static_cast<double>(now.QuadPart - m_start.QuadPart) / static_cast<double>(perSecond.QuadPart);
    }

private:
    LARGE_INTEGER m_start;
};

[[noreturn]] inline void Fail(const char* what) {
    std::fprintf(stderr, "bench: %s (error %lu)\n", what, GetLastError());
    std::exit(1);
}

/// Folders of equally many files, to be moved some times by each contender.
struct Load {
    const char* name;
    int folders;
    int filesPerFolder;
    std::uint64_t bytesPerFile;
    int rounds;

    int Files() const { return folders * filesPerFolder; }
};

inline void WriteFiles(const std::wstring& folder, int files, std::uint64_t bytesPerFile) {
    std::vector<char> block(static_cast<size_t>(std::min<std::uint64_t>(bytesPerFile, 1 << 20)));
    for (size_t i = 0; i < block.size(); ++i)
        block[i] = static_cast<char>(i * 7919 >> 3);
    for (int i = 0; i < files; ++i) {
        const std::wstring path = folder + L"\\packet" + std::to_wstring(i) + L".mdb";
        const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE) Fail("cannot write the files");
        for (std::uint64_t done = 0; done < bytesPerFile; done += block.size()) {
            DWORD written = 0;
            if (!WriteFile(file, block.data(), static_cast<DWORD>(block.size()), &written, nullptr))
                Fail("disk full?");
        }
        CloseHandle(file);
    }
}

/// A load's folders below an existing one; the files of a single folder in that one itself.
inline void WriteFolders(const std::wstring& top, const Load& load) {
    if (load.folders == 1) return WriteFiles(top, load.filesPerFolder, load.bytesPerFile);
    for (int i = 0; i < load.folders; ++i) {
        const std::wstring folder = top + L"\\F" + std::to_wstring(i);
        if (!CreateDirectoryW(folder.c_str(), nullptr)) Fail("cannot make the folders");
        WriteFiles(folder, load.filesPerFolder, load.bytesPerFile);
    }
}

/// What lies directly in a folder.
struct Names {
    std::vector<std::wstring> files;
    std::vector<std::wstring> folders;
};

inline Names List(const std::wstring& folder) {
    Names names;
    WIN32_FIND_DATAW found;
    const HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &found);
    do {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            names.files.emplace_back(found.cFileName);
        else if (found.cFileName[0] != L'.')
            names.folders.emplace_back(found.cFileName);
    } while (FindNextFileW(find, &found));
    FindClose(find);
    return names;
}

inline int FilesBelow(const std::filesystem::path& folder) {
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        count += entry.is_regular_file() ? 1 : 0;
    return count;
}

}  // namespace bench
