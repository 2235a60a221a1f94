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
#include "host/loop/Interval.h"

namespace {

constexpr const char* kDescription =
    "znhost moves packets (.mdb, .xml and other files) between a field computer and the enterprise:\n"
    "what lies in the outbox is sent, what the other side sent is delivered into the inbox.";

constexpr const char* kExamples =
    "Examples:\n"
    "  znhost init C:\\Transport               two installations to start from\n"
    "  znhost run C:\\Transport\\field.ini      one cycle of the field computer\n"
    "  znhost run C:\\Transport\\field.ini --every 10m\n"
    "                                         cycles until Ctrl+C\n"
    "  znhost status C:\\Transport\\field.ini   how the last run ended, and what waits\n"
    "  znhost doctor C:\\Transport\\field.ini   what is wrong there, and what to do\n"
    "  znhost list C:\\Transport\\field.ini     what waits there\n"
    "  znhost backups C:\\Transport\\field.ini  the packets that were kept\n"
    "  znhost config C:\\Transport\\field.ini   the folders and FTP settings of the registry\n"
    "  znhost verify C:\\Transport\\field.ini   whether its server does what packets need\n"
    "  znhost password C:\\Transport\\field.ini have Windows encipher its password\n"
    "  znhost demo                            see packets travel in both directions\n\n"
    "Exit codes: 0 all delivered, 1 something could not be moved, 2 bad settings or usage.";

constexpr const char* kServiceExamples =
    "Examples, in a console that was started as administrator:\n"
    "  znhost service install C:\\Transport\\enterprise.ini --every 5m\n"
    "  znhost service start C:\\Transport\\enterprise.ini\n"
    "  znhost service remove C:\\Transport\\enterprise.ini\n\n"
    "FTP does not work in a service: there let the Task Scheduler start znhost run --every,\n"
    "by the task in docs/operations.md: its defaults would end the loop.";

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
CLI::Option* AddText(CLI::App& app, const std::string& name, std::wstring& value,
                     const std::string& description) {
    return cli::AddText(app, name, value, description).type_name("TEXT");
}

/// The same for one that names something.
CLI::Option* AddName(CLI::App& app, const std::string& name, std::wstring& value,
                     const std::string& description) {
    return cli::AddName(app, name, value, description).type_name("TEXT");
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
    /// Of all commands.
    std::string Names() const;
    void AddCommands();
    CLI::App& Add(const char* name, const char* description, Command command);
    /// A command that works on the settings file of one side.
    CLI::App& AddForSettings(const char* name, const char* description, Command command);
    CLI::Option* AddJson(CLI::App& app, const char* description) {
        return app.add_flag("--json", m_options.json, description);
    }
    CLI::Option& AddInterval(CLI::App& app, std::wstring& value, const char* description);
    void AddServiceCommands();
    CLI::App& AddServiceCommand(CLI::App& service, const char* name, const char* description,
                                Command command);
    void AddInstallOptions(CLI::App& install);
    void AddRunOptions(CLI::App& run);
    void AddBackupOptions(CLI::App& backups);
    void AddPasswordOptions(CLI::App& password);
    static void AddServerOptions(CLI::App& demo, const std::string& kind, const std::string& what,
                                 ServerAccount& account);

    Options& m_options;
    CLI::App m_app{kDescription, kName};
};

std::string Parser::Names() const {
    std::string names;
    for (const CLI::App* const command : m_app.get_subcommands(nullptr))
        names += (names.empty() ? "" : ", ") + command->get_name();
    return names;
}

void Parser::AddCommands() {
    CLI::App& init =
        Add("init", "Write commented settings for a field computer and its enterprise, with their folders.",
            &commands::Init);
    AddName(init, "DIR", m_options.path,
            "Folder for field.ini, enterprise.ini and the folders that they name")
        ->required();
    AddRunOptions(
        AddForSettings("run", "Run one cycle: add the outbox, send and receive, deliver what was received.",
                       &commands::Run));
    AddJson(AddForSettings("status", "Show how the last run ended, and what waits since when.",
                           &commands::Status),
            "Tell it in JSON, as one object");
    AddJson(AddForSettings("doctor",
                           "Examine settings, folders, programs, the remote side and what earlier runs have "
                           "left, and tell what to do.",
                           &commands::Doctor),
            "Tell of each check in JSON, one object on a line");
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
        "Test the server. FTP: both folders, which lie directly in the folder of the login, take, give "
        "back and delete a test file. WebDAV: each thing that the transfer of packets stands on.",
        &commands::Verify);
    CLI::App& release =
        AddForSettings("release",
                       "Give what an installation has claimed on a WebDAV server back to all who receive "
                       "from there. For one "
                       "that will not run again: the next run of any other takes its own claims up.",
                       &commands::Release);
    AddName(release, "INSTALLATION", m_options.installation,
            "Its name on the server. Default: list those that hold packets");
    AddPasswordOptions(AddForSettings("password",
                                      "Write the password of the FTP or WebDAV server into the settings "
                                      "file, enciphered by Windows: for this "
                                      "account on this computer.",
                                      &commands::Password));
    AddServiceCommands();
    AddForSettings("settings", "Edit the FTP settings in a dialog.", &commands::EditSettings);
    CLI::App& demo =
        Add("demo", "Let two installations exchange packets in a scratch folder, and compare every file.",
            &commands::Demo);
    AddName(demo, "DIR", m_options.path,
            "Scratch folder; must not exist. Default: a new one for temporary files");
    demo.add_flag("--keep", m_options.keep, "Leave the scratch folder when all went well");
    AddServerOptions(demo, "ftp", "FTP server", m_options.ftp);
    AddServerOptions(demo, "https", "WebDAV server (a URL)", m_options.https);
}

