// What scripts are told of failures: errors that name the class, what was not done, and why.
#pragma once

#include <string>
#include <utility>

#include "base/Error.h"
#include "base/SystemError.h"
#include "com/Result.h"
#include "common/Report.h"

/// The members of a class that scripts call. Where the contracts' members answer False, these fail.
class ScriptMember {
public:
    /// progId: of the class, the source of its errors.
    explicit constexpr ScriptMember(const wchar_t* progId) : m_progId(progId) {}

    template <class Behaviour>
    HRESULT Call(Behaviour&& behaviour) const noexcept {
        return com::Call([&] { Named(behaviour); });
    }
    template <class Out, class Behaviour>
    HRESULT Return(Out* result, Behaviour&& behaviour) const noexcept {
        return com::Return(result, [&] { return Named(behaviour); });
    }

private:
    template <class Behaviour>
    auto Named(Behaviour& behaviour) const -> decltype(behaviour()) try {
        return behaviour();
    } catch (...) {
        base::Failure failure = base::CurrentFailure();
        if (failure.source.empty()) failure.source = m_progId;
        throw base::Error(std::move(failure));
    }

    const wchar_t* m_progId;
};

/// Runs a behaviour that reports its failures and answers False then; that becomes an error. refusal: what
/// was not done, in full sentences; what was reported follows.
template <class Behaviour>
void Demand(std::wstring_view refusal, Behaviour&& behaviour) {
    const HeardReports heard;
    if (!behaviour()) throw heard.AsError(refusal);
}

/// Reports the failure that is being handled, of what a script gave to be called, as a warning: the work for
/// which it was called goes on. reported: whether that was done before; once is enough. what: begins the
/// sentence.
void WarnOfScript(std::wstring procedure, std::wstring_view what, bool& reported);

/// A path that a script gave: in full, without separators at its end; an empty one stays empty.
std::wstring ScriptPath(const std::wstring& path);

/// The interface of an object that a script gave for a purpose. Throws E_NOINTERFACE for any other object.
/// wanted: what would do, for the failure.
template <class Interface, class Object>
Microsoft::WRL::ComPtr<Interface> ScriptObject(Object* object, std::wstring_view wanted,
                                               base::Where where = base::Where::current()) {
    Microsoft::WRL::ComPtr<Interface> other;
    if (!object || FAILED(object->QueryInterface(IID_PPV_ARGS(&other))))
        throw base::Error(E_NOINTERFACE, L"This object will not do: " + std::wstring(wanted) + L" is wanted.",
                          where);
    return other;
}
