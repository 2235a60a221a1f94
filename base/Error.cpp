// See Error.h.
#include "base/Error.h"

#include <utility>

#include "base/Utf8.h"

namespace base {

Error::Error(std::int32_t number, std::wstring description, Where where)
    : Error(Failure{number, {}, std::move(description), where}) {}

Error::Error(std::int32_t number, std::string_view description, Where where)
    : m_failure{number, {}, FromUtf8(description), where}, m_text(description) {}

Error::Error(Failure failure) : m_failure(std::move(failure)), m_text(ToUtf8(m_failure.description)) {}

}  // namespace base
