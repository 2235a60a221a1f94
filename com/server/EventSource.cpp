// See EventSource.h.
#include "com/server/EventSource.h"

#include <algorithm>

#include "base/Error.h"
#include "com/LateBound.h"
#include "com/Object.h"
#include "com/server/Enumerator.h"

using Microsoft::WRL::ComPtr;

namespace com {

static void Put(CONNECTDATA* out, const EventHandlers::Handler& handler) {
    *out = {ComPtr<IDispatch>(handler.object).Detach(), handler.cookie};
}

namespace {

class ConnectionPoint final : public ServerObject<IConnectionPoint> {
public:
    ConnectionPoint(IConnectionPointContainer* container, EventHandlers& handlers)
        : m_container(container), m_handlers(handlers) {}

    STDMETHODIMP GetConnectionInterface(IID* id) override {
        if (!id) return E_POINTER;
        *id = m_handlers.Events();
        return S_OK;
    }
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override {
        return Return(container, m_container);
    }
    STDMETHODIMP Advise(IUnknown* handler, DWORD* cookie) override {
        if (!handler || !cookie) return E_POINTER;
        *cookie = 0;
        return com::Call([&] { *cookie = m_handlers.Connect(handler); });
    }
    STDMETHODIMP Unadvise(DWORD cookie) override {
        return com::Call([&] { m_handlers.Disconnect(cookie); });
    }
    STDMETHODIMP EnumConnections(IEnumConnections** connections) override {
        using All = Enumerator<IEnumConnections, CONNECTDATA, EventHandlers::Handler>;
        return Return(connections, [&] { return ComPtr<IEnumConnections>(Make<All>(m_handlers.All())); });
    }

private:
    const ComPtr<IConnectionPointContainer> m_container;
    EventHandlers& m_handlers;  // of m_container
};

auto Has(DWORD cookie) {
    return [cookie](const EventHandlers::Handler& handler) { return handler.cookie == cookie; };
}

}  // namespace

DWORD EventHandlers::Connect(IUnknown* handler) {
    ComPtr<IDispatch> object;
    if (FAILED(handler->QueryInterface(m_events, reinterpret_cast<void**>(object.GetAddressOf()))) &&
        FAILED(handler->QueryInterface(IID_PPV_ARGS(&object))))
        throw base::Error(CONNECT_E_CANNOTCONNECT, L"The object handles no events of this one.");
    m_handlers.push_back({++m_lastCookie, std::move(object)});
    return m_lastCookie;
}

void EventHandlers::Disconnect(DWORD cookie) {
    if (std::erase_if(m_handlers, Has(cookie)) == 0)
        throw base::Error(CONNECT_E_NOCONNECTION, L"No handler is connected under this number.");
}

bool EventHandlers::IsConnected(DWORD cookie) const { return std::ranges::any_of(m_handlers, Has(cookie)); }

void EventHandlers::Call(const Handler& handler, DISPID event, const std::vector<Variant>& arguments) try {
    Invoke(handler.object.Get(), event, DISPATCH_METHOD, arguments);
} catch (const base::Error& error) {
    if (error.failure().number != DISP_E_MEMBERNOTFOUND) throw;
}

ComPtr<IConnectionPoint> ConnectionPointOf(IConnectionPointContainer* container, EventHandlers& handlers) {
    return ComPtr<IConnectionPoint>(Make<ConnectionPoint>(container, handlers));
}

ComPtr<IEnumConnectionPoints> ConnectionPointsOf(IConnectionPointContainer* container,
                                                 EventHandlers& handlers) {
    using All = Enumerator<IEnumConnectionPoints, IConnectionPoint*, ComPtr<IConnectionPoint>>;
    return ComPtr<IEnumConnectionPoints>(Make<All>(std::vector{ConnectionPointOf(container, handlers)}));
}

}  // namespace com
