#include <windows.h>

#include <new>

#include "base/Console.h"
#include "base/Utf8.h"
#include "companions/support/Error.h"
#include "companions/support/Program.h"

namespace {

using namespace companions;

int Failed(const std::string& message, ExitCode exitCode) {
    Console::ErrorLine(base::FromUtf8(std::string(kProgram.name) + ": " + message));
    return exitCode;
}

}  // namespace

namespace companions {

std::filesystem::path ToPath(const std::string& argument) { return base::FromUtf8(argument); }

void Print(const std::string& line) { Console::Line(base::FromUtf8(line)); }

}  // namespace companions

int wmain(int count, wchar_t** texts) try {
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(base::ToUtf8(texts[i]));
    kProgram.run(arguments);
    return kDone;
} catch (const Ended&) {
    return kDone;
} catch (const UsageError& error) {
    return Failed(std::string(error.what()) + "\nRun it with --help for more information.", kBadUsage);
} catch (const std::bad_alloc&) {
    return Failed("out of memory; close other programs, and try again", kFailed);
} catch (const std::exception& error) {
    return Failed(error.what(), kFailed);
}
