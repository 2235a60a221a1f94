// See ComApartment.h.
#include "com/ComApartment.h"

#include <objbase.h>

#include "base/Module.h"
#include "base/SystemError.h"
#include "com/ErrorInfo.h"

namespace {

constexpr WORD kAssembliesManifest = 2;  // number of the resource

/// The assemblies are no part of the program's own manifest: without them it would not even start to say so.
com::ActivationContext AssembliesContext(const std::wstring& program) {
    ACTCTXW description{};
    description.cbSize = sizeof description;
    description.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID;
    description.lpSource = program.c_str();
    description.hModule = GetModuleHandleW(nullptr);
    description.lpResourceName = MAKEINTRESOURCEW(kAssembliesManifest);
    return com::ActivationContext(CreateActCtxW(&description));
}

}  // namespace

ComApartment::ComApartment() : m_activation(AssembliesContext(base::ProgramPath())) {
    com::Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), L"COM");
}

ComApartment::~ComApartment() { CoUninitialize(); }

std::wstring AssembliesFailure() {
    const std::wstring program = base::ProgramPath();
    const com::ActivationContext context = AssembliesContext(program);
    return context ? L"" : base::SystemText(GetLastError());
}
