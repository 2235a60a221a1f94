// What scripts reach of the transporter: the behaviour of its contracts with names, collections and errors.
#include <algorithm>

#include "base/Arrival.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "base/Undo.h"
#include "base/WriteBlock.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/Report.h"
#include "packets/EncodedName.h"
#include "packets/PacketName.h"
#include "packets/ReplacedVersions.h"
#include "script/Collections.h"
#include "services/ScriptMember.h"
#include "transport/ReceivedPacket.h"
#include "transport/ScriptTransfer.h"
#include "transport/clsTransporter.h"

using com::Text;
using Microsoft::WRL::ComPtr;

namespace {

constexpr ScriptMember kScriptMember(L"znTransporter.clsTransporter");

/// The object that a script gave or left out.
ComPtr<IUnknown> OptionalObject(const VARIANT& argument) {
    const com::Variant value(argument);
    switch (value.Get().vt) {
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return value.Get().punkVal;
    case VT_EMPTY:
    case VT_NULL:
    case VT_ERROR:
        return nullptr;
    default:
        throw base::Error(DISP_E_TYPEMISMATCH, L"The progress object is no object.");
    }
}

std::wstring OptionalText(const VARIANT& argument) {
    const com::Variant value(argument);
    return value.IsEmpty() || value.Get().vt == VT_ERROR ? std::wstring() : value.Text();
}

/// Whether a relative path stays below every folder that it is joined to.
bool IsPlainPath(const std::wstring& path) {
    const std::wstring first = TopFolder(path);
    return Path::IsPlainName(first) &&
           (first.size() == path.size() || IsPlainPath(path.substr(first.size() + 1)));
}

void RefuseSubFolder(const std::wstring& subFolder, base::Where where = base::Where::current()) {
    if (!subFolder.empty() && !IsPlainPath(subFolder))
        throw base::Error(
            E_INVALIDARG,
            L"The sub-folder " + subFolder +
                L" is no path relative to the send and receive folders. Name folders below these, "
                L"with \\ between them.",
            where);
}

[[noreturn]] void Refuse(const std::wstring& packet, const wchar_t* reason) {
    throw base::Error(E_INVALIDARG, L"The packet " + packet + L" was not added: " + reason);
}

/// What would not reach the other side as the packet that it is must not leave this one.
void RefusePacket(const std::wstring& name, const std::wstring& subFolder) {
    const std::wstring packet = Path::Join(subFolder, name);
    if (IsBackupPath(packet))
        Refuse(packet, L"the receive folder keeps backups in the sub-folder Backup. Use another name.");
    if (IsKeptCopy(name))
        Refuse(packet, L"its name is that of a copy that is kept of a replaced file. Give it another name.");
}

template <class Interface>
ComPtr<Interface> Optional(IUnknown* object) {
    ComPtr<Interface> other;
    object->QueryInterface(IID_PPV_ARGS(&other));
    return other;
}

/// Whether an encoder is one of the library's own; others know what they can.
bool IsOwn(IZNEncoder* encoder) {
    return Optional<_clsXDeltaEncoder>(encoder) || Optional<_clsZipEncoder>(encoder);
}

/// The file that differences are made against; empty for an encoder that makes none, or has none.
std::wstring ReferenceOf(IZNEncoder* encoder) {
    const auto delta = Optional<_clsXDeltaEncoder>(encoder);
    return delta ? com::Get<std::wstring>(&_clsXDeltaEncoder::get_ReferencePath, delta.Get())
                 : std::wstring();
}

/// What one of the library's own encoders makes of a packet in a folder.
std::wstring EncodedFile(IZNEncoder* encoder, const std::wstring& folder, const std::wstring& name) {
    const auto extension = com::Get<std::wstring>(&IZNEncoder::get_OutExtension, encoder);
    return Path::Join(folder, name + EncodedEnding(Path::BaseName(ReferenceOf(encoder)), extension));
}

/// What the library's own encoders make of a packet must be restored by them.
void RefuseEncoding(IZNEncoder* encoder, const std::wstring& file) {
    if (!IsOwn(encoder)) return;
    if (!IsDecodedUnderItsName(Path::FileName(file)))
        Refuse(file,
               L"the other side restores a packet under its name only when that ends with .mdb or .xml. "
               L"Let no encoder take it.");
    if (const auto version = FileSystem::VersionOf(file); version && version->size == 0)
        Refuse(file, L"it is empty, and encoded packets must not be.");
    const std::wstring reference = ReferenceOf(encoder);
    if (!reference.empty() && !CanBeReference(Path::FileName(reference)))
        Refuse(file, L"the other side finds no reference by such a name: a reference file is named *.AXR, "
                     L"without a ~, on both sides. Set ReferencePath to one.");
}

/// What one of the library's own decoders restores from a file. Its program would write over any file of
/// another name, and no attempt would succeed.
std::wstring DecodedName(IZNEncoder* decoder, const std::wstring& file) {
    const std::wstring name = Path::BaseName(file);
    std::wstring packet = Optional<_clsXDeltaEncoder>(decoder) ? SplitDifferenceName(name).packet : name;
    if (!IsDecodedUnderItsName(packet))
        throw base::Error(E_INVALIDARG,
                          L"The packet " + file +
                              L" was not delivered: its decoder restores a packet under its name only when "
                              L"that ends with .mdb or .xml. Have it sent under such a name, or as it is.");
    return packet;
}

/// All packets in a folder and below it. A folder below that cannot be listed is reported and leaves the
/// others.
std::vector<base::TreeFile> PacketsBelow(const std::wstring& folder, const Procedure& member,
                                         base::Links links = base::Links::Left) {
    const auto report = [&](const std::wstring& subFolder, const std::wstring& reason) {
        if (subFolder.empty()) throw base::Error(E_FAIL, reason);
        member.Report(Lines(reason, L"Folder: " + Path::Join(folder, subFolder)));
    };
    std::vector<base::TreeFile> files = base::FilesBelow(folder, report, links);
    std::erase_if(files, [](const base::TreeFile& file) { return FileSystem::IsArrival(file.name); });
    return files;
}

/// What was received and waits to be delivered.
std::vector<base::TreeFile> ReceivedBelow(const std::wstring& folder, const Procedure& member) {
    std::vector<base::TreeFile> files = PacketsBelow(folder, member, base::Links::Followed);
    std::erase_if(files, [](const base::TreeFile& file) { return IsBackupPath(file.RelativePath()); });
    return files;
}

/// The backup would take its place, and it has none itself yet.
void RefuseToReplaceReceived(const std::wstring& packetId, const std::wstring& receiveFolder) {
    const HeardReports unlisted;
    const auto received = ReceivedBelow(receiveFolder, Procedure(L"clsTransporter.cls.RestoreBackup"));
    if (unlisted.Any())
        throw unlisted.AsError(L"The backup of the packet " + packetId +
                               L" was not restored: a version that was received since may wait where the "
                               L"receive folder cannot be listed.");
    for (const base::TreeFile& file : received)
        if (IsSameName(GetPacketId(file.name), packetId))
            throw base::Error(E_INVALIDARG, L"The backup of the packet " + packetId +
                                                L" was not restored: a version that was received since waits "
                                                L"in " +
                                                Path::Join(receiveFolder, file.RelativePath()) +
                                                L". Deliver that first.");
}

template <class Values>
ComPtr<_Collection> CollectionOf(const Values& values) {
    const auto collection = com::Make<script::Collection>();
    for (const auto& value : values)
        collection->Add(com::Variant(value));
    return collection.Get();
}

}  // namespace

