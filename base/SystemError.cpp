// See SystemError.h.
#include "base/SystemError.h"

#include <array>
#include <new>
#include <stdexcept>

#include "base/Text.h"
#include "base/Utf8.h"

namespace base {

SystemError::SystemError(DWORD code, const char* action, std::wstring_view subject, Where where)
    : Error(HRESULT_FROM_WIN32(code), SystemText(code, subject), where),
      m_code(code),
      m_action(action),
      m_subject(subject) {}

std::wstring SystemText(DWORD code) {
    std::array<wchar_t, 512> buffer;
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                                            FORMAT_MESSAGE_MAX_WIDTH_MASK,
                                        nullptr, code, 0, buffer.data(), buffer.size(), nullptr);
    std::wstring text(buffer.data(), length);
    while (!text.empty() && text.back() <= L' ')
        text.pop_back();
    return text.empty() ? L"Error " + Hexadecimal(code) : text;
}

std::wstring SystemText(DWORD code, std::wstring_view subject) {
    std::wstring text = SystemText(code);
    if (!subject.empty()) text.append(L" (").append(subject).append(L")");
    return text;
}

void ThrowWin32(DWORD code, std::wstring_view subject, Where where) {
    throw SystemError(code, "use", subject, where);
}

Failure CurrentFailure() noexcept {
    try {
        throw;
    } catch (const Error& error) {
        return error.failure();
    } catch (const std::bad_alloc&) {
        return {E_OUTOFMEMORY, {}, L"Out of memory", {}};
    } catch (const std::invalid_argument& error) {
        return {E_INVALIDARG, {}, FromUtf8(error.what()), {}};
    } catch (const std::out_of_range& error) {
        return {DISP_E_BADINDEX, {}, FromUtf8(error.what()), {}};
    } catch (const std::exception& error) {
        return {E_UNEXPECTED, {}, FromUtf8(error.what()), {}};
    } catch (...) {
        return {E_UNEXPECTED, {}, L"Unexpected failure", {}};
    }
}

}  // namespace base
