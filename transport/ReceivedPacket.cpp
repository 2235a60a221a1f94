// See ReceivedPacket.h.
#include "transport/ReceivedPacket.h"

#include "base/Path.h"
#include "services/ScriptMember.h"

STDMETHODIMP ReceivedPacket::get_Path(BSTR* Value) {
    return com::Return(Value, Path::Join(m_receiveFolder, m_file.RelativePath()));
}

STDMETHODIMP ReceivedPacket::get_Size(DOUBLE* Value) {
    return com::Return(Value, static_cast<DOUBLE>(m_file.size));
}

STDMETHODIMP ReceivedPacket::Deliver(BSTR Folder, BSTR* FileName) {
    return ScriptMember(L"znTransporter.Packet").Return(FileName, [&] {
        return m_transporter->DeliverPacket(m_receiveFolder, m_file, ScriptPath(com::Text(Folder)));
    });
}
