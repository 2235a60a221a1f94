#include "host/Settings.h"

#include <SimpleIni.h>

#include <algorithm>
#include <array>
#include <cwctype>
#include <iterator>
#include <map>

#include "base/Error.h"
#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Module.h"
#include "base/Path.h"
#include "base/Text.h"
#include "ftp/settings/FtpPassword.h"
#include "host/SettingsKeys.h"

namespace {

using Ini = CSimpleIniW;
using Problems = std::vector<std::wstring>;

std::wstring Listed(const std::vector<std::wstring>& names) {
    std::wstring text;
    for (const std::wstring& name : names)
        text += (text.empty() ? L"" : L", ") + name;
    return text;
}

std::wstring KeysOf(std::wstring_view section) {
    std::vector<std::wstring> names;
    for (const SettingsKey& key : SettingsKeys())
        if (base::EqualsIgnoringCase(key.section, section)) names.emplace_back(key.name);
    return Listed(names);
}

bool IsNumber(const std::wstring& value) {
    return !value.empty() && value.size() <= 6 &&
           value.find_first_not_of(L"0123456789") == std::wstring::npos;
}

/// The transporter tells packets apart by the last four characters of their names.
bool IsExtension(const std::wstring& value) {
    return value.size() == 4 && value.front() == L'.' &&
           std::all_of(value.begin() + 1, value.end(), [](wchar_t letter) { return std::iswalnum(letter); });
}

/// A difference names its reference after a "~", without the extension.
bool CanBeReference(const std::wstring& path) {
    const std::wstring name = Path::FileName(path);
    return base::Upper(name).ends_with(L".AXR") && name.find(L'~') == std::wstring::npos;
}

bool HoldsPackets(ValueKind kind) { return kind == ValueKind::Folder || kind == ValueKind::RemoteFolder; }

bool IsPlain(const std::wstring& password) {
    return !password.empty() && !FtpPassword::IsEnciphered(password);
}

std::wstring PlainPassword(const std::wstring& text) {
    return IsPlain(text) ? text : FtpPassword::Decipher(text);
}

/// One settings file on its way to checked values.
class Reader {
public:
    explicit Reader(std::wstring file) : m_file(std::move(file)) {}

    Settings Read();

private:
    void Load();
    void CheckSections();
    void CheckKeys(const wchar_t* section);
    void ReadValue(const SettingsKey& key);
    bool IsFtp() const { return base::EqualsIgnoringCase(Value(L"host", L"transport"), L"ftp"); }
    bool IsLocal(const SettingsKey& key) const;
    void CheckValue(const SettingsKey& key, const std::wstring& value);
    void CheckExtensions();
    std::wstring Comparable(const SettingsKey& key) const;
    void CheckApart();
    EncoderKind Encoder() const;
    EncoderSettings EncoderSection(const wchar_t* section, const wchar_t* folderKey) const;
    std::wstring Value(const wchar_t* section, const wchar_t* name) const;
    void Complain(const std::wstring& problem) { m_problems.push_back(m_file + L": " + problem); }
    void ThrowProblems() const {
        if (!m_problems.empty()) throw SettingsError(m_problems);
    }

