// See HostOptions.h.
#include "host/commands/HostOptions.h"

#include <CLI/CLI.hpp>

#include <optional>

#include "base/Console.h"
#include "base/Environment.h"
#include "base/FileSystem.h"
#include "base/Utf8.h"
#include "cli/Complaint.h"
#include "host/commands/Commands.h"
#include "host/console/ExitCode.h"

namespace {

constexpr const char* kDescription =
    "znhost moves packets (.mdb, .xml and other files) between a field computer and the enterprise:\n"
    "what lies in the outbox is sent, what the other side sent is delivered into the inbox.";

constexpr const char* kExamples =
    "Examples:\n"
    "  znhost init C:\\Transport               two installations to start from\n"
    "  znhost run C:\\Transport\\field.ini      one cycle of the field computer\n"
    "  znhost list C:\\Transport\\field.ini     what waits there\n"
    "  znhost backups C:\\Transport\\field.ini  the packets that were kept\n"
    "  znhost config C:\\Transport\\field.ini   the folders and FTP settings of the registry\n"
    "  znhost verify C:\\Transport\\field.ini   whether its FTP server works\n"
    "  znhost demo                            see packets travel in both directions\n\n"
    "Exit codes: 0 all delivered, 1 something could not be moved, 2 bad settings or usage.";

constexpr const char* kName = "znhost";

/// Prints what the parser has to say; wrong usage goes to the error output.
[[noreturn]] void End(const CLI::App& app, const CLI::ParseError& error) {
    const std::optional<std::wstring> complaint = cli::Complaint(app, error);
    if (!complaint) throw Ended{kAllDelivered};
    // Without a known command the parser misses one, and does not say what it found in its place.
    const std::vector<std::string> unknown =
        app.get_subcommands().empty() ? app.remaining() : std::vector<std::string>();
    const std::wstring what =
        unknown.empty() ? L"" : L"\"" + base::FromUtf8(unknown.front()) + L"\" is no command. ";
    Console::ErrorLine(L"znhost: " + what + *complaint);
    throw Ended{kBadUsage};
}

/// An option or argument that is text.
CLI::Option* AddText(CLI::App& app, const char* name, std::wstring& value, const char* description) {
    return cli::AddText(app, name, value, description).type_name("TEXT");
}

/// The commands, their options and what they set.
class Parser {
public:
    explicit Parser(Options& options) : m_options(options) {
        cli::AddFooter(m_app, kExamples);
        cli::SetUp(m_app, kName);
        AddCommands();
    }

    /// Throws Ended, after it told the user.
    void Parse(const std::vector<std::wstring>& arguments);

private:
    void AddCommands();
    CLI::App& Add(const char* name, const char* description, Command command);
    /// A command that works on the settings file of one side.
    CLI::App& AddForSettings(const char* name, const char* description, Command command);
    void AddBackupOptions(CLI::App& backups);
    void AddFtpOptions(CLI::App& demo);

    Options& m_options;
    CLI::App m_app{kDescription, kName};
};

void Parser::AddCommands() {
    CLI::App& init =
        Add("init", "Write commented settings for a field computer and its enterprise, with their folders.",
            &commands::Init);
    AddText(init, "DIR", m_options.path,
            "Folder for field.ini, enterprise.ini and the folders that they name")
        ->required();
    AddForSettings("run", "Run one cycle: add the outbox, send and receive, deliver what was received.",
                   &commands::Run);
    AddForSettings("list",
                   "Show the packets that wait in the outbox, the send folder and the receive folder.",
                   &commands::List);
    AddBackupOptions(AddForSettings("backups", "List the received packets that have a backup, or use one.",
                                    &commands::Backups));
    AddForSettings(
        "config",
        "Show the mobile configuration that the registry holds for the application of the settings.",
        &commands::Config);
    AddForSettings(
        "verify",
        "Test the FTP server: both folders, which lie directly in the folder of the login, take, give "
        "back and delete a test file.",
        &commands::Verify);
    AddForSettings("settings", "Edit the FTP settings in a dialog.", &commands::EditSettings);
    CLI::App& demo =
        Add("demo", "Let two installations exchange packets in a scratch folder, and compare every file.",
            &commands::Demo);
    AddText(demo, "DIR", m_options.path,
            "Scratch folder; must not exist. Default: a new one for temporary files");
    demo.add_flag("--keep", m_options.keep, "Leave the scratch folder when all went well");
    AddFtpOptions(demo);
}

CLI::App& Parser::Add(const char* name, const char* description, Command command) {
    CLI::App& added = *m_app.add_subcommand(name, description);
    added.callback([this, command] { m_options.command = command; });
    cli::AddVersion(added, kName);
    cli::AddFooter(added, kExamples);
    return added;
}

CLI::App& Parser::AddForSettings(const char* name, const char* description, Command command) {
    CLI::App& added = Add(name, description, command);
    AddText(added, "SETTINGS", m_options.path, "Settings file")->required();
    return added;
}

void Parser::AddBackupOptions(CLI::App& backups) {
    BackupRequest& request = m_options.backup;
    const auto is = [&request](BackupAction action) {
        return [&request, action](const std::string&) { request.action = action; };
    };
    CLI::Option* const restore =
        AddText(backups, "--restore", request.packetId, "Put a packet back into the receive folder")
            ->type_name("ID")
            ->each(is(BackupAction::Restore));
    CLI::Option* const restoreAll = backups.add_flag_callback(
        "--restore-all", [&request] { request.action = BackupAction::RestoreAll; },
        "Put every packet back into the receive folder");
    CLI::Option* const destroy = AddText(backups, "--destroy", request.packetId, "Delete a backup")
                                     ->type_name("ID")
                                     ->each(is(BackupAction::Destroy));
    restore->excludes(restoreAll, destroy);
    restoreAll->excludes(destroy);
}

/// The options of a round through an FTP server go together.
void Parser::AddFtpOptions(CLI::App& demo) {
    FtpAccount& account = m_options.ftp;
    CLI::Option* const server =
        AddText(demo, "--ftp-server", account.server, "Exchange packets through this server, too");
    CLI::Option* const user = AddText(demo, "--ftp-user", account.user, "User of the FTP server");
    CLI::Option* const password = AddText(demo, "--ftp-password", account.password, "Password of the user");
    CLI::Option* const folder =
        AddText(demo, "--ftp-folder", account.folder, "Folder on the server; made if missing");
    server->needs(user, password, folder);
    for (CLI::Option* const option : {user, password, folder})
        option->needs(server);
}

void Parser::Parse(const std::vector<std::wstring>& arguments) try {
    cli::Parse(m_app, arguments);
    // Asked for only now, so that a mistyped command is named instead.
    if (m_app.get_subcommands().empty())
        throw CLI::RequiredError("A command (init, run, list, backups, config, verify, settings or demo)");
} catch (const CLI::ParseError& error) {
    End(m_app, error);
}

}  // namespace

std::wstring Options::AbsolutePath() const { return FileSystem::FullPath(base::CurrentFolder(), path); }

Options ParseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    Parser(options).Parse(arguments);
    return options;
}
