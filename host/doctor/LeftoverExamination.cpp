// What earlier runs have left.
#include <functional>

#include "base/Arrival.h"
#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/FolderTree.h"
#include "base/Path.h"
#include "host/console/Table.h"
#include "host/doctor/Examination.h"
#include "host/record/StatusFile.h"
#include "host/settings/SettingsTable.h"
#include "host/settings/SideFolders.h"
#include "packets/PacketName.h"

namespace {

constexpr auto kLeftover = L"leftover";

/// A finding for each file of a folder that is of a kind.
void ExamineFiles(const std::wstring& folder, const std::function<bool(const base::TreeFile&)>& is,
                  const std::wstring& what, const std::wstring& advice, Findings& findings) try {
    for (const base::TreeFile& file : base::FilesBelow(folder))
        if (is(file))
            findings.push_back(Bad(kLeftover, Path::Join(folder, file.RelativePath()) + what, advice));
} catch (const base::Error&) {
    // The examination of the folders tells of that.
    return;
}

void ExamineArrivals(const std::wstring& folder, Findings& findings) {
    ExamineFiles(
        folder,
        [&](const base::TreeFile& file) {
            return FileSystem::IsArrival(file.name) &&
                   FileSystem::IsAbandonedArrival(Path::Join(folder, file.RelativePath()));
        },
        L" is left of a copy that ended half-way", L"Delete it: its source is where it was.", findings);
}

void ExamineTestFiles(const std::wstring& folder, Findings& findings) {
    ExamineFiles(
        folder, [](const base::TreeFile& file) { return IsFolderTestFile(file.name); },
        L" has the name of a file with which folders are tested", L"Delete it: it travels nowhere.",
        findings);
}

void ExamineKeptCopies(const std::wstring& inbox, Findings& findings) {
    ExamineFiles(
        inbox, [](const base::TreeFile& file) { return IsKeptCopy(file.name); },
        L" is what a delivery replaced when it ended in the middle",
        L"Compare it with the file of the same name without the ending, and delete the one that is not "
        L"needed; where there is none of that name, the next delivery puts it back.",
        findings);
}

void ExamineLateFiles(const std::wstring& inbox, Findings& findings) {
    ExamineFiles(
        inbox, [](const base::TreeFile& file) { return HasExtension(file.name, kLateOutput); },
        L" appeared while a decoder exceeded its time: a part of the packet, or what somebody has saved",
        L"Compare it with the file of the same name without the ending, and delete the one that is not "
        L"needed.",
        findings);
}

/// One finding for all that lies in a folder beside the transport's.
void ExamineSideFolder(const SideFolder& side, const Settings& settings, const wchar_t* what,
                       const wchar_t* advice, Findings& findings) try {
    const std::wstring folder = side.Path(settings);
    const std::size_t count = base::FilesBelow(folder).size();
    if (count > 0)
        findings.push_back(Bad(kLeftover, folder + L" holds " + Counted(count, L"file") + what, advice));
} catch (const base::Error& error) {
    findings.push_back(Bad(kLeftover, error.failure().description, L"See that the folder can be listed."));
}

Finding ExamineRunAtWork(const LastRun& last) {
    if (!last.isOverdue)
        return Good(L"last_run", L"a run is at work; what earlier ones have left was not examined");
    return Bad(
        L"last_run", L"a run has been at work for more than a day",
        L"See in the log whether it moves packets, and whether it waits for an answer; where it hangs, end "
        L"its process, which znhost status names.");
}

Finding ExamineLastRun(const LastRun& last, const Settings& settings) {
    if (last.isUnreadable)
        return Bad(L"last_run", StatusFile(settings).Path() + L" cannot be read, which tells of the last run",
                   L"Run again, which writes it anew, and see that this account may read it.");
    if (!last.record) return Good(L"last_run", L"none that is remembered");
    if (last.isOverdue)
        return Bad(L"last_run", L"The next cycle of the loop is overdue",
                   L"See whether loop or service still run, and start them again; docs/operations.md has a "
                   L"task that does so. See also znhost status.");
    if (last.record->end == RunEnd::Complete) return Good(L"last_run", L"all is well");
    return Bad(L"last_run", L"something was left", L"See znhost status.");
}

}  // namespace

void ExamineLeftovers(const Settings& settings, Findings& findings) {
    const LastRun last = LastRunOf(settings);
    // What it keeps aside is nothing that it has left.
    if (last.isUnderWay) {
        findings.push_back(ExamineRunAtWork(last));
        return;
    }
    const std::size_t before = findings.size();
    for (const Setting& setting : kSettings) {
        if (setting.kind != ValueKind::Folder &&
            (setting.kind != ValueKind::RemoteFolder || settings.transport != Transport::Folder))
            continue;
        ExamineArrivals(setting.text(settings), findings);
        ExamineTestFiles(setting.text(settings), findings);
    }
    ExamineKeptCopies(settings.inbox, findings);
    ExamineLateFiles(settings.inbox, findings);
    ExamineSideFolder(
        kRefused, settings, L" that must not be delivered",
        L"See why in the report of the run, or in docs/operations.md; move what is good into the "
        L"inbox, and delete the rest once it has gone from the remote folder: as long as it lies here, it is "
        L"not delivered when it comes again.",
        findings);
    ExamineSideFolder(kOlderVersions, settings, L" that a run took aside when it ended in the middle",
                      L"Run again: that puts them right.", findings);
    ExamineSideFolder(kAwaitingOlder, settings, L" that an older form of the same packet must precede",
                      L"Run again when the remote folder can be listed, and see why the older form is not "
                      L"received.",
                      findings);
    ExamineSideFolder(kKeptBackups, settings,
                      L" of backups that a run took aside when it ended in the middle",
                      L"Run again: that puts them right.", findings);
    if (findings.size() == before) findings.push_back(Good(kLeftover, L"none"));
    findings.push_back(ExamineLastRun(last, settings));
}
