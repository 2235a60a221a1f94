// See ExternalProgram.h.
#include "encoders/ExternalProgram.h"

#include "common/modMain.h"
#include "services/Registry.h"

std::wstring RegisteredProgramFolder() {
    OpenMachineKey(ZNRegObject(), ZN_PRODUCT_FRAMEWORK, L"");
    return ReadText(ZNRegObject(), L"ZNBinDir");
}

std::wstring Quoted(const std::wstring& path) {
    const size_t separators = path.size() - (path.find_last_not_of(L'\\') + 1);
    return L"\"" + path + std::wstring(separators, L'\\') + L"\"";
}
