// See ComApartment.h.
#include "com/ComApartment.h"

#include <objbase.h>

#include "com/ErrorInfo.h"

namespace {

constexpr WORD kAssembliesManifest = 2;  // number of the resource

/// The assemblies are no part of the program's own manifest: without them it would not even start to say so.
HANDLE AssembliesContext() {
    ACTCTXW description{};
    description.cbSize = sizeof description;
    description.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID;
    description.hModule = GetModuleHandleW(nullptr);
    description.lpResourceName = MAKEINTRESOURCEW(kAssembliesManifest);
    return CreateActCtxW(&description);
}

}  // namespace

ComApartment::ComApartment() {
    com::Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), L"COM");
    m_context = base::UniqueHandle<ContextTraits>(AssembliesContext());
    if (!m_context || !ActivateActCtx(m_context.Get(), m_activation.Put()))
        m_assembliesError = GetLastError();
}

/// The context from which COM made its classes outlives COM.
ComApartment::~ComApartment() {
    m_activation.Reset();
    CoUninitialize();
}
