// Serves the classes of one DLL without any registration, by the manifest beside it.
#pragma once

#include "base/SystemError.h"
#include "tests/win/support/Dll.h"

namespace tests {

/// While it exists, the calling thread finds the classes of bin\<assembly>.manifest.
class ActivationContext {
public:
    explicit ActivationContext(const std::wstring& assembly) {
        const std::wstring folder = BuildFolder() + L"\\bin";
        const std::wstring manifest = folder + L"\\" + assembly + L".manifest";
        ACTCTXW description{};
        description.cbSize = sizeof description;
        description.dwFlags = ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
        description.lpSource = manifest.c_str();
        description.lpAssemblyDirectory = folder.c_str();
        m_context = CreateActCtxW(&description);
        if (m_context == INVALID_HANDLE_VALUE) base::ThrowWin32(GetLastError(), manifest);
        if (!ActivateActCtx(m_context, &m_cookie)) {
            const DWORD error = GetLastError();
            ReleaseActCtx(m_context);
            base::ThrowWin32(error, manifest);
        }
    }
    ActivationContext(const ActivationContext&) = delete;
    ActivationContext& operator=(const ActivationContext&) = delete;
    ~ActivationContext() {
        DeactivateActCtx(0, m_cookie);
        ReleaseActCtx(m_context);
    }

private:
    HANDLE m_context = INVALID_HANDLE_VALUE;
    ULONG_PTR m_cookie = 0;
};

}  // namespace tests
