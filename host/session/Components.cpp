// See Components.h.
#include "host/session/Components.h"

#include <algorithm>
#include <iterator>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Module.h"
#include "base/Path.h"
#include "com/ComApartment.h"
#include "com/Values.h"
#include "znFramework.h"

namespace {

/// What the program needs beside it, and does not find there.
std::wstring MissingFiles(const std::wstring& folder) {
    std::wstring names;
    for (const wchar_t* name : {L"znTransporter.dll", L"znFramework.dll"})
        if (!FileSystem::FileExists(Path::Join(folder, name))) names.append(L" ").append(name);
    return names.empty() ? L"" : L" Missing there:" + names;
}

/// Whether COM did not find the server of a class, or could not load it.
bool IsMissing(HRESULT result) {
    const HRESULT missing[] = {REGDB_E_CLASSNOTREG,
                               CO_E_DLLNOTFOUND,
                               CO_E_ERRORINDLL,
                               HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND),
                               HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND),
                               HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT),
                               HRESULT_FROM_WIN32(ERROR_SXS_CANT_GEN_ACTCTX)};
    return std::ranges::find(missing, result) != std::end(missing);
}

std::wstring Advice() {
    const std::wstring folder = Path::ParentFolder(base::ProgramPath());
    const std::wstring failure = AssembliesFailure();
    return L"\nPut znTransporter.dll and znFramework.dll of the " ZN_BITS L"-bit build into the folder " +
           folder + L", or register both with regsvr32." + MissingFiles(folder) +
           (failure.empty() ? L"" : L"\nWithout registration they cannot be used there: " + failure);
}

}  // namespace

void ThrowNotCreated(const wchar_t* component, const base::Error& error) {
    base::Failure failure = error.failure();
    failure.description = std::wstring(L"The component ").append(component) + L" cannot be created: " +
                          failure.description + (IsMissing(failure.number) ? Advice() : L"");
    throw base::Error(std::move(failure));
}

void ConfigureFramework(const Settings& settings) {
    const auto host =
        CreateComponent<ZNApplicationContext, IZNHostSettings>(L"znFramework.ZNApplicationContext");
    com::Check(host->put_UserInterface(settings.userInterface ? VARIANT_TRUE : VARIANT_FALSE));
    com::Check(host->put_LogFile(com::Bstr(settings.logFile).Get()), settings.logFile);
    // A framework in the place of ours may keep its log otherwise.
    if (Microsoft::WRL::ComPtr<IZNHostSettings2> limits; SUCCEEDED(host.As(&limits)))
        com::Check(limits->LimitLogFile(std::stol(settings.logSize), std::stol(settings.logKept)));
}
