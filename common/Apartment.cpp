// See Apartment.h.
#include "common/Apartment.h"

#include <windows.h>
#include <objidl.h>

#include <atomic>
#include <memory>
#include <new>

#include "base/ThreadSlot.h"
#include "com/ErrorInfo.h"
#include "com/Object.h"

namespace {

std::atomic<long> g_apartments = 0;

/// Tells when the thread leaves COM.
class LeaveWatcher final : public com::Unbound<IInitializeSpy> {
public:
    STDMETHODIMP PreInitialize(DWORD, DWORD) override { return S_OK; }
    STDMETHODIMP PostInitialize(HRESULT result, DWORD, DWORD) override { return result; }
    STDMETHODIMP PreUninitialize(DWORD count) override {
        if (count == 1) ReleaseThisApartment();
        return S_OK;
    }
    STDMETHODIMP PostUninitialize(DWORD) override { return S_OK; }
};

/// An apartment together with its watcher.
struct WatchedApartment : Apartment {
    WatchedApartment() {
        com::Check(CoRegisterInitializeSpy(com::Make<LeaveWatcher>().Get(), &m_cookie),
                   L"watching the apartment");
        ++g_apartments;
    }
    WatchedApartment(const WatchedApartment&) = delete;
    WatchedApartment& operator=(const WatchedApartment&) = delete;
    ~WatchedApartment() {
        CoRevokeInitializeSpy(m_cookie);
        --g_apartments;
    }

private:
    ULARGE_INTEGER m_cookie{};
};

const base::ThreadSlot<WatchedApartment> g_slot;

}  // namespace

Apartment& ThisApartment() {
    WatchedApartment* apartment = g_slot.Get();
    if (!apartment) {
        apartment = new WatchedApartment;
        g_slot.Set(apartment);
    }
    return *apartment;
}

bool ReleaseThisApartment() {
    // Out of the slot first: releasing an object may call back into the library.
    const std::unique_ptr<WatchedApartment> apartment(g_slot.Get());
    g_slot.Set(nullptr);
    return g_apartments == (apartment ? 1 : 0);
}
