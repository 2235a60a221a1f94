// A connection to an FTP server; every one of the library is opened here. What is False or null failed, and
// GetLastError tells why. Text with characters that are not in the 8-bit code page, or with control
// characters, is thrown.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/FileSystem.h"
#include "common/modWinInet.h"
#include "ftp/settings/FtpSite.h"

/// Whether a call failed because no answer came: the server may have done what it was asked for.
bool IsUnanswered(DWORD error);

/// Closes itself.
class FtpConnection {
public:
    /// How far entering a folder came. Unanswered: nobody knows, and it was not created. NotEntered: it was.
    enum class Entry { Entered, Unanswered, NotCreated, NotEntered };

    /// Flags of connections (active mode) and of transfers (bytes unchanged).
    static constexpr DWORD kFlags = 0;

    /// Opens the internet session under the tool's name. A server that does not answer for half a
    /// minute (connecting), or two minutes (everything else), or takes no command for one, fails the call.
    bool OpenSession();
    /// Connects to the FTP default port with a site's login.
    bool Connect(const FtpSite& site);
    /// Needs the session: the proxy that the Internet Options send FTP through; empty where they name none.
    std::wstring Proxy() const;
    bool IsConnected() const noexcept { return static_cast<bool>(m_connection); }
    /// Harmless when nothing is open.
    void Close() noexcept;
    /// Leaves what is open to the process.
    void Abandon() noexcept;

    /// Makes a folder, or a path of folders, the current remote one.
    bool Enter(const std::wstring& folder) const;
    /// The same for one folder, which is created when it cannot be entered; not where no answer came, as it
    /// would lie in itself if it is the current one by now.
    Entry EnterOrCreate(const std::wstring& folder) const;
    /// The current remote folder, for a later ReturnTo; as the server spells it. Empty when unknown.
    /// longest: what the call is told of the buffer, which holds 260 characters.
    std::string CurrentFolder(DWORD longest = 259) const;
    /// Goes back to where CurrentFolder was asked; from the path that was entered there, in as many steps,
    /// where that is unknown or cannot be entered. entered: empty for none.
    bool ReturnTo(const std::string& folder, const std::wstring& entered) const;

    /// What the current remote folder lists: all of it where GetLastError tells ERROR_NO_MORE_FILES, what
    /// came before a failure elsewhere.
    std::vector<FileSystem::FileEntry> List() const;
    /// The entry of one name. Where the search ends without one and without an error, or with entries of
    /// other names only, the name counts as found, with an unknown size (0); a name that cannot be searched
    /// for as it is (with blanks, brackets or braces, or a dash or tilde at its beginning) only in the first
    /// case.
    bool FindFile(const std::wstring& name, FileSystem::FileEntry& found) const;
    /// The size of a file of the current remote folder, in bytes; nothing where the server does not tell, and
    /// GetLastError whether it refuses. Cheaper than a search, and exact, but only after a transfer: some
    /// servers tell it only of the bytes that travel unchanged.
    std::optional<std::uint64_t> SizeOf(const std::wstring& name) const;
    /// Lets SizeOf tell as much after a search, for which the system asks for text.
    void AskForBytes() const { Command(L"TYPE I"); }
    /// When it was written, in the server's spelling and to the second; empty where the server does not tell,
    /// and GetLastError why.
    std::wstring LastWriteOf(const std::wstring& name) const;

    // Files of the current remote folder.
    bool Put(const std::wstring& localFile, const std::wstring& name, DWORD flags = kFlags) const;
    /// Replaces a local file. attributes: of the new one, except those that would protect or hide it.
    bool Get(const std::wstring& name, const std::wstring& localFile, DWORD attributes) const;
    bool Delete(const std::wstring& name) const;
    bool Rename(const std::wstring& name, const std::wstring& newName) const;

private:
    /// The first entry of the current remote folder whose name matches; ERROR_NO_MORE_FILES when none does.
    InternetHandle Find(const std::wstring& pattern, FileSystem::FileEntry& found) const;
    static bool FindNext(const InternetHandle& search, FileSystem::FileEntry& found);
    void LimitWaiting() const;
    bool SetCurrentFolder(const std::string& folder) const;
    bool Command(const std::wstring& text) const;
    std::wstring FileStatus(const wchar_t* command, const std::wstring& name) const;

    InternetHandle m_internet;
    InternetHandle m_connection;  ///< closed first
};
