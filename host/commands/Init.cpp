// The command init.
#include "base/Console.h"
#include "base/Path.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/settings/Installation.h"

int commands::Init(const Options& options) {
    const std::wstring folder = options.AbsolutePath();
    const Installation made = CreateInstallation(folder);
    Console::Line(L"Settings of the field computer: " + made.fieldSettings);
    Console::Line(L"Settings of the enterprise:     " + made.enterpriseSettings);
    Console::Line(L"Put packets into " + Path::Join(folder, L"field\\outbox") + L", then run: znhost run \"" +
                  made.fieldSettings + L"\"");
    Console::Line(L"The password of a server: znhost password \"" + made.fieldSettings + L"\"");
    return kAllDelivered;
}
