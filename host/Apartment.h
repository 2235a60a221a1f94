// COM in the calling thread.
#pragma once

#include <windows.h>

/// Everything that is made of COM lives inside its life time. Classes come from the libraries beside the
/// program where they are there with their manifests, otherwise from the registry. Throws base::Error.
class ComApartment {
public:
    ComApartment();
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment();

private:
    HANDLE m_context = INVALID_HANDLE_VALUE;
    ULONG_PTR m_cookie = 0;
};
