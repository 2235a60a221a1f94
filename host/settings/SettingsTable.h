// The table of all settings: one line for each, from which they are read, checked, written and described.
// Portable.
#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "host/settings/Settings.h"
#include "packets/EncodedName.h"

enum class Section { Host, Folders, Ftp, Https, Zip, XDelta, Log };
inline constexpr std::array kSectionNames = {L"host", L"folders", L"ftp", L"https",
                                             L"zip",  L"xdelta",  L"log"};

enum class Presence {
    Required,       ///< must be there and have a value
    RequiredEmpty,  ///< must be there, its value may be empty
    Optional,
};

enum class ValueKind {
    Text,
    Number,
    Password,
    Extension,  ///< of file names
    File,
    Reference,      ///< a file that differences are made against
    Folder,         ///< of packets: no two of them may overlap
    RemoteFolder,   ///< of packets: a folder, or a path on the server
    ProgramFolder,  ///< of external programs
};
inline bool HoldsPackets(ValueKind kind) {
    return kind == ValueKind::Folder || kind == ValueKind::RemoteFolder;
}
/// What a value of the kind is, as messages and the reference say it.
const wchar_t* DescriptionOf(ValueKind kind);

struct Setting {
    Section section;
    const wchar_t* name;
    ValueKind kind;
    Presence presence;
    const wchar_t* fallback;                  ///< of an optional one without a value
    const wchar_t* comment;                   ///< what a user should know
    std::span<const wchar_t* const> allowed;  ///< all values that are possible; empty for any
    /// Gives a value, one of those that are allowed, to the field of the setting.
    void (*take)(Settings& settings, const std::wstring& text);
    /// The value of the field as a settings file holds it.
    std::wstring (*text)(const Settings& settings);

    const wchar_t* SectionName() const { return kSectionNames[static_cast<std::size_t>(section)]; }
    /// "[section] name", as messages name it.
    std::wstring Title() const;
};

// --- Values and their texts -------------------------------------------------------------------------

template <class Value>
struct Word {
    const wchar_t* text;
    Value value;
};
/// The words for the values of a type; none for a type that any text can be a value of.
template <class Value>
inline constexpr std::array<Word<Value>, 0> kWords{};
template <>
inline constexpr auto kWords<bool> = std::to_array<Word<bool>>({{L"yes", true}, {L"no", false}});
template <>
inline constexpr auto kWords<Role> = std::to_array<Word<Role>>({{L"field", Role::Field},
                                                                {L"enterprise", Role::Enterprise}});
template <>
inline constexpr auto kWords<Transport> = std::to_array<Word<Transport>>({{L"folder", Transport::Folder},
                                                                          {L"ftp", Transport::Ftp},
                                                                          {L"https", Transport::Https}});
template <>
inline constexpr auto kWords<EncoderKind> = std::to_array<Word<EncoderKind>>(
    {{L"none", EncoderKind::None}, {L"zip", EncoderKind::Zip}, {L"xdelta", EncoderKind::XDelta}});

template <class Value>
inline constexpr auto kTextsOf = [] {
    std::array<const wchar_t*, kWords<Value>.size()> texts{};
    std::ranges::transform(kWords<Value>, texts.begin(), &Word<Value>::text);
    return texts;
}();

template <class Value>
void TakeText(Value& value, const std::wstring& text) {
    for (const Word<Value>& word : kWords<Value>)
        if (text == word.text) value = word.value;
}
inline void TakeText(std::wstring& value, const std::wstring& text) { value = text; }
void TakeText(Password& value, const std::wstring& text);

template <class Value>
std::wstring TextOf(const Value& value) {
    return std::ranges::find(kWords<Value>, value, &Word<Value>::value)->text;
}
inline std::wstring TextOf(const std::wstring& value) { return value; }
/// Enciphered.
std::wstring TextOf(const Password& value);

/// A field of the settings, or with two members the field of an encoder.
template <auto... Members>
struct Field {
    static auto& In(auto& settings) { return (settings.*....*Members); }
    using Value = std::remove_reference_t<decltype(In(std::declval<Settings&>()))>;

    static void Take(Settings& settings, const std::wstring& text) { TakeText(In(settings), text); }
    static std::wstring Text(const Settings& settings) { return TextOf(In(settings)); }
};

// --- The table --------------------------------------------------------------------------------------

