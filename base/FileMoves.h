// Files that are moved and copied, also to another volume, so that they are there in full or not at all.
// Every failure is a SystemError, or for a copy that is not whole an Error, that names the paths.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "base/Error.h"
#include "base/File.h"

// Win32 names its functions by macros, which would rename those of this unit.
#undef MoveFile

namespace FileSystem {

using base::Where;

/// Moves a file, also to another volume. Fails when the destination exists; then, and after any other
/// failure, the source is as it was and no part of it is at the destination.
void MoveFile(const std::wstring& source, const std::wstring& destination, Where where = Where::current());

/// Copies or moves a file, also to another volume, in the place of any other, even a read-only one, which
/// stays as it was until the new one is on the disk in full. A move that fails leaves the source. goOn: asked
/// now and then in the middle of a long file; after False the copy fails with ERROR_CANCELLED.
void CopyReplacing(const std::wstring& source, const std::wstring& destination,
                   Where where = Where::current());
/// source: opened to read.
void CopyReplacing(const base::File& source, const std::wstring& destination,
                   const std::function<bool()>& goOn = {}, Where where = Where::current());
void MoveReplacing(const std::wstring& source, const std::wstring& destination,
                   Where where = Where::current());

/// Brings a file to the disk, also under the name that it has just taken: a computer that loses its power may
/// know it only by the one before. Who has it open alone, or has taken it away, is no failure.
void BringToDisk(const std::wstring& path);

}  // namespace FileSystem
