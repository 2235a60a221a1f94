// What the hosting process allows, and where the host says so.
#pragma once

#include "com/server/ServerObject.h"
#include "znFramework.h"

class ZNApplicationContext final
    : public com::ServerObject<IZNApplicationContext, IZNHostSettings, IZNHostSettings2> {
public:
    STDMETHODIMP get_UserInterface(VARIANT_BOOL* Value) override;
    STDMETHODIMP put_UserInterface(VARIANT_BOOL Value) override;
    STDMETHODIMP put_LogFile(BSTR Path) override;
    STDMETHODIMP LimitLogFile(LONG Kilobytes, LONG Kept) override;
};