    std::wstring m_file;
    // Repeated keys are kept apart so that they can be refused; lines without "=" count as keys.
    Ini m_ini{true, true, false};
    std::map<const SettingsKey*, std::wstring> m_values;
    Problems m_problems;
};

Settings Reader::Read() {
    Load();
    CheckSections();
    for (const SettingsKey& key : SettingsKeys())
        ReadValue(key);
    ThrowProblems();
    CheckExtensions();
    CheckApart();
    ThrowProblems();
    return {.role =
                base::EqualsIgnoringCase(Value(L"host", L"role"), L"field") ? Role::Field : Role::Enterprise,
            .applicationName = Value(L"host", L"application"),
            .userInterface = base::EqualsIgnoringCase(Value(L"host", L"user_interface"), L"yes"),
            .backups = base::EqualsIgnoringCase(Value(L"host", L"backups"), L"yes"),
            .encoder = Encoder(),
            .zip = EncoderSection(L"zip", L"zip_util_location"),
            .xdelta = EncoderSection(L"xdelta", L"xdelta_util_location"),
            .outbox = Value(L"folders", L"outbox"),
            .sent = Value(L"folders", L"sent"),
            .inbox = Value(L"folders", L"inbox"),
            .send = Value(L"folders", L"send"),
            .receive = Value(L"folders", L"receive"),
            .transport = IsFtp() ? Transport::Ftp : Transport::Folder,
            .remoteSend = Value(L"folders", L"remote_send"),
            .remoteReceive = Value(L"folders", L"remote_receive"),
            .ftpServer = Value(L"ftp", L"server"),
            .ftpUser = Value(L"ftp", L"user"),
            .ftpPassword = PlainPassword(Value(L"ftp", L"password")),
            .fileTellsPassword = IsPlain(Value(L"ftp", L"password")),
            .logFile = Value(L"log", L"file")};
}

void Reader::Load() try {
    m_ini.SetAllowKeyOnly(true);
    if (m_ini.LoadData(base::ReadFile(m_file)) < 0) Complain(L"the file is not UTF-8 text");
    ThrowProblems();
} catch (const base::Error& error) {
    throw SettingsError({L"The settings file cannot be read: " + error.failure().description});
}

void Reader::CheckSections() {
    Ini::TNamesDepend sections;
    m_ini.GetAllSections(sections);
    sections.sort(Ini::Entry::LoadOrder());
    const std::vector<std::wstring> known = SettingsSections();
    for (const Ini::Entry& section : sections) {
        const bool isKnown = std::ranges::any_of(
            known, [&](const std::wstring& name) { return base::EqualsIgnoringCase(name, section.pItem); });
        if (isKnown || *section.pItem == L'\0')
            CheckKeys(section.pItem);
        else
            Complain(
                std::wstring(L"[").append(section.pItem).append(L"] is an unknown section; there are: ") +
                Listed(known));
    }
}

void Reader::CheckKeys(const wchar_t* section) {
    Ini::TNamesDepend names;
    m_ini.GetAllKeys(section, names);
    names.sort(Ini::Entry::LoadOrder());
    for (const Ini::Entry& name : names) {
        const std::wstring title = std::wstring(L"[").append(section).append(L"] ").append(name.pItem);
        if (*section == L'\0')
            Complain(std::wstring(name.pItem) + L" stands before the first section");
        else if (!FindSettingsKey(section, name.pItem))
            Complain(title + L" is an unknown key; the section has: " + KeysOf(section));
        else if (Ini::TNamesDepend values;
                 m_ini.GetAllValues(section, name.pItem, values) && values.size() > 1)
            Complain(title + L" is given " + std::to_wstring(values.size()) + L" times");
    }
}

void Reader::ReadValue(const SettingsKey& key) {
    const wchar_t* const raw = m_ini.GetValue(key.section, key.name);
    if (!raw && key.presence != Presence::Optional) return Complain(key.Title() + L" is missing");
    std::wstring value = raw ? raw : key.fallback;
    if (value.empty() && key.presence == Presence::Required) return Complain(key.Title() + L" has no value");
    if (value.empty()) value = key.fallback;
    CheckValue(key, value);
    if (IsLocal(key) && !value.empty()) value = FileSystem::FullPath(Path::ParentFolder(m_file), value);
    m_values[&key] = value;
}

/// The transport stands before the folders in the table, so that it is known here.
bool Reader::IsLocal(const SettingsKey& key) const {
    return key.kind == ValueKind::RemoteFolder ? !IsFtp() : IsPath(key.kind);
}

void Reader::CheckValue(const SettingsKey& key, const std::wstring& value) {
    const auto refuse = [&](const std::wstring& why) {
        Complain(key.Title() + L" = " + value + L": " + why);
    };
    const bool isAllowed = std::ranges::any_of(
        key.allowed, [&](const std::wstring& allowed) { return base::EqualsIgnoringCase(allowed, value); });
    if (!key.allowed.empty() && !isAllowed) refuse(L"the value must be one of: " + Listed(key.allowed));
    if (key.kind == ValueKind::Number && !IsNumber(value))
        refuse(L"the value must be a whole number from 0 to 999999");
    if (key.kind == ValueKind::Extension && !IsExtension(value))
        refuse(L"the value must be a dot and three letters or digits");
    if (key.kind == ValueKind::Reference && !value.empty() && !CanBeReference(value))
        refuse(L"the file's name must end in .AXR and hold no ~");
    if (key.kind == ValueKind::RemoteFolder && IsFtp() && value.find(L'\\') != std::wstring::npos)
        refuse(L"a path on an FTP server is written with /");
    if (IsLocal(key) && value.find_first_of(L"*?\"<>|") != std::wstring::npos)
        refuse(L"the path holds a character that no path may hold");
}

/// A packet is decoded by the encoder of its extension: two equal ones would leave it as it travels.
void Reader::CheckExtensions() {
    const SettingsKey* const keys[] = {
        FindSettingsKey(L"zip", L"in_extension"), FindSettingsKey(L"xdelta", L"in_extension"),
        FindSettingsKey(L"zip", L"out_extension"), FindSettingsKey(L"xdelta", L"out_extension")};
    for (const SettingsKey* out : {keys[2], keys[3]})
        for (const SettingsKey* other : keys) {
            if (other == out) break;
            if (base::EqualsIgnoringCase(m_values[other], m_values[out]))
                Complain(out->Title() + L" = " + m_values[out] +
                         L": the extension must differ from that of " + other->Title());
        }
}

std::wstring WithSeparator(std::wstring folder, wchar_t separator) {
    if (!folder.ends_with(separator)) folder += separator;
    return folder;
}

/// In a form in which a folder begins with the path of every folder that it lies in.
std::wstring Reader::Comparable(const SettingsKey& key) const {
    const std::wstring& path = m_values.at(&key);
    return IsLocal(key) ? base::Upper(WithSeparator(path, L'\\')) : WithSeparator(path, L'/');
}

/// A folder inside another one, or named twice, would send packets in a circle.
void Reader::CheckApart() {
    std::vector<std::pair<const SettingsKey*, std::wstring>> folders;
    for (const SettingsKey& key : SettingsKeys())
        if (HoldsPackets(key.kind) && !m_values[&key].empty()) folders.emplace_back(&key, Comparable(key));
    for (const auto& [outerKey, outer] : folders)
        for (const auto& [innerKey, inner] : folders)
            if (outerKey != innerKey && inner.starts_with(outer) && (inner != outer || outerKey < innerKey))
                Complain(innerKey->Title() + L" = " + m_values[innerKey] +
                         L": the folder must not be or lie in that of " + outerKey->Title());
}

std::wstring Reader::Value(const wchar_t* section, const wchar_t* name) const {
    return m_values.at(FindSettingsKey(section, name));
}

EncoderKind Reader::Encoder() const {
    const std::wstring name = Value(L"host", L"encoder");
    if (base::EqualsIgnoringCase(name, L"zip")) return EncoderKind::Zip;
    return base::EqualsIgnoringCase(name, L"xdelta") ? EncoderKind::XDelta : EncoderKind::None;
}

/// The keys of an encoder's section are its property set's names in small letters.
EncoderSettings Reader::EncoderSection(const wchar_t* section, const wchar_t* folderKey) const {
    EncoderSettings settings{.inExtension = Value(section, L"in_extension"),
                             .outExtension = Value(section, L"out_extension"),
                             .programFolder = Value(section, folderKey),
                             .properties = {}};
    for (const auto& [key, value] : m_values)
        if (base::EqualsIgnoringCase(key->section, section) && !value.empty())
            settings.properties.emplace_back(base::Upper(key->name), value);
    if (settings.programFolder.empty()) {
        settings.programFolder = Path::ParentFolder(base::ProgramPath());
        settings.properties.emplace_back(base::Upper(folderKey), settings.programFolder);
    }
    return settings;
}

std::wstring Complaint(const std::wstring& file, const wchar_t* section, const wchar_t* name,
                       const std::wstring& value, const std::wstring& problem) {
    return file + L": " + FindSettingsKey(section, name)->Title() + L" = " + value + L": " + problem;
}

}  // namespace

