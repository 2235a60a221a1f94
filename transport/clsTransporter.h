// The transporter: encodes packets into the send folder, drives the sender/receiver, delivers what was
// received.
#pragma once

#include <wrl/client.h>

#include <optional>
#include <string>
#include <vector>

#include "base/FileSystem.h"
#include "base/FolderTree.h"
#include "base/Rights.h"
#include "base/WriteBlock.h"
#include "com/Result.h"
#include "com/server/EventSource.h"
#include "com/server/ServerObject.h"
#include "common/Report.h"
#include "packets/PacketName.h"
#include "transport/BackupMap.h"
#include "znTransporter.h"

class clsTransporter final
    : public com::ServerObject<com::Dual<_clsTransporter>, IZNTransporter, IZNTransporter2,
                               com::EventSource<_clsTransporterEvents>,
                               com::ClassInfo<clsTransporter, _clsTransporterEvents>> {
public:
    // IZNTransporter
    STDMETHODIMP get_Encoder(IZNEncoder** Value) override { return com::Return(Value, m_shownEncoder); }
    STDMETHODIMP putref_Encoder(IZNEncoder* Value) override;
    STDMETHODIMP get_SenderReceiver(IZNSenderReceiver** Value) override {
        return com::Return(Value, m_senderReceiver);
    }
    STDMETHODIMP putref_SenderReceiver(IZNSenderReceiver* Value) override {
        return com::Assign(m_senderReceiver, Value);
    }
    STDMETHODIMP Add(BSTR FileName, BSTR SubFolder, VARIANT_BOOL* Result) override;
    STDMETHODIMP SendReceive(BSTR Argument, IUnknown* Progress, VARIANT_BOOL* Result) override;
    STDMETHODIMP ResetLocalReceiveFiles(BSTR SubFolder, LONG* Count) override;
    STDMETHODIMP NextLocalReceiveFile(BSTR DestinationFolder, BSTR* FileName, VARIANT_BOOL* Result) override;
    STDMETHODIMP ResetLocalSendFiles(BSTR SubFolder, LONG* Count) override;
    STDMETHODIMP NextLocalSendFile(BSTR* FileName, VARIANT_BOOL* Result) override;
    // IZNTransporter2
    STDMETHODIMP get_BackupEnabled(VARIANT_BOOL* Value) override {
        return com::Return(Value, m_bBackupEnabled);
    }
    STDMETHODIMP put_BackupEnabled(VARIANT_BOOL Value) override {
        return com::Assign(m_bBackupEnabled, Value);
    }
    STDMETHODIMP Reset() override;
    STDMETHODIMP Next(BSTR* PacketId) override;
    STDMETHODIMP BackupExists(BSTR PacketId, VARIANT_BOOL* Result) override;
    STDMETHODIMP RestoreBackup(BSTR PacketId, VARIANT_BOOL* Result) override;
    STDMETHODIMP DestroyBackup(BSTR PacketId, VARIANT_BOOL* Result) override;
    // _clsTransporter
    STDMETHODIMP get_SenderReceiver(IDispatch** Value) override;
    STDMETHODIMP put_SenderReceiver(IDispatch* Value) override { return putref_SenderReceiver(Value); }
    STDMETHODIMP putref_SenderReceiver(IDispatch* Value) override;
    STDMETHODIMP get_SendFolder(BSTR* Value) override;
    STDMETHODIMP put_SendFolder(BSTR Value) override;
    STDMETHODIMP get_ReceiveFolder(BSTR* Value) override;
    STDMETHODIMP put_ReceiveFolder(BSTR Value) override;
    STDMETHODIMP AddEncoder(IDispatch* Encoder) override;
    STDMETHODIMP Add(BSTR FileName, VARIANT SubFolder) override;
    STDMETHODIMP Move(BSTR FileName, VARIANT SubFolder) override;
    STDMETHODIMP MoveAll(BSTR Folder, LONG* Count) override;
    STDMETHODIMP SendReceive(VARIANT Progress, VARIANT SubFolder, VARIANT_BOOL* Result) override;
    STDMETHODIMP Cancel() override;
    STDMETHODIMP get_Received(_Collection** Value) override;
    STDMETHODIMP get_Waiting(_Collection** Value) override;
    STDMETHODIMP get_Backups(_Collection** Value) override;
    STDMETHODIMP RestoreBackup(BSTR PacketId) override;
    STDMETHODIMP DestroyBackup(BSTR PacketId) override;

    /// Delivers a packet of the receive folder for a script, and returns what it became. Throws a failure.
    std::wstring DeliverPacket(const std::wstring& receiveFolder, const base::TreeFile& packet,
                               const std::wstring& folder);
    const com::EventHandlers& Handlers() const noexcept { return m_handlers; }
    /// Whether a script has asked the transfer that runs to stop.
    bool IsCancelled() const noexcept { return m_cancelled; }

private:
    /// A list of full paths with the cursor of the member that walks it.
    struct FileList {
        std::vector<std::wstring> files;
        size_t next = 0;

        /// Starts a new list and returns its length.
        LONG Reset(std::vector<std::wstring> newFiles);
        std::optional<std::wstring> Next();
    };
    /// What a received file became, and the name to hand to the host.
    struct Delivery {
        bool done = false;
        std::wstring fileName;
    };
    /// What becomes of a received file of which no backup can be taken.
    enum class WithoutBackup { IsDelivered, Stays };
    using ExtensionMember = HRESULT (STDMETHODCALLTYPE IZNEncoder::*)(BSTR*);

    bool IZNTransporter_Add(const std::wstring& FileName, const std::wstring& SubFolder);
    bool IZNTransporter_SendReceive(BSTR Argument, IUnknown* Progress);
    LONG IZNTransporter_ResetLocalReceiveFiles(const std::wstring& SubFolder);
    bool IZNTransporter_NextLocalReceiveFile(const std::wstring& DestinationFolder, std::wstring& FileName);
    LONG IZNTransporter_ResetLocalSendFiles(const std::wstring& SubFolder);
    bool IZNTransporter_NextLocalSendFile(std::wstring& FileName);

    void IZNTransporter2_Reset();
    std::wstring IZNTransporter2_Next();
    bool IZNTransporter2_BackupExists(const std::wstring& PacketId) const;
    bool IZNTransporter2_RestoreBackup(const std::wstring& PacketId);
    bool IZNTransporter2_DestroyBackup(const std::wstring& PacketId);

    /// Whether the member can work; reports why not.
    bool SenderReceiverSet(const Procedure& member) const;
    /// The sender/receiver; throws while none is set.
    IZNSenderReceiver* Remote() const;
    std::wstring LocalSendFolder() const;
    std::wstring LocalReceiveFolder() const;
    bool ProvideFolder(const std::wstring& folder) const;
    /// Null when no encoder takes the file.
    Microsoft::WRL::ComPtr<IZNEncoder> EncoderFor(ExtensionMember extensionOf, const std::wstring& fileName);
    static std::vector<std::wstring> InitFileList(const std::wstring& Folder);
    /// Delivers a received file, with the name to hand to the host. False after a failure, which is reported.
    bool DeliverFile(const Procedure& member, const std::wstring& file, const std::wstring& destinationFolder,
                     WithoutBackup withoutBackup, std::wstring& fileName);
    Delivery Deliver(const Procedure& member, const std::wstring& file, const std::wstring& destinationFolder,
                     WithoutBackup withoutBackup);
    static Delivery Decode(IZNEncoder* encoder, const std::wstring& file, const FileSystem::WriteBlock& block,
                           const std::wstring& destinationFolder);
    Delivery MoveUnchanged(const Procedure& member, const std::wstring& file,
                           const std::wstring& destinationFolder);
    Delivery MoveBeside(const Procedure& member, const std::wstring& file, const std::wstring& target,
                        const std::wstring& backup);
    std::optional<std::wstring> BackupOf(const std::wstring& PacketId) const;
    static std::wstring BackupFolder(const std::wstring& receiveFolder) {
        return receiveFolder + L"\\" + std::wstring(kBackupFolder);
    }
    /// False where the folder for it cannot be written, which is reported.
    bool TakeBackup(const std::wstring& file, const std::wstring& receiveFolder);
    void AddToList(const std::wstring& Folder);
    void ListBackups();
    bool Restore(const std::wstring& backup);

    // What scripts' members do; see TransporterScripting.cpp.
    void DemandSenderReceiver() const;
    void DemandFolders() const;
    void SetFolder(HRESULT (STDMETHODCALLTYPE IZNSenderReceiver::*setter)(BSTR), const std::wstring& folder);
    void SettleBackups(IZNEncoder* encoder, const std::vector<base::TreeFile>& files) const;
    void SettleAllBackups() const;
    void AddPacket(const std::wstring& file, const std::wstring& subFolder);
    void MovePacket(const std::wstring& file, const std::wstring& subFolder);
    LONG MovePackets(const std::wstring& folder);
    bool Transfer(IUnknown* progress, const std::wstring& subFolder);
    Microsoft::WRL::ComPtr<_Collection> ReceivedPackets();
    void ListAllBackups();
    std::wstring KnownBackup(const std::wstring& packetId);

    const bool SupressMsg = false;
    std::vector<Microsoft::WRL::ComPtr<IZNEncoder>> m_encoders;  ///< of both ways, in order of assignment
    Microsoft::WRL::ComPtr<IZNEncoder> m_shownEncoder;           ///< assigned or chosen last
    Microsoft::WRL::ComPtr<IZNSenderReceiver> m_senderReceiver;
    FileList m_sendList;
    FileList m_receiveList;
    FileSystem::RightsOfFolders m_rights;  ///< of the folders of its files
    bool m_bBackupEnabled = false;
    BackupMap m_backups;
    bool m_transferring = false;  ///< for a script
    unsigned m_adding = 0;        ///< calls of a script that are at work, one within the other
    bool m_cancelled = false;
};
