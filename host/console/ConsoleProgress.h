// Shows a running transfer and tells it when the user wants to stop.
#pragma once

#include <chrono>
#include <string>

#include "com/Object.h"
#include "host/console/Watchdog.h"
#include "znFrameworkUI.h"

/// Headlines and messages as lines; on a console a bar as well.
class ConsoleProgress final : public com::Object<IZNProgress> {
public:
    /// patience: after how long without a step the run ends; none for never.
    explicit ConsoleProgress(std::chrono::seconds patience) : m_watchdog(patience) {}

    STDMETHODIMP Reserved() override { return S_OK; }
    STDMETHODIMP SetRange(LONG Low, LONG High) override;
    STDMETHODIMP AddMessage(BSTR Text, LONG Level) override;
    STDMETHODIMP put_StatusText(BSTR Text) override;
    STDMETHODIMP put_Position(LONG Value) override;
    STDMETHODIMP get_Cancelled(VARIANT_BOOL* Value) override;

private:
    void ShowBar(LONG position) const;

    const Watchdog m_watchdog;
    LONG m_low = 0;
    LONG m_high = 1;
};
