// Parts of Windows paths, by text alone; the disk is not asked. Portable.
#pragma once

#include <string>
#include <string_view>

namespace Path {

/// Folder & "\" & name, with exactly one separator between them when the folder ends in one already. One of
/// them alone where the other is empty.
std::wstring Join(std::wstring_view folder, std::wstring_view name);
/// With one separator at the end, as every path below the folder begins.
std::wstring WithSeparator(std::wstring_view folder);
/// Everything before the last separator; a root keeps its separator. Empty for a bare name.
std::wstring ParentFolder(std::wstring_view path);
/// Everything after the last separator.
std::wstring FileName(std::wstring_view path);
/// The file name without its last extension.
std::wstring BaseName(std::wstring_view path);
/// "C:", or "\\server\share"; empty for a path that has neither.
std::wstring Drive(std::wstring_view path);
/// The last four characters: a dot and three letters where the path has an extension of that length.
std::wstring LastFour(std::wstring_view path);
/// Whether Windows takes a name for that of a device, in any folder and with any extension.
bool IsDeviceName(std::wstring_view name);
/// Whether a name that somebody else chose names one file directly in the folder it is joined to: not
/// another folder, drive, stream or device, not a file whose name Windows would shorten to another, and none
/// that cannot be.
bool IsPlainName(std::wstring_view name);

}  // namespace Path
