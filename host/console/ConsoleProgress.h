// Shows a running transfer and tells it when the user wants to stop.
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "com/Object.h"
#include "host/console/Watchdog.h"
#include "znFrameworkUI.h"

/// What of a transfer the user is told.
enum class Telling { Everything, Failures, Nothing };

/// Headlines and messages as lines; on a console a bar as well.
class ConsoleProgress final : public com::Object<IZNProgress> {
public:
    /// patience: after how long without a step the run ends; none for never. beforeFirstFile: called with the
    /// first message: no transport moves anything without one.
    explicit ConsoleProgress(std::chrono::seconds patience, Telling telling = Telling::Everything,
                             std::function<void()> beforeFirstFile = {})
        : m_watchdog(patience), m_telling(telling), m_beforeFirstFile(std::move(beforeFirstFile)) {}

    /// The messages about failures, in their order.
    const std::vector<std::wstring>& Failures() const noexcept { return m_failures; }

    STDMETHODIMP Reserved() override { return S_OK; }
    STDMETHODIMP SetRange(LONG Low, LONG High) override;
    STDMETHODIMP AddMessage(BSTR Text, LONG Level) override;
    STDMETHODIMP put_StatusText(BSTR Text) override;
    STDMETHODIMP put_Position(LONG Value) override;
    STDMETHODIMP get_Cancelled(VARIANT_BOOL* Value) override;

private:
    void ShowBarInTime();
    std::wstring Bar() const;

    Watchdog m_watchdog;
    const Telling m_telling;
    std::function<void()> m_beforeFirstFile;  ///< until it was called
    std::vector<std::wstring> m_failures;
    LONG m_low = 0;
    LONG m_high = 1;
    LONG m_position = 0;
    // Milliseconds since the system started.
    ULONGLONG m_begun = GetTickCount64();
    ULONGLONG m_shown = GetTickCount64();
};
