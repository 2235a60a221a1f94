// Undoes a step unless what it was for succeeds. Portable.
#pragma once

#include <utility>

namespace base {

/// Runs an action at its end, unless Dismiss was called. A failure of the action is swallowed: this is for
/// what nobody misses when it stays. What must be told when it cannot be undone is a matter of Undo.h.
template <class Action>
class RollBack {
public:
    explicit RollBack(Action action) : m_action(std::move(action)) {}
    RollBack(const RollBack&) = delete;
    RollBack& operator=(const RollBack&) = delete;
    ~RollBack() {
        if (!m_armed) return;
        try {
            m_action();
        } catch (...) {
            return;
        }
    }

    void Dismiss() noexcept { m_armed = false; }

private:
    Action m_action;
    bool m_armed = true;
};

}  // namespace base
