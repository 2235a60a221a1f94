// windows-probe: makes the product's calls into the system on a computer, and tells where what comes back is
// not what the product expects.
#include <windows.h>

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

#include "base/Console.h"
#include "base/Environment.h"
#include "base/FileSystem.h"
#include "base/Module.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "cli/Complaint.h"
#include "com/ComApartment.h"
#include "probe/FtpScratch.h"
#include "probe/Interview.h"
#include "probe/Questions.h"

namespace {

using namespace probe;

enum ExitCode : int { kAllAsked = 0, kNotAllAsked = 1, kBadUsage = 2 };

constexpr const char* kFooter =
    "Prints a line for each question: what is asked | what is expected | what came back | whether that "
    "differs.\n"
    "It works in folders of its own, named windows-probe-..., on the server and here, and removes them.\n\n"
    "Examples:\n"
    "  windows-probe --path \\\\server\\share\\transport\n"
    "  windows-probe --server ftp.example --user me --password secret --folder packets\n\n"
    "Exit codes: 0 everything could be asked, 1 something could not, 2 bad usage.";

struct Options {
    std::wstring server;
    std::wstring user;
    std::wstring password;
    std::wstring folder;
    std::wstring path;
    std::wstring held;  ///< the file that a second process dies with
};

void AddOptions(CLI::App& app, Options& options) {
    CLI::Option& server = cli::AddText(app, "--server", options.server, "FTP server to ask");
    CLI::Option& user = cli::AddText(app, "--user", options.user, "User of the FTP server");
    CLI::Option& password = cli::AddText(app, "--password", options.password, "Password of the user");
    CLI::Option& folder = cli::AddText(app, "--folder", options.folder,
                                       "Folder there to work in; that of the login without it");
    server.needs(&user, &password);
    for (CLI::Option* const option : {&user, &password, &folder})
        option->needs(&server);
    cli::AddName(app, "--path", options.path,
                 "Local or shared folder to work in; that for temporary files without it");
    cli::AddText(app, "--die-holding", options.held, "").group("");
}

/// Nothing when there is nothing more to do; the exit code says why.
std::optional<Options> Parse(const std::vector<std::wstring>& arguments, int& exitCode) {
    Options options;
    CLI::App app("Asks Windows, an FTP server and a folder what the product expects of them.",
                 "windows-probe");
    cli::SetUp(app, "windows-probe");
    AddOptions(app, options);
    app.footer(kFooter);
    try {
        cli::Parse(app, arguments);
        return options;
    } catch (const CLI::ParseError& error) {
        const std::optional<std::wstring> complaint = cli::Complaint(app, error);
        if (complaint) Console::ErrorLine(L"windows-probe: " + *complaint);
        exitCode = complaint ? kBadUsage : kAllAsked;
        return std::nullopt;
    }
}

/// Calls with a folder of its own, which is removed afterwards.
template <class Action>
void WithScratchFolder(const std::wstring& parent, Action action) {
    const std::wstring folder =
        Path::Join(parent, L"windows-probe-" + std::to_wstring(GetCurrentProcessId()));
    FileSystem::CreateFolder(folder);
    const base::RollBack removal([&] { FileSystem::DeleteTree(folder); });
    action(folder);
}

void AskFiles(Interview& interview, const std::wstring& path) {
    const std::wstring parent = path.empty() ? base::TemporaryFolder() : FileSystem::FullPath(path);
    interview.AskAbout(L"The folder " + parent, [&] {
        WithScratchFolder(parent, [&](const std::wstring& folder) { interview.Ask(FileQuestions(folder)); });
    });
}

void AskRegistration(Interview& interview) {
    const std::wstring folder = Path::ParentFolder(base::ProgramPath());
    if (!FileSystem::FileExists(Path::Join(folder, L"znTransporter.dll")))
        return interview.LeaveOut(L"Use without registration",
                                  L"znTransporter.dll does not lie beside the program");
    interview.Ask(RegistrationQuestions(folder));
}

void AskFtp(Interview& interview, const Options& options) {
    if (options.server.empty()) return interview.LeaveOut(L"FTP", L"no --server was given");
    interview.AskAbout(L"The FTP server " + options.server, [&] {
        WithScratchFolder(base::TemporaryFolder(), [&](const std::wstring& local) {
            FtpScratch ftp({base::ToSystemCodePage(options.server), base::ToSystemCodePage(options.user),
                            base::ToSystemCodePage(options.password), base::ToSystemCodePage(options.folder)},
                           local);
            interview.Ask(FtpQuestions(ftp));
        });
    });
}

int Run(const Options& options) {
    const ComApartment apartment;
    Interview interview;
    interview.Ask(SystemQuestions());
    AskRegistration(interview);
    AskFiles(interview, options.path);
    AskFtp(interview, options);
    return interview.Finish() ? kAllAsked : kNotAllAsked;
}

}  // namespace

int wmain(int count, wchar_t** arguments) try {
    int exitCode = kAllAsked;
    const std::optional<Options> options =
        Parse({arguments + (count > 0 ? 1 : 0), arguments + count}, exitCode);
    if (!options) return exitCode;
    if (!options->held.empty()) DieHolding(options->held);
    return Run(*options);
} catch (...) {
    Console::ErrorLine(L"windows-probe: " + base::CurrentFailure().description);
    return kNotAllAsked;
}
