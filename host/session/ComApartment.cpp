// See ComApartment.h.
#include "host/session/ComApartment.h"

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

ComApartment::Initialisation::Initialisation() {
    com::Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), L"COM");
}
ComApartment::Initialisation::~Initialisation() { CoUninitialize(); }

ComApartment::ComApartment() : m_context(AssembliesContext()) {
    if (m_context) ActivateActCtx(m_context.Get(), m_activation.Put());
}
