// See DavInstallation.h.
#include "webdav/DavInstallation.h"

#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "cipher/Sha256.h"

namespace {

std::wstring ComputerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    if (!GetComputerNameW(name, &length)) base::ThrowWin32(GetLastError(), L"name of the computer");
    return {name, length};
}

constexpr std::size_t kDigits = 16;

std::string NewNumber() {
    GUID unique;
    if (const HRESULT result = CoCreateGuid(&unique); FAILED(result))
        throw base::Error(result, L"The system makes no new identifier.");
    const base::Bytes bytes(reinterpret_cast<const std::uint8_t*>(&unique), sizeof unique);
    return base::ToUtf8(Sha256Of(bytes).substr(0, kDigits));
}

bool IsNumber(std::string_view text) {
    return text.size() == kDigits && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

std::wstring PathOf(const std::wstring& localFolder) { return FileSystem::FullPath({}, localFolder); }

std::wstring FolderBeside(const std::wstring& localFolder) {
    const std::wstring path = PathOf(localFolder);
    if (Path::FileName(path).empty() || path == Path::Drive(path))
        throw base::Error(E_INVALIDARG, L"The folder " + path +
                                            L" is a whole volume. Packets travel through HTTPS from and to a "
                                            L"folder on it: name one in the settings.");
    return path + L".https";
}

base::File OpenAlone(const std::wstring& folder, const std::wstring& localFolder) {
    FileSystem::CreateFolders(folder);
    const std::wstring path = Path::Join(folder, L"installation.txt");
    auto file = base::File::TryOpenPersistently(path, GENERIC_READ | GENERIC_WRITE, 0, OPEN_ALWAYS);
    const DWORD error = file ? ERROR_SUCCESS : GetLastError();
    if (error == ERROR_SHARING_VIOLATION)
        throw base::Error(HRESULT_FROM_WIN32(error), L"Another transfer of the folder " + localFolder +
                                                         L" goes on. Begin again when it has ended.");
    if (!file) throw base::SystemError(error, "open", path);
    return *std::move(file);
}

/// Of a text that has a line for each computer and path: a number, and after tabs both.
std::optional<std::string> NumberOf(std::string_view owner, std::string_view text) {
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = text.substr(begin, end - begin);
        const std::string_view number = line.substr(0, kDigits);
        if (IsNumber(number) && line.substr(kDigits) == owner) return std::string(number);
        begin = end + 1;
    }
    return std::nullopt;
}

std::string TextIn(const base::File& file) {
    constexpr std::uint64_t kMost = 1 << 20;
    std::string text(static_cast<std::size_t>(std::min(file.Size(), kMost)), '\0');
    text.resize(file.ReadAt(0, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()}));
    return text;
}

}  // namespace

DavInstallation::DavInstallation(const std::wstring& localFolder)
    : m_folder(FolderBeside(localFolder)),
      m_file(OpenAlone(m_folder, localFolder)),
      m_name(ReadOrMakeName(localFolder)) {}

std::wstring DavInstallation::ReadOrMakeName(const std::wstring& localFolder) {
    const std::wstring computer = ComputerName();
    const std::string owner = base::ToUtf8(L"\t" + computer + L"\t" + base::Upper(PathOf(localFolder)));
    const std::string text = TextIn(m_file);
    std::optional<std::string> number = NumberOf(owner, text);
    if (!number) {
        number = NewNumber();
        // What was not written to its end is a line by itself.
        const std::string line = (text.empty() || text.ends_with('\n') ? "" : "\n") + *number + owner + "\n";
        m_file.WriteAt(m_file.Size(), base::BytesOf(line));
        m_file.Flush();
    }
    return computer + L"-" + base::FromUtf8(*number);
}
