// Sends packet files from a local folder, with all its sub-folders, through an FTP connection. A file is
// deleted here only after it was seen on the server.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "ftp/FtpTransfer.h"
#include "packets/GoneFile.h"

class FtpSender : FtpTransfer {
public:
    FtpSender(FtpConnection& connection, const HostProgress& progress) : FtpTransfer(connection, progress) {}

    /// remote: is created unless there is nothing to send. Sub-folders go into upper-cased ones. The first
    /// file that fails ends the transfer, with a report; then the current remote folder is where it failed.
    bool MoveFiles(const std::wstring& local, const std::wstring& remote) const;

private:
    bool MoveFolder(const std::wstring& local, const std::wstring& remote, const Level& level,
                    FilesToCome& toCome) const;
    FileSystem::Listing ListToMove(const std::wstring& local, const std::wstring& remote) const;
    bool SetRemoteFolder(const std::wstring& path) const;
    bool CreateRemoteFolders(const std::wstring& path) const;
    bool EnterOrCreate(const std::wstring& folder) const;
    bool NotCreated(const std::wstring& folder, DWORD error) const;

    /// The names of files in a remote folder, by their capitals.
    using Names = std::multimap<std::wstring, std::wstring>;

    Names ListNames() const;
    void GiveLetters(const std::wstring& name, Names& there) const;
    bool SendLocalFile(const std::wstring& localFolder, const std::wstring& name, Names& there) const;
    void RemovePart(const std::wstring& name, std::uint64_t whole) const;
    std::uint64_t SizeThere(const FileEntry& listed, const std::wstring& name, std::uint64_t sent) const;
    bool RemoteFileExists(const std::wstring& name, const std::optional<FileSystem::FileVersion>& sent) const;
};
