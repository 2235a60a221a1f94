#include "sendrecv/clsXCOPYSndRcv.h"

#include <cstdint>
#include <limits>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "com/MessagePump.h"
#include "com/Result.h"
#include "common/Framework.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "services/Branding.h"

using com::Return;
using Microsoft::WRL::ComPtr;

namespace {

constexpr LONG kNameEntry = 120;

/// Counts the files of one folder. Sixteen bits are part of the component's contract: hosts rely on a
/// folder with more files ending in a report instead of a progress bar that runs backwards.
class FileCounter {
public:
    LONG Next() {
        if (m_count == std::numeric_limits<std::int16_t>::max())
            throw base::Error(static_cast<HRESULT>(0x800A0006), L"Overflow");
        return ++m_count;
    }

private:
    std::int16_t m_count = 0;
};

/// Moving a folder into itself would never end.
void RefuseOverlap(const std::wstring& source, const std::wstring& destination) {
    const std::wstring outer = base::Upper(Path::WithSeparator(source));
    if (base::Upper(Path::WithSeparator(destination)).starts_with(outer))
        throw base::Error(E_INVALIDARG, L"The folder " + destination + L" lies inside the folder " + source +
                                            L" whose files are to be moved into it.");
}

}  // namespace

// --- Settings ---------------------------------------------------------------------------------------

clsXCOPYSndRcv::clsXCOPYSndRcv() : SenderReceiver(L"clsXCOPYSndRcv") {}

void clsXCOPYSndRcv::IZNSenderReceiver2_PropSet(IZNPropertySet* Settings) try {
    m_bMobile = IsMobile(Settings);
    const auto folder = [&](const wchar_t* setting, bool enterprise, const wchar_t* kind) {
        return GetProperty(Settings, setting, m_folderLocator.FolderPath(enterprise, kind));
    };
    m_sLocalSendFolder = folder(L"LOCAL_SEND_FOLDER", !m_bMobile, L"Outgoing");
    m_sLocalReceiveFolder = folder(L"LOCAL_RECEIVE_FOLDER", !m_bMobile, L"Incoming");
    if (!m_bMobile) return;
    m_sRemoteSendFolder = folder(L"REMOTE_SEND_FOLDER", true, L"Incoming");
    m_sRemoteReceiveFolder = folder(L"REMOTE_RECEIVE_FOLDER", true, L"Outgoing");
} catch (...) {
    ReportCurrentError(L"clsXCOPYSndRcv.cls.IZNSenderReceiver2_PropSet");
}

ComPtr<IZNPropertySet> clsXCOPYSndRcv::IZNSenderReceiver2_PropSet() try {
    auto properties = CreateFrameworkObject<ZNPropertySet, IZNPropertySet>();
    SetProperty(properties.Get(), L"MOBILE", m_bMobile ? L"TRUE" : L"FALSE");
    SetProperty(properties.Get(), L"LOCAL_SEND_FOLDER", m_sLocalSendFolder);
    SetProperty(properties.Get(), L"LOCAL_RECEIVE_FOLDER", m_sLocalReceiveFolder);
    if (m_bMobile) {
        SetProperty(properties.Get(), L"REMOTE_SEND_FOLDER", m_sRemoteSendFolder);
        SetProperty(properties.Get(), L"REMOTE_RECEIVE_FOLDER", m_sRemoteReceiveFolder);
    }
    return properties;
} catch (...) {
    return StandardHandler(L"clsXCOPYSndRcv.cls.IZNSenderReceiver2_PropSet", ComPtr<IZNPropertySet>());
}

// --- Transfer ---------------------------------------------------------------------------------------

