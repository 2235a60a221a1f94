// Rules about the names of packet files. Portable.
#pragma once

#include <string>
#include <string_view>

/// Whether two names, or parts of names, differ in letter case at most.
bool IsSameName(std::wstring_view left, std::wstring_view right);

/// Whether a name has an extension, or another ending, in any letter case, behind at least one other
/// character.
bool HasExtension(std::wstring_view fileName, std::wstring_view extension);

/// The files with which folders are tested, here and on an FTP server: written, read and deleted there.
inline constexpr std::wstring_view kFolderTestFile = L"RWD_TestFile.txt";
inline constexpr const wchar_t* kSiteTestFile = L"TestFtpConnection.txt";

/// Whether a file of this name, in any letter case, would be taken for one with which folders are tested. The
/// other side may test a folder while it is listed here: it is no packet.
bool IsFolderTestFile(std::wstring_view FileName);

/// Whether a name is that of a copy which a delivery or a decoding keeps of the file that it replaces:
/// "<name>_bak" or "<name>_bck".
bool IsKeptCopy(std::wstring_view FileName);

/// Behind a packet's name: what appeared under it while its decoder exceeded its time.
inline constexpr const wchar_t* kLateOutput = L"_late";

/// The folder below the receive folder that keeps backups of received packets.
inline constexpr std::wstring_view kBackupFolder = L"Backup";

/// The first part of a relative path; the path itself where it has no others.
std::wstring TopFolder(std::wstring_view relativePath);

/// Whether a path below the receive folder lies in the folder of the backups, or is that folder.
bool IsBackupPath(std::wstring_view relativePath);

/// Whether a file is one that the system or a program keeps beside the user's own: how a folder is shown, or
/// that a database is open.
bool IsCompanionFile(std::wstring_view FileName);

/// The part of a packet file's name before its first "~" or ".". Empty for a name without a dot, also
/// when it has a "~": such a file is no packet.
std::wstring GetPacketId(std::wstring_view FileName);
