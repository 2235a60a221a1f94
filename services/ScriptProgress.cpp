// See ScriptProgress.h.
#include "services/ScriptProgress.h"

#include "base/SystemError.h"
#include "com/Result.h"
#include "com/Values.h"
#include "services/ScriptMember.h"

using com::Variant;

template <class Use>
HRESULT ScriptProgress::Tell(const wchar_t* member, Use&& use) {
    return com::Call([&] {
        try {
            use();
        } catch (...) {
            WarnOfScript(std::wstring(L"ScriptProgress.cls.") + member, L"The progress object of the script",
                         m_failed);
        }
    });
}

STDMETHODIMP ScriptProgress::SetRange(LONG Low, LONG High) {
    return Tell(L"SetRange", [&] { m_object.Call(L"SetRange", {Variant(Low), Variant(High)}); });
}

STDMETHODIMP ScriptProgress::AddMessage(BSTR Text, LONG Level) {
    return Tell(L"AddMessage", [&] {
        m_object.Call(L"AddMessage", {Variant(com::Text(Text)), Variant(Level)});
    });
}

// In JScript only a function learns that something was set.
STDMETHODIMP ScriptProgress::put_StatusText(BSTR Text) {
    return Tell(L"StatusText", [&] {
        const Variant text(com::Text(Text));
        if (!m_object.Call(L"SetStatusText", {text})) m_object.Put(L"StatusText", text);
    });
}

STDMETHODIMP ScriptProgress::put_Position(LONG Value) {
    return Tell(L"Position", [&] {
        if (!m_object.Call(L"SetPosition", {Variant(Value)})) m_object.Put(L"Position", Variant(Value));
    });
}

STDMETHODIMP ScriptProgress::get_Cancelled(VARIANT_BOOL* Value) {
    if (!Value) return E_POINTER;
    *Value = VARIANT_FALSE;
    return Tell(L"Cancelled", [&] {
        const auto cancelled = m_object.Get(L"Cancelled");
        if (cancelled && cancelled->Flag()) *Value = VARIANT_TRUE;
    });
}
