// See Installation.h.
#include "host/settings/Installation.h"

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "host/settings/SettingsFile.h"

namespace {

/// Settings of a new installation, with paths relative to their file.
Settings NewSide(const std::wstring& folder, Role role) {
    const bool isField = role == Role::Field;
    const std::wstring side = TextOf(role);
    Settings settings = DefaultSettings();
    settings.file = Path::Join(folder, side + L".ini");
    settings.role = role;
    settings.encoder = EncoderKind::Zip;
    settings.outbox = side + L"\\outbox";
    settings.sent = side + L"\\sent";
    settings.inbox = side + L"\\inbox";
    settings.send = side + L"\\send";
    settings.receive = side + L"\\receive";
    settings.remoteSend = L"share\\to-" + TextOf(isField ? Role::Enterprise : Role::Field);
    settings.remoteReceive = L"share\\to-" + side;
    settings.logFile = side + L".log";
    return settings;
}

void CreateSideFolders(const std::wstring& folder, const Settings& settings) {
    for (const Setting& setting : kSettings)
        if (HoldsPackets(setting.kind)) FileSystem::CreateFolders(Path::Join(folder, setting.text(settings)));
}

void RefuseExisting(const std::wstring& file) {
    if (!FileSystem::FileExists(file)) return;
    throw SettingsError(
        {file + L" exists already and is not overwritten. Name another folder, or remove the file."});
}

}  // namespace

Installation CreateInstallation(const std::wstring& folder) {
    const Settings sides[] = {NewSide(folder, Role::Field), NewSide(folder, Role::Enterprise)};
    for (const Settings& side : sides)
        RefuseExisting(side.file);
    for (const Settings& side : sides)
        CreateSideFolders(folder, side);
    for (const Settings& side : sides)
        base::WriteNewFile(side.file, NewSettingsText(side));
    return {sides[0].file, sides[1].file};
}
