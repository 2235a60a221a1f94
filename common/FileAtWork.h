// Files that calls of this process are making: no two calls make the same one at a time.
#pragma once

#include <string>

/// While a program makes a file, the host's messages are processed, and hosts call in; they have other
/// threads, too. A second call for the same file would take what the first one has put aside for its failure,
/// or what that one has made, for its own.
class FileAtWork {
public:
    /// path: of the file while it exists; in any letter case, of all threads. Throws while another call has
    /// it.
    explicit FileAtWork(const std::wstring& path);
    FileAtWork(const FileAtWork&) = delete;
    FileAtWork& operator=(const FileAtWork&) = delete;
    ~FileAtWork();

private:
    const std::wstring m_path;
};
