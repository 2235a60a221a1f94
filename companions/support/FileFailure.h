// What the user is told when the system refuses to do something with a file.
#pragma once

#include <string>

namespace base {
class SystemError;
}

namespace companions {

/// "cannot ACTION PATH: REASON", and "; WAY OUT" where there is one.
std::wstring Sentence(const base::SystemError& error);

}  // namespace companions
