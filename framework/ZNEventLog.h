// Event log of the host: the log of Windows, and a text file where the host wants one.
#pragma once

#include "com/server/ServerObject.h"
#include "znSystem.h"

class ZNEventLog final : public com::ServerObject<IZNEventLog> {
public:
    STDMETHODIMP Write(BSTR Message, LONG EventType) override;
};
