// See clsRijndael.h.
#include "cipher/clsRijndael.h"

#include <algorithm>

#include "cipher/ByteArray.h"
#include "cipher/TextBytes.h"
#include "com/Result.h"
#include "com/Values.h"

STDMETHODIMP clsRijndael::put_Key(BSTR Value) {
    return com::Call([&] { m_envelope.Key({Value, SysStringLen(Value)}); });
}

STDMETHODIMP clsRijndael::gentables() { return S_OK; }

STDMETHODIMP clsRijndael::gkey(LONG nb, LONG nk, VARIANT Key) {
    return com::Call([&] { m_cipher.gkey(nb, nk, ByteArray::Read(Key, L"Key").value_or(SecretBytes())); });
}

STDMETHODIMP clsRijndael::Encrypt(VARIANT* buff) {
    if (!buff) return E_POINTER;
    return com::Call([&] { TransformBlock(buff, &Rijndael::Encrypt); });
}

STDMETHODIMP clsRijndael::Decrypt(VARIANT* buff) {
    if (!buff) return E_POINTER;
    return com::Call([&] { TransformBlock(buff, &Rijndael::Decrypt); });
}

STDMETHODIMP clsRijndael::EncryptData(VARIANT bytMessage, VARIANT bytPassword, VARIANT_BOOL bHex,
                                      VARIANT* Result) {
    return com::Return(Result, [&] { return Enciphered(bytMessage, bytPassword, bHex != VARIANT_FALSE); });
}

STDMETHODIMP clsRijndael::DecryptData(VARIANT* bytIn, VARIANT bytPassword, VARIANT_BOOL bHex,
                                      VARIANT* Result) {
    if (!bytIn) return E_POINTER;
    return com::Return(Result, [&] { return Deciphered(bytIn, bytPassword, bHex != VARIANT_FALSE); });
}

void clsRijndael::TransformBlock(VARIANT* buff, Transformation transformation) const {
    auto bytes = ByteArray::Read(*buff, L"buff").value_or(SecretBytes());
    const auto size = std::min(bytes.size(), m_cipher.BlockSize());
    (m_cipher.*transformation)(std::span(bytes).first(size));
    ByteArray::Assign(buff, bytes, L"buff");
}

com::Variant clsRijndael::Enciphered(const VARIANT& bytMessage, const VARIANT& bytPassword, bool bHex) const {
    const auto message = ByteArray::Read(bytMessage, L"bytMessage");
    const auto password = ByteArray::Read(bytPassword, L"bytPassword");
    if (!message || !password) return ByteArray::MakeBare();
    const auto data = m_envelope.EncryptData(*message, *password);
    return bHex ? ByteArray::Make(HexadecimalOf(data)) : ByteArray::Make(data);
}

com::Variant clsRijndael::Deciphered(VARIANT* bytIn, const VARIANT& bytPassword, bool bHex) const {
    auto data = ByteArray::Read(*bytIn, L"bytIn");
    const auto password = ByteArray::Read(bytPassword, L"bytPassword");
    if (!data || !password) return ByteArray::MakeBare();
    if (bHex) {
        const auto bytes = BytesOfHexadecimal(TextOf(*data));
        data.emplace(bytes.begin(), bytes.end());
        ByteArray::Assign(bytIn, *data, L"bytIn");
    }
    const auto message = m_envelope.DecryptData(*data, *password);
    return message ? ByteArray::Make(*message) : ByteArray::MakeBare();
}
