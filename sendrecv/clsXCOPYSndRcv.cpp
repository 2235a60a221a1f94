// See clsXCOPYSndRcv.h.
#include "sendrecv/clsXCOPYSndRcv.h"

#include <limits>
#include <utility>

#include "base/Arrival.h"
#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/FolderTree.h"
#include "base/LocalNames.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/WriteBlock.h"
#include "com/MessagePump.h"
#include "common/modMain.h"
#include "packets/PacketName.h"
#include "services/Branding.h"

namespace {

constexpr LONG kNameEntry = 120;

/// Counts the files of one folder. Sixteen bits are part of the component's contract: hosts rely on a
/// folder with more files ending in a report instead of a progress bar that runs backwards.
class FileCounter {
public:
    LONG Next(base::Where where = base::Where::current()) {
        if (m_count == std::numeric_limits<std::int16_t>::max())
            throw base::Error(static_cast<HRESULT>(0x800A0006), L"Overflow", where);
        return ++m_count;
    }

private:
    std::int16_t m_count = 0;
};

/// Moving a folder into itself would never end, however the two are spelled.
void RefuseOverlap(const std::wstring& source, const std::wstring& destination,
                   base::Where where = base::Where::current()) {
    if (base::LiesIn(FileSystem::FullPath(source), FileSystem::FullPath(destination)))
        throw base::Error(E_INVALIDARG,
                          L"The folder " + destination + L" lies inside the folder " + source +
                              L" whose files are to be moved into it.",
                          where);
}

/// The end of Send and of Receive. A cancelled move counts as done for MoveFiles; only the second look at
/// Cancelled tells it apart.
bool IsComplete(bool moved, const Procedure& self, const HostProgress& progress) {
    if (moved) return !progress.Cancelled();
    const std::wstring text = Lines(L"Failed to transport packets between remote and local",
                                    L"Check your connection to the server");
    self.Report(text);
    progress.StatusText(Lines(self.Name(), text));
    return false;
}

void ReportGone(const std::wstring& source, const Procedure& self, const HostProgress& progress) {
    const std::wstring text = TellOfGone(source);
    progress.AddMessage(text, ZN_PROGRESS_FAILURE);
    self.Report(text);
}

/// False where there is no such file any more. A source that cannot be deleted stays beside its copy; the
/// next cycle moves it again. One that somebody still writes is not even copied: half a packet must not
/// travel.
bool MoveOneFile(const std::wstring& name, const std::wstring& from, const std::wstring& to,
                 const Procedure& self, const HostProgress& progress) {
    const std::wstring source = Path::Join(from, name);
    // The other side, too, may write to a shared folder now: a newer packet of the same name.
    const FileSystem::WriteBlock block(source);
    if (!block.Holds() && HasGone(source, from)) return false;
    const bool somebodyWrites = block.SomebodyWrites();
    if (!somebodyWrites) {
        const base::File& held = block.Held();
        bool cancelled = false;
        const auto goOn = [&] {
            com::ProcessPendingMessages();
            cancelled = progress.Cancelled();
            return !cancelled;
        };
        try {
            FileSystem::CopyReplacing(held, Path::Join(to, name), goOn);
        } catch (const base::Error&) {
            if (cancelled) return true;  // the source is where it was
            throw;
        }
    }
    try {
        block.Delete();
    } catch (const base::Error& error) {
        std::wstring text = Lines(L"Could not delete packet file: " + source +
                                      L" in the transporter's source folder. "
                                      L"Check your folder permissions for read/write/modify/delete access.",
                                  error.failure().description);
        if (somebodyWrites)
            text = Lines(std::move(text), L"Somebody still writes to it; it was not copied and stays for the "
                                          L"next transfer.");
        progress.StatusText(Lines(self.Name(), text));
        self.Report(text);
    }
    return true;
}

/// What the other side is still copying into the folder is none yet, and what it tests the folder with never
/// is. What it left half-way takes room.
FileSystem::Listing PacketsIn(const std::wstring& folder, const Procedure& self) {
    FileSystem::Listing listing = FileSystem::List(folder);
    std::erase_if(listing.files, [&](const FileSystem::FileEntry& file) {
        if (IsFolderTestFile(file.name)) return true;
        if (!FileSystem::IsArrival(file.name)) return false;
        const std::wstring path = Path::Join(folder, file.name);
        if (FileSystem::IsAbandonedArrival(path))
            self.Report(L"The file " + path +
                        L" is left of a copy that ended half-way, when a computer or a connection failed. "
                        L"Its source is where it was; delete it.");
        return true;
    });
    return listing;
}

/// In the next transfer, too, the second file of a name would replace the first one.
void RefuseName(const std::wstring& name, const std::wstring& from, const std::wstring& to,
                const Procedure& self, const HostProgress& progress) {
    const std::wstring text = base::TellOfTwin(name, from, to);
    progress.StatusText(Lines(self.Name(), text));
    self.Report(text);
}

}  // namespace

// --- Settings ---------------------------------------------------------------------------------------

void clsXCOPYSndRcv::ReadSettings(IZNPropertySet* settings) {
    SenderReceiver::ReadSettings(settings);
    if (!m_bMobile) return;
    m_sRemoteSendFolder = FolderSetting(settings, L"REMOTE_SEND_FOLDER", true, L"Incoming");
    m_sRemoteReceiveFolder = FolderSetting(settings, L"REMOTE_RECEIVE_FOLDER", true, L"Outgoing");
}

