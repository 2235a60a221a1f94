// The window messages of an apartment, which its host must get during long waits.
#pragma once

namespace com {

/// Lets the host process the window messages that wait for this thread, for one slice of a wait (100 ms) at
/// most: a window may post to itself without end. One that asks the host to quit stays for it.
void ProcessPendingMessages();

}  // namespace com
