// Calls of objects whose members are known by name or number only, as scripts and event handlers are.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <wrl/client.h>

#include <optional>
#include <vector>

#include "base/Error.h"
#include "com/Values.h"

namespace com {

/// Calls a member by its number and returns its result. Throws what the callee said of its failure.
Variant Invoke(IDispatch* object, DISPID member, WORD flags, std::vector<Variant> arguments,
               base::Where where = base::Where::current());

/// An object that is called by the names of its members, in any letter case; those that it lacks are skipped.
class LateBound {
public:
    explicit LateBound(IDispatch* object) : m_object(object) {}

    /// False when the object has no such member. Throw what the callee reported.
    bool Call(const wchar_t* member, std::vector<Variant> arguments) const;
    bool Put(const wchar_t* member, Variant value) const;
    /// The value of a property, or the result of a function without parameters.
    std::optional<Variant> Get(const wchar_t* member) const;

private:
    std::optional<DISPID> Find(const wchar_t* member) const;

    Microsoft::WRL::ComPtr<IDispatch> m_object;
};

}  // namespace com
