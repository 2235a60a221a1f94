// See SettingsTable.h.
#include "host/settings/SettingsTable.h"

#include "ftp/settings/FtpPassword.h"

const wchar_t* DescriptionOf(ValueKind kind) {
    switch (kind) {
    case ValueKind::Number:
        return L"a whole number from 0 to 999999";
    case ValueKind::Extension:
        return L"a dot and three letters or digits";
    case ValueKind::File:
        return L"a file";
    case ValueKind::Reference:
        return L"a file whose name ends in .AXR and holds no ~";
    case ValueKind::Folder:
    case ValueKind::ProgramFolder:
        return L"a folder";
    case ValueKind::RemoteFolder:
        return L"a folder, or a path on the server";
    default:
        return L"text";
    }
}

std::wstring Setting::Title() const {
    return std::wstring(L"[").append(SectionName()).append(L"] ").append(name);
}

void TakeText(Password& value, const std::wstring& text) {
    value.plain = FtpPassword::IsEnciphered(text) ? FtpPassword::Decipher(text).value_or(L"") : text;
}

std::wstring TextOf(const Password& value) {
    return value.plain.empty() ? std::wstring() : FtpPassword::Encipher(value.plain);
}
