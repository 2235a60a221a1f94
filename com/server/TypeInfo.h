// Descriptions of interfaces from the module's own type library.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <wrl/client.h>

#include <mutex>

namespace com {

/// The description of one interface, loaded when it is first asked for and kept for all objects until the
/// module can be unloaded.
class TypeInfoCache {
public:
    /// The cache lives as long as the module.
    explicit TypeInfoCache(REFIID id);
    TypeInfoCache(const TypeInfoCache&) = delete;
    TypeInfoCache& operator=(const TypeInfoCache&) = delete;
    ~TypeInfoCache() = default;

    /// Throws when the type library does not hold the interface.
    Microsoft::WRL::ComPtr<ITypeInfo> Get();

    /// Forgets every description: the module is about to be unloaded, when it is too late to call other
    /// modules.
    static void ReleaseAll() noexcept;

private:
    const IID m_id;
    std::mutex m_mutex;
    ITypeInfo* m_info =
        nullptr;  // not released by a destructor, which would run while the module is unloaded
    TypeInfoCache* m_next = nullptr;
};

}  // namespace com
