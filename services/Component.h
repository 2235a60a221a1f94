// What every transport component is to the tools that administer it: a display name, categories in which
// hosts register it, and no administration dialog unless the component has one.
#pragma once

#include <wrl/client.h>

#include <string>

#include "com/Result.h"
#include "com/Values.h"
#include "com/server/ServerObject.h"
#include "common/Report.h"
#include "services/Branding.h"
#include "znTransporter.h"

/// ScriptInterface: the com::Dual that scripts reach the component by. Interfaces: its own contracts.
template <class ScriptInterface, class... Interfaces>
class Component
    : public com::ServerObject<ScriptInterface, Interfaces..., IZNMobileAdminProperties, IZNRegInCat> {
public:
    // IZNMobileAdminProperties
    STDMETHODIMP get_Name(BSTR* Value) final {
        return com::Return(Value, [&] {
            return Member(L"IZNMobileAdminProperties_Name").Guard(std::wstring(), [&] {
                return DisplayName();
            });
        });
    }
    STDMETHODIMP get_HasProperties(VARIANT_BOOL* Value) override { return com::Return(Value, false); }
    STDMETHODIMP Initialize(LONG, IUnknown*, IUnknown** Result) override { return com::ReturnNull(Result); }
    STDMETHODIMP Execute(LONG, IUnknown** Result) override { return com::ReturnNull(Result); }
    // IZNRegInCat
    STDMETHODIMP get_CategoriesToReg(VARIANT* Value) final {
        return com::Return(Value, [&] {
            return Member(L"IZNRegInCat_CategoriesToReg").Guard(com::Variant(), [&] {
                return CategoryCollection(m_category);
            });
        });
    }

protected:
    /// className: for reports.
    Component(std::wstring className, ZNCategoryCode category)
        : m_className(std::move(className)), m_category(category) {}

    /// For administration tools. Throws a failure.
    virtual std::wstring DisplayName() = 0;

    /// A member by its name in reports, "<class>.cls.<member>".
    Procedure Member(const wchar_t* name) const { return Procedure(m_className + L".cls." + name); }

private:
    const std::wstring m_className;
    const ZNCategoryCode m_category;
};