void Parser::AddServiceCommands() {
    CLI::App& service =
        *m_app.add_subcommand("service", "Manage a service of Windows that runs cycles again and "
                                         "again, whoever is logged on.");
    service.require_subcommand(1);
    cli::AddVersion(service, kName);
    cli::AddFooter(service, kServiceExamples);
    AddInstallOptions(
        AddServiceCommand(service, "install", "Install the service.", &commands::InstallService));
    AddServiceCommand(service, "remove", "Stop and remove the service.", &commands::RemoveService);
    AddServiceCommand(service, "start", "Start the service.", &commands::StartService);
    AddServiceCommand(service, "stop", "Stop the service, after the file at hand.", &commands::StopService);
    CLI::App& run = AddServiceCommand(service, "run", "Be the service.", &commands::RunService);
    AddInterval(run, m_options.service.every, "As of the installation");
    run.group("");
}

CLI::App& Parser::AddServiceCommand(CLI::App& service, const char* name, const char* description,
                                    Command command) {
    CLI::App& added = *service.add_subcommand(name, description);
    added.callback([this, command] { m_options.command = command; });
    AddName(added, "SETTINGS", m_options.path, "Settings file")->required();
    AddName(added, "--name", m_options.service.name,
            "Name of the service. Default: znhost-, and that of the file")
        ->type_name("NAME");
    cli::AddVersion(added, kName);
    cli::AddFooter(added, kServiceExamples);
    return added;
}

void Parser::AddInstallOptions(CLI::App& install) {
    ServiceRequest& request = m_options.service;
    AddInterval(install, request.every, "How often cycles come, as of run --every. Default: 10m");
    AddName(
        install, "--account", request.account,
        "Account of the service, DOMAIN\\user. Default: NT AUTHORITY\\NetworkService, which other computers "
        "know as this computer")
        ->type_name("ACCOUNT");
    AddText(install, "--password", request.password, "Password of the account")->type_name("PASSWORD");
    AddText(
        install, "--start", request.start,
        "When the service starts: auto (with Windows), delayed (a little later), manual. Default: delayed")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "delayed", "manual"}));
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
    AddName(added, "SETTINGS", m_options.path, "Settings file")->required();
    return added;
}