Settings ReadSettings(const std::wstring& file) { return Reader(file).Read(); }

void CheckTransport(const Settings& settings, Transport transport, const std::wstring& file) {
    if (settings.transport == transport) return;
    const auto name = [](Transport which) { return which == Transport::Ftp ? L"ftp" : L"folder"; };
    throw SettingsError({Complaint(file, L"host", L"transport", name(settings.transport),
                                   std::wstring(L"this command needs transport = ") + name(transport))});
}

void CheckFolders(const Settings& settings, const std::wstring& file) {
    const std::array<std::pair<const wchar_t*, const std::wstring*>, 5> folders{
        {{L"outbox", &settings.outbox},
         {L"sent", &settings.sent},
         {L"inbox", &settings.inbox},
         {L"send", &settings.send},
         {L"receive", &settings.receive}}};
    Problems problems;
    for (const auto& [name, path] : folders)
        if (!path->empty() && FileSystem::FileExists(*path))
            problems.push_back(Complaint(file, L"folders", name, *path, L"this is a file, not a folder"));
    if (problems.empty() && !FileSystem::FolderExists(settings.outbox))
        problems.push_back(
            Complaint(file, L"folders", L"outbox", settings.outbox, L"there is no such folder"));
    if (!problems.empty()) throw SettingsError(problems);
}

