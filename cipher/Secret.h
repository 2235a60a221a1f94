// Memory that is overwritten before it is given back. Portable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

/// Overwrites memory with zeros.
inline void Wipe(void* memory, std::size_t size) noexcept {
    // Through a volatile pointer: the compiler cannot know the function, so it cannot drop the call although
    // nobody reads the memory again.
    static void* (*const volatile fill)(void*, int, std::size_t) = &std::memset;
    fill(memory, 0, size);
}

/// Allocates as usual and wipes what it takes back, also what a growing container leaves behind.
template <class T>
struct WipingAllocator {
    using value_type = T;

    WipingAllocator() = default;
    template <class U>
    explicit WipingAllocator(const WipingAllocator<U>&) noexcept {}

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* memory, std::size_t count) noexcept {
        Wipe(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }
    friend bool operator==(const WipingAllocator&, const WipingAllocator&) noexcept { return true; }
};

/// Bytes of a password, a key or a plain message.
using SecretBytes = std::vector<std::uint8_t, WipingAllocator<std::uint8_t>>;
/// Characters of a password. (A string would keep a short one in itself, where nobody wipes it.)
using SecretText = std::vector<wchar_t, WipingAllocator<wchar_t>>;
