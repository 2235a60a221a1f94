// A progress object that writes down what it is told and can ask to stop.
#pragma once

#include <functional>
#include <string>

#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "znFrameworkUI.h"

namespace tests {

class ProgressDouble final : public com::Object<IZNProgress> {
public:
    STDMETHODIMP Reserved() override { return Note(L"(reserved)"); }
    STDMETHODIMP SetRange(LONG Low, LONG High) override {
        return Note(L"range " + std::to_wstring(Low) + L"-" + std::to_wstring(High) + L"|");
    }
    STDMETHODIMP AddMessage(BSTR Text, LONG Level) override {
        return Note(L"message " + std::to_wstring(Level) + L" " + com::Text(Text) + L"|");
    }
    STDMETHODIMP put_StatusText(BSTR Text) override { return Note(L"status " + com::Text(Text) + L"|"); }
    STDMETHODIMP put_Position(LONG Value) override {
        position = Value;
        onPosition();
        return Note(std::to_wstring(Value) + L"|");
    }
    STDMETHODIMP get_Cancelled(VARIANT_BOOL* Value) override {
        const bool cancels = cancelAt >= 0 && position >= cancelAt;
        if (cancels && cancelsOnce) cancelAt = -1;
        return com::Return(Value, cancels);
    }

    std::wstring transcript;
    LONG position = 0;
    LONG cancelAt = -1;        ///< position from which on the user wants to stop
    bool cancelsOnce = false;  ///< and tells it to the first who asks alone
    std::function<void()> onPosition = [] {};

private:
    HRESULT Note(const std::wstring& text) {
        transcript += text;
        return S_OK;
    }
};

}  // namespace tests
