#include "com/Error.h"

#include <windows.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <array>
#include <new>
#include <stdexcept>

#include "com/Text.h"

using Microsoft::WRL::ComPtr;

namespace com {

Error::Error(HRESULT number, std::wstring description, std::source_location where)
    : m_failure{number, {}, std::move(description), where.line()} {}

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

void ThrowWin32(DWORD code, std::wstring_view subject, std::source_location where) {
    std::wstring description = SystemText(code);
    if (!subject.empty()) description.append(L" (").append(subject).append(L")");
    throw Error(HRESULT_FROM_WIN32(code), std::move(description), where);
}

namespace {

Failure PublishedFailure(HRESULT number) {
    Failure failure{number, {}, {}, 0};
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) != S_OK) return failure;
    Bstr source;
    Bstr description;
    if (SUCCEEDED(info->GetSource(source.Put()))) failure.source = source.Text();
    if (SUCCEEDED(info->GetDescription(description.Put()))) failure.description = description.Text();
    return failure;
}

}  // namespace

void Check(HRESULT result, std::wstring_view subject, std::source_location where) {
    if (SUCCEEDED(result)) return;
    Failure failure = PublishedFailure(result);
    failure.line = where.line();
    if (failure.description.empty()) {
        failure.description = SystemText(static_cast<DWORD>(result));
        if (!subject.empty()) failure.description.append(L" (").append(subject).append(L")");
    }
    throw Error(std::move(failure));
}

Failure CurrentFailure() noexcept {
    try {
        throw;
    } catch (const Error& error) {
        return error.failure();
    } catch (const std::bad_alloc&) {
        return {E_OUTOFMEMORY, {}, L"Out of memory", 0};
    } catch (const std::invalid_argument& error) {
        return {E_INVALIDARG, {}, FromUtf8(error.what()), 0};
    } catch (const std::out_of_range& error) {
        return {DISP_E_BADINDEX, {}, FromUtf8(error.what()), 0};
    } catch (const std::exception& error) {
        return {E_UNEXPECTED, {}, FromUtf8(error.what()), 0};
    } catch (...) {
        return {E_UNEXPECTED, {}, L"Unexpected failure", 0};
    }
}

HRESULT PublishCurrentFailure() noexcept {
    const Failure failure = CurrentFailure();
    ComPtr<ICreateErrorInfo> create;
    ComPtr<IErrorInfo> info;
    if (SUCCEEDED(CreateErrorInfo(&create)) && SUCCEEDED(create.As(&info))) {
        create->SetSource(const_cast<LPOLESTR>(failure.source.c_str()));
        create->SetDescription(const_cast<LPOLESTR>(failure.description.c_str()));
        SetErrorInfo(0, info.Get());
    }
    return FAILED(failure.number) ? failure.number : E_FAIL;
}

}  // namespace com
