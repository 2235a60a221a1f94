// Owners of what the system hands out as handles.
#pragma once

#include <windows.h>

#include <utility>

namespace base {

/// Closes the handle at its end. Traits name the handle's type (Value), the value that stands for none (None)
/// and how one is closed (Close).
template <class Traits>
class UniqueHandle {
public:
    using Value = typename Traits::Value;

    UniqueHandle() noexcept = default;
    explicit UniqueHandle(Value value) noexcept : m_value(value) {}
    UniqueHandle(UniqueHandle&& other) noexcept : m_value(std::exchange(other.m_value, Traits::None())) {}
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(UniqueHandle other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~UniqueHandle() {
        if (*this) Traits::Close(m_value);
    }

    Value Get() const noexcept { return m_value; }
    explicit operator bool() const noexcept { return m_value != Traits::None(); }
    /// For an out-parameter; a handle that is held is closed.
    Value* Put() noexcept {
        Reset();
        return &m_value;
    }
    void Reset() noexcept { *this = UniqueHandle(); }
    /// Hands the handle over to the caller, who closes it.
    Value Release() noexcept { return std::exchange(m_value, Traits::None()); }

private:
    Value m_value = Traits::None();
};

/// Processes, mutexes and the like.
struct KernelHandleTraits {
    using Value = HANDLE;
    static Value None() noexcept { return nullptr; }
    static void Close(Value handle) noexcept { CloseHandle(handle); }
};
using KernelHandle = UniqueHandle<KernelHandleTraits>;

/// What CreateFile opens.
struct FileHandleTraits {
    using Value = HANDLE;
    static Value None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value handle) noexcept { CloseHandle(handle); }
};
using FileHandle = UniqueHandle<FileHandleTraits>;

/// What FindFirstFile opens.
struct SearchHandleTraits {
    using Value = HANDLE;
    static Value None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value handle) noexcept { FindClose(handle); }
};
using SearchHandle = UniqueHandle<SearchHandleTraits>;

}  // namespace base
