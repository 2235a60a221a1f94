// See ErrorInfo.h.
#include "com/ErrorInfo.h"

#include <oleauto.h>
#include <wrl/client.h>

#include "base/SystemError.h"
#include "com/Values.h"

using Microsoft::WRL::ComPtr;

namespace com {

namespace {

base::Failure PublishedFailure(HRESULT number) {
    base::Failure failure{number, {}, {}, {}};
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) != S_OK) return failure;
    Bstr source;
    Bstr description;
    if (SUCCEEDED(info->GetSource(source.Put()))) failure.source = source.Text();
    if (SUCCEEDED(info->GetDescription(description.Put()))) failure.description = description.Text();
    return failure;
}

}  // namespace

void ClearErrorInfo() noexcept { SetErrorInfo(0, nullptr); }

void Check(HRESULT result, std::wstring_view subject, base::Where where) {
    if (SUCCEEDED(result)) return ClearErrorInfo();
    base::Failure failure = PublishedFailure(result);
    failure.place = where;
    if (failure.description.empty())
        failure.description = base::SystemText(static_cast<DWORD>(result), subject);
    throw base::Error(std::move(failure));
}

HRESULT PublishCurrentFailure() noexcept {
    const base::Failure failure = base::CurrentFailure();
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
