// See FtpTransfer.h.
#include "ftp/FtpTransfer.h"

#include <algorithm>
#include <utility>

#include "base/Text.h"
#include "com/MessagePump.h"
#include "common/FtpReply.h"
#include "services/ShownProcedure.h"

namespace {

constexpr auto kMoveFiles = L"clsFTPSndRcv.cls.MoveFiles";

}  // namespace

bool IsFolder(const FileSystem::FileEntry& entry) {
    return (entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool MayBeListedSize(std::uint64_t listed, std::uint64_t bytes) {
    constexpr std::uint64_t kLargestSigned = 0x7FFFFFFF;
    constexpr std::uint64_t kLargestUnsigned = 0xFFFFFFFF;
    if (listed == 0 || listed == bytes) return true;
    return bytes > kLargestSigned &&
           (listed == kLargestSigned || listed == kLargestUnsigned || listed == (bytes & kLargestUnsigned));
}

bool IsListedPart(std::uint64_t listed, std::uint64_t bytes) {
    return listed < bytes && (listed == 0 || !MayBeListedSize(listed, bytes));
}

bool Refuses(DWORD error) {
    const std::wstring code = ReplyCode(ReplyOf(error));
    return code.starts_with(L'5') && code != L"530";
}

std::wstring FailureText(DWORD error) {
    return error == ERROR_INTERNET_EXTENDED_ERROR ? LastResponse() : ErrorText(error);
}

std::wstring WithReply(std::wstring report, DWORD error) {
    const std::wstring reply = ReplyOf(error);
    return reply.empty() ? report : Lines(std::move(report), reply);
}

std::wstring FtpTransfer::SizeDifference(const FileEntry& listed, std::uint64_t bytes) {
    return L"The FTP server lists file " + listed.name + L" with " + std::to_wstring(listed.size) +
           L" bytes, but here it has " + std::to_wstring(bytes) + L" bytes.";
}

/// Remote folders are entered by their names: from a wrong one, everything after it would land elsewhere.
bool FtpTransfer::ReturnTo(const Level& level, const std::wstring& entered) const {
    if (m_connection.ReturnTo(level.start, entered)) return true;
    const DWORD error = GetLastError();
    if (level.depth > 0) return NoWayBack(level, error);
    // An absolute path is entered from anywhere: to stay in it is nothing to tell.
    if (!entered.starts_with(L'/'))
        Procedure(kMoveFiles).Report(WhyNoWayBack(level, error), ZN_EVENTLOG_WARNING_TYPE);
    m_connection.Close();
    return true;
}

bool FtpTransfer::NoWayBack(const Level& level, DWORD error) const {
    return ShownProcedure(kMoveFiles, m_progress).Fail(WhyNoWayBack(level, error));
}

std::wstring FtpTransfer::WhyNoWayBack(const Level& level, DWORD error) {
    return L"Could not set current directory(" + base::FromSystemCodePage(level.start) + L"): " +
           ErrorText(error);
}

bool FtpTransfer::MoveEach(const FileList& files, const std::function<bool(const FileEntry&)>& move) const {
    if (!files.empty()) m_progress.SetRange(0, static_cast<LONG>(files.size()));
    LONG position = 0;
    for (const FileEntry& file : files) {
        m_progress.AddMessage(L"Move " + file.name, ZN_PROGRESS_INFORMATION);
        m_progress.Position(position++);
        com::ProcessPendingMessages();
        if (!move(file)) return false;
    }
    return true;
}

bool FtpTransfer::MoveSubFolders(const std::vector<std::wstring>& names, const Level& level,
                                 const std::wstring& entered,
                                 const std::function<bool(const std::wstring&, const Level&)>& move) const {
    if (names.empty()) return true;
    const Level below{m_connection.CurrentFolder(), level.depth + 1};
    const DWORD error = GetLastError();
    for (const std::wstring& name : names) {
        if (!MayEnter(name, below, error)) {
            m_connection.ReturnTo(level.start, entered);
            return false;
        }
        if (!move(name, below)) return false;
    }
    return true;
}

bool FtpTransfer::MayEnter(const std::wstring& name, const Level& level, DWORD error) const {
    if (level.depth > kDeepest)
        return ShownProcedure(kMoveFiles, m_progress)
            .Fail(L"The folder " + name + L" lies more than " + std::to_wstring(kDeepest) +
                  L" folders deep, which looks like a link that leads back. Remove the link, or move "
                  L"the folder up.");
    return !level.start.empty() || NoStart(name, error);
}

bool FtpTransfer::NoStart(const std::wstring& name, DWORD error) const {
    const ShownProcedure self(kMoveFiles, m_progress);
    if (error == ERROR_INSUFFICIENT_BUFFER)
        return self.Fail(
            L"The path of the current folder on the FTP server is too long: there would be no way "
            L"back from the sub-folder " +
            name + L". Move the folders up, or give them shorter names.");
    return self.Fail(
        Lines(L"The FTP server does not tell the current folder (command PWD), so that files of the "
              L"sub-folder " +
                  name +
                  L", and of those after it, could get into a wrong one. Do without sub-folders, or "
                  L"use a server that tells it.",
              FailureText(error)));
}
