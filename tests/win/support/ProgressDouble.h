// A progress object that writes down what it is told and can ask to stop.
#pragma once

#include <string>

#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "znFrameworkUI.h"

namespace tests {

class ProgressDouble final : public com::Object<IZNProgress> {
public:
    STDMETHODIMP Reserved() override {
        transcript += L"(reserved)";
        return S_OK;
    }
    STDMETHODIMP SetRange(LONG Low, LONG High) override {
        transcript += L"range " + std::to_wstring(Low) + L"-" + std::to_wstring(High) + L"|";
        return S_OK;
    }
    STDMETHODIMP AddMessage(BSTR Text, LONG Level) override {
        transcript += L"message " + std::to_wstring(Level) + L" " + com::Text(Text) + L"|";
        return S_OK;
    }
    STDMETHODIMP put_StatusText(BSTR Text) override {
        transcript += L"status " + com::Text(Text) + L"|";
        return S_OK;
    }
    STDMETHODIMP put_Position(LONG Value) override {
        transcript += std::to_wstring(Value) + L"|";
        position = Value;
        return S_OK;
    }
    STDMETHODIMP get_Cancelled(VARIANT_BOOL* Value) override {
        return com::Return(Value, [&] { return cancelAt >= 0 && position >= cancelAt; });
    }

    std::wstring transcript;
    LONG position = 0;
    LONG cancelAt = -1;  ///< position from which on the user wants to stop
};

}  // namespace tests
