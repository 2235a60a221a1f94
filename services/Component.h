// What every transport component is to the tools that administer it: a display name, and categories in which
// hosts register it.
#pragma once

#include <string>

#include "com/Result.h"
#include "com/Values.h"
#include "com/server/ServerObject.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "services/Branding.h"
#include "znTransporter.h"

/// DefaultInterface: the dual interface that scripts reach the component by. Interfaces: its own contracts.
template <class DefaultInterface, class... Interfaces>
class Component : public com::ServerObject<com::Dual<DefaultInterface>, Interfaces...,
                                           IZNMobileAdminProperties, IZNRegInCat> {
public:
    // IZNMobileAdminProperties
    STDMETHODIMP get_Name(BSTR* Value) final {
        return com::Return(Value, [&] { return IZNMobileAdminProperties_Name(); });
    }
    // IZNRegInCat
    STDMETHODIMP get_CategoriesToReg(VARIANT* Value) final {
        return com::Return(Value, [&] { return IZNRegInCat_CategoriesToReg(); });
    }

protected:
    /// className: for error sources.
    Component(std::wstring className, ZNCategoryCode category)
        : m_className(std::move(className)), m_category(category) {}

    /// For administration tools. Throws a failure.
    virtual std::wstring DisplayName() = 0;

    /// "<class>.cls.<member>"
    std::wstring Source(const wchar_t* member) const { return m_className + L".cls." + member; }

private:
    std::wstring IZNMobileAdminProperties_Name() try { return DisplayName(); } catch (...) {
        return StandardHandler(Source(L"IZNMobileAdminProperties_Name"), std::wstring());
    }
    com::Variant IZNRegInCat_CategoriesToReg() try { return CategoryCollection(m_category); } catch (...) {
        return StandardHandler(Source(L"IZNRegInCat_CategoriesToReg"), com::Variant());
    }

    const std::wstring m_className;
    const ZNCategoryCode m_category;
};
