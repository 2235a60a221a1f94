// The cipher and its envelope for hosts and scripts.
#pragma once

#include "cipher/Envelope.h"
#include "cipher/Rijndael.h"
#include "com/Values.h"
#include "com/server/ServerObject.h"
#include "znTransporter.h"

class clsRijndael final : public com::ServerObject<com::Dual<_clsRijndael>> {
public:
    STDMETHODIMP put_Key(BSTR Value) override;
    /// Has nothing to do, the tables are constants; hosts call it before gkey.
    STDMETHODIMP gentables() override;
    STDMETHODIMP gkey(LONG nb, LONG nk, VARIANT Key) override;
    STDMETHODIMP Encrypt(VARIANT* buff) override;
    STDMETHODIMP Decrypt(VARIANT* buff) override;
    STDMETHODIMP EncryptData(VARIANT bytMessage, VARIANT bytPassword, VARIANT_BOOL bHex,
                             VARIANT* Result) override;
    STDMETHODIMP DecryptData(VARIANT* bytIn, VARIANT bytPassword, VARIANT_BOOL bHex,
                             VARIANT* Result) override;

private:
    using Transformation = void (Rijndael::*)(std::span<std::uint8_t>) const;

    void TransformBlock(VARIANT* buff, Transformation transformation) const;
    com::Variant Enciphered(const VARIANT& bytMessage, const VARIANT& bytPassword, bool bHex) const;
    com::Variant Deciphered(VARIANT* bytIn, const VARIANT& bytPassword, bool bHex) const;

    Rijndael m_cipher;  ///< with the key of the last gkey; the envelope has its own
    Envelope m_envelope;
};
