// Folders, rights, free space and log of this side.
#include <algorithm>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "host/console/Table.h"
#include "host/cycle/WaitingPackets.h"
#include "host/doctor/Examination.h"
#include "host/doctor/Probe.h"
#include "host/session/WorkFolder.h"
#include "host/settings/NetworkDrive.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SettingsError.h"

namespace {

std::wstring Name(const Setting& setting, const Settings& settings) {
    return setting.Title() + L" = " + setting.text(settings);
}

Finding ExamineFolder(const Setting& setting, const Settings& settings) try {
    const std::wstring folder = setting.text(settings);
    const std::wstring name = Name(setting, settings);
    if (FileSystem::FileExists(folder)) return NoFolder(L"folder", name);
    if (!FileSystem::FolderExists(folder)) {
        if (&setting == &SettingOf<&Settings::outbox>())
            return Bad(L"folder", name + L": there is no such folder", L"Make it, or name another one.");
        ProbeMissingFolder(folder);
        return Good(L"folder", name + L": not there yet; a run makes it");
    }
    FileSystem::List(folder);
    ProbeFolder(folder);
    return Good(L"folder", name + L": files can be listed, written and deleted");
} catch (const base::Error& error) {
    return Bad(
        L"folder", Name(setting, settings) + L": " + error.failure().description,
        L"See that its drive or share is there, and that the disk is not full or write-protected; give "
        L"the account that runs znhost the right to list, read, write and delete there.");
}

std::uint64_t Total(const std::vector<base::TreeFile>& files) {
    std::uint64_t total = 0;
    for (const base::TreeFile& file : files)
        total += file.size;
    return total;
}

/// What waits may be there twice for a while.
std::uint64_t NeededSpace(const Settings& settings) try {
    constexpr std::uint64_t kLeast = std::uint64_t{64} << 20;
    return std::max(kLeast, 2 * (Total(OutboxFiles(settings)) + Total(SendFiles(settings)) +
                                 Total(ReceivedFiles(settings)) + Total(OfferedFiles(settings))));
} catch (const base::Error&) {
    return 0;
}

Finding ExamineSpace(const std::wstring& name, const std::wstring& folder, std::uint64_t needed) {
    const auto free = FreeSpace(folder);
    if (!free) return Good(L"space", name + L": the system does not tell what is free");
    const std::wstring what = name + L": " + Grouped(*free >> 20) + L" MB free";
    if (*free >= needed) return Good(L"space", what);
    return Bad(L"space", what + L", less than the " + Grouped(needed >> 20) + L" MB that packets may need",
               L"Make room on that disk.");
}

/// As a run uses it.
void ExamineWorkFolder(std::uint64_t needed, Findings& findings) try {
    const WorkFolder work;
    ProbeFolder(work.Path());
    const std::wstring name = L"TEMP = " + Path::ParentFolder(work.Path());
    findings.push_back(Good(L"folder", name + L": packets can be compressed there"));
    findings.push_back(ExamineSpace(name, work.Path(), needed));
} catch (const base::Error& error) {
    findings.push_back(Bad(L"folder", L"TEMP: " + error.failure().description,
                           L"Let TEMP and TMP of the account that runs znhost name a folder where it may "
                           L"write: without one packets cannot be compressed."));
}

Finding ExamineLog(const Settings& settings) try {
    if (settings.logFile.empty()) return Good(L"log", L"only the event log of Windows is written");
    CheckLogFile(settings);
    return Good(L"log", settings.logFile + L" can be written");
} catch (const SettingsError& error) {
    return Bad(L"log", error.All().front(),
               L"Name a file in a folder where the account that runs znhost may write.");
}

}  // namespace

void ExamineFolders(const Settings& settings, Findings& findings) {
    const std::uint64_t needed = NeededSpace(settings);
    for (const Setting& setting : kSettings) {
        if (setting.kind != ValueKind::Folder || setting.text(settings).empty()) continue;
        findings.push_back(ExamineFolder(setting, settings));
        findings.push_back(ExamineSpace(Name(setting, settings), setting.text(settings), needed));
    }
    if (settings.encoder == EncoderKind::Zip) ExamineWorkFolder(needed, findings);
    findings.push_back(ExamineLog(settings));
    for (const Setting& setting : kSettings)
        if (const auto advice = NetworkDriveAdvice(setting.text(settings)))
            findings.push_back(Good(L"folder", Name(setting, settings) + L": " + *advice));
}
