// See Undo.h.
#include "base/Undo.h"

#include <utility>

namespace base {

void ThrowWith(std::wstring_view more) {
    Failure failure = CurrentFailure();
    if (!more.empty()) failure.description.append(L"\r\n").append(more);
    throw Error(std::move(failure));
}

}  // namespace base