/// What a script has forgotten is no failure for the event log.
void clsTransporter::DemandSenderReceiver() const {
    if (!m_senderReceiver)
        throw base::Error(E_UNEXPECTED,
                          L"There is no sender/receiver. Set SenderReceiver to a clsXCOPYSndRcv, "
                          L"a clsFTPSndRcv or a clsHTTPSndRcv first.");
}

void clsTransporter::DemandFolders() const {
    DemandSenderReceiver();
    if (LocalSendFolder().empty() || LocalReceiveFolder().empty())
        throw base::Error(E_UNEXPECTED, L"The send or the receive folder is missing. Set SendFolder and "
                                        L"ReceiveFolder first.");
}

void clsTransporter::SetFolder(HRESULT (STDMETHODCALLTYPE IZNSenderReceiver::*setter)(BSTR),
                               const std::wstring& folder) {
    DemandSenderReceiver();
    const ComPtr<IZNSenderReceiver> remote = m_senderReceiver;
    FileSystem::CreateFolders(folder);
    com::Check((remote.Get()->*setter)(com::Bstr(folder).Get()));
}

// --- Sending ----------------------------------------------------------------------------------------

/// A backup that stayed would travel beside its packet, or be in the way of the next one.
void clsTransporter::SettleBackups(IZNEncoder* encoder, const std::vector<base::TreeFile>& files) const {
    const auto extension = com::Get<std::wstring>(&IZNEncoder::get_OutExtension, encoder);
    for (const base::TreeFile& file : files)
        SettleBackup(LocalSendFolder(), file, extension);
}

