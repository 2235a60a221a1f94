// COM in the calling thread.
#pragma once

#include <windows.h>

#include "base/Handle.h"

/// Everything that is made of COM lives inside its life time. Classes come from the libraries beside the
/// program where they are there with their manifests, otherwise from the registry.
class ComApartment {
public:
    /// Throws base::Error.
    ComApartment();
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment();

    /// ERROR_SUCCESS where there are libraries beside the program; otherwise why those are not used.
    DWORD AssembliesError() const noexcept { return m_assembliesError; }

private:
    struct ContextTraits {
        using Value = HANDLE;
        static Value None() noexcept { return INVALID_HANDLE_VALUE; }
        static void Close(Value context) noexcept { ReleaseActCtx(context); }
    };
    struct ActivationTraits {
        using Value = ULONG_PTR;
        static Value None() noexcept { return 0; }
        static void Close(Value cookie) noexcept { DeactivateActCtx(0, cookie); }
    };

    base::UniqueHandle<ContextTraits> m_context;
    base::UniqueHandle<ActivationTraits> m_activation;
    DWORD m_assembliesError = ERROR_SUCCESS;
};
