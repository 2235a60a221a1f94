// Events of served objects: the handlers that hosts connect, and how hosts find out what there is to connect
// to.
#pragma once

#include <windows.h>
#include <ocidl.h>
#include <olectl.h>
#include <wrl/client.h>

#include <vector>

#include "com/Result.h"
#include "com/Values.h"
#include "com/server/TypeInfo.h"

namespace com {

/// The handlers that are connected to an object.
class EventHandlers {
public:
    struct Handler {
        DWORD cookie;
        Microsoft::WRL::ComPtr<IDispatch> object;
    };

    /// events: the interface by whose numbers the handlers are called.
    explicit EventHandlers(REFIID events) : m_events(events) {}

    REFIID Events() const noexcept { return m_events; }
    const std::vector<Handler>& All() const noexcept { return m_handlers; }
    /// Returns its cookie. Throws CONNECT_E_CANNOTCONNECT for an object that handles no such events.
    DWORD Connect(IUnknown* handler);
    /// Throws CONNECT_E_NOCONNECTION for a cookie of no handler.
    void Disconnect(DWORD cookie);

    /// Calls an event of all that are connected; what they connect and disconnect meanwhile counts. A handler
    /// without that event is skipped. failed: called while the failure of one is being handled.
    template <class Failed>
    void Raise(DISPID event, const std::vector<Variant>& arguments, Failed&& failed) const {
        for (const Handler& handler : std::vector(m_handlers)) {
            try {
                if (IsConnected(handler.cookie)) Call(handler, event, arguments);
            } catch (...) {
                failed();
            }
        }
    }

private:
    bool IsConnected(DWORD cookie) const;
    static void Call(const Handler& handler, DISPID event, const std::vector<Variant>& arguments);

    const IID m_events;
    std::vector<Handler> m_handlers;
    DWORD m_lastCookie = 0;
};

/// The one connection point of an object, and the list of it. container: holds the handlers.
Microsoft::WRL::ComPtr<IConnectionPoint> ConnectionPointOf(IConnectionPointContainer* container,
                                                           EventHandlers& handlers);
Microsoft::WRL::ComPtr<IEnumConnectionPoints> ConnectionPointsOf(IConnectionPointContainer* container,
                                                                 EventHandlers& handlers);

/// An object with events, a dispinterface.
template <class Events>
class EventSource : public IConnectionPointContainer {
public:
    using Offered = IConnectionPointContainer;
    static bool Answers(REFIID id) { return id == __uuidof(IConnectionPointContainer); }

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** points) override {
        return Return(points, [&] { return ConnectionPointsOf(this, m_handlers); });
    }
    STDMETHODIMP FindConnectionPoint(REFIID id, IConnectionPoint** point) override {
        if (!point) return E_POINTER;
        *point = nullptr;
        if (id != m_handlers.Events()) return CONNECT_E_NOCONNECTION;
        return Return(point, [&] { return ConnectionPointOf(this, m_handlers); });
    }

protected:
    EventHandlers m_handlers{__uuidof(Events)};
};

/// An object that tells its class and its events, which scripting hosts ask for.
template <class Class, class Events>
class ClassInfo : public IProvideClassInfo2 {
public:
    using Offered = IProvideClassInfo2;
    static bool Answers(REFIID id) {
        return id == __uuidof(IProvideClassInfo) || id == __uuidof(IProvideClassInfo2);
    }

    STDMETHODIMP GetClassInfo(ITypeInfo** info) override {
        static TypeInfoCache description(__uuidof(Class));
        return Return(info, [&] { return description.Get(); });
    }
    STDMETHODIMP GetGUID(DWORD kind, GUID* id) override {
        if (!id) return E_POINTER;
        *id = kind == GUIDKIND_DEFAULT_SOURCE_DISP_IID ? __uuidof(Events) : GUID_NULL;
        return kind == GUIDKIND_DEFAULT_SOURCE_DISP_IID ? S_OK : E_INVALIDARG;
    }
};

}  // namespace com