/// A folder that cannot be listed is the transfer's to report.
void clsTransporter::SettleAllBackups() const {
    const auto encoders = m_encoders;  // a getter is the host's, and may assign more of them
    if (encoders.empty()) return;
    const auto files = base::FilesBelow(LocalSendFolder(), [](const auto&, const auto&) {});
    for (const ComPtr<IZNEncoder>& encoder : encoders)
        SettleBackups(encoder.Get(), files);
}

void clsTransporter::AddPacket(const std::wstring& file, const std::wstring& subFolder) {
    DemandFolders();
    const std::wstring name = Path::FileName(file);
    RefuseSubFolder(subFolder);
    RefusePacket(name, subFolder);
    const ComPtr<IZNEncoder> encoder = EncoderFor(&IZNEncoder::get_InExtension, name);
    if (!encoder && EncoderFor(&IZNEncoder::get_OutExtension, name))
        Refuse(file,
               L"its extension is that of an encoded packet, which the other side would decode. Give it "
               L"another name.");
    if (encoder) RefuseEncoding(encoder.Get(), file);
    // In the middle of an encoder's work a backup must stay: put back, it would pass for what the encoder
    // made.
    const bool isOutermost = m_adding++ == 0;
    const base::RollBack end([this] { --m_adding; });
    const auto settle = [&] {
        if (encoder && isOutermost) SettleBackups(encoder.Get(), base::FilesIn(LocalSendFolder(), subFolder));
    };
    settle();
    const std::wstring folder = Path::Join(LocalSendFolder(), subFolder);
    const Procedure self(L"clsTransporter.cls.Add");
    Demand(L"The packet " + file + L" was not added to the send folder. It stays where it is.", [&] {
        return IZNTransporter_Add(file, subFolder) && self.Guard(false, [&] {
            if (encoder && IsOwn(encoder.Get())) RefuseEmptyFile(EncodedFile(encoder.Get(), folder, name));
            return true;
        });
    });
    try {
        settle();
    } catch (const base::Error&) {
        // The packet waits all the same, and the transfer settles what is left.
    }
    // A copy that cannot be deleted when it was sent would travel again and again.
    FileSystem::MakeWritable(Path::Join(folder, name));
}

/// A version that somebody saves after this one was added must not be deleted in its place.
void clsTransporter::MovePacket(const std::wstring& file, const std::wstring& subFolder) {
    const FileSystem::WriteBlock block(file);
    block.Held();
    AddPacket(file, subFolder);
    const bool isSame = [&] {
        try {
            return block.Delete(FileSystem::ReadOnlyFiles::Delete);
        } catch (const base::Error&) {
            base::ThrowWith(L"The packet waits in the send folder, and is still at its place, too.");
        }
    }();
    if (!isSame)
        throw base::Error(E_FAIL, L"Another version of the packet " + file +
                                      L" was saved while this one was added. It stays for the next call.");
}

