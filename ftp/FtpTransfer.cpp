// See FtpTransfer.h.
#include "ftp/FtpTransfer.h"

#include "base/Text.h"
#include "com/MessagePump.h"
#include "ftp/ShownProcedure.h"

/// Remote folders are entered by their names: from a wrong one, everything after it would land elsewhere.
bool FtpTransfer::ReturnTo(const std::string& remote) const {
    if (m_connection.ReturnTo(remote)) return true;
    const DWORD error = GetLastError();
    return ShownProcedure(L"clsFTPSndRcv.cls.MoveFiles", m_progress)
        .Fail(L"Could not set current directory(" + base::FromSystemCodePage(remote) + L"): " +
              ErrorText(error));
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
