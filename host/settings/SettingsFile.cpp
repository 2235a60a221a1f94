// See SettingsFile.h.
#include "host/settings/SettingsFile.h"

#include <SimpleIni.h>

#include <algorithm>
#include <array>
#include <cwctype>
#include <iterator>
#include <span>
#include <vector>

#include "base/Error.h"
#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Module.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "cipher/ProtectedText.h"
#include "ftp/settings/FtpPassword.h"
#include "host/settings/IniText.h"
#include "host/settings/NestedFolders.h"
#include "host/settings/SideFolders.h"

namespace {

using Ini = CSimpleIniW;
using base::EqualsIgnoringCase;

using Names = std::span<const wchar_t* const>;

std::wstring Listed(Names names) {
    std::wstring text;
    for (const wchar_t* const name : names)
        text.append(text.empty() ? L"" : L", ").append(name);
    return text;
}

/// A name as it is listed, whatever the letter case it is asked for in; null when it is not.
const wchar_t* Find(Names names, std::wstring_view name) {
    const auto found =
        std::ranges::find_if(names, [&](const wchar_t* other) { return EqualsIgnoringCase(other, name); });
    return found == names.end() ? nullptr : *found;
}

std::vector<const wchar_t*> NamesIn(std::wstring_view section) {
    std::vector<const wchar_t*> names;
    for (const Setting& setting : kSettings)
        if (EqualsIgnoringCase(setting.SectionName(), section)) names.push_back(setting.name);
    return names;
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

/// The parser knows comments only as lines of their own.
bool SeemsToHoldComment(const std::wstring& value) {
    return value.find(L" ;") != std::wstring::npos || value.find(L"\t;") != std::wstring::npos;
}

std::wstring Quoted(const std::wstring& value) { return L'"' + value + L'"'; }

bool IsPath(ValueKind kind) {
    switch (kind) {
    case ValueKind::File:
    case ValueKind::Reference:
    case ValueKind::Folder:
    case ValueKind::RemoteFolder:
    case ValueKind::ProgramFolder:
        return true;
    default:
        return false;
    }
}

/// In forms in which a path begins with that of every folder that it lies in.
std::wstring ComparableHere(const std::wstring& path) { return base::Upper(Path::WithSeparator(path)); }
/// From the root or not, which can be one folder: the transport through HTTPS begins both at the server's
/// address, and many a login begins at the root. Servers of Windows do not tell letter cases apart.
std::wstring ComparableOnServer(const std::wstring& path) {
    std::wstring comparable = L"/";
    for (const wchar_t letter : base::Upper(path) + L'/')
        if (letter != L'/' || comparable.back() != L'/') comparable += letter;
    return comparable;
}

/// A comparable path, and that of every folder that it lies in.
std::vector<std::wstring> WayTo(std::wstring comparable) {
    std::vector<std::wstring> way;
    while (!comparable.empty()) {
        way.push_back(comparable);
        comparable.pop_back();
        comparable.erase(comparable.find_last_of(L"\\/") + 1);
    }
    return way;
}

/// Such names hide that one path lies in another.
bool HoldsRelativeName(const std::wstring& path) {
    const std::wstring names = L"/" + path + L"/";
    return names.find(L"/./") != std::wstring::npos || names.find(L"/../") != std::wstring::npos;
}

/// On a WebDAV server, where notes and parts of packets lie in folders of such names.
bool HoldsNameOfTransport(const std::wstring& path) {
    const std::wstring comparable = ComparableOnServer(path);
    return std::ranges::any_of(std::array{L".UPLOADS/", L".CLAIMS/", L".DAMAGED/"}, [&](const wchar_t* end) {
        return comparable.find(end) != std::wstring::npos;
    });
}

/// "C:x" begins in the folder of drive C: that the process is in.
bool BeginsAnywhereOnDrive(const std::wstring& path) {
    constexpr std::size_t kRoot = 2;  // of "C:\"
    return path.find(L':') == kRoot - 1 && path.find_first_of(L"\\/") != kRoot;
}

/// The form of a password in which the settings take any text.
std::wstring EncipheredByProgram(std::span<const wchar_t> password) {
    return password.empty() ? std::wstring() : FtpPassword::Encipher({password.data(), password.size()});
}

/// One settings file on its way to checked values.
class Reader {
public:
    /// text: UTF-8.
    Reader(const std::wstring& file, const std::string& text);

    Settings Read();

private:
    void CheckLines();
    void CheckSections();
    void CheckNames(const wchar_t* section);
    void ReadValue(const Setting& setting);
    void CheckValue(const Setting& setting, const std::wstring& value);
    void CheckExtensions();
    void CheckApart();
    void CheckRemoteRoot();
    void CheckSideFolders();
    void CheckOwnFiles();
    std::wstring WhyNotAt(const std::wstring& path, bool isReference) const;
    std::wstring SidePathOf(const std::wstring& comparable) const;
    std::wstring Comparable(const Setting& setting) const;
    bool IsLocal(const Setting& setting) const;
    void Complain(const std::wstring& problem) { m_problems.push_back(m_settings.file + L": " + problem); }
    void ThrowProblems() const {
        if (!m_problems.empty()) throw SettingsError(m_problems);
    }

    // Repeated names are kept apart so that they can be refused; lines without "=" count as names.
    Ini m_ini{true, true, false};
    const std::string& m_text;
    Settings m_settings;
    Problems m_problems;
};

Reader::Reader(const std::wstring& file, const std::string& text) : m_text(text) {
    m_settings.file = file;
    m_ini.SetQuotes();
    m_ini.SetAllowKeyOnly(true);
    // What the parser cannot decode it takes for other characters, and a zero for the end of a name or value.
    const bool isText = base::DecodedUtf8(text) && text.find('\0') == std::string::npos;
    if (!isText || m_ini.LoadData(text) < 0) Complain(L"the file is not UTF-8 text");
    ThrowProblems();
}

Settings Reader::Read() {
    CheckLines();
    CheckSections();
    for (const Setting& setting : kSettings)
        ReadValue(setting);
    ThrowProblems();
    CheckExtensions();
    CheckApart();
    CheckRemoteRoot();
    CheckSideFolders();
    CheckOwnFiles();
    ThrowProblems();
    return std::move(m_settings);
}

/// The parser passes over values without a name.
void Reader::CheckLines() {
    for (std::size_t sign = m_text.find('='); sign != std::string::npos; sign = m_text.find('=', sign + 1)) {
        const std::size_t before = std::string_view(m_text).substr(0, sign).find_last_not_of(" \t");
        if (before == std::string::npos || m_text[before] == '\r' || m_text[before] == '\n')
            Complain(L"a line has no name before its =");
    }
}

void Reader::CheckSections() {
    Ini::TNamesDepend sections;
    m_ini.GetAllSections(sections);
    sections.sort(Ini::Entry::LoadOrder());
    for (const Ini::Entry& section : sections)
        if (*section.pItem == L'\0' || Find(kSectionNames, section.pItem))
            CheckNames(section.pItem);
        else
            Complain(L"[" + std::wstring(section.pItem) + L"] is an unknown section; there are: " +
                     Listed(kSectionNames));
}

void Reader::CheckNames(const wchar_t* section) {
    const std::vector<const wchar_t*> known = NamesIn(section);
    Ini::TNamesDepend names;
    m_ini.GetAllKeys(section, names);
    names.sort(Ini::Entry::LoadOrder());
    for (const Ini::Entry& name : names) {
        const std::wstring title = L"[" + std::wstring(section) + L"] " + name.pItem;
        if (*section == L'\0')
            Complain(std::wstring(name.pItem) + L" stands before the first section");
        else if (!Find(known, name.pItem))
            Complain(title + L" is an unknown key; the section has: " + Listed(known));
        else if (Ini::TNamesDepend values;
                 m_ini.GetAllValues(section, name.pItem, values) && values.size() > 1)
            Complain(title + L" is given " + std::to_wstring(values.size()) + L" times");
    }
}

void Reader::ReadValue(const Setting& setting) {
    const wchar_t* const raw = m_ini.GetValue(setting.SectionName(), setting.name);
    if (!raw && setting.presence != Presence::Optional) return Complain(setting.Title() + L" is missing");
    std::wstring value = raw ? raw : L"";
    if (value.empty() && setting.presence == Presence::Required)
        return Complain(setting.Title() + L" has no value");
    if (value.empty()) value = setting.fallback;
    CheckValue(setting, value);
    if (const wchar_t* const word = Find(setting.allowed, value)) value = word;
    if (const auto revealed = ProtectedText::Reveal(value); revealed && setting.kind == ValueKind::Password)
        value = EncipheredByProgram(revealed->text);
    if (setting.kind == ValueKind::ProgramFolder && value.empty())
        value = Path::ParentFolder(base::ProgramPath());
    if (IsLocal(setting) && !value.empty())
        value = FileSystem::FullPath(Path::ParentFolder(m_settings.file), value);
    setting.take(m_settings, value);
}

/// Whether the value is a path on this computer, which may be relative to the settings file.
bool Reader::IsLocal(const Setting& setting) const {
    switch (setting.kind) {
    case ValueKind::File:
    case ValueKind::Reference:
    case ValueKind::Folder:
    case ValueKind::ProgramFolder:
        return true;
    case ValueKind::RemoteFolder:
        return m_settings.transport == Transport::Folder;
    default:
        return false;
    }
}

void Reader::CheckValue(const Setting& setting, const std::wstring& value) {
    const auto refuseIf = [&](bool wrong, const std::wstring& why) {
        if (wrong) m_problems.push_back(Complaint(m_settings.file, setting, value, why));
    };
    const auto is = [&](ValueKind kind) { return setting.kind == kind; };
    // Without the value: not even an enciphered password is shown.
    if (is(ValueKind::Password) && ProtectedText::IsProtected(value) && !ProtectedText::Reveal(value))
        Complain(
            setting.Title() + L": the password cannot be deciphered here: " +
            ProtectedText::WhyHidden(value) +
            L" If another account has enciphered it, run this as that account; else write it anew, for all "
            L"of this computer: " +
            CommandOfPassword(m_settings.file, setting));
    if (is(ValueKind::Password) && FtpPassword::IsEnciphered(value) && !FtpPassword::Decipher(value))
        Complain(setting.Title() +
                 L": the password cannot be deciphered: it is damaged, or a plain one of hexadecimal digits "
                 L"alone, as enciphered ones are; write it anew, for all of this computer: " +
                 CommandOfPassword(m_settings.file, setting));
    refuseIf(!setting.allowed.empty() && !Find(setting.allowed, value),
             L"the value must be one of: " + Listed(setting.allowed));
    refuseIf((is(ValueKind::Number) && !IsNumber(value)) || (is(ValueKind::Extension) && !IsExtension(value)),
             std::wstring(L"the value must be ") + DescriptionOf(setting.kind));
    refuseIf(is(ValueKind::Reference) && !value.empty() && !CanBeReference(Path::FileName(value)),
             L"the file's name must end in .AXR and hold no ~");
    refuseIf(is(ValueKind::RemoteFolder) && !IsLocal(setting) && value.find(L'\\') != std::wstring::npos,
             L"a path on a server is written with /");
    refuseIf(is(ValueKind::RemoteFolder) && !IsLocal(setting) && HoldsRelativeName(value),
             L"a path on a server must hold no . and no .. in the place of a name");
    refuseIf(
        is(ValueKind::RemoteFolder) && m_settings.transport == Transport::Https &&
            HoldsNameOfTransport(value),
        L"the path must hold no name that ends in .uploads, .claims or .damaged, as those of the folders "
        L"that the transport keeps beside it");
    refuseIf(IsPath(setting.kind) && SeemsToHoldComment(value) &&
                 m_text.find(base::ToUtf8(Quoted(value))) == std::string::npos,
             L"a comment takes a line of its own; put the value in quotes if this is none");
    refuseIf(IsLocal(setting) && value.find_first_of(L"*?\"<>|") != std::wstring::npos,
             L"the path holds a character that no path may hold");
    refuseIf(IsLocal(setting) && BeginsAnywhereOnDrive(value),
             L"behind the drive there must be \\, or the path begins in another folder for each program");
}

/// A packet is decoded by the encoder of its extension: two equal ones would leave it as it travels.
void Reader::CheckExtensions() {
    const Setting* const settings[] = {&SettingOf<&Settings::zip, &EncoderSettings::inExtension>(),
                                       &SettingOf<&Settings::xdelta, &EncoderSettings::inExtension>(),
                                       &SettingOf<&Settings::zip, &EncoderSettings::outExtension>(),
                                       &SettingOf<&Settings::xdelta, &EncoderSettings::outExtension>()};
    for (const Setting* out : {settings[2], settings[3]})
        for (const Setting* other : settings) {
            if (other == out) break;
            if (EqualsIgnoringCase(other->text(m_settings), out->text(m_settings)))
                m_problems.push_back(
                    Complaint(m_settings, *out, L"the extension must differ from that of " + other->Title()));
        }
}

/// In a form in which a folder begins with the path of every folder that it lies in.
std::wstring Reader::Comparable(const Setting& setting) const {
    const std::wstring path = setting.text(m_settings);
    return IsLocal(setting) ? ComparableHere(path) : ComparableOnServer(path);
}

/// By their paths; where those lead is asked when a run begins.
void Reader::CheckApart() {
    std::vector<LocatedFolder> folders;
    for (const Setting& setting : kSettings)
        if (HoldsPackets(setting.kind) && !setting.text(m_settings).empty())
            folders.push_back({&setting, WayTo(Comparable(setting))});
    std::ranges::move(NestedFolders(m_settings, folders), std::back_inserter(m_problems));
}

/// That of a share is a folder like others.
void Reader::CheckRemoteRoot() {
    constexpr const Setting& kReceive = SettingOf<&Settings::remoteReceive>();
    const std::wstring path = Path::WithSeparator(kReceive.text(m_settings));
    const std::wstring drive = Path::Drive(path);
    if (IsLocal(kReceive) && drive.ends_with(L':') && path == Path::WithSeparator(drive))
        m_problems.push_back(
            Complaint(m_settings, kReceive,
                      L"the folder must not be the root of a drive: Windows keeps folders of "
                      L"its own there, which would be received as packets"));
}

/// What a run keeps beside a folder must neither travel nor be taken for packets.
void Reader::CheckSideFolders() {
    for (const Setting& setting : {SettingOf<&Settings::send>(), SettingOf<&Settings::receive>()}) {
        const std::wstring path = Path::WithSeparator(setting.text(m_settings));
        if (path == Path::WithSeparator(Path::Drive(path)))
            m_problems.push_back(Complaint(m_settings, setting,
                                           L"the folder must not be the root of a drive or share: a run "
                                           L"keeps other folders beside it"));
    }
    for (const Setting& setting : kSettings) {
        if (!HoldsPackets(setting.kind)) continue;
        if (const std::wstring side = SidePathOf(Comparable(setting)); !side.empty())
            m_problems.push_back(Complaint(m_settings, setting,
                                           L"the folder must not be or lie in " + side +
                                               L", where a run keeps what is no packet"));
    }
}

/// The file or folder beside send or receive that a comparable path is or lies in; empty for any other path.
std::wstring Reader::SidePathOf(const std::wstring& comparable) const {
    for (const SideFolder& side : kSideFolders)
        if (comparable.starts_with(ComparableHere(side.Path(m_settings)))) return side.Path(m_settings);
    return {};
}

/// What an installation works with would travel as a packet, or be replaced by one that arrives.
void Reader::CheckOwnFiles() {
    if (const std::wstring why = WhyNotAt(m_settings.file, false); !why.empty())
        Complain(L"the settings file " + why);
    for (const Setting& setting : kSettings) {
        const std::wstring path = setting.text(m_settings);
        if (!IsLocal(setting) || HoldsPackets(setting.kind) || path.empty()) continue;
        const std::wstring why = WhyNotAt(path, setting.kind == ValueKind::Reference);
        if (!why.empty()) m_problems.push_back(Complaint(m_settings, setting, L"it " + why));
    }
}

/// Why something other than packets must not lie at a path; empty where it may. A new reference file can
/// travel as a packet, and be used where packets are kept.
std::wstring Reader::WhyNotAt(const std::wstring& path, bool isReference) const {
    const std::wstring comparable = ComparableHere(path);
    for (const Setting& folder : kSettings) {
        const bool keeps =
            &folder == &SettingOf<&Settings::sent>() || &folder == &SettingOf<&Settings::inbox>();
        if (HoldsPackets(folder.kind) && IsLocal(folder) && !folder.text(m_settings).empty() &&
            !(isReference && keeps) && comparable.starts_with(Comparable(folder)))
            return L"must not lie in the folder of " + folder.Title() + L", where every file is a packet";
    }
    const std::wstring side = SidePathOf(comparable);
    return side.empty() ? side : L"must not be or lie in " + side + L", which belongs to the transport";
}

/// The comment of a setting in a new file, in lines.
std::wstring FileComment(const Setting& setting) {
    constexpr std::size_t kLongestLine = 102;
    std::wstring text = std::wstring(L"; ") + setting.comment;
    if (*setting.fallback != L'\0') text.append(L" Default: ").append(setting.fallback);
    for (std::size_t start = 0;;) {
        std::size_t end = std::min(text.find(L'\n', start), text.size());
        if (end - start > kLongestLine) end = text.rfind(L' ', start + kLongestLine);
        if (end == text.size()) return text;
        text.replace(end, 1, L"\n; ");
        start = end + 1;
    }
}

// With the blank lines that the file has when its settings are written again.
constexpr const char* kHeading = "; Settings of znhost. Paths are absolute, or relative to this file.\n\n\n";

base::Bytes BytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Of a text that somebody is writing the settings that do not stand there yet would have other values.
std::string SettingsText(const std::wstring& file) try {
    return base::ReadUnchanging(file);
} catch (const base::SystemError& error) {
    throw SettingsError({L"The settings file cannot be read: " + error.failure().description +
                         (error.Code() == ERROR_SHARING_VIOLATION
                              ? L" Somebody writes to it; save and close it there, and run again."
                              : L"")});
}

/// A value as files hold it: quotes around it keep blanks, or quotes, at its ends.
std::wstring FileValue(const std::wstring& value) {
    const bool needsQuotes = IniText::Trimmed(value) != value || SeemsToHoldComment(value) ||
                             (value.starts_with(L'"') && value.ends_with(L'"'));
    return needsQuotes ? Quoted(value) : value;
}

/// file: that the text is of.
void Set(std::string& text, const std::wstring& file, const Setting& setting, const std::wstring& value) {
    if (!IniText::SetValue(text, setting.SectionName(), setting.name, value))
        throw SettingsError({file + L": the file is not UTF-8 text"});
}

std::wstring ValueIn(const std::string& text, const Setting& setting) {
    Ini ini(true);
    ini.SetQuotes();
    ini.LoadData(text);
    return ini.GetValue(setting.SectionName(), setting.name, L"");
}

/// What Windows enciphered before stays so, for the same readers. before: as the file holds it.
std::wstring StoredPassword(const std::wstring& before, const Password& password) {
    const auto revealed = ProtectedText::Reveal(before);
    if (!revealed || password.plain.empty()) return TextOf(password);
    if (std::ranges::equal(revealed->text, password.plain)) return before;
    return ProtectedText::Protect(password.plain, revealed->readers);
}

constexpr const Setting& kFtpPassword = SettingOf<&Settings::ftpPassword>();
/// What is edited of an FTP site beside its password.
constexpr const Setting* kFtpSite[] = {&SettingOf<&Settings::remoteSend>(),
                                       &SettingOf<&Settings::remoteReceive>(),
                                       &SettingOf<&Settings::ftpServer>(), &SettingOf<&Settings::ftpUser>()};

/// Whether two states of a file mean the same FTP site; the role tells which folder is which.
bool HaveSameSite(const Settings& one, const Settings& other) {
    return one.role == other.role && one.transport == other.transport &&
           one.ftpPassword.plain == other.ftpPassword.plain &&
           std::ranges::all_of(
               kFtpSite, [&](const Setting* setting) { return setting->text(one) == setting->text(other); });
}

void SetContent(base::File& file, const std::string& text) {
    // In one step with empty lines over what is longer: a process that ends here leaves no old ones behind
    // the text.
    std::string content = text;
    content.resize(std::max(text.size(), static_cast<std::size_t>(file.Size())), '\n');
    file.WriteAt(0, BytesOf(content));
    file.Truncate(text.size());
    file.Flush();
}

/// In place: the file holds a password, and a new one would not keep owner and rights (under Wine not even
/// after ReplaceFile). A failure leaves the text before.
void Overwrite(const std::wstring& path, const std::string& before, const std::string& text) {
    const std::wstring extended = FileSystem::Extended(path);
    const DWORD attributes = GetFileAttributesW(extended.c_str());
    // Whoever edits the settings wants them changed, also where the file is write-protected.
    base::RollBack protect([&] { SetFileAttributesW(extended.c_str(), attributes); });
    if (attributes & FILE_ATTRIBUTE_READONLY)
        SetFileAttributesW(extended.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    else
        protect.Dismiss();
    base::File file = base::File::Open(path, GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING);
    base::RollBack undo([&] { SetContent(file, before); });
    SetContent(file, text);
    undo.Dismiss();
}

}  // namespace

Settings ReadSettings(const std::wstring& file) { return Reader(file, SettingsText(file)).Read(); }

Settings DefaultSettings() {
    Settings settings;
    for (const Setting& setting : kSettings)
        setting.take(settings, setting.fallback);
    return settings;
}

std::string NewSettingsText(const Settings& settings) {
    Ini ini(true);
    for (const Setting& setting : kSettings)
        ini.SetValue(setting.SectionName(), setting.name, setting.text(settings).c_str(),
                     FileComment(setting).c_str());
    std::string text;
    ini.Save(text);
    return kHeading + text;
}

Settings ReadSettingsWithoutPasswords(const std::wstring& file) {
    std::string text = SettingsText(file);
    for (const Setting& setting : kSettings)
        if (setting.kind == ValueKind::Password) Set(text, file, setting, L"");
    return Reader(file, text).Read();
}

const Setting* PasswordOfAccount(const std::wstring& file) {
    const std::string text = SettingsText(file);
    const auto found = std::ranges::find_if(kSettings, [&](const Setting& setting) {
        if (setting.kind != ValueKind::Password) return false;
        const auto revealed = ProtectedText::Reveal(ValueIn(text, setting));
        return revealed && revealed->readers == ProtectedText::Readers::Account;
    });
    return found == kSettings.end() ? nullptr : &*found;
}

std::wstring CommandOfPassword(const std::wstring& file, const Setting& setting) {
    const bool ofProxy = &setting == &SettingOf<&Settings::httpsProxyPassword>();
    return L"znhost password --machine \"" + file + L"\"" + (ofProxy ? L" --proxy" : L"");
}

void WritePassword(const std::wstring& file, const Setting& setting, const std::wstring& stored) {
    const std::string before = SettingsText(file);
    std::string text = before;
    Set(text, file, setting, stored);
    Overwrite(file, before, text);
}

void WriteFtpSettings(const Settings& settings, const Settings& began) {
    const std::string before = SettingsText(settings.file);
    if (!HaveSameSite(Reader(settings.file, before).Read(), began))
        throw SettingsChanged({settings.file + L": the FTP settings were changed while the dialog was open, "
                                               L"and stay so. It now shows them: change them there again."});
    std::string text = before;
    for (const Setting* const setting : kFtpSite)
        Set(text, settings.file, *setting, FileValue(setting->text(settings)));
    Set(text, settings.file, kFtpPassword,
        StoredPassword(ValueIn(before, kFtpPassword), settings.ftpPassword));
    Reader(settings.file, text).Read();
    Overwrite(settings.file, before, text);
}
