// COM in the calling thread.
#pragma once

#include <string>

#include "com/ActivationContext.h"

/// Everything that is made of COM lives inside its life time. Classes come from the libraries beside the
/// program where they are there, otherwise from the registry.
class ComApartment {
public:
    /// Throws base::Error.
    ComApartment();
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment();

private:
    /// The context from which COM made its classes outlives COM.
    const com::Activation m_activation;
};

/// Why the libraries beside the program cannot be used, as the system says it; empty when they can.
std::wstring AssembliesFailure();
