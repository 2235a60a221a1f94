// Check sums of files, and of what travels.
#pragma once

#include <windows.h>
#include <bcrypt.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/ByteStream.h"
#include "base/Handle.h"

/// A check sum of bytes that come one after the other.
class CheckSum {
public:
    /// algorithm: BCRYPT_..._ALGORITHM. size: of its sums, in bytes.
    CheckSum(const wchar_t* algorithm, std::size_t size);
    void Add(base::Bytes bytes);
    /// The check sum of all of them. After it there is nothing to add.
    std::vector<std::uint8_t> FinishBytes();
    /// The same as hexadecimal text in small letters.
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
    std::size_t m_size;
};

class Sha256 : public CheckSum {
public:
    Sha256() : CheckSum(BCRYPT_SHA256_ALGORITHM, 32) {}
};

std::wstring Sha256Of(base::Bytes bytes);
/// Of a file's content. Throws when it cannot be read.
std::wstring Sha256OfFile(const std::wstring& path);
