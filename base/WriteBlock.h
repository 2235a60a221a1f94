// Holds a file as it is, from before it is copied until it is deleted or moved.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "base/Error.h"
#include "base/File.h"
#include "base/FileSystem.h"

namespace FileSystem {

/// Keeps others from writing to a file while it exists; reading, renaming and deleting stay possible.
/// A file that is copied and then deleted needs it: what somebody writes in between would be lost. Where the
/// path names a link, what that leads to is held and copied, and the link is what is deleted.
class WriteBlock {
public:
    explicit WriteBlock(const std::wstring& path);
    /// False when somebody was writing to the file already, or it cannot be read.
    bool Holds() const noexcept { return m_file.has_value(); }
    /// Whether it does not hold because of a writer who lets others read what is written so far.
    bool SomebodyWrites() const;
    /// The file, opened to read. Throws when it is not held.
    const base::File& Held(Where where = Where::current()) const;
    /// Throws where the file that is held could not be deleted now.
    void DemandDeletable(Where where = Where::current()) const;
    /// Moves the file that is held, also to another volume, in the place of any other. False when another one
    /// has its name by now, which stays.
    bool MoveReplacing(const std::wstring& destination, Where where = Where::current()) const;
    /// Deletes the file that is held. False when another one has its name by now, which stays.
    bool Delete(ReadOnlyFiles readOnly = ReadOnlyFiles::Keep, Where where = Where::current()) const;

private:
    struct Named {
        base::File file;
        bool isLink;  ///< to the file that is held
    };

    /// What has the name, if that is the file that is held or a link to it.
    std::optional<Named> OpenNamed(Where where) const;

    std::wstring m_path;
    std::optional<base::File> m_file;
    DWORD m_error;  ///< why there is no file
};

}  // namespace FileSystem