/// One that cannot be moved leaves the others.
LONG clsTransporter::MovePackets(const std::wstring& folder) {
    DemandFolders();
    if (!FileSystem::FolderExists(folder))
        throw base::Error(E_INVALIDARG,
                          L"There is no folder " + folder + L" of which packets could be moved.");
    for (const std::wstring& own : {ScriptPath(LocalSendFolder()), ScriptPath(LocalReceiveFolder())})
        if (base::LiesIn(folder, own))
            throw base::Error(E_INVALIDARG, L"The packets of " + folder + L" were not moved: the folder " +
                                                own +
                                                L" lies in it. Name a folder that holds packets alone.");
    const HeardReports unlisted;
    LONG moved = 0;
    std::wstring refusals;
    std::vector<base::TreeFile> packets = PacketsBelow(folder, Procedure(L"clsTransporter.cls.MoveAll"));
    std::erase_if(packets, [](const base::TreeFile& file) { return IsCompanionFile(file.name); });
    const base::LocalNames paths = base::PathsOf(packets);
    for (const base::TreeFile& file : packets) {
        try {
            // A share can tell such names apart; in the send folder the second one would replace the first.
            if (paths.AreOne(file.RelativePath()))
                throw base::Error(E_FAIL,
                                  L"Another packet has the same path as " + file.RelativePath() +
                                      L" but for the case of letters. Both stay; rename or remove one "
                                      L"of them.");
            MovePacket(Path::Join(folder, file.RelativePath()), file.subFolder);
            ++moved;
        } catch (...) {
            refusals.append(kCrLf).append(base::CurrentFailure().description);
        }
    }
    const std::wstring result = std::to_wstring(moved) + L" packet(s) of the folder " + folder +
                                L" wait to be sent now, but not all of it:" + refusals;
    if (unlisted.Any()) throw unlisted.AsError(result);
    if (!refusals.empty()) throw base::Error(E_FAIL, result);
    return moved;
}

bool clsTransporter::Transfer(IUnknown* progress, const std::wstring& subFolder) {
    DemandFolders();
    RefuseSubFolder(subFolder);
    if (m_transferring)
        throw base::Error(E_UNEXPECTED,
                          L"SendReceive is at work already. Call it again when that call has returned.");
    if (m_adding > 0)
        throw base::Error(E_UNEXPECTED, L"A packet is being added at the moment. Call SendReceive again when "
                                        L"that call has returned.");
    SettleAllBackups();
    const auto transfer = com::Make<ScriptTransfer>(this, progress);
    const ComPtr<IZNSenderReceiver> remote = m_senderReceiver;
    m_cancelled = false;
    m_transferring = true;
    const base::RollBack end([this] { m_transferring = false; });
    const HeardReports heard;
    const bool moved =
        IZNTransporter_SendReceive(com::Bstr(subFolder).Get(), static_cast<IZNProgress*>(transfer.Get()));
    const bool stopped =
        transfer->WasStopped() || com::Get<bool>(&IZNSenderReceiver::get_LoginCancelled, remote.Get());
    if (heard.Any() || (!moved && !stopped))
        throw heard.AsError(
            L"Not everything could be sent and received. What was not is where it was; the next "
            L"SendReceive moves it.");
    return moved && !stopped;
}

// --- Receiving --------------------------------------------------------------------------------------

/// Of a packet that came in several forms the newest must be the last to be delivered.
ComPtr<_Collection> clsTransporter::ReceivedPackets() {
    DemandFolders();
    const std::wstring folder = ScriptPath(LocalReceiveFolder());
    std::vector<std::pair<std::uint64_t, base::TreeFile>> found;
    for (base::TreeFile& file : ReceivedBelow(folder, Procedure(L"clsTransporter.cls.Received")))
        if (const auto version = FileSystem::VersionOf(Path::Join(folder, file.RelativePath())))
            found.emplace_back(version->lastWrite, std::move(file));
    std::ranges::stable_sort(found, {}, [](const auto& packet) { return packet.first; });
    const auto packets = com::Make<script::Collection>();
    for (auto& [time, file] : found)
        packets->Add(com::Variant::Object(com::Make<ReceivedPacket>(this, folder, std::move(file)).Get()));
    return packets.Get();
}

