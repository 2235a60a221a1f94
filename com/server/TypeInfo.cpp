// See TypeInfo.h.
#include "com/server/TypeInfo.h"

#include <atomic>
#include <utility>

#include "base/Module.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"

using Microsoft::WRL::ComPtr;

namespace com {

namespace {

std::atomic<TypeInfoCache*> g_caches = nullptr;

ComPtr<ITypeInfo> TypeInfoOf(REFIID id) {
    const std::wstring path = base::ModulePath();
    ComPtr<ITypeLib> library;
    Check(LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library), path);
    ComPtr<ITypeInfo> info;
    Check(library->GetTypeInfoOfGuid(id, &info), Text(id));
    return info;
}

}  // namespace

TypeInfoCache::TypeInfoCache(REFIID id) : m_id(id), m_next(g_caches) {
    while (!g_caches.compare_exchange_weak(m_next, this)) {
    }
}

ComPtr<ITypeInfo> TypeInfoCache::Get() {
    const std::scoped_lock lock(m_mutex);
    if (!m_info) m_info = TypeInfoOf(m_id).Detach();
    return m_info;
}

void TypeInfoCache::ReleaseAll() noexcept {
    for (TypeInfoCache* cache = g_caches; cache; cache = cache->m_next) {
        const std::scoped_lock lock(cache->m_mutex);
        if (ITypeInfo* const info = std::exchange(cache->m_info, nullptr)) info->Release();
    }
}

}  // namespace com
