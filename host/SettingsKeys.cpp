#include "host/SettingsKeys.h"

#include <algorithm>

#include "com/Text.h"

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
         L"user_interface",
         Presence::Optional,
         ValueKind::Text,
         {L"yes", L"no"},
         L"no",
         L"; Whether message boxes may be shown: yes or no. Keep no for unattended runs. Default: no"},
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
         ValueKind::Folder,
         {},
         L"",
         L"; Remote folder that takes what this side sends: a share or a removable disk.\n"
         L"; It is the other side's remote_receive."},
        {L"folders",
         L"remote_receive",
         Presence::Required,
         ValueKind::Folder,
         {},
         L"",
         L"; Remote folder that holds what this side receives. It is the other side's remote_send."},
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

std::vector<std::wstring> SettingsSections() {
    std::vector<std::wstring> sections;
    for (const SettingsKey& key : SettingsKeys())
        if (std::ranges::find(sections, key.section) == sections.end()) sections.emplace_back(key.section);
    return sections;
}

const SettingsKey* FindSettingsKey(std::wstring_view section, std::wstring_view name) {
    const auto keys = SettingsKeys();
    const auto found = std::ranges::find_if(keys, [&](const SettingsKey& key) {
        return com::EqualsIgnoringCase(key.section, section) && com::EqualsIgnoringCase(key.name, name);
    });
    return found == keys.end() ? nullptr : &*found;
}
