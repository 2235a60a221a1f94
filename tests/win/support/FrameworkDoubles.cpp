// See FrameworkDoubles.h.
#include "tests/win/support/FrameworkDoubles.h"

#include "base/SystemError.h"
#include "com/Create.h"
#include "com/Object.h"
#include "framework/ZNLocale.h"
#include "framework/ZNPropertySet.h"
#include "tests/win/support/ComValues.h"
#include "znTransporter.h"

using com::Call;
using com::Return;
using com::Text;

namespace tests {

namespace {

Framework* g_current = nullptr;

/// A stand-in, counted while it lives.
template <class Interface>
class Double : public com::Object<Interface> {
protected:
    Double() { ++g_current->objects; }
    ~Double() override {
        if (g_current) --g_current->objects;
    }
};

class EventLog final : public Double<IZNEventLog> {
public:
    EventLog() { g_current->startUp += L"log, "; }

    STDMETHODIMP Write(BSTR Message, LONG EventType) override {
        const TempFolder* const scratch = g_current->scratch;
        const std::wstring text = scratch ? scratch->Shown(Text(Message)) : Text(Message);
        g_current->onLog();
        if (SUCCEEDED(g_current->logResult)) g_current->log.push_back({text, EventType});
        return g_current->logResult;
    }
};

class Startup final : public Double<IZNStartup> {
public:
    STDMETHODIMP Initialize(BSTR Title) override {
        g_current->startUp += L"service, ";
        return com::Assign(g_current->title, Title);
    }
    STDMETHODIMP Entry(LONG Number, VARIANT Arguments, VARIANT* Value) override {
        g_current->startUp += L"entry, ";
        return Return(Value, [&] {
            if (Arguments.vt != (VT_ARRAY | VT_VARIANT)) throw base::Error(E_INVALIDARG, L"no argument list");
            return Number == 145 ? Variant(Number) : Variant(g_current->resources.at(Number));
        });
    }
};

class Registry final : public Double<IZNRegistry> {
public:
    STDMETHODIMP Open(LONG, LONG Product, BSTR SubKey) override {
        m_key = std::to_wstring(Product) + L"/" + Text(SubKey) + L"/";
        return S_OK;
    }
    STDMETHODIMP Read(BSTR Name, VARIANT Default, VARIANT* Value) override {
        return Return(Value, [&] {
            const std::wstring entry = m_key + Text(Name);
            if (entry == g_current->unreadable) base::ThrowWin32(ERROR_ACCESS_DENIED, entry);
            g_current->defaults[entry] = Default.vt;
            const auto& values = g_current->registry;
            const auto found = values.find(entry);
            return found == values.end() ? Variant(Default) : Variant(found->second);
        });
    }
    STDMETHODIMP Write(BSTR Name, VARIANT Value) override {
        return Call([&] {
            const std::wstring entry = m_key + Text(Name);
            if (entry == g_current->unwritable) {
                g_current->afterRefusal();
                base::ThrowWin32(ERROR_ACCESS_DENIED, entry);
            }
            g_current->registry[entry] = Variant(Value).Text();
        });
    }

private:
    std::wstring m_key;
};

class BrandingResources final : public Double<IZNBrandingResources> {
public:
    BrandingResources() { g_current->startUp += L"texts, "; }

    STDMETHODIMP Text(VARIANT Id, BSTR* Value) override {
        g_current->startUp += L"text " + Variant(Id).Text();
        return Return(Value, [&] { return g_current->resources.at(Variant(Id).Number()); });
    }
};

class ApplicationContext final : public Double<IZNApplicationContext> {
public:
    STDMETHODIMP get_UserInterface(VARIANT_BOOL* Value) override {
        ++g_current->userInterfaceQuestions;
        const HRESULT result = Return(Value, g_current->userInterface);
        return FAILED(g_current->userInterfaceResult) ? g_current->userInterfaceResult : result;
    }
};

class Category final : public Double<IZNCategory> {
public:
    STDMETHODIMP CategoryId(LONG Code, BSTR* Value) override {
        return Return(Value, L"{category " + std::to_wstring(Code) + L"}");
    }
};

class MobileFolders final : public Double<IZNMobileFolders> {
public:
    STDMETHODIMP put_ApplicationName(BSTR Value) override { return com::Assign(m_application, Value); }
    STDMETHODIMP FolderPath(VARIANT_BOOL Enterprise, BSTR Kind, BSTR* Value) override {
        return Return(Value, [&] {
            if (m_application.empty()) throw base::Error(E_UNEXPECTED, L"no application name");
            return g_current->folders[(Enterprise ? L"E/" : L"F/") + Text(Kind)];
        });
    }

private:
    std::wstring m_application;
};

}  // namespace

Framework::Framework() {
    g_current = this;
    Serve<ZNEventLog, EventLog>();
    Serve<ZNStartup, Startup>();
    Serve<ZNRegistry, Registry>();
    Serve<ZNPropertySet, ZNPropertySet>();
    Serve<ZNBrandingResources, BrandingResources>();
    Serve<ZNApplicationContext, ApplicationContext>();
    Serve<ZNLocale, ZNLocale>();
    Serve<ZNCategory, Category>();
    Serve<ZNMobileFolders, MobileFolders>();
}

Framework::~Framework() { g_current = nullptr; }

template <class Class, class Double>
void Framework::Serve() {
    m_served.try_emplace(Text(__uuidof(Class)), __uuidof(Class),
                         [](REFIID id, void** object) { return com::Make<Double>().CopyTo(id, object); });
}

std::wstring Framework::TakeLogText() {
    std::wstring text;
    for (const LogEntry& entry : TakeLog())
        text += entry.text + L"\n--\n";
    return text;
}

void Framework::Remove(const CLSID& clsid) { m_served.erase(Text(clsid)); }

ComPtr<IZNPropertySet> Properties(const std::vector<std::pair<std::wstring, std::wstring>>& values) {
    ComPtr<IZNPropertySet> set = com::Make<ZNPropertySet>();
    for (const auto& [name, value] : values)
        set->SetProperty(In(name), Variant(value).Get());
    return set;
}

std::wstring PropertiesAsText(IZNPropertySet* set) {
    Variant names;
    Variant values;
    set->GetAllProperties(names.Put(), values.Put());
    const auto allNames = Texts(names);
    const auto allValues = Texts(values);
    std::wstring text;
    for (size_t i = 0; i < allNames.size(); ++i)
        text += allNames[i] + L"=" + allValues.at(i) + L"\n";
    return text;
}

}  // namespace tests
