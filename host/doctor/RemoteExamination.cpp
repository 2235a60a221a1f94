// The share or server, and its clock.
#include <chrono>

#include "base/Error.h"
#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/WindowsTime.h"
#include "com/ComApartment.h"
#include "host/console/Table.h"
#include "host/cycle/WaitingPackets.h"
#include "host/doctor/Examination.h"
#include "host/doctor/Probe.h"
#include "host/session/Session.h"

namespace {

constexpr auto kClockAdvice =
    L"Set both clocks by a time server: the time of a file tells which of two versions is newer.";

bool IsNear(base::FileTime::duration difference) {
    constexpr std::chrono::minutes kNear{2};
    return difference <= kNear && difference >= -kNear;
}

Finding ExamineClock(base::FileTime remote, base::FileTime here) {
    const auto difference = remote - here;
    if (IsNear(difference)) return Good(L"clock", L"the remote side's clock goes as this one");
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(difference).count();
    return Bad(L"clock",
               L"the remote side's clock differs from this one by " + std::to_wstring(minutes) + L" minutes",
               kClockAdvice);
}

/// maker: whose run makes a folder where only that is missing.
Finding Missing(const std::wstring& folder, const std::wstring& maker) {
    if (FileSystem::FileExists(folder)) return NoFolder(L"remote", folder);
    return Bad(L"remote", folder + L" is not there, or cannot be reached",
               L"Check network, name and rights of the account that runs znhost; " + maker +
                   L" makes the folder where only it is missing.");
}

void ExamineRemoteSend(const std::wstring& folder, Findings& findings) try {
    if (!FileSystem::FolderExists(folder)) return findings.push_back(Missing(folder, L"a run"));
    const base::FileTime here = base::Now();
    const base::FileTime remote = ProbeFolder(folder);
    findings.push_back(Good(L"remote", folder + L" takes files"));
    findings.push_back(ExamineClock(remote, here));
} catch (const base::Error& error) {
    findings.push_back(Bad(L"remote", folder + L" takes no file: " + error.failure().description,
                           L"Give the account that runs znhost the right to write and delete there, and see "
                           L"that the remote disk is not full."));
}

/// A packet is deleted once it has arrived; the right to do so shows in opening it. One that has gone
/// meanwhile was received.
void TryToReceive(const std::wstring& packet) try {
    base::File::Open(packet, GENERIC_READ | DELETE, base::kShareAll, OPEN_EXISTING);
} catch (const base::SystemError& error) {
    if (error.Code() != ERROR_FILE_NOT_FOUND && error.Code() != ERROR_PATH_NOT_FOUND) throw;
}

void ExamineRemoteReceive(const Settings& settings, Findings& findings) try {
    const std::wstring& folder = settings.remoteReceive;
    if (!FileSystem::FolderExists(folder))
        return findings.push_back(Missing(folder, L"the other side's first run that sends"));
    FileSystem::List(folder);
    const std::vector<base::TreeFile> offered = OfferedFiles(settings);
    if (!offered.empty()) TryToReceive(Path::Join(folder, offered.front().RelativePath()));
    findings.push_back(Good(L"remote", folder + L" offers " + Counted(offered.size(), L"packet")));
} catch (const base::Error& error) {
    findings.push_back(
        Bad(L"remote", settings.remoteReceive + L": " + error.failure().description,
            L"Give the account that runs znhost the right to list, read and delete there; a file that "
            L"somebody holds open is for the next run."));
}

/// The test of the folders leaves files behind: it is for whoever asks for it.
Finding ExamineServer(const Settings& settings) try {
    const bool isFtp = settings.transport == Transport::Ftp;
    const std::wstring server = isFtp ? L"the FTP server" : L"the WebDAV server";
    const ComApartment apartment;
    Session session(settings);
    if (session.Connects())
        return Good(L"remote", server + L" takes the login" +
                                   (isFtp ? L"; \"znhost verify\" tests the folders there"
                                          : L"; \"znhost verify\" tests what it promises"));
    return Bad(L"remote", L"there is no connection to " + server + L": " + settings.LogReference(),
               L"Correct server, user and password in the settings, or have server and network corrected.");
} catch (const base::Error& error) {
    return Bad(L"remote", error.failure().description, L"See what is said of libraries and settings.");
}

}  // namespace

void ExamineRemoteSide(const Settings& settings, Findings& findings) {
    if (settings.HasServer()) return findings.push_back(ExamineServer(settings));
    ExamineRemoteSend(settings.remoteSend, findings);
    ExamineRemoteReceive(settings, findings);
}
