#include "host/Installation.h"

#include <SimpleIni.h>

#include <map>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "host/Settings.h"
#include "host/SettingsKeys.h"

namespace {

/// Values that differ from the keys' own, by title of the key.
using Values = std::map<std::wstring, std::wstring>;

Values ValuesOf(const std::wstring& side, const std::wstring& otherSide) {
    return {{L"[host] role", side},
            {L"[host] encoder", L"zip"},
            {L"[folders] outbox", side + L"\\outbox"},
            {L"[folders] sent", side + L"\\sent"},
            {L"[folders] inbox", side + L"\\inbox"},
            {L"[folders] send", side + L"\\send"},
            {L"[folders] receive", side + L"\\receive"},
            {L"[folders] remote_send", L"share\\to-" + otherSide},
            {L"[folders] remote_receive", L"share\\to-" + side},
            {L"[log] file", side + L".log"}};
}

std::wstring ValueOf(const SettingsKey& key, const Values& values) {
    const auto found = values.find(key.Title());
    return found == values.end() ? key.fallback : found->second;
}

// With the blank lines that the file has when its settings are written again.
constexpr const char* kHeading = "; Settings of znhost. Paths are absolute, or relative to this file.\n\n\n";

std::string SettingsText(const Values& values) {
    CSimpleIniW ini(true);
    for (const SettingsKey& key : SettingsKeys())
        ini.SetValue(key.section, key.name, ValueOf(key, values).c_str(), key.comment);
    std::string text;
    ini.Save(text);
    return kHeading + text;
}

void CreateSide(const std::wstring& folder, const Values& values) {
    for (const SettingsKey& key : SettingsKeys())
        if (key.kind == ValueKind::Folder || key.kind == ValueKind::RemoteFolder)
            FileSystem::CreateFolders(Path::Join(folder, ValueOf(key, values)));
}

void RefuseExisting(const std::wstring& file) {
    if (!FileSystem::FileExists(file)) return;
    throw SettingsError(
        {file + L" exists already and is not overwritten. Name another folder, or remove the file."});
}

}  // namespace

Installation CreateInstallation(const std::wstring& folder) {
    Installation installation{Path::Join(folder, L"field.ini"), Path::Join(folder, L"enterprise.ini")};
    RefuseExisting(installation.fieldSettings);
    RefuseExisting(installation.enterpriseSettings);
    const Values field = ValuesOf(L"field", L"enterprise");
    const Values enterprise = ValuesOf(L"enterprise", L"field");
    CreateSide(folder, field);
    CreateSide(folder, enterprise);
    base::WriteNewFile(installation.fieldSettings, SettingsText(field));
    base::WriteNewFile(installation.enterpriseSettings, SettingsText(enterprise));
    return installation;
}
