#include "tests/win/support/FrameworkDoubles.h"

#include <algorithm>
#include <memory>

#include "base/Error.h"
#include "base/SystemError.h"
#include "com/ErrorInfo.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"

using com::Call;
using com::Return;
using com::Text;
using Microsoft::WRL::ComPtr;

namespace tests {

namespace {

Framework* g_current = nullptr;

/// Counts a stand-in while it lives.
class Counted {
public:
    Counted() { ++Framework::Current().objects; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() {
        if (g_current) --g_current->objects;
    }
};

class EventLog final : public com::Object<IZNEventLog>, Counted {
public:
    STDMETHODIMP Write(BSTR Message, LONG EventType) override {
        Framework& framework = Framework::Current();
        if (FAILED(framework.logResult)) return framework.logResult;
        framework.log.push_back({Text(Message), EventType});
        return S_OK;
    }
};

class Startup final : public com::Object<IZNStartup>, Counted {
public:
    STDMETHODIMP Initialize(BSTR Title) override {
        Framework::Current().title = Text(Title);
        return S_OK;
    }
    STDMETHODIMP Entry(LONG Number, VARIANT Arguments, VARIANT* Value) override {
        return Return(Value, [&] {
            if (Arguments.vt != (VT_ARRAY | VT_VARIANT)) throw base::Error(E_INVALIDARG, L"no argument list");
            return Number == 145 ? com::Variant(Number)
                                 : com::Variant(Framework::Current().resources.at(Number));
        });
    }
};

class Registry final : public com::Object<IZNRegistry>, Counted {
public:
    STDMETHODIMP Open(LONG, LONG Product, BSTR SubKey) override {
        m_key = std::to_wstring(Product) + L"/" + Text(SubKey) + L"/";
        return S_OK;
    }
    STDMETHODIMP Read(BSTR Name, VARIANT Default, VARIANT* Value) override {
        return Return(Value, [&] {
            const std::wstring entry = m_key + Text(Name);
            if (entry == Framework::Current().unreadable) base::ThrowWin32(ERROR_ACCESS_DENIED, entry);
            Framework::Current().defaults[entry] = Default.vt;
            const auto& values = Framework::Current().registry;
            const auto found = values.find(entry);
            return found == values.end() ? com::Variant(Default) : com::Variant(found->second);
        });
    }
    STDMETHODIMP Write(BSTR Name, VARIANT Value) override {
        return Call([&] { Framework::Current().registry[m_key + Text(Name)] = com::Variant(Value).Text(); });
    }

private:
    std::wstring m_key;
};

class PropertySet final : public com::Object<IZNPropertySet> {
public:
    STDMETHODIMP GetProperty(BSTR Name, VARIANT* Value) override {
        return Return(Value, [&] {
            const auto found = std::ranges::find(m_names, Text(Name));
            return found == m_names.end() ? com::Variant()
                                          : m_values[static_cast<size_t>(found - m_names.begin())];
        });
    }
    STDMETHODIMP SetProperty(BSTR Name, VARIANT Value) override {
        m_names.push_back(Text(Name));
        m_values.emplace_back(Value);
        return S_OK;
    }
    STDMETHODIMP GetAllProperties(VARIANT* Names, VARIANT* Values) override {
        *Names = com::Variant::Array(m_names).Release();
        *Values = com::Variant::Array(m_values).Release();
        return S_OK;
    }

private:
    std::vector<std::wstring> m_names;
    std::vector<com::Variant> m_values;
};

class BrandingResources final : public com::Object<IZNBrandingResources>, Counted {
public:
    STDMETHODIMP Text(VARIANT Id, BSTR* Value) override {
        return Return(Value, [&] { return Framework::Current().resources.at(com::Variant(Id).Number()); });
    }
};

class ApplicationContext final : public com::Object<IZNApplicationContext>, Counted {
public:
    STDMETHODIMP get_UserInterface(VARIANT_BOOL* Value) override {
        Framework& framework = Framework::Current();
        ++framework.userInterfaceQuestions;
        if (FAILED(framework.userInterfaceResult)) return framework.userInterfaceResult;
        return Return(Value, [&] { return framework.userInterface; });
    }
};

class Locale final : public com::Object<IZNLocale>, Counted {
public:
    STDMETHODIMP get_RightToLeftReading(VARIANT_BOOL* Value) override {
        return Return(Value, [] { return Framework::Current().rightToLeft; });
    }
};

class Category final : public com::Object<IZNCategory>, Counted {
public:
    STDMETHODIMP CategoryId(LONG Code, BSTR* Value) override {
        return Return(Value, [&] { return L"{category " + std::to_wstring(Code) + L"}"; });
    }
};

class MobileFolders final : public com::Object<IZNMobileFolders>, Counted {
public:
    STDMETHODIMP put_ApplicationName(BSTR Value) override {
        m_application = Text(Value);
        return S_OK;
    }
    STDMETHODIMP FolderPath(VARIANT_BOOL Enterprise, BSTR Kind, BSTR* Value) override {
        return Return(Value, [&] {
            if (m_application.empty()) throw base::Error(E_UNEXPECTED, L"no application name");
            return Framework::Current().folders[(Enterprise ? L"E/" : L"F/") + Text(Kind)];
        });
    }

private:
    std::wstring m_application;
};

template <class Class>
class Factory final : public com::Object<IClassFactory> {
public:
    STDMETHODIMP CreateInstance(IUnknown*, REFIID id, void** object) override {
        return com::Make<Class>().CopyTo(id, object);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

template <class Class>
DWORD RegisterDouble(const CLSID& clsid) {
    DWORD cookie = 0;
    const auto factory = com::Make<Factory<Class>>();
    com::Check(CoRegisterClassObject(clsid, static_cast<IClassFactory*>(factory.Get()), CLSCTX_INPROC_SERVER,
                                     REGCLS_MULTIPLEUSE, &cookie));
    return cookie;
}

}  // namespace

Framework::Framework() {
    g_current = this;
    const auto add = [this](const CLSID& clsid, DWORD cookie) { m_registrations[Text(clsid)] = cookie; };
    add(__uuidof(ZNEventLog), RegisterDouble<EventLog>(__uuidof(ZNEventLog)));
    add(__uuidof(ZNStartup), RegisterDouble<Startup>(__uuidof(ZNStartup)));
    add(__uuidof(ZNRegistry), RegisterDouble<Registry>(__uuidof(ZNRegistry)));
    add(__uuidof(ZNPropertySet), RegisterDouble<PropertySet>(__uuidof(ZNPropertySet)));
    add(__uuidof(ZNBrandingResources), RegisterDouble<BrandingResources>(__uuidof(ZNBrandingResources)));
    add(__uuidof(ZNApplicationContext), RegisterDouble<ApplicationContext>(__uuidof(ZNApplicationContext)));
    add(__uuidof(ZNLocale), RegisterDouble<Locale>(__uuidof(ZNLocale)));
    add(__uuidof(ZNCategory), RegisterDouble<Category>(__uuidof(ZNCategory)));
    add(__uuidof(ZNMobileFolders), RegisterDouble<MobileFolders>(__uuidof(ZNMobileFolders)));
}

Framework::~Framework() {
    for (const auto& [clsid, cookie] : m_registrations)
        CoRevokeClassObject(cookie);
    g_current = nullptr;
}

Framework& Framework::Current() { return *g_current; }

std::wstring Framework::LogText() const {
    std::wstring text;
    for (const LogEntry& entry : log)
        text += entry.text + L"\n--\n";
    return text;
}

void Framework::Remove(const CLSID& clsid) {
    const auto found = m_registrations.find(Text(clsid));
    CoRevokeClassObject(found->second);
    m_registrations.erase(found);
}

ComPtr<IZNPropertySet> Properties(const std::vector<std::pair<std::wstring, std::wstring>>& values) {
    ComPtr<IZNPropertySet> set = com::Make<PropertySet>();
    for (const auto& [name, value] : values)
        set->SetProperty(com::Bstr(name).Get(), com::Variant(value).Get());
    return set;
}

std::wstring PropertiesAsText(IZNPropertySet* set) {
    com::Variant names;
    com::Variant values;
    set->GetAllProperties(names.Put(), values.Put());
    std::wstring text;
    const auto* name = static_cast<VARIANT*>(names.Get().parray->pvData);
    const auto* value = static_cast<VARIANT*>(values.Get().parray->pvData);
    for (ULONG i = 0; i < names.Get().parray->rgsabound[0].cElements; ++i)
        text += Text(name[i].bstrVal) + L"=" + Text(value[i].bstrVal) + L"\n";
    return text;
}

}  // namespace tests
