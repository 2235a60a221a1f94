// See StatusFile.h.
#include "host/record/StatusFile.h"

#include <windows.h>

#include "base/Arrival.h"
#include "base/FileSystem.h"
#include "base/Handle.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/WindowsTime.h"
#include "host/cycle/CycleLock.h"
#include "host/loop/Schedule.h"
#include "host/record/Json.h"
#include "host/settings/SettingsFile.h"
#include "host/settings/SideFolders.h"

namespace {

/// By its number alone.
bool HasLivingProcess(const RunRecord& record) {
    const base::KernelHandle process(
        OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, record.process));
    if (!process) return GetLastError() == ERROR_ACCESS_DENIED;
    // The system gives the number of a process that has ended to a later one, and keeps an ended process
    // while somebody holds it.
    FILETIME created;
    FILETIME ended;
    FILETIME kernel;
    FILETIME user;
    if (!GetProcessTimes(process.Get(), &created, &ended, &kernel, &user)) return true;
    const bool isLater = base::FromWindowsTime(created) >= record.started + std::chrono::seconds(1);
    return !isLater && WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
}

/// The lock tells whoever runs it; a number may be another process's by now, of which nothing can be learnt.
bool IsUnderWay(const RunRecord& record, const Settings& settings) {
    if (record.end != RunEnd::Running) return false;
    const std::optional<bool> isAtWork = IsAtWork(settings);
    return isAtWork ? *isAtWork : HasLivingProcess(record);
}

/// After the longest wait a loop that is at work has begun its next cycle, which is written down first: also
/// over a record whose end is still to come, because the clock was ahead.
bool IsNextOverdue(const RunRecord& record) {
    constexpr std::chrono::minutes kTimeToStart{10};
    return record.interval && record.end != RunEnd::Running &&
           std::chrono::abs(base::Now() - record.ended) > Schedule::Longest(*record.interval) + kTimeToStart;
}

/// Of a run that is under way: one that waits for an answer that nobody gives has no end of its own, and who
/// would start the next one waits for that.
bool IsEndOverdue(const RunRecord& record) {
    return std::chrono::abs(base::Now() - record.started) > std::chrono::days(1);
}

void Replace(const std::wstring& path, const RunRecord& record) {
    FileSystem::CreateFolders(Path::ParentFolder(path));
    base::File file = FileSystem::CreateArrival(path);
    file.Write(json::Remembered(record));
    file.Flush();
    const DWORD error = file.TakeName(path, base::File::OtherFile::IsReplaced);
    if (error != ERROR_SUCCESS) throw base::SystemError(error, "write", path);
}

/// Short, so that it has room where the one before lies.
RunRecord WithoutPackets(RunRecord record, const std::wstring& why) {
    record.isWhole = false;
    record.messages = {L"what became of its packets could not be remembered: " + why};
    return record;
}

/// In place. Whoever reads meanwhile, or after an end in the middle, finds no record.
void Overwrite(const std::wstring& path, const RunRecord& record) {
    base::File file = base::File::Open(path, GENERIC_WRITE, base::kShareAll, OPEN_EXISTING);
    // With nothing in it the file would give away its room.
    file.Truncate(1);
    file.WriteAt(0, base::BytesOf(json::Remembered(record)));
    file.Flush();
}

LastRun Look(const Settings& settings) {
    const StatusFile file(settings);
    LastRun last;
    last.record = file.Read();
    if (last.record) {
        last.isUnderWay = IsUnderWay(*last.record, settings);
        last.isOverdue = last.isUnderWay ? IsEndOverdue(*last.record) : IsNextOverdue(*last.record);
    } else {
        last.isUnreadable = FileSystem::FileExists(file.Path()) || FileSystem::FolderExists(file.Path());
    }
    return last;
}

}  // namespace

StatusFile::StatusFile(const Settings& settings) : m_path(kStatus.Path(settings)) {}

/// Nobody may be kept from moving packets by a file about it.
void StatusFile::Write(const RunRecord& record) const noexcept try {
    try {
        Replace(m_path, record);
    } catch (const base::SystemError& error) {
        Overwrite(m_path, WithoutPackets(record, base::SystemText(error.Code())));
    }
} catch (...) {
    FileSystem::TryDelete(m_path);
}

std::optional<RunRecord> StatusFile::Read() const try {
    return json::Remember(base::ReadFile(m_path));
} catch (const base::Error&) {
    return std::nullopt;
}

RememberedRun::RememberedRun(const RunRecord& record, const Settings& settings)
    : m_record(record), m_file(settings) {
    m_file.Write(m_record);
}

RememberedRun::~RememberedRun() { m_file.Write(m_record); }

void RememberNoCycle(const RunRecord& record) noexcept try {
    const Settings settings = ReadSettingsWithoutPasswords(record.settings);
    const CycleLock lock(settings);
    StatusFile(settings).Write(record);
} catch (...) {
    return;
}

LastRun LastRunOf(const Settings& settings) {
    LastRun last = Look(settings);
    // It may have ended since its record was read, or have been writing it.
    return last.HasEndedInTheMiddle() || last.isUnreadable ? Look(settings) : last;
}
