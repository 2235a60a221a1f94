// Shows a running transfer and tells it when the user wants to stop.
#pragma once

#include <string>

#include "com/Object.h"
#include "znFrameworkUI.h"

/// Headlines and messages as lines; on a console a bar as well.
class ConsoleProgress final : public com::Object<IZNProgress> {
public:
    STDMETHODIMP Reserved() override { return S_OK; }
    STDMETHODIMP SetRange(LONG Low, LONG High) override;
    STDMETHODIMP AddMessage(BSTR Text, LONG Level) override;
    STDMETHODIMP put_StatusText(BSTR Text) override;
    STDMETHODIMP put_Position(LONG Value) override;
    STDMETHODIMP get_Cancelled(VARIANT_BOOL* Value) override;

private:
    void ShowBar(LONG position) const;

    LONG m_low = 0;
    LONG m_high = 1;
};
