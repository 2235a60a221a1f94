// A packet on its way from a server to its place in the receive folder.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/ByteStream.h"
#include "base/File.h"
#include "base/FileTime.h"
#include "base/Rights.h"
#include "cipher/Sha256.h"

/// What came of it is kept in a file of its own until it is whole, also when the transfer ends before: the
/// next one goes on from there.
class IncomingPacket {
public:
    /// target: where it lies when it is whole; the folder is there. part: the file of what came. attend:
    /// called now and then while that is read again, which takes its time; what it throws ends it.
    IncomingPacket(std::wstring target, const std::wstring& part, std::function<void()> attend);

    std::uint64_t Size() const noexcept { return m_size; }  ///< bytes of what came
    /// What comes next begins at this offset, which is not beyond what came.
    void GoOnAt(std::uint64_t offset);
    /// Nothing of what came is left, on the disk neither.
    void Forget();
    void Write(base::Bytes bytes);
    /// The SHA-256 of what came. Nothing is written after it, except from the beginning.
    std::wstring Finish() { return m_sum.Finish(); }

    void SetModificationTime(base::FileTime time) { m_file.SetModificationTime(time); }
    /// It is whole: takes its place, also that of another file, and is on the disk there. rights: those of
    /// the folders that packets come from and go to.
    void TakePlace(FileSystem::RightsOfFolders& rights);
    /// Nothing is left of it.
    void Drop();

private:
    std::wstring m_target;
    base::File m_file;
    std::uint64_t m_size;
    Sha256 m_sum;  ///< of what came
    std::function<void()> m_attend;
};