void clsXCOPYSndRcv::WriteSettings(IZNPropertySet* settings) const {
    SenderReceiver::WriteSettings(settings);
    if (!m_bMobile) return;
    SetProperty(settings, L"REMOTE_SEND_FOLDER", m_sRemoteSendFolder);
    SetProperty(settings, L"REMOTE_RECEIVE_FOLDER", m_sRemoteReceiveFolder);
}

// --- Transfer ---------------------------------------------------------------------------------------

bool clsXCOPYSndRcv::IZNSenderReceiver_Send(IUnknown* ProgressObject) {
    const Procedure self(L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Send");
    return self.Guard(false, [&] {
        const HostProgress progress(ProgressObject);
        // The host may set other folders while its messages are processed.
        const std::wstring from = m_sLocalSendFolder;
        const std::wstring to = m_sRemoteSendFolder;
        if (from.empty()) return self.Fail(L"one or more of the Send folders are not set");
        if (to.empty()) return true;
        progress.SetRange(0, 1);
        progress.StatusText(L"Send Packets");
        if (!FileSystem::FolderExists(from) || base::EqualsIgnoringCase(from, to)) return true;
        if (FileSystem::IsReachedByWebDavClient(to))
            return self.Fail(L"The folder " + to +
                             L" is reached through the WebDAV client of Windows, which does not tell whether "
                             L"the server has stored a file: packets could be lost, and stay here. Move them "
                             L"through HTTPS, or to a shared folder.");
        progress.StatusText(L"Moving packets from local folder");
        return Exclusively(self, [&] { return IsComplete(SendFiles(from, to, progress), self, progress); });
    });
}

bool clsXCOPYSndRcv::IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) {
    const Procedure self(L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Receive");
    return self.Guard(false, [&] {
        const HostProgress progress(ProgressObject);
        if (m_sLocalReceiveFolder.empty())
            return self.Fail(L"one or more of the Receiver folders are not set");
        if (m_sRemoteReceiveFolder.empty()) return true;
        progress.SetRange(0, 1);
        progress.StatusText(L"Receive Packets");
        const std::wstring from = m_sRemoteReceiveFolder + L"\\" + FolderName;
        const std::wstring to = m_sLocalReceiveFolder + L"\\" + FolderName;
        if (!FileSystem::FolderExists(from) ||
            base::EqualsIgnoringCase(m_sLocalReceiveFolder, m_sRemoteReceiveFolder))
            return true;
        progress.StatusText(L"Moving packets to local folder");
        return Exclusively(
            self, [&] { return IsComplete(MoveFiles(from, to, nullptr, progress), self, progress); });
    });
}

bool clsXCOPYSndRcv::PrepareFolders(const std::wstring& source, const std::wstring& destination) const {
    RefuseOverlap(source, destination);
    return (FileSystem::FolderExists(source) || CreateFolders(source, SupressMsg)) &&
           (FileSystem::FolderExists(destination) || CreateFolders(destination, SupressMsg));
}

bool clsXCOPYSndRcv::SendFiles(const std::wstring& from, const std::wstring& to,
                               const HostProgress& progress) const {
    FilesToCome toCome(from);
    const bool moved = MoveFiles(from, to, &toCome, progress);
    const Procedure self(L"clsXCOPYSndRcv.cls.MoveFiles");
    for (const std::wstring& path : toCome.Gone())
        ReportGone(path, self, progress);
    return moved;
}

bool clsXCOPYSndRcv::MoveFiles(const std::wstring& Source, const std::wstring& Destination,
                               FilesToCome* toCome, const HostProgress& progress) const {
    const Procedure self(L"clsXCOPYSndRcv.cls.MoveFiles");
    return self.Guard(false, [&] {
        if (!PrepareFolders(Source, Destination)) return false;
        const FileSystem::Listing listing = PacketsIn(Source, self);
        if (toCome) toCome->HaveCome(Source, listing);
        const auto count = static_cast<LONG>(listing.files.size());
        if (count > 0) progress.SetRange(0, count);
        progress.AddMessage(L"Transferring " + std::to_wstring(count) + L" file(s)", ZN_PROGRESS_INFORMATION);

        const base::LocalNames names = base::NamesOf(listing);
        FileCounter done;
        for (const FileSystem::FileEntry& file : listing.files) {
            if (names.AreOne(file.name))
                RefuseName(file.name, Source, Destination, self, progress);
            else if (!MoveOneFile(file.name, Source, Destination, self, progress) && toCome)
                ReportGone(Path::Join(Source, file.name), self, progress);
            progress.Position(done.Next());
            com::ProcessPendingMessages();
            if (progress.Cancelled()) {
                progress.AddMessage(L"Interrupted by user", ZN_PROGRESS_INFORMATION);
                return true;
            }
        }
        // What fails in a sub-folder is reported there and leaves the others to be moved.
        for (const std::wstring& folder : listing.folders) {
            if (names.AreOne(folder))
                RefuseName(folder, Source, Destination, self, progress);
            else
                MoveFiles(Path::Join(Source, folder), Path::Join(Destination, folder), toCome, progress);
            if (progress.Cancelled()) break;
        }
        return true;
    });
}

// --- Administration ---------------------------------------------------------------------------------

std::wstring clsXCOPYSndRcv::DisplayName() { return StartupEntry(kNameEntry); }
