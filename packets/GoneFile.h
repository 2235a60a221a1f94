// A file that waits to be sent, and that somebody else takes.
#pragma once

#include <string>

#include "base/FileSystem.h"
#include "base/Path.h"

/// Whether somebody else has taken a file. With its whole folder it has not: a disk or a share may be away.
inline bool HasGone(const std::wstring& folder, const std::wstring& name) {
    return !FileSystem::FileIsThere(Path::Join(folder, name)) && FileSystem::FolderIsThere(folder);
}

/// What a transport shows of such a file once its turn has come. By that a host knows that it was not sent.
inline std::wstring TellOfGone(const std::wstring& path) {
    return L"Somebody else took the file " + path + L" before it was sent.";
}