void CheckPrograms(const Settings& settings, const std::wstring& file) {
    const auto check = [&](const EncoderSettings& encoder, const wchar_t* section, const wchar_t* key,
                           const wchar_t* program) {
        if (!FileSystem::FileExists(Path::Join(encoder.programFolder, program)))
            throw SettingsError({Complaint(file, section, key, encoder.programFolder,
                                           std::wstring(L"there is no ") + program +
                                               L" in this folder; copy it there, name its folder, or set "
                                               L"[host] encoder = none")});
    };
    if (settings.encoder == EncoderKind::Zip) check(settings.zip, L"zip", L"zip_util_location", L"Zip.exe");
    if (settings.encoder == EncoderKind::XDelta)
        check(settings.xdelta, L"xdelta", L"xdelta_util_location", L"xDelta.exe");
}

void CheckLogFile(const Settings& settings, const std::wstring& file) try {
    if (settings.logFile.empty()) return;
    FileSystem::CreateFolders(Path::ParentFolder(settings.logFile));
    base::AppendToFile(settings.logFile, "");
} catch (const base::Error& error) {
    throw SettingsError({Complaint(file, L"log", L"file", settings.logFile,
                                   L"the log cannot be written: " + error.failure().description)});
}

std::wstring LogReference(const Settings& settings) {
    return settings.logFile.empty() ? L"see the event log" : L"see " + settings.logFile;
}

void WriteFtpSettings(const Settings& settings, const std::wstring& file) {
    Ini ini(true);
    if (ini.LoadData(base::ReadFile(file)) < 0) throw base::Error(E_FAIL, file + L" is not UTF-8 text.");
    ini.SetValue(L"folders", L"remote_send", settings.remoteSend.c_str());
    ini.SetValue(L"folders", L"remote_receive", settings.remoteReceive.c_str());
    ini.SetValue(L"ftp", L"server", settings.ftpServer.c_str());
    ini.SetValue(L"ftp", L"user", settings.ftpUser.c_str());
    ini.SetValue(L"ftp", L"password", FtpPassword::Encipher(settings.ftpPassword).c_str());
    std::string text;
    ini.Save(text);
    // A file that is half written would be no settings file any more.
    const std::wstring written = file + L".new";
    if (FileSystem::FileExists(written)) FileSystem::DeleteFile(written);
    base::WriteNewFile(written, text);
    try {
        ReadSettings(written);
        FileSystem::MoveReplacing(written, file);
    } catch (...) {
        FileSystem::DeleteFile(written);
        throw;
    }
}
