// See clsTranMobileConfig.h.
#include "mobile/clsTranMobileConfig.h"

#include "com/Result.h"
#include "com/Values.h"
#include "common/Framework.h"
#include "ftp/settings/FtpSettings.h"
#include "script/Collections.h"
#include "services/MobileRegistry.h"
#include "services/Registry.h"
#include "services/ScriptMember.h"

using com::Call;
using com::Return;
using com::Text;
using Microsoft::WRL::ComPtr;
using namespace MobileRegistry;

namespace {

constexpr ScriptMember kScriptMember(L"znTransporter.clsTranMobileConfig");

// Names of the configuration; those that are not here are called like their registry value.
constexpr auto kHome = L"Home";
constexpr auto kXDeltaRefPath = L"XDeltaRefPath";

/// A folder that is configured by itself, or lies below the home of its side.
struct Folder {
    const wchar_t* name;
    const wchar_t* enterpriseValue;
    const wchar_t* fieldValue;
    const wchar_t* belowHome;
};
constexpr Folder kWorkingDir{L"WorkingDir", kEnterpriseWorkingDir, kFieldWorkingDir, L"\\WorkingDir"};
constexpr Folder kIncoming{L"Incoming", kEnterpriseIncoming, kFieldIncoming, L"\\Transport\\Incoming"};
constexpr Folder kOutgoing{L"Outgoing", kEnterpriseOutgoing, kFieldOutgoing, L"\\Transport\\Outgoing"};

/// Fills the tables of both sides. Each value is stored as soon as it is read: what fails leaves all that
/// came before.
class TableBuilder {
public:
    TableBuilder(script::Dictionary& enterprise, script::Dictionary& field)
        : m_enterprise(enterprise), m_field(field) {}

    void Build(const std::wstring& applicationName) {
        OpenMachineKey(m_registry.Get(), ZN_PRODUCT_MOBILE, L"");
        // A framework without its own product area fails here, before anything is read.
        OpenMachineKey(m_applicationRegistry.Get(), ZN_PRODUCT_FRAMEWORK, L"");
        AddMode();
        AddValues(kHome, kEnterpriseHome, kFieldHome);
        OpenMachineKey(m_registry.Get(), ZN_PRODUCT_MOBILE, kMobileKey);
        AddFolders(kWorkingDir);
        OpenMachineKey(m_registry.Get(), ZN_PRODUCT_MOBILE, kTransportKey);
        AddFolders(kIncoming);
        AddFolders(kOutgoing);
        AddReferencePaths(applicationName);
        AddTransferSettings();
    }

private:
    /// Mode 0: every path is configured. 1: paths lie below the home of their side. 2 and 3: so they do,
    /// but the enterprise uses the field's reference file.
    bool HasHomes() const { return m_mode != 0; }
    bool SharesFieldReference() const { return m_mode >= 2; }

    void AddMode() {
        constexpr LONG kModeBits = 3;
        m_mode = ReadNumber(m_registry.Get(), kMobileConfigValue, 0) & kModeBits;
        AddToBoth(kMobileConfigValue, std::to_wstring(m_mode));
    }

    void AddFolders(const Folder& folder) {
        if (!HasHomes()) return AddValues(folder.name, folder.enterpriseValue, folder.fieldValue);
        m_enterprise.Set(folder.name, Home(m_enterprise) + folder.belowHome);
        m_field.Set(folder.name, Home(m_field) + folder.belowHome);
    }

    void AddReferencePaths(const std::wstring& applicationName) {
        if (!HasHomes()) return AddValues(kXDeltaRefPath, kXDeltaRegPath, kXDeltaRegPath);
        const std::wstring subKey = std::wstring(kTransportKey) + L"\\" + applicationName;
        OpenMachineKey(m_applicationRegistry.Get(), ZN_PRODUCT_MOBILE, subKey);
        const std::wstring belowHome = L"\\" + subKey + L"\\" + kXDeltaReferenceFiles + L"\\" +
                                       ReadText(m_applicationRegistry.Get(), kXDeltaReference);
        m_field.Set(kXDeltaRefPath, Home(m_field) + belowHome);
        m_enterprise.Set(kXDeltaRefPath, Home(SharesFieldReference() ? m_field : m_enterprise) + belowHome);
    }

    void AddTransferSettings() {
        const auto addFolder = [&](const FtpSetting& folder, const wchar_t* missing) {
            AddToBoth(folder.configName, ReadText(m_registry.Get(), folder.configName, missing));
        };
        addFolder(kFtpEnterpriseToField, L"EnterpriseToField");
        addFolder(kFtpFieldToEnterprise, L"FieldToEnterprise");
        for (const FtpSetting& login : kFtpLoginSettings)
            AddValues(login.configName, login.configName, login.configName);
    }

