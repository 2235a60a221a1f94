// The services of the computer, as the system's service manager keeps them.
#pragma once

#include <string>

enum class ServiceStart { Automatic, Delayed, Manual };

struct ServiceDescription {
    std::wstring name;
    std::wstring title;
    std::wstring purpose;
    std::wstring commandLine;
    std::wstring account;
    std::wstring password;  ///< empty for an account without one
    ServiceStart start = ServiceStart::Delayed;
};

/// Failures are base::Errors that say what to do.
namespace services {

/// Whether an account, named as for a service, is the one that this process runs in.
bool IsOwnAccount(const std::wstring& account);
/// A service that ends unexpectedly is started again, after one, five and fifteen minutes.
void Install(const ServiceDescription& service);
/// What the service manager runs.
std::wstring CommandLineOf(const std::wstring& name);
/// Stops the service first.
void Remove(const std::wstring& name);
/// Returns once the service runs.
void Start(const std::wstring& name);
/// Returns once the service has stopped.
void Stop(const std::wstring& name);

}  // namespace services