template <auto... Members>
consteval Setting
Line(Section section, const wchar_t* name, ValueKind kind, Presence presence, const wchar_t* fallback,
     const wchar_t* comment,
     std::span<const wchar_t* const> allowed = kTextsOf<typename Field<Members...>::Value>) {
    return {section,
            name,
            kind,
            presence,
            fallback,
            comment,
            allowed,
            &Field<Members...>::Take,
            &Field<Members...>::Text};
}

inline constexpr std::array kLogins = {L"basic", L"digest", L"ntlm", L"negotiate"};
inline constexpr std::array kCompressionLevels = {L"0", L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8", L"9"};

/// In the order of a new settings file; the transport stands before the folders that depend on it.
inline constexpr auto kSettings = [] {
    using enum Section;
    using enum ValueKind;
    using enum Presence;
    return std::to_array<Setting>({
        Line<&Settings::role>(Host, L"role", Text, Required, L"",
                              L"Side on which this installation works: field or enterprise."),
        Line<&Settings::applicationName>(Host, L"application", Text, Optional, L"znTransporter",
                                         L"Name of the application whose packets travel."),
        Line<&Settings::transport>(
            Host, L"transport", Text, Optional, L"folder",
            L"How packets travel: through a shared folder, through an FTP server, or through HTTPS\n"
            L"and a WebDAV server."),
        Line<&Settings::userInterface>(
            Host, L"user_interface", Text, Optional, L"no",
            L"Whether message boxes may be shown: yes or no. Keep no for unattended runs."),
        Line<&Settings::patience>(
            Host, L"patience", Number, Optional, L"3600",
            L"Seconds after which a run without user interface ends when it hears nothing of the remote "
            L"side, 0 for never. Under Wine, which counts no bytes, also the time that one packet may take."),
        Line<&Settings::backups>(
            Host, L"backups", Text, Optional, L"no",
            L"Whether received packets are also kept in the folder Backup of the receive folder: yes or no."),
        Line<&Settings::encoder>(
            Host, L"encoder", Text, Optional, L"none",
            L"How packets travel: none (as they are), zip (compressed) or xdelta (as the difference against "
            L"a reference file that both sides hold). Received packets are decoded in any case."),
        Line<&Settings::outbox>(Folders, L"outbox", Folder, Required, L"",
                                L"Packets to send are put here, also in sub-folders. The folder must exist."),
        Line<&Settings::sent>(Folders, L"sent", Folder, RequiredEmpty, L"",
                              L"Files of the outbox are kept here once their packet waits in the send "
                              L"folder, one of each name. "
                              L"Leave it empty to delete them instead."),
        Line<&Settings::inbox>(
            Folders, L"inbox", Folder, Required, L"",
            L"Received packets are delivered here, in the sub-folder that they were sent from."),
        Line<&Settings::send>(Folders, L"send", Folder, Required, L"",
                              L"Packets wait here until they are sent. The folder belongs to the transport."),
        Line<&Settings::receive>(
            Folders, L"receive", Folder, Required, L"",
            L"Packets arrive here before they are delivered. The folder belongs to the transport."),
        Line<&Settings::remoteSend>(
            Folders, L"remote_send", RemoteFolder, Required, L"",
            L"Remote folder that takes what this side sends: a share, a removable disk, or with\n"
            L"transport = ftp or https a path on the server, written with \"/\". The test of an FTP server "
            L"(znhost "
            L"verify)\n"
            L"takes only folders without \"/\", which lie directly in the folder of the login.\n"
            L"It is the other side's remote_receive."),
        Line<&Settings::remoteReceive>(
            Folders, L"remote_receive", RemoteFolder, Required, L"",
            L"Remote folder that holds what this side receives. It is the other side's remote_send."),
        Line<&Settings::ftpServer>(
            Ftp, L"server", Text, Optional, L"",
            L"Name or address of the FTP server. A value in this section wins over a "
            L"login that was saved in the registry; what is left empty here comes from "
            L"there."),
        Line<&Settings::ftpUser>(Ftp, L"user", Text, Optional, L"", L"User of the FTP server."),
        Line<&Settings::ftpPassword>(
            Ftp, L"password", ValueKind::Password, Optional, L"",
            L"Password of the user: enciphered (znhost password writes it so), or plain."),
        Line<&Settings::httpsServer>(
            Https, L"server", Text, Optional, L"",
            L"URL of the WebDAV folder in which the remote folders lie: https://server/folder."),
        Line<&Settings::httpsUser>(Https, L"user", Text, Optional, L"", L"User of the WebDAV server."),
        Line<&Settings::httpsPassword>(
            Https, L"password", ValueKind::Password, Optional, L"",
            L"Password of the user: enciphered (znhost password writes it so), or plain."),
        Line<&Settings::httpsLogin>(Https, L"login", Text, Optional, L"basic",
                                    L"How the user logs in, inside the encrypted connection: basic, digest, "
                                    L"ntlm or negotiate (Kerberos). "
                                    L"With negotiate and no user it is the account of the program.",
                                    kLogins),
        Line<&Settings::httpsClientCertificate>(
            Https, L"client_certificate", Text, Optional, L"",
            L"Certificate that this computer or account shows to the server, with its private key among the "
            L"personal "
            L"certificates of either: its SHA-1 thumbprint, or a part of its subject."),
        Line<&Settings::httpsPins>(
            Https, L"pins", Text, Optional, L"",
            L"Public keys of which the server must have one, with blanks between them: sha256// and the "
            L"Base64 of the "
            L"SHA-256 of each. Empty for any key whose certificate this computer trusts."),
        Line<&Settings::httpsProxy>(
            Https, L"proxy", Text, Optional, L"",
            L"Proxy on the way to the WebDAV server, as server:port. Empty for that of the "
            L"settings of Windows."),
        Line<&Settings::httpsProxyUser>(Https, L"proxy_user", Text, Optional, L"",
                                        L"User of the proxy, where it asks for one."),
        Line<&Settings::httpsProxyPassword>(
            Https, L"proxy_password", ValueKind::Password, Optional, L"",
            L"Password of the proxy's user: enciphered (znhost password --proxy writes it so), or plain."),
        Line<&Settings::zip, &ZipSettings::inExtension>(
            Zip, L"in_extension", Text, Optional, L".mdb",
            L"Extension of the packets that are compressed: .mdb or .xml.", kPacketExtensions),
        Line<&Settings::zip, &ZipSettings::outExtension>(
            Zip, L"out_extension", Extension, Optional, L".afz",
            L"Extension that compressed packets get; the same on both sides."),
        Line<&Settings::zip, &ZipSettings::compressionLevel>(
            Zip, L"compression_level", Number, Optional, L"0",
            L"From 1 (fast) to 9 (small); 0 leaves it to the zip program.", kCompressionLevels),
        Line<&Settings::zip, &ZipSettings::timeout>(
            Zip, L"timeout", Number, Optional, L"600",
            L"Seconds that compressing or restoring one packet may take."),
        Line<&Settings::zip, &ZipSettings::programFolder>(
            Zip, L"zip_util_location", ProgramFolder, Optional, L"",
            L"Folder of Zip.exe and Unzip.exe. Empty for that of znhost.exe."),
        Line<&Settings::xdelta, &XDeltaSettings::inExtension>(
            XDelta, L"in_extension", Text, Optional, L".mdb",
            L"Extension of the packets that travel as a difference: .mdb or .xml.", kPacketExtensions),
        Line<&Settings::xdelta, &XDeltaSettings::outExtension>(
            XDelta, L"out_extension", Extension, Optional, L".axd",
            L"Extension that differences get; the same on both sides."),
        Line<&Settings::xdelta, &XDeltaSettings::referencePath>(
            XDelta, L"reference_path", Reference, Optional, L"",
            L"Reference file (.AXR). Both sides hold the same file under the same name; differences against "
            L"other files of its folder can be received, too. Empty for the one that the registry names."),
        Line<&Settings::xdelta, &XDeltaSettings::timeout>(
            XDelta, L"timeout", Number, Optional, L"600",
            L"Seconds that making or applying one difference may take."),
        Line<&Settings::xdelta, &XDeltaSettings::programFolder>(
            XDelta, L"xdelta_util_location", ProgramFolder, Optional, L"",
            L"Folder of xDelta.exe. Empty for that of znhost.exe."),
        Line<&Settings::logFile>(
            Log, L"file", File, Optional, L"",
            L"Text file (UTF-8) to which reports are appended, beside the event log. Empty for none."),
        Line<&Settings::logSize>(
            Log, L"max_kilobytes", Number, Optional, L"10240",
            L"Size at which the file is set aside under a name with a number (field.1.log for field.log; the "
            L"higher, the later) and a new one begun; 0 for never."),
        Line<&Settings::logKept>(Log, L"kept_files", Number, Optional, L"9",
                                 L"How many of the files with numbers stay; the oldest go first. 0 for all."),
    });
}();

/// The line of a field; a field without one does not compile.
template <auto... Members>
consteval const Setting& SettingOf() {
    const auto found = std::ranges::find(kSettings, &Field<Members...>::Take, &Setting::take);
    if (found == kSettings.end()) throw "No setting fills this field";
    return *found;
}
