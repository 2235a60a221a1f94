// A script's own object as a progress object: it is called by the names of its members.
#pragma once

#include <wrl/client.h>

#include "com/LateBound.h"
#include "com/Object.h"
#include "znFrameworkUI.h"

/// Members that the script's object lacks are skipped. One that fails is reported once, as a warning: a
/// mistake in it must not end a transfer, nor stay unseen.
class ScriptProgress final : public com::Object<IZNProgress> {
public:
    explicit ScriptProgress(IDispatch* object) : m_object(object) {}

    STDMETHODIMP Reserved() override { return S_OK; }
    STDMETHODIMP SetRange(LONG Low, LONG High) override;
    STDMETHODIMP AddMessage(BSTR Text, LONG Level) override;
    STDMETHODIMP put_StatusText(BSTR Text) override;
    STDMETHODIMP put_Position(LONG Value) override;
    STDMETHODIMP get_Cancelled(VARIANT_BOOL* Value) override;

private:
    template <class Use>
    HRESULT Tell(const wchar_t* member, Use&& use);

    const com::LateBound m_object;
    bool m_failed = false;
};
