// See Registry.h.
#include "services/Registry.h"

#include <wrl/client.h>

#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/modMain.h"
#include "services/MobileRegistry.h"

namespace {

com::Variant Read(IZNRegistry* registry, const std::wstring& name, const com::Variant& missing) {
    return com::Get<com::Variant>(&IZNRegistry::Read, registry, com::Bstr(name).Get(), missing.Get());
}

}  // namespace

void OpenMachineKey(IZNRegistry* registry, ZNRegistryProduct product, const std::wstring& subKey) {
    const auto hive = static_cast<LONG>(reinterpret_cast<LONG_PTR>(HKEY_LOCAL_MACHINE));
    com::Check(registry->Open(hive, product, com::Bstr(subKey).Get()), L"registry key " + subKey);
}

IZNRegistry* OpenTransportKey() {
    IZNRegistry* const registry = ZNRegObject();
    OpenMachineKey(registry, ZN_PRODUCT_MOBILE, MobileRegistry::kTransportKey);
    return registry;
}

std::wstring ReadText(IZNRegistry* registry, const std::wstring& name, const std::wstring& missing) {
    return Read(registry, name, com::Variant(missing)).Text();
}

std::wstring ReadNumberAsText(IZNRegistry* registry, const std::wstring& name, SHORT missing) {
    com::Variant number;
    VARIANT* const raw = number.Put();
    raw->vt = VT_I2;
    raw->iVal = missing;
    return Read(registry, name, number).Text();
}

LONG ReadNumber(IZNRegistry* registry, const std::wstring& name, SHORT missing) {
    const std::wstring value = ReadNumberAsText(registry, name, missing);
    return com::Variant(value).Number(L"registry value " + name + L" = " + value);
}
