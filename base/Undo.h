// Undoes what came before a step that failed, and tells when that is not possible either.
#pragma once

#include <string>
#include <string_view>

#include "base/SystemError.h"

namespace base {

/// Throws the failure that is being handled again, with more lines below its description.
[[noreturn]] void ThrowWith(std::wstring_view more);

/// Runs an action that undoes a step. left: a full sentence that says what lies where when the action fails;
/// it is added to what the action throws.
template <class Action>
void Undo(Action&& action, std::wstring_view left) try {
    action();
} catch (...) {
    ThrowWith(left);
}

/// Runs a step and returns its result. When it fails, what came before it is undone; when that fails, too,
/// the failure that is thrown is still that of the step, and tells the other one and what is left below.
template <class Step, class Action>
auto DoOrUndo(Step&& step, Action&& action, std::wstring_view left) -> decltype(step()) try {
    return step();
} catch (...) {
    std::wstring undone;
    try {
        Undo(action, left);
    } catch (...) {
        undone = CurrentFailure().description;
    }
    if (!undone.empty()) ThrowWith(L"What came before could not be undone: " + undone);
    throw;
}

}  // namespace base