bool clsXCOPYSndRcv::IZNSenderReceiver_Send(IUnknown* ProgressObject) try {
    constexpr std::wstring_view kSource = L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Send\r\n";
    const Progress progress(ProgressObject);
    if (m_sLocalSendFolder.empty()) {
        Report(std::wstring(kSource) + L"one or more of the Send folders are not set");
        return false;
    }
    if (m_sRemoteSendFolder.empty()) return true;
    progress.SetRange(0, 1);
    progress.StatusText(L"Send Packets");
    if (!FileSystem::FolderExists(m_sLocalSendFolder) ||
        base::EqualsIgnoringCase(m_sLocalSendFolder, m_sRemoteSendFolder))
        return true;
    progress.StatusText(L"Moving packets from local folder");
    // The host may set other folders while its messages are processed.
    const std::wstring from = m_sLocalSendFolder;
    const std::wstring to = m_sRemoteSendFolder;
    return Transfer(std::wstring(kSource), from, to, progress);
} catch (...) {
    return StandardHandler(L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Send", false);
}

bool clsXCOPYSndRcv::IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) try {
    constexpr std::wstring_view kSource = L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Receive\r\n";
    const Progress progress(ProgressObject);
    if (m_sLocalReceiveFolder.empty()) {
        Report(std::wstring(kSource) + L"one or more of the Receiver folders are not set");
        return false;
    }
    if (m_sRemoteReceiveFolder.empty()) return true;
    progress.SetRange(0, 1);
    progress.StatusText(L"Receive Packets");
    const std::wstring from = m_sRemoteReceiveFolder + L"\\" + FolderName;
    if (!FileSystem::FolderExists(from) ||
        base::EqualsIgnoringCase(m_sLocalReceiveFolder, m_sRemoteReceiveFolder))
        return true;
    progress.StatusText(L"Moving packets to local folder");
    return Transfer(std::wstring(kSource), from, m_sLocalReceiveFolder + L"\\" + FolderName, progress);
} catch (...) {
    return StandardHandler(L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Receive", false);
}

/// A cancelled move counts as done for MoveFiles; only the second look at Cancelled tells it apart.
bool clsXCOPYSndRcv::Transfer(const std::wstring& source, const std::wstring& from, const std::wstring& to,
                              const Progress& progress) {
    if (!MoveFiles(from, to, progress)) {
        const std::wstring text =
            source +
            L"Failed to transport packets between remote and local\r\nCheck your connection to the server";
        Report(text);
        progress.StatusText(text);
        return false;
    }
    return !progress.Cancelled();
}

bool clsXCOPYSndRcv::PrepareFolders(const std::wstring& source, const std::wstring& destination) const {
    RefuseOverlap(source, destination);
    return (FileSystem::FolderExists(source) || CreateFolders(source, SupressMsg)) &&
           (FileSystem::FolderExists(destination) || CreateFolders(destination, SupressMsg));
}

bool clsXCOPYSndRcv::MoveFiles(const std::wstring& Source, const std::wstring& Destination,
                               const Progress& progress) try {
    if (!PrepareFolders(Source, Destination)) return false;
    const FileSystem::Listing listing = FileSystem::List(Source);
    const auto count = static_cast<LONG>(listing.files.size());
    if (count > 0) progress.SetRange(0, count);
    progress.AddMessage(L"Transferring " + std::to_wstring(count) + L" file(s)", ZN_PROGRESS_INFORMATION);

    FileCounter done;
    for (const FileSystem::FileEntry& file : listing.files) {
        MoveOneFile(Path::Join(Source, file.name), file.size, Path::Join(Destination, file.name), progress);
        progress.Position(done.Next());
        com::ProcessPendingMessages();
        if (progress.Cancelled()) {
            progress.AddMessage(L"Interrupted by user", ZN_PROGRESS_INFORMATION);
            return true;
        }
    }
    for (const std::wstring& folder : listing.folders) {
        MoveFiles(Path::Join(Source, folder), Path::Join(Destination, folder), progress);
        if (progress.Cancelled()) break;
    }
    return true;
} catch (...) {
    return StandardHandler(L"clsXCOPYSndRcv.cls.MoveFiles", false);
}

/// A source that cannot be deleted stays beside its copy; the next cycle moves it again. One that somebody
/// still writes is not even copied: half a packet must not travel.
void clsXCOPYSndRcv::MoveOneFile(const std::wstring& file, std::uint64_t size,
                                 const std::wstring& destination, const Progress& progress) const {
    // The other side, too, may write to a shared folder now: a newer packet of the same name.
    const FileSystem::WriteBlock block(file);
    if (!block.SomebodyWrites()) {
        block.Check();
        FileSystem::CopyFile(file, destination, size);
    }
    try {
        block.Check();
        FileSystem::DeleteFile(file);
    } catch (const base::Error& error) {
        const std::wstring text = L"clsXCOPYSndRcv.cls.MoveFiles\r\nCould not delete packet file: " + file +
                                  L" in the transporter's source folder. "
                                  L"Check your folder permissions for read/write/modify/delete access.\r\n" +
                                  error.failure().description;
        progress.StatusText(text);
        Report(text);
    }
}

// --- Administration ---------------------------------------------------------------------------------

std::wstring clsXCOPYSndRcv::DisplayName() { return StartupEntry(kNameEntry); }

// --- Binary contract --------------------------------------------------------------------------------

STDMETHODIMP clsXCOPYSndRcv::get_LoginCancelled(VARIANT_BOOL* Value) {
    return Return(Value, [] { return false; });
}
STDMETHODIMP clsXCOPYSndRcv::put_LoginCancelled(VARIANT_BOOL) { return S_OK; }
STDMETHODIMP clsXCOPYSndRcv::Connect(VARIANT_BOOL* Success) {
    return Return(Success, [] { return true; });
}
STDMETHODIMP clsXCOPYSndRcv::Disconnect(VARIANT_BOOL* Success) {
    return Return(Success, [] { return true; });
}
STDMETHODIMP clsXCOPYSndRcv::get_RequireBothEnterpriseAndField(VARIANT_BOOL* Value) {
    return Return(Value, [] { return true; });
}
