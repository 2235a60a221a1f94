// A received packet, as scripts see it.
#pragma once

#include <wrl/client.h>

#include "base/FolderTree.h"
#include "com/Result.h"
#include "com/server/ServerObject.h"
#include "transport/clsTransporter.h"

class ReceivedPacket final : public com::ServerObject<com::Dual<_Packet>> {
public:
    ReceivedPacket(clsTransporter* transporter, std::wstring receiveFolder, base::TreeFile file)
        : m_transporter(transporter), m_receiveFolder(std::move(receiveFolder)), m_file(std::move(file)) {}

    STDMETHODIMP get_Name(BSTR* Value) override { return com::Return(Value, m_file.name); }
    STDMETHODIMP get_SubFolder(BSTR* Value) override { return com::Return(Value, m_file.subFolder); }
    STDMETHODIMP get_Path(BSTR* Value) override;
    STDMETHODIMP get_Size(DOUBLE* Value) override;
    STDMETHODIMP Deliver(BSTR Folder, BSTR* FileName) override;

private:
    const Microsoft::WRL::ComPtr<clsTransporter> m_transporter;
    const std::wstring m_receiveFolder;
    const base::TreeFile m_file;
};