std::wstring clsTransporter::DeliverPacket(const std::wstring& receiveFolder, const base::TreeFile& packet,
                                           const std::wstring& folder) {
    const std::wstring file = Path::Join(receiveFolder, packet.RelativePath());
    if (folder.empty() || base::LiesIn(receiveFolder, folder))
        throw base::Error(E_INVALIDARG,
                          L"The packet " + file +
                              L" was not delivered: name a folder that does not lie in the receive "
                              L"folder.");
    if (IsKeptCopy(packet.name) || IsFolderTestFile(packet.name))
        throw base::Error(E_INVALIDARG,
                          L"The packet " + file +
                              L" was not delivered: its name is one that deliveries use themselves, "
                              L"and would delete. Give it another name.");
    if (!FileSystem::FileExists(file))
        throw base::Error(
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
            L"The packet " + file +
                L" is not in the receive folder any more: it was delivered already, or somebody has "
                L"removed it.");
    const std::wstring destination = Path::Join(folder, packet.subFolder);
    const ComPtr<IZNEncoder> decoder = EncoderFor(&IZNEncoder::get_OutExtension, packet.name);
    // Deliveries delete no read-only file: what is replaced would stay as _bak or _bck, and a packet that was
    // decoded be so once more, over what somebody has made of it meanwhile.
    if (!decoder) {
        FileSystem::MakeWritable(Path::Join(destination, packet.name));
    } else if (IsOwn(decoder.Get())) {
        FileSystem::MakeWritable(Path::Join(destination, DecodedName(decoder.Get(), file)));
        FileSystem::MakeWritable(file);
    }
    FileSystem::CreateFolders(destination);
    std::wstring fileName;
    const Procedure self(L"clsTransporter.cls.Deliver");
    Demand(L"The packet " + file + L" was not delivered into " + destination +
               L". As long as it is in the receive folder, Received offers it again.",
           [&] {
               return self.Guard(false, [&] {
                   return DeliverFile(self, file, destination, WithoutBackup::Stays, fileName);
               });
           });
    return fileName;
}

// --- Backups ----------------------------------------------------------------------------------------

/// A backup that could not be listed would seem to be missing.
void clsTransporter::ListAllBackups() {
    DemandFolders();
    const HeardReports unlisted;
    ListBackups();
    if (unlisted.Any())
        throw unlisted.AsError(L"Not all backups in " + BackupFolder(LocalReceiveFolder()) +
                               L" could be listed.");
}

std::wstring clsTransporter::KnownBackup(const std::wstring& packetId) {
    ListAllBackups();
    const std::optional<std::wstring> backup = m_backups.Find(packetId);
    if (!backup)
        throw base::Error(E_INVALIDARG, L"There is no backup of the packet " + packetId + L" in " +
                                            BackupFolder(LocalReceiveFolder()) +
                                            L". Backups holds the ids of the packets that have one.");
    return *backup;
}

// --- Binary contract --------------------------------------------------------------------------------

