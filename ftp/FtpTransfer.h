// What sending and receiving through FTP have in common: the remote folder and the host's status list.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ftp/FtpConnection.h"
#include "services/HostProgress.h"

bool IsFolder(const FileSystem::FileEntry& entry);

/// Whether a listed size can be that of a file of so many bytes. 0 stands for a size that is not known; one
/// of 2 GB or more may be listed as the largest number that the reader of the list has, or by its lower 32
/// bits.
bool MayBeListedSize(std::uint64_t listed, std::uint64_t bytes);
/// Whether a listed size tells that only a part of so many bytes is there. One that is 0 does, whether or not
/// it is known: an empty part would travel on as a packet.
bool IsListedPart(std::uint64_t listed, std::uint64_t bytes);

/// Whether a server is there and knows its user, but does not do what it was asked for.
bool Refuses(DWORD error);
/// The server's reply, where an error is one; otherwise the error's text.
std::wstring FailureText(DWORD error);
/// A report of a failure, and below it the server's reply, where the error is one.
std::wstring WithReply(std::wstring report, DWORD error);

class FtpTransfer {
protected:
    using FileEntry = FileSystem::FileEntry;
    using FileList = std::vector<FileEntry>;

    /// How many folders a transfer goes down: a link, or a server that lies, may lead on without end.
    static constexpr int kDeepest = 32;

    /// How far down a folder of a transfer is.
    struct Level {
        std::string
            start;      ///< the remote folder that it is entered from; empty where the server does not tell
        int depth = 0;  ///< 0 for the folder of the transfer
    };

    FtpTransfer(FtpConnection& connection, const HostProgress& progress)
        : m_connection(connection), m_progress(progress) {}
    ~FtpTransfer() = default;

    /// A listed size and the one here, as a report tells them.
    static std::wstring SizeDifference(const FileEntry& listed, std::uint64_t bytes);
    /// Goes back to where a folder of a transfer was entered, once everything of the folder was moved; a
    /// failure is reported. At the end of a transfer it closes the connection, and is a warning: the next
    /// transfer begins where a login begins.
    bool ReturnTo(const Level& level, const std::wstring& entered) const;
    bool NoWayBack(const Level& level, DWORD error) const;
    /// Moves one file after the other, until one fails. The host sees each, and processes its messages.
    bool MoveEach(const FileList& files, const std::function<bool(const FileEntry&)>& move) const;

    /// Moves sub-folders of the current remote folder, which was entered from a level, until one fails. None
    /// is tried that is too deep, or from which there is no way back; that is reported.
    bool MoveSubFolders(const std::vector<std::wstring>& names, const Level& level,
                        const std::wstring& entered,
                        const std::function<bool(const std::wstring&, const Level&)>& move) const;

    FtpConnection& m_connection;
    const HostProgress& m_progress;

private:
    static std::wstring WhyNoWayBack(const Level& level, DWORD error);
    /// error: why the level's start is unknown, where it is.
    bool MayEnter(const std::wstring& name, const Level& level, DWORD error) const;
    bool NoStart(const std::wstring& name, DWORD error) const;
};
