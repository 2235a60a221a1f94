// Failures across the COM boundary: HRESULTs with what the callee left in IErrorInfo.
#pragma once

#include <windows.h>

#include <string_view>

#include "base/Error.h"

namespace com {

/// Leaves nothing in the thread's IErrorInfo: what a failure that somebody handled had left there must not
/// describe a later one that leaves nothing. Called wherever other code had control.
void ClearErrorInfo() noexcept;

/// Throws when a COM call failed, with the description that the callee left in IErrorInfo, or the
/// system's text and the subject when it left none. Whatever the result, nothing is left in IErrorInfo.
void Check(HRESULT result, std::wstring_view subject = {}, base::Where where = base::Where::current());

/// Makes the exception that is being handled the thread's IErrorInfo and returns its HRESULT.
HRESULT PublishCurrentFailure() noexcept;

}  // namespace com
