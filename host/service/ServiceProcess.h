// The process of a service: the service manager starts it, and tells it when to stop.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

/// Runs the work as the service of a name, and returns when that has stopped. stop: an event that is set when
/// the work is to end, which has timeToStop for that. obstacle: tells why it cannot begin, an error of the
/// system, which whoever starts the service is told; NO_ERROR for none. Throws a failure where no service
/// manager has started the process.
void RunAsService(const std::wstring& name, HANDLE stop, DWORD timeToStop,
                  const std::function<DWORD()>& obstacle, const std::function<void()>& work);
