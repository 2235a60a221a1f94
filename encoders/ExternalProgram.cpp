#include "encoders/ExternalProgram.h"

#include "common/Registry.h"
#include "common/modMain.h"

std::wstring RegisteredProgramFolder() {
    OpenMachineKey(ZNRegObject(), ZN_PRODUCT_FRAMEWORK, L"");
    return ReadText(ZNRegObject(), L"ZNBinDir");
}

std::wstring Quoted(const std::wstring& path) {
    return L"\"" + path + (path.ends_with(L'\\') ? L"\\" : L"") + L"\"";
}
