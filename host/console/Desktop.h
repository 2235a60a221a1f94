// Whether there is a user who sees windows.
#pragma once

/// False in services, and in tasks that run without a session.
bool ShowsWindows() noexcept;
