// See Program.h.
#include "companions/support/Program.h"

#include <windows.h>

#include <new>

#include "base/Console.h"
#include "base/ErrorMode.h"
#include "base/SystemError.h"
#include "base/Utf8.h"
#include "companions/support/FileFailure.h"
#include "companions/support/Usage.h"

namespace {

using namespace companions;

int Failed(const std::wstring& message, ExitCode exitCode) {
    Console::ErrorLine(base::FromUtf8(kProgram.name) + L": " + message);
    return exitCode;
}

}  // namespace

int wmain(int count, wchar_t** texts) try {
    base::AskNobody();
    // A program may be started without even its own name.
    kProgram.run({texts + (count > 0 ? 1 : 0), texts + count});
    return kDone;
} catch (const Ended&) {
    return kDone;
} catch (const UsageError& error) {
    return Failed(error.failure().description + L"\nRun it with --help for more information.", kBadUsage);
} catch (const base::SystemError& error) {
    return Failed(Sentence(error), kFailed);
} catch (const std::bad_alloc&) {
    return Failed(L"out of memory; close other programs, and try again", kFailed);
} catch (const std::exception& error) {
    return Failed(base::FromUtf8(error.what()), kFailed);
}
