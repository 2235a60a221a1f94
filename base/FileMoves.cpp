// See FileMoves.h.
#include "base/FileMoves.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "base/Arrival.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Persistence.h"
#include "base/RollBack.h"
#include "base/ShortNames.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/WriteBlock.h"

namespace FileSystem {

namespace {

using base::File;
using base::SystemError;

DWORD Replace(const std::wstring& source, const std::wstring& destination) {
    const std::wstring target = Extended(destination);
    return base::WithoutProtection(target, [&] {
        return RenameReplacing(destination, [&](bool replaces) {
            const DWORD flags = replaces ? MOVEFILE_REPLACE_EXISTING : 0;
            return MoveFileExW(Extended(source).c_str(), target.c_str(), flags) != FALSE;
        });
    });
}

/// Fails where there is a file of the name.
DWORD Rename(const std::wstring& source, const std::wstring& destination) {
    const std::wstring file = Extended(source);
    const std::wstring target = Extended(destination);
    const auto mayPass = [&](DWORD error) {
        // A folder is held by whatever is open below it.
        if (error == ERROR_ACCESS_DENIED && FolderExists(source)) return true;
        return base::MayPass(error, FileExists(destination) ? target : file);
    };
    return base::Persistently(mayPass, [&] { return MoveFileExW(file.c_str(), target.c_str(), 0); });
}

std::wstring Way(const std::wstring& source, const std::wstring& destination) {
    return source + L" -> " + destination;
}

/// A read error in the middle of a copy is not reported by every redirector.
void CheckWhole(std::uint64_t copied, const File& source, const std::wstring& destination, Where where) {
    const std::uint64_t size = source.Size();
    if (copied == size) return;
    throw base::Error(HRESULT_FROM_WIN32(ERROR_READ_FAULT),
                      L"The copy is incomplete: " + std::to_wstring(copied) + L" of " +
                          std::to_wstring(size) + L" bytes (" + Way(source.Path(), destination) + L")",
                      where);
}

/// Asks ten times a second at most: what is asked may be slow.
class Question {
public:
    explicit Question(const std::function<bool()>& ask) : m_ask(ask) {}

    bool IsAffirmed() {
        constexpr ULONGLONG kPause = 100;
        if (!m_ask || GetTickCount64() - m_last < kPause) return true;
        const bool affirmed = m_ask();
        m_last = GetTickCount64();
        return affirmed;
    }

private:
    const std::function<bool()>& m_ask;
    ULONGLONG m_last = 0;
};

/// Returns the number of bytes copied.
std::uint64_t CopyContent(const File& from, File& to, const std::function<bool()>& goOn) {
    constexpr std::uint64_t kBuffer = 64 << 10;
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(std::min(from.Size() + 1, kBuffer)));
    Question mayGoOn(goOn);
    std::uint64_t copied = 0;
    for (;;) {
        const std::size_t got = from.ReadAt(copied, buffer);
        to.Write({buffer.data(), got});
        copied += got;
        if (got < buffer.size()) return copied;
        if (!mayGoOn.IsAffirmed()) throw SystemError(ERROR_CANCELLED, "copy", from.Path());
    }
}

/// Copies a file to one of its own name beside the destination, which nobody else can open, and which goes
/// with its handle until it takes the destination's name.
File Arrive(const File& source, const std::wstring& destination, const std::function<bool()>& goOn,
            Where where) try {
    File arrival = CreateArrival(destination, where);
    base::RollBack removal([&] { arrival.Discard(); });
    CheckWhole(CopyContent(source, arrival, goOn), source, destination, where);
    arrival.TakeTimeAndAttributes(source);
    arrival.Flush();
    removal.Dismiss();
    return arrival;
} catch (const SystemError& error) {
    throw SystemError(error.Code(), "copy", Way(source.Path(), destination), where);
}

bool AreOnOneDrive(const std::wstring& left, const std::wstring& right) {
    return base::EqualsIgnoringCase(Path::Drive(left), Path::Drive(right));
}

/// For a destination on another volume.
void CopyAndDelete(const std::wstring& source, const std::wstring& destination, Where where) {
    if (FileExists(destination))
        throw SystemError(ERROR_FILE_EXISTS, "copy", Way(source, destination), where);
    const WriteBlock block(source);
    File copy = Arrive(block.Held(where), destination, {}, where);
    // Under its new name, too, where the next attempt would find it in its way.
    base::RollBack removal([&] { copy.Discard(); });
    if (const DWORD error = copy.TakeName(destination, File::OtherFile::Stays); error != ERROR_SUCCESS)
        throw SystemError(error, "move", Way(source, destination), where);
    // Also the name: the source goes next.
    copy.Flush();
    removal.Dismiss();
    try {
        block.Delete(ReadOnlyFiles::Delete, where);
    } catch (const base::Error&) {
        // What cannot be seen may have gone all the same: the copy would be the only one.
        if (!File::TryOpen(source, 0, base::kShareAll)) return;
        copy.Discard();
        throw;
    }
}

}  // namespace

void MoveFile(const std::wstring& source, const std::wstring& destination, Where where) {
    const DWORD error = Rename(source, destination);
    if (error == ERROR_SUCCESS) return;
    if (error != ERROR_NOT_SAME_DEVICE) throw SystemError(error, "move", Way(source, destination), where);
    CopyAndDelete(source, destination, where);
}

void CopyReplacing(const std::wstring& source, const std::wstring& destination, Where where) {
    CopyReplacing(File::Open(source, GENERIC_READ, base::kShareAll, OPEN_EXISTING, where), destination, {},
                  where);
}

void CopyReplacing(const File& source, const std::wstring& destination, const std::function<bool()>& goOn,
                   Where where) {
    File arrival = Arrive(source, destination, goOn, where);
    base::RollBack removal([&] { arrival.Discard(); });
    const DWORD error = base::WithoutProtection(
        Extended(destination), [&] { return arrival.TakeName(destination, File::OtherFile::IsReplaced); });
    if (error != ERROR_SUCCESS) throw SystemError(error, "replace", Way(source.Path(), destination), where);
    removal.Dismiss();
    // Also the name: who copies deletes the source next. On one volume, journals keep that order.
    if (!AreOnOneDrive(source.Path(), destination)) arrival.Flush();
}

void MoveReplacing(const std::wstring& source, const std::wstring& destination, Where where) {
    const DWORD error = Replace(source, destination);
    if (error == ERROR_SUCCESS) return;
    if (error != ERROR_NOT_SAME_DEVICE) throw SystemError(error, "move", Way(source, destination), where);
    const WriteBlock block(source);
    CopyReplacing(block.Held(where), destination, {}, where);
    block.Delete(ReadOnlyFiles::Delete, where);
}

void BringToDisk(const std::wstring& path) {
    std::optional<File> file;
    base::Persistently(Extended(path), [&] {
        file = File::TryOpen(path, GENERIC_WRITE, base::kShareAll);
        return file.has_value();
    });
    if (file) file->Flush();
}

}  // namespace FileSystem
