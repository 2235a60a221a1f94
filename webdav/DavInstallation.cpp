// See DavInstallation.h.
#include "webdav/DavInstallation.h"

#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "cipher/Sha256.h"

namespace {

/// All of it: the short names of many computers begin with the same 15 letters.
std::wstring ComputerName() {
    constexpr auto kForm = ComputerNamePhysicalDnsHostname;
    DWORD length = 0;
    GetComputerNameExW(kForm, nullptr, &length);
    std::wstring name(length, L'\0');
    if (!GetComputerNameExW(kForm, name.data(), &length))
        base::ThrowWin32(GetLastError(), L"name of the computer");
    name.resize(length);
    return base::Upper(name);
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

/// What a line of the file tells: a number, and after tabs the computer and the path of the folder.
struct Line {
    std::string number;
    std::string computer;
    std::string path;

    std::string Text() const { return number + "\t" + computer + "\t" + path + "\n"; }
    std::wstring Name() const { return base::FromUtf8(computer + "-" + number); }
};

std::optional<Line> Parsed(std::string_view line) {
    constexpr std::size_t kComputer = kDigits + 1;
    const std::size_t tab = line.find('\t', kComputer);
    if (!IsNumber(line.substr(0, kDigits)) || tab == std::string_view::npos || line[kDigits] != '\t')
        return std::nullopt;
    return Line{std::string(line.substr(0, kDigits)), std::string(line.substr(kComputer, tab - kComputer)),
                std::string(line.substr(tab + 1))};
}

/// What is none is passed over: it may not have been written to its end.
std::vector<Line> LinesOf(std::string_view text) {
    std::vector<Line> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        if (auto line = Parsed(text.substr(begin, end - begin))) lines.push_back(*std::move(line));
        begin = end + 1;
    }
    return lines;
}

std::string TextIn(const base::File& file) {
    constexpr std::uint64_t kMost = 1 << 20;
    std::string text(static_cast<std::size_t>(std::min(file.Size(), kMost)), '\0');
    text.resize(file.ReadAt(0, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()}));
    return text;
}

}  // namespace

DavInstallation::DavInstallation(const std::wstring& localFolder)
    : m_folder(FolderBeside(localFolder)), m_file(OpenAlone(m_folder, localFolder)) {
    const std::string computer = base::ToUtf8(ComputerName());
    const std::string path = base::ToUtf8(base::Upper(PathOf(localFolder)));
    const std::string text = TextIn(m_file);
    for (const Line& line : LinesOf(text)) {
        if (m_name.empty() && line.computer == computer && line.path == path)
            m_name = line.Name();
        else
            m_otherNames.push_back(line.Name());
    }
    if (!m_name.empty()) return;
    const Line own{NewNumber(), computer, path};
    // What was not written to its end is a line by itself.
    const bool isLineOpen = !text.empty() && !text.ends_with('\n');
    m_file.WriteAt(m_file.Size(), base::BytesOf(std::string(isLineOpen, '\n') + own.Text()));
    m_file.Flush();
    m_name = own.Name();
}