    void AddValues(const wchar_t* name, const wchar_t* enterpriseValue, const wchar_t* fieldValue) {
        m_enterprise.Set(name, ReadText(m_registry.Get(), enterpriseValue));
        m_field.Set(name, ReadText(m_registry.Get(), fieldValue));
    }

    void AddToBoth(const wchar_t* name, const std::wstring& value) {
        m_enterprise.Set(name, value);
        m_field.Set(name, value);
    }

    static std::wstring Home(const script::Dictionary& side) { return side.Find(kHome).value_or(L""); }

    script::Dictionary& m_enterprise;
    script::Dictionary& m_field;
    // Objects of their own: the apartment's shared one may stand on a key that somebody else still reads.
    const ComPtr<IZNRegistry> m_registry = CreateFrameworkObject<ZNRegistry, IZNRegistry>();
    const ComPtr<IZNRegistry> m_applicationRegistry = CreateFrameworkObject<ZNRegistry, IZNRegistry>();
    LONG m_mode = 0;
};

}  // namespace

void clsTranMobileConfig::IZNMobileConfig_ApplicationName(const std::wstring& Name) {
    m_sApplicationName = Name;
    for (Side* const side : {&m_enterprise, &m_field})
        side->table = com::Make<script::Dictionary>(script::KeyComparison::IgnoringCase);
    TableBuilder(*m_enterprise.table.Get(), *m_field.table.Get()).Build(Name);
}

std::wstring clsTranMobileConfig::IZNMobileConfig_GetConfig(bool Enterprise, const std::wstring& ConfigName) {
    const auto& table = SideOf(Enterprise).table;
    return table ? table->Find(ConfigName).value_or(L"") : L"";
}

std::wstring clsTranMobileConfig::IZNMobileConfig_NextConfigName(bool Enterprise) {
    Side& side = SideOf(Enterprise);
    auto name = side.table ? side.table->KeyAt(side.next) : std::nullopt;
    if (!name) return {};
    ++side.next;
    return *name;
}

void clsTranMobileConfig::IZNMobileConfig_ResetConfigNames(bool Enterprise) { SideOf(Enterprise).next = 0; }

void clsTranMobileConfig::IZNMobileConfig_SetConfig(bool Enterprise, const std::wstring& ConfigName,
                                                    const std::wstring& ConfigValue) {
    const auto& table = SideOf(Enterprise).table;
    if (table) table->Set(ConfigName, ConfigValue);
}

HRESULT clsTranMobileConfig::SettingsOf(const Side& side, _Dictionary** Value) {
    return kScriptMember.Return(Value, [&] {
        if (!side.table)
            throw base::Error(E_UNEXPECTED, L"No settings have been read: set ApplicationName first.");
        return ComPtr<_Dictionary>(side.table.Get());
    });
}

// --- Binary contract --------------------------------------------------------------------------------

STDMETHODIMP clsTranMobileConfig::put_ApplicationName(BSTR Value) {
    return Call([&] { IZNMobileConfig_ApplicationName(Text(Value)); });
}

STDMETHODIMP clsTranMobileConfig::get_ApplicationName(BSTR* Value) {
    return Return(Value, m_sApplicationName);
}

STDMETHODIMP clsTranMobileConfig::GetConfig(VARIANT_BOOL Enterprise, BSTR ConfigName, BSTR* Value) {
    return Return(Value,
                  [&] { return IZNMobileConfig_GetConfig(Enterprise != VARIANT_FALSE, Text(ConfigName)); });
}

STDMETHODIMP clsTranMobileConfig::NextConfigName(VARIANT_BOOL Enterprise, BSTR* ConfigName) {
    return Return(ConfigName, [&] { return IZNMobileConfig_NextConfigName(Enterprise != VARIANT_FALSE); });
}

STDMETHODIMP clsTranMobileConfig::ResetConfigNames(VARIANT_BOOL Enterprise) {
    return Call([&] { IZNMobileConfig_ResetConfigNames(Enterprise != VARIANT_FALSE); });
}

STDMETHODIMP clsTranMobileConfig::SetConfig(VARIANT_BOOL Enterprise, BSTR ConfigName, BSTR ConfigValue) {
    return Call(
        [&] { IZNMobileConfig_SetConfig(Enterprise != VARIANT_FALSE, Text(ConfigName), Text(ConfigValue)); });
}
