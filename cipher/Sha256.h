// Check sums of files, and of what travels.
#pragma once

#include <windows.h>
#include <bcrypt.h>

#include <string>

#include "base/ByteStream.h"
#include "base/Handle.h"

/// SHA-256 of bytes that come one after the other.
class Sha256 {
public:
    Sha256();
    void Add(base::Bytes bytes);
    /// The check sum of all of them, as hexadecimal text in small letters. After it there is nothing to add.
    std::wstring Finish();

private:
    struct AlgorithmTraits {
        using Value = BCRYPT_ALG_HANDLE;
        static Value None() noexcept { return nullptr; }
        static void Close(Value provider) noexcept { BCryptCloseAlgorithmProvider(provider, 0); }
    };
    struct HashTraits {
        using Value = BCRYPT_HASH_HANDLE;
        static Value None() noexcept { return nullptr; }
        static void Close(Value hash) noexcept { BCryptDestroyHash(hash); }
    };

    base::UniqueHandle<AlgorithmTraits> m_provider;
    base::UniqueHandle<HashTraits> m_hash;
};

std::wstring Sha256Of(base::Bytes bytes);
/// Of a file's content. Throws when it cannot be read.
std::wstring Sha256OfFile(const std::wstring& path);
