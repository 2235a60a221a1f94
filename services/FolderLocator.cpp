// See FolderLocator.h.
#include "services/FolderLocator.h"

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/Framework.h"

void FolderLocator::Open(const std::wstring& applicationName) {
    m_locator = CreateFrameworkObject<ZNMobileFolders, IZNMobileFolders>();
    com::Check(m_locator->put_ApplicationName(com::Bstr(applicationName).Get()), L"folder locator");
}

IZNMobileFolders* FolderLocator::Get() const {
    if (!m_locator)
        throw base::Error(E_UNEXPECTED, L"The folder locator is missing: set ApplicationName first.");
    return m_locator.Get();
}

std::wstring FolderLocator::FolderPath(bool enterprise, const wchar_t* kind) const {
    return com::Get<std::wstring>(&IZNMobileFolders::FolderPath, Get(),
                                  enterprise ? VARIANT_TRUE : VARIANT_FALSE, com::Bstr(kind).Get());
}