CLI::Option& Parser::AddInterval(CLI::App& app, std::wstring& value, const char* description) {
    const auto check = [](const std::string& text) {
        return IntervalOf(base::FromUtf8(text)) ? std::string()
                                                : "an interval is a number and s, m or h, up to a week: 10m";
    };
    return *AddText(app, "--every", value, description)->type_name("INTERVAL")->check(check);
}

void Parser::AddRunOptions(CLI::App& run) {
    RunRequest& request = m_options.run;
    CLI::Option* const dryRun =
        run.add_flag("--dry-run", request.dryRun, "Change nothing: tell what would be sent and delivered");
    CLI::Option* const json =
        AddJson(run, "Tell of each packet and of the run in JSON, one object on a line");
    run.add_flag("--quiet", request.quiet, "Tell only what could not be moved")->excludes(json);
    AddInterval(
        run, request.every,
        "Run again and again, with a line for each cycle, until Ctrl+C: 30s, 10m, 6h after the end of "
        "the one before, give or take a tenth. After failures the waits double, up to an hour")
        .excludes(dryRun);
    // Of a loop, for its cycles.
    run.add_option("--cycle", request.cycle)->group("");
    run.add_flag("--service", request.inService)->group("");
}

void Parser::AddBackupOptions(CLI::App& backups) {
    BackupRequest& request = m_options.backup;
    const auto is = [&request](BackupAction action) {
        return [&request, action](const std::string&) { request.action = action; };
    };
    CLI::Option* const restore =
        AddName(backups, "--restore", request.packetId, "Put a packet back into the receive folder")
            ->type_name("ID")
            ->each(is(BackupAction::Restore));
    CLI::Option* const restoreAll = backups.add_flag_callback(
        "--restore-all", [&request] { request.action = BackupAction::RestoreAll; },
        "Put every packet back into the receive folder");
    CLI::Option* const destroy = AddName(backups, "--destroy", request.packetId, "Delete a backup")
                                     ->type_name("ID")
                                     ->each(is(BackupAction::Destroy));
    CLI::Option* const over = backups.add_flag(
        "--over", request.isOver, "Restore also what the next run would put over a file of the inbox");
    restore->excludes(restoreAll, destroy);
    restoreAll->excludes(destroy);
    backups.parse_complete_callback([=] {
        if (*over && !*restore && !*restoreAll)
            throw CLI::RequiresError("--over", "--restore or --restore-all");
    });
}

void Parser::AddPasswordOptions(CLI::App& password) {
    PasswordRequest& request = m_options.password;
    password.add_flag(
        "--machine", request.forComputer,
        "Let every account of this computer decipher it: for a service, or tasks of several accounts");
    password.add_flag("--proxy", request.ofProxy, "Write that of the proxy");
    password.add_flag("--stdin", request.fromInput,
                      "Take it from the first line of the standard input (UTF-8) instead of asking for it");
}

/// The options of a round through a server go together. kind: "ftp"; what: is the server.
void Parser::AddServerOptions(CLI::App& demo, const std::string& kind, const std::string& what,
                              ServerAccount& account) {
    const std::string prefix = "--" + kind + "-";
    CLI::Option* const server =
        AddName(demo, prefix + "server", account.server, "Exchange packets through this " + what + ", too");
    CLI::Option* const user = AddText(demo, prefix + "user", account.user, "User of the " + what);
    CLI::Option* const password =
        AddText(demo, prefix + "password", account.password, "Password of the user");
    CLI::Option* const folder =
        AddText(demo, prefix + "folder", account.folder, "Folder on the server; made if missing");
    server->needs(user, password, folder);
    for (CLI::Option* const option : {user, password, folder})
        option->needs(server);
}

void Parser::Parse(const std::vector<std::wstring>& arguments) try {
    cli::Parse(m_app, arguments);
    // Asked for only now, so that a mistyped command is named instead.
    if (m_app.get_subcommands().empty()) throw CLI::RequiredError("A command (" + Names() + ")");
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
