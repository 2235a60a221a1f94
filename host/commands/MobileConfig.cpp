// The command config.
#include "base/Console.h"
#include "base/Text.h"
#include "com/ComApartment.h"
#include "com/Result.h"
#include "com/Values.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Table.h"
#include "host/session/Components.h"
#include "host/settings/SettingsChecks.h"
#include "znTransporter.h"

using com::Bstr;

namespace {

/// What is shown of a value: whoever looks on learns no password, not even an enciphered one.
std::wstring Shown(IZNMobileConfig* config, VARIANT_BOOL enterprise, const std::wstring& name) {
    const auto value =
        com::Get<std::wstring>(&IZNMobileConfig::GetConfig, config, enterprise, Bstr(name).Get());
    const bool secret = base::EqualsIgnoringCase(name, L"FTPPassword");
    return secret && !value.empty() ? L"(set)" : value;
}

}  // namespace

/// The folders and programs of a cycle need not be there.
int commands::Config(const Options& options) {
    const Settings settings = ReadSettingsWithoutPasswords(options.AbsolutePath(), {&CheckLogFile});
    const ComApartment apartment;
    ConfigureFramework(settings);
    const auto config =
        CreateComponent<clsTranMobileConfig, IZNMobileConfig>(L"znTransporter.clsTranMobileConfig");
    com::Check(config->put_ApplicationName(Bstr(settings.applicationName).Get()), L"mobile configuration");
    Console::Line(L"Mobile configuration of " + settings.applicationName);
    Table table({{L"Name"}, {L"Enterprise"}, {L"Field"}});
    // Both sides hold the same names.
    const auto next = [&] {
        return com::Get<std::wstring>(&IZNMobileConfig::NextConfigName, config.Get(), VARIANT_TRUE);
    };
    for (std::wstring name = next(); !name.empty(); name = next())
        table.Add({name, Shown(config.Get(), VARIANT_TRUE, name), Shown(config.Get(), VARIANT_FALSE, name)});
    table.Print();
    return kAllDelivered;
}
