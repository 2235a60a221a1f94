#include "host/SettingsKeys.h"

#include <algorithm>

#include "base/Text.h"

std::wstring SettingsKey::Title() const {
    return std::wstring(L"[").append(section).append(L"] ").append(name);
}

std::span<const SettingsKey> SettingsKeys() {
    static const std::vector<SettingsKey> keys = {
        {L"host",
         L"role",
         Presence::Required,
         ValueKind::Text,
         {L"field", L"enterprise"},
         L"",
         L"; Side on which this installation works: field or enterprise."},
        {L"host",
         L"application",
         Presence::Optional,
         ValueKind::Text,
         {},
         L"znTransporter",
         L"; Name of the application whose packets travel. Default: znTransporter"},
        {L"host",
         L"transport",
         Presence::Optional,
         ValueKind::Text,
         {L"folder", L"ftp"},
         L"folder",
         L"; How packets travel: through a shared folder, or through an FTP server. Default: folder"},
        {L"host",
         L"user_interface",
         Presence::Optional,
         ValueKind::Text,
         {L"yes", L"no"},
         L"no",
         L"; Whether message boxes may be shown: yes or no. Keep no for unattended runs. Default: no"},
        {L"host",
         L"backups",
         Presence::Optional,
         ValueKind::Text,
         {L"yes", L"no"},
         L"no",
         L"; Whether received packets are also kept in the folder Backup of the receive folder: yes or no.\n"
         L"; Default: no"},
        {L"host",
         L"encoder",
         Presence::Optional,
         ValueKind::Text,
         {L"none", L"zip", L"xdelta"},
         L"none",
         L"; How packets travel: none (as they are), zip (compressed) or xdelta (as the difference against "
         L"a\n"
         L"; reference file that both sides hold). Received packets are decoded in any case. Default: none"},
        {L"folders",
         L"outbox",
         Presence::Required,
         ValueKind::Folder,
         {},
         L"",
         L"; Packets to send are put here, also in sub-folders. The folder must exist."},
        {L"folders",
         L"sent",
         Presence::RequiredEmpty,
         ValueKind::Folder,
         {},
         L"",
         L"; Files of the outbox are kept here once their packet waits in the send folder, one of each "
         L"name.\n"
         L"; Leave it empty to delete them instead."},
        {L"folders",
         L"inbox",
         Presence::Required,
         ValueKind::Folder,
         {},
         L"",
         L"; Received packets are delivered here, in the sub-folder that they were sent from."},
        {L"folders",
         L"send",
         Presence::Required,
         ValueKind::Folder,
         {},
         L"",
         L"; Packets wait here until they are sent. The folder belongs to the transport."},
        {L"folders",
         L"receive",
         Presence::Required,
         ValueKind::Folder,
         {},
         L"",
         L"; Packets arrive here before they are delivered. The folder belongs to the transport."},
        {L"folders",
         L"remote_send",
         Presence::Required,
         ValueKind::RemoteFolder,
         {},
         L"",
         L"; Remote folder that takes what this side sends: a share, a removable disk, or with\n"
         L"; transport = ftp a path on the server, written with \"/\". The test of the server (znhost "
         L"verify)\n"
         L"; takes only folders without \"/\", which lie directly in the folder of the login.\n"
         L"; It is the other side's remote_receive."},
        {L"folders",
         L"remote_receive",
         Presence::Required,
         ValueKind::RemoteFolder,
         {},
         L"",
         L"; Remote folder that holds what this side receives. It is the other side's remote_send."},
        {L"ftp",
         L"server",
         Presence::Optional,
         ValueKind::Text,
         {},
         L"",
         L"; Name or address of the FTP server. What is left empty in this section comes from the registry."},
        {L"ftp", L"user", Presence::Optional, ValueKind::Text, {}, L"", L"; User of the FTP server."},
        {L"ftp",
         L"password",
         Presence::Optional,
         ValueKind::Text,
         {},
         L"",
         L"; Password of the user: enciphered, or plain."},
        {L"zip",
         L"in_extension",
         Presence::Optional,
         ValueKind::Text,
         {L".mdb", L".xml"},
         L".mdb",
         L"; Extension of the packets that are compressed: .mdb or .xml. Default: .mdb"},
        {L"zip",
         L"out_extension",
         Presence::Optional,
         ValueKind::Extension,
         {},
         L".afz",
         L"; Extension that compressed packets get; the same on both sides. Default: .afz"},
        {L"zip",
         L"compression_level",
         Presence::Optional,
         ValueKind::Number,
         {L"0", L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8", L"9"},
         L"0",
         L"; From 1 (fast) to 9 (small); 0 leaves it to the zip program. Default: 0"},
        {L"zip",
         L"timeout",
         Presence::Optional,
         ValueKind::Number,
         {},
         L"600",
         L"; Seconds that compressing or restoring one packet may take. Default: 600"},
        {L"zip",
         L"zip_util_location",
         Presence::Optional,
         ValueKind::ProgramFolder,
         {},
         L"",
         L"; Folder of Zip.exe and Unzip.exe. Empty for that of znhost.exe."},
        {L"xdelta",
         L"in_extension",
         Presence::Optional,
         ValueKind::Text,
         {L".mdb", L".xml"},
         L".mdb",
         L"; Extension of the packets that travel as a difference: .mdb or .xml. Default: .mdb"},
        {L"xdelta",
         L"out_extension",
         Presence::Optional,
         ValueKind::Extension,
         {},
         L".axd",
         L"; Extension that differences get; the same on both sides. Default: .axd"},
        {L"xdelta",
         L"reference_path",
         Presence::Optional,
         ValueKind::Reference,
         {},
         L"",
         L"; Reference file (.AXR). Both sides hold the same file under the same name; differences against "
         L"other\n"
         L"; files of its folder can be received, too. Empty for the one that the registry names."},
        {L"xdelta",
         L"timeout",
         Presence::Optional,
         ValueKind::Number,
         {},
         L"600",
         L"; Seconds that making or applying one difference may take. Default: 600"},
        {L"xdelta",
         L"xdelta_util_location",
         Presence::Optional,
         ValueKind::ProgramFolder,
         {},
         L"",
         L"; Folder of xDelta.exe. Empty for that of znhost.exe."},
        {L"log",
         L"file",
         Presence::Optional,
         ValueKind::File,
         {},
         L"",
         L"; Text file (UTF-8) to which reports are appended, beside the event log. Empty for none."},
    };
    return keys;
}

bool IsPath(ValueKind kind) {
    return kind == ValueKind::File || kind == ValueKind::Reference || kind == ValueKind::Folder ||
           kind == ValueKind::ProgramFolder;
}

std::vector<std::wstring> SettingsSections() {
    std::vector<std::wstring> sections;
    for (const SettingsKey& key : SettingsKeys())
        if (std::ranges::find(sections, key.section) == sections.end()) sections.emplace_back(key.section);
    return sections;
}

const SettingsKey* FindSettingsKey(std::wstring_view section, std::wstring_view name) {
    const auto keys = SettingsKeys();
    const auto found = std::ranges::find_if(keys, [&](const SettingsKey& key) {
        return base::EqualsIgnoringCase(key.section, section) && base::EqualsIgnoringCase(key.name, name);
    });
    return found == keys.end() ? nullptr : &*found;
}
