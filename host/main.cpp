// znhost: a command-line host of the transport library.
#include <string>

#include "base/Console.h"
#include "base/ErrorMode.h"
#include "base/SystemError.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/settings/SettingsError.h"

int wmain(int count, wchar_t** arguments) try {
    base::AskNobody();
    const Options options = ParseOptions({arguments + 1, arguments + count});
    return options.command(options);
} catch (const Ended& ended) {
    return ended.exitCode;
} catch (const SettingsError& error) {
    for (const std::wstring& problem : error.All())
        Console::ErrorLine(L"znhost: " + problem);
    return kBadUsage;
} catch (...) {
    Console::ErrorLine(L"znhost: " + base::CurrentFailure().description);
    return kSomethingLeft;
}
