// See WriteBlock.h.
#include "base/WriteBlock.h"

#include <winternl.h>

#include <cstdint>

#include "base/FileMoves.h"
#include "base/Persistence.h"
#include "base/SystemError.h"

namespace FileSystem {

namespace {

using base::File;
using base::SystemError;

/// What tells a file from any other of its volume; all zero where the file system does not number its files
/// nor keep times. GetFileInformationByHandle asks the volume as well, which takes Wine longer than the copy
/// of a small file.
struct Identity {
    std::int64_t number = 0;
    std::int64_t size = 0;
    std::int64_t lastWrite = 0;
    bool operator==(const Identity&) const = default;
};

std::int64_t NumberOf(HANDLE file) {
    IO_STATUS_BLOCK status;
    FILE_INTERNAL_INFORMATION information{};
    NtQueryInformationFile(file, &status, &information, sizeof information, FileInternalInformation);
    return information.IndexNumber.QuadPart;
}

Identity IdentityOf(HANDLE file) {
    FILE_STANDARD_INFO standard{};
    FILE_BASIC_INFO basic{};
    GetFileInformationByHandleEx(file, FileStandardInfo, &standard, sizeof standard);
    GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof basic);
    return {NumberOf(file), standard.EndOfFile.QuadPart, basic.LastWriteTime.QuadPart};
}

bool IsSameFile(const File& left, const File& right) {
    return IdentityOf(left.Handle()) == IdentityOf(right.Handle());
}

}  // namespace

WriteBlock::WriteBlock(const std::wstring& path)
    : m_path(path),
      m_file(File::TryOpen(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE)),
      m_error(m_file ? ERROR_SUCCESS : GetLastError()) {}

bool WriteBlock::SomebodyWrites() const {
    return m_error == ERROR_SHARING_VIOLATION && File::TryOpen(m_path, GENERIC_READ, base::kShareAll);
}

const File& WriteBlock::Held(Where where) const {
    if (!m_file) throw SystemError(m_error, "open", m_path, where);
    return *m_file;
}

/// Deleting and renaming are possible meanwhile: only an open file is certainly the one that is held.
std::optional<WriteBlock::Named> WriteBlock::OpenNamed(Where where) const {
    const File& held = Held(where);
    auto named = File::TryOpenToRemove(m_path);
    if (!named) throw SystemError(GetLastError(), "delete", m_path, where);
    if (IsSameFile(held, *named)) return Named{*std::move(named), false};
    const auto target = File::TryOpen(m_path, 0, base::kShareAll);
    if (target && IsSameFile(held, *target)) return Named{*std::move(named), true};
    return std::nullopt;
}

void WriteBlock::DemandDeletable(Where where) const {
    const std::optional<Named> named = OpenNamed(where);
    FILE_BASIC_INFO basic{};
    if (!named || !GetFileInformationByHandleEx(named->file.Handle(), FileBasicInfo, &basic, sizeof basic))
        return;
    if (basic.FileAttributes & FILE_ATTRIBUTE_READONLY)
        throw SystemError(ERROR_ACCESS_DENIED, "delete", m_path, where);
}

bool WriteBlock::MoveReplacing(const std::wstring& destination, Where where) const {
    std::optional<Named> named = OpenNamed(where);
    if (!named) return false;
    // A link that moves would show there whatever becomes of what it leads to.
    const DWORD error =
        named->isLink ? ERROR_NOT_SAME_DEVICE : base::WithoutProtection(Extended(destination), [&] {
            return named->file.Rename(destination, File::OtherFile::IsReplaced);
        });
    if (error == ERROR_SUCCESS) return true;
    if (error != ERROR_NOT_SAME_DEVICE)
        throw SystemError(error, "move", m_path + L" -> " + destination, where);
    named.reset();
    CopyReplacing(Held(where), destination, {}, where);
    return Delete(ReadOnlyFiles::Delete, where);
}

bool WriteBlock::Delete(ReadOnlyFiles readOnly, Where where) const {
    std::optional<Named> named = OpenNamed(where);
    if (!named) return false;
    // The answer of a share to a success can get lost.
    if (!named->file.RemoveWhenClosed() && !named->file.IsBeingRemoved()) DeleteFile(m_path, readOnly, where);
    return true;
}

}  // namespace FileSystem
