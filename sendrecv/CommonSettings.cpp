#include "sendrecv/CommonSettings.h"

#include "common/Registry.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"

IZNRegistry* OpenTransportKey() {
    IZNRegistry* const registry = ZNRegObject();
    OpenMachineKey(registry, ZN_PRODUCT_MOBILE, L"Transport");
    return registry;
}

void StoreTestedFolder(std::wstring& folder, const std::wstring& value, bool supressMsg,
                       std::wstring_view source) try {
    folder = value;
    CheckReadWriteDelete(value, supressMsg);
} catch (...) {
    ReportCurrentError(source);
}
