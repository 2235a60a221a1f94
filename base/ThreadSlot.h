// What each thread has of its own, in DLLs too.
#pragma once

#include <windows.h>

namespace base {

/// One pointer for each thread, null until the thread sets it. A thread_local object would keep a DLL loaded
/// for ever once it is touched; a plain slot does not.
template <class Value>
class ThreadSlot {
public:
    ThreadSlot() noexcept : m_index(TlsAlloc()) {}
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;
    ~ThreadSlot() { TlsFree(m_index); }

    Value* Get() const noexcept { return static_cast<Value*>(TlsGetValue(m_index)); }
    void Set(Value* value) const noexcept { TlsSetValue(m_index, value); }

private:
    DWORD m_index;
};

}  // namespace base