STDMETHODIMP clsTransporter::get_SenderReceiver(IDispatch** Value) {
    return com::Return(Value, [&] {
        ComPtr<IDispatch> object;
        if (m_senderReceiver) m_senderReceiver.As(&object);
        return object;
    });
}
STDMETHODIMP clsTransporter::putref_SenderReceiver(IDispatch* Value) {
    return kScriptMember.Call([&] {
        m_senderReceiver = !Value ? nullptr
                                  : ScriptObject<IZNSenderReceiver>(
                                        Value, L"a clsXCOPYSndRcv, a clsFTPSndRcv or another object with the "
                                               L"interface IZNSenderReceiver");
    });
}
STDMETHODIMP clsTransporter::get_SendFolder(BSTR* Value) {
    return kScriptMember.Return(Value, [&] { return LocalSendFolder(); });
}
STDMETHODIMP clsTransporter::put_SendFolder(BSTR Value) {
    return kScriptMember.Call(
        [&] { SetFolder(&IZNSenderReceiver::put_LocalSendFolder, ScriptPath(Text(Value))); });
}
STDMETHODIMP clsTransporter::get_ReceiveFolder(BSTR* Value) {
    return kScriptMember.Return(Value, [&] { return LocalReceiveFolder(); });
}
STDMETHODIMP clsTransporter::put_ReceiveFolder(BSTR Value) {
    return kScriptMember.Call(
        [&] { SetFolder(&IZNSenderReceiver::put_LocalReceiveFolder, ScriptPath(Text(Value))); });
}
STDMETHODIMP clsTransporter::AddEncoder(IDispatch* Encoder) {
    return kScriptMember.Call([&] {
        const auto encoder = ScriptObject<IZNEncoder>(
            Encoder, L"a clsZipEncoder, a clsXDeltaEncoder or another object with the interface IZNEncoder");
        com::Check(putref_Encoder(encoder.Get()));
    });
}
STDMETHODIMP clsTransporter::Add(BSTR FileName, VARIANT SubFolder) {
    return kScriptMember.Call([&] { AddPacket(ScriptPath(Text(FileName)), OptionalText(SubFolder)); });
}
STDMETHODIMP clsTransporter::Move(BSTR FileName, VARIANT SubFolder) {
    return kScriptMember.Call([&] { MovePacket(ScriptPath(Text(FileName)), OptionalText(SubFolder)); });
}
STDMETHODIMP clsTransporter::MoveAll(BSTR Folder, LONG* Count) {
    return kScriptMember.Return(Count, [&] { return MovePackets(ScriptPath(Text(Folder))); });
}
STDMETHODIMP clsTransporter::SendReceive(VARIANT Progress, VARIANT SubFolder, VARIANT_BOOL* Result) {
    return kScriptMember.Return(
        Result, [&] { return Transfer(OptionalObject(Progress).Get(), OptionalText(SubFolder)); });
}
STDMETHODIMP clsTransporter::Cancel() {
    return kScriptMember.Call([&] { m_cancelled = true; });
}
STDMETHODIMP clsTransporter::get_Received(_Collection** Value) {
    return kScriptMember.Return(Value, [&] { return ReceivedPackets(); });
}
STDMETHODIMP clsTransporter::get_Waiting(_Collection** Value) {
    return kScriptMember.Return(Value, [&] {
        DemandFolders();
        std::vector<std::wstring> paths;
        for (const auto& file : PacketsBelow(LocalSendFolder(), Procedure(L"clsTransporter.cls.Waiting")))
            if (!IsFolderTestFile(file.name))
                paths.push_back(Path::Join(LocalSendFolder(), file.RelativePath()));
        return CollectionOf(paths);
    });
}
STDMETHODIMP clsTransporter::get_Backups(_Collection** Value) {
    return kScriptMember.Return(Value, [&] {
        ListAllBackups();
        return CollectionOf(m_backups.Ids());
    });
}
STDMETHODIMP clsTransporter::RestoreBackup(BSTR PacketId) {
    return kScriptMember.Call([&] {
        const std::wstring backup = KnownBackup(Text(PacketId));
        RefuseToReplaceReceived(Text(PacketId), LocalReceiveFolder());
        Demand(L"The backup " + backup + L" was not restored. It stays where it is.",
               [&] { return Restore(backup); });
    });
}
STDMETHODIMP clsTransporter::DestroyBackup(BSTR PacketId) {
    return kScriptMember.Call(
        [&] { FileSystem::DeleteFile(KnownBackup(Text(PacketId)), FileSystem::ReadOnlyFiles::Delete); });
}
