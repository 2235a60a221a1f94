// See LateBound.h.
#include "com/LateBound.h"

#include <dispex.h>

#include <algorithm>

#include "base/SystemError.h"
#include "com/ErrorInfo.h"

using Microsoft::WRL::ComPtr;

namespace com {

namespace {

/// What a callee says of its failure.
class Excuse {
public:
    Excuse() = default;
    Excuse(const Excuse&) = delete;
    Excuse& operator=(const Excuse&) = delete;
    ~Excuse() {
        SysFreeString(m_info.bstrSource);
        SysFreeString(m_info.bstrDescription);
        SysFreeString(m_info.bstrHelpFile);
    }

    EXCEPINFO* Put() noexcept { return &m_info; }
    base::Failure Failure(HRESULT result, base::Where where) {
        if (m_info.pfnDeferredFillIn) m_info.pfnDeferredFillIn(&m_info);
        if (result == DISP_E_EXCEPTION && FAILED(m_info.scode)) result = m_info.scode;
        std::wstring description = Text(m_info.bstrDescription);
        if (description.empty()) description = base::SystemText(static_cast<DWORD>(result));
        return {result, Text(m_info.bstrSource), std::move(description), where};
    }

private:
    EXCEPINFO m_info{};
};

/// Arguments as calls by number take them: the last one first.
class Parameters {
public:
    Parameters(std::vector<Variant> arguments, WORD flags) : m_arguments(std::move(arguments)) {
        std::ranges::reverse(m_arguments);
        for (const Variant& argument : m_arguments)
            m_raw.push_back(argument.Get());
        m_parameters.rgvarg = m_raw.data();
        m_parameters.cArgs = static_cast<UINT>(m_raw.size());
        if ((flags & DISPATCH_PROPERTYPUT) == 0) return;
        m_parameters.rgdispidNamedArgs = &m_value;
        m_parameters.cNamedArgs = 1;
    }
    Parameters(const Parameters&) = delete;
    Parameters& operator=(const Parameters&) = delete;
    ~Parameters() = default;

    DISPPARAMS* Get() noexcept { return &m_parameters; }

private:
    std::vector<Variant> m_arguments;
    std::vector<VARIANT> m_raw;  // owned by m_arguments
    DISPID m_value = DISPID_PROPERTYPUT;
    DISPPARAMS m_parameters{};
};

/// The form of an object that scripting engines prefer; some objects of theirs answer by no other. Null where
/// it has none.
ComPtr<IDispatchEx> Scripted(IDispatch* object) {
    ComPtr<IDispatchEx> scripted;
    object->QueryInterface(IID_PPV_ARGS(&scripted));
    return scripted;
}

}  // namespace

Variant Invoke(IDispatch* object, DISPID member, WORD flags, std::vector<Variant> arguments,
               base::Where where) {
    const ComPtr<IDispatch> held(object);
    Parameters parameters(std::move(arguments), flags);
    Variant result;
    VARIANT* const place = (flags & DISPATCH_PROPERTYPUT) == 0 ? result.Put() : nullptr;
    Excuse excuse;
    const auto scripted = Scripted(object);
    const HRESULT code = scripted ? scripted->InvokeEx(member, LOCALE_USER_DEFAULT, flags, parameters.Get(),
                                                       place, excuse.Put(), nullptr)
                                  : held->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags,
                                                 parameters.Get(), place, excuse.Put(), nullptr);
    ClearErrorInfo();
    if (FAILED(code)) throw base::Error(excuse.Failure(code, where));
    return result;
}

std::optional<DISPID> LateBound::Find(const wchar_t* member) const {
    DISPID id = DISPID_UNKNOWN;
    const Bstr name(member);
    LPOLESTR names = name.Get();
    const auto scripted = Scripted(m_object.Get());
    const HRESULT result = scripted ? scripted->GetDispID(name.Get(), fdexNameCaseInsensitive, &id)
                                    : m_object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
    ClearErrorInfo();
    return SUCCEEDED(result) ? std::optional(id) : std::nullopt;
}

bool LateBound::Call(const wchar_t* member, std::vector<Variant> arguments) const {
    const auto id = Find(member);
    if (id) Invoke(m_object.Get(), *id, DISPATCH_METHOD, std::move(arguments));
    return id.has_value();
}

bool LateBound::Put(const wchar_t* member, Variant value) const {
    const auto id = Find(member);
    if (id) Invoke(m_object.Get(), *id, DISPATCH_PROPERTYPUT, {std::move(value)});
    return id.has_value();
}

std::optional<Variant> LateBound::Get(const wchar_t* member) const {
    const auto id = Find(member);
    if (!id) return std::nullopt;
    return Invoke(m_object.Get(), *id, DISPATCH_METHOD | DISPATCH_PROPERTYGET, {});
}

}  // namespace com
