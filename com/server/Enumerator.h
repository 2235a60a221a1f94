// Enumerators of COM over a snapshot of values.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "com/Result.h"
#include "com/server/ServerObject.h"

namespace com {

/// Interface: one that enumerates elements of type Element, to which com::Put hands out a Value.
template <class Interface, class Element, class Value>
class Enumerator final : public ServerObject<Interface> {
public:
    explicit Enumerator(std::vector<Value> values, size_t next = 0)
        : m_values(std::move(values)), m_next(next) {}

    STDMETHODIMP Next(ULONG count, Element* elements, ULONG* fetched) override {
        if (!elements || (!fetched && count != 1)) return E_POINTER;
        ULONG done = 0;
        const HRESULT result = Call([&] {
            for (; done < count && m_next < m_values.size(); ++done, ++m_next)
                Put(&elements[done], m_values[m_next]);
        });
        if (fetched) *fetched = done;
        if (FAILED(result)) return result;
        return done == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const size_t left = m_values.size() - m_next;
        m_next += std::min<size_t>(count, left);
        return count <= left ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        m_next = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(Interface** clone) override {
        return Return(clone,
                      [&] { return Microsoft::WRL::ComPtr<Interface>(Make<Enumerator>(m_values, m_next)); });
    }

private:
    std::vector<Value> m_values;
    size_t m_next;
};

}  // namespace com
